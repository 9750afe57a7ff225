// A task with a captured message stream, solution slots of the test's own behind the driver's
// solution table, and a scripted optimizer in place of the interior chain: it reports the
// events of its script in order, with a stamp a given number of seconds after the start of
// the call, and stops at the first non-zero status, which it returns as its own.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "telva.h"
#include "telva/solution/drvsol.h"
#include "telva/log/events.h"
#include "telva/optimize/optimize.h"
#include "telva/store/store.h"
#include "telva/task/task.h"

namespace opttest {

using telva::int32;

struct Step {
  int32 event;
  double seconds; // stamp this long after the call's start; negative: no stamp
};

struct FakeSlot {
  bool defined = false;
  int32 prosta = 0, solsta = 0;
  std::vector<double> xc, xx, y, slc, suc, slx, sux, snx;
  std::vector<int32> skn;
  int32 updates = 0;
};

// The state the fakes share with a test; one test at a time.
struct Script {
  std::vector<Step> steps;
  std::vector<int32> statuses; // what each event returned
  int32 final_status = 0;      // returned when the script runs out
  int32 prosta = TVA_PRO_STA_PRIM_AND_DUAL_FEAS, solsta = TVA_SOL_STA_OPTIMAL;
  std::vector<double> seen_c, seen_q; // the objective as the optimizer saw it
  double seen_cfix = 0.0;
  int32 runs = 0;
  double dual_value = 2.0; // written to every dual array of the slot
  FakeSlot slots[3];

  std::vector<int32> codes;  // callback codes in order of arrival
  int32 stop_at_call = -1;   // the callback answers 1 on this call (0-based), else 0
  int32 info_threads = -1;   // TVA_IINF_INTPNT_NUM_THREADS as the callback saw it
  std::vector<double> times; // TVA_DINF_OPTIMIZER_TIME at each callback
};

inline Script& script() {
  static Script s;
  return s;
}

inline void size_slot(FakeSlot& s, int32 m, int32 n, int32 k) {
  s.defined = true;
  s.xc.assign(m, 0.0);
  s.y.assign(m, 0.0);
  s.slc.assign(m, 0.0);
  s.suc.assign(m, 0.0);
  s.xx.assign(n, 0.0);
  s.slx.assign(n, 0.0);
  s.sux.assign(n, 0.0);
  s.snx.assign(n, 0.0);
  s.skn.assign(k, 0);
}

inline TVArescode fake_ready(TvaTask* task, int32 whichsol) {
  size_slot(script().slots[whichsol], task->numcon, task->numvar, task->numcone);
  return TVA_RES_OK;
}
inline bool fake_defined(const TvaTask*, int32 whichsol) {
  return script().slots[whichsol].defined;
}
inline bool fake_arrays(TvaTask* task, int32 whichsol, telva::SlotArrays* out) {
  FakeSlot& s = script().slots[whichsol];
  if (!s.defined) return false;
  out->numcon = task->numcon;
  out->numvar = task->numvar;
  out->numcone = task->numcone;
  out->xc = s.xc.data();
  out->xx = s.xx.data();
  out->y = s.y.data();
  out->slc = s.slc.data();
  out->suc = s.suc.data();
  out->slx = s.slx.data();
  out->sux = s.sux.data();
  out->snx = s.snx.data();
  out->skn = s.skn.data();
  return true;
}
inline void fake_put_status(TvaTask*, int32 whichsol, int32 prosta, int32 solsta) {
  script().slots[whichsol].prosta = prosta;
  script().slots[whichsol].solsta = solsta;
}
inline void fake_get_status(const TvaTask*, int32 whichsol, int32* prosta, int32* solsta) {
  *prosta = script().slots[whichsol].prosta;
  *solsta = script().slots[whichsol].solsta;
}
inline TVArescode fake_update(TvaTask*, int32 whichsol) {
  ++script().slots[whichsol].updates;
  return TVA_RES_OK;
}
inline TVArescode fake_quality(TvaTask*, int32 whichsol, telva::SlotQuality* q) {
  *q = telva::SlotQuality{};
  q->pobj = 1.5 + whichsol;
  q->dobj = 1.25;
  q->pnorm = 3.0;
  q->dnorm = 4.0;
  q->pviol_con = 1e-9;
  q->dviol_var = 2e-8;
  return TVA_RES_OK;
}

inline void fake_flip(TvaTask*, int32 whichsol) {
  FakeSlot& s = script().slots[whichsol];
  for (std::vector<double>* v : {&s.y, &s.slc, &s.suc, &s.slx, &s.sux, &s.snx})
    for (double& x : *v)
      x = -x;
}

inline const telva::DriverSolutionOps kFakeOps = {fake_ready,      fake_defined,    fake_arrays,
                                                  fake_put_status, fake_get_status, fake_update,
                                                  fake_quality,    fake_flip};

// The scripted optimizer, registered as the interior chain.
inline int32 scripted_interior(TvaTask* task, telva::ProblemView* view) {
  Script& s = script();
  ++s.runs;
  s.seen_c.assign(view->c, view->c + view->numvar);
  s.seen_q.assign(view->qval, view->qval + view->numqobj);
  s.seen_cfix = view->cfix;
  for (telva::ViewSolution& vs : view->sol) {
    if (!vs.wanted) continue;
    vs.prosta = s.prosta;
    vs.solsta = s.solsta;
    for (double* arr : {vs.y, vs.slc, vs.suc})
      if (arr)
        for (int32 i = 0; i < view->numcon; ++i)
          arr[i] = s.dual_value;
    for (double* arr : {vs.slx, vs.sux})
      if (arr)
        for (int32 j = 0; j < view->numvar; ++j)
          arr[j] = s.dual_value;
  }
  for (const Step& st : s.steps) {
    telva::SysTimer stamp = task->call_start;
    int32 r;
    if (st.seconds >= 0.0) {
      stamp.value += static_cast<telva::int64>(st.seconds * (stamp.ticks ? 1e3 : 1e9));
      r = telva::event_report(task, st.event, &stamp);
    } else {
      r = telva::event_report(task, st.event, nullptr);
    }
    s.statuses.push_back(r);
    if (r != 0) return r;
  }
  return s.final_status;
}

inline TVAint32t recording_callback(TVAtask_t task, void*, TVAint32t code, const double* dinf,
                                    const TVAint32t* iinf, const TVAint64t*) {
  Script& s = script();
  s.times.push_back(dinf[TVA_DINF_OPTIMIZER_TIME]);
  (void)task;
  s.info_threads = iinf[TVA_IINF_INTPNT_NUM_THREADS];
  int32 call = static_cast<int32>(s.codes.size());
  s.codes.push_back(code);
  return call == s.stop_at_call ? 1 : 0;
}

inline void capture(void* handle, const char* text) {
  static_cast<std::string*>(handle)->append(text);
}

class OptimizeTask : public ::testing::Test {
protected:
  void SetUp() override {
    script() = Script{};
    telva::drvsol_override(&kFakeOps);
    telva::optimize_chains().interior = scripted_interior;
    ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
    ASSERT_EQ(TVA_linkfunctotaskstream(task, TVA_STREAM_MSG, &log, capture), TVA_RES_OK);
  }
  void TearDown() override {
    EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
    EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
    telva::optimize_chains_reset();
    telva::drvsol_override(nullptr);
  }
  // min/max 1 + 3 x0 - 2 x1 + 0.5 x0^2 over x0 + x1 <= 4, x >= 0.
  void small_lp(bool with_q) {
    ASSERT_EQ(TVA_appendcons(task, 1), TVA_RES_OK);
    ASSERT_EQ(TVA_appendvars(task, 2), TVA_RES_OK);
    ASSERT_EQ(TVA_putaij(task, 0, 0, 1.0), TVA_RES_OK);
    ASSERT_EQ(TVA_putaij(task, 0, 1, 1.0), TVA_RES_OK);
    ASSERT_EQ(telva::store_putbound(task, TVA_ACC_CON, 0, TVA_BK_UP, 0.0, 4.0), TVA_RES_OK);
    ASSERT_EQ(telva::store_putbound(task, TVA_ACC_VAR, 0, TVA_BK_LO, 0.0, 0.0), TVA_RES_OK);
    ASSERT_EQ(telva::store_putbound(task, TVA_ACC_VAR, 1, TVA_BK_LO, 0.0, 0.0), TVA_RES_OK);
    ASSERT_EQ(telva::store_putcj(task, 0, 3.0), TVA_RES_OK);
    ASSERT_EQ(telva::store_putcj(task, 1, -2.0), TVA_RES_OK);
    telva::store_putcfix(task, 1.0);
    if (with_q) {
      int32 qi[] = {0}, qj[] = {0};
      double qv[] = {0.5};
      ASSERT_EQ(TVA_putqobj(task, 1, qi, qj, qv), TVA_RES_OK);
    }
  }
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  std::string log;
};

} // namespace opttest
