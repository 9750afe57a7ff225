// TVA_REP checks its arguments against the code's template at compile time. Case 0 is a
// correct call and must compile; every other case must be refused by the compiler.
#include "telva/log/report.h"

TVArescode use(TvaTask* task) {
#if CASE == 0
  TVA_REP(task, WRN_LARGE_BOUND, 8, 2, 1, 1.0e31, "variable", "x", 3);
  TVA_REP(task, ERR_SPACE);
  return TVA_REP(task, ERR_INDEX_IS_TOO_LARGE, 7, "subj");
#elif CASE == 1
  return TVA_REP(task, ERR_INDEX_IS_TOO_LARGE, "subj", 7); // swapped arguments
#elif CASE == 2
  return TVA_REP(task, ERR_INDEX_IS_TOO_LARGE, 7); // too few
#elif CASE == 3
  return TVA_REP(task, ERR_SPACE, 1); // too many for a code without placeholders
#elif CASE == 4
  return TVA_REP(task, ERR_INVALID_STREAM, int64_t{4}); // 64 bits for a 32-bit %i
#elif CASE == 5
  return TVA_REP(task, WRN_LARGE_BOUND, 8, 2, 1, 1, "variable", "x", 3); // an int for %e
#elif CASE == 6
  return TVA_REP(task, ERR_NULL_TASK); // a handle code has no reporter
#elif CASE == 7
  return TVA_REP(task, ERR_PARAM_INDEX, "int", 300); // "%i ... %s": order matters
#elif CASE == 8
  return TVA_REP(task, TRM_MAX_TIME); // terminations are returned, not reported
#endif
}
