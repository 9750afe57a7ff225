// The three solution slots of a task (interior, basic, integer), their growth with the
// problem's capacities, the lowering of their status claims when the problem changes, and the
// evaluation of a stored solution against the problem.
//
// The optimize driver uses the inner interface below: sol_prepare makes a slot ready (all
// arrays at the capacities, bar arrays at the total bar length), sol_slot gives the arrays to
// write, sol_setstatus sets the two statuses, sol_flip_duals turns the duals of a minimize
// run into those of the maximize problem.
#pragma once

#include "cpub/sysenv.h"
#include "telva.h"

struct TvaTask;

namespace telva {

constexpr int32 kNumSolSlots = 3;

struct SolutionSlot {
  int32 prosta = 0;
  int32 solsta = 0;
  bool defined = false;
  // Lengths of the arrays: capvar for the per-variable arrays, capcon for the per-constraint
  // arrays, capcone for skn. They follow the task's capacities and are never below the counts.
  int32 capvar = 0, capcon = 0, capcone = 0;
  double* xx = nullptr;
  double* xc = nullptr;
  double* y = nullptr;   // not in the integer slot
  double* slc = nullptr; // not in the integer slot
  double* suc = nullptr; // not in the integer slot
  double* slx = nullptr; // not in the integer slot
  double* sux = nullptr; // not in the integer slot
  double* snx = nullptr; // interior slot only
  int32* skx = nullptr;
  int32* skc = nullptr;
  int32* skn = nullptr; // not in the basic slot
  int64 barlen = 0;     // interior slot only: elements allocated in barx and bars
  double* barx = nullptr;
  double* bars = nullptr;
};

struct SolutionStore {
  SolutionSlot slot[kNumSolSlots];
};

// Which arrays a slot has.
inline bool sol_has_duals(int32 whichsol) {
  return whichsol == TVA_SOL_ITR || whichsol == TVA_SOL_BAS;
}
inline bool sol_has_snx(int32 whichsol) {
  return whichsol == TVA_SOL_ITR;
}
inline bool sol_has_skn(int32 whichsol) {
  return whichsol == TVA_SOL_ITR || whichsol == TVA_SOL_ITG;
}
inline bool sol_has_bar(int32 whichsol) {
  return whichsol == TVA_SOL_ITR;
}

SolutionSlot* sol_slot(TvaTask* task, int32 whichsol);
const SolutionSlot* sol_slot(const TvaTask* task, int32 whichsol);

// Makes the slot ready: if undefined, all its arrays zeroed at the capacities; for the interior
// slot the bar arrays at least at the total bar length. Out of memory leaves an undefined slot
// undefined and gives TVA_RES_ERR_SPACE.
TVArescode sol_prepare(TvaTask* task, int32 whichsol);
// Frees the slot's arrays and clears it; an undefined slot is no failure.
void sol_delete(TvaTask* task, int32 whichsol);
void sol_delete_all(TvaTask* task);
void sol_setstatus(TvaTask* task, int32 whichsol, int32 prosta, int32 solsta);
// Copies all three slots of src into dst, whose problem must have the same counts (as a clone
// has). dst's old slots go first; out of memory leaves dst without slots.
TVArescode sol_copy(TvaTask* dst, const TvaTask* src);
// Negates all duals of the slot (y, slc, suc, slx, sux, snx, bars).
void sol_flip_duals(TvaTask* task, int32 whichsol);
// The total length of the packed lower triangles of all bar variables, and the offset of
// bar variable j in that layout.
int64 sol_barlen_total(const TvaTask* task);
int64 sol_bar_offset(const TvaTask* task, int32 j);

// ---- Growth with the problem (called by the store) ----

// Gives the arrays of every defined slot at least n entries (keeping the first keep). Growing
// calls come before the store grows, shrinking ones after; a failed growth is
// TVA_RES_ERR_SPACE with the slots usable as they were.
TVArescode sol_resize_var(TvaTask* task, int32 n);
TVArescode sol_resize_con(TvaTask* task, int32 n);
TVArescode sol_resize_cone(TvaTask* task, int32 n);
// The interior slot's bar arrays to at least need elements, with the old elements kept.
TVArescode sol_resize_bar(TvaTask* task, int64 need);
// The items that stay move to their new numbers (old to new, -1 for removed); used by removal.
void sol_renumber_cons(TvaTask* task, const int32* newidx, int32 oldcount);
void sol_renumber_vars(TvaTask* task, const int32* newidx, int32 oldcount);
void sol_renumber_cones(TvaTask* task, const int32* newidx, int32 oldcount);
// Bar variables: olddim are the orders of the old variables, newidx the map.
void sol_renumber_barvars(TvaTask* task, const int32* newidx, const int32* olddim, int32 oldcount);

// ---- Lowering the status claims ----

enum class SolChange {
  Unjudged,  // statuses of every slot to 0
  NewRows,   // constraints appended
  NewVars,   // variables or bar variables appended
  Objective, // objective coefficients changed
  Cones,     // cones appended or replaced
  Integer,   // integer marks changed: the integer slot loses its claims
};

// The status of a slot after a change of the given kind (bounds aside).
int32 sol_demote_prosta(SolChange kind, int32 prosta);
int32 sol_demote_solsta(SolChange kind, int32 solsta);
// Applies a change to every defined slot.
void sol_on_change(TvaTask* task, SolChange kind);
// New rows first..numcon-1 or columns first..numvar-1 get their initial solution values, then
// the table of the change.
void sol_on_newcons(TvaTask* task, int32 first);
void sol_on_newvars(TvaTask* task, int32 first);
// The bound rule for one row (con) or column i changed from (ok, ol, ou) to (nk, nl, nu).
void sol_on_bound(TvaTask* task, bool con, int32 i, int32 ok, double ol, double ou, int32 nk,
                  double nl, double nu);
// The same on the statuses alone, for one slot, with x the item's value and tol the tolerance.
void sol_bound_rule(int32* prosta, int32* solsta, double x, double tol, int32 ok, double ol,
                    double ou, int32 nk, double nl, double nu);

// ---- Evaluation ----

struct SolutionInfo {
  double pobj = 0, dobj = 0;
  double pviolcon = 0, pviolvar = 0, pviolbarvar = 0, pviolcones = 0, pviolitg = 0;
  double dviolcon = 0, dviolvar = 0, dviolbarvar = 0, dviolcones = 0;
};

// The violation arrays of a defined slot over the whole problem; each pointer may be null.
struct Violations {
  double* pcon = nullptr;    // numcon
  double* pvar = nullptr;    // numvar
  double* pbarvar = nullptr; // numbarvar
  double* pcone = nullptr;   // numcone
  double* dcon = nullptr;    // numcon
  double* dvar = nullptr;    // numvar
  double* dbarvar = nullptr; // numbarvar
  double* dcone = nullptr;   // numcone
};

// 1.0 for the statuses that claim a point, 0.0 for certificates (and the primal-and-dual
// feasible statuses), by which the constant term and the right-hand sides drop out.
double sol_weight(int32 solsta);
TVArescode sol_primalobj(TvaTask* task, int32 whichsol, double* pobj);
TVArescode sol_dualobj(TvaTask* task, int32 whichsol, double* dobj);
TVArescode sol_violations(TvaTask* task, int32 whichsol, const Violations& out);
TVArescode sol_info(TvaTask* task, int32 whichsol, SolutionInfo* info);
// The largest absolute value of an array of n doubles (0 for a null array).
double sol_norm(const double* v, int64 n);
// The largest distance of an integer variable's value to the nearest integer.
double sol_pviolitg(const TvaTask* task, int32 whichsol);

} // namespace telva
