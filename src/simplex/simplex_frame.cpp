// The frame of a simplex run: the working form is built from the caller's problem (scaled,
// a maximization turned into a minimization), the start basis comes from status keys or is the
// slack basis, the primal simplex runs, and the answer is unscaled and handed back with status
// keys, primal and dual values, statuses and certificates.
#include <algorithm>
#include <cmath>
#include <new>

#include "simplex/dsimplex.h"
#include "simplex/simplex_work.h"
#include "telva.h"

namespace telva {

void psimplex_perturb(SimWork& W);

namespace {

double scale_bound(double b, double f) {
  return sim_isinf(b) ? b : b * f;
}

// Dual values of the true costs for the current basis: y from B'y = c_B, d = c - M'y.
void duals_truecost(SimWork& W) {
  for (int32 p = 0; p < W.m; ++p)
    W.colv[p] = W.cost[W.head[p]];
  if (W.m > 0) lu_btran(W.f, W.colv.data(), W.y.data());
  for (int32 k = 0; k < W.n; ++k)
    W.d[k] = W.pos[k] >= 0 ? 0.0 : W.cost[k] - simwork_dotcol(W, k, W.y.data());
}

// Splits a dual value into its lower and upper parts; sgn flips them for a maximization.
void split(double v, double sgn, double* lo, double* up) {
  if (lo) *lo = sgn * std::max(v, 0.0);
  if (up) *up = sgn * std::max(-v, 0.0);
}

// Bounds that cross: the problem is infeasible, and a row or column with lower above upper is
// its own certificate (both parts 1, y 0).
bool crossed_bounds(const SimplexLp& lp, SimplexStat* stat, SimplexSolution* sol) {
  bool crossed = false;
  for (int32 i = 0; i < lp.numcon; ++i)
    crossed |= lp.blc[i] > lp.buc[i];
  for (int32 j = 0; j < lp.numvar; ++j)
    crossed |= lp.blx[j] > lp.bux[j];
  if (!crossed) return false;
  for (int32 i = 0; i < lp.numcon; ++i) {
    double c = lp.blc[i] > lp.buc[i] ? 1.0 : 0.0;
    if (sol->y) sol->y[i] = 0.0;
    if (sol->slc) sol->slc[i] = c;
    if (sol->suc) sol->suc[i] = c;
    if (sol->xc) sol->xc[i] = 0.0;
    if (sol->skc) sol->skc[i] = c ? TVA_SK_INF : TVA_SK_UNK;
  }
  for (int32 j = 0; j < lp.numvar; ++j) {
    double c = lp.blx[j] > lp.bux[j] ? 1.0 : 0.0;
    if (sol->slx) sol->slx[j] = c;
    if (sol->sux) sol->sux[j] = c;
    if (sol->xx) sol->xx[j] = 0.0;
    if (sol->skx) sol->skx[j] = c ? TVA_SK_INF : TVA_SK_UNK;
  }
  stat->prosta = TVA_PRO_STA_PRIM_INFEAS;
  stat->solsta = TVA_SOL_STA_PRIM_INFEAS_CER;
  return true;
}

// No rows: every variable goes to its cheapest bound, or the problem is unbounded along a
// variable whose cost direction has no bound.
void solve_norows(const SimplexLp& lp, SimplexStat* stat, SimplexSolution* sol) {
  const double sgn = lp.maximize ? -1.0 : 1.0;
  int32 unb = -1;
  double obj = lp.cfix;
  for (int32 j = 0; j < lp.numvar && unb < 0; ++j) {
    double c = sgn * (lp.c ? lp.c[j] : 0.0), l = lp.blx[j], u = lp.bux[j];
    double v = 0.0;
    int32 key = TVA_SK_SUPBAS;
    if (c > 0.0) {
      if (sim_isinf(l)) unb = j;
      v = l, key = TVA_SK_LOW;
    } else if (c < 0.0) {
      if (sim_isinf(u)) unb = j;
      v = u, key = TVA_SK_UPR;
    } else if (!sim_isinf(l)) {
      v = l, key = TVA_SK_LOW;
    } else if (!sim_isinf(u)) {
      v = u, key = TVA_SK_UPR;
    }
    if (key != TVA_SK_SUPBAS && l == u) key = TVA_SK_FIX;
    if (sol->xx) sol->xx[j] = v;
    if (sol->skx) sol->skx[j] = key;
    split(c, sgn, sol->slx ? &sol->slx[j] : nullptr, sol->sux ? &sol->sux[j] : nullptr);
    obj += (lp.c ? lp.c[j] : 0.0) * v;
  }
  if (unb >= 0) {
    double c = sgn * lp.c[unb];
    for (int32 j = 0; j < lp.numvar; ++j) {
      if (sol->xx) sol->xx[j] = 0.0;
      if (sol->skx) sol->skx[j] = TVA_SK_UNK;
      if (sol->slx) sol->slx[j] = 0.0;
      if (sol->sux) sol->sux[j] = 0.0;
    }
    if (sol->xx) sol->xx[unb] = c < 0.0 ? 1.0 : -1.0;
    stat->prosta = TVA_PRO_STA_DUAL_INFEAS;
    stat->solsta = TVA_SOL_STA_DUAL_INFEAS_CER;
    sol->pobj = 0.0;
    return;
  }
  stat->prosta = TVA_PRO_STA_PRIM_AND_DUAL_FEAS;
  stat->solsta = TVA_SOL_STA_OPTIMAL;
  sol->pobj = obj;
}

// The working form: scaled matrix, bounds and minimization costs.
void build_workingform(SimWork& W, const SimplexLp& lp, const double* rs, const double* cs) {
  const int32 m = lp.numcon, nv = lp.numvar, n = m + nv;
  W.m = m, W.nv = nv, W.n = n;
  W.aptr.assign(lp.aptr, lp.aptr + nv + 1);
  const int32 base = lp.aptr[0];
  for (auto& p : W.aptr)
    p -= base;
  W.asub.assign(lp.asub + base, lp.asub + lp.aptr[nv]);
  W.aval.resize(W.asub.size());
  for (int32 j = 0; j < nv; ++j)
    for (int32 p = W.aptr[j]; p < W.aptr[j + 1]; ++p)
      W.aval[p] = lp.aval[p + base] * rs[W.asub[p]] * cs[j];
  simplex_updateacolt(W);
  const double sgn = lp.maximize ? -1.0 : 1.0;
  W.cost.assign(n, 0.0);
  W.tlb.resize(n), W.tub.resize(n);
  for (int32 i = 0; i < m; ++i)
    W.tlb[i] = scale_bound(lp.blc[i], rs[i]), W.tub[i] = scale_bound(lp.buc[i], rs[i]);
  for (int32 j = 0; j < nv; ++j) {
    W.cost[m + j] = lp.c ? sgn * lp.c[j] * cs[j] : 0.0;
    W.tlb[m + j] = scale_bound(lp.blx[j], 1.0 / cs[j]);
    W.tub[m + j] = scale_bound(lp.bux[j], 1.0 / cs[j]);
  }
  W.lb = W.tlb, W.ub = W.tub;
  W.x.assign(n, 0.0), W.d.assign(n, 0.0), W.y.assign(m, 0.0), W.w.assign(n, 1.0);
  W.head.assign(m, 0), W.pos.assign(n, -1), W.sk.assign(n, TVA_SK_UNK);
  W.rejected.assign(n, 0);
  W.colv.assign(m, 0.0), W.alpha.assign(m, 0.0), W.rho.assign(m, 0.0), W.vse.assign(m, 0.0);
  W.rowa.assign(n, 0.0), W.rowg.assign(n, 0.0);
}

// The start basis: from the status keys on a hot start (basic keys first come, first served,
// filled up with logicals), else all logicals with the variables on their bound nearest 0.
void start_basis(SimWork& W, const SimplexSettings& S, const SimplexSolution* sol, const double* rs,
                 const double* cs) {
  const int32 m = W.m;
  int32 nb = 0;
  bool hot = S.hotstart != 0 && sol->skc && sol->skx;
  for (int32 k = 0; k < W.n; ++k) {
    int32 key = TVA_SK_UNK;
    double v = 0.0;
    if (hot) {
      key = k < m ? sol->skc[k] : sol->skx[k - m];
      if (sol->xc && k < m) v = sol->xc[k] * rs[k];
      if (sol->xx && k >= m) v = sol->xx[k - m] / cs[k - m];
    } else {
      key = k < m ? TVA_SK_BAS : TVA_SK_UNK;
    }
    if (key == TVA_SK_BAS && nb < m) {
      W.head[nb] = k, W.pos[k] = nb++, W.sk[k] = TVA_SK_BAS, W.x[k] = v;
      continue;
    }
    switch (key) {
    case TVA_SK_LOW:
      simplex_setnonbasic(W, k, sim_isinf(W.lb[k]) ? v : W.lb[k]);
      break;
    case TVA_SK_UPR:
      simplex_setnonbasic(W, k, sim_isinf(W.ub[k]) ? v : W.ub[k]);
      break;
    case TVA_SK_SUPBAS:
      if (W.lb[k] < W.ub[k]) {
        W.pos[k] = -1, W.sk[k] = TVA_SK_SUPBAS;
        W.x[k] = std::clamp(v, W.lb[k], W.ub[k]);
        break;
      }
      [[fallthrough]];
    default:
      simplex_setnonbasic(W, k, v);
      break;
    }
  }
  for (int32 i = 0; i < m && nb < m; ++i)
    if (W.pos[i] < 0) W.head[nb] = i, W.pos[i] = nb++, W.sk[i] = TVA_SK_BAS;
}

// A Farkas certificate may carry rounding noise on a side whose bound is infinite, where
// any nonzero part would spoil the bound sum: such parts are the noise and become 0.
void clean_certificate(double lo, double up, double* sl, double* su, int32 k) {
  if (sl && sim_isinf(lo)) sl[k] = 0.0;
  if (su && sim_isinf(up)) su[k] = 0.0;
}

void extract(SimWork& W, const SimplexLp& lp, const double* rs, const double* cs, SimplexStat* st,
             SimplexSolution* sol) {
  const int32 m = W.m;
  const double sgn = lp.maximize ? -1.0 : 1.0;
  double obj = lp.cfix;
  for (int32 j = 0; j < W.nv; ++j)
    obj += (lp.c ? lp.c[j] : 0.0) * W.x[m + j] * cs[j];
  sol->pobj = obj;
  const bool ray = st->solsta == TVA_SOL_STA_DUAL_INFEAS_CER;
  const bool farkas = st->solsta == TVA_SOL_STA_PRIM_INFEAS_CER;
  for (int32 i = 0; i < m; ++i) {
    if (sol->skc) sol->skc[i] = W.sk[i];
    if (sol->xc) sol->xc[i] = (ray ? W.rowg[i] : W.x[i]) / rs[i];
    double yi = W.y[i] * rs[i];
    if (sol->y) sol->y[i] = farkas ? yi : sgn * yi;
    // The dual of a row's logical is y_i itself (its column is -e_i, its cost 0).
    split(yi, farkas ? 1.0 : sgn, sol->slc ? &sol->slc[i] : nullptr,
          sol->suc ? &sol->suc[i] : nullptr);
    if (farkas) clean_certificate(lp.blc[i], lp.buc[i], sol->slc, sol->suc, i);
  }
  for (int32 j = 0; j < W.nv; ++j) {
    int32 k = m + j;
    if (sol->skx) sol->skx[j] = W.sk[k];
    if (sol->xx) sol->xx[j] = (ray ? W.rowg[k] : W.x[k]) * cs[j];
    // A Farkas certificate carries -a_j'y for every column, basic ones included.
    double dj = farkas ? -simwork_dotcol(W, k, W.y.data()) : W.d[k];
    split(dj / cs[j], farkas ? 1.0 : sgn, sol->slx ? &sol->slx[j] : nullptr,
          sol->sux ? &sol->sux[j] : nullptr);
    if (farkas) clean_certificate(lp.blx[j], lp.bux[j], sol->slx, sol->sux, j);
  }
}

// Whether an optimum of the scaled problem misses the tolerances once unscaled: a small reduced
// cost of a column with a small scale factor can be a large one of the caller's problem.
bool unscaled_violation(const SimWork& W, const double* rs, const double* cs) {
  for (int32 k = 0; k < W.n; ++k) {
    double f = k < W.m ? 1.0 / rs[k] : cs[k - W.m]; // unscaled value = f * scaled value
    double v = W.x[k];
    if (v < W.tlb[k] && (W.tlb[k] - v) * f > W.tolx) return true;
    if (v > W.tub[k] && (v - W.tub[k]) * f > W.tolx) return true;
    if (W.pos[k] >= 0) continue;
    // Reduced costs are held to the primal's polish tolerance (a hundredth of the caller's):
    // one just within the caller's tolerance can still move the objective too far.
    double d = W.d[k] / f, tols = 0.01 * W.tols;
    if ((W.sk[k] == TVA_SK_LOW && d < -tols) || (W.sk[k] == TVA_SK_UPR && d > tols) ||
        (W.sk[k] == TVA_SK_SUPBAS && std::fabs(d) > tols))
      return true;
  }
  return false;
}

// Sums and counts of the primal infeasibilities of the basics and of the dual infeasibilities
// of the nonbasics (true costs) at the start basis.
void start_infeasibilities(SimWork& W, double* psum, int32* pcnt, double* dsum, int32* dcnt) {
  simplex_recomputexb(W);
  simplex_basicinfeas(W, psum, pcnt);
  duals_truecost(W);
  *dsum = 0.0, *dcnt = 0;
  for (int32 k = 0; k < W.n; ++k) {
    if (W.pos[k] >= 0) continue;
    double v = dsimplex_dualviolation(W, k, W.d[k]);
    if (v > W.tols) *dsum += v, ++*dcnt;
  }
}

// The optimizer of a free choice: from the shape of the problem and the infeasibilities of the
// start basis. Primal for very wide problems and for primal feasible starts that are not dual
// feasible, dual otherwise.
int32 choose_optimizer(SimWork& W, const SimplexSettings& S) {
  if (S.optimizer != kSimFree) return S.optimizer;
  const double m = W.m, nv = W.nv;
  double psum = 0.0, dsum = 0.0;
  int32 pcnt = 0, dcnt = 0;
  start_infeasibilities(W, &psum, &pcnt, &dsum, &dcnt);
  if (S.hotstart != 0) {
    if (pcnt == 0) return kSimPrimal;
    if (dcnt == 0) return kSimDual;
    return dsum * pcnt * (dcnt + 1.0) <= psum * dcnt ? kSimDual : kSimPrimal;
  }
  if ((nv + 1.0) / (m + 1.0) > 100.0 || (nv > 10.0 * m && psum == 0.0 && dsum != 0.0))
    return kSimPrimal;
  if (2.0 * nv < m) return kSimDual;
  if (psum == 0.0 && dsum != 0.0) return kSimPrimal;
  return kSimDual;
}

void set_tolerances(SimWork& W, const SimplexSettings& S, int32 opt) {
  W.opt = opt;
  W.tolx = S.tolx[opt], W.tols = S.tols[opt], W.tolpiv = S.tolpiv[opt];
  // The dual lets reduced costs drift within its tolerance (Harris margin, shifts); keeping
  // that drift a decade below the caller's tolerance keeps the objective of badly scaled
  // problems with large primal values accurate.
  // The clean-up pass on the unscaled problem (hot start 1) works at the same accuracy.
  if (opt != kSimPrimal || S.hotstart == 1) W.tols = 0.1 * S.tols[opt];
  W.harris = 0.5 * W.tolx;
}

// Runs the chosen optimizer. The dual (and the primal-dual alternation, a dual pass followed by
// the primal) hands an end that is not a proof to the primal from its last basis, with no
// perturbation: that cleans up superbasics, changed costs and dual infeasibility.
int32 run_optimizers(SimWork& W, const SimplexSettings& S, int32 choice) {
  SimplexStat* st = W.stat;
  if (choice == kSimPrimal) {
    set_tolerances(W, S, kSimPrimal);
    if (S.hotstart == 0 && S.maxiter[kSimPrimal] >= 40) psimplex_perturb(W);
    psimplex_initweights(W);
    psimplex_dupvecfeasible(W);
    return simplex_primaloptimizer(W);
  }
  set_tolerances(W, S, choice == kSimPrimalDual ? kSimPrimalDual : kSimDual);
  int32 code = simplex_dualoptimizerintern(W);
  if (code != kSimOk || st->solsta == TVA_SOL_STA_OPTIMAL ||
      st->solsta == TVA_SOL_STA_PRIM_INFEAS_CER)
    return code;
  set_tolerances(W, S, kSimPrimal);
  W.tols = 0.1 * S.tols[kSimPrimal]; // the clean-up keeps the dual's accuracy
  int32 inserted = 0;
  code = simplex_refactor(W, &inserted);
  if (code) return code;
  psimplex_initweights(W);
  psimplex_dupvecfeasible(W);
  return simplex_primaloptimizer(W);
}

int32 run(sysenv* sys, const SimplexSettings& S, SimplexStat* st, const SimplexLp& lp,
          SimplexSolution* sol, SimplexProgressFunc progress, void* handle, SimplexBasis* basis,
          bool* needclean) {
  const int32 m = lp.numcon, nv = lp.numvar;
  SimWork W(sys);
  W.set = &S, W.stat = st, W.opt = kSimPrimal;
  W.progress = progress, W.handle = handle, W.maximize = lp.maximize != 0, W.cfix = lp.cfix;
  W.t0 = std::chrono::steady_clock::now();
  if (crossed_bounds(lp, st, sol)) return kSimOk;
  if (m < 1) {
    solve_norows(lp, st, sol);
    return kSimOk;
  }
  SysVector<double> rs(m, 1.0, SysAllocator<double>(sys)), cs(nv, 1.0, SysAllocator<double>(sys));
  if (S.scaling != 1 && !simplex_computescalingcoldstart(sys, S, lp, rs.data(), cs.data()))
    return kSimSpace;
  build_workingform(W, lp, rs.data(), cs.data());
  W.tolx = S.tolx[kSimPrimal], W.tols = S.tols[kSimPrimal], W.tolpiv = S.tolpiv[kSimPrimal];
  W.harris = 0.5 * W.tolx;
  start_basis(W, S, sol, rs.data(), cs.data());
  if (S.dupvec != 0) simplex_finddupvec(W);
  if (lu_alloc(sys, m, m, &W.f) != kLuOk) return kSimSpace;
  lu_settol(W.f, 2, S.lutolrel);

  int32 nfixed = 0;
  for (int32 j = 0; j < nv; ++j)
    nfixed += lp.blx[j] == lp.bux[j];
  psimplex_choosepricing(S, m, nv, nfixed, S.hotstart, &W.ifmethod, &W.selmethod);
  auto base = [](int32 r) { return r >= 6 && r <= 9 ? r - 4 : r; };
  W.weightrule = W.selmethod == 10 ? base(W.ifmethod) : base(W.selmethod);
  if (W.weightrule < 3 || W.weightrule > 5) W.weightrule = 0;
  st->selectmethod = W.selmethod, st->ifmethod = W.ifmethod;

  if (S.hotstart == 0 && S.crash) st->crashed = simplex_crash(W);
  int32 inserted = 0, code = kSimOk;
  if (S.hotstart != 0 && S.hotstartlu && simplex_verifylu(W, basis)) {
    st->hotstartlu = 1; // the kept factors of this very basis stand in for a factorization
  } else {
    code = simplex_refactor(W, &inserted);
    if (code) return code;
  }
  // A start from keys that the factorization had to repair much is replaced by a crash.
  if (S.hotstart != 0 && 2 * inserted > m) {
    for (int32 k = 0; k < W.n; ++k)
      if (W.pos[k] >= 0 && k >= m) simplex_setnonbasic(W, k, W.x[k]);
    for (int32 i = 0; i < m; ++i)
      W.head[i] = i, W.pos[i] = i, W.sk[i] = TVA_SK_BAS;
    st->crashed = simplex_crash(W);
    code = simplex_refactor(W, &inserted);
    if (code) return code;
  }
  int32 rank = 0;
  lu_rank(W.f, &rank);
  st->initbasisrank = rank - inserted;
  code = run_optimizers(W, S, choose_optimizer(W, S));
  if (code == kSimSpace) return code;
  // Dual values of the true costs, from fresh factors unless the run ended with a proof.
  if (st->solsta != TVA_SOL_STA_PRIM_INFEAS_CER) {
    if (st->solsta != TVA_SOL_STA_OPTIMAL) {
      if (st->solsta == TVA_SOL_STA_UNKNOWN) psimplex_removeperturbation(W);
      int32 c2 = simplex_refactor(W, &inserted);
      if (c2) return c2;
      if (st->solsta != TVA_SOL_STA_DUAL_INFEAS_CER) simplex_recomputexb(W);
      // A run cut short by a limit keeps what it can claim: a primal feasible point.
      double sum = 0.0;
      int32 cnt = 0;
      simplex_basicinfeas(W, &sum, &cnt);
      if (st->solsta == TVA_SOL_STA_UNKNOWN && cnt == 0) {
        st->prosta = TVA_PRO_STA_PRIM_FEAS;
        st->solsta = TVA_SOL_STA_PRIM_FEAS;
      }
    }
    duals_truecost(W);
  }
  *needclean = st->solsta == TVA_SOL_STA_OPTIMAL && S.scaling != 1 &&
               unscaled_violation(W, rs.data(), cs.data());
  extract(W, lp, rs.data(), cs.data(), st, sol);
  simplex_updatebasis(W, basis, code);
  return code;
}

} // namespace

int32 simplex_optimize(sysenv* sys, const SimplexSettings& settings, SimplexStat* stat,
                       const SimplexLp& lp, SimplexSolution* sol, SimplexProgressFunc progress,
                       void* handle, SimplexBasis* basis) {
  stat->prosta = TVA_PRO_STA_UNKNOWN;
  stat->solsta = TVA_SOL_STA_UNKNOWN;
  int32 code = kSimOk;
  // The started and terminated events frame the whole call, clean-up pass included.
  SimplexProgress pr;
  pr.event = 40;
  if (progress && progress(handle, &pr)) code = kSimUserCallback;
  try {
    bool needclean = false;
    if (code == kSimOk)
      code = run(sys, settings, stat, lp, sol, progress, handle, basis, &needclean);
    if (code == kSimOk && needclean) {
      // Clean-up on the unscaled problem from the basis just found.
      SysAllocator<int32> ai(sys);
      SysAllocator<double> ad(sys);
      SysVector<int32> skc(lp.numcon, 0, ai), skx(lp.numvar, 0, ai);
      SysVector<double> xc(lp.numcon, 0.0, ad), xx(lp.numvar, 0.0, ad);
      SimplexSolution s2 = *sol;
      if (!s2.skc) s2.skc = skc.data();
      if (!s2.skx) s2.skx = skx.data();
      if (!s2.xc) s2.xc = xc.data();
      if (!s2.xx) s2.xx = xx.data();
      SimplexSettings clean = settings;
      clean.scaling = 1, clean.hotstart = 1, clean.crash = 0;
      stat->cleanpasses++;
      code = run(sys, clean, stat, lp, &s2, progress, handle, basis, &needclean);
      sol->pobj = s2.pobj;
    }
  } catch (const std::bad_alloc&) {
    code = kSimSpace;
  }
  stat->code = code;
  if (progress) {
    pr.event = 41;
    pr.iter = stat->iter[kSimPrimal] + stat->iter[kSimDual] + stat->iter[kSimPrimalDual];
    pr.pobj = sol->pobj;
    progress(handle, &pr);
  }
  return code;
}

} // namespace telva
