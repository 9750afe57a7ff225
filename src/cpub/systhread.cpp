#include "cpub/systhread.h"

#include <climits>

namespace telva {

int systhread_create(systhread* thread, size_t stack, SysThreadFunc function, void* argument) {
  pthread_attr_t attr;
  int rc = pthread_attr_init(&attr);
  if (rc != 0) return rc;
  if (stack > 0) {
    if (stack < static_cast<size_t>(PTHREAD_STACK_MIN)) stack = PTHREAD_STACK_MIN;
    rc = pthread_attr_setstacksize(&attr, stack);
  }
  if (rc == 0) rc = pthread_create(&thread->handle, &attr, function, argument);
  pthread_attr_destroy(&attr);
  return rc;
}

int systhread_join(systhread* thread) {
  return pthread_join(thread->handle, nullptr);
}

} // namespace telva
