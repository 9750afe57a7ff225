// The bound sum of a stored certificate of primal infeasibility, read through the public
// interface: sum over rows and columns of lower bound times s_l minus upper bound times s_u,
// over the bounds each item has. A Farkas ray has it positive while A'y + s_l - s_u vanishes,
// which the solution's dual violations measure (the stored dual objective weights the bounds
// of a certificate by 0, so it cannot tell).
#pragma once

#include <vector>

#include "telva.h"

namespace farkas {

inline bool has_lower(int32_t bk) {
  return bk == TVA_BK_LO || bk == TVA_BK_FX || bk == TVA_BK_RA;
}
inline bool has_upper(int32_t bk) {
  return bk == TVA_BK_UP || bk == TVA_BK_FX || bk == TVA_BK_RA;
}

inline double bound_sum(TVAtask_t task, int32_t whichsol) {
  int32_t m = 0, n = 0;
  TVA_getnumcon(task, &m);
  TVA_getnumvar(task, &n);
  double sum = 0.0;
  for (int pass = 0; pass < 2; ++pass) {
    int32_t len = pass == 0 ? m : n;
    if (len == 0) continue;
    std::vector<int32_t> bk(len);
    std::vector<double> bl(len), bu(len), sl(len), su(len);
    if (pass == 0) {
      TVA_getconboundslice(task, 0, m, bk.data(), bl.data(), bu.data());
      TVA_getslc(task, whichsol, sl.data());
      TVA_getsuc(task, whichsol, su.data());
    } else {
      TVA_getvarboundslice(task, 0, n, bk.data(), bl.data(), bu.data());
      TVA_getslx(task, whichsol, sl.data());
      TVA_getsux(task, whichsol, su.data());
    }
    for (int32_t k = 0; k < len; ++k) {
      if (has_lower(bk[k])) sum += bl[k] * sl[k];
      if (has_upper(bk[k])) sum -= bu[k] * su[k];
    }
  }
  return sum;
}

} // namespace farkas
