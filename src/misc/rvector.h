// Kernels on plain double arrays with int64 lengths.
#pragma once

#include "cpub/systypes.h"

namespace telva {

void rvector_fill(int64 n, double* x, double value);
void rvector_copy(int64 n, const double* from, double* to);
void rvector_scale(int64 n, double alpha, double* x);
// y += alpha * x.
void rvector_axpy(int64 n, double alpha, const double* x, double* y);
double rvector_dot(int64 n, const double* x, const double* y);
// Largest absolute value; 0.0 for n == 0.
double rvector_norminf(int64 n, const double* x);
// y[t] = x[sub[t]].
void rvector_gather(int64 n, const double* x, const int32* sub, double* y);
// y[sub[t]] = x[t].
void rvector_scatter(int64 n, const double* x, const int32* sub, double* y);

} // namespace telva
