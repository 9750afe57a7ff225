// Evaluation terms of a stored solution; see solution_terms.h.
#include "telva/solution/solution_terms.h"

#include <algorithm>
#include <cmath>

#include "misc/sysarr.h"
#include "telva/task/task.h"

extern "C" void dsyev_(const char* jobz, const char* uplo, const int* n, double* a, const int* lda,
                       double* w, double* work, const int* lwork, int* info);

namespace telva {

double bound_violation(double v, int32 bk, double l, double u, double w) {
  double viol = 0.0;
  if (bk_has_lower(bk)) viol = std::max(viol, w * l - v);
  if (bk_has_upper(bk)) viol = std::max(viol, v - w * u);
  return viol;
}

double quad_cone_violation(double t, double n) {
  if (n <= t) return 0.0;
  if (t < -n) return std::hypot(t, n);
  return (n - t) / std::sqrt(2.0);
}

double cone_violation(int32 ct, const double* v, const int32* sub, int32 n, double scale) {
  if (n <= 0) return 0.0;
  if (ct == TVA_CT_RQUAD) {
    if (n < 2) return 0.0;
    double a = scale * v[sub[0]], b = scale * v[sub[1]];
    double rest = 0.0;
    for (int32 p = 2; p < n; ++p)
      rest = std::hypot(rest, scale * v[sub[p]]);
    return quad_cone_violation((a + b) / std::sqrt(2.0),
                               std::hypot((a - b) / std::sqrt(2.0), rest));
  }
  double rest = 0.0;
  for (int32 p = 1; p < n; ++p)
    rest = std::hypot(rest, scale * v[sub[p]]);
  return quad_cone_violation(scale * v[sub[0]], rest);
}

double qform(const TvaTask* task, int32 k, const double* x) {
  int64 first = 0, last = 0;
  store_qinterval(task, k, &first, &last);
  const ProblemStore& s = task->store;
  double sum = 0.0;
  for (int64 p = first; p < last; ++p) {
    int32 i = s.qsubi[p], j = s.qsubj[p];
    double t = s.qval[p] * x[i] * x[j];
    sum += i == j ? t : 2.0 * t;
  }
  return sum;
}

void qmul_add(const TvaTask* task, int32 k, const double* x, double alpha, double* out) {
  int64 first = 0, last = 0;
  store_qinterval(task, k, &first, &last);
  const ProblemStore& s = task->store;
  for (int64 p = first; p < last; ++p) {
    int32 i = s.qsubi[p], j = s.qsubj[p];
    double q = alpha * s.qval[p];
    out[i] += q * x[j];
    if (i != j) out[j] += q * x[i];
  }
}

double cell_inner(const TvaTask* task, const hyposm* h, int32 row, int32 j, int32 dim,
                  const double* X) {
  const hyposm_cell* cell = h ? hyposm_getcell(h, row, j) : nullptr;
  if (!cell) return 0.0;
  double sum = 0.0;
  for (int64 t = 0; t < cell->num; ++t) {
    const sossm_mat* m = sossm_get(&task->store.symmats, cell->sub[t]);
    double inner = 0.0;
    for (int64 e = 0; e < m->nz; ++e) {
      int32 a = m->subi[e], b = m->subj[e];
      double v = m->val[e] * X[packed_index(dim, a, b)];
      inner += a == b ? v : 2.0 * v;
    }
    sum += cell->weight[t] * inner;
  }
  return sum;
}

void cell_add(const TvaTask* task, const hyposm* h, int32 row, int32 j, int32 dim, double alpha,
              double* R) {
  const hyposm_cell* cell = h ? hyposm_getcell(h, row, j) : nullptr;
  if (!cell) return;
  for (int64 t = 0; t < cell->num; ++t) {
    const sossm_mat* m = sossm_get(&task->store.symmats, cell->sub[t]);
    double f = alpha * cell->weight[t];
    for (int64 e = 0; e < m->nz; ++e)
      R[packed_index(dim, m->subi[e], m->subj[e])] += f * m->val[e];
  }
}

bool min_eigenvalue(sysenv* sys, const double* packed, int32 n, double scale, double* lambda) {
  if (n <= 0) {
    *lambda = 0.0;
    return true;
  }
  if (n == 1) {
    *lambda = scale * packed[0];
    return true;
  }
  const int64 nn = int64(n) * n;
  double* a = sysarr_alloc<double>(sys, nn);
  double* w = sysarr_alloc<double>(sys, n);
  double query = 0.0;
  int info = 0, lwork = -1, dim = n;
  bool ok = a && w;
  if (ok) {
    for (int32 j = 0; j < n; ++j)
      for (int32 i = j; i < n; ++i)
        a[int64(j) * n + i] = scale * packed[packed_index(n, i, j)];
    dsyev_("N", "L", &dim, a, &dim, w, &query, &lwork, &info);
    ok = info == 0;
  }
  double* work = nullptr;
  if (ok) {
    lwork = std::max(1, static_cast<int>(query));
    work = sysarr_alloc<double>(sys, lwork);
    ok = work != nullptr;
  }
  if (ok) {
    dsyev_("N", "L", &dim, a, &dim, w, work, &lwork, &info);
    ok = info == 0;
    if (ok) *lambda = w[0]; // ascending order
  }
  sysarr_free(sys, &work);
  sysarr_free(sys, &w);
  sysarr_free(sys, &a);
  return ok;
}

} // namespace telva
