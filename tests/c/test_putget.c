/* The put and get families through the C interface only: a small problem goes in by lists and
   slices, comes back by the get forms, names are looked up, and bad arguments give their codes. */
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
  TVAtask_t task = NULL, clone = NULL;
  TVAint32t bkc[2] = {TVA_BK_UP, TVA_BK_RA};
  double blc[2] = {0.0, -1.0}, buc[2] = {4.0, 1.0};
  TVAint32t sub[2] = {1, 0}, bkx[2] = {TVA_BK_LO, TVA_BK_LO};
  double blx[2] = {0.0, 0.0}, bux[2] = {0.0, 0.0};
  double c[3] = {1.0, -2.0, 0.5};
  TVAint32t ptrb[3] = {0, 2, 3}, ptre[3] = {2, 3, 5}, asub[5] = {0, 1, 1, 0, 1};
  double aval[5] = {1.0, 2.0, 3.0, 4.0, 5.0};
  TVAint32t bk, num, nz, asgn, index, surp, pb[3], pe[3], s[5], len;
  double bl, bu, v[5], got[3], aij;
  TVAint64t nz64;
  char name[32];

  CHECK(TVA_makeenv(&env, NULL) == TVA_RES_OK);
  CHECK(TVA_maketask(env, 0, 0, &task) == TVA_RES_OK);
  CHECK(TVA_appendcons(task, 2) == TVA_RES_OK);
  CHECK(TVA_appendvars(task, 3) == TVA_RES_OK);
  CHECK(TVA_putconboundslice(task, 0, 2, bkc, blc, buc) == TVA_RES_OK);
  CHECK(TVA_putvarboundlist(task, 2, sub, bkx, blx, bux) == TVA_RES_OK);
  CHECK(TVA_putvarbound(task, 2, TVA_BK_RA, -1.0, 1.0) == TVA_RES_OK);
  CHECK(TVA_putcslice(task, 0, 3, c) == TVA_RES_OK);
  CHECK(TVA_putacolslice(task, 0, 3, ptrb, ptre, asub, aval) == TVA_RES_OK);
  CHECK(TVA_putconname(task, 0, "cap") == TVA_RES_OK);
  CHECK(TVA_putvarname(task, 2, "z") == TVA_RES_OK);
  CHECK(TVA_putobjname(task, "cost") == TVA_RES_OK);

  CHECK(TVA_getnumcon(task, &num) == TVA_RES_OK && num == 2);
  CHECK(TVA_getconbound(task, 0, &bk, &bl, &bu) == TVA_RES_OK);
  CHECK(bk == TVA_BK_UP && bl == -1.0e30 && bu == 4.0);
  CHECK(TVA_getvarbound(task, 1, &bk, &bl, &bu) == TVA_RES_OK);
  CHECK(bk == TVA_BK_LO && bl == 0.0 && bu == 1.0e30);
  CHECK(TVA_chgvarbound(task, 2, 1, 0, 0.0) == TVA_RES_OK);
  CHECK(TVA_getvarbound(task, 2, &bk, &bl, &bu) == TVA_RES_OK);
  CHECK(bk == TVA_BK_UP && bl == -1.0e30 && bu == 1.0);
  CHECK(TVA_getcslice(task, 0, 3, got) == TVA_RES_OK);
  CHECK(memcmp(got, c, sizeof c) == 0);
  CHECK(TVA_getnumanz64(task, &nz64) == TVA_RES_OK && nz64 == 5);
  CHECK(TVA_getarow(task, 1, &nz, s, v) == TVA_RES_OK && nz == 3);
  CHECK(TVA_getaij(task, 1, 2, &aij) == TVA_RES_OK && aij == 5.0);
  surp = 5;
  CHECK(TVA_getaslice(task, TVA_ACC_CON, 0, 2, 5, &surp, pb, pe, s, v) == TVA_RES_OK);
  CHECK(surp == 0 && pe[0] - pb[0] == 2 && pe[1] - pb[1] == 3);

  CHECK(TVA_getvarnameindex(task, "z", &asgn, &index) == TVA_RES_OK && asgn == 1 && index == 2);
  CHECK(TVA_getconnameindex(task, "nothing", &asgn, &index) == TVA_RES_OK && asgn == 0);
  CHECK(TVA_getobjnamelen(task, &len) == TVA_RES_OK && len == 4);
  CHECK(TVA_getconname(task, 0, sizeof name, name) == TVA_RES_OK && strcmp(name, "cap") == 0);

  /* Refusals. */
  CHECK(TVA_putcslice(task, 0, 4, c) == TVA_RES_ERR_LAST);
  CHECK(TVA_putconbound(task, 0, TVA_BK_FX, 1.0, 2.0) == TVA_RES_ERR_FIXED_BOUND_VALUES);
  CHECK(TVA_getconname(task, 0, 3, name) == TVA_RES_ERR_NAME_MAX_LEN);
  CHECK(TVA_putvarname(task, 0, "z") == TVA_RES_ERR_DUP_NAME);
  CHECK(TVA_getconnameindex(task, "", &asgn, &index) == TVA_RES_ERR_BLANK_NAME);
  CHECK(TVA_getaslicenumnz(task, TVA_ACC_VAR, -1, 2, &nz) == TVA_RES_ERR_FIRST);

  /* The clone reads back the same. */
  CHECK(TVA_clonetask(task, &clone) == TVA_RES_OK);
  CHECK(TVA_getaij(clone, 1, 2, &aij) == TVA_RES_OK && aij == 5.0);
  CHECK(TVA_getvarname(clone, 2, sizeof name, name) == TVA_RES_OK && strcmp(name, "z") == 0);
  CHECK(TVA_getvarbound(clone, 2, &bk, &bl, &bu) == TVA_RES_OK && bk == TVA_BK_UP);

  CHECK(TVA_deletetask(&clone) == TVA_RES_OK);
  CHECK(TVA_deletetask(&task) == TVA_RES_OK);
  CHECK(TVA_deleteenv(&env) == TVA_RES_OK);
  if (failures) fprintf(stderr, "%d failures\n", failures);
  return failures ? 1 : 0;
}
