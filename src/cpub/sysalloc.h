// A standard allocator whose memory comes from a sysenv, so that containers used inside the
// library are counted with the task (or environment) that owns them.
#pragma once

#include <new>
#include <string>
#include <vector>

#include "cpub/sysenv.h"

namespace telva {

template <class T> class SysAllocator {
public:
  using value_type = T;

  explicit SysAllocator(sysenv* sys) noexcept : sys_(sys) {}
  template <class U> SysAllocator(const SysAllocator<U>& other) noexcept : sys_(other.sys()) {}

  T* allocate(size_t n) {
    if (n == 0) n = 1;
    void* p = sysenv_malloc(sys_, TVA_HERE, n, sizeof(T));
    if (!p) throw std::bad_alloc();
    return static_cast<T*>(p);
  }
  void deallocate(T* p, size_t) noexcept { sysenv_free(sys_, TVA_HERE, p); }

  sysenv* sys() const noexcept { return sys_; }

  template <class U> bool operator==(const SysAllocator<U>& o) const noexcept {
    return sys_ == o.sys();
  }

private:
  sysenv* sys_;
};

template <class T> using SysVector = std::vector<T, SysAllocator<T>>;
using SysString = std::basic_string<char, std::char_traits<char>, SysAllocator<char>>;

} // namespace telva
