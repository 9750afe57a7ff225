// Reporting a response code on a task: the message is built from the code's template and
// the arguments, delivered to the response handler or the task's streams, and recorded as the
// task's last response. Use it as
//
//   return TVA_REP(task, ERR_INDEX_IS_TOO_LARGE, index, "subj");
//
// The result is the code for errors and terminations; for a warning it is 0 unless the
// task's response handler turns the warning into a failure.
#pragma once

#include "telva/task.h"

namespace telva {

TVArescode report_code(TvaTask* task, const char* file, int line, TVArescode code, ...);

} // namespace telva

#define TVA_REP(task, NAME, ...)                                                                   \
  ::telva::report_code((task), __FILE__, __LINE__, TVA_RES_##NAME __VA_OPT__(, ) __VA_ARGS__)
