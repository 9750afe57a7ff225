// Exported functions of the problem store: handle check, then the store's own operation.
// Memory failures inside standard containers surface as std::bad_alloc and are turned into
// TVA_RES_ERR_SPACE here, so that no exception crosses the C boundary.
#include "telva/store/putget.h"

using namespace telva;

extern "C" {

TVAAPI TVArescode TVA_putmaxnumcon(TVAtask_t task, TVAint32t maxnumcon) {
  return putget_call(task, [&] { return store_putmaxnumcon(task, maxnumcon); });
}
TVAAPI TVArescode TVA_putmaxnumvar(TVAtask_t task, TVAint32t maxnumvar) {
  return putget_call(task, [&] { return store_putmaxnumvar(task, maxnumvar); });
}
TVAAPI TVArescode TVA_putmaxnumcone(TVAtask_t task, TVAint32t maxnumcone) {
  return putget_call(task, [&] { return store_putmaxnumcone(task, maxnumcone); });
}
TVAAPI TVArescode TVA_putmaxnumbarvar(TVAtask_t task, TVAint32t maxnumbarvar) {
  return putget_call(task, [&] { return store_putmaxnumbarvar(task, maxnumbarvar); });
}
TVAAPI TVArescode TVA_putmaxnumanz(TVAtask_t task, TVAint64t maxnumanz) {
  return putget_call(task, [&] { return store_putmaxnumanz(task, maxnumanz); });
}
TVAAPI TVArescode TVA_putmaxnumqnz(TVAtask_t task, TVAint64t maxnumqnz) {
  return putget_call(task, [&] { return store_putmaxnumqnz(task, maxnumqnz); });
}

TVAAPI TVArescode TVA_appendcons(TVAtask_t task, TVAint32t num) {
  return putget_put(task, kChangeStructure, [&] { return store_appendcons(task, num); });
}
TVAAPI TVArescode TVA_appendvars(TVAtask_t task, TVAint32t num) {
  return putget_put(task, kChangeStructure, [&] { return store_appendvars(task, num); });
}
TVAAPI TVArescode TVA_appendbarvars(TVAtask_t task, TVAint32t num, const TVAint32t* dim) {
  return putget_put(task, kChangeStructure, [&] { return store_appendbarvars(task, num, dim); });
}
TVAAPI TVArescode TVA_appendcone(TVAtask_t task, TVAint32t ct, double conepar, TVAint32t nummem,
                                 const TVAint32t* submem) {
  return putget_put(task, kChangeCones,
                    [&] { return store_appendcone(task, ct, conepar, nummem, submem); });
}
TVAAPI TVArescode TVA_appendconeseq(TVAtask_t task, TVAint32t ct, double conepar, TVAint32t nummem,
                                    TVAint32t j) {
  return putget_put(task, kChangeCones,
                    [&] { return store_appendconeseq(task, ct, conepar, nummem, j); });
}
TVAAPI TVArescode TVA_appendconesseq(TVAtask_t task, TVAint32t num, const TVAint32t* ct,
                                     const double* conepar, const TVAint32t* nummem, TVAint32t j) {
  return putget_put(task, kChangeCones,
                    [&] { return store_appendconesseq(task, num, ct, conepar, nummem, j); });
}
TVAAPI TVArescode TVA_putcone(TVAtask_t task, TVAint32t k, TVAint32t ct, double conepar,
                              TVAint32t nummem, const TVAint32t* submem) {
  return putget_put(task, kChangeCones,
                    [&] { return store_putcone(task, k, ct, conepar, nummem, submem); });
}
TVAAPI TVArescode TVA_appendsparsesymmat(TVAtask_t task, TVAint32t dim, TVAint64t nz,
                                         const TVAint32t* subi, const TVAint32t* subj,
                                         const double* valij, TVAint64t* idx) {
  return putget_call(
      task, [&] { return store_appendsparsesymmat(task, dim, nz, subi, subj, valij, idx); });
}
TVAAPI TVArescode TVA_putbarcj(TVAtask_t task, TVAint32t j, TVAint64t num, const TVAint64t* sub,
                               const double* weights) {
  return putget_put(task, kChangeBar, [&] { return store_putbarcj(task, j, num, sub, weights); });
}
TVAAPI TVArescode TVA_putbaraij(TVAtask_t task, TVAint32t i, TVAint32t j, TVAint64t num,
                                const TVAint64t* sub, const double* weights) {
  return putget_put(task, kChangeBar,
                    [&] { return store_putbaraij(task, i, j, num, sub, weights); });
}
TVAAPI TVArescode TVA_putbarablocktriplet(TVAtask_t task, TVAint64t num, const TVAint32t* subi,
                                          const TVAint32t* subj, const TVAint32t* subk,
                                          const TVAint32t* subl, const double* valijkl) {
  return putget_put(task, kChangeBar, [&]() -> TVArescode {
    return store_putbarblocktriplet(task, true, num, subi, subj, subk, subl, valijkl);
  });
}
TVAAPI TVArescode TVA_putbarcblocktriplet(TVAtask_t task, TVAint64t num, const TVAint32t* subj,
                                          const TVAint32t* subk, const TVAint32t* subl,
                                          const double* valjkl) {
  return putget_put(task, kChangeBar, [&]() -> TVArescode {
    return store_putbarblocktriplet(task, false, num, nullptr, subj, subk, subl, valjkl);
  });
}
TVAAPI TVArescode TVA_getlenbarvarj(TVAtask_t task, TVAint32t j, TVAint64t* lenbarvarj) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = check_index(task, j, task->numbarvar, "j");
    if (r != TVA_RES_OK) return r;
    int64 d = task->store.bardim[j];
    *lenbarvarj = d * (d + 1) / 2;
    return TVA_RES_OK;
  });
}

TVAAPI TVArescode TVA_putaij(TVAtask_t task, TVAint32t i, TVAint32t j, double aij) {
  return putget_put(task, kChangeA, [&] { return store_putaij(task, i, j, aij); });
}
TVAAPI TVArescode TVA_getacol(TVAtask_t task, TVAint32t j, TVAint32t* nzj, TVAint32t* subj,
                              double* valj) {
  return putget_call(task, [&] { return store_getavec(task, true, j, nzj, subj, valj); });
}
TVAAPI TVArescode TVA_commitchanges(TVAtask_t task) {
  return putget_call(task, [&] { return store_commit(task); });
}

TVAAPI TVArescode TVA_putqobj(TVAtask_t task, TVAint32t numqonz, const TVAint32t* qosubi,
                              const TVAint32t* qosubj, const double* qoval) {
  return putget_put(task, kChangeQ,
                    [&] { return store_putqobj(task, numqonz, qosubi, qosubj, qoval); });
}
TVAAPI TVArescode TVA_putqobjij(TVAtask_t task, TVAint32t i, TVAint32t j, double qoij) {
  return putget_put(task, kChangeQ, [&] { return store_putqobjij(task, i, j, qoij); });
}
TVAAPI TVArescode TVA_getqobjij(TVAtask_t task, TVAint32t i, TVAint32t j, double* qoij) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = check_index(task, i, task->numvar, "i");
    if (r == TVA_RES_OK) r = check_index(task, j, task->numvar, "j");
    if (r == TVA_RES_OK) *qoij = store_getqij(task, -1, i, j);
    return r;
  });
}
TVAAPI TVArescode TVA_putqconk(TVAtask_t task, TVAint32t k, TVAint32t numqcnz,
                               const TVAint32t* qcsubi, const TVAint32t* qcsubj,
                               const double* qcval) {
  return putget_put(task, kChangeQ,
                    [&] { return store_putqconk(task, k, numqcnz, qcsubi, qcsubj, qcval); });
}
TVAAPI TVArescode TVA_putqcon(TVAtask_t task, TVAint32t numqcnz, const TVAint32t* qcsubk,
                              const TVAint32t* qcsubi, const TVAint32t* qcsubj,
                              const double* qcval) {
  return putget_put(task, kChangeQ,
                    [&] { return store_putqcon(task, numqcnz, qcsubk, qcsubi, qcsubj, qcval); });
}

TVAAPI TVArescode TVA_getconbound(TVAtask_t task, TVAint32t i, TVAint32t* bk, double* bl,
                                  double* bu) {
  return putget_call(task, [&]() -> TVArescode {
    if (i < 0) return TVA_REP(task, ERR_ARG_IS_TOO_SMALL, int64(i), "i");
    if (i >= task->numcon) return TVA_REP(task, ERR_ARG_IS_TOO_LARGE, int64(i), "i");
    store_getbound(task, TVA_ACC_CON, i, bk, bl, bu);
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_putobjsense(TVAtask_t task, TVAint32t sense) {
  // Only a real change of the sense tells the solutions.
  int32 old = -1;
  TVArescode r = putget_call(task, [&] {
    old = task->store.objsense;
    return store_putobjsense(task, sense);
  });
  if (r == TVA_RES_OK && old != sense) store_changed(task, kChangeSense);
  return r;
}

TVAAPI TVArescode TVA_removecons(TVAtask_t task, TVAint32t num, const TVAint32t* subset) {
  return putget_put(task, kChangeStructure, [&] { return store_removecons(task, num, subset); });
}
TVAAPI TVArescode TVA_removevars(TVAtask_t task, TVAint32t num, const TVAint32t* subset) {
  return putget_put(task, kChangeStructure, [&] { return store_removevars(task, num, subset); });
}
TVAAPI TVArescode TVA_removecones(TVAtask_t task, TVAint32t num, const TVAint32t* subset) {
  return putget_put(task, kChangeStructure, [&] { return store_removecones(task, num, subset); });
}
TVAAPI TVArescode TVA_removebarvars(TVAtask_t task, TVAint32t num, const TVAint32t* subset) {
  return putget_put(task, kChangeStructure, [&] { return store_removebarvars(task, num, subset); });
}

TVAAPI TVArescode TVA_getprobtype(TVAtask_t task, TVAint32t* probtype) {
  return putget_call(task, [&]() -> TVArescode {
    *probtype = store_probtype(task);
    return TVA_RES_OK;
  });
}

} // extern "C"
