// The LU engine: factorization, solves in all forms, singularity handling and settings.
#include "lu_test_matrix.h"

#include "lu/lu_data.h"

#include <set>

using namespace telva;
using namespace lutest;

namespace {

std::vector<double> ftran_dense(lu* f, std::vector<double> rhs) {
  std::vector<double> y(rhs.size(), 0.0);
  EXPECT_EQ(lu_ftran(f, rhs.data(), y.data()), 0);
  for (double v : rhs)
    EXPECT_EQ(v, 0.0); // the input is left all zero
  return y;
}

std::vector<double> btran_dense(lu* f, std::vector<double> rhs) {
  std::vector<double> y(rhs.size(), 0.0);
  EXPECT_EQ(lu_btran(f, rhs.data(), y.data()), 0);
  return y;
}

// Runs a sparse solve on the nonzeros of rhs and returns the dense result; checks that the
// index list covers exactly the nonzeros.
std::vector<double> sparse_solve(lu* f, const std::vector<double>& rhs, bool transposed) {
  int32 n = (int32)rhs.size();
  std::vector<double> val(rhs);
  std::vector<int32> idx;
  for (int32 i = 0; i < n; ++i)
    if (rhs[i] != 0.0) idx.push_back(i);
  int32 nz = (int32)idx.size();
  idx.resize(n);
  if (transposed) {
    EXPECT_EQ(lu_btransparse(f, -1.0, &nz, idx.data(), val.data()), 0);
  } else {
    EXPECT_EQ(lu_ftransparse(f, &nz, idx.data(), val.data()), 0);
  }
  std::set<int32> listed(idx.begin(), idx.begin() + nz);
  EXPECT_EQ((int32)listed.size(), nz) << "index listed twice";
  for (int32 i = 0; i < n; ++i) {
    if (val[i] != 0.0) {
      EXPECT_TRUE(listed.count(i)) << "nonzero " << i << " not listed";
    }
  }
  return val;
}

std::vector<double> random_rhs(std::mt19937& rng, int32 n) {
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<double> b(n);
  for (auto& v : b)
    v = u(rng);
  return b;
}

TEST(LuFactor, RandomBasisLikeMatricesSolveAccurately) {
  Sys s;
  std::mt19937 rng(12345);
  for (int32 trial = 0; trial < 12; ++trial) {
    int32 n = 20 + 40 * trial;
    Csc b = basis_like(rng, n, 2 + trial % 3, trial % 4 == 0 ? 0.6 : 0.1);
    lu* f = factor(s.sys, b);
    ASSERT_TRUE(lu_isfactored(f));
    int32 rank = -1;
    lu_rank(f, &rank);
    EXPECT_EQ(rank, n);
    auto rhs = random_rhs(rng, n);
    auto x = ftran_dense(f, rhs);
    EXPECT_LT(residual(b, x, rhs), 1e-14) << "n=" << n;
    auto z = btran_dense(f, rhs);
    EXPECT_LT(residual(b, z, rhs, true), 1e-14) << "n=" << n;
    // The sparse solves agree with the dense ones.
    auto xs = sparse_solve(f, rhs, false);
    auto zs = sparse_solve(f, rhs, true);
    for (int32 i = 0; i < n; ++i) {
      EXPECT_NEAR(xs[i], x[i], 1e-11 + 1e-12 * std::fabs(x[i]));
      EXPECT_NEAR(zs[i], z[i], 1e-11 + 1e-12 * std::fabs(z[i]));
    }
    lu_free(&f);
    EXPECT_EQ(f, nullptr);
  }
}

TEST(LuFactor, DenseRandomMatrixAndPivotModeTwo) {
  Sys s;
  std::mt19937 rng(7);
  int32 n = 40;
  Csc b;
  b.nrow = n;
  for (int32 j = 0; j < n; ++j)
    b.add_column(random_column(rng, n, n));
  for (int32 mode = 1; mode <= 2; ++mode) {
    lu* f = nullptr;
    ASSERT_EQ(lu_alloc(s.sys, n, n, &f), 0);
    lu_setpivotmode(f, mode);
    lu_settol(f, 2, 0.1);
    ASSERT_EQ(lu_putmatrix(f, b.ptr.data(), b.sub.data(), b.val.data()), 0);
    ASSERT_EQ(lu_factor(f), 0);
    auto rhs = random_rhs(rng, n);
    EXPECT_LT(residual(b, ftran_dense(f, rhs), rhs), 1e-14);
    EXPECT_LT(residual(b, btran_dense(f, rhs), rhs, true), 1e-14);
    // The threshold bounds the multipliers of L by 1/tolrpiv.
    double mn, mx, ml, mu;
    ASSERT_EQ(lu_pivotrange(f, &mn, &mx, &ml, &mu), 0);
    EXPECT_LE(ml, 10.0 + 1e-12);
    // Pivot mode 2 also bounds U relative to the diagonal of its row.
    double smu;
    ASSERT_EQ(lu_pivotrangescaled(f, nullptr, nullptr, nullptr, &smu), 0);
    if (mode == 2) {
      EXPECT_LE(smu, 10.0 + 1e-12);
    }
    int32 pm;
    double rp, ap;
    ASSERT_EQ(lu_lastpivotsettings(f, &pm, &rp, &ap), 0);
    EXPECT_EQ(pm, mode);
    EXPECT_DOUBLE_EQ(rp, 0.1);
    lu_free(&f);
  }
}

TEST(LuFactor, HyperSparseSolvesMatchDenseOnesForUnitRightHandSides) {
  Sys s;
  std::mt19937 rng(99);
  int32 n = 3000;
  Csc b = basis_like(rng, n, 3, 0.7);
  lu* f = factor(s.sys, b);
  for (int32 t = 0; t < 30; ++t) {
    std::vector<double> e(n, 0.0);
    e[rng() % n] = 1.0;
    auto x = ftran_dense(f, e);
    auto xs = sparse_solve(f, e, false);
    auto z = btran_dense(f, e);
    auto zs = sparse_solve(f, e, true);
    for (int32 i = 0; i < n; ++i) {
      // The sparse solves drop values at the level of their drop tolerance.
      ASSERT_NEAR(xs[i], x[i], 1e-11 + 1e-13 * std::fabs(x[i]));
      ASSERT_NEAR(zs[i], z[i], 1e-11 + 1e-13 * std::fabs(z[i]));
    }
  }
  lu_free(&f);
}

TEST(LuFactor, ColumnSourceGivesTheSameFactors) {
  Sys s;
  std::mt19937 rng(5);
  Csc b = basis_like(rng, 200, 4, 0.3);
  struct Src {
    const Csc* b;
  } src{&b};
  auto sizefn = [](void* ctx, int32* sizes) -> int32 {
    const Csc* m = static_cast<Src*>(ctx)->b;
    for (int32 j = 0; j < m->ncol; ++j)
      sizes[j] = m->ptr[j + 1] - m->ptr[j];
    return 0;
  };
  auto fillfn = [](void* ctx, const int32* start, int32* rows, double* vals) -> int32 {
    const Csc* m = static_cast<Src*>(ctx)->b;
    for (int32 j = 0; j < m->ncol; ++j)
      for (int32 k = m->ptr[j]; k < m->ptr[j + 1]; ++k) {
        rows[start[j] + k - m->ptr[j]] = m->sub[k];
        vals[start[j] + k - m->ptr[j]] = m->val[k];
      }
    return 0;
  };
  lu* f = nullptr;
  ASSERT_EQ(lu_alloc(s.sys, 200, 200, &f), 0);
  lu_setcolumnsource(f, &src, sizefn, fillfn);
  ASSERT_EQ(lu_open(f), 0);
  ASSERT_EQ(lu_factor(f), 0);
  lu* g = factor(s.sys, b);
  EXPECT_EQ(lu_nzl(f), lu_nzl(g));
  EXPECT_EQ(lu_nzu(f), lu_nzu(g));
  auto rhs = random_rhs(rng, 200);
  auto x = ftran_dense(f, rhs);
  auto y = ftran_dense(g, rhs);
  for (int32 i = 0; i < 200; ++i)
    EXPECT_EQ(x[i], y[i]);
  lu_free(&f);
  lu_free(&g);
}

TEST(LuFactor, PushedEntriesAreSummedAndTinyOnesDropped) {
  Sys s;
  lu* f = nullptr;
  ASSERT_EQ(lu_alloc(s.sys, 2, 2, &f), 0);
  ASSERT_EQ(lu_open(f), 0);
  // [[2, 1], [0, 3]] with the (0,0) entry pushed in two parts and a negligible (1,0).
  EXPECT_EQ(lu_putentry(f, 1.5, 0, 0), 0);
  EXPECT_EQ(lu_putentry(f, 0.5, 0, 0), 0);
  EXPECT_EQ(lu_putentry(f, 1.0, 0, 1), 0);
  EXPECT_EQ(lu_putentry(f, 1e-15, 1, 0), 0);
  EXPECT_EQ(lu_putentry(f, 3.0, 1, 1), 0);
  EXPECT_EQ(lu_putentry(f, 1.0, 2, 1), kLuRowIndex);
  int32 rows[1] = {5};
  double vals[1] = {1.0};
  EXPECT_EQ(lu_putcolumn(f, 0, 1, vals, rows, 10, nullptr), kLuRowIndex);
  EXPECT_EQ(lu_putcolumn(f, 0, 1, vals, rows, 5, nullptr), 0); // skipped by the limit
  ASSERT_EQ(lu_factor(f), 0);
  std::vector<double> rhs{3.0, 3.0}, y(2);
  ASSERT_EQ(lu_ftran(f, rhs.data(), y.data()), 0);
  EXPECT_DOUBLE_EQ(y[1], 1.0);
  EXPECT_DOUBLE_EQ(y[0], 1.0);
  lu_free(&f);
}

TEST(LuEdge, EmptyMatrixAndPermutation) {
  Sys s;
  lu* f = nullptr;
  ASSERT_EQ(lu_alloc(s.sys, 0, 0, &f), 0);
  ASSERT_EQ(lu_open(f), 0);
  ASSERT_EQ(lu_factor(f), 0);
  int32 rank = -1;
  lu_rank(f, &rank);
  EXPECT_EQ(rank, 0);
  EXPECT_TRUE(lu_isfactored(f));
  EXPECT_EQ(lu_ftran(f, nullptr, nullptr), 0);
  EXPECT_EQ(lu_btran(f, nullptr, nullptr), 0);
  lu_free(&f);

  // A permutation with signs: finished by singletons alone, without any L.
  std::mt19937 rng(3);
  int32 n = 50;
  std::vector<int32> p(n);
  for (int32 i = 0; i < n; ++i)
    p[i] = i;
  std::shuffle(p.begin(), p.end(), rng);
  Csc b;
  b.nrow = n;
  for (int32 j = 0; j < n; ++j)
    b.add_column({{p[j], j % 2 ? -1.0 : 1.0}});
  f = factor(s.sys, b);
  EXPECT_EQ(lu_nzl(f), 0);
  EXPECT_EQ(lu_nzu(f), 0);
  auto rhs = random_rhs(rng, n);
  auto x = ftran_dense(f, rhs);
  for (int32 j = 0; j < n; ++j)
    EXPECT_EQ(x[j], (j % 2 ? -1.0 : 1.0) * rhs[p[j]]);
  lu_free(&f);
}

TEST(LuEdge, TinyDiagonalIsNoPivotAndSlackCompletionTakesItsPlace) {
  Sys s;
  int32 n = 6;
  Csc b;
  b.nrow = n;
  for (int32 j = 0; j < n; ++j)
    b.add_column({{j, j == 3 ? 1e-9 : 1.0 + j}});
  int32 st;
  lu* f = factor(s.sys, b, &st);
  EXPECT_EQ(st, 0);
  int32 rank;
  lu_rank(f, &rank);
  EXPECT_EQ(rank, n - 1);
  EXPECT_FALSE(lu_isfactored(f));
  EXPECT_EQ(lu_pivotrangescaled(f, nullptr, nullptr, nullptr, nullptr), kLuNotFullRank);
  double tmp[6] = {0}, out[6];
  EXPECT_EQ(lu_ftran(f, tmp, out), kLuNotFactorized);
  std::vector<int32> map(n);
  ASSERT_EQ(lu_completewithslacks(f, -1.0, map.data()), 0);
  EXPECT_TRUE(lu_isfactored(f));
  for (int32 j = 0; j < n; ++j)
    EXPECT_EQ(map[j], j == 3 ? 3 : n);
  int32 col;
  double d;
  ASSERT_EQ(lu_getpivot(f, 3, &col, &d), 0);
  EXPECT_EQ(col, 3);
  EXPECT_EQ(d, -1.0);
  lu_free(&f);
}

// Rank-deficient by construction: some columns are combinations of others, exactly or up to
// rounding-level noise. The columns left without pivot are the dependent ones: replacing them
// by slack columns of the rows left without pivot gives a well-conditioned basis.
TEST(LuSingular, ReportNamesTheDependentColumns) {
  Sys s;
  std::mt19937 rng(2024);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (int32 trial = 0; trial < 8; ++trial) {
    int32 n = 60 + 10 * trial;
    double noise = trial % 2 ? 1e-15 : 0.0;
    Csc b = basis_like(rng, n, 3, 0.3);
    int32 ndep = 1 + trial % 3;
    std::vector<int32> dep;
    for (int32 t = 0; t < ndep; ++t) {
      int32 j = (int32)(rng() % n);
      if (std::find(dep.begin(), dep.end(), j) != dep.end()) continue;
      dep.push_back(j);
    }
    for (int32 j : dep) {
      // Column j := a mix of two other columns (not themselves made dependent).
      int32 a, c;
      do
        a = (int32)(rng() % n), c = (int32)(rng() % n);
      while (a == c || std::find(dep.begin(), dep.end(), a) != dep.end() ||
             std::find(dep.begin(), dep.end(), c) != dep.end());
      std::vector<double> col(n, 0.0);
      double ca = u(rng), cc = u(rng);
      for (auto [i, v] : b.column(a))
        col[i] += ca * v;
      for (auto [i, v] : b.column(c))
        col[i] += cc * v;
      std::vector<std::pair<int32, double>> nc;
      for (int32 i = 0; i < n; ++i)
        if (col[i] != 0.0) nc.push_back({i, col[i] * (1.0 + noise * u(rng))});
      b.set_column(j, nc);
    }
    int32 st;
    lu* f = factor(s.sys, b, &st);
    ASSERT_EQ(st, 0);
    int32 rank;
    lu_rank(f, &rank);
    EXPECT_EQ(rank, n - (int32)dep.size()) << "trial " << trial;
    std::vector<int32> map(n);
    ASSERT_EQ(lu_completewithslacks(f, -1.0, map.data()), 0);
    Csc repaired = b;
    int32 named = 0;
    for (int32 j = 0; j < n; ++j)
      if (map[j] < n) {
        repaired.set_column(j, {{map[j], -1.0}});
        named++;
      }
    EXPECT_EQ(named, (int32)dep.size());
    // The completed factors solve with the repaired basis.
    auto rhs = random_rhs(rng, n);
    EXPECT_LT(residual(repaired, ftran_dense(f, rhs), rhs), 1e-14);
    EXPECT_LT(residual(repaired, btran_dense(f, rhs), rhs, true), 1e-14);
    double est;
    ASSERT_EQ(lu_condestimate(f, &est), 0);
    EXPECT_LT(est * repaired.norm_inf(), 1e8);
    // The same object factorizes the singular basis again (the pivot order of the repaired
    // factors guides the layout), and then the repaired basis after a rank-short attempt.
    for (const Csc* m : {&repaired, &b}) {
      ASSERT_EQ(lu_putmatrix(f, m->ptr.data(), m->sub.data(), m->val.data()), 0);
      ASSERT_EQ(lu_factor(f), 0);
    }
    lu_rank(f, &rank);
    EXPECT_EQ(rank, n - (int32)dep.size());
    ASSERT_EQ(lu_putmatrix(f, repaired.ptr.data(), repaired.sub.data(), repaired.val.data()), 0);
    ASSERT_EQ(lu_factor(f), 0);
    lu_rank(f, &rank);
    EXPECT_EQ(rank, n);
    EXPECT_LT(residual(repaired, ftran_dense(f, rhs), rhs), 1e-14);
    EXPECT_EQ(lu_check_files(f), 0);
    lu_free(&f);
  }
}

TEST(LuSingular, RectangularRankAndEmptyLines) {
  Sys s;
  std::mt19937 rng(8);
  // 30 rows, 20 columns of which one is empty and one repeats another.
  Csc b;
  b.nrow = 30;
  for (int32 j = 0; j < 20; ++j)
    b.add_column(random_column(rng, 30, 4));
  b.set_column(4, {});
  b.set_column(9, b.column(2));
  int32 st;
  lu* f = factor(s.sys, b, &st);
  EXPECT_EQ(st, 0);
  int32 rank;
  lu_rank(f, &rank);
  EXPECT_EQ(rank, 18);
  int32 col;
  EXPECT_EQ(lu_getpivot(f, 30, &col, nullptr), kLuRowIndex);
  std::vector<int32> map(20);
  EXPECT_EQ(lu_completewithslacks(f, -1.0, map.data()), kLuNotSquare);
  lu_free(&f);
}

TEST(LuSettings, TolerancesSizesAndLimits) {
  Sys s;
  lu* f = nullptr;
  ASSERT_EQ(lu_alloc(s.sys, 10, 8, &f), 0);
  lu_settol(f, 2, 1.0);
  EXPECT_EQ(lu_gettol(f, 2), 0.9999);
  lu_settol(f, 2, 0.0);
  EXPECT_EQ(lu_gettol(f, 2), 0.0001);
  lu_settol(f, 1, 1e-5);
  lu_settol(f, 5, 1e-10);
  lu_setdefaults(f);
  EXPECT_EQ(lu_gettol(f, 1), 1e-8);
  EXPECT_EQ(lu_gettol(f, 2), 0.01);
  EXPECT_EQ(lu_gettol(f, 5), 1e-10); // left alone by the defaults
  lu_setrefactorlimit(f, 1, -4);
  EXPECT_EQ(lu_getrefactorlimit(f, 1), 0);
  EXPECT_EQ(lu_setnrow(f, 11), kLuSizeAboveCapacity);
  EXPECT_EQ(lu_setncol(f, 9), kLuSizeAboveCapacity);
  EXPECT_EQ(lu_setnrow(f, 8), 0);
  EXPECT_EQ(lu_nrow(f), 8);
  int32 m;
  EXPECT_EQ(lu_lastpivotsettings(f, &m, nullptr, nullptr), kLuNotFactorized);
  EXPECT_EQ(lu_factor(f), kLuBadArgument); // input not opened
  lu_free(&f);
}

TEST(LuSettings, ProgressCallbackCancels) {
  Sys s;
  std::mt19937 rng(1);
  Csc b = basis_like(rng, 100, 3, 0.0);
  lu* f = nullptr;
  ASSERT_EQ(lu_alloc(s.sys, 100, 100, &f), 0);
  std::vector<int32> codes;
  auto fn = [](void* h, int32 code, int32, int32) -> int32 {
    auto* v = static_cast<std::vector<int32>*>(h);
    v->push_back(code);
    return code == 3 ? 1 : 0;
  };
  lu_setprogress(f, &codes, fn);
  ASSERT_EQ(lu_putmatrix(f, b.ptr.data(), b.sub.data(), b.val.data()), 0);
  EXPECT_EQ(lu_factor(f), kLuCancelled);
  ASSERT_GE(codes.size(), 2u);
  EXPECT_EQ(codes.front(), 0);
  EXPECT_EQ(codes.back(), 3);
  EXPECT_FALSE(lu_isfactored(f));
  lu_free(&f);
}

} // namespace
