// Making and deleting environments, and the environment-level exports.
#include "telva/task/env.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "telva/task/fatal.h"
#include "telva/task/task.h"

using namespace telva;

namespace telva {

const char* const kBanner = "TELVA version 8.0.0.81";

TVArescode sysstatus_to_rescode(int status) {
  switch (status) {
  case kSysOk:
    return TVA_RES_OK;
  case kSysSpace:
    return TVA_RES_ERR_SPACE;
  case kSysFileOpen:
    return TVA_RES_ERR_FILE_OPEN;
  case kSysFileRead:
    return TVA_RES_ERR_FILE_READ;
  case kSysEndOfFile:
    return TVA_RES_ERR_END_OF_FILE;
  case kSysFileWrite:
    return TVA_RES_ERR_FILE_WRITE;
  case kSysLeaking:
    return TVA_RES_ERR_SPACE_LEAKING;
  case kSysInvalidFileName:
    return TVA_RES_ERR_INVALID_FILE_NAME;
  default:
    return TVA_RES_ERR_INTERNAL;
  }
}

} // namespace telva

namespace {

// A fatal error inside the environment's system layer ends in the environment's exit road.
void env_fatal(void* handle, const char* file, int line, const char* msg) {
  stopenv(static_cast<TvaEnv*>(handle), file, line, "%s", msg);
}

TVArescode make_env(TVAenv_t* penv, const MemHooks& hooks, const char* dbgfile) {
  if (!penv) return TVA_RES_ERR_NULL_POINTER;
  *penv = nullptr;
  std::string trace;
  if (dbgfile && *dbgfile) trace = std::string(dbgfile) + ".env.txt";
  sysenv* sys = nullptr;
  int st = sysenv_create(&sys, 0, hooks, trace.empty() ? nullptr : trace.c_str(),
                         "TELVA memory debugging.");
  if (st != kSysOk) return sysstatus_to_rescode(st);

  void* raw = sysenv_calloc(sys, TVA_HERE, 1, sizeof(TvaEnv));
  if (!raw) {
    sysenv_delete(&sys);
    return TVA_RES_ERR_SPACE;
  }
  TvaEnv* env = new (raw) TvaEnv;
  env->sys = sys;
  sysenv_set_fatal(sys, env_fatal, env);

  TVArescode r = streamblock_init(&env->streams, sys, kBanner);
  if (r == TVA_RES_OK) {
    env->bufenv = bufenv_create(sys, 16, 0);
    if (!env->bufenv) r = TVA_RES_ERR_SPACE;
  }
  if (r == TVA_RES_OK && dbgfile && *dbgfile) {
    env->dbgfile = sysenv_strdup(sys, TVA_HERE, dbgfile);
    if (!env->dbgfile) r = TVA_RES_ERR_SPACE;
  }
  if (r == TVA_RES_OK) {
    int made = 0;
    for (; made < 3; ++made)
      if (sysmutex_init(&env->locks[made]) != 0) break;
    if (made == 3) {
      env->locks_made = true;
    } else {
      for (int i = 0; i < made; ++i)
        sysmutex_destroy(&env->locks[i]);
      r = TVA_RES_ERR_THREAD_MUTEX_INIT;
    }
  }
  *penv = env;
  if (r == TVA_RES_OK) {
    catalogue_fill(&env->catalogue);
    for (int32 i = 0; i < kNumSpar && r == TVA_RES_OK; ++i) {
      env->catalogue.spar_default[i] = sysenv_strdup(sys, TVA_HERE, catalogue_spar_default_text(i));
      if (!env->catalogue.spar_default[i]) r = TVA_RES_ERR_SPACE;
    }
  }
  if (r != TVA_RES_OK) TVA_deleteenv(penv);
  return r;
}

} // namespace

extern "C" {

TVAAPI TVArescode TVA_makeenv(TVAenv_t* env, const char* dbgfile) {
  return make_env(env, memman_default_hooks(), dbgfile);
}

TVAAPI TVArescode TVA_makeenvalloc(TVAenv_t* env, void* usrptr, TVAmallocfunc usrmalloc,
                                   TVAcallocfunc usrcalloc, TVAreallocfunc usrrealloc,
                                   TVAfreefunc usrfree, const char* dbgfile) {
  MemHooks hooks = memman_default_hooks();
  if (usrmalloc && usrcalloc && usrrealloc && usrfree) {
    hooks.usrptr = usrptr;
    hooks.malloc_fn = usrmalloc;
    hooks.calloc_fn = usrcalloc;
    hooks.realloc_fn = usrrealloc;
    hooks.free_fn = usrfree;
  }
  return make_env(env, hooks, dbgfile);
}

TVAAPI TVArescode TVA_deleteenv(TVAenv_t* penv) {
  if (!penv || !*penv) return TVA_RES_OK;
  TvaEnv* env = *penv;
  if (env->locks_made) {
    SysLockGuard guard(&env->locks[0]);
    if (!guard.locked()) return TVA_RES_ERR_THREAD_MUTEX_LOCK;
    if (env->tasks_made != env->tasks_gone) {
      if (!env->garcol) return TVA_RES_ERR_LIVING_TASKS;
      env->delete_pending = 1;
      return TVA_RES_OK;
    }
  }
  sysenv* sys = env->sys;
  for (int32 i = 0; i < kNumSpar; ++i)
    TVA_SYS_FREE(sys, env->catalogue.spar_default[i]);
  bufenv_delete(&env->bufenv);
  streamblock_teardown(&env->streams);
  TVA_SYS_FREE(sys, env->dbgfile);
  if (env->locks_made)
    for (sysmutex& m : env->locks)
      sysmutex_destroy(&m);
  env->~TvaEnv();
  TVA_SYS_FREE(sys, env);
  *penv = nullptr;
  return sysstatus_to_rescode(sysenv_delete(&sys));
}

TVAAPI TVArescode TVA_enablegarcolenv(TVAenv_t env) {
  if (!env) return TVA_RES_ERR_NULL_ENV;
  env->garcol = 1;
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_putexitfunc(TVAenv_t env, TVAexitfunc exitfunc, void* handle) {
  if (!env) return TVA_RES_ERR_NULL_ENV;
  env->exit_func = exitfunc;
  env->exit_handle = handle;
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getversion(TVAint32t* major, TVAint32t* minor, TVAint32t* build,
                                 TVAint32t* revision) {
  if (major) *major = TVA_VERSION_MAJOR;
  if (minor) *minor = TVA_VERSION_MINOR;
  if (build) *build = TVA_VERSION_BUILD;
  if (revision) *revision = TVA_VERSION_REVISION;
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_checkversion(TVAenv_t env, TVAint32t major, TVAint32t minor, TVAint32t build,
                                   TVAint32t revision) {
  if (!env) return TVA_RES_ERR_NULL_ENV;
  const TVAint32t asked[4] = {major, minor, build, revision};
  const TVAint32t have[4] = {TVA_VERSION_MAJOR, TVA_VERSION_MINOR, TVA_VERSION_BUILD,
                             TVA_VERSION_REVISION};
  for (int i = 0; i < 4; ++i) {
    if (asked[i] > have[i]) return TVA_RES_ERR_OLDER_DLL;
    if (asked[i] < have[i]) return TVA_RES_ERR_NEWER_DLL;
  }
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getbuildinfo(char* buildstate, char* builddate) {
  if (buildstate) buildstate[0] = '\0';
  if (builddate) std::strcpy(builddate, "2017-5-31 00:31:51");
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_echointro(TVAenv_t env, TVAint32t longver) {
  if (!env) return TVA_RES_ERR_NULL_ENV;
  StreamBlock* sb = &env->streams;
  char state[64], date[64];
  TVA_getbuildinfo(state, date);
  streamblock_write(sb, TVA_STREAM_MSG, "\n");
  if (state[0])
    streamblock_printf(sb, TVA_STREAM_MSG, "%s Version %d.%d.%d.%d(%s) (Build date: %s)\n", "TELVA",
                       TVA_VERSION_MAJOR, TVA_VERSION_MINOR, TVA_VERSION_BUILD,
                       TVA_VERSION_REVISION, state, date);
  else
    streamblock_printf(sb, TVA_STREAM_MSG, "%s Version %d.%d.%d.%d (Build date: %s)\n", "TELVA",
                       TVA_VERSION_MAJOR, TVA_VERSION_MINOR, TVA_VERSION_BUILD,
                       TVA_VERSION_REVISION, date);
  streamblock_write(sb, TVA_STREAM_MSG, "Copyright (c) The Telva developers.\n");
  streamblock_printf(sb, TVA_STREAM_MSG, "Platform: %s\n", sysenv_platform_text(env->sys));
  streamblock_write(sb, TVA_STREAM_MSG, "\n");
  if (longver) {
    // The search path for dynamic libraries: one entry per line.
    const char* var = "LD_LIBRARY_PATH";
    const char* value = std::getenv(var);
    streamblock_write(sb, TVA_STREAM_MSG, "\nOperating system variables\n");
    streamblock_printf(sb, TVA_STREAM_MSG, " %-25s:\n", var);
    if (value) {
      const char* p = value;
      while (*p) {
        const char* q = std::strchr(p, ':');
        size_t len = q ? static_cast<size_t>(q - p) : std::strlen(p);
        if (len > 0) streamblock_printf(sb, TVA_STREAM_MSG, "   %.*s\n", static_cast<int>(len), p);
        if (!q) break;
        p = q + 1;
      }
    }
  }
  streamblock_flush(sb, TVA_STREAM_MSG);
  return TVA_RES_OK;
}

TVAAPI TVAbooleant TVA_isinfinity(double value) {
  return value >= 1.0e30 ? 1 : 0;
}

TVAAPI TVArescode TVA_unittestmain(void) {
  return TVA_RES_OK;
}

} // extern "C"
