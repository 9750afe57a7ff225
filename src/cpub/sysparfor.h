// The parallel-for with a grain that the task-parallel code (orderings, dense kernels,
// semidefinite blocks, the mixed-integer rounds) runs on.
//
// One runtime serves the whole process, as a task-parallel runtime does: its worker count is
// the process-wide "nworkers" setting, which the thread decision of an environment sets, and
// worker numbers 0..nworkers-1 are unique among all threads working in a loop at the same
// time, which per-worker scratch (bufenv) rests on. The caller of a loop works as worker 0;
// nworkers - 1 helper threads are started on the first parallel loop and sleep between loops.
//
// One loop runs at a time. A loop asked for while another runs, or from inside a loop's body,
// runs on its caller alone: never a deadlock, never two threads with one worker number.
#pragma once

#include "cpub/systypes.h"

namespace telva {

// Most workers the runtime will run: the rows of a bufenv.
constexpr int32 kParForMaxWorkers = 512;

using SysParForBody = void (*)(int32 index, void* argument);

// Number of pieces [first, last) is cut into: (last - first - 1) / grain + 1 (0 for an empty
// range; a grain below 1 counts as 1).
int32 sysparfor_num_pieces(int32 first, int32 last, int32 grain);

// Calls body(i, argument) once for every i in [first, last). With parallel 0 the range runs on
// the caller; otherwise its pieces of grain indices are shared by the workers.
void sysparfor(int parallel, int32 first, int32 last, int32 grain, SysParForBody body,
               void* argument);

// The same with any callable taking the index.
template <class F> void sysparfor_each(int parallel, int32 first, int32 last, int32 grain, F&& f) {
  sysparfor(
      parallel, first, last, grain, [](int32 i, void* a) { (*static_cast<F*>(a))(i); },
      const_cast<void*>(static_cast<const void*>(&f)));
}

// Worker count of the runtime.
int32 sysparfor_get_nworkers();

// Sets a runtime parameter from text. Known: "nworkers" with a decimal count from 1 to
// kParForMaxWorkers. Returns 0 at success; 1 for an unknown name, 2 for a bad value, 3 when a
// loop is running (the setting is refused, as the runtime can't change under a loop).
int sysparfor_set_param(const char* name, const char* value);

} // namespace telva
