/* Parameters, symbolic constants and information items through the C interface only. */
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

int main(void) {
  TVAenv_t env = NULL;
  TVAtask_t task = NULL;
  TVAint32t ival = 0, type = -1, idx = -1, num = 0, maxlen = 0, value = 0;
  double dval = 0.0;
  char text[TVA_MAX_STR_LEN];

  if (TVA_makeenv(&env, NULL) != TVA_RES_OK || TVA_maketask(env, 0, 0, &task) != TVA_RES_OK) {
    fprintf(stderr, "FAILED: no environment or task\n");
    return 1;
  }

  CHECK(TVA_putintparam(task, TVA_IPAR_LOG_BI_FREQ, -1) == TVA_RES_ERR_PARAM_IS_TOO_SMALL);
  CHECK(TVA_getintparam(task, TVA_IPAR_LOG_BI_FREQ, &ival) == TVA_RES_OK && ival == 2500);
  CHECK(TVA_putparam(task, "TVA_IPAR_OPTIMIZER", "TVA_OPTIMIZER_INTPNT") == TVA_RES_OK);
  CHECK(TVA_getnaintparam(task, "TVA_IPAR_OPTIMIZER", &ival) == TVA_RES_OK &&
        ival == TVA_OPTIMIZER_INTPNT);
  CHECK(TVA_putdouparam(task, TVA_DPAR_SIM_LU_TOL_REL_PIV, 1.0) == TVA_RES_ERR_PARAM_IS_TOO_LARGE);
  CHECK(TVA_getdouparam(task, TVA_DPAR_SIM_LU_TOL_REL_PIV, &dval) == TVA_RES_OK && dval == 0.01);
  CHECK(TVA_whichparam(task, "TVA_SPAR_STAT_KEY", &type, &idx) == TVA_RES_OK &&
        type == TVA_PAR_STR_TYPE && idx == TVA_SPAR_STAT_KEY);
  CHECK(TVA_putstrparam(task, TVA_SPAR_STAT_KEY, "\"a \\\"b\\\"\"") == TVA_RES_OK);
  CHECK(TVA_getstrparam(task, TVA_SPAR_STAT_KEY, sizeof text, &ival, text) == TVA_RES_OK &&
        strcmp(text, "a \"b\"") == 0 && ival == 5);

  CHECK(TVA_symnamtovalue("TVA_ON", text) == 1 && strcmp(text, "1") == 0);
  CHECK(TVA_getsymbcondim(env, &num, &maxlen) == TVA_RES_OK && num > 1000 && maxlen > 30);
  CHECK(TVA_getsymbcon(task, num, sizeof text, text, &value) == TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  CHECK(TVA_getsymbcon(task, 0, sizeof text, text, &value) == TVA_RES_OK &&
        strcmp(text, "TVA_BK_LO") == 0 && value == TVA_BK_LO);
  CHECK(TVA_iparvaltosymnam(env, TVA_IPAR_PRESOLVE_USE, TVA_PRESOLVE_MODE_FREE, text) ==
            TVA_RES_OK &&
        strcmp(text, "TVA_PRESOLVE_MODE_FREE") == 0);
  CHECK(TVA_sktostr(task, TVA_SK_SUPBAS, text) == TVA_RES_OK && strcmp(text, "SB") == 0);
  CHECK(TVA_callbackcodetostr(TVA_CALLBACK_BEGIN_MIO, text) == TVA_RES_OK &&
        strcmp(text, "TVA_CALLBACK_BEGIN_MIO") == 0);
  CHECK(TVA_getinfmax(task, 7, &ival) == TVA_RES_ERR_INF_TYPE && ival == 0);
  CHECK(TVA_getdouinf(task, TVA_DINF_OPTIMIZER_TIME, &dval) == TVA_RES_OK && dval == 0.0);

  CHECK(TVA_deletetask(&task) == TVA_RES_OK);
  CHECK(TVA_deleteenv(&env) == TVA_RES_OK);
  if (failures) return 1;
  printf("parameters through the C interface: ok\n");
  return 0;
}
