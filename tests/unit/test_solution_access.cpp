// The exported access to the solution slots: refusals and their order, what each slot serves,
// slot creation by puts, the basis count warning, the semidefinite accessors, norms and the
// information items.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "telva.h"
#include "telva/solution/solution.h"
#include "telva/task/task.h"

using namespace telva;

namespace {

struct Captured {
  std::vector<TVArescode> codes;
  std::vector<std::string> msgs;
};

TVAint32t capture(void* handle, TVArescode r, const char* msg) {
  auto* c = static_cast<Captured*>(handle);
  c->codes.push_back(r);
  c->msgs.push_back(msg ? msg : "");
  return 0;
}

class SolutionAccess : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
    ASSERT_EQ(TVA_putresponsefunc(task, capture, &seen), TVA_RES_OK);
    ASSERT_EQ(TVA_appendcons(task, 3), TVA_RES_OK);
    ASSERT_EQ(TVA_appendvars(task, 4), TVA_RES_OK);
  }
  void TearDown() override {
    EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
    EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  }
  int32 defined(int32 w) {
    int32 d = -1;
    EXPECT_EQ(TVA_solutiondef(task, w, &d), TVA_RES_OK);
    return d;
  }
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  Captured seen;
};

TEST_F(SolutionAccess, WhichsolAndUndefinedSlots) {
  int32 d = 7, st = -1;
  double x[4];
  EXPECT_EQ(TVA_solutiondef(task, 3, &d), TVA_RES_ERR_INVALID_WHICHSOL);
  EXPECT_EQ(d, 0); // set to 0 before the check
  EXPECT_EQ(TVA_getsolsta(task, -1, &st), TVA_RES_ERR_INVALID_WHICHSOL);
  EXPECT_EQ(TVA_putxx(task, 3, x), TVA_RES_ERR_INVALID_WHICHSOL);
  for (int32 w = 0; w < 3; ++w) {
    EXPECT_EQ(defined(w), 0);
    EXPECT_EQ(TVA_getsolsta(task, w, &st), TVA_RES_ERR_UNDEF_SOLUTION);
    EXPECT_EQ(TVA_getxx(task, w, x), TVA_RES_ERR_UNDEF_SOLUTION);
    EXPECT_EQ(TVA_getprimalobj(task, w, x), TVA_RES_ERR_UNDEF_SOLUTION);
    EXPECT_EQ(x[0], -1e30);
    EXPECT_EQ(TVA_deletesolution(task, w), TVA_RES_OK); // undefined is no failure
  }
  EXPECT_EQ(seen.msgs.back(), "The solution with code 2 is not defined.");
  // Reads create nothing.
  EXPECT_EQ(defined(TVA_SOL_ITR), 0);
}

TEST_F(SolutionAccess, BasisCountWarningsAndTheSolutionStands) {
  ASSERT_EQ(TVA_putsolution(task, TVA_SOL_BAS, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, nullptr, nullptr, nullptr),
            TVA_RES_OK);
  ASSERT_FALSE(seen.codes.empty());
  EXPECT_EQ(seen.codes.back(), TVA_RES_WRN_TOO_FEW_BASIS_VARS);
  EXPECT_NE(seen.msgs.back().find("3 basis variables are expected but only 0"), std::string::npos)
      << seen.msgs.back();
  EXPECT_EQ(defined(TVA_SOL_BAS), 1);
  int32 skc[] = {TVA_SK_BAS, TVA_SK_BAS, TVA_SK_LOW}, skx[] = {1, 1, 3, 3};
  ASSERT_EQ(TVA_putsolution(task, TVA_SOL_BAS, skc, skx, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, nullptr, nullptr, nullptr),
            TVA_RES_OK);
  EXPECT_EQ(seen.codes.back(), TVA_RES_WRN_TOO_MANY_BASIS_VARS);
  EXPECT_NE(seen.msgs.back().find("4 basis variables are specified but 3"), std::string::npos);
  int32 got[4];
  ASSERT_EQ(TVA_getskx(task, TVA_SOL_BAS, got), TVA_RES_OK);
  EXPECT_EQ(got[1], TVA_SK_BAS);
  // A bad key refuses the whole call and names the position.
  skx[2] = 7;
  size_t before = seen.codes.size();
  EXPECT_EQ(TVA_putsolution(task, TVA_SOL_ITR, skc, skx, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, nullptr, nullptr, nullptr),
            TVA_RES_ERR_INV_SKX);
  EXPECT_EQ(seen.codes.size(), before + 1);
  EXPECT_EQ(seen.msgs.back(), "Invalid value at skx[2].");
  EXPECT_EQ(defined(TVA_SOL_ITR), 0);
}

TEST_F(SolutionAccess, IntegerSlotServesNoDuals) {
  double xx[] = {1, 2, 3, 4}, y[3] = {9, 9, 9}, rc[4];
  ASSERT_EQ(TVA_putxx(task, TVA_SOL_ITG, xx), TVA_RES_OK);
  int32 prosta = -1, solsta = -1;
  EXPECT_EQ(TVA_getsolution(task, TVA_SOL_ITG, &prosta, &solsta, nullptr, nullptr, nullptr, nullptr,
                            nullptr, y, nullptr, nullptr, nullptr, nullptr, nullptr),
            TVA_RES_OK);
  EXPECT_EQ(y[0], 9); // left as it was
  EXPECT_EQ(solsta, TVA_SOL_STA_UNKNOWN);
  EXPECT_EQ(TVA_gety(task, TVA_SOL_ITG, y), TVA_RES_ERR_NO_DUAL_FOR_ITG_SOL);
  EXPECT_EQ(TVA_getreducedcosts(task, TVA_SOL_ITG, 0, 4, rc), TVA_RES_ERR_NO_DUAL_FOR_ITG_SOL);
  EXPECT_EQ(TVA_puty(task, TVA_SOL_ITG, y), TVA_RES_ERR_NO_DUAL_FOR_ITG_SOL);
  EXPECT_EQ(TVA_putsnx(task, TVA_SOL_BAS, xx), TVA_RES_ERR_NO_SNX_FOR_BAS_SOL);
  EXPECT_EQ(defined(TVA_SOL_BAS), 0); // the refusal came before the slot was made
  // putsolutionyi on the integer slot writes nothing and makes nothing.
  ASSERT_EQ(TVA_deletesolution(task, TVA_SOL_ITG), TVA_RES_OK);
  EXPECT_EQ(TVA_putsolutionyi(task, 1, TVA_SOL_ITG, 5.0), TVA_RES_OK);
  EXPECT_EQ(defined(TVA_SOL_ITG), 0);
  // On the interior slot it stores y and leaves the status.
  ASSERT_EQ(TVA_putxx(task, TVA_SOL_ITR, xx), TVA_RES_OK);
  sol_setstatus(task, TVA_SOL_ITR, 1, TVA_SOL_STA_OPTIMAL);
  EXPECT_EQ(TVA_putsolutionyi(task, 1, TVA_SOL_ITR, 5.0), TVA_RES_OK);
  ASSERT_EQ(TVA_gety(task, TVA_SOL_ITR, y), TVA_RES_OK);
  EXPECT_EQ(y[1], 5.0);
  ASSERT_EQ(TVA_getsolsta(task, TVA_SOL_ITR, &solsta), TVA_RES_OK);
  EXPECT_EQ(solsta, TVA_SOL_STA_OPTIMAL);
}

TEST_F(SolutionAccess, SliceChecksAndEmptySlices) {
  double v[4] = {1, 2, 3, 4};
  // first == last on an undefined slot: nothing made, code 0.
  EXPECT_EQ(TVA_putxcslice(task, TVA_SOL_BAS, 2, 2, v), TVA_RES_OK);
  EXPECT_EQ(defined(TVA_SOL_BAS), 0);
  EXPECT_EQ(TVA_putxcslice(task, TVA_SOL_BAS, -1, 2, v), TVA_RES_ERR_FIRST);
  EXPECT_EQ(TVA_putxcslice(task, TVA_SOL_BAS, 0, 4, v), TVA_RES_ERR_LAST);
  EXPECT_EQ(TVA_putxxslice(task, TVA_SOL_BAS, 0, 4, v), TVA_RES_OK);
  int32 keys[] = {0, 6, 7};
  EXPECT_EQ(TVA_putskcslice(task, TVA_SOL_BAS, 0, 3, keys), TVA_RES_ERR_INV_SKC);
  EXPECT_EQ(seen.msgs.back(), "Invalid value at skc[2].");
  // A put sets solsta to unknown; prosta stays.
  sol_setstatus(task, TVA_SOL_BAS, 1, 1);
  ASSERT_EQ(TVA_putslxslice(task, TVA_SOL_BAS, 1, 3, v), TVA_RES_OK);
  ASSERT_EQ(TVA_putsuxslice(task, TVA_SOL_BAS, 2, 4, v + 2), TVA_RES_OK);
  int32 prosta = -1, solsta = -1;
  ASSERT_EQ(TVA_getprosta(task, TVA_SOL_BAS, &prosta), TVA_RES_OK);
  ASSERT_EQ(TVA_getsolsta(task, TVA_SOL_BAS, &solsta), TVA_RES_OK);
  EXPECT_EQ(prosta, 1);
  EXPECT_EQ(solsta, TVA_SOL_STA_UNKNOWN);
  // slx = {0, 1, 2, 0}, sux = {0, 0, 3, 4}
  double rc[3];
  ASSERT_EQ(TVA_getreducedcosts(task, TVA_SOL_BAS, 1, 4, rc), TVA_RES_OK);
  EXPECT_EQ(std::vector<double>(rc, rc + 3), (std::vector<double>{1, -1, -4}));
  double got[2];
  ASSERT_EQ(TVA_getsolutionslice(task, TVA_SOL_BAS, TVA_SOL_ITEM_XX, 1, 3, got), TVA_RES_OK);
  EXPECT_EQ(std::vector<double>(got, got + 2), (std::vector<double>{2, 3}));
  ASSERT_EQ(TVA_getsolutionslice(task, TVA_SOL_BAS, TVA_SOL_ITEM_SUX, 2, 4, got), TVA_RES_OK);
  EXPECT_EQ(std::vector<double>(got, got + 2), (std::vector<double>{3, 4}));
  EXPECT_EQ(TVA_getsolutionslice(task, TVA_SOL_BAS, TVA_SOL_ITEM_SNX, 0, 1, got),
            TVA_RES_ERR_NO_SNX_FOR_BAS_SOL);
  EXPECT_EQ(TVA_getsolutionslice(task, TVA_SOL_BAS, 8, 0, 1, got), TVA_RES_ERR_SOLITEM);
}

TEST_F(SolutionAccess, SingleElements) {
  EXPECT_EQ(TVA_putsolutioni(task, 2, 0, TVA_SOL_ITR, 0, 0, 0, 0, 0), TVA_RES_ERR_INVALID_ACCMODE);
  EXPECT_EQ(TVA_putsolutioni(task, TVA_ACC_CON, 3, TVA_SOL_ITR, 0, 0, 0, 0, 0),
            TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(TVA_putsolutioni(task, TVA_ACC_VAR, -1, TVA_SOL_ITR, 0, 0, 0, 0, 0),
            TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  EXPECT_EQ(TVA_putsolutioni(task, TVA_ACC_VAR, 0, TVA_SOL_ITR, 9, 0, 0, 0, 0), TVA_RES_ERR_INV_SK);
  EXPECT_EQ(defined(TVA_SOL_ITR), 0);
  ASSERT_EQ(TVA_putsolutioni(task, TVA_ACC_VAR, 3, TVA_SOL_ITR, TVA_SK_UPR, 1.5, 2.5, 3.5, 4.5),
            TVA_RES_OK);
  ASSERT_EQ(TVA_putsolutioni(task, TVA_ACC_VAR, 3, TVA_SOL_ITG, TVA_SK_UPR, 1.5, 2.5, 3.5, 4.5),
            TVA_RES_OK);
  int32 sk = -1;
  double x = 0, sl = 0, su = 0, sn = 0;
  ASSERT_EQ(TVA_getsolutioni(task, TVA_ACC_VAR, 3, TVA_SOL_ITR, &sk, &x, &sl, &su, &sn),
            TVA_RES_OK);
  EXPECT_EQ(sk, TVA_SK_UPR);
  EXPECT_EQ(x, 1.5);
  EXPECT_EQ(sl, 2.5);
  EXPECT_EQ(su, 3.5);
  EXPECT_EQ(sn, 4.5);
  // The integer slot lacks the duals: they read 0.
  ASSERT_EQ(TVA_getsolutioni(task, TVA_ACC_VAR, 3, TVA_SOL_ITG, &sk, &x, &sl, &su, &sn),
            TVA_RES_OK);
  EXPECT_EQ(x, 1.5);
  EXPECT_EQ(sl, 0.0);
  EXPECT_EQ(su, 0.0);
  EXPECT_EQ(sn, 0.0);
}

TEST_F(SolutionAccess, SemidefinitePart) {
  int32 dims[] = {2, 3};
  ASSERT_EQ(TVA_appendbarvars(task, 2, dims), TVA_RES_OK);
  double v[6] = {1, 2, 3, 4, 5, 6}, got[6];
  EXPECT_EQ(TVA_putbarxj(task, TVA_SOL_BAS, 0, v), TVA_RES_ERR_NO_BARX_FOR_SOLUTION);
  EXPECT_EQ(TVA_putbarsj(task, TVA_SOL_ITG, 0, v), TVA_RES_ERR_NO_BARS_FOR_SOLUTION);
  EXPECT_EQ(TVA_getbarxj(task, 5, 0, got), TVA_RES_ERR_WHICHSOL);
  EXPECT_EQ(TVA_putbarxj(task, TVA_SOL_ITR, 2, v), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_NE(seen.msgs.back().find("'j'"), std::string::npos);
  EXPECT_EQ(TVA_getbarxj(task, TVA_SOL_ITR, 0, got), TVA_RES_ERR_UNDEF_SOLUTION);
  ASSERT_EQ(TVA_putbarxj(task, TVA_SOL_ITR, 1, v), TVA_RES_OK);
  ASSERT_EQ(TVA_putbarsj(task, TVA_SOL_ITR, 0, v), TVA_RES_OK);
  ASSERT_EQ(TVA_getbarxj(task, TVA_SOL_ITR, 1, got), TVA_RES_OK);
  EXPECT_EQ(std::vector<double>(got, got + 6), std::vector<double>(v, v + 6));
  ASSERT_EQ(TVA_getbarxj(task, TVA_SOL_ITR, 0, got), TVA_RES_OK);
  EXPECT_EQ(std::vector<double>(got, got + 3), (std::vector<double>{0, 0, 0}));
  // A bar variable appended later gets zero triangles, the old ones stay.
  int32 d4 = 4;
  ASSERT_EQ(TVA_appendbarvars(task, 1, &d4), TVA_RES_OK);
  double big[10];
  ASSERT_EQ(TVA_getbarxj(task, TVA_SOL_ITR, 2, big), TVA_RES_OK);
  EXPECT_EQ(std::vector<double>(big, big + 10), std::vector<double>(10, 0.0));
  ASSERT_EQ(TVA_getbarsj(task, TVA_SOL_ITR, 0, got), TVA_RES_OK);
  EXPECT_EQ(std::vector<double>(got, got + 3), (std::vector<double>{1, 2, 3}));
  double nrmbarx = 0, nrmbars = 0, nrmsnx = -1;
  ASSERT_EQ(TVA_getprimalsolutionnorms(task, TVA_SOL_ITR, nullptr, nullptr, &nrmbarx), TVA_RES_OK);
  ASSERT_EQ(TVA_getdualsolutionnorms(task, TVA_SOL_ITR, nullptr, nullptr, nullptr, nullptr, nullptr,
                                     &nrmsnx, &nrmbars),
            TVA_RES_OK);
  EXPECT_EQ(nrmbarx, 6.0);
  EXPECT_EQ(nrmbars, 3.0);
  EXPECT_EQ(nrmsnx, 0.0);
}

TEST_F(SolutionAccess, NormsAndInformationItems) {
  double xx[] = {1, -7, 3, 0}, xc[] = {-2, 0, 1}, y[] = {0.5, -4, 2};
  ASSERT_EQ(TVA_putxx(task, TVA_SOL_BAS, xx), TVA_RES_OK);
  ASSERT_EQ(TVA_putxc(task, TVA_SOL_BAS, xc), TVA_RES_OK);
  ASSERT_EQ(TVA_puty(task, TVA_SOL_BAS, y), TVA_RES_OK);
  double nxc = 0, nxx = 0, nbarx = -1, ny = 0, nsnx = -1;
  ASSERT_EQ(TVA_getprimalsolutionnorms(task, TVA_SOL_BAS, &nxc, &nxx, &nbarx), TVA_RES_OK);
  ASSERT_EQ(TVA_getdualsolutionnorms(task, TVA_SOL_BAS, &ny, nullptr, nullptr, nullptr, nullptr,
                                     &nsnx, nullptr),
            TVA_RES_OK);
  EXPECT_EQ(nxc, 2.0);
  EXPECT_EQ(nxx, 7.0);
  EXPECT_EQ(nbarx, 0.0);
  EXPECT_EQ(ny, 4.0);
  EXPECT_EQ(nsnx, 0.0);
  sol_setstatus(task, TVA_SOL_BAS, TVA_PRO_STA_PRIM_FEAS, TVA_SOL_STA_PRIM_FEAS);
  ASSERT_EQ(TVA_updatesolutioninfo(task, TVA_SOL_BAS), TVA_RES_OK);
  double pobj, pcon, pvar, dobj, dcon, dvar;
  ASSERT_EQ(TVA_getsolutioninfo(task, TVA_SOL_BAS, &pobj, &pcon, &pvar, nullptr, nullptr, nullptr,
                                &dobj, &dcon, &dvar, nullptr, nullptr),
            TVA_RES_OK);
  double item = 0;
  int32 iitem = -1;
  ASSERT_EQ(TVA_getdouinf(task, TVA_DINF_SOL_BAS_PVIOLVAR, &item), TVA_RES_OK);
  EXPECT_EQ(item, pvar);
  EXPECT_EQ(pvar, 7.0); // new variables are fixed at 0
  ASSERT_EQ(TVA_getdouinf(task, TVA_DINF_SOL_BAS_DVIOLCON, &item), TVA_RES_OK);
  EXPECT_EQ(item, dcon);
  ASSERT_EQ(TVA_getdouinf(task, TVA_DINF_SOL_BAS_NRM_Y, &item), TVA_RES_OK);
  EXPECT_EQ(item, 4.0);
  ASSERT_EQ(TVA_getintinf(task, TVA_IINF_SOL_BAS_SOLSTA, &iitem), TVA_RES_OK);
  EXPECT_EQ(iitem, TVA_SOL_STA_PRIM_FEAS);
  int32 sub = 5;
  double viol;
  EXPECT_EQ(TVA_getpviolvar(task, TVA_SOL_BAS, 1, &sub, &viol), TVA_RES_ERR_INDEX_ARR_IS_TOO_LARGE);
  EXPECT_EQ(TVA_getdviolvar(task, TVA_SOL_ITG, 0, &sub, &viol), TVA_RES_ERR_UNDEF_SOLUTION);
}

TEST_F(SolutionAccess, CallbackSolutionAndFlippedDuals) {
  int32 solsta = -1;
  EXPECT_EQ(TVA_getsolutionincallback(task, TVA_CALLBACK_BEGIN_OPTIMIZER, TVA_SOL_ITG, nullptr,
                                      &solsta, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr, nullptr, nullptr, nullptr, nullptr),
            TVA_RES_ERR_NO_SOLUTION_IN_CALLBACK);
  double xx[] = {1, 2, 3, 4};
  ASSERT_EQ(TVA_putxx(task, TVA_SOL_ITG, xx), TVA_RES_OK);
  EXPECT_EQ(TVA_getsolutionincallback(task, TVA_CALLBACK_NEW_INT_MIO, TVA_SOL_ITG, nullptr, &solsta,
                                      nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr, nullptr, nullptr, nullptr),
            TVA_RES_OK);
  // The driver's sign flip for maximize problems turns every dual and leaves the primal.
  double slx[] = {1, -2, 0, 4};
  ASSERT_EQ(TVA_putxx(task, TVA_SOL_ITR, xx), TVA_RES_OK);
  ASSERT_EQ(TVA_putslx(task, TVA_SOL_ITR, slx), TVA_RES_OK);
  sol_flip_duals(task, TVA_SOL_ITR);
  double got[4];
  ASSERT_EQ(TVA_getslx(task, TVA_SOL_ITR, got), TVA_RES_OK);
  EXPECT_EQ(std::vector<double>(got, got + 4), (std::vector<double>{-1, 2, 0, -4}));
  ASSERT_EQ(TVA_getxx(task, TVA_SOL_ITR, got), TVA_RES_OK);
  EXPECT_EQ(got[1], 2.0);
}

TEST_F(SolutionAccess, SlotsFollowTheCapacities) {
  double xx[] = {1, 2, 3, 4};
  ASSERT_EQ(TVA_putxx(task, TVA_SOL_ITR, xx), TVA_RES_OK);
  ASSERT_EQ(TVA_putmaxnumvar(task, 100), TVA_RES_OK);
  EXPECT_EQ(sol_slot(task, TVA_SOL_ITR)->capvar, 100);
  ASSERT_EQ(TVA_putmaxnumvar(task, 4), TVA_RES_OK);
  EXPECT_EQ(sol_slot(task, TVA_SOL_ITR)->capvar, 4);
  ASSERT_EQ(TVA_putmaxnumcon(task, 50), TVA_RES_OK);
  ASSERT_EQ(TVA_putmaxnumcone(task, 8), TVA_RES_OK);
  EXPECT_EQ(sol_slot(task, TVA_SOL_ITR)->capcon, 50);
  EXPECT_EQ(sol_slot(task, TVA_SOL_ITR)->capcone, 8);
  double got[4];
  ASSERT_EQ(TVA_getxx(task, TVA_SOL_ITR, got), TVA_RES_OK);
  EXPECT_EQ(std::vector<double>(got, got + 4), std::vector<double>(xx, xx + 4));
  // Deleting frees the arrays; a task reset removes every slot.
  ASSERT_EQ(TVA_deletesolution(task, TVA_SOL_ITR), TVA_RES_OK);
  EXPECT_EQ(sol_slot(task, TVA_SOL_ITR)->xx, nullptr);
  ASSERT_EQ(TVA_putxx(task, TVA_SOL_BAS, xx), TVA_RES_OK);
  ASSERT_EQ(TVA_resizetask(task, 1, 1, 1, 1, 1), TVA_RES_OK);
  EXPECT_EQ(defined(TVA_SOL_BAS), 0);
}

TEST_F(SolutionAccess, CopyIntoATaskOfTheSameShape) {
  int32 dims[] = {2};
  ASSERT_EQ(TVA_appendbarvars(task, 1, dims), TVA_RES_OK);
  double xx[] = {1, 2, 3, 4}, y[] = {5, 6, 7}, bx[] = {8, 9, 10};
  ASSERT_EQ(TVA_putxx(task, TVA_SOL_ITR, xx), TVA_RES_OK);
  ASSERT_EQ(TVA_puty(task, TVA_SOL_ITR, y), TVA_RES_OK);
  ASSERT_EQ(TVA_putbarxj(task, TVA_SOL_ITR, 0, bx), TVA_RES_OK);
  ASSERT_EQ(TVA_putxx(task, TVA_SOL_ITG, xx), TVA_RES_OK);
  sol_setstatus(task, TVA_SOL_ITG, 2, TVA_SOL_STA_INTEGER_OPTIMAL);
  TVAtask_t other = nullptr;
  ASSERT_EQ(TVA_maketask(env, 0, 0, &other), TVA_RES_OK);
  ASSERT_EQ(TVA_appendcons(other, 3), TVA_RES_OK);
  ASSERT_EQ(TVA_appendvars(other, 4), TVA_RES_OK);
  ASSERT_EQ(TVA_appendbarvars(other, 1, dims), TVA_RES_OK);
  ASSERT_EQ(sol_copy(other, task), TVA_RES_OK);
  double got[4];
  ASSERT_EQ(TVA_gety(other, TVA_SOL_ITR, got), TVA_RES_OK);
  EXPECT_EQ(std::vector<double>(got, got + 3), std::vector<double>(y, y + 3));
  ASSERT_EQ(TVA_getbarxj(other, TVA_SOL_ITR, 0, got), TVA_RES_OK);
  EXPECT_EQ(std::vector<double>(got, got + 3), std::vector<double>(bx, bx + 3));
  int32 solsta = -1, def = -1;
  ASSERT_EQ(TVA_getsolsta(other, TVA_SOL_ITG, &solsta), TVA_RES_OK);
  EXPECT_EQ(solsta, TVA_SOL_STA_INTEGER_OPTIMAL);
  ASSERT_EQ(TVA_solutiondef(other, TVA_SOL_BAS, &def), TVA_RES_OK);
  EXPECT_EQ(def, 0);
  EXPECT_EQ(TVA_deletetask(&other), TVA_RES_OK);
}

TEST(SolutionSlots, MadeOnAnEmptyTaskAndGrownByAppends) {
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
  ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
  // Every slot made while all capacities are 0, then grown from no arrays at all.
  for (int32 w = 0; w < kNumSolSlots; ++w)
    ASSERT_EQ(TVA_putsolution(task, w, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                              nullptr, nullptr, nullptr, nullptr, nullptr),
              TVA_RES_OK);
  ASSERT_EQ(TVA_appendvars(task, 3), TVA_RES_OK);
  ASSERT_EQ(TVA_appendcons(task, 2), TVA_RES_OK);
  int32 mem[] = {0, 1, 2};
  ASSERT_EQ(TVA_appendcone(task, TVA_CT_RQUAD, 0.0, 3, mem), TVA_RES_OK);
  int32 skn = -1;
  ASSERT_EQ(TVA_getsolution(task, TVA_SOL_ITR, nullptr, nullptr, nullptr, nullptr, &skn, nullptr,
                            nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
            TVA_RES_OK);
  EXPECT_EQ(skn, TVA_SK_UNK);
  double y[2] = {-1, -1};
  ASSERT_EQ(TVA_gety(task, TVA_SOL_BAS, y), TVA_RES_OK);
  EXPECT_EQ(y[1], 0.0);
  EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
  EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
}

} // namespace
