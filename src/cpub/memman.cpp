#include "cpub/memman.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

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

// Header in front of every block on the plain road: the user's size, so that free can count.
// 16 bytes keep the user's pointer aligned for any type.
struct alignas(16) PlainHeader {
  uint64 size;
  uint64 magic;
};
constexpr uint64 kPlainMagic = 0x54656c7661424c4bULL;

} // namespace

struct memman {
  MemHooks hooks;
  int check = 0;
  int level = 0;
  const char* name = "";
  std::FILE* log_file = nullptr;
  std::atomic<int64> curuse{0};
  std::atomic<int64> maxuse{0};
  std::atomic<int64> numblocks{0};
  MemMsgFunc msg_func = nullptr;
  void* msg_handle = nullptr;
  MemFatalFunc fatal_func = nullptr;
  void* fatal_handle = nullptr;
};

MemHooks memman_default_hooks() {
  MemHooks h;
  h.malloc_fn = default_malloc;
  h.calloc_fn = default_calloc;
  h.realloc_fn = default_realloc;
  h.free_fn = default_free;
  return h;
}

static void report(memman* mm, const char* text) {
  if (mm->log_file) {
    std::fputs(text, mm->log_file);
    std::fflush(mm->log_file);
  }
  if (mm->msg_func && mm->level > 1) mm->msg_func(mm->msg_handle, text);
}

static void add_use(memman* mm, int64 bytes) {
  int64 now = mm->curuse.fetch_add(bytes) + bytes;
  int64 seen = mm->maxuse.load();
  while (now > seen && !mm->maxuse.compare_exchange_weak(seen, now)) {
  }
}

memman* memman_create(int check, int level, const MemHooks& hooks, const char* name,
                      std::FILE* log_file) {
  void* raw = hooks.calloc_fn(hooks.usrptr, 1, sizeof(memman));
  if (!raw) return nullptr;
  memman* mm = new (raw) memman;
  mm->hooks = hooks;
  mm->check = check;
  mm->level = level;
  mm->name = name ? name : "";
  mm->log_file = log_file;
  return mm;
}

int64 memman_delete(memman* mm) {
  if (!mm) return 0;
  int64 left = mm->numblocks.load();
  if (mm->log_file) std::fclose(mm->log_file);
  MemHooks hooks = mm->hooks;
  mm->~memman();
  hooks.free_fn(hooks.usrptr, mm);
  return left;
}

static bool block_size(memman* mm, const char* file, int line, size_t n, size_t size,
                       size_t* bytes) {
  unsigned __int128 product = static_cast<unsigned __int128>(n) * size;
  if (product > 0xffffffffu) {
    char text[512];
    std::snprintf(text, sizeof text, "Out of space due to a block size overflow '%s(%d)'.\n",
                  file ? file : "", line);
    report(mm, text);
    return false;
  }
  *bytes = static_cast<size_t>(product);
  return true;
}

static void* plain_alloc(memman* mm, size_t bytes, bool zero) {
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

void* memman_malloc(memman* mm, const char* file, int line, size_t n, size_t size) {
  size_t bytes = 0;
  if (!block_size(mm, file, line, n, size, &bytes) || bytes == 0) return nullptr;
  return plain_alloc(mm, bytes, false);
}

void* memman_calloc(memman* mm, const char* file, int line, size_t n, size_t size) {
  size_t bytes = 0;
  if (!block_size(mm, file, line, n, size, &bytes) || bytes == 0) return nullptr;
  return plain_alloc(mm, bytes, true);
}

void* memman_realloc(memman* mm, const char* file, int line, void* block, size_t n, size_t size) {
  if (!block) return memman_malloc(mm, file, line, n, size);
  size_t bytes = 0;
  if (!block_size(mm, file, line, n, size, &bytes)) return nullptr;
  if (bytes == 0) {
    memman_free(mm, file, line, block);
    return nullptr;
  }
  PlainHeader* h = static_cast<PlainHeader*>(block) - 1;
  int64 old = static_cast<int64>(h->size);
  void* raw = mm->hooks.realloc_fn(mm->hooks.usrptr, h, bytes + sizeof(PlainHeader));
  if (!raw) return nullptr;
  h = static_cast<PlainHeader*>(raw);
  h->size = bytes;
  add_use(mm, static_cast<int64>(bytes) - old);
  return h + 1;
}

void memman_free(memman* mm, const char*, int, void* block) {
  if (!block) return;
  PlainHeader* h = static_cast<PlainHeader*>(block) - 1;
  mm->curuse.fetch_sub(static_cast<int64>(h->size));
  mm->numblocks.fetch_sub(1);
  h->magic = 0;
  mm->hooks.free_fn(mm->hooks.usrptr, h);
}

char* memman_strdup(memman* mm, const char* file, int line, const char* text) {
  if (!text) return nullptr;
  size_t len = std::strlen(text) + 1;
  char* copy = static_cast<char*>(memman_malloc(mm, file, line, len, 1));
  if (copy) std::memcpy(copy, text, len);
  return copy;
}

int memman_scan(memman*, const char*, int) {
  return 0;
}
int memman_lock_block(memman*, void*) {
  return 0;
}
int memman_unlock_block(memman*, void*) {
  return 0;
}

void memman_usage(const memman* mm, int64* current, int64* maximum) {
  if (current) *current = mm->curuse.load();
  if (maximum) *maximum = mm->maxuse.load();
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
