// The continuous driver: the conic driver, the quadratic path, the simplex frame or the
// interior chain with the problem view around it.
#include "misc/spmat.h"
#include "misc/sprmat.h"
#include "telva/solution/drvsol.h"
#include "telva/optimize/optimize.h"
#include "telva/log/report.h"
#include "telva/task/threads.h"

namespace telva {

namespace {

bool is_simplex(int32 opt) {
  return opt == TVA_OPTIMIZER_PRIMAL_SIMPLEX || opt == TVA_OPTIMIZER_DUAL_SIMPLEX ||
         opt == TVA_OPTIMIZER_FREE_SIMPLEX;
}

bool has_quadratic(const TvaTask* task) {
  return store_has_qobj(task) || store_has_qcon(task);
}

bool is_linear(const TvaTask* task) {
  return !has_quadratic(task) && !store_is_conic(task) && !store_is_nl(task);
}

bool is_empty(const TvaTask* task) {
  return task->numcon == 0 && task->numvar == 0 && task->numcone == 0 && task->numbarvar == 0;
}

void view_attach_solution(TvaTask* task, int32 whichsol, ViewSolution* vs) {
  SlotArrays arr;
  if (!drvsol_ops().arrays(task, whichsol, &arr)) return;
  vs->xc = arr.xc;
  vs->xx = arr.xx;
  vs->y = arr.y;
  vs->slc = arr.slc;
  vs->suc = arr.suc;
  vs->slx = arr.slx;
  vs->sux = arr.sux;
  vs->snx = arr.snx;
  vs->skn = arr.skn;
}

// The column copy of A for the run.
TVArescode view_copy_a(TvaTask* task, ProblemView* view) {
  sprmat* a = task->store.a;
  int64 nz = 0;
  if (a && sprmat_numnz(a, &nz) != 0) return TVA_REP(task, ERR_SPACE);
  if (spmat_create(task->sys, task->numvar, task->numcon, nz, true, &view->acol) != kSpmatOk)
    return TVA_REP(task, ERR_SPACE);
  for (int32 j = 0; j < task->numvar; ++j) {
    int32 nzj = 0;
    const int32* sub = nullptr;
    const double* val = nullptr;
    if (a && sprmat_getvec(a, true, j, &nzj, &sub, &val) != 0) return TVA_REP(task, ERR_SPACE);
    if (spmat_addvec(view->acol, nzj, sub, val) != kSpmatOk) return TVA_REP(task, ERR_SPACE);
  }
  return TVA_RES_OK;
}

void view_fill(TvaTask* task, ProblemView* view) {
  ProblemStore& s = task->store;
  view->sys = task->sys;
  view->buf = task->bufenv;
  view->numcon = task->numcon;
  view->numvar = task->numvar;
  view->numcone = task->numcone;
  view->cfix = s.cfix;
  view->c = s.c;
  view->bkc = s.bkc;
  view->blc = s.blc;
  view->buc = s.buc;
  view->bkx = s.bkx;
  view->blx = s.blx;
  view->bux = s.bux;
  int64 first = 0, last = 0;
  store_qinterval(task, -1, &first, &last);
  view->numqobj = last - first;
  view->qsubi = s.qsubi ? s.qsubi + first : nullptr;
  view->qsubj = s.qsubj ? s.qsubj + first : nullptr;
  view->qval = s.qval ? s.qval + first : nullptr;
  view->nlhandle = s.nlhandle;
  view->nlgetsp = s.nlgetsp;
  view->nlgetva = s.nlgetva;
}

// Negates the objective in place: on the task's c and Q, and cfix both in the task and the view.
void negate_objective(TvaTask* task, ProblemView* view) {
  view->cfix = -view->cfix;
  task->store.cfix = -task->store.cfix;
  for (int32 j = 0; j < view->numvar; ++j)
    view->c[j] = -view->c[j];
  for (int64 k = 0; k < view->numqobj; ++k)
    view->qval[k] = -view->qval[k];
}

void flip_duals(TvaTask* task) {
  for (int32 whichsol : {TVA_SOL_ITR, TVA_SOL_BAS, TVA_SOL_ITG})
    if (drvsol_ops().is_defined(task, whichsol)) drvsol_ops().flip_duals(task, whichsol);
}

void zero(double* v, int32 n) {
  if (!v) return;
  for (int32 i = 0; i < n; ++i)
    v[i] = 0.0;
}

void zero_itr_arrays(TvaTask* task) {
  SlotArrays arr;
  if (!drvsol_ops().arrays(task, TVA_SOL_ITR, &arr)) return;
  zero(arr.xc, arr.numcon);
  zero(arr.y, arr.numcon);
  zero(arr.slc, arr.numcon);
  zero(arr.suc, arr.numcon);
  zero(arr.xx, arr.numvar);
  zero(arr.slx, arr.numvar);
  zero(arr.sux, arr.numvar);
  zero(arr.snx, arr.numvar);
}

int32 public_prosta(int32 prosta) {
  return prosta >= 1 && prosta <= 7 ? prosta : TVA_PRO_STA_UNKNOWN;
}

int32 public_solsta(int32 solsta) {
  return solsta >= 0 && solsta <= TVA_SOL_STA_NEAR_INTEGER_OPTIMAL ? solsta : TVA_SOL_STA_UNKNOWN;
}

// An empty problem needs no optimizer: it is optimal with an empty solution.
int32 solve_empty(ProblemView* view) {
  for (ViewSolution& vs : view->sol) {
    if (!vs.wanted) continue;
    vs.prosta = TVA_PRO_STA_PRIM_AND_DUAL_FEAS;
    vs.solsta = TVA_SOL_STA_OPTIMAL;
  }
  return 0;
}

// Threads, the view, the chain, the statuses and the undoing of maximize.
TVArescode interior_path(TvaTask* task, bool linear) {
  const DriverSolutionOps& ops = drvsol_ops();
  int32 numthreads =
      task->iparam[TVA_IPAR_INTPNT_MULTI_THREAD] == TVA_ON ? task->iparam[TVA_IPAR_NUM_THREADS] : 1;
  TVArescode r = threads_decide(task->env, task, numthreads, true, linear, !linear, &numthreads);
  if (r != TVA_RES_OK) return r;

  bool want_bas = task->iparam[TVA_IPAR_INTPNT_BASIS] != TVA_BI_NEVER && linear;
  if (want_bas && (r = ops.make_ready(task, TVA_SOL_BAS)) != TVA_RES_OK) return r;
  if (!linear && !store_is_conic(task)) {
    r = optimize_chains().check_convexity(task);
    if (r != TVA_RES_OK) return r;
  }

  ProblemView view;
  view_fill(task, &view);
  r = view_copy_a(task, &view);
  if (r == TVA_RES_OK) {
    view.negated = task->store.objsense == TVA_OBJECTIVE_SENSE_MAXIMIZE;
    if (view.negated) negate_objective(task, &view);
    view.numthreads = numthreads;
    task->iinf[TVA_IINF_INTPNT_NUM_THREADS] = numthreads;
    view.sol[0].wanted = true;
    view.sol[1].wanted = want_bas;
    view_attach_solution(task, TVA_SOL_ITR, &view.sol[0]);
    if (want_bas) view_attach_solution(task, TVA_SOL_BAS, &view.sol[1]);
    zero_itr_arrays(task);

    int32 status = is_empty(task) ? solve_empty(&view) : optimize_chains().interior(task, &view);
    r = interior_status_to_code(status);
    if (r == TVA_RES_ERR_SPACE) r = TVA_REP(task, ERR_SPACE);
    if (r == TVA_RES_ERR_NONCONVEX) r = TVA_REP(task, ERR_NONCONVEX);

    ops.put_status(task, TVA_SOL_ITR, public_prosta(view.sol[0].prosta),
                   public_solsta(view.sol[0].solsta));
    if (want_bas)
      ops.put_status(task, TVA_SOL_BAS, public_prosta(view.sol[1].prosta),
                     public_solsta(view.sol[1].solsta));
    if (view.negated) {
      negate_objective(task, &view);
      flip_duals(task);
    }
  }
  spmat_delete(&view.acol);
  return r;
}

} // namespace

TVArescode optimize_continuous(TvaTask* task) {
  const DriverSolutionOps& ops = drvsol_ops();
  int32 opt = task->iparam[TVA_IPAR_OPTIMIZER];
  task->stop_code = 0;
  // While the build has no interior-point optimizer, the free choice solves a linear problem
  // with the free simplex, so that the default settings solve it.
  if (opt == TVA_OPTIMIZER_FREE && is_linear(task) && !is_empty(task) && !optimize_has_interior())
    opt = TVA_OPTIMIZER_FREE_SIMPLEX;
  if (!is_simplex(opt)) {
    TVArescode r = ops.make_ready(task, TVA_SOL_ITR);
    if (r != TVA_RES_OK) return r;
  }
  bool conic = store_is_conic(task);
  bool nl = store_is_nl(task);
  if (opt == TVA_OPTIMIZER_CONIC || (opt == TVA_OPTIMIZER_FREE && conic))
    return optimize_chains().conic(task);
  if ((opt == TVA_OPTIMIZER_INTPNT || opt == TVA_OPTIMIZER_FREE) && has_quadratic(task) && !conic &&
      !nl)
    return optimize_chains().quadratic(task);
  bool linear = is_linear(task);
  if (is_simplex(opt)) {
    if (!linear) return TVA_REP(task, ERR_INV_OPTIMIZER, opt);
    return optimize_chains().simplex(task);
  }
  return interior_path(task, linear);
}

} // namespace telva
