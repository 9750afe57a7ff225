// The primal simplex: composite phase one (the sum of the basic infeasibilities is minimized
// until it reaches zero, then the true costs take over), a two-pass ratio test with Harris
// tolerances and bound shifting, bound flips of boxed entering variables, bound perturbation
// against degeneracy, and refactorization on the LU's advice and on instability.
#include <algorithm>
#include <cmath>

#include "simplex/simplex_work.h"
#include "telva.h"

namespace telva {

namespace {

struct Step {
  int32 r = -1;        // basis position of the leaving variable, -1 when none
  double theta = 0.0;  // step length of the entering variable
  bool flip = false;   // the entering variable moves to its other bound, no basis change
  double target = 0.0; // the bound the leaving variable goes to
  bool tolower = true; // whether that bound is its lower one
  bool shift = false;  // the leaving variable lies beyond its bound: shift the bound
};

// Where basic position p stops the step: its distance to the bound it runs into, and which.
// False when it doesn't limit the step (no bound in its direction, or infeasible and moving
// away from feasibility, which phase one's costs already account for).
bool blocking(const SimWork& W, int32 p, double delta, double* dist, double* target,
              bool* tolower) {
  int32 k = W.head[p];
  double v = W.x[k], l = W.lb[k], u = W.ub[k];
  if (delta > 0.0) {
    if (v < l - W.tolx) { // below its lower bound: the breakpoint where it becomes feasible
      *target = l, *tolower = true;
    } else if (v > u + W.tolx || sim_isinf(u)) {
      return false;
    } else {
      *target = u, *tolower = false;
    }
    *dist = *target - v;
  } else {
    if (v > u + W.tolx) {
      *target = u, *tolower = false;
    } else if (v < l - W.tolx || sim_isinf(l)) {
      return false;
    } else {
      *target = l, *tolower = true;
    }
    *dist = v - *target;
  }
  return true;
}

// The two-pass ratio test: the first pass finds the largest step that keeps every basic
// variable within its bound relaxed by the Harris margin; the second takes, among the
// variables whose exact ratio lies within that step, the one with the largest pivot.
Step psimplex_stepsize(SimWork& W, int32 q, int32 dir) {
  const int32 m = W.m;
  const double* a = W.alpha.data();
  double thmax = kSimInf;
  double dist, target;
  bool tolower;
  for (int32 p = 0; p < m; ++p) {
    if (std::fabs(a[p]) <= W.tolpiv) continue;
    double delta = -dir * a[p];
    if (!blocking(W, p, delta, &dist, &target, &tolower)) continue;
    // The margin counts from the bound, not from the value: a variable already within the
    // tolerance band beyond its bound may not be pushed further out, or it leaves the band
    // and phase one comes back for it.
    thmax = std::min(thmax, std::max(dist + W.harris, 0.0) / std::fabs(delta));
  }
  Step s;
  double bestpiv = 0.0, besttight = 0.0;
  if (thmax < kSimInf) {
    for (int32 p = 0; p < m; ++p) {
      if (std::fabs(a[p]) <= W.tolpiv) continue;
      double delta = -dir * a[p];
      if (!blocking(W, p, delta, &dist, &target, &tolower)) continue;
      double tight = dist / std::fabs(delta);
      if (tight > thmax) continue;
      double piv = std::fabs(delta);
      if (piv > bestpiv) {
        bestpiv = piv, besttight = tight;
        s.r = p, s.target = target, s.tolower = tolower;
      }
    }
  }
  if (s.r >= 0) {
    s.theta = std::max(besttight, 0.0);
    s.shift = besttight < 0.0;
  }
  // The entering variable's range, together with that of its duplicates that move with it.
  double range = psimplex_stepsize_dupcol(W, q, dir);
  if (range < kSimInf && (s.r < 0 || range <= s.theta + 1e-12)) {
    s.r = -1, s.flip = true, s.theta = std::max(range, 0.0);
  }
  return s;
}

// Phase one's ratio test passes over breakpoints while the sum of infeasibilities keeps
// falling. Along the step each basic variable meets up to two breakpoints: an infeasible one
// becomes feasible at its violated bound and, if it goes on, infeasible again at its other
// bound; a feasible one becomes infeasible at the bound it runs into. Each costs the falling
// rate |alpha_p|, starting from |d_q|. The step ends at the breakpoint where the rate would
// turn non-positive; basics passed over stay basic, some of them now on the other side of a
// bound, which phase one's costs then count. On degenerate problems whose phase one is
// driven by fixed variables (equality rows), stopping at the first breakpoint makes tiny
// steps by the thousand.
Step psimplex_stepsize_phase1(SimWork& W, int32 q, int32 dir) {
  const int32 m = W.m;
  const double* a = W.alpha.data();
  auto& br = W.breaks;
  br.clear();
  for (int32 p = 0; p < m; ++p) {
    if (std::fabs(a[p]) <= W.tolpiv) continue;
    const double delta = -dir * a[p], w = std::fabs(delta);
    const int32 k = W.head[p];
    const double v = W.x[k], l = W.lb[k], u = W.ub[k];
    auto add = [&](double bound, bool tolower) { // the variable moves toward bound
      double dist = delta > 0.0 ? bound - v : v - bound;
      if (dist < 0.0) {
        // Feasible within the tolerance but beyond the bound: the bound moves to the value,
        // so that the infeasibility the step model counts from the bound is the one measured
        // once the variable leaves the band. Otherwise a step can raise the measured sum by
        // up to the tolerance per such variable while the model says it falls, and phase one
        // cycles on the tiny steps near feasibility.
        (tolower ? W.lb[k] : W.ub[k]) = v;
        W.shifted = true;
        bound = v, dist = 0.0;
      }
      br.push_back({dist / w, w, bound, p, tolower ? 1 : 0});
    };
    if (delta > 0.0) {
      if (v < l - W.tolx) add(l, true);
      if (v <= u + W.tolx && !sim_isinf(u)) add(u, false);
    } else {
      if (v > u + W.tolx) add(u, false);
      if (v >= l - W.tolx && !sim_isinf(l)) add(l, true);
    }
  }
  std::sort(br.begin(), br.end(),
            [](const PhaseOneBreak& x, const PhaseOneBreak& y) { return x.t < y.t; });
  Step s;
  double rate = std::fabs(W.d[q]);
  int32 stop = -1;
  for (int32 i = 0; i < (int32)br.size(); ++i) {
    if (rate - br[i].w <= 1e-12 * std::fabs(W.d[q]) || i + 1 == (int32)br.size()) {
      stop = i;
      break;
    }
    rate -= br[i].w;
  }
  if (stop >= 0) {
    // Harris from the stop on: the step may go as far as keeps every breakpoint from there
    // within the margin beyond its bound; among the breakpoints it reaches, the largest pivot
    // leaves.
    const int32 nb = (int32)br.size();
    double thmax = kSimInf;
    for (int32 i = stop; i < nb && br[i].t <= thmax; ++i)
      thmax = std::min(thmax, br[i].t + W.harris / br[i].w);
    int32 best = stop;
    for (int32 i = stop + 1; i < nb && br[i].t <= thmax; ++i)
      if (br[i].w > br[best].w) best = i;
    const PhaseOneBreak& b = br[best];
    s.r = b.p, s.target = b.target, s.tolower = b.tolower != 0;
    s.theta = b.t;
    const int32 k = W.head[b.p];
    double dist = -dir * a[b.p] > 0.0 ? b.target - W.x[k] : W.x[k] - b.target;
    s.shift = dist < 0.0;
  }
  double range = psimplex_stepsize_dupcol(W, q, dir);
  if (range < kSimInf && (s.r < 0 || range <= s.theta + 1e-12)) {
    s.r = -1, s.flip = true, s.theta = std::max(range, 0.0);
  }
  return s;
}

// The pivot row rho = B^-T e_r and its entries rowa_k = rho' M_k over all indices.
void pivot_row(SimWork& W, int32 r) {
  const int32 m = W.m;
  W.colv[r] = 1.0;
  lu_btran(W.f, W.colv.data(), W.rho.data());
  for (int32 i = 0; i < m; ++i) {
    double ri = W.rho[i];
    if (ri == 0.0) continue;
    W.rowa[i] = -ri;
    for (int32 p = W.rptr[i]; p < W.rptr[i + 1]; ++p)
      W.rowa[m + W.rsub[p]] += W.rval[p] * ri;
  }
}

void clear_work(SimWork& W) {
  std::fill(W.alpha.begin(), W.alpha.end(), 0.0);
  std::fill(W.rho.begin(), W.rho.end(), 0.0);
  std::fill(W.colv.begin(), W.colv.end(), 0.0);
  std::fill(W.rowa.begin(), W.rowa.end(), 0.0);
}

void clear_rejected(SimWork& W) {
  std::fill(W.rejected.begin(), W.rejected.end(), 0);
}

} // namespace

// Restores the true bounds after perturbation and shifts; nonbasic variables return to their
// bound and superbasic ones into their range. The caller recomputes the basic values.
int32 psimplex_removeperturbation(SimWork& W) {
  int32 reset = 0;
  for (int32 k = 0; k < W.n; ++k) {
    reset += W.lb[k] != W.tlb[k] || W.ub[k] != W.tub[k];
    W.lb[k] = W.tlb[k], W.ub[k] = W.tub[k];
    if (W.pos[k] >= 0) continue;
    if (W.sk[k] == TVA_SK_SUPBAS && !(W.lb[k] == W.ub[k]))
      W.x[k] = std::clamp(W.x[k], W.lb[k], W.ub[k]);
    else
      simplex_setnonbasic(W, k, W.sk[k] == TVA_SK_UPR ? W.ub[k] : W.lb[k]);
  }
  W.perturbed = W.shifted = false;
  return reset;
}

namespace {

double objective(const SimWork& W) {
  double s = 0.0;
  for (int32 k = W.m; k < W.n; ++k)
    s += W.cost[k] * W.x[k];
  return s;
}

// A superbasic variable with a finite bound, and the direction to the nearer one; -1 if none.
int32 superbasic_toclose(const SimWork& W, int32* dir) {
  for (int32 k = 0; k < W.n; ++k) {
    if (W.pos[k] >= 0 || W.sk[k] != TVA_SK_SUPBAS || W.rejected[k]) continue;
    bool lo = !sim_isinf(W.lb[k]), up = !sim_isinf(W.ub[k]);
    if (!lo && !up) continue;
    bool down = lo && (!up || W.x[k] - W.lb[k] <= W.ub[k] - W.x[k]);
    *dir = down ? -1 : 1;
    return k;
  }
  return -1;
}

// Phase one's cost of index k: -1 below its lower bound, +1 above its upper bound, else 0.
int32 infeas_sign(const SimWork& W, int32 k) {
  if (W.x[k] < W.lb[k] - W.tolx) return -1;
  if (W.x[k] > W.ub[k] + W.tolx) return 1;
  return 0;
}

// Whether a basic variable other than the one at position skip has a phase-one cost other
// than the one recorded.
bool costs_changed(const SimWork& W, const SysVector<int32>& cbsign, int32 skip) {
  for (int32 p = 0; p < W.m; ++p)
    if (p != skip && infeas_sign(W, W.head[p]) != cbsign[p]) return true;
  return false;
}

int32 report(SimWork& W, int32 event) {
  if (!W.progress) return 0;
  SimplexProgress pr;
  pr.event = event;
  pr.iter = W.stat->iter[W.opt];
  pr.degpct = pr.iter ? 100.0 * W.stat->degiter[W.opt] / pr.iter : 0.0;
  double obj = objective(W) + W.cfix;
  pr.pobj = W.maximize ? -obj : obj;
  pr.pinf = W.suminf;
  pr.time = std::chrono::duration<double>(std::chrono::steady_clock::now() - W.t0).count();
  pr.tottime = pr.time;
  return W.progress(W.handle, &pr);
}

} // namespace

// Perturbs the bounds that coincide with others, the source of degenerate steps: lower bounds
// move down and upper bounds up by small random amounts, so the perturbed problem contains the
// true one.
void psimplex_perturb(SimWork& W) {
  const SimplexSettings& S = *W.set;
  if (S.degen == 0) return;
  SysVector<double> vals(SysAllocator<double>(W.sys));
  for (int32 k = 0; k < W.n; ++k) {
    if (W.lb[k] == W.ub[k]) continue; // fixed values stay
    if (!sim_isinf(W.lb[k])) vals.push_back(W.lb[k]);
    if (!sim_isinf(W.ub[k])) vals.push_back(W.ub[k]);
  }
  const int32 kfin = (int32)vals.size();
  if (kfin == 0) return;
  std::sort(vals.begin(), vals.end());
  int32 distinct = 1;
  for (int32 i = 1; i < kfin; ++i)
    distinct += vals[i] - vals[i - 1] > W.tolx;
  if (distinct >= 0.8 * kfin) return; // bound values are spread out: little degeneracy
  double base = (distinct >= 0.1 * kfin ? 10.0 : 100.0) * W.tolx;
  if (S.degen == 2) base *= 10.0;
  if (S.degen == 4) base *= 0.1;
  auto shared = [&](double b) {
    auto it = std::lower_bound(vals.begin(), vals.end(), b - W.tolx);
    int32 c = 0;
    for (; it != vals.end() && *it <= b + W.tolx && c < 2; ++it)
      ++c;
    return c >= 2;
  };
  for (int32 k = 0; k < W.n; ++k) {
    if (W.lb[k] == W.ub[k]) continue;
    for (int32 side = 0; side < 2; ++side) {
      double b = side == 0 ? W.lb[k] : W.ub[k];
      if (sim_isinf(b) || std::fabs(b) >= 1e6 || !shared(b)) continue;
      double r = simplex_random(W.stat);
      double amt = base * (0.5 + 0.5 * r) * (std::fabs(b) < 100.0 ? 1.0 : 0.01 * std::fabs(b));
      if (side == 0)
        W.lb[k] -= amt;
      else
        W.ub[k] += amt;
      W.perturbed = true;
    }
  }
  if (!W.perturbed) return;
  for (int32 k = 0; k < W.n; ++k)
    if (W.pos[k] < 0 && W.sk[k] != TVA_SK_SUPBAS)
      simplex_setnonbasic(W, k, W.sk[k] == TVA_SK_UPR ? W.ub[k] : W.lb[k]);
}

int32 simplex_primaloptimizer(SimWork& W) {
  const SimplexSettings& S = *W.set;
  SimplexStat* st = W.stat;
  const int32 o = W.opt;
  const int32 m = W.m;
  int32 code = kSimOk;
  bool needfactor = true, needduals = true;
  bool verified = false;
  int32 laststable = -1;
  // Phase one's costs of the basic variables (-1 below, +1 above the bounds, else 0). While a
  // pivot leaves them as they were, the duals are updated with the pivot row like phase two's;
  // a change of any of them makes a fresh computation.
  SysVector<int32> cbsign(m, 0, SysAllocator<int32>(W.sys));
  // The end is polished with a dual tolerance 100 times tighter than the caller's: reduced
  // costs of the wrong sign just within the caller's tolerance, times large primal values,
  // can leave the objective off by more than the tolerances suggest. The polish gets a
  // bounded number of iterations, then the caller's tolerance decides.
  const double tolsuser = W.tols;
  bool polished = false;
  int32 polishstart = 0;
  st->prosta = TVA_PRO_STA_UNKNOWN;
  st->solsta = TVA_SOL_STA_UNKNOWN;
  if (report(W, 44)) return kSimUserCallback;
  for (;;) {
    if (st->iter[o] >= S.maxiter[o]) {
      code = kSimMaxIterations;
      break;
    }
    if (S.maxtime[o] > 0.0 &&
        std::chrono::duration<double>(std::chrono::steady_clock::now() - W.t0).count() >
            S.maxtime[o]) {
      code = kSimMaxTime;
      break;
    }
    if (needfactor) {
      int32 inserted = 0;
      // Factors no pivot has touched since they were made (the frame's start factors, or kept
      // ones of a hot start) are what a refactorization would give again.
      if (W.itersincefactor > 0 || !lu_isfactored(W.f)) code = simplex_refactor(W, &inserted);
      if (code) break;
      if (inserted > 0) {
        // Artificials in two factorizations in a row: the pivots were too weak; ask the LU
        // for more stability.
        if (++W.sameartificial >= 2) {
          double rel = lu_gettol(W.f, 2);
          lu_settol(W.f, 2, std::min(0.1, 1.5 * rel));
          W.tolpiv = std::min(1e-4, W.tolpiv * 10.0);
          if (++st->setbacks[o] > S.maxsetbacks[o]) {
            code = kSimMaxSetbacks;
            break;
          }
        }
      } else {
        W.sameartificial = 0;
      }
      simplex_recomputexb(W);
      needfactor = false;
      needduals = true;
    }
    if (needduals) {
      simplex_computeduals(W);
      needduals = false;
      if (W.phase == 1)
        for (int32 p = 0; p < m; ++p)
          cbsign[p] = infeas_sign(W, W.head[p]);
    }
    if (S.logfreq[o] > 0 && st->iter[o] % S.logfreq[o] == 0 && st->iter[o] != laststable) {
      laststable = st->iter[o];
      if (report(W, 47)) {
        code = kSimUserCallback;
        break;
      }
    }
    if (polished && W.tols < tolsuser && st->iter[o] - polishstart > std::max(1000, m))
      W.tols = tolsuser;
    int32 q = psimplex_select(W);
    int32 forcedir = 0;
    if (q < 0 && W.phase == 2) {
      // Superbasic variables left between their bounds with a reduced cost within the
      // tolerance are moved to their nearest bound (or into the basis), so that the end is a
      // vertex.
      q = superbasic_toclose(W, &forcedir);
    }
    if (q < 0) {
      bool hadrejected = std::find(W.rejected.begin(), W.rejected.end(), 1) != W.rejected.end();
      if (W.perturbed || W.shifted) {
        psimplex_removeperturbation(W);
        needfactor = true;
        verified = false;
        continue;
      }
      if (!verified || hadrejected) {
        // Before a claim, fresh factors and values: the end must hold without the updates.
        clear_rejected(W);
        verified = true;
        needfactor = true;
        continue;
      }
      if (W.phase == 2 && !polished) {
        polished = true;
        polishstart = st->iter[o];
        W.tols = std::max(0.01 * tolsuser, 1e-12);
        continue; // factors still fresh: no candidate at the tight tolerance ends the run
      }
      if (W.phase == 1) {
        st->prosta = TVA_PRO_STA_PRIM_INFEAS;
        st->solsta = TVA_SOL_STA_PRIM_INFEAS_CER;
      } else {
        st->prosta = TVA_PRO_STA_PRIM_AND_DUAL_FEAS;
        st->solsta = TVA_SOL_STA_OPTIMAL;
      }
      break;
    }
    const int32 dir = forcedir ? forcedir : (W.d[q] < 0.0 ? 1 : -1);
    simwork_scattercol(W, q, W.colv.data());
    lu_ftran(W.f, W.colv.data(), W.alpha.data());
    Step s = W.phase == 1 ? psimplex_stepsize_phase1(W, q, dir) : psimplex_stepsize(W, q, dir);
    if (s.r < 0 && !s.flip) {
      if (W.phase == 2) {
        // An improving ray: the entering variable and the basics move without limit.
        std::fill(W.rowg.begin(), W.rowg.end(), 0.0);
        W.rowg[q] = dir;
        for (int32 p = 0; p < m; ++p)
          if (std::fabs(W.alpha[p]) > W.tolpiv) W.rowg[W.head[p]] = -dir * W.alpha[p];
        clear_work(W);
        if (W.perturbed || W.shifted) {
          psimplex_removeperturbation(W);
          needfactor = true;
          continue;
        }
        st->prosta = TVA_PRO_STA_DUAL_INFEAS;
        st->solsta = TVA_SOL_STA_DUAL_INFEAS_CER;
        break;
      }
      // Phase one always meets the breakpoint of an infeasible basic; missing it is numerical.
      W.rejected[q] = 1;
      clear_work(W);
      needfactor = true;
      if (++st->setbacks[o] > S.maxsetbacks[o]) {
        code = kSimMaxSetbacks;
        break;
      }
      continue;
    }
    if (!s.flip) {
      pivot_row(W, s.r);
      double p = W.alpha[s.r], prow = W.rowa[q];
      if (std::fabs(p - prow) > 1e-8 * (1.0 + std::fabs(p))) {
        // Row and column disagree on the pivot: the factors have lost accuracy. Fresh factors
        // first, an ordinary event after many updates. Fresh factors that disagree are a
        // set-back: they are made again with a stricter pivot threshold, and once that is at
        // its limit the candidate is refused for now.
        const bool fresh = W.itersincefactor == 0;
        clear_work(W);
        needfactor = true;
        if (fresh) {
          if (simplex_tightenlu(W))
            W.itersincefactor = 1; // the same basis, factorized again
          else
            W.rejected[q] = 1;
          if (++st->setbacks[o] > S.maxsetbacks[o]) {
            code = kSimMaxSetbacks;
            break;
          }
        }
        continue;
      }
    }
    // The primal step.
    const double theta = s.theta;
    double own = theta;
    q = psimplex_dupcol_pass(W, q, dir, theta, &own);
    if (theta != 0.0) {
      W.x[q] += dir * own;
      for (int32 p = 0; p < m; ++p)
        if (W.alpha[p] != 0.0) W.x[W.head[p]] -= dir * theta * W.alpha[p];
    }
    st->iter[o]++;
    if (theta == 0.0) st->degiter[o]++;
    if (W.phase == 1) st->infiter[o]++;
    verified = false;
    clear_rejected(W);
    if (s.flip) {
      W.x[q] = dir > 0 ? W.ub[q] : W.lb[q];
      W.sk[q] = dir > 0 ? TVA_SK_UPR : TVA_SK_LOW;
      st->boundflips[o]++;
      clear_work(W);
      if (W.phase == 1 && costs_changed(W, cbsign, -1)) needduals = true;
      continue;
    }
    const int32 r = s.r, l = W.head[r];
    // Phase one keeps its duals by update when no other basic variable changed its side of
    // the bounds and the entering one lands within its bounds (cost 0). The leaving one's old
    // cost drops out of y's update; it only shows in its own reduced cost.
    bool phase1update = false;
    if (W.phase == 1) {
      phase1update = infeas_sign(W, q) == 0 && !costs_changed(W, cbsign, r);
      if (!phase1update) needduals = true;
    }
    if (s.shift) {
      if (s.tolower)
        W.lb[l] = W.x[l];
      else
        W.ub[l] = W.x[l];
      W.shifted = true;
    } else {
      W.x[l] = s.target;
    }
    psimplex_updateweights(W, q, r, l);
    if (W.phase == 2 || phase1update) {
      const double thd = W.d[q] / W.alpha[r];
      for (int32 k = 0; k < W.n; ++k)
        if (W.pos[k] < 0 && W.rowa[k] != 0.0) W.d[k] -= thd * W.rowa[k];
      for (int32 i = 0; i < m; ++i)
        W.y[i] += thd * W.rho[i];
      W.d[l] = -thd - (W.phase == 1 ? cbsign[r] : 0);
      W.d[q] = 0.0;
      cbsign[r] = 0;
    }
    W.head[r] = q;
    W.pos[q] = r;
    W.pos[l] = -1;
    if (phase1update) {
      simplex_basicinfeas(W, &W.suminf, &W.numinf);
      if (W.numinf == 0) needduals = true; // feasible: phase two's costs take over
    }
    W.sk[q] = TVA_SK_BAS;
    W.sk[l] = W.lb[l] == W.ub[l] ? TVA_SK_FIX : (s.tolower ? TVA_SK_LOW : TVA_SK_UPR);
    int32 ust;
    if (q < m) {
      double minus1 = -1.0;
      ust = lu_updatefromcolumn(W.f, r, r, 1, &q, &minus1);
    } else {
      int32 j = q - m, b = W.aptr[j];
      ust = lu_updatefromcolumn(W.f, r, r, W.aptr[j + 1] - b, W.asub.data() + b, W.aval.data() + b);
    }
    W.itersincefactor++;
    clear_work(W);
    // Each check costs a solve per nonbasic index, so the second level samples.
    const bool check = S.deblev >= 3 || (S.deblev == 2 && st->iter[o] % 25 == 0);
    if (check && ust == kLuOk) st->pseerror = std::max(st->pseerror, psimplex_weighterror(W));
    if (ust == kLuNoMemory) {
      code = kSimSpace;
      break;
    }
    if (ust != kLuOk) needfactor = true; // advised, unstable or out of room: refactor
    if (S.refactorfreq[o] > 0 && W.itersincefactor >= S.refactorfreq[o]) needfactor = true;
  }
  clear_work(W);
  // The last iteration's line, so that the table ends where the run did.
  if (S.logfreq[o] > 0 && st->iter[o] != laststable && report(W, 47) && code == kSimOk)
    code = kSimUserCallback;
  W.tols = tolsuser;
  if (report(W, 49) && code == kSimOk) code = kSimUserCallback;
  return code;
}

} // namespace telva
