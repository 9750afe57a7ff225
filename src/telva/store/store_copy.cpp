// Copy of a whole problem store into an empty task (the clone). The data were checked when
// they entered the source, so they are copied as they stand, without the value checks and
// their warnings.
#include <algorithm>

#include "telva/store/store_internal.h"

namespace telva {

namespace {

template <class T> void copy_n(T* dst, const T* src, int64 n) {
  if (n > 0 && src && dst) std::memcpy(dst, src, sizeof(T) * n);
}

TVArescode copy_a(TvaTask* dst, TvaTask* src) {
  if (!src->store.a || src->numvar == 0) return TVA_RES_OK;
  int64 total = 0;
  TVArescode r = store_getnumanz(src, &total);
  if (r != TVA_RES_OK) return r;
  r = store_sprmat_result(dst, sprmat_preparereplace(dst->store.a, true, total));
  for (int32 j = 0; j < src->numvar && r == TVA_RES_OK; ++j) {
    int32 nz = 0;
    const int32* sub;
    const double* val;
    r = store_sprmat_result(src, sprmat_getvec(src->store.a, true, j, &nz, &sub, &val));
    if (r == TVA_RES_OK)
      r = store_sprmat_result(dst, sprmat_replacevec(dst->store.a, true, j, nz, sub, val));
  }
  return r;
}

TVArescode copy_q(TvaTask* dst, const TvaTask* src) {
  const ProblemStore& s = src->store;
  ProblemStore& d = dst->store;
  TVArescode r = store_putmaxnumqnz(dst, src->maxnumqnz);
  if (r != TVA_RES_OK) return r;
  if (s.qcon_first) {
    d.qcon_first = sysarr_alloc<int64>(dst->sys, std::max(dst->maxnumcon, 1));
    d.qcon_last = sysarr_alloc<int64>(dst->sys, std::max(dst->maxnumcon, 1));
    if (!d.qcon_first || !d.qcon_last) return TVA_REP(dst, ERR_SPACE);
    copy_n(d.qcon_first, s.qcon_first, src->numcon);
    copy_n(d.qcon_last, s.qcon_last, src->numcon);
  }
  copy_n(d.qsubi, s.qsubi, src->maxnumqnz);
  copy_n(d.qsubj, s.qsubj, src->maxnumqnz);
  copy_n(d.qval, s.qval, src->maxnumqnz);
  d.qobj_first = s.qobj_first;
  d.qobj_last = s.qobj_last;
  d.qsurplus = s.qsurplus;
  return TVA_RES_OK;
}

TVArescode copy_cones(TvaTask* dst, const TvaTask* src) {
  const ProblemStore& s = src->store;
  ProblemStore& d = dst->store;
  TVArescode r = store_putmaxnumcone(dst, src->maxnumcone);
  if (r != TVA_RES_OK) return r;
  copy_n(d.coneptrb, s.coneptrb, src->numcone);
  copy_n(d.coneptre, s.coneptre, src->numcone);
  copy_n(d.conetype, s.conetype, src->numcone);
  copy_n(d.conepar, s.conepar, src->numcone);
  copy_n(d.conesub, s.conesub, std::min(src->maxnumvar, dst->maxnumvar));
  copy_n(d.varcone, s.varcone, src->numvar);
  d.conesurplus = s.conesurplus;
  for (int32 k = 0; k < src->numcone; ++k)
    d.name_offset[kNameCone][k] = 0;
  dst->numcone = src->numcone;
  return TVA_RES_OK;
}

TVArescode copy_bar(TvaTask* dst, const TvaTask* src) {
  const ProblemStore& s = src->store;
  TVArescode r = store_putmaxnumbarvar(dst, src->maxnumbarvar);
  if (r == TVA_RES_OK && src->numbarvar > 0) r = store_appendbarvars(dst, src->numbarvar, s.bardim);
  if (r != TVA_RES_OK) return r;
  // The matrices keep their indices: they are added in order to an empty store.
  for (int64 idx = 0; idx < s.symmats.num; ++idx) {
    const sossm_mat* m = sossm_get(&s.symmats, idx);
    int64 out = -1;
    if (!sossm_add(&dst->store.symmats, sossm_dim(&s.symmats, idx), m->nz, m->subi, m->subj, m->val,
                   &out))
      return TVA_REP(dst, ERR_SPACE);
  }
  const hyposm* grids[2] = {s.barc, s.bara};
  hyposm* targets[2] = {dst->store.barc, dst->store.bara};
  for (int g = 0; g < 2; ++g) {
    if (!grids[g]) continue;
    for (const auto& [key, cell] : grids[g]->cells)
      if (!targets[g] ||
          !hyposm_putcell(targets[g], key.first, key.second, cell.num, cell.sub, cell.weight))
        return TVA_REP(dst, ERR_SPACE);
  }
  return TVA_RES_OK;
}

TVArescode copy_names(TvaTask* dst, const TvaTask* src) {
  TVArescode r = store_putobjname(dst, store_getobjname(src));
  for (int32 cls = 0; cls < kNumNameClasses && r == TVA_RES_OK; ++cls)
    for (int32 i = 0; i < store_name_count(src, cls) && r == TVA_RES_OK; ++i)
      if (src->store.name_offset[cls][i] > 0)
        r = store_putname(dst, cls, i, store_getname(src, cls, i));
  return r;
}

} // namespace

TVArescode store_copy(TvaTask* dst, TvaTask* src) {
  const ProblemStore& s = src->store;
  ProblemStore& d = dst->store;
  TVArescode r = store_putmaxnumcon(dst, std::max(dst->maxnumcon, src->maxnumcon));
  if (r == TVA_RES_OK) r = store_putmaxnumvar(dst, std::max(dst->maxnumvar, src->maxnumvar));
  if (r == TVA_RES_OK) r = store_putmaxnumanz(dst, src->maxnumanz);
  if (r == TVA_RES_OK) r = store_appendcons(dst, src->numcon);
  if (r == TVA_RES_OK) r = store_appendvars(dst, src->numvar);
  if (r != TVA_RES_OK) return r;
  copy_n(d.bkc, s.bkc, src->numcon);
  copy_n(d.blc, s.blc, src->numcon);
  copy_n(d.buc, s.buc, src->numcon);
  copy_n(d.rowcost, s.rowcost, src->numcon);
  copy_n(d.bkx, s.bkx, src->numvar);
  copy_n(d.blx, s.blx, src->numvar);
  copy_n(d.bux, s.bux, src->numvar);
  copy_n(d.c, s.c, src->numvar);
  copy_n(d.vartype, s.vartype, src->numvar);
  d.numintvar = s.numintvar;
  d.cfix = s.cfix;
  d.objsense = s.objsense;
  for (int t = 0; t < 2; ++t) {
    if (!s.varaux[t]) continue;
    d.varaux[t] = sysarr_alloc<int32>(dst->sys, std::max(dst->maxnumvar, 1));
    if (!d.varaux[t]) return TVA_REP(dst, ERR_SPACE);
    copy_n(d.varaux[t], s.varaux[t], src->numvar);
  }
  r = copy_a(dst, src);
  if (r == TVA_RES_OK) r = copy_q(dst, src);
  if (r == TVA_RES_OK) r = copy_cones(dst, src);
  if (r == TVA_RES_OK) r = copy_bar(dst, src);
  if (r == TVA_RES_OK) r = copy_names(dst, src);
  if (r != TVA_RES_OK) return r;
  // The nonlinear callbacks last: while they are set, items can't be appended.
  d.nlhandle = s.nlhandle;
  d.nlgetsp = s.nlgetsp;
  d.nlgetva = s.nlgetva;
  d.a_change_count = s.a_change_count;
  return TVA_RES_OK;
}

} // namespace telva
