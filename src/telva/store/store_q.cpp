// The Q arena: the objective's and each constraint's lower-triangular triplets, each in one
// contiguous interval of three parallel arrays.
#include <algorithm>

#include "telva/store/store_internal.h"

namespace telva {

namespace {

int64& first_of(ProblemStore& s, int32 k) {
  return k < 0 ? s.qobj_first : s.qcon_first[k];
}
int64& last_of(ProblemStore& s, int32 k) {
  return k < 0 ? s.qobj_last : s.qcon_last[k];
}

int64 used_slots(const TvaTask* task) {
  const ProblemStore& s = task->store;
  int64 u = s.qobj_last - s.qobj_first;
  if (s.qcon_first)
    for (int32 k = 0; k < task->numcon; ++k)
      u += s.qcon_last[k] - s.qcon_first[k];
  return u;
}

// Copies all intervals, the objective first and then the constraints in index order, to the
// front of new arrays of newsize slots. False when out of memory, with nothing changed.
bool repack(TvaTask* task, int64 newsize) {
  ProblemStore& s = task->store;
  sysenv* sys = task->sys;
  int32* ni = sysarr_alloc<int32>(sys, newsize);
  int32* nj = sysarr_alloc<int32>(sys, newsize);
  double* nv = sysarr_alloc<double>(sys, newsize);
  if (newsize > 0 && (!ni || !nj || !nv)) {
    sysarr_free(sys, &ni);
    sysarr_free(sys, &nj);
    sysarr_free(sys, &nv);
    return false;
  }
  int64 pos = 0;
  auto move = [&](int64& f, int64& l) {
    int64 n = l - f;
    if (n > 0) {
      std::memcpy(ni + pos, s.qsubi + f, n * sizeof(int32));
      std::memcpy(nj + pos, s.qsubj + f, n * sizeof(int32));
      std::memcpy(nv + pos, s.qval + f, n * sizeof(double));
    }
    f = pos;
    pos += n;
    l = pos;
  };
  move(s.qobj_first, s.qobj_last);
  if (s.qcon_first)
    for (int32 k = 0; k < task->numcon; ++k)
      move(s.qcon_first[k], s.qcon_last[k]);
  sysarr_free(sys, &s.qsubi);
  sysarr_free(sys, &s.qsubj);
  sysarr_free(sys, &s.qval);
  s.qsubi = ni;
  s.qsubj = nj;
  s.qval = nv;
  task->maxnumqnz = newsize;
  s.qsurplus = newsize - pos;
  return true;
}

// The normalised form of a list: elements not above the tolerance dropped, every element in
// the lower triangle, sorted by (i, j), duplicates added up. Writes into oi, oj, ov; returns
// the count.
int64 normalise(TvaTask* task, int64 n, const int32* subi, const int32* subj, const double* val,
                int64* order, int32* oi, int32* oj, double* ov) {
  const double tol = task->dparam[TVA_DPAR_DATA_TOL_QIJ];
  int64 m = 0;
  for (int64 t = 0; t < n; ++t)
    if (std::fabs(val[t]) > tol) order[m++] = t;
  auto lo = [&](int64 t) { return std::max(subi[t], subj[t]); };
  auto hi = [&](int64 t) { return std::min(subi[t], subj[t]); };
  // Ties keep the given order, so that duplicates are summed in the order they came.
  std::sort(order, order + m, [&](int64 x, int64 y) {
    if (lo(x) != lo(y)) return lo(x) < lo(y);
    return hi(x) != hi(y) ? hi(x) < hi(y) : x < y;
  });
  int64 out = 0;
  for (int64 p = 0; p < m; ++p) {
    int64 t = order[p];
    if (out > 0 && oi[out - 1] == lo(t) && oj[out - 1] == hi(t)) {
      ov[out - 1] += val[t];
    } else {
      oi[out] = lo(t);
      oj[out] = hi(t);
      ov[out++] = val[t];
    }
  }
  return out;
}

// Makes sure the per-constraint marks exist (all empty).
bool ensure_qcon_marks(TvaTask* task) {
  ProblemStore& s = task->store;
  if (s.qcon_first) return true;
  int64* f = sysarr_alloc<int64>(task->sys, std::max(task->maxnumcon, 1));
  int64* l = sysarr_alloc<int64>(task->sys, std::max(task->maxnumcon, 1));
  if (!f || !l) {
    sysarr_free(task->sys, &f);
    sysarr_free(task->sys, &l);
    return false;
  }
  s.qcon_first = f;
  s.qcon_last = l;
  return true;
}

// Places m normalised elements as target k's Q (k == -1: the objective). Only the growth of the
// arena can fail, and it fails before anything changed.
bool place(TvaTask* task, int32 k, int64 m, const int32* oi, const int32* oj, const double* ov) {
  ProblemStore& s = task->store;
  int64& f = first_of(s, k);
  int64& l = last_of(s, k);
  if (m > l - f) {
    int64 of = f, ol = l;
    f = l = 0; // the old interval is given up
    if (m > s.qsurplus) {
      int64 need = used_slots(task) + m;
      if (!repack(task, std::max(need, 2 * task->maxnumqnz))) {
        f = of;
        l = ol;
        return false;
      }
    }
    f = task->maxnumqnz - s.qsurplus;
    s.qsurplus -= m;
  }
  if (m > 0) {
    std::memcpy(s.qsubi + f, oi, m * sizeof(int32));
    std::memcpy(s.qsubj + f, oj, m * sizeof(int32));
    std::memcpy(s.qval + f, ov, m * sizeof(double));
  }
  l = f + m;
  if (m == 0) f = l = 0;
  return true;
}

// Scratch for normalising n elements.
struct QScratch {
  sysenv* sys;
  int64* order = nullptr;
  int32* oi = nullptr;
  int32* oj = nullptr;
  double* ov = nullptr;
  QScratch(sysenv* s, int64 n) : sys(s) {
    n = std::max<int64>(n, 1);
    order = sysarr_alloc<int64>(s, n);
    oi = sysarr_alloc<int32>(s, n);
    oj = sysarr_alloc<int32>(s, n);
    ov = sysarr_alloc<double>(s, n);
  }
  bool ok() const { return order && oi && oj && ov; }
  ~QScratch() {
    sysarr_free(sys, &order);
    sysarr_free(sys, &oi);
    sysarr_free(sys, &oj);
    sysarr_free(sys, &ov);
  }
};

TVArescode put_one_q(TvaTask* task, int32 k, int32 n, const int32* subi, const int32* subj,
                     const double* val) {
  QScratch w(task->sys, n);
  if (!w.ok()) return TVA_REP(task, ERR_SPACE);
  if (k >= 0 && !ensure_qcon_marks(task)) return TVA_REP(task, ERR_SPACE);
  int64 m = normalise(task, n, subi, subj, val, w.order, w.oi, w.oj, w.ov);
  if (!place(task, k, m, w.oi, w.oj, w.ov)) return TVA_REP(task, ERR_SPACE);
  sol_on_change(task, k < 0 ? SolChange::Objective : SolChange::Unjudged);
  return TVA_RES_OK;
}

} // namespace

TVArescode store_putqobj(TvaTask* task, int32 n, const int32* subi, const int32* subj,
                         const double* val) {
  if (n < 0) return check_count(task, n, "numqonz");
  for (int32 t = 0; t < n; ++t) {
    TVArescode r = check_index_arr(task, subi[t], t, task->numvar, "qosubi");
    if (r == TVA_RES_OK) r = check_index_arr(task, subj[t], t, task->numvar, "qosubj");
    if (r == TVA_RES_OK && subj[t] > subi[t])
      r = TVA_REP(task, ERR_QOBJ_UPPER_TRIANGLE, subi[t], subj[t]);
    if (r == TVA_RES_OK && std::isnan(val[t])) r = TVA_REP(task, ERR_INV_QOBJ_VAL, val[t], t);
    if (r != TVA_RES_OK) return r;
  }
  return put_one_q(task, -1, n, subi, subj, val);
}

TVArescode store_putqconk(TvaTask* task, int32 k, int32 n, const int32* subi, const int32* subj,
                          const double* val) {
  TVArescode r = check_index(task, k, task->numcon, "k");
  if (r == TVA_RES_OK) r = check_count(task, n, "numqcnz");
  for (int32 t = 0; t < n && r == TVA_RES_OK; ++t) {
    r = check_index_arr(task, subi[t], t, task->numvar, "qcsubi");
    if (r == TVA_RES_OK) r = check_index_arr(task, subj[t], t, task->numvar, "qcsubj");
    if (r == TVA_RES_OK && subj[t] > subi[t])
      r = TVA_REP(task, ERR_QCON_UPPER_TRIANGLE, subi[t], subj[t], k);
    if (r == TVA_RES_OK && std::isnan(val[t])) r = TVA_REP(task, ERR_NAN_IN_DOUBLE_DATA, "qcval");
  }
  if (r != TVA_RES_OK) return r;
  return put_one_q(task, k, n, subi, subj, val);
}

TVArescode store_putqcon(TvaTask* task, int32 n, const int32* subk, const int32* subi,
                         const int32* subj, const double* val) {
  if (n < 0) return check_count(task, n, "numqcnz");
  for (int32 t = 0; t < n; ++t) {
    TVArescode r = TVA_RES_OK;
    if (subk[t] < 0 || subk[t] >= task->numcon) r = TVA_REP(task, ERR_INV_QCON_SUBK, subk[t], t);
    if (r == TVA_RES_OK && subi[t] < 0)
      r = TVA_REP(task, ERR_QCON_SUBI_TOO_SMALL, subi[t], t, int32(0));
    if (r == TVA_RES_OK && subi[t] >= task->numvar)
      r = TVA_REP(task, ERR_QCON_SUBI_TOO_LARGE, subi[t], t, task->numvar);
    if (r == TVA_RES_OK && (subj[t] < 0 || subj[t] >= task->numvar))
      r = TVA_REP(task, ERR_INV_QCON_SUBJ, subj[t], t);
    if (r == TVA_RES_OK && subj[t] > subi[t])
      r = TVA_REP(task, ERR_QCON_UPPER_TRIANGLE, subi[t], subj[t], subk[t]);
    if (r == TVA_RES_OK && std::isnan(val[t])) r = TVA_REP(task, ERR_NAN_IN_DOUBLE_DATA, "qcval");
    if (r != TVA_RES_OK) return r;
  }
  ProblemStore& s = task->store;
  // Normalise every constraint's group first, then make the arena large enough in one step, so
  // that a failure of memory leaves all old terms in place.
  const int32 m = task->numcon;
  QScratch w(task->sys, n);
  ScratchArr<int64> start(task->sys, int64(m) + 1), fill(task->sys, m), nb(task->sys, int64(m) + 1);
  ScratchArr<int64> of(task->sys, m), ol(task->sys, m);
  ScratchArr<int32> gi(task->sys, n), gj(task->sys, n);
  ScratchArr<double> gv(task->sys, n);
  if (!w.ok() || !start.ok() || !fill.ok() || !nb.ok() || !of.ok() || !ol.ok() || !gi.ok() ||
      !gj.ok() || !gv.ok() || !ensure_qcon_marks(task))
    return TVA_REP(task, ERR_SPACE);
  for (int32 t = 0; t < n; ++t)
    start[subk[t] + 1]++;
  for (int32 k = 0; k < m; ++k)
    start[k + 1] += start[k];
  for (int32 k = 0; k < m; ++k)
    fill[k] = start[k];
  for (int32 t = 0; t < n; ++t) {
    int64 q = fill[subk[t]]++;
    gi[q] = subi[t];
    gj[q] = subj[t];
    gv[q] = val[t];
  }
  int64 out = 0;
  for (int32 k = 0; k < m; ++k) {
    nb[k] = out;
    int64 len = start[k + 1] - start[k];
    out += normalise(task, len, gi.p + start[k], gj.p + start[k], gv.p + start[k], w.order,
                     w.oi + out, w.oj + out, w.ov + out);
  }
  nb[m] = out;
  // Every constraint's interval is given up; the arena must then hold the objective's terms
  // and the new ones.
  for (int32 k = 0; k < m; ++k) {
    of[k] = s.qcon_first[k];
    ol[k] = s.qcon_last[k];
    s.qcon_first[k] = s.qcon_last[k] = 0;
  }
  if (out > s.qsurplus && !repack(task, std::max(used_slots(task) + out, 2 * task->maxnumqnz))) {
    for (int32 k = 0; k < m; ++k) {
      s.qcon_first[k] = of[k];
      s.qcon_last[k] = ol[k];
    }
    return TVA_REP(task, ERR_SPACE);
  }
  for (int32 k = 0; k < m; ++k)
    place(task, k, nb[k + 1] - nb[k], w.oi + nb[k], w.oj + nb[k], w.ov + nb[k]);
  sol_on_change(task, SolChange::Unjudged);
  return TVA_RES_OK;
}

TVArescode store_putqobjij(TvaTask* task, int32 i, int32 j, double v) {
  TVArescode r = check_index(task, i, task->numvar, "i");
  if (r == TVA_RES_OK) r = check_index(task, j, task->numvar, "j");
  if (r == TVA_RES_OK && j > i) r = TVA_REP(task, ERR_QOBJ_UPPER_TRIANGLE, i, j);
  if (r == TVA_RES_OK && std::isnan(v)) r = TVA_REP(task, ERR_INV_QOBJ_VAL, v, int32(0));
  if (r != TVA_RES_OK) return r;
  ProblemStore& s = task->store;
  const double tol = task->dparam[TVA_DPAR_DATA_TOL_QIJ];
  bool keep = std::fabs(v) > tol;
  // The new list: the old one with element (i, j) replaced, removed or added in order.
  int64 n = s.qobj_last - s.qobj_first;
  QScratch w(task->sys, n + 1);
  if (!w.ok()) return TVA_REP(task, ERR_SPACE);
  int64 m = 0;
  bool done = false;
  for (int64 p = s.qobj_first; p < s.qobj_last; ++p) {
    int32 pi = s.qsubi[p], pj = s.qsubj[p];
    if (!done && (pi > i || (pi == i && pj >= j))) {
      if (keep) {
        w.oi[m] = i;
        w.oj[m] = j;
        w.ov[m++] = v;
      }
      done = true;
      if (pi == i && pj == j) continue;
    }
    w.oi[m] = pi;
    w.oj[m] = pj;
    w.ov[m++] = s.qval[p];
  }
  if (!done && keep) {
    w.oi[m] = i;
    w.oj[m] = j;
    w.ov[m++] = v;
  }
  if (!place(task, -1, m, w.oi, w.oj, w.ov)) return TVA_REP(task, ERR_SPACE);
  sol_on_change(task, SolChange::Objective);
  return TVA_RES_OK;
}

void store_qinterval(const TvaTask* task, int32 k, int64* first, int64* last) {
  const ProblemStore& s = task->store;
  if (k < 0) {
    *first = s.qobj_first;
    *last = s.qobj_last;
  } else if (s.qcon_first) {
    *first = s.qcon_first[k];
    *last = s.qcon_last[k];
  } else {
    *first = *last = 0;
  }
}

double store_getqij(const TvaTask* task, int32 k, int32 i, int32 j) {
  int64 f, l;
  store_qinterval(task, k, &f, &l);
  const ProblemStore& s = task->store;
  double sum = 0.0;
  for (int64 p = f; p < l; ++p)
    if ((s.qsubi[p] == i && s.qsubj[p] == j) || (s.qsubi[p] == j && s.qsubj[p] == i))
      sum += s.qval[p];
  return sum;
}

TVArescode store_putmaxnumqnz(TvaTask* task, int64 n) {
  if (n < used_slots(task)) return TVA_REP(task, ERR_MAXNUMQNZ);
  if (!repack(task, n)) return TVA_REP(task, ERR_SPACE);
  return TVA_RES_OK;
}

void store_q_dropvars(TvaTask* task, const int32* newidx) {
  ProblemStore& s = task->store;
  auto filter = [&](int64& f, int64& l) {
    int64 o = f;
    for (int64 p = f; p < l; ++p) {
      int32 i = newidx[s.qsubi[p]], j = newidx[s.qsubj[p]];
      if (i < 0 || j < 0) continue;
      s.qsubi[o] = i;
      s.qsubj[o] = j;
      s.qval[o++] = s.qval[p];
    }
    l = o;
    if (f == l) f = l = 0;
  };
  filter(s.qobj_first, s.qobj_last);
  if (s.qcon_first)
    for (int32 k = 0; k < task->numcon; ++k)
      filter(s.qcon_first[k], s.qcon_last[k]);
}

void store_q_renumbercons(TvaTask* task, const int32* newidx, int32 newcount) {
  ProblemStore& s = task->store;
  if (!s.qcon_first) return;
  for (int32 k = 0; k < task->numcon; ++k) {
    int32 t = newidx[k];
    if (t < 0) continue;
    s.qcon_first[t] = s.qcon_first[k];
    s.qcon_last[t] = s.qcon_last[k];
  }
  for (int32 k = newcount; k < task->numcon; ++k)
    s.qcon_first[k] = s.qcon_last[k] = 0;
}

} // namespace telva
