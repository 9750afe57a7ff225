// Pricing of the primal simplex: the entering candidate by Dantzig's rule over all or over a
// cyclic section of the indices, by steepest edge, devex or approximate steepest edge over all
// indices, or from a queue of the best candidates that a full scan left behind (the restricted
// rules). The weights of the three weighted rules are updated here after every pivot.
#include <algorithm>
#include <cmath>

#include "simplex/simplex_work.h"
#include "telva.h"

namespace telva {

namespace {

// How far index k would improve the objective per unit of its move: |d_k| when its status
// lets it move in the improving direction by more than the dual tolerance, else 0.
double attraction(const SimWork& W, int32 k) {
  if (W.pos[k] >= 0 || W.rejected[k]) return 0.0;
  double dk = W.d[k];
  switch (W.sk[k]) {
  case TVA_SK_LOW:
    return dk < -W.tols ? -dk : 0.0;
  case TVA_SK_UPR:
    return dk > W.tols ? dk : 0.0;
  case TVA_SK_SUPBAS:
    return std::fabs(dk) > W.tols ? std::fabs(dk) : 0.0;
  default:
    return 0.0;
  }
}

double score(const SimWork& W, int32 k, bool weighted) {
  double a = attraction(W, k);
  if (a == 0.0) return 0.0;
  return weighted ? a * a / W.w[k] : a * a;
}

int32 scan_range(const SimWork& W, int32 from, int32 to, bool weighted, double* best) {
  int32 pick = -1;
  for (int32 k = from; k < to; ++k) {
    double s = score(W, k, weighted);
    if (s > *best) *best = s, pick = k;
  }
  return pick;
}

int32 select_full(SimWork& W, bool weighted) {
  W.stat->fullselect[W.opt]++;
  double best = 0.0;
  return scan_range(W, 0, W.n, weighted, &best);
}

// Sections of the index range in turn from where the last search stopped; the best of the
// first section with a candidate goes in.
int32 select_partial(SimWork& W, bool weighted) {
  W.stat->partialselect[W.opt]++;
  const int32 n = W.n;
  const int32 chunk = std::max(100, n / 10);
  int32 start = W.partialstart % std::max(1, n);
  for (int32 seen = 0; seen < n; seen += chunk) {
    int32 from = (start + seen) % n;
    int32 len = std::min(chunk, n - seen);
    double best = 0.0;
    int32 pick = scan_range(W, from, std::min(n, from + len), weighted, &best);
    if (from + len > n) {
      int32 p2 = scan_range(W, 0, from + len - n, weighted, &best);
      if (p2 >= 0) pick = p2;
    }
    if (pick >= 0) {
      W.partialstart = (from + len) % n;
      return pick;
    }
  }
  return -1;
}

// The queue keeps the best candidates of the last full scan. It is rebuilt when it runs dry
// or after a period, so that a full recomputation of the scores is rare.
void rebuild_queue(SimWork& W, bool weighted) {
  W.stat->fullselect[W.opt]++;
  const int32 cap = std::max(20, std::min(1000, W.n / 10));
  W.que.clear();
  W.qscore.clear();
  for (int32 k = 0; k < W.n; ++k) {
    double s = score(W, k, weighted);
    if (s > 0.0) W.que.push_back(k), W.qscore.push_back(s);
  }
  if ((int32)W.que.size() > cap) {
    SysVector<int32> order(W.que.size(), 0, SysAllocator<int32>(W.sys));
    for (size_t i = 0; i < order.size(); ++i)
      order[i] = (int32)i;
    std::nth_element(order.begin(), order.begin() + cap, order.end(),
                     [&](int32 a, int32 b) { return W.qscore[a] > W.qscore[b]; });
    SysVector<int32> keep(cap, 0, SysAllocator<int32>(W.sys));
    for (int32 i = 0; i < cap; ++i)
      keep[i] = W.que[order[i]];
    W.que.assign(keep.begin(), keep.end());
  }
  W.quebuilt = W.stat->iter[W.opt];
}

int32 select_queue(SimWork& W, bool weighted) {
  const int32 period = std::max(20, std::min(500, W.m / 10 + 20));
  if (W.quebuilt < 0 || W.stat->iter[W.opt] - W.quebuilt >= period) rebuild_queue(W, weighted);
  for (int32 round = 0; round < 2; ++round) {
    W.stat->quelensum[W.opt] += (int64)W.que.size();
    double best = 0.0;
    int32 pick = -1;
    size_t out = 0;
    for (size_t i = 0; i < W.que.size(); ++i) {
      int32 k = W.que[i];
      double s = score(W, k, weighted);
      if (s <= 0.0) continue; // no longer attractive: leaves the queue
      W.que[out++] = k;
      if (s > best) best = s, pick = k;
    }
    W.que.resize(out);
    if (pick >= 0) return pick;
    if (round == 0) rebuild_queue(W, weighted);
  }
  return -1;
}

} // namespace

int32 psimplex_select(SimWork& W) {
  const bool weighted = W.weightrule != 0;
  switch (W.selmethod) {
  case 1:
    return select_partial(W, false);
  case 2:
    return select_full(W, false);
  case 3:
  case 4:
  case 5:
    return select_full(W, true);
  case 6:
    return select_queue(W, false);
  case 7:
  case 8:
  case 9:
    return select_queue(W, true);
  case 10:
    return select_partial(W, weighted);
  default:
    return select_full(W, false);
  }
}

void psimplex_initweights(SimWork& W) {
  const int32 m = W.m;
  W.w.assign(W.n, 1.0);
  if (W.weightrule == 5) W.refw.assign(W.n, 1);
  if (W.weightrule != 4) return;
  // Steepest edge: the weight of a nonbasic index is 1 + ||B^-1 M_k||^2. On the slack basis
  // (B = -I) that is 1 + ||M_k||^2; otherwise it takes a solve per index when that is cheap.
  bool slackbasis = true;
  for (int32 p = 0; p < m && slackbasis; ++p)
    slackbasis = W.head[p] < m;
  bool exact = !slackbasis && (int64)m * (W.n - m) <= 20000000;
  for (int32 k = 0; k < W.n; ++k) {
    if (W.pos[k] >= 0) continue;
    if (exact) {
      simwork_scattercol(W, k, W.colv.data());
      lu_ftran(W.f, W.colv.data(), W.alpha.data());
      double s = 1.0;
      for (int32 p = 0; p < m; ++p)
        s += W.alpha[p] * W.alpha[p], W.alpha[p] = 0.0;
      W.w[k] = s;
    } else if (k < m) {
      W.w[k] = 2.0;
    } else {
      double s = 1.0;
      for (int32 p = W.aptr[k - m]; p < W.aptr[k - m + 1]; ++p)
        s += W.aval[p] * W.aval[p];
      W.w[k] = s;
    }
  }
}

void psimplex_updateweights(SimWork& W, int32 q, int32 r, int32 leaving) {
  const int32 rule = W.weightrule;
  if (rule == 0) return;
  const int32 m = W.m;
  const double p = W.alpha[r];
  double sq = 0.0;
  for (int32 i = 0; i < m; ++i)
    sq += W.alpha[i] * W.alpha[i];
  const double gq = 1.0 + sq; // squared length of the entering edge
  if (rule == 4) {
    // v = B^-T alpha gives the cross terms M_j' B^-T B^-1 M_q of the update.
    std::copy(W.alpha.begin(), W.alpha.end(), W.colv.begin());
    lu_btran(W.f, W.colv.data(), W.vse.data());
  }
  double wq = W.w[q];
  double wmax = 0.0;
  for (int32 k = 0; k < W.n; ++k) {
    if (W.pos[k] >= 0 || k == q || W.sk[k] == TVA_SK_FIX) continue;
    double a = W.rowa[k];
    if (a == 0.0) continue;
    double rj = a / p, r2 = rj * rj;
    double nw;
    if (rule == 4) {
      double g = simwork_dotcol(W, k, W.vse.data());
      nw = std::max(W.w[k] - 2.0 * rj * g + r2 * gq, 1.0 + r2);
    } else if (rule == 5) {
      nw = std::max(W.w[k], r2 * wq);
    } else {
      nw = std::max(W.w[k], r2 * gq);
    }
    W.w[k] = std::min(nw, 1e20);
    wmax = std::max(wmax, W.w[k]);
  }
  if (rule == 5)
    W.w[leaving] = std::max(wq / (p * p), 1.0);
  else
    W.w[leaving] = std::min(std::max(gq / (p * p), 1.0), 1e20);
  if (rule == 4) std::fill(W.vse.begin(), W.vse.end(), 0.0);
  // Devex weights only grow; when they have grown far, a new reference framework starts.
  if (rule == 5 && std::max(wmax, W.w[leaving]) > 1e6) std::fill(W.w.begin(), W.w.end(), 1.0);
}

} // namespace telva
