// The memory manager: every block of the library comes from here, through the hooks that the
// user gave to TVA_makeenvalloc or the default ones.
//
// Plain road (check 0): a 16-byte header in front of each block holds its size, so that the
// bytes in use are always counted (with atomic counters; no list, no guards, no lock).
// Checked road (check 1, memory debugging): every block has a record with a serial number in
// a list, 32-byte guards on both sides that are verified at free, realloc and scan, optional
// locking with an MD5 digest, a trace file and a leak report at deletion. Violations take the
// fatal road.
#pragma once

#include <cstdio>

#include "cpub/systypes.h"

namespace telva {

struct MemHooks {
  void* usrptr = nullptr;
  TVAmallocfunc malloc_fn = nullptr;
  TVAcallocfunc calloc_fn = nullptr;
  TVAreallocfunc realloc_fn = nullptr;
  TVAfreefunc free_fn = nullptr;
};

// The system's own allocation, used when the user gave no (or not all four) hooks.
MemHooks memman_default_hooks();

// Where the manager's messages go besides the trace file (used when the level exceeds 1).
using MemMsgFunc = void (*)(void* handle, const char* text);
// The fatal road for guard violations and foreign frees. It must not return; if it does, the
// manager ends the process itself.
using MemFatalFunc = void (*)(void* handle, const char* file, int line, const char* msg);

struct memman;

// Size of each guard on the checked road, and the first byte value of both guards.
constexpr int kMemGuardBytes = 32;
constexpr unsigned char kMemGuardSeed = 0x20;

// check 0: plain road; 1: checked road. level: how much is traced (above 5 every allocation and
// free is traced even without a trace file). name: shown in trace lines. log_file may be null;
// the manager takes ownership and closes it at delete.
memman* memman_create(int check, int level, const MemHooks& hooks, const char* name,
                      std::FILE* log_file);
// Scans, reports leaks, frees the blocks left on the checked road and frees the manager.
// Returns the number of blocks that were left allocated.
int64 memman_delete(memman* mm);

// A product n * size that does not fit in 32 bits gives null with an overflow message; a
// product of 0 gives null and is no failure.
void* memman_malloc(memman* mm, const char* file, int line, size_t n, size_t size);
void* memman_calloc(memman* mm, const char* file, int line, size_t n, size_t size);
// On failure the old block stands and null is returned. A null block allocates; a new size of
// 0 frees the block and gives null.
void* memman_realloc(memman* mm, const char* file, int line, void* block, size_t n, size_t size);
void memman_free(memman* mm, const char* file, int line, void* block);
char* memman_strdup(memman* mm, const char* file, int line, const char* text);

// Checks the guards (and digests of locked blocks) of every block on the checked road and
// writes the space usage to the trace. Returns 0; a violation takes the fatal road.
int memman_scan(memman* mm, const char* file, int line);
// Locking a block records its digest; any later change of its bytes is reported at the next
// free, scan or unlock. Returns 0, or 1 when the block is unknown. No-ops on the plain road.
int memman_lock_block(memman* mm, const char* file, int line, void* block);
int memman_unlock_block(memman* mm, const char* file, int line, void* block);

void memman_usage(const memman* mm, int64* current, int64* maximum);
int64 memman_num_blocks(const memman* mm);
int memman_is_checked(const memman* mm);
void memman_set_msg(memman* mm, MemMsgFunc func, void* handle);
void memman_set_fatal(memman* mm, MemFatalFunc func, void* handle);
const MemHooks& memman_hooks(const memman* mm);

} // namespace telva
