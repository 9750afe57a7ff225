// Cold-start scaling of the working form: row factors r and column factors c so that the
// scaled matrix R A C has its largest entries near 1, without pushing small entries below
// 1e-6 of the largest, without making tight ranged rows narrower than the tolerances can see,
// and without blowing up the costs. With the power-of-two method every factor is rounded to a
// power of two so that scaling adds no rounding error.
#include <algorithm>
#include <cmath>

#include "cpub/sysalloc.h"
#include "simplex/simplex.h"

namespace telva {

namespace {

bool finite_range(double lo, double up) {
  return lo > -kSimInf && up < kSimInf;
}

// Largest and smallest nonzero |a_ij| r_i c_j of every row and column.
void scaled_extremes(const SimplexLp& lp, const double* r, const double* c, double* rmax,
                     double* rmin, double* cmax, double* cmin) {
  for (int32 i = 0; i < lp.numcon; ++i)
    rmax[i] = 0.0, rmin[i] = kSimInf;
  for (int32 j = 0; j < lp.numvar; ++j) {
    cmax[j] = 0.0, cmin[j] = kSimInf;
    for (int32 k = lp.aptr[j]; k < lp.aptr[j + 1]; ++k) {
      double v = std::fabs(lp.aval[k]) * r[lp.asub[k]] * c[j];
      if (v == 0.0) continue;
      int32 i = lp.asub[k];
      rmax[i] = std::max(rmax[i], v), rmin[i] = std::min(rmin[i], v);
      cmax[j] = std::max(cmax[j], v), cmin[j] = std::min(cmin[j], v);
    }
  }
}

// Keeps a ranged row's scaled width at 0.01 or more when its factor would shrink it.
double guard_ranged_row(const SimplexLp& lp, int32 i, double ri, double f, int32* passlimit) {
  if (f >= 1.0 || !finite_range(lp.blc[i], lp.buc[i])) return f;
  double w = lp.buc[i] - lp.blc[i];
  if (w <= 0.0 || ri * f * w >= 0.01) return f;
  *passlimit = 1;
  return std::min(1.0, std::max(f, 0.01 / (ri * w)));
}

double round_pow2(double f) {
  if (f == 1.0) return f;
  f = std::clamp(f, 1e-5, 1e5);
  int e = 0;
  std::frexp(f, &e);
  return std::ldexp(1.0, e);
}

} // namespace

bool simplex_computescalingcoldstart(sysenv* sys, const SimplexSettings& s, const SimplexLp& lp,
                                     double* r, double* c) {
  const int32 m = lp.numcon, n = lp.numvar;
  for (int32 i = 0; i < m; ++i)
    r[i] = 1.0;
  for (int32 j = 0; j < n; ++j)
    c[j] = 1.0;
  if (m == 0 || n == 0) return true;
  try {
    SysAllocator<double> al(sys);
    SysVector<double> rmax(m, 0.0, al), rmin(m, 0.0, al), cmax(n, 0.0, al), cmin(n, 0.0, al);
    auto cost = [&](int32 j) { return lp.c ? std::fabs(lp.c[j]) : 0.0; };
    // Geometric passes first: each row and column is divided by the geometric mean of its
    // largest and smallest entry, which shrinks the spread of the whole matrix; the passes
    // below then bring the largest entries to 1.
    for (int32 pass = 0; pass < 6; ++pass) {
      scaled_extremes(lp, r, c, rmax.data(), rmin.data(), cmax.data(), cmin.data());
      double spread = 0.0;
      for (int32 i = 0; i < m; ++i)
        if (rmax[i] > 0.0) {
          spread = std::max(spread, rmax[i] / rmin[i]);
          r[i] /= std::sqrt(rmax[i] * rmin[i]);
        }
      scaled_extremes(lp, r, c, rmax.data(), rmin.data(), cmax.data(), cmin.data());
      for (int32 j = 0; j < n; ++j)
        if (cmax[j] > 0.0) c[j] /= std::sqrt(cmax[j] * cmin[j]);
      if (spread < 10.0) break;
    }
    int32 passlimit = 3;
    for (int32 pass = 0; pass < passlimit; ++pass) {
      bool changed = false;
      // Column pass.
      scaled_extremes(lp, r, c, rmax.data(), rmin.data(), cmax.data(), cmin.data());
      for (int32 j = 0; j < n; ++j) {
        double mx = cmax[j], mn = cmin[j];
        if (mx == 0.0) continue;
        double f = 1.0;
        if (mx > 1.0)
          f = std::max(1.0 / mx, 1e-6 / mn);
        else if (mx < 1.0 && cost(j) * c[j] / mx < 1000.0)
          f = 1.0 / mx;
        if (f != 1.0) c[j] *= f, changed = true;
      }
      // Row pass.
      scaled_extremes(lp, r, c, rmax.data(), rmin.data(), cmax.data(), cmin.data());
      for (int32 i = 0; i < m; ++i) {
        double mx = rmax[i], mn = rmin[i];
        if (mx == 0.0 || mx == 1.0) continue;
        double f = mx > 1.0 ? std::max(1.0 / mx, 1e-6 / mn) : 1.0 / mx;
        f = guard_ranged_row(lp, i, r[i], f, &passlimit);
        if (f != 1.0) r[i] *= f, changed = true;
      }
      if (!changed) break;
    }
    // Final sweep: rows, then columns, that still lie wholly above or below 1.
    scaled_extremes(lp, r, c, rmax.data(), rmin.data(), cmax.data(), cmin.data());
    for (int32 i = 0; i < m; ++i) {
      double mx = rmax[i], mn = rmin[i], f = 1.0;
      if (mx == 0.0) continue;
      if (mx > 1.0 && mn > 1.0)
        f = 1.0 / mn;
      else if (mx < 1.0)
        f = guard_ranged_row(lp, i, r[i], 1.0 / mx, &passlimit);
      r[i] *= f;
    }
    scaled_extremes(lp, r, c, rmax.data(), rmin.data(), cmax.data(), cmin.data());
    for (int32 j = 0; j < n; ++j) {
      double mx = cmax[j], mn = cmin[j];
      if (mx == 0.0) continue;
      if (mx > 1.0 && mn > 1.0 && cost(j) * c[j] / mn > 1e-4)
        c[j] /= mn;
      else if (mx < 1.0 && cost(j) * c[j] / mx < 1000.0)
        c[j] /= mx;
    }
    if (s.scalmethod == 0) {
      for (int32 i = 0; i < m; ++i)
        r[i] = round_pow2(r[i]);
      for (int32 j = 0; j < n; ++j)
        c[j] = round_pow2(c[j]);
    }
    // Narrow ranges that scaling left below what the tolerances can tell apart are widened.
    const double widen = s.scalmethod == 0 ? 1024.0 : 1000.0;
    for (int32 i = 0; i < m; ++i) {
      if (!finite_range(lp.blc[i], lp.buc[i])) continue;
      double w = r[i] * (lp.buc[i] - lp.blc[i]);
      if (w < 1e-3 && w > 1e-10) r[i] *= widen;
    }
    for (int32 j = 0; j < n; ++j) {
      if (!finite_range(lp.blx[j], lp.bux[j])) continue;
      double w = (lp.bux[j] - lp.blx[j]) / c[j];
      if (w < 1e-3 && w > 1e-10) c[j] /= widen;
    }
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

} // namespace telva
