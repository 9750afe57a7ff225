// Environment and task lifecycle: handle checks, versions, garbage collection, memory hooks.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "telva.h"
#include "telva/task/task.h"

namespace {

TEST(Version, GetAndCheck) {
  TVAint32t a, b, c, d;
  ASSERT_EQ(TVA_getversion(&a, &b, &c, &d), TVA_RES_OK);
  EXPECT_EQ(a, 8);
  EXPECT_EQ(b, 0);
  EXPECT_EQ(c, 0);
  EXPECT_EQ(d, 81);
  EXPECT_EQ(TVA_getversion(nullptr, nullptr, nullptr, nullptr), TVA_RES_OK);

  TVAenv_t env = nullptr;
  ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
  EXPECT_EQ(TVA_checkversion(env, 8, 0, 0, 81), TVA_RES_OK);
  EXPECT_EQ(TVA_checkversion(env, 8, 0, 0, 82), TVA_RES_ERR_OLDER_DLL);
  EXPECT_EQ(TVA_checkversion(env, 8, 0, 0, 80), TVA_RES_ERR_NEWER_DLL);
  EXPECT_EQ(TVA_checkversion(env, 9, 0, 0, 0), TVA_RES_ERR_OLDER_DLL);
  EXPECT_EQ(TVA_checkversion(env, 7, 9, 9, 99), TVA_RES_ERR_NEWER_DLL);
  EXPECT_EQ(TVA_checkversion(nullptr, 8, 0, 0, 81), TVA_RES_ERR_NULL_ENV);
  EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  EXPECT_EQ(env, nullptr);
}

TEST(Version, BuildInfoAndInfinity) {
  char state[64] = "x", date[64] = "";
  TVA_getbuildinfo(state, date);
  EXPECT_STREQ(state, "");
  EXPECT_STREQ(date, "2017-5-31 00:31:51");
  EXPECT_TRUE(TVA_isinfinity(1.0e30));
  EXPECT_TRUE(TVA_isinfinity(2.0e30));
  EXPECT_FALSE(TVA_isinfinity(9.99e29));
  EXPECT_FALSE(TVA_isinfinity(-1.0e30));
}

TEST(Lifecycle, NullHandles) {
  TVAenv_t env = nullptr;
  EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  TVAtask_t task = nullptr;
  EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
  EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
  EXPECT_EQ(TVA_maketask(nullptr, 0, 0, &task), TVA_RES_ERR_NULL_ENV);
  EXPECT_EQ(task, nullptr);
  TVAint32t n = 0;
  EXPECT_EQ(TVA_getmionumthreads(nullptr, &n), TVA_RES_ERR_NULL_TASK);
  EXPECT_EQ(TVA_resizetask(nullptr, 1, 1, 0, 0, 0), TVA_RES_ERR_NULL_TASK);
  EXPECT_EQ(TVA_clonetask(nullptr, &task), TVA_RES_ERR_NULL_TASK);
  EXPECT_EQ(TVA_echointro(nullptr, 0), TVA_RES_ERR_NULL_ENV);
}

TEST(Lifecycle, LivingTasksBlockDeletionUnlessGarbageCollected) {
  TVAenv_t env = nullptr;
  ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
  TVAtask_t t1 = nullptr, t2 = nullptr;
  ASSERT_EQ(TVA_maketask(env, 10, 10, &t1), TVA_RES_OK);
  ASSERT_EQ(TVA_makeemptytask(env, &t2), TVA_RES_OK);

  EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_ERR_LIVING_TASKS);
  ASSERT_NE(env, nullptr);
  TVAenv_t owner = nullptr;
  TVA_getenv(t1, &owner);
  EXPECT_EQ(owner, env);

  // With garbage collection the call succeeds, the environment stays for its tasks, and the
  // last task to go takes it along.
  ASSERT_EQ(TVA_enablegarcolenv(env), TVA_RES_OK);
  TVAenv_t handle = env;
  EXPECT_EQ(TVA_deleteenv(&handle), TVA_RES_OK);
  EXPECT_EQ(env->delete_pending, 1);
  EXPECT_EQ(TVA_deletetask(&t1), TVA_RES_OK);
  EXPECT_EQ(env->tasks_gone, 1); // still alive: one task left
  EXPECT_EQ(TVA_deletetask(&t2), TVA_RES_OK);
  EXPECT_EQ(t2, nullptr);
}

TEST(Lifecycle, NewTaskHasDefaultParameters) {
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
  ASSERT_EQ(TVA_maketask(env, 3, 4, &task), TVA_RES_OK);
  EXPECT_STREQ(task->sparam[TVA_SPAR_PARAM_COMMENT_SIGN], "%%");
  EXPECT_STREQ(task->sparam[TVA_SPAR_WRITE_LP_GEN_VAR_NAME], "XTVAGEN");
  for (int i = 0; i < TVA_SPAR_NUM; ++i) {
    if (i == TVA_SPAR_PARAM_COMMENT_SIGN || i == TVA_SPAR_WRITE_LP_GEN_VAR_NAME) continue;
    EXPECT_STREQ(task->sparam[i], "") << i;
  }
  EXPECT_EQ(task->iparam[TVA_IPAR_LOG_BI_FREQ], 2500);
  EXPECT_EQ(task->iparam[TVA_IPAR_MAX_NUM_WARNINGS], 10);
  EXPECT_EQ(task->dparam[TVA_DPAR_DATA_TOL_AIJ], 1e-12);
  EXPECT_EQ(task->maxnumcon, 3);
  EXPECT_EQ(task->maxnumvar, 4);

  TVAint32t n = 0;
  ASSERT_EQ(TVA_getmionumthreads(task, &n), TVA_RES_OK);
  EXPECT_GE(n, 1);
  task->iparam[TVA_IPAR_NUM_THREADS] = 3;
  ASSERT_EQ(TVA_getmionumthreads(task, &n), TVA_RES_OK);
  EXPECT_EQ(n, 3);

  TVAtask_t clone = nullptr;
  EXPECT_EQ(TVA_clonetask(task, &clone), TVA_RES_OK);
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(clone->iparam[TVA_IPAR_NUM_THREADS], 3);
  EXPECT_STREQ(clone->sparam[TVA_SPAR_PARAM_COMMENT_SIGN], "%%");
  TVAtask_t same = task;
  EXPECT_EQ(TVA_clonetask(task, &same), TVA_RES_ERR_IDENTICAL_TASKS);
  EXPECT_EQ(TVA_deletetask(&clone), TVA_RES_OK);
  EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
  EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
}

// Allocation hooks that keep blocks alive after free (so a stale handle stays readable) or
// fail after a budget of calls.
struct HookState {
  long budget = -1; // calls allowed; -1 for no limit
  long calls = 0;
  long live = 0;
  bool keep_freed = false;
  std::vector<void*> kept; // freed blocks held back, released at the end of the test
  ~HookState() {
    for (void* p : kept)
      std::free(p);
  }
};

bool take(HookState* s) {
  ++s->calls;
  if (s->budget >= 0 && s->calls > s->budget) return false;
  return true;
}
void* hook_malloc(void* u, size_t n) {
  auto* s = static_cast<HookState*>(u);
  if (!take(s)) return nullptr;
  ++s->live;
  return std::malloc(n);
}
void* hook_calloc(void* u, size_t n, size_t m) {
  auto* s = static_cast<HookState*>(u);
  if (!take(s)) return nullptr;
  ++s->live;
  return std::calloc(n, m);
}
void* hook_realloc(void* u, void* p, size_t n) {
  auto* s = static_cast<HookState*>(u);
  if (!take(s)) return nullptr;
  return std::realloc(p, n);
}
void hook_free(void* u, void* p) {
  auto* s = static_cast<HookState*>(u);
  if (!p) return;
  --s->live;
  if (s->keep_freed)
    s->kept.push_back(p);
  else
    std::free(p);
}

TEST(Lifecycle, DeletedTaskIsRefusedAsInvalid) {
  HookState st;
  st.keep_freed = true;
  TVAenv_t env = nullptr;
  ASSERT_EQ(TVA_makeenvalloc(&env, &st, hook_malloc, hook_calloc, hook_realloc, hook_free, nullptr),
            TVA_RES_OK);
  TVAtask_t task = nullptr, stale = nullptr;
  ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
  stale = task;
  ASSERT_EQ(TVA_deletetask(&task), TVA_RES_OK);
  TVAint32t n;
  EXPECT_EQ(TVA_getmionumthreads(stale, &n), TVA_RES_ERR_INVALID_TASK);
  EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  EXPECT_EQ(st.live, 0);
}

TEST(Lifecycle, ThreeHooksMeanDefaultAllocator) {
  HookState st;
  TVAenv_t env = nullptr;
  ASSERT_EQ(TVA_makeenvalloc(&env, &st, hook_malloc, hook_calloc, hook_realloc, nullptr, nullptr),
            TVA_RES_OK);
  TVAtask_t task = nullptr;
  ASSERT_EQ(TVA_maketask(env, 5, 5, &task), TVA_RES_OK);
  EXPECT_EQ(st.calls, 0);
  TVA_deletetask(&task);
  TVA_deleteenv(&env);
}

TEST(Lifecycle, FailingAllocatorLeavesNothingBehind) {
  // Count the allocations of a full make/delete cycle, then fail at every possible point.
  HookState probe;
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  ASSERT_EQ(
      TVA_makeenvalloc(&env, &probe, hook_malloc, hook_calloc, hook_realloc, hook_free, nullptr),
      TVA_RES_OK);
  long env_calls = probe.calls;
  ASSERT_EQ(TVA_maketask(env, 10, 10, &task), TVA_RES_OK);
  long task_calls = probe.calls - env_calls;
  TVA_deletetask(&task);
  TVA_deleteenv(&env);
  ASSERT_EQ(probe.live, 0);
  ASSERT_GT(task_calls, 3);

  for (long n = 0; n < env_calls; ++n) {
    HookState st;
    st.budget = n;
    TVAenv_t e = reinterpret_cast<TVAenv_t>(1);
    EXPECT_EQ(TVA_makeenvalloc(&e, &st, hook_malloc, hook_calloc, hook_realloc, hook_free, nullptr),
              TVA_RES_ERR_SPACE)
        << n;
    EXPECT_EQ(e, nullptr);
    EXPECT_EQ(st.live, 0) << "leak when the environment's allocation " << n << " fails";
  }
  for (long n = 0; n < task_calls; ++n) {
    HookState st;
    TVAenv_t e = nullptr;
    ASSERT_EQ(TVA_makeenvalloc(&e, &st, hook_malloc, hook_calloc, hook_realloc, hook_free, nullptr),
              TVA_RES_OK);
    long live_env = st.live;
    st.budget = st.calls + n;
    TVAtask_t t = reinterpret_cast<TVAtask_t>(1);
    EXPECT_EQ(TVA_maketask(e, 10, 10, &t), TVA_RES_ERR_SPACE) << n;
    EXPECT_EQ(t, nullptr);
    EXPECT_EQ(st.live, live_env) << "leak when the task's allocation " << n << " fails";
    st.budget = -1;
    EXPECT_EQ(TVA_deleteenv(&e), TVA_RES_OK) << "the failed task must count as gone";
    EXPECT_EQ(st.live, 0);
  }
}

TEST(Memory, TaskUsageIsCountedApart) {
  TVAenv_t env = nullptr;
  TVAtask_t a = nullptr, b = nullptr;
  ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
  ASSERT_EQ(TVA_maketask(env, 0, 0, &a), TVA_RES_OK);
  ASSERT_EQ(TVA_maketask(env, 0, 0, &b), TVA_RES_OK);
  TVAint64t a0, amax0, b0, bmax0;
  ASSERT_EQ(TVA_getmemusagetask(a, &a0, &amax0), TVA_RES_OK);
  ASSERT_EQ(TVA_getmemusagetask(b, &b0, &bmax0), TVA_RES_OK);
  void* p = TVA_calloctask(a, 1000, 8);
  ASSERT_NE(p, nullptr);
  TVAint64t a1, amax1, b1, bmax1;
  TVA_getmemusagetask(a, &a1, &amax1);
  TVA_getmemusagetask(b, &b1, &bmax1);
  EXPECT_EQ(a1 - a0, 8000);
  EXPECT_GE(amax1, a1);
  EXPECT_EQ(b1, b0);
  TVA_freetask(a, p);
  TVA_getmemusagetask(a, &a1, &amax1);
  EXPECT_EQ(a1, a0);
  EXPECT_GE(amax1, a0 + 8000);
  EXPECT_EQ(TVA_calloctask(a, 0, 8), nullptr);
  char* s = TVA_strduptask(a, "telva");
  ASSERT_NE(s, nullptr);
  EXPECT_STREQ(s, "telva");
  TVA_freetask(a, s);
  EXPECT_EQ(TVA_getmemusagetask(nullptr, &a1, &amax1), TVA_RES_ERR_NULL_TASK);
  TVA_deletetask(&a);
  TVA_deletetask(&b);
  TVA_deleteenv(&env);
}

} // namespace
