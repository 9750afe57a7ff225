// Forrest-Tomlin update: the column of one position is replaced by a spike. The pivot row r of
// the old column moves to the end of the U order; its U entries, which now lie left of the
// diagonal, are eliminated by the rows that follow it, and the multipliers form a row eta that
// every later forward solve applies after L.
#include <cmath>

#include "lu/lu_data.h"

namespace telva {

namespace {

constexpr double kTinyMultiplier = 1e-14;

bool refactor_advised(const lu* f, double before) {
  if (f->refactorlimit > 0) return f->numupdates >= f->refactorlimit;
  double k = f->numupdates;
  double nz = (double)(f->nzl + f->nzu);
  return nz * (4.0 * k - 4.0) >= 6.0 * f->factorwork + 4.0 * before && f->lupds > 10;
}

// Rows reached from row r through U: the rows whose multipliers may be nonzero, in an order
// where every row comes after the rows that feed it.
int32 rows_after(lu* f, int32 r) {
  int32 n = f->nrow;
  int32* mark = f->markr;
  int32* list = f->list;
  int32* stk = f->stack;
  int32 top = n, sp = 1;
  mark[r] = 1;
  stk[0] = r;
  stk[1] = f->ufirr[r];
  while (sp > 0) {
    int32 p = stk[2 * sp - 2];
    int32 s = stk[2 * sp - 1];
    int32 e = f->ufirr[p] + f->uuser[p];
    bool pushed = false;
    for (; s < e; ++s) {
      int32 i = f->invq[f->rsub[s]];
      if (mark[i]) continue;
      stk[2 * sp - 1] = s + 1;
      mark[i] = 1;
      stk[2 * sp] = i;
      stk[2 * sp + 1] = f->ufirr[i];
      sp++;
      pushed = true;
      break;
    }
    if (!pushed) {
      list[--top] = p;
      sp--;
    }
  }
  for (int32 k = top; k < n; ++k)
    mark[list[k]] = 0;
  return n - top;
}

} // namespace

int32 lu_update(lu* f, int32 oldcol, int32 newcol, int32 spikenz, const int32* spikeidx,
                const double* spikeval) {
  if (f->factormode != kLuFactored) return kLuNotFactorized;
  int32 n = f->nrow;
  if (oldcol < 0 || oldcol >= f->ncol || newcol < 0 || newcol >= f->ncol) return kLuBadArgument;
  int32 r = f->invq[oldcol];
  if (r >= n) return kLuBadArgument;
  if (newcol != oldcol && f->invq[newcol] < n) return kLuBadArgument;
  if (f->lupds >= f->mlu) return kLuNoRoomUpdate;

  // Row r of U, scattered by position; then eliminated by the rows after it.
  double* w = f->work;
  for (int32 s = f->ufirr[r], e = s + f->uuser[r]; s < e; ++s)
    w[f->rsub[s]] = f->rval[s];
  int32 cnt = rows_after(f, r);
  const int32* order = f->list + (n - cnt);
  int32 e0 = f->etastart[f->lupds];
  if (!lu_grow_set(f->sys, &f->etacap, (int64)e0 + cnt, &f->etasub, &f->etaval)) {
    for (int32 t = 0; t < cnt; ++t)
      w[f->q[order[t]]] = 0.0;
    return kLuNoRoomUpdate;
  }
  auto spike = [&](int32 i) {
    double v = spikeval[i];
    return std::fabs(v) > kTinyMultiplier ? v : 0.0;
  };
  double sum = 0.0, maxs = std::fabs(spike(r)), maxm = 0.0;
  int32 ne = e0;
  for (int32 t = 0; t < cnt; ++t) {
    int32 p = order[t];
    if (p == r) continue;
    int32 j = f->q[p];
    double m = w[j] / f->diag[p];
    w[j] = 0.0;
    double sp = spike(p);
    if (std::fabs(sp) > maxs) maxs = std::fabs(sp);
    if (!(std::fabs(m) > kTinyMultiplier)) continue;
    sum += sp * m;
    if (std::fabs(m) > maxm) maxm = std::fabs(m);
    f->etasub[ne] = p;
    f->etaval[ne] = -m;
    ne++;
    for (int32 s = f->ufirr[p], e = s + f->uuser[p]; s < e; ++s)
      w[f->rsub[s]] -= f->rval[s] * m;
  }
  double d = spike(r) - sum;
  if (std::fabs(d) < f->tolapiv || maxs * maxm * f->tolupdate >= std::fabs(d))
    return kLuUnstableUpdate;

  // The old column leaves U, and so do the entries of row r.
  for (int32 s = f->ufirc[oldcol], e = s + f->uusec[oldcol]; s < e; ++s)
    lu_row_remove_slot(f, f->csub[s], f->posr[s]);
  f->nzu -= f->uusec[oldcol];
  f->uusec[oldcol] = 0;
  for (int32 s = f->ufirr[r], e = s + f->uuser[r]; s < e; ++s)
    lu_col_remove_slot(f, f->rsub[s], f->posc[s]);
  f->nzu -= f->uuser[r];
  f->uuser[r] = 0;
  f->diag[r] = d;
  f->invq[oldcol] = n;
  f->q[r] = newcol;
  f->invq[newcol] = r;

  // The spike becomes the column of newcol, above the diagonal of the last row r.
  int32 nnew = 0;
  for (int32 t = 0; t < spikenz; ++t) {
    int32 i = spikeidx[t];
    if (i != r && std::fabs(spikeval[i]) > f->toldrop) nnew++;
  }
  int32 st = lu_col_reserve(f, newcol, nnew);
  for (int32 t = 0; t < spikenz && st == kLuOk; ++t) {
    int32 i = spikeidx[t];
    double v = spikeval[i];
    if (i == r || !(std::fabs(v) > f->toldrop)) continue;
    st = lu_row_reserve(f, i, 1);
    if (st) break;
    int32 rs = f->ufirr[i] + f->uuser[i]++;
    int32 cs = f->ufirc[newcol] + f->uusec[newcol]++;
    f->rsub[rs] = newcol;
    f->rval[rs] = v;
    f->posc[rs] = cs;
    f->csub[cs] = i;
    f->cval[cs] = v;
    f->posr[cs] = rs;
    f->nzu++;
  }
  if (st) {
    // The factors are half changed: only a refactorization helps now.
    f->factormode = kLuNothing;
    return kLuNoRoomUpdate;
  }
  f->etarow[f->lupds] = r;
  f->etastart[f->lupds + 1] = ne;
  f->lupds++;
  lu_uorder_unlink(f, r);
  lu_uorder_append(f, r);
  double before = f->updatework;
  f->numupdates++;
  f->updatework += (double)(f->nzl + f->nzu);
  if (f->lupds >= f->mlu) return kLuNoRoomUpdate;
  if (refactor_advised(f, before)) return kLuRefactorAdvised;
  return kLuOk;
}

int32 lu_updatefromcolumn(lu* f, int32 oldcol, int32 newcol, int32 nz, const int32* idx,
                          const double* val) {
  if (f->factormode != kLuFactored) return kLuNotFactorized;
  int32 snz = 0;
  for (int32 t = 0; t < nz; ++t) {
    int32 i = idx[t];
    if (i < 0 || i >= f->nrow) {
      for (int32 u = 0; u < snz; ++u)
        f->spkval[f->spkidx[u]] = 0.0;
      return kLuRowIndex;
    }
    if (f->spkval[i] == 0.0 && val[t] != 0.0) f->spkidx[snz++] = i;
    f->spkval[i] += val[t];
  }
  // The spike is formed without the solve drop tolerance: what it loses, the basis loses.
  lu_sparse_lower(f, &snz, f->spkidx, f->spkval, 0.0);
  lu_sparse_etas(f, &snz, f->spkidx, f->spkval);
  int32 st = lu_update(f, oldcol, newcol, snz, f->spkidx, f->spkval);
  for (int32 t = 0; t < snz; ++t)
    f->spkval[f->spkidx[t]] = 0.0;
  return st;
}

} // namespace telva
