// The primal simplex on small problems with known answers: textbook optima, degenerate and
// cycling examples, free, fixed and ranged structures, infeasible and unbounded problems with
// their certificates checked from first principles, and the problems without rows.
#include "simplex_test_lp.h"

using namespace telva;
using namespace simtest;

namespace {

// Every pricing rule of the parameter, free included, as the settings carry them.
const int32 kRules[] = {0, 1, 2, 3, 4, 5};

SimplexSettings with_rule(int32 rule, int32 restrict = 50) {
  SimplexSettings s = tight_settings();
  s.primalselect = rule;
  s.primalrestrict = restrict;
  return s;
}

} // namespace

TEST(SimplexSmall, TextbookMaximumUnderEveryRule) {
  Sys s;
  Lp lp = textbook();
  for (int32 rule : kRules)
    for (int32 restrict : {10, 90}) {
      Result r = solve(s.sys, lp, with_rule(rule, restrict));
      ASSERT_EQ(r.code, kSimOk) << "rule " << rule;
      EXPECT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL);
      EXPECT_EQ(r.stat.prosta, TVA_PRO_STA_PRIM_AND_DUAL_FEAS);
      EXPECT_NEAR(r.pobj, 36.0, 1e-9);
      EXPECT_NEAR(r.xx[0], 2.0, 1e-9);
      EXPECT_NEAR(r.xx[1], 6.0, 1e-9);
      EXPECT_LT(kkt_violation(lp, r), 1e-9);
      // Duals of a maximization: row 2 (y = 1) and row 1 (y = 1.5) bind, with the signs of
      // a maximization (nonpositive parts).
      EXPECT_NEAR(r.y[1], 1.5, 1e-9);
      EXPECT_NEAR(r.y[2], 1.0, 1e-9);
      EXPECT_EQ(r.skc[0], TVA_SK_BAS);
      EXPECT_EQ(r.skx[0], TVA_SK_BAS);
      EXPECT_EQ(r.skx[1], TVA_SK_BAS);
    }
}

// Klee and Minty's cube in dimension 8: the steepest-edge and devex rules go straight, and
// every rule ends at x_n = 5^n.
TEST(SimplexSmall, KleeMintyCube) {
  Sys s;
  const int32 n = 8;
  Lp lp(n);
  lp.maximize = true;
  for (int32 i = 0; i < n; ++i)
    lp.row(i, -kInf, std::pow(5.0, i + 1));
  for (int32 j = 0; j < n; ++j) {
    std::vector<std::pair<int32, double>> e{{j, 1.0}};
    for (int32 i = j + 1; i < n; ++i)
      e.push_back({i, std::pow(2.0, i - j + 1)});
    lp.col(std::pow(2.0, n - 1 - j), 0, kInf, e);
  }
  for (int32 rule : kRules) {
    SimplexSettings st = with_rule(rule);
    st.scaling = 1; // the cube's structure shows only unscaled
    Result r = solve(s.sys, lp, st);
    ASSERT_EQ(r.code, kSimOk);
    ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL) << "rule " << rule;
    EXPECT_NEAR(r.pobj, std::pow(5.0, n), 1e-6);
    EXPECT_NEAR(r.xx[n - 1], std::pow(5.0, n), 1e-6);
    EXPECT_LT(kkt_violation(lp, r), 1e-9);
    if (rule == 2) {
      EXPECT_LT(r.iters(), 1 << n); // Dantzig's exponential path is not taken
    }
  }
}

// Beale's example cycles under Dantzig's rule with the textbook tie-breaking; perturbation,
// Harris' ratio test and the random tie-breaks get through it, also with perturbation off.
TEST(SimplexSmall, BealeCyclingExample) {
  Sys s;
  Lp lp(3);
  lp.row(0, -kInf, 0), lp.row(1, -kInf, 0), lp.row(2, -kInf, 1);
  lp.col(-0.75, 0, kInf, {{0, 0.25}, {1, 0.5}});
  lp.col(20, 0, kInf, {{0, -8}, {1, -12}});
  lp.col(-0.5, 0, kInf, {{0, -1}, {1, -0.5}, {2, 1}});
  lp.col(6, 0, kInf, {{0, 9}, {1, 3}});
  for (int32 degen : {0, 1, 2, 4})
    for (int32 rule : kRules) {
      SimplexSettings st = with_rule(rule);
      st.degen = degen;
      st.scaling = 1;
      Result r = solve(s.sys, lp, st);
      ASSERT_EQ(r.code, kSimOk);
      ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL) << "rule " << rule << " degen " << degen;
      EXPECT_NEAR(r.pobj, -1.25, 1e-9);
      EXPECT_LT(kkt_violation(lp, r), 1e-9);
      EXPECT_LT(r.iters(), 50);
    }
}

// Equality and ranged rows, a free and a fixed variable, an upper-bounded one:
// minimize x1 + 2 x2 - x3 + 0 x4
//   x1 + x2 + x3 = 10, 2 <= x1 - x2 <= 4, x3 + x4 >= 1 (x4 fixed at 3),
//   x1 >= 0, x2 free, x3 <= 5.
// With x3 = 5: x1 + x2 = 5 and x1 - x2 in [2, 4]; the cost x1 + 2 x2 = 15 - 3 x1 + ... is
// least at the largest x1: x1 - x2 = 4, x1 = 4.5, x2 = 0.5, objective 4.5 + 1 - 5 = 0.5.
TEST(SimplexSmall, EqualityRangedFreeAndFixed) {
  Sys s;
  Lp lp(3);
  lp.row(0, 10, 10), lp.row(1, 2, 4), lp.row(2, 1, kInf);
  lp.col(1, 0, kInf, {{0, 1}, {1, 1}});
  lp.col(2, -kInf, kInf, {{0, 1}, {1, -1}});
  lp.col(-1, -kInf, 5, {{0, 1}, {2, 1}});
  lp.col(0, 3, 3, {{2, 1}});
  lp.cfix = 7;
  for (int32 rule : kRules)
    for (int32 scaling : {0, 1}) {
      SimplexSettings st = with_rule(rule);
      st.scaling = scaling;
      Result r = solve(s.sys, lp, st);
      ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL) << "rule " << rule;
      EXPECT_NEAR(r.pobj, 7.5, 1e-9);
      EXPECT_NEAR(r.xx[0], 4.5, 1e-9);
      EXPECT_NEAR(r.xx[1], 0.5, 1e-9);
      EXPECT_NEAR(r.xx[2], 5.0, 1e-9);
      EXPECT_EQ(r.skx[3], TVA_SK_FIX);
      EXPECT_EQ(r.skx[2], TVA_SK_UPR);
      EXPECT_LT(kkt_violation(lp, r), 1e-9);
    }
}

// Rows that cannot both hold, x + y >= 3 and x + y <= 1, and bounds that cannot reach a row:
// the certificate satisfies the Farkas conditions on its own.
TEST(SimplexSmall, InfeasibleWithFarkasCertificate) {
  Sys s;
  Lp a(2);
  a.row(0, 3, kInf), a.row(1, -kInf, 1);
  a.col(1, 0, kInf, {{0, 1}, {1, 1}});
  a.col(-1, -kInf, kInf, {{0, 1}, {1, 1}});
  Lp b(1);
  b.row(0, 3, kInf);
  b.col(1, 0, 1, {{0, 1}});
  b.col(1, 0, 1, {{0, 1}});
  Lp c(2); // infeasible only through an equality and a ranged row
  c.row(0, 4, 4), c.row(1, -1, 1);
  c.col(0, 0, 1, {{0, 1}, {1, 1}});
  c.col(0, 0, 10, {{0, 1}, {1, -1}});
  for (const Lp* lp : {&a, &b, &c})
    for (int32 rule : kRules) {
      Result r = solve(s.sys, *lp, with_rule(rule));
      ASSERT_EQ(r.code, kSimOk);
      ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_PRIM_INFEAS_CER) << "rule " << rule;
      EXPECT_EQ(r.stat.prosta, TVA_PRO_STA_PRIM_INFEAS);
      EXPECT_GT(farkas_margin(*lp, r, 1e-9), 1e-6);
    }
}

TEST(SimplexSmall, CrossedBoundsAreTheirOwnCertificate) {
  Sys s;
  Lp lp(1);
  lp.row(0, 0, 5);
  lp.col(1, 2, 1, {{0, 1}});
  Result r = solve(s.sys, lp, tight_settings());
  ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_PRIM_INFEAS_CER);
  EXPECT_GT(farkas_margin(lp, r, 1e-12), 0.0);
}

// minimize -x - y with x - y <= 1 and a ranged row that doesn't bound the ray: unbounded; the
// ray keeps A d = dc, moves only toward infinite bounds and lowers the cost.
TEST(SimplexSmall, UnboundedWithRay) {
  Sys s;
  Lp lp(2);
  lp.row(0, -kInf, 1), lp.row(1, -5, kInf);
  lp.col(-1, 0, kInf, {{0, 1}, {1, 1}});
  lp.col(-1, 0, kInf, {{0, -1}, {1, 2}});
  lp.col(1, 0, 3, {{1, 1}});
  for (int32 rule : kRules)
    for (bool maximize : {false, true}) {
      Lp l2 = lp;
      if (maximize) {
        l2.maximize = true;
        for (auto& v : l2.c)
          v = -v;
      }
      Result r = solve(s.sys, l2, with_rule(rule));
      ASSERT_EQ(r.code, kSimOk);
      ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_DUAL_INFEAS_CER) << "rule " << rule;
      EXPECT_EQ(r.stat.prosta, TVA_PRO_STA_DUAL_INFEAS);
      EXPECT_LT(ray_slope(l2, r, 1e-9), -1e-6);
    }
}

// A phase-one start that has to cross several infeasible rows, then a phase two: the basis
// reaches feasibility and optimality with status keys that match the values.
TEST(SimplexSmall, PhaseOneThenPhaseTwoKeysMatchValues) {
  Sys s;
  Lp lp(3);
  lp.row(0, 4, kInf), lp.row(1, 2, 8), lp.row(2, -kInf, 9);
  lp.col(2, 0, kInf, {{0, 1}, {1, 1}, {2, 1}});
  lp.col(3, 0, 10, {{0, 2}, {1, -1}, {2, 1}});
  lp.col(-1, 1, 2, {{2, 1}});
  Result r = solve(s.sys, lp, tight_settings());
  ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL);
  EXPECT_GT(r.stat.infiter[kSimPrimal], 0);
  EXPECT_LT(kkt_violation(lp, r), 1e-9);
  for (int32 j = 0; j < lp.n; ++j) {
    if (r.skx[j] == TVA_SK_LOW) {
      EXPECT_EQ(r.xx[j], lp.blx[j]);
    }
    if (r.skx[j] == TVA_SK_UPR) {
      EXPECT_EQ(r.xx[j], lp.bux[j]);
    }
  }
  int32 nbas = 0;
  for (int32 k : r.skc)
    nbas += k == TVA_SK_BAS;
  for (int32 k : r.skx)
    nbas += k == TVA_SK_BAS;
  EXPECT_EQ(nbas, lp.m);
}

// A boxed entering variable whose range is shorter than any ratio flips to its other bound:
// one iteration, no basis change.
TEST(SimplexSmall, BoxedEnteringVariableFlips) {
  Sys s;
  Lp lp(1);
  lp.row(0, -kInf, 10);
  lp.col(-1, 0, 1, {{0, 1}});
  lp.col(0, 0, kInf, {{0, 1}});
  SimplexSettings st = tight_settings();
  st.degen = 0;
  Result r = solve(s.sys, lp, st);
  ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL);
  EXPECT_EQ(r.iters(), 1);
  EXPECT_EQ(r.stat.boundflips[kSimPrimal], 1);
  EXPECT_EQ(r.skx[0], TVA_SK_UPR);
  EXPECT_EQ(r.skc[0], TVA_SK_BAS);
  EXPECT_DOUBLE_EQ(r.xx[0], 1.0);
}

TEST(SimplexNoRows, CheapestBoundsAndRays) {
  Sys s;
  Lp lp(0);
  lp.col(2, -1, 4, {});
  lp.col(-3, -1, 4, {});
  lp.col(0, -kInf, kInf, {});
  lp.col(0, -kInf, 7, {});
  Result r = solve(s.sys, lp, tight_settings());
  ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL);
  EXPECT_EQ(r.stat.prosta, TVA_PRO_STA_PRIM_AND_DUAL_FEAS);
  EXPECT_EQ(r.xx[0], -1.0);
  EXPECT_EQ(r.skx[0], TVA_SK_LOW);
  EXPECT_EQ(r.xx[1], 4.0);
  EXPECT_EQ(r.skx[1], TVA_SK_UPR);
  EXPECT_EQ(r.xx[2], 0.0);
  EXPECT_EQ(r.skx[2], TVA_SK_SUPBAS);
  EXPECT_EQ(r.xx[3], 7.0);
  EXPECT_NEAR(r.pobj, -14.0, 0);
  EXPECT_LT(kkt_violation(lp, r), 1e-12);
  // A negative cost without upper bound: the ray +1 on that variable.
  lp.bux[1] = kInf;
  r = solve(s.sys, lp, tight_settings());
  ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_DUAL_INFEAS_CER);
  EXPECT_EQ(r.stat.prosta, TVA_PRO_STA_DUAL_INFEAS);
  EXPECT_EQ(r.xx[1], 1.0);
  EXPECT_EQ(r.xx[0], 0.0);
  EXPECT_LT(ray_slope(lp, r, 1e-12), 0.0);
}

// A hot start with superbasic values between the bounds, some with zero cost: the end is a
// vertex, every superbasic variable with a finite bound is on a bound or basic.
TEST(SimplexSmall, SuperbasicStartEndsAtAVertex) {
  Sys s;
  Lp lp(2);
  lp.row(0, -kInf, 10), lp.row(1, 1, kInf);
  lp.col(0, 0, 4, {{0, 1}, {1, 1}});
  lp.col(0, -2, 3, {{0, 1}, {1, -1}});
  lp.col(-1, 0, 5, {{0, 1}});
  lp.col(0, -kInf, kInf, {{1, 1}});
  Result start;
  start.skc = {TVA_SK_BAS, TVA_SK_BAS};
  start.skx = {TVA_SK_SUPBAS, TVA_SK_SUPBAS, TVA_SK_SUPBAS, TVA_SK_SUPBAS};
  start.xc = {0, 0};
  start.xx = {1.5, 0.5, 2.5, 0.0};
  SimplexSettings st = tight_settings();
  st.hotstart = 6;
  Result r = solve(s.sys, lp, st, &start);
  ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL);
  EXPECT_NEAR(r.pobj, -5.0, 1e-9);
  EXPECT_LT(kkt_violation(lp, r), 1e-9);
  for (int32 j = 0; j < 3; ++j) {
    EXPECT_NE(r.skx[j], TVA_SK_SUPBAS) << "column " << j;
    if (r.skx[j] == TVA_SK_LOW) {
      EXPECT_EQ(r.xx[j], lp.blx[j]);
    }
    if (r.skx[j] == TVA_SK_UPR) {
      EXPECT_EQ(r.xx[j], lp.bux[j]);
    }
  }
}
