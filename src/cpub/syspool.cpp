#include "cpub/syspool.h"

#include <atomic>
#include <new>

#include "cpub/sysatomic.h"
#include "cpub/sysworker.h"

namespace telva {

struct SysPoolWorkerStart {
  TvaThreadPool* pool;
  int32 index; // thread index of the worker, 1..num_threads-1
};

namespace {

int64 load_spin(const TvaThreadPool* pool) {
  return std::atomic_ref<int64>(const_cast<int64&>(pool->spin_count))
      .load(std::memory_order_relaxed);
}

// The next range of thread t, or lo == hi when its share is done. Positions are formed in 64
// bits so that chunk numbers beyond the range never overflow.
void next_range(TvaThreadPool* pool, int32 t, int32* lo, int32* hi) {
  SysPoolJob& job = pool->job;
  int64 k;
  if (job.mode == kPoolDynamic) {
    if (pool->num_threads == 1) {
      k = job.next++;
    } else {
      sysmutex_lock(&job.mutex);
      pool->locks_taken.fetch_add(1, std::memory_order_relaxed);
      k = job.next++;
      sysmutex_unlock(&job.mutex);
    }
  } else {
    k = job.counters[t].value;
    job.counters[t].value += job.stride;
  }
  int64 a = static_cast<int64>(job.first) + k * job.chunk;
  int64 b = a + job.chunk;
  if (a > job.last) a = job.last;
  if (b > job.last) b = job.last;
  *lo = static_cast<int32>(a);
  *hi = static_cast<int32>(b);
}

void run_share(TvaThreadPool* pool, int32 t) {
  for (;;) {
    int32 lo, hi;
    next_range(pool, t, &lo, &hi);
    if (lo == hi) break;
    pool->func(t, lo, hi, pool->arg);
  }
}

// Waits until this worker's flag is raised or the pool shuts down: first spinning, then asleep.
void wait_for_job(TvaThreadPool* pool, int32 slot) {
  int32* flag = &pool->flags[slot].value;
  int64 spin = load_spin(pool);
  for (int64 s = 0; s < spin; ++s) {
    if (sysatomic_load32(flag) || sysatomic_load32(&pool->shutdown)) return;
    sysatomic_pause();
  }
  sysmutex_lock(&pool->wake_lock);
  while (!sysatomic_load32(flag) && !sysatomic_load32(&pool->shutdown))
    syscond_wait(&pool->wake_cond, &pool->wake_lock);
  sysmutex_unlock(&pool->wake_lock);
}

void* worker_main(void* argument) {
  SysPoolWorkerStart* start = static_cast<SysPoolWorkerStart*>(argument);
  TvaThreadPool* pool = start->pool;
  int32 t = start->index;
  int32 slot = t - 1;
  sysworker_set_id(t);
  for (;;) {
    wait_for_job(pool, slot);
    sysatomic_store32(&pool->flags[slot].value, 0);
    if (sysatomic_load32(&pool->shutdown)) break;
    run_share(pool, t);
    sysmutex_lock(&pool->end_lock);
    if (sysatomic_add32(&pool->pending, -1) == 0) syscond_signal(&pool->end_cond);
    sysmutex_unlock(&pool->end_lock);
  }
  return nullptr;
}

void stop_workers(TvaThreadPool* pool) {
  if (pool->workers_started == 0) return;
  sysmutex_lock(&pool->wake_lock);
  sysatomic_store32(&pool->shutdown, 1);
  syscond_broadcast(&pool->wake_cond);
  sysmutex_unlock(&pool->wake_lock);
  for (int32 i = 0; i < pool->workers_started; ++i)
    systhread_join(&pool->threads[i]);
  pool->workers_started = 0;
}

// Releases whatever of the pool stands; used by delete and by a failed create.
void release(TvaThreadPool* pool) {
  sysenv* sys = pool->sys;
  stop_workers(pool);
  if (pool->sync_made >= 5) syscond_destroy(&pool->end_cond);
  if (pool->sync_made >= 4) sysmutex_destroy(&pool->end_lock);
  if (pool->sync_made >= 3) syscond_destroy(&pool->wake_cond);
  if (pool->sync_made >= 2) sysmutex_destroy(&pool->wake_lock);
  if (pool->sync_made >= 1) sysmutex_destroy(&pool->job.mutex);
  TVA_SYS_FREE(sys, pool->starts);
  TVA_SYS_FREE(sys, pool->threads);
  TVA_SYS_FREE(sys, pool->slot_block);
  pool->~TvaThreadPool();
  TVA_SYS_FREE(sys, pool);
}

TVArescode init_sync(TvaThreadPool* pool) {
  if (sysmutex_init(&pool->job.mutex) != 0) return TVA_RES_ERR_THREAD_MUTEX_INIT;
  pool->sync_made = 1;
  if (sysmutex_init(&pool->wake_lock) != 0) return TVA_RES_ERR_THREAD_MUTEX_INIT;
  pool->sync_made = 2;
  if (syscond_init(&pool->wake_cond) != 0) return TVA_RES_ERR_THREAD_COND_INIT;
  pool->sync_made = 3;
  if (sysmutex_init(&pool->end_lock) != 0) return TVA_RES_ERR_THREAD_MUTEX_INIT;
  pool->sync_made = 4;
  if (syscond_init(&pool->end_cond) != 0) return TVA_RES_ERR_THREAD_COND_INIT;
  pool->sync_made = 5;
  return TVA_RES_OK;
}

// Flags of the workers and counters of all threads, each in its own 64-byte slot. The block
// comes from the sysenv, which aligns to 16 bytes only, so it is aligned here by hand.
TVArescode alloc_slots(TvaThreadPool* pool) {
  int32 n = pool->num_threads;
  size_t count = static_cast<size_t>(2 * n);
  pool->slot_block = sysenv_calloc(pool->sys, TVA_HERE, count * sizeof(SysPoolSlot) + 64, 1);
  if (!pool->slot_block) return TVA_RES_ERR_SPACE;
  uintptr_t p = reinterpret_cast<uintptr_t>(pool->slot_block);
  p = (p + 63) & ~static_cast<uintptr_t>(63);
  SysPoolSlot* slots = reinterpret_cast<SysPoolSlot*>(p);
  pool->flags = slots; // slots 0..n-2 are used, for workers 1..n-1
  pool->job.counters = slots + n;
  return TVA_RES_OK;
}

TVArescode start_workers(TvaThreadPool* pool, int* syserr) {
  int32 workers = pool->num_threads - 1;
  if (workers == 0) return TVA_RES_OK;
  pool->threads = TVA_SYS_ALLOC(pool->sys, systhread, workers);
  pool->starts = TVA_SYS_ALLOC(pool->sys, SysPoolWorkerStart, workers);
  if (!pool->threads || !pool->starts) return TVA_RES_ERR_SPACE;
  for (int32 i = 0; i < workers; ++i) {
    pool->starts[i].pool = pool;
    pool->starts[i].index = i + 1;
    int rc = systhread_create(&pool->threads[i], 0, worker_main, &pool->starts[i]);
    if (rc != 0) {
      *syserr = rc;
      return TVA_RES_ERR_THREAD_CREATE;
    }
    pool->workers_started = i + 1;
  }
  return TVA_RES_OK;
}

} // namespace

TVArescode syspool_create(sysenv* sys, TvaThreadPool** out, int32 num_threads, int* syserr) {
  *out = nullptr;
  if (syserr) *syserr = 0;
  int dummy = 0;
  if (!syserr) syserr = &dummy;
  void* raw = sysenv_calloc(sys, TVA_HERE, 1, sizeof(TvaThreadPool));
  if (!raw) return TVA_RES_ERR_SPACE;
  TvaThreadPool* pool = new (raw) TvaThreadPool;
  pool->sys = sys;
  pool->num_threads = num_threads > 1 ? num_threads : 1;
  pool->spin_count = sysenv_get_spin_count(sys);
  TVArescode r = alloc_slots(pool);
  if (r == TVA_RES_OK) r = init_sync(pool);
  if (r == TVA_RES_OK) r = start_workers(pool, syserr);
  if (r != TVA_RES_OK) {
    release(pool);
    return r;
  }
  *out = pool;
  return TVA_RES_OK;
}

void syspool_delete(TvaThreadPool** ppool) {
  if (!ppool || !*ppool) return;
  release(*ppool);
  *ppool = nullptr;
}

void syspool_setup_job(TvaThreadPool* pool, int32 mode, int32 chunk) {
  pool->job.mode = mode == kPoolDynamic ? kPoolDynamic : kPoolStatic;
  pool->job.chunk_request = chunk > 0 ? chunk : 0;
}

TVArescode syspool_run(TvaThreadPool* pool, SysPoolFunc function, void* argument, int32 first,
                       int32 last) {
  if (last <= first) return TVA_RES_OK;
  int32 n = pool->num_threads;
  SysPoolJob& job = pool->job;
  int64 len = static_cast<int64>(last) - first;
  int64 chunk = job.chunk_request;
  if (chunk <= 0) {
    // Static: one chunk per thread. Dynamic: a few chunks per thread to even out the load.
    int64 parts = job.mode == kPoolDynamic ? 4 * static_cast<int64>(n) : n;
    chunk = (len + parts - 1) / parts;
  }
  job.first = first;
  job.last = last;
  job.chunk = static_cast<int32>(chunk < len ? chunk : len);
  job.stride = n;
  job.next = 0;
  for (int32 t = 0; t < n; ++t)
    job.counters[t].value = t;
  pool->func = function;
  pool->arg = argument;

  int32 caller_id = sysworker_id();
  sysworker_set_id(0);
  if (n == 1) {
    run_share(pool, 0);
    sysworker_set_id(caller_id);
    return TVA_RES_OK;
  }

  sysatomic_store32(&pool->pending, n - 1);
  if (sysmutex_lock(&pool->wake_lock) != 0) {
    sysworker_set_id(caller_id);
    return TVA_RES_ERR_THREAD_MUTEX_LOCK;
  }
  pool->locks_taken.fetch_add(1, std::memory_order_relaxed);
  for (int32 i = 0; i < n - 1; ++i)
    sysatomic_store32(&pool->flags[i].value, 1);
  syscond_broadcast(&pool->wake_cond);
  sysmutex_unlock(&pool->wake_lock);

  sysatomic_store32(&pool->main_in_job, 1);
  run_share(pool, 0);
  sysatomic_store32(&pool->main_in_job, 0);

  int64 spin = load_spin(pool);
  for (int64 s = 0; s < spin && sysatomic_load32(&pool->pending) > 0; ++s)
    sysatomic_pause();
  if (sysatomic_load32(&pool->pending) > 0) {
    if (sysmutex_lock(&pool->end_lock) == 0) {
      pool->locks_taken.fetch_add(1, std::memory_order_relaxed);
      while (sysatomic_load32(&pool->pending) > 0)
        syscond_wait(&pool->end_cond, &pool->end_lock);
      sysmutex_unlock(&pool->end_lock);
    } else {
      // Without the end lock the caller can still wait safely, if less politely.
      while (sysatomic_load32(&pool->pending) > 0)
        sysatomic_pause();
    }
  }
  sysworker_set_id(caller_id);
  return TVA_RES_OK;
}

int32 syspool_num_threads(const TvaThreadPool* pool) {
  return pool->num_threads;
}

int64 syspool_spin_count(const TvaThreadPool* pool) {
  return load_spin(pool);
}

void syspool_set_spin_count(TvaThreadPool* pool, int64 count) {
  std::atomic_ref<int64>(pool->spin_count).store(count > 0 ? count : 0, std::memory_order_relaxed);
}

} // namespace telva
