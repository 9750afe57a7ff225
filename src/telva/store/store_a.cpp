// The constraint matrix A: value checks, single elements, whole rows and columns, reads.
#include <algorithm>

#include "telva/store/store_internal.h"

namespace telva {

namespace {

// The value checks of one element in their order. Sets *keep to whether the element is stored
// (a tiny value is stored as zero, that is: not at all).
TVArescode check_aij(TvaTask* task, int32 i, int32 j, double v, bool* keep) {
  if (is_bad_value(v))
    return TVA_REP(task, ERR_INVALID_AIJ, store_getname(task, kNameCon, i), i,
                   store_getname(task, kNameVar, j), j);
  double m = std::fabs(v);
  if (m >= task->dparam[TVA_DPAR_DATA_TOL_AIJ_HUGE])
    return TVA_REP(task, ERR_HUGE_AIJ, TVA_WJP_VALUE, v, store_getname(task, kNameCon, i), i,
                   store_getname(task, kNameVar, j), j);
  if (m >= task->dparam[TVA_DPAR_DATA_TOL_AIJ_LARGE]) {
    TVArescode r = TVA_REP(task, WRN_LARGE_AIJ, TVA_WJP_VALUE, v, store_getname(task, kNameCon, i),
                           i, store_getname(task, kNameVar, j), j);
    if (r != TVA_RES_OK) return r;
  }
  *keep = m >= task->dparam[TVA_DPAR_DATA_TOL_AIJ];
  return TVA_RES_OK;
}

// The result of an operation on A, with the log line when A had to grow for it.
TVArescode a_result(TvaTask* task, int status) {
  sprmat* a = task->store.a;
  if (a && a->grew) {
    a->grew = false;
    if (task->iparam[TVA_IPAR_LOG] > 0)
      streamblock_printf(&task->streams, TVA_STREAM_MSG,
                         "Expanding the maximum number of A nonzeros from %lld to %lld.\n",
                         static_cast<long long>(a->grew_from), static_cast<long long>(a->grew_to));
  }
  return store_sprmat_result(task, status);
}

} // namespace

TVArescode store_putaij(TvaTask* task, int32 i, int32 j, double aij) {
  TVArescode r = check_index(task, i, task->numcon, "i");
  if (r == TVA_RES_OK) r = check_index(task, j, task->numvar, "j");
  bool keep = false;
  if (r == TVA_RES_OK) r = check_aij(task, i, j, aij, &keep);
  if (r == TVA_RES_OK)
    r = store_sprmat_result(task, sprmat_putelem(task->store.a, i, j, keep ? aij : 0.0));
  if (r == TVA_RES_OK) {
    task->store.a_change_count++;
    sol_on_change(task, SolChange::Unjudged);
  }
  return r;
}

TVArescode store_putaijlist(TvaTask* task, int64 num, const int32* subi, const int32* subj,
                            const double* val) {
  if (num < 0) return check_count(task, num, "num");
  for (int64 t = 0; t < num; ++t) {
    int32 pos = static_cast<int32>(t);
    TVArescode r = check_index_arr(task, subi[t], pos, task->numcon, "subi");
    if (r == TVA_RES_OK) r = check_index_arr(task, subj[t], pos, task->numvar, "subj");
    bool keep;
    if (r == TVA_RES_OK) r = check_aij(task, subi[t], subj[t], val[t], &keep);
    if (r != TVA_RES_OK) return r;
  }
  if (num == 0) return TVA_RES_OK;
  sprmat* a = task->store.a;
  TVArescode r = store_sprmat_result(task, sprmat_reservepend(a, num));
  if (r != TVA_RES_OK) return r;
  const double tol = task->dparam[TVA_DPAR_DATA_TOL_AIJ];
  for (int64 t = 0; t < num; ++t)
    sprmat_putelem(a, subi[t], subj[t], std::fabs(val[t]) >= tol ? val[t] : 0.0);
  task->store.a_change_count++;
  sol_on_change(task, SolChange::Unjudged);
  return TVA_RES_OK;
}

TVArescode store_putavecs(TvaTask* task, bool bycol, int32 num, const int32* sub, int32 first,
                          const int64* ptrb, const int64* ptre, const int32* asub,
                          const double* aval) {
  const int32 count = bycol ? task->numvar : task->numcon;
  const int32 vlen = bycol ? task->numcon : task->numvar;
  if (num < 0) return check_count(task, num, "num");
  if (!sub) {
    TVArescode r = check_slice(
        task, first, static_cast<int32>(std::min<int64>(int64(first) + num, 0x7fffffff)), count);
    if (r != TVA_RES_OK) return r;
  }
  if (num <= 0) return TVA_RES_OK;
  int32* mark = sysarr_alloc<int32>(task->sys, std::max(vlen, 1));
  if (!mark) return TVA_REP(task, ERR_SPACE);
  // Checks of every item and element, before anything changes.
  TVArescode r = TVA_RES_OK;
  int64 kept = 0;
  for (int32 t = 0; t < num && r == TVA_RES_OK; ++t) {
    int32 k = sub ? sub[t] : first + t;
    if (sub) r = check_index_arr(task, k, t, count, "sub");
    int64 given = ptre[t] - ptrb[t], kept_here = 0;
    if (r == TVA_RES_OK && given < 0) r = TVA_REP(task, ERR_INV_APTRE, t);
    for (int64 p = ptrb[t]; p < ptre[t] && r == TVA_RES_OK; ++p) {
      int32 s = asub[p];
      r = check_index(task, s, vlen, "asub");
      if (r != TVA_RES_OK) break;
      int32 i = bycol ? s : k, j = bycol ? k : s;
      bool keep = false;
      r = check_aij(task, i, j, aval[p], &keep);
      if (r == TVA_RES_OK && mark[s])
        r = TVA_REP(task, ERR_DUPLICATE_AIJ, store_getname(task, kNameCon, i), i,
                    store_getname(task, kNameVar, j), j);
      mark[s] = 1;
      kept_here += keep;
    }
    for (int64 p = ptrb[t]; p < ptre[t]; ++p)
      if (asub[p] >= 0 && asub[p] < vlen) mark[asub[p]] = 0;
    if (r == TVA_RES_OK && kept_here < given) {
      r = bycol ? TVA_REP(task, WRN_ZEROS_IN_SPARSE_COL, given - kept_here,
                          store_getname(task, kNameVar, k), k, "A")
                : TVA_REP(task, WRN_ZEROS_IN_SPARSE_ROW, given - kept_here,
                          store_getname(task, kNameCon, k), k, "A");
    }
    kept += kept_here;
  }
  sysarr_free(task->sys, &mark);
  if (r != TVA_RES_OK) return r;

  // All memory first: the kept elements, then the room in A.
  int32* ksub = sysarr_alloc<int32>(task->sys, std::max<int64>(kept, 1));
  double* kval = sysarr_alloc<double>(task->sys, std::max<int64>(kept, 1));
  if (!ksub || !kval) r = TVA_REP(task, ERR_SPACE);
  if (r == TVA_RES_OK) r = a_result(task, sprmat_preparereplace(task->store.a, bycol, kept));
  if (r == TVA_RES_OK) {
    const double tol = task->dparam[TVA_DPAR_DATA_TOL_AIJ];
    for (int32 t = 0; t < num; ++t) {
      int32 n = 0;
      for (int64 p = ptrb[t]; p < ptre[t]; ++p) {
        if (std::fabs(aval[p]) < tol) continue;
        ksub[n] = asub[p];
        kval[n++] = aval[p];
      }
      sprmat_replacevec(task->store.a, bycol, sub ? sub[t] : first + t, n, ksub, kval);
    }
    task->store.a_change_count++;
    sol_on_change(task, SolChange::Unjudged);
  }
  sysarr_free(task->sys, &ksub);
  sysarr_free(task->sys, &kval);
  return r;
}

TVArescode store_getavec(TvaTask* task, bool bycol, int32 k, int32* nz, int32* sub, double* val) {
  TVArescode r = check_index(task, k, bycol ? task->numvar : task->numcon, bycol ? "j" : "i");
  if (r != TVA_RES_OK) return r;
  int32 n = 0;
  const int32* s;
  const double* v;
  r = a_result(task, sprmat_getvec(task->store.a, bycol, k, &n, &s, &v));
  if (r != TVA_RES_OK) return r;
  if (sub && n > 0) std::memcpy(sub, s, n * sizeof(int32));
  if (val && n > 0) std::memcpy(val, v, n * sizeof(double));
  if (nz) *nz = n;
  return TVA_RES_OK;
}

TVArescode store_getavecnz(TvaTask* task, bool bycol, int32 k, int32* nz) {
  TVArescode r = check_index(task, k, bycol ? task->numvar : task->numcon, bycol ? "j" : "i");
  if (r != TVA_RES_OK) return r;
  return a_result(task, sprmat_getvecnz(task->store.a, bycol, k, nz));
}

TVArescode store_getaij(TvaTask* task, int32 i, int32 j, double* aij) {
  TVArescode r = check_index(task, i, task->numcon, "i");
  if (r == TVA_RES_OK) r = check_index(task, j, task->numvar, "j");
  if (r == TVA_RES_OK) r = a_result(task, sprmat_getaij(task->store.a, i, j, aij));
  return r;
}

TVArescode store_getnumanz(TvaTask* task, int64* nz) {
  *nz = 0;
  if (!task->store.a) return TVA_RES_OK;
  return a_result(task, sprmat_numnz(task->store.a, nz));
}

TVArescode store_sort_a(TvaTask* task) {
  if (!task->store.a) return TVA_RES_OK;
  return a_result(task, sprmat_sort(task->store.a));
}

TVArescode store_commit(TvaTask* task) {
  if (!task->store.a) return TVA_RES_OK;
  return a_result(task, sprmat_flush(task->store.a));
}

} // namespace telva
