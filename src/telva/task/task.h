// The task: one optimization problem with everything around it. Its memory is counted through
// its own sysenv; parameters, streams, callbacks and the last response live here.
#pragma once

#include <cstddef>

#include "cpub/bufenv.h"
#include "cpub/sysenv.h"
#include "telva/catalog/catalogue.h"
#include "telva/task/env.h"
#include "telva/solution/solution.h"
#include "telva/store/store.h"
#include "telva/log/streamblock.h"

namespace telva {
struct SimplexBasis;
struct TvaThreadPool;
struct telvabuf;
struct utf8bld;
} // namespace telva

typedef int32_t (*TVAresponsefuncint)(void* handle, TVArescode code, const char* msg);

struct TvaTask {
  TvaEnv* env = nullptr;        // zeroed at deletion: what makes a stale handle detectable
  telva::sysenv* sys = nullptr; // all memory of the task goes through this
  // The task's thread pool, made on demand by the thread decision.
  telva::TvaThreadPool* pool = nullptr;
  telva::bufenv* bufenv = nullptr;       // per-worker scratch, blocks (16, 0)
  telva::bufenv* bufenv_clear = nullptr; // per-worker scratch, zeroed blocks (16, 1)
  telva::telvabuf* buflists = nullptr;   // scratch lists of temporary arrays
  telva::dtoaenv* dtoa = nullptr;        // the task's double-to-text context
  telva::int32 taskid = 0;
  char* taskname = nullptr;

  // Problem dimensions (the problem store extends these).
  telva::int32 numcon = 0, numvar = 0, numcone = 0, numbarvar = 0;
  telva::int32 maxnumcon = 0, maxnumvar = 0, maxnumcone = 0, maxnumbarvar = 0;
  telva::int64 maxnumanz = 0, maxnumqnz = 0;
  telva::ProblemStore store; // everything else of the problem
  telva::SolutionStore sols; // the three solution slots
  // The basis record of the exported basis functions, made on first use.
  telva::SimplexBasis* basis = nullptr;

  telva::int32 iparam[telva::kNumIpar] = {0};
  double dparam[telva::kNumDpar] = {0};
  char* sparam[telva::kNumSpar] = {nullptr};

  // Information items that the optimizers leave behind, and the private statistics beside
  // them (no names, no exported reader: the driver and the summaries use them).
  double dinf[telva::kNumDinf] = {0};
  telva::int32 iinf[telva::kNumIinf] = {0};
  telva::int64 liinf[telva::kNumLiinf] = {0};
  double pdinf[telva::kNumPrivDinf] = {0};
  telva::int32 piinf[telva::kNumPrivIinf] = {0};
  telva::int64 pliinf[telva::kNumPrivLiinf] = {0};

  telva::int32 warncount[1000] = {0};

  void* cb_handle = nullptr;
  void* cb_func = nullptr;

  // The optimize driver's run state: starts so far (the log cut applies from the second on),
  // the termination the event function decided on, whether this run printed its problem
  // heading, and the start stamps of the whole call and of the optimizer time.
  telva::int64 optimize_count = 0;
  telva::int32 stop_code = 0;
  bool header_printed = false;
  telva::SysTimer call_start;
  telva::SysTimer optimizer_start;
  void* resp_handle = nullptr;
  TVAresponsefuncint resp_func = nullptr;
  telva::utf8bld* msgbuilder = nullptr; // response messages are built here

  telva::StreamBlock streams;

  TVArescode lastcode = 0;
  telva::int32 lastmsg_cap = 0;
  telva::int32 lastmsg_len = 0;
  char* lastmsg = nullptr;
};

namespace telva {

// A task handle is valid when it is not null and its first word is not null: two compares.
inline TVArescode task_check(const TvaTask* task) {
  if (!task) return TVA_RES_ERR_NULL_TASK;
  if (!task->env) return TVA_RES_ERR_INVALID_TASK;
  return TVA_RES_OK;
}

inline TVArescode env_check(const TvaEnv* env) {
  return env ? TVA_RES_OK : TVA_RES_ERR_NULL_ENV;
}

} // namespace telva

static_assert(offsetof(TvaTask, env) == 0, "a task handle's first word must be its environment");
