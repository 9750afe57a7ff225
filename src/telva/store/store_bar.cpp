// Semidefinite data: the symmetric matrix store, and the barC and barA grids of weighted
// sums of stored matrices.
#include <algorithm>
#include <cstdio>

#include "telva/store/store_internal.h"

namespace telva {

namespace {

// Value checks shared by the matrix forms: invalid, huge, large (a warning).
TVArescode check_symmat_value(TvaTask* task, int32 i, int32 j, double v) {
  if (is_bad_value(v)) return TVA_REP(task, ERR_SYM_MAT_INVALID_VALUE, i, j);
  if (std::fabs(v) >= task->dparam[TVA_DPAR_DATA_SYM_MAT_TOL_HUGE])
    return TVA_REP(task, ERR_SYM_MAT_HUGE, i, j, TVA_WJP_VALUE, v);
  if (std::fabs(v) >= task->dparam[TVA_DPAR_DATA_SYM_MAT_TOL_LARGE])
    return TVA_REP(task, WRN_SYM_MAT_LARGE, i, j, TVA_WJP_VALUE, v);
  return TVA_RES_OK;
}

// Sorts the positions 0..n-1 of (keys..., i, j) triplets; ties keep the given order, so that
// the first of two duplicates comes first.
void sort_positions(int64 n, int64* order, const int32* c1, const int32* c2, const int32* i,
                    const int32* j) {
  for (int64 t = 0; t < n; ++t)
    order[t] = t;
  std::sort(order, order + n, [&](int64 x, int64 y) {
    if (c1 && c1[x] != c1[y]) return c1[x] < c1[y];
    if (c2 && c2[x] != c2[y]) return c2[x] < c2[y];
    if (j[x] != j[y]) return j[x] < j[y];
    if (i[x] != i[y]) return i[x] < i[y];
    return x < y;
  });
}

// Stores the elements order[b..e) as a new matrix, dropping values not above the tolerance.
// Only memory can fail.
bool add_sorted_matrix(TvaTask* task, int32 dim, const int64* order, int64 b, int64 e,
                       const int32* subi, const int32* subj, const double* val, int32* wi,
                       int32* wj, double* wv, int64* idx) {
  const double tol = task->dparam[TVA_DPAR_DATA_SYM_MAT_TOL];
  int64 m = 0;
  for (int64 p = b; p < e; ++p) {
    int64 t = order[p];
    if (std::fabs(val[t]) <= tol) continue;
    wi[m] = subi[t];
    wj[m] = subj[t];
    wv[m++] = val[t];
  }
  return sossm_add(&task->store.symmats, dim, m, wi, wj, wv, idx);
}

TVArescode check_cell_entries(TvaTask* task, int32 j, int64 num, const int64* sub,
                              const double* weights) {
  const sossm& mats = task->store.symmats;
  if (num < 0) return check_count(task, num, "num");
  for (int64 t = 0; t < num; ++t) {
    TVArescode r = check_index(task, sub[t], mats.num, "sub");
    if (r != TVA_RES_OK) return r;
    if (sossm_dim(&mats, sub[t]) != task->store.bardim[j])
      return TVA_REP(task, ERR_INVALID_SYM_MAT_DIM, task->store.bardim[j],
                     sossm_dim(&mats, sub[t]));
    if (std::isnan(weights[t])) return TVA_REP(task, ERR_NAN_IN_DOUBLE_DATA, "alpha");
  }
  return TVA_RES_OK;
}

} // namespace

TVArescode store_appendsparsesymmat(TvaTask* task, int32 dim, int64 nz, const int32* subi,
                                    const int32* subj, const double* val, int64* idx) {
  if (dim < 1) return TVA_REP(task, ERR_BAR_VAR_DIM, dim);
  if (nz < 0) return check_count(task, nz, "nz");
  for (int64 t = 0; t < nz; ++t) {
    if (subi[t] < 0 || subi[t] >= dim)
      return TVA_REP(task, ERR_SYM_MAT_INVALID_ROW_INDEX, subi[t], int32(0), dim);
    if (subj[t] < 0 || subj[t] >= dim)
      return TVA_REP(task, ERR_SYM_MAT_INVALID_COL_INDEX, subj[t], int32(0), dim);
    if (subj[t] > subi[t]) return TVA_REP(task, ERR_SYM_MAT_NOT_LOWER_TRINGULAR, subi[t], subj[t]);
    TVArescode r = check_symmat_value(task, subi[t], subj[t], val[t]);
    if (r != TVA_RES_OK) return r;
  }
  ScratchArr<int64> order(task->sys, nz);
  ScratchArr<int32> wi(task->sys, nz), wj(task->sys, nz);
  ScratchArr<double> wv(task->sys, nz);
  if (!order.ok() || !wi.ok() || !wj.ok() || !wv.ok()) return TVA_REP(task, ERR_SPACE);
  sort_positions(nz, order.p, nullptr, nullptr, subi, subj);
  for (int64 p = 1; p < nz; ++p) {
    int64 x = order[p - 1], y = order[p];
    if (subi[x] == subi[y] && subj[x] == subj[y])
      return TVA_REP(task, ERR_SYM_MAT_DUPLICATE, subi[y], subj[y], x, y);
  }
  int64 out = -1;
  if (!add_sorted_matrix(task, dim, order.p, 0, nz, subi, subj, val, wi.p, wj.p, wv.p, &out))
    return TVA_REP(task, ERR_SPACE);
  if (idx) *idx = out;
  return TVA_RES_OK;
}

TVArescode store_putbarcj(TvaTask* task, int32 j, int64 num, const int64* sub,
                          const double* weights) {
  TVArescode r = check_index(task, j, task->numbarvar, "j");
  if (r == TVA_RES_OK) r = check_cell_entries(task, j, num, sub, weights);
  if (r != TVA_RES_OK) return r;
  if (!hyposm_putcell(task->store.barc, 0, j, num, sub, weights)) return TVA_REP(task, ERR_SPACE);
  sol_on_change(task, SolChange::Objective);
  return TVA_RES_OK;
}

TVArescode store_putbaraij(TvaTask* task, int32 i, int32 j, int64 num, const int64* sub,
                           const double* weights) {
  TVArescode r = check_index(task, i, task->numcon, "i");
  if (r == TVA_RES_OK) r = check_index(task, j, task->numbarvar, "j");
  if (r == TVA_RES_OK) r = check_cell_entries(task, j, num, sub, weights);
  if (r != TVA_RES_OK) return r;
  if (!hyposm_putcell(task->store.bara, i, j, num, sub, weights)) return TVA_REP(task, ERR_SPACE);
  sol_on_change(task, SolChange::Unjudged);
  return TVA_RES_OK;
}

TVArescode store_putbarblocktriplet(TvaTask* task, bool isbara, int64 num, const int32* subi,
                                    const int32* subj, const int32* subk, const int32* subl,
                                    const double* val) {
  if (num < 0) return check_count(task, num, "num");
  char arg[48];
  for (int64 t = 0; t < num; ++t) {
    TVArescode r = TVA_RES_OK;
    if (isbara) r = check_index(task, subi[t], task->numcon, "subi");
    if (r == TVA_RES_OK) r = check_index(task, subj[t], task->numbarvar, "subj");
    if (r != TVA_RES_OK) return r;
    int32 dim = task->store.bardim[subj[t]];
    std::snprintf(arg, sizeof arg, "subk[%lld]", static_cast<long long>(t));
    r = check_index(task, subk[t], dim, arg);
    if (r != TVA_RES_OK) return r;
    std::snprintf(arg, sizeof arg, "subl[%lld]", static_cast<long long>(t));
    r = check_index(task, subl[t], dim, arg);
    if (r == TVA_RES_OK && subl[t] > subk[t])
      r = TVA_REP(task, ERR_UPPER_TRIANGLE, subk[t], subl[t]);
    if (r == TVA_RES_OK) r = check_symmat_value(task, subk[t], subl[t], val[t]);
    if (r != TVA_RES_OK) return r;
  }
  ScratchArr<int64> order(task->sys, num);
  ScratchArr<int32> wi(task->sys, num), wj(task->sys, num);
  ScratchArr<double> wv(task->sys, num);
  if (!order.ok() || !wi.ok() || !wj.ok() || !wv.ok()) return TVA_REP(task, ERR_SPACE);
  sort_positions(num, order.p, isbara ? subi : nullptr, subj, subk, subl);
  auto same_cell = [&](int64 x, int64 y) {
    return (!isbara || subi[x] == subi[y]) && subj[x] == subj[y];
  };
  for (int64 p = 1; p < num; ++p) {
    int64 x = order[p - 1], y = order[p];
    if (same_cell(x, y) && subk[x] == subk[y] && subl[x] == subl[y])
      return TVA_REP(task, ERR_SYM_MAT_DUPLICATE, subk[y], subl[y], x, y);
  }
  // One new matrix per cell, placed with weight 1.0.
  hyposm* grid = isbara ? task->store.bara : task->store.barc;
  const double one = 1.0;
  // Cells already replaced stay replaced if a later one fails, so the claims go down first.
  if (num > 0) sol_on_change(task, isbara ? SolChange::Unjudged : SolChange::Objective);
  for (int64 b = 0; b < num;) {
    int64 e = b + 1;
    while (e < num && same_cell(order[b], order[e]))
      ++e;
    int64 x = order[b], idx = -1;
    if (!add_sorted_matrix(task, task->store.bardim[subj[x]], order.p, b, e, subk, subl, val, wi.p,
                           wj.p, wv.p, &idx) ||
        !hyposm_putcell(grid, isbara ? subi[x] : 0, subj[x], 1, &idx, &one))
      return TVA_REP(task, ERR_SPACE);
    b = e;
  }
  return TVA_RES_OK;
}

} // namespace telva
