// TVA_optimizetrm and TVA_optimize: the frame of a run around the optimizer chains.
#include "telva/optimize/optimize.h"

#include "telva/optimize/simplex_task.h"

#include "telva/solution/drvsol.h"
#include "telva/log/events.h"
#include "telva/log/report.h"
#include "telva/task/telvabuf.h"

namespace telva {

namespace {

// Entries of chains whose optimizer is not part of the library yet.
TVArescode missing_mixed_integer(TvaTask* task) {
  return TVA_REP(task, ERR_INTERNAL, "the mixed-integer optimizer is not available");
}
TVArescode missing_conic(TvaTask* task) {
  return TVA_REP(task, ERR_INTERNAL, "the conic optimizer is not available");
}
TVArescode missing_quadratic(TvaTask* task) {
  return TVA_REP(task, ERR_INTERNAL, "the quadratic optimizer is not available");
}
TVArescode missing_convexity(TvaTask* task) {
  return TVA_REP(task, ERR_INTERNAL, "the convexity check is not available");
}
TVArescode missing_infeas_report(TvaTask* task, int32) {
  return TVA_REP(task, ERR_INTERNAL, "the infeasibility report is not available");
}
// Status 36 maps to TVA_RES_ERR_INTERNAL; the message names what is missing.
int32 missing_interior(TvaTask* task, ProblemView*) {
  TVA_REP(task, ERR_INTERNAL, "the interior-point optimizer is not available");
  return 36;
}

constexpr OptimizerChains kBuiltInChains = {
    missing_mixed_integer, missing_conic,         missing_quadratic, simplex_task_optimize,
    missing_convexity,     missing_infeas_report, missing_interior};

OptimizerChains g_chains = kBuiltInChains;

bool is_error(TVArescode r) {
  return r >= 1000 && r <= 9998;
}

// Items that one run fills: iterations, times, factor statistics and objective values of the
// interior-point, simplex, basis identification and presolve steps.
void clear_run_items(TvaTask* task) {
  constexpr int32 kDinfs[] = {TVA_DINF_BI_CLEAN_DUAL_TIME,
                              TVA_DINF_BI_CLEAN_PRIMAL_DUAL_TIME,
                              TVA_DINF_BI_CLEAN_PRIMAL_TIME,
                              TVA_DINF_BI_CLEAN_TIME,
                              TVA_DINF_BI_DUAL_TIME,
                              TVA_DINF_BI_PRIMAL_TIME,
                              TVA_DINF_BI_TIME,
                              TVA_DINF_INTPNT_DUAL_OBJ,
                              TVA_DINF_INTPNT_FACTOR_NUM_FLOPS,
                              TVA_DINF_INTPNT_ORDER_TIME,
                              TVA_DINF_INTPNT_PRIMAL_OBJ,
                              TVA_DINF_INTPNT_TIME,
                              TVA_DINF_PRESOLVE_ELI_TIME,
                              TVA_DINF_PRESOLVE_LINDEP_TIME,
                              TVA_DINF_PRESOLVE_TIME,
                              TVA_DINF_SIM_DUAL_TIME,
                              TVA_DINF_SIM_OBJ,
                              TVA_DINF_SIM_PRIMAL_DUAL_TIME,
                              TVA_DINF_SIM_PRIMAL_TIME,
                              TVA_DINF_SIM_TIME};
  constexpr int32 kIinfs[] = {TVA_IINF_INTPNT_ITER,
                              TVA_IINF_INTPNT_FACTOR_DIM_DENSE,
                              TVA_IINF_SIM_DUAL_DEG_ITER,
                              TVA_IINF_SIM_DUAL_INF_ITER,
                              TVA_IINF_SIM_DUAL_ITER,
                              TVA_IINF_SIM_PRIMAL_DEG_ITER,
                              TVA_IINF_SIM_PRIMAL_DUAL_DEG_ITER,
                              TVA_IINF_SIM_PRIMAL_DUAL_INF_ITER,
                              TVA_IINF_SIM_PRIMAL_DUAL_ITER,
                              TVA_IINF_SIM_PRIMAL_INF_ITER,
                              TVA_IINF_SIM_PRIMAL_ITER};
  constexpr int32 kLiinfs[] = {TVA_LIINF_BI_CLEAN_DUAL_DEG_ITER,
                               TVA_LIINF_BI_CLEAN_DUAL_ITER,
                               TVA_LIINF_BI_CLEAN_PRIMAL_DEG_ITER,
                               TVA_LIINF_BI_CLEAN_PRIMAL_DUAL_DEG_ITER,
                               TVA_LIINF_BI_CLEAN_PRIMAL_DUAL_ITER,
                               TVA_LIINF_BI_CLEAN_PRIMAL_DUAL_SUB_ITER,
                               TVA_LIINF_BI_CLEAN_PRIMAL_ITER,
                               TVA_LIINF_BI_DUAL_ITER,
                               TVA_LIINF_BI_PRIMAL_ITER,
                               TVA_LIINF_INTPNT_FACTOR_NUM_NZ};
  for (int32 k : kDinfs)
    task->dinf[k] = 0.0;
  for (int32 k : kIinfs)
    task->iinf[k] = 0;
  for (int32 k : kLiinfs)
    task->liinf[k] = 0;
}

// Checks and clears for the run. A non-zero result skips the dispatch.
TVArescode prepare_run(TvaTask* task) {
  int32 sense = task->store.objsense;
  if (sense != TVA_OBJECTIVE_SENSE_MINIMIZE && sense != TVA_OBJECTIVE_SENSE_MAXIMIZE)
    return TVA_REP(task, ERR_UNDEFINED_OBJECTIVE_SENSE);
  task->header_printed = false;
  task->stop_code = 0;
  task->iinf[TVA_IINF_OPT_NUMCON] = task->numcon;
  task->iinf[TVA_IINF_OPT_NUMVAR] = task->numvar;
  clear_run_items(task);
  if (task->iparam[TVA_IPAR_AUTO_SORT_A_BEFORE_OPT] == TVA_ON) return store_sort_a(task);
  return TVA_RES_OK;
}

// The mixed-integer frame or the continuous driver.
TVArescode dispatch(TvaTask* task) {
  if (task->store.numintvar == 0 || task->iparam[TVA_IPAR_MIO_MODE] == TVA_MIO_MODE_IGNORED)
    return optimize_continuous(task);
  if (task->numbarvar > 0) return TVA_REP(task, ERR_GLOBAL_INV_CONIC_PROBLEM);
  TVArescode r = store_check_mixing(task);
  if (r != TVA_RES_OK) return r;
  return g_chains.mixed_integer(task);
}

// Solution information of every defined slot, the first failure ends it.
TVArescode update_solution_info(TvaTask* task) {
  const DriverSolutionOps& ops = drvsol_ops();
  for (int32 whichsol : {TVA_SOL_ITR, TVA_SOL_BAS, TVA_SOL_ITG}) {
    if (!ops.is_defined(task, whichsol)) continue;
    TVArescode r = ops.update_info(task, whichsol);
    if (r != TVA_RES_OK) return r;
  }
  return TVA_RES_OK;
}

// The integer slot carries no cone duals.
void clear_integer_cone_keys(TvaTask* task) {
  SlotArrays arr;
  if (!drvsol_ops().arrays(task, TVA_SOL_ITG, &arr) || !arr.skn) return;
  for (int32 k = 0; k < arr.numcone; ++k)
    arr.skn[k] = 0;
}

} // namespace

OptimizerChains& optimize_chains() {
  return g_chains;
}

void optimize_chains_reset() {
  g_chains = kBuiltInChains;
}

bool optimize_has_interior() {
  return g_chains.interior != missing_interior;
}

TVArescode optimize_run(TvaTask* task) {
  sysenv_timer_stamp(task->sys, &task->call_start);
  ++task->optimize_count;
  task->stop_code = 0; // a stop of an earlier run must not name this run's reason

  TVArescode r = event_call(task, TVA_CALLBACK_BEGIN_OPTIMIZER);
  if (r == TVA_RES_OK) {
    sysenv_timer_stamp(task->sys, &task->optimizer_start);
    telvabuf_keep_in_use(task);

    r = prepare_run(task);
    sysenv_set_spin_count(task->sys, task->iparam[TVA_IPAR_MT_SPINCOUNT]);
    if (r == TVA_RES_OK) r = dispatch(task);

    if (task->iparam[TVA_IPAR_AUTO_UPDATE_SOL_INFO] == TVA_ON && !is_error(r)) {
      TVArescode u = update_solution_info(task);
      if (r == TVA_RES_OK) r = u;
    }
    task->dinf[TVA_DINF_OPTIMIZER_TIME] = sysenv_timer_seconds(task->sys, task->optimizer_start);
    clear_integer_cone_keys(task);
    if (task->iparam[TVA_IPAR_INFEAS_REPORT_AUTO] == TVA_ON) {
      TVArescode ir = g_chains.infeas_report(task, TVA_STREAM_LOG);
      if (r == TVA_RES_OK) r = ir;
    }
  }

  // An optimizer only knows it was stopped; the event function knows why.
  if (r == TVA_RES_TRM_USER_CALLBACK && task->stop_code != 0) r = task->stop_code;
  TVArescode end = event_call(task, TVA_CALLBACK_END_OPTIMIZER);
  if (r == TVA_RES_OK) r = end;
  task->iinf[TVA_IINF_OPTIMIZE_RESPONSE] = r;
  return r;
}

} // namespace telva

using namespace telva;

extern "C" {

TVAAPI TVArescode TVA_optimizetrm(TVAtask_t task, TVArescode* trmcode) {
  TVArescode r = task_check(task);
  if (r == TVA_RES_OK) r = optimize_run(task);
  TVAint32t cls = TVA_RESPONSE_OK;
  TVA_getresponseclass(r, &cls);
  if (cls == TVA_RESPONSE_TRM) {
    if (trmcode) *trmcode = r;
    return TVA_RES_OK;
  }
  if (trmcode) *trmcode = TVA_RES_OK;
  return r;
}

TVAAPI TVArescode TVA_optimize(TVAtask_t task) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  return optimize_run(task);
}

TVAAPI TVArescode TVA_putcallbackfunc(TVAtask_t task, TVAcallbackfunc func, void* handle) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  task->cb_func = reinterpret_cast<void*>(func);
  task->cb_handle = func ? handle : nullptr;
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getcallbackfunc(TVAtask_t task, TVAcallbackfunc* func, void** handle) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (func) *func = reinterpret_cast<TVAcallbackfunc>(task->cb_func);
  if (handle) *handle = task->cb_handle;
  return TVA_RES_OK;
}

} // extern "C"
