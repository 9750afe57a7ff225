// The solution slots' arrays: creation at the task's capacities, growth with them, and the
// moves that removal of rows, columns, cones and bar variables asks for.
#include <cstring>

#include "misc/sysarr.h"
#include "telva/log/report.h"
#include "telva/solution/solution.h"
#include "telva/task/task.h"

namespace telva {

namespace {

// The arrays of one slot by the capacity they follow.
struct SlotArrays {
  double** d[8];
  int nd = 0;
  int32** k[2];
  int nk = 0;
};

SlotArrays var_arrays(SolutionSlot& s, int32 whichsol) {
  SlotArrays a;
  a.d[a.nd++] = &s.xx;
  if (sol_has_duals(whichsol)) {
    a.d[a.nd++] = &s.slx;
    a.d[a.nd++] = &s.sux;
  }
  if (sol_has_snx(whichsol)) a.d[a.nd++] = &s.snx;
  a.k[a.nk++] = &s.skx;
  return a;
}

SlotArrays con_arrays(SolutionSlot& s, int32 whichsol) {
  SlotArrays a;
  a.d[a.nd++] = &s.xc;
  if (sol_has_duals(whichsol)) {
    a.d[a.nd++] = &s.y;
    a.d[a.nd++] = &s.slc;
    a.d[a.nd++] = &s.suc;
  }
  a.k[a.nk++] = &s.skc;
  return a;
}

SlotArrays cone_arrays(SolutionSlot& s, int32 whichsol) {
  SlotArrays a;
  if (sol_has_skn(whichsol)) a.k[a.nk++] = &s.skn;
  return a;
}

template <class T> bool grow_array(sysenv* sys, T** p, int64 oldlen, int64 newlen) {
  if (newlen <= oldlen) return true;
  T* q = static_cast<T*>(sysenv_realloc(sys, TVA_HERE, *p, static_cast<size_t>(newlen), sizeof(T)));
  if (!q) return false;
  std::memset(q + oldlen, 0, static_cast<size_t>(newlen - oldlen) * sizeof(T));
  *p = q;
  return true;
}

// Gives every array of the group n entries with the first keep kept. Growth goes array by
// array: one that failed leaves the others longer, which is harmless since cap stays. A
// shrink that fails keeps the longer arrays.
bool resize_arrays(sysenv* sys, SlotArrays a, int32* cap, int32 keep, int32 n) {
  if (n > *cap) {
    for (int t = 0; t < a.nd; ++t)
      if (!grow_array(sys, a.d[t], *cap, n)) return false;
    for (int t = 0; t < a.nk; ++t)
      if (!grow_array(sys, a.k[t], *cap, n)) return false;
    *cap = n;
    return true;
  }
  for (int t = 0; t < a.nd; ++t)
    if (!sysarr_resize(sys, a.d[t], keep, n)) return false;
  for (int t = 0; t < a.nk; ++t)
    if (!sysarr_resize(sys, a.k[t], keep, n)) return false;
  *cap = n;
  return true;
}

template <class T> void free_arrays(sysenv* sys, T** const* arrs, int n) {
  for (int t = 0; t < n; ++t)
    sysarr_free(sys, arrs[t]);
}

void free_slot(sysenv* sys, SolutionSlot& s, int32 whichsol) {
  SlotArrays groups[] = {var_arrays(s, whichsol), con_arrays(s, whichsol),
                         cone_arrays(s, whichsol)};
  for (SlotArrays& g : groups) {
    free_arrays(sys, g.d, g.nd);
    free_arrays(sys, g.k, g.nk);
  }
  sysarr_free(sys, &s.barx);
  sysarr_free(sys, &s.bars);
  s = SolutionSlot{};
}

template <class T> void compact(T* arr, const int32* newidx, int32 count) {
  if (!arr) return;
  for (int32 k = 0; k < count; ++k)
    if (newidx[k] >= 0) arr[newidx[k]] = arr[k];
}

void compact_group(SlotArrays a, const int32* newidx, int32 count) {
  for (int t = 0; t < a.nd; ++t)
    compact(*a.d[t], newidx, count);
  for (int t = 0; t < a.nk; ++t)
    compact(*a.k[t], newidx, count);
}

} // namespace

SolutionSlot* sol_slot(TvaTask* task, int32 whichsol) {
  return &task->sols.slot[whichsol];
}

const SolutionSlot* sol_slot(const TvaTask* task, int32 whichsol) {
  return &task->sols.slot[whichsol];
}

int64 sol_barlen_total(const TvaTask* task) {
  return sol_bar_offset(task, task->numbarvar);
}

int64 sol_bar_offset(const TvaTask* task, int32 j) {
  int64 off = 0;
  for (int32 t = 0; t < j; ++t) {
    int64 d = task->store.bardim[t];
    off += d * (d + 1) / 2;
  }
  return off;
}

TVArescode sol_prepare(TvaTask* task, int32 whichsol) {
  SolutionSlot& s = task->sols.slot[whichsol];
  sysenv* sys = task->sys;
  if (!s.defined) {
    SolutionSlot fresh;
    bool ok = resize_arrays(sys, var_arrays(fresh, whichsol), &fresh.capvar, 0, task->maxnumvar) &&
              resize_arrays(sys, con_arrays(fresh, whichsol), &fresh.capcon, 0, task->maxnumcon) &&
              resize_arrays(sys, cone_arrays(fresh, whichsol), &fresh.capcone, 0, task->maxnumcone);
    if (!ok) {
      free_slot(sys, fresh, whichsol);
      return TVA_REP(task, ERR_SPACE);
    }
    fresh.defined = true;
    s = fresh;
  }
  if (sol_has_bar(whichsol)) return sol_resize_bar(task, sol_barlen_total(task));
  return TVA_RES_OK;
}

void sol_delete(TvaTask* task, int32 whichsol) {
  free_slot(task->sys, task->sols.slot[whichsol], whichsol);
}

void sol_delete_all(TvaTask* task) {
  for (int32 w = 0; w < kNumSolSlots; ++w)
    sol_delete(task, w);
}

TVArescode sol_copy(TvaTask* dst, const TvaTask* src) {
  sol_delete_all(dst);
  for (int32 w = 0; w < kNumSolSlots; ++w) {
    const SolutionSlot& from = src->sols.slot[w];
    if (!from.defined) continue;
    TVArescode r = sol_prepare(dst, w);
    if (r == TVA_RES_OK && sol_has_bar(w)) r = sol_resize_bar(dst, from.barlen);
    if (r != TVA_RES_OK) {
      sol_delete_all(dst);
      return r;
    }
    SolutionSlot& to = dst->sols.slot[w];
    SolutionSlot& f = const_cast<SolutionSlot&>(from);
    auto copy = [](SlotArrays a, SlotArrays b, int64 n) {
      for (int t = 0; t < a.nd; ++t)
        if (n > 0) std::memcpy(*a.d[t], *b.d[t], static_cast<size_t>(n) * sizeof(double));
      for (int t = 0; t < a.nk; ++t)
        if (n > 0) std::memcpy(*a.k[t], *b.k[t], static_cast<size_t>(n) * sizeof(int32));
    };
    copy(var_arrays(to, w), var_arrays(f, w), src->numvar);
    copy(con_arrays(to, w), con_arrays(f, w), src->numcon);
    copy(cone_arrays(to, w), cone_arrays(f, w), src->numcone);
    if (from.barlen > 0) {
      std::memcpy(to.barx, from.barx, static_cast<size_t>(from.barlen) * sizeof(double));
      std::memcpy(to.bars, from.bars, static_cast<size_t>(from.barlen) * sizeof(double));
    }
    to.prosta = from.prosta;
    to.solsta = from.solsta;
  }
  return TVA_RES_OK;
}

void sol_setstatus(TvaTask* task, int32 whichsol, int32 prosta, int32 solsta) {
  SolutionSlot& s = task->sols.slot[whichsol];
  s.prosta = prosta;
  s.solsta = solsta;
}

void sol_flip_duals(TvaTask* task, int32 whichsol) {
  SolutionSlot& s = task->sols.slot[whichsol];
  if (!s.defined || !sol_has_duals(whichsol)) return;
  auto flip = [](double* v, int64 n) {
    if (v)
      for (int64 t = 0; t < n; ++t)
        v[t] = -v[t];
  };
  flip(s.y, task->numcon);
  flip(s.slc, task->numcon);
  flip(s.suc, task->numcon);
  flip(s.slx, task->numvar);
  flip(s.sux, task->numvar);
  flip(s.snx, task->numvar);
  flip(s.bars, s.barlen);
}

TVArescode sol_resize_var(TvaTask* task, int32 n) {
  for (int32 w = 0; w < kNumSolSlots; ++w) {
    SolutionSlot& s = task->sols.slot[w];
    if (s.defined && s.capvar != n &&
        !resize_arrays(task->sys, var_arrays(s, w), &s.capvar, task->numvar, n) && n > s.capvar)
      return TVA_REP(task, ERR_SPACE);
  }
  return TVA_RES_OK;
}

TVArescode sol_resize_con(TvaTask* task, int32 n) {
  for (int32 w = 0; w < kNumSolSlots; ++w) {
    SolutionSlot& s = task->sols.slot[w];
    if (s.defined && s.capcon != n &&
        !resize_arrays(task->sys, con_arrays(s, w), &s.capcon, task->numcon, n) && n > s.capcon)
      return TVA_REP(task, ERR_SPACE);
  }
  return TVA_RES_OK;
}

TVArescode sol_resize_cone(TvaTask* task, int32 n) {
  for (int32 w = 0; w < kNumSolSlots; ++w) {
    SolutionSlot& s = task->sols.slot[w];
    if (s.defined && s.capcone != n &&
        !resize_arrays(task->sys, cone_arrays(s, w), &s.capcone, task->numcone, n) && n > s.capcone)
      return TVA_REP(task, ERR_SPACE);
  }
  return TVA_RES_OK;
}

TVArescode sol_resize_bar(TvaTask* task, int64 need) {
  SolutionSlot& s = task->sols.slot[TVA_SOL_ITR];
  if (!s.defined) return TVA_RES_OK;
  if (need <= s.barlen) return TVA_RES_OK;
  if (!grow_array(task->sys, &s.barx, s.barlen, need) ||
      !grow_array(task->sys, &s.bars, s.barlen, need))
    return TVA_REP(task, ERR_SPACE);
  s.barlen = need;
  return TVA_RES_OK;
}

void sol_renumber_cons(TvaTask* task, const int32* newidx, int32 oldcount) {
  for (int32 w = 0; w < kNumSolSlots; ++w) {
    SolutionSlot& s = task->sols.slot[w];
    if (s.defined) compact_group(con_arrays(s, w), newidx, oldcount);
  }
}

void sol_renumber_vars(TvaTask* task, const int32* newidx, int32 oldcount) {
  for (int32 w = 0; w < kNumSolSlots; ++w) {
    SolutionSlot& s = task->sols.slot[w];
    if (s.defined) compact_group(var_arrays(s, w), newidx, oldcount);
  }
}

void sol_renumber_cones(TvaTask* task, const int32* newidx, int32 oldcount) {
  for (int32 w = 0; w < kNumSolSlots; ++w) {
    SolutionSlot& s = task->sols.slot[w];
    if (s.defined) compact_group(cone_arrays(s, w), newidx, oldcount);
  }
}

void sol_renumber_barvars(TvaTask* task, const int32* newidx, const int32* olddim, int32 oldcount) {
  SolutionSlot& s = task->sols.slot[TVA_SOL_ITR];
  if (!s.defined) return;
  // The triangles that stay move towards the front, in order, so a forward copy is safe.
  int64 from = 0, to = 0;
  for (int32 j = 0; j < oldcount; ++j) {
    int64 len = int64(olddim[j]) * (olddim[j] + 1) / 2;
    if (newidx[j] >= 0 && from + len <= s.barlen) {
      std::memmove(s.barx + to, s.barx + from, static_cast<size_t>(len) * sizeof(double));
      std::memmove(s.bars + to, s.bars + from, static_cast<size_t>(len) * sizeof(double));
      to += len;
    }
    from += len;
  }
}

} // namespace telva
