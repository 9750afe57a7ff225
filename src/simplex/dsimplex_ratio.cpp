// The bound-flipping ratio test of the dual simplex. As the dual step t grows, the reduced cost
// of each candidate reaches zero at its ratio; a boxed candidate passed over moves to its other
// bound, which lowers the slope of the dual objective by |alpha| times its range. The step stops
// at the group of breakpoints where the slope turns negative, and there the candidate with the
// largest pivot enters (Harris: a group holds every candidate whose exact ratio lies within the
// smallest ratio relaxed by the dual tolerance).
#include <algorithm>
#include <cmath>

#include "simplex/dsimplex.h"

namespace telva {

namespace {

// A pivot is unstable when it is small against the largest entry seen in the row.
bool unstable(double a, double big) {
  return (a < 1e-4 && big > 5.0 * a) || (a < 1e-3 && big > 10.0 * a) ||
         (a < 1.0 && big > 50.0 * a) || (a < 10.0 && big > 1000.0 * a);
}

} // namespace

int32 dsimplex_minratio_boundswap(DualState& D, int32 dir, double slope, double* step) {
  SimWork& W = D.W;
  const double* row = D.row.val.data();
  const double tolpiv = W.tolpiv;
  D.cand.clear();
  D.flips.clear();
  double big = 0.0;
  // Candidates: nonbasic, not fixed, whose reduced cost d_k + t g_k (g = dir alpha_rk) falls
  // toward infeasibility as t grows.
  for (int32 t = 0; t < D.row.nz; ++t) {
    int32 k = D.row.idx[t];
    if (W.pos[k] >= 0) continue;
    double g = dir * row[k];
    if (std::fabs(g) <= tolpiv) continue;
    if (W.lb[k] == W.ub[k]) continue;
    int32 s = W.sk[k];
    double dk = W.d[k], feas;
    if (s == TVA_SK_LOW) {
      if (g > 0.0) continue;
      feas = dk;
    } else if (s == TVA_SK_UPR) {
      if (g < 0.0) continue;
      feas = -dk;
    } else { // free or between bounds: any move breaks d_k = 0
      feas = g < 0.0 ? dk : -dk;
    }
    double a = std::fabs(g);
    big = std::max(big, a);
    D.cand.push_back({k, a, std::max(feas, 0.0) / a});
  }
  int32 nrem = (int32)D.cand.size();
  DCand* c = D.cand.data();
  const double tols = W.tols;
  int32 enter = -1;
  while (nrem > 0) {
    double tmax = kSimInf;
    for (int32 i = 0; i < nrem; ++i)
      tmax = std::min(tmax, c[i].ratio + tols / c[i].a);
    // The group: candidates with ratio within tmax, moved to the front.
    int32 ng = 0;
    double reduce = 0.0, gbig = 0.0;
    for (int32 i = 0; i < nrem; ++i) {
      if (c[i].ratio > tmax) continue;
      std::swap(c[i], c[ng]);
      int32 k = c[ng].k;
      double range = W.ub[k] - W.lb[k];
      reduce += sim_isinf(W.lb[k]) || sim_isinf(W.ub[k]) ? kSimInf : c[ng].a * range;
      gbig = std::max(gbig, c[ng].a);
      ++ng;
    }
    // The last group passed over leaves no candidate: that proves infeasibility only when the
    // slope stays clearly positive, so a remaining slope within the primal tolerance enters.
    const double need = ng == nrem ? W.tolx : 0.0;
    if (slope - reduce > need) {
      // The whole group passes to its other bounds and the slope stays positive.
      for (int32 i = 0; i < ng; ++i)
        D.flips.push_back(c[i].k);
      slope -= reduce;
      // Move the tail over the group.
      int32 keep = nrem - ng;
      for (int32 i = 0; i < keep; ++i)
        c[i] = c[ng + i];
      nrem = keep;
      continue;
    }
    // Enter from this group: the largest pivot, ties broken at random; a pivot that is
    // unstable against the row's largest entry is refused if a stable one is in the group.
    double bestscore = -1.0;
    for (int32 i = 0; i < ng; ++i) {
      double score = c[i].a * (1.0 + 1e-3 * simplex_random(W.stat));
      if (unstable(c[i].a, big) && c[i].a < gbig) score *= 1e-3;
      if (score > bestscore) bestscore = score, enter = i;
    }
    *step = c[enter].ratio;
    return c[enter].k;
  }
  return -1;
}

} // namespace telva
