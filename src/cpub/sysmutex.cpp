#include "cpub/sysmutex.h"

#include <sched.h>

namespace telva {

int sysmutex_init(sysmutex* mx) {
  return pthread_mutex_init(&mx->m, nullptr);
}

int sysmutex_lock(sysmutex* mx) {
  // A short critical section is usually released within the spin, which saves a system call.
  for (int i = 0; i < kMutexSpinCount; ++i) {
    if (pthread_mutex_trylock(&mx->m) == 0) return 0;
    if ((i & 63) == 63) sched_yield();
  }
  return pthread_mutex_lock(&mx->m);
}

int sysmutex_unlock(sysmutex* mx) {
  return pthread_mutex_unlock(&mx->m);
}
int sysmutex_destroy(sysmutex* mx) {
  return pthread_mutex_destroy(&mx->m);
}

int syscond_init(syscond* cv) {
  return pthread_cond_init(&cv->c, nullptr);
}
int syscond_wait(syscond* cv, sysmutex* mx) {
  return pthread_cond_wait(&cv->c, &mx->m);
}
int syscond_signal(syscond* cv) {
  return pthread_cond_signal(&cv->c);
}
int syscond_broadcast(syscond* cv) {
  return pthread_cond_broadcast(&cv->c);
}
int syscond_destroy(syscond* cv) {
  return pthread_cond_destroy(&cv->c);
}

} // namespace telva
