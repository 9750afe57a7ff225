// The simplex entry of the optimize driver: the task's parameters become the engine's settings,
// its problem the engine's input, the engine's answer the basic solution, its progress reports
// the task's events, and its answer codes response codes.
#pragma once

#include "cpub/sysalloc.h"
#include "simplex/simplex.h"
#include "telva/task/task.h"

namespace telva {

// Copies the task's parameters into a settings record, recoding the symbolic values.
void simplex_settings_fromtask(const TvaTask* task, SimplexSettings* s);

// The response code of an internal answer code of the engine.
TVArescode simplex_rescode(int32 code);

// Solves the task's linear problem by the simplex engine into the basic solution slot.
TVArescode simplex_task_optimize(TvaTask* task);

// The columns of the task's A in one compressed array: ptr[numvar+1] from 0, sub, val.
TVArescode simplex_task_columns(TvaTask* task, SysVector<int32>& ptr, SysVector<int32>& sub,
                                SysVector<double>& val);

// The engine's progress reports routed to the task: the simplex information items, then the
// event (log line, callback, time limit). The route is the handle of the progress function.
struct SimplexRoute {
  TvaTask* task = nullptr;
  SysTimer start; // the simplex's start, for TVA_DINF_SIM_TIME
};
// Clears the simplex items and stamps the start.
void simplex_route_begin(SimplexRoute* route, TvaTask* task);
// The progress function; a nonzero answer (the callback's or the time limit's) stops the run.
int32 simplex_route_progress(void* handle, const SimplexProgress* p);
// The items from the statistics of the finished run.
void simplex_route_end(SimplexRoute* route, const SimplexStat& stat, int32 hotstart);

} // namespace telva
