// The simplex engine's internal answer codes as response codes, for the driver.
#include "telva/optimize/simplex_task.h"

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
