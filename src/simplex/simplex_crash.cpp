// A triangular crash of the start basis: rows are covered one at a time, the row with the
// fewest candidate columns first, by the candidate with the most room to move per nonzero;
// the rows of a chosen column are then closed to later pivots, so the chosen columns form a
// triangular basis with the logicals of the remaining rows. Free variables go first, the rows
// of free logicals keep them.
#include <algorithm>
#include <cmath>
#include <set>

#include "simplex/simplex_work.h"
#include "telva.h"

namespace telva {

int32 simplex_crash(SimWork& W) {
  const int32 m = W.m, nv = W.nv;
  SysAllocator<int32> ai(W.sys);
  SysVector<double> colmax(nv, 0.0, SysAllocator<double>(W.sys));
  for (int32 j = 0; j < nv; ++j)
    for (int32 p = W.aptr[j]; p < W.aptr[j + 1]; ++p)
      colmax[j] = std::max(colmax[j], std::fabs(W.aval[p]));
  // A column is a candidate while it is nonbasic, not fixed, with an entry of at least 0.001.
  auto candidate = [&](int32 j) {
    int32 k = m + j;
    return W.pos[k] < 0 && W.lb[k] < W.ub[k] && colmax[j] >= 1e-3;
  };
  auto usable = [&](int32 j, double a) { return std::fabs(a) >= std::max(1e-3, 0.1 * colmax[j]); };
  SysVector<int32> count(m, 0, ai);
  SysVector<char> covered(m, 0, SysAllocator<char>(W.sys));
  for (int32 i = 0; i < m; ++i) {
    covered[i] = W.pos[i] < 0 || (sim_isinf(W.lb[i]) && sim_isinf(W.ub[i]));
    for (int32 p = W.rptr[i]; p < W.rptr[i + 1]; ++p)
      count[i] += candidate(W.rsub[p]) && usable(W.rsub[p], W.rval[p]);
  }
  using Key = std::pair<int32, int32>; // (count, row)
  std::set<Key, std::less<Key>, SysAllocator<Key>> queue{SysAllocator<Key>(W.sys)};
  for (int32 i = 0; i < m; ++i)
    if (!covered[i] && count[i] > 0) queue.insert({count[i], i});
  auto cover_rows_of = [&](int32 j) {
    for (int32 p = W.aptr[j]; p < W.aptr[j + 1]; ++p) {
      int32 i = W.asub[p];
      if (covered[i]) continue;
      covered[i] = 1;
      queue.erase({count[i], i});
    }
  };
  auto take = [&](int32 j, int32 row) {
    int32 k = m + j, at = W.pos[row];
    simplex_setnonbasic(W, row, 0.0);
    W.head[at] = k, W.pos[k] = at, W.sk[k] = TVA_SK_BAS;
    // The column is no longer a candidate of its other rows.
    for (int32 p = W.aptr[j]; p < W.aptr[j + 1]; ++p) {
      int32 i = W.asub[p];
      if (covered[i] || !usable(j, W.aval[p])) continue;
      queue.erase({count[i], i});
      if (--count[i] > 0) queue.insert({count[i], i});
    }
    cover_rows_of(j);
  };
  int32 crashed = 0;
  // Free variables first, each on its largest entry in an open row.
  for (int32 j = 0; j < nv; ++j) {
    int32 k = m + j;
    if (!candidate(j) || !sim_isinf(W.lb[k]) || !sim_isinf(W.ub[k])) continue;
    int32 row = -1;
    double best = 0.0;
    for (int32 p = W.aptr[j]; p < W.aptr[j + 1]; ++p)
      if (!covered[W.asub[p]] && usable(j, W.aval[p]) && std::fabs(W.aval[p]) > best)
        best = std::fabs(W.aval[p]), row = W.asub[p];
    if (row >= 0) take(j, row), crashed++;
  }
  while (!queue.empty()) {
    auto [cnt, row] = *queue.begin();
    queue.erase(queue.begin());
    int32 pick = -1;
    double best = -1.0;
    for (int32 p = W.rptr[row]; p < W.rptr[row + 1]; ++p) {
      int32 j = W.rsub[p], k = m + j;
      if (!candidate(j) || !usable(j, W.rval[p])) continue;
      double room = std::min(W.ub[k] - W.lb[k], kSimInf);
      double s = room / (W.aptr[j + 1] - W.aptr[j] + 1);
      if (s > best) best = s, pick = j;
    }
    if (pick < 0) continue;
    (void)cnt;
    take(pick, row);
    crashed++;
  }
  return crashed;
}

} // namespace telva
