// Printing on a task's streams from inside the library, and the test of the log levels that
// decides whether an optional log line prints.
#pragma once

#include <cstdarg>

#include "telva/task/task.h"

namespace telva {

// A log line of an area prints when TVA_IPAR_LOG is at least 1 and the area's own level
// parameter (TVA_IPAR_LOG_SIM, TVA_IPAR_LOG_INTPNT, ...) is at least the line's level.
inline bool task_log_on(const TvaTask* task, int32 area_param, int32 level) {
  return task->iparam[TVA_IPAR_LOG] >= 1 && task->iparam[area_param] >= level;
}

// With the C library's format rules.
inline TVArescode task_printf(TvaTask* task, int32 which, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
inline TVArescode task_printf(TvaTask* task, int32 which, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  TVArescode r = streamblock_vprintf(&task->streams, which, fmt, ap);
  va_end(ap);
  return r;
}

// With the library's own format language (misc/printer.h).
inline TVArescode task_format(TvaTask* task, int32 which, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  TVArescode r = streamblock_vformat(&task->streams, which, fmt, ap);
  va_end(ap);
  return r;
}

} // namespace telva
