// Number text of MPS files: a locale-free reader and the writer's shortest form.
#pragma once

#include <cstddef>

#include "cpub/systypes.h"

namespace telva {

// Reads a number from the start of text[0..len). A lone "." is 0.0; a leading "+" is allowed;
// "inf", "infinity" and "nan" in any case are read as such; a magnitude beyond the range of a
// double is an infinity, below it a zero. *used tells how many characters the number took.
// False when the text does not start with a number.
bool mps_parse_number(const char* text, size_t len, double* value, size_t* used);

// Prints v for an MPS file: "0" for zero, else the shortest decimal form with at most
// precision + 1 significant digits, as one digit, a point only when more digits follow, "e",
// the sign and the exponent without leading zeros ("1e+0", "-2.5e-3"). Infinities and NaN
// print as "inf", "-inf", "nan". buf needs 32 bytes; gives the length.
int mps_format_number(double v, int32 precision, char* buf);

} // namespace telva
