// Input of a whole linear problem in one call. Every check that can refuse the data runs
// before the task is resized, so that a refused call leaves the old problem in place.
#include <algorithm>

#include "telva/store/putget.h"

using namespace telva;

namespace {

template <class P>
TVArescode check_columns(TvaTask* task, int32 numcon, int32 numvar, const P* aptrb, const P* aptre,
                         const int32* asub, const double* aval, int64* total) {
  *total = 0;
  if (numvar > 0 && (!aptrb || !aptre)) return TVA_REP(task, ERR_NULL_POINTER, "aptrb");
  ScratchArr<int32> mark(task->sys, numcon);
  if (!mark.ok()) return TVA_REP(task, ERR_SPACE);
  std::fill(mark.p, mark.p + std::max(numcon, 1), -1);
  for (int32 j = 0; j < numvar; ++j) {
    if (aptre[j] < aptrb[j]) return TVA_REP(task, ERR_INV_APTRE, j);
    if (aptre[j] > aptrb[j] && (!asub || !aval)) return TVA_REP(task, ERR_NULL_POINTER, "asub");
    for (int64 p = aptrb[j]; p < aptre[j]; ++p) {
      TVArescode r = check_index(task, asub[p], numcon, "sub");
      if (r != TVA_RES_OK) return r;
      int32 i = asub[p];
      if (mark[i] == j) return TVA_REP(task, ERR_MUL_A_ELEMENT, i, j);
      mark[i] = j;
      // Only the refusing value checks here; the warnings come once, when the column is put.
      if (is_bad_value(aval[p])) return TVA_REP(task, ERR_INVALID_AIJ, "", i, "", j);
      if (std::fabs(aval[p]) >= task->dparam[TVA_DPAR_DATA_TOL_AIJ_HUGE])
        return TVA_REP(task, ERR_HUGE_AIJ, TVA_WJP_VALUE, aval[p], "", i, "", j);
    }
    *total += aptre[j] - aptrb[j];
  }
  return TVA_RES_OK;
}

template <class P>
TVArescode inputdata(TvaTask* task, int32 maxnumcon, int32 maxnumvar, int32 numcon, int32 numvar,
                     const double* c, double cfix, const P* aptrb, const P* aptre,
                     const int32* asub, const double* aval, const int32* bkc, const double* blc,
                     const double* buc, const int32* bkx, const double* blx, const double* bux) {
  if (numcon < 0) return TVA_REP(task, ERR_NEGATIVE_APPEND, numcon);
  if (numvar < 0) return TVA_REP(task, ERR_NEGATIVE_APPEND, numvar);
  if (numcon > 0 && (!bkc || !blc || !buc)) return TVA_REP(task, ERR_NULL_POINTER, "bkc");
  if (numvar > 0 && (!bkx || !blx || !bux)) return TVA_REP(task, ERR_NULL_POINTER, "bkx");
  int64 total = 0;
  TVArescode r = check_columns(task, numcon, numvar, aptrb, aptre, asub, aval, &total);
  for (int32 j = 0; j < numvar && r == TVA_RES_OK && c; ++j)
    r = store_check_c(task, j, c[j]);
  for (int32 i = 0; i < numcon && r == TVA_RES_OK; ++i)
    r = store_check_bound(task, true, i, bkc[i], blc[i], buc[i]);
  for (int32 j = 0; j < numvar && r == TVA_RES_OK; ++j)
    r = store_check_bound(task, false, j, bkx[j], blx[j], bux[j]);
  if (r != TVA_RES_OK) return r;

  ScratchArr<int64> b(task->sys, numvar), e(task->sys, numvar);
  if (!b.ok() || !e.ok()) return TVA_REP(task, ERR_SPACE);
  for (int32 j = 0; j < numvar; ++j) {
    b[j] = aptrb[j];
    e[j] = aptre[j];
  }
  r = TVA_resizetask(task, std::max(maxnumcon, numcon), std::max(maxnumvar, numvar), 0, total, 0);
  if (r == TVA_RES_OK) r = store_appendcons(task, numcon);
  if (r == TVA_RES_OK) r = store_appendvars(task, numvar);
  if (r != TVA_RES_OK) return r;
  store_putcfix(task, cfix);
  for (int32 j = 0; j < numvar; ++j)
    task->store.c[j] = c ? c[j] : 0.0;
  for (int32 i = 0; i < numcon; ++i)
    store_one_bound(task, true, i, bkc[i], blc[i], buc[i]);
  for (int32 j = 0; j < numvar; ++j)
    store_one_bound(task, false, j, bkx[j], blx[j], bux[j]);
  return store_putavecs(task, true, numvar, nullptr, 0, b.p, e.p, asub, aval);
}

} // namespace

extern "C" {

TVAAPI TVArescode TVA_inputdata(TVAtask_t task, TVAint32t maxnumcon, TVAint32t maxnumvar,
                                TVAint32t numcon, TVAint32t numvar, const double* c, double cfix,
                                const TVAint32t* aptrb, const TVAint32t* aptre,
                                const TVAint32t* asub, const double* aval, const TVAint32t* bkc,
                                const double* blc, const double* buc, const TVAint32t* bkx,
                                const double* blx, const double* bux) {
  return putget_put(task, kChangeStructure, [&] {
    return inputdata(task, maxnumcon, maxnumvar, numcon, numvar, c, cfix, aptrb, aptre, asub, aval,
                     bkc, blc, buc, bkx, blx, bux);
  });
}
TVAAPI TVArescode TVA_inputdata64(TVAtask_t task, TVAint32t maxnumcon, TVAint32t maxnumvar,
                                  TVAint32t numcon, TVAint32t numvar, const double* c, double cfix,
                                  const TVAint64t* aptrb, const TVAint64t* aptre,
                                  const TVAint32t* asub, const double* aval, const TVAint32t* bkc,
                                  const double* blc, const double* buc, const TVAint32t* bkx,
                                  const double* blx, const double* bux) {
  return putget_put(task, kChangeStructure, [&] {
    return inputdata(task, maxnumcon, maxnumvar, numcon, numvar, c, cfix, aptrb, aptre, asub, aval,
                     bkc, blc, buc, bkx, blx, bux);
  });
}

} // extern "C"
