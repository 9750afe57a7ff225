// The event function of the optimizers: log line, callback, time limit.
#include "telva/log/events.h"

#include <cinttypes>
#include <cstdio>

#include "telva/log/taskprint.h"

namespace telva {

namespace {

// Event number to public callback code; 100 where an event has none.
constexpr int32 kEventToCallback[kNumEvents] = {
    TVA_CALLBACK_BEGIN_INTPNT,                  // 0
    TVA_CALLBACK_INTPNT,                        // 1
    TVA_CALLBACK_IM_INTPNT,                     // 2
    TVA_CALLBACK_END_INTPNT,                    // 3
    TVA_CALLBACK_BEGIN_CONIC,                   // 4
    TVA_CALLBACK_CONIC,                         // 5
    TVA_CALLBACK_CONIC,                         // 6
    TVA_CALLBACK_END_CONIC,                     // 7
    TVA_CALLBACK_BEGIN_BI,                      // 8
    TVA_CALLBACK_IM_BI,                         // 9
    TVA_CALLBACK_BEGIN_PRIMAL_BI,               // 10
    TVA_CALLBACK_IM_PRIMAL_BI,                  // 11
    TVA_CALLBACK_UPDATE_PRIMAL_BI,              // 12
    TVA_CALLBACK_END_PRIMAL_BI,                 // 13
    TVA_CALLBACK_BEGIN_DUAL_BI,                 // 14
    TVA_CALLBACK_IM_DUAL_BI,                    // 15
    TVA_CALLBACK_UPDATE_DUAL_BI,                // 16
    TVA_CALLBACK_END_DUAL_BI,                   // 17
    TVA_CALLBACK_BEGIN_SIMPLEX_BI,              // 18
    TVA_CALLBACK_BEGIN_PRIMAL_SIMPLEX_BI,       // 19
    TVA_CALLBACK_BEGIN_PRIMAL_DUAL_SIMPLEX_BI,  // 20
    TVA_CALLBACK_BEGIN_DUAL_SIMPLEX_BI,         // 21
    TVA_CALLBACK_IM_SIMPLEX_BI,                 // 22
    TVA_CALLBACK_UPDATE_PRIMAL_SIMPLEX_BI,      // 23
    TVA_CALLBACK_UPDATE_PRIMAL_DUAL_SIMPLEX_BI, // 24
    TVA_CALLBACK_UPDATE_DUAL_SIMPLEX_BI,        // 25
    TVA_CALLBACK_END_SIMPLEX_BI,                // 26
    TVA_CALLBACK_END_PRIMAL_SIMPLEX_BI,         // 27
    TVA_CALLBACK_END_PRIMAL_DUAL_SIMPLEX_BI,    // 28
    TVA_CALLBACK_END_DUAL_SIMPLEX_BI,           // 29
    TVA_CALLBACK_END_BI,                        // 30
    TVA_CALLBACK_BEGIN_PRESOLVE,                // 31
    TVA_CALLBACK_IM_PRESOLVE,                   // 32
    TVA_CALLBACK_IM_PRESOLVE,                   // 33
    TVA_CALLBACK_IM_PRESOLVE,                   // 34
    TVA_CALLBACK_IM_PRESOLVE,                   // 35
    TVA_CALLBACK_IM_PRESOLVE,                   // 36
    TVA_CALLBACK_UPDATE_PRESOLVE,               // 37
    TVA_CALLBACK_IM_PRESOLVE,                   // 38
    TVA_CALLBACK_END_PRESOLVE,                  // 39
    TVA_CALLBACK_BEGIN_SIMPLEX,                 // 40
    TVA_CALLBACK_END_SIMPLEX,                   // 41
    kCallbackNone,                              // 42
    kCallbackNone,                              // 43
    TVA_CALLBACK_BEGIN_PRIMAL_SIMPLEX,          // 44
    TVA_CALLBACK_IM_PRIMAL_SIMPLEX,             // 45
    TVA_CALLBACK_IM_PRIMAL_SIMPLEX,             // 46
    TVA_CALLBACK_UPDATE_PRIMAL_SIMPLEX,         // 47
    TVA_CALLBACK_IM_PRIMAL_SIMPLEX,             // 48
    TVA_CALLBACK_END_PRIMAL_SIMPLEX,            // 49
    TVA_CALLBACK_IM_PRIMAL_DUAL_SIMPLEX,        // 50
    TVA_CALLBACK_IM_PRIMAL_DUAL_SIMPLEX,        // 51
    TVA_CALLBACK_UPDATE_PRIMAL_DUAL_SIMPLEX,    // 52
    TVA_CALLBACK_IM_PRIMAL_DUAL_SIMPLEX,        // 53
    TVA_CALLBACK_END_PRIMAL_DUAL_SIMPLEX,       // 54
    TVA_CALLBACK_BEGIN_PRIMAL_DUAL_SIMPLEX,     // 55
    TVA_CALLBACK_BEGIN_DUAL_SIMPLEX,            // 56
    TVA_CALLBACK_IM_DUAL_SIMPLEX,               // 57
    TVA_CALLBACK_IM_DUAL_SIMPLEX,               // 58
    TVA_CALLBACK_UPDATE_DUAL_SIMPLEX,           // 59
    TVA_CALLBACK_IM_DUAL_SIMPLEX,               // 60
    TVA_CALLBACK_END_DUAL_SIMPLEX,              // 61
    kCallbackNone,                              // 62
    kCallbackNone,                              // 63
    TVA_CALLBACK_IM_BI,
    TVA_CALLBACK_IM_BI,
    TVA_CALLBACK_IM_BI,
    TVA_CALLBACK_IM_BI, // 64-67
    TVA_CALLBACK_IM_BI,
    TVA_CALLBACK_IM_BI,
    TVA_CALLBACK_IM_BI,
    TVA_CALLBACK_IM_BI, // 68-71
    TVA_CALLBACK_IM_BI,
    TVA_CALLBACK_IM_BI,
    TVA_CALLBACK_IM_BI,
    TVA_CALLBACK_IM_BI, // 72-75
    TVA_CALLBACK_IM_ORDER,
    TVA_CALLBACK_IM_ORDER,
    TVA_CALLBACK_IM_ORDER, // 76-78
    TVA_CALLBACK_IM_ORDER,
    TVA_CALLBACK_IM_ORDER,
    TVA_CALLBACK_IM_ORDER, // 79-81
    TVA_CALLBACK_IM_ORDER,
    TVA_CALLBACK_IM_ORDER,
    TVA_CALLBACK_IM_ORDER, // 82-84
    TVA_CALLBACK_IM_ORDER,
    TVA_CALLBACK_IM_ORDER,
    TVA_CALLBACK_IM_ORDER, // 85-87
    TVA_CALLBACK_IM_LU,
    TVA_CALLBACK_IM_LU,
    TVA_CALLBACK_IM_LU,
    TVA_CALLBACK_IM_LU, // 88-91
    TVA_CALLBACK_IM_SIMPLEX,
    TVA_CALLBACK_IM_SIMPLEX,
    TVA_CALLBACK_IM_SIMPLEX, // 92-94
    TVA_CALLBACK_IM_SIMPLEX, // 95
    TVA_CALLBACK_IM_ORDER,
    TVA_CALLBACK_IM_ORDER, // 96-97
    TVA_CALLBACK_IM_BI,
    TVA_CALLBACK_IM_BI, // 98-99
};

// Events whose fixed text is all they print.
struct EventText {
  int32 event;
  int32 area;
  bool halved;
  const char* text;
};

constexpr EventText kFixedTexts[] = {
    {0, TVA_IPAR_LOG_INTPNT, false, "Interior-point optimizer started.\n"},
    {4, TVA_IPAR_LOG_INTPNT, false, "Conic interior-point optimizer started.\n"},
    {8, TVA_IPAR_LOG_BI, true, "Basis identification started.\n"},
    {31, TVA_IPAR_LOG_PRESOLVE, false, "Presolve start.\n"},
    {32, TVA_IPAR_LOG_PRESOLVE, false, "Eliminator started.\n"},
    {33, TVA_IPAR_LOG_PRESOLVE, false, "Eliminator terminated.\n"},
    {34, TVA_IPAR_LOG_PRESOLVE, false, "Linear dependency checker started.\n"},
    {36, TVA_IPAR_LOG_PRESOLVE, false, "Linear dependency checker terminated.\n"},
    {40, TVA_IPAR_LOG_SIM, true, "Simplex optimizer started.\n"},
    {44, TVA_IPAR_LOG_SIM, true, "Primal simplex optimizer started.\n"},
    {45, TVA_IPAR_LOG_SIM, true, "Primal simplex optimizer setup started.\n"},
    {46, TVA_IPAR_LOG_SIM, true, "Primal simplex optimizer setup terminated.\n"},
    {49, TVA_IPAR_LOG_SIM, true, "Primal simplex optimizer terminated.\n"},
    {50, TVA_IPAR_LOG_SIM, true, "Primal-dual simplex optimizer setup started.\n"},
    {55, TVA_IPAR_LOG_SIM, true, "Primal-dual simplex optimizer started.\n"},
    {56, TVA_IPAR_LOG_SIM, true, "Dual simplex optimizer started.\n"},
    {57, TVA_IPAR_LOG_SIM, true, "Dual simplex optimizer setup started.\n"},
    {58, TVA_IPAR_LOG_SIM, true, "Dual simplex optimizer setup terminated.\n"},
    {61, TVA_IPAR_LOG_SIM, true, "Dual simplex optimizer terminated.\n"},
    {76, TVA_IPAR_LOG_ORDER, false, "Matrix reordering started.\n"},
    {79, TVA_IPAR_LOG_ORDER, false, "Matrix reordering terminated.\n"},
    {80, TVA_IPAR_LOG_ORDER, false, "Local matrix reordering started.\n"},
    {83, TVA_IPAR_LOG_ORDER, false, "Local matrix reordering terminated.\n"},
    {84, TVA_IPAR_LOG_ORDER, false, "GP based matrix reordering started.\n"},
    {87, TVA_IPAR_LOG_ORDER, false, "GP based matrix reordering terminated.\n"},
    {98, TVA_IPAR_LOG_BI, true, "Basis crash started.\n"},
};

// Events at which the running optimizer time is refreshed even without a stamp.
bool refreshes_time(int32 event) {
  return event == 32 || event == 33 || event == 34 || event == 36 || event == 59 || event == 87;
}

// Callback codes of the END family, after which the time limit is not checked.
bool is_end_code(int32 cb) {
  return (cb >= 31 && cb <= 54) || cb == 56 || cb == 57 || cb == 59;
}

int32 log_cut(const TvaTask* task) {
  return task->optimize_count >= 2 ? task->iparam[TVA_IPAR_LOG_CUT_SECOND_OPT] : 0;
}

void msg(TvaTask* task, const char* text) {
  task_printf(task, TVA_STREAM_MSG, "%s", text);
}

const char* status_of(const EventDetail* d) {
  return d && d->status_text ? d->status_text : "";
}

constexpr const char* kBiHeading = "%-8s  %-10s  %-20s  %-s\n";
constexpr const char* kReoptHeading = "%-8s  %-10s  %-10s  %-10s  %-20s  %-20s  %-s\n";

// Counts above 10000 in magnitude go in exponent form, so that they keep the column's width.
struct CountText {
  char text[32];
};
CountText count_text(int64 n) {
  CountText c;
  if (n > 10000 || n < -10000)
    std::snprintf(c.text, sizeof c.text, "%.2e", static_cast<double>(n));
  else
    std::snprintf(c.text, sizeof c.text, "%" PRId64, n);
  return c;
}

void bi_progress_line(TvaTask* task, const EventDetail* d) {
  if (!d) return;
  CountText iter = count_text(d->iter);
  task_printf(task, TVA_STREAM_MSG, "%-8s  %-10.2e  %-20.10e  %-.2f\n", iter.text, d->infeas,
              d->obj, d->time);
}

// The columns a phase does not compute show this text.
constexpr const char* kNotComputed = "NA";

// A simplex progress line. The engine reports every TVA_IPAR_LOG_SIM_FREQ iterations and once
// more at the end of a run.
void simplex_progress_line(TvaTask* task, const EventDetail* d) {
  if (!d || task->iparam[TVA_IPAR_LOG_SIM_FREQ] <= 0) return;
  CountText iter = count_text(d->iter);
  if (d->phase == 1)
    task_printf(task, TVA_STREAM_MSG,
                "%-8s  %-10.2f  %-10.2e  %-10.2s  %-20.10e  %-20s  %-8.2f  %-8.2f\n", iter.text,
                d->degiter_pct, d->pfeas, kNotComputed, d->pobj, kNotComputed, d->time, d->tottime);
  else
    task_printf(task, TVA_STREAM_MSG,
                "%-8s  %-10.2f  %-10s  %-10.2e  %-20s  %-20.10e  %-8.2f  %-8.2f\n", iter.text,
                d->degiter_pct, kNotComputed, d->dfeas, kNotComputed, d->dobj, d->time, d->tottime);
}

void reopt_heading(TvaTask* task) {
  task_printf(task, TVA_STREAM_MSG, kReoptHeading, "ITER", "DEGITER(%)", "PFEAS", "DFEAS", "POBJ",
              "DOBJ", "TIME");
}

// The lines of events that carry numbers or come in several parts.
void print_composite(TvaTask* task, int32 event, const EventDetail* d) {
  const double* dinf = task->dinf;
  switch (event) {
  case 3:
  case 7:
    if (log_area_on(task, TVA_IPAR_LOG_INTPNT, false))
      task_printf(task, TVA_STREAM_MSG, "Interior-point optimizer terminated. Time: %-.2f. %s\n\n",
                  dinf[TVA_DINF_INTPNT_TIME], status_of(d));
    break;
  case 10:
  case 14:
    if (log_area_on(task, TVA_IPAR_LOG_BI, true)) {
      msg(task, event == 10 ? "Primal basis identification phase started.\n"
                            : "Dual basis identification phase started.\n");
      task_printf(task, TVA_STREAM_MSG, kBiHeading, "ITER", "INFEAS", "OBJ", "TIME");
    }
    break;
  case 12:
  case 16:
    if (log_area_on(task, TVA_IPAR_LOG_BI, true)) bi_progress_line(task, d);
    break;
  case 13:
  case 17:
    if (log_area_on(task, TVA_IPAR_LOG_BI, true)) {
      bi_progress_line(task, d);
      if (event == 13)
        task_printf(task, TVA_STREAM_MSG,
                    "Primal basis identification phase terminated. Time: %-.2f\n",
                    dinf[TVA_DINF_BI_PRIMAL_TIME]);
      else
        task_printf(task, TVA_STREAM_MSG,
                    "Dual basis identification phase terminated. Time: %-.2f\n",
                    dinf[TVA_DINF_BI_DUAL_TIME]);
    }
    break;
  case 19:
  case 20:
  case 21:
    if (log_area_on(task, TVA_IPAR_LOG_BI, true)) {
      msg(task, event == 19   ? "Primal simplex reoptimization started.\n"
                : event == 20 ? "Primal-dual simplex reoptimization started.\n"
                              : "Dual simplex reoptimization started.\n");
      reopt_heading(task);
    }
    break;
  case 26:
    if (log_area_on(task, TVA_IPAR_LOG_BI, true))
      task_printf(task, TVA_STREAM_MSG, "Simplex reoptimization terminated. Time: %.2f\n",
                  dinf[TVA_DINF_BI_CLEAN_TIME]);
    break;
  case 27:
    if (log_area_on(task, TVA_IPAR_LOG_BI, true))
      task_printf(task, TVA_STREAM_MSG, "Primal simplex reoptimization terminated. Time: %.2f\n",
                  dinf[TVA_DINF_BI_CLEAN_PRIMAL_TIME]);
    break;
  case 28:
    if (log_area_on(task, TVA_IPAR_LOG_BI, true))
      task_printf(task, TVA_STREAM_MSG,
                  "Primal-dual simplex reoptimization terminated. Time: %.2f\n",
                  dinf[TVA_DINF_BI_CLEAN_PRIMAL_DUAL_TIME]);
    break;
  case 29:
    if (log_area_on(task, TVA_IPAR_LOG_BI, true))
      task_printf(task, TVA_STREAM_MSG, "Dual simplex reoptimization terminated. Time: %.2f\n",
                  dinf[TVA_DINF_BI_CLEAN_DUAL_TIME]);
    break;
  case 30:
    if (log_area_on(task, TVA_IPAR_LOG_BI, true))
      task_printf(task, TVA_STREAM_MSG, "Basis identification terminated. Time: %-.2f\n",
                  dinf[TVA_DINF_BI_TIME]);
    break;
  case 39:
    if (log_area_on(task, TVA_IPAR_LOG_PRESOLVE, false))
      task_printf(task, TVA_STREAM_MSG, "Presolve terminated. Time: %.2f\n",
                  dinf[TVA_DINF_PRESOLVE_TIME]);
    break;
  case 41:
    if (log_area_on(task, TVA_IPAR_LOG_SIM, true))
      task_printf(task, TVA_STREAM_MSG, "Simplex optimizer terminated. Time: %-.2f. %s\n\n",
                  dinf[TVA_DINF_SIM_TIME], status_of(d));
    break;
  case 47:
  case 59:
    if (log_area_on(task, TVA_IPAR_LOG_SIM, false)) simplex_progress_line(task, d);
    break;
  case 99:
    if (log_area_on(task, TVA_IPAR_LOG_BI, true))
      task_printf(task, TVA_STREAM_MSG, "Basis crash terminated. Time: %-.2f\n", d ? d->time : 0.0);
    break;
  default:
    break;
  }
}

void print_event(TvaTask* task, int32 event, const EventDetail* d) {
  for (const EventText& t : kFixedTexts) {
    if (t.event != event) continue;
    if (log_area_on(task, t.area, t.halved)) msg(task, t.text);
    return;
  }
  print_composite(task, event, d);
}

int32 call_callback(TvaTask* task, int32 cbcode) {
  if (!task->cb_func) return 0;
  auto func = reinterpret_cast<TVAcallbackfunc>(task->cb_func);
  return func(task, task->cb_handle, cbcode, task->dinf, task->iinf, task->liinf);
}

} // namespace

int32 event_callback_code(int32 event) {
  if (event < 0 || event >= kNumEvents) return kCallbackNone;
  return kEventToCallback[event];
}

bool log_area_on(const TvaTask* task, int32 area_param, bool halved) {
  int32 area = task->iparam[area_param];
  if (halved) area /= 2;
  int32 level = std::min(area, task->iparam[TVA_IPAR_LOG]);
  return level > log_cut(task);
}

int32 event_tail(TvaTask* task, int32 cbcode) {
  if (call_callback(task, cbcode) != 0) {
    task->stop_code = TVA_RES_TRM_USER_CALLBACK;
    return kEventStopCallback;
  }
  if (is_end_code(cbcode)) return kEventGoOn;
  if (task->stop_code == TVA_RES_TRM_MAX_TIME) return kEventStopTime;
  if (task->stop_code != 0) return kEventGoOn;
  double limit = task->dparam[TVA_DPAR_OPTIMIZER_MAX_TIME];
  if (limit < 0.0) return kEventGoOn;
  if (task->dinf[TVA_DINF_OPTIMIZER_TIME] > limit) {
    task->stop_code = TVA_RES_TRM_MAX_TIME;
    task_printf(task, TVA_STREAM_MSG, "Maximum amount of time %.2f is reached.\n", limit);
    return kEventStopTime;
  }
  return kEventGoOn;
}

int32 event_report(TvaTask* task, int32 event, const SysTimer* stamp, const EventDetail* detail) {
  if (stamp) {
    task->dinf[TVA_DINF_OPTIMIZER_TIME] = sysenv_timer_diff(task->call_start, *stamp);
  } else if (refreshes_time(event)) {
    task->dinf[TVA_DINF_OPTIMIZER_TIME] = sysenv_timer_seconds(task->sys, task->call_start);
  }
  print_event(task, event, detail);
  return event_tail(task, event_callback_code(event));
}

} // namespace telva
