// The memory manager: every block of the library comes from here, through the hooks that the
// user gave to TVA_makeenvalloc or the default ones. The plain road adds a small header to each
// block so that the bytes in use are always counted; the checked road (memory debugging)
// keeps a list of block records with guards, serials and an optional trace file.
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

// Where the manager's messages go (besides the trace file).
using MemMsgFunc = void (*)(void* handle, const char* text);

struct memman;

// check 0: plain road; 1: checked road. level: how much is traced. name: shown in trace lines.
// log_file may be null; the manager takes ownership and closes it at delete.
memman* memman_create(int check, int level, const MemHooks& hooks, const char* name,
                      std::FILE* log_file);
// Scans, reports leaks and frees the manager. Returns the number of blocks left allocated.
int64 memman_delete(memman* mm);

void* memman_malloc(memman* mm, const char* file, int line, size_t n, size_t size);
void* memman_calloc(memman* mm, const char* file, int line, size_t n, size_t size);
void* memman_realloc(memman* mm, const char* file, int line, void* block, size_t n, size_t size);
void memman_free(memman* mm, const char* file, int line, void* block);
char* memman_strdup(memman* mm, const char* file, int line, const char* text);
// Checks the guards (and digests of locked blocks) of every block; 0 when all are intact.
int memman_scan(memman* mm, const char* file, int line);
int memman_lock_block(memman* mm, void* block);
int memman_unlock_block(memman* mm, void* block);
void memman_usage(const memman* mm, int64* current, int64* maximum);
void memman_set_msg(memman* mm, MemMsgFunc func, void* handle);
// Fatal handler called on a guard violation (the sysenv's fatal road).
using MemFatalFunc = void (*)(void* handle, const char* file, int line, const char* msg);
void memman_set_fatal(memman* mm, MemFatalFunc func, void* handle);
const MemHooks& memman_hooks(const memman* mm);

} // namespace telva
