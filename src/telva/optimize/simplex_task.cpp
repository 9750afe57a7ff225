// The simplex entry of the optimize driver: the task's linear problem goes to the simplex
// engine, and its answer comes back into the basic solution slot.
#include "telva/optimize/simplex_task.h"

#include <new>

#include "cpub/sysalloc.h"
#include "simplex/simplex.h"
#include "simplex/simplex_basisrec.h"
#include "telva/log/report.h"
#include "telva/solution/solution.h"
#include "telva/store/store.h"

namespace telva {

// The columns of A in one compressed array, read through the store.
TVArescode simplex_task_columns(TvaTask* task, SysVector<int32>& ptr, SysVector<int32>& sub,
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

TVArescode simplex_task_optimize(TvaTask* task) {
  SysAllocator<int32> ia(task->sys);
  SysAllocator<double> da(task->sys);
  try {
    SysVector<int32> ptr(ia), sub(ia);
    SysVector<double> val(da);
    TVArescode r = simplex_task_columns(task, ptr, sub, val);
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
    // A start from status keys needs a basic solution to start from; its class tells the
    // engine what the start may claim: 4 primal feasible (or keys only), 5 dual feasible, 6
    // neither.
    const SolutionSlot* old = sol_slot(task, TVA_SOL_BAS);
    const int32 hot = task->iparam[TVA_IPAR_SIM_HOTSTART];
    if (!old->defined || hot == TVA_SIM_HOTSTART_NONE)
      settings.hotstart = 0;
    else if (hot == TVA_SIM_HOTSTART_STATUS_KEYS || old->solsta == TVA_SOL_STA_OPTIMAL ||
             old->solsta == TVA_SOL_STA_PRIM_FEAS || old->solsta == TVA_SOL_STA_PRIM_AND_DUAL_FEAS)
      settings.hotstart = 4;
    else if (old->solsta == TVA_SOL_STA_DUAL_FEAS)
      settings.hotstart = 5;
    else
      settings.hotstart = 6;
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

    // The task's basis record keeps the final basis and its LU for the next hot start.
    if (task->basis && task->basis->numcon != task->numcon) simplex_deletebasis(&task->basis);
    if (!task->basis &&
        simplex_makebasis(task->sys, task->numcon, settings.lutolrel, &task->basis) != kSimOk)
      return TVA_REP(task, ERR_SPACE);

    SimplexStat stat;
    SimplexRoute route;
    simplex_route_begin(&route, task);
    int32 code = simplex_optimize(task->sys, settings, &stat, lp, &answer, simplex_route_progress,
                                  &route, task->basis);
    sol_setstatus(task, TVA_SOL_BAS, stat.prosta, stat.solsta);
    simplex_route_end(&route, stat, settings.hotstart);
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
