// Atomic operations on plain 32-bit words: compare-and-swap, add, load and store. The words
// stay ordinary int32 fields of shared structures; every access that races with another
// thread goes through these.
#pragma once

#include <atomic>

#include "cpub/systypes.h"

namespace telva {

static_assert(std::atomic_ref<int32>::is_always_lock_free, "32-bit atomics must be lock-free");

// Sets *word to desired if it holds expected; true when it did. Full ordering.
inline bool sysatomic_cas32(int32* word, int32 expected, int32 desired) {
  return std::atomic_ref<int32>(*word).compare_exchange_strong(expected, desired);
}

// Adds delta and gives the new value. Full ordering.
inline int32 sysatomic_add32(int32* word, int32 delta) {
  return std::atomic_ref<int32>(*word).fetch_add(delta) + delta;
}

// Acquire load: what the storing thread wrote before its release store is visible after.
inline int32 sysatomic_load32(const int32* word) {
  return std::atomic_ref<int32>(*const_cast<int32*>(word)).load(std::memory_order_acquire);
}

// Release store.
inline void sysatomic_store32(int32* word, int32 value) {
  std::atomic_ref<int32>(*word).store(value, std::memory_order_release);
}

// One round of a spin-wait loop: tells the processor that the thread is waiting.
inline void sysatomic_pause() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#endif
}

} // namespace telva
