/* A first Telva program: make an environment and a task, print the library's banner,
   report the task's memory, and clean up. */
#include <stdio.h>

#include "telva.h"

static void print_stream(void* handle, const char* text) {
  (void)handle;
  fputs(text, stdout);
}

int main(void) {
  TVAenv_t env = NULL;
  TVAtask_t task = NULL;
  TVAint32t major, minor, build, revision;
  TVAint64t inuse = 0, maxuse = 0;
  TVArescode r = TVA_makeenv(&env, NULL);
  (void)print_stream;
  if (r == TVA_RES_OK) r = TVA_maketask(env, 10, 10, &task);
  if (r == TVA_RES_OK) r = TVA_getmemusagetask(task, &inuse, &maxuse);
  TVA_getversion(&major, &minor, &build, &revision);
  printf("Telva %d.%d.%d.%d\n", major, minor, build, revision);
  if (r == TVA_RES_OK) printf("A new task uses %lld bytes.\n", (long long)inuse);
  TVA_deletetask(&task);
  TVA_deleteenv(&env);
  printf("Done: response code %d\n", (int)r);
  return r == TVA_RES_OK ? 0 : 1;
}
