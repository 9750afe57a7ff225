#include "cpub/memman.h"

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>

#include "cpub/memman_internal.h"

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

MemHooks memman_default_hooks() {
  MemHooks h;
  h.malloc_fn = default_malloc;
  h.calloc_fn = default_calloc;
  h.realloc_fn = default_realloc;
  h.free_fn = default_free;
  return h;
}

namespace memdetail {

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

void add_use(memman* mm, int64 bytes) {
  int64 now = mm->curuse.fetch_add(bytes) + bytes;
  int64 seen = mm->maxuse.load();
  while (now > seen && !mm->maxuse.compare_exchange_weak(seen, now)) {
  }
}

static bool block_size(memman* mm, const char* file, int line, size_t n, size_t size,
                       size_t* bytes) {
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

} // namespace memdetail

using namespace memdetail;

namespace {

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
  if (mm->check) checked_teardown(mm);
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
  if (mm->check) checked_scan(mm, file, line);
  return 0;
}

int memman_lock_block(memman* mm, const char* file, int line, void* block) {
  if (!mm->check || !block) return 0;
  return checked_set_locked(mm, file, line, block, true) ? 0 : 1;
}

int memman_unlock_block(memman* mm, const char* file, int line, void* block) {
  if (!mm->check || !block) return 0;
  return checked_set_locked(mm, file, line, block, false) ? 0 : 1;
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
