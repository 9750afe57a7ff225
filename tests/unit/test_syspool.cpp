// The task thread pool: static and dynamic jobs cover every index once, the static partition
// gives each thread its own chunks, worker numbers match thread indices, and a pool of one
// thread starts no worker and takes no lock.
#include <gtest/gtest.h>

#include <vector>

#include "cpub/sysatomic.h"
#include "cpub/syspool.h"
#include "cpub/systhread.h"
#include "cpub/sysworker.h"

namespace {

using namespace telva;

struct Visits {
  int32 first = 0;
  std::vector<int32> count;  // per index: how often it was visited
  std::vector<int32> thread; // per index: the thread that visited it
  int32 bad_worker_id = 0;   // calls where sysworker_id() differed from the thread index
  int32 bad_range = 0;       // calls with an empty or reversed range
};

void visit(int32 t, int32 lo, int32 hi, void* arg) {
  Visits* v = static_cast<Visits*>(arg);
  if (sysworker_id() != t) sysatomic_add32(&v->bad_worker_id, 1);
  if (hi <= lo) sysatomic_add32(&v->bad_range, 1);
  for (int32 i = lo; i < hi; ++i) {
    sysatomic_add32(&v->count[i - v->first], 1);
    sysatomic_store32(&v->thread[i - v->first], t);
  }
}

class SysPool : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(sysenv_create(&sys_, 0, memman_default_hooks(), nullptr, nullptr), kSysOk);
  }
  void TearDown() override { EXPECT_EQ(sysenv_delete(&sys_), kSysOk); }

  TvaThreadPool* make(int32 n) {
    TvaThreadPool* pool = nullptr;
    int syserr = -1;
    EXPECT_EQ(syspool_create(sys_, &pool, n, &syserr), TVA_RES_OK);
    EXPECT_EQ(syserr, 0);
    return pool;
  }

  sysenv* sys_ = nullptr;
};

// Runs [first, first + len) and checks that every index was visited exactly once; in static
// mode also that index i went to the thread that owns its chunk.
void check_run(TvaThreadPool* pool, int32 mode, int32 chunk, int32 first, int32 len) {
  SCOPED_TRACE(::testing::Message() << "threads " << pool->num_threads << " mode " << mode
                                    << " chunk " << chunk << " first " << first << " len " << len);
  Visits v;
  v.first = first;
  v.count.assign(len, 0);
  v.thread.assign(len, -1);
  syspool_setup_job(pool, mode, chunk);
  ASSERT_EQ(syspool_run(pool, visit, &v, first, first + len), TVA_RES_OK);
  EXPECT_EQ(v.bad_worker_id, 0);
  EXPECT_EQ(v.bad_range, 0);
  int32 wrong_count = 0, wrong_owner = 0;
  int32 n = pool->num_threads;
  for (int32 i = 0; i < len; ++i) {
    if (v.count[i] != 1) ++wrong_count;
    if (mode == kPoolStatic && v.thread[i] != (i / pool->job.chunk) % n) ++wrong_owner;
  }
  EXPECT_EQ(wrong_count, 0);
  EXPECT_EQ(wrong_owner, 0);
}

TEST_F(SysPool, EveryIndexOnceInBothModes) {
  const int32 lengths[] = {0, 1, 2, 7, 100, 1003};
  const int32 chunks[] = {0, 1, 3, 64, 5000};
  const int32 firsts[] = {0, 5, -17};
  for (int32 threads : {1, 2, 3, 4}) {
    TvaThreadPool* pool = make(threads);
    ASSERT_NE(pool, nullptr);
    ASSERT_EQ(syspool_num_threads(pool), threads);
    // Half of the runs with spinning workers, half with workers that sleep at once.
    syspool_set_spin_count(pool, threads % 2 ? 2000 : 0);
    for (int32 mode : {kPoolStatic, kPoolDynamic})
      for (int32 chunk : chunks)
        for (int32 first : firsts)
          for (int32 len : lengths)
            check_run(pool, mode, chunk, first, len);
    syspool_delete(&pool);
    EXPECT_EQ(pool, nullptr);
  }
}

TEST_F(SysPool, RangeAtTheEndOfInt32) {
  // Chunk positions past the last index must not wrap around.
  TvaThreadPool* pool = make(3);
  ASSERT_NE(pool, nullptr);
  check_run(pool, kPoolStatic, 1000, INT32_MAX - 2500, 2500);
  check_run(pool, kPoolDynamic, 7, INT32_MAX - 100, 100);
  syspool_delete(&pool);
}

TEST_F(SysPool, OneThreadHasNoWorkerAndTakesNoLock) {
  TvaThreadPool* pool = make(1);
  ASSERT_NE(pool, nullptr);
  EXPECT_EQ(pool->threads, nullptr);
  EXPECT_EQ(pool->workers_started, 0);
  check_run(pool, kPoolStatic, 0, 0, 50);
  check_run(pool, kPoolDynamic, 4, 0, 50);
  EXPECT_EQ(pool->locks_taken.load(), 0);
  syspool_delete(&pool);

  // Below one counts as one.
  pool = make(0);
  ASSERT_NE(pool, nullptr);
  EXPECT_EQ(syspool_num_threads(pool), 1);
  EXPECT_EQ(pool->workers_started, 0);
  syspool_delete(&pool);

  // A pool of several threads does take its locks: the counter above means something.
  pool = make(2);
  ASSERT_NE(pool, nullptr);
  EXPECT_EQ(pool->workers_started, 1);
  check_run(pool, kPoolDynamic, 4, 0, 50);
  EXPECT_GT(pool->locks_taken.load(), 0);
  syspool_delete(&pool);
}

TEST_F(SysPool, SpinCountComesFromTheSysenvAndCanChange) {
  sysenv_set_spin_count(sys_, 777);
  TvaThreadPool* pool = make(2);
  ASSERT_NE(pool, nullptr);
  EXPECT_EQ(syspool_spin_count(pool), 777);
  syspool_set_spin_count(pool, -5);
  EXPECT_EQ(syspool_spin_count(pool), 0);
  syspool_delete(&pool);
}

TEST_F(SysPool, CallerKeepsItsWorkerNumber) {
  TvaThreadPool* pool = make(2);
  ASSERT_NE(pool, nullptr);
  sysworker_set_id(7);
  check_run(pool, kPoolStatic, 0, 0, 10);
  EXPECT_EQ(sysworker_id(), 7);
  sysworker_set_id(0);
  syspool_delete(&pool);
}

void* store_argument(void* arg) {
  sysatomic_store32(static_cast<int32*>(arg), 42);
  return nullptr;
}

TEST(SysThread, CreateJoinAndFailure) {
  int32 word = 0;
  systhread th;
  ASSERT_EQ(systhread_create(&th, 1 << 20, store_argument, &word), 0);
  EXPECT_EQ(systhread_join(&th), 0);
  EXPECT_EQ(word, 42);
  // A stack larger than the address space can't be had: the system's code comes back.
  EXPECT_NE(systhread_create(&th, static_cast<size_t>(1) << 52, store_argument, &word), 0);
}

} // namespace
