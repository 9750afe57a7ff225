// The terms from which a stored solution is evaluated: bound and cone violations, quadratic
// forms of the stored Q, inner products with the weighted symmetric matrices of barA and barC,
// and the smallest eigenvalue of a packed symmetric matrix.
#pragma once

#include "cpub/sysenv.h"
#include "misc/hyposm.h"

struct TvaTask;

namespace telva {

inline bool bk_has_lower(int32 bk) {
  return bk == TVA_BK_LO || bk == TVA_BK_FX || bk == TVA_BK_RA;
}
inline bool bk_has_upper(int32 bk) {
  return bk == TVA_BK_UP || bk == TVA_BK_FX || bk == TVA_BK_RA;
}

// The violation of v under key bk with bounds w*l and w*u.
double bound_violation(double v, int32 bk, double l, double u, double w);
// The distance of (t, x) to the quadratic cone t >= |x| when n = |x|.
double quad_cone_violation(double t, double n);
// The violation of the members v[sub[0..n)] of a cone of type ct (TVA_CT_QUAD or _RQUAD),
// each value multiplied by scale.
double cone_violation(int32 ct, const double* v, const int32* sub, int32 n, double scale);

// x'Q_k x for the objective (k == -1) or constraint k, Q given by its lower triangle.
double qform(const TvaTask* task, int32 k, const double* x);
// out += alpha * Q_k x.
void qmul_add(const TvaTask* task, int32 k, const double* x, double alpha, double* out);

// Position of (i, j), i >= j, in a packed lower triangle of order n stored by columns.
inline int64 packed_index(int32 n, int32 i, int32 j) {
  return int64(j) * n - int64(j) * (j - 1) / 2 + (i - j);
}
// The inner product of cell (row, j) of grid h (a weighted sum of symmetric matrices) with a
// packed symmetric matrix X of order dim.
double cell_inner(const TvaTask* task, const hyposm* h, int32 row, int32 j, int32 dim,
                  const double* X);
// R += alpha * cell (row, j) of grid h, R packed.
void cell_add(const TvaTask* task, const hyposm* h, int32 row, int32 j, int32 dim, double alpha,
              double* R);

// The smallest eigenvalue of the packed symmetric matrix of order n, each element multiplied
// by scale. False when the scratch memory is not there or the eigen solver fails.
bool min_eigenvalue(sysenv* sys, const double* packed, int32 n, double scale, double* lambda);

} // namespace telva
