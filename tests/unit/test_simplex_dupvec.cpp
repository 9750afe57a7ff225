// Duplicate columns in the primal simplex: the entering step passes the bounds of an entering
// variable's duplicates, and problems with duplicates solve to the same optimum with the
// handling on as off.
#include "simplex_test_lp.h"

using namespace simtest;
using telva::kSimOk;

namespace {

telva::SimplexSettings with_dupvec(int32 dupvec) {
  telva::SimplexSettings s = tight_settings();
  s.dupvec = dupvec;
  s.degen = 0;
  return s;
}

// maximize x1 + ... + x5 with 0 <= xj <= 1 and 2 (x1 + ... + x5) + y <= 7, y in [0, 10] with
// cost -1: the group takes 3.5, spread over its members.
Lp five_equal_boxes() {
  Lp lp(1);
  lp.maximize = true;
  for (int32 j = 0; j < 5; ++j)
    lp.col(1.0, 0.0, 1.0, {{0, 2.0}});
  lp.col(-1.0, 0.0, 10.0, {{0, 1.0}});
  lp.row(0, -kInf, 7.0);
  return lp;
}

TEST(SimplexDupvec, StepPassesTheBoundsOfDuplicates) {
  Sys s;
  Lp lp = five_equal_boxes();
  Result off = solve(s.sys, lp, with_dupvec(0));
  Result on = solve(s.sys, lp, with_dupvec(2));
  for (const Result* r : {&off, &on}) {
    ASSERT_EQ(r->code, kSimOk);
    EXPECT_EQ(r->stat.solsta, TVA_SOL_STA_OPTIMAL);
    EXPECT_NEAR(r->pobj, 3.5, 1e-9);
    EXPECT_LT(kkt_violation(lp, *r), 1e-9);
    // Three members at their upper bound, one basic at 0.5, one at zero.
    int32 upper = 0, basic = 0;
    for (int32 j = 0; j < 5; ++j) {
      upper += r->skx[j] == TVA_SK_UPR;
      if (r->skx[j] == TVA_SK_BAS) {
        basic++;
        EXPECT_NEAR(r->xx[j], 0.5, 1e-9);
      }
    }
    EXPECT_EQ(upper, 3);
    EXPECT_EQ(basic, 1);
  }
  // Without the handling each bound flip is an iteration of its own.
  EXPECT_LT(on.iters(), off.iters());
  EXPECT_GT(on.stat.boundflips[telva::kSimPrimal], 0);
}

TEST(SimplexDupvec, ScaledColumnsAndCostsMustBothAgree) {
  Sys s;
  // Columns equal but costs different, and costs equal but columns different: no groups, and
  // the answers stay right.
  Lp lp(1);
  lp.maximize = true;
  lp.col(1.0, 0.0, 1.0, {{0, 1.0}});
  lp.col(2.0, 0.0, 1.0, {{0, 1.0}});
  lp.col(1.0, 0.0, 1.0, {{0, 3.0}});
  lp.row(0, -kInf, 1.5);
  Result r = solve(s.sys, lp, with_dupvec(2));
  ASSERT_EQ(r.code, kSimOk);
  EXPECT_NEAR(r.pobj, 2.5, 1e-9);
  EXPECT_LT(kkt_violation(lp, r), 1e-9);
}

TEST(SimplexDupvec, RandomProblemsWithDuplicatesMatchTheOptimumWithoutTheHandling) {
  Sys s;
  std::mt19937 rng(77);
  for (int32 trial = 0; trial < 30; ++trial) {
    Lp base = random_lp(rng, 12, 20, 0.3);
    // Copies of a few columns with boxes of their own, so that their group has room to pass.
    Lp lp(base.m);
    for (int32 i = 0; i < base.m; ++i)
      lp.row(i, base.blc[i], base.buc[i]);
    for (int32 j = 0; j < base.n; ++j) {
      std::vector<std::pair<int32, double>> col;
      for (int32 k = base.ptr[j]; k < base.ptr[j + 1]; ++k)
        col.push_back({base.sub[k], base.val[k]});
      lp.col(base.c[j], base.blx[j], base.bux[j], col);
      if (j % 4 == 1)
        for (int32 copy = 0; copy < 2; ++copy)
          lp.col(base.c[j], 0.0, 0.5 + copy, col);
    }
    Result off = solve(s.sys, lp, with_dupvec(0));
    Result on = solve(s.sys, lp, with_dupvec(2));
    ASSERT_EQ(off.code, kSimOk) << trial;
    ASSERT_EQ(on.code, kSimOk) << trial;
    ASSERT_EQ(on.stat.solsta, off.stat.solsta) << trial;
    if (off.stat.solsta != TVA_SOL_STA_OPTIMAL) continue;
    EXPECT_NEAR(on.pobj, off.pobj, 1e-7 * (1.0 + std::fabs(off.pobj))) << trial;
    EXPECT_LT(kkt_violation(lp, on), 1e-7) << trial;
  }
}

} // namespace
