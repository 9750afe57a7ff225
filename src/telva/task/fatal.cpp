#include "telva/task/fatal.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace telva {

namespace {

constexpr size_t kFatalMessage = 2049;

const char* const kReportRequest =
    "Please report this message, and how it came about, to the Telva developers.\n";

void print_details(StreamBlock* sb, sysenv* sys, const char* file, int line, const char* msg) {
  streamblock_printf(sb, TVA_STREAM_ERR, "Version : %d.%d.%d.%d\n", TVA_VERSION_MAJOR,
                     TVA_VERSION_MINOR, TVA_VERSION_BUILD, TVA_VERSION_REVISION);
  streamblock_printf(sb, TVA_STREAM_ERR, "Platform: %s\n", sys ? sysenv_platform_text(sys) : "");
  streamblock_printf(sb, TVA_STREAM_ERR, "File    : %s\n", file ? file : "(NULL)");
  streamblock_printf(sb, TVA_STREAM_ERR, "Line    : %d\n", line);
  streamblock_printf(sb, TVA_STREAM_ERR, "Msg.    : %s\n", msg);
  streamblock_write(sb, TVA_STREAM_ERR, kReportRequest);
}

} // namespace

TVArescode stopenv(TvaEnv* env, const char* file, int line, const char* fmt, ...) {
  char msg[kFatalMessage];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(msg, sizeof msg, fmt, ap);
  va_end(ap);
  if (env) {
    streamblock_write(&env->streams, TVA_STREAM_ERR, "TELVA fatal error stopenv.\n");
    print_details(&env->streams, env->sys, file, line, msg);
    streamblock_flush_all(&env->streams);
    streamblock_unlink_files(&env->streams);
    if (env->exit_func) return env->exit_func(env->exit_handle, file, line, msg);
  }
  std::abort();
}

TVArescode stoptask(TvaTask* task, const char* file, int line, const char* fmt, ...) {
  char msg[kFatalMessage];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(msg, sizeof msg, fmt, ap);
  va_end(ap);
  StreamBlock* sb = &task->streams;
  streamblock_write(sb, TVA_STREAM_ERR, "\n\nTELVA fatal error (stoptask)\n");
  print_details(sb, task->sys, file, line, msg);
  const char* dbg = task->sparam[TVA_SPAR_DEBUG_FILE_NAME];
  if (dbg && *dbg) {
    if (std::FILE* f = std::fopen(dbg, "w")) {
      std::fprintf(f, "TELVA fatal error\nFile : %s\nLine : %d\nMsg. : %s\n",
                   file ? file : "(NULL)", line, msg);
      std::fclose(f);
    }
  }
  streamblock_flush_all(sb);
  streamblock_unlink_files(sb);
  return stopenv(task->env, file, line, "%s", msg);
}

TVArescode check(TvaTask* task, const char* file, int line, bool condition) {
  if (condition) return TVA_RES_OK;
  return stoptask(task, file, line, "Assertion failed");
}

} // namespace telva
