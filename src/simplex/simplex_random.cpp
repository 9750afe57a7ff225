// The one generator of the simplex optimizers: s -> (10278 s + 3) mod 32749 on 32-bit
// integers, value s / 32749 in [0, 1). Its state lives in the run's statistics, so that a run
// with the same inputs takes the same path.
#include "simplex/simplex.h"

namespace telva {

double simplex_random(SimplexStat* st) {
  st->rndstate = (int32)((10278 * (int64)st->rndstate + 3) % 32749);
  return st->rndstate / 32749.0;
}

} // namespace telva
