// Reporting the MPS reader's and writer's errors and warnings on a task: each code goes
// through its typed reporter with the arguments the reader collected, and a read error is
// followed by the echo of its place in the file.
#pragma once

#include "telva/files/mps/mpsread.h"
#include "telva/task/task.h"

namespace telva {

// Reports err (an error or a warning) on the task; gives what the reporter gives.
TVArescode mpsreport_code(TvaTask* task, const MpsError& err);

// Reports a read error and prints where it happened (the line, and with debug on the line as
// read with a caret under the place).
TVArescode mpsreport_read_error(TvaTask* task, const MpsError& err, bool debug);

// A warning callback of the reader and the writer; the handle is the task.
TVArescode mpsreport_warning(void* task, const MpsError& warning);

} // namespace telva
