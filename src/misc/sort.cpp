// Counting sort and merge sorts with caller-given work memory.
#include "misc/sort.h"

namespace telva {

namespace {

void check_work(sysenv* sys, int64 n, int64 offset, int64 worklen) {
  if (n + offset > worklen)
    sysenv_fatal(sys, TVA_HERE, "Assertion 'n+offset<=worklen' failed: %lld %lld %lld",
                 static_cast<long long>(n), static_cast<long long>(offset),
                 static_cast<long long>(worklen));
}

// Bottom-up merge sort: runs of width w are merged from (k, c) into (wk, wc) and back. Stable,
// since a tie takes the element of the left run first.
template <class K, class C> void merge_sort(int64 n, K* key, C* comp, K* wk, C* wc) {
  if (n < 2) return;
  K* srck = key;
  C* srcc = comp;
  K* dstk = wk;
  C* dstc = wc;
  for (int64 w = 1; w < n; w *= 2) {
    for (int64 lo = 0; lo < n; lo += 2 * w) {
      int64 mid = lo + w < n ? lo + w : n;
      int64 hi = lo + 2 * w < n ? lo + 2 * w : n;
      int64 i = lo, j = mid, o = lo;
      while (i < mid && j < hi) {
        if (srck[j] < srck[i]) {
          dstk[o] = srck[j];
          dstc[o++] = srcc[j++];
        } else {
          dstk[o] = srck[i];
          dstc[o++] = srcc[i++];
        }
      }
      while (i < mid) {
        dstk[o] = srck[i];
        dstc[o++] = srcc[i++];
      }
      while (j < hi) {
        dstk[o] = srck[j];
        dstc[o++] = srcc[j++];
      }
    }
    K* tk = srck;
    srck = dstk;
    dstk = tk;
    C* tc = srcc;
    srcc = dstc;
    dstc = tc;
  }
  if (srck != key) {
    for (int64 t = 0; t < n; ++t) {
      key[t] = srck[t];
      comp[t] = srcc[t];
    }
  }
}

template <class K, class C>
void sort_pair(sysenv* sys, int64 n, K* key, C* comp, K* wk, C* wc, int64 worklen, int64 offset) {
  check_work(sys, n, offset, worklen);
  merge_sort(n, key, comp, wk + offset, wc + offset);
}

} // namespace

void sort_counting(sysenv* sys, int32 n, const int32* key, int32 keyrange, int32* perm, int64* work,
                   int64 worklen, int64 offset) {
  check_work(sys, int64(keyrange) + 1, offset, worklen);
  int64* count = work + offset;
  for (int32 k = 0; k <= keyrange; ++k)
    count[k] = 0;
  for (int32 t = 0; t < n; ++t)
    count[key[t] + 1]++;
  for (int32 k = 0; k < keyrange; ++k)
    count[k + 1] += count[k];
  for (int32 t = 0; t < n; ++t)
    perm[count[key[t]]++] = t;
}

void sort_i32_i32(sysenv* sys, int32 n, int32* key, int32* comp, int32* wkey, int32* wcomp,
                  int64 worklen, int64 offset) {
  sort_pair(sys, n, key, comp, wkey, wcomp, worklen, offset);
}
void sort_i32_r64(sysenv* sys, int32 n, int32* key, double* comp, int32* wkey, double* wcomp,
                  int64 worklen, int64 offset) {
  sort_pair(sys, n, key, comp, wkey, wcomp, worklen, offset);
}
void sort_r64_i32(sysenv* sys, int32 n, double* key, int32* comp, double* wkey, int32* wcomp,
                  int64 worklen, int64 offset) {
  sort_pair(sys, n, key, comp, wkey, wcomp, worklen, offset);
}
void sort_i32_i32_long(sysenv* sys, int64 n, int32* key, int32* comp, int32* wkey, int32* wcomp,
                       int64 worklen, int64 offset) {
  sort_pair(sys, n, key, comp, wkey, wcomp, worklen, offset);
}
void sort_i32_r64_long(sysenv* sys, int64 n, int32* key, double* comp, int32* wkey, double* wcomp,
                       int64 worklen, int64 offset) {
  sort_pair(sys, n, key, comp, wkey, wcomp, worklen, offset);
}
void sort_r64_i32_long(sysenv* sys, int64 n, double* key, int32* comp, double* wkey, int32* wcomp,
                       int64 worklen, int64 offset) {
  sort_pair(sys, n, key, comp, wkey, wcomp, worklen, offset);
}

} // namespace telva
