// The dual simplex and the free choice of the simplex optimizer on small problems checked from
// first principles: optima by their optimality conditions, infeasible problems by their Farkas
// certificates, unbounded ones by their rays; the updated dual steepest-edge weights against
// weights recomputed exactly; and the same path on the same input.
#include "simplex_test_lp.h"

using namespace telva;
using namespace simtest;

namespace {

// Total iterations of all optimizers of a run.
int32 alliters(const Result& r) {
  return r.stat.iter[0] + r.stat.iter[1] + r.stat.iter[2] + r.stat.iter[3];
}

} // namespace

TEST(DualSimplexSmall, TextbookDualAndFree) {
  Sys s;
  Lp lp = textbook();
  for (int32 opt : {kSimDual, kSimFree, kSimPrimalDual}) {
    Result r = solve(s.sys, lp, tight_settings(opt));
    ASSERT_EQ(r.code, kSimOk);
    ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL) << "optimizer " << opt;
    EXPECT_NEAR(r.pobj, 36.0, 1e-9);
    EXPECT_NEAR(r.xx[0], 2.0, 1e-9);
    EXPECT_NEAR(r.xx[1], 6.0, 1e-9);
    EXPECT_LT(kkt_violation(lp, r), 1e-9);
  }
}

// Rows that the slack basis violates, so the dual has work: min x + y + 2z with x + y >= 2,
// y + z >= 3, x + z = 4 (range row), z <= 10, x free boxed in [-5, 5].
TEST(DualSimplexSmall, EqualityRangedFreeAndBoxed) {
  Sys s;
  Lp lp(3);
  lp.row(0, 2, kInf), lp.row(1, 3, kInf), lp.row(2, 4, 4);
  lp.col(1, -5, 5, {{0, 1}, {2, 1}});
  lp.col(1, 0, kInf, {{0, 1}, {1, 1}});
  lp.col(2, -kInf, 10, {{1, 1}, {2, 1}});
  lp.col(0, -kInf, kInf, {{0, 1}, {1, -1}}); // a free column with zero cost
  for (int32 opt : {kSimDual, kSimFree}) {
    Result r = solve(s.sys, lp, tight_settings(opt));
    ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL) << "optimizer " << opt;
    EXPECT_LT(kkt_violation(lp, r), 1e-9);
    Result p = solve(s.sys, lp, tight_settings(kSimPrimal));
    EXPECT_NEAR(r.pobj, p.pobj, 1e-9);
  }
}

// x + y >= 4 with x, y in [0, 1]: the boxed columns flip and no row can be met.
TEST(DualSimplexSmall, InfeasibleRowGivesFarkasCertificate) {
  Sys s;
  Lp lp(2);
  lp.row(0, 4, kInf), lp.row(1, -kInf, 10);
  lp.col(1, 0, 1, {{0, 1}, {1, 1}});
  lp.col(-1, 0, 1, {{0, 1}, {1, 2}});
  lp.col(0, 0, kInf, {{1, 1}});
  Result r = solve(s.sys, lp, tight_settings(kSimDual));
  ASSERT_EQ(r.code, kSimOk);
  ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_PRIM_INFEAS_CER);
  EXPECT_EQ(r.stat.prosta, TVA_PRO_STA_PRIM_INFEAS);
  EXPECT_GT(farkas_margin(lp, r, 1e-9), 1e-9);
}

// Infeasible through the interplay of rows: x - y >= 1, y - x >= 1 with free x, y, and an
// unbounded problem: min -x with x - y <= 1, y >= 0 free above. The dual proves the first; the
// second is dual infeasible and the primal clean pass finds the ray.
TEST(DualSimplexSmall, InfeasibleAndUnboundedCertificates) {
  Sys s;
  Lp inf(2);
  inf.row(0, 1, kInf), inf.row(1, 1, kInf);
  inf.col(1, -kInf, kInf, {{0, 1}, {1, -1}});
  inf.col(1, -kInf, kInf, {{0, -1}, {1, 1}});
  for (int32 opt : {kSimDual, kSimFree}) {
    Result r = solve(s.sys, inf, tight_settings(opt));
    ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_PRIM_INFEAS_CER) << "optimizer " << opt;
    EXPECT_GT(farkas_margin(inf, r, 1e-9), 1e-9);
  }
  Lp unb(1);
  unb.row(0, -kInf, 1);
  unb.col(-1, 0, kInf, {{0, 1}});
  unb.col(0, 0, kInf, {{0, -1}});
  for (int32 opt : {kSimDual, kSimFree}) {
    Result r = solve(s.sys, unb, tight_settings(opt));
    ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_DUAL_INFEAS_CER) << "optimizer " << opt;
    EXPECT_LT(ray_slope(unb, r, 1e-9), 0.0);
  }
}

// Beale's cycling example: a degenerate problem on which a naive rule cycles.
TEST(DualSimplexSmall, DegenerateBeale) {
  Sys s;
  Lp lp(3);
  lp.row(0, -kInf, 0), lp.row(1, -kInf, 0), lp.row(2, -kInf, 1);
  lp.col(-0.75, 0, kInf, {{0, 0.25}, {1, 0.5}});
  lp.col(150, 0, kInf, {{0, -60}, {1, -90}});
  lp.col(-0.02, 0, kInf, {{0, -0.04}, {1, -0.02}, {2, 1}});
  lp.col(6, 0, kInf, {{0, 9}, {1, 3}});
  Result r = solve(s.sys, lp, tight_settings(kSimDual));
  ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL);
  EXPECT_NEAR(r.pobj, -0.05, 1e-9);
  EXPECT_LT(kkt_violation(lp, r), 1e-9);
}

// Random problems with an optimum, dual and free, with and without scaling and perturbation:
// the answers satisfy the optimality conditions and agree with the primal.
TEST(DualSimplexRandom, OptimalityConditions) {
  Sys s;
  std::mt19937 rng(424242);
  const Shape shapes[] = {
      {5, 8, 0.5}, {20, 30, 0.2}, {40, 25, 0.15}, {60, 120, 0.06}, {120, 80, 0.04}};
  for (const Shape& sh : shapes)
    for (int32 trial = 0; trial < 4; ++trial) {
      Lp lp = random_lp(rng, sh.m, sh.n, sh.density);
      Result ref = solve(s.sys, lp, tight_settings(kSimPrimal));
      ASSERT_EQ(ref.stat.solsta, TVA_SOL_STA_OPTIMAL);
      for (int32 opt : {kSimDual, kSimFree})
        for (int32 scaling : {0, 1})
          for (int32 degen : {0, 1}) {
            SimplexSettings st = tight_settings(opt);
            st.scaling = scaling, st.degen = degen;
            Result r = solve(s.sys, lp, st);
            ASSERT_EQ(r.code, kSimOk);
            ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL)
                << sh.m << "x" << sh.n << " trial " << trial << " opt " << opt;
            EXPECT_LT(kkt_violation(lp, r), 1e-8) << sh.m << "x" << sh.n << " trial " << trial;
            EXPECT_NEAR(r.pobj, ref.pobj, 1e-7 * (1 + std::fabs(ref.pobj)));
          }
    }
}

// Random infeasible problems: a row that asks more than its columns' bounds allow is added.
TEST(DualSimplexRandom, InfeasibleGiveCertificates) {
  Sys s;
  std::mt19937 rng(99);
  for (int32 trial = 0; trial < 8; ++trial) {
    Lp lp = random_lp(rng, 30, 40, 0.15);
    // Two rows that contradict each other: a'x >= b + 1 and a'x <= b.
    std::vector<double> a(lp.n);
    for (double& v : a)
      v = std::round(std::uniform_real_distribution<double>(-3, 3)(rng));
    Lp big(lp.m + 2);
    for (int32 i = 0; i < lp.m; ++i)
      big.row(i, lp.blc[i], lp.buc[i]);
    big.row(lp.m, 5, kInf), big.row(lp.m + 1, -kInf, 4);
    for (int32 j = 0; j < lp.n; ++j) {
      std::vector<std::pair<int32, double>> e;
      for (int32 p = lp.ptr[j]; p < lp.ptr[j + 1]; ++p)
        e.push_back({lp.sub[p], lp.val[p]});
      if (a[j] != 0.0) e.push_back({lp.m, a[j]}), e.push_back({lp.m + 1, a[j]});
      big.col(lp.c[j], lp.blx[j], lp.bux[j], e);
    }
    for (int32 opt : {kSimDual, kSimFree}) {
      Result r = solve(s.sys, big, tight_settings(opt));
      ASSERT_EQ(r.code, kSimOk);
      ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_PRIM_INFEAS_CER) << "trial " << trial;
      EXPECT_GT(farkas_margin(big, r, 1e-7), 1e-9) << "trial " << trial;
    }
  }
}

// The updated weights equal ||e_p' B^-1||^2 recomputed after every pivot.
TEST(DualSimplexWeights, UpdateMatchesExactNorms) {
  Sys s;
  std::mt19937 rng(5);
  for (int32 trial = 0; trial < 4; ++trial) {
    Lp lp = random_lp(rng, 40, 60, 0.1);
    SimplexSettings st = tight_settings(kSimDual);
    st.deblev = 3;
    st.refactorfreq[kSimDual] = 1000;
    Result r = solve(s.sys, lp, st);
    ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL);
    EXPECT_GT(r.stat.iter[kSimDual], 0);
    EXPECT_LT(r.stat.dseerror, 1e-6) << "trial " << trial;
  }
}

// The same input twice takes the same path.
TEST(DualSimplexRandom, SameInputSamePath) {
  Sys s;
  std::mt19937 rng(31);
  Lp lp = random_lp(rng, 60, 90, 0.08);
  Result a = solve(s.sys, lp, tight_settings(kSimDual));
  Result b = solve(s.sys, lp, tight_settings(kSimDual));
  ASSERT_EQ(a.stat.solsta, TVA_SOL_STA_OPTIMAL);
  EXPECT_EQ(alliters(a), alliters(b));
  EXPECT_EQ(a.stat.boundflips[kSimDual], b.stat.boundflips[kSimDual]);
  EXPECT_EQ(a.skx, b.skx);
  EXPECT_EQ(a.xx, b.xx);
}

// The free choice: a much wider than tall problem that the slack basis leaves primal feasible
// goes to the primal; a tall one to the dual.
TEST(DualSimplexChoice, FreeChoosesByShape) {
  Sys s;
  Lp wide(1);
  wide.row(0, -kInf, 10);
  for (int32 j = 0; j < 300; ++j)
    wide.col(-1.0 - j % 7, 0, kInf, {{0, 1.0 + j % 3}});
  Result r = solve(s.sys, wide, tight_settings(kSimFree));
  ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL);
  EXPECT_GT(r.stat.iter[kSimPrimal], 0);
  EXPECT_EQ(r.stat.iter[kSimDual], 0);
  Lp tall(6);
  for (int32 i = 0; i < 6; ++i)
    tall.row(i, 1.0 + i, kInf);
  tall.col(1, 0, kInf, {{0, 1}, {1, 1}, {2, 1}});
  tall.col(2, 0, kInf, {{3, 1}, {4, 1}, {5, 1}});
  r = solve(s.sys, tall, tight_settings(kSimFree));
  ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL);
  EXPECT_GT(r.stat.iter[kSimDual], 0);
  EXPECT_NEAR(r.pobj, 3.0 + 2 * 6.0, 1e-9);
}
