// Buffered character input and text output of the problem files.
#include "telva/files/text/textio.h"

#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>

#include "telva/files/mps/mpsnumber.h"

namespace telva {

namespace {

constexpr size_t kInBuffer = 1 << 16;

int file_read(void* handle, char* dst, int64 n, int64* got) {
  return sysfile_read(static_cast<sysfile*>(handle), dst, n, got);
}

int memory_read(void* handle, char* dst, int64 n, int64* got) {
  auto* m = static_cast<MemText*>(handle);
  *got = 0;
  if (m->pos >= m->len) return kSysEndOfFile;
  size_t k = std::min(static_cast<size_t>(n), m->len - m->pos);
  std::memcpy(dst, m->text + m->pos, k);
  m->pos += k;
  *got = static_cast<int64>(k);
  return kSysOk;
}

int file_write(void* handle, const char* data, int64 n) {
  return sysfile_write(static_cast<sysfile*>(handle), data, n);
}

int string_write(void* handle, const char* data, int64 n) {
  try {
    static_cast<SysString*>(handle)->append(data, static_cast<size_t>(n));
  } catch (const std::bad_alloc&) {
    return kSysSpace;
  }
  return kSysOk;
}

// Converts the text of a decimal number; out-of-range magnitudes become an infinity or 0 by
// the sign of the exponent.
bool convert(const char* t, size_t n, double* value) {
  auto res = std::from_chars(t, t + n, *value, std::chars_format::general);
  if (res.ec == std::errc::result_out_of_range) {
    const char* e = t;
    while (e < t + n && *e != 'e' && *e != 'E')
      ++e;
    bool tiny = e + 1 < t + n && e[1] == '-';
    *value = tiny ? 0.0 : std::numeric_limits<double>::infinity();
    return true;
  }
  return res.ec == std::errc() && res.ptr == t + n;
}

} // namespace

TextSource textsource_file(sysfile* file) {
  TextSource s;
  s.handle = file;
  s.read = file_read;
  return s;
}

TextSource textsource_memory(MemText* mem) {
  TextSource s;
  s.handle = mem;
  s.read = memory_read;
  return s;
}

TextIn::TextIn(sysenv* sys, const TextSource& src) : src_(src), buf_(SysAllocator<char>(sys)) {
  buf_.resize(kInBuffer);
}

bool TextIn::fill(size_t ahead) {
  while (end_ - pos_ <= ahead) {
    if (eof_) return false;
    if (pos_ > 0) {
      std::memmove(buf_.data(), buf_.data() + pos_, end_ - pos_);
      end_ -= pos_;
      pos_ = 0;
    }
    int64 got = 0;
    int st =
        src_.read(src_.handle, buf_.data() + end_, static_cast<int64>(buf_.size() - end_), &got);
    if (st == kSysEndOfFile || (st == kSysOk && got == 0)) {
      eof_ = true;
    } else if (st != kSysOk) {
      eof_ = failed_ = true;
    } else {
      end_ += static_cast<size_t>(got);
    }
  }
  return true;
}

bool TextIn::readline(SysString* out) {
  out->clear();
  if (peek() < 0) return false;
  for (;;) {
    if (pos_ >= end_ && !fill(0)) break;
    const char* b = buf_.data() + pos_;
    const char* nl = static_cast<const char*>(std::memchr(b, '\n', end_ - pos_));
    size_t n = nl ? static_cast<size_t>(nl - b) : end_ - pos_;
    out->append(b, n);
    pos_ += n;
    if (nl) {
      ++pos_;
      ++line_;
      break;
    }
  }
  if (!out->empty() && out->back() == '\r') out->pop_back();
  return true;
}

TextSink textsink_file(sysfile* file) {
  TextSink s;
  s.handle = file;
  s.write = file_write;
  return s;
}

TextSink textsink_string(SysString* out) {
  TextSink s;
  s.handle = out;
  s.write = string_write;
  return s;
}

TextOut::TextOut(sysenv* sys, const TextSink& sink, int32 precision)
    : sink_(sink), buf_(SysAllocator<char>(sys)), precision_(precision) {
  buf_.reserve(kFlushAt + 1024);
}

void TextOut::flush() {
  if (!failed_ && !buf_.empty() &&
      sink_.write(sink_.handle, buf_.data(), static_cast<int64>(buf_.size())) != kSysOk)
    failed_ = true;
  buf_.clear();
}

void TextOut::put(const char* text, size_t n) {
  buf_.append(text, n);
  size_t last = n;
  while (last > 0 && text[last - 1] != '\n')
    --last;
  col_ = last > 0 ? n - last : col_ + n;
  if (buf_.size() >= kFlushAt) flush();
}

void TextOut::put(const char* text) {
  put(text, std::strlen(text));
}

void TextOut::printf(const char* fmt, ...) {
  char small[512];
  va_list ap;
  va_start(ap, fmt);
  int n = std::vsnprintf(small, sizeof small, fmt, ap);
  va_end(ap);
  if (n < 0) return;
  if (static_cast<size_t>(n) < sizeof small) {
    put(small, static_cast<size_t>(n));
    return;
  }
  SysString big(static_cast<size_t>(n) + 1, '\0', buf_.get_allocator());
  va_start(ap, fmt);
  std::vsnprintf(big.data(), big.size(), fmt, ap);
  va_end(ap);
  put(big.data(), static_cast<size_t>(n));
}

const char* TextOut::numtext(double v, char* buf) const {
  // Whole numbers of up to 15 digits are written as integers, which every reader takes.
  if (v == std::rint(v) && std::fabs(v) < 1e15)
    std::snprintf(buf, 32, "%.0f", v == 0.0 ? 0.0 : v);
  else
    mps_format_number(v, precision_, buf);
  return buf;
}

void TextOut::num(double v) {
  char buf[40];
  put(numtext(v, buf));
}

bool text_read_number(TextIn& in, bool exponent_needs_digits, double* value) {
  char t[400];
  size_t n = 0;
  bool too_long = false;
  auto take = [&](int ch) {
    if (n < sizeof t)
      t[n++] = static_cast<char>(ch);
    else
      too_long = true;
    in.get();
  };
  size_t digits = 0;
  while (text_is_digit(in.peek()))
    take(in.peek()), ++digits;
  if (in.peek() == '.') {
    take('.');
    while (text_is_digit(in.peek()))
      take(in.peek()), ++digits;
  }
  if (digits == 0) return false;
  int e = in.peek();
  if (e == 'e' || e == 'E') {
    int next = in.peek2();
    bool sign = next == '+' || next == '-';
    if (exponent_needs_digits && !text_is_digit(next) && !sign) {
      // The "e" starts the next word.
    } else {
      take(e);
      if (sign) take(in.peek());
      if (!text_is_digit(in.peek())) return false; // a broken exponent
      while (text_is_digit(in.peek()))
        take(in.peek());
    }
  }
  if (too_long) return false;
  return convert(t, n, value);
}

bool text_parse_double(const char* s, size_t n, double* value) {
  size_t i = 0;
  if (i < n && s[i] == '+') ++i;
  if (i >= n) return false;
  // from_chars takes "inf" and "nan" too; a data value must be a finite decimal.
  char c0 = s[i] == '-' && i + 1 < n ? s[i + 1] : s[i];
  if (!text_is_digit(c0) && c0 != '.') return false;
  if (!convert(s + i, n - i, value)) return false;
  return std::isfinite(*value);
}

bool text_parse_int64(const char* s, size_t n, int64* value) {
  size_t i = 0;
  if (i < n && s[i] == '+') ++i;
  if (i >= n) return false;
  auto res = std::from_chars(s + i, s + n, *value);
  return res.ec == std::errc() && res.ptr == s + n;
}

bool text_word_is(const char* s, size_t n, const char* keyword) {
  size_t k = std::strlen(keyword);
  if (k != n) return false;
  for (size_t i = 0; i < n; ++i) {
    char ch = s[i];
    if (ch >= 'A' && ch <= 'Z') ch = static_cast<char>(ch - 'A' + 'a');
    if (ch != keyword[i]) return false;
  }
  return true;
}

} // namespace telva
