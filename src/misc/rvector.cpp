// Kernels on double arrays.
#include "misc/rvector.h"

#include <cmath>

namespace telva {

void rvector_fill(int64 n, double* x, double value) {
  for (int64 t = 0; t < n; ++t)
    x[t] = value;
}

void rvector_copy(int64 n, const double* from, double* to) {
  for (int64 t = 0; t < n; ++t)
    to[t] = from[t];
}

void rvector_scale(int64 n, double alpha, double* x) {
  for (int64 t = 0; t < n; ++t)
    x[t] *= alpha;
}

void rvector_axpy(int64 n, double alpha, const double* x, double* y) {
  for (int64 t = 0; t < n; ++t)
    y[t] += alpha * x[t];
}

double rvector_dot(int64 n, const double* x, const double* y) {
  double s = 0.0;
  for (int64 t = 0; t < n; ++t)
    s += x[t] * y[t];
  return s;
}

double rvector_norminf(int64 n, const double* x) {
  double m = 0.0;
  for (int64 t = 0; t < n; ++t)
    m = std::fmax(m, std::fabs(x[t]));
  return m;
}

void rvector_gather(int64 n, const double* x, const int32* sub, double* y) {
  for (int64 t = 0; t < n; ++t)
    y[t] = x[sub[t]];
}

void rvector_scatter(int64 n, const double* x, const int32* sub, double* y) {
  for (int64 t = 0; t < n; ++t)
    y[sub[t]] = x[t];
}

} // namespace telva
