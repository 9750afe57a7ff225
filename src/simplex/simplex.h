// The simplex engine: a linear problem in bound form, its basis and LU factors, scaling, the
// start basis, and the primal simplex that solves it. The engine is standalone: it takes the
// problem as column arrays and a settings record, and hands back status keys, primal and dual
// values, the problem and solution status, and certificates of infeasibility.
//
// Index space: 0 .. numcon-1 are the logicals of the rows (xc = A xx, so the logical of row i
// has the column -e_i in [-I A]), numcon + j is variable j.
#pragma once

#include "cpub/sysenv.h"
#include "telva.h"

namespace telva {

struct SimplexBasis;

constexpr double kSimInf = 1e30;

// Internal answer codes of a run; the driver maps them to response codes.
enum SimplexCode : int32 {
  kSimOk = 0,
  kSimSpace = 1,
  kSimMaxIterations = 4,
  kSimMaxTime = 5,
  kSimUserCallback = 6,
  kSimNumerical = 9,
  kSimFactor = 10,
  kSimInternal = 12,
  kSimBasisSingular = 26,
  kSimMaxSetbacks = 27,
};

// Optimizer numbers: the blocks of per-optimizer settings and statistics.
enum SimplexOptimizer : int32 { kSimFree = 0, kSimPrimal = 1, kSimDual = 2, kSimPrimalDual = 3 };

struct SimplexSettings {
  int32 optimizer = kSimFree;
  int32 hotstart = 0;   // 0 none, 4 primal feasible, 5 dual feasible, 6 other, 1 between passes
  int32 hotstartlu = 0; // a hot start may reuse the LU kept in the basis record
  int32 degen = 1;      // 0 none, 1 free, 2 aggressive, 3 moderate, 4 minimum
  int32 scaling = 0;    // 0 free, 1 none, 3 moderate, 4 aggressive
  int32 scalmethod = 0; // 0 powers of two, 1 free
  int32 maximize = 0;
  int32 dupvec = 0;
  int32 primalselect = 0; // free 0, partial 1, full 2, ase 3, se 4, devex 5
  int32 dualselect = 0;
  int32 primalrestrict = 50;
  int32 dualrestrict = 50;
  int32 crash = 0; // 1: triangular crash of a cold start
  int32 primalcrash = 90;
  int32 dualcrash = 90;
  int32 primalphaseone = 0;
  int32 dualphaseone = 0;
  int32 maxiter[4] = {10000000, 10000000, 10000000, 10000000};
  int32 maxsetbacks[4] = {250, 250, 250, 250};
  int32 refactorfreq[4] = {0, 0, 0, 0};
  int32 logfreq[4] = {1000, 1000, 1000, 1000};
  double tolx[4] = {1e-6, 1e-6, 1e-6, 1e-6};
  double tols[4] = {1e-6, 1e-6, 1e-6, 1e-6};
  double tolpiv[4] = {1e-7, 1e-7, 1e-7, 1e-7};
  double maxtime[4] = {-1.0, -1.0, -1.0, -1.0};
  double lutolrel = 0.01;
  int32 deblev = 0; // 2: pricing weights checked every 25th pivot, 3: after every pivot
};

// Counts of one run, one block per optimizer number.
struct SimplexStat {
  int32 code = kSimOk;
  int32 prosta = 0; // TVA_PRO_STA_*
  int32 solsta = 0; // TVA_SOL_STA_*
  int32 iter[4] = {0, 0, 0, 0};
  int32 degiter[4] = {0, 0, 0, 0};
  int32 infiter[4] = {0, 0, 0, 0};
  int32 setbacks[4] = {0, 0, 0, 0};
  int32 refactors[4] = {0, 0, 0, 0};
  int64 fullselect[4] = {0, 0, 0, 0};
  int64 partialselect[4] = {0, 0, 0, 0};
  int64 quelensum[4] = {0, 0, 0, 0};
  int32 boundflips[4] = {0, 0, 0, 0};
  int32 selectmethod = 0; // the pricing rule the primal ran with
  int32 ifmethod = 0;
  int32 initbasisrank = 0;
  int32 artificials = 0;
  int32 crashed = 0;     // variables the crash made basic
  int32 cleanpasses = 0; // passes on the unscaled problem after a scaled optimum
  int32 hotstartlu = 0;  // the start reused the LU of the basis record
  int32 rndstate = 1;    // state of the generator below
  double dseerror = 0.0; // with deblev >= 2: largest relative error of the dual weights checked
  double pseerror = 0.0; // the same for the primal steepest-edge and devex weights
};

// The one generator of the simplex: s -> (10278 s + 3) mod 32749, value s / 32749.
double simplex_random(SimplexStat* st);

// A progress report: the event number (40 started, 41 terminated, 44 primal started, 47 a primal
// progress line, 49 primal terminated), iterations, the objective in the caller's sense and
// the sum of primal infeasibilities. A nonzero answer stops the run.
struct SimplexProgress {
  int32 event = 0;
  int32 iter = 0;
  double degpct = 0.0;
  double pobj = 0.0;
  double pinf = 0.0;
  double dinf = 0.0;
  double dobj = 0.0;
  double time = 0.0;    // seconds in this optimizer
  double tottime = 0.0; // seconds since the simplex started
};
using SimplexProgressFunc = int32 (*)(void* handle, const SimplexProgress* info);

// The heading of the iteration table, a progress line (primal: the POBJ column filled, DFEAS
// and DOBJ blank; dual the other way) and the fixed text of an event (null for lines). The
// answers are those of snprintf.
int32 simplex_progressheader(char* buf, int32 size);
int32 simplex_progressline(char* buf, int32 size, const SimplexProgress* p, bool primal);
const char* simplex_eventtext(int32 event);

// A linear problem in bound form: minimize (or maximize) c'xx + cfix subject to
// blc <= A xx <= buc and blx <= xx <= bux; A by columns in aptr[numvar+1], asub, aval.
// Bounds at or beyond 1e30 in magnitude are infinite.
struct SimplexLp {
  int32 numcon = 0, numvar = 0;
  const int32* aptr = nullptr;
  const int32* asub = nullptr;
  const double* aval = nullptr;
  const double* c = nullptr;
  double cfix = 0.0;
  const double* blc = nullptr;
  const double* buc = nullptr;
  const double* blx = nullptr;
  const double* bux = nullptr;
  int32 maximize = 0;
};

// The answer. skc, skx, xc, xx are read as a start when settings.hotstart is not 0 (status keys
// TVA_SK_*, values for superbasic variables). With solution status 5 the dual arrays hold the
// Farkas certificate of primal infeasibility; with 6, xc and xx hold an unbounded ray.
struct SimplexSolution {
  int32* skc = nullptr;
  int32* skx = nullptr;
  double* xc = nullptr;
  double* xx = nullptr;
  double* y = nullptr;
  double* slc = nullptr;
  double* suc = nullptr;
  double* slx = nullptr;
  double* sux = nullptr;
  double pobj = 0.0; // primal objective c'xx + cfix, in the caller's sense
};

// Solves the problem; the internal code is returned and kept in stat->code, with the problem
// and solution status beside it. With a basis record, the final basis and its LU are kept in
// it when the run ends in a state worth starting from, and a hot start with
// settings.hotstartlu reuses the LU found there once it has been checked against the problem.
int32 simplex_optimize(sysenv* sys, const SimplexSettings& settings, SimplexStat* stat,
                       const SimplexLp& lp, SimplexSolution* sol,
                       SimplexProgressFunc progress = nullptr, void* handle = nullptr,
                       SimplexBasis* basis = nullptr);

// The pricing rule of the primal at its start: select_method (1 partial, 2 full, 3 ase, 4 se,
// 5 devex, 6..9 their restricted forms, 10 partial with the weights of if_method) and
// if_method, from the settings and the shape of the problem.
void psimplex_choosepricing(const SimplexSettings& s, int32 numcon, int32 numvar, int32 numfixedvar,
                            int32 hotstart, int32* if_method, int32* select_method);

// Scale factors of the rows and columns (scaled A = R A C). Returns false on no memory.
bool simplex_computescalingcoldstart(sysenv* sys, const SimplexSettings& s, const SimplexLp& lp,
                                     double* rowscale, double* colscale);

} // namespace telva
