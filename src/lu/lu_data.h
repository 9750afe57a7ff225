// The inside of the lu object, shared by the files of the engine only.
#pragma once

#include <cstring>

#include "lu/lu.h"

namespace telva {

struct lu {
  sysenv* sys = nullptr;
  int32 maxnrow = 0, maxncol = 0;
  int32 nrow = 0, ncol = 0;
  int32 factormode = kLuNothing;
  int32 stpf = 0; // pivots placed so far
  int64 nzl = 0, nzu = 0;

  // Settings.
  double toldrop = 1e-13, tolapiv = 1e-8, tolrpiv = 0.01, tol3 = 1e-6, tolupdate = 1e-14;
  double tolrelcancel = 1e-14, tolsolvedrop = 1e-12;
  int32 pivotmode = 1, searchlimit = 5, refactorlimit = 0;
  int32 last_pivotmode = 0;
  double last_tolrpiv = 0.0, last_tolapiv = 0.0;
  void* progress_handle = nullptr;
  LuProgressFunc progress = nullptr;

  // Input: pushed triplets, or a column source.
  int32* in_row = nullptr;
  int32* in_col = nullptr;
  double* in_val = nullptr;
  int64 in_nz = 0, in_cap = 0;
  void* src_context = nullptr;
  LuSizeFunc src_size = nullptr;
  LuFillFunc src_fill = nullptr;

  // Per row: start, capacity, used length in the row file; diagonal; pivot position.
  int32 *ufirr = nullptr, *uszer = nullptr, *uuser = nullptr, *q = nullptr;
  double* diag = nullptr;
  // Per position: start, capacity, used length in the column file; pivot row.
  int32 *ufirc = nullptr, *uszec = nullptr, *uusec = nullptr, *invq = nullptr;

  // Row file: column index, value, slot of the partner in the column file.
  int32* rsub = nullptr;
  double* rval = nullptr;
  int32* posc = nullptr;
  int32 rcap = 0, uendr = 0;
  // Column file: row index, value (after factorization only), slot of the partner in the row file.
  int32* csub = nullptr;
  double* cval = nullptr;
  int32* posr = nullptr;
  int32 ccap = 0, uendc = 0;

  // Pivot order of the rows, and the U order as a sequence of rows: an update moves a row to
  // the end and leaves -1 at its old place. Solves walk the array rather than a linked list,
  // so that the loads of consecutive rows do not wait on each other.
  int32* pivorder = nullptr;
  int32* useq = nullptr;    // maxnrow + mlu + 1
  int32* useqpos = nullptr; // place of each row in useq
  int32 nuseq = 0;
  bool orderisvalid = false;

  // L: column etas in creation order; lpiv[k] is the pivot row of L column k.
  int32 nlcol = 0, lcolcap = 0;
  int32* lpiv = nullptr;
  int32* lstart = nullptr; // nlcol + 1
  int32* lsub = nullptr;
  double* lval = nullptr;
  int32 lcap = 0;
  int32* lcolofrow = nullptr; // L column of a pivot row, -1 if none
  // L by rows for transposed and sparse solves: row i lists (pivot row, multiplier).
  int32* lrstart = nullptr; // nrow + 1
  int32* lrsub = nullptr;
  double* lrval = nullptr;
  int32 lrcap = 0;

  // Row etas of the updates: eta k changes row etarow[k] by the dot product with its entries.
  int32 lupds = 0, mlu = 0;
  int32* etarow = nullptr;
  int32* etastart = nullptr; // mlu + 1
  int32* etasub = nullptr;
  double* etaval = nullptr;
  int32 etacap = 0;

  // Counters.
  int32 numupdates = 0;
  double factorwork = 0.0, updatework = 0.0;
  int64 ngarbage = 0, nrowmoves = 0, ncolmoves = 0;

  // Scratch that every operation returns clean: marks (nrow and ncol), a stack, dense work.
  int32* markr = nullptr;
  int32* markc = nullptr;
  int32* stack = nullptr;  // 2 * max(nrow, ncol) + 2
  int32* list = nullptr;   // max(nrow, ncol)
  int32* starts = nullptr; // max(nrow, ncol)
  int32* spkidx = nullptr; // a spike being formed, max(nrow, ncol)
  double* spkval = nullptr;
  double* work = nullptr; // max(nrow, ncol)
  double* work2 = nullptr;
};

// Grows parallel arrays together to at least n entries; *cap is their common capacity.
inline int64 lu_newcap(int32 cap, int64 n) {
  int64 nc = (int64)cap * 2;
  if (nc < n) nc = n;
  if (nc < 16) nc = 16;
  if (nc > 0x7fffffff) nc = 0x7fffffff;
  return nc;
}
template <class T> bool lu_realloc_to(sysenv* sys, T** arr, int64 nc) {
  void* p = sysenv_realloc(sys, TVA_HERE, *arr, (size_t)nc, sizeof(T));
  if (!p) return false;
  *arr = static_cast<T*>(p);
  return true;
}
template <class... T> bool lu_grow_set(sysenv* sys, int32* cap, int64 n, T**... arrs) {
  if (n <= *cap) return true;
  int64 nc = lu_newcap(*cap, n);
  if (nc < n) return false;
  bool ok = (lu_realloc_to(sys, arrs, nc) && ...);
  if (ok) *cap = (int32)nc;
  return ok;
}

// The capacity rule of a line of k entries: 0 for 0, else the next power of two, at least 2.
inline int32 lu_linecap(int32 k, int32 limit) {
  if (k <= 0) return 0;
  int32 c = 2;
  while (c < k)
    c <<= 1;
  if (k > 1024 && c > limit) c = limit > k ? limit : k;
  return c;
}

// Internal helpers shared by the files of the engine.
void lu_clear_factors(lu* f);
// Row and column file maintenance (lu_storage.cpp).
int32 lu_row_reserve(lu* f, int32 row, int32 extra);
int32 lu_col_reserve(lu* f, int32 col, int32 extra);
void lu_row_remove_slot(lu* f, int32 row, int32 slot);
void lu_col_remove_slot(lu* f, int32 col, int32 slot);
int32 lu_build_colfile(lu* f, bool values);
int32 lu_check_files(const lu* f);
void lu_uorder_unlink(lu* f, int32 row);
void lu_uorder_append(lu* f, int32 row);
// Sparse solve parts (lu_solve_sparse.cpp), shared with the update.
void lu_sparse_lower(lu* f, int32* nz, int32* idx, double* val, double drop);
void lu_sparse_etas(lu* f, int32* nz, int32* idx, double* val);

} // namespace telva
