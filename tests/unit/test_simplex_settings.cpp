// The settings record taken from a task's parameters, the primal pricing rule chosen from it
// and the problem's shape, the scaling of the working form, and the simplex's one generator.
#include <cmath>
#include <string>

#include "param_fixture.h"
#include "simplex_test_lp.h"
#include "telva/optimize/simplex_task.h"

using namespace telva;
using namespace simtest;

using SimplexSettingsTask = paramtest::TaskFixture;

TEST_F(SimplexSettingsTask, DefaultsAndRecodedValues) {
  SimplexSettings s;
  s.maxiter[2] = 17;
  simplex_settings_fromtask(task, &s);
  EXPECT_EQ(s.optimizer, kSimFree);
  EXPECT_EQ(s.scaling, 0);
  EXPECT_EQ(s.primalselect, 0);
  EXPECT_EQ(s.degen, TVA_SIM_DEGEN_FREE);
  for (int32 k = 0; k < 4; ++k) {
    EXPECT_EQ(s.maxiter[k], 10000000);
    EXPECT_EQ(s.tolx[k], 1e-6);
    EXPECT_EQ(s.tols[k], 1e-6);
    EXPECT_EQ(s.tolpiv[k], 1e-7);
    EXPECT_EQ(s.logfreq[k], 1000);
  }
  EXPECT_EQ(s.lutolrel, 0.01);

  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_OPTIMIZER, TVA_OPTIMIZER_PRIMAL_SIMPLEX), 0);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_SIM_SCALING, TVA_SCALING_NONE), 0);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_SIM_EXPLOIT_DUPVEC, TVA_SIM_EXPLOIT_DUPVEC_ON), 0);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_SIM_MAX_ITERATIONS, 1234), 0);
  ASSERT_EQ(TVA_putdouparam(task, TVA_DPAR_BASIS_TOL_X, 1e-8), 0);
  const std::pair<int32, int32> sel[] = {
      {TVA_SIM_SELECTION_FREE, 0},  {TVA_SIM_SELECTION_FULL, 2}, {TVA_SIM_SELECTION_ASE, 3},
      {TVA_SIM_SELECTION_DEVEX, 5}, {TVA_SIM_SELECTION_SE, 4},   {TVA_SIM_SELECTION_PARTIAL, 1}};
  for (auto [par, internal] : sel) {
    ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_SIM_PRIMAL_SELECTION, par), 0);
    simplex_settings_fromtask(task, &s);
    EXPECT_EQ(s.primalselect, internal);
  }
  EXPECT_EQ(s.optimizer, kSimPrimal);
  EXPECT_EQ(s.scaling, 1);
  EXPECT_EQ(s.dupvec, 2);
  EXPECT_EQ(s.maxiter[kSimDual], 1234);
  EXPECT_EQ(s.tolx[kSimPrimalDual], 1e-8);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_OPTIMIZER, TVA_OPTIMIZER_INTPNT), 0);
  simplex_settings_fromtask(task, &s);
  EXPECT_EQ(s.optimizer, kSimFree);
}

// Restricted selection above 50 percent turns a named rule into its restricted form.
TEST_F(SimplexSettingsTask, RestrictedSteepestEdge) {
  SimplexSettings s;
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_SIM_PRIMAL_SELECTION, TVA_SIM_SELECTION_SE), 0);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_SIM_PRIMAL_RESTRICT_SELECTION, 51), 0);
  simplex_settings_fromtask(task, &s);
  int32 ifm = 0, sel = 0;
  psimplex_choosepricing(s, 100, 200, 0, 0, &ifm, &sel);
  EXPECT_EQ(sel, 8);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_SIM_PRIMAL_RESTRICT_SELECTION, 50), 0);
  simplex_settings_fromtask(task, &s);
  psimplex_choosepricing(s, 100, 200, 0, 0, &ifm, &sel);
  EXPECT_EQ(sel, 4);
}

TEST(SimplexPricingChoice, FreeRuleFollowsTheShape) {
  SimplexSettings s;
  int32 ifm = 0, sel = 0;
  // Cold starts: sections scored with devex weights whatever the shape.
  for (int32 n : {120, 300, 500, 1000, 5000}) {
    psimplex_choosepricing(s, 100, n, 0, 0, &ifm, &sel);
    EXPECT_EQ(ifm, 5) << "n " << n;
    EXPECT_EQ(sel, 10) << "n " << n;
  }
  s.primalrestrict = 50;
  // Hot starts.
  psimplex_choosepricing(s, 100, 7000, 0, 6, &ifm, &sel);
  EXPECT_EQ(sel, 1);
  // Fixed columns do not count: with 6,900 of 7,000 fixed the problem is narrow.
  psimplex_choosepricing(s, 100, 7000, 6900, 6, &ifm, &sel);
  EXPECT_EQ(sel, 10);
  EXPECT_EQ(ifm, 7);
  psimplex_choosepricing(s, 100, 2000, 0, 6, &ifm, &sel);
  EXPECT_EQ(sel, 10);
  EXPECT_EQ(ifm, 1);
  s.maxiter[kSimPrimal] = 1000, s.primalrestrict = 40;
  psimplex_choosepricing(s, 100, 300, 0, 6, &ifm, &sel);
  EXPECT_EQ(sel, 3);
  EXPECT_EQ(ifm, 3);
  // Out of the table.
  s.primalselect = 42, s.primalrestrict = 20;
  psimplex_choosepricing(s, 100, 300, 0, 0, &ifm, &sel);
  EXPECT_EQ(sel, 3);
  s.primalrestrict = 60;
  psimplex_choosepricing(s, 100, 300, 0, 0, &ifm, &sel);
  EXPECT_EQ(sel, 7);
}

TEST(SimplexRandomGenerator, TheOneSequence) {
  SimplexStat st;
  int32 state = st.rndstate;
  for (int32 k = 0; k < 1000; ++k) {
    double v = simplex_random(&st);
    state = (10278 * state + 3) % 32749;
    ASSERT_EQ(st.rndstate, state);
    ASSERT_EQ(v, state / 32749.0);
    ASSERT_GE(v, 0.0);
    ASSERT_LT(v, 1.0);
  }
}

// Scaling brings badly scaled rows and columns near 1, in powers of two by default, and
// leaves the optimum unchanged.
TEST(SimplexScaling, BadlyScaledProblem) {
  Sys s;
  std::mt19937 rng(3);
  Lp lp = random_lp(rng, 30, 40, 0.15);
  std::uniform_real_distribution<double> u(-4, 4);
  std::vector<double> rf(lp.m), cf(lp.n);
  for (auto& v : rf)
    v = std::pow(10.0, u(rng));
  for (auto& v : cf)
    v = std::pow(10.0, u(rng));
  // Row i times rf, column j times cf: bounds and costs follow so the problem is the same.
  Lp bad = lp;
  for (int32 j = 0; j < lp.n; ++j) {
    for (int32 k = lp.ptr[j]; k < lp.ptr[j + 1]; ++k)
      bad.val[k] = lp.val[k] * rf[lp.sub[k]] * cf[j];
    bad.c[j] = lp.c[j] * cf[j];
    if (fin(lp.blx[j])) bad.blx[j] = lp.blx[j] / cf[j];
    if (fin(lp.bux[j])) bad.bux[j] = lp.bux[j] / cf[j];
  }
  for (int32 i = 0; i < lp.m; ++i) {
    if (fin(lp.blc[i])) bad.blc[i] = lp.blc[i] * rf[i];
    if (fin(lp.buc[i])) bad.buc[i] = lp.buc[i] * rf[i];
  }
  SimplexSettings st;
  std::vector<double> r(bad.m), c(bad.n);
  SimplexLp v = bad.view();
  ASSERT_TRUE(simplex_computescalingcoldstart(s.sys, st, v, r.data(), c.data()));
  double lo = 1e300, hi = 0;
  for (int32 j = 0; j < bad.n; ++j)
    for (int32 k = bad.ptr[j]; k < bad.ptr[j + 1]; ++k) {
      double a = std::fabs(bad.val[k]) * r[bad.sub[k]] * c[j];
      if (a == 0.0) continue;
      lo = std::min(lo, a), hi = std::max(hi, a);
    }
  EXPECT_LT(hi / lo, 1e4); // from a spread near 1e17
  for (double f : r) {
    int e;
    EXPECT_EQ(std::frexp(f, &e), 0.5) << f;
  }
  Result a = solve(s.sys, lp, tight_settings());
  Result b = solve(s.sys, bad, tight_settings());
  ASSERT_EQ(a.stat.solsta, TVA_SOL_STA_OPTIMAL);
  ASSERT_EQ(b.stat.solsta, TVA_SOL_STA_OPTIMAL);
  EXPECT_NEAR(a.pobj, b.pobj, 1e-7 * (1 + std::fabs(a.pobj)));
  EXPECT_LT(kkt_violation(bad, b), 1e-8);
  // Under the default tolerances the optimum of the scaled problem may miss them unscaled; the
  // clean-up pass on the unscaled problem brings it within them.
  Result d = solve(s.sys, bad, SimplexSettings{});
  ASSERT_EQ(d.stat.solsta, TVA_SOL_STA_OPTIMAL);
  EXPECT_LT(kkt_violation(bad, d), 1e-6);
}

// A ranged row of width 0.005 that scaling would narrow below what the tolerances see gets a
// larger factor, and a row already near 1 is left alone.
TEST(SimplexScaling, NarrowRangedRowIsWidened) {
  Sys s;
  Lp lp(2);
  lp.row(0, 1.0, 1.005);
  lp.row(1, 0, 2000);
  lp.col(1, 0, kInf, {{0, 1e-3}, {1, 1}});
  lp.col(1, 0, kInf, {{0, 2e-3}, {1, 1}});
  SimplexSettings st;
  std::vector<double> r(2), c(2);
  SimplexLp v = lp.view();
  ASSERT_TRUE(simplex_computescalingcoldstart(s.sys, st, v, r.data(), c.data()));
  EXPECT_GE(r[0] * (lp.buc[0] - lp.blc[0]), 1e-3);
  st.scalmethod = 1;
  ASSERT_TRUE(simplex_computescalingcoldstart(s.sys, st, v, r.data(), c.data()));
  EXPECT_GE(r[0] * (lp.buc[0] - lp.blc[0]), 1e-3);
  Result res = solve(s.sys, lp, tight_settings());
  ASSERT_EQ(res.stat.solsta, TVA_SOL_STA_OPTIMAL);
  EXPECT_NEAR(res.pobj, 500.0, 1e-6); // x2 = 500 meets row 0 at its lower end
  EXPECT_LT(kkt_violation(lp, res), 1e-9);
}

TEST(SimplexLog, TableHeadingAndLines) {
  char buf[256];
  simplex_progressheader(buf, sizeof buf);
  EXPECT_STREQ(buf, "ITER      DEGITER(%)  PFEAS       DFEAS       POBJ                  DOBJ      "
                    "            TIME      TOTTIME \n");
  SimplexProgress p;
  p.iter = 12, p.degpct = 25.0, p.pinf = 0.5, p.pobj = -3.25, p.time = 0.5, p.tottime = 1.25;
  simplex_progressline(buf, sizeof buf, &p, true);
  // Columns of 8, 10, 10, 10, 20, 20, 8, 8 characters, two spaces apart.
  auto sp = [](int n) { return std::string(n, ' '); };
  EXPECT_EQ(std::string(buf), "12" + sp(8) + "25.00" + sp(7) + "5.00e-01" + sp(4) + sp(12) +
                                  "-3.2500000000e+00" + sp(5) + sp(22) + "0.50" + sp(6) + "1.25" +
                                  sp(4) + "\n");
  p.dinf = 2.0, p.dobj = 7.0;
  simplex_progressline(buf, sizeof buf, &p, false);
  EXPECT_EQ(std::string(buf), "12" + sp(8) + "25.00" + sp(7) + sp(12) + "2.00e+00" + sp(4) +
                                  sp(22) + "7.0000000000e+00" + sp(6) + "0.50" + sp(6) + "1.25" +
                                  sp(4) + "\n");
  EXPECT_STREQ(simplex_eventtext(40), "Simplex optimizer started.\n");
  EXPECT_EQ(simplex_eventtext(47), nullptr);
}

TEST(SimplexCodes, ResponseCodesOfTheInternalAnswers) {
  EXPECT_EQ(simplex_rescode(kSimOk), TVA_RES_OK);
  EXPECT_EQ(simplex_rescode(kSimSpace), TVA_RES_ERR_SPACE);
  EXPECT_EQ(simplex_rescode(kSimMaxIterations), TVA_RES_TRM_MAX_ITERATIONS);
  EXPECT_EQ(simplex_rescode(kSimMaxTime), TVA_RES_TRM_MAX_TIME);
  EXPECT_EQ(simplex_rescode(kSimUserCallback), TVA_RES_TRM_USER_CALLBACK);
  EXPECT_EQ(simplex_rescode(kSimFactor), TVA_RES_ERR_FACTOR);
  EXPECT_EQ(simplex_rescode(kSimInternal), TVA_RES_ERR_INTERNAL);
  EXPECT_EQ(simplex_rescode(kSimBasisSingular), TVA_RES_ERR_BASIS_SINGULAR);
  EXPECT_EQ(simplex_rescode(kSimMaxSetbacks), TVA_RES_TRM_MAX_NUM_SETBACKS);
  EXPECT_EQ(simplex_rescode(2), TVA_RES_ERR_UNKNOWN);
  EXPECT_EQ(simplex_rescode(37), TVA_RES_ERR_UNKNOWN);
}
