// The basis and its LU factors: factorization with the repair of singular bases, the values
// of the basic variables recomputed from the factors, and the duals of the running phase.
#include <algorithm>
#include <cmath>

#include "simplex/simplex_work.h"
#include "telva.h"

namespace telva {

void simplex_updateacolt(SimWork& W) {
  const int32 m = W.m;
  W.rptr.assign(m + 1, 0);
  for (int32 p = 0; p < W.aptr[W.nv]; ++p)
    W.rptr[W.asub[p] + 1]++;
  for (int32 i = 0; i < m; ++i)
    W.rptr[i + 1] += W.rptr[i];
  W.rsub.resize(W.rptr[m]);
  W.rval.resize(W.rptr[m]);
  SysVector<int32> next(W.rptr.begin(), W.rptr.end() - 1, SysAllocator<int32>(W.sys));
  for (int32 j = 0; j < W.nv; ++j)
    for (int32 p = W.aptr[j]; p < W.aptr[j + 1]; ++p) {
      int32 at = next[W.asub[p]]++;
      W.rsub[at] = j;
      W.rval[at] = W.aval[p];
    }
}

void simplex_setnonbasic(SimWork& W, int32 k, double value) {
  double l = W.lb[k], u = W.ub[k];
  W.pos[k] = -1;
  if (!sim_isinf(l) && !sim_isinf(u) && l == u) {
    W.x[k] = l, W.sk[k] = TVA_SK_FIX;
  } else if (!sim_isinf(l) && (sim_isinf(u) || std::fabs(value - l) <= std::fabs(value - u))) {
    W.x[k] = l, W.sk[k] = TVA_SK_LOW;
  } else if (!sim_isinf(u)) {
    W.x[k] = u, W.sk[k] = TVA_SK_UPR;
  } else {
    W.x[k] = 0.0, W.sk[k] = TVA_SK_SUPBAS;
  }
}

bool simplex_tightenlu(SimWork& W) {
  constexpr double kMax = 0.5; // beyond this threshold partial pivoting buys little accuracy
  const double tol = lu_gettol(W.f, 2);
  if (tol >= kMax) return false;
  lu_settol(W.f, 2, std::min(kMax, std::max(0.1, 4.0 * tol)));
  return true;
}

int32 simplex_refactor(SimWork& W, int32* inserted) {
  const int32 m = W.m;
  *inserted = 0;
  W.stat->refactors[W.opt]++;
  W.itersincefactor = 0;
  if (m == 0) return kSimOk;
  int32 st = lu_open(W.f);
  double minus1 = -1.0;
  for (int32 p = 0; p < m && st == kLuOk; ++p) {
    int32 k = W.head[p];
    if (k < m) {
      st = lu_putcolumn(W.f, p, 1, &minus1, &k, m, nullptr);
    } else {
      int32 j = k - m, b = W.aptr[j];
      st =
          lu_putcolumn(W.f, p, W.aptr[j + 1] - b, W.aval.data() + b, W.asub.data() + b, m, nullptr);
    }
  }
  if (st == kLuOk) st = lu_factor(W.f);
  if (st == kLuNoMemory || st == kLuStorage) return kSimSpace;
  if (st != kLuOk) return kSimFactor;
  int32 rank = 0;
  lu_rank(W.f, &rank);
  if (rank < m) {
    // The positions left without pivot take the logicals of the rows left without pivot; the
    // variables they held go to a bound.
    SysVector<int32> map(m, m, SysAllocator<int32>(W.sys));
    st = lu_completewithslacks(W.f, -1.0, map.data());
    if (st != kLuOk) return kSimFactor;
    for (int32 p = 0; p < m; ++p) {
      int32 row = map[p];
      if (row >= m) continue;
      int32 old = W.head[p];
      if (W.pos[row] >= 0) return kSimInternal; // a basic logical always owns its row
      simplex_setnonbasic(W, old, W.x[old]);
      W.head[p] = row;
      W.pos[row] = p;
      W.sk[row] = TVA_SK_BAS;
      (*inserted)++;
    }
    W.stat->artificials += *inserted;
  }
  return lu_isfactored(W.f) ? kSimOk : kSimFactor;
}

void simplex_recomputexb(SimWork& W) {
  const int32 m = W.m;
  if (m == 0) return;
  double* rhs = W.colv.data();
  double* xb = W.alpha.data();
  std::fill(rhs, rhs + m, 0.0);
  // B xB = -N xN
  for (int32 k = 0; k < W.n; ++k) {
    if (W.pos[k] >= 0 || W.x[k] == 0.0) continue;
    if (k < m)
      rhs[k] += W.x[k];
    else
      for (int32 p = W.aptr[k - m]; p < W.aptr[k - m + 1]; ++p)
        rhs[W.asub[p]] -= W.aval[p] * W.x[k];
  }
  SysVector<double> keep(rhs, rhs + m, SysAllocator<double>(W.sys));
  lu_ftran(W.f, rhs, xb);
  // One round of refinement: r = rhs - B xB, B dx = r.
  for (int32 p = 0; p < m; ++p) {
    int32 k = W.head[p];
    if (k < m)
      keep[k] += xb[p];
    else
      for (int32 q = W.aptr[k - m]; q < W.aptr[k - m + 1]; ++q)
        keep[W.asub[q]] -= W.aval[q] * xb[p];
  }
  double* dx = W.rho.data();
  lu_ftran(W.f, keep.data(), dx);
  for (int32 p = 0; p < m; ++p) {
    W.x[W.head[p]] = xb[p] + dx[p];
    xb[p] = dx[p] = 0.0;
  }
}

void simplex_basicinfeas(SimWork& W, double* sum, int32* count) {
  double s = 0.0;
  int32 c = 0;
  for (int32 p = 0; p < W.m; ++p) {
    int32 k = W.head[p];
    double v = W.x[k];
    if (v < W.lb[k] - W.tolx)
      s += W.lb[k] - v, c++;
    else if (v > W.ub[k] + W.tolx)
      s += v - W.ub[k], c++;
  }
  *sum = s;
  *count = c;
}

void simplex_computeduals(SimWork& W) {
  const int32 m = W.m;
  simplex_basicinfeas(W, &W.suminf, &W.numinf);
  W.phase = W.numinf > 0 ? 1 : 2;
  double* cb = W.colv.data();
  for (int32 p = 0; p < m; ++p) {
    int32 k = W.head[p];
    if (W.phase == 2)
      cb[p] = W.cost[k];
    else
      cb[p] = W.x[k] < W.lb[k] - W.tolx ? -1.0 : (W.x[k] > W.ub[k] + W.tolx ? 1.0 : 0.0);
  }
  if (m > 0) lu_btran(W.f, cb, W.y.data());
  for (int32 k = 0; k < W.n; ++k) {
    if (W.pos[k] >= 0) {
      W.d[k] = 0.0;
      continue;
    }
    double ck = W.phase == 2 ? W.cost[k] : 0.0;
    W.d[k] = ck - simwork_dotcol(W, k, W.y.data());
  }
}

} // namespace telva
