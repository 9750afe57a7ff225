// Per-worker scratch blocks for parallel code. Each worker keeps its own free lists, one per
// size class of 2^k bytes, and takes from them without a lock; a block released by a worker
// other than its holder goes to a shared row under a mutex, from which any worker that misses
// in its own row takes it. Blocks go back to the system only when the bufenv is deleted, so
// that the parallel kernels neither lock nor allocate in their steady state.
#pragma once

#include "cpub/sysenv.h"

namespace telva {

struct bufenv;

constexpr int32 kBufMaxWorkers = 512;
constexpr int kBufNumClasses = 65;

// alignment: a power of two, the alignment of every pointer given out (at least 8 is used).
// clear: blocks come out zeroed. Returns null when memory or the mutex cannot be had.
bufenv* bufenv_create(sysenv* owner, size_t alignment, int clear);
// Returns the free blocks to the owner's memory and frees the bufenv; *env becomes null.
void bufenv_delete(bufenv** env);

// A block of at least bytes for the calling worker (sysworker_id()); null when out of space.
// Zero bytes give a fixed address that bufenv_put accepts.
void* bufenv_get(const char* file, int line, bufenv* env, size_t bytes);
// Gives a block back; null and the zero-byte address are accepted.
void bufenv_put(const char* file, int line, bufenv* env, void* block);

// Number of free blocks on a worker's row (row -1: the shared row); for tests and debugging.
int64 bufenv_num_free(bufenv* env, int32 row);

#define TVA_BUF_GET(env, bytes) ::telva::bufenv_get(__FILE__, __LINE__, (env), (bytes))
#define TVA_BUF_PUT(env, block) ::telva::bufenv_put(__FILE__, __LINE__, (env), (block))

} // namespace telva
