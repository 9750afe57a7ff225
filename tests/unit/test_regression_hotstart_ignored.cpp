// Regression: TVA_IPAR_SIM_HOTSTART never reached the simplex engine, so every solve started
// from the slack basis. A re-solve of an unchanged problem from its optimal basis must now
// take fewer iterations than the cold solve and end at the same optimum; with the parameter
// at none it starts cold again.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>

#include "telva.h"
#include "test_data.h"

namespace {

TEST(HotstartIgnored, OptimalBasisRestartsWithoutWork) {
  std::string path = testdata::path("netlib/share2b.mps.gz");
  ASSERT_TRUE(testdata::readable(path));
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
  ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
  TVA_putintparam(task, TVA_IPAR_LOG, 0);
  TVA_putintparam(task, TVA_IPAR_READ_MPS_FORMAT, TVA_MPS_FORMAT_STRICT);
  TVA_putintparam(task, TVA_IPAR_OPTIMIZER, TVA_OPTIMIZER_PRIMAL_SIMPLEX);
  ASSERT_EQ(TVA_readdata(task, path.c_str()), TVA_RES_OK);
  int32_t iters[3] = {0, 0, 0};
  double objs[3] = {0, 0, 0};
  const int32_t modes[3] = {TVA_SIM_HOTSTART_NONE, TVA_SIM_HOTSTART_STATUS_KEYS,
                            TVA_SIM_HOTSTART_NONE};
  for (int k = 0; k < 3; ++k) {
    TVA_putintparam(task, TVA_IPAR_SIM_HOTSTART, modes[k]);
    TVArescode trm = -1;
    ASSERT_EQ(TVA_optimizetrm(task, &trm), TVA_RES_OK);
    int32_t solsta = -1;
    TVA_getsolsta(task, TVA_SOL_BAS, &solsta);
    EXPECT_EQ(solsta, TVA_SOL_STA_OPTIMAL);
    TVA_getintinf(task, TVA_IINF_SIM_PRIMAL_ITER, &iters[k]);
    TVA_getprimalobj(task, TVA_SOL_BAS, &objs[k]);
  }
  EXPECT_GT(iters[0], 0);
  EXPECT_LT(iters[1], iters[0]); // the start was the optimal basis
  EXPECT_EQ(iters[2], iters[0]); // cold again: the same deterministic path
  EXPECT_NEAR(objs[1], objs[0], 1e-9 * std::abs(objs[0]));
  EXPECT_NEAR(objs[2], objs[0], 1e-9 * std::abs(objs[0]));
  TVA_deletetask(&task);
  TVA_deleteenv(&env);
}

} // namespace
