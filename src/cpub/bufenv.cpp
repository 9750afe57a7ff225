#include "cpub/bufenv.h"

#include <cstring>
#include <new>

#include "cpub/sysmutex.h"
#include "cpub/sysworker.h"

namespace telva {

namespace {

// Header in front of the user's pointer. With 64-bit pointers it takes 24 bytes; the
// pointer to the next free block is its last word.
struct BufHeader {
  int16_t cls;
  int16_t unused;
  int32 owner_worker;
  unsigned char* base; // what the owner's memory gave
  void* next;          // next free block (user pointers) while on a free list
};
static_assert(sizeof(BufHeader) == 24, "bufenv header layout");

BufHeader* header_of(void* block) {
  return reinterpret_cast<BufHeader*>(static_cast<unsigned char*>(block) - sizeof(BufHeader));
}

} // namespace

struct bufenv {
  sysenv* owner;
  int32 max_workers;
  size_t alignment; // effective: the asked alignment, at least that of the header
  int clear;
  // One row of kBufNumClasses list heads per worker, made at the worker's first miss, so that
  // an environment whose workers never run parallel code pays only for the table.
  void*** rows;
  void* shared[kBufNumClasses];
  sysmutex mutex;
  alignas(16) unsigned char zero_block[16]; // the address of every zero-byte request
};

bufenv* bufenv_create(sysenv* owner, size_t alignment, int clear) {
  if (alignment == 0) alignment = 1;
  if (alignment & (alignment - 1)) return nullptr;
  void* raw = sysenv_calloc(owner, TVA_HERE, 1, sizeof(bufenv));
  if (!raw) return nullptr;
  bufenv* env = new (raw) bufenv;
  env->owner = owner;
  env->max_workers = kBufMaxWorkers;
  env->alignment = alignment < alignof(BufHeader) ? alignof(BufHeader) : alignment;
  env->clear = clear ? 1 : 0;
  env->rows = static_cast<void***>(sysenv_calloc(owner, TVA_HERE, kBufMaxWorkers, sizeof(void**)));
  if (!env->rows || sysmutex_init(&env->mutex) != 0) {
    sysenv_free(owner, TVA_HERE, env->rows);
    env->~bufenv();
    sysenv_free(owner, TVA_HERE, raw);
    return nullptr;
  }
  return env;
}

static void free_list(sysenv* owner, void* block) {
  while (block) {
    BufHeader* h = header_of(block);
    void* next = h->next;
    sysenv_free(owner, TVA_HERE, h->base);
    block = next;
  }
}

void bufenv_delete(bufenv** penv) {
  bufenv* env = *penv;
  if (!env) return;
  *penv = nullptr;
  sysenv* owner = env->owner;
  for (int32 w = 0; w < env->max_workers; ++w) {
    if (!env->rows[w]) continue;
    for (int k = 0; k < kBufNumClasses; ++k)
      free_list(owner, env->rows[w][k]);
    sysenv_free(owner, TVA_HERE, env->rows[w]);
  }
  for (int k = 0; k < kBufNumClasses; ++k)
    free_list(owner, env->shared[k]);
  sysenv_free(owner, TVA_HERE, env->rows);
  sysmutex_destroy(&env->mutex);
  env->~bufenv();
  sysenv_free(owner, TVA_HERE, env);
}

static int32 checked_worker(bufenv* env, const char* file, int line) {
  int32 w = sysworker_id();
  if (w < 0 || w >= env->max_workers)
    sysenv_fatal(env->owner, file, line, "Invalid worker id. wid: %d max_num_workers: %d\n", w,
                 env->max_workers);
  return w;
}

void* bufenv_get(const char* file, int line, bufenv* env, size_t bytes) {
  if (bytes == 0) return env->zero_block;
  // The smallest class whose blocks hold the header, the alignment slack and the bytes.
  size_t need = env->alignment + sizeof(BufHeader) + bytes;
  if (need < bytes) return nullptr;
  int k = 0;
  while (k < 63 && (static_cast<size_t>(1) << k) < need)
    ++k;
  if ((static_cast<size_t>(1) << k) < need) return nullptr;

  int32 w = checked_worker(env, file, line);
  void** row = env->rows[w];
  if (!row) {
    row = static_cast<void**>(sysenv_calloc(env->owner, file, line, kBufNumClasses, sizeof(void*)));
    if (!row) return nullptr;
    env->rows[w] = row;
  }
  void* block = row[k];
  bool reused = block != nullptr;
  if (block) {
    row[k] = header_of(block)->next;
  } else {
    // A miss: blocks of this class that other workers gave back are taken under the mutex.
    SysLockGuard guard(&env->mutex);
    if (guard.locked() && env->shared[k]) {
      block = env->shared[k];
      BufHeader* h = header_of(block);
      env->shared[k] = h->next;
      h->owner_worker = w;
      reused = true;
    }
  }
  if (!block) {
    size_t total = static_cast<size_t>(1) << k;
    auto* base =
        static_cast<unsigned char*>(env->clear ? sysenv_calloc(env->owner, file, line, 1, total)
                                               : sysenv_malloc(env->owner, file, line, 1, total));
    if (!base) return nullptr;
    // The lowest address aligned at the alignment that leaves room for the header in front.
    uintptr_t first = reinterpret_cast<uintptr_t>(base) + sizeof(BufHeader);
    uintptr_t user = (first + env->alignment - 1) & ~(static_cast<uintptr_t>(env->alignment) - 1);
    block = base + (user - reinterpret_cast<uintptr_t>(base));
    BufHeader* h = header_of(block);
    h->cls = static_cast<int16_t>(k);
    h->unused = 0;
    h->owner_worker = w;
    h->base = base;
  }
  BufHeader* h = header_of(block);
  if (h->cls != k || h->owner_worker != w)
    sysenv_fatal(env->owner, file, line,
                 "Assertion failed at %s(%d). bufenv block class %d (wanted %d), owner %d "
                 "(wanted %d).",
                 file ? file : "", line, h->cls, k, h->owner_worker, w);
  h->next = nullptr;
  if (reused && env->clear) std::memset(block, 0, bytes);
  return block;
}

void bufenv_put(const char* file, int line, bufenv* env, void* block) {
  if (!block || block == env->zero_block) return;
  int32 w = checked_worker(env, file, line);
  BufHeader* h = header_of(block);
  if (h->cls < 0 || h->cls >= kBufNumClasses)
    sysenv_fatal(env->owner, file, line, "Assertion failed at %s(%d). bufenv block %p is damaged.",
                 file ? file : "", line, block);
  if (h->owner_worker == w) {
    h->next = env->rows[w][h->cls];
    env->rows[w][h->cls] = block;
    return;
  }
  SysLockGuard guard(&env->mutex);
  if (!guard.locked())
    sysenv_fatal(env->owner, file, line, "Assertion failed at %s(%d). bufenv mutex.",
                 file ? file : "", line);
  h->next = env->shared[h->cls];
  env->shared[h->cls] = block;
}

int64 bufenv_num_free(bufenv* env, int32 row) {
  int64 count = 0;
  auto walk = [&count](void* block) {
    for (; block; block = header_of(block)->next)
      ++count;
  };
  if (row < 0) {
    SysLockGuard guard(&env->mutex);
    for (void* head : env->shared)
      walk(head);
  } else if (row < env->max_workers && env->rows[row]) {
    for (int k = 0; k < kBufNumClasses; ++k)
      walk(env->rows[row][k]);
  }
  return count;
}

} // namespace telva
