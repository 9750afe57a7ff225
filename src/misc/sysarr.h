// Typed arrays on a sysenv for the containers: allocation that reports failure by a null
// result instead of an exception, and growth that keeps the old block when the new one can't
// be had, so that a failing container operation leaves the container as it was.
#pragma once

#include <cstring>

#include "cpub/sysenv.h"

namespace telva {

// A fresh array of n objects of T, zeroed; null when n is 0 or the memory is not there.
template <class T> T* sysarr_alloc(sysenv* sys, int64 n) {
  if (n <= 0) return nullptr;
  return static_cast<T*>(sysenv_calloc(sys, TVA_HERE, static_cast<size_t>(n), sizeof(T)));
}

// Replaces *p (holding keep valid entries) by an array of n entries with the same first keep
// entries. Returns false, with *p untouched, when the memory is not there.
template <class T> bool sysarr_resize(sysenv* sys, T** p, int64 keep, int64 n) {
  if (n <= 0) {
    TVA_SYS_FREE(sys, *p);
    *p = nullptr;
    return true;
  }
  T* q = sysarr_alloc<T>(sys, n);
  if (!q) return false;
  if (keep > n) keep = n;
  if (keep > 0 && *p) std::memcpy(q, *p, static_cast<size_t>(keep) * sizeof(T));
  TVA_SYS_FREE(sys, *p);
  *p = q;
  return true;
}

template <class T> void sysarr_free(sysenv* sys, T** p) {
  TVA_SYS_FREE(sys, *p);
  *p = nullptr;
}

} // namespace telva
