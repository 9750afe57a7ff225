// Kernels on plain int32 arrays with int64 lengths.
#pragma once

#include "cpub/systypes.h"

namespace telva {

void ivector_fill(int64 n, int32* x, int32 value);
void ivector_copy(int64 n, const int32* from, int32* to);
// y[sub[t]] = x[t] for t < n.
void ivector_scatter(int64 n, const int32* x, const int32* sub, int32* y);
// y[t] = x[sub[t]] for t < n.
void ivector_gather(int64 n, const int32* x, const int32* sub, int32* y);
// y[t] = x[perm[t]]: the permuted copy.
void ivector_permute(int64 n, const int32* perm, const int32* x, int32* y);
// inv[perm[t]] = t.
void ivector_invperm(int64 n, const int32* perm, int32* inv);
// Whether perm holds each of 0..n-1 once; work: n int32, left as it was found (all zero).
bool ivector_isperm(int64 n, const int32* perm, int32* work);
int64 ivector_sum(int64 n, const int32* x);
// Largest entry; the smallest int32 for n == 0.
int32 ivector_max(int64 n, const int32* x);

} // namespace telva
