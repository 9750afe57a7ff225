// How a change of problem data lowers what the stored solutions claim. The numbers stay; only
// the problem and solution statuses of every defined slot go down to what still holds.
#include "telva/solution/solution.h"
#include "telva/task/task.h"

namespace telva {

namespace {

constexpr int32 kNumProsta = 12;
constexpr int32 kNumSolsta = 18;

// Problem status after a change, by old status; columns: new rows, new variables and
// objective, cones.
constexpr int32 kProstaTable[kNumProsta][3] = {
    {0, 0, 0},   // 0 unknown
    {3, 2, 3},   // 1 primal and dual feasible
    {0, 2, 0},   // 2 primal feasible
    {3, 0, 3},   // 3 dual feasible
    {4, 4, 0},   // 4 primal infeasible
    {0, 0, 5},   // 5 dual infeasible
    {4, 4, 5},   // 6 primal and dual infeasible
    {0, 0, 0},   // 7 ill-posed
    {10, 9, 10}, // 8 near primal and dual feasible
    {0, 9, 0},   // 9 near primal feasible
    {10, 0, 10}, // 10 near dual feasible
    {0, 0, 0},   // 11 primal infeasible or unbounded
};

// Solution status after a change, by old status, in the same columns.
constexpr int32 kSolstaTable[kNumSolsta][3] = {
    {0, 0, 0},   // 0 unknown
    {3, 0, 0},   // 1 optimal
    {0, 2, 0},   // 2 primal feasible
    {3, 0, 3},   // 3 dual feasible
    {3, 2, 3},   // 4 primal and dual feasible
    {5, 5, 0},   // 5 primal infeasibility certificate
    {0, 0, 0},   // 6 dual infeasibility certificate
    {0, 0, 0},   // 7 (no status)
    {10, 0, 0},  // 8 near optimal
    {0, 9, 0},   // 9 near primal feasible
    {10, 0, 10}, // 10 near dual feasible
    {10, 9, 10}, // 11 near primal and dual feasible
    {0, 0, 0},   // 12 near primal infeasibility certificate
    {0, 0, 0},   // 13 near dual infeasibility certificate
    {0, 0, 0},   // 14 primal ill-posed certificate
    {0, 0, 0},   // 15 dual ill-posed certificate
    {0, 0, 0},   // 16 integer optimal
    {0, 0, 0},   // 17 near integer optimal
};

int column_of(SolChange kind) {
  switch (kind) {
  case SolChange::NewRows:
    return 0;
  case SolChange::NewVars:
  case SolChange::Objective:
    return 1;
  case SolChange::Cones:
    return 2;
  default:
    return -1;
  }
}

bool has_lower(int32 bk) {
  return bk == TVA_BK_LO || bk == TVA_BK_FX || bk == TVA_BK_RA;
}
bool has_upper(int32 bk) {
  return bk == TVA_BK_UP || bk == TVA_BK_FX || bk == TVA_BK_RA;
}

// P: the primal point lost its claim.
void demote_p(int32* prosta, int32* solsta, bool prosta_too) {
  if (prosta_too) {
    switch (*prosta) {
    case 1:
      *prosta = 3;
      break;
    case 8:
      *prosta = 10;
      break;
    case 2:
    case 9:
      *prosta = 0;
      break;
    default:
      break;
    }
  }
  switch (*solsta) {
  case 1:
  case 4:
    *solsta = 3;
    break;
  case 2:
  case 6:
  case 9:
  case 16:
  case 17:
    *solsta = 0;
    break;
  case 8:
  case 11:
    *solsta = 10;
    break;
  default:
    break;
  }
}

// Q: the dual part lost its claim.
void demote_q(int32* prosta, int32* solsta) {
  switch (*prosta) {
  case 6:
    *prosta = 5;
    break;
  case 4:
  case 7:
    *prosta = 0;
    break;
  default:
    break;
  }
  switch (*solsta) {
  case 1:
    *solsta = 4;
    break;
  case 16:
  case 17:
    *solsta = 2;
    break;
  case 8:
    *solsta = 11;
    break;
  case 5:
    *solsta = 0;
    break;
  default:
    break;
  }
}

// A tightened bound: infeasibility of the problem as a whole stays only in its primal part,
// and the point loses its claim if it lies off the new bound.
void tightened(int32* prosta, int32* solsta, bool off) {
  if (*prosta == 6 || *prosta == 5 || *prosta == 7) {
    *prosta = *prosta == 6 ? 4 : 0;
    if (off) demote_p(prosta, solsta, false);
  } else if (off) {
    demote_p(prosta, solsta, true);
  }
}

// A removed bound: the point stays feasible, the dual claims go.
void relaxed(int32* prosta, int32* solsta) {
  switch (*prosta) {
  case 1:
    *prosta = 2;
    break;
  case 8:
    *prosta = 9;
    break;
  case 3:
  case 10:
    *prosta = 0;
    break;
  default:
    break;
  }
  switch (*solsta) {
  case 1:
  case 4:
  case 16:
  case 17:
    *solsta = 2;
    break;
  case 3:
  case 10:
    *solsta = 0;
    break;
  case 8:
  case 11:
    *solsta = 9;
    break;
  default:
    break;
  }
}

} // namespace

int32 sol_demote_prosta(SolChange kind, int32 prosta) {
  int col = column_of(kind);
  if (col < 0 || prosta < 0 || prosta >= kNumProsta) return 0;
  return kProstaTable[prosta][col];
}

int32 sol_demote_solsta(SolChange kind, int32 solsta) {
  int col = column_of(kind);
  if (col < 0 || solsta < 0 || solsta >= kNumSolsta) return 0;
  if (kind == SolChange::Objective &&
      (solsta == TVA_SOL_STA_INTEGER_OPTIMAL || solsta == TVA_SOL_STA_NEAR_INTEGER_OPTIMAL))
    return TVA_SOL_STA_PRIM_FEAS;
  return kSolstaTable[solsta][col];
}

void sol_on_change(TvaTask* task, SolChange kind) {
  for (int32 w = 0; w < kNumSolSlots; ++w) {
    SolutionSlot& s = task->sols.slot[w];
    if (!s.defined) continue;
    if (kind == SolChange::Integer && w != TVA_SOL_ITG) continue;
    s.prosta = sol_demote_prosta(kind, s.prosta);
    s.solsta = sol_demote_solsta(kind, s.solsta);
  }
}

void sol_on_newcons(TvaTask* task, int32 first) {
  for (int32 w = 0; w < kNumSolSlots; ++w) {
    SolutionSlot& s = task->sols.slot[w];
    if (!s.defined) continue;
    for (int32 i = first; i < task->numcon; ++i) {
      s.xc[i] = 0.0;
      s.skc[i] = w == TVA_SOL_BAS ? TVA_SK_BAS : TVA_SK_UNK;
      if (sol_has_duals(w)) s.y[i] = s.slc[i] = s.suc[i] = 0.0;
    }
  }
  sol_on_change(task, SolChange::NewRows);
}

void sol_on_newvars(TvaTask* task, int32 first) {
  const ProblemStore& p = task->store;
  for (int32 w = 0; w < kNumSolSlots; ++w) {
    SolutionSlot& s = task->sols.slot[w];
    if (!s.defined) continue;
    for (int32 j = first; j < task->numvar; ++j) {
      bool fixed = p.bkx[j] == TVA_BK_FX;
      s.skx[j] = fixed ? TVA_SK_FIX : TVA_SK_UNK;
      s.xx[j] = fixed ? p.blx[j] : 0.0;
      if (sol_has_duals(w)) s.slx[j] = s.sux[j] = 0.0;
      if (sol_has_snx(w)) s.snx[j] = 0.0;
    }
  }
  sol_on_change(task, SolChange::NewVars);
}

void sol_bound_rule(int32* prosta, int32* solsta, double x, double tol, int32 ok, double ol,
                    double ou, int32 nk, double nl, double nu) {
  if (has_lower(nk) && (!has_lower(ok) || nl > ol + tol)) tightened(prosta, solsta, nl - tol > x);
  if (has_upper(nk) && (!has_upper(ok) || ou - tol > nu)) tightened(prosta, solsta, x > nu + tol);
  if ((has_lower(ok) && !has_lower(nk)) || (has_upper(ok) && !has_upper(nk)))
    relaxed(prosta, solsta);
  // A free item that gets both bounds keeps its dual claims: its duals are zero, and zero
  // duals are feasible for any bounds.
  bool keeps_dual = ok == TVA_BK_FR && (nk == TVA_BK_RA || nk == TVA_BK_FX) && !(ol - tol > nl) &&
                    !(nu > ou + tol);
  if (!keeps_dual) demote_q(prosta, solsta);
}

void sol_on_bound(TvaTask* task, bool con, int32 i, int32 ok, double ol, double ou, int32 nk,
                  double nl, double nu) {
  for (int32 w = 0; w < kNumSolSlots; ++w) {
    SolutionSlot& s = task->sols.slot[w];
    if (!s.defined) continue;
    double tol = task->dparam[w == TVA_SOL_BAS ? TVA_DPAR_BASIS_TOL_X : TVA_DPAR_DATA_TOL_X];
    sol_bound_rule(&s.prosta, &s.solsta, con ? s.xc[i] : s.xx[i], tol, ok, ol, ou, nk, nl, nu);
  }
}

} // namespace telva
