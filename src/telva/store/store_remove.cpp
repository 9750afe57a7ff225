// Removal of constraints, variables, cones and bar variables with all their data. The items
// that stay keep their order; the new numbering is a map from old to new (-1 for removed).
#include "telva/store/store_internal.h"

namespace telva {

namespace {

// Checks a subset of 0..count-1 and fills newidx. Returns a response code.
TVArescode make_map(TvaTask* task, int32 num, const int32* subset, int32 count, int32* newidx,
                    int32* newcount) {
  if (num > count) return TVA_REP(task, ERR_ARGUMENT_IS_TOO_LARGE, int64(num), "num");
  for (int32 k = 0; k < count; ++k)
    newidx[k] = 0;
  for (int32 t = 0; t < num; ++t) {
    TVArescode r = check_index_arr(task, subset[t], t, count, "subset");
    if (r != TVA_RES_OK) return r;
    if (newidx[subset[t]] < 0) return TVA_REP(task, ERR_NON_UNIQUE_ARRAY, "subset");
    newidx[subset[t]] = -1;
  }
  int32 n = 0;
  for (int32 k = 0; k < count; ++k)
    if (newidx[k] == 0) newidx[k] = n++;
  *newcount = n;
  return TVA_RES_OK;
}

template <class T> void compact(T* arr, const int32* newidx, int32 count) {
  if (!arr) return;
  for (int32 k = 0; k < count; ++k)
    if (newidx[k] >= 0) arr[newidx[k]] = arr[k];
}

} // namespace

TVArescode store_removecons(TvaTask* task, int32 num, const int32* subset) {
  if (store_is_nl(task)) return TVA_REP(task, ERR_NONLINEAR_FUNCTIONS_NOT_ALLOWED);
  if (num < 0) return check_count(task, num, "num");
  const int32 m = task->numcon;
  ScratchArr<int32> newidx(task->sys, m);
  if (!newidx.ok()) return TVA_REP(task, ERR_SPACE);
  int32 newcount = 0;
  TVArescode r = make_map(task, num, subset, m, newidx.p, &newcount);
  if (r != TVA_RES_OK || num == 0) return r;
  ProblemStore& s = task->store;
  // The steps that can fail come first.
  if (s.a) r = store_sprmat_result(task, sprmat_flush(s.a));
  if (r == TVA_RES_OK && s.bara && !hyposm_renumber(s.bara, true, newidx.p, newcount))
    r = TVA_REP(task, ERR_SPACE);
  if (r != TVA_RES_OK) return r;
  if (s.a) sprmat_renumber(s.a, true, newidx.p, newcount);
  store_q_renumbercons(task, newidx.p, newcount);
  compact(s.bkc, newidx.p, m);
  compact(s.blc, newidx.p, m);
  compact(s.buc, newidx.p, m);
  compact(s.rowcost, newidx.p, m);
  compact(s.name_offset[kNameCon], newidx.p, m);
  sol_renumber_cons(task, newidx.p, m);
  sol_on_change(task, SolChange::Unjudged);
  store_dropnamemap(task, kNameCon);
  task->numcon = newcount;
  return TVA_RES_OK;
}

TVArescode store_removevars(TvaTask* task, int32 num, const int32* subset) {
  if (store_is_nl(task)) return TVA_REP(task, ERR_NONLINEAR_FUNCTIONS_NOT_ALLOWED);
  if (num < 0) return check_count(task, num, "num");
  const int32 n = task->numvar;
  ScratchArr<int32> newidx(task->sys, n);
  if (!newidx.ok()) return TVA_REP(task, ERR_SPACE);
  int32 newcount = 0;
  TVArescode r = make_map(task, num, subset, n, newidx.p, &newcount);
  if (r != TVA_RES_OK || num == 0) return r;
  ProblemStore& s = task->store;
  // A cone must keep the members that define it.
  for (int32 t = 0; t < num; ++t) {
    int32 j = subset[t];
    if (s.varcone[j] == 0) continue;
    int32 k = s.varcone[j] - 1;
    int32 lead = s.conetype[k] == TVA_CT_QUAD ? 1 : 2;
    for (int32 p = s.coneptrb[k]; p < s.coneptrb[k] + lead && p < s.coneptre[k]; ++p)
      if (s.conesub[p] == j)
        return TVA_REP(task, ERR_REMOVE_CONE_VARIABLE, j, store_getname(task, kNameVar, j), k,
                       store_getname(task, kNameCone, k));
  }
  if (s.a) r = store_sprmat_result(task, sprmat_flush(s.a));
  if (r != TVA_RES_OK) return r;
  if (s.a) sprmat_renumber(s.a, false, newidx.p, newcount);
  store_q_dropvars(task, newidx.p);
  for (int32 t = 0; t < num; ++t)
    if (s.vartype[subset[t]] == TVA_VAR_TYPE_INT) s.numintvar--;
  // Members that go leave their cone; the others are renumbered.
  for (int32 k = 0; k < task->numcone; ++k) {
    int32 o = s.coneptrb[k];
    for (int32 p = s.coneptrb[k]; p < s.coneptre[k]; ++p)
      if (newidx[s.conesub[p]] >= 0) s.conesub[o++] = newidx[s.conesub[p]];
    s.coneptre[k] = o;
  }
  compact(s.c, newidx.p, n);
  compact(s.bkx, newidx.p, n);
  compact(s.blx, newidx.p, n);
  compact(s.bux, newidx.p, n);
  compact(s.vartype, newidx.p, n);
  compact(s.varcone, newidx.p, n);
  compact(s.varaux[0], newidx.p, n);
  compact(s.varaux[1], newidx.p, n);
  compact(s.name_offset[kNameVar], newidx.p, n);
  sol_renumber_vars(task, newidx.p, n);
  sol_on_change(task, SolChange::Unjudged);
  store_dropnamemap(task, kNameVar);
  task->numvar = newcount;
  return TVA_RES_OK;
}

TVArescode store_removecones(TvaTask* task, int32 num, const int32* subset) {
  if (num < 0) return check_count(task, num, "num");
  const int32 nc = task->numcone;
  ScratchArr<int32> newidx(task->sys, nc);
  if (!newidx.ok()) return TVA_REP(task, ERR_SPACE);
  int32 newcount = 0;
  TVArescode r = make_map(task, num, subset, nc, newidx.p, &newcount);
  if (r != TVA_RES_OK || num == 0) return r;
  ProblemStore& s = task->store;
  for (int32 j = 0; j < task->numvar; ++j)
    if (s.varcone[j] > 0) s.varcone[j] = newidx[s.varcone[j] - 1] + 1;
  compact(s.coneptrb, newidx.p, nc);
  compact(s.coneptre, newidx.p, nc);
  compact(s.conetype, newidx.p, nc);
  compact(s.conepar, newidx.p, nc);
  compact(s.name_offset[kNameCone], newidx.p, nc);
  sol_renumber_cones(task, newidx.p, nc);
  sol_on_change(task, SolChange::Unjudged);
  store_dropnamemap(task, kNameCone);
  task->numcone = newcount;
  return TVA_RES_OK;
}

TVArescode store_removebarvars(TvaTask* task, int32 num, const int32* subset) {
  if (num < 0) return check_count(task, num, "num");
  const int32 nb = task->numbarvar;
  ScratchArr<int32> newidx(task->sys, nb);
  if (!newidx.ok()) return TVA_REP(task, ERR_SPACE);
  int32 newcount = 0;
  TVArescode r = make_map(task, num, subset, nb, newidx.p, &newcount);
  if (r != TVA_RES_OK || num == 0) return r;
  ProblemStore& s = task->store;
  // Both grids are renumbered into copies first, so that a failure changes neither.
  if (!hyposm_stage_renumber(s.barc, false, newidx.p)) return TVA_REP(task, ERR_SPACE);
  if (!hyposm_stage_renumber(s.bara, false, newidx.p)) {
    s.barc->staged.clear();
    return TVA_REP(task, ERR_SPACE);
  }
  hyposm_commit_renumber(s.barc, false, newcount);
  hyposm_commit_renumber(s.bara, false, newcount);
  sol_renumber_barvars(task, newidx.p, s.bardim, nb);
  sol_on_change(task, SolChange::Unjudged);
  compact(s.bardim, newidx.p, nb);
  compact(s.name_offset[kNameBarvar], newidx.p, nb);
  store_dropnamemap(task, kNameBarvar);
  task->numbarvar = newcount;
  return TVA_RES_OK;
}

} // namespace telva
