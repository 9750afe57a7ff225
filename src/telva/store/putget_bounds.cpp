// Exported functions of bounds: one item, lists and slices for constraints and variables, the
// forms chosen by an access mode, and the change of one side.
#include "telva/store/putget.h"

using namespace telva;

namespace {

bool valid_accmode(int32 accmode) {
  return accmode == TVA_ACC_VAR || accmode == TVA_ACC_CON;
}

int32 count_of(const TvaTask* task, int32 accmode) {
  return accmode == TVA_ACC_CON ? task->numcon : task->numvar;
}

StoreChange change_of(int32 accmode) {
  return accmode == TVA_ACC_CON ? kChangeConBounds : kChangeVarBounds;
}

TVArescode putbound(TvaTask* task, int32 accmode, int32 i, int32 bk, double bl, double bu) {
  return putget_put(task, change_of(accmode),
                    [&] { return store_putbound(task, accmode, i, bk, bl, bu); });
}

TVArescode need_arrays(TvaTask* task, int32 num, const int32* bk, const double* bl,
                       const double* bu) {
  if (num <= 0) return TVA_RES_OK;
  TVA_NEED_PTR(task, bk);
  TVA_NEED_PTR(task, bl);
  TVA_NEED_PTR(task, bu);
  return TVA_RES_OK;
}

TVArescode putboundlist(TvaTask* task, int32 accmode, int32 num, const int32* sub, const int32* bk,
                        const double* bl, const double* bu) {
  return putget_put(task, change_of(accmode), [&]() -> TVArescode {
    if (!valid_accmode(accmode)) return TVA_REP(task, ERR_INVALID_ACCMODE, accmode);
    TVArescode r = check_count(task, num, "num");
    if (r == TVA_RES_OK) r = check_index_list(task, num, sub, count_of(task, accmode), "sub");
    if (r == TVA_RES_OK) r = need_arrays(task, num, bk, bl, bu);
    if (r == TVA_RES_OK) r = store_putboundlist(task, accmode, num, sub, 0, bk, bl, bu);
    return r;
  });
}

TVArescode putboundslice(TvaTask* task, int32 accmode, int32 first, int32 last, const int32* bk,
                         const double* bl, const double* bu) {
  return putget_put(task, change_of(accmode), [&]() -> TVArescode {
    if (!valid_accmode(accmode)) return TVA_REP(task, ERR_INVALID_ACCMODE, accmode);
    TVArescode r = check_slice(task, first, last, count_of(task, accmode));
    if (r != TVA_RES_OK || last <= first) return r;
    r = need_arrays(task, last - first, bk, bl, bu);
    if (r == TVA_RES_OK)
      r = store_putboundlist(task, accmode, last - first, nullptr, first, bk, bl, bu);
    return r;
  });
}

TVArescode getbound(TvaTask* task, int32 accmode, int32 i, int32* bk, double* bl, double* bu) {
  return putget_call(task, [&]() -> TVArescode {
    if (!valid_accmode(accmode)) return TVA_REP(task, ERR_INVALID_ACCMODE, accmode);
    const char* arg = accmode == TVA_ACC_CON ? "i" : "j";
    if (i < 0) return TVA_REP(task, ERR_ARG_IS_TOO_SMALL, int64(i), arg);
    if (i >= count_of(task, accmode)) return TVA_REP(task, ERR_ARG_IS_TOO_LARGE, int64(i), arg);
    store_getbound(task, accmode, i, bk, bl, bu);
    return TVA_RES_OK;
  });
}

TVArescode getboundslice(TvaTask* task, int32 accmode, int32 first, int32 last, int32* bk,
                         double* bl, double* bu) {
  return putget_call(task, [&]() -> TVArescode {
    if (!valid_accmode(accmode)) return TVA_REP(task, ERR_INVALID_ACCMODE, accmode);
    TVArescode r = check_slice(task, first, last, count_of(task, accmode));
    if (r != TVA_RES_OK) return r;
    for (int32 i = first; i < last; ++i)
      store_getbound(task, accmode, i, bk ? bk + (i - first) : nullptr,
                     bl ? bl + (i - first) : nullptr, bu ? bu + (i - first) : nullptr);
    return TVA_RES_OK;
  });
}

bool has_lower(int32 bk) {
  return bk == TVA_BK_LO || bk == TVA_BK_FX || bk == TVA_BK_RA;
}
bool has_upper(int32 bk) {
  return bk == TVA_BK_UP || bk == TVA_BK_FX || bk == TVA_BK_RA;
}

// Changes one side of a bound: the new key follows from which sides stand, and the result goes
// through the checks and normalisation of the bound put.
TVArescode chgbound(TvaTask* task, int32 accmode, int32 i, int32 lower, int32 finite,
                    double value) {
  TVArescode r = putget_call(task, [&]() -> TVArescode {
    if (!valid_accmode(accmode)) return TVA_REP(task, ERR_INVALID_ACCMODE, accmode);
    TVArescode e = check_index(task, i, count_of(task, accmode), "i");
    if (e != TVA_RES_OK) return e;
    int32 bk;
    double bl, bu;
    store_getbound(task, accmode, i, &bk, &bl, &bu);
    bool lo = has_lower(bk), up = has_upper(bk);
    double nbl = bl, nbu = bu;
    if (lower) {
      lo = finite != 0;
      nbl = lo ? value : -kInfinity;
    } else {
      up = finite != 0;
      nbu = up ? value : kInfinity;
    }
    int32 nbk = lo && up ? (nbl == nbu ? TVA_BK_FX : TVA_BK_RA)
                : lo     ? TVA_BK_LO
                : up     ? TVA_BK_UP
                         : TVA_BK_FR;
    if (nbk == bk && nbl == bl && nbu == bu) return -1; // unchanged: nothing more to do
    return store_putbound(task, accmode, i, nbk, nbl, nbu);
  });
  if (r == -1) return TVA_RES_OK;
  if (r == TVA_RES_OK) store_changed(task, change_of(accmode));
  return r;
}

} // namespace

extern "C" {

TVAAPI TVArescode TVA_putconbound(TVAtask_t task, TVAint32t i, TVAint32t bkc, double blc,
                                  double buc) {
  return putbound(task, TVA_ACC_CON, i, bkc, blc, buc);
}
TVAAPI TVArescode TVA_putvarbound(TVAtask_t task, TVAint32t j, TVAint32t bkx, double blx,
                                  double bux) {
  return putbound(task, TVA_ACC_VAR, j, bkx, blx, bux);
}
TVAAPI TVArescode TVA_putbound(TVAtask_t task, TVAint32t accmode, TVAint32t i, TVAint32t bk,
                               double bl, double bu) {
  return putbound(task, accmode, i, bk, bl, bu);
}

TVAAPI TVArescode TVA_putconboundlist(TVAtask_t task, TVAint32t num, const TVAint32t* sub,
                                      const TVAint32t* bkc, const double* blc, const double* buc) {
  return putboundlist(task, TVA_ACC_CON, num, sub, bkc, blc, buc);
}
TVAAPI TVArescode TVA_putvarboundlist(TVAtask_t task, TVAint32t num, const TVAint32t* sub,
                                      const TVAint32t* bkx, const double* blx, const double* bux) {
  return putboundlist(task, TVA_ACC_VAR, num, sub, bkx, blx, bux);
}
TVAAPI TVArescode TVA_putboundlist(TVAtask_t task, TVAint32t accmode, TVAint32t num,
                                   const TVAint32t* sub, const TVAint32t* bk, const double* bl,
                                   const double* bu) {
  return putboundlist(task, accmode, num, sub, bk, bl, bu);
}

TVAAPI TVArescode TVA_putconboundslice(TVAtask_t task, TVAint32t first, TVAint32t last,
                                       const TVAint32t* bkc, const double* blc, const double* buc) {
  return putboundslice(task, TVA_ACC_CON, first, last, bkc, blc, buc);
}
TVAAPI TVArescode TVA_putvarboundslice(TVAtask_t task, TVAint32t first, TVAint32t last,
                                       const TVAint32t* bkx, const double* blx, const double* bux) {
  return putboundslice(task, TVA_ACC_VAR, first, last, bkx, blx, bux);
}
TVAAPI TVArescode TVA_putboundslice(TVAtask_t task, TVAint32t accmode, TVAint32t first,
                                    TVAint32t last, const TVAint32t* bk, const double* bl,
                                    const double* bu) {
  return putboundslice(task, accmode, first, last, bk, bl, bu);
}

TVAAPI TVArescode TVA_getvarbound(TVAtask_t task, TVAint32t j, TVAint32t* bkx, double* blx,
                                  double* bux) {
  return getbound(task, TVA_ACC_VAR, j, bkx, blx, bux);
}
TVAAPI TVArescode TVA_getbound(TVAtask_t task, TVAint32t accmode, TVAint32t i, TVAint32t* bk,
                               double* bl, double* bu) {
  return getbound(task, accmode, i, bk, bl, bu);
}

TVAAPI TVArescode TVA_getconboundslice(TVAtask_t task, TVAint32t first, TVAint32t last,
                                       TVAint32t* bkc, double* blc, double* buc) {
  return getboundslice(task, TVA_ACC_CON, first, last, bkc, blc, buc);
}
TVAAPI TVArescode TVA_getvarboundslice(TVAtask_t task, TVAint32t first, TVAint32t last,
                                       TVAint32t* bkx, double* blx, double* bux) {
  return getboundslice(task, TVA_ACC_VAR, first, last, bkx, blx, bux);
}
TVAAPI TVArescode TVA_getboundslice(TVAtask_t task, TVAint32t accmode, TVAint32t first,
                                    TVAint32t last, TVAint32t* bk, double* bl, double* bu) {
  return getboundslice(task, accmode, first, last, bk, bl, bu);
}

TVAAPI TVArescode TVA_chgconbound(TVAtask_t task, TVAint32t i, TVAint32t lower, TVAint32t finite,
                                  double value) {
  return chgbound(task, TVA_ACC_CON, i, lower, finite, value);
}
TVAAPI TVArescode TVA_chgvarbound(TVAtask_t task, TVAint32t j, TVAint32t lower, TVAint32t finite,
                                  double value) {
  return chgbound(task, TVA_ACC_VAR, j, lower, finite, value);
}
TVAAPI TVArescode TVA_chgbound(TVAtask_t task, TVAint32t accmode, TVAint32t i, TVAint32t lower,
                               TVAint32t finite, double value) {
  return chgbound(task, accmode, i, lower, finite, value);
}

} // extern "C"
