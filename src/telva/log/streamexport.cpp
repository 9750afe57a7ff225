// The exported functions on the message streams of environments and tasks, and the
// character conversions.
#include <cstdarg>
#include <cstdio>

#include "misc/utf8conv.h"
#include "telva/task/env.h"
#include "telva/log/report.h"
#include "telva/task/task.h"

using namespace telva;

namespace {

bool valid_stream(TVAint32t which) {
  return which >= 0 && which <= 3;
}

// The text of TVA_echo... is formatted with the C library's rules into this many bytes.
constexpr size_t kEchoBuffer = 4048;

TVArescode echo(StreamBlock* sb, TVAint32t which, const char* format, va_list ap) {
  if (!streamblock_has_output(sb, which)) return TVA_RES_OK;
  char text[kEchoBuffer];
  std::vsnprintf(text, sizeof text, format, ap);
  return streamblock_write(sb, which, text);
}

// Lock failures reach the task's caller through the reporters.
TVArescode report_lock_failure(TvaTask* task, TVArescode r) {
  if (r == TVA_RES_ERR_THREAD_MUTEX_LOCK) return TVA_REP(task, ERR_THREAD_MUTEX_LOCK);
  if (r == TVA_RES_ERR_THREAD_MUTEX_UNLOCK) return TVA_REP(task, ERR_THREAD_MUTEX_UNLOCK);
  return r;
}

} // namespace

extern "C" {

TVAAPI TVArescode TVA_linkfiletotaskstream(TVAtask_t task, TVAint32t whichstream,
                                           const char* filename, TVAint32t append) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!valid_stream(whichstream)) return TVA_RES_ERR_INVALID_STREAM;
  r = streamblock_link_file(&task->streams, whichstream, filename, append);
  if (r == TVA_RES_ERR_FILE_OPEN) return TVA_REP(task, ERR_FILE_OPEN, filename);
  return report_lock_failure(task, r);
}

TVAAPI TVArescode TVA_linkfunctotaskstream(TVAtask_t task, TVAint32t whichstream, void* handle,
                                           TVAstreamfunc func) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!valid_stream(whichstream)) return TVA_RES_ERR_INVALID_STREAM;
  return report_lock_failure(task,
                             streamblock_link_func(&task->streams, whichstream, handle, func));
}

TVAAPI TVArescode TVA_unlinkfuncfromtaskstream(TVAtask_t task, TVAint32t whichstream) {
  return TVA_linkfunctotaskstream(task, whichstream, nullptr, nullptr);
}

TVAAPI TVArescode TVA_echotask(TVAtask_t task, TVAint32t whichstream, const char* format, ...) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!valid_stream(whichstream)) return TVA_RES_ERR_INVALID_STREAM;
  va_list ap;
  va_start(ap, format);
  r = echo(&task->streams, whichstream, format, ap);
  va_end(ap);
  return report_lock_failure(task, r);
}

// The environment's twins return their codes plainly: there is no task to report on.
TVAAPI TVArescode TVA_linkfiletoenvstream(TVAenv_t env, TVAint32t whichstream, const char* filename,
                                          TVAint32t append) {
  if (!env) return TVA_RES_ERR_NULL_ENV;
  if (!valid_stream(whichstream)) return TVA_RES_ERR_INVALID_STREAM;
  return streamblock_link_file(&env->streams, whichstream, filename, append);
}

TVAAPI TVArescode TVA_linkfunctoenvstream(TVAenv_t env, TVAint32t whichstream, void* handle,
                                          TVAstreamfunc func) {
  if (!env) return TVA_RES_ERR_NULL_ENV;
  if (!valid_stream(whichstream)) return TVA_RES_ERR_INVALID_STREAM;
  return streamblock_link_func(&env->streams, whichstream, handle, func);
}

TVAAPI TVArescode TVA_unlinkfuncfromenvstream(TVAenv_t env, TVAint32t whichstream) {
  return TVA_linkfunctoenvstream(env, whichstream, nullptr, nullptr);
}

TVAAPI TVArescode TVA_echoenv(TVAenv_t env, TVAint32t whichstream, const char* format, ...) {
  if (!env) return TVA_RES_ERR_NULL_ENV;
  if (!valid_stream(whichstream)) return TVA_RES_ERR_INVALID_STREAM;
  va_list ap;
  va_start(ap, format);
  TVArescode r = echo(&env->streams, whichstream, format, ap);
  va_end(ap);
  return r;
}

TVAAPI TVArescode TVA_utf8towchar(size_t outputlen, size_t* len, size_t* conv, TVAwchart* output,
                                  const char* input) {
  size_t written = 0, consumed = 0;
  bool ok = utf8_to_utf16(outputlen, &written, &consumed, output, input);
  if (len) *len = written;
  if (conv) *conv = consumed;
  return ok ? TVA_RES_OK : TVA_RES_ERR_INVALID_UTF8;
}

TVAAPI TVArescode TVA_wchartoutf8(size_t outputlen, size_t* len, size_t* conv, char* output,
                                  const TVAwchart* input) {
  size_t written = 0, consumed = 0;
  bool ok = utf16_to_utf8(outputlen, &written, &consumed, output, input);
  if (len) *len = written;
  if (conv) *conv = consumed;
  return ok ? TVA_RES_OK : TVA_RES_ERR_INVALID_WCHAR;
}

} // extern "C"
