// Provisional reporter: records the code as the task's last response. The full reporter with
// templates, streams, warning limits and the response handler replaces it.
#include "telva/report.h"

#include <cstdio>

namespace telva {

TVArescode report_code(TvaTask* task, const char*, int, TVArescode code, ...) {
  if (code > 0 && code < 1000) {
    task->lastcode = 0;
    task->lastmsg_len = 0;
    if (task->lastmsg) task->lastmsg[0] = '\0';
    return TVA_RES_OK;
  }
  task->lastcode = code;
  if (task->lastmsg) {
    std::snprintf(task->lastmsg, task->lastmsg_cap, "TELVA response %d.", code);
    task->lastmsg_len = 0;
  }
  return code;
}

} // namespace telva
