// Moves an MPS staging model into a task and takes one out of it.
#include "telva/files/mps/mpstask.h"

#include <cstdio>
#include <new>

#include "telva/log/report.h"

namespace telva {

namespace {

TVArescode put_names(TvaTask* task, int32 cls, const MpsNames& names) {
  TVArescode r = TVA_RES_OK;
  for (int32 i = 0; i < names.size() && r == TVA_RES_OK; ++i)
    if (names.get(i)[0] != '\0') r = store_putname(task, cls, i, names.get(i));
  return r;
}

TVArescode put_quad(TvaTask* task, int32 k, const MpsQuad& q) {
  if (q.size() == 0) return TVA_RES_OK;
  int32 n = static_cast<int32>(q.size());
  if (k < 0) return store_putqobj(task, n, q.subi.data(), q.subj.data(), q.val.data());
  return store_putqconk(task, k, n, q.subi.data(), q.subj.data(), q.val.data());
}

TVArescode put_task_name(TvaTask* task, const char* name) {
  char* copy = sysenv_strdup(task->sys, TVA_HERE, name);
  if (!copy) return TVA_REP(task, ERR_SPACE);
  TVA_SYS_FREE(task->sys, task->taskname);
  task->taskname = copy;
  return TVA_RES_OK;
}

TVArescode put_all(TvaTask* task, const MpsModel& m) {
  int32 numcon = m.numcon(), numvar = m.numvar();
  TVArescode r = store_appendcons(task, numcon);
  if (r == TVA_RES_OK) r = store_appendvars(task, numvar);
  // Names first, so that the store's own warnings (large bounds) can name the item.
  if (r == TVA_RES_OK) r = put_names(task, kNameCon, m.con_names);
  if (r == TVA_RES_OK) r = put_names(task, kNameVar, m.var_names);
  if (r == TVA_RES_OK && numcon > 0)
    r = store_putboundlist(task, TVA_ACC_CON, numcon, nullptr, 0, m.con_bk.data(), m.con_bl.data(),
                           m.con_bu.data());
  if (r == TVA_RES_OK && numvar > 0)
    r = store_putboundlist(task, TVA_ACC_VAR, numvar, nullptr, 0, m.var_bk.data(), m.var_bl.data(),
                           m.var_bu.data());
  if (r == TVA_RES_OK && numvar > 0) r = store_putclist(task, numvar, nullptr, 0, m.c.data());
  if (r == TVA_RES_OK) {
    store_putcfix(task, m.cfix);
    r = store_putobjsense(task, m.sense);
  }
  if (r == TVA_RES_OK && !m.obj_name.empty()) r = store_putobjname(task, m.obj_name.c_str());
  for (int32 j = 0; j < numvar && r == TVA_RES_OK; ++j)
    if (m.var_int[j]) r = store_putvartype(task, j, TVA_VAR_TYPE_INT);
  if (r == TVA_RES_OK && numvar > 0 && m.numanz() > 0)
    r = store_putavecs(task, true, numvar, nullptr, 0, m.a_ptr.data(), m.a_ptr.data() + 1,
                       m.a_sub.data(), m.a_val.data());
  if (r == TVA_RES_OK) r = put_quad(task, -1, m.qobj);
  for (size_t t = 0; t < m.qcon_index.size() && r == TVA_RES_OK; ++t)
    r = put_quad(task, m.qcon_index[t], m.qcon[t]);
  for (int32 k = 0; k < m.numcone() && r == TVA_RES_OK; ++k) {
    int64 b = m.cone_ptr[k], e = m.cone_ptr[k + 1];
    r = store_appendcone(task, m.cone_type[k], m.cone_par[k], static_cast<int32>(e - b),
                         m.cone_sub.data() + b);
  }
  if (r == TVA_RES_OK) r = put_names(task, kNameCone, m.cone_names);
  if (r == TVA_RES_OK) r = put_task_name(task, m.task_name.c_str());
  return r;
}

void get_quad(const TvaTask* task, int32 k, MpsQuad* q) {
  int64 first = 0, last = 0;
  store_qinterval(task, k, &first, &last);
  const ProblemStore& s = task->store;
  for (int64 t = first; t < last; ++t) {
    q->subi.push_back(s.qsubi[t]);
    q->subj.push_back(s.qsubj[t]);
    q->val.push_back(s.qval[t]);
  }
  q->normalize();
}

// The objective's name as the store holds it, or "obj" (with a number added while it clashes
// with a constraint's name) when it has none: a nameless objective row would force the
// writer onto generic names for everything.
void get_objective_name(const TvaTask* task, MpsModel* m) {
  const char* stored = store_getobjname(task);
  if (stored && stored[0] != '\0') {
    m->obj_name = stored;
    return;
  }
  char name[32] = "obj";
  for (int32 t = 1; m->con_names.find(name) >= 0; ++t)
    std::snprintf(name, sizeof name, "obj%d", static_cast<int>(t));
  m->obj_name = name;
}

TVArescode get_all(TvaTask* task, MpsModel* m) {
  const ProblemStore& s = task->store;
  m->clear();
  m->task_name = task->taskname ? task->taskname : "";
  m->sense = s.objsense;
  m->cfix = s.cfix;
  for (int32 i = 0; i < task->numcon; ++i) {
    int32 bk = 0;
    double bl = 0.0, bu = 0.0;
    store_getbound(task, TVA_ACC_CON, i, &bk, &bl, &bu);
    m->add_con(store_getname(task, kNameCon, i), bk, bl, bu);
  }
  SysVector<int32> sub(SysAllocator<int32>(task->sys));
  SysVector<double> val(SysAllocator<double>(task->sys));
  for (int32 j = 0; j < task->numvar; ++j) {
    int32 bk = 0;
    double bl = 0.0, bu = 0.0;
    store_getbound(task, TVA_ACC_VAR, j, &bk, &bl, &bu);
    bool integer = s.vartype && s.vartype[j] == TVA_VAR_TYPE_INT;
    m->add_var(store_getname(task, kNameVar, j), bk, bl, bu, integer);
    m->c[j] = s.c ? s.c[j] : 0.0;
    int32 nz = 0;
    TVArescode r = store_getavecnz(task, true, j, &nz);
    if (r != TVA_RES_OK) return r;
    sub.resize(static_cast<size_t>(nz));
    val.resize(static_cast<size_t>(nz));
    if (nz > 0 && (r = store_getavec(task, true, j, &nz, sub.data(), val.data())) != TVA_RES_OK)
      return r;
    m->a_sub.insert(m->a_sub.end(), sub.begin(), sub.begin() + nz);
    m->a_val.insert(m->a_val.end(), val.begin(), val.begin() + nz);
    m->a_ptr[j + 1] = m->a_ptr[j] + nz;
  }
  get_objective_name(task, m);
  get_quad(task, -1, &m->qobj);
  if (s.qcon_first)
    for (int32 k = 0; k < task->numcon; ++k) {
      int64 first = 0, last = 0;
      store_qinterval(task, k, &first, &last);
      if (last > first) get_quad(task, k, &m->qcon_make(k));
    }
  for (int32 k = 0; k < task->numcone; ++k) {
    m->cone_names.add(store_getname(task, kNameCone, k));
    m->cone_type.push_back(s.conetype[k]);
    m->cone_par.push_back(s.conepar[k]);
    for (int32 t = s.coneptrb[k]; t < s.coneptre[k]; ++t)
      m->cone_sub.push_back(s.conesub[t]);
    m->cone_ptr.push_back(static_cast<int64>(m->cone_sub.size()));
  }
  return TVA_RES_OK;
}

} // namespace

TVArescode mpstask_put(TvaTask* task, const MpsModel& model) {
  try {
    return put_all(task, model);
  } catch (const std::bad_alloc&) {
    return TVA_REP(task, ERR_SPACE);
  }
}

TVArescode mpstask_get(TvaTask* task, MpsModel* model) {
  try {
    return get_all(task, model);
  } catch (const std::bad_alloc&) {
    return TVA_REP(task, ERR_SPACE);
  }
}

} // namespace telva
