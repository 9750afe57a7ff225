// Linear problems for the simplex tests, built by hand or at random, and the checks of their
// answers from first principles: primal and dual feasibility and complementary slackness of an
// optimum, the Farkas conditions of a primal infeasibility certificate and the ray conditions of
// a dual infeasibility certificate.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "simplex/simplex.h"
#include "telva.h"

namespace simtest {

using telva::int32;
constexpr double kInf = 1e30;

struct Lp {
  int32 m = 0, n = 0;
  std::vector<int32> ptr{0}, sub;
  std::vector<double> val, c, blc, buc, blx, bux;
  double cfix = 0.0;
  bool maximize = false;

  // Rows first: Lp lp(m); then add columns.
  explicit Lp(int32 rows = 0) : m(rows), blc(rows, -kInf), buc(rows, kInf) {}
  void col(double cost, double lo, double up, std::vector<std::pair<int32, double>> entries) {
    for (auto [i, v] : entries)
      sub.push_back(i), val.push_back(v);
    ptr.push_back((int32)sub.size());
    c.push_back(cost), blx.push_back(lo), bux.push_back(up);
    n++;
  }
  void row(int32 i, double lo, double up) { blc[i] = lo, buc[i] = up; }
  telva::SimplexLp view() const {
    telva::SimplexLp v;
    v.numcon = m, v.numvar = n;
    v.aptr = ptr.data(), v.asub = sub.data(), v.aval = val.data();
    v.c = c.data(), v.cfix = cfix;
    v.blc = blc.data(), v.buc = buc.data(), v.blx = blx.data(), v.bux = bux.data();
    v.maximize = maximize;
    return v;
  }
  // A x
  std::vector<double> times(const std::vector<double>& x) const {
    std::vector<double> r(m, 0.0);
    for (int32 j = 0; j < n; ++j)
      for (int32 k = ptr[j]; k < ptr[j + 1]; ++k)
        r[sub[k]] += val[k] * x[j];
    return r;
  }
  // A' y
  std::vector<double> ttimes(const std::vector<double>& y) const {
    std::vector<double> r(n, 0.0);
    for (int32 j = 0; j < n; ++j)
      for (int32 k = ptr[j]; k < ptr[j + 1]; ++k)
        r[j] += val[k] * y[sub[k]];
    return r;
  }
};

struct Result {
  int32 code = -1;
  telva::SimplexStat stat;
  std::vector<int32> skc, skx;
  std::vector<double> xc, xx, y, slc, suc, slx, sux;
  double pobj = 0.0;
  int32 iters() const { return stat.iter[telva::kSimPrimal]; }
};

// A sysenv for one test, checked for leaks at the end.
struct Sys {
  telva::sysenv* sys = nullptr;
  Sys() { telva::sysenv_create(&sys, 0, telva::memman_default_hooks(), nullptr, "simplex"); }
  ~Sys() {
    telva::int64 cur = 0, mx = 0;
    telva::memman_usage(sys->mm, &cur, &mx);
    EXPECT_LE(cur, (telva::int64)sizeof(telva::sysenv) + 64) << "memory left in use";
    telva::sysenv_delete(&sys);
  }
};

// Tight tolerances, primal simplex (the dual tests choose their optimizer themselves).
inline telva::SimplexSettings tight_settings(int32 optimizer = telva::kSimPrimal) {
  telva::SimplexSettings s;
  s.optimizer = optimizer;
  for (int32 k = 0; k < 4; ++k)
    s.tolx[k] = s.tols[k] = 1e-9;
  return s;
}

// Solves; with start given, its keys and values are the hot start; basis is the record that
// keeps the final LU for the next start.
inline Result solve(telva::sysenv* sys, const Lp& lp, const telva::SimplexSettings& s,
                    const Result* start = nullptr, telva::SimplexBasis* basis = nullptr) {
  Result r;
  r.skc.assign(lp.m, 0), r.skx.assign(lp.n, 0);
  r.xc.assign(lp.m, 0.0), r.xx.assign(lp.n, 0.0), r.y.assign(lp.m, 0.0);
  r.slc.assign(lp.m, 0.0), r.suc.assign(lp.m, 0.0), r.slx.assign(lp.n, 0.0);
  r.sux.assign(lp.n, 0.0);
  if (start) r.skc = start->skc, r.skx = start->skx, r.xc = start->xc, r.xx = start->xx;
  telva::SimplexSolution sol;
  sol.skc = r.skc.data(), sol.skx = r.skx.data(), sol.xc = r.xc.data(), sol.xx = r.xx.data();
  sol.y = r.y.data(), sol.slc = r.slc.data(), sol.suc = r.suc.data();
  sol.slx = r.slx.data(), sol.sux = r.sux.data();
  telva::SimplexLp v = lp.view();
  r.code = telva::simplex_optimize(sys, s, &r.stat, v, &sol, nullptr, nullptr, basis);
  r.pobj = sol.pobj;
  return r;
}

inline bool fin(double b) {
  return std::fabs(b) < kInf;
}

// Largest violation of the optimality conditions, each relative to the size of its terms:
// A xx = xc, bounds, c - A'y = slx - sux (negated duals for a maximization), y = slc - suc,
// signs of the dual parts, dual parts only on finite bounds, complementary slackness.
inline double kkt_violation(const Lp& lp, const Result& r) {
  double worst = 0.0;
  auto upd = [&](double v, double scale) { worst = std::max(worst, v / (1.0 + scale)); };
  const double sg = lp.maximize ? -1.0 : 1.0;
  auto ax = lp.times(r.xx);
  for (int32 i = 0; i < lp.m; ++i) {
    upd(std::fabs(ax[i] - r.xc[i]), std::fabs(ax[i]));
    if (fin(lp.blc[i])) upd(std::max(0.0, lp.blc[i] - r.xc[i]), std::fabs(lp.blc[i]));
    if (fin(lp.buc[i])) upd(std::max(0.0, r.xc[i] - lp.buc[i]), std::fabs(lp.buc[i]));
  }
  for (int32 j = 0; j < lp.n; ++j) {
    if (fin(lp.blx[j])) upd(std::max(0.0, lp.blx[j] - r.xx[j]), std::fabs(lp.blx[j]));
    if (fin(lp.bux[j])) upd(std::max(0.0, r.xx[j] - lp.bux[j]), std::fabs(lp.bux[j]));
  }
  // In minimization signs: y' = sg y, s' = sg s all nonnegative.
  auto aty = lp.ttimes(r.y);
  for (int32 j = 0; j < lp.n; ++j) {
    double sl = sg * r.slx[j], su = sg * r.sux[j];
    upd(std::fabs(sg * (lp.c[j] - aty[j]) - (sl - su)), std::fabs(lp.c[j]) + std::fabs(aty[j]));
    upd(std::max(0.0, -sl), 0.0), upd(std::max(0.0, -su), 0.0);
    if (!fin(lp.blx[j])) upd(sl, 0.0);
    if (!fin(lp.bux[j])) upd(su, 0.0);
    if (fin(lp.blx[j])) upd(sl * std::fabs(r.xx[j] - lp.blx[j]), std::fabs(lp.blx[j]));
    if (fin(lp.bux[j])) upd(su * std::fabs(lp.bux[j] - r.xx[j]), std::fabs(lp.bux[j]));
  }
  for (int32 i = 0; i < lp.m; ++i) {
    double sl = sg * r.slc[i], su = sg * r.suc[i];
    upd(std::fabs(sg * r.y[i] - (sl - su)), std::fabs(r.y[i]));
    upd(std::max(0.0, -sl), 0.0), upd(std::max(0.0, -su), 0.0);
    if (!fin(lp.blc[i])) upd(sl, 0.0);
    if (!fin(lp.buc[i])) upd(su, 0.0);
    if (fin(lp.blc[i])) upd(sl * std::fabs(r.xc[i] - lp.blc[i]), std::fabs(lp.blc[i]));
    if (fin(lp.buc[i])) upd(su * std::fabs(lp.buc[i] - r.xc[i]), std::fabs(lp.buc[i]));
  }
  return worst;
}

// Farkas: A'y + slx - sux = 0, -y + slc - suc = 0, parts nonnegative and only on finite
// bounds, and lc'slc - uc'suc + lx'slx - ux'sux > 0 (normalized by the size of the parts).
// Returns that normalized value; the equations must hold to tol.
inline double farkas_margin(const Lp& lp, const Result& r, double tol) {
  auto aty = lp.ttimes(r.y);
  double size = 0.0, val = 0.0;
  for (int32 j = 0; j < lp.n; ++j) {
    EXPECT_NEAR(aty[j] + r.slx[j] - r.sux[j], 0.0, tol) << "column " << j;
    EXPECT_GE(r.slx[j], -tol);
    EXPECT_GE(r.sux[j], -tol);
    if (r.slx[j] > tol) {
      EXPECT_TRUE(fin(lp.blx[j]));
      if (fin(lp.blx[j])) val += lp.blx[j] * r.slx[j];
    }
    if (r.sux[j] > tol) {
      EXPECT_TRUE(fin(lp.bux[j]));
      if (fin(lp.bux[j])) val -= lp.bux[j] * r.sux[j];
    }
    size += r.slx[j] + r.sux[j];
  }
  for (int32 i = 0; i < lp.m; ++i) {
    EXPECT_NEAR(-r.y[i] + r.slc[i] - r.suc[i], 0.0, tol) << "row " << i;
    EXPECT_GE(r.slc[i], -tol);
    EXPECT_GE(r.suc[i], -tol);
    if (r.slc[i] > tol) {
      EXPECT_TRUE(fin(lp.blc[i]));
      if (fin(lp.blc[i])) val += lp.blc[i] * r.slc[i];
    }
    if (r.suc[i] > tol) {
      EXPECT_TRUE(fin(lp.buc[i]));
      if (fin(lp.buc[i])) val -= lp.buc[i] * r.suc[i];
    }
    size += r.slc[i] + r.suc[i];
  }
  return size > 0 ? val / size : 0.0;
}

// Ray: A d = dc, each component moves only toward an infinite bound, and c'd improves the
// objective (below 0 for a minimization). Returns c'd normalized by |d|, in minimization sign.
inline double ray_slope(const Lp& lp, const Result& r, double tol) {
  auto ad = lp.times(r.xx);
  double nrm = 0.0, cd = 0.0;
  for (int32 j = 0; j < lp.n; ++j) {
    nrm = std::max(nrm, std::fabs(r.xx[j]));
    cd += lp.c[j] * r.xx[j];
    if (r.xx[j] > tol) {
      EXPECT_FALSE(fin(lp.bux[j])) << "column " << j;
    }
    if (r.xx[j] < -tol) {
      EXPECT_FALSE(fin(lp.blx[j])) << "column " << j;
    }
  }
  for (int32 i = 0; i < lp.m; ++i) {
    EXPECT_NEAR(ad[i], r.xc[i], tol * (1 + nrm)) << "row " << i;
    if (r.xc[i] > tol) {
      EXPECT_FALSE(fin(lp.buc[i])) << "row " << i;
    }
    if (r.xc[i] < -tol) {
      EXPECT_FALSE(fin(lp.blc[i])) << "row " << i;
    }
  }
  EXPECT_GT(nrm, 0.0);
  return (lp.maximize ? -cd : cd) / (nrm > 0 ? nrm : 1.0);
}

// A random problem that has an optimum: a point x0 inside the bounds makes it feasible, and
// costs c = A'y0 + d0 with duals whose signs fit the bounds make it dual feasible.
inline Lp random_lp(std::mt19937& rng, int32 m, int32 n, double density) {
  std::uniform_real_distribution<double> u(0.0, 1.0);
  Lp lp(m);
  std::vector<double> x0(n);
  std::vector<std::vector<std::pair<int32, double>>> cols(n);
  for (int32 j = 0; j < n; ++j) {
    for (int32 i = 0; i < m; ++i)
      if (u(rng) < density) cols[j].push_back({i, std::round((u(rng) * 20 - 10) * 4) / 4});
    if (cols[j].empty()) cols[j].push_back({(int32)(rng() % m), 1.0 + u(rng)});
  }
  // Variable kinds: 0 lower, 1 upper, 2 boxed, 3 free, 4 fixed.
  std::vector<int32> vk(n), rk(m);
  std::vector<double> lo(n), up(n);
  for (int32 j = 0; j < n; ++j) {
    double r = u(rng);
    vk[j] = r < 0.4 ? 0 : r < 0.5 ? 1 : r < 0.85 ? 2 : r < 0.95 ? 3 : 4;
    double a = std::round(u(rng) * 10 - 5), b = a + std::round(1 + u(rng) * 10);
    lo[j] = vk[j] == 0 || vk[j] == 2 || vk[j] == 4 ? a : -kInf;
    up[j] = vk[j] == 1 ? b : vk[j] == 2 ? b : vk[j] == 4 ? a : kInf;
    x0[j] = vk[j] == 4   ? a
            : vk[j] == 2 ? a + u(rng) * (b - a)
            : vk[j] == 0 ? a + u(rng) * 3
            : vk[j] == 1 ? b - u(rng) * 3
                         : u(rng) * 4 - 2;
    // Nonbasic-looking points make degenerate problems: some variables sit on a bound.
    if (u(rng) < 0.3 && fin(lo[j])) x0[j] = lo[j];
  }
  Lp tmp(m);
  for (int32 j = 0; j < n; ++j)
    tmp.col(0, lo[j], up[j], cols[j]);
  auto ax = tmp.times(x0);
  std::vector<double> y0(m);
  for (int32 i = 0; i < m; ++i) {
    double r = u(rng), slack = u(rng) < 0.4 ? 0.0 : std::round(u(rng) * 5);
    rk[i] = r < 0.3 ? 0 : r < 0.55 ? 1 : r < 0.8 ? 2 : r < 0.95 ? 4 : 3; // 2 equality, 4 range
    double l = rk[i] == 0 || rk[i] == 4 ? ax[i] - slack : rk[i] == 2 ? ax[i] : -kInf;
    double up2 = rk[i] == 1 || rk[i] == 4 ? ax[i] + slack + (rk[i] == 4)
                 : rk[i] == 2             ? ax[i]
                                          : kInf;
    lp.row(i, l, up2);
    double yv = u(rng) * 4 - 2;
    y0[i] = rk[i] == 0 ? std::fabs(yv) : rk[i] == 1 ? -std::fabs(yv) : rk[i] == 3 ? 0.0 : yv;
    if (u(rng) < 0.3) y0[i] = 0.0;
  }
  auto aty = tmp.ttimes(y0);
  for (int32 j = 0; j < n; ++j) {
    double dv = u(rng) < 0.4 ? 0.0 : u(rng) * 3;
    double d = vk[j] == 0 ? dv : vk[j] == 1 ? -dv : vk[j] == 3 ? 0.0 : (u(rng) < 0.5 ? dv : -dv);
    lp.col(aty[j] + d, lo[j], up[j], cols[j]);
  }
  return lp;
}

// Size and density of a random problem.
struct Shape {
  int32 m, n;
  double density;
};

// maximize 3x + 5y: x <= 4, 2y <= 12, 3x + 2y <= 18, x, y >= 0. Optimum 36 at (2, 6).
inline Lp textbook() {
  Lp lp(3);
  lp.maximize = true;
  lp.row(0, -kInf, 4), lp.row(1, -kInf, 12), lp.row(2, -kInf, 18);
  lp.col(3, 0, kInf, {{0, 1}, {2, 3}});
  lp.col(5, 0, kInf, {{1, 2}, {2, 2}});
  return lp;
}

} // namespace simtest
