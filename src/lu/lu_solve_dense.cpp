// Dense solves with the factors: L columns as axpy steps, row etas as dot products, U
// columns as axpy steps along the U order; the transposed solve runs U by rows.
#include <cmath>

#include "lu/lu_data.h"

namespace telva {

namespace {

void lower_dense(const lu* f, double* x) {
  for (int32 k = 0; k < f->nlcol; ++k) {
    double xp = x[f->lpiv[k]];
    if (xp == 0.0) continue;
    const int32* sub = f->lsub;
    const double* val = f->lval;
    for (int32 s = f->lstart[k], e = f->lstart[k + 1]; s < e; ++s)
      x[sub[s]] -= val[s] * xp;
  }
}

void etas_dense(const lu* f, double* x) {
  for (int32 k = 0; k < f->lupds; ++k) {
    double sum = 0.0;
    for (int32 s = f->etastart[k], e = f->etastart[k + 1]; s < e; ++s)
      sum += f->etaval[s] * x[f->etasub[s]];
    x[f->etarow[k]] += sum;
  }
}

// U y = x backward along the U order; with a guard, a component with |x| >= ratio |diag|
// becomes zero and the guard is reported. Column by column, so that the zeros of the result,
// which are many even in a dense solve of a simplex column, cost nothing.
bool upper_dense(const lu* f, double* x, double* y, double ratio) {
  bool hit = false;
  for (int32 t = f->nuseq - 1; t >= 0; --t) {
    int32 p = f->useq[t];
    if (p < 0) continue;
    double v = x[p];
    x[p] = 0.0;
    const int32 j = f->q[p];
    if (v == 0.0) {
      y[j] = 0.0;
      continue;
    }
    double d = f->diag[p];
    if (ratio > 0.0 && std::fabs(v) >= ratio * std::fabs(d)) {
      hit = true;
      y[j] = 0.0;
      continue;
    }
    double yj = v / d;
    y[j] = yj;
    for (int32 s = f->ufirc[j], e = s + f->uusec[j]; s < e; ++s)
      x[f->csub[s]] -= f->cval[s] * yj;
  }
  return hit;
}

} // namespace

int32 lu_ftran(lu* f, double* x, double* y) {
  return lu_ftranguarded(f, 0.0, x, y);
}

int32 lu_ftranguarded(lu* f, double ratio, double* x, double* y) {
  if (f->factormode != kLuFactored) return kLuNotFactorized;
  lower_dense(f, x);
  etas_dense(f, x);
  return upper_dense(f, x, y, ratio) ? kLuGuardHit : kLuOk;
}

int32 lu_btran(lu* f, double* x, double* y) {
  if (f->factormode != kLuFactored) return kLuNotFactorized;
  for (int32 t = 0; t < f->nuseq; ++t) {
    int32 p = f->useq[t];
    if (p < 0) continue;
    int32 j = f->q[p];
    double v = x[j] / f->diag[p];
    x[j] = 0.0;
    y[p] = v;
    if (v == 0.0) continue;
    for (int32 s = f->ufirr[p], e = s + f->uuser[p]; s < e; ++s)
      x[f->rsub[s]] -= f->rval[s] * v;
  }
  for (int32 k = f->lupds - 1; k >= 0; --k) {
    double yr = y[f->etarow[k]];
    if (yr == 0.0) continue;
    for (int32 s = f->etastart[k], e = f->etastart[k + 1]; s < e; ++s)
      y[f->etasub[s]] += f->etaval[s] * yr;
  }
  for (int32 k = f->nlcol - 1; k >= 0; --k) {
    double sum = 0.0;
    for (int32 s = f->lstart[k], e = f->lstart[k + 1]; s < e; ++s)
      sum += f->lval[s] * y[f->lsub[s]];
    y[f->lpiv[k]] -= sum;
  }
  return kLuOk;
}

} // namespace telva
