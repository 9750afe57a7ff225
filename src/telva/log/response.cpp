// The exported functions on response codes and the last response of a task.
#include <cstdio>
#include <cstring>

#include "telva/log/report.h"

using namespace telva;

namespace {

constexpr size_t kDescBuffer = 1024;

} // namespace

extern "C" {

TVAAPI TVArescode TVA_putresponsefunc(TVAtask_t task, TVAresponsefunc responsefunc, void* handle) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  task->resp_func = responsefunc;
  task->resp_handle = handle;
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getlasterror64(TVAtask_t task, TVArescode* lastrescode, TVAint64t maxlen,
                                     TVAint64t* lastmsglen, char* lastmsg) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  const char* text = task->lastmsg ? task->lastmsg : "";
  size_t len = std::strlen(text);
  if (lastrescode) *lastrescode = task->lastcode;
  if (lastmsglen) *lastmsglen = static_cast<TVAint64t>(len) + 1;
  if (lastmsg && maxlen > 0) {
    size_t n = len < static_cast<uint64>(maxlen - 1) ? len : static_cast<size_t>(maxlen - 1);
    std::memcpy(lastmsg, text, n);
    lastmsg[n] = '\0';
  }
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getlasterror(TVAtask_t task, TVArescode* lastrescode, TVAint32t maxlen,
                                   TVAint32t* lastmsglen, char* lastmsg) {
  TVAint64t len64 = 0;
  TVArescode r = TVA_getlasterror64(task, lastrescode, maxlen, &len64, lastmsg);
  if (r == TVA_RES_OK && lastmsglen) *lastmsglen = static_cast<TVAint32t>(len64);
  return r;
}

TVAAPI TVArescode TVA_getcodedesc(TVArescode code, char* symname, char* str) {
  const RescodeInfo* info = rescode_find(code);
  if (info) {
    if (symname) std::snprintf(symname, kDescBuffer, "TVA_RES_%s", info->name);
    if (str) std::snprintf(str, kDescBuffer, "%s", info->description);
  } else {
    if (symname) symname[0] = '\0';
    if (str) std::snprintf(str, kDescBuffer, "No description for the code %d is available.", code);
  }
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getresponseclass(TVArescode r, TVAint32t* rc) {
  TVAint32t cls;
  if (r == TVA_RES_OK)
    cls = TVA_RESPONSE_OK;
  else if (r < 1000)
    cls = TVA_RESPONSE_WRN;
  else if (r <= 9999)
    cls = TVA_RESPONSE_ERR;
  else
    cls = TVA_RESPONSE_TRM;
  if (rc) *rc = cls;
  return TVA_RES_OK;
}

} // extern "C"
