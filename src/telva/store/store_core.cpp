// The problem store's lifecycle, capacities, growth of the counts and the problem kind.
#include <algorithm>

#include "telva/store/store_internal.h"

namespace telva {

bool resize_group(sysenv* sys, ArrayResize* group, int count, int64 oldlen, int64 newlen) {
  if (newlen > oldlen && oldlen > 0) {
    // Growth in place where the allocator can: an array that got larger before a later one
    // failed is harmless, since only the first count entries of each are ever read.
    for (int g = 0; g < count; ++g) {
      if (group[g].optional && !*group[g].p) continue;
      void* q =
          sysenv_realloc(sys, TVA_HERE, *group[g].p, static_cast<size_t>(newlen), group[g].elem);
      if (!q) return false;
      *group[g].p = q;
    }
    return true;
  }
  // Shrinking (or a first allocation): all new arrays are taken before any old one goes, so
  // that a failure leaves every array at its old, sufficient, length.
  void* fresh[32] = {nullptr};
  TVA_ASSERT(sys, count <= 32);
  bool ok = true;
  for (int g = 0; g < count && ok; ++g) {
    if (group[g].optional && !*group[g].p) continue;
    if (newlen > 0) {
      fresh[g] = sysenv_calloc(sys, TVA_HERE, static_cast<size_t>(newlen), group[g].elem);
      ok = fresh[g] != nullptr;
    }
  }
  if (!ok) {
    for (int g = 0; g < count; ++g)
      TVA_SYS_FREE(sys, fresh[g]);
    return false;
  }
  for (int g = 0; g < count; ++g) {
    if (group[g].optional && !*group[g].p) continue;
    int64 keep = std::min(group[g].keep, newlen);
    if (keep > 0 && *group[g].p) std::memcpy(fresh[g], *group[g].p, keep * group[g].elem);
    TVA_SYS_FREE(sys, *group[g].p);
    *group[g].p = fresh[g];
  }
  return true;
}

TVArescode check_index(TvaTask* task, int64 i, int64 count, const char* arg) {
  if (i < 0) return TVA_REP(task, ERR_INDEX_IS_TOO_SMALL, i, arg);
  if (i >= count) return TVA_REP(task, ERR_INDEX_IS_TOO_LARGE, i, arg);
  return TVA_RES_OK;
}

TVArescode check_slice(TvaTask* task, int32 first, int32 last, int32 count) {
  if (first < 0) return TVA_REP(task, ERR_FIRST, first);
  if (last > count) return TVA_REP(task, ERR_LAST, last);
  return TVA_RES_OK;
}

TVArescode check_index_list(TvaTask* task, int64 num, const int32* sub, int32 count,
                            const char* arg) {
  if (num > 0 && !sub) return TVA_REP(task, ERR_NULL_POINTER, arg);
  for (int64 t = 0; t < num; ++t) {
    TVArescode r = check_index_arr(task, sub[t], static_cast<int32>(t), count, arg);
    if (r != TVA_RES_OK) return r;
  }
  return TVA_RES_OK;
}

TVArescode check_index_arr(TvaTask* task, int32 v, int32 pos, int32 count, const char* arg) {
  if (v < 0) return TVA_REP(task, ERR_INDEX_ARR_IS_TOO_SMALL, v, arg, pos, int32(0));
  if (v >= count) return TVA_REP(task, ERR_INDEX_ARR_IS_TOO_LARGE, v, arg, pos, count);
  return TVA_RES_OK;
}

void store_init(TvaTask* task) {
  ProblemStore& s = task->store;
  sossm_create(task->sys, &s.symmats);
}

void store_clear(TvaTask* task) {
  ProblemStore& s = task->store;
  sysenv* sys = task->sys;
  if (!sys) return;
  sol_delete_all(task);
  sprmat_delete(&s.a);
  hyposm_delete(&s.barc);
  hyposm_delete(&s.bara);
  sysarr_free(sys, &s.rowcost);
  sysarr_free(sys, &s.c);
  sysarr_free(sys, &s.qcon_first);
  sysarr_free(sys, &s.qcon_last);
  sysarr_free(sys, &s.qsubi);
  sysarr_free(sys, &s.qsubj);
  sysarr_free(sys, &s.qval);
  sysarr_free(sys, &s.bkc);
  sysarr_free(sys, &s.blc);
  sysarr_free(sys, &s.buc);
  sysarr_free(sys, &s.bkx);
  sysarr_free(sys, &s.blx);
  sysarr_free(sys, &s.bux);
  sysarr_free(sys, &s.coneptrb);
  sysarr_free(sys, &s.coneptre);
  sysarr_free(sys, &s.conetype);
  sysarr_free(sys, &s.conepar);
  sysarr_free(sys, &s.conesub);
  sysarr_free(sys, &s.varcone);
  sysarr_free(sys, &s.bardim);
  sysarr_free(sys, &s.vartype);
  sysarr_free(sys, &s.varaux[0]);
  sysarr_free(sys, &s.varaux[1]);
  for (auto& off : s.name_offset)
    sysarr_free(sys, &off);
  sysarr_free(sys, &s.name_arena);
  for (int32 cls = 0; cls < kNumNameClasses; ++cls)
    store_dropnamemap(task, cls);
  sossm_delete(&s.symmats);
  s = ProblemStore{};
  sossm_create(sys, &s.symmats);
  task->numcon = task->numvar = task->numcone = task->numbarvar = 0;
  task->maxnumcon = task->maxnumvar = task->maxnumcone = task->maxnumbarvar = 0;
  task->maxnumanz = task->maxnumqnz = 0;
}

TVArescode store_sprmat_result(TvaTask* task, int status) {
  switch (status) {
  case kSprmatOk:
    return TVA_RES_OK;
  case kSprmatAppendRows:
    return TVA_REP(task, ERR_INTERNAL, "append rows");
  case kSprmatMaxsize:
    return TVA_REP(task, ERR_INTERNAL, " maxsize is too small");
  case kSprmatSpace:
    return TVA_REP(task, ERR_SPACE);
  case kSprmatNegSurplus:
    return TVA_REP(task, ERR_NEGATIVE_SURPLUS);
  default:
    return TVA_REP(task, ERR_UNKNOWN);
  }
}

TVArescode store_ensure_a(TvaTask* task) {
  ProblemStore& s = task->store;
  if (s.a) return TVA_RES_OK;
  return store_sprmat_result(task, sprmat_create(task->sys, task->numcon, task->numvar,
                                                 task->maxnumanz + task->numcon, &s.a));
}

// ---- Capacities ----

TVArescode store_putmaxnumcon(TvaTask* task, int32 n) {
  if (n < task->numcon) return TVA_REP(task, ERR_MAXNUMCON, n, task->numcon);
  if (n == task->maxnumcon) return TVA_RES_OK;
  // The solutions grow before the store and shrink after it, so that a failure on the way
  // never leaves a solution array shorter than the store's capacity.
  if (n > task->maxnumcon && sol_resize_con(task, n) != TVA_RES_OK) return TVA_RES_ERR_SPACE;
  ProblemStore& s = task->store;
  int32 keep = task->numcon;
  ArrayResize g[] = {resize_of(&s.rowcost, keep),
                     resize_of(&s.qcon_first, keep, true),
                     resize_of(&s.qcon_last, keep, true),
                     resize_of(&s.name_offset[kNameCon], keep),
                     resize_of(&s.bkc, keep),
                     resize_of(&s.blc, keep),
                     resize_of(&s.buc, keep)};
  if (!resize_group(task->sys, g, 7, task->maxnumcon, n)) return TVA_REP(task, ERR_SPACE);
  if (n < task->maxnumcon) sol_resize_con(task, n);
  task->maxnumcon = n;
  return TVA_RES_OK;
}

TVArescode store_putmaxnumvar(TvaTask* task, int32 n) {
  if (n < task->numvar) return TVA_REP(task, ERR_MAXNUMVAR, n, task->numvar);
  if (n == task->maxnumvar) return TVA_RES_OK;
  if (n > task->maxnumvar && sol_resize_var(task, n) != TVA_RES_OK) return TVA_RES_ERR_SPACE;
  ProblemStore& s = task->store;
  // The cone member list is compacted into its new array, so it needs its own allocation.
  int32* newsub = sysarr_alloc<int32>(task->sys, n);
  if (n > 0 && !newsub) return TVA_REP(task, ERR_SPACE);
  int32 keep = task->numvar;
  ArrayResize g[] = {resize_of(&s.c, keep),
                     resize_of(&s.bkx, keep),
                     resize_of(&s.blx, keep),
                     resize_of(&s.bux, keep),
                     resize_of(&s.vartype, keep),
                     resize_of(&s.name_offset[kNameVar], keep),
                     resize_of(&s.varcone, keep),
                     resize_of(&s.varaux[0], keep, true),
                     resize_of(&s.varaux[1], keep, true)};
  if (!resize_group(task->sys, g, 9, task->maxnumvar, n)) {
    sysarr_free(task->sys, &newsub);
    return TVA_REP(task, ERR_SPACE);
  }
  int32 used = 0;
  if (newsub) store_cones_compact_into(task, newsub);
  for (int32 k = 0; k < task->numcone; ++k)
    used += s.coneptre[k] - s.coneptrb[k];
  sysarr_free(task->sys, &s.conesub);
  s.conesub = newsub;
  s.conesurplus = n - used;
  if (n < task->maxnumvar) sol_resize_var(task, n);
  task->maxnumvar = n;
  return TVA_RES_OK;
}

TVArescode store_putmaxnumcone(TvaTask* task, int32 n) {
  if (n < task->numcone) return TVA_REP(task, ERR_MAXNUMCONE, n);
  if (n == task->maxnumcone) return TVA_RES_OK;
  if (n > task->maxnumcone && sol_resize_cone(task, n) != TVA_RES_OK) return TVA_RES_ERR_SPACE;
  ProblemStore& s = task->store;
  int32 keep = task->numcone;
  ArrayResize g[] = {resize_of(&s.coneptrb, keep), resize_of(&s.coneptre, keep),
                     resize_of(&s.conetype, keep), resize_of(&s.conepar, keep),
                     resize_of(&s.name_offset[kNameCone], keep)};
  if (!resize_group(task->sys, g, 5, task->maxnumcone, n)) return TVA_REP(task, ERR_SPACE);
  if (n < task->maxnumcone) sol_resize_cone(task, n);
  task->maxnumcone = n;
  return TVA_RES_OK;
}

TVArescode store_putmaxnumbarvar(TvaTask* task, int32 n) {
  if (n < task->numbarvar) return TVA_REP(task, ERR_MAXNUMBARVAR, n, task->numbarvar);
  if (n == task->maxnumbarvar) return TVA_RES_OK;
  ProblemStore& s = task->store;
  int32 keep = task->numbarvar;
  ArrayResize g[] = {resize_of(&s.bardim, keep), resize_of(&s.name_offset[kNameBarvar], keep)};
  if (!resize_group(task->sys, g, 2, task->maxnumbarvar, n)) return TVA_REP(task, ERR_SPACE);
  task->maxnumbarvar = n;
  return TVA_RES_OK;
}

TVArescode store_putmaxnumanz(TvaTask* task, int64 n) {
  if (n < 0) return TVA_REP(task, ERR_TOO_SMALL_MAXNUMANZ, n);
  ProblemStore& s = task->store;
  if (s.a) {
    // The matrix counts a slack per constraint on top of the caller's figure; it never gives
    // up elements in use.
    int64 nz = 0;
    TVArescode r = store_sprmat_result(task, sprmat_numnz(s.a, &nz));
    if (r != TVA_RES_OK) return r;
    int64 old = s.a->maxsize;
    r = store_sprmat_result(task, sprmat_setmaxsize(s.a, std::max(n + task->numcon, nz)));
    if (r != TVA_RES_OK) return r;
    if (task->iparam[TVA_IPAR_LOG] > 0 && s.a->maxsize > old)
      streamblock_printf(&task->streams, TVA_STREAM_MSG,
                         "Expanding the maximum number of A nonzeros from %lld to %lld.\n",
                         static_cast<long long>(old), static_cast<long long>(s.a->maxsize));
  }
  task->maxnumanz = n;
  return TVA_RES_OK;
}

// ---- Growth ----

TVArescode store_appendcons(TvaTask* task, int32 num) {
  if (num < 0) return TVA_REP(task, ERR_NEGATIVE_APPEND, num);
  if (store_is_nl(task)) return TVA_REP(task, ERR_NONLINEAR_FUNCTIONS_NOT_ALLOWED);
  if (num == 0) return TVA_RES_OK;
  ProblemStore& s = task->store;
  int64 need = int64(task->numcon) + num;
  if (need > 0x7fffffff) return TVA_REP(task, ERR_SPACE);
  TVArescode r = TVA_RES_OK;
  if (need > task->maxnumcon) r = store_putmaxnumcon(task, grown_capacity(task->maxnumcon, need));
  if (r == TVA_RES_OK) r = store_ensure_a(task);
  if (r == TVA_RES_OK) r = store_sprmat_result(task, sprmat_appendrows(s.a, num));
  if (r != TVA_RES_OK) return r;
  if (s.bara) hyposm_setdims(s.bara, static_cast<int32>(need), task->numbarvar);
  for (int32 i = task->numcon; i < need; ++i) {
    s.bkc[i] = TVA_BK_FR;
    s.blc[i] = -kInfinity;
    s.buc[i] = kInfinity;
    s.rowcost[i] = 0.0;
    s.name_offset[kNameCon][i] = 0;
    if (s.qcon_first) s.qcon_first[i] = s.qcon_last[i] = 0;
  }
  int32 oldcount = task->numcon;
  task->numcon = static_cast<int32>(need);
  sol_on_newcons(task, oldcount);
  return TVA_RES_OK;
}

TVArescode store_appendvars(TvaTask* task, int32 num) {
  if (num < 0) return TVA_REP(task, ERR_NEGATIVE_APPEND, num);
  if (store_is_nl(task)) return TVA_REP(task, ERR_NONLINEAR_FUNCTIONS_NOT_ALLOWED);
  if (num == 0) return TVA_RES_OK;
  ProblemStore& s = task->store;
  int64 need = int64(task->numvar) + num;
  if (need > 0x7fffffff) return TVA_REP(task, ERR_SPACE);
  TVArescode r = TVA_RES_OK;
  if (need > task->maxnumvar) r = store_putmaxnumvar(task, grown_capacity(task->maxnumvar, need));
  if (r == TVA_RES_OK) r = store_ensure_a(task);
  if (r == TVA_RES_OK) r = store_sprmat_result(task, sprmat_appendcols(s.a, num));
  if (r != TVA_RES_OK) return r;
  for (int32 j = task->numvar; j < need; ++j) {
    s.bkx[j] = TVA_BK_FX;
    s.blx[j] = s.bux[j] = 0.0;
    s.c[j] = 0.0;
    s.vartype[j] = TVA_VAR_TYPE_CONT;
    s.varcone[j] = 0;
    s.name_offset[kNameVar][j] = 0;
    for (int32* aux : s.varaux)
      if (aux) aux[j] = 0;
  }
  int32 oldcount = task->numvar;
  task->numvar = static_cast<int32>(need);
  sol_on_newvars(task, oldcount);
  return TVA_RES_OK;
}

TVArescode store_appendbarvars(TvaTask* task, int32 num, const int32* dim) {
  if (num < 0) return TVA_REP(task, ERR_NEGATIVE_APPEND, num);
  for (int32 t = 0; t < num; ++t)
    if (dim[t] < 1) return TVA_REP(task, ERR_BAR_VAR_DIM, dim[t]);
  if (num == 0) return TVA_RES_OK;
  ProblemStore& s = task->store;
  int64 need = int64(task->numbarvar) + num;
  if (need > 0x7fffffff) return TVA_REP(task, ERR_SPACE);
  if (!s.barc && !hyposm_create(task->sys, 1, task->numbarvar, &s.barc))
    return TVA_REP(task, ERR_SPACE);
  if (!s.bara && !hyposm_create(task->sys, task->numcon, task->numbarvar, &s.bara))
    return TVA_REP(task, ERR_SPACE);
  int64 barlen = sol_barlen_total(task);
  for (int32 t = 0; t < num; ++t)
    barlen += int64(dim[t]) * (dim[t] + 1) / 2;
  if (sol_resize_bar(task, barlen) != TVA_RES_OK) return TVA_RES_ERR_SPACE;
  if (need > task->maxnumbarvar) {
    TVArescode r = store_putmaxnumbarvar(task, grown_capacity(task->maxnumbarvar, need));
    if (r != TVA_RES_OK) return r;
  }
  for (int32 t = 0; t < num; ++t) {
    s.bardim[task->numbarvar + t] = dim[t];
    s.name_offset[kNameBarvar][task->numbarvar + t] = 0;
  }
  task->numbarvar = static_cast<int32>(need);
  hyposm_setdims(s.barc, 1, task->numbarvar);
  hyposm_setdims(s.bara, task->numcon, task->numbarvar);
  sol_on_change(task, SolChange::NewVars);
  return TVA_RES_OK;
}

// ---- Problem kind ----

bool store_has_qobj(const TvaTask* task) {
  return task->store.qobj_first != task->store.qobj_last;
}

bool store_has_qcon(const TvaTask* task) {
  const ProblemStore& s = task->store;
  if (!s.qcon_first) return false;
  for (int32 k = 0; k < task->numcon; ++k)
    if (s.qcon_first[k] != s.qcon_last[k]) return true;
  return false;
}

bool store_is_nl(const TvaTask* task) {
  return task->store.nlgetsp != nullptr || task->store.nlgetva != nullptr;
}

bool store_is_conic(const TvaTask* task) {
  return task->numcone > 0 || task->numbarvar > 0;
}

int32 store_probtype(const TvaTask* task) {
  bool qo = store_has_qobj(task), qc = store_has_qcon(task), nl = store_is_nl(task);
  bool conic = store_is_conic(task);
  if (!qo && !qc && !nl) return conic ? TVA_PROBTYPE_CONIC : TVA_PROBTYPE_LO;
  if (conic) return TVA_PROBTYPE_MIXED;
  if (nl) return TVA_PROBTYPE_GECO;
  return qc ? TVA_PROBTYPE_QCQO : TVA_PROBTYPE_QO;
}

TVArescode store_check_mixing(TvaTask* task) {
  bool nonlin = store_has_qobj(task) || store_has_qcon(task) || store_is_nl(task);
  if (nonlin && store_is_conic(task)) return TVA_REP(task, ERR_MIXED_CONIC_AND_NL);
  return TVA_RES_OK;
}

} // namespace telva
