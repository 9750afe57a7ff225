// TVA_printdata: a slice of the problem on a stream, for reading by eye.
#include "misc/sprmat.h"
#include "telva/log/report.h"
#include "telva/log/taskprint.h"

namespace telva {

namespace {

TVArescode check_range(TvaTask* task, int32 first, int32 last, int32 count, const char* what) {
  if (first < 0) return TVA_REP(task, ERR_INDEX_IS_TOO_SMALL, int64{first}, what);
  if (last > count) return TVA_REP(task, ERR_INDEX_IS_TOO_LARGE, int64{last}, what);
  return TVA_RES_OK;
}

const char* bound_text(TvaTask* task, int32 bk, char* buf) {
  if (TVA_bktostr(task, bk, buf) != TVA_RES_OK) buf[0] = 0;
  return buf;
}

void print_bounds(TvaTask* task, int32 s, int32 acc, int32 i) {
  char bk_text[TVA_MAX_STR_LEN];
  int32 bk = 0;
  double bl = 0.0, bu = 0.0;
  store_getbound(task, acc, i, &bk, &bl, &bu);
  task_printf(task, s, "  bk: %-3s bl: %-14e bu: %-14e", bound_text(task, bk, bk_text), bl, bu);
}

void print_constraints(TvaTask* task, int32 s, int32 firsti, int32 lasti) {
  task_printf(task, s, "Constraints\n");
  for (int32 i = firsti; i < lasti; ++i) {
    task_printf(task, s, "%-8d %-16s", i, store_getname(task, kNameCon, i));
    print_bounds(task, s, TVA_ACC_CON, i);
    task_printf(task, s, "\n");
  }
}

void print_variables(TvaTask* task, int32 s, int32 firstj, int32 lastj, bool c, bool bx,
                     bool vartype) {
  task_printf(task, s, "\nVariables\n");
  for (int32 j = firstj; j < lastj; ++j) {
    task_printf(task, s, "%-8d %-16s", j, store_getname(task, kNameVar, j));
    if (c) task_printf(task, s, "  c: %-14e", task->store.c[j]);
    if (bx) print_bounds(task, s, TVA_ACC_VAR, j);
    if (vartype)
      task_printf(task, s, "  vartype: %s",
                  task->store.vartype && task->store.vartype[j] == TVA_VAR_TYPE_INT ? "INT"
                                                                                    : "CONT");
    task_printf(task, s, "\n");
  }
}

TVArescode print_a(TvaTask* task, int32 s, int32 firsti, int32 lasti, int32 firstj, int32 lastj) {
  task_printf(task, s, "\nA(columnwise) firsti: %d lasti: %d\n", firsti, lasti);
  if (!task->store.a) return TVA_RES_OK;
  for (int32 j = firstj; j < lastj; ++j) {
    int32 nz = 0;
    const int32* sub = nullptr;
    const double* val = nullptr;
    if (sprmat_getvec(task->store.a, true, j, &nz, &sub, &val) != 0)
      return TVA_REP(task, ERR_SPACE);
    task_printf(task, s, "col %d:", j);
    for (int32 k = 0; k < nz; ++k)
      if (sub[k] >= firsti && sub[k] < lasti) task_printf(task, s, " (%d, %e)", sub[k], val[k]);
    task_printf(task, s, "\n");
  }
  return TVA_RES_OK;
}

void print_q(TvaTask* task, int32 s, int32 k, int32 firstj, int32 lastj) {
  int64 first = 0, last = 0;
  store_qinterval(task, k, &first, &last);
  const ProblemStore& st = task->store;
  for (int64 t = first; t < last; ++t)
    if (st.qsubi[t] >= firstj && st.qsubi[t] < lastj)
      task_printf(task, s, "  (%d, %d) %e\n", st.qsubi[t], st.qsubj[t], st.qval[t]);
}

void print_cones(TvaTask* task, int32 s, int32 firstk, int32 lastk) {
  task_printf(task, s, "\nCones\n");
  const ProblemStore& st = task->store;
  for (int32 k = firstk; k < lastk; ++k) {
    char type[TVA_MAX_STR_LEN] = "";
    TVA_conetypetostr(task, st.conetype[k], type);
    int32 dim = st.coneptre[k] - st.coneptrb[k];
    task_printf(task, s, "Cone: '%s' (%d) Type: %s Parameter: %e Dimension: %-d\n",
                store_getname(task, kNameCone, k), k, type, st.conepar[k], dim);
    for (int32 p = st.coneptrb[k]; p < st.coneptre[k]; ++p)
      task_printf(task, s, " %d", st.conesub[p]);
    task_printf(task, s, "\n");
  }
}

} // namespace

} // namespace telva

using namespace telva;

extern "C" {

TVAAPI TVArescode TVA_printdata(TVAtask_t task, TVAint32t whichstream, TVAint32t firsti,
                                TVAint32t lasti, TVAint32t firstj, TVAint32t lastj,
                                TVAint32t firstk, TVAint32t lastk, TVAint32t c, TVAint32t qo,
                                TVAint32t a, TVAint32t qc, TVAint32t bc, TVAint32t bx,
                                TVAint32t vartype, TVAint32t cones) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (whichstream < TVA_STREAM_LOG || whichstream > TVA_STREAM_WRN)
    return TVA_REP(task, ERR_INVALID_STREAM, whichstream);
  if ((r = check_range(task, firsti, lasti, task->numcon, "firsti, lasti")) != TVA_RES_OK ||
      (r = check_range(task, firstj, lastj, task->numvar, "firstj, lastj")) != TVA_RES_OK ||
      (r = check_range(task, firstk, lastk, task->numcone, "firstk, lastk")) != TVA_RES_OK)
    return r;
  int32 s = whichstream;
  const char* objname = task->store.name_arena ? task->store.name_arena + task->store.objname : "";
  task_printf(task, s, "\nName: %s  numcon: %d  numvar: %d  numcone: %d\n",
              task->taskname ? task->taskname : "", task->numcon, task->numvar, task->numcone);
  task_printf(task, s, "Objective name: %s\n", objname);
  if (bc) print_constraints(task, s, firsti, lasti);
  if (c || bx || vartype) print_variables(task, s, firstj, lastj, c, bx, vartype);
  if (a && (r = print_a(task, s, firsti, lasti, firstj, lastj)) != TVA_RES_OK) return r;
  if (qo) {
    task_printf(task, s, "\nQ - Objective\n");
    print_q(task, s, -1, firstj, lastj);
  }
  if (qc)
    for (int32 i = firsti; i < lasti; ++i) {
      int64 first = 0, last = 0;
      store_qinterval(task, i, &first, &last);
      if (first == last) continue;
      task_printf(task, s, "\nQ in constraint %d\n", i);
      print_q(task, s, i, firstj, lastj);
    }
  if (cones) print_cones(task, s, firstk, lastk);
  return TVA_RES_OK;
}

} // extern "C"
