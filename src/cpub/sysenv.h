// The lowest object of the library: the memory manager, the clock, the platform's identity,
// the processor's properties and the fatal-error road. Every environment and every task owns
// one, so that a task's memory is counted apart from its neighbours'.
#pragma once

#include <cstdarg>
#include <cstdio>

#include "cpub/memman.h"
#include "cpub/systypes.h"

namespace telva {

// Statuses of sysenv operations; TvaEnv and TvaTask map them to response codes.
enum SysStatus : int {
  kSysOk = 0,
  kSysSpace = 1,
  kSysFileOpen = 2,
  kSysFileRead = 3,
  kSysEndOfFile = 4,
  kSysFileWrite = 5,
  kSysInternal6 = 6,
  kSysInternal7 = 7,
  kSysLeaking = 8,
  kSysInvalidFileName = 9,
};

// Called on a fatal error with the place and the formatted message; the environment and the
// task register theirs so that the fatal road ends in stopenv or stoptask.
using SysFatalFunc = void (*)(void* handle, const char* file, int line, const char* msg);
using SysMessageFunc = void (*)(void* handle, const char* text);

struct sysenv {
  memman* mm = nullptr;
  int32 mode = 0;
  int32 debug_level = 0;
  int32 platform = 0;
  int32 cpu_class = 10;
  int32 cache_l1 = 0;
  int32 cache_l2 = 0;
  int32 num_cores = -1;
  int64 spin_count = 0;
  bool use_ticks = false;
  SysFatalFunc exit_func = nullptr;
  void* exit_handle = nullptr;
  SysMessageFunc message_func = nullptr;
  void* message_handle = nullptr;
  char* lib_path = nullptr;
  // Processor identification, filled at creation (see syscpu.h).
  int32 cpu_vendor = 0; // SysCpuVendor
  int32 cpu_code = 0;   // SysCpuCode, from which cpu_class is mapped
  int32 cpu_family = 0;
  int32 cpu_model = 0;
  // Where debug text goes when no message function is set: the memory trace file, owned by
  // the memory manager (null without a debug file).
  std::FILE* debug_file = nullptr;
};

// Vendors told apart by the identification string of the processor.
enum SysCpuVendor : int32 {
  kCpuVendorOther = 0,
  kCpuVendorIntel = 1, // "GenuineIntel"
  kCpuVendorAmd = 2,   // "AuthenticAMD"
  kCpuVendorCyrix = 3, // "CyrixInstead"
  kCpuVendorVia = 4,   // "CentaurHauls"
};

// Makes a sysenv whose memory comes from hooks. With a debug file name the memory manager
// takes the checked road and traces into that file under the given title.
int sysenv_create(sysenv** out, int32 mode, const MemHooks& hooks, const char* dbgfile,
                  const char* title);
// Deletes the sysenv; returns kSysLeaking when memory debugging found blocks left.
int sysenv_delete(sysenv** sys);

// Copies processor and platform data from another sysenv (a task from its environment).
void sysenv_copy_platform(sysenv* to, const sysenv* from);

inline void* sysenv_malloc(sysenv* sys, const char* file, int line, size_t n, size_t size) {
  return memman_malloc(sys->mm, file, line, n, size);
}
inline void* sysenv_calloc(sysenv* sys, const char* file, int line, size_t n, size_t size) {
  return memman_calloc(sys->mm, file, line, n, size);
}
inline void* sysenv_realloc(sysenv* sys, const char* file, int line, void* block, size_t n,
                            size_t size) {
  return memman_realloc(sys->mm, file, line, block, n, size);
}
void sysenv_free(sysenv* sys, const char* file, int line, void* block);
inline char* sysenv_strdup(sysenv* sys, const char* file, int line, const char* text) {
  return memman_strdup(sys->mm, file, line, text);
}
// Checks every block of the checked road (a no-op on the plain road).
inline int sysenv_scan(sysenv* sys, const char* file, int line) {
  return memman_scan(sys->mm, file, line);
}
inline int sysenv_lock_block(sysenv* sys, const char* file, int line, void* block) {
  return memman_lock_block(sys->mm, file, line, block);
}
inline int sysenv_unlock_block(sysenv* sys, const char* file, int line, void* block) {
  return memman_unlock_block(sys->mm, file, line, block);
}
inline void sysenv_usage(const sysenv* sys, int64* current, int64* maximum) {
  memman_usage(sys->mm, current, maximum);
}
// Array form for int32: n elements, zeroed.
inline int32* sysenv_alloc_int32(sysenv* sys, const char* file, int line, size_t n) {
  return static_cast<int32*>(memman_calloc(sys->mm, file, line, n, sizeof(int32)));
}

// Typed forms: TVA_SYS_ALLOC(sys, T, n) gives zeroed memory for n objects of T.
#define TVA_SYS_ALLOC(sys, T, n)                                                                   \
  static_cast<T*>(::telva::sysenv_calloc((sys), __FILE__, __LINE__, (n), sizeof(T)))
#define TVA_SYS_FREE(sys, p) ::telva::sysenv_free((sys), __FILE__, __LINE__, (p))

// Number of processors this process may run on: the processors in its affinity mask. Computed
// at the first call and remembered; "Not all cpus enabled" goes to the debug output when the
// mask is narrower than the processors that are online.
int32 sysenv_num_cores(sysenv* sys);
// Fixes the number of cores (tests, and callers that want to pretend a smaller machine);
// a value below 1 makes the next sysenv_num_cores ask the system again.
void sysenv_set_num_cores(sysenv* sys, int32 n);
const char* sysenv_platform_text(const sysenv* sys);

// Rounds a pool worker spins on its flag before it sleeps.
int64 sysenv_get_spin_count(const sysenv* sys);
void sysenv_set_spin_count(sysenv* sys, int64 count);

// Seconds since an arbitrary fixed point, from a monotonic clock.
double sysenv_seconds(const sysenv* sys);

// A point in time. With use_ticks the coarse clock is read (millisecond ticks, cheap);
// otherwise the fine monotonic counter in nanoseconds.
struct SysTimer {
  int64 value = 0; // tick count (ms) or counter value (ns) at the stamp
  bool ticks = false;
};
void sysenv_timer_stamp(const sysenv* sys, SysTimer* timer);
// Seconds from one stamp to a later one.
double sysenv_timer_diff(const SysTimer& from, const SysTimer& to);
// Seconds from a stamp to now.
double sysenv_timer_seconds(const sysenv* sys, const SysTimer& since);

// Timing sections of the debug output: "--- BEGIN name" stamps the timer, "--- END name [t]"
// prints the seconds since. Silent unless the debug level is above 0.
void sysenv_section_begin(sysenv* sys, const char* name, SysTimer* timer);
void sysenv_section_end(sysenv* sys, const char* name, const SysTimer& timer);

// Debug output: to the message function if set, else to the memory trace file, else to the
// standard output. Callers check the debug level themselves.
void sysenv_debug_printf(sysenv* sys, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
// Writes the processor identification ("Telva system information:" ...) to the debug output.
void sysenv_dump_info(sysenv* sys);

void sysenv_set_fatal(sysenv* sys, SysFatalFunc func, void* handle);
void sysenv_set_message(sysenv* sys, SysMessageFunc func, void* handle);
void sysenv_echo(sysenv* sys, const char* text);

// Formats the message and takes the fatal road: the registered handler, then the end of the
// process. Marks programming errors, never bad input.
[[noreturn]] void sysenv_fatal(sysenv* sys, const char* file, int line, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));
// Takes the fatal road with "Assertion failed at file(line)." when cond is false.
void sysenv_assert(sysenv* sys, const char* file, int line, int cond);

// Checked narrowing of counts and sizes: a value outside the int32 range is a programming error
// and ends on the fatal road, naming the "integer64 to integer32 conversion".
int32 sysenv_int64_to_int32(sysenv* sys, const char* file, int line, int64 value);
#define TVA_I64_TO_I32(sys, value)                                                                 \
  ::telva::sysenv_int64_to_int32((sys), __FILE__, __LINE__, (value))

#define TVA_ASSERT(sys, cond)                                                                      \
  do {                                                                                             \
    if (!(cond))                                                                                   \
      ::telva::sysenv_fatal((sys), __FILE__, __LINE__, "Assertion '%s' failed at %s:%d.\n", #cond, \
                            __FILE__, __LINE__);                                                   \
  } while (0)

} // namespace telva
