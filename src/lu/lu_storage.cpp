// The row and column files: lines kept in power-of-two segments that move to the end of their
// file when they outgrow their room, and compaction (with growth) when a file is full. The two
// files are linked by cross pointers: row slot s has its partner at column slot posc[s] (-1 once
// the column entry is gone, as for finished U rows during factorization), and back by posr.
#include "lu/lu_data.h"

namespace telva {

namespace {

// Lays the row file out again in row order, with room for `need` more slots at its end.
int32 compact_rows(lu* f, int64 need) {
  int64 used = 0;
  for (int32 i = 0; i < f->nrow; ++i)
    used += f->uszer[i];
  int64 cap = f->rcap;
  if (used + need > cap * 3 / 4) cap = 2 * (used + need) + 16;
  if (cap > 0x7fffffff) return kLuStorage;
  int32* nsub = TVA_SYS_ALLOC(f->sys, int32, (size_t)cap);
  double* nval = TVA_SYS_ALLOC(f->sys, double, (size_t)cap);
  int32* npos = TVA_SYS_ALLOC(f->sys, int32, (size_t)cap);
  if (!nsub || !nval || !npos) {
    if (nsub) TVA_SYS_FREE(f->sys, nsub);
    if (nval) TVA_SYS_FREE(f->sys, nval);
    if (npos) TVA_SYS_FREE(f->sys, npos);
    return kLuStorage;
  }
  int32 end = 0;
  for (int32 i = 0; i < f->nrow; ++i) {
    int32 b = f->ufirr[i], n = f->uuser[i];
    for (int32 k = 0; k < n; ++k) {
      nsub[end + k] = f->rsub[b + k];
      nval[end + k] = f->rval[b + k];
      int32 pc = f->posc[b + k];
      npos[end + k] = pc;
      if (pc >= 0) f->posr[pc] = end + k;
    }
    f->ufirr[i] = end;
    end += f->uszer[i];
  }
  if (f->rsub) TVA_SYS_FREE(f->sys, f->rsub);
  if (f->rval) TVA_SYS_FREE(f->sys, f->rval);
  if (f->posc) TVA_SYS_FREE(f->sys, f->posc);
  f->rsub = nsub;
  f->rval = nval;
  f->posc = npos;
  f->rcap = (int32)cap;
  f->uendr = end;
  f->ngarbage++;
  return kLuOk;
}

int32 compact_cols(lu* f, int64 need) {
  int64 used = 0;
  for (int32 j = 0; j < f->ncol; ++j)
    used += f->uszec[j];
  int64 cap = f->ccap;
  if (used + need > cap * 3 / 4) cap = 2 * (used + need) + 16;
  if (cap > 0x7fffffff) return kLuStorage;
  int32* nsub = TVA_SYS_ALLOC(f->sys, int32, (size_t)cap);
  double* nval = TVA_SYS_ALLOC(f->sys, double, (size_t)cap);
  int32* npos = TVA_SYS_ALLOC(f->sys, int32, (size_t)cap);
  if (!nsub || !nval || !npos) {
    if (nsub) TVA_SYS_FREE(f->sys, nsub);
    if (nval) TVA_SYS_FREE(f->sys, nval);
    if (npos) TVA_SYS_FREE(f->sys, npos);
    return kLuStorage;
  }
  int32 end = 0;
  for (int32 j = 0; j < f->ncol; ++j) {
    int32 b = f->ufirc[j], n = f->uusec[j];
    for (int32 k = 0; k < n; ++k) {
      nsub[end + k] = f->csub[b + k];
      nval[end + k] = f->cval[b + k];
      int32 pr = f->posr[b + k];
      npos[end + k] = pr;
      if (pr >= 0) f->posc[pr] = end + k;
    }
    f->ufirc[j] = end;
    end += f->uszec[j];
  }
  if (f->csub) TVA_SYS_FREE(f->sys, f->csub);
  if (f->cval) TVA_SYS_FREE(f->sys, f->cval);
  if (f->posr) TVA_SYS_FREE(f->sys, f->posr);
  f->csub = nsub;
  f->cval = nval;
  f->posr = npos;
  f->ccap = (int32)cap;
  f->uendc = end;
  f->ngarbage++;
  return kLuOk;
}

} // namespace

int32 lu_row_reserve(lu* f, int32 row, int32 extra) {
  int32 len = f->uuser[row];
  if (len + extra <= f->uszer[row]) return kLuOk;
  int32 cap = lu_linecap(len + extra, f->ncol);
  if ((int64)f->uendr + cap > f->rcap) {
    f->uszer[row] = 0; // the old segment is given up; compaction skips it
    int32 oldlen = len;
    f->uuser[row] = 0;
    int32 oldbeg = f->ufirr[row];
    // Keep the row's entries aside in the scratch of the caller's file: copy after compaction.
    // The entries are still in the old arrays until compaction frees them, so copy first.
    int32* tsub = TVA_SYS_ALLOC(f->sys, int32, (size_t)(oldlen > 0 ? oldlen : 1));
    double* tval = TVA_SYS_ALLOC(f->sys, double, (size_t)(oldlen > 0 ? oldlen : 1));
    int32* tpos = TVA_SYS_ALLOC(f->sys, int32, (size_t)(oldlen > 0 ? oldlen : 1));
    if (!tsub || !tval || !tpos) {
      if (tsub) TVA_SYS_FREE(f->sys, tsub);
      if (tval) TVA_SYS_FREE(f->sys, tval);
      if (tpos) TVA_SYS_FREE(f->sys, tpos);
      return kLuStorage;
    }
    for (int32 k = 0; k < oldlen; ++k) {
      tsub[k] = f->rsub[oldbeg + k];
      tval[k] = f->rval[oldbeg + k];
      tpos[k] = f->posc[oldbeg + k];
    }
    int32 st = compact_rows(f, cap);
    if (st == kLuOk) {
      int32 b = f->uendr;
      for (int32 k = 0; k < oldlen; ++k) {
        f->rsub[b + k] = tsub[k];
        f->rval[b + k] = tval[k];
        f->posc[b + k] = tpos[k];
        if (tpos[k] >= 0) f->posr[tpos[k]] = b + k;
      }
      f->ufirr[row] = b;
      f->uuser[row] = oldlen;
      f->uszer[row] = cap;
      f->uendr += cap;
    }
    TVA_SYS_FREE(f->sys, tsub);
    TVA_SYS_FREE(f->sys, tval);
    TVA_SYS_FREE(f->sys, tpos);
    f->nrowmoves++;
    return st;
  }
  int32 b = f->uendr, ob = f->ufirr[row];
  for (int32 k = 0; k < len; ++k) {
    f->rsub[b + k] = f->rsub[ob + k];
    f->rval[b + k] = f->rval[ob + k];
    int32 pc = f->posc[ob + k];
    f->posc[b + k] = pc;
    if (pc >= 0) f->posr[pc] = b + k;
  }
  f->ufirr[row] = b;
  f->uszer[row] = cap;
  f->uendr += cap;
  f->nrowmoves++;
  return kLuOk;
}

int32 lu_col_reserve(lu* f, int32 col, int32 extra) {
  int32 len = f->uusec[col];
  if (len + extra <= f->uszec[col]) return kLuOk;
  int32 cap = lu_linecap(len + extra, f->nrow);
  if ((int64)f->uendc + cap > f->ccap) {
    int32 oldlen = len, oldbeg = f->ufirc[col];
    f->uszec[col] = 0;
    f->uusec[col] = 0;
    int32* tsub = TVA_SYS_ALLOC(f->sys, int32, (size_t)(oldlen > 0 ? oldlen : 1));
    double* tval = TVA_SYS_ALLOC(f->sys, double, (size_t)(oldlen > 0 ? oldlen : 1));
    int32* tpos = TVA_SYS_ALLOC(f->sys, int32, (size_t)(oldlen > 0 ? oldlen : 1));
    if (!tsub || !tval || !tpos) {
      if (tsub) TVA_SYS_FREE(f->sys, tsub);
      if (tval) TVA_SYS_FREE(f->sys, tval);
      if (tpos) TVA_SYS_FREE(f->sys, tpos);
      return kLuStorage;
    }
    for (int32 k = 0; k < oldlen; ++k) {
      tsub[k] = f->csub[oldbeg + k];
      tval[k] = f->cval[oldbeg + k];
      tpos[k] = f->posr[oldbeg + k];
    }
    int32 st = compact_cols(f, cap);
    if (st == kLuOk) {
      int32 b = f->uendc;
      for (int32 k = 0; k < oldlen; ++k) {
        f->csub[b + k] = tsub[k];
        f->cval[b + k] = tval[k];
        f->posr[b + k] = tpos[k];
        if (tpos[k] >= 0) f->posc[tpos[k]] = b + k;
      }
      f->ufirc[col] = b;
      f->uusec[col] = oldlen;
      f->uszec[col] = cap;
      f->uendc += cap;
    }
    TVA_SYS_FREE(f->sys, tsub);
    TVA_SYS_FREE(f->sys, tval);
    TVA_SYS_FREE(f->sys, tpos);
    f->ncolmoves++;
    return st;
  }
  int32 b = f->uendc, ob = f->ufirc[col];
  for (int32 k = 0; k < len; ++k) {
    f->csub[b + k] = f->csub[ob + k];
    f->cval[b + k] = f->cval[ob + k];
    int32 pr = f->posr[ob + k];
    f->posr[b + k] = pr;
    if (pr >= 0) f->posc[pr] = b + k;
  }
  f->ufirc[col] = b;
  f->uszec[col] = cap;
  f->uendc += cap;
  f->ncolmoves++;
  return kLuOk;
}

void lu_row_remove_slot(lu* f, int32 row, int32 slot) {
  int32 last = f->ufirr[row] + f->uuser[row] - 1;
  if (slot != last) {
    f->rsub[slot] = f->rsub[last];
    f->rval[slot] = f->rval[last];
    int32 pc = f->posc[last];
    f->posc[slot] = pc;
    if (pc >= 0) f->posr[pc] = slot;
  }
  f->uuser[row]--;
}

void lu_col_remove_slot(lu* f, int32 col, int32 slot) {
  int32 last = f->ufirc[col] + f->uusec[col] - 1;
  if (slot != last) {
    f->csub[slot] = f->csub[last];
    f->cval[slot] = f->cval[last];
    int32 pr = f->posr[last];
    f->posr[slot] = pr;
    if (pr >= 0) f->posc[pr] = slot;
  }
  f->uusec[col]--;
}

int32 lu_build_colfile(lu* f, bool values) {
  int32 nrow = f->nrow, ncol = f->ncol;
  for (int32 j = 0; j < ncol; ++j)
    f->uusec[j] = 0;
  int64 total = 0;
  for (int32 i = 0; i < nrow; ++i) {
    int32 b = f->ufirr[i], e = b + f->uuser[i];
    for (int32 s = b; s < e; ++s)
      f->uusec[f->rsub[s]]++;
  }
  for (int32 j = 0; j < ncol; ++j) {
    // After factorization a column keeps one free slot, as an update may add to it.
    int32 c = values ? lu_linecap(f->uusec[j] + 1, nrow) : f->uusec[j];
    f->uszec[j] = c;
    total += c;
  }
  if (!lu_grow_set(f->sys, &f->ccap, total + total / 2 + 16, &f->csub, &f->cval, &f->posr))
    return kLuStorage;
  int32 end = 0;
  for (int32 j = 0; j < ncol; ++j) {
    f->ufirc[j] = end;
    end += f->uszec[j];
    f->uusec[j] = 0;
  }
  f->uendc = end;
  for (int32 i = 0; i < nrow; ++i) {
    int32 b = f->ufirr[i], e = b + f->uuser[i];
    for (int32 s = b; s < e; ++s) {
      int32 j = f->rsub[s];
      int32 t = f->ufirc[j] + f->uusec[j]++;
      f->csub[t] = i;
      f->cval[t] = f->rval[s];
      f->posr[t] = s;
      f->posc[s] = t;
    }
  }
  return kLuOk;
}

void lu_uorder_unlink(lu* f, int32 row) {
  f->useq[f->useqpos[row]] = -1;
}

void lu_uorder_append(lu* f, int32 row) {
  f->useqpos[row] = f->nuseq;
  f->useq[f->nuseq++] = row;
}

} // namespace telva

namespace telva {

// Checks that the two files agree: every linked entry points back at its partner, and the
// lengths fit in their segments. Entries of pivoted columns are not linked during a
// factorization and are passed over. Returns the number of faults found.
int32 lu_check_files(const lu* f) {
  int32 faults = 0;
  for (int32 i = 0; i < f->nrow; ++i) {
    if (f->uuser[i] > f->uszer[i] || f->ufirr[i] + f->uszer[i] > f->uendr) faults++;
    for (int32 s = f->ufirr[i]; s < f->ufirr[i] + f->uuser[i]; ++s) {
      int32 t = f->posc[s];
      if (t < 0 || f->invq[f->rsub[s]] < f->nrow) continue;
      if (f->csub[t] != i || f->posr[t] != s) faults++;
    }
  }
  for (int32 j = 0; j < f->ncol; ++j) {
    if (f->uusec[j] > f->uszec[j] || f->ufirc[j] + f->uszec[j] > f->uendc) faults++;
    for (int32 t = f->ufirc[j]; t < f->ufirc[j] + f->uusec[j]; ++t) {
      int32 s = f->posr[t];
      if (s < 0) continue;
      if (f->rsub[s] != j || f->posc[s] != t) faults++;
    }
  }
  return faults;
}

} // namespace telva
