// Finalization of a factorization: L gets its row form, U its column file with values and
// its order list, and the update machinery is reset. Also the repair of a rank-deficient
// factorization by slack columns, and the pivot range.
#include <cmath>

#include "lu/lu_data.h"

namespace telva {

int32 lu_finalize(lu* f) {
  int32 nrow = f->nrow;
  // L by rows: row i lists the pivot rows whose L column holds i, with the multiplier.
  int32 nl = f->lstart[f->nlcol];
  if (!lu_grow_set(f->sys, &f->lrcap, (int64)nl + 1, &f->lrsub, &f->lrval)) {
    f->factormode = kLuNothing;
    return kLuStorage;
  }
  for (int32 i = 0; i <= nrow; ++i)
    f->lrstart[i] = 0;
  for (int32 s = 0; s < nl; ++s)
    f->lrstart[f->lsub[s] + 1]++;
  for (int32 i = 0; i < nrow; ++i)
    f->lrstart[i + 1] += f->lrstart[i];
  for (int32 k = 0; k < f->nlcol; ++k) {
    int32 p = f->lpiv[k];
    for (int32 s = f->lstart[k]; s < f->lstart[k + 1]; ++s) {
      int32 i = f->lsub[s];
      int32 t = f->lrstart[i]++;
      f->lrsub[t] = p;
      f->lrval[t] = f->lval[s];
    }
  }
  for (int32 i = nrow; i > 0; --i)
    f->lrstart[i] = f->lrstart[i - 1];
  f->lrstart[0] = 0;
  f->nzl = nl;
  // U: the rows already hold their entries; the column file is rebuilt with values.
  if (int32 st = lu_build_colfile(f, true)) {
    f->factormode = kLuNothing;
    return st;
  }
  f->nzu = 0;
  for (int32 i = 0; i < nrow; ++i)
    f->nzu += f->uuser[i];
  f->nuseq = 0;
  for (int32 k = 0; k < nrow; ++k)
    lu_uorder_append(f, f->pivorder[k]);
  f->lupds = 0;
  f->etastart[0] = 0;
  f->numupdates = 0;
  f->updatework = 0.0;
  f->orderisvalid = true;
  f->last_pivotmode = f->pivotmode;
  f->last_tolrpiv = f->tolrpiv;
  f->last_tolapiv = f->tolapiv;
  f->factormode = kLuFactored;
  return kLuOk;
}

int32 lu_completewithslacks(lu* f, double pivotvalue, int32* map) {
  if (f->factormode != kLuFactorizing) return kLuNotFactorized;
  if (f->nrow != f->ncol) return kLuNotSquare;
  int32 nrow = f->nrow, ncol = f->ncol;
  // The unpivoted columns are replaced by pivotvalue times a unit column of an unpivoted row,
  // so every entry in them goes, and unpivoted rows keep only their new diagonal.
  for (int32 i = 0; i < nrow; ++i) {
    int32 b = f->ufirr[i], e = b + f->uuser[i], out = b;
    if (f->q[i] < ncol) {
      for (int32 s = b; s < e; ++s)
        if (f->invq[f->rsub[s]] < nrow) {
          f->rsub[out] = f->rsub[s];
          f->rval[out] = f->rval[s];
          out++;
        }
    }
    f->uuser[i] = out - b;
  }
  for (int32 j = 0; j < ncol; ++j)
    map[j] = ncol;
  int32 j = 0;
  for (int32 i = 0; i < nrow; ++i) {
    if (f->q[i] < ncol) continue;
    while (f->invq[j] < nrow)
      ++j;
    map[j] = i;
    f->q[i] = j;
    f->invq[j] = i;
    f->diag[i] = pivotvalue;
    f->pivorder[f->stpf++] = i;
  }
  return lu_finalize(f);
}

int32 lu_pivotrange(const lu* f, double* mindiag, double* maxdiag, double* maxl, double* maxu) {
  if (f->factormode != kLuFactored) return kLuNotFactorized;
  double mn = f->nrow > 0 ? HUGE_VAL : 0.0, mx = 0.0;
  for (int32 i = 0; i < f->nrow; ++i) {
    double a = std::fabs(f->diag[i]);
    if (a < mn) mn = a;
    if (a > mx) mx = a;
  }
  if (mindiag) *mindiag = mn;
  if (maxdiag) *maxdiag = mx;
  if (maxl) {
    double m = 0.0;
    for (int32 s = 0; s < f->lstart[f->nlcol]; ++s)
      m = std::fmax(m, std::fabs(f->lval[s]));
    *maxl = m;
  }
  if (maxu) {
    double m = 0.0;
    for (int32 i = 0; i < f->nrow; ++i)
      for (int32 s = f->ufirr[i]; s < f->ufirr[i] + f->uuser[i]; ++s)
        m = std::fmax(m, std::fabs(f->rval[s]));
    *maxu = m;
  }
  return kLuOk;
}

int32 lu_pivotrangescaled(const lu* f, double* mindiag, double* maxdiag, double* maxl,
                          double* maxu) {
  if (f->factormode != kLuFactored || f->stpf < f->nrow) return kLuNotFullRank;
  int32 st = lu_pivotrange(f, mindiag, maxdiag, maxl, nullptr);
  if (st) return st;
  if (maxl) {
    for (int32 s = 0; s < f->etastart[f->lupds]; ++s)
      *maxl = std::fmax(*maxl, std::fabs(f->etaval[s]));
  }
  if (maxu) {
    double m = 0.0;
    for (int32 i = 0; i < f->nrow; ++i)
      for (int32 s = f->ufirr[i]; s < f->ufirr[i] + f->uuser[i]; ++s)
        m = std::fmax(m, std::fabs(f->rval[s] / f->diag[i]));
    *maxu = m;
  }
  return kLuOk;
}

} // namespace telva
