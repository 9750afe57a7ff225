// Exported functions of the objective, the integer marks, the counts and capacities, and the
// general nonlinear callbacks.
#include "telva/store/putget.h"

using namespace telva;

namespace {

// Writes one count after the handle check.
// value is read only after the handle check.
template <class T, class G> TVArescode get_count(TvaTask* task, T* out, G value) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, out);
    *out = static_cast<T>(value());
    return TVA_RES_OK;
  });
}

} // namespace

extern "C" {

// ---- Linear objective ----

TVAAPI TVArescode TVA_putcj(TVAtask_t task, TVAint32t j, double cj) {
  return putget_put(task, kChangeObjective, [&] { return store_putcj(task, j, cj); });
}
TVAAPI TVArescode TVA_putclist(TVAtask_t task, TVAint32t num, const TVAint32t* subj,
                               const double* val) {
  return putget_put(task, kChangeObjective, [&]() -> TVArescode {
    if (num > 0 && !subj) return TVA_REP(task, ERR_NULL_POINTER, "subj");
    if (num > 0 && !val) return TVA_REP(task, ERR_NULL_POINTER, "val");
    return store_putclist(task, num, subj, 0, val);
  });
}
TVAAPI TVArescode TVA_putcslice(TVAtask_t task, TVAint32t first, TVAint32t last,
                                const double* slice) {
  return putget_put(task, kChangeObjective, [&]() -> TVArescode {
    TVArescode r = check_slice(task, first, last, task->numvar);
    if (r != TVA_RES_OK || last <= first) return r;
    TVA_NEED_PTR(task, slice);
    return store_putclist(task, last - first, nullptr, first, slice);
  });
}
TVAAPI TVArescode TVA_getc(TVAtask_t task, double* c) {
  return putget_call(task, [&]() -> TVArescode {
    if (task->numvar > 0) {
      TVA_NEED_PTR(task, c);
      std::memcpy(c, task->store.c, sizeof(double) * task->numvar);
    }
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_getcj(TVAtask_t task, TVAint32t j, double* cj) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = check_index(task, j, task->numvar, "j");
    if (r == TVA_RES_OK && cj) *cj = task->store.c[j];
    return r;
  });
}
TVAAPI TVArescode TVA_getcslice(TVAtask_t task, TVAint32t first, TVAint32t last, double* c) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = check_slice(task, first, last, task->numvar);
    if (r != TVA_RES_OK || last <= first) return r;
    TVA_NEED_PTR(task, c);
    std::memcpy(c, task->store.c + first, sizeof(double) * (last - first));
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_putcfix(TVAtask_t task, double cfix) {
  return putget_put(task, kChangeObjective, [&] {
    store_putcfix(task, cfix);
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_getcfix(TVAtask_t task, double* cfix) {
  return get_count(task, cfix, [&] { return task->store.cfix; });
}
TVAAPI TVArescode TVA_getobjsense(TVAtask_t task, TVAint32t* sense) {
  return get_count(task, sense, [&] { return task->store.objsense; });
}

// ---- Integer marks ----

TVAAPI TVArescode TVA_putvartype(TVAtask_t task, TVAint32t j, TVAint32t vartype) {
  return putget_put(task, kChangeVarTypes, [&] { return store_putvartype(task, j, vartype); });
}
TVAAPI TVArescode TVA_putvartypelist(TVAtask_t task, TVAint32t num, const TVAint32t* subj,
                                     const TVAint32t* vartype) {
  // Element by element: a failure stops with the earlier elements stored, so a change is
  // signalled whenever anything may have been stored.
  TVArescode r = putget_call(task, [&]() -> TVArescode {
    TVArescode e = check_count(task, num, "num");
    if (e == TVA_RES_OK && num > 0 && (!subj || !vartype))
      e = TVA_REP(task, ERR_NULL_POINTER, subj ? "vartype" : "subj");
    for (int32 t = 0; t < num && e == TVA_RES_OK; ++t) {
      e = check_index(task, subj[t], task->numvar, "subj");
      if (e == TVA_RES_OK) e = store_putvartype(task, subj[t], vartype[t]);
    }
    return e;
  });
  if (task_check(task) == TVA_RES_OK && num > 0) store_changed(task, kChangeVarTypes);
  return r;
}
TVAAPI TVArescode TVA_getvartype(TVAtask_t task, TVAint32t j, TVAint32t* vartype) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = check_index(task, j, task->numvar, "j");
    if (r == TVA_RES_OK && vartype) *vartype = task->store.vartype[j];
    return r;
  });
}
TVAAPI TVArescode TVA_getvartypelist(TVAtask_t task, TVAint32t num, const TVAint32t* subj,
                                     TVAint32t* vartype) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = check_count(task, num, "num");
    if (r != TVA_RES_OK || num == 0) return r;
    TVA_NEED_PTR(task, subj);
    TVA_NEED_PTR(task, vartype);
    // The type list names the array but not the position in its messages.
    for (int32 t = 0; t < num && r == TVA_RES_OK; ++t)
      r = check_index(task, subj[t], task->numvar, "subj");
    if (r != TVA_RES_OK) return r;
    for (int32 t = 0; t < num; ++t)
      vartype[t] = task->store.vartype[subj[t]];
    return TVA_RES_OK;
  });
}

// ---- Counts and capacities ----

TVAAPI TVArescode TVA_getnumcon(TVAtask_t task, TVAint32t* numcon) {
  return get_count(task, numcon, [&] { return task->numcon; });
}
TVAAPI TVArescode TVA_getnumvar(TVAtask_t task, TVAint32t* numvar) {
  return get_count(task, numvar, [&] { return task->numvar; });
}
TVAAPI TVArescode TVA_getnumcone(TVAtask_t task, TVAint32t* numcone) {
  return get_count(task, numcone, [&] { return task->numcone; });
}
TVAAPI TVArescode TVA_getnumbarvar(TVAtask_t task, TVAint32t* numbarvar) {
  return get_count(task, numbarvar, [&] { return task->numbarvar; });
}
TVAAPI TVArescode TVA_getnumintvar(TVAtask_t task, TVAint32t* numintvar) {
  return get_count(task, numintvar, [&] { return task->store.numintvar; });
}
TVAAPI TVArescode TVA_getnumsymmat(TVAtask_t task, TVAint64t* num) {
  return get_count(task, num, [&] { return task->store.symmats.num; });
}
TVAAPI TVArescode TVA_getmaxnumcon(TVAtask_t task, TVAint32t* maxnumcon) {
  return get_count(task, maxnumcon, [&] { return task->maxnumcon; });
}
TVAAPI TVArescode TVA_getmaxnumvar(TVAtask_t task, TVAint32t* maxnumvar) {
  return get_count(task, maxnumvar, [&] { return task->maxnumvar; });
}
TVAAPI TVArescode TVA_getmaxnumcone(TVAtask_t task, TVAint32t* maxnumcone) {
  return get_count(task, maxnumcone, [&] { return task->maxnumcone; });
}
TVAAPI TVArescode TVA_getmaxnumbarvar(TVAtask_t task, TVAint32t* maxnumbarvar) {
  return get_count(task, maxnumbarvar, [&] { return task->maxnumbarvar; });
}
TVAAPI TVArescode TVA_getmaxnumanz64(TVAtask_t task, TVAint64t* maxnumanz) {
  return get_count(task, maxnumanz, [&] { return task->maxnumanz; });
}
TVAAPI TVArescode TVA_getmaxnumanz(TVAtask_t task, TVAint32t* maxnumanz) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, maxnumanz);
    return putget_narrow(task, task->maxnumanz, maxnumanz);
  });
}
TVAAPI TVArescode TVA_getmaxnumqnz64(TVAtask_t task, TVAint64t* maxnumqnz) {
  return get_count(task, maxnumqnz, [&] { return task->maxnumqnz; });
}
TVAAPI TVArescode TVA_getmaxnumqnz(TVAtask_t task, TVAint32t* maxnumqnz) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, maxnumqnz);
    return putget_narrow(task, task->maxnumqnz, maxnumqnz);
  });
}

// ---- General nonlinear callbacks ----

TVAAPI TVArescode TVA_putnlfunc(TVAtask_t task, void* nlhandle, void* nlgetsp, void* nlgetva) {
  return putget_put(task, kChangeStructure, [&] {
    task->store.nlhandle = nlhandle;
    task->store.nlgetsp = nlgetsp;
    task->store.nlgetva = nlgetva;
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_getnlfunc(TVAtask_t task, void** nlhandle, void** nlgetsp, void** nlgetva) {
  return putget_call(task, [&] {
    if (nlhandle) *nlhandle = task->store.nlhandle;
    if (nlgetsp) *nlgetsp = task->store.nlgetsp;
    if (nlgetva) *nlgetva = task->store.nlgetva;
    return TVA_RES_OK;
  });
}

} // extern "C"
