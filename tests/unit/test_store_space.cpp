// Out of memory inside store operations: with an allocator that refuses after a given number
// of allocations, every operation either succeeds or fails with TVA_RES_ERR_SPACE and leaves
// the store exactly as it was.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <vector>

#include "budget_alloc.h"
#include "store_snapshot.h"
#include "telva.h"

using namespace telva;

namespace {

using budget_alloc::g_budget;

class StoreSpace : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(budget_alloc::make_env(&env), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
    ASSERT_EQ(TVA_appendcons(task, 4), TVA_RES_OK);
    ASSERT_EQ(TVA_appendvars(task, 6), TVA_RES_OK);
    for (int32 j = 0; j < 6; ++j)
      ASSERT_EQ(TVA_putaij(task, j % 4, j, 1.0 + j), TVA_RES_OK);
    int32 qi[] = {1, 2}, qj[] = {0, 2};
    double qv[] = {1.0, 2.0};
    ASSERT_EQ(TVA_putqobj(task, 2, qi, qj, qv), TVA_RES_OK);
    ASSERT_EQ(TVA_putqconk(task, 1, 2, qi, qj, qv), TVA_RES_OK);
    int32 mem[] = {0, 1};
    ASSERT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 2, mem), TVA_RES_OK);
    int32 dim = 2;
    ASSERT_EQ(TVA_appendbarvars(task, 1, &dim), TVA_RES_OK);
  }
  void TearDown() override {
    g_budget = -1;
    EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
    EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  }
  // Runs op with 0, 1, 2, ... allocations allowed until it succeeds; every failure before must
  // be TVA_RES_ERR_SPACE with the store unchanged.
  void exhaust(const char* what, const std::function<TVArescode()>& op) {
    for (long budget = 0; budget < 200; ++budget) {
      storetest::Snapshot before = storetest::snapshot(task);
      g_budget = budget;
      TVArescode r = op();
      g_budget = -1;
      if (r == TVA_RES_OK) return;
      ASSERT_EQ(r, TVA_RES_ERR_SPACE) << what << " with " << budget << " allocations";
      ASSERT_TRUE(storetest::snapshot(task) == before) << what << " changed the store";
      storetest::check_invariants(task);
    }
    FAIL() << what << " never succeeded";
  }
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
};

TEST_F(StoreSpace, EveryOperationFailsCleanly) {
  exhaust("appendvars", [&] { return TVA_appendvars(task, 100); });
  exhaust("appendcons", [&] { return TVA_appendcons(task, 100); });
  exhaust("putmaxnumvar", [&] { return TVA_putmaxnumvar(task, 5000); });
  std::vector<int32> li(3000), lj(3000);
  std::vector<double> lv(3000, 2.0);
  for (int32 t = 0; t < 3000; ++t) {
    li[t] = t % 104;
    lj[t] = (7 * t) % 106;
  }
  exhaust("putaijlist",
          [&] { return store_putaijlist(task, 3000, li.data(), lj.data(), lv.data()); });
  exhaust("commit", [&] { return TVA_commitchanges(task); });
  int64 pb[] = {0}, pe[] = {3};
  int32 sub[] = {3, 0, 2};
  double val[] = {1.0, 2.0, 3.0};
  exhaust("putacol", [&] { return store_putavecs(task, true, 1, nullptr, 2, pb, pe, sub, val); });
  exhaust("putarow", [&] { return store_putavecs(task, false, 1, nullptr, 2, pb, pe, sub, val); });
  int32 qi[] = {5, 4, 3, 3}, qj[] = {0, 1, 2, 3};
  double qv[] = {1.0, 2.0, 3.0, 4.0};
  exhaust("putqobj", [&] { return TVA_putqobj(task, 4, qi, qj, qv); });
  exhaust("putqconk", [&] { return TVA_putqconk(task, 3, 4, qi, qj, qv); });
  int32 qk[] = {0, 1, 2, 3};
  exhaust("putqcon", [&] { return TVA_putqcon(task, 4, qk, qi, qj, qv); });
  exhaust("putqobjij", [&] { return TVA_putqobjij(task, 9, 8, 1.0); });
  exhaust("putmaxnumqnz", [&] { return TVA_putmaxnumqnz(task, 1000); });
  exhaust("appendconeseq", [&] { return TVA_appendconeseq(task, TVA_CT_QUAD, 0.0, 50, 20); });
  int32 mem[] = {0, 1, 2, 3, 4, 5};
  exhaust("putcone", [&] { return TVA_putcone(task, 0, TVA_CT_QUAD, 0.0, 6, mem); });
  int32 si[] = {0, 1}, sj[] = {0, 0};
  double sv[] = {1.0, 2.0};
  int64 idx = -1;
  exhaust("symmat", [&] { return TVA_appendsparsesymmat(task, 2, 2, si, sj, sv, &idx); });
  double w = 1.0;
  exhaust("barcj", [&] { return TVA_putbarcj(task, 0, 1, &idx, &w); });
  exhaust("baraij", [&] { return TVA_putbaraij(task, 3, 0, 1, &idx, &w); });
  int32 dims[] = {3, 3, 3};
  exhaust("barvars", [&] { return TVA_appendbarvars(task, 3, dims); });
  int32 gone[] = {1, 3};
  exhaust("removecons", [&] { return TVA_removecons(task, 2, gone); });
  exhaust("removebarvars", [&] { return TVA_removebarvars(task, 2, gone); });
  exhaust("removevars", [&] { return TVA_removevars(task, 1, gone + 1); });
  exhaust("names", [&] { return store_putname(task, kNameVar, 2, "a_rather_long_name"); });
}

} // namespace
