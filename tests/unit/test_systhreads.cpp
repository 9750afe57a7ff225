// The thread-count decision of an environment and the parallel-for runtime.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "cpub/sysatomic.h"
#include "cpub/syspool.h"
#include "cpub/sysparfor.h"
#include "cpub/sysworker.h"
#include "telva.h"
#include "telva/task/task.h"
#include "telva/task/threads.h"

namespace {

using namespace telva;

// An environment whose sysenv pretends to have `cores` processors, with one task.
class ThreadDecision : public ::testing::Test {
protected:
  void make(int32 cores) {
    ASSERT_EQ(TVA_makeenv(&env_, nullptr), TVA_RES_OK);
    sysenv_set_num_cores(env_->sys, cores);
    ASSERT_EQ(TVA_makeemptytask(env_, &task_), TVA_RES_OK);
  }
  void TearDown() override {
    EXPECT_EQ(TVA_deletetask(&task_), TVA_RES_OK);
    EXPECT_EQ(TVA_deleteenv(&env_), TVA_RES_OK);
  }
  int32 decide(int32 requested, bool pool = true) {
    int32 n = -1;
    EXPECT_EQ(threads_decide(env_, task_, requested, false, pool, false, &n), TVA_RES_OK);
    return n;
  }
  TVAenv_t env_ = nullptr;
  TVAtask_t task_ = nullptr;
};

TEST_F(ThreadDecision, ZeroMeansOnePerCore) {
  make(4);
  EXPECT_EQ(decide(0), 4);
  EXPECT_EQ(env_->numthreads, 4);
  ASSERT_NE(task_->pool, nullptr);
  EXPECT_EQ(syspool_num_threads(task_->pool), 4);
  EXPECT_EQ(task_->pool->workers_started, 3);
}

TEST_F(ThreadDecision, RequestAboveCoresIsCut) {
  make(3);
  EXPECT_EQ(decide(8), 3);
  EXPECT_EQ(syspool_num_threads(task_->pool), 3);
}

TEST_F(ThreadDecision, FirstDecisionStands) {
  make(4);
  EXPECT_EQ(decide(2), 2);
  TvaThreadPool* first_pool = task_->pool;
  EXPECT_EQ(decide(4), 2);
  EXPECT_EQ(decide(0), 2);
  EXPECT_EQ(task_->pool, first_pool); // a pool of the right size stays

  // A second task of the same environment gets the same number.
  TVAtask_t other = nullptr;
  ASSERT_EQ(TVA_makeemptytask(env_, &other), TVA_RES_OK);
  int32 n = -1;
  EXPECT_EQ(threads_decide(env_, other, 1, false, true, false, &n), TVA_RES_OK);
  EXPECT_EQ(n, 2);
  EXPECT_EQ(syspool_num_threads(other->pool), 2);
  EXPECT_EQ(TVA_deletetask(&other), TVA_RES_OK); // takes its pool with it
}

TEST_F(ThreadDecision, FixedCountAtEnvironmentLevel) {
  make(4);
  env_->numthreads = -3; // asked for at environment level: the request doesn't count
  EXPECT_EQ(decide(1), 3);
  TVAenv_t env2 = nullptr;
  ASSERT_EQ(TVA_makeenv(&env2, nullptr), TVA_RES_OK);
  sysenv_set_num_cores(env2->sys, 2);
  env2->numthreads = -6; // still cut at the cores
  int32 n = -1;
  EXPECT_EQ(threads_decide(env2, nullptr, 1, false, false, false, &n), TVA_RES_OK);
  EXPECT_EQ(n, 2);
  EXPECT_EQ(TVA_deleteenv(&env2), TVA_RES_OK);
}

TEST_F(ThreadDecision, PoolOfAnotherSizeIsRemadeWithTheSpinCount) {
  make(4);
  EXPECT_EQ(decide(2), 2);
  EXPECT_EQ(syspool_num_threads(task_->pool), 2);
  // Another decision stands (as in a second environment sharing this task's pool slot).
  env_->numthreads = 3;
  sysenv_set_spin_count(task_->sys, 1234);
  EXPECT_EQ(decide(0), 3);
  EXPECT_EQ(syspool_num_threads(task_->pool), 3);
  EXPECT_EQ(syspool_spin_count(task_->pool), 1234);
  // The spin count follows the sysenv at each decision, also for a pool that stays.
  sysenv_set_spin_count(task_->sys, 0);
  EXPECT_EQ(decide(0), 3);
  EXPECT_EQ(syspool_spin_count(task_->pool), 0);
}

TEST_F(ThreadDecision, WithoutPoolNoneIsMadeAndRuntimeGetsTheCount) {
  make(3);
  int32 before = sysparfor_get_nworkers();
  int32 n = -1;
  EXPECT_EQ(threads_decide(env_, task_, 0, true, false, true, &n), TVA_RES_OK);
  EXPECT_EQ(n, 3);
  EXPECT_EQ(task_->pool, nullptr);
  EXPECT_EQ(sysparfor_get_nworkers(), 3);
  EXPECT_EQ(sysparfor_set_param("nworkers", std::to_string(before).c_str()), 0);
}

TEST_F(ThreadDecision, PoolRunsOnTheDecidedThreads) {
  make(2);
  EXPECT_EQ(decide(0), 2);
  std::vector<int32> hits(200, 0);
  syspool_setup_job(task_->pool, kPoolDynamic, 5);
  ASSERT_EQ(syspool_run(
                task_->pool,
                [](int32, int32 lo, int32 hi, void* a) {
                  int32* h = static_cast<int32*>(a);
                  for (int32 i = lo; i < hi; ++i)
                    sysatomic_add32(&h[i], 1);
                },
                hits.data(), 0, 200),
            TVA_RES_OK);
  for (int32 i = 0; i < 200; ++i)
    ASSERT_EQ(hits[i], 1) << i;
}

// ---- parallel-for ----

struct ParForRecord {
  std::vector<int32> count;
  int32 first = 0;
  int32 bad_worker = 0;
  int32 nworkers = 1;
  int32 max_worker = -1;
};

void record(int32 i, void* a) {
  ParForRecord* r = static_cast<ParForRecord*>(a);
  sysatomic_add32(&r->count[i - r->first], 1);
  int32 w = sysworker_id();
  if (w < 0 || w >= r->nworkers) sysatomic_add32(&r->bad_worker, 1);
  int32 seen = sysatomic_load32(&r->max_worker);
  while (w > seen && !sysatomic_cas32(&r->max_worker, seen, w))
    seen = sysatomic_load32(&r->max_worker);
}

class ParFor : public ::testing::Test {
protected:
  void SetUp() override { saved_ = sysparfor_get_nworkers(); }
  void TearDown() override {
    EXPECT_EQ(sysparfor_set_param("nworkers", std::to_string(saved_).c_str()), 0);
  }
  int32 saved_ = 1;
};

TEST_F(ParFor, NumberOfPieces) {
  EXPECT_EQ(sysparfor_num_pieces(0, 10, 3), 4);
  EXPECT_EQ(sysparfor_num_pieces(0, 9, 3), 3);
  EXPECT_EQ(sysparfor_num_pieces(5, 6, 100), 1);
  EXPECT_EQ(sysparfor_num_pieces(5, 5, 1), 0);
  EXPECT_EQ(sysparfor_num_pieces(7, 3, 1), 0);
  EXPECT_EQ(sysparfor_num_pieces(0, 10, 0), 10);
  // 2^32 - 1 indices in pieces of 2^31 - 1: two full pieces and one of a single index.
  EXPECT_EQ(sysparfor_num_pieces(INT32_MIN, INT32_MAX, INT32_MAX), 3);
}

TEST_F(ParFor, EveryIndexOnceWithWorkersInRange) {
  for (int32 workers : {1, 2, 3, 5}) {
    ASSERT_EQ(sysparfor_set_param("nworkers", std::to_string(workers).c_str()), 0);
    EXPECT_EQ(sysparfor_get_nworkers(), workers);
    for (int32 grain : {0, 1, 4, 1000})
      for (int32 first : {0, -40})
        for (int32 len : {0, 1, 9, 777}) {
          SCOPED_TRACE(::testing::Message() << workers << " workers, grain " << grain << ", ["
                                            << first << ", +" << len << ")");
          ParForRecord r;
          r.count.assign(len, 0);
          r.first = first;
          r.nworkers = workers;
          sysparfor(1, first, first + len, grain, record, &r);
          int32 wrong = 0;
          for (int32 c : r.count)
            wrong += c != 1;
          EXPECT_EQ(wrong, 0);
          EXPECT_EQ(r.bad_worker, 0);
        }
  }
}

TEST_F(ParFor, SerialPathStaysOnTheCaller) {
  ASSERT_EQ(sysparfor_set_param("nworkers", "4"), 0);
  std::thread::id caller = std::this_thread::get_id();
  int32 elsewhere = 0, visits = 0;
  sysparfor_each(0, 0, 500, 1, [&](int32) {
    if (std::this_thread::get_id() != caller) ++elsewhere;
    if (sysworker_id() != 0) ++elsewhere;
    ++visits;
  });
  EXPECT_EQ(visits, 500);
  EXPECT_EQ(elsewhere, 0);
}

TEST_F(ParFor, NestedLoopsRunOnTheirWorker) {
  ASSERT_EQ(sysparfor_set_param("nworkers", "3"), 0);
  std::vector<int32> cells(40 * 30, 0);
  int32 moved = 0;
  sysparfor_each(1, 0, 40, 1, [&](int32 i) {
    int32 outer = sysworker_id();
    // A loop inside a body runs on the body's thread, with the body's worker number.
    sysparfor_each(1, 0, 30, 2, [&](int32 j) {
      if (sysworker_id() != outer) sysatomic_add32(&moved, 1);
      sysatomic_add32(&cells[i * 30 + j], 1);
    });
    // The runtime can't change under a running loop.
    EXPECT_EQ(sysparfor_set_param("nworkers", "2"), 3);
  });
  EXPECT_EQ(moved, 0);
  for (int32 c : cells)
    ASSERT_EQ(c, 1);
  EXPECT_EQ(sysparfor_get_nworkers(), 3);
}

TEST_F(ParFor, ParametersAreChecked) {
  EXPECT_EQ(sysparfor_set_param("workers", "2"), 1);
  EXPECT_EQ(sysparfor_set_param(nullptr, "2"), 1);
  EXPECT_EQ(sysparfor_set_param("nworkers", ""), 2);
  EXPECT_EQ(sysparfor_set_param("nworkers", "0"), 2);
  EXPECT_EQ(sysparfor_set_param("nworkers", "2x"), 2);
  EXPECT_EQ(sysparfor_set_param("nworkers", "513"), 2);
  EXPECT_EQ(sysparfor_get_nworkers(), saved_);
}

} // namespace
