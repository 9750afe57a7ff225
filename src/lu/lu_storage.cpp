// The row and column files: lines kept in power-of-two segments that move to the end of their
// file when they outgrow their room, and compaction (with growth) when a file is full. The two
// files are linked by cross pointers: row slot s has its partner at column slot posc[s] (-1 once
// the column entry is gone, as for finished U rows during factorization), and back by posr.
#include "lu/lu_data.h"

namespace telva {

namespace {

// One of the two files seen through its own fields, so that rows and columns share one
// implementation: `pos` points from this file's slots into the partner file, and
// `partner_pos` points back.
struct LineFile {
  int32 nlines;       // lines in this file
  int32 linemax;      // the longest a line can get: the other dimension
  int32* first;       // start slot of each line
  int32* room;        // slots reserved for each line
  int32* used;        // slots in use by each line
  int32*& sub;        // index of each entry in its line's partner dimension
  double*& val;       // value of each entry
  int32*& pos;        // slot of the same entry in the partner file, -1 for none
  int32* partner_pos; // the partner file's back pointers into this file
  int32& cap;         // slots allocated
  int32& end;         // first slot behind the last line
  int64& moves;       // lines moved to the end (statistics)
};

LineFile row_file(lu* f) {
  return {f->nrow, f->ncol, f->ufirr, f->uszer, f->uuser, f->rsub,
          f->rval, f->posc, f->posr,  f->rcap,  f->uendr, f->nrowmoves};
}

LineFile col_file(lu* f) {
  return {f->ncol, f->nrow, f->ufirc, f->uszec, f->uusec, f->csub,
          f->cval, f->posr, f->posc,  f->ccap,  f->uendc, f->ncolmoves};
}

// Lays a file out again in line order, with room for `need` more slots at its end; the file
// doubles when less than a quarter of it would stay free.
int32 compact(lu* f, LineFile& lf, int64 need) {
  int64 used = 0;
  for (int32 i = 0; i < lf.nlines; ++i)
    used += lf.room[i];
  int64 cap = lf.cap;
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
  for (int32 i = 0; i < lf.nlines; ++i) {
    int32 b = lf.first[i], n = lf.used[i];
    for (int32 k = 0; k < n; ++k) {
      nsub[end + k] = lf.sub[b + k];
      nval[end + k] = lf.val[b + k];
      int32 partner = lf.pos[b + k];
      npos[end + k] = partner;
      if (partner >= 0) lf.partner_pos[partner] = end + k;
    }
    lf.first[i] = end;
    end += lf.room[i];
  }
  if (lf.sub) TVA_SYS_FREE(f->sys, lf.sub);
  if (lf.val) TVA_SYS_FREE(f->sys, lf.val);
  if (lf.pos) TVA_SYS_FREE(f->sys, lf.pos);
  lf.sub = nsub;
  lf.val = nval;
  lf.pos = npos;
  lf.cap = (int32)cap;
  lf.end = end;
  f->ngarbage++;
  return kLuOk;
}

// Makes room for `extra` more entries in a line: a line that outgrows its segment moves to
// the end of the file, after a compaction when the end has no room left.
int32 reserve(lu* f, LineFile lf, int32 line, int32 extra) {
  int32 len = lf.used[line];
  if (len + extra <= lf.room[line]) return kLuOk;
  int32 cap = lu_linecap(len + extra, lf.linemax);
  if ((int64)lf.end + cap > lf.cap) {
    // Compact with the line cut to its entries and room for its new segment at the end; the
    // move below then always fits.
    lf.room[line] = len;
    int32 st = compact(f, lf, cap);
    if (st != kLuOk) return st;
  }
  int32 b = lf.end, ob = lf.first[line];
  for (int32 k = 0; k < len; ++k) {
    lf.sub[b + k] = lf.sub[ob + k];
    lf.val[b + k] = lf.val[ob + k];
    int32 partner = lf.pos[ob + k];
    lf.pos[b + k] = partner;
    if (partner >= 0) lf.partner_pos[partner] = b + k;
  }
  lf.first[line] = b;
  lf.room[line] = cap;
  lf.end += cap;
  lf.moves++;
  return kLuOk;
}

} // namespace

int32 lu_row_reserve(lu* f, int32 row, int32 extra) {
  return reserve(f, row_file(f), row, extra);
}

int32 lu_col_reserve(lu* f, int32 col, int32 extra) {
  return reserve(f, col_file(f), col, extra);
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
