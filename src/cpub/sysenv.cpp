#include "cpub/sysenv.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <sched.h>
#include <unistd.h>

#include "cpub/syscpu.h"

namespace telva {

namespace {

// Platform number of this build (an index into the texts below; -1 is "generic").
#if defined(__linux__) && defined(__x86_64__)
constexpr int32 kPlatformThisBuild = 1;
#elif defined(__linux__) && defined(__i386__)
constexpr int32 kPlatformThisBuild = 0;
#else
constexpr int32 kPlatformThisBuild = -1;
#endif
// The debug level from which creation dumps the processor identification.
constexpr int32 kDebugLevelInfo = 5;
const char* const kPlatformTexts[] = {
    "Linux/32-X86",    "Linux/64-X86",    "Linux/Itanium64", "Windows/32-X86",  "Windows/64-X86",
    "Windows/Itanium", "Solaris/Intel32", "Solaris/64-X86",  "Solaris/Sparc32", "Solaris/Sparc64",
    "MACOSX/32-X86",   "MACOSX/64-X86",   "MACOSX/PPC32",    "MACOSX/PPC64",    "HPUX/PARISC32",
    "HPUX/PARISC64",   "AIX/RS6K32",      "AIX/RS6K64"};

int32 vendor_of(const char* text) {
  if (std::strcmp(text, "GenuineIntel") == 0) return kCpuVendorIntel;
  if (std::strcmp(text, "AuthenticAMD") == 0) return kCpuVendorAmd;
  if (std::strcmp(text, "CyrixInstead") == 0) return kCpuVendorCyrix;
  if (std::strcmp(text, "CentaurHauls") == 0) return kCpuVendorVia;
  return kCpuVendorOther;
}

void identify_processor(sysenv* sys) {
  SysCpuInfo info;
  syscpu_identify(&info);
  sys->cpu_vendor = vendor_of(info.vendor);
  sys->cpu_family = info.family;
  sys->cpu_model = info.model;
  sys->cpu_code = syscpu_code(info);
  sys->cpu_class = syscpu_class_of_code(sys->cpu_code);
  sys->cache_l1 = info.cache_l1;
  sys->cache_l2 = info.cache_l2;
  if (sys->debug_level > kDebugLevelInfo) sysenv_dump_info(sys);
}

void debug_write(sysenv* sys, const char* text) {
  if (sys->message_func)
    sys->message_func(sys->message_handle, text);
  else if (sys->debug_file)
    std::fputs(text, sys->debug_file);
  else
    std::fputs(text, stdout);
}

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
  sys->platform = kPlatformThisBuild;
  sys->debug_file = log;
  identify_processor(sys);
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
  to->cpu_vendor = from->cpu_vendor;
  to->cpu_code = from->cpu_code;
  to->cpu_family = from->cpu_family;
  to->cpu_model = from->cpu_model;
}

int32 sysenv_num_cores(sysenv* sys) {
  // Tasks of one environment may ask at the same time; they all compute the same number.
  std::atomic_ref<int32> cores(sys->num_cores);
  int32 known = cores.load(std::memory_order_relaxed);
  if (known >= 1) return known;
  long online = sysconf(_SC_NPROCESSORS_ONLN);
  if (online < 1) online = 1;
  long allowed = online;
  cpu_set_t mask;
  CPU_ZERO(&mask);
  if (sched_getaffinity(0, sizeof mask, &mask) == 0) {
    int n = CPU_COUNT(&mask);
    if (n > 0) allowed = n;
  }
  if (allowed < online && sys->debug_level > 0) sysenv_debug_printf(sys, "Not all cpus enabled\n");
  cores.store(static_cast<int32>(allowed), std::memory_order_relaxed);
  return static_cast<int32>(allowed);
}

void sysenv_set_num_cores(sysenv* sys, int32 n) {
  sys->num_cores = n >= 1 ? n : -1;
}

int64 sysenv_get_spin_count(const sysenv* sys) {
  return sys->spin_count;
}
void sysenv_set_spin_count(sysenv* sys, int64 count) {
  sys->spin_count = count > 0 ? count : 0;
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

void sysenv_timer_stamp(const sysenv* sys, SysTimer* timer) {
  timespec ts;
  if (sys && sys->use_ticks) {
    clock_gettime(CLOCK_MONOTONIC_COARSE, &ts);
    timer->value = static_cast<int64>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
    timer->ticks = true;
  } else {
    clock_gettime(CLOCK_MONOTONIC, &ts);
    timer->value = static_cast<int64>(ts.tv_sec) * 1000000000 + ts.tv_nsec;
    timer->ticks = false;
  }
}

double sysenv_timer_diff(const SysTimer& from, const SysTimer& to) {
  // Both stamps are brought to nanoseconds so that a change of clock between them still gives
  // a sensible (if coarse) difference.
  int64 a = from.ticks ? from.value * 1000000 : from.value;
  int64 b = to.ticks ? to.value * 1000000 : to.value;
  return 1e-9 * static_cast<double>(b - a);
}

double sysenv_timer_seconds(const sysenv* sys, const SysTimer& since) {
  SysTimer now;
  sysenv_timer_stamp(sys, &now);
  return sysenv_timer_diff(since, now);
}

void sysenv_section_begin(sysenv* sys, const char* name, SysTimer* timer) {
  sysenv_timer_stamp(sys, timer);
  if (sys->debug_level > 0) sysenv_debug_printf(sys, "--- BEGIN %s\n", name);
}

void sysenv_section_end(sysenv* sys, const char* name, const SysTimer& timer) {
  if (sys->debug_level <= 0) return;
  char elapsed[64];
  std::snprintf(elapsed, sizeof elapsed, "%.2f", sysenv_timer_seconds(sys, timer));
  sysenv_debug_printf(sys, "--- END %s [%s]\n", name, elapsed);
}

void sysenv_debug_printf(sysenv* sys, const char* fmt, ...) {
  char text[1024];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(text, sizeof text, fmt, ap);
  va_end(ap);
  debug_write(sys, text);
}

void sysenv_dump_info(sysenv* sys) {
  SysCpuInfo info;
  syscpu_identify(&info);
  sysenv_debug_printf(sys, "Testing for CPUID instruction.\n");
  if (!info.has_cpuid) sysenv_debug_printf(sys, "Cpuid not supported.\n");
  sysenv_debug_printf(sys, "Telva system information:\n");
  sysenv_debug_printf(sys, "Platform: %s\n", sysenv_platform_text(sys));
  sysenv_debug_printf(sys, "Vendor: %s family: %d model: %d\n", info.vendor, info.family,
                      info.model);
  sysenv_debug_printf(sys, "Processor code: %d class: %d\n", sys->cpu_code, sys->cpu_class);
  sysenv_debug_printf(sys, "L1 = %d\n", sys->cache_l1);
  sysenv_debug_printf(sys, "L2 = %d\n", sys->cache_l2);
  sysenv_debug_printf(sys, "HAS_SSE2: %d \n", info.sse2 ? 1 : 0);
  sysenv_debug_printf(sys, "HAS_SSE3: %d \n", info.sse3 ? 1 : 0);
  sysenv_debug_printf(sys, "proc name str = %.48s\n", info.name);
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

void sysenv_assert(sysenv* sys, const char* file, int line, int cond) {
  if (!cond) sysenv_fatal(sys, file, line, "Assertion failed at %s(%d).", file ? file : "", line);
}

int32 sysenv_int64_to_int32(sysenv* sys, const char* file, int line, int64 value) {
  if (value < INT32_MIN || value > INT32_MAX)
    sysenv_fatal(sys, file, line, "Overflow in %s: %lld", "integer64 to integer32 conversion",
                 static_cast<long long>(value));
  return static_cast<int32>(value);
}

} // namespace telva
