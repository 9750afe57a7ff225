// Factorization: the input is laid out in the row and column files, and pivots are chosen by
// Markowitz counts with threshold stability tests, singletons first, until the active matrix
// is exhausted or holds no acceptable pivot. Values live in the row file only while the loop
// runs; the column file holds the pattern with cross pointers to the values.
#include <cmath>

#include "lu/lu_data.h"

namespace telva {

namespace {

constexpr int32 kNone = -1;
constexpr double kProgressUnits = 100000.0;
constexpr double kStrongRatio = 0.25;
constexpr double kWeakWeight = 10.0;

// Count lists of the active rows and columns: one doubly linked list per count.
struct CountLists {
  int32* head = nullptr; // by count, size maxcount + 1
  int32* next = nullptr;
  int32* prev = nullptr;
  int32* key = nullptr; // count under which the line is listed, kNone when not listed
  int32 maxcount = 0;

  void insert(int32 i, int32 k) {
    key[i] = k;
    prev[i] = kNone;
    next[i] = head[k];
    if (head[k] != kNone) prev[head[k]] = i;
    head[k] = i;
  }
  void remove(int32 i) {
    int32 k = key[i];
    if (k == kNone) return;
    if (prev[i] != kNone)
      next[prev[i]] = next[i];
    else
      head[k] = next[i];
    if (next[i] != kNone) prev[next[i]] = prev[i];
    key[i] = kNone;
  }
  void rekey(int32 i, int32 k) {
    if (key[i] == kNone || key[i] == k) return;
    remove(i);
    insert(i, k);
  }
};

// Per-factorization scratch, taken from the environment's memory and given back at the end.
struct FactorWork {
  sysenv* sys = nullptr;
  int32* ibuf = nullptr;
  double* dbuf = nullptr;
  CountLists rows, cols;
  double* cmax = nullptr; // cached column maxima, -1 when stale
  double* rmax = nullptr; // cached row maxima (pivot mode 2)
  double* w = nullptr;    // the pivot row scattered by column
  int32* prow = nullptr;  // columns of the pivot row
  int32* crow = nullptr;  // rows of the pivot column
  double* cv = nullptr;   // values of the pivot column
  // Per column: at least the pivot's tick when in the pivot row, the row's tick once met in
  // the row being updated. Ticks only grow, so nothing is reset between rows.
  int32* stamp = nullptr;
  int32 tick = 0;
  int32* cslot = nullptr; // row-file slots of the pivot column's entries

  ~FactorWork() {
    if (ibuf) TVA_SYS_FREE(sys, ibuf);
    if (dbuf) TVA_SYS_FREE(sys, dbuf);
  }
  bool alloc(sysenv* s, int32 nrow, int32 ncol) {
    sys = s;
    int64 ni = (int64)(ncol + 2) + 3 * (int64)nrow + (int64)(nrow + 2) + 3 * (int64)ncol + ncol +
               nrow + ncol + nrow;
    int64 nd = (int64)ncol + nrow + ncol + nrow;
    ibuf = TVA_SYS_ALLOC(s, int32, (size_t)(ni + 1));
    dbuf = TVA_SYS_ALLOC(s, double, (size_t)(nd + 1));
    if (!ibuf || !dbuf) return false;
    int32* p = ibuf;
    rows.head = p, p += ncol + 2;
    rows.next = p, p += nrow;
    rows.prev = p, p += nrow;
    rows.key = p, p += nrow;
    rows.maxcount = ncol + 1;
    cols.head = p, p += nrow + 2;
    cols.next = p, p += ncol;
    cols.prev = p, p += ncol;
    cols.key = p, p += ncol;
    cols.maxcount = nrow + 1;
    prow = p, p += ncol;
    crow = p, p += nrow;
    stamp = p, p += ncol;
    cslot = p, p += nrow;
    double* d = dbuf;
    cmax = d, d += ncol;
    rmax = d, d += nrow;
    w = d, d += ncol;
    cv = d, d += nrow;
    for (int32 k = 0; k <= ncol + 1; ++k)
      rows.head[k] = kNone;
    for (int32 k = 0; k <= nrow + 1; ++k)
      cols.head[k] = kNone;
    for (int32 i = 0; i < nrow; ++i)
      rows.key[i] = kNone;
    for (int32 j = 0; j < ncol; ++j)
      cols.key[j] = kNone;
    return true;
  }
};

// Pulls the column source into the triplet arrays.
int32 pull_column_source(lu* f) {
  int32 ncol = f->ncol;
  int32* start = TVA_SYS_ALLOC(f->sys, int32, (size_t)ncol + 1);
  if (!start) return kLuNoMemory;
  int32 st = f->src_size(f->src_context, start);
  int64 total = 0;
  for (int32 j = 0; j < ncol && st == 0; ++j) {
    int32 c = start[j];
    start[j] = (int32)total;
    total += c;
  }
  start[ncol] = (int32)total;
  if (st != 0 || total >= 0x7fffffff) {
    TVA_SYS_FREE(f->sys, start);
    return st != 0 ? st : kLuInputFit;
  }
  int32* rows = TVA_SYS_ALLOC(f->sys, int32, (size_t)total + 1);
  double* vals = TVA_SYS_ALLOC(f->sys, double, (size_t)total + 1);
  if (!rows || !vals) st = kLuNoMemory;
  if (st == 0) st = f->src_fill(f->src_context, start, rows, vals);
  if (st == 0) {
    f->in_nz = 0;
    for (int32 j = 0; j < ncol && st == 0; ++j)
      st = lu_putcolumn(f, j, start[j + 1] - start[j], vals + start[j], rows + start[j], f->nrow,
                        nullptr);
  }
  TVA_SYS_FREE(f->sys, start);
  if (rows) TVA_SYS_FREE(f->sys, rows);
  if (vals) TVA_SYS_FREE(f->sys, vals);
  return st;
}

// Lays the triplets out in the row file (duplicates summed, tiny sums dropped) and builds the
// column pattern.
int32 setup_files(lu* f) {
  int32 nrow = f->nrow, ncol = f->ncol;
  for (int32 i = 0; i < nrow; ++i)
    f->uuser[i] = 0;
  for (int64 k = 0; k < f->in_nz; ++k)
    f->uuser[f->in_row[k]]++;
  int64 total = 0;
  for (int32 i = 0; i < nrow; ++i) {
    f->uszer[i] = lu_linecap(f->uuser[i], ncol);
    total += f->uszer[i];
  }
  int64 want = 2 * total + 2 * (int64)nrow + 64;
  if (want > 0x7fffffff) return kLuStorage;
  if (!lu_grow_set(f->sys, &f->rcap, want, &f->rsub, &f->rval, &f->posc)) return kLuStorage;
  // Rows are laid out in the last pivot order when it is known: a refactorization of a
  // slightly changed basis then meets its rows in an order that worked before.
  int32 end = 0;
  for (int32 k = 0; k < nrow; ++k) {
    int32 i = f->orderisvalid ? f->pivorder[k] : k;
    f->ufirr[i] = end;
    end += f->uszer[i];
    f->uuser[i] = 0;
  }
  f->uendr = end;
  for (int64 k = 0; k < f->in_nz; ++k) {
    int32 i = f->in_row[k];
    int32 s = f->ufirr[i] + f->uuser[i]++;
    f->rsub[s] = f->in_col[k];
    f->rval[s] = f->in_val[k];
    f->posc[s] = -1;
  }
  // Sum duplicates within each row.
  int32* slot = f->markc;
  for (int32 i = 0; i < nrow; ++i) {
    int32 b = f->ufirr[i];
    int32 e = b + f->uuser[i], out = b;
    for (int32 s = b; s < e; ++s) {
      int32 j = f->rsub[s];
      if (slot[j] > 0) {
        f->rval[slot[j] - 1] += f->rval[s];
        continue;
      }
      f->rsub[out] = j;
      f->rval[out] = f->rval[s];
      slot[j] = ++out;
    }
    int32 keep = b;
    for (int32 s = b; s < out; ++s) {
      slot[f->rsub[s]] = 0;
      if (std::fabs(f->rval[s]) > f->toldrop) {
        f->rsub[keep] = f->rsub[s];
        f->rval[keep] = f->rval[s];
        keep++;
      }
    }
    f->uuser[i] = keep - b;
  }
  (void)ncol;
  return lu_build_colfile(f, false);
}

double column_max(lu* f, FactorWork& fw, int32 j) {
  if (fw.cmax[j] >= 0.0) return fw.cmax[j];
  double m = 0.0;
  int32 b = f->ufirc[j], e = b + f->uusec[j];
  for (int32 s = b; s < e; ++s) {
    double a = std::fabs(f->rval[f->posr[s]]);
    if (a > m) m = a;
  }
  fw.cmax[j] = m;
  return m;
}

double row_max(lu* f, FactorWork& fw, int32 i) {
  if (fw.rmax[i] >= 0.0) return fw.rmax[i];
  double m = 0.0;
  int32 b = f->ufirr[i], e = b + f->uuser[i];
  for (int32 s = b; s < e; ++s) {
    double a = std::fabs(f->rval[s]);
    if (a > m) m = a;
  }
  fw.rmax[i] = m;
  return m;
}

// A pivot that passes the threshold only narrowly may make multipliers up to 1/tolrpiv, and
// their products grow U. Such candidates pay a higher Markowitz merit, so that a stronger one
// of similar sparsity wins.
inline double weak_weight(double ratio) {
  return ratio >= kStrongRatio ? 1.0 : kWeakWeight;
}

// Chooses the next pivot; false when the active matrix holds no acceptable one.
bool choose_pivot(lu* f, FactorWork& fw, int32* pp, int32* pq, double* work) {
  const bool mode2 = f->pivotmode == 2;
  // Empty lines can never hold a pivot.
  while (fw.cols.head[0] != kNone)
    fw.cols.remove(fw.cols.head[0]), *work += 1;
  while (fw.rows.head[0] != kNone)
    fw.rows.remove(fw.rows.head[0]), *work += 1;
  if (!mode2) {
    // Singletons need no arithmetic and cause no growth; only the absolute test applies.
    for (int32 j = fw.cols.head[1]; j != kNone; j = fw.cols.next[j]) {
      *work += 1;
      int32 s = f->ufirc[j];
      if (std::fabs(f->rval[f->posr[s]]) >= f->tolapiv) {
        *pp = f->csub[s];
        *pq = j;
        return true;
      }
    }
    for (int32 i = fw.rows.head[1]; i != kNone; i = fw.rows.next[i]) {
      *work += 1;
      int32 s = f->ufirr[i];
      int32 j = f->rsub[s];
      if (fw.cols.key[j] != kNone && std::fabs(f->rval[s]) >= f->tolapiv) {
        *pp = i;
        *pq = j;
        return true;
      }
    }
  }
  double best = 0.0, bestratio = 0.0;
  bool found = false;
  int32 inspected = 0;
  int32 bp = -1, bq = -1;
  int32 kmax = fw.rows.maxcount > fw.cols.maxcount ? fw.rows.maxcount : fw.cols.maxcount;
  auto stop = [&](double bound) { return found && (inspected >= f->searchlimit || best <= bound); };
  for (int32 k = mode2 ? 1 : 2; k < kmax; ++k) {
    double km1 = (double)(k - 1);
    if (k <= fw.cols.maxcount) {
      if (stop(km1 * km1)) break;
      int32 j = fw.cols.head[k];
      while (j != kNone) {
        int32 nextj = fw.cols.next[j];
        double cm = column_max(f, fw, j);
        if (cm < f->tolapiv) {
          fw.cols.remove(j);
          j = nextj;
          continue;
        }
        double thr = f->tolrpiv * cm;
        if (thr < f->tolapiv) thr = f->tolapiv;
        int32 b = f->ufirc[j], e = b + f->uusec[j];
        for (int32 s = b; s < e; ++s) {
          double a = std::fabs(f->rval[f->posr[s]]);
          if (a < thr) continue;
          int32 i = f->csub[s];
          if (mode2 && a < f->tolrpiv * row_max(f, fw, i)) continue;
          double ratio = a / cm;
          double merit = (double)(f->uuser[i] - 1) * km1 * weak_weight(ratio);
          // On equal merit the entry that is larger relative to its column wins: it keeps
          // the multipliers, and with them the growth of U, smaller.
          if (!found || merit < best || (merit == best && ratio > bestratio)) {
            found = true;
            best = merit;
            bestratio = ratio;
            bp = i;
            bq = j;
          }
        }
        *work += e - b;
        inspected++;
        if (stop(km1 * km1)) break;
        j = nextj;
      }
    }
    if (k <= fw.rows.maxcount) {
      if (stop((double)k * km1)) break;
      int32 i = fw.rows.head[k];
      while (i != kNone) {
        int32 nexti = fw.rows.next[i];
        int32 b = f->ufirr[i], e = b + f->uuser[i];
        double rm = mode2 ? row_max(f, fw, i) : 0.0;
        for (int32 s = b; s < e; ++s) {
          int32 j = f->rsub[s];
          int32 c = f->uusec[j];
          if (c <= k || fw.cols.key[j] == kNone) continue;
          double a = std::fabs(f->rval[s]);
          double cm = column_max(f, fw, j);
          double thr = f->tolrpiv * cm;
          if (thr < f->tolapiv) thr = f->tolapiv;
          if (a < thr) continue;
          if (mode2 && a < f->tolrpiv * rm) continue;
          double ratio = a / cm;
          double merit = (double)(c - 1) * km1 * weak_weight(ratio);
          if (!found || merit < best || (merit == best && ratio > bestratio)) {
            found = true;
            best = merit;
            bestratio = ratio;
            bp = i;
            bq = j;
          }
        }
        *work += e - b;
        inspected++;
        if (stop((double)k * km1)) break;
        i = nexti;
      }
    }
  }
  if (!found) return false;
  *pp = bp;
  *pq = bq;
  return true;
}

// Stores L column entries; the caller opens the column with begin_lcol.
inline bool push_l(lu* f, int32 row, double val) {
  int32 at = f->lstart[f->nlcol + 1];
  if (!lu_grow_set(f->sys, &f->lcap, (int64)at + 1, &f->lsub, &f->lval)) return false;
  f->lsub[at] = row;
  f->lval[at] = val;
  f->lstart[f->nlcol + 1] = at + 1;
  return true;
}

// Eliminates with pivot (p, q): the pivot row becomes a row of U, the pivot column gives a
// column of L, and every other row of the pivot column is updated by the pivot row.
int32 eliminate(lu* f, FactorWork& fw, int32 p, int32 q, double* work) {
  fw.rows.remove(p);
  fw.cols.remove(q);
  f->invq[q] = p;
  // The pivot row leaves the column pattern; its values stay in the row file as U.
  int32 np = 0;
  double piv = 0.0;
  if (fw.tick > 0x7fff0000 - f->nrow) {
    for (int32 j = 0; j < f->ncol; ++j)
      fw.stamp[j] = 0;
    fw.tick = 0;
  }
  const int32 t0 = ++fw.tick;
  {
    int32 b = f->ufirr[p], e = b + f->uuser[p];
    int32 pivslot = -1;
    for (int32 s = b; s < e; ++s) {
      int32 j = f->rsub[s];
      int32 cs = f->posc[s];
      lu_col_remove_slot(f, j, cs);
      f->posc[s] = -1;
      fw.cmax[j] = -1.0;
      if (j == q) {
        piv = f->rval[s];
        pivslot = s;
      } else {
        fw.prow[np++] = j;
        fw.w[j] = f->rval[s];
        fw.stamp[j] = t0;
      }
    }
    lu_row_remove_slot(f, p, pivslot);
  }
  f->diag[p] = piv;
  // The rows of the pivot column, with their values, taken aside before any line moves.
  int32 nc = 0;
  {
    int32 b = f->ufirc[q], e = b + f->uusec[q];
    for (int32 s = b; s < e; ++s) {
      fw.crow[nc] = f->csub[s];
      fw.cv[nc] = f->rval[f->posr[s]];
      fw.cslot[nc] = f->posr[s];
      f->posc[f->posr[s]] = -1; // the column's slots are given up now
      nc++;
    }
    f->uusec[q] = 0;
    f->uszec[q] = 0;
  }
  *work += (double)np * nc + np + nc;
  if (nc > 0) {
    f->lpiv[f->nlcol] = p;
    f->lstart[f->nlcol + 1] = f->lstart[f->nlcol];
  }
  for (int32 t = 0; t < nc; ++t) {
    int32 i = fw.crow[t];
    double l = fw.cv[t] / piv;
    if (!push_l(f, i, l)) return kLuStorage;
    fw.rmax[i] = -1.0;
    // Remove (i, q) from row i; the column entry is already gone. The slot noted above is
    // still right unless a compaction moved the row since.
    int32 b = f->ufirr[i], e = b + f->uuser[i];
    int32 qs = fw.cslot[t];
    if (qs < b || qs >= e || f->rsub[qs] != q)
      for (qs = b; qs < e && f->rsub[qs] != q; ++qs) {
      }
    lu_row_remove_slot(f, i, qs);
    const int32 ti = ++fw.tick;
    if (np > 0) {
      // Update the existing entries from the end, so that a removal does not skip one.
      b = f->ufirr[i];
      e = b + f->uuser[i];
      int32 met = 0;
      for (int32 s = e - 1; s >= b; --s) {
        int32 j = f->rsub[s];
        if (fw.stamp[j] < t0) continue;
        fw.stamp[j] = ti;
        met++;
        double a = f->rval[s], t = l * fw.w[j];
        double v = a - t;
        // Only a sum that cancels to rounding level of its terms is dropped: an absolute
        // drop of small but genuine values would cost accuracy when x is large.
        if (std::fabs(v) <= f->tolrelcancel * (std::fabs(a) + std::fabs(t))) {
          lu_col_remove_slot(f, j, f->posc[s]);
          lu_row_remove_slot(f, i, s);
        } else {
          f->rval[s] = v;
        }
      }
      int32 fill = np - met;
      if (fill > 0) {
        if (int32 st = lu_row_reserve(f, i, fill)) return st;
        for (int32 k = 0; k < np; ++k) {
          int32 j = fw.prow[k];
          if (fw.stamp[j] == ti) continue;
          double v = -l * fw.w[j];
          if (v == 0.0) continue;
          if (int32 st = lu_col_reserve(f, j, 1)) return st;
          int32 rs = f->ufirr[i] + f->uuser[i]++;
          int32 cs = f->ufirc[j] + f->uusec[j]++;
          f->rsub[rs] = j;
          f->rval[rs] = v;
          f->posc[rs] = cs;
          f->csub[cs] = i;
          f->posr[cs] = rs;
        }
      }
    }
    fw.rows.rekey(i, f->uuser[i]);
  }
  if (nc > 0) {
    f->nzl += nc;
    f->lcolofrow[p] = f->nlcol;
    f->nlcol++;
  }
  for (int32 k = 0; k < np; ++k) {
    int32 j = fw.prow[k];
    fw.cols.rekey(j, f->uusec[j]);
  }
  f->q[p] = q;
  f->invq[q] = p;
  f->pivorder[f->stpf++] = p;
  return kLuOk;
}

} // namespace

int32 lu_finalize(lu* f);

int32 lu_factor(lu* f) {
  if (f->factormode != kLuInputOpen) return kLuBadArgument;
  int32 nrow = f->nrow, ncol = f->ncol;
  int32 st = kLuOk;
  if (f->src_size && f->src_fill) st = pull_column_source(f);
  if (st) return st;
  f->factormode = kLuFactorizing;
  f->stpf = 0;
  f->nlcol = 0;
  f->nzl = 0;
  f->lupds = 0;
  f->factorwork = 0.0;
  for (int32 i = 0; i < nrow; ++i) {
    f->q[i] = ncol;
    f->lcolofrow[i] = -1;
    f->diag[i] = 0.0;
  }
  for (int32 j = 0; j < ncol; ++j)
    f->invq[j] = nrow;
  if (f->progress && f->progress(f->progress_handle, 0, 0, 0)) return kLuCancelled;
  st = setup_files(f);
  if (st) return st;
  // The old pivot order was used for the layout; from here on it is being overwritten.
  f->orderisvalid = false;
  if (!lu_grow_set(f->sys, &f->lcolcap, (int64)nrow + 2, &f->lpiv, &f->lstart)) return kLuNoMemory;
  f->lstart[0] = 0;
  f->lstart[1] = 0;

  FactorWork fw;
  if (!fw.alloc(f->sys, nrow, ncol)) return kLuNoMemory;
  for (int32 i = 0; i < nrow; ++i) {
    fw.rows.insert(i, f->uuser[i]);
    fw.rmax[i] = -1.0;
  }
  for (int32 j = 0; j < ncol; ++j) {
    fw.cols.insert(j, f->uusec[j]);
    fw.cmax[j] = -1.0;
    fw.stamp[j] = 0;
  }
  double work = (double)f->in_nz + nrow + ncol;
  double nextreport = kProgressUnits;
  int32 maxrank = nrow < ncol ? nrow : ncol;
  while (f->stpf < maxrank) {
    int32 p, qq;
    if (!choose_pivot(f, fw, &p, &qq, &work)) break;
    st = eliminate(f, fw, p, qq, &work);
    if (st) break;
    if (f->progress && work >= nextreport) {
      nextreport = work + kProgressUnits;
      if (f->progress(f->progress_handle, 2, f->stpf, 0)) {
        st = kLuCancelled;
        break;
      }
    }
  }
  f->factorwork = work;
  if (st == kLuOk && f->progress && f->progress(f->progress_handle, 3, f->stpf, 0))
    st = kLuCancelled;
  if (st) {
    f->factormode = kLuNothing;
    return st;
  }
  if (f->stpf == nrow && nrow == ncol) return lu_finalize(f);
  return kLuOk;
}

} // namespace telva
