/* Drives the library through its C interface only: 1000 tasks made and deleted in one
   environment from two threads at once. */
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>

#include "telva.h"

#define TASKS_PER_THREAD 500

static int failures = 0;
static pthread_mutex_t fail_lock = PTHREAD_MUTEX_INITIALIZER;

static void fail(const char* what, TVArescode r) {
  pthread_mutex_lock(&fail_lock);
  ++failures;
  fprintf(stderr, "FAILED: %s (code %d)\n", what, (int)r);
  pthread_mutex_unlock(&fail_lock);
}

static void* worker(void* arg) {
  TVAenv_t env = (TVAenv_t)arg;
  TVAtask_t tasks[TASKS_PER_THREAD];
  int i;
  for (i = 0; i < TASKS_PER_THREAD; ++i) {
    TVArescode r = TVA_maketask(env, i % 7, i % 11, &tasks[i]);
    if (r != TVA_RES_OK) fail("TVA_maketask", r);
  }
  for (i = 0; i < TASKS_PER_THREAD; ++i) {
    TVAint64t use = 0, maxuse = 0;
    TVArescode r = TVA_getmemusagetask(tasks[i], &use, &maxuse);
    if (r != TVA_RES_OK || use <= 0 || maxuse < use) fail("TVA_getmemusagetask", r);
    r = TVA_deletetask(&tasks[i]);
    if (r != TVA_RES_OK || tasks[i] != NULL) fail("TVA_deletetask", r);
  }
  return NULL;
}

int main(void) {
  TVAenv_t env = NULL;
  pthread_t threads[2];
  TVAint32t major, minor, build, revision;
  TVArescode r = TVA_makeenv(&env, NULL);
  int t;
  if (r != TVA_RES_OK) {
    fail("TVA_makeenv", r);
    return 1;
  }
  TVA_getversion(&major, &minor, &build, &revision);
  if (TVA_checkversion(env, major, minor, build, revision) != TVA_RES_OK)
    fail("TVA_checkversion", 0);
  for (t = 0; t < 2; ++t)
    pthread_create(&threads[t], NULL, worker, env);
  for (t = 0; t < 2; ++t)
    pthread_join(threads[t], NULL);
  r = TVA_deleteenv(&env);
  if (r != TVA_RES_OK || env != NULL) fail("TVA_deleteenv", r);
  printf("%s: 1000 tasks on 2 threads, %d failures\n", failures ? "FAIL" : "OK", failures);
  return failures ? 1 : 0;
}
