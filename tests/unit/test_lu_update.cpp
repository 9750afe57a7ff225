// The LU engine under column replacements: Forrest-Tomlin updates against fresh
// factorizations, the refactorization triggers, rejected updates, and the condition estimate
// against the exact value from dense LAPACK.
#include "lu_test_matrix.h"

#include "lu/lu_data.h"

extern "C" {
void dgetrf_(int* m, int* n, double* a, int* lda, int* ipiv, int* info);
void dgetri_(int* n, double* a, int* lda, int* ipiv, double* work, int* lwork, int* info);
}

using namespace telva;
using namespace lutest;

namespace {

using Column = std::vector<std::pair<int32, double>>;

// A column with a strong entry in its designated row and a few weak ones: replacing columns
// by such columns keeps the basis well conditioned.
Column strong_column(std::mt19937& rng, int32 n, int32 drow, int32 k) {
  std::uniform_real_distribution<double> u(-0.5, 0.5);
  Column c = random_column(rng, n, k);
  bool has = false;
  for (auto& e : c) {
    if (e.first == drow)
      e.second = (e.second < 0 ? -2.0 : 2.0) + e.second, has = true;
    else
      e.second *= 0.5;
  }
  if (!has) c.push_back({drow, 2.0 + u(rng)});
  (void)u;
  return c;
}

std::vector<double> solve(lu* f, const std::vector<double>& rhs, bool transposed) {
  std::vector<double> x(rhs), y(rhs.size(), 0.0);
  EXPECT_EQ(transposed ? lu_btran(f, x.data(), y.data()) : lu_ftran(f, x.data(), y.data()), 0);
  return y;
}

double max_rel_diff(const std::vector<double>& a, const std::vector<double>& b) {
  double d = 0.0, m = 0.0;
  for (size_t i = 0; i < a.size(); ++i) {
    d = std::max(d, std::fabs(a[i] - b[i]));
    m = std::max(m, std::fabs(b[i]));
  }
  return d / (m > 0 ? m : 1.0);
}

int32 update_with(lu* f, int32 pos, const Column& c) {
  std::vector<int32> idx;
  std::vector<double> val;
  for (auto [i, v] : c)
    idx.push_back(i), val.push_back(v);
  return lu_updatefromcolumn(f, pos, pos, (int32)idx.size(), idx.data(), val.data());
}

double exact_inverse_norm1(const Csc& b) {
  int n = b.nrow, lda = b.nrow, info = 0, lwork = 4 * b.nrow;
  std::vector<double> a = b.dense(), work(lwork);
  std::vector<int> ipiv(n);
  dgetrf_(&n, &n, a.data(), &lda, ipiv.data(), &info);
  EXPECT_EQ(info, 0);
  dgetri_(&n, a.data(), &lda, ipiv.data(), work.data(), &lwork, &info);
  EXPECT_EQ(info, 0);
  double m = 0.0;
  for (int j = 0; j < n; ++j) {
    double s = 0.0;
    for (int i = 0; i < n; ++i)
      s += std::fabs(a[(size_t)j * n + i]);
    m = std::max(m, s);
  }
  return m;
}

// Ten thousand random replacements: after each one the solves with the updated factors agree
// with a fresh factorization of the same basis. Refactorizations happen when the engine
// advises them or refuses an update.
TEST(LuUpdate, LongSequenceStaysAccurate) {
  Sys s;
  std::mt19937 rng(4242);
  const int32 n = 60;
  std::vector<int32> drow(n);
  for (int32 j = 0; j < n; ++j)
    drow[j] = j;
  std::shuffle(drow.begin(), drow.end(), rng);
  Csc b;
  b.nrow = n;
  std::uniform_real_distribution<double> u(0.0, 1.0);
  for (int32 j = 0; j < n; ++j)
    b.add_column(u(rng) < 0.4 ? Column{{drow[j], 1.0}} : strong_column(rng, n, drow[j], 3));
  lu* f = factor(s.sys, b);
  int32 advised = 0, refused = 0, refactors = 0;
  double worst = 0.0, worstres = 0.0;
  for (int32 step = 0; step < 10000; ++step) {
    int32 pos = (int32)(rng() % n);
    Column c = u(rng) < 0.2 ? Column{{drow[pos], -1.0}} : strong_column(rng, n, drow[pos], 3);
    int32 st = update_with(f, pos, c);
    ASSERT_TRUE(st == 0 || st == kLuRefactorAdvised || st == kLuUnstableUpdate ||
                st == kLuNoRoomUpdate)
        << "status " << st;
    b.set_column(pos, c);
    if (st == kLuOk || st == kLuRefactorAdvised) {
      ASSERT_EQ(lu_check_files(f), 0);
      std::vector<double> rhs(n);
      for (auto& v : rhs)
        v = u(rng) - 0.5;
      lu* g = factor(s.sys, b);
      for (bool tr : {false, true}) {
        auto x = solve(f, rhs, tr);
        auto xf = solve(g, rhs, tr);
        double d = max_rel_diff(x, xf);
        worst = std::max(worst, d);
        ASSERT_LT(d, 1e-11) << "step " << step << (tr ? " transposed" : "");
        // Over twenty thousand solves the worst backward error reaches the n eps range.
        ASSERT_LT(residual(b, x, rhs, tr), 1e-13) << "step " << step;
        worstres = std::max(worstres, residual(b, x, rhs, tr));
      }
      lu_free(&g);
    }
    if (st != kLuOk) {
      advised += st == kLuRefactorAdvised;
      refused += st == kLuUnstableUpdate || st == kLuNoRoomUpdate;
      refactors++;
      lu_free(&f);
      f = factor(s.sys, b);
    }
  }
  EXPECT_GT(advised, 0);
  std::printf("[          ] worst difference to fresh factors %.2e, worst residual %.2e, "
              "%d refactorizations (%d advised, %d refused)\n",
              worst, worstres, refactors, advised, refused);
  EXPECT_LT(refactors, 2000);
  lu_free(&f);
}

TEST(LuUpdate, SparseSolvesAfterUpdatesMatchDenseOnes) {
  Sys s;
  std::mt19937 rng(77);
  const int32 n = 400;
  Csc b = basis_like(rng, n, 3, 0.5);
  lu* f = factor(s.sys, b);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (int32 step = 0; step < 40; ++step) {
    int32 pos = (int32)(rng() % n);
    Column c = b.column(pos);
    for (auto& e : c)
      e.second *= 1.0 + 0.3 * u(rng);
    Column extra = random_column(rng, n, 2);
    for (auto& e : extra) {
      bool dup = false;
      for (auto& g : c)
        dup |= g.first == e.first;
      if (!dup) c.push_back({e.first, 0.1 * e.second});
    }
    int32 st = update_with(f, pos, c);
    ASSERT_TRUE(st == 0 || st == kLuRefactorAdvised) << st;
    b.set_column(pos, c);
    for (int32 t = 0; t < 3; ++t) {
      int32 r = (int32)(rng() % n);
      std::vector<double> e(n, 0.0), val(n, 0.0);
      e[r] = 1.0;
      auto x = solve(f, e, false);
      // Forward in two halves: the spike (L and etas), then U.
      std::vector<int32> idx(n);
      val[r] = 1.0;
      idx[0] = r;
      int32 nz = 1;
      ASSERT_EQ(lu_ftranspike(f, &nz, idx.data(), val.data()), 0);
      ASSERT_EQ(lu_ftranfinish(f, 0.0, &nz, idx.data(), val.data()), 0);
      for (int32 i = 0; i < n; ++i)
        ASSERT_NEAR(val[i], x[i], 1e-12 * (1 + std::fabs(x[i])));
      for (int32 k = 0; k < nz; ++k)
        val[idx[k]] = 0.0;
      auto z = solve(f, e, true);
      val[r] = 1.0;
      idx[0] = r;
      nz = 1;
      ASSERT_EQ(lu_btransparse(f, 0.0, &nz, idx.data(), val.data()), 0);
      for (int32 i = 0; i < n; ++i)
        ASSERT_NEAR(val[i], z[i], 1e-12 * (1 + std::fabs(z[i])));
    }
  }
  lu_free(&f);
}

TEST(LuUpdate, RefactorLimitOneAdvisesAtOnce) {
  Sys s;
  std::mt19937 rng(1);
  Csc b = basis_like(rng, 30, 3, 0.3);
  lu* f = factor(s.sys, b);
  lu_setrefactorlimit(f, 1, 1);
  EXPECT_EQ(update_with(f, 4, b.column(4)), kLuRefactorAdvised);
  EXPECT_TRUE(lu_isfactored(f)); // the update itself took place
  EXPECT_EQ(lu_numupdates(f), 1);
  lu_free(&f);
}

TEST(LuUpdate, RejectedUpdateLeavesTheFactorsAsTheyWere) {
  Sys s;
  std::mt19937 rng(2);
  const int32 n = 50;
  Csc b = basis_like(rng, n, 3, 0.2);
  lu* f = factor(s.sys, b);
  ASSERT_EQ(update_with(f, 7, b.column(7)), 0); // one good update first
  std::vector<double> rhs(n);
  for (auto& v : rhs)
    v = (double)(rng() % 100) / 50.0 - 1.0;
  auto before = solve(f, rhs, false);
  auto beforet = solve(f, rhs, true);
  int64 nzu = lu_nzu(f);
  // Position 3 replaced by a copy of column 11 makes the basis singular.
  EXPECT_EQ(update_with(f, 3, b.column(11)), kLuUnstableUpdate);
  EXPECT_EQ(solve(f, rhs, false), before);
  EXPECT_EQ(solve(f, rhs, true), beforet);
  EXPECT_EQ(lu_nzu(f), nzu);
  EXPECT_EQ(lu_numupdates(f), 1);
  // Scratch was returned clean: the next sparse solve still matches.
  std::vector<double> val(n, 0.0);
  std::vector<int32> idx(n);
  val[5] = 1.0;
  idx[0] = 5;
  int32 nz = 1;
  ASSERT_EQ(lu_ftransparse(f, &nz, idx.data(), val.data()), 0);
  std::vector<double> e(n, 0.0);
  e[5] = 1.0;
  auto x = solve(f, e, false);
  for (int32 i = 0; i < n; ++i)
    EXPECT_NEAR(val[i], x[i], 1e-13);
  EXPECT_EQ(update_with(f, 99, b.column(1)), kLuBadArgument);
  lu_free(&f);
}

TEST(LuUpdate, SamePositionTwiceAndEtaLimit) {
  Sys s;
  std::mt19937 rng(3);
  const int32 n = 20;
  Csc b = basis_like(rng, n, 3, 0.0);
  lu* f = factor(s.sys, b);
  Column c1 = b.column(5);
  for (auto& e : c1)
    e.second *= 1.5;
  Column c2 = b.column(5);
  c2.push_back({(c2[0].first + 1) % n, 0.25});
  ASSERT_EQ(update_with(f, 5, c1), 0);
  ASSERT_EQ(update_with(f, 5, c2), 0);
  b.set_column(5, c2);
  std::vector<double> rhs(n, 1.0);
  EXPECT_LT(residual(b, solve(f, rhs, false), rhs), 1e-14);
  EXPECT_LT(residual(b, solve(f, rhs, true), rhs, true), 1e-14);
  // At most 2 n row etas are held; the last one asks for a refactorization.
  lu_setrefactorlimit(f, 1, 100000);
  int32 st = 0, count = 2;
  while (st == 0) {
    st = update_with(f, count % n, b.column(count % n));
    count++;
  }
  EXPECT_EQ(st, kLuNoRoomUpdate);
  EXPECT_EQ(count, 2 * n);
  EXPECT_EQ(update_with(f, 0, b.column(0)), kLuNoRoomUpdate);
  lu_free(&f);
}

TEST(LuCondition, EstimateWithinFactorThreeOfLapack) {
  Sys s;
  std::mt19937 rng(31337);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (int32 trial = 0; trial < 24; ++trial) {
    int32 n = 10 + 7 * trial;
    Csc b;
    if (trial % 3 == 0) {
      b.nrow = n;
      for (int32 j = 0; j < n; ++j)
        b.add_column(random_column(rng, n, n));
    } else {
      b = basis_like(rng, n, 2 + trial % 4, trial % 2 ? 0.5 : 0.0);
      // Spread the column scales to make the condition number larger.
      for (auto& v : b.val)
        v *= std::pow(10.0, 3.0 * u(rng));
    }
    int32 st;
    lu* f = factor(s.sys, b, &st);
    int32 rank;
    lu_rank(f, &rank);
    if (rank < n) {
      lu_free(&f);
      continue;
    }
    double est;
    ASSERT_EQ(lu_condestimate(f, &est), 0);
    double exact = exact_inverse_norm1(b);
    EXPECT_LE(est, exact * (1 + 1e-8)) << "trial " << trial;
    EXPECT_GE(est * 3.0, exact) << "trial " << trial;
    lu_free(&f);
  }
}

TEST(LuCondition, IdentityAndNotFactorized) {
  Sys s;
  Csc b;
  b.nrow = 25;
  for (int32 j = 0; j < 25; ++j)
    b.add_column({{j, 1.0}});
  lu* f = factor(s.sys, b);
  double est = 0.0;
  ASSERT_EQ(lu_condestimate(f, &est), 0);
  EXPECT_DOUBLE_EQ(est, 1.0);
  lu_invalidate(f);
  EXPECT_EQ(lu_condestimate(f, &est), kLuNotFactorized);
  EXPECT_EQ(est, -1.0);
  lu_free(&f);
}

} // namespace
