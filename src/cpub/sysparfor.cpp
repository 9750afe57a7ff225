#include "cpub/sysparfor.h"

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <sched.h>
#include <system_error>
#include <thread>

#include "cpub/sysworker.h"

namespace telva {

namespace {

// True on a thread that is working in a loop: a nested loop runs serially there.
thread_local bool tls_in_loop = false;

int32 default_workers() {
  cpu_set_t mask;
  CPU_ZERO(&mask);
  int n = 0;
  if (sched_getaffinity(0, sizeof mask, &mask) == 0) n = CPU_COUNT(&mask);
  if (n < 1) n = static_cast<int>(std::thread::hardware_concurrency());
  if (n < 1) n = 1;
  return n < kParForMaxWorkers ? n : kParForMaxWorkers;
}

void run_serial(int32 first, int32 last, SysParForBody body, void* argument) {
  for (int32 i = first; i < last; ++i)
    body(i, argument);
}

class ParRuntime {
public:
  ParRuntime() : nworkers_(default_workers()) {}
  ~ParRuntime() { stop_workers(); }

  int32 nworkers() const { return nworkers_.load(std::memory_order_relaxed); }

  int set_nworkers(int32 n) {
    if (tls_in_loop) return 3;
    std::unique_lock<std::mutex> submit(submit_, std::try_to_lock);
    if (!submit.owns_lock()) return 3;
    nworkers_.store(n, std::memory_order_relaxed);
    return 0; // the helpers are matched to the new count at the next loop
  }

  void run(int32 first, int32 last, int32 grain, SysParForBody body, void* argument) {
    if (tls_in_loop) return run_serial(first, last, body, argument);
    std::unique_lock<std::mutex> submit(submit_, std::try_to_lock);
    if (!submit.owns_lock()) return run_serial(first, last, body, argument);
    match_workers();
    if (running_ == 0) return run_serial(first, last, body, argument);

    first_ = first;
    last_ = last;
    grain_ = grain;
    pieces_ = sysparfor_num_pieces(first, last, grain);
    body_ = body;
    argument_ = argument;
    next_.store(0, std::memory_order_relaxed);
    {
      std::lock_guard<std::mutex> lk(m_);
      active_ = running_;
      ++generation_;
    }
    wake_.notify_all();

    int32 caller_id = sysworker_id();
    sysworker_set_id(0);
    tls_in_loop = true;
    work();
    tls_in_loop = false;
    sysworker_set_id(caller_id);

    std::unique_lock<std::mutex> lk(m_);
    done_.wait(lk, [this] { return active_ == 0; });
  }

private:
  // Takes pieces from the shared counter until none are left.
  void work() {
    for (;;) {
      int64 p = next_.fetch_add(1, std::memory_order_relaxed);
      if (p >= pieces_) break;
      int64 lo = static_cast<int64>(first_) + p * grain_;
      int64 hi = lo + grain_;
      if (hi > last_) hi = last_;
      for (int64 i = lo; i < hi; ++i)
        body_(static_cast<int32>(i), argument_);
    }
  }

  void worker_main(int32 id, uint64 seen) {
    sysworker_set_id(id);
    tls_in_loop = true;
    std::unique_lock<std::mutex> lk(m_);
    for (;;) {
      wake_.wait(lk, [&] { return stop_ || generation_ != seen; });
      if (stop_) return;
      seen = generation_;
      lk.unlock();
      work();
      lk.lock();
      if (--active_ == 0) done_.notify_one();
    }
  }

  // Called with submit_ held, so no loop runs: restart the helpers if the count changed.
  void match_workers() {
    int32 want = nworkers() - 1;
    if (running_ == want) return;
    stop_workers();
    uint64 gen;
    {
      std::lock_guard<std::mutex> lk(m_);
      gen = generation_;
    }
    for (int32 i = 0; i < want; ++i) {
      try {
        threads_[i] = std::thread(&ParRuntime::worker_main, this, i + 1, gen);
      } catch (const std::system_error&) {
        break; // fewer helpers: the loops still run, with less parallelism
      }
      running_ = i + 1;
    }
  }

  void stop_workers() {
    if (running_ == 0) return;
    {
      std::lock_guard<std::mutex> lk(m_);
      stop_ = true;
    }
    wake_.notify_all();
    for (int32 i = 0; i < running_; ++i)
      threads_[i].join();
    std::lock_guard<std::mutex> lk(m_);
    stop_ = false;
    running_ = 0;
  }

  std::mutex submit_; // held by the caller of the running loop
  std::mutex m_;      // guards generation_, active_, stop_
  std::condition_variable wake_, done_;
  std::atomic<int32> nworkers_;
  int32 running_ = 0; // helper threads started, worker numbers 1..running_
  uint64 generation_ = 0;
  int32 active_ = 0; // helpers still in the running loop
  bool stop_ = false;

  int32 first_ = 0, last_ = 0, grain_ = 1;
  int64 pieces_ = 0;
  SysParForBody body_ = nullptr;
  void* argument_ = nullptr;
  std::atomic<int64> next_{0};
  std::thread threads_[kParForMaxWorkers - 1];
};

ParRuntime& runtime() {
  static ParRuntime rt;
  return rt;
}

} // namespace

int32 sysparfor_num_pieces(int32 first, int32 last, int32 grain) {
  if (last <= first) return 0;
  if (grain < 1) grain = 1;
  return static_cast<int32>((static_cast<int64>(last) - first - 1) / grain + 1);
}

void sysparfor(int parallel, int32 first, int32 last, int32 grain, SysParForBody body,
               void* argument) {
  if (last <= first) return;
  if (grain < 1) grain = 1;
  if (!parallel || sysparfor_num_pieces(first, last, grain) < 2)
    return run_serial(first, last, body, argument);
  ParRuntime& rt = runtime();
  if (rt.nworkers() < 2) return run_serial(first, last, body, argument);
  rt.run(first, last, grain, body, argument);
}

int32 sysparfor_get_nworkers() {
  return runtime().nworkers();
}

int sysparfor_set_param(const char* name, const char* value) {
  if (!name || std::strcmp(name, "nworkers") != 0) return 1;
  if (!value || !*value) return 2;
  char* end = nullptr;
  long n = std::strtol(value, &end, 10);
  if (*end != '\0' || n < 1 || n > kParForMaxWorkers) return 2;
  return runtime().set_nworkers(static_cast<int32>(n));
}

} // namespace telva
