// The engine behind the typed reporters: counts and limits warnings, builds the message from
// the code's template in the task's message builder, hands it to the response handler or
// prints it on the task's streams, and records the last response.
#include "telva/log/report.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "misc/utf8bld.h"

namespace telva {

void rescode_message_template(TVArescode code, char* buf) {
  const RescodeInfo* r = rescode_find(code);
  const char* text = r ? rescode_report_text(code) : "No message for this code.";
  std::snprintf(buf, 1024, "%s", text);
}

void task_set_last_response(TvaTask* task, TVArescode code, const char* text) {
  task->lastcode = code;
  if (!task->lastmsg || task->lastmsg_cap <= 0) {
    task->lastmsg_len = 0;
    return;
  }
  if (code == TVA_RES_OK || !text) {
    task->lastmsg[0] = '\0';
    task->lastmsg_len = 0;
    return;
  }
  // A message longer than the buffer is cut at a character boundary.
  size_t cap = static_cast<size_t>(task->lastmsg_cap) - 1;
  size_t len = std::strlen(text);
  if (len > cap) {
    len = cap;
    while (len > 0 && (static_cast<unsigned char>(text[len]) & 0xc0) == 0x80)
      --len;
  }
  std::memcpy(task->lastmsg, text, len);
  task->lastmsg[len] = '\0';
  task->lastmsg_len = static_cast<int32>(len) + 1;
}

TVArescode report_code(TvaTask* task, const char* /*file*/, int /*line*/, TVArescode code, ...) {
  if (task_check(task) != TVA_RES_OK) return code;
  bool warning = code > 0 && code < 1000;
  if (warning) {
    int32 count = ++task->warncount[code];
    int32 limit = task->iparam[TVA_IPAR_MAX_NUM_WARNINGS];
    if (limit >= 0 && limit < count) {
      if (limit > 0 && count == limit + 1 && task->iparam[TVA_IPAR_LOG] >= 1)
        streamblock_format(&task->streams, TVA_STREAM_MSG, "Warning number %i is disabled.\n",
                           code);
      task_set_last_response(task, TVA_RES_OK, nullptr);
      return TVA_RES_OK;
    }
  }

  const char* text = nullptr;
  utf8bld* bld = task->msgbuilder;
  if (bld) {
    utf8bld_reset(bld);
    va_list ap;
    va_start(ap, code);
    utf8bld_vformat(bld, rescode_report_text(code), ap);
    va_end(ap);
    text = utf8bld_text(bld, nullptr);
  }
  if (!text) text = rescode_report_text(code); // no builder, or out of memory while building

  TVArescode result = code;
  if (task->resp_func) {
    int32 answer = task->resp_func(task->resp_handle, code, text);
    if (warning && answer == 0) result = TVA_RES_OK;
  } else {
    streamblock_format(&task->streams, warning ? TVA_STREAM_WRN : TVA_STREAM_ERR,
                       "TELVA%s %i: %s\n", warning ? " warning" : " error", code, text);
    if (warning) result = TVA_RES_OK;
  }
  task_set_last_response(task, result, text);
  if (bld) utf8bld_reset(bld);
  return result;
}

} // namespace telva
