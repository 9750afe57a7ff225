// The LU a run leaves in the task's basis record and the check that lets the next hot start
// take it instead of factorizing its start basis again.
#include <algorithm>
#include <cmath>
#include <utility>

#include "simplex/simplex_work.h"

namespace telva {

bool simplex_verifylu(SimWork& W, SimplexBasis* b) {
  const int32 m = W.m;
  if (!b || !b->luisok || b->bnumcon != m || !b->f || !lu_isfactored(b->f) || lu_nrow(b->f) != m ||
      lu_ncol(b->f) != m)
    return false;
  // First check: the record's head holds m distinct indices, all basic in this start (which
  // has exactly m basic indices), so both bases are the same set.
  for (int32 p = 0; p < m; ++p) {
    int32 k = b->bas[p];
    if (k < 0 || k >= W.n || W.pos[k] < 0) return false;
  }
  // Second check: the factors solve the current working matrix. With r a fixed right side and
  // y = B^-1 r from the kept factors, B y - r must vanish against the size of its terms; a
  // changed matrix or other scale factors fail here.
  double* x = W.colv.data();
  double* y = W.alpha.data();
  double* res = W.rho.data();
  double* size = W.vse.data();
  for (int32 i = 0; i < m; ++i)
    x[i] = res[i] = size[i] = 1.0 + (i % 7) / 7.0;
  lu_ftran(b->f, x, y); // x is all zero after this
  for (int32 p = 0; p < m; ++p) {
    int32 k = b->bas[p];
    if (k < m) {
      res[k] += y[p];
      size[k] += std::fabs(y[p]);
      continue;
    }
    for (int32 q = W.aptr[k - m]; q < W.aptr[k - m + 1]; ++q) {
      res[W.asub[q]] -= W.aval[q] * y[p];
      size[W.asub[q]] += std::fabs(W.aval[q] * y[p]);
    }
  }
  bool fits = true;
  for (int32 i = 0; i < m; ++i) {
    fits = fits && std::isfinite(y[i]) && std::fabs(res[i]) <= 1e-9 * size[i];
    y[i] = res[i] = size[i] = 0.0;
  }
  if (!fits) return false;
  for (int32 p = 0; p < m; ++p) {
    W.head[p] = b->bas[p];
    W.pos[W.head[p]] = p;
  }
  std::swap(W.f, b->f);
  b->luisok = b->solvable = false;
  W.itersincefactor = 0;
  return true;
}

void simplex_updatebasis(SimWork& W, SimplexBasis* b, int32 code) {
  if (!b) return;
  const bool keep =
      code == kSimOk || code == kSimMaxIterations || code == kSimMaxTime || code == 7 || code == 15;
  if (!keep || !W.f || !lu_isfactored(W.f) || b->numcon != W.m) {
    b->luisok = false;
    return;
  }
  std::swap(b->f, W.f);
  std::copy(W.head.begin(), W.head.end(), b->bas.begin());
  b->bnumcon = W.m;
  b->luisok = true;
  b->solvable = false;
  b->weightsok = false;
  b->solsta = W.stat->solsta;
}

} // namespace telva
