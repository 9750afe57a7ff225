// Pricing of the dual simplex: the leaving row is the basic variable whose bound violation is
// largest relative to its dual steepest-edge weight ||e_p' B^-1||^2, and the weights are kept
// up to date from one extra solve per iteration.
#include <algorithm>
#include <cmath>

#include "simplex/dsimplex.h"

namespace telva {

namespace {

// ||e_p' B^-1||^2 by one solve.
double exact_weight(SimWork& W, int32 p) {
  W.colv[p] = 1.0;
  lu_btran(W.f, W.colv.data(), W.vse.data());
  double s = 0.0;
  for (int32 i = 0; i < W.m; ++i) {
    s += W.vse[i] * W.vse[i];
    W.vse[i] = 0.0;
  }
  return s;
}

} // namespace

double dsimplex_dualviolation(const SimWork& W, int32 k, double dk) {
  const double l = W.lb[k], u = W.ub[k];
  if (!sim_isinf(l) && !sim_isinf(u) && l == u) return 0.0; // a fixed value takes any price
  switch (W.sk[k]) {
  case TVA_SK_LOW:
    return std::max(0.0, -dk);
  case TVA_SK_UPR:
    return std::max(0.0, dk);
  case TVA_SK_FIX:
    return 0.0;
  default: // free or between its bounds: the reduced cost must vanish
    return std::fabs(dk);
  }
}

void dsimplex_updateviol(DualState& D, int32 p) {
  const SimWork& W = D.W;
  const int32 k = W.head[p];
  const double v = W.x[k];
  double e = 0.0;
  if (v < W.lb[k] - W.tolx)
    e = W.lb[k] - v;
  else if (v > W.ub[k] + W.tolx)
    e = v - W.ub[k];
  D.viol[p] = e;
}

void dsimplex_computeviol(DualState& D) {
  D.viol.assign(D.W.m, 0.0);
  for (int32 p = 0; p < D.W.m; ++p)
    dsimplex_updateviol(D, p);
}

int32 dsimplex_select(DualState& D) {
  const int32 m = D.W.m;
  const double* v = D.viol.data();
  const double* w = D.dse.data();
  int32 best = -1;
  double bestscore = 0.0;
  for (int32 p = 0; p < m; ++p) {
    if (v[p] == 0.0) continue;
    // A weight gone to infinity or NaN scores 0 or NaN; the row is still taken when nothing
    // scores better, so a violated basis is never mistaken for a feasible one.
    double s = v[p] * v[p] / w[p];
    if (!(s > 0.0)) s = 0.0;
    if (best < 0 || s > bestscore) bestscore = s, best = p;
  }
  if (best >= 0) {
    D.W.stat->fullselect[D.W.opt]++;
  }
  return best;
}

void dsimplex_initweights(DualState& D, bool exact) {
  SimWork& W = D.W;
  const int32 m = W.m;
  D.dse.assign(m, 1.0);
  bool logical = true;
  for (int32 p = 0; p < m && logical; ++p)
    logical = W.head[p] < m;
  if (D.rule == 3) {
    // The approximate rule starts from 2 on the structural positions and 1 on the logicals.
    for (int32 p = 0; p < m; ++p)
      D.dse[p] = W.head[p] < m ? 1.0 : 2.0;
    return;
  }
  if (logical || !exact || D.rule != 4) return; // B = -I: every row of B^-1 has norm 1
  for (int32 p = 0; p < m; ++p)
    D.dse[p] = std::max(exact_weight(W, p), 1e-12);
}

// With the pivot alpha_r = alpha[r] and ratio_p = alpha[p] / alpha_r the new rows of B^-1 are
// rho_p - ratio_p rho_r, so their squared norms are w_p - 2 ratio_p tau_p + ratio_p^2 w_r with
// tau = B^-1 rho_r (old basis), and w_r / alpha_r^2 for the pivot row itself.
void dsimplex_updateweights(DualState& D, int32 r) {
  const double* a = D.col.val.data();
  const double ar = a[r];
  double* w = D.dse.data();
  if (D.rule == 4) {
    // The pivot row's weight is recomputed from rho itself, which is at hand: the updated value
    // carries the rounding of every earlier update, and the cancellation in the formula below
    // would pass that error on to every row of the column, growing from one iteration to the next.
    double exact = 0.0;
    for (int32 t = 0; t < D.rho.nz; ++t) {
      double v = D.rho.val[D.rho.idx[t]];
      exact += v * v;
    }
    w[r] = exact;
  }
  const double wr = w[r];
  if (D.rule == 4) {
    const double* tau = D.tau.val.data();
    for (int32 t = 0; t < D.col.nz; ++t) {
      int32 p = D.col.idx[t];
      if (p == r || a[p] == 0.0) continue;
      double ratio = a[p] / ar;
      double nw = w[p] + ratio * (ratio * wr - 2.0 * tau[p]);
      w[p] = std::max(nw, 1e-12 + ratio * ratio * 1e-4);
    }
  } else {
    for (int32 t = 0; t < D.col.nz; ++t) {
      int32 p = D.col.idx[t];
      if (p == r || a[p] == 0.0) continue;
      double ratio = a[p] / ar;
      w[p] = std::max(w[p], ratio * ratio * wr);
    }
  }
  w[r] = std::max(wr / (ar * ar), D.rule == 4 ? 1e-12 : 1.0);
}

double dsimplex_weighterror(DualState& D) {
  SimWork& W = D.W;
  const int32 m = W.m;
  double worst = 0.0;
  for (int32 p = 0; p < m; ++p) {
    double s = exact_weight(W, p);
    worst = std::max(worst, std::fabs(D.dse[p] - s) / std::max(1.0, s));
  }
  return worst;
}

} // namespace telva
