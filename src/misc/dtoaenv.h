// Double-to-text and text-to-double conversion with correct rounding. Each task owns one
// context, whose big numbers come from a private pool and private free lists, so that two
// tasks convert at the same time without sharing anything and a conversion as a rule doesn't
// call the allocator.
#pragma once

#include "cpub/sysenv.h"

namespace telva {

struct DtoaBig;

struct dtoaenv {
  sysenv* sys = nullptr;
  DtoaBig* freelist[16] = {nullptr}; // by size class: 1 << k limbs
  double pool[925];                  // big numbers are carved from here first
  size_t pool_used = 0;              // doubles of the pool handed out
};

// Most significant digits a double can have in its exact decimal expansion, with room.
constexpr int32 kDtoaMaxDigits = 800;

dtoaenv* dtoaenv_make(sysenv* sys);
void dtoaenv_delete(dtoaenv** env);
// Frees what a context took beyond its pool and empties the pool (for a context that lives
// on the stack).
void dtoaenv_release(dtoaenv* env);

// All decimal digits of finite, non-zero |value|, exactly, without trailing zeros, in
// digits[0..n) (room for kDtoaMaxDigits); value = 0.d1d2...dn * 10^decpt. Gives n.
int32 dtoa_exact(dtoaenv* env, double value, char* digits, int32* decpt);

// The shortest digit string that reads back to the same double (at most 17 digits), in the
// same form as dtoa_exact. Gives n.
int32 dtoa_shortest(dtoaenv* env, double value, char* digits, int32* decpt);

// Rounds an exact digit string (from dtoa_exact) to keep digits, half to even. keep may be
// 0 or negative. Gives the new count (trailing zeros dropped, 0 when it rounds to zero);
// decpt moves when a carry makes a new leading digit.
int32 dtoa_round_digits(char* digits, int32 n, int32* decpt, int32 keep);

// Parses a decimal number (optional sign, digits with an optional point, optional exponent,
// or "inf", "infinity", "nan" in any case) with correct rounding, half to even. *end points
// after the number, or at text when no number was read (result 0).
double dtoa_strtod(dtoaenv* env, const char* text, const char** end);

} // namespace telva
