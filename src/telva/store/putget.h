// Frame of the exported put and get functions: handle check, the call, memory failures of
// standard containers turned into TVA_RES_ERR_SPACE so that no exception crosses the C
// boundary, and for puts the one signal that the problem changed.
#pragma once

#include <new>

#include "telva/store/store_internal.h"

namespace telva {

template <class F> TVArescode putget_call(TvaTask* task, F&& f) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  try {
    return f();
  } catch (const std::bad_alloc&) {
    return TVA_REP(task, ERR_SPACE);
  }
}

// A put: the change is signalled when the call succeeds (warnings included).
template <class F> TVArescode putget_put(TvaTask* task, StoreChange what, F&& f) {
  TVArescode r = putget_call(task, f);
  if (r == TVA_RES_OK) store_changed(task, what);
  return r;
}

// A 64-bit count handed out through a 32-bit variant.
inline TVArescode putget_narrow(TvaTask* task, int64 v, int32* out) {
  if (v > 0x7fffffff || v < -0x7fffffffLL - 1) return TVA_REP(task, ERR_INT64_TO_INT32_CAST);
  *out = static_cast<int32>(v);
  return TVA_RES_OK;
}

// A required output pointer.
#define TVA_NEED_PTR(task, p)                                                                      \
  do {                                                                                             \
    if (!(p)) return TVA_REP(task, ERR_NULL_POINTER, #p);                                          \
  } while (0)

} // namespace telva
