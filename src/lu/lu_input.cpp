// Input of the matrix: pushed entries, or a column source pulled at factorization.
#include <cmath>

#include "lu/lu_data.h"

namespace telva {

int32 lu_open(lu* f) {
  lu_clear_factors(f);
  f->in_nz = 0;
  f->factormode = kLuInputOpen;
  return kLuOk;
}

void lu_setcolumnsource(lu* f, void* context, LuSizeFunc sizefn, LuFillFunc fillfn) {
  f->src_context = context;
  f->src_size = sizefn;
  f->src_fill = fillfn;
}

namespace {

int32 grow_input(lu* f, int64 need) {
  if (need <= f->in_cap) return kLuOk;
  int64 nc = f->in_cap * 2;
  if (nc < need) nc = need;
  if (nc < 64) nc = 64;
  void* r = sysenv_realloc(f->sys, TVA_HERE, f->in_row, (size_t)nc, sizeof(int32));
  if (!r) return kLuStorage;
  f->in_row = static_cast<int32*>(r);
  void* c = sysenv_realloc(f->sys, TVA_HERE, f->in_col, (size_t)nc, sizeof(int32));
  if (!c) return kLuStorage;
  f->in_col = static_cast<int32*>(c);
  void* v = sysenv_realloc(f->sys, TVA_HERE, f->in_val, (size_t)nc, sizeof(double));
  if (!v) return kLuStorage;
  f->in_val = static_cast<double*>(v);
  f->in_cap = nc;
  return kLuOk;
}

} // namespace

int32 lu_putentry(lu* f, double value, int32 row, int32 col) {
  if (f->factormode != kLuInputOpen) return kLuBadArgument;
  if (row < 0 || row >= f->nrow || col < 0 || col >= f->ncol) return kLuRowIndex;
  if (!(std::fabs(value) > f->toldrop)) return kLuOk;
  if (int32 st = grow_input(f, f->in_nz + 1)) return st;
  f->in_row[f->in_nz] = row;
  f->in_col[f->in_nz] = col;
  f->in_val[f->in_nz] = value;
  f->in_nz++;
  return kLuOk;
}

int32 lu_putcolumn(lu* f, int32 col, int32 count, const double* values, const int32* rows,
                   int32 limit, const int32* rowmap) {
  if (f->factormode != kLuInputOpen) return kLuBadArgument;
  if (col < 0 || col >= f->ncol) return kLuRowIndex;
  if (int32 st = grow_input(f, f->in_nz + count)) return st;
  for (int32 k = 0; k < count; ++k) {
    int32 r = rowmap ? rowmap[rows[k]] : rows[k];
    if (r >= limit) continue;
    if (r < 0 || r >= f->nrow) return kLuRowIndex;
    if (!(std::fabs(values[k]) > f->toldrop)) continue;
    f->in_row[f->in_nz] = r;
    f->in_col[f->in_nz] = col;
    f->in_val[f->in_nz] = values[k];
    f->in_nz++;
  }
  return kLuOk;
}

int32 lu_putmatrix(lu* f, const int32* ptr, const int32* sub, const double* val) {
  lu_setcolumnsource(f, nullptr, nullptr, nullptr);
  int32 st = lu_open(f);
  for (int32 j = 0; j < f->ncol && st == kLuOk; ++j)
    st = lu_putcolumn(f, j, ptr[j + 1] - ptr[j], val + ptr[j], sub + ptr[j], f->nrow, nullptr);
  return st;
}

} // namespace telva
