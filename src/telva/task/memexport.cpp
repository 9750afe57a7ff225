// The exported allocation family: memory that a caller takes from an environment or a task and
// gives back there, counted with its owner.
#include "telva/task/task.h"

using namespace telva;

extern "C" {

TVAAPI void* TVA_callocenv(TVAenv_t env, size_t number, size_t size) {
  return TVA_callocdbgenv(env, number, size, __FILE__, __LINE__);
}

TVAAPI void* TVA_callocdbgenv(TVAenv_t env, size_t number, size_t size, const char* file,
                              unsigned line) {
  if (!env) return nullptr;
  return sysenv_calloc(env->sys, file, static_cast<int>(line), number, size);
}

TVAAPI void TVA_freeenv(TVAenv_t env, void* buffer) {
  TVA_freedbgenv(env, buffer, __FILE__, __LINE__);
}

TVAAPI void TVA_freedbgenv(TVAenv_t env, void* buffer, const char* file, unsigned line) {
  if (env && buffer) sysenv_free(env->sys, file, static_cast<int>(line), buffer);
}

TVAAPI void* TVA_calloctask(TVAtask_t task, size_t number, size_t size) {
  return TVA_callocdbgtask(task, number, size, __FILE__, __LINE__);
}

TVAAPI void* TVA_callocdbgtask(TVAtask_t task, size_t number, size_t size, const char* file,
                               unsigned line) {
  if (task_check(task) != TVA_RES_OK) return nullptr;
  return sysenv_calloc(task->sys, file, static_cast<int>(line), number, size);
}

TVAAPI void TVA_freetask(TVAtask_t task, void* buffer) {
  TVA_freedbgtask(task, buffer, __FILE__, __LINE__);
}

TVAAPI void TVA_freedbgtask(TVAtask_t task, void* buffer, const char* file, unsigned line) {
  if (task_check(task) == TVA_RES_OK && buffer)
    sysenv_free(task->sys, file, static_cast<int>(line), buffer);
}

TVAAPI char* TVA_strduptask(TVAtask_t task, const char* str) {
  return TVA_strdupdbgtask(task, str, __FILE__, __LINE__);
}

TVAAPI char* TVA_strdupdbgtask(TVAtask_t task, const char* str, const char* file, unsigned line) {
  if (task_check(task) != TVA_RES_OK) return nullptr;
  return sysenv_strdup(task->sys, file, static_cast<int>(line), str);
}

TVAAPI TVArescode TVA_checkmemenv(TVAenv_t env, const char* file, TVAint32t line) {
  if (!env) return TVA_RES_ERR_NULL_ENV;
  sysenv_scan(env->sys, file, line);
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_checkmemtask(TVAtask_t task, const char* file, TVAint32t line) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  sysenv_scan(task->sys, file, line);
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getmemusagetask(TVAtask_t task, TVAint64t* meminuse, TVAint64t* maxmemuse) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  int64 cur = 0, max = 0;
  memman_usage(task->sys->mm, &cur, &max);
  if (meminuse) *meminuse = cur;
  if (maxmemuse) *maxmemuse = max;
  return TVA_RES_OK;
}

} // extern "C"
