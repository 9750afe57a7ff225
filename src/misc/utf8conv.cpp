#include "misc/utf8conv.h"

namespace telva {

namespace {

// Decodes one sequence at s. The lead byte tells the length: 110xxxxx 2, 1110xxxx 3,
// 11110xxx 4, 111110xx 5, 1111110x 6; each further byte must be 10xxxxxx. Gives the
// length, or 0 for a bad sequence.
size_t decode(const unsigned char* s, uint32_t* cp) {
  unsigned char b = s[0];
  if (b < 0x80) {
    *cp = b;
    return 1;
  }
  size_t len;
  uint32_t v;
  if ((b & 0xe0) == 0xc0) {
    len = 2;
    v = b & 0x1f;
  } else if ((b & 0xf0) == 0xe0) {
    len = 3;
    v = b & 0x0f;
  } else if ((b & 0xf8) == 0xf0) {
    len = 4;
    v = b & 0x07;
  } else if ((b & 0xfc) == 0xf8) {
    len = 5;
    v = b & 0x03;
  } else if ((b & 0xfe) == 0xfc) {
    len = 6;
    v = b & 0x01;
  } else {
    return 0; // a continuation byte, 0xfe or 0xff cannot lead
  }
  for (size_t i = 1; i < len; ++i) {
    if ((s[i] & 0xc0) != 0x80) return 0;
    v = (v << 6) | (s[i] & 0x3f);
  }
  static const uint32_t kMin[] = {0, 0, 0x80, 0x800, 0x10000, 0x200000, 0x4000000};
  if (v < kMin[len]) return 0;             // overlong
  if (v > 0x10ffff) return 0;              // beyond what 16-bit units can carry
  if (v >= 0xd800 && v < 0xe000) return 0; // surrogates are not characters
  *cp = v;
  return len;
}

} // namespace

bool utf8_to_utf16(size_t outputlen, size_t* written, size_t* consumed, uint16_t* output,
                   const char* input) {
  const unsigned char* s = reinterpret_cast<const unsigned char*>(input);
  size_t pos = 0, out = 0;
  size_t room = outputlen > 0 ? outputlen - 1 : 0;
  bool ok = true;
  while (s[pos]) {
    uint32_t cp = 0;
    size_t len = decode(s + pos, &cp);
    if (len == 0) {
      ok = false;
      break;
    }
    size_t units = cp >= 0x10000 ? 2 : 1;
    if (output && out + units > room) break;
    if (output) {
      if (units == 2) {
        output[out] = static_cast<uint16_t>(0xd800 + ((cp - 0x10000) >> 10));
        output[out + 1] = static_cast<uint16_t>(0xdc00 + ((cp - 0x10000) & 0x3ff));
      } else {
        output[out] = static_cast<uint16_t>(cp);
      }
    }
    out += units;
    pos += len;
  }
  if (output && outputlen > 0) output[out] = 0;
  if (written) *written = out;
  if (consumed) *consumed = pos;
  return ok;
}

bool utf16_to_utf8(size_t outputlen, size_t* written, size_t* consumed, char* output,
                   const uint16_t* input) {
  size_t pos = 0, out = 0;
  size_t room = outputlen > 0 ? outputlen - 1 : 0;
  bool ok = true;
  while (input[pos]) {
    uint32_t cp = input[pos];
    size_t units = 1;
    if (cp >= 0xd800 && cp < 0xdc00 && input[pos + 1] >= 0xdc00 && input[pos + 1] < 0xe000) {
      cp = 0x10000 + ((cp - 0xd800) << 10) + (input[pos + 1] - 0xdc00u);
      units = 2;
    } else if (cp >= 0xd800 && cp < 0xe000) {
      ok = false;
      break;
    }
    char enc[4];
    size_t len;
    if (cp < 0x80) {
      enc[0] = static_cast<char>(cp);
      len = 1;
    } else if (cp < 0x800) {
      enc[0] = static_cast<char>(0xc0 | (cp >> 6));
      enc[1] = static_cast<char>(0x80 | (cp & 0x3f));
      len = 2;
    } else if (cp < 0x10000) {
      enc[0] = static_cast<char>(0xe0 | (cp >> 12));
      enc[1] = static_cast<char>(0x80 | ((cp >> 6) & 0x3f));
      enc[2] = static_cast<char>(0x80 | (cp & 0x3f));
      len = 3;
    } else {
      enc[0] = static_cast<char>(0xf0 | (cp >> 18));
      enc[1] = static_cast<char>(0x80 | ((cp >> 12) & 0x3f));
      enc[2] = static_cast<char>(0x80 | ((cp >> 6) & 0x3f));
      enc[3] = static_cast<char>(0x80 | (cp & 0x3f));
      len = 4;
    }
    if (output && out + len > room) break;
    if (output)
      for (size_t i = 0; i < len; ++i)
        output[out + i] = enc[i];
    out += len;
    pos += units;
  }
  if (output && outputlen > 0) output[out] = '\0';
  if (written) *written = out;
  if (consumed) *consumed = pos;
  return ok;
}

} // namespace telva
