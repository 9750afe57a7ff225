// Bounds, the linear objective and its constant, the objective sense and the integer marks.
#include <algorithm>

#include "telva/store/store_internal.h"

namespace telva {

namespace {

bool has_lower(int32 bk) {
  return bk == TVA_BK_LO || bk == TVA_BK_FX || bk == TVA_BK_RA;
}
bool has_upper(int32 bk) {
  return bk == TVA_BK_UP || bk == TVA_BK_FX || bk == TVA_BK_RA;
}

} // namespace

// The checks of one bound in the order the put family gives them; warnings on the way.
TVArescode store_check_bound(TvaTask* task, bool con, int32 i, int32 bk, double bl, double bu) {
  if (bk < 0 || bk > TVA_BK_RA)
    return con ? TVA_REP(task, ERR_INV_BKC, bk, "bkc") : TVA_REP(task, ERR_INV_BKX, bk, "bkx");
  if (has_lower(bk) && std::isnan(bl)) return TVA_REP(task, ERR_LOWER_BOUND_IS_A_NAN);
  if (has_upper(bk) && std::isnan(bu)) return TVA_REP(task, ERR_UPPER_BOUND_IS_A_NAN);
  const double wrn = task->dparam[TVA_DPAR_DATA_TOL_BOUND_WRN];
  const double inf = task->dparam[TVA_DPAR_DATA_TOL_BOUND_INF];
  const char* word = con ? "constraint" : "variable";
  const char* name = store_getname(task, con ? kNameCon : kNameVar, i);
  TVArescode r = TVA_RES_OK;
  if (has_lower(bk) && std::fabs(bl) >= wrn && bl >= -inf)
    r = TVA_REP(task, WRN_LARGE_LO_BOUND, TVA_WJP_VALUE, bl, word, name, i);
  if (r == TVA_RES_OK && has_upper(bk) && std::fabs(bu) >= wrn && bu <= inf)
    r = TVA_REP(task, WRN_LARGE_UP_BOUND, TVA_WJP_VALUE, bu, word, name, i);
  if (r == TVA_RES_OK && bk == TVA_BK_FX && bl != bu)
    r = TVA_REP(task, ERR_FIXED_BOUND_VALUES, TVA_WJP_VALUE, bl, TVA_WJP_VALUE, bu);
  return r;
}

// Stores a checked bound: the absent side at the infinite value, then a side beyond the
// infinity tolerance dropped, with the key following.
void store_one_bound(TvaTask* task, bool con, int32 i, int32 bk, double bl, double bu) {
  const double inf = task->dparam[TVA_DPAR_DATA_TOL_BOUND_INF];
  bool lo = has_lower(bk) && bl > -inf;
  bool up = has_upper(bk) && bu < inf;
  int32 key;
  if (bk == TVA_BK_FX && lo && up)
    key = TVA_BK_FX;
  else if (lo && up)
    key = TVA_BK_RA;
  else if (lo)
    key = TVA_BK_LO;
  else if (up)
    key = TVA_BK_UP;
  else
    key = TVA_BK_FR;
  ProblemStore& s = task->store;
  (con ? s.bkc : s.bkx)[i] = key;
  (con ? s.blc : s.blx)[i] = lo ? bl : -kInfinity;
  (con ? s.buc : s.bux)[i] = up ? (bk == TVA_BK_FX ? bl : bu) : kInfinity;
}

// Stores a bound and lowers the solutions' claims by the change from the old bound.
void store_bound_and_demote(TvaTask* task, bool con, int32 i, int32 bk, double bl, double bu) {
  const int32 acc = con ? TVA_ACC_CON : TVA_ACC_VAR;
  int32 ok, nk;
  double ol, ou, nl, nu;
  store_getbound(task, acc, i, &ok, &ol, &ou);
  store_one_bound(task, con, i, bk, bl, bu);
  store_getbound(task, acc, i, &nk, &nl, &nu);
  sol_on_bound(task, con, i, ok, ol, ou, nk, nl, nu);
}

TVArescode store_putboundlist(TvaTask* task, int32 accmode, int32 num, const int32* sub,
                              int32 first, const int32* bk, const double* bl, const double* bu) {
  if (accmode != TVA_ACC_VAR && accmode != TVA_ACC_CON)
    return TVA_REP(task, ERR_INVALID_ACCMODE, accmode);
  bool con = accmode == TVA_ACC_CON;
  int32 count = con ? task->numcon : task->numvar;
  if (num < 0) return check_count(task, num, "num");
  if (!sub) {
    TVArescode r = check_slice(
        task, first, static_cast<int32>(std::min<int64>(int64(first) + num, 0x7fffffff)), count);
    if (r != TVA_RES_OK) return r;
  }
  for (int32 t = 0; t < num; ++t) {
    int32 i = sub ? sub[t] : first + t;
    TVArescode r = sub ? check_index_arr(task, i, t, count, "sub") : TVA_RES_OK;
    if (r == TVA_RES_OK) r = store_check_bound(task, con, i, bk[t], bl[t], bu[t]);
    if (r != TVA_RES_OK) return r;
  }
  for (int32 t = 0; t < num; ++t)
    store_bound_and_demote(task, con, sub ? sub[t] : first + t, bk[t], bl[t], bu[t]);
  return TVA_RES_OK;
}

TVArescode store_putbound(TvaTask* task, int32 accmode, int32 i, int32 bk, double bl, double bu) {
  if (accmode != TVA_ACC_VAR && accmode != TVA_ACC_CON)
    return TVA_REP(task, ERR_INVALID_ACCMODE, accmode);
  bool con = accmode == TVA_ACC_CON;
  TVArescode r = check_index(task, i, con ? task->numcon : task->numvar, "i");
  if (r == TVA_RES_OK) r = store_check_bound(task, con, i, bk, bl, bu);
  if (r == TVA_RES_OK) store_bound_and_demote(task, con, i, bk, bl, bu);
  return r;
}

void store_getbound(const TvaTask* task, int32 accmode, int32 i, int32* bk, double* bl,
                    double* bu) {
  const ProblemStore& s = task->store;
  bool con = accmode == TVA_ACC_CON;
  if (bk) *bk = (con ? s.bkc : s.bkx)[i];
  if (bl) *bl = (con ? s.blc : s.blx)[i];
  if (bu) *bu = (con ? s.buc : s.bux)[i];
}

TVArescode store_check_c(TvaTask* task, int32 j, double cj) {
  const char* name = store_getname(task, kNameVar, j);
  if (std::isnan(cj)) return TVA_REP(task, ERR_NAN_IN_C, name, j);
  if (std::fabs(cj) > task->dparam[TVA_DPAR_DATA_TOL_C_HUGE])
    return TVA_REP(task, ERR_HUGE_C, TVA_WJP_VALUE, cj, name, j);
  if (std::fabs(cj) > task->dparam[TVA_DPAR_DATA_TOL_CJ_LARGE])
    return TVA_REP(task, WRN_LARGE_CJ, TVA_WJP_VALUE, cj, name, j);
  return TVA_RES_OK;
}

TVArescode store_putclist(TvaTask* task, int32 num, const int32* sub, int32 first,
                          const double* val) {
  if (num < 0) return check_count(task, num, "num");
  if (!sub) {
    TVArescode r = check_slice(task, first,
                               static_cast<int32>(std::min<int64>(int64(first) + num, 0x7fffffff)),
                               task->numvar);
    if (r != TVA_RES_OK) return r;
  }
  for (int32 t = 0; t < num; ++t) {
    int32 j = sub ? sub[t] : first + t;
    TVArescode r = sub ? check_index_arr(task, j, t, task->numvar, "subj") : TVA_RES_OK;
    if (r == TVA_RES_OK) r = store_check_c(task, j, val[t]);
    if (r != TVA_RES_OK) return r;
  }
  for (int32 t = 0; t < num; ++t)
    task->store.c[sub ? sub[t] : first + t] = val[t];
  if (num > 0) sol_on_change(task, SolChange::Objective);
  return TVA_RES_OK;
}

TVArescode store_putcj(TvaTask* task, int32 j, double cj) {
  TVArescode r = check_index(task, j, task->numvar, "j");
  if (r == TVA_RES_OK) r = store_check_c(task, j, cj);
  if (r == TVA_RES_OK) {
    task->store.c[j] = cj;
    sol_on_change(task, SolChange::Objective);
  }
  return r;
}

void store_putcfix(TvaTask* task, double cfix) {
  task->store.cfix = cfix;
}

TVArescode store_putobjsense(TvaTask* task, int32 sense) {
  if (sense < 0 || sense > TVA_OBJECTIVE_SENSE_MAXIMIZE)
    return TVA_REP(task, ERR_INVALID_OBJECTIVE_SENSE, sense);
  if (sense != task->store.objsense) sol_on_change(task, SolChange::Unjudged);
  task->store.objsense = sense;
  return TVA_RES_OK;
}

TVArescode store_putvartype(TvaTask* task, int32 j, int32 type) {
  TVArescode r = check_index(task, j, task->numvar, "j");
  if (r != TVA_RES_OK) return r;
  if (type < 0 || type > TVA_VAR_TYPE_INT)
    return TVA_REP(task, ERR_INV_VAR_TYPE, type, store_getname(task, kNameVar, j), j, "vartype");
  ProblemStore& s = task->store;
  if (type != s.vartype[j]) sol_on_change(task, SolChange::Integer);
  s.numintvar += (type == TVA_VAR_TYPE_INT) - (s.vartype[j] == TVA_VAR_TYPE_INT);
  s.vartype[j] = type;
  return TVA_RES_OK;
}

} // namespace telva
