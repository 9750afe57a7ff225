// The problem store: growth, value checks, Q, cones, semidefinite data, removal, problem kind,
// and that a refused call leaves the store exactly as it was.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "store_snapshot.h"
#include "telva.h"
#include "telva/store/store.h"
#include "telva/task/task.h"

using namespace telva;
using storetest::snapshot;

namespace {

class Store : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
  }
  void TearDown() override {
    storetest::check_invariants(task);
    EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
    EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  }
  // A small problem with something in every part of the store.
  void fill() {
    ASSERT_EQ(TVA_appendcons(task, 3), TVA_RES_OK);
    ASSERT_EQ(TVA_appendvars(task, 5), TVA_RES_OK);
    for (int32 i = 0; i < 3; ++i)
      for (int32 j = 0; j < 5; ++j)
        if ((i + j) % 2 == 0) {
          ASSERT_EQ(TVA_putaij(task, i, j, 1.0 + i + 10 * j), TVA_RES_OK);
        }
    ASSERT_EQ(store_putbound(task, TVA_ACC_CON, 1, TVA_BK_RA, -1.0, 2.0), TVA_RES_OK);
    ASSERT_EQ(store_putbound(task, TVA_ACC_VAR, 2, TVA_BK_LO, 0.5, 0.0), TVA_RES_OK);
    ASSERT_EQ(store_putcj(task, 3, 4.5), TVA_RES_OK);
    int32 qi[] = {1, 2, 2}, qj[] = {0, 2, 1};
    double qv[] = {1.5, 2.0, -1.0};
    ASSERT_EQ(TVA_putqobj(task, 3, qi, qj, qv), TVA_RES_OK);
    ASSERT_EQ(TVA_putqconk(task, 2, 2, qi, qj, qv), TVA_RES_OK);
    int32 mem[] = {4, 1};
    ASSERT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 2, mem), TVA_RES_OK);
    int32 dims[] = {2, 3};
    ASSERT_EQ(TVA_appendbarvars(task, 2, dims), TVA_RES_OK);
    int32 si[] = {0, 1}, sj[] = {0, 1};
    double sv[] = {1.0, 2.0};
    int64 idx2 = -1, idx3 = -1;
    ASSERT_EQ(TVA_appendsparsesymmat(task, 2, 2, si, sj, sv, &idx2), TVA_RES_OK);
    ASSERT_EQ(TVA_appendsparsesymmat(task, 3, 2, si, sj, sv, &idx3), TVA_RES_OK);
    double w = 0.5;
    ASSERT_EQ(TVA_putbarcj(task, 0, 1, &idx2, &w), TVA_RES_OK);
    ASSERT_EQ(TVA_putbaraij(task, 1, 1, 1, &idx3, &w), TVA_RES_OK);
    ASSERT_EQ(store_putname(task, kNameCon, 0, "c0"), TVA_RES_OK);
    ASSERT_EQ(store_putname(task, kNameVar, 4, "x4"), TVA_RES_OK);
    ASSERT_EQ(store_putname(task, kNameCone, 0, "k0"), TVA_RES_OK);
    ASSERT_EQ(store_putvartype(task, 0, TVA_VAR_TYPE_INT), TVA_RES_OK);
  }
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
};

TEST_F(Store, AppendCountsInitialValuesAndDoubling) {
  EXPECT_EQ(TVA_appendvars(task, 0), TVA_RES_OK);
  EXPECT_EQ(task->numvar, 0);
  EXPECT_EQ(TVA_appendvars(task, -1), TVA_RES_ERR_NEGATIVE_APPEND);
  EXPECT_EQ(TVA_appendcons(task, -1), TVA_RES_ERR_NEGATIVE_APPEND);
  std::vector<int32> caps;
  for (int t = 0; t < 9; ++t) {
    ASSERT_EQ(TVA_appendvars(task, 1), TVA_RES_OK);
    caps.push_back(task->maxnumvar);
  }
  EXPECT_EQ(caps, (std::vector<int32>{1, 2, 4, 4, 8, 8, 8, 8, 16}));
  ASSERT_EQ(TVA_appendvars(task, 100), TVA_RES_OK); // more than double: exactly what's needed
  EXPECT_EQ(task->maxnumvar, 109);
  int32 bk;
  double bl, bu;
  store_getbound(task, TVA_ACC_VAR, 108, &bk, &bl, &bu);
  EXPECT_EQ(bk, TVA_BK_FX);
  EXPECT_EQ(bl, 0.0);
  EXPECT_EQ(bu, 0.0);
  EXPECT_EQ(task->store.c[108], 0.0);
  EXPECT_EQ(task->store.vartype[108], TVA_VAR_TYPE_CONT);

  ASSERT_EQ(TVA_appendcons(task, 2), TVA_RES_OK);
  ASSERT_EQ(TVA_getconbound(task, 1, &bk, &bl, &bu), TVA_RES_OK);
  EXPECT_EQ(bk, TVA_BK_FR);
  EXPECT_EQ(bl, -1.0e30);
  EXPECT_EQ(bu, 1.0e30);
  EXPECT_EQ(TVA_getconbound(task, 2, &bk, &bl, &bu), TVA_RES_ERR_ARG_IS_TOO_LARGE);
  EXPECT_EQ(TVA_getconbound(task, -1, &bk, &bl, &bu), TVA_RES_ERR_ARG_IS_TOO_SMALL);
  EXPECT_EQ(task->store.rowcost[1], 0.0);

  int32 one = 1, zero = 0;
  EXPECT_EQ(TVA_appendcone(task, 7, 0.0, 1, &one), TVA_RES_ERR_CONE_TYPE);
  EXPECT_EQ(task->maxnumcone, 1); // the capacity grows before the checks
  ASSERT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 1, &zero), TVA_RES_OK);
  ASSERT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 1, &one), TVA_RES_OK);
  EXPECT_EQ(task->maxnumcone, 2);
  EXPECT_EQ(TVA_appendbarvars(task, 1, &zero), TVA_RES_ERR_BAR_VAR_DIM);
  EXPECT_EQ(task->numbarvar, 0);
}

TEST_F(Store, CapacitiesRefuseBelowCountAndKeepData) {
  fill();
  storetest::Snapshot before = snapshot(task);
  EXPECT_EQ(TVA_putmaxnumcon(task, task->numcon - 1), TVA_RES_ERR_MAXNUMCON);
  EXPECT_EQ(TVA_putmaxnumvar(task, task->numvar - 1), TVA_RES_ERR_MAXNUMVAR);
  EXPECT_EQ(TVA_putmaxnumcone(task, task->numcone - 1), TVA_RES_ERR_MAXNUMCONE);
  EXPECT_EQ(TVA_putmaxnumbarvar(task, task->numbarvar - 1), TVA_RES_ERR_MAXNUMBARVAR);
  EXPECT_EQ(TVA_putmaxnumanz(task, -1), TVA_RES_ERR_TOO_SMALL_MAXNUMANZ);
  EXPECT_EQ(TVA_putmaxnumqnz(task, 1), TVA_RES_ERR_MAXNUMQNZ);
  EXPECT_EQ(snapshot(task), before);
  // Growing and shrinking back to the counts keeps every item's data; the cone list is
  // compacted into the smaller arena.
  ASSERT_EQ(TVA_putmaxnumvar(task, 1000), TVA_RES_OK);
  ASSERT_EQ(TVA_putmaxnumcon(task, 1000), TVA_RES_OK);
  ASSERT_EQ(TVA_putmaxnumcone(task, 50), TVA_RES_OK);
  ASSERT_EQ(TVA_putmaxnumbarvar(task, 9), TVA_RES_OK);
  ASSERT_EQ(TVA_putmaxnumanz(task, 5000), TVA_RES_OK);
  ASSERT_EQ(TVA_putmaxnumqnz(task, 777), TVA_RES_OK);
  EXPECT_EQ(task->maxnumqnz, 777);
  EXPECT_EQ(snapshot(task), before);
  ASSERT_EQ(TVA_putmaxnumvar(task, task->numvar), TVA_RES_OK);
  ASSERT_EQ(TVA_putmaxnumcon(task, task->numcon), TVA_RES_OK);
  ASSERT_EQ(TVA_putmaxnumcone(task, task->numcone), TVA_RES_OK);
  ASSERT_EQ(TVA_putmaxnumqnz(task, 5), TVA_RES_OK); // exactly the used slots
  EXPECT_EQ(task->store.qsurplus, 0);
  EXPECT_EQ(snapshot(task), before);
  ASSERT_EQ(TVA_putmaxnumcon(task, task->numcon), TVA_RES_OK); // equal: nothing to do

  // Resizing the task clears the problem and frees its memory.
  TVAint64t used = 0, peak = 0;
  ASSERT_EQ(TVA_resizetask(task, 10, 20, 3, 100, 40), TVA_RES_OK);
  EXPECT_EQ(task->numcon, 0);
  EXPECT_EQ(task->numvar, 0);
  EXPECT_EQ(task->numbarvar, 0);
  EXPECT_EQ(task->store.symmats.num, 0);
  EXPECT_EQ(task->maxnumcon, 10);
  EXPECT_EQ(task->maxnumvar, 20);
  EXPECT_EQ(task->maxnumcone, 3);
  EXPECT_EQ(task->maxnumqnz, 40);
  ASSERT_EQ(TVA_getmemusagetask(task, &used, &peak), TVA_RES_OK);
  EXPECT_LT(used, peak);
  // Everything the filled problem held is gone: a fresh task of the same sizes uses as much.
  TVAtask_t fresh = nullptr;
  ASSERT_EQ(TVA_maketask(env, 0, 0, &fresh), TVA_RES_OK);
  ASSERT_EQ(TVA_resizetask(fresh, 10, 20, 3, 100, 40), TVA_RES_OK);
  TVAint64t fresh_used = 0;
  ASSERT_EQ(TVA_getmemusagetask(fresh, &fresh_used, &peak), TVA_RES_OK);
  EXPECT_EQ(used, fresh_used);
  ASSERT_EQ(TVA_deletetask(&fresh), TVA_RES_OK);
}

TEST_F(Store, GrowthOfAIsLogged) {
  std::string log;
  StreamRecord& msg = task->streams.rec[TVA_STREAM_MSG];
  msg.handle = &log;
  msg.func = [](void* h, const char* text) { *static_cast<std::string*>(h) += text; };
  ASSERT_EQ(TVA_appendcons(task, 50), TVA_RES_OK);
  ASSERT_EQ(TVA_appendvars(task, 2), TVA_RES_OK);
  ASSERT_EQ(TVA_putmaxnumanz(task, 10), TVA_RES_OK); // room for 10 plus a slack per row
  EXPECT_NE(log.find("Expanding the maximum number of A nonzeros from "), std::string::npos) << log;
  log.clear();
  std::vector<int32> sub(100);
  std::vector<double> val(100, 1.0);
  for (int32 t = 0; t < 100; ++t)
    sub[t] = t % 50;
  int64 pb[] = {0, 50}, pe[] = {50, 100};
  ASSERT_EQ(store_putavecs(task, true, 2, nullptr, 0, pb, pe, sub.data(), val.data()), TVA_RES_OK);
  EXPECT_NE(log.find("Expanding the maximum number of A nonzeros from 60 to "), std::string::npos)
      << log;
  log.clear();
  task->iparam[TVA_IPAR_LOG] = 0;
  ASSERT_EQ(TVA_putmaxnumanz(task, 1000), TVA_RES_OK);
  EXPECT_EQ(log, "");
}

TEST_F(Store, AValueChecksAndTinyValues) {
  ASSERT_EQ(TVA_appendcons(task, 2), TVA_RES_OK);
  ASSERT_EQ(TVA_appendvars(task, 2), TVA_RES_OK);
  EXPECT_EQ(TVA_putaij(task, 0, 0, std::nan("")), TVA_RES_ERR_INVALID_AIJ);
  EXPECT_EQ(TVA_putaij(task, 0, 0, std::numeric_limits<double>::infinity()),
            TVA_RES_ERR_INVALID_AIJ);
  EXPECT_EQ(TVA_putaij(task, 0, 0, -1.0e20), TVA_RES_ERR_HUGE_AIJ);
  EXPECT_EQ(TVA_putaij(task, 0, 0, 1.0e10), TVA_RES_OK); // a warning only
  EXPECT_EQ(TVA_putaij(task, 2, 0, 1.0), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(TVA_putaij(task, 0, -1, 1.0), TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  double v = -1;
  ASSERT_EQ(store_getaij(task, 0, 0, &v), TVA_RES_OK);
  EXPECT_EQ(v, 1.0e10);
  // A tiny single element removes what stood there.
  ASSERT_EQ(TVA_putaij(task, 0, 0, 1.0e-13), TVA_RES_OK);
  ASSERT_EQ(store_getaij(task, 0, 0, &v), TVA_RES_OK);
  EXPECT_EQ(v, 0.0);
  int64 nz = -1;
  ASSERT_EQ(store_getnumanz(task, &nz), TVA_RES_OK);
  EXPECT_EQ(nz, 0);
  // A column with a tiny value keeps the others and warns; the count shows the drop.
  int64 pb[] = {0}, pe[] = {2};
  int32 sub[] = {1, 0};
  double val[] = {3.0, 1.0e-14};
  ASSERT_EQ(store_putavecs(task, true, 1, nullptr, 1, pb, pe, sub, val), TVA_RES_OK);
  int32 cnt = -1;
  ASSERT_EQ(store_getavecnz(task, true, 1, &cnt), TVA_RES_OK);
  EXPECT_EQ(cnt, 1);
  ASSERT_EQ(store_getavecnz(task, false, 1, &cnt), TVA_RES_OK);
  EXPECT_EQ(cnt, 1);
  int32 nzc = 0, got[2];
  double gv[2];
  ASSERT_EQ(TVA_getacol(task, 1, &nzc, got, gv), TVA_RES_OK);
  ASSERT_EQ(nzc, 1);
  EXPECT_EQ(got[0], 1);
  EXPECT_EQ(gv[0], 3.0);
  // A row replaces what stood in it, with the matrix read by rows in between.
  int32 rsub[] = {0, 1};
  double rval[] = {-1.0, -2.0};
  int32 row1 = 1;
  ASSERT_EQ(store_putavecs(task, false, 1, &row1, 0, pb, pe, rsub, rval), TVA_RES_OK);
  ASSERT_EQ(store_getaij(task, 1, 1, &v), TVA_RES_OK);
  EXPECT_EQ(v, -2.0);
  ASSERT_EQ(TVA_commitchanges(task), TVA_RES_OK);

  // Sorting keeps the elements and puts each column's indices in order. The matrix is read by
  // columns first, so that the merge of the new element leaves column 0 unsorted.
  ASSERT_EQ(TVA_getacol(task, 0, &nzc, got, gv), TVA_RES_OK);
  ASSERT_EQ(TVA_putaij(task, 0, 0, 5.0), TVA_RES_OK);
  ASSERT_EQ(TVA_getacol(task, 0, &nzc, got, gv), TVA_RES_OK);
  ASSERT_EQ(nzc, 2);
  ASSERT_GT(got[0], got[1]);
  storetest::Snapshot before = snapshot(task);
  ASSERT_EQ(store_sort_a(task), TVA_RES_OK);
  EXPECT_EQ(snapshot(task), before);
  ASSERT_EQ(TVA_getacol(task, 0, &nzc, got, gv), TVA_RES_OK);
  ASSERT_EQ(nzc, 2);
  EXPECT_LT(got[0], got[1]);
}

TEST_F(Store, BoundsFollowTheInfinityConvention) {
  ASSERT_EQ(TVA_appendcons(task, 1), TVA_RES_OK);
  ASSERT_EQ(TVA_appendvars(task, 1), TVA_RES_OK);
  int32 bk;
  double bl, bu;
  ASSERT_EQ(store_putbound(task, TVA_ACC_CON, 0, TVA_BK_RA, -1.0e17, 1.0), TVA_RES_OK);
  store_getbound(task, TVA_ACC_CON, 0, &bk, &bl, &bu);
  EXPECT_EQ(bk, TVA_BK_UP);
  EXPECT_EQ(bl, -1.0e30);
  EXPECT_EQ(bu, 1.0);
  ASSERT_EQ(store_putbound(task, TVA_ACC_CON, 0, TVA_BK_LO, 1.0e16, 0.0), TVA_RES_OK);
  store_getbound(task, TVA_ACC_CON, 0, &bk, &bl, &bu);
  EXPECT_EQ(bk, TVA_BK_LO); // +1e16 is a finite lower bound
  EXPECT_EQ(bu, 1.0e30);
  ASSERT_EQ(store_putbound(task, TVA_ACC_VAR, 0, TVA_BK_UP, 0.0, 2.0e16), TVA_RES_OK);
  store_getbound(task, TVA_ACC_VAR, 0, &bk, &bl, &bu);
  EXPECT_EQ(bk, TVA_BK_FR);
  ASSERT_EQ(store_putbound(task, TVA_ACC_VAR, 0, TVA_BK_FX, 3.0, 3.0), TVA_RES_OK);
  store_getbound(task, TVA_ACC_VAR, 0, &bk, &bl, &bu);
  EXPECT_EQ(bk, TVA_BK_FX);
  EXPECT_EQ(bu, 3.0);
  storetest::Snapshot before = snapshot(task);
  EXPECT_EQ(store_putbound(task, TVA_ACC_CON, 0, TVA_BK_FX, 1.0, 2.0),
            TVA_RES_ERR_FIXED_BOUND_VALUES);
  EXPECT_EQ(store_putbound(task, TVA_ACC_CON, 0, 5, 1.0, 2.0), TVA_RES_ERR_INV_BKC);
  EXPECT_EQ(store_putbound(task, TVA_ACC_VAR, 0, -1, 1.0, 2.0), TVA_RES_ERR_INV_BKX);
  EXPECT_EQ(store_putbound(task, TVA_ACC_VAR, 0, TVA_BK_LO, std::nan(""), 2.0),
            TVA_RES_ERR_LOWER_BOUND_IS_A_NAN);
  EXPECT_EQ(store_putbound(task, TVA_ACC_VAR, 0, TVA_BK_UP, 0.0, std::nan("")),
            TVA_RES_ERR_UPPER_BOUND_IS_A_NAN);
  EXPECT_EQ(store_putbound(task, 2, 0, TVA_BK_FR, 0.0, 0.0), TVA_RES_ERR_INVALID_ACCMODE);
  EXPECT_EQ(store_putcj(task, 0, std::nan("")), TVA_RES_ERR_NAN_IN_C);
  EXPECT_EQ(store_putcj(task, 0, 1.0e17), TVA_RES_ERR_HUGE_C);
  EXPECT_EQ(store_putobjsense(task, 2), TVA_RES_ERR_INVALID_OBJECTIVE_SENSE);
  EXPECT_EQ(store_putvartype(task, 0, 2), TVA_RES_ERR_INV_VAR_TYPE);
  EXPECT_EQ(snapshot(task), before);
  // An unbounded free side reads as the infinite value for a free key too.
  ASSERT_EQ(store_putbound(task, TVA_ACC_VAR, 0, TVA_BK_FR, 5.0, 6.0), TVA_RES_OK);
  store_getbound(task, TVA_ACC_VAR, 0, &bk, &bl, &bu);
  EXPECT_EQ(bl, -1.0e30);
  EXPECT_EQ(bu, 1.0e30);
}

TEST_F(Store, QuadraticTermsAreNormalised) {
  ASSERT_EQ(TVA_appendvars(task, 3), TVA_RES_OK);
  ASSERT_EQ(TVA_appendcons(task, 2), TVA_RES_OK);
  int32 i1[] = {0}, j1[] = {1};
  double v1[] = {1.0};
  EXPECT_EQ(TVA_putqobj(task, 1, i1, j1, v1), TVA_RES_ERR_QOBJ_UPPER_TRIANGLE);
  int32 i2[] = {3}, j2[] = {0};
  EXPECT_EQ(TVA_putqobj(task, 1, i2, j2, v1), TVA_RES_ERR_INDEX_ARR_IS_TOO_LARGE);
  double nan1[] = {std::nan("")};
  EXPECT_EQ(TVA_putqobj(task, 1, j1, i1, nan1), TVA_RES_ERR_INV_QOBJ_VAL);
  EXPECT_FALSE(store_has_qobj(task));
  // Duplicates add up, a tiny value is dropped, the list comes out sorted.
  int32 qi[] = {2, 1, 2, 2, 1}, qj[] = {0, 1, 0, 2, 0};
  double qv[] = {1.0, 2.0, 0.5, 1.0e-17, 4.0};
  ASSERT_EQ(TVA_putqobj(task, 5, qi, qj, qv), TVA_RES_OK);
  storetest::Triplets expect = {{{1, 0}, 4.0}, {{1, 1}, 2.0}, {{2, 0}, 1.5}};
  EXPECT_EQ(storetest::q_of(task, -1), expect);
  EXPECT_EQ(task->store.qobj_last - task->store.qobj_first, 3);
  // One element replaced, removed, added; the get form takes either order.
  ASSERT_EQ(TVA_putqobjij(task, 1, 0, 2.0), TVA_RES_OK);
  double q = 0;
  ASSERT_EQ(TVA_getqobjij(task, 0, 1, &q), TVA_RES_OK);
  EXPECT_EQ(q, 2.0);
  ASSERT_EQ(TVA_putqobjij(task, 1, 1, 0.0), TVA_RES_OK);
  ASSERT_EQ(TVA_putqobjij(task, 2, 2, 7.0), TVA_RES_OK);
  expect = {{{1, 0}, 2.0}, {{2, 0}, 1.5}, {{2, 2}, 7.0}};
  EXPECT_EQ(storetest::q_of(task, -1), expect);
  EXPECT_EQ(TVA_putqobjij(task, 0, 1, 1.0), TVA_RES_ERR_QOBJ_UPPER_TRIANGLE);

  EXPECT_EQ(store_probtype(task), TVA_PROBTYPE_QO);
  ASSERT_EQ(TVA_putqconk(task, 1, 2, qi, qj, qv), TVA_RES_OK);
  EXPECT_EQ(store_probtype(task), TVA_PROBTYPE_QCQO);
  EXPECT_EQ(TVA_putqconk(task, 1, 1, i1, j1, v1), TVA_RES_ERR_QCON_UPPER_TRIANGLE);
  EXPECT_EQ(TVA_putqconk(task, 2, 1, j1, i1, v1), TVA_RES_ERR_INDEX_IS_TOO_LARGE);

  // All constraints at once; errors name the offending array.
  int32 k3[] = {0, 1, 0}, i3[] = {0, 2, 1}, j3[] = {0, 1, 1};
  double v3[] = {1.0, 2.0, 3.0};
  ASSERT_EQ(TVA_putqcon(task, 3, k3, i3, j3, v3), TVA_RES_OK);
  EXPECT_EQ(storetest::q_of(task, 0), (storetest::Triplets{{{0, 0}, 1.0}, {{1, 1}, 3.0}}));
  EXPECT_EQ(storetest::q_of(task, 1), (storetest::Triplets{{{2, 1}, 2.0}}));
  int32 badk[] = {2}, bad_neg[] = {-1}, bad_big[] = {3};
  EXPECT_EQ(TVA_putqcon(task, 1, badk, i3, j3, v3), TVA_RES_ERR_INV_QCON_SUBK);
  EXPECT_EQ(TVA_putqcon(task, 1, k3, bad_neg, j3, v3), TVA_RES_ERR_QCON_SUBI_TOO_SMALL);
  EXPECT_EQ(TVA_putqcon(task, 1, k3, bad_big, j3, v3), TVA_RES_ERR_QCON_SUBI_TOO_LARGE);
  EXPECT_EQ(TVA_putqcon(task, 1, k3, i3, bad_big, v3), TVA_RES_ERR_INV_QCON_SUBJ);
  EXPECT_EQ(TVA_putqcon(task, 1, k3, j1, j1, v3), TVA_RES_OK);
  EXPECT_EQ(TVA_putqcon(task, 1, k3, i1, j1, v3), TVA_RES_ERR_QCON_UPPER_TRIANGLE);

  // Removing a variable drops its terms and renumbers the others.
  int32 gone = 0;
  ASSERT_EQ(TVA_removevars(task, 1, &gone), TVA_RES_OK);
  expect = {{{1, 1}, 7.0}};
  EXPECT_EQ(storetest::q_of(task, -1), expect);
  ASSERT_EQ(TVA_putqobj(task, 0, nullptr, nullptr, nullptr), TVA_RES_OK);
  EXPECT_FALSE(store_has_qobj(task));
}

TEST_F(Store, ConesOverlapRepeatAndCompaction) {
  ASSERT_EQ(TVA_appendvars(task, 6), TVA_RES_OK);
  int32 one[] = {0};
  EXPECT_EQ(TVA_appendcone(task, TVA_CT_RQUAD, 0.0, 1, one), TVA_RES_ERR_CONE_SIZE);
  EXPECT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 0, one), TVA_RES_ERR_CONE_SIZE);
  int32 rep[] = {1, 2, 1};
  EXPECT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 3, rep), TVA_RES_ERR_CONE_REP_VAR);
  int32 bad[] = {1, 6};
  EXPECT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 2, bad), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(task->numcone, 0);
  storetest::check_invariants(task);
  int32 m0[] = {0, 1, 2};
  ASSERT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 3, m0), TVA_RES_OK);
  int32 m1[] = {3, 2};
  EXPECT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 2, m1), TVA_RES_ERR_CONE_OVERLAP);
  EXPECT_EQ(TVA_appendconeseq(task, TVA_CT_RQUAD, 0.0, 2, 2), TVA_RES_ERR_CONE_OVERLAP_APPEND);
  // Two cones in one call that share a variable are refused too, and nothing is appended.
  int32 cts[] = {TVA_CT_QUAD, TVA_CT_QUAD}, nm[] = {2, 1};
  double pars[] = {0.0, 0.0};
  EXPECT_EQ(TVA_appendconesseq(task, 2, cts, pars, nm, 5), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(task->numcone, 1);
  storetest::check_invariants(task);
  ASSERT_EQ(TVA_appendconesseq(task, 2, cts, pars, nm, 3), TVA_RES_OK);
  EXPECT_EQ(task->numcone, 3);
  EXPECT_EQ(task->store.varcone[5], 3);
  // Replacing cone 0 with more members than the free tail forces a compaction.
  EXPECT_EQ(TVA_putcone(task, 3, TVA_CT_QUAD, 0.0, 1, one), TVA_RES_ERR_CONE_INDEX);
  int32 m2[] = {2};
  ASSERT_EQ(TVA_putcone(task, 0, TVA_CT_QUAD, 0.0, 1, m2), TVA_RES_OK);
  int32 m3[] = {0, 1, 2};
  ASSERT_EQ(TVA_putcone(task, 0, TVA_CT_RQUAD, 1.5, 3, m3), TVA_RES_OK);
  storetest::check_invariants(task);
  storetest::Snapshot s = snapshot(task);
  ASSERT_EQ(s.cones.size(), 3u);
  EXPECT_EQ(s.cones[0], (storetest::Cone{TVA_CT_RQUAD, 1.5, {0, 1, 2}}));
  EXPECT_EQ(s.cones[1], (storetest::Cone{TVA_CT_QUAD, 0.0, {3, 4}}));
  EXPECT_EQ(s.cones[2], (storetest::Cone{TVA_CT_QUAD, 0.0, {5}}));
  EXPECT_EQ(store_probtype(task), TVA_PROBTYPE_CONIC);

  // The leading members can't leave; others leave their cone.
  int32 lead = 1;
  EXPECT_EQ(TVA_removevars(task, 1, &lead), TVA_RES_ERR_REMOVE_CONE_VARIABLE);
  int32 tail = 4;
  ASSERT_EQ(TVA_removevars(task, 1, &tail), TVA_RES_OK);
  s = snapshot(task);
  EXPECT_EQ(s.cones[1].members, (std::vector<int32>{3}));
  EXPECT_EQ(s.cones[2].members, (std::vector<int32>{4})); // variable 5 is now 4
  int32 k1 = 1;
  ASSERT_EQ(TVA_removecones(task, 1, &k1), TVA_RES_OK);
  EXPECT_EQ(task->numcone, 2);
  EXPECT_EQ(task->store.varcone[3], 0);
  EXPECT_EQ(task->store.varcone[4], 2);
  EXPECT_EQ(task->numvar, 5);
}

TEST_F(Store, RemovingConstraintsKeepsOrderAndNames) {
  ASSERT_EQ(TVA_appendcons(task, 3), TVA_RES_OK);
  ASSERT_EQ(TVA_appendvars(task, 2), TVA_RES_OK);
  const char* names[] = {"first", "second", "third"};
  for (int32 i = 0; i < 3; ++i) {
    ASSERT_EQ(store_putname(task, kNameCon, i, names[i]), TVA_RES_OK);
    ASSERT_EQ(TVA_putaij(task, i, i % 2, 10.0 + i), TVA_RES_OK);
    ASSERT_EQ(store_putbound(task, TVA_ACC_CON, i, TVA_BK_FX, i, i), TVA_RES_OK);
  }
  int32 qi[] = {1}, qj[] = {0};
  double qv[] = {5.0};
  ASSERT_EQ(TVA_putqconk(task, 2, 1, qi, qj, qv), TVA_RES_OK);
  int32 zero = 0;
  EXPECT_EQ(TVA_removecons(task, 4, &zero), TVA_RES_ERR_ARGUMENT_IS_TOO_LARGE);
  int32 twice[] = {1, 1};
  EXPECT_EQ(TVA_removecons(task, 2, twice), TVA_RES_ERR_NON_UNIQUE_ARRAY);
  int32 neg[] = {-1};
  EXPECT_EQ(TVA_removecons(task, 1, neg), TVA_RES_ERR_INDEX_ARR_IS_TOO_SMALL);
  ASSERT_EQ(TVA_removecons(task, 1, &zero), TVA_RES_OK);
  storetest::Snapshot s = snapshot(task);
  EXPECT_EQ(s.names[kNameCon], (std::vector<std::string>{"second", "third"}));
  EXPECT_EQ(s.con[1].bl, 2.0);
  EXPECT_EQ(s.a, (storetest::Triplets{{{0, 1}, 11.0}, {{1, 0}, 12.0}}));
  EXPECT_EQ(s.q[2], (storetest::Triplets{{{1, 0}, 5.0}}));
  EXPECT_TRUE(s.q[1].empty());
}

TEST_F(Store, SemidefiniteDataChecks) {
  ASSERT_EQ(TVA_appendcons(task, 2), TVA_RES_OK);
  int32 dims[] = {2, 3};
  ASSERT_EQ(TVA_appendbarvars(task, 2, dims), TVA_RES_OK);
  int64 len = 0;
  ASSERT_EQ(TVA_getlenbarvarj(task, 1, &len), TVA_RES_OK);
  EXPECT_EQ(len, 6);
  int32 r2[] = {2}, c0[] = {0}, c1[] = {1}, r0[] = {0};
  double one[] = {1.0}, huge[] = {1.0e20}, large[] = {1.0e10}, nan1[] = {std::nan("")};
  int64 idx = -1;
  EXPECT_EQ(TVA_appendsparsesymmat(task, 2, 1, r2, c0, one, &idx),
            TVA_RES_ERR_SYM_MAT_INVALID_ROW_INDEX);
  EXPECT_EQ(TVA_appendsparsesymmat(task, 2, 1, c1, r2, one, &idx),
            TVA_RES_ERR_SYM_MAT_INVALID_COL_INDEX);
  EXPECT_EQ(TVA_appendsparsesymmat(task, 2, 1, r0, c1, one, &idx),
            TVA_RES_ERR_SYM_MAT_NOT_LOWER_TRINGULAR);
  EXPECT_EQ(TVA_appendsparsesymmat(task, 2, 1, c1, c0, nan1, &idx),
            TVA_RES_ERR_SYM_MAT_INVALID_VALUE);
  EXPECT_EQ(TVA_appendsparsesymmat(task, 2, 1, c1, c0, huge, &idx), TVA_RES_ERR_SYM_MAT_HUGE);
  int32 di[] = {1, 0, 1}, dj[] = {0, 0, 0};
  double dv[] = {1.0, 2.0, 3.0};
  EXPECT_EQ(TVA_appendsparsesymmat(task, 2, 3, di, dj, dv, &idx), TVA_RES_ERR_SYM_MAT_DUPLICATE);
  EXPECT_EQ(idx, -1);
  EXPECT_EQ(task->store.symmats.num, 0);
  ASSERT_EQ(TVA_appendsparsesymmat(task, 2, 1, c1, c0, large, &idx), TVA_RES_OK); // warning only
  EXPECT_EQ(idx, 0);
  double tiny[] = {1.0e-13, 4.0};
  int32 ti[] = {0, 1}, tj[] = {0, 1};
  ASSERT_EQ(TVA_appendsparsesymmat(task, 2, 2, ti, tj, tiny, &idx), TVA_RES_OK);
  EXPECT_EQ(sossm_get(&task->store.symmats, idx)->nz, 1);

  int64 s0 = 0, s9 = 9;
  double w[] = {2.0};
  EXPECT_EQ(TVA_putbaraij(task, 0, 1, 1, &s0, w), TVA_RES_ERR_INVALID_SYM_MAT_DIM);
  EXPECT_EQ(TVA_putbaraij(task, 0, 0, 1, &s9, w), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(TVA_putbaraij(task, 2, 0, 1, &s0, w), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(TVA_putbaraij(task, 0, 0, 1, &s0, nan1), TVA_RES_ERR_NAN_IN_DOUBLE_DATA);
  EXPECT_EQ(TVA_putbarcj(task, 2, 1, &s0, w), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  ASSERT_EQ(TVA_putbaraij(task, 1, 0, 1, &s0, w), TVA_RES_OK);
  EXPECT_EQ(store_probtype(task), TVA_PROBTYPE_CONIC);

  // Block triplets: one new matrix per cell with weight 1.
  int32 bi[] = {1, 0, 1}, bj[] = {1, 0, 1}, bk[] = {2, 1, 0}, bl[] = {1, 0, 0};
  double bv[] = {5.0, 6.0, 7.0};
  ASSERT_EQ(TVA_putbarablocktriplet(task, 3, bi, bj, bk, bl, bv), TVA_RES_OK);
  storetest::Snapshot s = snapshot(task);
  auto cell = s.bar[{1, 1, 1}];
  ASSERT_EQ(cell.size(), 1u);
  EXPECT_EQ(cell[0].second, 1.0);
  EXPECT_EQ(std::get<0>(cell[0].first), 3);
  EXPECT_EQ(std::get<1>(cell[0].first),
            (std::vector<std::tuple<int32, int32, double>>{{0, 0, 7.0}, {2, 1, 5.0}}));
  EXPECT_EQ(s.bar.count({1, 1, 0}), 1u); // the earlier put on (1, 0) stands
  int32 up_k[] = {0}, up_l[] = {1};
  EXPECT_EQ(TVA_putbarcblocktriplet(task, 1, r0, up_k, up_l, bv), TVA_RES_ERR_UPPER_TRIANGLE);
  int32 dj2[] = {0, 0}, dk2[] = {1, 1}, dl2[] = {0, 0};
  EXPECT_EQ(TVA_putbarcblocktriplet(task, 2, dj2, dk2, dl2, bv), TVA_RES_ERR_SYM_MAT_DUPLICATE);
  int32 big_k[] = {2};
  EXPECT_EQ(TVA_putbarcblocktriplet(task, 1, r0, big_k, r0, bv), TVA_RES_ERR_INDEX_IS_TOO_LARGE);

  int32 zero = 0;
  ASSERT_EQ(TVA_removebarvars(task, 1, &zero), TVA_RES_OK);
  s = snapshot(task);
  EXPECT_EQ(s.bardim, (std::vector<int32>{3}));
  EXPECT_EQ(s.bar.size(), 1u);
  EXPECT_EQ(s.bar.count({1, 1, 0}), 1u);
  int32 one_con = 1;
  ASSERT_EQ(TVA_removecons(task, 1, &one_con), TVA_RES_OK);
  EXPECT_TRUE(snapshot(task).bar.empty());
}

TEST_F(Store, ProblemKindAndMixing) {
  EXPECT_EQ(store_probtype(task), TVA_PROBTYPE_LO);
  TVAint32t pt = -1;
  ASSERT_EQ(TVA_getprobtype(task, &pt), TVA_RES_OK);
  EXPECT_EQ(pt, TVA_PROBTYPE_LO);
  ASSERT_EQ(TVA_appendvars(task, 2), TVA_RES_OK);
  int32 qi[] = {0}, qj[] = {0};
  double qv[] = {1.0};
  ASSERT_EQ(TVA_putqobj(task, 1, qi, qj, qv), TVA_RES_OK);
  EXPECT_EQ(store_check_mixing(task), TVA_RES_OK);
  ASSERT_EQ(TVA_appendconeseq(task, TVA_CT_QUAD, 0.0, 2, 0), TVA_RES_OK);
  EXPECT_EQ(store_probtype(task), TVA_PROBTYPE_MIXED);
  EXPECT_EQ(store_check_mixing(task), TVA_RES_ERR_MIXED_CONIC_AND_NL);
  task->store.nlgetsp = reinterpret_cast<void*>(&store_probtype);
  EXPECT_EQ(TVA_appendvars(task, 1), TVA_RES_ERR_NONLINEAR_FUNCTIONS_NOT_ALLOWED);
  EXPECT_EQ(TVA_appendcons(task, 1), TVA_RES_ERR_NONLINEAR_FUNCTIONS_NOT_ALLOWED);
  int32 zero = 0;
  EXPECT_EQ(TVA_removevars(task, 1, &zero), TVA_RES_ERR_NONLINEAR_FUNCTIONS_NOT_ALLOWED);
  EXPECT_EQ(TVA_removecons(task, 1, &zero), TVA_RES_ERR_NONLINEAR_FUNCTIONS_NOT_ALLOWED);
  int32 k0 = 0;
  ASSERT_EQ(TVA_removecones(task, 1, &k0), TVA_RES_OK);
  EXPECT_EQ(store_probtype(task), TVA_PROBTYPE_GECO);
  task->store.nlgetsp = nullptr;
  EXPECT_EQ(TVA_getprobtype(nullptr, &pt), TVA_RES_ERR_NULL_TASK);
}

// Every list form, given one bad element at the end, must leave the whole store as it was.
TEST_F(Store, BadListsChangeNothing) {
  fill();
  const storetest::Snapshot before = snapshot(task);
  auto unchanged = [&](TVArescode r, TVArescode expect, const char* what) {
    EXPECT_EQ(r, expect) << what;
    EXPECT_EQ(snapshot(task), before) << what;
    storetest::check_invariants(task);
  };
  int32 si[] = {0, 1, 2}, sj[] = {0, 1, 9};
  double sv[] = {7.0, 8.0, 9.0}, nanv[] = {7.0, 8.0, std::nan("")};
  unchanged(store_putaijlist(task, 3, si, sj, sv), TVA_RES_ERR_INDEX_ARR_IS_TOO_LARGE, "aijlist");
  unchanged(store_putaijlist(task, 3, si, si, nanv), TVA_RES_ERR_INVALID_AIJ, "aijlist nan");

  // Two columns; the second repeats a row index.
  int64 pb[] = {0, 2}, pe[] = {2, 5};
  int32 asub[] = {0, 1, 2, 0, 2};
  double aval[] = {1, 2, 3, 4, 5};
  unchanged(store_putavecs(task, true, 2, nullptr, 0, pb, pe, asub, aval),
            TVA_RES_ERR_DUPLICATE_AIJ, "col slice");
  int32 cols[] = {4, 1};
  unchanged(store_putavecs(task, true, 2, cols, 0, pb, pe, asub, aval), TVA_RES_ERR_DUPLICATE_AIJ,
            "col list");
  unchanged(store_putavecs(task, false, 2, nullptr, 0, pb, pe, asub, aval),
            TVA_RES_ERR_DUPLICATE_AIJ, "row slice");
  int32 rows[] = {2, 0};
  unchanged(store_putavecs(task, false, 2, rows, 0, pb, pe, asub, aval), TVA_RES_ERR_DUPLICATE_AIJ,
            "row list");
  unchanged(store_putavecs(task, true, 2, nullptr, 4, pb, pe, asub, aval), TVA_RES_ERR_LAST,
            "last");
  unchanged(store_putavecs(task, true, 2, nullptr, -1, pb, pe, asub, aval), TVA_RES_ERR_FIRST,
            "first");
  double hugev[] = {1, 2, 3, 4, 1e25};
  int32 okrows[] = {0, 1, 2, 0, 1};
  unchanged(store_putavecs(task, true, 2, nullptr, 0, pb, pe, okrows, hugev), TVA_RES_ERR_HUGE_AIJ,
            "col huge");
  int32 badrow[] = {0, 1, 2, 0, 3};
  unchanged(store_putavecs(task, true, 2, nullptr, 0, pb, pe, badrow, aval),
            TVA_RES_ERR_INDEX_IS_TOO_LARGE, "col index");

  int32 bk[] = {TVA_BK_LO, TVA_BK_FX}, bsub[] = {0, 1};
  double bl[] = {1.0, 1.0}, bu[] = {2.0, 2.0};
  unchanged(store_putboundlist(task, TVA_ACC_CON, 2, bsub, 0, bk, bl, bu),
            TVA_RES_ERR_FIXED_BOUND_VALUES, "bound list");
  unchanged(store_putboundlist(task, TVA_ACC_VAR, 2, nullptr, 0, bk, bl, bu),
            TVA_RES_ERR_FIXED_BOUND_VALUES, "bound slice");
  double cv[] = {1.0, std::nan("")};
  unchanged(store_putclist(task, 2, bsub, 0, cv), TVA_RES_ERR_NAN_IN_C, "c list");
  unchanged(store_putclist(task, 2, nullptr, 4, bl), TVA_RES_ERR_LAST, "c slice");
  unchanged(store_putboundlist(task, TVA_ACC_CON, 2, nullptr, -1, bk, bl, bu), TVA_RES_ERR_FIRST,
            "bound slice first");
  int32 csub[] = {0, 5};
  unchanged(store_putclist(task, 2, csub, 0, bl), TVA_RES_ERR_INDEX_ARR_IS_TOO_LARGE, "c index");

  int32 qi[] = {1, 0}, qj[] = {0, 1};
  double qv[] = {1.0, 2.0};
  unchanged(TVA_putqobj(task, 2, qi, qj, qv), TVA_RES_ERR_QOBJ_UPPER_TRIANGLE, "qobj");
  unchanged(TVA_putqconk(task, 0, 2, qi, qj, qv), TVA_RES_ERR_QCON_UPPER_TRIANGLE, "qconk");
  int32 qk[] = {0, 3};
  unchanged(TVA_putqcon(task, 2, qk, qi, qi, qv), TVA_RES_ERR_INV_QCON_SUBK, "qcon");

  int32 mem[] = {2, 3, 4};
  unchanged(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 3, mem), TVA_RES_ERR_CONE_OVERLAP, "cone");
  // Replacing cone 0 by members that include its own is valid; then put it back.
  ASSERT_EQ(TVA_putcone(task, 0, TVA_CT_QUAD, 0.0, 3, mem), TVA_RES_OK);
  int32 old[] = {4, 1};
  ASSERT_EQ(TVA_putcone(task, 0, TVA_CT_QUAD, 0.0, 2, old), TVA_RES_OK);
  EXPECT_EQ(snapshot(task), before);
  int32 rep[] = {2, 3, 2};
  unchanged(TVA_putcone(task, 0, TVA_CT_QUAD, 0.0, 3, rep), TVA_RES_ERR_CONE_REP_VAR, "putcone");
  int32 cts[] = {TVA_CT_QUAD, TVA_CT_RQUAD}, nm[] = {1, 2};
  double pars[] = {0.0, 0.0};
  unchanged(TVA_appendconesseq(task, 2, cts, pars, nm, 2), TVA_RES_ERR_CONE_OVERLAP_APPEND,
            "conesseq");

  int32 mi[] = {0, 2}, mj[] = {0, 0};
  double mv[] = {1.0, 1.0};
  int64 idx = -7;
  unchanged(TVA_appendsparsesymmat(task, 2, 2, mi, mj, mv, &idx),
            TVA_RES_ERR_SYM_MAT_INVALID_ROW_INDEX, "symmat");
  EXPECT_EQ(idx, -7);
  int32 ti[] = {0, 1}, tj[] = {0, 1}, tk[] = {0, 1}, tl[] = {0, 2};
  unchanged(TVA_putbarablocktriplet(task, 2, ti, tj, tk, tl, mv), TVA_RES_ERR_UPPER_TRIANGLE,
            "bara triplets");
  int32 tl2[] = {0, 3};
  unchanged(TVA_putbarcblocktriplet(task, 2, tj, tk, tl2, mv), TVA_RES_ERR_INDEX_IS_TOO_LARGE,
            "barc triplets");
  int64 subs[] = {0, 1};
  double ws[] = {1.0, 1.0};
  unchanged(TVA_putbarcj(task, 0, 2, subs, ws), TVA_RES_ERR_INVALID_SYM_MAT_DIM, "barcj");
  unchanged(TVA_putbaraij(task, 0, 1, 2, subs, ws), TVA_RES_ERR_INVALID_SYM_MAT_DIM, "baraij");
  int32 dims[] = {1, 0};
  unchanged(TVA_appendbarvars(task, 2, dims), TVA_RES_ERR_BAR_VAR_DIM, "barvars");

  int32 rm[] = {0, 7};
  unchanged(TVA_removecons(task, 2, rm), TVA_RES_ERR_INDEX_ARR_IS_TOO_LARGE, "removecons");
  unchanged(TVA_removevars(task, 2, rm), TVA_RES_ERR_INDEX_ARR_IS_TOO_LARGE, "removevars");
  unchanged(TVA_removecones(task, 2, rm), TVA_RES_ERR_ARGUMENT_IS_TOO_LARGE, "removecones num");
  unchanged(TVA_removecones(task, 1, rm + 1), TVA_RES_ERR_INDEX_ARR_IS_TOO_LARGE, "removecones");
  unchanged(TVA_removebarvars(task, 2, rm), TVA_RES_ERR_INDEX_ARR_IS_TOO_LARGE, "removebarvars");
  int32 lead[] = {2, 4};
  unchanged(TVA_removevars(task, 2, lead), TVA_RES_ERR_REMOVE_CONE_VARIABLE, "cone lead");

  // Negative counts and a column that ends before it begins.
  unchanged(store_putaijlist(task, -1, si, sj, sv), TVA_RES_ERR_ARG_IS_TOO_SMALL, "aijlist -1");
  int64 rb[] = {2}, re[] = {1};
  unchanged(store_putavecs(task, true, 1, nullptr, 0, rb, re, asub, aval), TVA_RES_ERR_INV_APTRE,
            "ptre < ptrb");
  unchanged(TVA_putqobj(task, -1, qi, qj, qv), TVA_RES_ERR_ARG_IS_TOO_SMALL, "qobj -1");
  unchanged(TVA_putqcon(task, -1, qk, qi, qj, qv), TVA_RES_ERR_ARG_IS_TOO_SMALL, "qcon -1");
  unchanged(TVA_putbarcj(task, 0, -1, subs, ws), TVA_RES_ERR_ARG_IS_TOO_SMALL, "barcj -1");
  unchanged(TVA_putbarcblocktriplet(task, -1, tj, tk, tl, mv), TVA_RES_ERR_ARG_IS_TOO_SMALL,
            "triplets -1");
  unchanged(TVA_appendsparsesymmat(task, 2, -1, mi, mj, mv, &idx), TVA_RES_ERR_ARG_IS_TOO_SMALL,
            "symmat -1");
  unchanged(TVA_removecons(task, -1, rm), TVA_RES_ERR_ARG_IS_TOO_SMALL, "removecons -1");
}

} // namespace
