// The optimize driver: the one road from a task's problem to its solutions. It classifies the
// problem, clears the run's information items, picks the optimizer chain, hands the interior
// chain a view of the task's arrays and maps what comes back to a response code.
#pragma once

#include "cpub/bufenv.h"
#include "telva/task/task.h"

namespace telva {

struct spmat;

// The wanted solution of a view: statuses written by the chain (public numbering) and the
// slot's arrays, written in place.
struct ViewSolution {
  bool wanted = false;
  int32 prosta = 0;
  int32 solsta = 0;
  int32 *skc = nullptr, *skx = nullptr, *skn = nullptr;
  double *xc = nullptr, *xx = nullptr, *y = nullptr, *slc = nullptr, *suc = nullptr;
  double *slx = nullptr, *sux = nullptr, *snx = nullptr;
};

// What the interior chain sees of the task: pointers into the task, and the column copy of A
// made for the run. All the chain ever minimizes: for maximize the objective is negated here
// on the task's own values and negated back after the run.
struct ProblemView {
  sysenv* sys = nullptr;
  bufenv* buf = nullptr;
  int32 numcon = 0, numvar = 0, numcone = 0;
  double cfix = 0.0; // negated with c for maximize
  double* c = nullptr;
  const int32* bkc = nullptr;
  const double *blc = nullptr, *buc = nullptr;
  const int32* bkx = nullptr;
  const double *blx = nullptr, *bux = nullptr;
  // The objective's Q: lower-triangle triplets qsubi, qsubj, qval of length numqobj.
  int64 numqobj = 0;
  const int32 *qsubi = nullptr, *qsubj = nullptr;
  double* qval = nullptr;
  spmat* acol = nullptr; // A by columns, owned by the view
  void* nlhandle = nullptr;
  void* nlgetsp = nullptr;
  void* nlgetva = nullptr;
  int32 numthreads = 1;
  bool negated = false;
  ViewSolution sol[2]; // TVA_SOL_ITR, TVA_SOL_BAS
};

// The optimizer chains behind the driver. Each chain's module puts its entry here; until it
// does, the entry reports TVA_RES_ERR_INTERNAL naming the missing optimizer.
struct OptimizerChains {
  TVArescode (*mixed_integer)(TvaTask* task);
  TVArescode (*conic)(TvaTask* task);
  TVArescode (*quadratic)(TvaTask* task);
  TVArescode (*simplex)(TvaTask* task);
  TVArescode (*check_convexity)(TvaTask* task);
  TVArescode (*infeas_report)(TvaTask* task, int32 whichstream);
  // Presolve, interior point, basis identification and postsolve; returns a chain status.
  int32 (*interior)(TvaTask* task, ProblemView* view);
};

OptimizerChains& optimize_chains();
// Puts every entry back to its built-in value.
void optimize_chains_reset();
// Whether an interior-point chain is present (this build may lack one).
bool optimize_has_interior();

// The whole run of TVA_optimizetrm and TVA_optimize; returns the final code.
TVArescode optimize_run(TvaTask* task);
// The continuous driver: conic, quadratic, simplex or interior path.
TVArescode optimize_continuous(TvaTask* task);
// The interior chain's status as a response code.
TVArescode interior_status_to_code(int32 status);

} // namespace telva
