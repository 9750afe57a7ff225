// The driver's side of the simplex progress reports: each report of the engine becomes the
// task's event (its log line, the user's callback, the time limit), with the simplex
// information items brought up to date first so that the callback sees them.
#include <cstdio>

#include "telva/optimize/simplex_task.h"
#include "telva/log/events.h"
#include "telva/log/taskprint.h"

namespace telva {

namespace {

// The optimizer number an event belongs to: primal 44-49, primal-dual 50-55, dual 56-61.
int32 event_optimizer(int32 event) {
  if (event >= 44 && event <= 49) return kSimPrimal;
  if (event >= 50 && event <= 55) return kSimPrimalDual;
  if (event >= 56 && event <= 61) return kSimDual;
  return kSimFree;
}

void store_iterations(TvaTask* task, int32 opt, int32 iter, double time) {
  switch (opt) {
  case kSimPrimal:
    task->iinf[TVA_IINF_SIM_PRIMAL_ITER] = iter;
    task->dinf[TVA_DINF_SIM_PRIMAL_TIME] = time;
    break;
  case kSimDual:
    task->iinf[TVA_IINF_SIM_DUAL_ITER] = iter;
    task->dinf[TVA_DINF_SIM_DUAL_TIME] = time;
    break;
  case kSimPrimalDual:
    task->iinf[TVA_IINF_SIM_PRIMAL_DUAL_ITER] = iter;
    task->dinf[TVA_DINF_SIM_PRIMAL_DUAL_TIME] = time;
    break;
  default:
    break;
  }
}

} // namespace

void simplex_route_begin(SimplexRoute* route, TvaTask* task) {
  route->task = task;
  sysenv_timer_stamp(task->sys, &route->start);
  for (int32 item :
       {TVA_IINF_SIM_PRIMAL_ITER, TVA_IINF_SIM_DUAL_ITER, TVA_IINF_SIM_PRIMAL_DUAL_ITER,
        TVA_IINF_SIM_PRIMAL_DEG_ITER, TVA_IINF_SIM_DUAL_DEG_ITER, TVA_IINF_SIM_PRIMAL_DUAL_DEG_ITER,
        TVA_IINF_SIM_PRIMAL_INF_ITER, TVA_IINF_SIM_DUAL_INF_ITER, TVA_IINF_SIM_PRIMAL_DUAL_INF_ITER,
        TVA_IINF_SIM_SOLVE_DUAL, TVA_IINF_SIM_PRIMAL_HOTSTART_LU})
    task->iinf[item] = 0;
  for (int32 item : {TVA_DINF_SIM_TIME, TVA_DINF_SIM_PRIMAL_TIME, TVA_DINF_SIM_DUAL_TIME,
                     TVA_DINF_SIM_PRIMAL_DUAL_TIME, TVA_DINF_SIM_OBJ, TVA_DINF_SIM_FEAS})
    task->dinf[item] = 0.0;
  task->iinf[TVA_IINF_SIM_NUMCON] = task->numcon;
  task->iinf[TVA_IINF_SIM_NUMVAR] = task->numvar;
}

int32 simplex_route_progress(void* handle, const SimplexProgress* p) {
  auto* route = static_cast<SimplexRoute*>(handle);
  TvaTask* task = route->task;
  SysTimer now;
  sysenv_timer_stamp(task->sys, &now);
  task->dinf[TVA_DINF_SIM_TIME] = sysenv_timer_diff(route->start, now);
  const int32 opt = event_optimizer(p->event);
  if (opt != kSimFree) {
    store_iterations(task, opt, p->iter, p->time);
    task->dinf[TVA_DINF_SIM_OBJ] = opt == kSimDual ? p->dobj : p->pobj;
    task->dinf[TVA_DINF_SIM_FEAS] = p->pinf;
  }
  EventDetail d;
  d.iter = p->iter;
  // The primal's lines show its infeasibility and objective, the dual's the dual ones.
  d.phase = opt == kSimDual ? 2 : 1;
  d.degiter_pct = p->degpct;
  d.pfeas = p->pinf;
  d.dfeas = p->dinf;
  d.pobj = p->pobj;
  d.dobj = p->dobj;
  d.time = p->time;
  d.tottime = task->dinf[TVA_DINF_SIM_TIME];
  int32 status = event_report(task, p->event, &now, &d);
  // The iteration table of an optimizer starts once it is set up: under the primal's
  // "started" line (its setup lines come before it), under the dual's "setup terminated".
  if ((p->event == 44 || p->event == 58) && log_area_on(task, TVA_IPAR_LOG_SIM, false)) {
    char head[128];
    simplex_progressheader(head, sizeof head);
    task_printf(task, TVA_STREAM_MSG, "%s", head);
  }
  return status;
}

void simplex_route_end(SimplexRoute* route, const SimplexStat& stat, int32 hotstart) {
  TvaTask* task = route->task;
  task->dinf[TVA_DINF_SIM_TIME] = sysenv_timer_seconds(task->sys, route->start);
  task->iinf[TVA_IINF_SIM_PRIMAL_ITER] = stat.iter[kSimPrimal];
  task->iinf[TVA_IINF_SIM_DUAL_ITER] = stat.iter[kSimDual];
  task->iinf[TVA_IINF_SIM_PRIMAL_DUAL_ITER] = stat.iter[kSimPrimalDual];
  task->iinf[TVA_IINF_SIM_PRIMAL_DEG_ITER] = stat.degiter[kSimPrimal];
  task->iinf[TVA_IINF_SIM_DUAL_DEG_ITER] = stat.degiter[kSimDual];
  task->iinf[TVA_IINF_SIM_PRIMAL_DUAL_DEG_ITER] = stat.degiter[kSimPrimalDual];
  task->iinf[TVA_IINF_SIM_PRIMAL_INF_ITER] = stat.infiter[kSimPrimal];
  task->iinf[TVA_IINF_SIM_DUAL_INF_ITER] = stat.infiter[kSimDual];
  task->iinf[TVA_IINF_SIM_PRIMAL_DUAL_INF_ITER] = stat.infiter[kSimPrimalDual];
  const int32 hot = hotstart != 0;
  task->iinf[TVA_IINF_SIM_PRIMAL_HOTSTART] = hot;
  task->iinf[TVA_IINF_SIM_DUAL_HOTSTART] = hot;
  task->iinf[TVA_IINF_SIM_PRIMAL_DUAL_HOTSTART] = hot;
  task->iinf[TVA_IINF_SIM_PRIMAL_HOTSTART_LU] = stat.hotstartlu;
}

} // namespace telva
