// Progress events: every optimizer reports through event_report, which prints the event's log
// line, runs the user's callback and checks the time limit. Exported operations outside an
// optimizer (optimize, read, repair, sensitivity, ...) report through event_call.
#pragma once

#include "telva/task/task.h"

namespace telva {

// Optimizer statuses an event hands back: go on, stop for the time limit, stop for the callback.
constexpr int32 kEventGoOn = 0;
constexpr int32 kEventStopTime = 5;
constexpr int32 kEventStopCallback = 7;

// The callback code of events that have no name of their own.
constexpr int32 kCallbackNone = 100;
constexpr int32 kNumEvents = 100;

// Private event numbers the driver and the optimizers use by name.
enum EventNumber : int32 {
  kEvIntpntBegin = 0,
  kEvIntpntIter = 1,
  kEvIntpntEnd = 3,
  kEvConicBegin = 4,
  kEvConicIter = 5,
  kEvConicEnd = 7,
  kEvBiBegin = 8,
  kEvBiPrimalBegin = 10,
  kEvBiPrimalUpdate = 12,
  kEvBiPrimalEnd = 13,
  kEvBiDualBegin = 14,
  kEvBiDualUpdate = 16,
  kEvBiDualEnd = 17,
  kEvBiEnd = 30,
  kEvPresolveBegin = 31,
  kEvPresolveEnd = 39,
  kEvSimplexBegin = 40,
  kEvSimplexEnd = 41,
};

// What some log lines carry beside their fixed text: a status word for the end lines of the
// optimizers, the numbers of a basis identification progress line.
struct EventDetail {
  const char* status_text = nullptr;
  int64 iter = 0;
  double infeas = 0.0;
  double obj = 0.0;
  double time = 0.0;
  // A simplex progress line (events 47 and 59): phase one shows the primal side, phase two
  // the dual side next to the primal objective.
  int32 phase = 2;
  double degiter_pct = 0.0;
  double pfeas = 0.0, dfeas = 0.0, pobj = 0.0, dobj = 0.0;
  double tottime = 0.0;
};

// The public callback code of a private event number; kCallbackNone for numbers without one.
int32 event_callback_code(int32 event);

// Whether an optional line of the area prints: the smaller of the area's level (halved for
// basis identification and simplex lines that say so) and TVA_IPAR_LOG must exceed the cut,
// which is 0 on a task's first optimize and TVA_IPAR_LOG_CUT_SECOND_OPT from the second on.
bool log_area_on(const TvaTask* task, int32 area_param, bool halved);

// An optimizer's event: refreshes TVA_DINF_OPTIMIZER_TIME (from stamp when one is given, and
// from the clock at the events that always do), prints, then runs the tail: callback, then
// time limit. Returns kEventGoOn, kEventStopTime or kEventStopCallback.
int32 event_report(TvaTask* task, int32 event, const SysTimer* stamp,
                   const EventDetail* detail = nullptr);

// The tail alone, for frames with events of their own (the mixed-integer optimizer).
int32 event_tail(TvaTask* task, int32 cbcode);

// A call-level event: prints its line (and the problem heading at the begin of an optimize or
// a repair), then calls the callback. TVA_RES_TRM_USER_CALLBACK if the callback asks to stop.
TVArescode event_call(TvaTask* task, int32 cbcode);

// "Problem" and the problem's numbers, at most once per run.
void log_problem_heading(TvaTask* task);

// The settings block of an optimizer's first progress line.
struct SettingsBlock {
  bool solve_dual = false;
  int32 threads = 1;
  int32 numcon = 0, numcone = 0, numvar = 0, numconicvar = 0, numbarvar = 0;
  int64 numscalarized = 0;
  // Printed under TVA_IPAR_LOG_FACTOR.
  bool factor = false;
  double setup_time = 0.0, dense_det_time = 0.0;
  const char* ml_order_time = "";
  const char* gp_order_time = "";
  int32 nz_before = 0;
  double nz_after = 0.0;
  int32 dense_dim = 0;
  double flops = 0.0;
};
void log_settings_block(TvaTask* task, const SettingsBlock& sb);

} // namespace telva
