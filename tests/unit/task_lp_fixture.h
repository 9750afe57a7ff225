// A task with a random feasible LP put in through the public interface, solved by the
// simplex chain, for the tests of what the driver does around the simplex.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "telva.h"

namespace lptask {

using int32 = TVAint32t;
using Dense = std::vector<double>; // column-major

struct TaskLp : ::testing::Test {
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  int32 m = 0, n = 0;
  Dense a; // A, m x n column-major

  void SetUp() override {
    ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
  }
  void TearDown() override {
    TVA_deletetask(&task);
    TVA_deleteenv(&env);
  }

  // A random feasible LP: sparse A, boxed and free variables, ranged, loose and equality rows
  // around the activity of a point inside the boxes, so that the optimum has a mixed basis.
  void random_lp(int32 rows, int32 cols, unsigned seed) {
    m = rows, n = cols;
    a.assign(static_cast<size_t>(m) * n, 0.0);
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::uniform_int_distribution<int32> pick(0, m - 1);
    ASSERT_EQ(TVA_appendcons(task, m), TVA_RES_OK);
    ASSERT_EQ(TVA_appendvars(task, n), TVA_RES_OK);
    std::vector<double> x0(n);
    for (int32 j = 0; j < n; ++j) {
      std::vector<int32> sub;
      std::vector<double> val;
      for (int32 t = 0; t < 3; ++t) {
        int32 i = pick(rng);
        if (std::find(sub.begin(), sub.end(), i) != sub.end()) continue;
        sub.push_back(i), val.push_back(u(rng) * 4.0);
        a[static_cast<size_t>(j) * m + i] = val.back();
      }
      ASSERT_EQ(TVA_putacol(task, j, (int32)sub.size(), sub.data(), val.data()), TVA_RES_OK);
      ASSERT_EQ(TVA_putcj(task, j, u(rng)), TVA_RES_OK);
      if (j % 7 == 3) {
        ASSERT_EQ(TVA_putvarbound(task, j, TVA_BK_FR, -TVA_INFINITY, TVA_INFINITY), TVA_RES_OK);
        x0[j] = 0.0;
      } else {
        ASSERT_EQ(TVA_putvarbound(task, j, TVA_BK_RA, 0.0, 5.0), TVA_RES_OK);
        x0[j] = 2.5 + u(rng);
      }
    }
    for (int32 i = 0; i < m; ++i) {
      double act = 0.0;
      for (int32 j = 0; j < n; ++j)
        act += a[static_cast<size_t>(j) * m + i] * x0[j];
      if (i % 3 == 0)
        ASSERT_EQ(TVA_putconbound(task, i, TVA_BK_FX, act, act), TVA_RES_OK);
      else if (i % 3 == 1)
        ASSERT_EQ(TVA_putconbound(task, i, TVA_BK_RA, act - 1.0, act + 0.5), TVA_RES_OK);
      else // loose: its logical stays basic
        ASSERT_EQ(TVA_putconbound(task, i, TVA_BK_UP, -TVA_INFINITY, act + 50.0), TVA_RES_OK);
    }
  }

  void solve_optimal() {
    ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_OPTIMIZER, TVA_OPTIMIZER_PRIMAL_SIMPLEX), TVA_RES_OK);
    ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG, 0), TVA_RES_OK);
    ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
    int32 solsta = -1;
    ASSERT_EQ(TVA_getsolsta(task, TVA_SOL_BAS, &solsta), TVA_RES_OK);
    ASSERT_EQ(solsta, TVA_SOL_STA_OPTIMAL);
  }
};

} // namespace lptask
