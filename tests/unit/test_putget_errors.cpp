// Every put and get export with each kind of bad argument it checks: the call gives its code
// and the problem store is exactly as it was.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "store_snapshot.h"
#include "telva.h"

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();

class PutGetErrors : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
    // 3 constraints, 5 variables, A, bounds, Q, a cone, a bar variable with barC and barA.
    ASSERT_EQ(TVA_appendcons(task, 3), TVA_RES_OK);
    ASSERT_EQ(TVA_appendvars(task, 5), TVA_RES_OK);
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 5; ++j)
        if ((i + j) % 2 == 0) {
          ASSERT_EQ(TVA_putaij(task, i, j, 1.0 + i + j), TVA_RES_OK);
        }
    ASSERT_EQ(TVA_putconbound(task, 1, TVA_BK_RA, -1.0, 2.0), TVA_RES_OK);
    ASSERT_EQ(TVA_putvarbound(task, 2, TVA_BK_LO, 0.5, 0.0), TVA_RES_OK);
    ASSERT_EQ(TVA_putcj(task, 3, 4.5), TVA_RES_OK);
    int qi[] = {1, 2}, qj[] = {0, 2};
    double qv[] = {1.5, 2.0};
    ASSERT_EQ(TVA_putqobj(task, 2, qi, qj, qv), TVA_RES_OK);
    ASSERT_EQ(TVA_putqconk(task, 2, 2, qi, qj, qv), TVA_RES_OK);
    int mem[] = {4, 1};
    ASSERT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 2, mem), TVA_RES_OK);
    int dim = 2;
    ASSERT_EQ(TVA_appendbarvars(task, 1, &dim), TVA_RES_OK);
    int si[] = {0, 1}, sj[] = {0, 1};
    double sv[] = {1.0, 2.0};
    ASSERT_EQ(TVA_appendsparsesymmat(task, 2, 2, si, sj, sv, &idx), TVA_RES_OK);
    double w = 0.5;
    ASSERT_EQ(TVA_putbarcj(task, 0, 1, &idx, &w), TVA_RES_OK);
    ASSERT_EQ(TVA_putbaraij(task, 1, 0, 1, &idx, &w), TVA_RES_OK);
    ASSERT_EQ(TVA_putconname(task, 0, "c0"), TVA_RES_OK);
    ASSERT_EQ(TVA_putvarname(task, 4, "x4"), TVA_RES_OK);
  }
  void TearDown() override {
    storetest::check_invariants(task);
    EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
    EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  }
  // The call gives code and leaves the store as it was.
  template <class F> void refused(F&& call, TVArescode code, const char* text) {
    storetest::Snapshot before = storetest::snapshot(task);
    EXPECT_EQ(call(), code) << text;
    EXPECT_TRUE(storetest::snapshot(task) == before) << text << " changed the store";
  }
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  TVAint64t idx = -1;
};

#define REFUSED(call, code) refused([&] { return call; }, code, #call)

TEST_F(PutGetErrors, Names) {
  char buf[16];
  int len, asgn, index;
  REFUSED(TVA_putconname(task, -1, "a"), TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  REFUSED(TVA_putconname(task, 3, "a"), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_putvarname(task, 5, "a"), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_putconename(task, -1, "a"), TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  REFUSED(TVA_putbarvarname(task, 1, "a"), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_getconname(task, 3, 16, buf), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_getvarname(task, -1, 16, buf), TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  REFUSED(TVA_getconename(task, 1, 16, buf), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_getbarvarname(task, 1, 16, buf), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_getvarname(task, 4, 2, buf), TVA_RES_ERR_NAME_MAX_LEN);
  EXPECT_STREQ(buf, "");
  REFUSED(TVA_getconnamelen(task, 3, &len), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_getvarnamelen(task, -1, &len), TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  REFUSED(TVA_getconenamelen(task, 2, &len), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_getbarvarnamelen(task, -3, &len), TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  REFUSED(TVA_getconnamelen(task, 0, nullptr), TVA_RES_ERR_NULL_POINTER);
  REFUSED(TVA_getconnameindex(task, "", &asgn, &index), TVA_RES_ERR_BLANK_NAME);
  EXPECT_EQ(asgn, 0);
  EXPECT_EQ(index, 3);
  REFUSED(TVA_getvarnameindex(task, nullptr, &asgn, &index), TVA_RES_ERR_BLANK_NAME);
  REFUSED(TVA_getconenameindex(task, "", nullptr, nullptr), TVA_RES_ERR_BLANK_NAME);
  REFUSED(TVA_getbarvarnameindex(task, "", &asgn, nullptr), TVA_RES_ERR_BLANK_NAME);
  ASSERT_EQ(TVA_putobjname(task, "objective"), TVA_RES_OK);
  REFUSED(TVA_getobjname(task, 9, buf), TVA_RES_ERR_NAME_MAX_LEN);
  REFUSED(TVA_getobjnamelen(task, nullptr), TVA_RES_ERR_NULL_POINTER);
  ASSERT_EQ(TVA_puttaskname(task, "mytask"), TVA_RES_OK);
  REFUSED(TVA_gettaskname(task, 6, buf), TVA_RES_ERR_MAX_LEN_IS_TOO_SMALL);
  REFUSED(TVA_gettasknamelen(task, nullptr), TVA_RES_ERR_NULL_POINTER);
  REFUSED(TVA_getmaxnamelen(task, nullptr), TVA_RES_ERR_NULL_POINTER);
  REFUSED(TVA_analyzenames(task, 4, TVA_NAME_TYPE_LP), TVA_RES_ERR_INVALID_STREAM);
  REFUSED(TVA_analyzenames(task, TVA_STREAM_LOG, 3), TVA_RES_ERR_INV_NAME_ITEM);
  // With the map made, a taken name is refused and the item keeps its own.
  ASSERT_EQ(TVA_getvarnameindex(task, "x4", &asgn, &index), TVA_RES_OK);
  ASSERT_EQ(TVA_putvarname(task, 1, "x1"), TVA_RES_OK);
  REFUSED(TVA_putvarname(task, 1, "x4"), TVA_RES_ERR_DUP_NAME);
  ASSERT_EQ(TVA_getvarname(task, 1, 16, buf), TVA_RES_OK);
  EXPECT_STREQ(buf, "x1");
}

TEST_F(PutGetErrors, Objective) {
  double v[6] = {1, 2, 3, 4, 5, 6};
  int sub[] = {0, 5};
  REFUSED(TVA_putcj(task, -1, 1.0), TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  REFUSED(TVA_putcj(task, 5, 1.0), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_putcj(task, 0, kNaN), TVA_RES_ERR_NAN_IN_C);
  REFUSED(TVA_putcj(task, 0, 1.0e17), TVA_RES_ERR_HUGE_C);
  REFUSED(TVA_putclist(task, 2, sub, v), TVA_RES_ERR_INDEX_ARR_IS_TOO_LARGE);
  REFUSED(TVA_putclist(task, -1, sub, v), TVA_RES_ERR_ARG_IS_TOO_SMALL);
  REFUSED(TVA_putclist(task, 1, nullptr, v), TVA_RES_ERR_NULL_POINTER);
  double bad[] = {7.0, kNaN};
  int good[] = {0, 1};
  REFUSED(TVA_putclist(task, 2, good, bad), TVA_RES_ERR_NAN_IN_C);
  REFUSED(TVA_putcslice(task, -1, 2, v), TVA_RES_ERR_FIRST);
  REFUSED(TVA_putcslice(task, 0, 6, v), TVA_RES_ERR_LAST);
  REFUSED(TVA_putcslice(task, 0, 2, bad), TVA_RES_ERR_NAN_IN_C);
  REFUSED(TVA_getcj(task, 5, v), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_getcslice(task, -1, 2, v), TVA_RES_ERR_FIRST);
  REFUSED(TVA_getcslice(task, 0, 6, v), TVA_RES_ERR_LAST);
  REFUSED(TVA_getc(task, nullptr), TVA_RES_ERR_NULL_POINTER);
  REFUSED(TVA_getcfix(task, nullptr), TVA_RES_ERR_NULL_POINTER);
  REFUSED(TVA_getobjsense(task, nullptr), TVA_RES_ERR_NULL_POINTER);
  REFUSED(TVA_putobjsense(task, 2), TVA_RES_ERR_INVALID_OBJECTIVE_SENSE);
  int t = 1;
  REFUSED(TVA_putvartype(task, 5, 1), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_putvartype(task, 0, 2), TVA_RES_ERR_INV_VAR_TYPE);
  REFUSED(TVA_getvartype(task, -1, &t), TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  int types_out[2];
  REFUSED(TVA_getvartypelist(task, 2, sub, types_out), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_putvartypelist(task, 1, sub + 1, good), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_putvartypelist(task, 1, nullptr, good), TVA_RES_ERR_NULL_POINTER);
  // The type list goes element by element: what came before a failure stays.
  int subj[] = {1, 2}, types[] = {TVA_VAR_TYPE_INT, 7};
  EXPECT_EQ(TVA_putvartypelist(task, 2, subj, types), TVA_RES_ERR_INV_VAR_TYPE);
  int got = -1, nint = -1;
  EXPECT_EQ(TVA_getvartype(task, 1, &got), TVA_RES_OK);
  EXPECT_EQ(got, TVA_VAR_TYPE_INT);
  EXPECT_EQ(TVA_getnumintvar(task, &nint), TVA_RES_OK);
  EXPECT_EQ(nint, 1);
}

TEST_F(PutGetErrors, Bounds) {
  int bk[] = {TVA_BK_LO, TVA_BK_FX};
  double bl[] = {0.0, 1.0}, bu[] = {0.0, 2.0};
  int sub[] = {0, 2}, badsub[] = {0, 3}, badbk[] = {TVA_BK_LO, 9};
  int k;
  double l, u;
  REFUSED(TVA_putconbound(task, 3, TVA_BK_LO, 0, 0), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_putconbound(task, 0, 5, 0, 0), TVA_RES_ERR_INV_BKC);
  REFUSED(TVA_putvarbound(task, 0, -1, 0, 0), TVA_RES_ERR_INV_BKX);
  REFUSED(TVA_putconbound(task, 0, TVA_BK_LO, kNaN, 0), TVA_RES_ERR_LOWER_BOUND_IS_A_NAN);
  REFUSED(TVA_putvarbound(task, 0, TVA_BK_RA, 0, kNaN), TVA_RES_ERR_UPPER_BOUND_IS_A_NAN);
  REFUSED(TVA_putconbound(task, 0, TVA_BK_FX, 1.0, 2.0), TVA_RES_ERR_FIXED_BOUND_VALUES);
  REFUSED(TVA_putbound(task, 2, 0, TVA_BK_LO, 0, 0), TVA_RES_ERR_INVALID_ACCMODE);
  REFUSED(TVA_putconboundlist(task, 2, badsub, bk, bl, bl), TVA_RES_ERR_INDEX_ARR_IS_TOO_LARGE);
  REFUSED(TVA_putconboundlist(task, 2, sub, bk, bl, bu), TVA_RES_ERR_FIXED_BOUND_VALUES);
  REFUSED(TVA_putvarboundlist(task, 2, sub, badbk, bl, bu), TVA_RES_ERR_INV_BKX);
  REFUSED(TVA_putboundlist(task, 5, 2, sub, bk, bl, bl), TVA_RES_ERR_INVALID_ACCMODE);
  REFUSED(TVA_putconboundlist(task, 2, sub, nullptr, bl, bl), TVA_RES_ERR_NULL_POINTER);
  REFUSED(TVA_putconboundslice(task, -1, 1, bk, bl, bl), TVA_RES_ERR_FIRST);
  REFUSED(TVA_putvarboundslice(task, 4, 6, bk, bl, bl), TVA_RES_ERR_LAST);
  REFUSED(TVA_putboundslice(task, 3, 0, 1, bk, bl, bl), TVA_RES_ERR_INVALID_ACCMODE);
  REFUSED(TVA_putconboundslice(task, 0, 2, bk, bl, bu), TVA_RES_ERR_FIXED_BOUND_VALUES);
  REFUSED(TVA_getconbound(task, -1, &k, &l, &u), TVA_RES_ERR_ARG_IS_TOO_SMALL);
  REFUSED(TVA_getvarbound(task, 5, &k, &l, &u), TVA_RES_ERR_ARG_IS_TOO_LARGE);
  REFUSED(TVA_getbound(task, 9, 0, &k, &l, &u), TVA_RES_ERR_INVALID_ACCMODE);
  REFUSED(TVA_getconboundslice(task, -1, 1, &k, &l, &u), TVA_RES_ERR_FIRST);
  REFUSED(TVA_getvarboundslice(task, 0, 6, nullptr, nullptr, nullptr), TVA_RES_ERR_LAST);
  REFUSED(TVA_getboundslice(task, -1, 0, 1, &k, &l, &u), TVA_RES_ERR_INVALID_ACCMODE);
  REFUSED(TVA_chgconbound(task, 3, 1, 1, 0.0), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_chgvarbound(task, -1, 1, 1, 0.0), TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  REFUSED(TVA_chgbound(task, 4, 0, 1, 1, 0.0), TVA_RES_ERR_INVALID_ACCMODE);
  REFUSED(TVA_chgconbound(task, 0, 1, 1, kNaN), TVA_RES_ERR_LOWER_BOUND_IS_A_NAN);
}

TEST_F(PutGetErrors, MatrixA) {
  int sub[] = {0, 1}, dup[] = {1, 1}, big[] = {0, 3}, neg[] = {-1, 0};
  double v[] = {1.0, 2.0}, nan[] = {1.0, kNaN}, huge[] = {1.0, 1.0e21};
  int pb[] = {0}, pe[] = {2}, badpe[] = {-1};
  TVAint64t pb64[] = {0}, pe64[] = {2};
  REFUSED(TVA_putaij(task, 3, 0, 1.0), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_putaij(task, 0, -1, 1.0), TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  REFUSED(TVA_putaij(task, 0, 1, kNaN), TVA_RES_ERR_INVALID_AIJ);
  REFUSED(TVA_putaij(task, 0, 1, 1.0e20), TVA_RES_ERR_HUGE_AIJ);
  REFUSED(TVA_putaijlist(task, 2, big, sub, v), TVA_RES_ERR_INDEX_ARR_IS_TOO_LARGE);
  REFUSED(TVA_putaijlist(task, 2, sub, neg, v), TVA_RES_ERR_INDEX_ARR_IS_TOO_SMALL);
  REFUSED(TVA_putaijlist(task, 2, sub, sub, nan), TVA_RES_ERR_INVALID_AIJ);
  REFUSED(TVA_putaijlist64(task, 2, sub, sub, huge), TVA_RES_ERR_HUGE_AIJ);
  REFUSED(TVA_putaijlist64(task, -2, sub, sub, v), TVA_RES_ERR_ARG_IS_TOO_SMALL);
  REFUSED(TVA_putacol(task, 5, 2, sub, v), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_putacol(task, 0, 2, dup, v), TVA_RES_ERR_DUPLICATE_AIJ);
  REFUSED(TVA_putacol(task, 0, 2, big, v), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_putarow(task, -1, 2, sub, v), TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  REFUSED(TVA_putarow(task, 0, 2, sub, nan), TVA_RES_ERR_INVALID_AIJ);
  REFUSED(TVA_putacolslice(task, -1, 0, pb, pe, sub, v), TVA_RES_ERR_FIRST);
  REFUSED(TVA_putacolslice(task, 4, 6, pb, pe, sub, v), TVA_RES_ERR_LAST);
  REFUSED(TVA_putarowslice(task, 0, 1, pb, pe, dup, v), TVA_RES_ERR_DUPLICATE_AIJ);
  REFUSED(TVA_putacolslice64(task, 0, 1, pb64, pe64, sub, huge), TVA_RES_ERR_HUGE_AIJ);
  REFUSED(TVA_putarowslice64(task, 3, 4, pb64, pe64, sub, v), TVA_RES_ERR_LAST);
  int items[] = {7};
  REFUSED(TVA_putacollist(task, 1, items, pb, pe, sub, v), TVA_RES_ERR_INDEX_ARR_IS_TOO_LARGE);
  REFUSED(TVA_putarowlist(task, 1, sub, pb, badpe, sub, v), TVA_RES_ERR_INV_APTRE);
  REFUSED(TVA_putacollist64(task, 1, sub, pb64, pe64, dup, v), TVA_RES_ERR_DUPLICATE_AIJ);
  REFUSED(TVA_putarowlist64(task, -1, sub, pb64, pe64, sub, v), TVA_RES_ERR_ARG_IS_TOO_SMALL);

  int nz, s[8];
  double val[8], aij;
  REFUSED(TVA_getacolnumnz(task, 5, &nz), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_getarownumnz(task, -1, &nz), TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  REFUSED(TVA_getacol(task, -1, &nz, s, val), TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  REFUSED(TVA_getarow(task, 3, &nz, s, val), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_getaij(task, 0, 5, &aij), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  TVAint64t nz64;
  REFUSED(TVA_getaslicenumnz(task, 3, 0, 1, &nz), TVA_RES_ERR_INVALID_ACCMODE);
  REFUSED(TVA_getaslicenumnz(task, TVA_ACC_VAR, -1, 1, &nz), TVA_RES_ERR_FIRST);
  REFUSED(TVA_getaslicenumnz64(task, TVA_ACC_CON, 0, 4, &nz64), TVA_RES_ERR_LAST);
  // The store has 8 elements: room for 7 is too little; a surplus above the room is invalid.
  int surp = 7, pb2[5], pe2[5];
  REFUSED(TVA_getaslice(task, TVA_ACC_VAR, 0, 5, 7, &surp, pb2, pe2, s, val),
          TVA_RES_ERR_NEGATIVE_SURPLUS);
  surp = 9;
  REFUSED(TVA_getaslice(task, TVA_ACC_VAR, 0, 5, 8, &surp, pb2, pe2, s, val),
          TVA_RES_ERR_INVALID_SURPLUS);
  TVAint64t surp64 = 8, pb3[5], pe3[5];
  REFUSED(TVA_getaslice64(task, TVA_ACC_CON, 0, 4, 8, &surp64, pb3, pe3, s, val), TVA_RES_ERR_LAST);
  REFUSED(TVA_getaslice64(task, TVA_ACC_CON, 0, 3, 8, nullptr, pb3, pe3, s, val),
          TVA_RES_ERR_NULL_POINTER);
  REFUSED(TVA_getapiecenumnz(task, -1, 1, 0, 1, &nz), TVA_RES_ERR_FIRSTI);
  REFUSED(TVA_getapiecenumnz(task, 0, 4, 0, 1, &nz), TVA_RES_ERR_LASTI);
  REFUSED(TVA_getapiecenumnz(task, 0, 1, 6, 6, &nz), TVA_RES_ERR_FIRSTJ);
  REFUSED(TVA_getapiecenumnz(task, 0, 1, 2, 1, &nz), TVA_RES_ERR_LASTJ);
  int ti[8], tj[8];
  surp = 8;
  REFUSED(TVA_getarowslicetrip(task, -1, 2, 8, &surp, ti, tj, val), TVA_RES_ERR_FIRST);
  REFUSED(TVA_getacolslicetrip(task, 0, 6, 8, &surp, ti, tj, val), TVA_RES_ERR_LAST);
  surp = 2;
  REFUSED(TVA_getacolslicetrip(task, 0, 5, 8, &surp, ti, tj, val), TVA_RES_ERR_NEGATIVE_SURPLUS);
  REFUSED(TVA_getnumanz(task, nullptr), TVA_RES_ERR_NULL_POINTER);
  REFUSED(TVA_getnumanz64(task, nullptr), TVA_RES_ERR_NULL_POINTER);
}

TEST_F(PutGetErrors, QuadraticConesAndSemidefinite) {
  int qi[4], qj[4], n;
  double qv[4], q;
  int surp = 1;
  REFUSED(TVA_putqobjij(task, 0, 1, 1.0), TVA_RES_ERR_QOBJ_UPPER_TRIANGLE);
  REFUSED(TVA_putqobjij(task, 1, 0, kNaN), TVA_RES_ERR_INV_QOBJ_VAL);
  REFUSED(TVA_putqobjij(task, 5, 0, 1.0), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_getqobjij(task, 0, -1, &q), TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  REFUSED(TVA_getqobj(task, 4, &surp, &n, qi, qj, qv), TVA_RES_ERR_NEGATIVE_SURPLUS);
  surp = 5;
  REFUSED(TVA_getqobj(task, 4, &surp, &n, qi, qj, qv), TVA_RES_ERR_INVALID_SURPLUS);
  TVAint64t surp64 = 1, n64;
  REFUSED(TVA_getqobj64(task, 4, &surp64, &n64, qi, qj, qv), TVA_RES_ERR_NEGATIVE_SURPLUS);
  surp = 4;
  REFUSED(TVA_getqconk(task, 3, 4, &surp, &n, qi, qj, qv), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_getqconk(task, -1, 4, &surp, &n, qi, qj, qv), TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  surp64 = 1;
  REFUSED(TVA_getqconk64(task, 2, 4, &surp64, &n64, qi, qj, qv), TVA_RES_ERR_NEGATIVE_SURPLUS);
  REFUSED(TVA_getnumqconknz(task, 3, &n), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_getnumqconknz64(task, -1, &n64), TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  REFUSED(TVA_getnumqobjnz(task, nullptr), TVA_RES_ERR_NULL_POINTER);

  int ct, mem[5];
  double par;
  REFUSED(TVA_getcone(task, 1, &ct, &par, &n, mem), TVA_RES_ERR_CONE_INDEX);
  REFUSED(TVA_getconeinfo(task, -1, &ct, &par, &n), TVA_RES_ERR_CONE_INDEX);
  REFUSED(TVA_getnumconemem(task, 1, &n), TVA_RES_ERR_CONE_INDEX);

  TVAint64t num, list[4], sub[4];
  double w[4];
  int i, j, si[4], sj[4], sk[4], sl[4];
  REFUSED(TVA_getdimbarvarj(task, 1, &n), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_getsymmatinfo(task, 1, &n, &num, &ct), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_getsparsesymmat(task, idx, 1, si, sj, w), TVA_RES_ERR_MAX_LEN_IS_TOO_SMALL);
  REFUSED(TVA_getbarcsparsity(task, 0, &num, list), TVA_RES_ERR_ARG_IS_TOO_SMALL);
  REFUSED(TVA_getbarasparsity(task, 4, &num, nullptr), TVA_RES_ERR_NULL_POINTER);
  REFUSED(TVA_getbarcidxinfo(task, 1, &num), TVA_RES_ERR_INVALID_IDX);
  REFUSED(TVA_getbaraidxinfo(task, 0, &num), TVA_RES_ERR_INVALID_IDX); // cell (0, 0) is empty
  REFUSED(TVA_getbarcidxj(task, -1, &j), TVA_RES_ERR_INVALID_IDX);
  REFUSED(TVA_getbaraidxij(task, 3, &i, &j), TVA_RES_ERR_INVALID_IDX);
  REFUSED(TVA_getbarcidx(task, 0, 0, &j, &num, sub, w), TVA_RES_ERR_INVALID_MAX_NUM);
  REFUSED(TVA_getbaraidx(task, 9, 4, &i, &j, &num, sub, w), TVA_RES_ERR_INVALID_IDX);
  REFUSED(TVA_getbarcblocktriplet(task, 1, &num, sj, sk, sl, w), TVA_RES_ERR_INVALID_MAX_NUM);
  REFUSED(TVA_getbarablocktriplet(task, 1, &num, si, sj, sk, sl, w), TVA_RES_ERR_INVALID_MAX_NUM);
  REFUSED(TVA_getnumbarcnz(task, nullptr), TVA_RES_ERR_NULL_POINTER);
  REFUSED(TVA_getnumbarablocktriplets(task, nullptr), TVA_RES_ERR_NULL_POINTER);
}

TEST_F(PutGetErrors, CountsAndHandles) {
  using Count32 = TVArescode (*)(TVAtask_t, TVAint32t*);
  using Count64 = TVArescode (*)(TVAtask_t, TVAint64t*);
  // Counts and capacities against what the fixture put in.
  struct {
    Count32 f;
    int want;
  } c32[] = {{TVA_getnumcon, 3},     {TVA_getnumvar, 5},     {TVA_getnumcone, 1},
             {TVA_getnumbarvar, 1},  {TVA_getnumintvar, 0},  {TVA_getmaxnumcon, 3},
             {TVA_getmaxnumvar, 5},  {TVA_getmaxnumcone, 1}, {TVA_getmaxnumbarvar, 1},
             {TVA_getmaxnumanz, -1}, {TVA_getmaxnumqnz, -1}, {TVA_getnumanz, 8},
             {TVA_getnumqobjnz, 2},  {TVA_getobjsense, 0}};
  for (auto [f, want] : c32) {
    int got = -7;
    EXPECT_EQ(f(task, &got), TVA_RES_OK);
    if (want >= 0) {
      EXPECT_EQ(got, want);
    }
    EXPECT_GE(got, 0);
    REFUSED(f(task, nullptr), TVA_RES_ERR_NULL_POINTER);
  }
  struct {
    Count64 f;
    TVAint64t want;
  } c64[] = {
      {TVA_getnumsymmat, 1}, {TVA_getmaxnumanz64, -1},         {TVA_getmaxnumqnz64, -1},
      {TVA_getnumanz64, 8},  {TVA_getnumqobjnz64, 2},          {TVA_getnumbarcnz, 1},
      {TVA_getnumbaranz, 1}, {TVA_getnumbarcblocktriplets, 2}, {TVA_getnumbarablocktriplets, 2}};
  for (auto [f, want] : c64) {
    TVAint64t got = -7;
    EXPECT_EQ(f(task, &got), TVA_RES_OK);
    if (want >= 0) {
      EXPECT_EQ(got, want);
    }
    EXPECT_GE(got, 0);
    REFUSED(f(task, nullptr), TVA_RES_ERR_NULL_POINTER);
  }
  int n;
  EXPECT_EQ(TVA_getnumcon(nullptr, &n), TVA_RES_ERR_NULL_TASK);
  EXPECT_EQ(TVA_putcj(nullptr, 0, 1.0), TVA_RES_ERR_NULL_TASK);
  // The unchecked stores still check the handle.
  EXPECT_EQ(TVA_putcfix(nullptr, 1.0), TVA_RES_ERR_NULL_TASK);
  EXPECT_EQ(TVA_putobjname(nullptr, "a"), TVA_RES_ERR_NULL_TASK);
  EXPECT_EQ(TVA_puttaskname(nullptr, "a"), TVA_RES_ERR_NULL_TASK);
  EXPECT_EQ(TVA_putnlfunc(nullptr, nullptr, nullptr, nullptr), TVA_RES_ERR_NULL_TASK);
  EXPECT_EQ(TVA_getnlfunc(nullptr, nullptr, nullptr, nullptr), TVA_RES_ERR_NULL_TASK);
  TVAint64t len64;
  REFUSED(TVA_getlenbarvarj(task, 1, &len64), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(TVA_getaslice(nullptr, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr),
            TVA_RES_ERR_NULL_TASK);
  // A capacity beyond 32 bits can only be read by the 64-bit form.
  TVAtask_t big = nullptr;
  ASSERT_EQ(TVA_maketask(env, 0, 0, &big), TVA_RES_OK);
  ASSERT_EQ(TVA_putmaxnumanz(big, 3000000000LL), TVA_RES_OK);
  TVAint64t cap = 0;
  EXPECT_EQ(TVA_getmaxnumanz(big, &n), TVA_RES_ERR_INT64_TO_INT32_CAST);
  EXPECT_EQ(TVA_getmaxnumanz64(big, &cap), TVA_RES_OK);
  EXPECT_EQ(cap, 3000000000LL);
  EXPECT_EQ(TVA_deletetask(&big), TVA_RES_OK);
}

TEST_F(PutGetErrors, InputData) {
  double c[] = {1.0, 2.0};
  int pb[] = {0, 1}, pe[] = {1, 3}, asub[] = {0, 0, 1};
  double aval[] = {1.0, 2.0, 3.0};
  int bkc[] = {TVA_BK_UP, TVA_BK_LO}, bkx[] = {TVA_BK_LO, TVA_BK_LO};
  double lo[] = {0.0, 0.0}, up[] = {4.0, 5.0};
  int badpe[] = {1, 0}, badsub[] = {0, 0, 2}, dupsub[] = {0, 1, 1}, badbk[] = {TVA_BK_LO, 8};
  double nanc[] = {kNaN, 1.0};
  REFUSED(TVA_inputdata(task, 2, 2, 2, 2, c, 0.0, pb, badpe, asub, aval, bkc, lo, up, bkx, lo, up),
          TVA_RES_ERR_INV_APTRE);
  REFUSED(TVA_inputdata(task, 2, 2, 2, 2, c, 0.0, pb, pe, badsub, aval, bkc, lo, up, bkx, lo, up),
          TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  REFUSED(TVA_inputdata(task, 2, 2, 2, 2, c, 0.0, pb, pe, dupsub, aval, bkc, lo, up, bkx, lo, up),
          TVA_RES_ERR_MUL_A_ELEMENT);
  REFUSED(TVA_inputdata(task, 2, 2, 2, 2, nanc, 0.0, pb, pe, asub, aval, bkc, lo, up, bkx, lo, up),
          TVA_RES_ERR_NAN_IN_C);
  TVAint64t pb64[] = {0, 1}, pe64[] = {1, 3};
  REFUSED(
      TVA_inputdata64(task, 2, 2, 2, 2, c, 0.0, pb64, pe64, asub, aval, bkc, lo, up, badbk, lo, up),
      TVA_RES_ERR_INV_BKX);
  REFUSED(
      TVA_inputdata64(task, 2, 2, -1, 2, c, 0.0, pb64, pe64, asub, aval, bkc, lo, up, bkx, lo, up),
      TVA_RES_ERR_NEGATIVE_APPEND);

  // A good call replaces the whole problem.
  ASSERT_EQ(TVA_inputdata(task, 0, 0, 2, 2, c, 3.0, pb, pe, asub, aval, bkc, lo, up, bkx, lo, up),
            TVA_RES_OK);
  storetest::Snapshot s = storetest::snapshot(task);
  EXPECT_EQ(s.numcon, 2);
  EXPECT_EQ(s.numvar, 2);
  EXPECT_EQ(s.numcone, 0);
  EXPECT_EQ(s.numbarvar, 0);
  EXPECT_EQ(s.cfix, 3.0);
  EXPECT_EQ(s.c, std::vector<double>({1.0, 2.0}));
  storetest::Triplets a = {{{0, 0}, 1.0}, {{0, 1}, 2.0}, {{1, 1}, 3.0}};
  EXPECT_EQ(s.a, a);
  EXPECT_EQ(s.con[0], (storetest::Bound{TVA_BK_UP, -1.0e30, 4.0}));
  EXPECT_EQ(s.var[1], (storetest::Bound{TVA_BK_LO, 0.0, 1.0e30}));
  EXPECT_EQ(s.names[0], std::vector<std::string>({"", ""}));
  // A null c means zeros.
  ASSERT_EQ(TVA_inputdata64(task, 2, 2, 2, 2, nullptr, 0.0, pb64, pe64, asub, aval, bkc, lo, up,
                            bkx, lo, up),
            TVA_RES_OK);
  EXPECT_EQ(storetest::snapshot(task).c, std::vector<double>({0.0, 0.0}));
}

} // namespace
