#include "misc/printer.h"

#include <cmath>
#include <cstring>

namespace telva {

namespace {

constexpr int32 kFormatError = -2;

// Encodes one 16-bit character as UTF-8; gives the byte count.
int32 utf8_encode(uint32 cp, char* out) {
  if (cp < 0x80) {
    out[0] = static_cast<char>(cp);
    return 1;
  }
  if (cp < 0x800) {
    out[0] = static_cast<char>(0xc0 | (cp >> 6));
    out[1] = static_cast<char>(0x80 | (cp & 0x3f));
    return 2;
  }
  if (cp < 0x10000) {
    out[0] = static_cast<char>(0xe0 | (cp >> 12));
    out[1] = static_cast<char>(0x80 | ((cp >> 6) & 0x3f));
    out[2] = static_cast<char>(0x80 | (cp & 0x3f));
    return 3;
  }
  out[0] = static_cast<char>(0xf0 | (cp >> 18));
  out[1] = static_cast<char>(0x80 | ((cp >> 12) & 0x3f));
  out[2] = static_cast<char>(0x80 | ((cp >> 6) & 0x3f));
  out[3] = static_cast<char>(0x80 | (cp & 0x3f));
  return 4;
}

bool is_continuation(char c) {
  return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

int32 emit(printer* pr, const char* text, size_t n) {
  if (stream_write(pr->s, text, n) != 0) return -1;
  if ((pr->line_flush & 1) && std::memchr(text, '\n', n)) return stream_flush(pr->s);
  return 0;
}

int32 emit_fill(printer* pr, uint16_t fill, int64 count) {
  if (count <= 0) return 0;
  char enc[4];
  int32 len = utf8_encode(fill, enc);
  // A run of fill characters goes out in blocks rather than one at a time.
  char block[96];
  int32 per_block = static_cast<int32>(sizeof block) / len;
  for (int32 i = 0; i < per_block; ++i)
    std::memcpy(block + i * len, enc, static_cast<size_t>(len));
  while (count > 0) {
    int64 n = count < per_block ? count : per_block;
    if (stream_write(pr->s, block, static_cast<size_t>(n * len)) != 0) return -1;
    count -= n;
  }
  return 0;
}

// Pads before and after a field of len characters, as width and justification say.
struct Pads {
  int64 left = 0, right = 0;
};

Pads pads_for(const printer* pr, int64 len, int32 default_justify) {
  Pads p;
  int64 width = pr->width;
  int32 justify = pr->justify >= 0 ? pr->justify : default_justify;
  if (width < 0) {
    width = -width;
    justify = 0;
  }
  if (len >= width) return p;
  int64 pad = width - len;
  if (justify == 0)
    p.right = pad;
  else if (justify == 1) {
    p.left = pad / 2;
    p.right = pad - p.left;
  } else
    p.left = pad;
  return p;
}

// A number field: sign or prefix, then a body written by the caller through a callback.
// A left fill of '0' goes between the sign and the digits, as in the C library.
template <class Body>
int32 emit_number(printer* pr, const char* sign, int64 body_len, Body body, bool zero_ok = true) {
  int64 sign_len = static_cast<int64>(std::strlen(sign));
  Pads p = pads_for(pr, sign_len + body_len, 2);
  uint16_t lfill = pr->fill_left;
  if (lfill == '0' && !zero_ok) lfill = ' ';
  if (lfill == '0') {
    if (emit(pr, sign, static_cast<size_t>(sign_len)) != 0) return -1;
    if (emit_fill(pr, lfill, p.left) != 0) return -1;
  } else {
    if (emit_fill(pr, lfill, p.left) != 0) return -1;
    if (emit(pr, sign, static_cast<size_t>(sign_len)) != 0) return -1;
  }
  if (body() != 0) return -1;
  return emit_fill(pr, pr->fill_right, p.right);
}

int32 format_integer(printer* pr, uint64 magnitude, bool negative, bool is_signed) {
  static const int32 kShift[] = {0, 4, 3, 1};
  static const char kDigits[] = "0123456789abcdef";
  char digits[72];
  int32 n = 0;
  if (pr->base == 10) {
    while (magnitude) {
      digits[n++] = kDigits[magnitude % 10];
      magnitude /= 10;
    }
  } else {
    int32 shift = kShift[pr->base == 16 ? 1 : pr->base == 8 ? 2 : 3];
    uint64 mask = (static_cast<uint64>(1) << shift) - 1;
    while (magnitude) {
      digits[n++] = kDigits[magnitude & mask];
      magnitude >>= shift;
    }
  }
  int64 min_digits = pr->precision >= 0 ? pr->precision : 1;
  int64 zeros = min_digits > n ? min_digits - n : 0;
  const char* sign = negative ? "-" : (is_signed && (pr->flags & kPrintSign)) ? "+" : "";
  return emit_number(pr, sign, zeros + n, [&]() -> int32 {
    for (int64 i = 0; i < zeros; ++i)
      if (stream_putc(pr->s, '0') != 0) return -1;
    char out[72];
    for (int32 i = 0; i < n; ++i)
      out[i] = digits[n - 1 - i];
    return emit(pr, out, static_cast<size_t>(n));
  });
}

int32 format_signed(printer* pr, int64 v, int32 bits) {
  if (pr->base != 10) {
    // Other bases show the bits of the value as they stand.
    uint64 u = static_cast<uint64>(v);
    if (bits == 32) u &= 0xffffffffu;
    return format_integer(pr, u, false, false);
  }
  uint64 mag = v < 0 ? static_cast<uint64>(0) - static_cast<uint64>(v) : static_cast<uint64>(v);
  return format_integer(pr, mag, v < 0, true);
}

// Digits of a finite double: value = 0.d1...dn * 10^decpt; zero gives "0" with decpt 1.
struct Digits {
  char d[kDtoaMaxDigits + 16];
  int32 n = 0;
  int32 decpt = 1;
};

char digit_at(const Digits& g, int64 i) {
  return i >= 0 && i < g.n ? g.d[i] : '0';
}

int32 write_digit_range(printer* pr, const Digits& g, int64 from, int64 to) {
  char buf[256];
  int32 k = 0;
  for (int64 i = from; i < to; ++i) {
    buf[k++] = digit_at(g, i);
    if (k == static_cast<int32>(sizeof buf)) {
      if (stream_write(pr->s, buf, static_cast<size_t>(k)) != 0) return -1;
      k = 0;
    }
  }
  return k ? stream_write(pr->s, buf, static_cast<size_t>(k)) : 0;
}

// Exponent form: d[.ddd]e+XX with frac digits after the point.
int32 write_exponent_form(printer* pr, const char* sign, const Digits& g, int64 frac) {
  int32 x = g.n == 0 ? 0 : g.decpt - 1;
  char expo[8];
  int32 ex = x < 0 ? -x : x;
  int32 el = 0;
  expo[el++] = 'e';
  expo[el++] = x < 0 ? '-' : '+';
  if (ex >= 100) expo[el++] = static_cast<char>('0' + ex / 100);
  expo[el++] = static_cast<char>('0' + (ex / 10) % 10);
  expo[el++] = static_cast<char>('0' + ex % 10);
  int64 len = 1 + (frac > 0 ? frac + 1 : 0) + el;
  return emit_number(pr, sign, len, [&]() -> int32 {
    if (stream_putc(pr->s, g.n ? g.d[0] : '0') != 0) return -1;
    if (frac > 0) {
      if (stream_putc(pr->s, '.') != 0) return -1;
      if (write_digit_range(pr, g, 1, 1 + frac) != 0) return -1;
    }
    return stream_write(pr->s, expo, static_cast<size_t>(el));
  });
}

// Fixed form with frac digits after the point.
int32 write_fixed_form(printer* pr, const char* sign, const Digits& g, int64 frac) {
  int64 int_digits = g.n == 0 || g.decpt <= 0 ? 1 : g.decpt;
  int64 len = int_digits + (frac > 0 ? frac + 1 : 0);
  return emit_number(pr, sign, len, [&]() -> int32 {
    if (g.n == 0 || g.decpt <= 0) {
      if (stream_putc(pr->s, '0') != 0) return -1;
    } else if (write_digit_range(pr, g, 0, g.decpt) != 0) {
      return -1;
    }
    if (frac > 0) {
      if (stream_putc(pr->s, '.') != 0) return -1;
      int64 start = g.n == 0 ? 1 : g.decpt;
      if (g.n == 0) {
        for (int64 i = 0; i < frac; ++i)
          if (stream_putc(pr->s, '0') != 0) return -1;
      } else if (write_digit_range(pr, g, start, start + frac) != 0) {
        return -1;
      }
    }
    return 0;
  });
}

int32 format_double(printer* pr, double v, char conv) {
  bool neg = std::signbit(v);
  const char* sign = neg ? "-" : (pr->flags & kPrintSign) ? "+" : "";
  if (!std::isfinite(v)) {
    const char* word = std::isnan(v) ? "nan" : "inf";
    return emit_number(
        pr, sign, 3, [&]() -> int32 { return emit(pr, word, 3); }, false);
  }
  dtoaenv local_env;
  dtoaenv* env = pr->dtoa;
  if (!env) {
    local_env.sys = pr->sys;
    env = &local_env;
  }
  struct LocalRelease { // frees what a stack context took beyond its pool
    dtoaenv* env;
    ~LocalRelease() {
      if (env) dtoaenv_release(env);
    }
  } release{env == &local_env ? env : nullptr};

  Digits g;
  bool keep = (pr->flags & kPrintKeepZeros) != 0;
  int32 p = pr->precision;
  bool zero = v == 0.0;
  double a = std::fabs(v);
  if (zero) {
    g.n = 0;
    g.decpt = 1;
  }
  if (conv == 'g' && p >= 0) {
    // General form: significant digits p (0 counts as 1), exponent form outside [-4, p).
    int32 P = p == 0 ? 1 : p;
    int32 x = 0;
    if (!zero) {
      g.n = dtoa_exact(env, a, g.d, &g.decpt);
      g.n = dtoa_round_digits(g.d, g.n, &g.decpt, P);
      x = g.decpt - 1;
    }
    pr->use_exponent = x < -4 || x >= P;
    if (pr->use_exponent) {
      int64 frac = keep ? P - 1 : (g.n > 1 ? g.n - 1 : 0);
      return write_exponent_form(pr, sign, g, frac);
    }
    int64 frac = keep ? P - 1 - x : (g.n - g.decpt > 0 ? g.n - g.decpt : 0);
    return write_fixed_form(pr, sign, g, frac);
  }
  if (p < 0) {
    // The shortest digits that read back; 'g' picks the form by the size of the number.
    if (!zero) g.n = dtoa_shortest(env, a, g.d, &g.decpt);
    int32 x = g.decpt - 1;
    bool expo = conv == 'e' || (conv == 'g' && !zero && (x < -4 || x >= 17));
    pr->use_exponent = expo;
    if (expo) return write_exponent_form(pr, sign, g, g.n > 1 ? g.n - 1 : 0);
    return write_fixed_form(pr, sign, g, g.n - g.decpt > 0 ? g.n - g.decpt : 0);
  }
  if (conv == 'e') {
    pr->use_exponent = 1;
    if (!zero) {
      g.n = dtoa_exact(env, a, g.d, &g.decpt);
      g.n = dtoa_round_digits(g.d, g.n, &g.decpt, p + 1);
    }
    int64 frac = keep ? p : (g.n > 1 ? g.n - 1 : 0);
    return write_exponent_form(pr, sign, g, frac);
  }
  pr->use_exponent = 0;
  if (!zero) {
    g.n = dtoa_exact(env, a, g.d, &g.decpt);
    int64 keep_digits = static_cast<int64>(g.decpt) + p;
    if (keep_digits < g.n) {
      int32 k = keep_digits < -1 ? -1 : static_cast<int32>(keep_digits);
      g.n = dtoa_round_digits(g.d, g.n, &g.decpt, k);
    }
    if (g.n == 0) g.decpt = 1;
  }
  int64 have = g.n - g.decpt > 0 ? g.n - g.decpt : 0;
  int64 frac = keep ? p : (have < p ? have : p);
  return write_fixed_form(pr, sign, g, frac);
}

int32 format_string(printer* pr, const char* s) {
  if (!s) s = "(nil)";
  // Width and precision count characters, not bytes; a cut never splits a sequence.
  int64 chars = 0;
  size_t bytes = 0;
  while (s[bytes]) {
    if (pr->precision >= 0 && chars >= pr->precision) break;
    ++bytes;
    while (s[bytes] && is_continuation(s[bytes]))
      ++bytes;
    ++chars;
  }
  Pads p = pads_for(pr, chars, 0);
  if (emit_fill(pr, pr->fill_left, p.left) != 0) return -1;
  if (emit(pr, s, bytes) != 0) return -1;
  return emit_fill(pr, pr->fill_right, p.right);
}

int32 format_wide_string(printer* pr, const uint16_t* w) {
  if (!w) return format_string(pr, nullptr);
  // Decode once to count, then again to write.
  auto next = [](const uint16_t*& q) -> uint32 {
    uint32 c = *q++;
    if (c >= 0xd800 && c < 0xdc00 && *q >= 0xdc00 && *q < 0xe000)
      return 0x10000 + ((c - 0xd800) << 10) + (*q++ - 0xdc00);
    if (c >= 0xd800 && c < 0xe000) return 0xfffd; // a lone surrogate
    return c;
  };
  int64 chars = 0;
  for (const uint16_t* q = w; *q;) {
    if (pr->precision >= 0 && chars >= pr->precision) break;
    next(q);
    ++chars;
  }
  Pads p = pads_for(pr, chars, 0);
  if (emit_fill(pr, pr->fill_left, p.left) != 0) return -1;
  const uint16_t* q = w;
  for (int64 i = 0; i < chars; ++i) {
    char enc[4];
    int32 len = utf8_encode(next(q), enc);
    if (emit(pr, enc, static_cast<size_t>(len)) != 0) return -1;
  }
  return emit_fill(pr, pr->fill_right, p.right);
}

void reset_options(printer* pr) {
  pr->flags = 0;
  pr->fill_left = ' ';
  pr->fill_right = ' ';
  pr->width = 0;
  pr->justify = -1;
  pr->precision = -1;
  pr->use_exponent = 0;
  pr->base = 10;
}

} // namespace

void printer_init(printer* pr, stream* s, sysenv* sys, dtoaenv* dtoa, int32 line_flush) {
  *pr = printer{};
  pr->s = s;
  pr->sys = sys;
  pr->dtoa = dtoa;
  pr->line_flush = line_flush;
}

int32 printer_write(printer* pr, const char* text, size_t n) {
  return emit(pr, text, n);
}

int32 printer_puts(printer* pr, const char* text) {
  return emit(pr, text, std::strlen(text));
}

int32 printer_format(printer* pr, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  int32 r = printer_vformat(pr, fmt, ap);
  va_end(ap);
  return r;
}

int32 printer_vformat(printer* pr, const char* fmt, va_list ap_in) {
  static const int32 kBases[] = {10, 16, 8, 2};
  va_list ap;
  va_copy(ap, ap_in);
  int32 result = 0;
  const char* f = fmt;
  while (*f && result == 0) {
    // Literal text up to the next percent sign or newline goes out in one piece.
    const char* run = f;
    while (*f && *f != '%' && *f != '\n')
      ++f;
    if (f > run && stream_write(pr->s, run, static_cast<size_t>(f - run)) != 0) {
      result = -1;
      break;
    }
    if (*f == '\n') {
      result = emit(pr, "\n", 1);
      ++f;
      continue;
    }
    if (*f != '%') break;
    ++f;
    if (*f == '%') {
      result = stream_putc(pr->s, '%');
      ++f;
      continue;
    }
    reset_options(pr);
    if (*f == '{') {
      for (++f; *f != '}'; ++f) {
        switch (*f) {
        case 'w':
          pr->width = va_arg(ap, int32);
          break;
        case 'j':
          pr->justify = va_arg(ap, int32);
          break;
        case 'p':
          pr->precision = va_arg(ap, int32);
          break;
        case 'f': {
          int32 b = va_arg(ap, int32);
          pr->base = b >= 0 && b <= 3 ? kBases[b] : 10;
          break;
        }
        case 'g':
          pr->fill_left = static_cast<uint16_t>(va_arg(ap, int32));
          break;
        case 'G':
          pr->fill_right = static_cast<uint16_t>(va_arg(ap, int32));
          break;
        case '+':
          pr->flags |= kPrintSign;
          break;
        case '/':
          pr->flags |= kPrintKeepZeros;
          break;
        default:
          result = kFormatError;
          break;
        }
        if (result != 0) break;
      }
      if (result != 0) break;
      ++f; // the closing brace
    }
    char conv = *f++;
    switch (conv) {
    case 'i':
    case 'd':
      result = format_signed(pr, va_arg(ap, int32), 32);
      break;
    case 'u':
    case 'U':
      result = format_integer(pr, va_arg(ap, uint32), false, false);
      break;
    case 'I':
      if (f[0] == '6' && f[1] == '4' && (f[2] == 'd' || f[2] == 'i')) {
        f += 3;
        result = format_signed(pr, va_arg(ap, int64), 64);
      } else if (f[0] == '6' && f[1] == '4' && f[2] == 'u') {
        f += 3;
        result = format_integer(pr, va_arg(ap, uint64), false, false);
      } else {
        result = format_integer(pr, va_arg(ap, uint32), false, false);
      }
      break;
    case 'l':
      result = format_signed(pr, va_arg(ap, int64), 64);
      break;
    case 'L':
      result = format_integer(pr, va_arg(ap, uint64), false, false);
      break;
    case 'e':
    case 'f':
    case 'g':
      result = format_double(pr, va_arg(ap, double), conv);
      break;
    case 'p': {
      void* ptr = va_arg(ap, void*);
      if (!ptr) {
        result = format_string(pr, "(nil)");
        break;
      }
      pr->base = 16;
      uintptr_t u = reinterpret_cast<uintptr_t>(ptr);
      // The prefix counts in the width, like a sign.
      int32 save_prec = pr->precision;
      pr->precision = -1;
      char hex[24];
      int32 n = 0;
      for (uintptr_t t = u; t; t >>= 4)
        hex[n++] = "0123456789abcdef"[t & 15];
      pr->precision = save_prec;
      result = emit_number(pr, "0x", n, [&]() -> int32 {
        char out[24];
        for (int32 i = 0; i < n; ++i)
          out[i] = hex[n - 1 - i];
        return emit(pr, out, static_cast<size_t>(n));
      });
      break;
    }
    case 's':
      result = format_string(pr, va_arg(ap, const char*));
      break;
    case 'w':
      if (*f == 's') {
        ++f;
        result = format_wide_string(pr, va_arg(ap, const uint16_t*));
      } else {
        result = kFormatError;
      }
      break;
    default:
      result = kFormatError;
      break;
    }
  }
  va_end(ap);
  reset_options(pr);
  return result;
}

} // namespace telva
