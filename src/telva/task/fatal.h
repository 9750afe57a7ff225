// The fatal road, for broken inner invariants only: never for bad input, which the reporters
// handle. stoptask prints the report on the task's error stream (and in the debug file), then
// ends in stopenv, which calls the environment's exit function or ends the process.
#pragma once

#include "telva/task/task.h"

namespace telva {

TVArescode stoptask(TvaTask* task, const char* file, int line, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));
TVArescode stopenv(TvaEnv* env, const char* file, int line, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));

// 0 when the condition holds; else the stoptask road with "Assertion failed".
TVArescode check(TvaTask* task, const char* file, int line, bool condition);

} // namespace telva

#define TVA_CHECK(task, cond) ::telva::check((task), __FILE__, __LINE__, (cond))
