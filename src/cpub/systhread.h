// Threads over POSIX threads: create with a stack size, and join.
#pragma once

#include <cstddef>
#include <pthread.h>

namespace telva {

struct systhread {
  pthread_t handle;
};

using SysThreadFunc = void* (*)(void* argument);

// Starts function(argument) on a new thread. stack 0 takes the system's default stack size.
// Returns 0, or the system's error code (callers report TVA_RES_ERR_THREAD_CREATE with it).
int systhread_create(systhread* thread, size_t stack, SysThreadFunc function, void* argument);

// Waits for the thread to end. Returns 0 or the system's error code.
int systhread_join(systhread* thread);

} // namespace telva
