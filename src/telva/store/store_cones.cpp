// Quadratic cones: member lists in one arena of maxnumvar slots, with the overlap checks.
#include <algorithm>

#include "telva/store/store_internal.h"

namespace telva {

namespace {

const char* cone_type_name(int32 ct) {
  return ct == TVA_CT_QUAD ? "TVA_CT_QUAD" : "TVA_CT_RQUAD";
}

// The checks of one cone's description. k is the cone's number to be (or being replaced);
// members of cone k itself don't count as overlap. seqform selects the overlap code of the
// consecutive forms. Members already checked for this list are marked with -2 - cone in
// varcone, and put back by unmark_members.
TVArescode check_cone(TvaTask* task, int32 k, int32 ct, int32 nummem, const int32* submem,
                      int32 seqfirst, bool seqform) {
  if (ct != TVA_CT_QUAD && ct != TVA_CT_RQUAD) return TVA_REP(task, ERR_CONE_TYPE, ct);
  int32 need = ct == TVA_CT_QUAD ? 1 : 2;
  if (nummem < need) return TVA_REP(task, ERR_CONE_SIZE, need, cone_type_name(ct));
  ProblemStore& s = task->store;
  for (int32 t = 0; t < nummem; ++t) {
    int32 j = submem ? submem[t] : seqfirst + t;
    TVArescode r = check_index(task, j, task->numvar, "submem");
    if (r != TVA_RES_OK) return r;
    int32 vc = s.varcone[j];
    if (vc == -2 - k)
      return TVA_REP(task, ERR_CONE_REP_VAR, store_getname(task, kNameVar, j), j,
                     store_getname(task, kNameCone, k), k);
    int32 other = vc > 0 ? vc - 1 : (vc < -1 ? -2 - vc : -1);
    if (other >= 0 && other != k) {
      if (seqform)
        return TVA_REP(task, ERR_CONE_OVERLAP_APPEND, store_getname(task, kNameVar, j), j,
                       store_getname(task, kNameCone, other), other);
      return TVA_REP(task, ERR_CONE_OVERLAP, store_getname(task, kNameVar, j), j,
                     store_getname(task, kNameCone, other), other,
                     store_getname(task, kNameCone, k), k);
    }
    s.varcone[j] = -2 - k;
  }
  return TVA_RES_OK;
}

// Puts back the marks of check_cone: members of cone k (by the list) get their old value.
void unmark_members(TvaTask* task, int32 k, int32 nummem, const int32* submem, int32 seqfirst) {
  ProblemStore& s = task->store;
  for (int32 t = 0; t < nummem; ++t) {
    int32 j = submem ? submem[t] : seqfirst + t;
    if (j < 0 || j >= task->numvar) continue;
    if (s.varcone[j] != -2 - k) continue;
    // Was it a member of cone k before? Then its old mark was k + 1, else 0.
    bool was = false;
    if (k < task->numcone)
      for (int32 p = s.coneptrb[k]; p < s.coneptre[k] && !was; ++p)
        was = s.conesub[p] == j;
    s.varcone[j] = was ? k + 1 : 0;
  }
}

// Compacts the member lists in place (through a scratch array) when need slots don't fit.
bool make_room(TvaTask* task, int32 need) {
  ProblemStore& s = task->store;
  if (need <= s.conesurplus) return true;
  ScratchArr<int32> tmp(task->sys, task->maxnumvar);
  if (!tmp.ok()) return false;
  store_cones_compact_into(task, tmp.p);
  int32 used = 0;
  for (int32 k = 0; k < task->numcone; ++k)
    used += s.coneptre[k] - s.coneptrb[k];
  std::memcpy(s.conesub, tmp.p, used * sizeof(int32));
  s.conesurplus = task->maxnumvar - used;
  TVA_ASSERT(task->sys, need <= s.conesurplus);
  return true;
}

void place_cone(TvaTask* task, int32 k, int32 ct, double par, int32 nummem, const int32* submem,
                int32 seqfirst) {
  ProblemStore& s = task->store;
  int32 at = task->maxnumvar - s.conesurplus;
  for (int32 t = 0; t < nummem; ++t) {
    int32 j = submem ? submem[t] : seqfirst + t;
    s.conesub[at + t] = j;
    s.varcone[j] = k + 1;
  }
  s.coneptrb[k] = at;
  s.coneptre[k] = at + nummem;
  s.conesurplus -= nummem;
  s.conetype[k] = ct;
  s.conepar[k] = par;
}

TVArescode append_cones(TvaTask* task, int32 num, const int32* ct, const double* par,
                        const int32* nummem, const int32* submem, int32 seqfirst, bool seqform) {
  if (num < 0) return TVA_REP(task, ERR_NEGATIVE_APPEND, num);
  int64 need = int64(task->numcone) + num;
  if (need > task->maxnumcone) {
    TVArescode r =
        store_putmaxnumcone(task, grown_capacity(task->maxnumcone, std::max<int64>(need, 1)));
    if (r != TVA_RES_OK) return r;
  }
  // Checks of all cones first; the marks left by the checks are taken back whatever happens.
  TVArescode r = TVA_RES_OK;
  int32 checked = 0, total = 0, first = seqfirst;
  for (; checked < num && r == TVA_RES_OK; ++checked) {
    r = check_cone(task, task->numcone + checked, ct[checked], nummem[checked], submem, first,
                   seqform);
    total += nummem[checked];
    first += nummem[checked];
  }
  first = seqfirst;
  for (int32 c = 0; c < checked; ++c) {
    unmark_members(task, task->numcone + c, nummem[c], submem, first);
    first += nummem[c];
  }
  if (r != TVA_RES_OK) return r;
  if (!make_room(task, total)) return TVA_REP(task, ERR_SPACE);
  first = seqfirst;
  for (int32 c = 0; c < num; ++c) {
    place_cone(task, task->numcone + c, ct[c], par[c], nummem[c], submem, first);
    task->store.name_offset[kNameCone][task->numcone + c] = 0;
    first += nummem[c];
  }
  for (int32 w = 0; w < kNumSolSlots; ++w) {
    SolutionSlot* sol = sol_slot(task, w);
    if (sol->defined && sol->skn)
      for (int32 c = 0; c < num; ++c)
        sol->skn[task->numcone + c] = TVA_SK_UNK;
  }
  task->numcone += num;
  if (num > 0) sol_on_change(task, SolChange::Cones);
  return TVA_RES_OK;
}

} // namespace

void store_cones_compact_into(TvaTask* task, int32* target) {
  ProblemStore& s = task->store;
  int32 pos = 0;
  for (int32 k = 0; k < task->numcone; ++k) {
    int32 n = s.coneptre[k] - s.coneptrb[k];
    std::memmove(target + pos, s.conesub + s.coneptrb[k], n * sizeof(int32));
    s.coneptrb[k] = pos;
    pos += n;
    s.coneptre[k] = pos;
  }
}

TVArescode store_appendcone(TvaTask* task, int32 ct, double conepar, int32 nummem,
                            const int32* submem) {
  return append_cones(task, 1, &ct, &conepar, &nummem, submem, 0, false);
}

TVArescode store_appendconeseq(TvaTask* task, int32 ct, double conepar, int32 nummem, int32 j) {
  return append_cones(task, 1, &ct, &conepar, &nummem, nullptr, j, true);
}

TVArescode store_appendconesseq(TvaTask* task, int32 num, const int32* ct, const double* conepar,
                                const int32* nummem, int32 j) {
  return append_cones(task, num, ct, conepar, nummem, nullptr, j, true);
}

TVArescode store_putcone(TvaTask* task, int32 k, int32 ct, double conepar, int32 nummem,
                         const int32* submem) {
  if (k < 0 || k >= task->numcone) return TVA_REP(task, ERR_CONE_INDEX, k);
  TVArescode r = check_cone(task, k, ct, nummem, submem, 0, false);
  unmark_members(task, k, nummem, submem, 0);
  if (r != TVA_RES_OK) return r;
  ProblemStore& s = task->store;
  // Cone k counts as empty while room is made; its old members leave it.
  int32 ob = s.coneptrb[k], oe = s.coneptre[k];
  for (int32 p = ob; p < oe; ++p)
    s.varcone[s.conesub[p]] = 0;
  s.coneptre[k] = ob;
  if (!make_room(task, nummem)) {
    // Nothing moved: the memory for the compaction was not there.
    s.coneptre[k] = oe;
    for (int32 p = ob; p < oe; ++p)
      s.varcone[s.conesub[p]] = k + 1;
    return TVA_REP(task, ERR_SPACE);
  }
  place_cone(task, k, ct, conepar, nummem, submem, 0);
  sol_on_change(task, SolChange::Cones);
  return TVA_RES_OK;
}

} // namespace telva
