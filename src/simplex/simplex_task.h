// The simplex entry of the optimize driver.
#pragma once

#include "cpub/sysalloc.h"
#include "simplex/simplex.h"
#include "telva/task.h"

namespace telva {

// Solves the task's linear problem by the simplex engine into the basic solution slot.
TVArescode simplex_task_optimize(TvaTask* task);

// The columns of the task's A in one compressed array: ptr[numvar+1] from 0, sub, val.
TVArescode simplex_task_columns(TvaTask* task, SysVector<int32>& ptr, SysVector<int32>& sub,
                                SysVector<double>& val);

} // namespace telva
