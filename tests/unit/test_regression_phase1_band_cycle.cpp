// Regression: the primal's phase one cycled between two bases forever on d6cube (and on the
// clean-up of the dual on qap12). Basic variables sitting within the feasibility tolerance
// beyond a bound count as feasible, but the ratio tests let a step push them further out (the
// Harris margin was measured from their value, not from the bound), so they left the band and
// the measured sum of infeasibilities jumped up by more than the step took off: 2.1e-6 ->
// 2.4e-6 -> 2.1e-6, the same two columns entering and leaving the same row. The margin now
// counts from the bound, and phase one's long step stops at such a variable instead of passing
// it. The free pricing choice took plain partial pricing on wide problems like d6cube
// (240,000 iterations); it now scores the sections with devex weights (about 11,000).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>

#include "telva.h"
#include "test_data.h"

namespace {

std::string d6cube_path() {
  return testdata::path("netlib/d6cube.mps.gz");
}

// The primal simplex on d6cube with the given pricing and an iteration limit far above what a
// run without the cycle needs; answers the solution status, the objective in *obj.
int32_t solve_d6cube(int32_t selection, double* obj) {
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  EXPECT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
  EXPECT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
  TVA_putintparam(task, TVA_IPAR_LOG, 0);
  TVA_putintparam(task, TVA_IPAR_OPTIMIZER, TVA_OPTIMIZER_PRIMAL_SIMPLEX);
  TVA_putintparam(task, TVA_IPAR_SIM_PRIMAL_SELECTION, selection);
  TVA_putintparam(task, TVA_IPAR_SIM_MAX_ITERATIONS, 60000);
  int32_t solsta = -1;
  if (TVA_readdata(task, d6cube_path().c_str()) == TVA_RES_OK) {
    TVArescode trm = -1;
    EXPECT_EQ(TVA_optimizetrm(task, &trm), TVA_RES_OK);
    EXPECT_EQ(trm, TVA_RES_OK);
    TVA_getsolsta(task, TVA_SOL_BAS, &solsta);
    TVA_getprimalobj(task, TVA_SOL_BAS, obj);
  }
  TVA_deletetask(&task);
  TVA_deleteenv(&env);
  return solsta;
}

TEST(RegressionPhaseOneBandCycle, D6cubeSolvesWithSteepestEdgeAndTheFreeChoice) {
  ASSERT_TRUE(testdata::readable(d6cube_path()));
  for (int32_t selection : {TVA_SIM_SELECTION_SE, TVA_SIM_SELECTION_FREE}) {
    SCOPED_TRACE(selection);
    double obj = 0.0;
    ASSERT_EQ(solve_d6cube(selection, &obj), TVA_SOL_STA_OPTIMAL);
    EXPECT_NEAR(obj, 3.1549166667e+02, 1e-8 * 315.5);
  }
}

} // namespace
