// The dual simplex loop: a basis whose reduced costs are feasible (made so by bound flips or by
// the auxiliary box problem of phase one) is kept dual feasible while the primal infeasibilities
// of the basic variables are removed one leaving row at a time. A row with no entering
// candidate proves the problem primal infeasible; its row of B^-1 is the Farkas certificate.
#include "simplex/dsimplex.h"

#include <algorithm>
#include <cmath>

#include "simplex/dsimplex_solve.h"
#include "telva.h"

namespace telva {

namespace {

double seconds(const SimWork& W) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - W.t0).count();
}

// y = B^-T c_B and the reduced costs of the nonbasic indices for the working costs.
void compute_duals(SimWork& W) {
  for (int32 p = 0; p < W.m; ++p)
    W.colv[p] = W.cost[W.head[p]];
  lu_btran(W.f, W.colv.data(), W.y.data());
  for (int32 k = 0; k < W.n; ++k)
    W.d[k] = W.pos[k] >= 0 ? 0.0 : W.cost[k] - simwork_dotcol(W, k, W.y.data());
}

double dual_objective(const SimWork& W) {
  double s = 0.0;
  for (int32 k = W.m; k < W.n; ++k)
    s += W.cost[k] * W.x[k];
  return s + W.cfix;
}

int32 report(DualState& D, int32 event) {
  SimWork& W = D.W;
  if (!W.progress) return 0;
  SimplexProgress pr;
  pr.event = event;
  pr.iter = W.stat->iter[W.opt];
  pr.degpct = pr.iter ? 100.0 * W.stat->degiter[W.opt] / pr.iter : 0.0;
  double obj = dual_objective(W);
  pr.dobj = W.maximize ? -obj : obj;
  pr.pobj = pr.dobj;
  double dinf = 0.0, pinf = 0.0;
  for (int32 k = 0; k < W.n; ++k)
    if (W.pos[k] < 0) dinf += dsimplex_dualviolation(W, k, W.d[k]);
  for (double v : D.viol)
    pinf += v;
  pr.dinf = dinf, pr.pinf = pinf;
  pr.time = seconds(W);
  pr.tottime = pr.time;
  return W.progress(W.handle, &pr);
}

// Fresh factors, basic values, duals and violations. Reduced costs that the fresh duals show
// infeasible are repaired: boxed columns flip, others get their cost shifted.
int32 refresh(DualState& D) {
  SimWork& W = D.W;
  int32 inserted = 0;
  int32 code = simplex_refactor(W, &inserted);
  if (code) return code;
  D.updates = 0;
  compute_duals(W);
  bool moved = false;
  for (int32 k = 0; k < W.n; ++k) {
    if (W.pos[k] >= 0) continue;
    double v = dsimplex_dualviolation(W, k, W.d[k]);
    if (v <= 0.0) continue;
    bool box = !sim_isinf(W.lb[k]) && !sim_isinf(W.ub[k]);
    if (box && W.sk[k] != TVA_SK_SUPBAS && v > W.tols) {
      W.sk[k] = W.sk[k] == TVA_SK_LOW ? TVA_SK_UPR : TVA_SK_LOW;
      W.x[k] = W.sk[k] == TVA_SK_LOW ? W.lb[k] : W.ub[k];
      moved = true;
    } else if (v > W.tols) {
      W.cost[k] -= W.d[k];
      W.d[k] = 0.0;
      D.costchanged = true;
    }
  }
  (void)moved;
  simplex_recomputexb(W);
  dsimplex_computeviol(D);
  if (inserted > 0) dsimplex_initweights(D, false);
  return kSimOk;
}

// The bound flips of the ratio test and the extra ones whose reduced cost changed sign: their
// columns summed, one ftran, and the basic values moved.
void apply_flips(DualState& D) {
  SimWork& W = D.W;
  if (D.flips.empty()) return;
  DSparse& v = D.flipcol;
  v.clear();
  for (int32 k : D.flips) {
    double from = W.x[k];
    bool tolow = W.sk[k] == TVA_SK_UPR;
    double to = tolow ? W.lb[k] : W.ub[k];
    W.sk[k] = tolow ? TVA_SK_LOW : TVA_SK_UPR;
    W.x[k] = to;
    double delta = to - from;
    auto add = [&](int32 i, double a) {
      if (v.val[i] == 0.0) v.idx[v.nz++] = i;
      v.val[i] += a * delta;
      if (v.val[i] == 0.0) v.val[i] = 1e-300;
    };
    if (k < W.m) {
      add(k, -1.0);
    } else {
      int32 j = k - W.m;
      for (int32 p = W.aptr[j]; p < W.aptr[j + 1]; ++p)
        add(W.asub[p], W.aval[p]);
    }
  }
  W.stat->boundflips[W.opt] += (int32)D.flips.size();
  dsimplex_ftran(D, v);
  for (int32 t = 0; t < v.nz; ++t) {
    int32 p = v.idx[t];
    W.x[W.head[p]] -= v.val[p];
    dsimplex_updateviol(D, p);
  }
}

} // namespace

int32 dsimplex_prestep(DualState& D) {
  SimWork& W = D.W;
  const int32 m = W.m;
  D.rho.init(m), D.col.init(m), D.tau.init(m), D.flipcol.init(m);
  D.row.init(W.n);
  D.truecost.assign(W.cost.begin(), W.cost.end());
  const int32 sel = W.set->dualselect;
  D.rule = sel == 3 ? 3 : (sel == 1 || sel == 2 ? 2 : 4);
  simplex_recomputexb(W);
  compute_duals(W);
  int32 left = simplex_dualfeas(D);
  if (left > 0) dsimplex_phase1bounds(D);
  simplex_recomputexb(W);
  dsimplex_computeviol(D);
  dsimplex_initweights(D, W.set->hotstart == 0);
  return kSimOk;
}

int32 dsimplex_optimize(DualState& D) {
  SimWork& W = D.W;
  const SimplexSettings& S = *W.set;
  SimplexStat* st = W.stat;
  const int32 o = W.opt;
  int32 code = kSimOk;
  bool needfactor = false, verified = false;
  int32 lastlog = -1;
  for (;;) {
    if (st->iter[o] >= S.maxiter[o]) {
      code = kSimMaxIterations;
      break;
    }
    if (S.maxtime[o] > 0.0 && seconds(W) > S.maxtime[o]) {
      code = kSimMaxTime;
      break;
    }
    if (needfactor) {
      code = refresh(D);
      if (code) break;
      needfactor = false;
    }
    if (S.logfreq[o] > 0 && st->iter[o] % S.logfreq[o] == 0 && st->iter[o] != lastlog) {
      lastlog = st->iter[o];
      if (report(D, 59)) {
        code = kSimUserCallback;
        break;
      }
    }
    int32 r = dsimplex_select(D);
    if (r < 0) {
      if (!verified && D.updates > 0) {
        verified = true, needfactor = true;
        continue;
      }
      if (D.phase1) {
        // The auxiliary problem is solved: back to the true bounds. Reduced costs still
        // infeasible there mean the dual has no feasible point from this basis.
        dsimplex_undoboundswaps(D);
        int32 left = simplex_dualfeas(D);
        if (left > 0) break; // solsta stays unknown: the primal finishes
        needfactor = true, verified = false;
        continue;
      }
      if (D.costchanged) {
        // Perturbed or shifted costs come off. The basis is primal feasible: if the true
        // reduced costs are feasible too it is optimal; otherwise the primal finishes from
        // here. Putting boxed columns on the bounds their new reduced costs ask for would
        // keep the dual going, but it throws away the primal feasibility just reached, and
        // the unperturbed dual is degenerate (grow22: 1,400 more pivots at the optimal
        // objective, where the primal needs a few).
        dsimplex_removeperturbation(D);
        compute_duals(W);
        bool dualfeasible = true;
        for (int32 k = 0; k < W.n && dualfeasible; ++k)
          dualfeasible = W.pos[k] >= 0 || dsimplex_dualviolation(W, k, W.d[k]) <= W.tols;
        if (!dualfeasible) break; // solsta stays unknown: the primal cleans up
        needfactor = true, verified = false;
        continue;
      }
      st->prosta = TVA_PRO_STA_PRIM_AND_DUAL_FEAS;
      st->solsta = TVA_SOL_STA_OPTIMAL;
      break;
    }
    const int32 l = W.head[r];
    const int32 dir = W.x[l] < W.lb[l] ? 1 : -1;
    const double target = dir > 0 ? W.lb[l] : W.ub[l];
    dsimplex_btranrow(D, r);
    dsimplex_rowproduct(D);
    double step = 0.0;
    int32 q = dsimplex_minratio_boundswap(D, dir, D.viol[r], &step);
    if (q < 0) {
      if (D.updates > 0) {
        needfactor = true;
        continue;
      }
      if (D.phase1) {
        // The box problem is always feasible: a missing candidate is numerical.
        D.dse[r] = 1e15;
        if (++st->setbacks[o] > S.maxsetbacks[o]) {
          code = kSimMaxSetbacks;
          break;
        }
        continue;
      }
      // The row proves infeasibility: y = -dir rho gives a Farkas certificate.
      std::fill(W.y.begin(), W.y.end(), 0.0);
      for (int32 t = 0; t < D.rho.nz; ++t) {
        int32 i = D.rho.idx[t];
        W.y[i] = -dir * D.rho.val[i];
      }
      st->prosta = TVA_PRO_STA_PRIM_INFEAS;
      st->solsta = TVA_SOL_STA_PRIM_INFEAS_CER;
      break;
    }
    dsimplex_loadcol(W, q, D.col);
    dsimplex_ftran(D, D.col);
    const double ar = D.col.val[r], arow = D.row.val[q];
    const double rel = std::fabs(ar - arow) / (1.0 + std::fabs(ar));
    if (rel > 1e-7 || std::fabs(ar) <= W.tolpiv) {
      // The row and the column disagree on the pivot: the factors have lost accuracy.
      if (D.updates > 0) {
        needfactor = true;
        continue;
      }
      if (rel > 1e-3 || std::fabs(ar) <= W.tolpiv) {
        // Fresh factors that disagree with themselves: the basis is ill-conditioned for the
        // LU's pivot threshold. A stricter threshold gives more accurate factors of the same
        // basis; once it is at its limit, this row is put off.
        if (++st->setbacks[o] > S.maxsetbacks[o]) {
          code = kSimMaxSetbacks;
          break;
        }
        if (simplex_tightenlu(W))
          needfactor = true;
        else
          D.dse[r] *= 1e4;
        continue;
      }
    }
    verified = false;
    // Dual step: d_k += t g_k with g = dir alpha_rk, the leaving index gets d = dir t.
    const double t = step;
    if (t != 0.0) {
      for (int32 i = 0; i < D.row.nz; ++i) {
        int32 k = D.row.idx[i];
        W.d[k] += t * dir * D.row.val[k];
      }
    }
    W.d[q] = 0.0;
    // Reduced costs that crossed zero within the Harris margin without being passed over by
    // the ratio test: their costs are shifted so that they stay dual feasible. Flipping them
    // instead would push the slope of the dual objective below zero.
    for (int32 k : D.flips)
      W.rejected[k] = 1; // marks of the flips, cleared below
    for (int32 i = 0; i < D.row.nz; ++i) {
      int32 k = D.row.idx[i];
      if (k == q || W.pos[k] >= 0 || W.rejected[k]) continue;
      if (dsimplex_dualviolation(W, k, W.d[k]) <= 0.0) continue;
      W.cost[k] -= W.d[k];
      W.d[k] = 0.0;
      D.costchanged = true;
    }
    for (int32 k : D.flips)
      W.rejected[k] = 0;
    // Flips listed by the ratio test whose reduced cost did not cross stay at their bound.
    D.flips.erase(std::remove_if(D.flips.begin(), D.flips.end(),
                                 [&](int32 k) {
                                   double dk = W.d[k];
                                   return (W.sk[k] == TVA_SK_LOW && dk >= 0.0) ||
                                          (W.sk[k] == TVA_SK_UPR && dk <= 0.0);
                                 }),
                  D.flips.end());
    W.d[l] = dir * t;
    if (D.rule == 4) {
      DSparse& tau = D.tau;
      tau.clear();
      for (int32 i = 0; i < D.rho.nz; ++i) {
        int32 row = D.rho.idx[i];
        tau.val[row] = D.rho.val[row];
        tau.idx[tau.nz++] = row;
      }
      dsimplex_ftran(D, tau);
    }
    apply_flips(D);
    // Primal step: the leaving variable reaches its bound.
    const double theta = (W.x[l] - target) / ar;
    for (int32 i = 0; i < D.col.nz; ++i) {
      int32 p = D.col.idx[i];
      W.x[W.head[p]] -= theta * D.col.val[p];
    }
    W.x[q] += theta;
    W.x[l] = target;
    dsimplex_updateweights(D, r);
    // Basis change.
    W.head[r] = q, W.pos[q] = r, W.pos[l] = -1, W.sk[q] = TVA_SK_BAS;
    W.sk[l] = W.lb[l] == W.ub[l] ? TVA_SK_FIX : (dir > 0 ? TVA_SK_LOW : TVA_SK_UPR);
    for (int32 i = 0; i < D.col.nz; ++i)
      dsimplex_updateviol(D, D.col.idx[i]);
    dsimplex_updateviol(D, r);
    st->iter[o]++;
    if (t == 0.0) st->degiter[o]++;
    if (D.phase1) st->infiter[o]++;
    int32 ust;
    if (q < W.m) {
      double minus1 = -1.0;
      ust = lu_updatefromcolumn(W.f, r, r, 1, &q, &minus1);
    } else {
      int32 j = q - W.m, b = W.aptr[j];
      ust = lu_updatefromcolumn(W.f, r, r, W.aptr[j + 1] - b, W.asub.data() + b, W.aval.data() + b);
    }
    D.updates++;
    W.itersincefactor++;
    // Each check costs a solve per row, so the second level samples.
    const bool check = S.deblev >= 3 || (S.deblev == 2 && st->iter[o] % 25 == 0);
    if (check && D.rule == 4 && ust == kLuOk)
      st->dseerror = std::max(st->dseerror, dsimplex_weighterror(D));
    D.col.clear(), D.row.clear(), D.rho.clear(), D.tau.clear();
    if (ust == kLuNoMemory) {
      code = kSimSpace;
      break;
    }
    // The factors advise a refactorization when the updates have made the solves dearer than
    // a fresh factorization would; a frequency set by the user comes on top.
    if (ust != kLuOk) needfactor = true;
    if (S.refactorfreq[o] > 0 && D.updates >= S.refactorfreq[o]) needfactor = true;
  }
  // The last iteration's line, so that the table ends where the run did.
  if (S.logfreq[o] > 0 && st->iter[o] != lastlog && report(D, 59) && code == kSimOk)
    code = kSimUserCallback;
  D.col.clear(), D.row.clear(), D.rho.clear(), D.tau.clear(), D.flipcol.clear();
  std::fill(W.colv.begin(), W.colv.end(), 0.0);
  return code;
}

int32 simplex_dualoptimizerintern(SimWork& W) {
  const SimplexSettings& S = *W.set;
  SimplexStat* st = W.stat;
  st->prosta = TVA_PRO_STA_UNKNOWN;
  st->solsta = TVA_SOL_STA_UNKNOWN;
  DualState D(W);
  if (report(D, 56)) return kSimUserCallback;
  if (report(D, 57)) return kSimUserCallback;
  int32 code = dsimplex_prestep(D);
  if (report(D, 58)) return kSimUserCallback;
  if (code == kSimOk) {
    if (S.degen != 0 && S.hotstart == 0 && S.maxiter[W.opt] - st->iter[W.opt] >= 40)
      dsimplex_perturbcosts(D, S.degen == 2 ? 2 : (S.degen == 4 ? 4 : 1));
    code = dsimplex_optimize(D);
  }
  // The true bounds and costs come back for the caller, whatever the end.
  if (D.phase1) dsimplex_undoboundswaps(D);
  if (D.costchanged) dsimplex_removeperturbation(D);
  W.perturbed = false;
  if (report(D, 61) && code == kSimOk) code = kSimUserCallback;
  return code;
}

} // namespace telva
