// Internals of the memory manager shared by its two source files: the manager itself, the
// records of the checked road, and the helpers that write messages and take the fatal road.
#pragma once

#include <atomic>
#include <cinttypes>
#include <cstdio>

#include "cpub/memman.h"
#include "cpub/sysmutex.h"

namespace telva {

// One record per block on the checked road, an allocation of its own so that an overrun of the
// user's memory cannot damage it.
struct MemBlockRecord {
  uint64 serial;
  int locked;
  unsigned char digest[16];
  uint32 size;
  unsigned char* base; // the memory with its guards; the user has base + kMemGuardBytes
  unsigned char begin_seed;
  unsigned char end_seed;
  MemBlockRecord* prev;
  MemBlockRecord* next;
  MemBlockRecord* hash_next; // chain in the address index
};

// Head of the block list. The address index lets free find a record without walking the list;
// when its table cannot be allocated the list is searched instead.
struct MemListHead {
  int32 level;
  uint64 next_serial;
  MemBlockRecord* first; // newest block
  MemBlockRecord** buckets;
  size_t num_buckets; // a power of two, or 0 without index
  size_t num_records;
};

struct memman {
  char begin_mark[6];
  bool lock_on;
  sysmutex lock;
  bool lock_made;
  MemHooks hooks;
  void* msg_handle;
  MemMsgFunc msg_func;
  MemListHead* blocks; // checked road only
  std::atomic<int64> maxuse;
  std::atomic<int64> curuse;
  std::atomic<int64> numblocks;
  int check;
  int level;
  std::FILE* log_file;
  const char* name;
  MemFatalFunc fatal_func;
  void* fatal_handle;
  char end_mark[4];
};

namespace memdetail {

const char* place(const char* file);
// Messages go to the trace file and, above level 1, to the message function.
void report(memman* mm, const char* text);
__attribute__((format(printf, 2, 3))) void reportf(memman* mm, const char* fmt, ...);
// Trace lines of single operations: to the trace file, or to the message function when the
// level asks for them and no file exists.
__attribute__((format(printf, 2, 3))) void tracef(memman* mm, const char* fmt, ...);
void add_use(memman* mm, int64 bytes);
// The fatal road; locked tells whether the caller holds the manager's lock.
[[noreturn]] void fatal(memman* mm, bool locked, const char* file, int line, const char* msg);

// Byte counts in trace lines.
struct Count {
  char text[32];
  explicit Count(uint64 v) { std::snprintf(text, sizeof text, "%" PRIu64, v); }
};

// The checked road (memman_checked.cpp).
void* checked_alloc(memman* mm, const char* file, int line, size_t bytes, bool zero);
void* checked_realloc(memman* mm, const char* file, int line, void* block, size_t bytes);
void checked_free(memman* mm, const char* file, int line, void* block);
void checked_scan(memman* mm, const char* file, int line);
// Locks (records the digest) or unlocks a block; false when the block is unknown.
bool checked_set_locked(memman* mm, const char* file, int line, void* block, bool locked);
// The checked part of deletion: last scan, leak report, release of the blocks left and of the
// list head.
void checked_teardown(memman* mm);

} // namespace memdetail

} // namespace telva
