// The interior chain's return statuses as response codes, at the border of the driver.
#include "telva/optimize/optimize.h"

namespace telva {

namespace {

constexpr TVArescode kInteriorStatusCode[] = {
    TVA_RES_OK,                        // 0
    TVA_RES_ERR_SPACE,                 // 1
    TVA_RES_ERR_UNKNOWN,               // 2
    TVA_RES_ERR_UNKNOWN,               // 3
    TVA_RES_TRM_MAX_ITERATIONS,        // 4
    TVA_RES_TRM_MAX_TIME,              // 5
    TVA_RES_TRM_USER_CALLBACK,         // 6
    TVA_RES_TRM_USER_CALLBACK,         // 7
    TVA_RES_TRM_STALL,                 // 8
    TVA_RES_TRM_NUMERICAL_PROBLEM,     // 9
    TVA_RES_ERR_FACTOR,                // 10
    TVA_RES_ERR_USER_NLO_FUNC,         // 11
    TVA_RES_ERR_INTERNAL,              // 12
    TVA_RES_ERR_UNKNOWN,               // 13
    TVA_RES_ERR_UNKNOWN,               // 14
    TVA_RES_TRM_OBJECTIVE_RANGE,       // 15
    TVA_RES_ERR_USER_NLO_EVAL_HESSUBI, // 16
    TVA_RES_ERR_USER_NLO_EVAL_HESSUBJ, // 17
    TVA_RES_ERR_INV_PROBLEM,           // 18
    TVA_RES_ERR_UNKNOWN,               // 19
    TVA_RES_ERR_BASIS,                 // 20
    TVA_RES_ERR_BASIS,                 // 21
    TVA_RES_ERR_UNKNOWN,               // 22
    TVA_RES_ERR_INTERNAL,              // 23
    TVA_RES_ERR_POSTSOLVE,             // 24
    TVA_RES_ERR_NONCONVEX,             // 25
    TVA_RES_ERR_BASIS_SINGULAR,        // 26
    TVA_RES_TRM_MAX_NUM_SETBACKS,      // 27
    TVA_RES_ERR_UNKNOWN,               // 28
    TVA_RES_ERR_LU_MAX_NUM_TRIES,      // 29
    TVA_RES_ERR_UNKNOWN,               // 30
    TVA_RES_ERR_UNB_STEP_SIZE,         // 31
    TVA_RES_ERR_UNKNOWN,               // 32
    TVA_RES_TRM_INTERNAL_STOP,         // 33
    TVA_RES_ERR_UNKNOWN,               // 34
    TVA_RES_ERR_UNKNOWN,               // 35
    TVA_RES_ERR_INTERNAL,              // 36
};

constexpr int32 kNumStatuses = sizeof(kInteriorStatusCode) / sizeof(kInteriorStatusCode[0]);
static_assert(kNumStatuses == 37, "one code per status 0 to 36");

} // namespace

TVArescode interior_status_to_code(int32 status) {
  if (status < 0 || status >= kNumStatuses) return TVA_RES_ERR_UNKNOWN;
  return kInteriorStatusCode[status];
}

} // namespace telva
