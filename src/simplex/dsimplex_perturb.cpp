// Dual feasibility of the dual simplex: the box approach of phase one (boxed columns go to the
// bound their reduced cost asks for; if that is not enough, the auxiliary problem with
// artificial box bounds is solved first), and the cost perturbation against dual degeneracy
// with its removal before an optimum is claimed.
#include <algorithm>
#include <cmath>

#include "simplex/dsimplex.h"

namespace telva {

namespace {

bool boxed(const SimWork& W, int32 k) {
  return !sim_isinf(W.lb[k]) && !sim_isinf(W.ub[k]);
}

// Puts nonbasic k on the bound its reduced cost asks for (lower when d >= 0), on its one finite
// bound, or at 0 when free.
void place(SimWork& W, int32 k) {
  const double l = W.lb[k], u = W.ub[k];
  if (boxed(W, k)) {
    if (l == u) {
      W.x[k] = l, W.sk[k] = TVA_SK_FIX;
    } else if (W.d[k] >= 0.0) {
      W.x[k] = l, W.sk[k] = TVA_SK_LOW;
    } else {
      W.x[k] = u, W.sk[k] = TVA_SK_UPR;
    }
  } else if (!sim_isinf(l)) {
    W.x[k] = l, W.sk[k] = TVA_SK_LOW;
  } else if (!sim_isinf(u)) {
    W.x[k] = u, W.sk[k] = TVA_SK_UPR;
  } else {
    W.x[k] = 0.0, W.sk[k] = TVA_SK_SUPBAS;
  }
}

} // namespace

int32 simplex_dualfeas(DualState& D) {
  SimWork& W = D.W;
  int32 left = 0;
  for (int32 k = 0; k < W.n; ++k) {
    if (W.pos[k] >= 0) continue;
    bool atbound = (W.sk[k] == TVA_SK_LOW && W.x[k] == W.lb[k]) ||
                   (W.sk[k] == TVA_SK_UPR && W.x[k] == W.ub[k]) || W.sk[k] == TVA_SK_FIX;
    double v = dsimplex_dualviolation(W, k, W.d[k]);
    if (boxed(W, k) && (v > 0.0 || !atbound)) {
      place(W, k);
    } else if (!atbound && !(sim_isinf(W.lb[k]) && sim_isinf(W.ub[k]))) {
      place(W, k);
      v = dsimplex_dualviolation(W, k, W.d[k]);
    }
    if (!boxed(W, k) && v > W.tols) ++left;
  }
  return left;
}

void dsimplex_phase1bounds(DualState& D) {
  SimWork& W = D.W;
  for (int32 k = 0; k < W.n; ++k) {
    bool lo = !sim_isinf(W.tlb[k]), up = !sim_isinf(W.tub[k]);
    if (lo && up)
      W.lb[k] = W.ub[k] = 0.0;
    else if (lo)
      W.lb[k] = 0.0, W.ub[k] = 1.0;
    else if (up)
      W.lb[k] = -1.0, W.ub[k] = 0.0;
    else
      W.lb[k] = -1000.0, W.ub[k] = 1000.0;
    if (W.pos[k] < 0) place(W, k);
  }
  D.phase1 = true;
}

void dsimplex_undoboundswaps(DualState& D) {
  SimWork& W = D.W;
  for (int32 k = 0; k < W.n; ++k) {
    W.lb[k] = W.tlb[k], W.ub[k] = W.tub[k];
    if (W.pos[k] < 0) place(W, k);
  }
  D.phase1 = false;
}

void dsimplex_perturbcosts(DualState& D, int32 level) {
  SimWork& W = D.W;
  if (level <= 0) return;
  // Size from the costs: relative to each cost, with a floor tied to the largest cost so that a
  // problem with large costs gets perturbations above its round-off. The relative size 5e-5
  // is large enough that massively degenerate models (few distinct costs over many columns)
  // take real dual steps, and small enough that the optimal basis of the perturbed problem
  // is almost always optimal for the true one.
  double cmax = 0.0;
  for (int32 k = W.m; k < W.n; ++k)
    cmax = std::max(cmax, std::fabs(W.cost[k]));
  double base = 5e-5 * (level == 2 ? 10.0 : (level == 4 ? 0.1 : 1.0));
  double floor = cmax > 0.0 ? std::min(1.0, cmax) : 1.0;
  for (int32 k = W.m; k < W.n; ++k) {
    if (W.pos[k] >= 0 || W.lb[k] == W.ub[k]) continue;
    int32 s = W.sk[k];
    if (s != TVA_SK_LOW && s != TVA_SK_UPR) continue;
    double r = simplex_random(W.stat);
    double delta = base * (floor + std::fabs(W.cost[k])) * (1.0 + r);
    if (s == TVA_SK_UPR) delta = -delta;
    W.cost[k] += delta;
    W.d[k] += delta;
    D.costchanged = true;
  }
  W.perturbed = D.costchanged;
}

bool dsimplex_removeperturbation(DualState& D) {
  SimWork& W = D.W;
  bool changed = false;
  for (int32 k = 0; k < W.n; ++k) {
    changed |= W.cost[k] != D.truecost[k];
    W.cost[k] = D.truecost[k];
  }
  D.costchanged = false;
  W.perturbed = false;
  return changed;
}

} // namespace telva
