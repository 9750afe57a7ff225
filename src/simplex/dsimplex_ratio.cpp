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
  const int32 nc = (int32)D.cand.size();
  DCand* c = D.cand.data();
  const double tols = W.tols;
  // The group c[s..e): it passes to its other bounds while the slope stays positive (true),
  // or the entering index is chosen from it.
  int32 enter = -1;
  auto decide = [&](int32 s, int32 e) {
    double reduce = 0.0, gbig = 0.0;
    for (int32 i = s; i < e; ++i) {
      const int32 k = c[i].k;
      reduce += sim_isinf(W.lb[k]) || sim_isinf(W.ub[k]) ? kSimInf : c[i].a * (W.ub[k] - W.lb[k]);
      gbig = std::max(gbig, c[i].a);
    }
    // The last group passed over leaves no candidate: that proves infeasibility only when the
    // slope stays clearly positive, so a remaining slope within the primal tolerance enters.
    const double need = e == nc ? W.tolx : 0.0;
    if (slope - reduce > need) {
      for (int32 i = s; i < e; ++i)
        D.flips.push_back(c[i].k);
      slope -= reduce;
      return true;
    }
    // The largest pivot, ties broken at random; a pivot that is unstable against the row's
    // largest entry is refused if a stable one is in the group.
    double bestscore = -1.0;
    for (int32 i = s; i < e; ++i) {
      double score = c[i].a * (1.0 + 1e-3 * simplex_random(W.stat));
      if (unstable(c[i].a, big) && c[i].a < gbig) score *= 1e-3;
      if (score > bestscore) bestscore = score, enter = i;
    }
    return false;
  };
  // Most rows end in their first group or two: those are found by scans of the rest, each
  // moving its group to the front of what is left.
  int32 s = 0;
  for (int32 pass = 0; pass < 4 && s < nc; ++pass) {
    double tmax = kSimInf;
    for (int32 i = s; i < nc; ++i)
      tmax = std::min(tmax, c[i].ratio + tols / c[i].a);
    int32 e = s;
    for (int32 i = s; i < nc; ++i)
      if (c[i].ratio <= tmax) std::swap(c[i], c[e++]);
    if (!decide(s, e)) {
      *step = c[enter].ratio;
      return c[enter].k;
    }
    s = e;
  }
  // Long runs of bound flips: the rest in order of ratio, and the Harris bound of the group
  // starting at s is the smallest relaxed ratio from s on, kept as suffix minima, so that each
  // further group costs its own length only.
  if (s < nc) {
    std::sort(c + s, c + nc, [](const DCand& x, const DCand& y) { return x.ratio < y.ratio; });
    SysVector<double>& relaxed = D.relaxed;
    relaxed.resize(nc + 1);
    relaxed[nc] = kSimInf;
    for (int32 i = nc - 1; i >= s; --i)
      relaxed[i] = std::min(relaxed[i + 1], c[i].ratio + tols / c[i].a);
    while (s < nc) {
      int32 e = s;
      while (e < nc && c[e].ratio <= relaxed[s])
        ++e;
      if (!decide(s, e)) {
        *step = c[enter].ratio;
        return c[enter].k;
      }
      s = e;
    }
  }
  return -1;
}

} // namespace telva
