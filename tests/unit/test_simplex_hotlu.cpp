// The LU kept in the basis record between runs: a hot start after a change of costs or
// bounds takes it, and still ends at the optimum a cold start finds; a changed matrix or a
// start from another basis fails the check and factorizes anew; the exported solves don't use
// an optimizer's factors.
#include "simplex/simplex_basisrec.h"
#include "simplex_test_lp.h"
#include "task_lp_fixture.h"

using namespace simtest;
using telva::kSimOk;

namespace {

struct Record {
  telva::SimplexBasis* b = nullptr;
  Record(telva::sysenv* sys, int32 m) { telva::simplex_makebasis(sys, m, 0.01, &b); }
  ~Record() { telva::simplex_deletebasis(&b); }
};

telva::SimplexSettings hot(int32 hotstartlu) {
  telva::SimplexSettings s = tight_settings();
  s.hotstart = 6;
  s.hotstartlu = hotstartlu;
  return s;
}

void expect_same_optimum(const Lp& lp, const Result& r, const Result& cold, int32 trial) {
  ASSERT_EQ(r.code, kSimOk) << trial;
  ASSERT_EQ(r.stat.solsta, cold.stat.solsta) << trial;
  if (cold.stat.solsta != TVA_SOL_STA_OPTIMAL) return;
  EXPECT_NEAR(r.pobj, cold.pobj, 1e-7 * (1.0 + std::fabs(cold.pobj))) << trial;
  EXPECT_LT(kkt_violation(lp, r), 1e-7) << trial;
}

TEST(SimplexHotLu, ChangedCostsAndBoundsReuseTheKeptFactors) {
  Sys s;
  std::mt19937 rng(5);
  int32 reused = 0;
  for (int32 trial = 0; trial < 20; ++trial) {
    Lp lp = random_lp(rng, 15, 25, 0.3);
    Record rec(s.sys, lp.m);
    Result first = solve(s.sys, lp, tight_settings(), nullptr, rec.b);
    ASSERT_EQ(first.code, kSimOk);
    if (first.stat.solsta != TVA_SOL_STA_OPTIMAL) continue;
    EXPECT_TRUE(rec.b->luisok);
    EXPECT_FALSE(rec.b->solvable);
    // New costs: the old basis stays primal feasible, and the kept LU is its factorization.
    Lp changed = lp;
    std::uniform_real_distribution<double> u(-0.5, 0.5);
    for (double& c : changed.c)
      c += u(rng);
    Result cold = solve(s.sys, changed, tight_settings());
    Result warm = solve(s.sys, changed, hot(1), &first, rec.b);
    expect_same_optimum(changed, warm, cold, trial);
    EXPECT_EQ(warm.stat.hotstartlu, 1) << trial;
    reused += warm.stat.hotstartlu;
    // The record now holds the factors of the new end; without the switch they are not used.
    Result plain = solve(s.sys, changed, hot(0), &warm, rec.b);
    expect_same_optimum(changed, plain, cold, trial);
    EXPECT_EQ(plain.stat.hotstartlu, 0);
  }
  EXPECT_GT(reused, 5);
}

TEST(SimplexHotLu, AChangedMatrixOrAnotherBasisFailsTheCheck) {
  Sys s;
  std::mt19937 rng(9);
  int32 tried = 0;
  for (int32 trial = 0; trial < 20; ++trial) {
    Lp lp = random_lp(rng, 12, 20, 0.3);
    Record rec(s.sys, lp.m);
    Result first = solve(s.sys, lp, tight_settings(), nullptr, rec.b);
    if (first.stat.solsta != TVA_SOL_STA_OPTIMAL) continue;
    // Scale every entry of one basic variable's column: same basis, other matrix.
    int32 j = -1;
    for (int32 k = 0; k < lp.n && j < 0; ++k)
      if (first.skx[k] == TVA_SK_BAS) j = k;
    if (j < 0) continue;
    tried++;
    Lp changed = lp;
    for (int32 p = changed.ptr[j]; p < changed.ptr[j + 1]; ++p)
      changed.val[p] *= 1.5;
    Result cold = solve(s.sys, changed, tight_settings());
    Result warm = solve(s.sys, changed, hot(1), &first, rec.b);
    EXPECT_EQ(warm.stat.hotstartlu, 0) << trial;
    expect_same_optimum(changed, warm, cold, trial);

    // A start from the slack basis is another basis than the kept one.
    Result solved = solve(s.sys, lp, tight_settings(), nullptr, rec.b);
    ASSERT_TRUE(rec.b->luisok);
    Result slack = first;
    std::fill(slack.skc.begin(), slack.skc.end(), TVA_SK_BAS);
    std::fill(slack.skx.begin(), slack.skx.end(), TVA_SK_LOW);
    Result fromslack = solve(s.sys, lp, hot(1), &slack, rec.b);
    EXPECT_EQ(fromslack.stat.hotstartlu, 0) << trial;
    expect_same_optimum(lp, fromslack, solved, trial);
  }
  EXPECT_GT(tried, 5);
}

struct TaskHotLu : lptask::TaskLp {};

TEST_F(TaskHotLu, ExportedSolvesNeedTheirOwnFactorization) {
  random_lp(10, 16, 3);
  solve_optimal();
  // The optimizer's factors belong to its scaled form: no solve with them.
  std::vector<double> val(m, 0.0);
  std::vector<int32> sub(m, 0), head(m);
  int32 nz = 1;
  val[0] = 1.0;
  EXPECT_EQ(TVA_solvewithbasis(task, 0, &nz, sub.data(), val.data()), TVA_RES_ERR_BASIS_FACTOR);
  ASSERT_EQ(TVA_initbasissolve(task, head.data()), TVA_RES_OK);
  EXPECT_EQ(TVA_solvewithbasis(task, 0, &nz, sub.data(), val.data()), TVA_RES_OK);
  // A new run takes the record back for its own factors.
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  nz = 1, sub[0] = 0, val.assign(m, 0.0), val[0] = 1.0;
  EXPECT_EQ(TVA_solvewithbasis(task, 0, &nz, sub.data(), val.data()), TVA_RES_ERR_BASIS_FACTOR);
}

} // namespace
