// A clone carries the stored solutions along with the problem.
#include <gtest/gtest.h>

#include <vector>

#include "telva.h"

namespace {

TEST(CloneTask, CopiesSolutionsWithTheProblem) {
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr, clone = nullptr;
  ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
  ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
  ASSERT_EQ(TVA_appendvars(task, 2), TVA_RES_OK);
  ASSERT_EQ(TVA_appendcons(task, 1), TVA_RES_OK);
  const TVAint32t sub[2] = {0, 1};
  const double val[2] = {1.0, 2.0};
  ASSERT_EQ(TVA_putarow(task, 0, 2, sub, val), TVA_RES_OK);

  const TVAint32t skc[1] = {TVA_SK_UPR}, skx[2] = {TVA_SK_BAS, TVA_SK_LOW};
  const double xc[1] = {3.0}, xx[2] = {3.0, 0.0}, y[1] = {-0.5};
  const double slc[1] = {0.0}, suc[1] = {0.5}, slx[2] = {0.0, 1.0}, sux[2] = {0.0, 0.0};
  const double snx[2] = {0.0, 0.0};
  ASSERT_EQ(
      TVA_putsolution(task, TVA_SOL_BAS, skc, skx, nullptr, xc, xx, y, slc, suc, slx, sux, snx),
      TVA_RES_OK);
  ASSERT_EQ(TVA_clonetask(task, &clone), TVA_RES_OK);

  TVAint32t defined = 0;
  ASSERT_EQ(TVA_solutiondef(clone, TVA_SOL_BAS, &defined), TVA_RES_OK);
  EXPECT_TRUE(defined);
  TVAint32t prosta, solsta, cskc[1], cskx[2];
  double cxc[1], cxx[2], cy[1], cslc[1], csuc[1], cslx[2], csux[2], csnx[2];
  ASSERT_EQ(TVA_getsolution(clone, TVA_SOL_BAS, &prosta, &solsta, cskc, cskx, nullptr, cxc, cxx, cy,
                            cslc, csuc, cslx, csux, csnx),
            TVA_RES_OK);
  EXPECT_EQ(cskc[0], TVA_SK_UPR);
  EXPECT_EQ(cskx[0], TVA_SK_BAS);
  EXPECT_EQ(cskx[1], TVA_SK_LOW);
  EXPECT_EQ(cxx[0], 3.0);
  EXPECT_EQ(cy[0], -0.5);
  EXPECT_EQ(cslx[1], 1.0);

  TVA_deletetask(&clone);
  TVA_deletetask(&task);
  TVA_deleteenv(&env);
}

} // namespace
