// The settings record of a simplex run, copied once from the task's parameters.
#include "telva/optimize/simplex_task.h"

namespace telva {

namespace {

// The pricing parameter's values (free, full, ase, devex, se, partial) as the engine numbers
// its rules (free 0, partial 1, full 2, ase 3, se 4, devex 5).
int32 recode_selection(int32 v) {
  switch (v) {
  case TVA_SIM_SELECTION_FULL:
    return 2;
  case TVA_SIM_SELECTION_ASE:
    return 3;
  case TVA_SIM_SELECTION_DEVEX:
    return 5;
  case TVA_SIM_SELECTION_SE:
    return 4;
  case TVA_SIM_SELECTION_PARTIAL:
    return 1;
  default:
    return 0;
  }
}

} // namespace

void simplex_settings_fromtask(const TvaTask* task, SimplexSettings* s) {
  const int32* ip = task->iparam;
  const double* dp = task->dparam;
  *s = SimplexSettings{};
  switch (ip[TVA_IPAR_OPTIMIZER]) {
  case TVA_OPTIMIZER_PRIMAL_SIMPLEX:
    s->optimizer = kSimPrimal;
    break;
  case TVA_OPTIMIZER_DUAL_SIMPLEX:
    s->optimizer = kSimDual;
    break;
  default:
    s->optimizer = kSimFree;
    break;
  }
  s->degen = ip[TVA_IPAR_SIM_DEGEN];
  switch (ip[TVA_IPAR_SIM_SCALING]) {
  case TVA_SCALING_NONE:
    s->scaling = 1;
    break;
  case TVA_SCALING_MODERATE:
    s->scaling = 3;
    break;
  case TVA_SCALING_AGGRESSIVE:
    s->scaling = 4;
    break;
  default:
    s->scaling = 0;
    break;
  }
  s->scalmethod = ip[TVA_IPAR_SIM_SCALING_METHOD] == TVA_SCALING_METHOD_POW2 ? 0 : 1;
  s->maximize = 0;
  switch (ip[TVA_IPAR_SIM_EXPLOIT_DUPVEC]) {
  case TVA_SIM_EXPLOIT_DUPVEC_ON:
    s->dupvec = 2;
    break;
  case TVA_SIM_EXPLOIT_DUPVEC_FREE:
    s->dupvec = 1;
    break;
  default:
    s->dupvec = 0;
    break;
  }
  s->primalselect = recode_selection(ip[TVA_IPAR_SIM_PRIMAL_SELECTION]);
  s->dualselect = recode_selection(ip[TVA_IPAR_SIM_DUAL_SELECTION]);
  s->primalrestrict = ip[TVA_IPAR_SIM_PRIMAL_RESTRICT_SELECTION];
  s->dualrestrict = ip[TVA_IPAR_SIM_DUAL_RESTRICT_SELECTION];
  s->primalcrash = ip[TVA_IPAR_SIM_PRIMAL_CRASH];
  s->dualcrash = ip[TVA_IPAR_SIM_DUAL_CRASH];
  s->primalphaseone = ip[TVA_IPAR_SIM_PRIMAL_PHASEONE_METHOD];
  s->dualphaseone = ip[TVA_IPAR_SIM_DUAL_PHASEONE_METHOD];
  for (int32 k = 0; k < 4; ++k) {
    s->maxiter[k] = ip[TVA_IPAR_SIM_MAX_ITERATIONS];
    s->maxsetbacks[k] = ip[TVA_IPAR_SIM_MAX_NUM_SETBACKS];
    s->refactorfreq[k] = ip[TVA_IPAR_SIM_REFACTOR_FREQ];
    s->logfreq[k] = ip[TVA_IPAR_LOG_SIM_FREQ];
    s->tolx[k] = dp[TVA_DPAR_BASIS_TOL_X];
    s->tols[k] = dp[TVA_DPAR_BASIS_TOL_S];
    s->tolpiv[k] = dp[TVA_DPAR_SIMPLEX_ABS_TOL_PIV];
    s->maxtime[k] = dp[TVA_DPAR_OPTIMIZER_MAX_TIME];
  }
  s->lutolrel = dp[TVA_DPAR_SIM_LU_TOL_REL_PIV];
  s->hotstartlu = ip[TVA_IPAR_SIM_HOTSTART_LU] == TVA_ON ? 1 : 0;
  s->deblev = 0;
}

} // namespace telva
