// Edge cases of the put and get families: bound keys under the infinity rules, changes of one
// side, empty slices, tiny values, surplus arithmetic, and the one change signal of a put.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

#include "telva.h"
#include "telva/store/store.h"
#include "telva/task/task.h"

namespace {

class PutGetEdges : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
    ASSERT_EQ(TVA_appendcons(task, 2), TVA_RES_OK);
    ASSERT_EQ(TVA_appendvars(task, 3), TVA_RES_OK);
  }
  void TearDown() override {
    EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
    EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  }
  std::tuple<int, double, double> var(int j) {
    int bk = -1;
    double bl = 0, bu = 0;
    EXPECT_EQ(TVA_getvarbound(task, j, &bk, &bl, &bu), TVA_RES_OK);
    return {bk, bl, bu};
  }
  std::tuple<int, double, double> con(int i) {
    int bk = -1;
    double bl = 0, bu = 0;
    EXPECT_EQ(TVA_getconbound(task, i, &bk, &bl, &bu), TVA_RES_OK);
    return {bk, bl, bu};
  }
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
};

using B = std::tuple<int, double, double>;

TEST_F(PutGetEdges, BoundKeysFollowTheInfinityRules) {
  EXPECT_EQ(con(0), B(TVA_BK_FR, -1.0e30, 1.0e30));
  EXPECT_EQ(var(0), B(TVA_BK_FX, 0.0, 0.0));
  ASSERT_EQ(TVA_putconbound(task, 0, TVA_BK_RA, -1.0e17, 1.0), TVA_RES_OK);
  EXPECT_EQ(con(0), B(TVA_BK_UP, -1.0e30, 1.0));
  ASSERT_EQ(TVA_putconbound(task, 1, TVA_BK_FX, 2.0e16, 2.0e16), TVA_RES_OK);
  // The upper side lies at the tolerance and is no bound; the lower one stands.
  EXPECT_EQ(con(1), B(TVA_BK_LO, 2.0e16, 1.0e30));
  ASSERT_EQ(TVA_putconbound(task, 1, TVA_BK_FX, -2.0e16, -2.0e16), TVA_RES_OK);
  EXPECT_EQ(con(1), B(TVA_BK_UP, -1.0e30, -2.0e16));
  ASSERT_EQ(TVA_putvarbound(task, 0, TVA_BK_LO, -3.0, 99.0), TVA_RES_OK);
  EXPECT_EQ(var(0), B(TVA_BK_LO, -3.0, 1.0e30));
  ASSERT_EQ(TVA_putvarbound(task, 1, TVA_BK_UP, 99.0, 7.0), TVA_RES_OK);
  EXPECT_EQ(var(1), B(TVA_BK_UP, -1.0e30, 7.0));
  ASSERT_EQ(TVA_putvarbound(task, 2, TVA_BK_FR, 1.0, 2.0), TVA_RES_OK);
  EXPECT_EQ(var(2), B(TVA_BK_FR, -1.0e30, 1.0e30));
  // A NaN on a side the key doesn't use is no error.
  ASSERT_EQ(TVA_putvarbound(task, 2, TVA_BK_LO, 1.0, std::nan("")), TVA_RES_OK);
  EXPECT_EQ(var(2), B(TVA_BK_LO, 1.0, 1.0e30));
  // A large bound is stored with the warning.
  int warned = task->warncount[TVA_RES_WRN_LARGE_LO_BOUND];
  ASSERT_EQ(TVA_putvarbound(task, 2, TVA_BK_LO, 5.0e8, 0.0), TVA_RES_OK);
  EXPECT_EQ(task->warncount[TVA_RES_WRN_LARGE_LO_BOUND], warned + 1);
  EXPECT_EQ(var(2), B(TVA_BK_LO, 5.0e8, 1.0e30));
}

TEST_F(PutGetEdges, ChangingOneSide) {
  ASSERT_EQ(TVA_putvarbound(task, 0, TVA_BK_RA, -1.0, 4.0), TVA_RES_OK);
  ASSERT_EQ(TVA_chgvarbound(task, 0, 1, 0, 0.0), TVA_RES_OK);
  EXPECT_EQ(var(0), B(TVA_BK_UP, -1.0e30, 4.0));
  ASSERT_EQ(TVA_chgvarbound(task, 0, 0, 0, 0.0), TVA_RES_OK);
  EXPECT_EQ(var(0), B(TVA_BK_FR, -1.0e30, 1.0e30));
  ASSERT_EQ(TVA_chgvarbound(task, 0, 1, 1, 2.0), TVA_RES_OK);
  EXPECT_EQ(var(0), B(TVA_BK_LO, 2.0, 1.0e30));
  ASSERT_EQ(TVA_chgbound(task, TVA_ACC_VAR, 0, 0, 1, 3.0), TVA_RES_OK);
  EXPECT_EQ(var(0), B(TVA_BK_RA, 2.0, 3.0));
  ASSERT_EQ(TVA_chgvarbound(task, 0, 0, 1, 2.0), TVA_RES_OK);
  EXPECT_EQ(var(0), B(TVA_BK_FX, 2.0, 2.0));
  // A fixed constraint loses its upper side: a lower bound stays.
  ASSERT_EQ(TVA_putconbound(task, 1, TVA_BK_FX, 5.0, 5.0), TVA_RES_OK);
  ASSERT_EQ(TVA_chgconbound(task, 1, 0, 0, 0.0), TVA_RES_OK);
  EXPECT_EQ(con(1), B(TVA_BK_LO, 5.0, 1.0e30));
  // An upper side set to a value beyond the infinity tolerance is no side.
  ASSERT_EQ(TVA_chgconbound(task, 1, 0, 1, 1.0e20), TVA_RES_OK);
  EXPECT_EQ(con(1), B(TVA_BK_LO, 5.0, 1.0e30));
  // An unchanged bound changes nothing, not even the change count.
  telva::int64 before = task->store.change_count;
  ASSERT_EQ(TVA_chgconbound(task, 1, 1, 1, 5.0), TVA_RES_OK);
  EXPECT_EQ(task->store.change_count, before);
  ASSERT_EQ(TVA_chgconbound(task, 1, 1, 1, 6.0), TVA_RES_OK);
  EXPECT_EQ(task->store.change_count, before + 1);
}

TEST_F(PutGetEdges, EverySuccessfulPutSignalsOnceAndAFailedOneNot) {
  telva::int64 n = task->store.change_count;
  ASSERT_EQ(TVA_putcj(task, 0, 0.0), TVA_RES_OK); // same value: still told
  EXPECT_EQ(task->store.change_count, ++n);
  double c[] = {1, 2, 3};
  ASSERT_EQ(TVA_putcslice(task, 0, 3, c), TVA_RES_OK);
  EXPECT_EQ(task->store.change_count, ++n);
  EXPECT_EQ(TVA_putcj(task, 9, 0.0), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(task->store.change_count, n);
  ASSERT_EQ(TVA_putaij(task, 0, 0, 1.0), TVA_RES_OK);
  ASSERT_EQ(TVA_putvarname(task, 0, "x"), TVA_RES_OK);
  ASSERT_EQ(TVA_putvartype(task, 0, TVA_VAR_TYPE_INT), TVA_RES_OK);
  EXPECT_EQ(task->store.change_count, n + 3);
  // The sense tells only when it really changes.
  ASSERT_EQ(TVA_putobjsense(task, TVA_OBJECTIVE_SENSE_MINIMIZE), TVA_RES_OK);
  EXPECT_EQ(task->store.change_count, n + 3);
  ASSERT_EQ(TVA_putobjsense(task, TVA_OBJECTIVE_SENSE_MAXIMIZE), TVA_RES_OK);
  EXPECT_EQ(task->store.change_count, n + 4);
}

TEST_F(PutGetEdges, EmptySlicesAndTinyValues) {
  double x[] = {9.0, 9.0, 9.0, 9.0};
  ASSERT_EQ(TVA_putcslice(task, 2, 2, nullptr), TVA_RES_OK);
  ASSERT_EQ(TVA_putcslice(task, 2, 1, x), TVA_RES_OK);
  double c[3] = {-1, -1, -1};
  ASSERT_EQ(TVA_getc(task, c), TVA_RES_OK);
  EXPECT_EQ(std::vector<double>(c, c + 3), std::vector<double>(3, 0.0));
  EXPECT_EQ(TVA_putcslice(task, 0, 4, x), TVA_RES_ERR_LAST);
  // A value below the tolerance is stored as zero, that is: removed.
  ASSERT_EQ(TVA_putaij(task, 1, 2, 3.0), TVA_RES_OK);
  ASSERT_EQ(TVA_putaij(task, 1, 2, 1.0e-13), TVA_RES_OK);
  double aij = -1.0;
  ASSERT_EQ(TVA_getaij(task, 1, 2, &aij), TVA_RES_OK);
  EXPECT_EQ(aij, 0.0);
  // In a column the tiny value is dropped with the count of zeros as a warning.
  int sub[] = {0, 1};
  double val[] = {1.0e-13, 4.0};
  ASSERT_EQ(TVA_putacol(task, 1, 2, sub, val), TVA_RES_OK);
  EXPECT_EQ(task->warncount[TVA_RES_WRN_ZEROS_IN_SPARSE_COL], 1);
  int nz = -1;
  ASSERT_EQ(TVA_getacolnumnz(task, 1, &nz), TVA_RES_OK);
  EXPECT_EQ(nz, 1);
  ASSERT_EQ(TVA_putarow(task, 0, 2, sub, val), TVA_RES_OK);
  EXPECT_EQ(task->warncount[TVA_RES_WRN_ZEROS_IN_SPARSE_ROW], 1);
  ASSERT_EQ(TVA_getarownumnz(task, 0, &nz), TVA_RES_OK);
  EXPECT_EQ(nz, 1);
  // Empty slices read nothing and leave the surplus alone.
  int surp = 0;
  ASSERT_EQ(TVA_getaslice(task, TVA_ACC_VAR, 1, 1, 0, &surp, nullptr, nullptr, nullptr, nullptr),
            TVA_RES_OK);
  EXPECT_EQ(surp, 0);
}

TEST_F(PutGetEdges, SurplusWritesBehindTheUsedPartAndCounts) {
  int sub[] = {0, 1};
  double val[] = {1.0, 2.0};
  ASSERT_EQ(TVA_putacol(task, 0, 2, sub, val), TVA_RES_OK);
  ASSERT_EQ(TVA_putacol(task, 2, 1, sub, val), TVA_RES_OK);
  // Two reads into one buffer: the second continues where the first stopped.
  int room = 3, surp = 3, pb[3], pe[3], s[3];
  double v[3];
  ASSERT_EQ(TVA_getaslice(task, TVA_ACC_VAR, 0, 1, room, &surp, pb, pe, s, v), TVA_RES_OK);
  EXPECT_EQ(surp, 1);
  ASSERT_EQ(TVA_getaslice(task, TVA_ACC_VAR, 2, 3, room, &surp, pb + 1, pe + 1, s, v), TVA_RES_OK);
  EXPECT_EQ(surp, 0);
  EXPECT_EQ(std::vector<int>(pb, pb + 2), std::vector<int>({0, 2}));
  EXPECT_EQ(std::vector<int>(pe, pe + 2), std::vector<int>({2, 3}));
  EXPECT_EQ(s[2], 0);
  EXPECT_EQ(v[2], 1.0);
  // The piece counter sees only the rectangle asked for.
  int n = -1;
  ASSERT_EQ(TVA_getapiecenumnz(task, 1, 2, 0, 3, &n), TVA_RES_OK);
  EXPECT_EQ(n, 1);
  ASSERT_EQ(TVA_getapiecenumnz(task, 0, 2, 1, 1, &n), TVA_RES_OK);
  EXPECT_EQ(n, 0);
}

TEST_F(PutGetEdges, QuadraticReadsInEitherOrder) {
  ASSERT_EQ(TVA_putqobjij(task, 1, 0, 2.0), TVA_RES_OK);
  double q = 0.0;
  ASSERT_EQ(TVA_getqobjij(task, 0, 1, &q), TVA_RES_OK);
  EXPECT_EQ(q, 2.0);
  int qi[2], qj[2], num = -1, surp = 2;
  double qv[2];
  ASSERT_EQ(TVA_getqobj(task, 2, &surp, &num, qi, qj, qv), TVA_RES_OK);
  EXPECT_EQ(num, 1);
  EXPECT_EQ(surp, 1);
  EXPECT_EQ(std::make_tuple(qi[0], qj[0], qv[0]), std::make_tuple(1, 0, 2.0));
}

TEST_F(PutGetEdges, BlockTripletsReadBackAsPut) {
  int dims[] = {3, 2};
  ASSERT_EQ(TVA_appendbarvars(task, 2, dims), TVA_RES_OK);
  int si[] = {1, 0, 1}, sj[] = {0, 1, 0}, sk[] = {2, 1, 1}, sl[] = {0, 1, 0};
  double sv[] = {1.5, -2.0, 4.0};
  ASSERT_EQ(TVA_putbarablocktriplet(task, 3, si, sj, sk, sl, sv), TVA_RES_OK);
  ASSERT_EQ(TVA_putbarcblocktriplet(task, 3, sj, sk, sl, sv), TVA_RES_OK);
  TVAint64t n = -1, got = -1;
  ASSERT_EQ(TVA_getnumbarablocktriplets(task, &n), TVA_RES_OK);
  ASSERT_EQ(n, 3);
  int gi[3], gj[3], gk[3], gl[3];
  double gv[3];
  ASSERT_EQ(TVA_getbarablocktriplet(task, 3, &got, gi, gj, gk, gl, gv), TVA_RES_OK);
  std::vector<std::tuple<int, int, int, int, double>> put, back;
  for (int t = 0; t < 3; ++t) {
    put.emplace_back(si[t], sj[t], sk[t], sl[t], sv[t]);
    back.emplace_back(gi[t], gj[t], gk[t], gl[t], gv[t]);
  }
  std::sort(put.begin(), put.end());
  std::sort(back.begin(), back.end());
  EXPECT_EQ(back, put);
  // barC got the same elements, one matrix per bar variable.
  ASSERT_EQ(TVA_getnumbarcblocktriplets(task, &n), TVA_RES_OK);
  EXPECT_EQ(n, 3);
  ASSERT_EQ(TVA_getbarcblocktriplet(task, 3, &got, gj, gk, gl, gv), TVA_RES_OK);
  EXPECT_EQ(got, 3);
}

TEST_F(PutGetEdges, NonlinearCallbacksAreStoredAsGiven) {
  int h = 0;
  void* gh = nullptr;
  void* gs = nullptr;
  void* gv = nullptr;
  ASSERT_EQ(TVA_putnlfunc(task, &h, &h, nullptr), TVA_RES_OK);
  ASSERT_EQ(TVA_getnlfunc(task, &gh, &gs, &gv), TVA_RES_OK);
  EXPECT_EQ(gh, &h);
  EXPECT_EQ(gs, &h);
  EXPECT_EQ(gv, nullptr);
  EXPECT_EQ(TVA_appendvars(task, 1), TVA_RES_ERR_NONLINEAR_FUNCTIONS_NOT_ALLOWED);
  ASSERT_EQ(TVA_putnlfunc(task, nullptr, nullptr, nullptr), TVA_RES_OK);
  EXPECT_EQ(TVA_appendvars(task, 1), TVA_RES_OK);
}

} // namespace
