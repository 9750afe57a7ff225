// The linear terms of one expression being read: one slot per variable and the list of the
// slots touched, so that repeated names add up and clearing costs only the terms seen.
#pragma once

#include <algorithm>

#include "cpub/sysalloc.h"

namespace telva {

class TermSum {
public:
  explicit TermSum(sysenv* sys)
      : coef_(SysAllocator<double>(sys)), used_(SysAllocator<char>(sys)),
        touched_(SysAllocator<int32>(sys)) {}
  void add(int32 j, double v) {
    if (static_cast<size_t>(j) >= coef_.size()) {
      size_t n = std::max(2 * coef_.size(), static_cast<size_t>(j) + 1024);
      coef_.resize(n, 0.0);
      used_.resize(n, 0);
    }
    if (!used_[j]) {
      used_[j] = 1;
      touched_.push_back(j);
    }
    coef_[j] += v;
  }
  // The variables in the order they first appeared.
  const SysVector<int32>& touched() const { return touched_; }
  double coef(int32 j) const { return coef_[j]; }
  void clear() {
    for (int32 j : touched_) {
      coef_[j] = 0.0;
      used_[j] = 0;
    }
    touched_.clear();
  }

private:
  SysVector<double> coef_;
  SysVector<char> used_;
  SysVector<int32> touched_;
};

} // namespace telva
