// Exported functions of the constraint matrix A: elements, rows and columns by one item, by
// list and by slice, with 32- and 64-bit pointers, and the readers of slices and pieces.
#include <vector>

#include "cpub/sysalloc.h"
#include "telva/store/putget.h"

using namespace telva;

namespace {

// Replaces the items sub[t] (or first + t when sub is null) with 64-bit pointers.
TVArescode putavecs(TvaTask* task, bool bycol, int32 num, const int32* sub, int32 first,
                    const int64* ptrb, const int64* ptre, const int32* asub, const double* aval) {
  if (num > 0 && (!ptrb || !ptre)) return TVA_REP(task, ERR_NULL_POINTER, ptrb ? "ptre" : "ptrb");
  bool any = false;
  for (int32 t = 0; t < num && !any; ++t)
    any = ptre[t] > ptrb[t];
  if (any && (!asub || !aval)) return TVA_REP(task, ERR_NULL_POINTER, asub ? "aval" : "asub");
  return store_putavecs(task, bycol, num, sub, first, ptrb, ptre, asub, aval);
}

// The same with 32-bit pointers, widened into scratch arrays.
TVArescode putavecs32(TvaTask* task, bool bycol, int32 num, const int32* sub, int32 first,
                      const int32* ptrb, const int32* ptre, const int32* asub, const double* aval) {
  if (num > 0 && (!ptrb || !ptre)) return TVA_REP(task, ERR_NULL_POINTER, ptrb ? "ptre" : "ptrb");
  ScratchArr<int64> b(task->sys, num), e(task->sys, num);
  if (!b.ok() || !e.ok()) return TVA_REP(task, ERR_SPACE);
  for (int32 t = 0; t < num; ++t) {
    b[t] = ptrb[t];
    e[t] = ptre[t];
  }
  return putavecs(task, bycol, num, sub, first, b.p, e.p, asub, aval);
}

TVArescode putavec(TvaTask* task, bool bycol, int32 k, int32 nz, const int32* asub,
                   const double* aval) {
  return putget_put(task, kChangeA, [&]() -> TVArescode {
    TVArescode r = check_index(task, k, bycol ? task->numvar : task->numcon, bycol ? "j" : "i");
    if (r != TVA_RES_OK) return r;
    int64 b = 0, e = nz;
    return putavecs(task, bycol, 1, nullptr, k, &b, &e, asub, aval);
  });
}

template <class P>
TVArescode putaslice(TvaTask* task, bool bycol, int32 first, int32 last, const P* ptrb,
                     const P* ptre, const int32* asub, const double* aval) {
  return putget_put(task, kChangeA, [&]() -> TVArescode {
    TVArescode r = check_slice(task, first, last, bycol ? task->numvar : task->numcon);
    if (r != TVA_RES_OK || last <= first) return r;
    if constexpr (sizeof(P) == 8)
      return putavecs(task, bycol, last - first, nullptr, first, ptrb, ptre, asub, aval);
    else
      return putavecs32(task, bycol, last - first, nullptr, first, ptrb, ptre, asub, aval);
  });
}

template <class P>
TVArescode putalist(TvaTask* task, bool bycol, int32 num, const int32* sub, const P* ptrb,
                    const P* ptre, const int32* asub, const double* aval) {
  return putget_put(task, kChangeA, [&]() -> TVArescode {
    TVArescode r = check_count(task, num, "num");
    if (r == TVA_RES_OK)
      r = check_index_list(task, num, sub, bycol ? task->numvar : task->numcon, "sub");
    if (r != TVA_RES_OK || num == 0) return r;
    if constexpr (sizeof(P) == 8)
      return putavecs(task, bycol, num, sub, 0, ptrb, ptre, asub, aval);
    else
      return putavecs32(task, bycol, num, sub, 0, ptrb, ptre, asub, aval);
  });
}

TVArescode putaijlist(TvaTask* task, int64 num, const int32* subi, const int32* subj,
                      const double* val) {
  return putget_put(task, kChangeA, [&]() -> TVArescode {
    TVArescode r = check_count(task, num, "num");
    if (r != TVA_RES_OK || num == 0) return r;
    TVA_NEED_PTR(task, subi);
    TVA_NEED_PTR(task, subj);
    TVA_NEED_PTR(task, val);
    return store_putaijlist(task, num, subi, subj, val);
  });
}

bool valid_accmode(int32 accmode) {
  return accmode == TVA_ACC_VAR || accmode == TVA_ACC_CON;
}

// Number of nonzeros in the columns (bycol) or rows first .. last-1.
TVArescode slice_numnz(TvaTask* task, bool bycol, int32 first, int32 last, int64* total) {
  *total = 0;
  for (int32 k = first; k < last; ++k) {
    int32 nz = 0;
    TVArescode r = store_getavecnz(task, bycol, k, &nz);
    if (r != TVA_RES_OK) return r;
    *total += nz;
  }
  return TVA_RES_OK;
}

TVArescode getaslicenumnz(TvaTask* task, int32 accmode, int32 first, int32 last, int64* numnz) {
  if (!valid_accmode(accmode)) return TVA_REP(task, ERR_INVALID_ACCMODE, accmode);
  bool bycol = accmode == TVA_ACC_VAR;
  TVArescode r = check_slice(task, first, last, bycol ? task->numvar : task->numcon);
  if (r == TVA_RES_OK) r = slice_numnz(task, bycol, first, last, numnz);
  return r;
}

// Copies a slice into the caller's arrays from position maxnumnz - *surp on; *surp shrinks by
// what was written and must not go below 0.
template <class I>
TVArescode getaslice(TvaTask* task, int32 accmode, int32 first, int32 last, I maxnumnz, I* surp,
                     I* ptrb, I* ptre, int32* sub, double* val) {
  TVA_NEED_PTR(task, surp);
  int64 total = 0;
  TVArescode r = getaslicenumnz(task, accmode, first, last, &total);
  if (r != TVA_RES_OK) return r;
  if (*surp < 0 || *surp > maxnumnz) return TVA_REP(task, ERR_INVALID_SURPLUS);
  if (total > *surp) return TVA_REP(task, ERR_NEGATIVE_SURPLUS);
  if (last <= first) return TVA_RES_OK;
  bool bycol = accmode == TVA_ACC_VAR;
  if (total > 0 && (!sub || !val)) return TVA_REP(task, ERR_NULL_POINTER, sub ? "val" : "sub");
  int64 pos = int64(maxnumnz) - *surp;
  for (int32 k = first; k < last; ++k) {
    int32 nz = 0;
    r = store_getavec(task, bycol, k, &nz, sub ? sub + pos : nullptr, val ? val + pos : nullptr);
    if (r != TVA_RES_OK) return r;
    if (ptrb) ptrb[k - first] = static_cast<I>(pos);
    pos += nz;
    if (ptre) ptre[k - first] = static_cast<I>(pos);
  }
  *surp -= static_cast<I>(total);
  return TVA_RES_OK;
}

// Triplets of a slice of rows or columns, from position maxnumnz - *surp on.
TVArescode getaslicetrip(TvaTask* task, bool bycol, int32 first, int32 last, int32 maxnumnz,
                         int32* surp, int32* subi, int32* subj, double* val) {
  TVA_NEED_PTR(task, surp);
  TVArescode r = check_slice(task, first, last, bycol ? task->numvar : task->numcon);
  int64 total = 0;
  if (r == TVA_RES_OK) r = slice_numnz(task, bycol, first, last, &total);
  if (r != TVA_RES_OK) return r;
  if (*surp < 0 || *surp > maxnumnz) return TVA_REP(task, ERR_INVALID_SURPLUS);
  if (total > *surp) return TVA_REP(task, ERR_NEGATIVE_SURPLUS);
  if (total > 0 && (!subi || !subj || !val))
    return TVA_REP(task, ERR_NULL_POINTER, !subi ? "subi" : !subj ? "subj" : "val");
  int64 pos = int64(maxnumnz) - *surp;
  for (int32 k = first; k < last; ++k) {
    int32 nz = 0;
    int32* other = bycol ? subi : subj;
    r = store_getavec(task, bycol, k, &nz, other + pos, val + pos);
    if (r != TVA_RES_OK) return r;
    int32* own = bycol ? subj : subi;
    for (int32 t = 0; t < nz; ++t)
      own[pos + t] = k;
    pos += nz;
  }
  *surp -= static_cast<int32>(total);
  return TVA_RES_OK;
}

} // namespace

extern "C" {

TVAAPI TVArescode TVA_putaijlist(TVAtask_t task, TVAint32t num, const TVAint32t* subi,
                                 const TVAint32t* subj, const double* valij) {
  return putaijlist(task, num, subi, subj, valij);
}
TVAAPI TVArescode TVA_putaijlist64(TVAtask_t task, TVAint64t num, const TVAint32t* subi,
                                   const TVAint32t* subj, const double* valij) {
  return putaijlist(task, num, subi, subj, valij);
}

TVAAPI TVArescode TVA_putacol(TVAtask_t task, TVAint32t j, TVAint32t nzj, const TVAint32t* subj,
                              const double* valj) {
  return putavec(task, true, j, nzj, subj, valj);
}
TVAAPI TVArescode TVA_putarow(TVAtask_t task, TVAint32t i, TVAint32t nzi, const TVAint32t* subi,
                              const double* vali) {
  return putavec(task, false, i, nzi, subi, vali);
}

TVAAPI TVArescode TVA_putacolslice(TVAtask_t task, TVAint32t first, TVAint32t last,
                                   const TVAint32t* ptrb, const TVAint32t* ptre,
                                   const TVAint32t* asub, const double* aval) {
  return putaslice(task, true, first, last, ptrb, ptre, asub, aval);
}
TVAAPI TVArescode TVA_putarowslice(TVAtask_t task, TVAint32t first, TVAint32t last,
                                   const TVAint32t* ptrb, const TVAint32t* ptre,
                                   const TVAint32t* asub, const double* aval) {
  return putaslice(task, false, first, last, ptrb, ptre, asub, aval);
}
TVAAPI TVArescode TVA_putacolslice64(TVAtask_t task, TVAint32t first, TVAint32t last,
                                     const TVAint64t* ptrb, const TVAint64t* ptre,
                                     const TVAint32t* asub, const double* aval) {
  return putaslice(task, true, first, last, ptrb, ptre, asub, aval);
}
TVAAPI TVArescode TVA_putarowslice64(TVAtask_t task, TVAint32t first, TVAint32t last,
                                     const TVAint64t* ptrb, const TVAint64t* ptre,
                                     const TVAint32t* asub, const double* aval) {
  return putaslice(task, false, first, last, ptrb, ptre, asub, aval);
}

TVAAPI TVArescode TVA_putacollist(TVAtask_t task, TVAint32t num, const TVAint32t* sub,
                                  const TVAint32t* ptrb, const TVAint32t* ptre,
                                  const TVAint32t* asub, const double* aval) {
  return putalist(task, true, num, sub, ptrb, ptre, asub, aval);
}
TVAAPI TVArescode TVA_putarowlist(TVAtask_t task, TVAint32t num, const TVAint32t* sub,
                                  const TVAint32t* ptrb, const TVAint32t* ptre,
                                  const TVAint32t* asub, const double* aval) {
  return putalist(task, false, num, sub, ptrb, ptre, asub, aval);
}
TVAAPI TVArescode TVA_putacollist64(TVAtask_t task, TVAint32t num, const TVAint32t* sub,
                                    const TVAint64t* ptrb, const TVAint64t* ptre,
                                    const TVAint32t* asub, const double* aval) {
  return putalist(task, true, num, sub, ptrb, ptre, asub, aval);
}
TVAAPI TVArescode TVA_putarowlist64(TVAtask_t task, TVAint32t num, const TVAint32t* sub,
                                    const TVAint64t* ptrb, const TVAint64t* ptre,
                                    const TVAint32t* asub, const double* aval) {
  return putalist(task, false, num, sub, ptrb, ptre, asub, aval);
}

TVAAPI TVArescode TVA_getacolnumnz(TVAtask_t task, TVAint32t j, TVAint32t* nzj) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, nzj);
    return store_getavecnz(task, true, j, nzj);
  });
}
TVAAPI TVArescode TVA_getarownumnz(TVAtask_t task, TVAint32t i, TVAint32t* nzi) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, nzi);
    return store_getavecnz(task, false, i, nzi);
  });
}
TVAAPI TVArescode TVA_getarow(TVAtask_t task, TVAint32t i, TVAint32t* nzi, TVAint32t* subi,
                              double* vali) {
  return putget_call(task, [&] { return store_getavec(task, false, i, nzi, subi, vali); });
}
TVAAPI TVArescode TVA_getaij(TVAtask_t task, TVAint32t i, TVAint32t j, double* aij) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, aij);
    return store_getaij(task, i, j, aij);
  });
}
TVAAPI TVArescode TVA_getnumanz64(TVAtask_t task, TVAint64t* numanz) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, numanz);
    return store_getnumanz(task, numanz);
  });
}
TVAAPI TVArescode TVA_getnumanz(TVAtask_t task, TVAint32t* numanz) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, numanz);
    int64 nz = 0;
    TVArescode r = store_getnumanz(task, &nz);
    return r == TVA_RES_OK ? putget_narrow(task, nz, numanz) : r;
  });
}

TVAAPI TVArescode TVA_getaslicenumnz64(TVAtask_t task, TVAint32t accmode, TVAint32t first,
                                       TVAint32t last, TVAint64t* numnz) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, numnz);
    int64 n = 0;
    TVArescode r = getaslicenumnz(task, accmode, first, last, &n);
    if (r == TVA_RES_OK) *numnz = n;
    return r;
  });
}
TVAAPI TVArescode TVA_getaslicenumnz(TVAtask_t task, TVAint32t accmode, TVAint32t first,
                                     TVAint32t last, TVAint32t* numnz) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, numnz);
    int64 n = 0;
    TVArescode r = getaslicenumnz(task, accmode, first, last, &n);
    return r == TVA_RES_OK ? putget_narrow(task, n, numnz) : r;
  });
}
TVAAPI TVArescode TVA_getaslice(TVAtask_t task, TVAint32t accmode, TVAint32t first, TVAint32t last,
                                TVAint32t maxnumnz, TVAint32t* surp, TVAint32t* ptrb,
                                TVAint32t* ptre, TVAint32t* sub, double* val) {
  return putget_call(task, [&] {
    return getaslice(task, accmode, first, last, maxnumnz, surp, ptrb, ptre, sub, val);
  });
}
TVAAPI TVArescode TVA_getaslice64(TVAtask_t task, TVAint32t accmode, TVAint32t first,
                                  TVAint32t last, TVAint64t maxnumnz, TVAint64t* surp,
                                  TVAint64t* ptrb, TVAint64t* ptre, TVAint32t* sub, double* val) {
  return putget_call(task, [&] {
    return getaslice(task, accmode, first, last, maxnumnz, surp, ptrb, ptre, sub, val);
  });
}

TVAAPI TVArescode TVA_getapiecenumnz(TVAtask_t task, TVAint32t firsti, TVAint32t lasti,
                                     TVAint32t firstj, TVAint32t lastj, TVAint32t* numnz) {
  return putget_call(task, [&]() -> TVArescode {
    if (firsti < 0 || firsti > task->numcon) return TVA_REP(task, ERR_FIRSTI, firsti);
    if (lasti < firsti || lasti > task->numcon) return TVA_REP(task, ERR_LASTI, lasti);
    if (firstj < 0 || firstj > task->numvar) return TVA_REP(task, ERR_FIRSTJ, firstj);
    if (lastj < firstj || lastj > task->numvar) return TVA_REP(task, ERR_LASTJ, lastj);
    TVA_NEED_PTR(task, numnz);
    ScratchArr<int32> sub(task->sys, task->numcon);
    if (!sub.ok()) return TVA_REP(task, ERR_SPACE);
    int64 n = 0;
    for (int32 j = firstj; j < lastj && firsti < lasti; ++j) {
      int32 nz = 0;
      TVArescode r = store_getavec(task, true, j, &nz, sub.p, nullptr);
      if (r != TVA_RES_OK) return r;
      for (int32 t = 0; t < nz; ++t)
        n += sub[t] >= firsti && sub[t] < lasti;
    }
    return putget_narrow(task, n, numnz);
  });
}

TVAAPI TVArescode TVA_getarowslicetrip(TVAtask_t task, TVAint32t first, TVAint32t last,
                                       TVAint32t maxnumnz, TVAint32t* surp, TVAint32t* subi,
                                       TVAint32t* subj, double* val) {
  return putget_call(task, [&] {
    return getaslicetrip(task, false, first, last, maxnumnz, surp, subi, subj, val);
  });
}
TVAAPI TVArescode TVA_getacolslicetrip(TVAtask_t task, TVAint32t first, TVAint32t last,
                                       TVAint32t maxnumnz, TVAint32t* surp, TVAint32t* subi,
                                       TVAint32t* subj, double* val) {
  return putget_call(task, [&] {
    return getaslicetrip(task, true, first, last, maxnumnz, surp, subi, subj, val);
  });
}

} // extern "C"
