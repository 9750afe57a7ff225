// Who decides how many threads run. The first decision in an environment stands: it is made
// from the request and the number of cores, stored in the environment's numthreads, and every
// later decision in that environment gives the same number.
#pragma once

#include "telva/task/task.h"

namespace telva {

// Settles the number of threads for a run, under the environment's lock 1.
//  - requested: the task's TVA_IPAR_NUM_THREADS (0 or less: one per core). A negative
//    numthreads in the environment is a fixed count asked for at environment level.
//  - for_bufenv: the threads will index per-worker scratch rows, so the count is kept within
//    the rows a bufenv has.
//  - for_pool: the task's pool is made (or remade, when its size differs) with that many
//    threads, and its spin count is taken from the task's sysenv. Needs a task.
//  - for_parallel: the parallel-for runtime gets the count as "nworkers"; a refusal there is
//    not a failure.
// The number is stored in *numthreads (if not null). Failures: TVA_RES_ERR_THREAD_MUTEX_LOCK,
// and from the pool TVA_RES_ERR_SPACE, TVA_RES_ERR_THREAD_MUTEX_INIT,
// TVA_RES_ERR_THREAD_COND_INIT, TVA_RES_ERR_THREAD_CREATE; reported on the task when one is given.
TVArescode threads_decide(TvaEnv* env, TvaTask* task, int32 requested, bool for_bufenv,
                          bool for_pool, bool for_parallel, int32* numthreads);

} // namespace telva
