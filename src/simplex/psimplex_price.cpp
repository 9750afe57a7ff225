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

// Sections of the index range in turn from where the last search stopped: the best of the
// first section whose best scores at least floor goes in, -1 if none does.
int32 scan_sections(SimWork& W, bool weighted, double floor) {
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
    if (pick >= 0 && best >= floor) {
      W.partialstart = (from + len) % n;
      return pick;
    }
  }
  return -1;
}

// Partial pricing: the first section with any candidate.
int32 select_partial(SimWork& W, bool weighted) {
  return scan_sections(W, weighted, 0.0);
}

// The combined rule: a section's best is taken while it scores at least half the best score
// of the last full scan; otherwise the full scan of the weighted rule decides. A full scan is
// also forced every 50 choices so that the reference stays current. Taking the first section
// with any candidate, as plain partial pricing does, can cost many times the iterations of
// the full rule (dfl001: 225,000 against 35,000).
int32 select_combined(SimWork& W, bool weighted) {
  const bool forcefull = W.partialref <= 0.0 || ++W.partialcount >= 50;
  if (!forcefull) {
    int32 pick = scan_sections(W, weighted, 0.5 * W.partialref);
    if (pick >= 0) return pick;
  }
  W.partialcount = 0;
  W.stat->fullselect[W.opt]++;
  double best = 0.0;
  int32 pick = scan_range(W, 0, W.n, weighted, &best);
  W.partialref = best;
  return pick;
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

// 1 + ||B^-1 M_k||^2, the squared length of the edge along which nonbasic k enters, by one
// solve; with framework set, only the coordinates of the devex reference framework count.
double edge_length2(SimWork& W, int32 k, bool framework) {
  simwork_scattercol(W, k, W.colv.data());
  lu_ftran(W.f, W.colv.data(), W.alpha.data());
  double s = framework && !W.refw[k] ? 0.0 : 1.0;
  for (int32 p = 0; p < W.m; ++p) {
    if (!framework || W.refw[W.head[p]]) s += W.alpha[p] * W.alpha[p];
    W.alpha[p] = 0.0, W.colv[p] = 0.0;
  }
  return s;
}

// A new devex reference framework: the nonbasic indices of now, each with weight 1.
void devex_reset(SimWork& W) {
  W.refw.assign(W.n, 0);
  for (int32 k = 0; k < W.n; ++k) {
    W.w[k] = 1.0;
    if (W.pos[k] < 0) W.refw[k] = 1;
  }
  W.baddevex = 0;
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
    return select_combined(W, weighted);
  default:
    return select_full(W, false);
  }
}

void psimplex_initweights(SimWork& W) {
  const int32 m = W.m;
  W.w.assign(W.n, 1.0);
  if (W.weightrule == 5) {
    devex_reset(W);
    return;
  }
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
      W.w[k] = edge_length2(W, k, false);
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

// Steepest edge (rule 4): w_j = 1 + ||B^-1 M_j||^2, the squared length of the edge along
// which j enters. A pivot with entering q and row ratios r_j = rowa_j / p changes the edges to
// eta_j - r_j eta_q, so w_j' = w_j - 2 r_j eta_j'eta_q + r_j^2 w_q, where the cross term
// eta_j'eta_q = M_j' B^-T alpha_q takes one solve for all j; the leaving index gets w_q / p^2.
//
// Devex (rule 5) is the same recurrence with the edges projected on a reference framework of
// indices (the nonbasic ones when it was set): only coordinates of framework indices count, so
// the cross terms use alpha restricted to the rows whose basic index is in the framework, and
// w_q is measured from that restricted column. At a reset every nonbasic weight is exactly 1.
//
// Approximate steepest edge (rule 3) keeps upper estimates without the solve.
void psimplex_updateweights(SimWork& W, int32 q, int32 r, int32 leaving) {
  const int32 rule = W.weightrule;
  if (rule == 0) return;
  const int32 m = W.m;
  const double p = W.alpha[r];
  double wq = 0.0;
  if (rule == 5) {
    wq = W.refw[q] ? 1.0 : 0.0;
    for (int32 i = 0; i < m; ++i) {
      double a = W.alpha[i] != 0.0 && W.refw[W.head[i]] ? W.alpha[i] : 0.0;
      W.colv[i] = a;
      wq += a * a;
    }
    // The weight carried for q against the one measured: far apart means the framework's
    // weights have lost their accuracy.
    if (W.refw[q] && (W.w[q] > 9.0 * wq || W.w[q] < wq / 9.0)) ++W.baddevex;
  } else {
    wq = 1.0;
    for (int32 i = 0; i < m; ++i)
      wq += W.alpha[i] * W.alpha[i];
    if (rule == 4) std::copy(W.alpha.begin(), W.alpha.end(), W.colv.begin());
  }
  const bool solve = rule == 4 || rule == 5;
  // v = B^-T alpha (restricted for devex) gives the cross terms.
  if (solve) lu_btran(W.f, W.colv.data(), W.vse.data());
  const double qref = rule == 5 ? (W.refw[q] ? 1.0 : 0.0) : 1.0;
  double wmax = 0.0;
  for (int32 k = 0; k < W.n; ++k) {
    if (W.pos[k] >= 0 || k == q || W.sk[k] == TVA_SK_FIX) continue;
    double a = W.rowa[k];
    if (a == 0.0) continue;
    double rj = a / p, r2 = rj * rj;
    double nw;
    if (solve) {
      // The new edge has -r_j in q's coordinate and j's own 1: the weight is at least that.
      double g = simwork_dotcol(W, k, W.vse.data());
      nw = std::max(W.w[k] - 2.0 * rj * g + r2 * wq, 1.0 + qref * r2);
    } else {
      nw = std::max(W.w[k], r2 * wq);
    }
    W.w[k] = std::min(nw, 1e20);
    wmax = std::max(wmax, W.w[k]);
  }
  W.w[leaving] = std::min(std::max(wq / (p * p), 1.0), 1e20);
  if (solve) std::fill(W.vse.begin(), W.vse.end(), 0.0);
  if (rule == 5) {
    std::fill(W.colv.begin(), W.colv.end(), 0.0);
    // A framework whose weights have grown far or keep missing the measured ones is replaced
    // by the present nonbasic set.
    if (std::max(wmax, W.w[leaving]) > 1e18 || W.baddevex > 3) devex_reset(W);
  }
}

double psimplex_weighterror(SimWork& W) {
  const int32 rule = W.weightrule;
  if (rule != 4 && rule != 5) return 0.0;
  double worst = 0.0;
  for (int32 k = 0; k < W.n; ++k) {
    if (W.pos[k] >= 0 || W.sk[k] == TVA_SK_FIX || (rule == 5 && !W.refw[k])) continue;
    double s = edge_length2(W, k, rule == 5);
    worst = std::max(worst, std::fabs(W.w[k] - s) / std::max(1.0, s));
  }
  return worst;
}

void psimplex_choosepricing(const SimplexSettings& s, int32 numcon, int32 numvar, int32 numfixedvar,
                            int32 hotstart, int32* if_method, int32* select_method) {
  const int32 r = s.primalrestrict;
  const double rho = ((numvar - numfixedvar) + 1.5 * numcon) / std::max(1, numcon);
  int32 ifm = 1, sel = 1;
  switch (s.primalselect) {
  case 0:
    if (hotstart == 0) {
      // Sections of the columns scored with devex weights. Plain partial pricing or the
      // approximate steepest edge take 4 to 25 times the iterations on degenerate problems
      // (d6cube, fit2d, qap12); devex is never far behind them elsewhere.
      ifm = 5, sel = 10;
    } else {
      if (rho >= 60.0)
        ifm = 1, sel = 1;
      else if (rho >= 10.0)
        ifm = 1, sel = 10;
      else if (s.maxiter[kSimPrimal] < 2000 && r < 50)
        ifm = 3, sel = 3;
      else
        ifm = 7, sel = 10;
    }
    break;
  case 1:
    sel = 1, ifm = 1;
    break;
  case 2:
  case 3:
  case 4:
  case 5:
    sel = r > 50 ? s.primalselect + 4 : s.primalselect;
    ifm = sel;
    break;
  case 6:
  case 7:
  case 8:
  case 9:
    sel = ifm = s.primalselect;
    break;
  default:
    sel = ifm = r < 30 ? 3 : 7;
    break;
  }
  if (ifm == 0) ifm = 1;
  *if_method = ifm;
  *select_method = sel;
}

} // namespace telva
