// Out of memory inside the put and get families, names and the clone: with an allocator that
// refuses after a given number of allocations, a call either succeeds or fails with
// TVA_RES_ERR_SPACE, and the task it was called on is exactly as it was.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>

#include "budget_alloc.h"
#include "store_snapshot.h"
#include "telva.h"

namespace {

using budget_alloc::g_budget;

class PutGetSpace : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(budget_alloc::make_env(&env), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
    ASSERT_EQ(TVA_appendcons(task, 3), TVA_RES_OK);
    ASSERT_EQ(TVA_appendvars(task, 5), TVA_RES_OK);
    for (int j = 0; j < 5; ++j)
      ASSERT_EQ(TVA_putaij(task, j % 3, j, 1.0 + j), TVA_RES_OK);
    int qi[] = {1, 2}, qj[] = {0, 2};
    double qv[] = {1.0, 2.0};
    ASSERT_EQ(TVA_putqobj(task, 2, qi, qj, qv), TVA_RES_OK);
    ASSERT_EQ(TVA_putqconk(task, 1, 2, qi, qj, qv), TVA_RES_OK);
    int mem[] = {0, 1};
    ASSERT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 2, mem), TVA_RES_OK);
    int dim = 2;
    ASSERT_EQ(TVA_appendbarvars(task, 1, &dim), TVA_RES_OK);
    int si[] = {0, 1}, sj[] = {0, 1};
    double sv[] = {1.0, 2.0};
    TVAint64t idx;
    ASSERT_EQ(TVA_appendsparsesymmat(task, 2, 2, si, sj, sv, &idx), TVA_RES_OK);
    double w = 2.0;
    ASSERT_EQ(TVA_putbarcj(task, 0, 1, &idx, &w), TVA_RES_OK);
    for (int j = 0; j < 5; ++j)
      ASSERT_EQ(TVA_putvarname(task, j, ("v" + std::to_string(j)).c_str()), TVA_RES_OK);
    ASSERT_EQ(TVA_putobjname(task, "obj"), TVA_RES_OK);
  }
  void TearDown() override {
    g_budget = -1;
    storetest::check_invariants(task);
    EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
    EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  }
  // Runs op with budgets 0, 1, 2, ... until it succeeds; every failure must be the space code
  // and leave the store as it was. undo restores the state after a success (not counted).
  void each_budget(const std::function<TVArescode()>& op, const char* what) {
    for (long b = 0; b < 400; ++b) {
      storetest::Snapshot before = storetest::snapshot(task);
      g_budget = b;
      TVArescode r = op();
      g_budget = -1;
      if (r == TVA_RES_OK) return;
      ASSERT_EQ(r, TVA_RES_ERR_SPACE) << what << " with budget " << b;
      ASSERT_TRUE(storetest::snapshot(task) == before) << what << " with budget " << b;
    }
    FAIL() << what << " never succeeded";
  }
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
};

TEST_F(PutGetSpace, NamesLookupsAndTheirGrowth) {
  each_budget([&] { return TVA_putvarname(task, 2, std::string(300, 'n').c_str()); },
              "a long name without a map");
  int asgn, index;
  each_budget([&] { return TVA_getvarnameindex(task, "v3", &asgn, &index); }, "making the map");
  EXPECT_EQ(index, 3);
  each_budget([&] { return TVA_putvarname(task, 4, std::string(900, 'm').c_str()); },
              "a long name with the map");
  EXPECT_EQ(TVA_getvarnameindex(task, std::string(900, 'm').c_str(), &asgn, &index), TVA_RES_OK);
  EXPECT_EQ(index, 4);
  each_budget([&] { return TVA_putobjname(task, std::string(500, 'o').c_str()); },
              "the objective's name");
}

TEST_F(PutGetSpace, ListsAndSlices) {
  int ptrb[] = {0, 1}, ptre[] = {1, 3}, asub[] = {2, 0, 1};
  double aval[] = {5.0, 6.0, 7.0};
  each_budget([&] { return TVA_putacolslice(task, 1, 3, ptrb, ptre, asub, aval); },
              "a column slice");
  int sub[] = {2, 0};
  each_budget([&] { return TVA_putarowlist(task, 2, sub, ptrb, ptre, asub, aval); }, "a row list");
  int n = -1;
  each_budget([&] { return TVA_getapiecenumnz(task, 0, 3, 0, 5, &n); }, "a piece count");
}

TEST_F(PutGetSpace, CloneLeavesTheSourceAsItWas) {
  TVAtask_t clone = nullptr;
  // The last allocation a clone needs is taken after the new task stands: failing there is
  // reported on the clone, and the source keeps the failure as its last response.
  long needed = -1;
  for (long b = 0; b < 400 && needed < 0; ++b) {
    g_budget = b;
    TVArescode r = TVA_clonetask(task, &clone);
    g_budget = -1;
    if (r == TVA_RES_OK) {
      needed = b;
      EXPECT_EQ(TVA_deletetask(&clone), TVA_RES_OK);
    }
  }
  ASSERT_GT(needed, 0);
  g_budget = needed - 1;
  EXPECT_EQ(TVA_clonetask(task, &clone), TVA_RES_ERR_SPACE);
  g_budget = -1;
  TVArescode last = -1;
  int len = 0;
  char msg[256];
  EXPECT_EQ(TVA_getlasterror(task, &last, sizeof msg, &len, msg), TVA_RES_OK);
  EXPECT_EQ(last, TVA_RES_ERR_SPACE);
  each_budget([&] { return TVA_clonetask(task, &clone); }, "clone");
  ASSERT_NE(clone, nullptr);
  EXPECT_TRUE(storetest::snapshot(clone) == storetest::snapshot(task));
  EXPECT_EQ(TVA_deletetask(&clone), TVA_RES_OK);
}

} // namespace
