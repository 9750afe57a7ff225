// The simplex entry of the optimize driver.
#pragma once

#include "telva/task.h"

namespace telva {

// Solves the task's linear problem by the simplex engine into the basic solution slot.
TVArescode simplex_task_optimize(TvaTask* task);

} // namespace telva
