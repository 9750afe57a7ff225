/* The basis exports through the C interface only: the optimal basis of a small LP is
   factorized, and a solve with it and with its transpose reproduces the right side. */
#include <stdio.h>

#include "telva.h"

static int failures = 0;

#define CHECK(cond)                                                                                \
  do {                                                                                             \
    if (!(cond)) {                                                                                 \
      ++failures;                                                                                  \
      fprintf(stderr, "FAILED at line %d: %s\n", __LINE__, #cond);                                 \
    }                                                                                              \
  } while (0)

static double absval(double v) {
  return v < 0.0 ? -v : v;
}

/* A: rows (1 2) and (3 1); the logical of row i is -e_i. */
static double entry(TVAint32t k, TVAint32t i) {
  static const double a[2][2] = {{1.0, 2.0}, {3.0, 1.0}};
  if (k < 2) return k == i ? -1.0 : 0.0;
  return a[i][k - 2];
}

int main(void) {
  TVAenv_t env = NULL;
  TVAtask_t task = NULL;
  TVAint32t sub0[] = {0, 1}, head[2] = {-1, -1}, sub[2] = {0, 0}, nz = 1, p, i, t;
  double col0[] = {1.0, 3.0}, col1[] = {2.0, 1.0}, val[2] = {1.0, 0.0}, nb = 0.0, ninv = 0.0;
  CHECK(TVA_makeenv(&env, NULL) == TVA_RES_OK);
  CHECK(TVA_maketask(env, 2, 2, &task) == TVA_RES_OK);
  CHECK(TVA_putintparam(task, TVA_IPAR_LOG, 0) == TVA_RES_OK);
  CHECK(TVA_appendcons(task, 2) == TVA_RES_OK);
  CHECK(TVA_appendvars(task, 2) == TVA_RES_OK);
  CHECK(TVA_putacol(task, 0, 2, sub0, col0) == TVA_RES_OK);
  CHECK(TVA_putacol(task, 1, 2, sub0, col1) == TVA_RES_OK);
  CHECK(TVA_putconbound(task, 0, TVA_BK_UP, -TVA_INFINITY, 4.0) == TVA_RES_OK);
  CHECK(TVA_putconbound(task, 1, TVA_BK_UP, -TVA_INFINITY, 6.0) == TVA_RES_OK);
  for (i = 0; i < 2; ++i) {
    CHECK(TVA_putvarbound(task, i, TVA_BK_LO, 0.0, TVA_INFINITY) == TVA_RES_OK);
    CHECK(TVA_putcj(task, i, -1.0) == TVA_RES_OK);
  }
  CHECK(TVA_initbasissolve(task, head) == TVA_RES_ERR_NO_BASIS_SOL);
  CHECK(TVA_putintparam(task, TVA_IPAR_OPTIMIZER, TVA_OPTIMIZER_PRIMAL_SIMPLEX) == TVA_RES_OK);
  CHECK(TVA_optimize(task) == TVA_RES_OK);
  CHECK(TVA_initbasissolve(task, head) == TVA_RES_OK);
  /* Both rows bind at the optimum: the basis is the two variables. */
  CHECK(head[0] + head[1] == 5 && head[0] >= 2 && head[1] >= 2);
  for (t = 0; t < 2; ++t) {
    double x[2], r;
    nz = 1, sub[0] = 0, val[0] = 1.0, val[1] = 0.0;
    CHECK(TVA_solvewithbasis(task, t, &nz, sub, val) == TVA_RES_OK);
    x[0] = val[0], x[1] = val[1];
    for (i = 0; i < 2; ++i) {
      r = 0.0;
      for (p = 0; p < 2; ++p)
        r += t ? entry(head[i], p) * x[p] : entry(head[p], i) * x[p];
      CHECK(absval(r - (i == 0 ? 1.0 : 0.0)) < 1e-12);
    }
  }
  CHECK(TVA_basiscond(task, &nb, &ninv) == TVA_RES_OK);
  CHECK(absval(nb - 4.0) < 1e-12); /* the largest column sum, 1 + 3 */
  CHECK(ninv > 0.0);
  TVA_deletetask(&task);
  TVA_deleteenv(&env);
  if (failures) return 1;
  printf("test_basis: all checks passed\n");
  return 0;
}
