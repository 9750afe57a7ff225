// The driver's solution table on top of the task's solution slots.
#include "telva/solution/drvsol.h"
#include "telva/solution/solution.h"

namespace telva {

namespace {

TVArescode slots_ready(TvaTask* task, int32 whichsol) {
  return sol_prepare(task, whichsol);
}

bool slots_defined(const TvaTask* task, int32 whichsol) {
  return sol_slot(task, whichsol)->defined;
}

bool slots_arrays(TvaTask* task, int32 whichsol, SlotArrays* out) {
  SolutionSlot* s = sol_slot(task, whichsol);
  if (!s->defined) return false;
  out->numcon = task->numcon;
  out->numvar = task->numvar;
  out->numcone = task->numcone;
  out->xc = s->xc;
  out->xx = s->xx;
  out->y = s->y;
  out->slc = s->slc;
  out->suc = s->suc;
  out->slx = s->slx;
  out->sux = s->sux;
  out->snx = s->snx;
  out->skn = s->skn;
  return true;
}

void slots_put_status(TvaTask* task, int32 whichsol, int32 prosta, int32 solsta) {
  sol_setstatus(task, whichsol, prosta, solsta);
}

void slots_get_status(const TvaTask* task, int32 whichsol, int32* prosta, int32* solsta) {
  const SolutionSlot* s = sol_slot(task, whichsol);
  if (prosta) *prosta = s->prosta;
  if (solsta) *solsta = s->solsta;
}

TVArescode slots_update(TvaTask* task, int32 whichsol) {
  return TVA_updatesolutioninfo(task, whichsol);
}

double largest(double a, double b) {
  return a > b ? a : b;
}

TVArescode slots_quality(TvaTask* task, int32 whichsol, SlotQuality* q) {
  SolutionInfo info;
  TVArescode r = sol_info(task, whichsol, &info);
  if (r != TVA_RES_OK) return r;
  const SolutionSlot* s = sol_slot(task, whichsol);
  *q = SlotQuality{};
  q->pobj = info.pobj;
  q->dobj = info.dobj;
  q->pviol_con = info.pviolcon;
  q->pviol_var = info.pviolvar;
  q->pviol_barvar = info.pviolbarvar;
  q->pviol_cones = info.pviolcones;
  q->pviol_itg = info.pviolitg;
  q->dviol_con = info.dviolcon;
  q->dviol_var = info.dviolvar;
  q->dviol_barvar = info.dviolbarvar;
  q->dviol_cones = info.dviolcones;
  q->pnorm = largest(sol_norm(s->xc, task->numcon), sol_norm(s->xx, task->numvar));
  if (sol_has_bar(whichsol)) q->pnorm = largest(q->pnorm, sol_norm(s->barx, s->barlen));
  if (sol_has_duals(whichsol)) {
    for (const double* v : {s->y, s->slc, s->suc})
      q->dnorm = largest(q->dnorm, sol_norm(v, task->numcon));
    for (const double* v : {s->slx, s->sux})
      q->dnorm = largest(q->dnorm, sol_norm(v, task->numvar));
  }
  if (sol_has_snx(whichsol)) q->dnorm = largest(q->dnorm, sol_norm(s->snx, task->numvar));
  if (sol_has_bar(whichsol)) q->dnorm = largest(q->dnorm, sol_norm(s->bars, s->barlen));
  return TVA_RES_OK;
}

constexpr DriverSolutionOps kSlotOps = {slots_ready,      slots_defined,    slots_arrays,
                                        slots_put_status, slots_get_status, slots_update,
                                        slots_quality,    sol_flip_duals};

const DriverSolutionOps* g_ops = &kSlotOps;

} // namespace

const DriverSolutionOps& drvsol_ops() {
  return *g_ops;
}

void drvsol_override(const DriverSolutionOps* ops) {
  g_ops = ops ? ops : &kSlotOps;
}

} // namespace telva
