// The settings record of a simplex run, copied once from the task's parameters, and the
// choice of the primal pricing rule from the settings and the shape of the problem.
#include <algorithm>

#include "simplex/simplex.h"
#include "telva/task/task.h"

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

void psimplex_choosepricing(const SimplexSettings& s, int32 numcon, int32 numvar, int32 numfixedvar,
                            int32 hotstart, int32* if_method, int32* select_method) {
  const int32 r = s.primalrestrict;
  const double rho = ((numvar - numfixedvar) + 1.5 * numcon) / std::max(1, numcon);
  int32 ifm = 1, sel = 1;
  switch (s.primalselect) {
  case 0:
    if (hotstart == 0) {
      // Sections of the columns scored with devex weights. Plain partial pricing or the
      // approximate steepest edge take 4 to 25 times the iterations on degenerate problems
      // (d6cube, fit2d, qap12); devex is never far behind them elsewhere.
      ifm = 5, sel = 10;
    } else {
      if (rho >= 60.0)
        ifm = 1, sel = 1;
      else if (rho >= 10.0)
        ifm = 1, sel = 10;
      else if (s.maxiter[kSimPrimal] < 2000 && r < 50)
        ifm = 3, sel = 3;
      else
        ifm = 7, sel = 10;
    }
    break;
  case 1:
    sel = 1, ifm = 1;
    break;
  case 2:
  case 3:
  case 4:
  case 5:
    sel = r > 50 ? s.primalselect + 4 : s.primalselect;
    ifm = sel;
    break;
  case 6:
  case 7:
  case 8:
  case 9:
    sel = ifm = s.primalselect;
    break;
  default:
    sel = ifm = r < 30 ? 3 : 7;
    break;
  }
  if (ifm == 0) ifm = 1;
  *if_method = ifm;
  *select_method = sel;
}

double simplex_random(SimplexStat* st) {
  st->rndstate = (int32)((10278 * (int64)st->rndstate + 3) % 32749);
  return st->rndstate / 32749.0;
}

} // namespace telva

namespace telva {

TVArescode simplex_rescode(int32 code) {
  switch (code) {
  case 0:
    return TVA_RES_OK;
  case 1:
    return TVA_RES_ERR_SPACE;
  case 4:
    return TVA_RES_TRM_MAX_ITERATIONS;
  case 5:
    return TVA_RES_TRM_MAX_TIME;
  case 6:
  case 7:
    return TVA_RES_TRM_USER_CALLBACK;
  case 8:
    return TVA_RES_TRM_STALL;
  case 9:
    return TVA_RES_TRM_NUMERICAL_PROBLEM;
  case 10:
    return TVA_RES_ERR_FACTOR;
  case 15:
    return TVA_RES_TRM_OBJECTIVE_RANGE;
  case 20:
  case 21:
    return TVA_RES_ERR_BASIS;
  case 24:
    return TVA_RES_ERR_POSTSOLVE;
  case 25:
    return TVA_RES_ERR_NONCONVEX;
  case 26:
    return TVA_RES_ERR_BASIS_SINGULAR;
  case 27:
    return TVA_RES_TRM_MAX_NUM_SETBACKS;
  case 29:
    return TVA_RES_ERR_LU_MAX_NUM_TRIES;
  case 31:
    return TVA_RES_ERR_UNB_STEP_SIZE;
  case 33:
    return TVA_RES_TRM_INTERNAL_STOP;
  case 12:
  case 23:
  case 36:
    return TVA_RES_ERR_INTERNAL;
  default:
    return TVA_RES_ERR_UNKNOWN;
  }
}

} // namespace telva
