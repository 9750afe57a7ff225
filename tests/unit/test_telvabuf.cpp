// The task's scratch lists: reuse by size and kind, zeroing on reuse, trimming, failure and
// release at task deletion.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "telva/task/telvabuf.h"

using namespace telva;

namespace {

class TaskScratch : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
  }
  void TearDown() override {
    EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
    EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  }
  int64 use() {
    TVAint64t cur, max;
    TVA_getmemusagetask(task, &cur, &max);
    return cur;
  }
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
};

TEST_F(TaskScratch, FreedBlockOfEnoughSizeIsReused) {
  double* x = nullptr;
  ASSERT_EQ(TVA_TASKBUF_GET(task, 10, &x), TVA_RES_OK);
  ASSERT_NE(x, nullptr);
  double* first = x;
  TVA_TASKBUF_PUT(task, &x);
  EXPECT_EQ(x, nullptr);
  int64 before = use();
  ASSERT_EQ(TVA_TASKBUF_GET(task, 8, &x), TVA_RES_OK);
  EXPECT_EQ(x, first);
  EXPECT_EQ(use(), before);
  double* y = nullptr;
  ASSERT_EQ(TVA_TASKBUF_GET(task, 11, &y), TVA_RES_OK); // larger than any free block
  EXPECT_NE(y, first);
  EXPECT_GT(use(), before);
  // Another element size has its own list.
  int32* k = nullptr;
  TVA_TASKBUF_PUT(task, &x);
  ASSERT_EQ(TVA_TASKBUF_GET(task, 4, &k), TVA_RES_OK);
  EXPECT_NE(static_cast<void*>(k), static_cast<void*>(first));
  TVA_TASKBUF_PUT(task, &k);
  TVA_TASKBUF_PUT(task, &y);
  EXPECT_EQ(telvabuf_num_in_use(task, false), 0);
}

TEST_F(TaskScratch, SmallestFittingBlockIsTaken) {
  int64* a = nullptr;
  int64* b = nullptr;
  int64* c = nullptr;
  TVA_TASKBUF_GET(task, 30, &a);
  TVA_TASKBUF_GET(task, 10, &b);
  TVA_TASKBUF_GET(task, 20, &c);
  int64* want = c;
  TVA_TASKBUF_PUT(task, &a);
  TVA_TASKBUF_PUT(task, &b);
  TVA_TASKBUF_PUT(task, &c);
  int64* p = nullptr;
  ASSERT_EQ(TVA_TASKBUF_GET(task, 15, &p), TVA_RES_OK);
  EXPECT_EQ(p, want);
  TVA_TASKBUF_PUT(task, &p);
}

TEST_F(TaskScratch, ClearedBlocksAreZeroedAgain) {
  double* z = nullptr;
  ASSERT_EQ(TVA_TASKBUF_GETZ(task, 50, &z), TVA_RES_OK);
  for (int i = 0; i < 50; ++i)
    ASSERT_EQ(z[i], 0.0);
  for (int i = 0; i < 50; ++i)
    z[i] = i + 1.5;
  double* first = z;
  TVA_TASKBUF_PUT(task, &z);
  // An uncleared request does not take the cleared block ...
  double* u = nullptr;
  ASSERT_EQ(TVA_TASKBUF_GET(task, 50, &u), TVA_RES_OK);
  EXPECT_NE(u, first);
  // ... and a cleared one gets it back zeroed.
  ASSERT_EQ(TVA_TASKBUF_GETZ(task, 40, &z), TVA_RES_OK);
  EXPECT_EQ(z, first);
  for (int i = 0; i < 40; ++i)
    ASSERT_EQ(z[i], 0.0) << i;
  TVA_TASKBUF_PUT(task, &z);
  TVA_TASKBUF_PUT(task, &u);
}

TEST_F(TaskScratch, EmptyRequestsGiveNullAndNoFailure) {
  void* p = reinterpret_cast<void*>(1);
  EXPECT_EQ(telvabuf_get(TVA_HERE, task, 0, 8, 1, &p), TVA_RES_OK);
  EXPECT_EQ(p, nullptr);
  p = reinterpret_cast<void*>(1);
  EXPECT_EQ(telvabuf_getnc(TVA_HERE, task, 100, 0, &p), TVA_RES_OK);
  EXPECT_EQ(p, nullptr);
  telvabuf_put(TVA_HERE, task, &p);
  EXPECT_EQ(telvabuf_num_in_use(task, false), 0);
}

TEST_F(TaskScratch, KeepInUseReleasesFreeChains) {
  int64 empty = use();
  double *held = nullptr, *spare = nullptr;
  TVA_TASKBUF_GET(task, 100, &held);
  TVA_TASKBUF_GET(task, 200, &spare);
  TVA_TASKBUF_PUT(task, &spare);
  EXPECT_GT(use(), empty + 2400);
  telvabuf_keep_in_use(task);
  EXPECT_LT(use(), empty + 1600); // the spare block went back to the task's memory
  EXPECT_EQ(telvabuf_num_in_use(task, false), 1);
  EXPECT_EQ(telvabuf_num_in_use(task, true), 0);
  double* fresh = nullptr;
  TVA_TASKBUF_GET(task, 5, &fresh);
  EXPECT_EQ(telvabuf_num_in_use(task, true), 1);
  TVA_TASKBUF_PUT(task, &fresh);
  TVA_TASKBUF_PUT(task, &held);
}

// Blocks still in use at deletion belong to the task and go with it: no leak is reported.
TEST(TaskScratchRelease, BlocksInUseGoWithTheTask) {
  std::string base = ::testing::TempDir() + "telva_scratch_" + std::to_string(getpid());
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  ASSERT_EQ(TVA_makeenv(&env, base.c_str()), TVA_RES_OK);
  ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
  double *a = nullptr, *b = nullptr;
  TVA_TASKBUF_GET(task, 10, &a);
  TVA_TASKBUF_GETZ(task, 10, &b);
  TVA_TASKBUF_PUT(task, &b);
  ASSERT_NE(task->bufenv, nullptr);
  ASSERT_NE(task->bufenv_clear, nullptr);
  EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
  EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  std::remove((base + ".env.txt").c_str());
  std::remove((base + ".0.task.txt").c_str());
}

// Allocation hooks that fail when told to.
struct Switch {
  bool fail = false;
  long live = 0;
};
void* s_malloc(void* u, size_t n) {
  auto* s = static_cast<Switch*>(u);
  if (s->fail) return nullptr;
  ++s->live;
  return std::malloc(n);
}
void* s_calloc(void* u, size_t n, size_t m) {
  auto* s = static_cast<Switch*>(u);
  if (s->fail) return nullptr;
  ++s->live;
  return std::calloc(n, m);
}
void* s_realloc(void* u, void* p, size_t n) {
  return static_cast<Switch*>(u)->fail ? nullptr : std::realloc(p, n);
}
void s_free(void* u, void* p) {
  if (!p) return;
  --static_cast<Switch*>(u)->live;
  std::free(p);
}

TEST(TaskScratchRelease, OutOfSpaceIsReportedAndLeavesNothing) {
  Switch sw;
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  ASSERT_EQ(TVA_makeenvalloc(&env, &sw, s_malloc, s_calloc, s_realloc, s_free, nullptr),
            TVA_RES_OK);
  ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
  long live = sw.live;
  sw.fail = true;
  double* x = reinterpret_cast<double*>(8);
  EXPECT_EQ(TVA_TASKBUF_GET(task, 10, &x), TVA_RES_ERR_SPACE);
  EXPECT_EQ(x, nullptr);
  EXPECT_EQ(task->lastcode, TVA_RES_ERR_SPACE);
  EXPECT_EQ(sw.live, live);
  EXPECT_EQ(telvabuf_num_in_use(task, false), 0);
  sw.fail = false;
  EXPECT_EQ(TVA_TASKBUF_GET(task, 10, &x), TVA_RES_OK);
  TVA_TASKBUF_PUT(task, &x);
  EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
  EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  EXPECT_EQ(sw.live, 0);
}

void fatal_to_stderr(void*, const char*, int, const char* msg) {
  std::fprintf(stderr, "%s", msg);
}

TEST(TaskScratchDeathTest, UnknownBlockAndMissingListsAreFatal) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        TVAenv_t env = nullptr;
        TVAtask_t task = nullptr;
        TVA_makeenv(&env, nullptr);
        TVA_maketask(env, 0, 0, &task);
        sysenv_set_fatal(task->sys, fatal_to_stderr, nullptr);
        double local[4];
        double* p = local;
        TVA_TASKBUF_PUT(task, &p);
      },
      "Scratch block 0x[0-9a-f]+ is not in use");
  EXPECT_DEATH(
      {
        TVAenv_t env = nullptr;
        TVAtask_t task = nullptr;
        TVA_makeenv(&env, nullptr);
        TVA_maketask(env, 0, 0, &task);
        sysenv_set_fatal(task->sys, fatal_to_stderr, nullptr);
        telvabuf_delete(task);
        double* p = nullptr;
        TVA_TASKBUF_GET(task, 3, &p);
      },
      "No buffers is available");
}

} // namespace
