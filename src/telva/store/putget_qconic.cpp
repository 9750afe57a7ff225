// Exported readers of the quadratic terms, the cones and the semidefinite data.
#include "telva/store/putget.h"

using namespace telva;

namespace {

// Q of the objective (k == -1) or of constraint k into the caller's arrays from position
// maxnum - *surp on.
template <class I>
TVArescode getq(TvaTask* task, int32 k, I maxnum, I* surp, I* num, int32* subi, int32* subj,
                double* val) {
  if (k >= 0) {
    TVArescode r = check_index(task, k, task->numcon, "k");
    if (r != TVA_RES_OK) return r;
  }
  TVA_NEED_PTR(task, surp);
  int64 f, l;
  store_qinterval(task, k, &f, &l);
  int64 n = l - f;
  if (*surp < 0 || *surp > maxnum) return TVA_REP(task, ERR_INVALID_SURPLUS);
  if (n > *surp) return TVA_REP(task, ERR_NEGATIVE_SURPLUS);
  if (n > 0 && (!subi || !subj || !val))
    return TVA_REP(task, ERR_NULL_POINTER, !subi ? "qsubi" : !subj ? "qsubj" : "qval");
  int64 pos = int64(maxnum) - *surp;
  const ProblemStore& s = task->store;
  for (int64 p = 0; p < n; ++p) {
    subi[pos + p] = s.qsubi[f + p];
    subj[pos + p] = s.qsubj[f + p];
    val[pos + p] = s.qval[f + p];
  }
  *surp -= static_cast<I>(n);
  if (num) *num = static_cast<I>(n);
  return TVA_RES_OK;
}

int64 qnumnz(const TvaTask* task, int32 k) {
  int64 f, l;
  store_qinterval(task, k, &f, &l);
  return l - f;
}

TVArescode check_cone_index(TvaTask* task, int32 k) {
  return k < 0 || k >= task->numcone ? TVA_REP(task, ERR_CONE_INDEX, k) : TVA_RES_OK;
}

const hyposm* grid_of(const TvaTask* task, bool isbara) {
  return isbara ? task->store.bara : task->store.barc;
}

// Cells of barA are numbered i * numbarvar + j, of barC by j.
int64 cell_number(const TvaTask* task, int32 i, int32 j) {
  return int64(i) * task->numbarvar + j;
}

// The cell of a number from the sparsity list; null for a number that names no stored cell.
const hyposm_cell* cell_of(const TvaTask* task, bool isbara, int64 idx, int32* i, int32* j) {
  const hyposm* h = grid_of(task, isbara);
  if (!h || idx < 0 || task->numbarvar == 0) return nullptr;
  int64 rows = isbara ? task->numcon : 1;
  if (idx >= rows * task->numbarvar) return nullptr;
  *i = static_cast<int32>(idx / task->numbarvar);
  *j = static_cast<int32>(idx % task->numbarvar);
  return hyposm_getcell(h, *i, *j);
}

TVArescode getsparsity(TvaTask* task, bool isbara, int64 maxnumnz, int64* numnz, int64* idx) {
  const hyposm* h = grid_of(task, isbara);
  int64 n = h ? hyposm_numcells(h) : 0;
  if (maxnumnz < n) return TVA_REP(task, ERR_ARG_IS_TOO_SMALL, maxnumnz, "maxnumnz");
  if (n > 0 && !idx) return TVA_REP(task, ERR_NULL_POINTER, isbara ? "idxij" : "idxj");
  int64 t = 0;
  if (h)
    for (const auto& cell : h->cells)
      idx[t++] = cell_number(task, cell.first.first, cell.first.second);
  if (numnz) *numnz = n;
  return TVA_RES_OK;
}

TVArescode getidx(TvaTask* task, bool isbara, int64 idx, int64 maxnum, int32* i, int32* j,
                  int64* num, int64* sub, double* weights) {
  int32 ci = 0, cj = 0;
  const hyposm_cell* c = cell_of(task, isbara, idx, &ci, &cj);
  if (!c) return TVA_REP(task, ERR_INVALID_IDX, idx);
  if (maxnum < c->num) return TVA_REP(task, ERR_INVALID_MAX_NUM, maxnum);
  if (i) *i = ci;
  if (j) *j = cj;
  if (num) *num = c->num;
  for (int64 t = 0; t < c->num; ++t) {
    if (sub) sub[t] = c->sub[t];
    if (weights) weights[t] = c->weight[t];
  }
  return TVA_RES_OK;
}

// Number of block triplets of a grid: the elements of all weighted matrices.
int64 numblocktriplets(const TvaTask* task, bool isbara) {
  const hyposm* h = grid_of(task, isbara);
  int64 n = 0;
  if (h)
    for (const auto& cell : h->cells)
      for (int64 t = 0; t < cell.second.num; ++t)
        n += sossm_get(&task->store.symmats, cell.second.sub[t])->nz;
  return n;
}

// The grid as block triplets: every element of every matrix of a cell times its weight.
// Elements at one position from different matrices of one cell are listed separately.
TVArescode getblocktriplet(TvaTask* task, bool isbara, int64 maxnum, int64* num, int32* subi,
                           int32* subj, int32* subk, int32* subl, double* val) {
  int64 n = numblocktriplets(task, isbara);
  if (maxnum < n) return TVA_REP(task, ERR_INVALID_MAX_NUM, maxnum);
  if (n > 0 && ((isbara && !subi) || !subj || !subk || !subl || !val))
    return TVA_REP(task, ERR_NULL_POINTER, "sub");
  const hyposm* h = grid_of(task, isbara);
  int64 p = 0;
  if (h)
    for (const auto& cell : h->cells)
      for (int64 t = 0; t < cell.second.num; ++t) {
        const sossm_mat* m = sossm_get(&task->store.symmats, cell.second.sub[t]);
        for (int64 e = 0; e < m->nz; ++e, ++p) {
          if (isbara) subi[p] = cell.first.first;
          subj[p] = cell.first.second;
          subk[p] = m->subi[e];
          subl[p] = m->subj[e];
          val[p] = cell.second.weight[t] * m->val[e];
        }
      }
  if (num) *num = n;
  return TVA_RES_OK;
}

} // namespace

extern "C" {

// ---- Quadratic terms ----

TVAAPI TVArescode TVA_getqobj(TVAtask_t task, TVAint32t maxnumqonz, TVAint32t* qosurp,
                              TVAint32t* numqonz, TVAint32t* qosubi, TVAint32t* qosubj,
                              double* qoval) {
  return putget_call(
      task, [&] { return getq(task, -1, maxnumqonz, qosurp, numqonz, qosubi, qosubj, qoval); });
}
TVAAPI TVArescode TVA_getqobj64(TVAtask_t task, TVAint64t maxnumqonz, TVAint64t* qosurp,
                                TVAint64t* numqonz, TVAint32t* qosubi, TVAint32t* qosubj,
                                double* qoval) {
  return putget_call(
      task, [&] { return getq(task, -1, maxnumqonz, qosurp, numqonz, qosubi, qosubj, qoval); });
}
TVAAPI TVArescode TVA_getqconk(TVAtask_t task, TVAint32t k, TVAint32t maxnumqcnz, TVAint32t* qcsurp,
                               TVAint32t* numqcnz, TVAint32t* qcsubi, TVAint32t* qcsubj,
                               double* qcval) {
  return putget_call(task, [&]() -> TVArescode {
    if (k < 0) return check_index(task, k, task->numcon, "k");
    return getq(task, k, maxnumqcnz, qcsurp, numqcnz, qcsubi, qcsubj, qcval);
  });
}
TVAAPI TVArescode TVA_getqconk64(TVAtask_t task, TVAint32t k, TVAint64t maxnumqcnz,
                                 TVAint64t* qcsurp, TVAint64t* numqcnz, TVAint32t* qcsubi,
                                 TVAint32t* qcsubj, double* qcval) {
  return putget_call(task, [&]() -> TVArescode {
    if (k < 0) return check_index(task, k, task->numcon, "k");
    return getq(task, k, maxnumqcnz, qcsurp, numqcnz, qcsubi, qcsubj, qcval);
  });
}
TVAAPI TVArescode TVA_getnumqobjnz64(TVAtask_t task, TVAint64t* numqonz) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, numqonz);
    *numqonz = qnumnz(task, -1);
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_getnumqobjnz(TVAtask_t task, TVAint32t* numqonz) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, numqonz);
    return putget_narrow(task, qnumnz(task, -1), numqonz);
  });
}
TVAAPI TVArescode TVA_getnumqconknz64(TVAtask_t task, TVAint32t k, TVAint64t* numqcnz) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = check_index(task, k, task->numcon, "k");
    if (r != TVA_RES_OK) return r;
    TVA_NEED_PTR(task, numqcnz);
    *numqcnz = qnumnz(task, k);
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_getnumqconknz(TVAtask_t task, TVAint32t k, TVAint32t* numqcnz) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = check_index(task, k, task->numcon, "k");
    if (r != TVA_RES_OK) return r;
    TVA_NEED_PTR(task, numqcnz);
    return putget_narrow(task, qnumnz(task, k), numqcnz);
  });
}

// ---- Cones ----

TVAAPI TVArescode TVA_getcone(TVAtask_t task, TVAint32t k, TVAint32t* ct, double* conepar,
                              TVAint32t* nummem, TVAint32t* submem) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = check_cone_index(task, k);
    if (r != TVA_RES_OK) return r;
    const ProblemStore& s = task->store;
    if (ct) *ct = s.conetype[k];
    if (conepar) *conepar = s.conepar[k];
    if (nummem) *nummem = s.coneptre[k] - s.coneptrb[k];
    if (submem)
      for (int32 p = s.coneptrb[k]; p < s.coneptre[k]; ++p)
        submem[p - s.coneptrb[k]] = s.conesub[p];
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_getconeinfo(TVAtask_t task, TVAint32t k, TVAint32t* ct, double* conepar,
                                  TVAint32t* nummem) {
  return TVA_getcone(task, k, ct, conepar, nummem, nullptr);
}
TVAAPI TVArescode TVA_getnumconemem(TVAtask_t task, TVAint32t k, TVAint32t* nummem) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = check_cone_index(task, k);
    if (r != TVA_RES_OK) return r;
    TVA_NEED_PTR(task, nummem);
    *nummem = task->store.coneptre[k] - task->store.coneptrb[k];
    return TVA_RES_OK;
  });
}

// ---- Semidefinite data ----

TVAAPI TVArescode TVA_getdimbarvarj(TVAtask_t task, TVAint32t j, TVAint32t* dimbarvarj) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = check_index(task, j, task->numbarvar, "j");
    if (r != TVA_RES_OK) return r;
    TVA_NEED_PTR(task, dimbarvarj);
    *dimbarvarj = task->store.bardim[j];
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_getsymmatinfo(TVAtask_t task, TVAint64t idx, TVAint32t* dim, TVAint64t* nz,
                                    TVAint32t* type) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = check_index(task, idx, task->store.symmats.num, "idx");
    if (r != TVA_RES_OK) return r;
    if (dim) *dim = sossm_dim(&task->store.symmats, idx);
    if (nz) *nz = sossm_get(&task->store.symmats, idx)->nz;
    if (type) *type = task->store.symmats.type[idx];
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_getsparsesymmat(TVAtask_t task, TVAint64t idx, TVAint64t maxlen,
                                      TVAint32t* subi, TVAint32t* subj, double* valij) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = check_index(task, idx, task->store.symmats.num, "idx");
    if (r != TVA_RES_OK) return r;
    const sossm_mat* m = sossm_get(&task->store.symmats, idx);
    if (maxlen < m->nz) return TVA_REP(task, ERR_MAX_LEN_IS_TOO_SMALL, maxlen, "maxlen");
    for (int64 t = 0; t < m->nz; ++t) {
      if (subi) subi[t] = m->subi[t];
      if (subj) subj[t] = m->subj[t];
      if (valij) valij[t] = m->val[t];
    }
    return TVA_RES_OK;
  });
}

TVAAPI TVArescode TVA_getnumbarcnz(TVAtask_t task, TVAint64t* nz) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, nz);
    *nz = task->store.barc ? hyposm_numcells(task->store.barc) : 0;
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_getnumbaranz(TVAtask_t task, TVAint64t* nz) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, nz);
    *nz = task->store.bara ? hyposm_numcells(task->store.bara) : 0;
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_getnumbarcblocktriplets(TVAtask_t task, TVAint64t* num) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, num);
    *num = numblocktriplets(task, false);
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_getnumbarablocktriplets(TVAtask_t task, TVAint64t* num) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, num);
    *num = numblocktriplets(task, true);
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_getbarcblocktriplet(TVAtask_t task, TVAint64t maxnum, TVAint64t* num,
                                          TVAint32t* subj, TVAint32t* subk, TVAint32t* subl,
                                          double* valjkl) {
  return putget_call(task, [&] {
    return getblocktriplet(task, false, maxnum, num, nullptr, subj, subk, subl, valjkl);
  });
}
TVAAPI TVArescode TVA_getbarablocktriplet(TVAtask_t task, TVAint64t maxnum, TVAint64t* num,
                                          TVAint32t* subi, TVAint32t* subj, TVAint32t* subk,
                                          TVAint32t* subl, double* valijkl) {
  return putget_call(task, [&] {
    return getblocktriplet(task, true, maxnum, num, subi, subj, subk, subl, valijkl);
  });
}

TVAAPI TVArescode TVA_getbarcsparsity(TVAtask_t task, TVAint64t maxnumnz, TVAint64t* numnz,
                                      TVAint64t* idxj) {
  return putget_call(task, [&] { return getsparsity(task, false, maxnumnz, numnz, idxj); });
}
TVAAPI TVArescode TVA_getbarasparsity(TVAtask_t task, TVAint64t maxnumnz, TVAint64t* numnz,
                                      TVAint64t* idxij) {
  return putget_call(task, [&] { return getsparsity(task, true, maxnumnz, numnz, idxij); });
}
TVAAPI TVArescode TVA_getbarcidxinfo(TVAtask_t task, TVAint64t idx, TVAint64t* num) {
  return putget_call(task, [&]() -> TVArescode {
    int32 i, j;
    const hyposm_cell* c = cell_of(task, false, idx, &i, &j);
    if (!c) return TVA_REP(task, ERR_INVALID_IDX, idx);
    if (num) *num = c->num;
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_getbaraidxinfo(TVAtask_t task, TVAint64t idx, TVAint64t* num) {
  return putget_call(task, [&]() -> TVArescode {
    int32 i, j;
    const hyposm_cell* c = cell_of(task, true, idx, &i, &j);
    if (!c) return TVA_REP(task, ERR_INVALID_IDX, idx);
    if (num) *num = c->num;
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_getbarcidxj(TVAtask_t task, TVAint64t idx, TVAint32t* j) {
  return putget_call(task, [&]() -> TVArescode {
    int32 ci, cj;
    if (!cell_of(task, false, idx, &ci, &cj)) return TVA_REP(task, ERR_INVALID_IDX, idx);
    if (j) *j = cj;
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_getbaraidxij(TVAtask_t task, TVAint64t idx, TVAint32t* i, TVAint32t* j) {
  return putget_call(task, [&]() -> TVArescode {
    int32 ci, cj;
    if (!cell_of(task, true, idx, &ci, &cj)) return TVA_REP(task, ERR_INVALID_IDX, idx);
    if (i) *i = ci;
    if (j) *j = cj;
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_getbarcidx(TVAtask_t task, TVAint64t idx, TVAint64t maxnum, TVAint32t* j,
                                 TVAint64t* num, TVAint64t* sub, double* weights) {
  return putget_call(
      task, [&] { return getidx(task, false, idx, maxnum, nullptr, j, num, sub, weights); });
}
TVAAPI TVArescode TVA_getbaraidx(TVAtask_t task, TVAint64t idx, TVAint64t maxnum, TVAint32t* i,
                                 TVAint32t* j, TVAint64t* num, TVAint64t* sub, double* weights) {
  return putget_call(task,
                     [&] { return getidx(task, true, idx, maxnum, i, j, num, sub, weights); });
}

} // extern "C"
