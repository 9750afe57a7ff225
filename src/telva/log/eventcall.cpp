// Call-level events of the exported operations, the problem heading and the settings block of
// an optimizer's first progress line.
#include "telva/log/events.h"
#include "telva/log/taskprint.h"

namespace telva {

namespace {

void msg_if(TvaTask* task, int32 area, const char* text) {
  if (log_area_on(task, area, false)) task_printf(task, TVA_STREAM_MSG, "%s", text);
}

// Sensitivity and infeasibility lines ask only that both parameters are on.
void msg_if_on(TvaTask* task, int32 area, const char* fmt, double value = 0.0) {
  if (task->iparam[TVA_IPAR_LOG] >= 1 && task->iparam[area] >= 1)
    task_printf(task, TVA_STREAM_MSG, fmt, value);
}

void print_call_event(TvaTask* task, int32 cbcode) {
  const double* dinf = task->dinf;
  switch (cbcode) {
  case TVA_CALLBACK_BEGIN_OPTIMIZER:
    log_problem_heading(task);
    msg_if(task, TVA_IPAR_LOG_OPTIMIZER, "Optimizer started.\n");
    break;
  case TVA_CALLBACK_BEGIN_PRIMAL_REPAIR:
    log_problem_heading(task);
    msg_if(task, TVA_IPAR_LOG_FEAS_REPAIR, "Primal feasibility repair started.\n");
    break;
  case TVA_CALLBACK_END_OPTIMIZER:
    task->dinf[TVA_DINF_OPTIMIZER_TIME] = sysenv_timer_seconds(task->sys, task->call_start);
    if (log_area_on(task, TVA_IPAR_LOG_OPTIMIZER, false))
      task_printf(task, TVA_STREAM_MSG, "Optimizer terminated. Time: %.2f\n",
                  dinf[TVA_DINF_OPTIMIZER_TIME]);
    break;
  case TVA_CALLBACK_END_PRIMAL_REPAIR:
    msg_if(task, TVA_IPAR_LOG_FEAS_REPAIR, "Primal feasibility repair terminated.\n");
    break;
  case TVA_CALLBACK_BEGIN_FULL_CONVEXITY_CHECK:
    msg_if(task, TVA_IPAR_LOG_CHECK_CONVEXITY, "Convexity check started.\n");
    break;
  case TVA_CALLBACK_END_FULL_CONVEXITY_CHECK:
    msg_if(task, TVA_IPAR_LOG_CHECK_CONVEXITY, "Convexity check terminated.\n");
    break;
  case TVA_CALLBACK_BEGIN_QCQO_REFORMULATE:
    msg_if(task, TVA_IPAR_LOG_OPTIMIZER, "Quadratic to conic reformulation started.\n");
    break;
  case TVA_CALLBACK_END_QCQO_REFORMULATE:
    if (log_area_on(task, TVA_IPAR_LOG_OPTIMIZER, false))
      task_printf(task, TVA_STREAM_MSG, "Quadratic to conic reformulation terminated. Time: %.2f\n",
                  dinf[TVA_DINF_QCQO_REFORMULATE_TIME]);
    break;
  case TVA_CALLBACK_BEGIN_TO_CONIC:
    msg_if(task, TVA_IPAR_LOG_OPTIMIZER, "Conic reformulation started.\n");
    break;
  case TVA_CALLBACK_END_TO_CONIC:
    if (log_area_on(task, TVA_IPAR_LOG_OPTIMIZER, false))
      task_printf(task, TVA_STREAM_MSG, "Conic reformulation terminated. Time: %.2f\n",
                  dinf[TVA_DINF_TO_CONIC_TIME]);
    break;
  case TVA_CALLBACK_BEGIN_READ:
    msg_if(task, TVA_IPAR_LOG_FILE, "Reading started.\n");
    break;
  case TVA_CALLBACK_END_READ:
    if (log_area_on(task, TVA_IPAR_LOG_FILE, false))
      task_printf(task, TVA_STREAM_MSG, "Reading terminated. Time: %.2f\n", dinf[TVA_DINF_RD_TIME]);
    break;
  case TVA_CALLBACK_BEGIN_PRIMAL_SENSITIVITY:
    msg_if_on(task, TVA_IPAR_LOG_SENSITIVITY, "Primal sensitivity analysis is started.\n");
    break;
  case TVA_CALLBACK_END_PRIMAL_SENSITIVITY:
    msg_if_on(task, TVA_IPAR_LOG_SENSITIVITY,
              "Primal sensitivity analysis is terminated. Time: %-.2f.\n\n",
              sysenv_timer_seconds(task->sys, task->call_start));
    break;
  case TVA_CALLBACK_BEGIN_DUAL_SENSITIVITY:
    msg_if_on(task, TVA_IPAR_LOG_SENSITIVITY, "Dual sensitivity analysis is started.\n");
    break;
  case TVA_CALLBACK_END_DUAL_SENSITIVITY:
    msg_if_on(task, TVA_IPAR_LOG_SENSITIVITY,
              "Dual sensitivity analysis is terminated. Time: %-.2f.\n\n",
              sysenv_timer_seconds(task->sys, task->call_start));
    break;
  case TVA_CALLBACK_BEGIN_INFEAS_ANA:
    msg_if_on(task, TVA_IPAR_LOG_INFEAS_ANA, "Infeasibility analyzer is started.\n");
    break;
  case TVA_CALLBACK_END_INFEAS_ANA:
    msg_if_on(task, TVA_IPAR_LOG_INFEAS_ANA, "Infeasibility analyzer ended.\n");
    break;
  default:
    break;
  }
}

void heading_text(TvaTask* task, const char* left, const char* value) {
  task_printf(task, TVA_STREAM_MSG, "  %-22s : %s\n", left, value);
}

void heading_count(TvaTask* task, const char* left, int32 value) {
  task_printf(task, TVA_STREAM_MSG, "  %-22s : %-d\n", left, value);
}

} // namespace

void log_problem_heading(TvaTask* task) {
  if (task->header_printed) return;
  task->header_printed = true;
  if (!log_area_on(task, TVA_IPAR_LOG_OPTIMIZER, false)) return;
  char type[TVA_MAX_STR_LEN] = "";
  TVA_probtypetostr(task, store_probtype(task), type);
  task_printf(task, TVA_STREAM_MSG, "Problem\n");
  heading_text(task, "Name", task->taskname ? task->taskname : "");
  heading_text(task, "Objective sense",
               task->store.objsense == TVA_OBJECTIVE_SENSE_MAXIMIZE ? "maximize" : "minimize");
  heading_text(task, "Type", type);
  heading_count(task, "Constraints", task->numcon);
  heading_count(task, "Cones", task->numcone);
  heading_count(task, "Scalar variables", task->numvar);
  heading_count(task, "Matrix variables", task->numbarvar);
  heading_count(task, "Integer variables", task->store.numintvar);
  task_printf(task, TVA_STREAM_MSG, "\n");
}

TVArescode event_call(TvaTask* task, int32 cbcode) {
  print_call_event(task, cbcode);
  if (!task->cb_func) return TVA_RES_OK;
  auto func = reinterpret_cast<TVAcallbackfunc>(task->cb_func);
  if (func(task, task->cb_handle, cbcode, task->dinf, task->iinf, task->liinf) != 0)
    return TVA_RES_TRM_USER_CALLBACK;
  return TVA_RES_OK;
}

void log_settings_block(TvaTask* task, const SettingsBlock& sb) {
  constexpr int32 kLeft = 10, kRight = 22, kValue = 8;
  auto line = [&](const char* right, int32 value) {
    task_printf(task, TVA_STREAM_MSG, "%*s - %*s : %-*d\n", -kLeft, "Optimizer", -kRight, right,
                kValue, value);
  };
  task_printf(task, TVA_STREAM_MSG, "%*s - %*s : %s\n", -kLeft, "Optimizer", -kRight,
              "solved problem", sb.solve_dual ? "the dual" : "the primal");
  line("threads", sb.threads);
  line("Constraints", sb.numcon);
  line("Cones", sb.numcone);
  task_printf(task, TVA_STREAM_MSG, "%*s - %*s : %-*d  %*s : %-*d\n", -kLeft, "Optimizer", -kRight,
              "Scalar variables", kValue, sb.numvar, -kRight, "conic", kValue, sb.numconicvar);
  // The name is one wider than the field: the line stands as written, without the blank.
  task_printf(task, TVA_STREAM_MSG, "Optimizer  - Semi-definite variables: %-*d  %*s : %-*lld\n",
              kValue, sb.numbarvar, -kRight, "scalarized", kValue,
              static_cast<long long>(sb.numscalarized));
  if (!sb.factor || !log_area_on(task, TVA_IPAR_LOG_FACTOR, false)) return;
  task_printf(task, TVA_STREAM_MSG, "%*s - %*s : %-*.2f  %*s : %-*.2f\n", -kLeft, "Factor", -kRight,
              "setup time", kValue, sb.setup_time, -kRight, "dense det. time", kValue,
              sb.dense_det_time);
  task_printf(task, TVA_STREAM_MSG, "%*s - %*s : %-*s  %*s : %-*s\n", -kLeft, "Factor", -kRight,
              "ML order time", kValue, sb.ml_order_time, -kRight, "GP order time", kValue,
              sb.gp_order_time);
  task_printf(task, TVA_STREAM_MSG, "%*s - %*s : %-*d  %*s : %-*.2e\n", -kLeft, "Factor", -kRight,
              "nonzeros before factor", kValue, sb.nz_before, -kRight, "after factor", kValue,
              sb.nz_after);
  task_printf(task, TVA_STREAM_MSG, "%*s - %*s : %-*d  %*s : %-*.2e\n", -kLeft, "Factor", -kRight,
              "dense dim.", kValue, sb.dense_dim, -kRight, "flops", kValue, sb.flops);
}

} // namespace telva
