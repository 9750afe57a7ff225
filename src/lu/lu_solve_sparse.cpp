// Hyper-sparse solves. Each part finds the rows it reaches by a depth-first search from the
// nonzeros, which gives a topological order, and then works only on those rows. When the
// search meets more than a quarter of the dimension in line lengths, it gives up and the part
// runs as a plain loop instead. Marks are returned clean by every part.
#include <cmath>

#include "lu/lu_data.h"

namespace telva {

namespace {

// Depth-first search over rows from the nz start rows. adj(p, &b, &e) gives the range of the
// neighbours of p, and node(s) the neighbour at s. The reached rows are left in topological
// order in f->list[n - count, n) and the count is returned; -1 when the line lengths met
// pass the limit (limit < 0: no limit). Marks are clean on return.
template <class Adj, class Node>
int32 reach(lu* f, int32 nz, const int32* start, int64 limit, Adj adj, Node node) {
  int32 n = f->nrow;
  int32* mark = f->markr;
  int32* list = f->list;
  int32* stk = f->stack; // pairs (row, next slot)
  int32 top = n;
  int64 seen = 0;
  for (int32 t = 0; t < nz; ++t) {
    int32 r0 = start[t];
    if (mark[r0]) continue;
    int32 sp = 0;
    mark[r0] = 1;
    int32 b, e;
    adj(r0, &b, &e);
    seen += e - b + 1;
    stk[0] = r0;
    stk[1] = b;
    sp = 1;
    while (sp > 0) {
      int32 p = stk[2 * sp - 2];
      int32 s = stk[2 * sp - 1];
      adj(p, &b, &e);
      bool pushed = false;
      for (; s < e; ++s) {
        int32 i = node(s);
        if (mark[i]) continue;
        stk[2 * sp - 1] = s + 1;
        mark[i] = 1;
        int32 bi, ei;
        adj(i, &bi, &ei);
        seen += ei - bi + 1;
        stk[2 * sp] = i;
        stk[2 * sp + 1] = bi;
        sp++;
        pushed = true;
        break;
      }
      if (!pushed) {
        list[--top] = p;
        sp--;
      }
      if (limit >= 0 && seen >= limit) {
        // Give up: clear the marks of everything met so far.
        for (int32 k = top; k < n; ++k)
          mark[list[k]] = 0;
        for (int32 k = 0; k < sp; ++k)
          mark[stk[2 * k]] = 0;
        return -1;
      }
    }
  }
  for (int32 k = top; k < n; ++k)
    mark[list[k]] = 0;
  return n - top;
}

// Collects the nonzeros of a dense vector into idx (the fallback after a plain loop).
int32 gather(int32 n, double* val, int32* idx) {
  int32 nz = 0;
  for (int32 i = 0; i < n; ++i)
    if (val[i] != 0.0) idx[nz++] = i;
  return nz;
}

} // namespace

void lu_sparse_lower(lu* f, int32* nz, int32* idx, double* val, double drop) {
  int32 n = f->nrow;
  const int32* lcr = f->lcolofrow;
  auto adj = [f, lcr](int32 p, int32* b, int32* e) {
    int32 k = lcr[p];
    if (k < 0)
      *b = *e = 0;
    else
      *b = f->lstart[k], *e = f->lstart[k + 1];
  };
  auto node = [f](int32 s) { return f->lsub[s]; };
  int32 cnt = reach(f, *nz, idx, n / 4, adj, node);
  if (cnt < 0) {
    for (int32 k = 0; k < f->nlcol; ++k) {
      double xp = val[f->lpiv[k]];
      if (xp == 0.0) continue;
      for (int32 s = f->lstart[k], e = f->lstart[k + 1]; s < e; ++s)
        val[f->lsub[s]] -= f->lval[s] * xp;
    }
    *nz = gather(n, val, idx);
  } else {
    const int32* order = f->list + (n - cnt);
    for (int32 t = 0; t < cnt; ++t) {
      int32 p = order[t];
      double xp = val[p];
      int32 k = lcr[p];
      if (xp == 0.0 || k < 0) continue;
      for (int32 s = f->lstart[k], e = f->lstart[k + 1]; s < e; ++s)
        val[f->lsub[s]] -= f->lval[s] * xp;
    }
    for (int32 t = 0; t < cnt; ++t)
      idx[t] = order[t];
    *nz = cnt;
  }
  int32 out = 0;
  for (int32 t = 0; t < *nz; ++t) {
    int32 i = idx[t];
    if (std::fabs(val[i]) <= drop)
      val[i] = 0.0;
    else
      idx[out++] = i;
  }
  *nz = out;
}

void lu_sparse_etas(lu* f, int32* nz, int32* idx, double* val) {
  if (f->lupds == 0) return;
  int32* mark = f->markr;
  for (int32 t = 0; t < *nz; ++t)
    mark[idx[t]] = 1;
  for (int32 k = 0; k < f->lupds; ++k) {
    double sum = 0.0;
    for (int32 s = f->etastart[k], e = f->etastart[k + 1]; s < e; ++s)
      sum += f->etaval[s] * val[f->etasub[s]];
    if (sum == 0.0) continue;
    int32 r = f->etarow[k];
    val[r] += sum;
    if (!mark[r]) {
      mark[r] = 1;
      idx[(*nz)++] = r;
    }
  }
  for (int32 t = 0; t < *nz; ++t)
    mark[idx[t]] = 0;
}

namespace {

// U y = x, x in row space given by (nz, idx, val), y in position space written back into the
// same arrays.
void upper_sparse(lu* f, double droprel, double relcancel, int32* nz, int32* idx, double* val) {
  int32 n = f->nrow;
  double* y = f->work;
  auto adj = [f](int32 p, int32* b, int32* e) {
    int32 j = f->q[p];
    *b = f->ufirc[j];
    *e = *b + f->uusec[j];
  };
  auto node = [f](int32 s) { return f->csub[s]; };
  int32 cnt = reach(f, *nz, idx, n / 4, adj, node);
  int32 out = 0;
  if (cnt < 0) {
    // Plain row-oriented loop along the U order.
    for (int32 t = f->nuseq - 1; t >= 0; --t) {
      int32 p = f->useq[t];
      if (p < 0) continue;
      double v = val[p];
      val[p] = 0.0;
      for (int32 s = f->ufirr[p], e = s + f->uuser[p]; s < e; ++s)
        v -= f->rval[s] * y[f->rsub[s]];
      double d = f->diag[p];
      y[f->q[p]] = std::fabs(v) <= droprel * std::fabs(d) ? 0.0 : v / d;
    }
    for (int32 j = 0; j < n; ++j) {
      val[j] = y[j];
      y[j] = 0.0;
    }
    *nz = gather(n, val, idx);
    return;
  }
  const int32* order = f->list + (n - cnt);
  for (int32 t = 0; t < cnt; ++t) {
    int32 p = order[t];
    double v = val[p];
    val[p] = 0.0;
    double d = f->diag[p];
    if (v == 0.0 || std::fabs(v) <= droprel * std::fabs(d)) continue;
    double yq = v / d;
    int32 j = f->q[p];
    y[j] = yq;
    idx[out++] = j;
    for (int32 s = f->ufirc[j], e = s + f->uusec[j]; s < e; ++s) {
      int32 i = f->csub[s];
      double before = val[i];
      double after = before - f->cval[s] * yq;
      // A sum that cancels to rounding level is taken as zero.
      if (std::fabs(after) <= relcancel * std::fabs(before)) after = 0.0;
      val[i] = after;
    }
  }
  for (int32 t = 0; t < out; ++t) {
    int32 j = idx[t];
    val[j] = y[j];
    y[j] = 0.0;
  }
  *nz = out;
}

} // namespace

int32 lu_ftranspike(lu* f, int32* nz, int32* idx, double* val) {
  if (f->factormode != kLuFactored) return kLuNotFactorized;
  lu_sparse_lower(f, nz, idx, val, f->tolsolvedrop);
  lu_sparse_etas(f, nz, idx, val);
  return kLuOk;
}

int32 lu_ftranfinish(lu* f, double tol, int32* nz, int32* idx, double* val) {
  if (f->factormode != kLuFactored) return kLuNotFactorized;
  upper_sparse(f, tol, tol, nz, idx, val);
  return kLuOk;
}

int32 lu_ftransparse(lu* f, int32* nz, int32* idx, double* val) {
  if (f->factormode != kLuFactored) return kLuNotFactorized;
  lu_sparse_lower(f, nz, idx, val, f->tolsolvedrop);
  lu_sparse_etas(f, nz, idx, val);
  upper_sparse(f, f->tolsolvedrop, f->tolrelcancel, nz, idx, val);
  return kLuOk;
}

int32 lu_btransparse(lu* f, double tol, int32* nz, int32* idx, double* val) {
  if (f->factormode != kLuFactored) return kLuNotFactorized;
  int32 n = f->nrow;
  double drop = tol < 0.0 ? f->tolsolvedrop : tol;
  double* y = f->work;
  // U' w = x: x by positions, w by rows. No limit on the search here.
  int32* starts = f->starts;
  int32 ns = *nz;
  for (int32 t = 0; t < ns; ++t)
    starts[t] = f->invq[idx[t]];
  auto adj = [f](int32 p, int32* b, int32* e) {
    *b = f->ufirr[p];
    *e = *b + f->uuser[p];
  };
  auto node = [f](int32 s) { return f->invq[f->rsub[s]]; };
  int32 cnt = reach(f, ns, starts, -1, adj, node);
  const int32* order = f->list + (n - cnt);
  int32 out = 0;
  for (int32 t = 0; t < cnt; ++t) {
    int32 p = order[t];
    int32 j = f->q[p];
    double v = val[j];
    val[j] = 0.0;
    if (v == 0.0 || std::fabs(v) <= drop * std::fabs(f->diag[p])) continue;
    double w = v / f->diag[p];
    y[p] = w;
    idx[out++] = p;
    for (int32 s = f->ufirr[p], e = s + f->uuser[p]; s < e; ++s)
      val[f->rsub[s]] -= f->rval[s] * w;
  }
  for (int32 t = 0; t < out; ++t) {
    int32 p = idx[t];
    val[p] = y[p];
    y[p] = 0.0;
  }
  *nz = out;
  // Row etas in reverse; an eta whose row value is negligible is skipped.
  if (f->lupds > 0) {
    int32* mark = f->markr;
    for (int32 t = 0; t < *nz; ++t)
      mark[idx[t]] = 1;
    for (int32 k = f->lupds - 1; k >= 0; --k) {
      double yr = val[f->etarow[k]];
      if (std::fabs(yr) <= f->tolsolvedrop) continue;
      for (int32 s = f->etastart[k], e = f->etastart[k + 1]; s < e; ++s) {
        int32 i = f->etasub[s];
        val[i] += f->etaval[s] * yr;
        if (!mark[i]) {
          mark[i] = 1;
          idx[(*nz)++] = i;
        }
      }
    }
    for (int32 t = 0; t < *nz; ++t)
      mark[idx[t]] = 0;
  }
  // L' in reverse creation order, as a search over the rows of L.
  auto ladj = [f](int32 i, int32* b, int32* e) {
    *b = f->lrstart[i];
    *e = f->lrstart[i + 1];
  };
  auto lnode = [f](int32 s) { return f->lrsub[s]; };
  cnt = reach(f, *nz, idx, n / 4, ladj, lnode);
  if (cnt < 0) {
    for (int32 k = f->nlcol - 1; k >= 0; --k) {
      double sum = 0.0;
      for (int32 s = f->lstart[k], e = f->lstart[k + 1]; s < e; ++s)
        sum += f->lval[s] * val[f->lsub[s]];
      val[f->lpiv[k]] -= sum;
    }
    *nz = gather(n, val, idx);
  } else {
    order = f->list + (n - cnt);
    for (int32 t = 0; t < cnt; ++t) {
      int32 i = order[t];
      double xi = val[i];
      if (xi == 0.0) continue;
      for (int32 s = f->lrstart[i], e = f->lrstart[i + 1]; s < e; ++s)
        val[f->lrsub[s]] -= f->lrval[s] * xi;
    }
    for (int32 t = 0; t < cnt; ++t)
      idx[t] = order[t];
    *nz = cnt;
  }
  out = 0;
  for (int32 t = 0; t < *nz; ++t) {
    int32 i = idx[t];
    if (std::fabs(val[i]) <= drop)
      val[i] = 0.0;
    else
      idx[out++] = i;
  }
  *nz = out;
  return kLuOk;
}

} // namespace telva
