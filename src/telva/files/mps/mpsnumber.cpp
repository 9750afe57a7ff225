// Number text of MPS files. Both directions go through std::from_chars and std::to_chars,
// which ignore the locale, so that a file reads the same under every locale.
#include "telva/files/mps/mpsnumber.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace telva {

namespace {

bool word_at(const char* text, size_t len, const char* word) {
  size_t n = std::strlen(word);
  if (len < n) return false;
  for (size_t i = 0; i < n; ++i) {
    char ch = text[i];
    if (ch >= 'A' && ch <= 'Z') ch = static_cast<char>(ch - 'A' + 'a');
    if (ch != word[i]) return false;
  }
  return true;
}

// The length of the longest prefix shaped like a decimal number: digits, one point, digits,
// and an exponent that has at least one digit.
size_t decimal_shape(const char* t, size_t len) {
  size_t i = 0, digits = 0;
  while (i < len && t[i] >= '0' && t[i] <= '9')
    ++i, ++digits;
  if (i < len && t[i] == '.') {
    ++i;
    while (i < len && t[i] >= '0' && t[i] <= '9')
      ++i, ++digits;
  }
  if (digits == 0) return 0;
  if (i < len && (t[i] == 'e' || t[i] == 'E')) {
    size_t k = i + 1;
    if (k < len && (t[k] == '+' || t[k] == '-')) ++k;
    size_t ed = k;
    while (k < len && t[k] >= '0' && t[k] <= '9')
      ++k;
    if (k > ed) i = k;
  }
  return i;
}

} // namespace

bool mps_parse_number(const char* text, size_t len, double* value, size_t* used) {
  size_t i = 0;
  bool negative = false;
  if (i < len && (text[i] == '+' || text[i] == '-')) {
    negative = text[i] == '-';
    ++i;
  }
  const char* t = text + i;
  size_t rest = len - i;
  double v = 0.0;
  size_t n = 0;
  if (word_at(t, rest, "infinity")) {
    v = std::numeric_limits<double>::infinity();
    n = 8;
  } else if (word_at(t, rest, "inf")) {
    v = std::numeric_limits<double>::infinity();
    n = 3;
  } else if (word_at(t, rest, "nan")) {
    v = std::numeric_limits<double>::quiet_NaN();
    n = 3;
  } else if (rest >= 1 && t[0] == '.' && (rest == 1 || t[1] < '0' || t[1] > '9')) {
    v = 0.0; // a lone point
    n = 1;
  } else {
    n = decimal_shape(t, rest);
    if (n == 0) return false;
    auto res = std::from_chars(t, t + n, v, std::chars_format::general);
    if (res.ec == std::errc::result_out_of_range) {
      // Decide between overflow and underflow by the decimal exponent of the text.
      const char* e = t;
      while (e < t + n && *e != 'e' && *e != 'E')
        ++e;
      bool tiny = e < t + n && e + 1 < t + n && e[1] == '-';
      v = tiny ? 0.0 : std::numeric_limits<double>::infinity();
    } else if (res.ec != std::errc() || res.ptr != t + n) {
      return false;
    }
  }
  *value = negative ? -v : v;
  *used = i + n;
  return true;
}

int mps_format_number(double v, int32 precision, char* buf) {
  if (v == 0.0) {
    std::memcpy(buf, "0", 2);
    return 1;
  }
  if (std::isnan(v)) {
    std::memcpy(buf, "nan", 4);
    return 3;
  }
  if (std::isinf(v)) {
    const char* w = v < 0 ? "-inf" : "inf";
    std::strcpy(buf, w);
    return static_cast<int>(std::strlen(w));
  }
  if (precision < 0) precision = 0;
  if (precision > 16) precision = 16;
  char tmp[64];
  auto res = std::to_chars(tmp, tmp + sizeof tmp, v, std::chars_format::scientific);
  *res.ptr = '\0';
  // Count the significant digits of the shortest form; too many are rounded to the limit.
  char* e = std::strchr(tmp, 'e');
  int digits = 0;
  for (char* p = tmp; p < e; ++p)
    digits += *p >= '0' && *p <= '9';
  if (digits > precision + 1) {
    res = std::to_chars(tmp, tmp + sizeof tmp, v, std::chars_format::scientific, precision);
    *res.ptr = '\0';
    e = std::strchr(tmp, 'e');
    // Rounding may leave trailing zeros in the mantissa: drop them, and the point with them.
    char* end = e;
    char* point = std::strchr(tmp, '.');
    if (point && point < e) {
      while (end > point + 1 && end[-1] == '0')
        --end;
      if (end == point + 1) --end;
    }
    std::memmove(end, e, std::strlen(e) + 1);
    e = end;
  }
  // The exponent: sign always, no leading zeros.
  int len = static_cast<int>(e - tmp);
  std::memcpy(buf, tmp, static_cast<size_t>(len));
  buf[len++] = 'e';
  const char* x = e + 1;
  char sign = '+';
  if (*x == '+' || *x == '-') sign = *x++;
  while (*x == '0' && x[1] != '\0')
    ++x;
  buf[len++] = sign;
  size_t xl = std::strlen(x);
  std::memcpy(buf + len, x, xl + 1);
  return len + static_cast<int>(xl);
}

} // namespace telva
