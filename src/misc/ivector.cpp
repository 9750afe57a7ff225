// Kernels on int32 arrays.
#include "misc/ivector.h"

#include <limits>

namespace telva {

void ivector_fill(int64 n, int32* x, int32 value) {
  for (int64 t = 0; t < n; ++t)
    x[t] = value;
}

void ivector_copy(int64 n, const int32* from, int32* to) {
  for (int64 t = 0; t < n; ++t)
    to[t] = from[t];
}

void ivector_scatter(int64 n, const int32* x, const int32* sub, int32* y) {
  for (int64 t = 0; t < n; ++t)
    y[sub[t]] = x[t];
}

void ivector_gather(int64 n, const int32* x, const int32* sub, int32* y) {
  for (int64 t = 0; t < n; ++t)
    y[t] = x[sub[t]];
}

void ivector_permute(int64 n, const int32* perm, const int32* x, int32* y) {
  for (int64 t = 0; t < n; ++t)
    y[t] = x[perm[t]];
}

void ivector_invperm(int64 n, const int32* perm, int32* inv) {
  for (int64 t = 0; t < n; ++t)
    inv[perm[t]] = static_cast<int32>(t);
}

bool ivector_isperm(int64 n, const int32* perm, int32* work) {
  bool ok = true;
  int64 t = 0;
  for (; t < n; ++t) {
    if (perm[t] < 0 || perm[t] >= n || work[perm[t]]) {
      ok = false;
      break;
    }
    work[perm[t]] = 1;
  }
  for (int64 s = 0; s < t; ++s)
    work[perm[s]] = 0;
  return ok;
}

int64 ivector_sum(int64 n, const int32* x) {
  int64 s = 0;
  for (int64 t = 0; t < n; ++t)
    s += x[t];
  return s;
}

int32 ivector_max(int64 n, const int32* x) {
  int32 m = std::numeric_limits<int32>::min();
  for (int64 t = 0; t < n; ++t)
    if (x[t] > m) m = x[t];
  return m;
}

} // namespace telva
