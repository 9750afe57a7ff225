// The small thread pool a task uses for the interior chain. The caller is thread 0 and works
// alongside num_threads - 1 workers, which sleep between jobs (after spinning spin_count rounds
// on their flag, so that short jobs in a row don't pay for a system call each).
//
// A job is a range [first, last) cut into chunks. In static mode thread t takes chunks t,
// t + stride, t + 2 * stride, ... (stride = number of threads); in dynamic mode each thread
// takes the next chunk from one shared counter. The function gets (thread, lo, hi, argument).
#pragma once

#include <atomic>

#include "cpub/sysenv.h"
#include "cpub/sysmutex.h"
#include "cpub/systhread.h"

namespace telva {

enum SysPoolMode : int32 { kPoolStatic = 0, kPoolDynamic = 1 };

using SysPoolFunc = void (*)(int32 thread, int32 lo, int32 hi, void* argument);

// One int32 in a cache line of its own, so that no two threads' flags or counters share a line.
struct alignas(64) SysPoolSlot {
  int32 value;
  char pad[60];
};
static_assert(sizeof(SysPoolSlot) == 64, "pool slots fill one cache line");

struct SysPoolJob {
  int32 mode = kPoolStatic;
  int32 first = 0;
  int32 last = 0;
  int32 chunk = 0;                 // chunk of the running job (>= 1)
  int32 stride = 1;                // static mode: how far a thread's chunk counter advances
  sysmutex mutex;                  // guards next in dynamic mode
  int32 next = 0;                  // dynamic mode: the next chunk to hand out
  SysPoolSlot* counters = nullptr; // static mode: each thread's next chunk
  int32 chunk_request = 0; // from the job set-up; 0 picks a chunk from the range at each run
};

struct SysPoolWorkerStart;

struct TvaThreadPool {
  sysenv* sys = nullptr;
  SysPoolJob job;
  int32 num_threads = 1;
  sysmutex wake_lock; // with wake_cond: wakes the workers for a job or for shutdown
  syscond wake_cond;
  sysmutex end_lock; // with end_cond: the last worker to finish tells the caller
  syscond end_cond;
  SysPoolSlot* flags = nullptr; // per worker: 1 when a job waits for it
  int32 shutdown = 0;
  int32 pending = 0; // workers still busy with the running job
  int64 spin_count = 0;
  int32 main_in_job = 0;
  SysPoolFunc func = nullptr;
  void* arg = nullptr;
  systhread* threads = nullptr; // num_threads - 1 workers; worker i is thread i + 1

  // Bookkeeping.
  void* slot_block = nullptr; // raw memory behind flags and counters
  SysPoolWorkerStart* starts = nullptr;
  int32 workers_started = 0;
  int32 sync_made = 0; // how many of the locks and conditions were initialised
  // Lock acquisitions by runs (a statistic; a pool of one thread never takes one).
  std::atomic<int64> locks_taken{0};
};

// Makes a pool of num_threads threads (values below 1 count as 1). With one thread no worker
// is started. Returns TVA_RES_OK, TVA_RES_ERR_SPACE, TVA_RES_ERR_THREAD_MUTEX_INIT,
// TVA_RES_ERR_THREAD_COND_INIT or TVA_RES_ERR_THREAD_CREATE with the system's code in *syserr;
// on failure nothing is left behind and *out is null.
TVArescode syspool_create(sysenv* sys, TvaThreadPool** out, int32 num_threads, int* syserr);

// Stops and joins the workers and frees the pool; *pool becomes null. Null is allowed.
void syspool_delete(TvaThreadPool** pool);

// Chooses the mode of the following runs and their chunk (0 or less: chosen from each range).
void syspool_setup_job(TvaThreadPool* pool, int32 mode, int32 chunk);

// Runs function over [first, last) on all threads of the pool and returns when every chunk is
// done. Returns TVA_RES_OK, or TVA_RES_ERR_THREAD_MUTEX_LOCK if the workers could not be woken
// (then nothing has run).
TVArescode syspool_run(TvaThreadPool* pool, SysPoolFunc function, void* argument, int32 first,
                       int32 last);

int32 syspool_num_threads(const TvaThreadPool* pool);
int64 syspool_spin_count(const TvaThreadPool* pool);
// Workers read the spin count without a lock; a change takes effect at their next wait.
void syspool_set_spin_count(TvaThreadPool* pool, int64 count);

} // namespace telva
