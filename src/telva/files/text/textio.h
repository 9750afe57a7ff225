// Character input and text output of the problem files other than MPS: a buffered character
// reader with a line count over a file or a text in memory, and a buffered writer to a file or
// a string, with the number text that every writer shares.
#pragma once

#include <cstddef>

#include "cpub/sysalloc.h"
#include "cpub/sysfile.h"

namespace telva {

// Where bytes come from: read fills up to n bytes, sets *got, and gives kSysOk, kSysEndOfFile
// (nothing was left) or kSysFileRead.
struct TextSource {
  void* handle = nullptr;
  int (*read)(void* handle, char* dst, int64 n, int64* got) = nullptr;
};

TextSource textsource_file(sysfile* file);

// A text in memory, for tests, the fuzz targets and in-memory input.
struct MemText {
  const char* text = nullptr;
  size_t len = 0;
  size_t pos = 0;
};
TextSource textsource_memory(MemText* mem);

// Buffered characters with a count of the line ends consumed. get() and peek() give -1 at the
// end of the input (or after a read failure, which failed() then tells).
class TextIn {
public:
  TextIn(sysenv* sys, const TextSource& src);

  int peek() {
    if (pos_ < end_) return static_cast<unsigned char>(buf_[pos_]);
    return fill(0) ? static_cast<unsigned char>(buf_[pos_]) : -1;
  }
  // The character after the next one, without consuming either.
  int peek2() {
    if (pos_ + 1 < end_) return static_cast<unsigned char>(buf_[pos_ + 1]);
    return fill(1) ? static_cast<unsigned char>(buf_[pos_ + 1]) : -1;
  }
  int get() {
    int ch = peek();
    if (ch >= 0) {
      ++pos_;
      if (ch == '\n') ++line_;
    }
    return ch;
  }
  // The 1-based number of the line the next character stands on.
  int64 line() const { return line_; }
  bool failed() const { return failed_; }

  // Reads the next line without its end ("\n" or "\r\n") into *out; false at the end of the
  // input. A last line without an end is still a line.
  bool readline(SysString* out);

private:
  // Makes at least ahead + 1 characters available from pos_; false when the input ends first.
  bool fill(size_t ahead);

  TextSource src_;
  SysVector<char> buf_;
  size_t pos_ = 0, end_ = 0;
  int64 line_ = 1;
  bool eof_ = false, failed_ = false;
};

// Where text goes: write gives kSysOk or a failure status.
struct TextSink {
  void* handle = nullptr;
  int (*write)(void* handle, const char* data, int64 n) = nullptr;
};

TextSink textsink_file(sysfile* file);
TextSink textsink_string(SysString* out);

// Buffered text output. After a failure of the sink everything further is dropped and failed()
// tells; a writer checks it once at the end.
class TextOut {
public:
  TextOut(sysenv* sys, const TextSink& sink, int32 precision);
  ~TextOut() { flush(); }

  void put(const char* text);
  void put(const char* text, size_t n);
  void put(char ch) {
    buf_.push_back(ch);
    ++col_;
    if (ch == '\n') col_ = 0;
    if (buf_.size() >= kFlushAt) flush();
  }
  void printf(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
  // A number in the shortest form that keeps precision + 1 significant digits ("0", "1e+0",
  // "-2.5e-3"), as the MPS writer prints it.
  void num(double v);
  // The same text, given back in a buffer of at least 32 bytes.
  const char* numtext(double v, char* buf) const;
  // Characters written on the current line.
  size_t column() const { return col_; }
  void flush();
  bool failed() const { return failed_; }

private:
  static constexpr size_t kFlushAt = 1 << 16;
  TextSink sink_;
  SysString buf_;
  int32 precision_;
  size_t col_ = 0;
  bool failed_ = false;
};

// Whether a character is a blank of the text formats: blank, tab, carriage return, line feed.
inline bool text_is_space(int ch) {
  return ch == ' ' || ch == '\t' || ch == '\r' || ch == '\n';
}
inline bool text_is_digit(int ch) {
  return ch >= '0' && ch <= '9';
}
inline bool text_is_alpha(int ch) {
  return (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z');
}

// Reads a decimal number (digits, an optional point and digits, an optional exponent) from the
// input at its current place, locale-free; a magnitude beyond the range of a double reads as
// an infinity, one below it as 0. With exponent_needs_digits the exponent part is taken only
// when a digit follows the "e" (and its sign); otherwise an "e" without digits is a broken
// number. False when no digit stands at the start, or the number is broken.
bool text_read_number(TextIn& in, bool exponent_needs_digits, double* value);

// Parses a whole word as a finite double or an integer, locale-free; false if anything is left
// over or the value does not fit.
bool text_parse_double(const char* s, size_t n, double* value);
bool text_parse_int64(const char* s, size_t n, int64* value);

// Case-insensitive comparison of a word of n characters with a lower-case keyword.
bool text_word_is(const char* s, size_t n, const char* keyword);

} // namespace telva
