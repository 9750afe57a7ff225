// Mutexes that spin a while before they sleep, and condition variables, over POSIX threads.
#pragma once

#include <pthread.h>

namespace telva {

// Rounds a lock spins on a held mutex before it waits in the kernel.
constexpr int kMutexSpinCount = 4000;

struct sysmutex {
  pthread_mutex_t m;
};

// Each returns 0 at success.
int sysmutex_init(sysmutex* mx);
int sysmutex_lock(sysmutex* mx);
int sysmutex_unlock(sysmutex* mx);
int sysmutex_destroy(sysmutex* mx);

// Holds a mutex for the life of a scope; locked() tells whether taking it succeeded.
class SysLockGuard {
public:
  explicit SysLockGuard(sysmutex* mx) : mx_(mx), ok_(sysmutex_lock(mx) == 0) {}
  ~SysLockGuard() {
    if (ok_) sysmutex_unlock(mx_);
  }
  SysLockGuard(const SysLockGuard&) = delete;
  SysLockGuard& operator=(const SysLockGuard&) = delete;
  bool locked() const { return ok_; }

private:
  sysmutex* mx_;
  bool ok_;
};

struct syscond {
  pthread_cond_t c;
};

int syscond_init(syscond* cv);
int syscond_wait(syscond* cv, sysmutex* mx);
int syscond_signal(syscond* cv);
int syscond_broadcast(syscond* cv);
int syscond_destroy(syscond* cv);

} // namespace telva
