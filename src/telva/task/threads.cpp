#include "telva/task/threads.h"

#include <cstdio>

#include "cpub/syspool.h"
#include "cpub/sysparfor.h"
#include "telva/log/report.h"

namespace telva {

namespace {

// The count of this run from the environment's standing decision, making it if none stands.
int32 settle_count(TvaEnv* env, int32 requested) {
  if (env->numthreads >= 1) return env->numthreads;
  int32 cores = sysenv_num_cores(env->sys);
  int32 t;
  if (env->numthreads >= 0)
    t = requested < 1 ? cores : requested;
  else
    t = -env->numthreads;
  env->numthreads = t < cores ? t : cores;
  return env->numthreads;
}

// Remakes the task's pool when its size differs from n; a pool of the right size stays.
TVArescode match_pool(TvaTask* task, int32 n, int* syserr) {
  if (task->pool && syspool_num_threads(task->pool) != n) syspool_delete(&task->pool);
  if (!task->pool) {
    TVArescode r = syspool_create(task->sys, &task->pool, n, syserr);
    if (r != TVA_RES_OK) return r;
  }
  // The spin count follows TVA_IPAR_MT_SPINCOUNT, which the optimizer writes into the sysenv.
  syspool_set_spin_count(task->pool, sysenv_get_spin_count(task->sys));
  return TVA_RES_OK;
}

TVArescode report(TvaTask* task, TVArescode r, int syserr) {
  if (!task) return r;
  switch (r) {
  case TVA_RES_ERR_THREAD_CREATE:
    return TVA_REP(task, ERR_THREAD_CREATE, syserr);
  case TVA_RES_ERR_THREAD_MUTEX_LOCK:
    return TVA_REP(task, ERR_THREAD_MUTEX_LOCK);
  case TVA_RES_ERR_THREAD_MUTEX_INIT:
    return TVA_REP(task, ERR_THREAD_MUTEX_INIT);
  case TVA_RES_ERR_THREAD_COND_INIT:
    return TVA_REP(task, ERR_THREAD_COND_INIT);
  case TVA_RES_ERR_SPACE:
    return TVA_REP(task, ERR_SPACE);
  default:
    return r;
  }
}

} // namespace

TVArescode threads_decide(TvaEnv* env, TvaTask* task, int32 requested, bool for_bufenv,
                          bool for_pool, bool for_parallel, int32* numthreads) {
  if (for_pool && !task) return TVA_RES_ERR_NULL_TASK;
  TVArescode r = TVA_RES_OK;
  int syserr = 0;
  int32 n;
  {
    SysLockGuard guard(&env->locks[1]);
    if (!guard.locked()) return report(task, TVA_RES_ERR_THREAD_MUTEX_LOCK, 0);
    n = settle_count(env, requested);
    if (for_bufenv && n > kParForMaxWorkers) n = kParForMaxWorkers;
    if (for_pool) r = match_pool(task, n, &syserr);
    if (r == TVA_RES_OK && for_parallel) {
      char text[16];
      std::snprintf(text, sizeof text, "%d", n);
      sysparfor_set_param("nworkers", text);
    }
  }
  if (r != TVA_RES_OK) return report(task, r, syserr);
  if (numthreads) *numthreads = n;
  return TVA_RES_OK;
}

} // namespace telva
