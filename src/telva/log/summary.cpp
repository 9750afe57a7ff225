// The summaries a caller prints after a run or a read: optimizer, solutions, read.
#include <cinttypes>

#include "telva/solution/drvsol.h"
#include "telva/log/report.h"
#include "telva/log/taskprint.h"

namespace telva {

namespace {

// Width of the count columns; the empty fields of the rows without a count are as wide.
constexpr int32 kCountWidth = 6;

TVArescode check_stream(TvaTask* task, int32 whichstream) {
  if (whichstream < TVA_STREAM_LOG || whichstream > TVA_STREAM_WRN)
    return TVA_REP(task, ERR_INVALID_STREAM, whichstream);
  return TVA_RES_OK;
}

void row_time(TvaTask* task, int32 s, const char* head, double time) {
  task_printf(task, s, "%s              %-*s  time: %.2f\n", head, kCountWidth, "", time);
}

void row_int(TvaTask* task, int32 s, const char* head, int64 count, double time) {
  task_printf(task, s, "%s - iterations : %-*" PRId64 "  time: %.2f\n", head, kCountWidth, count,
              time);
}

const char* solution_title(int32 whichsol) {
  switch (whichsol) {
  case TVA_SOL_ITR:
    return "Interior-point solution summary\n";
  case TVA_SOL_BAS:
    return "Basic solution summary\n";
  default:
    return "Integer solution solution summary\n";
  }
}

bool primal_certificate(int32 solsta) {
  return solsta == TVA_SOL_STA_PRIM_INFEAS_CER || solsta == TVA_SOL_STA_NEAR_PRIM_INFEAS_CER ||
         solsta == TVA_SOL_STA_PRIM_ILLPOSED_CER;
}

bool dual_certificate(int32 solsta) {
  return solsta == TVA_SOL_STA_DUAL_INFEAS_CER || solsta == TVA_SOL_STA_NEAR_DUAL_INFEAS_CER ||
         solsta == TVA_SOL_STA_DUAL_ILLPOSED_CER;
}

void viol_part(TvaTask* task, int32 s, const char* name, int32 count, double value) {
  if (count > 0) task_printf(task, s, "  %s: %-7.0e", name, value);
}

TVArescode one_summary(TvaTask* task, int32 s, int32 whichsol) {
  const DriverSolutionOps& ops = drvsol_ops();
  if (task->iparam[TVA_IPAR_LOG] == 0 || !ops.is_defined(task, whichsol)) return TVA_RES_OK;
  int32 prosta = 0, solsta = 0;
  ops.get_status(task, whichsol, &prosta, &solsta);
  char prostr[TVA_MAX_STR_LEN] = "", solstr[TVA_MAX_STR_LEN] = "";
  TVA_prostatostr(task, prosta, prostr);
  TVA_solstatostr(task, solsta, solstr);
  task_printf(task, s, "%s", solution_title(whichsol));
  task_printf(task, s, "  Problem status  : %-s\n", prostr);
  task_printf(task, s, "  Solution status : %-s\n", solstr);
  SlotQuality q;
  TVArescode r = ops.quality(task, whichsol, &q);
  if (r != TVA_RES_OK) return r;
  if (!primal_certificate(solsta)) {
    task_printf(task, s, "  %-7s  obj: %-18.10e  nrm: %-7.0e  Viol.", "Primal.", q.pobj, q.pnorm);
    viol_part(task, s, "con", task->numcon, q.pviol_con);
    viol_part(task, s, "var", task->numvar, q.pviol_var);
    viol_part(task, s, "barvar", task->numbarvar, q.pviol_barvar);
    viol_part(task, s, "cones", task->numcone, q.pviol_cones);
    if (whichsol == TVA_SOL_ITG) viol_part(task, s, "itg", task->store.numintvar, q.pviol_itg);
    task_printf(task, s, "\n");
  }
  if (whichsol != TVA_SOL_ITG && !dual_certificate(solsta)) {
    task_printf(task, s, "  %-7s  obj: %-18.10e  nrm: %-7.0e  Viol.", "Dual.", q.dobj, q.dnorm);
    viol_part(task, s, "con", task->numcon, q.dviol_con);
    viol_part(task, s, "var", task->numvar, q.dviol_var);
    viol_part(task, s, "barvar", task->numbarvar, q.dviol_barvar);
    viol_part(task, s, "cones", task->numcone, q.dviol_cones);
    task_printf(task, s, "\n");
  }
  return TVA_RES_OK;
}

} // namespace

} // namespace telva

using namespace telva;

extern "C" {

TVAAPI TVArescode TVA_optimizersummary(TVAtask_t task, TVAint32t whichstream) {
  TVArescode r = task_check(task);
  if (r == TVA_RES_OK) r = check_stream(task, whichstream);
  if (r != TVA_RES_OK) return r;
  const double* d = task->dinf;
  const int32* i = task->iinf;
  const int64* l = task->liinf;
  int32 s = whichstream;
  task_printf(task, s, "Optimizer summary\n");
  row_time(task, s, "  Optimizer                 -", d[TVA_DINF_OPTIMIZER_TIME]);
  row_int(task, s, "    Interior-point         ", i[TVA_IINF_INTPNT_ITER], d[TVA_DINF_INTPNT_TIME]);
  row_time(task, s, "      Basis identification  -", d[TVA_DINF_BI_TIME]);
  row_int(task, s, "        Primal             ", l[TVA_LIINF_BI_PRIMAL_ITER],
          d[TVA_DINF_BI_PRIMAL_TIME]);
  row_int(task, s, "        Dual               ", l[TVA_LIINF_BI_DUAL_ITER],
          d[TVA_DINF_BI_DUAL_TIME]);
  row_int(task, s, "        Clean primal       ", l[TVA_LIINF_BI_CLEAN_PRIMAL_ITER],
          d[TVA_DINF_BI_CLEAN_PRIMAL_TIME]);
  row_int(task, s, "        Clean dual         ", l[TVA_LIINF_BI_CLEAN_DUAL_ITER],
          d[TVA_DINF_BI_CLEAN_DUAL_TIME]);
  row_time(task, s, "    Simplex                 -", d[TVA_DINF_SIM_TIME]);
  row_int(task, s, "      Primal simplex       ", i[TVA_IINF_SIM_PRIMAL_ITER],
          d[TVA_DINF_SIM_PRIMAL_TIME]);
  row_int(task, s, "      Dual simplex         ", i[TVA_IINF_SIM_DUAL_ITER],
          d[TVA_DINF_SIM_DUAL_TIME]);
  task_printf(task, s, "    Mixed integer           - relaxations: %-*d  time: %.2f\n", kCountWidth,
              i[TVA_IINF_MIO_NUM_RELAX], d[TVA_DINF_MIO_TIME]);
  task_printf(task, s, "\n");
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_onesolutionsummary(TVAtask_t task, TVAint32t whichstream,
                                         TVAint32t whichsol) {
  TVArescode r = task_check(task);
  if (r == TVA_RES_OK) r = check_stream(task, whichstream);
  if (r != TVA_RES_OK) return r;
  if (whichsol < 0 || whichsol > TVA_SOL_ITG) return TVA_REP(task, ERR_INVALID_WHICHSOL, whichsol);
  return one_summary(task, whichstream, whichsol);
}

TVAAPI TVArescode TVA_solutionsummary(TVAtask_t task, TVAint32t whichstream) {
  TVArescode r = task_check(task);
  if (r == TVA_RES_OK) r = check_stream(task, whichstream);
  if (r != TVA_RES_OK || task->iparam[TVA_IPAR_LOG] == 0) return r;
  for (int32 whichsol : {TVA_SOL_ITR, TVA_SOL_BAS, TVA_SOL_ITG}) {
    if (!drvsol_ops().is_defined(task, whichsol)) continue;
    task_printf(task, whichstream, "\n");
    r = one_summary(task, whichstream, whichsol);
    if (r != TVA_RES_OK) return r;
  }
  return TVA_RES_OK;
}

} // extern "C"
