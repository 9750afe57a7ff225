/* The optimize exports through the C interface only: an empty problem solves with code 0, the
   callback sees the begin and end of the run, and a callback that asks to stop ends the run
   with the termination code in trmcode. */
#include <stdio.h>
#include <string.h>

#include "telva.h"

static int failures = 0;

#define CHECK(cond)                                                                                \
  do {                                                                                             \
    if (!(cond)) {                                                                                 \
      ++failures;                                                                                  \
      fprintf(stderr, "FAILED at line %d: %s\n", __LINE__, #cond);                                 \
    }                                                                                              \
  } while (0)

struct seen {
  int codes[16];
  int count;
  int stop;
};

static TVAint32t progress(TVAtask_t task, void* handle, TVAint32t caller, const double* douinf,
                          const TVAint32t* intinf, const TVAint64t* lintinf) {
  struct seen* s = (struct seen*)handle;
  (void)task;
  (void)douinf;
  (void)intinf;
  (void)lintinf;
  if (s->count < 16) s->codes[s->count] = caller;
  s->count++;
  return s->stop;
}

int main(void) {
  TVAenv_t env = NULL;
  TVAtask_t task = NULL;
  struct seen s;
  TVArescode trm = -1;
  TVAint32t resp = -1;
  TVAcallbackfunc f = NULL;
  void* h = NULL;
  memset(&s, 0, sizeof s);
  CHECK(TVA_makeenv(&env, NULL) == TVA_RES_OK);
  CHECK(TVA_maketask(env, 0, 0, &task) == TVA_RES_OK);
  CHECK(TVA_putintparam(task, TVA_IPAR_LOG, 0) == TVA_RES_OK);
  CHECK(TVA_putcallbackfunc(task, progress, &s) == TVA_RES_OK);
  CHECK(TVA_getcallbackfunc(task, &f, &h) == TVA_RES_OK);
  CHECK(f == progress && h == &s);

  CHECK(TVA_optimizetrm(task, &trm) == TVA_RES_OK);
  CHECK(trm == TVA_RES_OK);
  CHECK(s.count == 2);
  CHECK(s.codes[0] == TVA_CALLBACK_BEGIN_OPTIMIZER);
  CHECK(s.codes[1] == TVA_CALLBACK_END_OPTIMIZER);

  s.stop = 1;
  CHECK(TVA_optimizetrm(task, &trm) == TVA_RES_OK);
  CHECK(trm == TVA_RES_TRM_USER_CALLBACK);
  CHECK(TVA_getintinf(task, TVA_IINF_OPTIMIZE_RESPONSE, &resp) == TVA_RES_OK);
  CHECK(resp == TVA_RES_TRM_USER_CALLBACK);
  CHECK(TVA_optimize(task) == TVA_RES_TRM_USER_CALLBACK);

  CHECK(TVA_deletetask(&task) == TVA_RES_OK);
  CHECK(TVA_deleteenv(&env) == TVA_RES_OK);
  if (failures) return 1;
  printf("ok\n");
  return 0;
}
