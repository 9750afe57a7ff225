// Sort routines that take their work memory from the caller. Each checks that the work array
// is long enough: n + offset must not exceed the work length, where offset is the place in the
// work array from which the routine may use it.
#pragma once

#include "cpub/sysenv.h"

namespace telva {

// Stable counting sort by an integer key in [0, keyrange), in two passes (count, place): the
// result is perm, the positions of the items in sorted order. For small key ranges.
// work: keyrange + 1 int64 entries from offset.
void sort_counting(sysenv* sys, int32 n, const int32* key, int32 keyrange, int32* perm, int64* work,
                   int64 worklen, int64 offset);

// Stable merge sorts of keys in increasing order, carrying a companion array along.
// work: n entries of the key type and n of the companion type, both from offset.
void sort_i32_i32(sysenv* sys, int32 n, int32* key, int32* comp, int32* wkey, int32* wcomp,
                  int64 worklen, int64 offset);
void sort_i32_r64(sysenv* sys, int32 n, int32* key, double* comp, int32* wkey, double* wcomp,
                  int64 worklen, int64 offset);
void sort_r64_i32(sysenv* sys, int32 n, double* key, int32* comp, double* wkey, int32* wcomp,
                  int64 worklen, int64 offset);
// The long forms, with int64 lengths.
void sort_i32_i32_long(sysenv* sys, int64 n, int32* key, int32* comp, int32* wkey, int32* wcomp,
                       int64 worklen, int64 offset);
void sort_i32_r64_long(sysenv* sys, int64 n, int32* key, double* comp, int32* wkey, double* wcomp,
                       int64 worklen, int64 offset);
void sort_r64_i32_long(sysenv* sys, int64 n, double* key, int32* comp, double* wkey, int32* wcomp,
                       int64 worklen, int64 offset);

} // namespace telva
