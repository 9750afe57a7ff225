// Evaluation of a stored solution against the problem: objective values, violations of the
// primal and dual constraints, integrality, and norms.
#include <algorithm>
#include <cmath>

#include "telva/solution/solution_terms.h"
#include "telva/store/store_internal.h"

namespace telva {

namespace {

double sense_sign(const TvaTask* task) {
  return task->store.objsense == TVA_OBJECTIVE_SENSE_MAXIMIZE ? -1.0 : 1.0;
}

bool has_q(const TvaTask* task) {
  return store_has_qobj(task) || store_has_qcon(task);
}

// p(s): the sign violation of a dual s that belongs to a bound the item has, or its size when
// the item lacks that bound.
double dual_sign_violation(double s, bool has_bound, double sgn) {
  return has_bound ? -s * sgn : std::fabs(s * sgn);
}

// out[i] = (A x)_i for all constraints, from A's columns.
TVArescode a_times(TvaTask* task, const double* x, double* out) {
  std::fill(out, out + task->numcon, 0.0);
  sprmat* a = task->store.a;
  if (!a) return TVA_RES_OK;
  for (int32 j = 0; j < task->numvar; ++j) {
    int32 nz = 0;
    const int32* sub = nullptr;
    const double* val = nullptr;
    TVArescode r = store_sprmat_result(task, sprmat_getvec(a, true, j, &nz, &sub, &val));
    if (r != TVA_RES_OK) return r;
    for (int32 p = 0; p < nz; ++p)
      out[sub[p]] += val[p] * x[j];
  }
  return TVA_RES_OK;
}

// out[j] = (A'y)_j for all variables.
TVArescode at_times(TvaTask* task, const double* y, double* out) {
  std::fill(out, out + task->numvar, 0.0);
  sprmat* a = task->store.a;
  if (!a) return TVA_RES_OK;
  for (int32 j = 0; j < task->numvar; ++j) {
    int32 nz = 0;
    const int32* sub = nullptr;
    const double* val = nullptr;
    TVArescode r = store_sprmat_result(task, sprmat_getvec(a, true, j, &nz, &sub, &val));
    if (r != TVA_RES_OK) return r;
    double sum = 0.0;
    for (int32 p = 0; p < nz; ++p)
      sum += val[p] * y[sub[p]];
    out[j] = sum;
  }
  return TVA_RES_OK;
}

// Sum over bar variables of <barC_j, barX_j>.
double barc_inner(const TvaTask* task, const SolutionSlot& s) {
  if (!s.barx) return 0.0;
  double sum = 0.0;
  int64 off = 0;
  for (int32 j = 0; j < task->numbarvar; ++j) {
    int32 d = task->store.bardim[j];
    sum += cell_inner(task, task->store.barc, 0, j, d, s.barx + off);
    off += int64(d) * (d + 1) / 2;
  }
  return sum;
}

TVArescode violations_of_bars(TvaTask* task, const SolutionSlot& s, double w, double sgn,
                              const Violations& out) {
  if (!s.barx || task->numbarvar == 0) {
    for (int32 j = 0; j < task->numbarvar; ++j) {
      if (out.pbarvar) out.pbarvar[j] = 0.0;
      if (out.dbarvar) out.dbarvar[j] = 0.0;
    }
    return TVA_RES_OK;
  }
  const ProblemStore& p = task->store;
  int64 off = 0;
  for (int32 j = 0; j < task->numbarvar; ++j) {
    int32 d = p.bardim[j];
    int64 len = int64(d) * (d + 1) / 2;
    double lam = 0.0;
    if (out.pbarvar) {
      if (!min_eigenvalue(task->sys, s.barx + off, d, 1.0, &lam)) return TVA_REP(task, ERR_SPACE);
      out.pbarvar[j] = std::max(0.0, -lam);
    }
    if (out.dbarvar) {
      // The residual w*barC_j - sum_i y_i barA_ij - barS_j, and the sign of sgn*barS_j.
      ScratchArr<double> res(task->sys, len);
      if (!res.ok()) return TVA_REP(task, ERR_SPACE);
      for (int64 e = 0; e < len; ++e)
        res[e] = -s.bars[off + e];
      cell_add(task, p.barc, 0, j, d, w, res.p);
      if (p.bara)
        for (int32 i = 0; i < task->numcon; ++i)
          if (s.y[i] != 0.0) cell_add(task, p.bara, i, j, d, -s.y[i], res.p);
      double viol = 0.0;
      for (int64 e = 0; e < len; ++e)
        viol = std::max(viol, std::fabs(res[e]));
      if (!min_eigenvalue(task->sys, s.bars + off, d, sgn, &lam)) return TVA_REP(task, ERR_SPACE);
      out.dbarvar[j] = std::max(viol, -lam);
    }
    off += len;
  }
  return TVA_RES_OK;
}

TVArescode check_defined(TvaTask* task, int32 whichsol) {
  if (whichsol < 0 || whichsol >= kNumSolSlots)
    return TVA_REP(task, ERR_INVALID_WHICHSOL, whichsol);
  if (!sol_slot(task, whichsol)->defined) return TVA_REP(task, ERR_UNDEF_SOLUTION, whichsol);
  return TVA_RES_OK;
}

} // namespace

double sol_weight(int32 solsta) {
  switch (solsta) {
  case TVA_SOL_STA_UNKNOWN:
  case TVA_SOL_STA_OPTIMAL:
  case TVA_SOL_STA_PRIM_FEAS:
  case TVA_SOL_STA_DUAL_FEAS:
  case TVA_SOL_STA_NEAR_OPTIMAL:
  case TVA_SOL_STA_NEAR_PRIM_FEAS:
  case TVA_SOL_STA_NEAR_DUAL_FEAS:
  case TVA_SOL_STA_INTEGER_OPTIMAL:
  case TVA_SOL_STA_NEAR_INTEGER_OPTIMAL:
    return 1.0;
  default:
    return 0.0;
  }
}

double sol_norm(const double* v, int64 n) {
  double m = 0.0;
  if (v)
    for (int64 t = 0; t < n; ++t)
      m = std::max(m, std::fabs(v[t]));
  return m;
}

TVArescode sol_primalobj(TvaTask* task, int32 whichsol, double* pobj) {
  TVArescode r = check_defined(task, whichsol);
  if (r != TVA_RES_OK) return r;
  const SolutionSlot& s = *sol_slot(task, whichsol);
  const ProblemStore& p = task->store;
  double w = sol_weight(s.solsta);
  double v = w * p.cfix;
  for (int32 j = 0; j < task->numvar; ++j)
    v += p.c[j] * s.xx[j];
  if (store_has_qobj(task)) v += 0.5 * qform(task, -1, s.xx);
  v += barc_inner(task, s);
  *pobj = v;
  return TVA_RES_OK;
}

TVArescode sol_dualobj(TvaTask* task, int32 whichsol, double* dobj) {
  TVArescode r = check_defined(task, whichsol);
  if (r != TVA_RES_OK) return r;
  if (!sol_has_duals(whichsol)) return TVA_REP(task, ERR_NO_DUAL_FOR_ITG_SOL);
  const SolutionSlot& s = *sol_slot(task, whichsol);
  const ProblemStore& p = task->store;
  double w = sol_weight(s.solsta);
  double v = w * p.cfix;
  for (int32 i = 0; i < task->numcon; ++i) {
    if (bk_has_lower(p.bkc[i])) v += w * p.blc[i] * s.slc[i];
    if (bk_has_upper(p.bkc[i])) v -= w * p.buc[i] * s.suc[i];
  }
  for (int32 j = 0; j < task->numvar; ++j) {
    if (bk_has_lower(p.bkx[j])) v += w * p.blx[j] * s.slx[j];
    if (bk_has_upper(p.bkx[j])) v -= w * p.bux[j] * s.sux[j];
  }
  // The quadratic terms of the Lagrangian at the stored point: the objective's Q counts
  // against the bound, the constraints' Q with their multipliers.
  if (has_q(task)) {
    double q = -0.5 * qform(task, -1, s.xx);
    if (store_has_qcon(task))
      for (int32 i = 0; i < task->numcon; ++i)
        if (s.y[i] != 0.0) q += 0.5 * s.y[i] * qform(task, i, s.xx);
    v += w * q;
  }
  *dobj = v;
  return TVA_RES_OK;
}

TVArescode sol_violations(TvaTask* task, int32 whichsol, const Violations& out) {
  TVArescode r = check_defined(task, whichsol);
  if (r != TVA_RES_OK) return r;
  const SolutionSlot& s = *sol_slot(task, whichsol);
  const ProblemStore& p = task->store;
  const int32 m = task->numcon, n = task->numvar;
  const double w = sol_weight(s.solsta), sgn = sense_sign(task);
  const bool duals = sol_has_duals(whichsol);
  const bool qcon = store_has_qcon(task);

  if (out.pcon) {
    ScratchArr<double> act(task->sys, m);
    if (!act.ok()) return TVA_REP(task, ERR_SPACE);
    r = a_times(task, s.xx, act.p);
    if (r != TVA_RES_OK) return r;
    int64 off = 0;
    for (int32 j = 0; j < task->numbarvar && s.barx; ++j) {
      int32 d = p.bardim[j];
      for (int32 i = 0; i < m && p.bara; ++i)
        act[i] += cell_inner(task, p.bara, i, j, d, s.barx + off);
      off += int64(d) * (d + 1) / 2;
    }
    for (int32 i = 0; i < m; ++i) {
      if (qcon) act[i] += 0.5 * qform(task, i, s.xx);
      out.pcon[i] = std::max(bound_violation(s.xc[i], p.bkc[i], p.blc[i], p.buc[i], w),
                             std::fabs(act[i] - s.xc[i]));
    }
  }
  if (out.pvar)
    for (int32 j = 0; j < n; ++j)
      out.pvar[j] = bound_violation(s.xx[j], p.bkx[j], p.blx[j], p.bux[j], w);
  for (int32 k = 0; k < task->numcone; ++k) {
    const int32* sub = p.conesub + p.coneptrb[k];
    int32 len = p.coneptre[k] - p.coneptrb[k];
    if (out.pcone) out.pcone[k] = cone_violation(p.conetype[k], s.xx, sub, len, 1.0);
    if (out.dcone) out.dcone[k] = s.snx ? cone_violation(p.conetype[k], s.snx, sub, len, sgn) : 0.0;
  }
  if (out.dcon)
    for (int32 i = 0; i < m; ++i) {
      if (!duals) {
        out.dcon[i] = 0.0;
        continue;
      }
      double res = s.y[i] - s.slc[i] + s.suc[i];
      out.dcon[i] =
          std::max({std::fabs(res), dual_sign_violation(s.slc[i], bk_has_lower(p.bkc[i]), sgn),
                    dual_sign_violation(s.suc[i], bk_has_upper(p.bkc[i]), sgn)});
    }
  if (out.dvar) {
    if (!duals) {
      std::fill(out.dvar, out.dvar + n, 0.0);
    } else {
      ScratchArr<double> res(task->sys, n);
      if (!res.ok()) return TVA_REP(task, ERR_SPACE);
      r = at_times(task, s.y, res.p);
      if (r != TVA_RES_OK) return r;
      // res = w*(c + Qo x) - A'y - w*sum_i y_i Q_i x - slx + sux - snx
      for (int32 j = 0; j < n; ++j)
        res[j] = w * p.c[j] - res[j] - s.slx[j] + s.sux[j] - (s.snx ? s.snx[j] : 0.0);
      if (store_has_qobj(task)) qmul_add(task, -1, s.xx, w, res.p);
      if (qcon)
        for (int32 i = 0; i < m; ++i)
          if (s.y[i] != 0.0) qmul_add(task, i, s.xx, -w * s.y[i], res.p);
      for (int32 j = 0; j < n; ++j)
        out.dvar[j] =
            std::max({std::fabs(res[j]), dual_sign_violation(s.slx[j], bk_has_lower(p.bkx[j]), sgn),
                      dual_sign_violation(s.sux[j], bk_has_upper(p.bkx[j]), sgn)});
    }
  }
  if (out.pbarvar || out.dbarvar) {
    Violations bars = out;
    if (!duals) {
      if (out.dbarvar) std::fill(out.dbarvar, out.dbarvar + task->numbarvar, 0.0);
      bars.dbarvar = nullptr;
    }
    r = violations_of_bars(task, s, w, sgn, bars);
  }
  return r;
}

double sol_pviolitg(const TvaTask* task, int32 whichsol) {
  const SolutionSlot& s = *sol_slot(task, whichsol);
  if (whichsol != TVA_SOL_ITG || !s.defined) return 0.0;
  double viol = 0.0;
  for (int32 j = 0; j < task->numvar; ++j)
    if (task->store.vartype[j] == TVA_VAR_TYPE_INT) {
      double x = s.xx[j];
      viol = std::max(viol, std::min(std::ceil(x) - x, x - std::floor(x)));
    }
  return viol;
}

TVArescode sol_info(TvaTask* task, int32 whichsol, SolutionInfo* info) {
  TVArescode r = check_defined(task, whichsol);
  if (r != TVA_RES_OK) return r;
  const int32 m = task->numcon, n = task->numvar, nc = task->numcone, nb = task->numbarvar;
  // One scratch block for all eight arrays.
  const int64 total = 2 * (int64(m) + n + nc + nb);
  ScratchArr<double> buf(task->sys, total);
  if (!buf.ok()) return TVA_REP(task, ERR_SPACE);
  Violations v;
  double* q = buf.p;
  v.pcon = q, q += m;
  v.dcon = q, q += m;
  v.pvar = q, q += n;
  v.dvar = q, q += n;
  v.pcone = q, q += nc;
  v.dcone = q, q += nc;
  v.pbarvar = q, q += nb;
  v.dbarvar = q;
  r = sol_violations(task, whichsol, v);
  SolutionInfo out;
  if (r == TVA_RES_OK) r = sol_primalobj(task, whichsol, &out.pobj);
  if (r == TVA_RES_OK && sol_has_duals(whichsol)) r = sol_dualobj(task, whichsol, &out.dobj);
  if (r != TVA_RES_OK) return r;
  out.pviolcon = sol_norm(v.pcon, m);
  out.dviolcon = sol_norm(v.dcon, m);
  out.pviolvar = sol_norm(v.pvar, n);
  out.dviolvar = sol_norm(v.dvar, n);
  out.pviolcones = sol_norm(v.pcone, nc);
  out.dviolcones = sol_norm(v.dcone, nc);
  out.pviolbarvar = sol_norm(v.pbarvar, nb);
  out.dviolbarvar = sol_norm(v.dbarvar, nb);
  out.pviolitg = sol_pviolitg(task, whichsol);
  *info = out;
  return TVA_RES_OK;
}

} // namespace telva
