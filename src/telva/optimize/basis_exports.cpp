// The exported basis functions: factorize the basis of the basic solution's status keys, solve
// with it or its transpose, and estimate its condition number. They share the task's basis
// record, which stays with the task between calls.
//
// Index space of the head: i below numcon is the logical of row i, numcon + j is variable j.
// The factors hold the logical of row i as the column -e_i; TVA_IPAR_BASIS_SOLVE_USE_PLUS_ONE
// lets the caller see it as +e_i instead.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "simplex/simplex_basisrec.h"
#include "telva/optimize/simplex_task.h"
#include "telva/store/putget.h"
#include "telva/log/report.h"
#include "telva/solution/solution.h"
#include "telva/task/task.h"

using namespace telva;

namespace {

struct Columns {
  explicit Columns(sysenv* s)
      : ptr(SysAllocator<int32>(s)), sub(SysAllocator<int32>(s)), val(SysAllocator<double>(s)) {}
  SysVector<int32> ptr, sub;
  SysVector<double> val;
};

// The record ready for a basis of the task's size: a record is dropped when the task asks for
// fresh factors on every start or when it is too small, and made when missing.
TVArescode basis_record(TvaTask* task) {
  SimplexBasis*& b = task->basis;
  if (b && (task->iparam[TVA_IPAR_SIM_HOTSTART_LU] == TVA_OFF || b->numcon < task->numcon))
    simplex_deletebasis(&b);
  if (!b && simplex_makebasis(task->sys, task->numcon, task->dparam[TVA_DPAR_SIM_LU_TOL_REL_PIV],
                              &b) != kSimOk)
    return TVA_REP(task, ERR_SPACE);
  return TVA_RES_OK;
}

// Factorizes the basis of the basic solution's status keys into the record; the columns of A
// are left in cols for the caller.
TVArescode basis_factor(TvaTask* task, Columns& cols) {
  const SolutionSlot* slot = sol_slot(task, TVA_SOL_BAS);
  if (!slot->defined) return TVA_REP(task, ERR_NO_BASIS_SOL);
  TVArescode r = basis_record(task);
  if (r != TVA_RES_OK) return r;
  r = simplex_task_columns(task, cols.ptr, cols.sub, cols.val);
  if (r != TVA_RES_OK) return r;
  int32 rank = 0;
  int32 code = simplex_verifybasis(task->basis, task->numcon, task->numvar, cols.ptr.data(),
                                   cols.sub.data(), cols.val.data(), slot->skc, slot->skx, &rank);
  switch (code) {
  case kSimOk:
    break;
  case kSimSpace:
    return TVA_REP(task, ERR_SPACE);
  case kSimBasisSingular:
    return TVA_REP(task, ERR_BASIS_SINGULAR);
  default:
    return TVA_REP(task, ERR_INTERNAL, "the basis could not be factorized");
  }
  if (task->basis->bnumcon != task->numcon) {
    char text[96];
    std::snprintf(text, sizeof text, "Unexpected bnumcon. bnumcon: %d numcon: %d",
                  task->basis->bnumcon, task->numcon);
    return TVA_REP(task, ERR_INTERNAL, text);
  }
  return TVA_RES_OK;
}

// Sign of basis position p in the caller's basis: -1 where a logical counts as +e_i.
double position_sign(const SimplexBasis* b, bool plusone, int32 p) {
  return plusone && b->bas[p] < b->bnumcon ? -1.0 : 1.0;
}

} // namespace

extern "C" {

TVAAPI TVArescode TVA_initbasissolve(TVAtask_t task, TVAint32t* basis) {
  return putget_call(task, [&]() -> TVArescode {
    Columns cols(task->sys);
    TVArescode r = basis_factor(task, cols);
    if (r != TVA_RES_OK) return r;
    if (basis) std::copy_n(task->basis->bas.begin(), task->numcon, basis);
    return TVA_RES_OK;
  });
}

TVAAPI TVArescode TVA_solvewithbasis(TVAtask_t task, TVAint32t transp, TVAint32t* numnz,
                                     TVAint32t* sub, double* val) {
  return putget_call(task, [&]() -> TVArescode {
    const int32 m = task->numcon;
    SimplexBasis* b = task->basis;
    if (b && b->bnumcon != m) return TVA_REP(task, ERR_BASIS, b->bnumcon, m);
    // Factors an optimizer left for its next start belong to its own scaled form, not to A.
    if (!b || !b->solvable || !lu_isfactored(b->f) || lu_nrow(b->f) != m)
      return TVA_REP(task, ERR_BASIS_FACTOR);
    if (!numnz) return TVA_REP(task, ERR_NULL_POINTER, "numnz");
    const int32 nz = *numnz;
    if (nz < 0) return TVA_REP(task, ERR_ARG_IS_TOO_SMALL, nz, "numnz");
    if (nz > m) return TVA_REP(task, ERR_ARG_IS_TOO_LARGE, nz, "numnz");
    if (nz > 0 && !sub) return TVA_REP(task, ERR_NULL_POINTER, "sub");
    if (m > 0 && !val) return TVA_REP(task, ERR_NULL_POINTER, "val");
    for (int32 t = 0; t < nz; ++t) {
      if (sub[t] < 0) return TVA_REP(task, ERR_INDEX_IS_TOO_SMALL, sub[t], "sub");
      if (sub[t] >= m) return TVA_REP(task, ERR_INDEX_IS_TOO_LARGE, sub[t], "sub");
    }
    double* x = b->work.data();
    double* y = x + m;
    for (int32 t = 0; t < nz; ++t)
      x[sub[t]] = val[sub[t]];
    for (int32 t = 0; t < nz; ++t)
      val[sub[t]] = 0.0;
    // The caller's basis is the factored one times a diagonal of signs, so the signs go on the
    // solution of a forward solve and on the right side of a transposed one.
    const bool plusone = task->iparam[TVA_IPAR_BASIS_SOLVE_USE_PLUS_ONE] != TVA_OFF;
    if (transp) {
      if (plusone)
        for (int32 p = 0; p < m; ++p)
          x[p] *= position_sign(b, plusone, p);
      lu_btran(b->f, x, y);
    } else {
      lu_ftran(b->f, x, y);
      if (plusone)
        for (int32 p = 0; p < m; ++p)
          y[p] *= position_sign(b, plusone, p);
    }
    int32 out = 0;
    for (int32 i = 0; i < m; ++i) {
      if (y[i] == 0.0) continue;
      val[i] = y[i];
      sub[out++] = i;
      y[i] = 0.0;
    }
    *numnz = out;
    return TVA_RES_OK;
  });
}

TVAAPI TVArescode TVA_basiscond(TVAtask_t task, double* nrmbasis, double* nrminvbasis) {
  return putget_call(task, [&]() -> TVArescode {
    if (!nrmbasis) return TVA_REP(task, ERR_NULL_POINTER, "nrmbasis");
    if (!nrminvbasis) return TVA_REP(task, ERR_NULL_POINTER, "nrminvbasis");
    Columns cols(task->sys);
    TVArescode r = basis_factor(task, cols);
    if (r != TVA_RES_OK) return r;
    const SimplexBasis* b = task->basis;
    double est = 0.0;
    int32 st = lu_condestimate(b->f, &est);
    if (st == kLuCondGuard) return TVA_REP(task, ERR_OVERFLOW);
    if (st == kLuNoMemory) return TVA_REP(task, ERR_SPACE);
    if (st != kLuOk) return TVA_REP(task, ERR_INTERNAL, "the condition estimate failed");
    // The 1-norm of B: its largest column sum, 1 for a logical.
    double norm = 0.0;
    for (int32 p = 0; p < b->bnumcon; ++p) {
      int32 k = b->bas[p];
      double s = 1.0;
      if (k >= b->bnumcon) {
        s = 0.0;
        int32 j = k - b->bnumcon;
        for (int32 q = cols.ptr[j]; q < cols.ptr[j + 1]; ++q)
          s += std::fabs(cols.val[q]);
      }
      norm = std::max(norm, s);
    }
    *nrmbasis = norm;
    *nrminvbasis = est;
    return TVA_RES_OK;
  });
}

} // extern "C"
