// The simplex entry of the optimize driver: the task's linear problem goes to the simplex
// engine, and its answer comes back into the basic solution slot.
#include "simplex/simplex_task.h"

#include <new>

#include "cpub/sysalloc.h"
#include "simplex/simplex.h"
#include "telva/report.h"
#include "telva/solution.h"
#include "telva/store.h"

namespace telva {

namespace {

// The columns of A in one compressed array, read through the store.
TVArescode gather_columns(TvaTask* task, SysVector<int32>& ptr, SysVector<int32>& sub,
                          SysVector<double>& val) {
  const int32 n = task->numvar;
  ptr.assign(static_cast<size_t>(n) + 1, 0);
  for (int32 j = 0; j < n; ++j) {
    int32 nz = 0;
    TVArescode r = store_getavecnz(task, true, j, &nz);
    if (r != TVA_RES_OK) return r;
    ptr[j + 1] = ptr[j] + nz;
  }
  sub.assign(static_cast<size_t>(ptr[n]) + 1, 0);
  val.assign(static_cast<size_t>(ptr[n]) + 1, 0.0);
  for (int32 j = 0; j < n; ++j) {
    int32 nz = 0;
    TVArescode r = store_getavec(task, true, j, &nz, sub.data() + ptr[j], val.data() + ptr[j]);
    if (r != TVA_RES_OK) return r;
  }
  return TVA_RES_OK;
}

} // namespace

TVArescode simplex_task_optimize(TvaTask* task) {
  SysAllocator<int32> ia(task->sys);
  SysAllocator<double> da(task->sys);
  try {
    SysVector<int32> ptr(ia), sub(ia);
    SysVector<double> val(da);
    TVArescode r = gather_columns(task, ptr, sub, val);
    if (r != TVA_RES_OK) return r;

    const ProblemStore& s = task->store;
    SimplexLp lp;
    lp.numcon = task->numcon;
    lp.numvar = task->numvar;
    lp.aptr = ptr.data();
    lp.asub = sub.data();
    lp.aval = val.data();
    lp.c = s.c;
    lp.cfix = s.cfix;
    lp.blc = s.blc;
    lp.buc = s.buc;
    lp.blx = s.blx;
    lp.bux = s.bux;
    lp.maximize = s.objsense == TVA_OBJECTIVE_SENSE_MAXIMIZE;

    SimplexSettings settings;
    simplex_settings_fromtask(task, &settings);
    // A start from status keys needs a basic solution to start from.
    const bool had_basis = sol_slot(task, TVA_SOL_BAS)->defined;
    if (!had_basis) settings.hotstart = 0;
    r = sol_prepare(task, TVA_SOL_BAS);
    if (r != TVA_RES_OK) return r;
    SolutionSlot* slot = sol_slot(task, TVA_SOL_BAS);
    SimplexSolution answer;
    answer.skc = slot->skc;
    answer.skx = slot->skx;
    answer.xc = slot->xc;
    answer.xx = slot->xx;
    answer.y = slot->y;
    answer.slc = slot->slc;
    answer.suc = slot->suc;
    answer.slx = slot->slx;
    answer.sux = slot->sux;

    SimplexStat stat;
    int32 code = simplex_optimize(task->sys, settings, &stat, lp, &answer);
    sol_setstatus(task, TVA_SOL_BAS, stat.prosta, stat.solsta);
    task->iinf[TVA_IINF_SIM_PRIMAL_ITER] = stat.iter[kSimFree] + stat.iter[kSimPrimal];
    task->iinf[TVA_IINF_SIM_DUAL_ITER] = stat.iter[kSimDual];
    task->iinf[TVA_IINF_SIM_PRIMAL_DUAL_ITER] = stat.iter[kSimPrimalDual];
    task->iinf[TVA_IINF_SIM_PRIMAL_DEG_ITER] = stat.degiter[kSimFree] + stat.degiter[kSimPrimal];
    task->iinf[TVA_IINF_SIM_DUAL_DEG_ITER] = stat.degiter[kSimDual];
    task->iinf[TVA_IINF_SIM_PRIMAL_INF_ITER] = stat.infiter[kSimFree] + stat.infiter[kSimPrimal];
    task->iinf[TVA_IINF_SIM_DUAL_INF_ITER] = stat.infiter[kSimDual];
    task->iinf[TVA_IINF_SIM_NUMCON] = task->numcon;
    task->iinf[TVA_IINF_SIM_NUMVAR] = task->numvar;
    task->dinf[TVA_DINF_SIM_OBJ] = answer.pobj;
    TVArescode rc = simplex_rescode(code);
    if (rc == TVA_RES_ERR_SPACE) return TVA_REP(task, ERR_SPACE);
    if (rc >= 1000 && rc < 10000)
      return TVA_REP(task, ERR_INTERNAL, "the simplex optimizer failed");
    return rc;
  } catch (const std::bad_alloc&) {
    return TVA_REP(task, ERR_SPACE);
  }
}

} // namespace telva
