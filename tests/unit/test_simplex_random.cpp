// The primal simplex on random problems that are known to have an optimum: every pricing rule,
// with and without scaling, must return a solution that satisfies the optimality conditions,
// and all must agree on the optimal value. Hot starts after a change of costs or bounds must
// reach the new optimum in fewer iterations than a cold start.
#include "simplex_test_lp.h"

using namespace telva;
using namespace simtest;

TEST(SimplexRandom, OptimalityConditionsUnderEveryRule) {
  Sys s;
  std::mt19937 rng(20261123);
  const Shape shapes[] = {
      {5, 8, 0.5}, {20, 30, 0.2}, {40, 25, 0.15}, {60, 120, 0.06}, {120, 80, 0.04}};
  int32 solved = 0;
  int64 iters[6] = {0};
  for (const Shape& sh : shapes)
    for (int32 trial = 0; trial < 4; ++trial) {
      Lp lp = random_lp(rng, sh.m, sh.n, sh.density);
      double ref = 0.0;
      for (int32 rule : {0, 1, 2, 3, 4, 5})
        for (int32 restrict : {10, 90})
          for (int32 scaling : {0, 1}) {
            SimplexSettings st = tight_settings();
            st.primalselect = rule;
            st.primalrestrict = restrict;
            st.scaling = scaling;
            Result r = solve(s.sys, lp, st);
            ASSERT_EQ(r.code, kSimOk);
            ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL)
                << sh.m << "x" << sh.n << " trial " << trial << " rule " << rule;
            EXPECT_LT(kkt_violation(lp, r), 1e-8)
                << sh.m << "x" << sh.n << " trial " << trial << " rule " << rule;
            if (rule == 0 && restrict == 10 && scaling == 0)
              ref = r.pobj;
            else
              EXPECT_NEAR(r.pobj, ref, 1e-7 * (1 + std::fabs(ref)));
            iters[rule] += r.iters();
            solved++;
          }
    }
  std::printf("[          ] %d solves; iterations free %lld partial %lld full %lld ase %lld "
              "se %lld devex %lld\n",
              solved, (long long)iters[0], (long long)iters[1], (long long)iters[2],
              (long long)iters[3], (long long)iters[4], (long long)iters[5]);
}

// With the default tolerances the answer holds to them.
TEST(SimplexRandom, DefaultTolerances) {
  Sys s;
  std::mt19937 rng(7);
  for (int32 trial = 0; trial < 10; ++trial) {
    Lp lp = random_lp(rng, 50, 70, 0.08);
    Result r = solve(s.sys, lp, SimplexSettings{});
    ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL);
    EXPECT_LT(kkt_violation(lp, r), 1e-5);
  }
}

// Infeasible random problems: a feasible one with one row made impossible against the others
// (its bound pushed past what the variable bounds allow).
TEST(SimplexRandom, InfeasibleCertificates) {
  Sys s;
  std::mt19937 rng(99);
  for (int32 trial = 0; trial < 10; ++trial) {
    Lp lp = random_lp(rng, 30, 40, 0.1);
    // Row 0 becomes sum of x over boxed columns >= more than their upper bounds allow.
    Lp bad(lp.m + 1);
    for (int32 i = 0; i < lp.m; ++i)
      bad.row(i, lp.blc[i], lp.buc[i]);
    double cap = 0.0;
    for (int32 j = 0; j < lp.n; ++j) {
      std::vector<std::pair<int32, double>> e;
      for (int32 k = lp.ptr[j]; k < lp.ptr[j + 1]; ++k)
        e.push_back({lp.sub[k], lp.val[k]});
      bool boxed = fin(lp.blx[j]) && fin(lp.bux[j]);
      if (boxed) e.push_back({lp.m, 1.0}), cap += lp.bux[j];
      bad.col(lp.c[j], lp.blx[j], lp.bux[j], e);
    }
    bad.row(lp.m, cap + 1.0, kInf);
    for (int32 rule : {0, 2, 4, 5}) {
      SimplexSettings st = tight_settings();
      st.primalselect = rule;
      Result r = solve(s.sys, bad, st);
      ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_PRIM_INFEAS_CER) << "trial " << trial;
      EXPECT_GT(farkas_margin(bad, r, 1e-7), 1e-9);
    }
  }
}

// Same inputs, same path: iterations and values repeat exactly.
TEST(SimplexRandom, SameInputsSamePath) {
  Sys s;
  std::mt19937 rng(5);
  Lp lp = random_lp(rng, 60, 90, 0.06);
  Result a = solve(s.sys, lp, SimplexSettings{});
  Result b = solve(s.sys, lp, SimplexSettings{});
  EXPECT_EQ(a.iters(), b.iters());
  EXPECT_EQ(a.xx, b.xx);
  EXPECT_EQ(a.skx, b.skx);
}

// Hot start from the previous basis after a change of costs (the basis stays primal feasible)
// and after a change of bounds (it may not): the new optimum satisfies the conditions and is
// reached in fewer iterations than from the slack basis.
TEST(SimplexRandom, HotStartAfterCostAndBoundChanges) {
  Sys s;
  std::mt19937 rng(31);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  int64 cold = 0, hot = 0;
  for (int32 trial = 0; trial < 8; ++trial) {
    Lp lp = random_lp(rng, 60, 90, 0.06);
    SimplexSettings st = tight_settings();
    Result first = solve(s.sys, lp, st);
    ASSERT_EQ(first.stat.solsta, TVA_SOL_STA_OPTIMAL);
    for (int32 change = 0; change < 2; ++change) {
      Lp lp2 = lp;
      if (change == 0) {
        for (int32 j = 0; j < lp2.n; ++j)
          if (u(rng) < 0.1) lp2.c[j] += u(rng) - 0.5;
      } else {
        for (int32 j = 0; j < lp2.n; ++j)
          if (fin(lp2.bux[j]) && lp2.bux[j] > lp2.blx[j] + 1 && u(rng) < 0.1) lp2.bux[j] -= 1;
      }
      Result c = solve(s.sys, lp2, st);
      SimplexSettings hs = st;
      hs.hotstart = 6;
      Result h = solve(s.sys, lp2, hs, &first);
      if (c.stat.solsta != TVA_SOL_STA_OPTIMAL) {
        // A tightened bound may cut the problem off: both starts must agree on it.
        EXPECT_EQ(h.stat.solsta, c.stat.solsta);
        continue;
      }
      ASSERT_EQ(h.stat.solsta, TVA_SOL_STA_OPTIMAL);
      EXPECT_LT(kkt_violation(lp2, h), 1e-8);
      EXPECT_NEAR(h.pobj, c.pobj, 1e-7 * (1 + std::fabs(c.pobj)));
      cold += c.iters(), hot += h.iters();
      EXPECT_LE(h.iters(), c.iters()) << "trial " << trial << " change " << change;
    }
  }
  std::printf("[          ] iterations after changes: cold %lld, hot %lld\n", (long long)cold,
              (long long)hot);
  EXPECT_LT(2 * hot, cold);
}

// A start whose keys name a singular basis (two equal columns basic) is repaired with a
// logical, and a start with too many or too few basic keys is completed.
TEST(SimplexRandom, HotStartRepairsBadKeys) {
  Sys s;
  Lp lp(3);
  lp.row(0, 1, 1), lp.row(1, -kInf, 4), lp.row(2, 0, kInf);
  lp.col(1, 0, kInf, {{0, 1}, {1, 1}});
  lp.col(1, 0, kInf, {{0, 1}, {1, 1}}); // the same column again
  lp.col(-1, 0, 3, {{1, 1}, {2, -1}});
  lp.col(2, -kInf, kInf, {{2, 1}});
  Result start;
  start.skc = {TVA_SK_LOW, TVA_SK_BAS, TVA_SK_LOW};
  start.skx = {TVA_SK_BAS, TVA_SK_BAS, TVA_SK_BAS, TVA_SK_BAS}; // 5 basic for 3 rows
  start.xc.assign(3, 0.0), start.xx.assign(4, 0.0);
  SimplexSettings hs = tight_settings();
  hs.hotstart = 6;
  Result r = solve(s.sys, lp, hs, &start);
  ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL);
  EXPECT_LT(kkt_violation(lp, r), 1e-9);
  start.skx = {TVA_SK_LOW, TVA_SK_LOW, TVA_SK_UPR, TVA_SK_SUPBAS}; // 1 basic for 3 rows
  start.xx = {0, 0, 3, 0.25};
  r = solve(s.sys, lp, hs, &start);
  ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL);
  EXPECT_LT(kkt_violation(lp, r), 1e-9);
  EXPECT_GE(r.stat.artificials, 0);
}

// Limits: the iteration limit ends with its code and keys that still name a basis.
TEST(SimplexRandom, IterationLimit) {
  Sys s;
  std::mt19937 rng(11);
  Lp lp = random_lp(rng, 60, 90, 0.06);
  SimplexSettings st;
  st.optimizer = kSimPrimal;
  for (auto& v : st.maxiter)
    v = 3;
  Result r = solve(s.sys, lp, st);
  EXPECT_EQ(r.code, kSimMaxIterations);
  EXPECT_EQ(r.iters(), 3);
  // Three iterations from the slack basis leave phase one unfinished: nothing to claim, but
  // the values are those of the basis on the true bounds.
  EXPECT_EQ(r.stat.solsta, TVA_SOL_STA_UNKNOWN);
  auto ax = lp.times(r.xx);
  for (int32 i = 0; i < lp.m; ++i) {
    EXPECT_NEAR(ax[i], r.xc[i], 1e-9 * (1 + std::fabs(ax[i])));
  }
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

TEST(SimplexRandom, ProgressCallbackSeesLinesAndStops) {
  Sys s;
  std::mt19937 rng(12);
  Lp lp = random_lp(rng, 60, 90, 0.06);
  SimplexSettings st;
  st.optimizer = kSimPrimal;
  for (auto& v : st.logfreq)
    v = 2;
  struct Seen {
    std::vector<int32> events, iters;
    int32 stopat = -1;
  } seen;
  auto cb = [](void* h, const SimplexProgress* p) -> int32 {
    auto* sn = static_cast<Seen*>(h);
    sn->events.push_back(p->event);
    sn->iters.push_back(p->iter);
    return sn->stopat >= 0 && p->event == 47 && p->iter >= sn->stopat;
  };
  Result r;
  r.skc.assign(lp.m, 0), r.skx.assign(lp.n, 0), r.xc.assign(lp.m, 0), r.xx.assign(lp.n, 0);
  SimplexSolution sol;
  sol.skc = r.skc.data(), sol.skx = r.skx.data(), sol.xc = r.xc.data(), sol.xx = r.xx.data();
  SimplexLp v = lp.view();
  ASSERT_EQ(simplex_optimize(s.sys, st, &r.stat, v, &sol, cb, &seen), kSimOk);
  ASSERT_GE(seen.events.size(), 4u);
  EXPECT_EQ(seen.events.front(), 40);
  EXPECT_EQ(seen.events[1], 44);
  EXPECT_EQ(seen.events.back(), 41);
  EXPECT_EQ(seen.events[seen.events.size() - 2], 49);
  for (size_t k = 0; k < seen.events.size(); ++k) {
    if (seen.events[k] == 47) {
      EXPECT_EQ(seen.iters[k] % 2, 0);
    }
  }
  seen = Seen{};
  seen.stopat = 4;
  SimplexStat st2;
  EXPECT_EQ(simplex_optimize(s.sys, st, &st2, v, &sol, cb, &seen), kSimUserCallback);
  EXPECT_EQ(st2.iter[kSimPrimal], 4);
}

// Transportation problems: equality rows for supplies and demands that balance, so that every
// basis is degenerate; one row is redundant, which the start basis must live with.
TEST(SimplexRandom, DegenerateTransportationProblems) {
  Sys s;
  std::mt19937 rng(17);
  for (int32 size : {6, 15, 30}) {
    const int32 ns = size, nd = size + 3;
    Lp lp(ns + nd);
    std::vector<double> sup(ns), dem(nd, 0.0);
    double total = 0.0;
    for (auto& v : sup)
      v = (double)(1 + rng() % 20), total += v;
    // Demands share the same total: equal parts and the remainder on the last.
    for (int32 k = 0; k < nd; ++k)
      dem[k] = std::floor(total / nd);
    dem[nd - 1] += total - std::floor(total / nd) * nd;
    for (int32 i = 0; i < ns; ++i)
      lp.row(i, sup[i], sup[i]);
    for (int32 k = 0; k < nd; ++k)
      lp.row(ns + k, dem[k], dem[k]);
    for (int32 i = 0; i < ns; ++i)
      for (int32 k = 0; k < nd; ++k)
        lp.col((double)(rng() % 10), 0, kInf, {{i, 1.0}, {ns + k, 1.0}});
    for (int32 rule : {0, 1, 2, 3, 4, 5}) {
      SimplexSettings st = tight_settings();
      st.primalselect = rule;
      Result r = solve(s.sys, lp, st);
      ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL) << "size " << size << " rule " << rule;
      EXPECT_LT(kkt_violation(lp, r), 1e-8);
      // Integral data keep the optimal vertex integral.
      for (double v : r.xx)
        EXPECT_NEAR(v, std::round(v), 1e-8);
    }
  }
}

// Larger random problems under the default settings.
TEST(SimplexRandom, LargerProblems) {
  Sys s;
  std::mt19937 rng(4);
  for (auto [m, n] : {std::pair{300, 500}, std::pair{500, 300}}) {
    Lp lp = random_lp(rng, m, n, 6.0 / m);
    SimplexSettings st = tight_settings();
    Result r = solve(s.sys, lp, st);
    ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL);
    EXPECT_LT(kkt_violation(lp, r), 1e-8);
    std::printf("[          ] %dx%d: %d iterations (%d degenerate, %d in phase one), %d refactors, "
                "select %d/%d\n",
                m, n, r.iters(), r.stat.degiter[kSimPrimal], r.stat.infiter[kSimPrimal],
                r.stat.refactors[kSimPrimal], r.stat.selectmethod, r.stat.ifmethod);
  }
}

// The triangular crash starts from a basis with variables in it, and the answers stay the
// optimum of the slack-basis start.
TEST(SimplexRandom, CrashBasis) {
  Sys s;
  std::mt19937 rng(23);
  int64 with = 0, without = 0;
  int32 crashed = 0;
  for (int32 trial = 0; trial < 8; ++trial) {
    Lp lp = random_lp(rng, 60, 90, 0.06);
    SimplexSettings st = tight_settings();
    Result a = solve(s.sys, lp, st);
    st.crash = 1;
    Result b = solve(s.sys, lp, st);
    ASSERT_EQ(b.stat.solsta, TVA_SOL_STA_OPTIMAL);
    EXPECT_LT(kkt_violation(lp, b), 1e-8);
    EXPECT_NEAR(a.pobj, b.pobj, 1e-7 * (1 + std::fabs(a.pobj)));
    crashed += b.stat.crashed;
    with += b.iters(), without += a.iters();
  }
  EXPECT_GT(crashed, 0);
  std::printf("[          ] crash: %d variables crashed, iterations %lld with, %lld without\n",
              crashed, (long long)with, (long long)without);
}

// A limit met in phase two leaves a primal feasible point and says so.
TEST(SimplexRandom, LimitInPhaseTwoKeepsFeasiblePoint) {
  Sys s;
  std::mt19937 rng(13);
  int32 checked = 0;
  for (int32 trial = 0; trial < 5; ++trial) {
    Lp lp = random_lp(rng, 60, 90, 0.06);
    SimplexSettings st = tight_settings();
    Result full = solve(s.sys, lp, st);
    ASSERT_EQ(full.stat.solsta, TVA_SOL_STA_OPTIMAL);
    int32 ph1 = full.stat.infiter[kSimPrimal];
    if (full.iters() - ph1 < 5) continue;
    for (auto& v : st.maxiter)
      v = full.iters() - 2;
    Result r = solve(s.sys, lp, st);
    EXPECT_EQ(r.code, kSimMaxIterations);
    if (r.stat.solsta != TVA_SOL_STA_PRIM_FEAS) continue; // perturbation may have moved the path
    EXPECT_EQ(r.stat.prosta, TVA_PRO_STA_PRIM_FEAS);
    auto ax = lp.times(r.xx);
    for (int32 i = 0; i < lp.m; ++i) {
      EXPECT_GE(ax[i], lp.blc[i] - 1e-8 * (1 + std::fabs(lp.blc[i])));
      EXPECT_LE(ax[i], lp.buc[i] + 1e-8 * (1 + std::fabs(lp.buc[i])));
    }
    EXPECT_GE(r.pobj, full.pobj - 1e-7 * (1 + std::fabs(full.pobj)));
    checked++;
  }
  EXPECT_GT(checked, 0);
}

// A time limit already passed ends the run at once with its code; a refactorization period
// makes the factors fresh that often and leaves the optimum alone.
TEST(SimplexRandom, TimeLimitAndRefactorPeriod) {
  Sys s;
  std::mt19937 rng(21);
  Lp lp = random_lp(rng, 80, 120, 0.05);
  SimplexSettings st = tight_settings();
  for (auto& v : st.maxtime)
    v = 1e-12;
  Result r = solve(s.sys, lp, st);
  EXPECT_EQ(r.code, kSimMaxTime);
  EXPECT_LE(r.iters(), 1);
  SimplexSettings plain = tight_settings(), often = tight_settings();
  for (auto& v : often.refactorfreq)
    v = 5;
  Result a = solve(s.sys, lp, plain), b = solve(s.sys, lp, often);
  ASSERT_EQ(a.stat.solsta, TVA_SOL_STA_OPTIMAL);
  ASSERT_EQ(b.stat.solsta, TVA_SOL_STA_OPTIMAL);
  // Bound flips change no column of the basis and do not count toward the period.
  EXPECT_GE(b.stat.refactors[kSimPrimal], (b.iters() - b.stat.boundflips[kSimPrimal]) / 5);
  EXPECT_LT(a.stat.refactors[kSimPrimal], b.stat.refactors[kSimPrimal]);
  EXPECT_NEAR(a.pobj, b.pobj, 1e-7 * (1 + std::fabs(a.pobj)));
  EXPECT_LT(kkt_violation(lp, b), 1e-8);
}

// The steepest-edge weights and the devex weights of the reference framework equal their
// values recomputed from the factors after every pivot, across refactorizations and phase one.
TEST(SimplexWeights, SteepestEdgeAndDevexMatchRecomputedNorms) {
  Sys s;
  std::mt19937 rng(23);
  for (int32 trial = 0; trial < 3; ++trial) {
    Lp lp = random_lp(rng, 50, 80, 0.1);
    for (int32 rule : {4, 5}) {
      SimplexSettings st = tight_settings();
      st.primalselect = rule;
      st.deblev = 3;
      st.refactorfreq[kSimPrimal] = 30;
      Result r = solve(s.sys, lp, st);
      ASSERT_EQ(r.stat.solsta, TVA_SOL_STA_OPTIMAL) << "trial " << trial << " rule " << rule;
      EXPECT_GT(r.stat.iter[kSimPrimal], 10);
      EXPECT_LT(r.stat.pseerror, 1e-9) << "trial " << trial << " rule " << rule;
      EXPECT_LT(kkt_violation(lp, r), 1e-8);
    }
  }
}
