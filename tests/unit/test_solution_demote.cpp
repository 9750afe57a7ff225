// The lowering of solution statuses by changes of problem data: the tables by kind of change
// for every starting status, through the store's own operations; the bound rule with its
// tolerances; and the values that new rows and columns get in the slots.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <vector>

#include "telva.h"
#include "telva/solution/solution.h"
#include "telva/store/store.h"
#include "telva/task/task.h"

using namespace telva;

namespace {

std::pair<int32, int32> sp(int32 prosta, int32 solsta) {
  return {prosta, solsta};
}

class SolutionDemote : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
    ASSERT_EQ(TVA_appendcons(task, 2), TVA_RES_OK);
    ASSERT_EQ(TVA_appendvars(task, 3), TVA_RES_OK);
    for (int32 w = 0; w < kNumSolSlots; ++w)
      ASSERT_EQ(TVA_putsolution(task, w, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                nullptr, nullptr, nullptr, nullptr, nullptr),
                TVA_RES_OK);
  }
  void TearDown() override {
    EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
    EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  }
  void set_all(int32 prosta, int32 solsta) {
    for (int32 w = 0; w < kNumSolSlots; ++w)
      sol_setstatus(task, w, prosta, solsta);
  }
  std::pair<int32, int32> status(int32 w) {
    int32 p = -1, s = -1;
    EXPECT_EQ(TVA_getprosta(task, w, &p), TVA_RES_OK);
    EXPECT_EQ(TVA_getsolsta(task, w, &s), TVA_RES_OK);
    return {p, s};
  }
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
};

// The tables, as old status -> new status; every status not listed goes to 0.
using Table = std::map<int32, int32>;

const Table kProNewRows = {{1, 3}, {3, 3}, {4, 4}, {6, 4}, {8, 10}, {10, 10}};
const Table kProNewVars = {{1, 2}, {2, 2}, {4, 4}, {6, 4}, {8, 9}, {9, 9}};
const Table kProCones = {{1, 3}, {3, 3}, {5, 5}, {6, 5}, {8, 10}, {10, 10}};
const Table kSolNewRows = {{1, 3}, {3, 3}, {4, 3}, {5, 5}, {8, 10}, {10, 10}, {11, 10}};
const Table kSolNewVars = {{2, 2}, {4, 2}, {5, 5}, {9, 9}, {11, 9}};
const Table kSolObjective = {{2, 2}, {4, 2}, {5, 5}, {9, 9}, {11, 9}, {16, 2}, {17, 2}};
const Table kSolCones = {{3, 3}, {4, 3}, {10, 10}, {11, 10}};

int32 lookup(const Table& t, int32 v) {
  auto it = t.find(v);
  return it == t.end() ? 0 : it->second;
}

struct ChangeCase {
  const char* name;
  std::function<void(TVAtask_t)> change;
  const Table* pro;
  const Table* sol;
};

TEST_F(SolutionDemote, TablesForEveryStartingStatus) {
  int32 coneat = 0;
  const std::vector<ChangeCase> cases = {
      {"appendcons", [](TVAtask_t t) { ASSERT_EQ(TVA_appendcons(t, 1), TVA_RES_OK); }, &kProNewRows,
       &kSolNewRows},
      {"appendvars", [](TVAtask_t t) { ASSERT_EQ(TVA_appendvars(t, 2), TVA_RES_OK); }, &kProNewVars,
       &kSolNewVars},
      {"appendbarvars",
       [](TVAtask_t t) {
         int32 d = 2;
         ASSERT_EQ(TVA_appendbarvars(t, 1, &d), TVA_RES_OK);
       },
       &kProNewVars, &kSolNewVars},
      {"putcj", [](TVAtask_t t) { ASSERT_EQ(store_putcj(t, 0, 3.0), TVA_RES_OK); }, &kProNewVars,
       &kSolObjective},
      {"putclist",
       [](TVAtask_t t) {
         double v[] = {1.0, 2.0};
         ASSERT_EQ(store_putclist(t, 2, nullptr, 1, v), TVA_RES_OK);
       },
       &kProNewVars, &kSolObjective},
      {"putqobj",
       [](TVAtask_t t) {
         int32 i = 1, j = 0;
         double v = 2.0;
         ASSERT_EQ(TVA_putqobj(t, 1, &i, &j, &v), TVA_RES_OK);
       },
       &kProNewVars, &kSolObjective},
      {"appendcone",
       [&coneat](TVAtask_t t) {
         // Each round takes two variables that are in no cone yet.
         int32 mem[] = {coneat, coneat + 1};
         coneat += 2;
         ASSERT_EQ(TVA_appendcone(t, TVA_CT_QUAD, 0.0, 2, mem), TVA_RES_OK);
       },
       &kProCones, &kSolCones},
  };
  for (const ChangeCase& cc : cases) {
    SCOPED_TRACE(cc.name);
    for (int32 st = 0; st < 18; ++st) {
      SCOPED_TRACE(st);
      if (std::string(cc.name) == "appendcone" && coneat + 2 > task->numvar) {
        // Room for the next cone, with its own demotion taken before the statuses are set.
        ASSERT_EQ(TVA_appendvars(task, 2), TVA_RES_OK);
      }
      const int32 pro = st % 12;
      set_all(pro, st);
      cc.change(task);
      for (int32 w = 0; w < kNumSolSlots; ++w) {
        EXPECT_EQ(status(w), sp(lookup(*cc.pro, pro), lookup(*cc.sol, st))) << "slot " << w;
      }
    }
  }
}

TEST_F(SolutionDemote, UnjudgedChangesClearAllClaims) {
  int32 mem[] = {0, 1};
  ASSERT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 2, mem), TVA_RES_OK);
  int32 qi = 0, qj = 0;
  double qv = 1.0;
  const std::vector<std::pair<const char*, std::function<TVArescode()>>> changes = {
      {"putaij", [&] { return TVA_putaij(task, 0, 1, 2.5); }},
      {"putobjsense", [&] { return TVA_putobjsense(task, TVA_OBJECTIVE_SENSE_MAXIMIZE); }},
      {"putqconk", [&] { return TVA_putqconk(task, 1, 1, &qi, &qj, &qv); }},
      {"removecones", [&] { return TVA_removecones(task, 1, &qi); }},
      {"removecons", [&] { return TVA_removecons(task, 1, &qi); }},
  };
  for (const auto& [name, change] : changes) {
    SCOPED_TRACE(name);
    set_all(TVA_PRO_STA_PRIM_AND_DUAL_FEAS, TVA_SOL_STA_OPTIMAL);
    ASSERT_EQ(change(), TVA_RES_OK);
    for (int32 w = 0; w < kNumSolSlots; ++w)
      EXPECT_EQ(status(w), sp(0, 0));
  }
  // Setting the sense it already has changes nothing, so it lowers nothing.
  set_all(TVA_PRO_STA_PRIM_AND_DUAL_FEAS, TVA_SOL_STA_OPTIMAL);
  ASSERT_EQ(TVA_putobjsense(task, TVA_OBJECTIVE_SENSE_MAXIMIZE), TVA_RES_OK);
  EXPECT_EQ(status(TVA_SOL_ITR), sp(1, 1));
}

TEST_F(SolutionDemote, IntegerMarksTouchOnlyTheIntegerSlot) {
  set_all(TVA_PRO_STA_PRIM_FEAS, TVA_SOL_STA_INTEGER_OPTIMAL);
  ASSERT_EQ(store_putvartype(task, 2, TVA_VAR_TYPE_INT), TVA_RES_OK);
  EXPECT_EQ(status(TVA_SOL_ITG), sp(0, 0));
  EXPECT_EQ(status(TVA_SOL_ITR), sp(2, 16));
}

TEST_F(SolutionDemote, ObjectiveChangeExampleAndNumbersStay) {
  double xx[] = {1.0, 2.0, 3.0};
  ASSERT_EQ(TVA_putxx(task, TVA_SOL_ITR, xx), TVA_RES_OK);
  sol_setstatus(task, TVA_SOL_ITR, TVA_PRO_STA_PRIM_AND_DUAL_FEAS, TVA_SOL_STA_OPTIMAL);
  sol_setstatus(task, TVA_SOL_BAS, TVA_PRO_STA_PRIM_AND_DUAL_FEAS, TVA_SOL_STA_PRIM_AND_DUAL_FEAS);
  ASSERT_EQ(store_putcj(task, 1, -1.0), TVA_RES_OK);
  EXPECT_EQ(status(TVA_SOL_ITR), sp(TVA_PRO_STA_PRIM_FEAS, TVA_SOL_STA_UNKNOWN));
  EXPECT_EQ(status(TVA_SOL_BAS), sp(TVA_PRO_STA_PRIM_FEAS, TVA_SOL_STA_PRIM_FEAS));
  double got[3];
  ASSERT_EQ(TVA_getxx(task, TVA_SOL_ITR, got), TVA_RES_OK);
  EXPECT_EQ(std::vector<double>(got, got + 3), std::vector<double>(xx, xx + 3));
}

struct BoundCase {
  const char* name;
  int32 prosta, solsta;
  double x;
  int32 ok;
  double ol, ou;
  int32 nk;
  double nl, nu;
  int32 want_prosta, want_solsta;
};

TEST(SolutionBoundRule, Cases) {
  const double tol = 1e-6, inf = 1e30;
  const BoundCase cases[] = {
      // A ranged item left as it was: only the dual claim goes.
      {"ranged unchanged", 1, 1, 0.5, TVA_BK_RA, 0, 1, TVA_BK_RA, 0, 1, 1, 4},
      // Free to fixed at the point, within tol: nothing.
      {"free to fixed at x", 1, 1, 2.0, TVA_BK_FR, -inf, inf, TVA_BK_FX, 2.0 + tol / 2,
       2.0 + tol / 2, 1, 1},
      // Free to fixed away from the point: the primal claim goes, the dual stays.
      {"free to fixed off", 1, 1, 2.0, TVA_BK_FR, -inf, inf, TVA_BK_FX, 3.0, 3.0, 3, 3},
      {"free to ranged above", 8, 8, 2.0, TVA_BK_FR, -inf, inf, TVA_BK_RA, -1.0, 1.0, 10, 10},
      // A lower bound dropped: the point stays feasible, the duals lose their claims.
      {"lower removed", 1, 1, 0.0, TVA_BK_LO, 0, inf, TVA_BK_FR, -inf, inf, 2, 2},
      {"lower removed, dual feasible", 3, 3, 0.0, TVA_BK_LO, 0, inf, TVA_BK_FR, -inf, inf, 0, 0},
      {"upper removed, near", 8, 11, 0.0, TVA_BK_UP, -inf, 1, TVA_BK_FR, -inf, inf, 9, 9},
      // Tightened with the point still inside: only Q.
      {"lower tightened, inside", 1, 1, 5.0, TVA_BK_LO, 0, inf, TVA_BK_LO, 1, inf, 1, 4},
      // Tightened past the point: P then Q.
      {"lower tightened, off", 1, 1, 0.5, TVA_BK_LO, 0, inf, TVA_BK_LO, 1, inf, 3, 3},
      {"upper tightened, off", 2, 2, 0.5, TVA_BK_UP, -inf, 1, TVA_BK_UP, 0, 0, 0, 0},
      // Infeasibility statuses under a tightened bound.
      {"both infeasible, inside", 6, 5, 5.0, TVA_BK_LO, 0, inf, TVA_BK_LO, 1, inf, 0, 0},
      {"dual infeasible, off", 5, 6, 0.5, TVA_BK_LO, 0, inf, TVA_BK_LO, 1, inf, 0, 0},
      {"dual infeasible, inside", 5, 6, 5.0, TVA_BK_LO, 0, inf, TVA_BK_LO, 1, inf, 0, 6},
      {"integer optimal, off", 2, 16, 0.5, TVA_BK_LO, 0, inf, TVA_BK_LO, 1, inf, 0, 0},
      {"integer optimal, inside", 2, 16, 5.0, TVA_BK_LO, 0, inf, TVA_BK_LO, 1, inf, 2, 2},
      // A tightening within tol counts as none.
      {"lower moved within tol", 1, 1, 0.0, TVA_BK_LO, 0, inf, TVA_BK_LO, tol / 2, inf, 1, 4},
  };
  for (const BoundCase& c : cases) {
    int32 p = c.prosta, s = c.solsta;
    sol_bound_rule(&p, &s, c.x, tol, c.ok, c.ol, c.ou, c.nk, c.nl, c.nu);
    EXPECT_EQ(p, c.want_prosta) << c.name;
    EXPECT_EQ(s, c.want_solsta) << c.name;
  }
}

TEST_F(SolutionDemote, BoundPutsUseTheSlotsTolerance) {
  // The basic slot judges with the basis tolerance, the others with the data tolerance.
  task->dparam[TVA_DPAR_BASIS_TOL_X] = 1e-3;
  task->dparam[TVA_DPAR_DATA_TOL_X] = 1e-8;
  ASSERT_EQ(store_putbound(task, TVA_ACC_VAR, 0, TVA_BK_FR, 0, 0), TVA_RES_OK);
  set_all(TVA_PRO_STA_PRIM_AND_DUAL_FEAS, TVA_SOL_STA_OPTIMAL);
  ASSERT_EQ(store_putbound(task, TVA_ACC_VAR, 0, TVA_BK_FX, 1e-4, 1e-4), TVA_RES_OK);
  EXPECT_EQ(status(TVA_SOL_BAS), sp(1, 1));
  EXPECT_EQ(status(TVA_SOL_ITR), sp(3, 3));
  // A ranged constraint put again as it was, through the list form: OPTIMAL reads
  // PRIM_AND_DUAL_FEAS and the point is unchanged.
  int32 bk = TVA_BK_RA;
  double bl = -1, bu = 1;
  ASSERT_EQ(store_putbound(task, TVA_ACC_CON, 1, bk, bl, bu), TVA_RES_OK);
  set_all(TVA_PRO_STA_PRIM_AND_DUAL_FEAS, TVA_SOL_STA_OPTIMAL);
  ASSERT_EQ(store_putboundlist(task, TVA_ACC_CON, 1, nullptr, 1, &bk, &bl, &bu), TVA_RES_OK);
  for (int32 w = 0; w < kNumSolSlots; ++w)
    EXPECT_EQ(status(w), sp(1, 4));
  // A refused bound changes no status.
  set_all(TVA_PRO_STA_PRIM_AND_DUAL_FEAS, TVA_SOL_STA_OPTIMAL);
  EXPECT_EQ(store_putbound(task, TVA_ACC_VAR, 0, TVA_BK_FX, 1.0, 2.0),
            TVA_RES_ERR_FIXED_BOUND_VALUES);
  EXPECT_EQ(status(TVA_SOL_ITR), sp(1, 1));
}

TEST_F(SolutionDemote, NewRowsAndColumnsGetTheirInitialValues) {
  std::vector<double> xc = {4, 5}, y = {6, 7}, xx = {1, 2, 3};
  std::vector<int32> skc = {TVA_SK_LOW, TVA_SK_UPR};
  for (int32 w = 0; w < kNumSolSlots; ++w) {
    ASSERT_EQ(TVA_putxc(task, w, xc.data()), TVA_RES_OK);
    ASSERT_EQ(TVA_putskc(task, w, skc.data()), TVA_RES_OK);
    ASSERT_EQ(TVA_putxx(task, w, xx.data()), TVA_RES_OK);
  }
  ASSERT_EQ(TVA_puty(task, TVA_SOL_BAS, y.data()), TVA_RES_OK);
  // Enough rows and columns to go past the capacities, so the slots grow on the way.
  ASSERT_EQ(TVA_appendcons(task, 40), TVA_RES_OK);
  ASSERT_EQ(TVA_appendvars(task, 50), TVA_RES_OK);
  for (int32 w = 0; w < kNumSolSlots; ++w) {
    SCOPED_TRACE(w);
    std::vector<double> gxc(42, -1), gxx(53, -1);
    std::vector<int32> gskc(42, -1), gskx(53, -1);
    ASSERT_EQ(TVA_getxc(task, w, gxc.data()), TVA_RES_OK);
    ASSERT_EQ(TVA_getskc(task, w, gskc.data()), TVA_RES_OK);
    ASSERT_EQ(TVA_getxx(task, w, gxx.data()), TVA_RES_OK);
    ASSERT_EQ(TVA_getskx(task, w, gskx.data()), TVA_RES_OK);
    EXPECT_EQ(gxc[0], 4);
    EXPECT_EQ(gxc[1], 5);
    EXPECT_EQ(gskc[1], TVA_SK_UPR);
    EXPECT_EQ(gxx[2], 3);
    for (int32 i = 2; i < 42; ++i) {
      EXPECT_EQ(gxc[i], 0.0);
      EXPECT_EQ(gskc[i], w == TVA_SOL_BAS ? TVA_SK_BAS : TVA_SK_UNK);
    }
    // New variables are fixed at 0: key FIX at the lower bound.
    for (int32 j = 3; j < 53; ++j) {
      EXPECT_EQ(gxx[j], 0.0);
      EXPECT_EQ(gskx[j], TVA_SK_FIX);
    }
  }
  std::vector<double> gy(42, -1);
  ASSERT_EQ(TVA_gety(task, TVA_SOL_BAS, gy.data()), TVA_RES_OK);
  EXPECT_EQ(gy[1], 7);
  for (int32 i = 2; i < 42; ++i)
    EXPECT_EQ(gy[i], 0.0);
}

TEST_F(SolutionDemote, RemovalMovesTheSolutionWithTheItems) {
  std::vector<double> xc = {4, 5}, xx = {1, 2, 3}, snx = {7, 8, 9};
  ASSERT_EQ(TVA_putxc(task, TVA_SOL_ITR, xc.data()), TVA_RES_OK);
  ASSERT_EQ(TVA_putxx(task, TVA_SOL_ITR, xx.data()), TVA_RES_OK);
  ASSERT_EQ(TVA_putsnx(task, TVA_SOL_ITR, snx.data()), TVA_RES_OK);
  int32 zero = 0, one = 1;
  ASSERT_EQ(TVA_removecons(task, 1, &zero), TVA_RES_OK);
  ASSERT_EQ(TVA_removevars(task, 1, &one), TVA_RES_OK);
  double gxc = 0, gxx[2], gsnx[2];
  ASSERT_EQ(TVA_getxc(task, TVA_SOL_ITR, &gxc), TVA_RES_OK);
  ASSERT_EQ(TVA_getxx(task, TVA_SOL_ITR, gxx), TVA_RES_OK);
  ASSERT_EQ(TVA_getsnx(task, TVA_SOL_ITR, gsnx), TVA_RES_OK);
  EXPECT_EQ(gxc, 5);
  EXPECT_EQ(std::vector<double>(gxx, gxx + 2), (std::vector<double>{1, 3}));
  EXPECT_EQ(std::vector<double>(gsnx, gsnx + 2), (std::vector<double>{7, 9}));
  // Bar variables: the triangles that stay move to the front.
  int32 dims[] = {1, 2, 1};
  ASSERT_EQ(TVA_appendbarvars(task, 3, dims), TVA_RES_OK);
  double b0 = 1, b1[] = {2, 3, 4}, b2 = 5;
  ASSERT_EQ(TVA_putbarxj(task, TVA_SOL_ITR, 0, &b0), TVA_RES_OK);
  ASSERT_EQ(TVA_putbarxj(task, TVA_SOL_ITR, 1, b1), TVA_RES_OK);
  ASSERT_EQ(TVA_putbarxj(task, TVA_SOL_ITR, 2, &b2), TVA_RES_OK);
  ASSERT_EQ(TVA_removebarvars(task, 1, &zero), TVA_RES_OK);
  double g1[3], g2 = 0;
  ASSERT_EQ(TVA_getbarxj(task, TVA_SOL_ITR, 0, g1), TVA_RES_OK);
  ASSERT_EQ(TVA_getbarxj(task, TVA_SOL_ITR, 1, &g2), TVA_RES_OK);
  EXPECT_EQ(std::vector<double>(g1, g1 + 3), (std::vector<double>{2, 3, 4}));
  EXPECT_EQ(g2, 5);
}

} // namespace
