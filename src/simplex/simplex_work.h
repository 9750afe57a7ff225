// The working state of a simplex run on the scaled working form, shared by the frame, the
// basis handling and the primal simplex. Everything is in the index space 0 .. n-1 with the
// logicals first (column -e_i) and the variables after them (column a_j), so that the
// constraint reads M z = 0 with M = [-I A] and lb <= z <= ub.
#pragma once

#include <chrono>

#include "cpub/sysalloc.h"
#include "lu/lu.h"
#include "simplex/simplex.h"
#include "simplex/simplex_basisrec.h"

namespace telva {

// A breakpoint of phase one's piecewise linear objective along a primal step: at step t the
// basic variable at position p reaches target (its lower bound if tolower), and the rate at
// which the sum of infeasibilities falls drops by w.
struct PhaseOneBreak {
  double t, w, target;
  int32 p, tolower;
};

struct SimWork {
  explicit SimWork(sysenv* s)
      : sys(s), aptr(SysAllocator<int32>(s)), asub(SysAllocator<int32>(s)),
        aval(SysAllocator<double>(s)), rptr(SysAllocator<int32>(s)), rsub(SysAllocator<int32>(s)),
        rval(SysAllocator<double>(s)), cost(SysAllocator<double>(s)), lb(SysAllocator<double>(s)),
        ub(SysAllocator<double>(s)), tlb(SysAllocator<double>(s)), tub(SysAllocator<double>(s)),
        x(SysAllocator<double>(s)), d(SysAllocator<double>(s)), y(SysAllocator<double>(s)),
        w(SysAllocator<double>(s)), head(SysAllocator<int32>(s)), pos(SysAllocator<int32>(s)),
        sk(SysAllocator<int32>(s)), rejected(SysAllocator<int32>(s)), colv(SysAllocator<double>(s)),
        alpha(SysAllocator<double>(s)), rho(SysAllocator<double>(s)), vse(SysAllocator<double>(s)),
        rowa(SysAllocator<double>(s)), rowg(SysAllocator<double>(s)), que(SysAllocator<int32>(s)),
        qscore(SysAllocator<double>(s)), refw(SysAllocator<int32>(s)),
        dupnext(SysAllocator<int32>(s)), breaks(SysAllocator<PhaseOneBreak>(s)) {}
  ~SimWork() {
    if (f) lu_free(&f);
  }

  sysenv* sys;
  const SimplexSettings* set = nullptr;
  SimplexStat* stat = nullptr;
  int32 opt = kSimPrimal; // optimizer number of the running pass
  int32 m = 0, nv = 0, n = 0;

  // The scaled matrix by columns and its row-wise twin.
  SysVector<int32> aptr, asub;
  SysVector<double> aval;
  SysVector<int32> rptr, rsub;
  SysVector<double> rval;

  SysVector<double> cost;     // minimization costs, 0 for the logicals
  SysVector<double> lb, ub;   // working bounds: shifted or perturbed
  SysVector<double> tlb, tub; // true bounds
  SysVector<double> x;        // values of all indices
  SysVector<double> d;        // reduced costs of the running phase
  SysVector<double> y;        // duals of the running phase, one per row
  SysVector<double> w;        // pricing weights
  SysVector<int32> head;      // basis position -> index
  SysVector<int32> pos;       // index -> basis position, -1 when nonbasic
  SysVector<int32> sk;        // status keys TVA_SK_*
  SysVector<int32> rejected;  // entering candidates refused since the last pivot

  // Work vectors: colv, alpha, rho, vse of length m; rowa, rowg of length n.
  SysVector<double> colv, alpha, rho, vse, rowa, rowg;
  // Candidate queue of the restricted pricing rules.
  SysVector<int32> que;
  SysVector<double> qscore;
  SysVector<int32> refw; // devex reference framework flags
  int32 baddevex = 0;    // devex weights found far off since the framework was set
  // Duplicate columns: each member links to the next of its group in a ring, -1 elsewhere;
  // empty when the problem has none or their use is off.
  SysVector<int32> dupnext;
  // Breakpoints of phase one's ratio test.
  SysVector<PhaseOneBreak> breaks;

  lu* f = nullptr;
  int32 phase = 2; // 1 while basic variables are infeasible
  bool perturbed = false;
  bool shifted = false;
  double tolx = 1e-6, tols = 1e-6, tolpiv = 1e-7, harris = 1e-6;
  double suminf = 0.0; // sum of primal infeasibilities of the basics
  int32 numinf = 0;
  int32 ifmethod = 1, selmethod = 2, weightrule = 0;
  int32 partialstart = 0;
  double partialref = 0.0; // best score of the last full scan of the combined rule
  int32 partialcount = 0;  // choices of the combined rule since that scan
  int32 quebuilt = -1;     // iteration of the last queue rebuild
  int32 itersincefactor = 0;
  int32 sameartificial = 0; // consecutive refactors that needed artificials
  std::chrono::steady_clock::time_point t0;
  SimplexProgressFunc progress = nullptr;
  void* handle = nullptr;
  bool maximize = false;
  double cfix = 0.0;
};

// The column of index k of M = [-I A] into a dense row-space vector (which must be zero).
inline void simwork_scattercol(const SimWork& W, int32 k, double* v) {
  if (k < W.m) {
    v[k] = -1.0;
    return;
  }
  int32 j = k - W.m;
  for (int32 p = W.aptr[j]; p < W.aptr[j + 1]; ++p)
    v[W.asub[p]] = W.aval[p];
}

// M_k' v for a row-space vector v.
inline double simwork_dotcol(const SimWork& W, int32 k, const double* v) {
  if (k < W.m) return -v[k];
  int32 j = k - W.m;
  double s = 0.0;
  for (int32 p = W.aptr[j]; p < W.aptr[j + 1]; ++p)
    s += W.aval[p] * v[W.asub[p]];
  return s;
}

inline bool sim_isinf(double b) {
  return b <= -kSimInf || b >= kSimInf;
}

// ---- basis and factors (simplex_basis.cpp) ----
// Factorizes the basis of head; singular columns are replaced by logicals of the rows left
// without pivot and go to a bound. Returns an internal code; *inserted counts replacements.
int32 simplex_refactor(SimWork& W, int32* inserted);
// Asks the LU for a stricter relative pivot threshold, after fresh factors were found
// inaccurate; false when it is at its limit already.
bool simplex_tightenlu(SimWork& W);
// Values of the basic variables from the nonbasic ones, with one round of refinement.
void simplex_recomputexb(SimWork& W);
// Phase costs and the duals and reduced costs that go with them. Sets phase, suminf, numinf.
void simplex_computeduals(SimWork& W);
// Sum and count of basic infeasibilities beyond tolx against the working bounds.
void simplex_basicinfeas(SimWork& W, double* sum, int32* count);
// Puts a nonbasic index on the bound nearest its value (or 0 when free) with its status key.
void simplex_setnonbasic(SimWork& W, int32 k, double value);
// Triangular crash from the current basis (logicals of open rows are replaced by variables);
// returns the number of variables made basic.
int32 simplex_crash(SimWork& W);
// Builds the row-wise twin of the scaled matrix.
void simplex_updateacolt(SimWork& W);

// ---- the LU kept for the next hot start (simplex_hotlu.cpp) ----
// Whether the LU an earlier run left in the record fits this start: the same basic indices,
// and the factors solve the current working matrix. When they do, the LU moves into W with
// the record's head order, and the answer is true.
bool simplex_verifylu(SimWork& W, SimplexBasis* b);
// Moves the final head and LU into the record when the run's code is one to start from
// (0, 4, 5, 7, 15) and the LU is factorized; otherwise the record's LU is marked unusable.
void simplex_updatebasis(SimWork& W, SimplexBasis* b, int32 code);

// ---- the primal simplex (psimplex*.cpp) ----
int32 simplex_primaloptimizer(SimWork& W);
// Back to the true bounds after perturbation and bound shifts (basic values to recompute).
int32 psimplex_removeperturbation(SimWork& W);
// Pricing: the entering index or -1.
int32 psimplex_select(SimWork& W);
void psimplex_initweights(SimWork& W);
// ---- duplicate columns (simplex_dupvec.cpp) ----
// Finds the groups of variables with equal scaled columns and costs into dupnext; returns the
// number of variables in groups (dupnext stays empty without any).
int32 simplex_finddupvec(SimWork& W);
// How far the entering variable q can move in direction dir before it and the duplicates that
// move with it all reach their bounds (its own range without duplicates).
double psimplex_stepsize_dupcol(const SimWork& W, int32 q, int32 dir);
// Takes a step of length theta of the group of q: the members the step passes go to their far
// bounds; answers the member that carries the rest of the step, that rest in *own.
int32 psimplex_dupcol_pass(SimWork& W, int32 q, int32 dir, double theta, double* own);
// Superbasic variables with a basic duplicate go to a bound; the basic duplicate takes up the
// difference when the basic values are next computed.
void psimplex_dupvecfeasible(SimWork& W);
// Weight update after a pivot on basis position r with entering q; alpha is the entering
// column, rowa the pivot row over all indices.
void psimplex_updateweights(SimWork& W, int32 q, int32 r, int32 leaving);
// Largest relative difference of the steepest-edge or devex weights to their values recomputed
// from the factors (one solve per nonbasic index); devex weights are checked on the indices of
// the reference framework, where the recurrence is exact.
double psimplex_weighterror(SimWork& W);

} // namespace telva
