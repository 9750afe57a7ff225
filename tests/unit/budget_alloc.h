// Allocation hooks for out-of-memory tests: they refuse every allocation once a budget of
// successful ones is spent. A negative budget means no limit.
#pragma once

#include <cstdlib>

#include "telva.h"

namespace budget_alloc {

inline long g_budget = -1;

inline bool take() {
  if (g_budget < 0) return true;
  if (g_budget == 0) return false;
  --g_budget;
  return true;
}
inline void* hook_malloc(void*, size_t n) {
  return take() ? std::malloc(n) : nullptr;
}
inline void* hook_calloc(void*, size_t n, size_t s) {
  return take() ? std::calloc(n, s) : nullptr;
}
inline void* hook_realloc(void*, void* p, size_t n) {
  return take() ? std::realloc(p, n) : nullptr;
}
inline void hook_free(void*, void* p) {
  std::free(p);
}

// An environment whose memory goes through the hooks above.
inline TVArescode make_env(TVAenv_t* env) {
  return TVA_makeenvalloc(env, nullptr, hook_malloc, hook_calloc, hook_realloc, hook_free, nullptr);
}

} // namespace budget_alloc
