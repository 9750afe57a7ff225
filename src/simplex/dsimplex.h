// The bounded dual simplex on the working form of SimWork: its state, and the pieces the main
// loop (dsimplex.cpp) is built from: pricing with dual steepest-edge weights, the bound-flipping
// ratio test, cost perturbation and the box approach of phase one, and the updates of the primal
// and dual values.
#pragma once

#include "simplex/simplex_work.h"

namespace telva {

// A dense vector with the list of its nonzero positions.
struct DSparse {
  explicit DSparse(sysenv* s) : val(SysAllocator<double>(s)), idx(SysAllocator<int32>(s)) {}
  SysVector<double> val;
  SysVector<int32> idx;
  int32 nz = 0;
  void init(int32 n) { val.assign(n, 0.0), idx.assign(n, 0), nz = 0; }
  // Clears the listed entries, or the whole vector when the list is long.
  void clear() {
    if (nz > 0.3 * (double)val.size())
      std::fill(val.begin(), val.end(), 0.0);
    else
      for (int32 t = 0; t < nz; ++t)
        val[idx[t]] = 0.0;
    nz = 0;
  }
  // Rebuilds the list from the dense values.
  void relist() {
    nz = 0;
    for (int32 i = 0; i < (int32)val.size(); ++i)
      if (val[i] != 0.0) idx[nz++] = i;
  }
};

// A candidate of the ratio test: index, its entry of the pivot row in the direction of the step
// (positive means its reduced cost falls), and its ratio.
struct DCand {
  int32 k;
  double a;
  double ratio;
};

struct DualState {
  explicit DualState(SimWork& w)
      : W(w), dse(SysAllocator<double>(w.sys)), viol(SysAllocator<double>(w.sys)), rho(w.sys),
        row(w.sys), col(w.sys), tau(w.sys), flipcol(w.sys), cand(SysAllocator<DCand>(w.sys)),
        flips(SysAllocator<int32>(w.sys)), relaxed(SysAllocator<double>(w.sys)),
        truecost(SysAllocator<double>(w.sys)) {}
  SimWork& W;
  SysVector<double> dse;  // dual steepest-edge weights per basis position
  SysVector<double> viol; // primal infeasibility per basis position, 0 when within tolx
  DSparse rho;            // pivot row of B^-1 (row space)
  DSparse row;            // the pivot row over all indices (nonbasic ones only)
  DSparse col;            // the entering column B^-1 a_q (positions)
  DSparse tau;            // B^-1 rho for the weight update (positions)
  DSparse flipcol;        // B^-1 of the summed columns of the bound flips (positions)
  SysVector<DCand> cand;
  SysVector<int32> flips;
  SysVector<double> relaxed;  // suffix minima of the relaxed ratios in the ratio test
  SysVector<double> truecost; // costs before perturbation and shifting
  int32 rule = 4;             // 4 exact dual steepest edge, 3 approximate, 2 plain infeasibility
  bool phase1 = false;        // running the auxiliary box problem of phase one
  bool costchanged = false;   // perturbed or shifted costs
  int32 badevents = 0;
  int32 lastbad = -1000;
  double rhodensity = 0.0; // running density of rho, for the choice of sparse solves
  double coldensity = 0.0;
  int32 updates = 0; // updates since the last factorization
};

// Dual feasibility of a nonbasic index with reduced cost dk: the violation, 0 when feasible.
double dsimplex_dualviolation(const SimWork& W, int32 k, double dk);

// ---- pricing and weights (dsimplex_price.cpp) ----
// Primal infeasibility of all positions into viol.
void dsimplex_computeviol(DualState& D);
void dsimplex_updateviol(DualState& D, int32 p);
// The leaving position by the largest violation^2 / weight, or -1 when primal feasible.
int32 dsimplex_select(DualState& D);
// Exact weights ||e_p' B^-1||^2 (one btran per row), or all 1 for a logical basis.
void dsimplex_initweights(DualState& D, bool exact);
// Update after a pivot on position r: alpha the entering column, tau = B^-1 rho (old basis).
void dsimplex_updateweights(DualState& D, int32 r);
// Largest relative difference of the weights to their exact values (one btran per row).
double dsimplex_weighterror(DualState& D);

// ---- ratio test (dsimplex_ratio.cpp) ----
// Chooses the entering index for leaving position r whose basic variable must move up (dir
// +1, it is below its lower bound) or down (-1). slope is the primal infeasibility. Fills
// D.flips with the boxed indices that pass to their other bound. -1: no candidate.
int32 dsimplex_minratio_boundswap(DualState& D, int32 dir, double slope, double* step);

// ---- phase one and perturbation (dsimplex_perturb.cpp) ----
// Moves boxed nonbasics to the bound their reduced cost asks for; answers the number of
// nonbasics left dual infeasible.
int32 simplex_dualfeas(DualState& D);
// Sets the artificial box bounds of the phase one problem (lb, ub), true bounds in tlb, tub.
void dsimplex_phase1bounds(DualState& D);
// Restores the working bounds to the true ones and puts the nonbasics on them.
void dsimplex_undoboundswaps(DualState& D);
// Perturbs the costs of nonbasic columns away from zero reduced cost.
void dsimplex_perturbcosts(DualState& D, int32 level);
// Restores the true costs; answers whether that left reduced costs infeasible.
bool dsimplex_removeperturbation(DualState& D);

// ---- the loop (dsimplex.cpp) ----
int32 dsimplex_prestep(DualState& D);
int32 dsimplex_optimize(DualState& D);
// The dual simplex from the basis in W. Ends with W.stat's statuses: optimal, primal
// infeasible with its certificate in W.y, or unknown (then the caller cleans up with the primal).
int32 simplex_dualoptimizerintern(SimWork& W);

} // namespace telva
