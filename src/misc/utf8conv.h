// Conversion between UTF-8 and 16-bit characters (UTF-16, with surrogate pairs for the
// characters beyond the first plane).
#pragma once

#include <cstddef>
#include <cstdint>

namespace telva {

// Converts zero-terminated UTF-8 input into output (room for outputlen units, of which the
// last is kept for the terminator; output may be null to count only). A character that no
// longer fits ends the conversion. *written gets the units written without the terminator,
// *consumed the input bytes converted, or the byte position of a bad sequence. Gives false
// for a bad sequence: a stray continuation byte, a missing continuation byte, an overlong
// form, an encoded surrogate, or a character beyond U+10FFFF.
bool utf8_to_utf16(size_t outputlen, size_t* written, size_t* consumed, uint16_t* output,
                   const char* input);

// The reverse: a zero-terminated 16-bit string into UTF-8 (a character is never split at the
// end of the output). Gives false for a lone surrogate, with *consumed at its position.
bool utf16_to_utf8(size_t outputlen, size_t* written, size_t* consumed, char* output,
                   const uint16_t* input);

} // namespace telva
