// Exported functions on the solution slots: whole solutions, single elements, the array
// family, the semidefinite part, evaluation and norms. Each checks the handle, then its
// arguments in order, and changes nothing when a check fails.
#include <algorithm>
#include <cstring>

#include "telva/solution/solution_access.h"
#include "telva/store/putget.h"
#include "telva/store/store_internal.h"

using namespace telva;

namespace {

template <class T> void copy_out(T* dst, const T* src, int32 n) {
  if (dst && n > 0) std::memcpy(dst, src, sizeof(T) * static_cast<size_t>(n));
}

// Copies src into dst over n entries, or zeroes dst when src is null.
template <class T> void copy_in(T* dst, const T* src, int32 n) {
  if (!dst || n <= 0) return;
  if (src)
    std::memcpy(dst, src, sizeof(T) * static_cast<size_t>(n));
  else
    std::memset(dst, 0, sizeof(T) * static_cast<size_t>(n));
}

TVArescode get_whole(TvaTask* task, int32 whichsol, int32* prosta, int32* solsta, int32* skc,
                     int32* skx, int32* skn, double* xc, double* xx, double* y, double* slc,
                     double* suc, double* slx, double* sux, double* snx) {
  TVArescode r = sol_check_read(task, whichsol);
  if (r != TVA_RES_OK) return r;
  const SolutionSlot& s = *sol_slot(task, whichsol);
  const int32 m = task->numcon, n = task->numvar;
  if (prosta) *prosta = s.prosta;
  if (solsta) *solsta = s.solsta;
  copy_out(skc, s.skc, m);
  copy_out(skx, s.skx, n);
  copy_out(xc, s.xc, m);
  copy_out(xx, s.xx, n);
  if (sol_has_duals(whichsol)) {
    copy_out(y, s.y, m);
    copy_out(slc, s.slc, m);
    copy_out(suc, s.suc, m);
    copy_out(slx, s.slx, n);
    copy_out(sux, s.sux, n);
  }
  if (whichsol == TVA_SOL_ITR) {
    copy_out(skn, s.skn, task->numcone);
    copy_out(snx, s.snx, n);
  }
  return TVA_RES_OK;
}

TVArescode check_accmode(TvaTask* task, int32 accmode) {
  if (accmode != TVA_ACC_VAR && accmode != TVA_ACC_CON)
    return TVA_REP(task, ERR_INVALID_ACCMODE, accmode);
  return TVA_RES_OK;
}

// The whichsol check of the semidefinite accessors: only the interior slot has barX and barS.
TVArescode check_bar_whichsol(TvaTask* task, int32 whichsol, bool bars) {
  if (whichsol == TVA_SOL_ITR) return TVA_RES_OK;
  if (whichsol == TVA_SOL_BAS || whichsol == TVA_SOL_ITG)
    return bars ? TVA_REP(task, ERR_NO_BARS_FOR_SOLUTION, whichsol)
                : TVA_REP(task, ERR_NO_BARX_FOR_SOLUTION, whichsol);
  return TVA_REP(task, ERR_WHICHSOL, whichsol);
}

TVArescode get_bar(TvaTask* task, int32 whichsol, int32 j, double* out, bool bars) {
  TVArescode r = check_bar_whichsol(task, whichsol, bars);
  if (r == TVA_RES_OK) r = check_index(task, j, task->numbarvar, "j");
  if (r == TVA_RES_OK) r = sol_check_read(task, whichsol);
  if (r != TVA_RES_OK) return r;
  const SolutionSlot& s = *sol_slot(task, whichsol);
  int64 d = task->store.bardim[j], len = d * (d + 1) / 2;
  int64 off = sol_bar_offset(task, j);
  std::fill(out, out + len, 0.0);
  int64 have = std::clamp<int64>(s.barlen - off, 0, len);
  const double* src = bars ? s.bars : s.barx;
  if (have > 0) std::memcpy(out, src + off, sizeof(double) * static_cast<size_t>(have));
  return TVA_RES_OK;
}

TVArescode put_bar(TvaTask* task, int32 whichsol, int32 j, const double* in, bool bars) {
  TVArescode r = check_bar_whichsol(task, whichsol, bars);
  if (r == TVA_RES_OK) r = check_index(task, j, task->numbarvar, "j");
  if (r == TVA_RES_OK) r = sol_prepare(task, whichsol);
  if (r != TVA_RES_OK) return r;
  SolutionSlot& s = *sol_slot(task, whichsol);
  int64 d = task->store.bardim[j], len = d * (d + 1) / 2;
  double* dst = (bars ? s.bars : s.barx) + sol_bar_offset(task, j);
  std::memcpy(dst, in, sizeof(double) * static_cast<size_t>(len));
  s.solsta = TVA_SOL_STA_UNKNOWN;
  return TVA_RES_OK;
}

// One of the violation arrays, gathered at the indices of sub.
enum class ViolKind { PCon, PVar, PBarvar, PCones, DCon, DVar, DBarvar, DCones };

TVArescode get_viol(TvaTask* task, int32 whichsol, int32 num, const int32* sub, double* viol,
                    ViolKind kind) {
  TVArescode r = sol_check_read(task, whichsol);
  if (r != TVA_RES_OK) return r;
  const bool dual = kind >= ViolKind::DCon;
  if (dual && whichsol == TVA_SOL_ITG) return TVA_REP(task, ERR_NO_DUAL_FOR_ITG_SOL);
  int32 count = 0;
  switch (kind) {
  case ViolKind::PCon:
  case ViolKind::DCon:
    count = task->numcon;
    break;
  case ViolKind::PVar:
  case ViolKind::DVar:
    count = task->numvar;
    break;
  case ViolKind::PBarvar:
  case ViolKind::DBarvar:
    count = task->numbarvar;
    break;
  case ViolKind::PCones:
  case ViolKind::DCones:
    count = task->numcone;
    break;
  }
  r = check_count(task, num, "num");
  for (int32 k = 0; k < num && r == TVA_RES_OK; ++k)
    r = check_index_arr(task, sub[k], k, count, "sub");
  if (r != TVA_RES_OK || num == 0) return r;
  ScratchArr<double> all(task->sys, count);
  if (!all.ok()) return TVA_REP(task, ERR_SPACE);
  Violations v;
  double** slot[] = {&v.pcon, &v.pvar, &v.pbarvar, &v.pcone,
                     &v.dcon, &v.dvar, &v.dbarvar, &v.dcone};
  *slot[static_cast<int>(kind)] = all.p;
  r = sol_violations(task, whichsol, v);
  if (r != TVA_RES_OK) return r;
  for (int32 k = 0; k < num; ++k)
    viol[k] = all[sub[k]];
  return TVA_RES_OK;
}

constexpr SolArray kSolitemArray[] = {SolArray::Xc,  SolArray::Xx,  SolArray::Y,   SolArray::Slc,
                                      SolArray::Suc, SolArray::Slx, SolArray::Sux, SolArray::Snx};

} // namespace

extern "C" {

// ---- Whole solution ----

TVAAPI TVArescode TVA_solutiondef(TVAtask_t task, TVAint32t whichsol, TVAint32t* isdef) {
  return putget_call(task, [&]() -> TVArescode {
    if (isdef) *isdef = 0;
    TVArescode r = sol_check_whichsol(task, whichsol);
    if (r == TVA_RES_OK && isdef) *isdef = sol_slot(task, whichsol)->defined ? 1 : 0;
    return r;
  });
}

TVAAPI TVArescode TVA_deletesolution(TVAtask_t task, TVAint32t whichsol) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = sol_check_whichsol(task, whichsol);
    if (r == TVA_RES_OK) sol_delete(task, whichsol);
    return r;
  });
}

TVAAPI TVArescode TVA_getprosta(TVAtask_t task, TVAint32t whichsol, TVAint32t* prosta) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = sol_check_read(task, whichsol);
    if (r == TVA_RES_OK) *prosta = sol_slot(task, whichsol)->prosta;
    return r;
  });
}

TVAAPI TVArescode TVA_getsolsta(TVAtask_t task, TVAint32t whichsol, TVAint32t* solsta) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = sol_check_read(task, whichsol);
    if (r == TVA_RES_OK) *solsta = sol_slot(task, whichsol)->solsta;
    return r;
  });
}

TVAAPI TVArescode TVA_getsolution(TVAtask_t task, TVAint32t whichsol, TVAint32t* prosta,
                                  TVAint32t* solsta, TVAint32t* skc, TVAint32t* skx, TVAint32t* skn,
                                  double* xc, double* xx, double* y, double* slc, double* suc,
                                  double* slx, double* sux, double* snx) {
  return putget_call(task, [&] {
    return get_whole(task, whichsol, prosta, solsta, skc, skx, skn, xc, xx, y, slc, suc, slx, sux,
                     snx);
  });
}

TVAAPI TVArescode TVA_getsolutionincallback(TVAtask_t task, TVAint32t where, TVAint32t whichsol,
                                            TVAint32t* prosta, TVAint32t* solsta, TVAint32t* skc,
                                            TVAint32t* skx, TVAint32t* skn, double* xc, double* xx,
                                            double* y, double* slc, double* suc, double* slx,
                                            double* sux, double* snx) {
  return putget_call(task, [&]() -> TVArescode {
    if (where != TVA_CALLBACK_IM_MIO && where != TVA_CALLBACK_NEW_INT_MIO)
      return TVA_REP(task, ERR_NO_SOLUTION_IN_CALLBACK);
    return get_whole(task, whichsol, prosta, solsta, skc, skx, skn, xc, xx, y, slc, suc, slx, sux,
                     snx);
  });
}

TVAAPI TVArescode TVA_putsolution(TVAtask_t task, TVAint32t whichsol, const TVAint32t* skc,
                                  const TVAint32t* skx, const TVAint32t* skn, const double* xc,
                                  const double* xx, const double* y, const double* slc,
                                  const double* suc, const double* slx, const double* sux,
                                  const double* snx) {
  return putget_call(task, [&]() -> TVArescode {
    const int32 m = task->numcon, n = task->numvar;
    TVArescode r = sol_check_whichsol(task, whichsol);
    if (r == TVA_RES_OK && skc) r = sol_check_keys(task, SolArray::Skc, skc, m);
    if (r == TVA_RES_OK && skx) r = sol_check_keys(task, SolArray::Skx, skx, n);
    if (r == TVA_RES_OK && skn && sol_has_skn(whichsol))
      for (int32 k = 0; k < task->numcone && r == TVA_RES_OK; ++k)
        if (skn[k] < 0 || skn[k] >= 7) r = TVA_REP(task, ERR_INV_SKN, k);
    if (r == TVA_RES_OK) r = sol_prepare(task, whichsol);
    if (r != TVA_RES_OK) return r;
    SolutionSlot& s = *sol_slot(task, whichsol);
    copy_in(s.skc, skc, m);
    copy_in(s.skx, skx, n);
    copy_in(s.skn, skn, task->numcone);
    copy_in(s.xc, xc, m);
    copy_in(s.xx, xx, n);
    copy_in(s.y, y, m);
    copy_in(s.slc, slc, m);
    copy_in(s.suc, suc, m);
    copy_in(s.slx, slx, n);
    copy_in(s.sux, sux, n);
    copy_in(s.snx, snx, n);
    s.solsta = TVA_SOL_STA_UNKNOWN;
    if (whichsol != TVA_SOL_BAS) return TVA_RES_OK;
    // A basis has numcon basic items; the solution stands either way.
    int32 nbas = 0;
    for (int32 i = 0; i < m; ++i)
      nbas += s.skc[i] == TVA_SK_BAS;
    for (int32 j = 0; j < n; ++j)
      nbas += s.skx[j] == TVA_SK_BAS;
    if (nbas < m) return TVA_REP(task, WRN_TOO_FEW_BASIS_VARS, m, nbas);
    if (nbas > m) return TVA_REP(task, WRN_TOO_MANY_BASIS_VARS, nbas, m);
    return TVA_RES_OK;
  });
}

// ---- Single element ----

TVAAPI TVArescode TVA_getsolutioni(TVAtask_t task, TVAint32t accmode, TVAint32t i,
                                   TVAint32t whichsol, TVAint32t* sk, double* x, double* sl,
                                   double* su, double* sn) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = sol_check_read(task, whichsol);
    if (r == TVA_RES_OK) r = check_accmode(task, accmode);
    bool con = accmode == TVA_ACC_CON;
    if (r == TVA_RES_OK) r = check_index(task, i, con ? task->numcon : task->numvar, "i");
    if (r != TVA_RES_OK) return r;
    const SolutionSlot& s = *sol_slot(task, whichsol);
    auto at = [i](const double* v) { return v ? v[i] : 0.0; };
    if (sk) *sk = con ? s.skc[i] : s.skx[i];
    if (x) *x = con ? s.xc[i] : s.xx[i];
    if (sl) *sl = at(con ? s.slc : s.slx);
    if (su) *su = at(con ? s.suc : s.sux);
    if (sn) *sn = con ? 0.0 : at(s.snx);
    return TVA_RES_OK;
  });
}

TVAAPI TVArescode TVA_putsolutioni(TVAtask_t task, TVAint32t accmode, TVAint32t i,
                                   TVAint32t whichsol, TVAint32t sk, double x, double sl, double su,
                                   double sn) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = sol_check_whichsol(task, whichsol);
    if (r == TVA_RES_OK) r = check_accmode(task, accmode);
    bool con = accmode == TVA_ACC_CON;
    if (r == TVA_RES_OK) r = check_index(task, i, con ? task->numcon : task->numvar, "i");
    if (r == TVA_RES_OK && (sk < 0 || sk >= 7)) r = TVA_REP(task, ERR_INV_SK, sk);
    if (r == TVA_RES_OK) r = sol_prepare(task, whichsol);
    if (r != TVA_RES_OK) return r;
    SolutionSlot& s = *sol_slot(task, whichsol);
    (con ? s.skc : s.skx)[i] = sk;
    (con ? s.xc : s.xx)[i] = x;
    if (sol_has_duals(whichsol)) {
      (con ? s.slc : s.slx)[i] = sl;
      (con ? s.suc : s.sux)[i] = su;
    }
    if (!con && s.snx) s.snx[i] = sn;
    s.solsta = TVA_SOL_STA_UNKNOWN;
    return TVA_RES_OK;
  });
}

TVAAPI TVArescode TVA_putsolutionyi(TVAtask_t task, TVAint32t i, TVAint32t whichsol, double y) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = sol_check_whichsol(task, whichsol);
    if (r == TVA_RES_OK) r = check_index(task, i, task->numcon, "i");
    if (r != TVA_RES_OK || !sol_has_duals(whichsol)) return r;
    r = sol_prepare(task, whichsol);
    if (r == TVA_RES_OK) sol_slot(task, whichsol)->y[i] = y;
    return r;
  });
}

// ---- The array family ----

#define TVA_SOL_ARRAY_FAMILY(name, Item, T)                                                        \
  TVAAPI TVArescode TVA_put##name(TVAtask_t task, TVAint32t whichsol, const T* values) {           \
    return putget_call(task, [&] {                                                                 \
      return sol_put_slice(task, whichsol, SolArray::Item, 0,                                      \
                           sol_array_count(task, SolArray::Item), values);                         \
    });                                                                                            \
  }                                                                                                \
  TVAAPI TVArescode TVA_put##name##slice(TVAtask_t task, TVAint32t whichsol, TVAint32t first,      \
                                         TVAint32t last, const T* values) {                        \
    return putget_call(                                                                            \
        task, [&] { return sol_put_slice(task, whichsol, SolArray::Item, first, last, values); }); \
  }                                                                                                \
  TVAAPI TVArescode TVA_get##name(TVAtask_t task, TVAint32t whichsol, T* values) {                 \
    return putget_call(task, [&] {                                                                 \
      return sol_get_slice(task, whichsol, SolArray::Item, 0,                                      \
                           sol_array_count(task, SolArray::Item), values);                         \
    });                                                                                            \
  }                                                                                                \
  TVAAPI TVArescode TVA_get##name##slice(TVAtask_t task, TVAint32t whichsol, TVAint32t first,      \
                                         TVAint32t last, T* values) {                              \
    return putget_call(                                                                            \
        task, [&] { return sol_get_slice(task, whichsol, SolArray::Item, first, last, values); }); \
  }

TVA_SOL_ARRAY_FAMILY(skc, Skc, TVAint32t)
TVA_SOL_ARRAY_FAMILY(skx, Skx, TVAint32t)
TVA_SOL_ARRAY_FAMILY(xc, Xc, double)
TVA_SOL_ARRAY_FAMILY(xx, Xx, double)
TVA_SOL_ARRAY_FAMILY(y, Y, double)
TVA_SOL_ARRAY_FAMILY(slc, Slc, double)
TVA_SOL_ARRAY_FAMILY(suc, Suc, double)
TVA_SOL_ARRAY_FAMILY(slx, Slx, double)
TVA_SOL_ARRAY_FAMILY(sux, Sux, double)
TVA_SOL_ARRAY_FAMILY(snx, Snx, double)

#undef TVA_SOL_ARRAY_FAMILY

TVAAPI TVArescode TVA_getsolutionslice(TVAtask_t task, TVAint32t whichsol, TVAint32t solitem,
                                       TVAint32t first, TVAint32t last, double* values) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = sol_check_whichsol(task, whichsol);
    if (r != TVA_RES_OK) return r;
    if (solitem < TVA_SOL_ITEM_XC || solitem > TVA_SOL_ITEM_SNX)
      return TVA_REP(task, ERR_SOLITEM, solitem, whichsol);
    return sol_get_slice(task, whichsol, kSolitemArray[solitem], first, last, values);
  });
}

TVAAPI TVArescode TVA_getreducedcosts(TVAtask_t task, TVAint32t whichsol, TVAint32t first,
                                      TVAint32t last, double* redcosts) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = sol_check_read(task, whichsol);
    if (r != TVA_RES_OK) return r;
    if (whichsol == TVA_SOL_ITG) return TVA_REP(task, ERR_NO_DUAL_FOR_ITG_SOL);
    if (first < 0) return TVA_REP(task, ERR_FIRST, first);
    if (last > task->numvar) return TVA_REP(task, ERR_LAST, last);
    const SolutionSlot& s = *sol_slot(task, whichsol);
    for (int32 j = first; j < last; ++j)
      redcosts[j - first] = s.slx[j] - s.sux[j];
    return TVA_RES_OK;
  });
}

// ---- Semidefinite part ----

TVAAPI TVArescode TVA_getbarxj(TVAtask_t task, TVAint32t whichsol, TVAint32t j, double* barxj) {
  return putget_call(task, [&] { return get_bar(task, whichsol, j, barxj, false); });
}
TVAAPI TVArescode TVA_getbarsj(TVAtask_t task, TVAint32t whichsol, TVAint32t j, double* barsj) {
  return putget_call(task, [&] { return get_bar(task, whichsol, j, barsj, true); });
}
TVAAPI TVArescode TVA_putbarxj(TVAtask_t task, TVAint32t whichsol, TVAint32t j,
                               const double* barxj) {
  return putget_call(task, [&] { return put_bar(task, whichsol, j, barxj, false); });
}
TVAAPI TVArescode TVA_putbarsj(TVAtask_t task, TVAint32t whichsol, TVAint32t j,
                               const double* barsj) {
  return putget_call(task, [&] { return put_bar(task, whichsol, j, barsj, true); });
}

// ---- Evaluation ----

TVAAPI TVArescode TVA_getprimalobj(TVAtask_t task, TVAint32t whichsol, double* primalobj) {
  return putget_call(task, [&]() -> TVArescode {
    *primalobj = -kInfinity;
    return sol_primalobj(task, whichsol, primalobj);
  });
}

TVAAPI TVArescode TVA_getdualobj(TVAtask_t task, TVAint32t whichsol, double* dualobj) {
  return putget_call(task, [&]() -> TVArescode {
    *dualobj = kInfinity;
    return sol_dualobj(task, whichsol, dualobj);
  });
}

#define TVA_SOL_VIOL(name, Kind)                                                                   \
  TVAAPI TVArescode TVA_get##name(TVAtask_t task, TVAint32t whichsol, TVAint32t num,               \
                                  const TVAint32t* sub, double* viol) {                            \
    return putget_call(task,                                                                       \
                       [&] { return get_viol(task, whichsol, num, sub, viol, ViolKind::Kind); });  \
  }

TVA_SOL_VIOL(pviolcon, PCon)
TVA_SOL_VIOL(pviolvar, PVar)
TVA_SOL_VIOL(pviolbarvar, PBarvar)
TVA_SOL_VIOL(pviolcones, PCones)
TVA_SOL_VIOL(dviolcon, DCon)
TVA_SOL_VIOL(dviolvar, DVar)
TVA_SOL_VIOL(dviolbarvar, DBarvar)
TVA_SOL_VIOL(dviolcones, DCones)

#undef TVA_SOL_VIOL

TVAAPI TVArescode TVA_getsolutioninfo(TVAtask_t task, TVAint32t whichsol, double* pobj,
                                      double* pviolcon, double* pviolvar, double* pviolbarvar,
                                      double* pviolcones, double* pviolitg, double* dobj,
                                      double* dviolcon, double* dviolvar, double* dviolbarvar,
                                      double* dviolcones) {
  return putget_call(task, [&]() -> TVArescode {
    SolutionInfo info;
    TVArescode r = sol_info(task, whichsol, &info);
    if (r != TVA_RES_OK) return r;
    auto set = [](double* p, double v) {
      if (p) *p = v;
    };
    set(pobj, info.pobj);
    set(pviolcon, info.pviolcon);
    set(pviolvar, info.pviolvar);
    set(pviolbarvar, info.pviolbarvar);
    set(pviolcones, info.pviolcones);
    set(pviolitg, info.pviolitg);
    set(dobj, info.dobj);
    set(dviolcon, info.dviolcon);
    set(dviolvar, info.dviolvar);
    set(dviolbarvar, info.dviolbarvar);
    set(dviolcones, info.dviolcones);
    return TVA_RES_OK;
  });
}

TVAAPI TVArescode TVA_getprimalsolutionnorms(TVAtask_t task, TVAint32t whichsol, double* nrmxc,
                                             double* nrmxx, double* nrmbarx) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = sol_check_read(task, whichsol);
    if (r != TVA_RES_OK) return r;
    const SolutionSlot& s = *sol_slot(task, whichsol);
    if (nrmxc) *nrmxc = sol_norm(s.xc, task->numcon);
    if (nrmxx) *nrmxx = sol_norm(s.xx, task->numvar);
    if (nrmbarx) *nrmbarx = sol_norm(s.barx, std::min(s.barlen, sol_barlen_total(task)));
    return TVA_RES_OK;
  });
}

TVAAPI TVArescode TVA_getdualsolutionnorms(TVAtask_t task, TVAint32t whichsol, double* nrmy,
                                           double* nrmslc, double* nrmsuc, double* nrmslx,
                                           double* nrmsux, double* nrmsnx, double* nrmbars) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = sol_check_read(task, whichsol);
    if (r != TVA_RES_OK) return r;
    const SolutionSlot& s = *sol_slot(task, whichsol);
    const int32 m = task->numcon, n = task->numvar;
    if (nrmy) *nrmy = sol_norm(s.y, m);
    if (nrmslc) *nrmslc = sol_norm(s.slc, m);
    if (nrmsuc) *nrmsuc = sol_norm(s.suc, m);
    if (nrmslx) *nrmslx = sol_norm(s.slx, n);
    if (nrmsux) *nrmsux = sol_norm(s.sux, n);
    if (nrmsnx) *nrmsnx = sol_norm(s.snx, n);
    if (nrmbars) *nrmbars = sol_norm(s.bars, std::min(s.barlen, sol_barlen_total(task)));
    return TVA_RES_OK;
  });
}

TVAAPI TVArescode TVA_updatesolutioninfo(TVAtask_t task, TVAint32t whichsol) {
  return putget_call(task, [&]() -> TVArescode {
    SolutionInfo info;
    TVArescode r = sol_info(task, whichsol, &info);
    if (r != TVA_RES_OK) return r;
    const SolutionSlot& s = *sol_slot(task, whichsol);
    const int32 m = task->numcon, n = task->numvar;
    const int64 nb = std::min(s.barlen, sol_barlen_total(task));
    double* d = task->dinf;
    int32* ii = task->iinf;
    switch (whichsol) {
    case TVA_SOL_ITR:
      ii[TVA_IINF_SOL_ITR_PROSTA] = s.prosta;
      ii[TVA_IINF_SOL_ITR_SOLSTA] = s.solsta;
      d[TVA_DINF_SOL_ITR_PRIMAL_OBJ] = info.pobj;
      d[TVA_DINF_SOL_ITR_DUAL_OBJ] = info.dobj;
      d[TVA_DINF_SOL_ITR_PVIOLCON] = info.pviolcon;
      d[TVA_DINF_SOL_ITR_PVIOLVAR] = info.pviolvar;
      d[TVA_DINF_SOL_ITR_PVIOLBARVAR] = info.pviolbarvar;
      d[TVA_DINF_SOL_ITR_PVIOLCONES] = info.pviolcones;
      d[TVA_DINF_SOL_ITR_DVIOLCON] = info.dviolcon;
      d[TVA_DINF_SOL_ITR_DVIOLVAR] = info.dviolvar;
      d[TVA_DINF_SOL_ITR_DVIOLBARVAR] = info.dviolbarvar;
      d[TVA_DINF_SOL_ITR_DVIOLCONES] = info.dviolcones;
      d[TVA_DINF_SOL_ITR_NRM_XC] = sol_norm(s.xc, m);
      d[TVA_DINF_SOL_ITR_NRM_XX] = sol_norm(s.xx, n);
      d[TVA_DINF_SOL_ITR_NRM_BARX] = sol_norm(s.barx, nb);
      d[TVA_DINF_SOL_ITR_NRM_Y] = sol_norm(s.y, m);
      d[TVA_DINF_SOL_ITR_NRM_SLC] = sol_norm(s.slc, m);
      d[TVA_DINF_SOL_ITR_NRM_SUC] = sol_norm(s.suc, m);
      d[TVA_DINF_SOL_ITR_NRM_SLX] = sol_norm(s.slx, n);
      d[TVA_DINF_SOL_ITR_NRM_SUX] = sol_norm(s.sux, n);
      d[TVA_DINF_SOL_ITR_NRM_SNX] = sol_norm(s.snx, n);
      d[TVA_DINF_SOL_ITR_NRM_BARS] = sol_norm(s.bars, nb);
      break;
    case TVA_SOL_BAS:
      ii[TVA_IINF_SOL_BAS_PROSTA] = s.prosta;
      ii[TVA_IINF_SOL_BAS_SOLSTA] = s.solsta;
      d[TVA_DINF_SOL_BAS_PRIMAL_OBJ] = info.pobj;
      d[TVA_DINF_SOL_BAS_DUAL_OBJ] = info.dobj;
      d[TVA_DINF_SOL_BAS_PVIOLCON] = info.pviolcon;
      d[TVA_DINF_SOL_BAS_PVIOLVAR] = info.pviolvar;
      d[TVA_DINF_SOL_BAS_DVIOLCON] = info.dviolcon;
      d[TVA_DINF_SOL_BAS_DVIOLVAR] = info.dviolvar;
      d[TVA_DINF_SOL_BAS_NRM_XC] = sol_norm(s.xc, m);
      d[TVA_DINF_SOL_BAS_NRM_XX] = sol_norm(s.xx, n);
      d[TVA_DINF_SOL_BAS_NRM_BARX] = 0.0;
      d[TVA_DINF_SOL_BAS_NRM_Y] = sol_norm(s.y, m);
      d[TVA_DINF_SOL_BAS_NRM_SLC] = sol_norm(s.slc, m);
      d[TVA_DINF_SOL_BAS_NRM_SUC] = sol_norm(s.suc, m);
      d[TVA_DINF_SOL_BAS_NRM_SLX] = sol_norm(s.slx, n);
      d[TVA_DINF_SOL_BAS_NRM_SUX] = sol_norm(s.sux, n);
      break;
    default:
      ii[TVA_IINF_SOL_ITG_PROSTA] = s.prosta;
      ii[TVA_IINF_SOL_ITG_SOLSTA] = s.solsta;
      d[TVA_DINF_SOL_ITG_PRIMAL_OBJ] = info.pobj;
      d[TVA_DINF_SOL_ITG_PVIOLCON] = info.pviolcon;
      d[TVA_DINF_SOL_ITG_PVIOLVAR] = info.pviolvar;
      d[TVA_DINF_SOL_ITG_PVIOLBARVAR] = info.pviolbarvar;
      d[TVA_DINF_SOL_ITG_PVIOLCONES] = info.pviolcones;
      d[TVA_DINF_SOL_ITG_PVIOLITG] = info.pviolitg;
      d[TVA_DINF_SOL_ITG_NRM_XC] = sol_norm(s.xc, m);
      d[TVA_DINF_SOL_ITG_NRM_XX] = sol_norm(s.xx, n);
      d[TVA_DINF_SOL_ITG_NRM_BARX] = 0.0;
      break;
    }
    return TVA_RES_OK;
  });
}

} // extern "C"
