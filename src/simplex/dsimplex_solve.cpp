// The solves and products of a dual simplex iteration: the pivot row of B^-1 (btran of a unit
// vector), its product with the nonbasic columns (by rows through the row-wise twin when the row
// of B^-1 is sparse, else by columns), and ftran of columns. Sparse solves are taken while the
// recent results have been sparse.
#include <algorithm>
#include <cmath>

#include "simplex/dsimplex.h"
#include "simplex/dsimplex_solve.h"

namespace telva {

namespace {

constexpr double kSparseLimit = 0.10; // density above which the dense solves are cheaper

void track(double* avg, int32 nz, int32 m) {
  *avg = 0.95 * *avg + 0.05 * (double)nz / std::max(1, m);
}

} // namespace

void dsimplex_btranrow(DualState& D, int32 r) {
  SimWork& W = D.W;
  const int32 m = W.m;
  DSparse& v = D.rho;
  v.clear();
  if (D.rhodensity < kSparseLimit) {
    v.val[r] = 1.0;
    v.idx[0] = r;
    v.nz = 1;
    lu_btransparse(W.f, -1.0, &v.nz, v.idx.data(), v.val.data());
  } else {
    W.colv[r] = 1.0;
    lu_btran(W.f, W.colv.data(), v.val.data());
    v.relist();
  }
  track(&D.rhodensity, v.nz, m);
}

void dsimplex_rowproduct(DualState& D) {
  SimWork& W = D.W;
  const int32 m = W.m;
  DSparse& row = D.row;
  row.clear();
  double* rv = row.val.data();
  const double* rho = D.rho.val.data();
  if (D.rho.nz < 0.1 * m) {
    // By rows: only the rows where rho is nonzero are read.
    for (int32 t = 0; t < D.rho.nz; ++t) {
      int32 i = D.rho.idx[t];
      double ri = rho[i];
      if (ri == 0.0) continue;
      if (W.pos[i] < 0) rv[i] = -ri, row.idx[row.nz++] = i;
      for (int32 p = W.rptr[i]; p < W.rptr[i + 1]; ++p) {
        int32 k = m + W.rsub[p];
        if (W.pos[k] >= 0) continue;
        if (rv[k] == 0.0) row.idx[row.nz++] = k;
        rv[k] += W.rval[p] * ri;
        if (rv[k] == 0.0) rv[k] = 1e-300; // keep the listed entry distinguishable
      }
    }
  } else {
    for (int32 i = 0; i < m; ++i)
      if (W.pos[i] < 0 && rho[i] != 0.0) rv[i] = -rho[i], row.idx[row.nz++] = i;
    for (int32 j = 0; j < W.nv; ++j) {
      int32 k = m + j;
      if (W.pos[k] >= 0) continue;
      double s = 0.0;
      for (int32 p = W.aptr[j]; p < W.aptr[j + 1]; ++p)
        s += W.aval[p] * rho[W.asub[p]];
      if (s != 0.0) rv[k] = s, row.idx[row.nz++] = k;
    }
  }
}

void dsimplex_ftran(DualState& D, DSparse& v) {
  SimWork& W = D.W;
  if (D.coldensity < kSparseLimit) {
    lu_ftransparse(W.f, &v.nz, v.idx.data(), v.val.data());
  } else {
    double* in = W.colv.data();
    for (int32 t = 0; t < v.nz; ++t) {
      int32 i = v.idx[t];
      in[i] = v.val[i];
      v.val[i] = 0.0;
    }
    lu_ftran(W.f, in, v.val.data());
    v.relist();
  }
  track(&D.coldensity, v.nz, W.m);
}

void dsimplex_loadcol(const SimWork& W, int32 k, DSparse& v) {
  v.clear();
  if (k < W.m) {
    v.val[k] = -1.0, v.idx[v.nz++] = k;
    return;
  }
  int32 j = k - W.m;
  for (int32 p = W.aptr[j]; p < W.aptr[j + 1]; ++p)
    v.val[W.asub[p]] = W.aval[p], v.idx[v.nz++] = W.asub[p];
}

} // namespace telva
