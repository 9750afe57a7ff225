#include "cpub/memman.h"

#include <atomic>
#include <cinttypes>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>

#include "cpub/md5.h"
#include "cpub/sysmutex.h"

namespace telva {

namespace {

void* default_malloc(void*, size_t size) {
  return std::malloc(size);
}
void* default_calloc(void*, size_t n, size_t size) {
  return std::calloc(n, size);
}
void* default_realloc(void*, void* p, size_t size) {
  return std::realloc(p, size);
}
void default_free(void*, void* p) {
  std::free(p);
}

// Header in front of every block on the plain road: the user's size, so that free can count,
// and a mark that catches double frees and foreign pointers. 16 bytes keep the user's pointer
// aligned for any type.
struct alignas(16) PlainHeader {
  uint64 size;
  uint64 magic;
};
constexpr uint64 kPlainMagic = 0x54656c7661424c4bULL;

// Largest block the manager hands out: sizes are 32-bit quantities in its records.
constexpr unsigned __int128 kMaxBlock = 0xffffffffu;

} // namespace

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

MemHooks memman_default_hooks() {
  MemHooks h;
  h.malloc_fn = default_malloc;
  h.calloc_fn = default_calloc;
  h.realloc_fn = default_realloc;
  h.free_fn = default_free;
  return h;
}

namespace {

const char* place(const char* file) {
  return file ? file : "";
}

// Messages go to the trace file and, above level 1, to the message function.
void report(memman* mm, const char* text) {
  if (mm->log_file) {
    std::fputs(text, mm->log_file);
    std::fflush(mm->log_file);
  }
  if (mm->msg_func && mm->level > 1) mm->msg_func(mm->msg_handle, text);
}

__attribute__((format(printf, 2, 3))) void reportf(memman* mm, const char* fmt, ...) {
  char text[1024];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(text, sizeof text, fmt, ap);
  va_end(ap);
  report(mm, text);
}

// Trace lines of single operations: to the trace file, or to the message function when the
// level asks for them and no file exists.
__attribute__((format(printf, 2, 3))) void tracef(memman* mm, const char* fmt, ...) {
  if (!mm->log_file && !(mm->msg_func && mm->level > 5)) return;
  char text[1024];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(text, sizeof text, fmt, ap);
  va_end(ap);
  if (mm->log_file)
    std::fputs(text, mm->log_file);
  else
    mm->msg_func(mm->msg_handle, text);
}

// Byte counts in trace lines.
struct Count {
  char text[32];
  explicit Count(uint64 v) { std::snprintf(text, sizeof text, "%" PRIu64, v); }
};

void add_use(memman* mm, int64 bytes) {
  int64 now = mm->curuse.fetch_add(bytes) + bytes;
  int64 seen = mm->maxuse.load();
  while (now > seen && !mm->maxuse.compare_exchange_weak(seen, now)) {
  }
}

bool block_size(memman* mm, const char* file, int line, size_t n, size_t size, size_t* bytes) {
  unsigned __int128 product = static_cast<unsigned __int128>(n) * size;
  if (product > kMaxBlock) {
    reportf(mm, "Out of space due to a block size overflow '%s(%d)'.\n", place(file), line);
    return false;
  }
  *bytes = static_cast<size_t>(product);
  return true;
}

// The fatal road: the violation and the place go to the trace, the lock is released so that the
// handler may still use the manager, and the handler ends the process. A handler that returns
// does not bring control back into the library.
[[noreturn]] void fatal(memman* mm, bool locked, const char* file, int line, const char* msg) {
  report(mm, msg);
  report(mm, "\n");
  reportf(mm, "Fatal error in file '%s(%d)'\n", place(file), line);
  if (locked) sysmutex_unlock(&mm->lock);
  if (mm->fatal_func) mm->fatal_func(mm->fatal_handle, file, line, msg);
  std::fprintf(stderr, "\n\nFatal error\nFile : %s\nLine : %d\nMsg. : %s\n", place(file), line,
               msg);
  std::fflush(stderr);
  std::abort();
}

// ---- Plain road ----------------------------------------------------------------------------

void* plain_alloc(memman* mm, size_t bytes, bool zero) {
  void* raw = zero ? mm->hooks.calloc_fn(mm->hooks.usrptr, 1, bytes + sizeof(PlainHeader))
                   : mm->hooks.malloc_fn(mm->hooks.usrptr, bytes + sizeof(PlainHeader));
  if (!raw) return nullptr;
  auto* h = static_cast<PlainHeader*>(raw);
  h->size = bytes;
  h->magic = kPlainMagic;
  add_use(mm, static_cast<int64>(bytes));
  mm->numblocks.fetch_add(1);
  return h + 1;
}

PlainHeader* plain_header(memman* mm, const char* file, int line, void* block) {
  PlainHeader* h = static_cast<PlainHeader*>(block) - 1;
  if (h->magic != kPlainMagic) {
    char msg[256];
    std::snprintf(msg, sizeof msg,
                  "Block %p cannot be deallocated because it is not in the allocation list.\n",
                  block);
    fatal(mm, false, file, line, msg);
  }
  return h;
}

void* plain_realloc(memman* mm, const char* file, int line, void* block, size_t bytes) {
  PlainHeader* h = plain_header(mm, file, line, block);
  int64 old = static_cast<int64>(h->size);
  void* raw = mm->hooks.realloc_fn(mm->hooks.usrptr, h, bytes + sizeof(PlainHeader));
  if (!raw) return nullptr;
  h = static_cast<PlainHeader*>(raw);
  h->size = bytes;
  add_use(mm, static_cast<int64>(bytes) - old);
  return h + 1;
}

void plain_free(memman* mm, const char* file, int line, void* block) {
  PlainHeader* h = plain_header(mm, file, line, block);
  mm->curuse.fetch_sub(static_cast<int64>(h->size));
  mm->numblocks.fetch_sub(1);
  h->magic = 0;
  mm->hooks.free_fn(mm->hooks.usrptr, h);
}

// ---- Checked road: the address index --------------------------------------------------------

unsigned char* user_of(const MemBlockRecord* r) {
  return r->base + kMemGuardBytes;
}

size_t bucket_of(const void* user, size_t num_buckets) {
  uint64 key = static_cast<uint64>(reinterpret_cast<uintptr_t>(user)) >> 4;
  return static_cast<size_t>((key * 0x9e3779b97f4a7c15ULL) >> 32) & (num_buckets - 1);
}

// Rebuilds the index with a table of the given size; on failure the old table stands.
void index_rebuild(memman* mm, size_t num_buckets) {
  MemListHead* head = mm->blocks;
  auto** table = static_cast<MemBlockRecord**>(
      mm->hooks.calloc_fn(mm->hooks.usrptr, num_buckets, sizeof(MemBlockRecord*)));
  if (!table) return;
  for (MemBlockRecord* r = head->first; r; r = r->next) {
    size_t b = bucket_of(user_of(r), num_buckets);
    r->hash_next = table[b];
    table[b] = r;
  }
  if (head->buckets) mm->hooks.free_fn(mm->hooks.usrptr, head->buckets);
  head->buckets = table;
  head->num_buckets = num_buckets;
}

MemBlockRecord* index_find(memman* mm, const void* user) {
  MemListHead* head = mm->blocks;
  if (head->buckets) {
    for (MemBlockRecord* r = head->buckets[bucket_of(user, head->num_buckets)]; r; r = r->hash_next)
      if (user_of(r) == user) return r;
    return nullptr;
  }
  for (MemBlockRecord* r = head->first; r; r = r->next)
    if (user_of(r) == user) return r;
  return nullptr;
}

void index_remove(memman* mm, MemBlockRecord* rec) {
  MemListHead* head = mm->blocks;
  if (!head->buckets) return;
  MemBlockRecord** link = &head->buckets[bucket_of(user_of(rec), head->num_buckets)];
  while (*link && *link != rec)
    link = &(*link)->hash_next;
  if (*link) *link = rec->hash_next;
}

void index_insert(memman* mm, MemBlockRecord* rec) {
  MemListHead* head = mm->blocks;
  if (head->buckets) {
    size_t b = bucket_of(user_of(rec), head->num_buckets);
    rec->hash_next = head->buckets[b];
    head->buckets[b] = rec;
  }
  if (head->num_records > 2 * head->num_buckets)
    index_rebuild(mm, head->num_buckets ? 4 * head->num_buckets : 256);
}

void link_record(memman* mm, MemBlockRecord* rec) {
  MemListHead* head = mm->blocks;
  rec->prev = nullptr;
  rec->next = head->first;
  if (head->first) head->first->prev = rec;
  head->first = rec;
  head->num_records++;
  index_insert(mm, rec);
}

void unlink_record(memman* mm, MemBlockRecord* rec) {
  MemListHead* head = mm->blocks;
  index_remove(mm, rec);
  if (rec->prev)
    rec->prev->next = rec->next;
  else
    head->first = rec->next;
  if (rec->next) rec->next->prev = rec->prev;
  head->num_records--;
}

// ---- Checked road: guards and digests --------------------------------------------------------

void fill_guards(MemBlockRecord* r) {
  for (int i = 0; i < kMemGuardBytes; ++i) {
    r->base[i] = static_cast<unsigned char>(r->begin_seed + i);
    r->base[kMemGuardBytes + r->size + i] = static_cast<unsigned char>(r->end_seed + i);
  }
}

// Verifies one block; on a violation takes the fatal road with the first damaged position.
void verify_block(memman* mm, MemBlockRecord* r, const char* file, int line) {
  char msg[512];
  for (int i = 0; i < kMemGuardBytes; ++i) {
    unsigned expected = static_cast<unsigned char>(r->begin_seed + i);
    unsigned got = r->base[i];
    if (got != expected) {
      std::snprintf(msg, sizeof msg,
                    "*** Block begin guard violation. #%" PRIu64 " at %p. pos: %u expected: %u "
                    "got %u",
                    r->serial, static_cast<void*>(user_of(r)), static_cast<unsigned>(i), expected,
                    got);
      fatal(mm, mm->lock_on, file, line, msg);
    }
  }
  const unsigned char* end = r->base + kMemGuardBytes + r->size;
  for (int i = 0; i < kMemGuardBytes; ++i) {
    unsigned expected = static_cast<unsigned char>(r->end_seed + i);
    unsigned got = end[i];
    if (got != expected) {
      std::snprintf(msg, sizeof msg,
                    "*** Block end guard violation. #%" PRIu64 " at %p. pos: %u expected: %u "
                    "got %u",
                    r->serial, static_cast<void*>(user_of(r)), static_cast<unsigned>(i), expected,
                    got);
      fatal(mm, mm->lock_on, file, line, msg);
    }
  }
  if (r->locked) {
    unsigned char now[16];
    md5_digest(user_of(r), r->size, now);
    for (int i = 0; i < 16; ++i) {
      if (now[i] != r->digest[i]) {
        std::snprintf(msg, sizeof msg,
                      "Locked #%-6" PRIu64 " at %p of size %s has been changed at '%s' %u. "
                      "Digest info.: %d(%d!=%d) \n",
                      r->serial, static_cast<void*>(user_of(r)), Count(r->size).text, place(file),
                      static_cast<unsigned>(line), i, r->digest[i], now[i]);
        fatal(mm, mm->lock_on, file, line, msg);
      }
    }
  }
}

bool take_lock(memman* mm) {
  return !mm->lock_on || sysmutex_lock(&mm->lock) == 0;
}
void release_lock(memman* mm) {
  if (mm->lock_on) sysmutex_unlock(&mm->lock);
}

// Finds the record of a block that is to be freed or reallocated; a foreign pointer stops.
MemBlockRecord* record_for_release(memman* mm, const char* file, int line, void* block) {
  MemBlockRecord* rec = index_find(mm, block);
  if (!rec) {
    char msg[256];
    std::snprintf(msg, sizeof msg,
                  "Block %p cannot be deallocated because it is not in the allocation list.\n",
                  block);
    fatal(mm, mm->lock_on, file, line, msg);
  }
  verify_block(mm, rec, file, line);
  return rec;
}

void* checked_alloc(memman* mm, const char* file, int line, size_t bytes, bool zero) {
  if (!take_lock(mm)) return nullptr;
  auto* rec = static_cast<MemBlockRecord*>(
      mm->hooks.calloc_fn(mm->hooks.usrptr, 1, sizeof(MemBlockRecord)));
  unsigned char* base = nullptr;
  if (rec) {
    size_t total = bytes + 2 * kMemGuardBytes;
    base = static_cast<unsigned char*>(zero ? mm->hooks.calloc_fn(mm->hooks.usrptr, 1, total)
                                            : mm->hooks.malloc_fn(mm->hooks.usrptr, total));
  }
  if (!rec || !base) {
    reportf(mm, "Out of space while trying to allocate a block of size %u in file '%s(%d)'\n",
            static_cast<unsigned>(bytes), place(file), line);
    if (rec) mm->hooks.free_fn(mm->hooks.usrptr, rec);
    release_lock(mm);
    return nullptr;
  }
  rec->serial = mm->blocks->next_serial++;
  rec->size = static_cast<uint32>(bytes);
  rec->base = base;
  rec->begin_seed = kMemGuardSeed;
  rec->end_seed = kMemGuardSeed;
  fill_guards(rec);
  link_record(mm, rec);
  add_use(mm, static_cast<int64>(bytes));
  mm->numblocks.fetch_add(1);
  tracef(mm, "Allocated(%s)   #%-6" PRIu64 " at %-10p of size %-s (%-s) in file '%s(%d)'.\n",
         mm->name, rec->serial, static_cast<void*>(user_of(rec)), Count(bytes).text,
         Count(static_cast<uint64>(mm->curuse.load())).text, place(file), line);
  release_lock(mm);
  return user_of(rec);
}

void* checked_realloc(memman* mm, const char* file, int line, void* block, size_t bytes) {
  if (!take_lock(mm)) return nullptr;
  MemBlockRecord* rec = record_for_release(mm, file, line, block);
  auto* base = static_cast<unsigned char*>(
      mm->hooks.malloc_fn(mm->hooks.usrptr, bytes + 2 * kMemGuardBytes));
  if (!base) {
    reportf(mm, "Out of space while trying to reallocate a block of size %u in file '%s(%d)'\n",
            static_cast<unsigned>(bytes), place(file), line);
    release_lock(mm);
    return nullptr;
  }
  std::memcpy(base + kMemGuardBytes, user_of(rec), bytes < rec->size ? bytes : rec->size);
  index_remove(mm, rec);
  mm->hooks.free_fn(mm->hooks.usrptr, rec->base);
  add_use(mm, static_cast<int64>(bytes) - static_cast<int64>(rec->size));
  rec->base = base;
  rec->size = static_cast<uint32>(bytes);
  // A reallocated block is meant to change: it is no longer locked.
  rec->locked = 0;
  fill_guards(rec);
  if (mm->blocks->buckets) {
    size_t b = bucket_of(user_of(rec), mm->blocks->num_buckets);
    rec->hash_next = mm->blocks->buckets[b];
    mm->blocks->buckets[b] = rec;
  }
  tracef(mm, "Rellocated(%s)   #%-6" PRIu64 " at %-10p of size %-s (%-s) in file '%s(%d)'.\n",
         mm->name, rec->serial, static_cast<void*>(user_of(rec)), Count(bytes).text,
         Count(static_cast<uint64>(mm->curuse.load())).text, place(file), line);
  release_lock(mm);
  return user_of(rec);
}

void checked_free(memman* mm, const char* file, int line, void* block) {
  if (!take_lock(mm)) return;
  MemBlockRecord* rec = record_for_release(mm, file, line, block);
  mm->curuse.fetch_sub(static_cast<int64>(rec->size));
  mm->numblocks.fetch_sub(1);
  if (mm->level > 5)
    tracef(mm, "Deallocated(%s) #%-6" PRIu64 " at %-10p of size %-s (%-s) in file '%s(%d)'\n",
           mm->name, rec->serial, block, Count(rec->size).text,
           Count(static_cast<uint64>(mm->curuse.load())).text, place(file), line);
  unlink_record(mm, rec);
  mm->hooks.free_fn(mm->hooks.usrptr, rec->base);
  mm->hooks.free_fn(mm->hooks.usrptr, rec);
  release_lock(mm);
}

// Scans every block; the caller holds the lock.
void scan_locked(memman* mm, const char* file, int line) {
  if (std::strcmp(mm->begin_mark, "begin") != 0 || std::strcmp(mm->end_mark, "end") != 0) {
    char msg[128];
    std::snprintf(msg, sizeof msg, "The memory manager at %p has been overwritten.",
                  static_cast<void*>(mm));
    fatal(mm, mm->lock_on, file, line, msg);
  }
  tracef(mm, "Scanning memory at '%s'(%d)\n", place(file), line);
  for (MemBlockRecord* r = mm->blocks->first; r; r = r->next)
    verify_block(mm, r, file, line);
  tracef(mm, "Space usage. Number of blocks: %s  Current usage: %s Maximum usage: %s\n",
         Count(mm->blocks->num_records).text, Count(static_cast<uint64>(mm->curuse.load())).text,
         Count(static_cast<uint64>(mm->maxuse.load())).text);
}

} // namespace

memman* memman_create(int check, int level, const MemHooks& hooks, const char* name,
                      std::FILE* log_file) {
  void* raw = hooks.calloc_fn(hooks.usrptr, 1, sizeof(memman));
  if (!raw) return nullptr;
  memman* mm = new (raw) memman;
  std::memcpy(mm->begin_mark, "begin", 6);
  std::memcpy(mm->end_mark, "end", 4);
  mm->hooks = hooks;
  mm->msg_handle = nullptr;
  mm->msg_func = nullptr;
  mm->blocks = nullptr;
  mm->maxuse = 0;
  mm->curuse = 0;
  mm->numblocks = 0;
  mm->check = check ? 1 : 0;
  mm->level = level;
  mm->log_file = nullptr;
  mm->name = name ? name : "";
  mm->fatal_func = nullptr;
  mm->fatal_handle = nullptr;
  mm->lock_on = false;
  mm->lock_made = false;
  if (mm->check) {
    mm->blocks = static_cast<MemListHead*>(hooks.calloc_fn(hooks.usrptr, 1, sizeof(MemListHead)));
    bool ok = mm->blocks && sysmutex_init(&mm->lock) == 0;
    if (!ok) {
      if (mm->blocks) hooks.free_fn(hooks.usrptr, mm->blocks);
      mm->~memman();
      hooks.free_fn(hooks.usrptr, raw);
      return nullptr;
    }
    mm->blocks->level = level;
    mm->lock_made = true;
    mm->lock_on = true;
  }
  // The trace file is taken over only once the manager stands.
  mm->log_file = log_file;
  return mm;
}

int64 memman_delete(memman* mm) {
  if (!mm) return 0;
  int64 left = mm->numblocks.load();
  if (mm->check) {
    tracef(mm, "Deleting mem manager. Scanning memory\n");
    if (take_lock(mm)) {
      scan_locked(mm, "memman_delete", 0);
      release_lock(mm);
    }
    tracef(mm, "Checking leaks\n");
    MemListHead* head = mm->blocks;
    if (head->first) {
      report(mm, "**** ALLOCATED  BLOCKS LEFT\n");
      for (MemBlockRecord* r = head->first; r; r = r->next)
        reportf(mm, "#%-" PRIu64 " at %p (%p) is allocated\n", r->serial,
                static_cast<void*>(user_of(r)), static_cast<void*>(r->base));
    }
    tracef(mm, "Done checking leaks\n");
    // The blocks left are released: the owner is gone and nobody can free them any more.
    for (MemBlockRecord* r = head->first; r;) {
      MemBlockRecord* next = r->next;
      mm->hooks.free_fn(mm->hooks.usrptr, r->base);
      mm->hooks.free_fn(mm->hooks.usrptr, r);
      r = next;
    }
    if (head->buckets) mm->hooks.free_fn(mm->hooks.usrptr, head->buckets);
    mm->hooks.free_fn(mm->hooks.usrptr, head);
  }
  if (mm->log_file) {
    char date[64];
    std::time_t now = std::time(nullptr);
    std::tm tmv;
    localtime_r(&now, &tmv);
    std::strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S", &tmv);
    std::fprintf(mm->log_file, "\nFile closed: %s\n", date);
    std::fclose(mm->log_file);
  }
  if (mm->lock_made) sysmutex_destroy(&mm->lock);
  MemHooks hooks = mm->hooks;
  mm->~memman();
  hooks.free_fn(hooks.usrptr, mm);
  return left;
}

void* memman_malloc(memman* mm, const char* file, int line, size_t n, size_t size) {
  size_t bytes = 0;
  if (!block_size(mm, file, line, n, size, &bytes) || bytes == 0) return nullptr;
  return mm->check ? checked_alloc(mm, file, line, bytes, false) : plain_alloc(mm, bytes, false);
}

void* memman_calloc(memman* mm, const char* file, int line, size_t n, size_t size) {
  size_t bytes = 0;
  if (!block_size(mm, file, line, n, size, &bytes) || bytes == 0) return nullptr;
  return mm->check ? checked_alloc(mm, file, line, bytes, true) : plain_alloc(mm, bytes, true);
}

void* memman_realloc(memman* mm, const char* file, int line, void* block, size_t n, size_t size) {
  if (!block) return memman_malloc(mm, file, line, n, size);
  size_t bytes = 0;
  if (!block_size(mm, file, line, n, size, &bytes)) return nullptr;
  if (bytes == 0) {
    memman_free(mm, file, line, block);
    return nullptr;
  }
  return mm->check ? checked_realloc(mm, file, line, block, bytes)
                   : plain_realloc(mm, file, line, block, bytes);
}

void memman_free(memman* mm, const char* file, int line, void* block) {
  if (!block) return;
  if (mm->check)
    checked_free(mm, file, line, block);
  else
    plain_free(mm, file, line, block);
}

char* memman_strdup(memman* mm, const char* file, int line, const char* text) {
  if (!text) return nullptr;
  size_t len = std::strlen(text) + 1;
  char* copy = static_cast<char*>(memman_malloc(mm, file, line, len, 1));
  if (copy) std::memcpy(copy, text, len);
  return copy;
}

int memman_scan(memman* mm, const char* file, int line) {
  if (!mm->check) return 0;
  if (!take_lock(mm)) return 0;
  scan_locked(mm, file, line);
  if (mm->log_file) std::fflush(mm->log_file);
  release_lock(mm);
  return 0;
}

int memman_lock_block(memman* mm, const char* file, int line, void* block) {
  if (!mm->check || !block) return 0;
  if (!take_lock(mm)) return 1;
  MemBlockRecord* rec = index_find(mm, block);
  if (rec) {
    verify_block(mm, rec, file, line);
    md5_digest(user_of(rec), rec->size, rec->digest);
    rec->locked = 1;
  }
  release_lock(mm);
  return rec ? 0 : 1;
}

int memman_unlock_block(memman* mm, const char* file, int line, void* block) {
  if (!mm->check || !block) return 0;
  if (!take_lock(mm)) return 1;
  MemBlockRecord* rec = index_find(mm, block);
  if (rec) {
    verify_block(mm, rec, file, line);
    rec->locked = 0;
  }
  release_lock(mm);
  return rec ? 0 : 1;
}

void memman_usage(const memman* mm, int64* current, int64* maximum) {
  if (current) *current = mm->curuse.load();
  if (maximum) *maximum = mm->maxuse.load();
}

int64 memman_num_blocks(const memman* mm) {
  return mm->numblocks.load();
}

int memman_is_checked(const memman* mm) {
  return mm->check;
}

void memman_set_msg(memman* mm, MemMsgFunc func, void* handle) {
  mm->msg_func = func;
  mm->msg_handle = handle;
}

void memman_set_fatal(memman* mm, MemFatalFunc func, void* handle) {
  mm->fatal_func = func;
  mm->fatal_handle = handle;
}

const MemHooks& memman_hooks(const memman* mm) {
  return mm->hooks;
}

} // namespace telva
