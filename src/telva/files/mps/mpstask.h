// The seam between the MPS staging model and a task: a read model moves into the task through
// the problem store's own put functions (so the task sees the same checks as any caller), and
// a task is copied out into a model for the writer.
#pragma once

#include "telva/files/mps/mpsmodel.h"
#include "telva/task/task.h"

namespace telva {

// Puts the model into the task, which the caller has cleared. Failures are reported on the
// task; the task keeps what was put before the failure.
TVArescode mpstask_put(TvaTask* task, const MpsModel& model);

// Copies the task's problem into model (cleared first). Semidefinite variables have no MPS form
// and are left out. TVA_RES_ERR_SPACE (reported) when the model can't be had.
TVArescode mpstask_get(TvaTask* task, MpsModel* model);

} // namespace telva
