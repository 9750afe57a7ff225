#include "cpub/sysenv.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <unistd.h>

namespace telva {

namespace {

// Platform number of this build and the texts of all known platforms.
constexpr int32 kPlatformLinux64X86 = 1;
const char* const kPlatformTexts[] = {
    "Linux/32-X86",    "Linux/64-X86",   "Linux/Itanium64", "Windows/32-X86", "Windows/64-X86",
    "Windows/Itanium", "Solaris/Intel32", "Solaris/64-X86", "Solaris/Sparc32", "Solaris/Sparc64",
    "MACOSX/32-X86",   "MACOSX/64-X86",  "MACOSX/PPC32",    "MACOSX/PPC64",   "HPUX/PARISC32",
    "HPUX/PARISC64",   "AIX/RS6K32",     "AIX/RS6K64"};

// The memory manager's messages and fatal errors travel the sysenv's roads.
void memman_message(void* handle, const char* text) {
  sysenv_echo(static_cast<sysenv*>(handle), text);
}

[[noreturn]] void memman_fatal(void* handle, const char* file, int line, const char* msg) {
  sysenv_fatal(static_cast<sysenv*>(handle), file, line, "%s", msg);
}

} // namespace

int sysenv_create(sysenv** out, int32 mode, const MemHooks& hooks, const char* dbgfile,
                  const char* title) {
  *out = nullptr;
  std::FILE* log = nullptr;
  bool debug = dbgfile && *dbgfile;
  if (debug) {
    log = std::fopen(dbgfile, "w");
    if (!log) return kSysFileOpen;
    std::fprintf(log, "%s\n", title ? title : "");
  }
  memman* mm = memman_create(debug ? 1 : 0, debug ? 10 : 0, hooks, "TELVA", log);
  if (!mm) {
    if (log) std::fclose(log);
    return kSysSpace;
  }
  void* raw = memman_calloc(mm, TVA_HERE, 1, sizeof(sysenv));
  if (!raw) {
    memman_delete(mm);
    return kSysSpace;
  }
  sysenv* sys = new (raw) sysenv;
  sys->mm = mm;
  sys->mode = mode;
  sys->debug_level = debug ? 10 : 0;
  sys->platform = kPlatformLinux64X86;
  memman_set_msg(mm, memman_message, sys);
  memman_set_fatal(mm, memman_fatal, sys);
  *out = sys;
  return kSysOk;
}

int sysenv_delete(sysenv** psys) {
  sysenv* sys = *psys;
  if (!sys) return kSysOk;
  *psys = nullptr;
  memman* mm = sys->mm;
  bool debug = sys->debug_level > 0;
  if (sys->lib_path) memman_free(mm, TVA_HERE, sys->lib_path);
  // From here on the sysenv is gone: the manager's last scan reports on its own.
  memman_set_msg(mm, nullptr, nullptr);
  memman_set_fatal(mm, nullptr, nullptr);
  sys->~sysenv();
  memman_free(mm, TVA_HERE, sys);
  int64 left = memman_delete(mm);
  return (left > 0 && debug) ? kSysLeaking : kSysOk;
}

void sysenv_free(sysenv* sys, const char* file, int line, void* block) {
  if (block == sys)
    sysenv_fatal(sys, file, line, "Trying to free the sysenv. sys: %p == buffer: %p",
                 static_cast<void*>(sys), block);
  memman_free(sys->mm, file, line, block);
}

void sysenv_copy_platform(sysenv* to, const sysenv* from) {
  to->platform = from->platform;
  to->cpu_class = from->cpu_class;
  to->cache_l1 = from->cache_l1;
  to->cache_l2 = from->cache_l2;
  to->num_cores = from->num_cores;
  to->use_ticks = from->use_ticks;
}

int32 sysenv_num_cores(sysenv* sys) {
  if (sys->num_cores < 1) {
    long n = sysconf(_SC_NPROCESSORS_ONLN);
    sys->num_cores = n > 0 ? static_cast<int32>(n) : 1;
  }
  return sys->num_cores;
}

const char* sysenv_platform_text(const sysenv* sys) {
  int32 p = sys->platform;
  if (p >= 0 && p < static_cast<int32>(sizeof kPlatformTexts / sizeof *kPlatformTexts))
    return kPlatformTexts[p];
  return "generic";
}

double sysenv_seconds(const sysenv*) {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<double>(ts.tv_sec) + 1e-9 * static_cast<double>(ts.tv_nsec);
}

void sysenv_set_fatal(sysenv* sys, SysFatalFunc func, void* handle) {
  sys->exit_func = func;
  sys->exit_handle = handle;
}

void sysenv_set_message(sysenv* sys, SysMessageFunc func, void* handle) {
  sys->message_func = func;
  sys->message_handle = handle;
}

void sysenv_echo(sysenv* sys, const char* text) {
  if (sys && sys->message_func)
    sys->message_func(sys->message_handle, text);
  else
    std::fputs(text, stdout);
}

void sysenv_fatal(sysenv* sys, const char* file, int line, const char* fmt, ...) {
  char msg[2048];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(msg, sizeof msg, fmt, ap);
  va_end(ap);
  if (sys && sys->exit_func) sys->exit_func(sys->exit_handle, file, line, msg);
  char text[2400];
  std::snprintf(text, sizeof text, "\n\nFatal error\nFile : %s\nLine : %d\nMsg. : %s\n",
                file ? file : "(NULL)", line, msg);
  sysenv_echo(sys, text);
  std::fflush(stdout);
  std::abort();
}

} // namespace telva
