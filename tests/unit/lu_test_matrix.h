// Matrices and checks shared by the tests of the LU engine.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "cpub/sysenv.h"
#include "lu/lu.h"

namespace lutest {

using telva::int32;

// A column-store matrix.
struct Csc {
  int32 nrow = 0, ncol = 0;
  std::vector<int32> ptr{0}, sub;
  std::vector<double> val;

  void add_column(const std::vector<std::pair<int32, double>>& col) {
    for (auto& [i, v] : col) {
      sub.push_back(i);
      val.push_back(v);
    }
    ptr.push_back((int32)sub.size());
    ncol++;
  }
  std::vector<std::pair<int32, double>> column(int32 j) const {
    std::vector<std::pair<int32, double>> c;
    for (int32 k = ptr[j]; k < ptr[j + 1]; ++k)
      c.push_back({sub[k], val[k]});
    return c;
  }
  void set_column(int32 j, const std::vector<std::pair<int32, double>>& col) {
    Csc out;
    out.nrow = nrow;
    for (int32 c = 0; c < ncol; ++c)
      out.add_column(c == j ? col : column(c));
    *this = out;
  }
  // y = B x
  std::vector<double> times(const std::vector<double>& x) const {
    std::vector<double> y(nrow, 0.0);
    for (int32 j = 0; j < ncol; ++j)
      for (int32 k = ptr[j]; k < ptr[j + 1]; ++k)
        y[sub[k]] += val[k] * x[j];
    return y;
  }
  // y = B' x
  std::vector<double> ttimes(const std::vector<double>& x) const {
    std::vector<double> y(ncol, 0.0);
    for (int32 j = 0; j < ncol; ++j)
      for (int32 k = ptr[j]; k < ptr[j + 1]; ++k)
        y[j] += val[k] * x[sub[k]];
    return y;
  }
  double norm_inf() const {
    std::vector<double> r(nrow, 0.0);
    for (int32 j = 0; j < ncol; ++j)
      for (int32 k = ptr[j]; k < ptr[j + 1]; ++k)
        r[sub[k]] += std::fabs(val[k]);
    double m = 0.0;
    for (double v : r)
      m = std::max(m, v);
    return m;
  }
  std::vector<double> dense() const {
    std::vector<double> a((size_t)nrow * ncol, 0.0);
    for (int32 j = 0; j < ncol; ++j)
      for (int32 k = ptr[j]; k < ptr[j + 1]; ++k)
        a[(size_t)j * nrow + sub[k]] += val[k];
    return a;
  }
};

// A random sparse column with k entries of values in [-1, 1], distinct rows.
inline std::vector<std::pair<int32, double>> random_column(std::mt19937& rng, int32 n, int32 k) {
  std::uniform_int_distribution<int32> row(0, n - 1);
  std::uniform_real_distribution<double> v(-1.0, 1.0);
  std::vector<std::pair<int32, double>> c;
  std::vector<int32> used;
  while ((int32)c.size() < std::min(k, n)) {
    int32 i = row(rng);
    if (std::find(used.begin(), used.end(), i) != used.end()) continue;
    used.push_back(i);
    c.push_back({i, v(rng)});
  }
  return c;
}

// A basis-like matrix: a fraction of slack columns (unit vectors), the others a strong entry
// on a permuted diagonal and k-1 random entries; rows and columns then shuffled.
inline Csc basis_like(std::mt19937& rng, int32 n, int32 k, double slackfrac) {
  std::vector<int32> rp(n), cp(n);
  for (int32 i = 0; i < n; ++i)
    rp[i] = cp[i] = i;
  std::shuffle(rp.begin(), rp.end(), rng);
  std::shuffle(cp.begin(), cp.end(), rng);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  std::vector<std::vector<std::pair<int32, double>>> cols(n);
  for (int32 j = 0; j < n; ++j) {
    int32 d = rp[j];
    if (u(rng) < slackfrac) {
      cols[cp[j]] = {{d, u(rng) < 0.5 ? 1.0 : -1.0}};
      continue;
    }
    auto c = random_column(rng, n, k);
    bool hasd = false;
    for (auto& e : c)
      if (e.first == d) e.second = (e.second < 0 ? -2.0 : 2.0) + e.second, hasd = true;
    if (!hasd) c.push_back({d, 2.0 + u(rng)});
    cols[cp[j]] = c;
  }
  Csc b;
  b.nrow = n;
  for (int32 j = 0; j < n; ++j)
    b.add_column(cols[j]);
  return b;
}

// Relative residual ||B x - b||_inf / (||B||_inf ||x||_inf).
inline double residual(const Csc& b, const std::vector<double>& x, const std::vector<double>& rhs,
                       bool transposed = false) {
  std::vector<double> bx = transposed ? b.ttimes(x) : b.times(x);
  double r = 0.0, xn = 0.0;
  for (size_t i = 0; i < bx.size(); ++i)
    r = std::max(r, std::fabs(bx[i] - rhs[i]));
  for (double v : x)
    xn = std::max(xn, std::fabs(v));
  double den = b.norm_inf() * xn;
  return den > 0.0 ? r / den : r;
}

// A sysenv for one test, checked for leaks at the end.
struct Sys {
  telva::sysenv* sys = nullptr;
  Sys() { telva::sysenv_create(&sys, 0, telva::memman_default_hooks(), nullptr, "lu"); }
  ~Sys() {
    telva::int64 cur = 0, mx = 0;
    telva::memman_usage(sys->mm, &cur, &mx);
    EXPECT_LE(cur, (telva::int64)sizeof(telva::sysenv) + 64) << "memory left in use";
    telva::sysenv_delete(&sys);
  }
};

// Factorizes b into a fresh object; the caller frees it.
inline telva::lu* factor(telva::sysenv* sys, const Csc& b, int32* status = nullptr) {
  telva::lu* f = nullptr;
  EXPECT_EQ(telva::lu_alloc(sys, b.nrow, b.ncol, &f), 0);
  EXPECT_EQ(telva::lu_putmatrix(f, b.ptr.data(), b.sub.data(), b.val.data()), 0);
  int32 st = telva::lu_factor(f);
  if (status)
    *status = st;
  else
    EXPECT_EQ(st, 0);
  return f;
}

} // namespace lutest
