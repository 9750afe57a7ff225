// The exported basis functions on the basis of a solved LP: solves with the basis and its
// transpose checked against a dense copy of B rebuilt from the head and A, the sparse in/out
// lists, both sign conventions of the logicals, the error codes, and the condition estimate
// against the exact 1-norms from dense LAPACK.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "task_lp_fixture.h"
#include "telva.h"

extern "C" {
void dgetrf_(int* m, int* n, double* a, int* lda, int* ipiv, int* info);
void dgetri_(int* n, double* a, int* lda, int* ipiv, double* work, int* lwork, int* info);
}

namespace {

using int32 = TVAint32t;
using Dense = std::vector<double>; // column-major

struct BasisTask : lptask::TaskLp {
  // B from the head: the logical of row i is -e_i, or +e_i with the plus-one convention.
  Dense dense_basis(const std::vector<int32>& head, bool plusone) const {
    Dense b(static_cast<size_t>(m) * m, 0.0);
    for (int32 p = 0; p < m; ++p) {
      int32 k = head[p];
      if (k < m)
        b[static_cast<size_t>(p) * m + k] = plusone ? 1.0 : -1.0;
      else
        for (int32 i = 0; i < m; ++i)
          b[static_cast<size_t>(p) * m + i] = a[static_cast<size_t>(k - m) * m + i];
    }
    return b;
  }
};

// B x or B' x for column-major B.
std::vector<double> times(const Dense& b, int32 m, const std::vector<double>& x, bool transp) {
  std::vector<double> r(m, 0.0);
  for (int32 p = 0; p < m; ++p)
    for (int32 i = 0; i < m; ++i) {
      double e = b[static_cast<size_t>(p) * m + i];
      if (transp)
        r[p] += e * x[i];
      else
        r[i] += e * x[p];
    }
  return r;
}

double one_norm(const Dense& b, int32 m) {
  double best = 0.0;
  for (int32 p = 0; p < m; ++p) {
    double s = 0.0;
    for (int32 i = 0; i < m; ++i)
      s += std::fabs(b[static_cast<size_t>(p) * m + i]);
    best = std::max(best, s);
  }
  return best;
}

// Solves with a sparse right side of a few entries and checks the answer and its list.
void check_solve(TVAtask_t task, const Dense& b, int32 m, bool transp, std::mt19937& rng) {
  std::uniform_real_distribution<double> u(-3.0, 3.0);
  std::uniform_int_distribution<int32> pick(0, m - 1);
  std::vector<double> rhs(m, 0.0), val(m, 0.0);
  std::vector<int32> sub;
  for (int32 t = 0; t < 3; ++t) {
    int32 i = pick(rng);
    if (rhs[i] != 0.0) continue;
    rhs[i] = val[i] = u(rng);
    sub.push_back(i);
  }
  sub.resize(m, -1);
  int32 nz = 0;
  for (double v : rhs)
    nz += v != 0.0;
  ASSERT_EQ(TVA_solvewithbasis(task, transp ? 1 : 0, &nz, sub.data(), val.data()), TVA_RES_OK);
  ASSERT_GE(nz, 1);
  ASSERT_LE(nz, m);
  // The list names exactly the nonzeros, each once.
  std::vector<int32> listed(m, 0);
  for (int32 t = 0; t < nz; ++t) {
    ASSERT_GE(sub[t], 0);
    ASSERT_LT(sub[t], m);
    EXPECT_EQ(listed[sub[t]]++, 0);
    EXPECT_NE(val[sub[t]], 0.0);
  }
  for (int32 i = 0; i < m; ++i) {
    if (!listed[i]) {
      EXPECT_EQ(val[i], 0.0) << i;
    }
  }
  std::vector<double> back = times(b, m, val, transp);
  double scale = 1.0;
  for (double v : val)
    scale = std::max(scale, std::fabs(v));
  for (int32 i = 0; i < m; ++i)
    EXPECT_NEAR(back[i], rhs[i], 1e-9 * scale) << "row " << i << (transp ? " transposed" : "");
}

TEST_F(BasisTask, SolvesReproduceTheRightSideUnderBothSignConventions) {
  for (unsigned seed : {1u, 2u, 3u}) {
    TVA_deletetask(&task);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
    random_lp(30, 45, seed);
    solve_optimal();
    std::vector<int32> skc(m), skx(n), head(m, -1);
    ASSERT_EQ(TVA_getskc(task, TVA_SOL_BAS, skc.data()), TVA_RES_OK);
    ASSERT_EQ(TVA_getskx(task, TVA_SOL_BAS, skx.data()), TVA_RES_OK);
    ASSERT_EQ(TVA_initbasissolve(task, head.data()), TVA_RES_OK);
    // The head is the set of indices whose status key is basic.
    std::vector<int32> keyed;
    for (int32 k = 0; k < m + n; ++k)
      if ((k < m ? skc[k] : skx[k - m]) == TVA_SK_BAS) keyed.push_back(k);
    std::vector<int32> sorted = head;
    std::sort(sorted.begin(), sorted.end());
    ASSERT_EQ(sorted, keyed);
    bool haslogical = std::any_of(head.begin(), head.end(), [&](int32 k) { return k < m; });
    EXPECT_TRUE(haslogical) << "the test wants logicals in the basis";

    std::mt19937 rng(seed * 7);
    for (int32 plusone : {TVA_OFF, TVA_ON}) {
      ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_BASIS_SOLVE_USE_PLUS_ONE, plusone), TVA_RES_OK);
      Dense b = dense_basis(head, plusone == TVA_ON);
      for (int32 rep = 0; rep < 4; ++rep) {
        check_solve(task, b, m, false, rng);
        check_solve(task, b, m, true, rng);
      }
    }
  }
}

TEST_F(BasisTask, EmptyRightSideAndRepeatedIndicesInTheList) {
  random_lp(12, 20, 5);
  solve_optimal();
  std::vector<int32> head(m);
  ASSERT_EQ(TVA_initbasissolve(task, head.data()), TVA_RES_OK);
  std::vector<double> val(m, 0.0);
  std::vector<int32> sub(m, 0);
  int32 nz = 0;
  ASSERT_EQ(TVA_solvewithbasis(task, 0, &nz, sub.data(), val.data()), TVA_RES_OK);
  EXPECT_EQ(nz, 0);
  // A position listed twice is one entry of the right side, not a doubled one.
  Dense b = dense_basis(head, false);
  val[4] = 2.0;
  sub[0] = 4, sub[1] = 4;
  nz = 2;
  ASSERT_EQ(TVA_solvewithbasis(task, 0, &nz, sub.data(), val.data()), TVA_RES_OK);
  std::vector<double> back = times(b, m, val, false);
  for (int32 i = 0; i < m; ++i)
    EXPECT_NEAR(back[i], i == 4 ? 2.0 : 0.0, 1e-9);
}

TEST_F(BasisTask, ErrorCodes) {
  random_lp(10, 15, 11);
  std::vector<int32> head(m);
  // No basic solution yet.
  EXPECT_EQ(TVA_initbasissolve(task, head.data()), TVA_RES_ERR_NO_BASIS_SOL);
  double nb = 0, ninv = 0;
  EXPECT_EQ(TVA_basiscond(task, &nb, &ninv), TVA_RES_ERR_NO_BASIS_SOL);
  std::vector<double> val(m, 0.0);
  std::vector<int32> sub(m, 0);
  int32 nz = 1;
  val[0] = 1.0;
  // No factors to solve with.
  EXPECT_EQ(TVA_solvewithbasis(task, 0, &nz, sub.data(), val.data()), TVA_RES_ERR_BASIS_FACTOR);

  solve_optimal();
  ASSERT_EQ(TVA_initbasissolve(task, head.data()), TVA_RES_OK);
  nz = m + 1;
  EXPECT_EQ(TVA_solvewithbasis(task, 0, &nz, sub.data(), val.data()), TVA_RES_ERR_ARG_IS_TOO_LARGE);
  nz = 1, sub[0] = m;
  EXPECT_EQ(TVA_solvewithbasis(task, 0, &nz, sub.data(), val.data()),
            TVA_RES_ERR_INDEX_IS_TOO_LARGE);

  // A row more: the basis no longer has the problem's dimension.
  ASSERT_EQ(TVA_appendcons(task, 1), TVA_RES_OK);
  val.assign(m + 1, 0.0), sub.assign(m + 1, 0);
  nz = 1, val[0] = 1.0;
  EXPECT_EQ(TVA_solvewithbasis(task, 0, &nz, sub.data(), val.data()), TVA_RES_ERR_BASIS);
  char msg[TVA_MAX_STR_LEN] = "";
  int32 len = 0;
  ASSERT_EQ(TVA_getlasterror(task, nullptr, TVA_MAX_STR_LEN, &len, msg), TVA_RES_OK);
  EXPECT_EQ(std::string(msg), std::to_string(m) + " number of basis variables are specified. " +
                                  std::to_string(m + 1) + " are expected.");
}

TEST_F(BasisTask, SingularBasisIsRefused) {
  // Columns 0 and 1 are equal: a basis holding both is singular.
  m = 3, n = 3;
  ASSERT_EQ(TVA_appendcons(task, m), TVA_RES_OK);
  ASSERT_EQ(TVA_appendvars(task, n), TVA_RES_OK);
  int32 sub[] = {0, 1};
  double val[] = {1.0, 2.0}, val2[] = {3.0, -1.0};
  ASSERT_EQ(TVA_putacol(task, 0, 2, sub, val), TVA_RES_OK);
  ASSERT_EQ(TVA_putacol(task, 1, 2, sub, val), TVA_RES_OK);
  ASSERT_EQ(TVA_putacol(task, 2, 2, sub, val2), TVA_RES_OK);
  for (int32 i = 0; i < m; ++i)
    ASSERT_EQ(TVA_putconbound(task, i, TVA_BK_UP, -TVA_INFINITY, 1.0), TVA_RES_OK);
  for (int32 j = 0; j < n; ++j)
    ASSERT_EQ(TVA_putvarbound(task, j, TVA_BK_LO, 0.0, TVA_INFINITY), TVA_RES_OK);
  int32 skc[] = {TVA_SK_UPR, TVA_SK_UPR, TVA_SK_BAS};
  int32 skx[] = {TVA_SK_BAS, TVA_SK_BAS, TVA_SK_LOW};
  ASSERT_EQ(TVA_putskc(task, TVA_SOL_BAS, skc), TVA_RES_OK);
  ASSERT_EQ(TVA_putskx(task, TVA_SOL_BAS, skx), TVA_RES_OK);
  int32 head[3];
  EXPECT_EQ(TVA_initbasissolve(task, head), TVA_RES_ERR_BASIS_SINGULAR);
  double nb = 0, ninv = 0;
  EXPECT_EQ(TVA_basiscond(task, &nb, &ninv), TVA_RES_ERR_BASIS_SINGULAR);
  // Too few basic keys is no square basis either.
  skx[1] = TVA_SK_LOW;
  ASSERT_EQ(TVA_putskx(task, TVA_SOL_BAS, skx), TVA_RES_OK);
  EXPECT_EQ(TVA_initbasissolve(task, head), TVA_RES_ERR_BASIS_SINGULAR);
  // The factors of a refused basis are not used.
  double rhs[3] = {1.0, 0.0, 0.0};
  int32 list[3] = {0, 0, 0}, nz = 1;
  EXPECT_EQ(TVA_solvewithbasis(task, 0, &nz, list, rhs), TVA_RES_ERR_BASIS_FACTOR);
  // Column 2 in place of column 1 gives a nonsingular basis.
  skx[2] = TVA_SK_BAS;
  ASSERT_EQ(TVA_putskx(task, TVA_SOL_BAS, skx), TVA_RES_OK);
  EXPECT_EQ(TVA_initbasissolve(task, head), TVA_RES_OK);
  EXPECT_EQ(TVA_solvewithbasis(task, 0, &nz, list, rhs), TVA_RES_OK);
}

TEST_F(BasisTask, ConditionEstimateAgainstDenseInverse) {
  for (unsigned seed : {21u, 22u, 23u, 24u}) {
    TVA_deletetask(&task);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
    random_lp(8, 12, seed);
    solve_optimal();
    std::vector<int32> head(m);
    ASSERT_EQ(TVA_initbasissolve(task, head.data()), TVA_RES_OK);
    double nb = 0, ninv = 0;
    ASSERT_EQ(TVA_basiscond(task, &nb, &ninv), TVA_RES_OK);
    Dense b = dense_basis(head, false);
    EXPECT_NEAR(nb, one_norm(b, m), 1e-12 * one_norm(b, m));
    int dim = m, info = 0, lwork = 64 * m;
    std::vector<int> ipiv(m);
    std::vector<double> work(lwork);
    dgetrf_(&dim, &dim, b.data(), &dim, ipiv.data(), &info);
    ASSERT_EQ(info, 0);
    dgetri_(&dim, b.data(), &dim, ipiv.data(), work.data(), &lwork, &info);
    ASSERT_EQ(info, 0);
    double exact = one_norm(b, m);
    // The estimate is a lower bound, and in practice within a small factor of the truth.
    EXPECT_LE(ninv, exact * (1.0 + 1e-10)) << seed;
    EXPECT_GE(ninv, exact / 3.0) << seed;
  }
}

} // namespace
