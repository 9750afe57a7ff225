// Estimate of the 1-norm of the inverse by Hager's method with Higham's refinements: a few
// forward and transposed solves search for the unit vector that the inverse stretches most,
// and an extra alternating test vector guards against the cases where that search stalls.
// Every vector tried has 1-norm one, so each result is a lower bound of the true norm.
#include <cmath>

#include "lu/lu_data.h"

namespace telva {

namespace {
constexpr int32 kMaxRounds = 5;
constexpr double kGuardRatio = 1e24;
} // namespace

int32 lu_condestimate(lu* f, double* est) {
  *est = -1.0;
  if (f->nrow != f->ncol) return kLuNotSquare;
  if (f->factormode != kLuFactored) return kLuNotFactorized;
  int32 n = f->nrow;
  if (n == 0) {
    *est = 0.0;
    return kLuOk;
  }
  double* buf = TVA_SYS_ALLOC(f->sys, double, 4 * (size_t)n);
  if (!buf) return kLuNoMemory;
  double *x = buf, *y = buf + n, *sgn = buf + 2 * n, *z = buf + 3 * n;
  for (int32 i = 0; i < n; ++i)
    x[i] = 1.0 / n;
  double best = 0.0;
  int32 st = kLuOk;
  bool havesigns = false;
  for (int32 round = 0; round < kMaxRounds; ++round) {
    if (lu_ftranguarded(f, kGuardRatio, x, y) == kLuGuardHit) {
      st = kLuCondGuard;
      break;
    }
    double e = 0.0;
    for (int32 i = 0; i < n; ++i)
      e += std::fabs(y[i]);
    bool grew = e > best;
    bool moved = !havesigns;
    for (int32 i = 0; i < n; ++i) {
      double s = y[i] > 0.0 ? 1.0 : (y[i] < 0.0 ? -1.0 : 0.0);
      if (std::fabs(s - sgn[i]) > 1e-14) moved = true;
      sgn[i] = s;
    }
    havesigns = true;
    if (e > best) best = e;
    if (!grew || !moved) break;
    for (int32 i = 0; i < n; ++i)
      z[i] = sgn[i];
    lu_btran(f, z, x); // x now holds the transposed solve
    int32 jmax = 0;
    for (int32 i = 1; i < n; ++i)
      if (std::fabs(x[i]) > std::fabs(x[jmax])) jmax = i;
    if (round > 0 && best >= std::fabs(x[jmax])) break;
    for (int32 i = 0; i < n; ++i)
      x[i] = 0.0;
    x[jmax] = 1.0;
  }
  if (st == kLuOk) {
    // Higham's alternating vector of 1-norm 3n/2 scaled to 1.
    double scale = n > 1 ? 1.0 / (n - 1) : 0.0;
    for (int32 i = 0; i < n; ++i)
      x[i] = ((i % 2) ? -1.0 : 1.0) * (1.0 + i * scale);
    if (lu_ftranguarded(f, kGuardRatio, x, y) == kLuGuardHit) {
      st = kLuCondGuard;
    } else {
      double e = 0.0;
      for (int32 i = 0; i < n; ++i)
        e += std::fabs(y[i]);
      double norm = n > 1 ? 1.5 * n : 1.0;
      if (e / norm > best) best = e / norm;
    }
  }
  TVA_SYS_FREE(f->sys, buf);
  if (st == kLuOk) *est = best;
  return st;
}

} // namespace telva
