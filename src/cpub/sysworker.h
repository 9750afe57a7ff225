// The worker number of the calling thread inside the library's parallel loops: 0 on a
// caller's own thread, 0..n-1 inside a parallel-for of n workers. Per-worker scratch
// (bufenv) is indexed by it.
#pragma once

#include "cpub/systypes.h"

namespace telva {

int32 sysworker_id();
void sysworker_set_id(int32 id);

} // namespace telva
