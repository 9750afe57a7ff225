// Making, cloning, resizing and deleting tasks.
#include "telva/task/task.h"
#include "telva/task/telvabuf.h"

#include "misc/utf8bld.h"
#include "telva/task/fatal.h"
#include "telva/log/report.h"
#include "telva/solution/solution.h"

#include <cstdio>
#include <cstring>
#include <new>
#include <string>

#include "cpub/syspool.h"
#include "simplex/simplex_basisrec.h"

using namespace telva;

namespace {

constexpr int32 kLastMsgCap = 1025;

// A fatal error inside the task's system layer takes the stoptask road.
void task_fatal(void* handle, const char* file, int line, const char* msg) {
  stoptask(static_cast<TvaTask*>(handle), file, line, "%s", msg);
}

// Frees everything the task's store holds and leaves an empty problem with no capacity.
void clear_problem(TvaTask* task) {
  store_clear(task);
}

TVArescode copy_default_params(TvaTask* task) {
  const ParamCatalogue& cat = task->env->catalogue;
  std::memcpy(task->iparam, cat.ipar_default, sizeof task->iparam);
  std::memcpy(task->dparam, cat.dpar_default, sizeof task->dparam);
  for (int32 i = 0; i < kNumSpar; ++i) {
    TVA_SYS_FREE(task->sys, task->sparam[i]);
    task->sparam[i] = nullptr;
    const char* dflt = cat.spar_default[i] ? cat.spar_default[i] : "";
    task->sparam[i] = sysenv_strdup(task->sys, TVA_HERE, dflt);
    if (!task->sparam[i]) return TVA_RES_ERR_SPACE;
  }
  return TVA_RES_OK;
}

} // namespace

extern "C" {

TVAAPI TVArescode TVA_maketask(TVAenv_t env, TVAint32t maxnumcon, TVAint32t maxnumvar,
                               TVAtask_t* ptask) {
  if (!ptask) return TVA_RES_ERR_NULL_POINTER;
  *ptask = nullptr;
  if (!env) return TVA_RES_ERR_NULL_ENV;

  int32 taskid;
  {
    SysLockGuard guard(&env->locks[0]);
    if (!guard.locked()) return TVA_RES_ERR_THREAD_MUTEX_LOCK;
    taskid = env->tasks_made++;
  }

  std::string trace;
  if (env->dbgfile && *env->dbgfile)
    trace = std::string(env->dbgfile) + "." + std::to_string(taskid) + ".task.txt";
  sysenv* sys = nullptr;
  int st = sysenv_create(&sys, 0, memman_hooks(env->sys->mm),
                         trace.empty() ? nullptr : trace.c_str(), "TELVA memory task debugging.");
  TvaTask* task = nullptr;
  if (st == kSysOk) {
    sysenv_copy_platform(sys, env->sys);
    void* raw = sysenv_calloc(sys, TVA_HERE, 1, sizeof(TvaTask));
    if (raw) task = new (raw) TvaTask;
  }
  if (!task) {
    // Nothing stands yet that TVA_deletetask could undo: release by hand and count the task gone.
    sysenv_delete(&sys);
    SysLockGuard guard(&env->locks[0]);
    env->tasks_gone++;
    return st == kSysOk ? TVA_RES_ERR_SPACE : sysstatus_to_rescode(st);
  }
  task->taskid = taskid;
  task->env = env;
  task->sys = sys;
  store_init(task);
  *ptask = task;

  TVArescode r = TVA_RES_OK;
  task->dtoa = dtoaenv_make(sys);
  if (task->dtoa) task->msgbuilder = utf8bld_make(sys, task->dtoa);
  if (!task->dtoa || !task->msgbuilder) r = TVA_RES_ERR_SPACE;
  if (r == TVA_RES_OK) r = streamblock_init(&task->streams, sys, kBanner);
  if (r == TVA_RES_OK) {
    task->bufenv = bufenv_create(sys, 16, 0);
    task->bufenv_clear = bufenv_create(sys, 16, 1);
    if (!task->bufenv || !task->bufenv_clear) r = TVA_RES_ERR_SPACE;
  }
  if (r == TVA_RES_OK) r = telvabuf_create(task);
  if (r == TVA_RES_OK) {
    task->lastmsg_cap = kLastMsgCap;
    task->lastmsg = TVA_SYS_ALLOC(sys, char, kLastMsgCap);
    if (!task->lastmsg) r = TVA_RES_ERR_SPACE;
  }
  if (r == TVA_RES_OK) r = TVA_resizetask(task, maxnumcon, maxnumvar, 0, 0, 0);
  if (r == TVA_RES_OK) r = copy_default_params(task);
  if (r == TVA_RES_OK) {
    task->taskname = sysenv_strdup(sys, TVA_HERE, "");
    if (!task->taskname) r = TVA_RES_ERR_SPACE;
  }
  if (r == TVA_RES_OK) sysenv_set_fatal(sys, task_fatal, task);
  if (r != TVA_RES_OK) TVA_deletetask(ptask);
  return r;
}

TVAAPI TVArescode TVA_makeemptytask(TVAenv_t env, TVAtask_t* task) {
  return TVA_maketask(env, 0, 0, task);
}

TVAAPI TVArescode TVA_deletetask(TVAtask_t* ptask) {
  if (!ptask || !*ptask) return TVA_RES_OK;
  TvaTask* task = *ptask;
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  TvaEnv* env = task->env;
  sysenv* sys = task->sys;

  clear_problem(task);
  simplex_deletebasis(&task->basis);
  TVA_SYS_FREE(sys, task->taskname);
  streamblock_flush_all(&task->streams);
  streamblock_unlink_files(&task->streams);
  for (char*& s : task->sparam) {
    TVA_SYS_FREE(sys, s);
    s = nullptr;
  }
  utf8bld_delete(&task->msgbuilder);
  streamblock_teardown(&task->streams);
  syspool_delete(&task->pool);
  telvabuf_delete(task);
  bufenv_delete(&task->bufenv);
  bufenv_delete(&task->bufenv_clear);
  dtoaenv_delete(&task->dtoa);
  TVA_SYS_FREE(sys, task->lastmsg);

  // Zero the first two words so that a stale handle is refused. The stores go through a
  // volatile pointer: the object is about to die, and the compiler would otherwise drop them.
  task->~TvaTask();
  void* volatile* words = reinterpret_cast<void* volatile*>(task);
  words[0] = nullptr;
  words[1] = nullptr;
  TVA_SYS_FREE(sys, task);
  r = sysstatus_to_rescode(sysenv_delete(&sys));

  bool finish_env;
  {
    SysLockGuard guard(&env->locks[0]);
    env->tasks_gone++;
    finish_env = env->delete_pending != 0;
  }
  *ptask = nullptr;
  if (finish_env) {
    TVAenv_t e = env;
    TVA_deleteenv(&e);
  }
  return r;
}

TVAAPI TVArescode TVA_resizetask(TVAtask_t task, TVAint32t maxnumcon, TVAint32t maxnumvar,
                                 TVAint32t maxnumcone, TVAint64t maxnumanz, TVAint64t maxnumqnz) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  clear_problem(task);
  r = store_putmaxnumcon(task, maxnumcon > 0 ? maxnumcon : 0);
  if (r == TVA_RES_OK) r = store_putmaxnumvar(task, maxnumvar > 0 ? maxnumvar : 0);
  if (r == TVA_RES_OK) r = store_putmaxnumcone(task, maxnumcone > 0 ? maxnumcone : 0);
  if (r == TVA_RES_OK) r = store_putmaxnumanz(task, maxnumanz > 0 ? maxnumanz : 0);
  if (r == TVA_RES_OK) r = store_putmaxnumqnz(task, maxnumqnz > 0 ? maxnumqnz : 0);
  store_changed(task, kChangeStructure);
  return r;
}

TVAAPI TVArescode TVA_clonetask(TVAtask_t task, TVAtask_t* pclone) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!pclone) return TVA_REP(task, ERR_NULL_POINTER, "clonedtask");
  if (*pclone == task) return TVA_REP(task, ERR_IDENTICAL_TASKS);
  TVAtask_t clone = nullptr;
  r = TVA_maketask(task->env, task->maxnumcon, task->maxnumvar, &clone);
  if (r != TVA_RES_OK) return r;
  r = store_putmaxnumanz(clone, task->maxnumanz);
  if (r == TVA_RES_OK) r = store_putmaxnumcone(clone, task->maxnumcone);
  if (r == TVA_RES_OK) r = store_putmaxnumqnz(clone, task->maxnumqnz);
  std::memcpy(clone->iparam, task->iparam, sizeof clone->iparam);
  std::memcpy(clone->dparam, task->dparam, sizeof clone->dparam);
  for (int32 i = 0; i < kNumSpar && r == TVA_RES_OK; ++i) {
    TVA_SYS_FREE(clone->sys, clone->sparam[i]);
    clone->sparam[i] = sysenv_strdup(clone->sys, TVA_HERE, task->sparam[i] ? task->sparam[i] : "");
    if (!clone->sparam[i]) r = TVA_RES_ERR_SPACE;
  }
  if (r == TVA_RES_OK) r = store_copy(clone, task);
  if (r == TVA_RES_OK) r = sol_copy(clone, task);
  if (r == TVA_RES_OK) {
    char* name = sysenv_strdup(clone->sys, TVA_HERE, task->taskname ? task->taskname : "");
    if (!name) {
      r = TVA_RES_ERR_SPACE;
    } else {
      TVA_SYS_FREE(clone->sys, clone->taskname);
      clone->taskname = name;
    }
  }
  if (r != TVA_RES_OK) {
    // The failure was reported on the clone, which goes: the source keeps the message.
    task_set_last_response(task, r, clone->lastmsg ? clone->lastmsg : "");
    TVA_deletetask(&clone);
    return r;
  }
  *pclone = clone;
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getenv(TVAtask_t task, TVAenv_t* env) {
  *env = task->env;
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getmionumthreads(TVAtask_t task, TVAint32t* numthreads) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  int32 n = task->iparam[TVA_IPAR_NUM_THREADS];
  *numthreads = n != 0 ? n : sysenv_num_cores(task->env->sys);
  return TVA_RES_OK;
}

} // extern "C"
