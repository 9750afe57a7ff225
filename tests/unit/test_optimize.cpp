// The optimize driver: events reach the callback with their codes, a callback or the time
// limit stops a run with the right code, maximize is undone, the dispatch picks the chain,
// chain statuses map to codes, and the run's items are cleared and filled.
#include "optimize_fixture.h"

#include <cstring>

using namespace opttest;
using telva::int32;

namespace {

using Optimize = OptimizeTask;

std::string last_message(TVAtask_t task) {
  char buf[1024] = "";
  TVA_getlasterror(task, nullptr, sizeof buf, nullptr, buf);
  return buf;
}

TEST_F(Optimize, CallbackSeesEveryEventWithItsCode) {
  small_lp(false);
  ASSERT_EQ(TVA_putcallbackfunc(task, recording_callback, nullptr), TVA_RES_OK);
  script().steps = {{0, -1},  {1, -1},  {2, -1},  {42, -1}, {8, -1},
                    {12, -1}, {31, -1}, {39, -1}, {99, -1}, {3, -1}};
  TVArescode trm = -1;
  ASSERT_EQ(TVA_optimizetrm(task, &trm), TVA_RES_OK);
  EXPECT_EQ(trm, TVA_RES_OK);
  std::vector<int32> want = {TVA_CALLBACK_BEGIN_OPTIMIZER,
                             TVA_CALLBACK_BEGIN_INTPNT,
                             TVA_CALLBACK_INTPNT,
                             TVA_CALLBACK_IM_INTPNT,
                             100,
                             TVA_CALLBACK_BEGIN_BI,
                             TVA_CALLBACK_UPDATE_PRIMAL_BI,
                             TVA_CALLBACK_BEGIN_PRESOLVE,
                             TVA_CALLBACK_END_PRESOLVE,
                             TVA_CALLBACK_IM_BI,
                             TVA_CALLBACK_END_INTPNT,
                             TVA_CALLBACK_END_OPTIMIZER};
  EXPECT_EQ(script().codes, want);
  EXPECT_EQ(script().statuses, std::vector<int32>(10, 0));
  int32 resp = -1;
  ASSERT_EQ(TVA_getintinf(task, TVA_IINF_OPTIMIZE_RESPONSE, &resp), TVA_RES_OK);
  EXPECT_EQ(resp, TVA_RES_OK);
  // The threads of the interior path are known before the chain's first event.
  EXPECT_GE(script().info_threads, 1);
}

TEST(EventTable, NumbersWithoutANameMapTo100) {
  for (int32 e : {42, 43, 62, 63, 100, 250, -1})
    EXPECT_EQ(telva::event_callback_code(e), 100) << e;
  EXPECT_EQ(telva::event_callback_code(5), TVA_CALLBACK_CONIC);
  EXPECT_EQ(telva::event_callback_code(6), TVA_CALLBACK_CONIC);
  EXPECT_EQ(telva::event_callback_code(37), TVA_CALLBACK_UPDATE_PRESOLVE);
  EXPECT_EQ(telva::event_callback_code(55), TVA_CALLBACK_BEGIN_PRIMAL_DUAL_SIMPLEX);
  EXPECT_EQ(telva::event_callback_code(61), TVA_CALLBACK_END_DUAL_SIMPLEX);
  for (int32 e = 64; e <= 75; ++e)
    EXPECT_EQ(telva::event_callback_code(e), TVA_CALLBACK_IM_BI);
  for (int32 e = 76; e <= 87; ++e)
    EXPECT_EQ(telva::event_callback_code(e), TVA_CALLBACK_IM_ORDER);
  for (int32 e = 88; e <= 91; ++e)
    EXPECT_EQ(telva::event_callback_code(e), TVA_CALLBACK_IM_LU);
  for (int32 e = 92; e <= 95; ++e)
    EXPECT_EQ(telva::event_callback_code(e), TVA_CALLBACK_IM_SIMPLEX);
  EXPECT_EQ(telva::event_callback_code(97), TVA_CALLBACK_IM_ORDER);
  EXPECT_EQ(telva::event_callback_code(98), TVA_CALLBACK_IM_BI);
}

TEST_F(Optimize, NonZeroCallbackStopsTheRun) {
  small_lp(false);
  ASSERT_EQ(TVA_putcallbackfunc(task, recording_callback, nullptr), TVA_RES_OK);
  script().steps = {{0, -1}, {1, -1}, {1, -1}, {3, -1}};
  script().stop_at_call = 2; // the second event of the optimizer
  TVArescode trm = 0;
  ASSERT_EQ(TVA_optimizetrm(task, &trm), TVA_RES_OK);
  EXPECT_EQ(trm, TVA_RES_TRM_USER_CALLBACK);
  EXPECT_EQ(script().statuses, (std::vector<int32>{0, telva::kEventStopCallback}));
  EXPECT_EQ(script().codes.back(), TVA_CALLBACK_END_OPTIMIZER);
  EXPECT_EQ(task->stop_code, TVA_RES_TRM_USER_CALLBACK);

  // TVA_optimize hands the termination code back as it is; with a null trmcode only the item
  // keeps the reason.
  script().codes.clear();
  script().statuses.clear();
  EXPECT_EQ(TVA_optimize(task), TVA_RES_TRM_USER_CALLBACK);
  script().codes.clear();
  script().statuses.clear();
  EXPECT_EQ(TVA_optimizetrm(task, nullptr), TVA_RES_OK);
  int32 resp = 0;
  ASSERT_EQ(TVA_getintinf(task, TVA_IINF_OPTIMIZE_RESPONSE, &resp), TVA_RES_OK);
  EXPECT_EQ(resp, TVA_RES_TRM_USER_CALLBACK);
}

TEST_F(Optimize, StopAtBeginOptimizerRunsNoOptimizer) {
  small_lp(false);
  ASSERT_EQ(TVA_putcallbackfunc(task, recording_callback, nullptr), TVA_RES_OK);
  script().stop_at_call = 0;
  EXPECT_EQ(TVA_optimize(task), TVA_RES_TRM_USER_CALLBACK);
  EXPECT_EQ(script().runs, 0);
  EXPECT_EQ(script().codes,
            (std::vector<int32>{TVA_CALLBACK_BEGIN_OPTIMIZER, TVA_CALLBACK_END_OPTIMIZER}));
}

TEST_F(Optimize, TimeLimitStopsAtTheFirstEventPastIt) {
  small_lp(false);
  ASSERT_EQ(TVA_putdouparam(task, TVA_DPAR_OPTIMIZER_MAX_TIME, 1.0), TVA_RES_OK);
  script().steps = {{1, 0.5}, {1, 2.0}, {1, 3.0}};
  TVArescode trm = 0;
  ASSERT_EQ(TVA_optimizetrm(task, &trm), TVA_RES_OK);
  EXPECT_EQ(trm, TVA_RES_TRM_MAX_TIME);
  EXPECT_EQ(script().statuses, (std::vector<int32>{0, telva::kEventStopTime}));
  EXPECT_NE(log.find("Maximum amount of time 1.00 is reached.\n"), std::string::npos) << log;

  // Once struck, every later event stops without a new check, except the END family.
  ASSERT_EQ(task->stop_code, TVA_RES_TRM_MAX_TIME);
  ASSERT_EQ(TVA_putdouparam(task, TVA_DPAR_OPTIMIZER_MAX_TIME, -1.0), TVA_RES_OK);
  EXPECT_EQ(telva::event_report(task, 1, nullptr), telva::kEventStopTime);
  EXPECT_EQ(telva::event_report(task, 3, nullptr), telva::kEventGoOn);
  // A stop for another reason lets events go on.
  task->stop_code = TVA_RES_TRM_USER_CALLBACK;
  EXPECT_EQ(telva::event_report(task, 1, nullptr), telva::kEventGoOn);
}

TEST_F(Optimize, StampedEventsSetTheRunningTime) {
  small_lp(false);
  ASSERT_EQ(TVA_putcallbackfunc(task, recording_callback, nullptr), TVA_RES_OK);
  script().steps = {{1, 2.5}, {1, -1}, {1, 4.0}};
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  ASSERT_EQ(script().times.size(), 5u);
  EXPECT_DOUBLE_EQ(script().times[1], 2.5);
  EXPECT_DOUBLE_EQ(script().times[2], 2.5); // no stamp, not a clock event: unchanged
  EXPECT_DOUBLE_EQ(script().times[3], 4.0);
}

TEST_F(Optimize, EndEventsAreNotTimed) {
  small_lp(false);
  ASSERT_EQ(TVA_putdouparam(task, TVA_DPAR_OPTIMIZER_MAX_TIME, 1.0), TVA_RES_OK);
  // Events 3 (END_INTPNT), 30 (END_BI) and 41 (END_SIMPLEX) pass; event 0 (BEGIN) stops.
  script().steps = {{3, 5.0}, {30, 5.0}, {41, 5.0}, {0, 5.0}};
  TVArescode trm = 0;
  ASSERT_EQ(TVA_optimizetrm(task, &trm), TVA_RES_OK);
  EXPECT_EQ(trm, TVA_RES_TRM_MAX_TIME);
  EXPECT_EQ(script().statuses, (std::vector<int32>{0, 0, 0, telva::kEventStopTime}));
}

TEST_F(Optimize, CallbackComesBeforeTheTimeLimit) {
  small_lp(false);
  ASSERT_EQ(TVA_putcallbackfunc(task, recording_callback, nullptr), TVA_RES_OK);
  ASSERT_EQ(TVA_putdouparam(task, TVA_DPAR_OPTIMIZER_MAX_TIME, 1.0), TVA_RES_OK);
  script().steps = {{1, 5.0}};
  script().stop_at_call = 1;
  TVArescode trm = 0;
  ASSERT_EQ(TVA_optimizetrm(task, &trm), TVA_RES_OK);
  EXPECT_EQ(trm, TVA_RES_TRM_USER_CALLBACK);
  EXPECT_EQ(task->stop_code, TVA_RES_TRM_USER_CALLBACK);
  EXPECT_EQ(log.find("Maximum amount of time"), std::string::npos);
}

TEST_F(Optimize, ChainThatOnlyKnowsStoppedGetsTheRealReason) {
  small_lp(false);
  ASSERT_EQ(TVA_putdouparam(task, TVA_DPAR_OPTIMIZER_MAX_TIME, 1.0), TVA_RES_OK);
  // The chain answers "callback" (status 6) after the time limit struck: the driver reports
  // the time limit.
  script().steps = {{1, 2.0}};
  script().final_status = 6;
  script().steps.clear();
  task->stop_code = 0;
  auto chain = [](TvaTask* t, telva::ProblemView* v) -> int32 {
    telva::SysTimer late = t->call_start;
    late.value += late.ticks ? 2000 : 2000000000LL;
    telva::event_report(t, 1, &late);
    (void)v;
    return 6;
  };
  telva::optimize_chains().interior = chain;
  EXPECT_EQ(TVA_optimize(task), TVA_RES_TRM_MAX_TIME);
}

TEST_F(Optimize, MaximizeRestoresTheObjectiveAndFlipsTheDuals) {
  small_lp(true);
  // A nonlinear mark keeps the quadratic objective on the interior path.
  static int dummy;
  task->store.nlgetva = &dummy;
  telva::optimize_chains().check_convexity = [](TvaTask*) { return TVArescode(TVA_RES_OK); };
  ASSERT_EQ(TVA_putobjsense(task, TVA_OBJECTIVE_SENSE_MAXIMIZE), TVA_RES_OK);
  EXPECT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(script().runs, 1);
  EXPECT_EQ(script().seen_c, (std::vector<double>{-3.0, 2.0}));
  EXPECT_EQ(script().seen_q, (std::vector<double>{-0.5}));
  EXPECT_EQ(script().seen_cfix, -1.0);
  EXPECT_EQ(task->store.c[0], 3.0);
  EXPECT_EQ(task->store.c[1], -2.0);
  EXPECT_EQ(task->store.cfix, 1.0);
  double q = 0.0;
  ASSERT_EQ(TVA_getqobjij(task, 0, 0, &q), TVA_RES_OK);
  EXPECT_EQ(q, 0.5);
  const FakeSlot& itr = script().slots[TVA_SOL_ITR];
  for (double v : itr.y)
    EXPECT_EQ(v, -2.0);
  for (double v : itr.slx)
    EXPECT_EQ(v, -2.0);
  for (double v : itr.sux)
    EXPECT_EQ(v, -2.0);
  // Not linear: no basis identification, so the basic slot stays untouched.
  EXPECT_FALSE(script().slots[TVA_SOL_BAS].defined);
}

TEST_F(Optimize, MinimizeKeepsSignsAndFillsBothSlots) {
  small_lp(false);
  EXPECT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(script().seen_c, (std::vector<double>{3.0, -2.0}));
  EXPECT_EQ(script().seen_cfix, 1.0);
  for (int32 s : {TVA_SOL_ITR, TVA_SOL_BAS}) {
    const FakeSlot& slot = script().slots[s];
    ASSERT_TRUE(slot.defined) << s;
    EXPECT_EQ(slot.prosta, TVA_PRO_STA_PRIM_AND_DUAL_FEAS);
    EXPECT_EQ(slot.solsta, TVA_SOL_STA_OPTIMAL);
    for (double v : slot.suc)
      EXPECT_EQ(v, 2.0);
  }
}

TEST_F(Optimize, StatusesOutsideThePublicRangeBecomeUnknown) {
  small_lp(false);
  script().prosta = 9;
  script().solsta = 40;
  EXPECT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(script().slots[TVA_SOL_ITR].prosta, TVA_PRO_STA_UNKNOWN);
  EXPECT_EQ(script().slots[TVA_SOL_ITR].solsta, TVA_SOL_STA_UNKNOWN);
}

TEST_F(Optimize, EmptyProblemIsOptimalWithoutAnOptimizer) {
  EXPECT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(script().runs, 0);
  EXPECT_EQ(script().slots[TVA_SOL_ITR].solsta, TVA_SOL_STA_OPTIMAL);
  EXPECT_EQ(script().slots[TVA_SOL_ITR].prosta, TVA_PRO_STA_PRIM_AND_DUAL_FEAS);
  EXPECT_EQ(script().slots[TVA_SOL_BAS].solsta, TVA_SOL_STA_OPTIMAL);
  // And with the built-in chains and solution table as shipped.
  telva::optimize_chains_reset();
  telva::drvsol_override(nullptr);
  TVArescode trm = -1;
  EXPECT_EQ(TVA_optimizetrm(task, &trm), TVA_RES_OK);
  EXPECT_EQ(trm, TVA_RES_OK);
}

TEST_F(Optimize, ChainsNotBuiltYetSayWhichOptimizerIsMissing) {
  telva::optimize_chains_reset();
  small_lp(false);
  // The simplex chain is built: a linear problem solves to a basic solution.
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_OPTIMIZER, TVA_OPTIMIZER_PRIMAL_SIMPLEX), TVA_RES_OK);
  EXPECT_EQ(TVA_optimize(task), TVA_RES_OK);
  TVAint32t solsta = -1;
  ASSERT_EQ(TVA_getsolsta(task, TVA_SOL_BAS, &solsta), TVA_RES_OK);
  EXPECT_EQ(solsta, TVA_SOL_STA_OPTIMAL);

  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_OPTIMIZER, TVA_OPTIMIZER_INTPNT), TVA_RES_OK);
  EXPECT_EQ(TVA_optimize(task), TVA_RES_ERR_INTERNAL);
  EXPECT_NE(last_message(task).find("interior-point optimizer"), std::string::npos);

  int32 qi[] = {0}, qj[] = {0};
  double qv[] = {1.0};
  ASSERT_EQ(TVA_putqobj(task, 1, qi, qj, qv), TVA_RES_OK);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_OPTIMIZER, TVA_OPTIMIZER_FREE), TVA_RES_OK);
  EXPECT_EQ(TVA_optimize(task), TVA_RES_ERR_INTERNAL);
  EXPECT_NE(last_message(task).find("quadratic optimizer"), std::string::npos);

  int32 mem[] = {0, 1};
  ASSERT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 2, mem), TVA_RES_OK);
  EXPECT_EQ(TVA_optimize(task), TVA_RES_ERR_INTERNAL);
  EXPECT_NE(last_message(task).find("conic optimizer"), std::string::npos);
}

TEST_F(Optimize, SimplexRefusesANonLinearProblem) {
  small_lp(true);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_OPTIMIZER, TVA_OPTIMIZER_PRIMAL_SIMPLEX), TVA_RES_OK);
  EXPECT_EQ(TVA_optimize(task), TVA_RES_ERR_INV_OPTIMIZER);
  EXPECT_EQ(last_message(task), "An invalid optimizer (6) has been chosen for the problem.");
  EXPECT_EQ(script().runs, 0);
}

TEST_F(Optimize, IntegerDispatch) {
  telva::optimize_chains_reset();
  telva::optimize_chains().interior = scripted_interior;
  small_lp(false);
  ASSERT_EQ(telva::store_putvartype(task, 0, TVA_VAR_TYPE_INT), TVA_RES_OK);
  EXPECT_EQ(TVA_optimize(task), TVA_RES_ERR_INTERNAL);
  EXPECT_NE(last_message(task).find("mixed-integer optimizer"), std::string::npos);
  EXPECT_EQ(script().runs, 0);

  // Integer marks ignored: the relaxation goes the continuous road, no integer slot.
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_MIO_MODE, TVA_MIO_MODE_IGNORED), TVA_RES_OK);
  EXPECT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(script().runs, 1);
  EXPECT_FALSE(script().slots[TVA_SOL_ITG].defined);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_MIO_MODE, TVA_MIO_MODE_SATISFIED), TVA_RES_OK);

  int32 mem[] = {0, 1};
  ASSERT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 2, mem), TVA_RES_OK);
  int32 qi[] = {0}, qj[] = {0};
  double qv[] = {1.0};
  ASSERT_EQ(TVA_putqobj(task, 1, qi, qj, qv), TVA_RES_OK);
  EXPECT_EQ(TVA_optimize(task), TVA_RES_ERR_MIXED_CONIC_AND_NL);

  int32 dim[] = {2};
  ASSERT_EQ(TVA_appendbarvars(task, 1, dim), TVA_RES_OK);
  EXPECT_EQ(TVA_optimize(task), TVA_RES_ERR_GLOBAL_INV_CONIC_PROBLEM);
}

TEST_F(Optimize, MixedIntegerOptimizerWithoutIntegersTakesTheInteriorPath) {
  small_lp(false);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_OPTIMIZER, TVA_OPTIMIZER_MIXED_INT), TVA_RES_OK);
  EXPECT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(script().runs, 1);
}

TEST_F(Optimize, UndefinedObjectiveSenseSkipsTheDispatch) {
  small_lp(false);
  task->store.objsense = 5;
  EXPECT_EQ(TVA_optimize(task), TVA_RES_ERR_UNDEFINED_OBJECTIVE_SENSE);
  EXPECT_EQ(script().runs, 0);
  EXPECT_EQ(last_message(task),
            "The objective sense has not been specified before the optimization.");
  task->store.objsense = TVA_OBJECTIVE_SENSE_MINIMIZE;
}

TEST(InteriorStatus, MapsToResponseCodes) {
  struct {
    int32 status;
    TVArescode code;
  } cases[] = {{0, TVA_RES_OK},
               {1, TVA_RES_ERR_SPACE},
               {3, TVA_RES_ERR_UNKNOWN},
               {4, TVA_RES_TRM_MAX_ITERATIONS},
               {5, TVA_RES_TRM_MAX_TIME},
               {6, TVA_RES_TRM_USER_CALLBACK},
               {7, TVA_RES_TRM_USER_CALLBACK},
               {9, TVA_RES_TRM_NUMERICAL_PROBLEM},
               {15, TVA_RES_TRM_OBJECTIVE_RANGE},
               {21, TVA_RES_ERR_BASIS},
               {23, TVA_RES_ERR_INTERNAL},
               {25, TVA_RES_ERR_NONCONVEX},
               {27, TVA_RES_TRM_MAX_NUM_SETBACKS},
               {29, TVA_RES_ERR_LU_MAX_NUM_TRIES},
               {33, TVA_RES_TRM_INTERNAL_STOP},
               {36, TVA_RES_ERR_INTERNAL},
               {37, TVA_RES_ERR_UNKNOWN},
               {-1, TVA_RES_ERR_UNKNOWN}};
  for (const auto& c : cases)
    EXPECT_EQ(telva::interior_status_to_code(c.status), c.code) << c.status;
}

TEST_F(Optimize, ChainStatusBecomesTheRunsCode) {
  small_lp(false);
  script().final_status = 4;
  TVArescode trm = 0;
  ASSERT_EQ(TVA_optimizetrm(task, &trm), TVA_RES_OK);
  EXPECT_EQ(trm, TVA_RES_TRM_MAX_ITERATIONS);
  script().final_status = 25; // reported by the driver itself
  EXPECT_EQ(TVA_optimizetrm(task, &trm), TVA_RES_ERR_NONCONVEX);
  EXPECT_EQ(trm, TVA_RES_OK);
  TVArescode last = 0;
  TVA_getlasterror(task, &last, 0, nullptr, nullptr);
  EXPECT_EQ(last, TVA_RES_ERR_NONCONVEX);
}

TEST_F(Optimize, RunItemsAreClearedAndFilled) {
  small_lp(false);
  task->iinf[TVA_IINF_INTPNT_ITER] = 99;
  task->dinf[TVA_DINF_SIM_TIME] = 5.0;
  task->liinf[TVA_LIINF_BI_PRIMAL_ITER] = 7;
  task->iinf[TVA_IINF_RD_NUMCON] = 3; // not a run item
  EXPECT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(task->iinf[TVA_IINF_INTPNT_ITER], 0);
  EXPECT_EQ(task->dinf[TVA_DINF_SIM_TIME], 0.0);
  EXPECT_EQ(task->liinf[TVA_LIINF_BI_PRIMAL_ITER], 0);
  EXPECT_EQ(task->iinf[TVA_IINF_RD_NUMCON], 3);
  EXPECT_EQ(task->iinf[TVA_IINF_OPT_NUMCON], 1);
  EXPECT_EQ(task->iinf[TVA_IINF_OPT_NUMVAR], 2);
  EXPECT_GE(task->dinf[TVA_DINF_OPTIMIZER_TIME], 0.0);
  EXPECT_EQ(task->optimize_count, 1);
}

TEST_F(Optimize, SolutionInfoIsUpdatedOnlyWhenAskedAndWithoutError) {
  small_lp(false);
  EXPECT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(script().slots[TVA_SOL_ITR].updates, 0);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_AUTO_UPDATE_SOL_INFO, TVA_ON), TVA_RES_OK);
  EXPECT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(script().slots[TVA_SOL_ITR].updates, 1);
  EXPECT_EQ(script().slots[TVA_SOL_BAS].updates, 1);
  script().final_status = 10; // an error: no update
  EXPECT_EQ(TVA_optimize(task), TVA_RES_ERR_FACTOR);
  EXPECT_EQ(script().slots[TVA_SOL_ITR].updates, 1);
  script().final_status = 4; // a termination: update
  EXPECT_EQ(TVA_optimize(task), TVA_RES_TRM_MAX_ITERATIONS);
  EXPECT_EQ(script().slots[TVA_SOL_ITR].updates, 2);
}

TEST_F(Optimize, IntegerSlotLosesItsConeKeys) {
  small_lp(false);
  int32 mem[] = {0};
  ASSERT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 1, mem), TVA_RES_OK);
  size_slot(script().slots[TVA_SOL_ITG], 1, 2, 1);
  script().slots[TVA_SOL_ITG].skn[0] = TVA_SK_BAS;
  telva::optimize_chains().conic = [](TvaTask*) { return TVArescode(TVA_RES_OK); };
  EXPECT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(script().slots[TVA_SOL_ITG].skn[0], 0);
}

TEST_F(Optimize, SortsAOnRequest) {
  small_lp(false);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_AUTO_SORT_A_BEFORE_OPT, TVA_ON), TVA_RES_OK);
  EXPECT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(script().runs, 1);
}

TEST_F(Optimize, CallbackFunctionRoundTrip) {
  int marker = 0;
  ASSERT_EQ(TVA_putcallbackfunc(task, recording_callback, &marker), TVA_RES_OK);
  TVAcallbackfunc f = nullptr;
  void* h = nullptr;
  ASSERT_EQ(TVA_getcallbackfunc(task, &f, &h), TVA_RES_OK);
  EXPECT_EQ(f, recording_callback);
  EXPECT_EQ(h, &marker);
  ASSERT_EQ(TVA_putcallbackfunc(task, nullptr, &marker), TVA_RES_OK);
  ASSERT_EQ(TVA_getcallbackfunc(task, &f, &h), TVA_RES_OK);
  EXPECT_EQ(f, nullptr);
  EXPECT_EQ(h, nullptr);
  EXPECT_EQ(TVA_putcallbackfunc(nullptr, nullptr, nullptr), TVA_RES_ERR_NULL_TASK);
  EXPECT_EQ(TVA_optimize(nullptr), TVA_RES_ERR_NULL_TASK);
  TVArescode trm = 5;
  EXPECT_EQ(TVA_optimizetrm(nullptr, &trm), TVA_RES_ERR_NULL_TASK);
  EXPECT_EQ(trm, 0);
}

} // namespace

namespace {

TEST_F(OptimizeTask, InfeasibilityReportRunsButNeverHidesTheFirstCode) {
  small_lp(false);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_INFEAS_REPORT_AUTO, TVA_ON), TVA_RES_OK);
  static int reports;
  reports = 0;
  telva::optimize_chains().infeas_report = [](TvaTask*, int32 stream) {
    ++reports;
    return TVArescode(stream == TVA_STREAM_LOG ? TVA_RES_ERR_UNKNOWN : TVA_RES_ERR_INTERNAL);
  };
  script().final_status = 4;
  EXPECT_EQ(TVA_optimize(task), TVA_RES_TRM_MAX_ITERATIONS);
  script().final_status = 0;
  EXPECT_EQ(TVA_optimize(task), TVA_RES_ERR_UNKNOWN);
  EXPECT_EQ(reports, 2);
}

} // namespace

namespace {

// The same driver on the task's own solution slots.
class OptimizeSlots : public OptimizeTask {
protected:
  void SetUp() override {
    OptimizeTask::SetUp();
    telva::drvsol_override(nullptr);
  }
};

TEST_F(OptimizeSlots, EmptyProblemLeavesAnOptimalEmptySolution) {
  telva::optimize_chains_reset();
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  for (int32 whichsol : {TVA_SOL_ITR, TVA_SOL_BAS}) {
    int32 isdef = 0, prosta = -1, solsta = -1;
    ASSERT_EQ(TVA_solutiondef(task, whichsol, &isdef), TVA_RES_OK);
    EXPECT_EQ(isdef, 1) << whichsol;
    ASSERT_EQ(TVA_getprosta(task, whichsol, &prosta), TVA_RES_OK);
    ASSERT_EQ(TVA_getsolsta(task, whichsol, &solsta), TVA_RES_OK);
    EXPECT_EQ(prosta, TVA_PRO_STA_PRIM_AND_DUAL_FEAS);
    EXPECT_EQ(solsta, TVA_SOL_STA_OPTIMAL);
  }
  int32 isdef = 1;
  ASSERT_EQ(TVA_solutiondef(task, TVA_SOL_ITG, &isdef), TVA_RES_OK);
  EXPECT_EQ(isdef, 0);
}

TEST_F(OptimizeSlots, MaximizeFlipsTheStoredDuals) {
  small_lp(false);
  ASSERT_EQ(TVA_putobjsense(task, TVA_OBJECTIVE_SENSE_MAXIMIZE), TVA_RES_OK);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_AUTO_UPDATE_SOL_INFO, TVA_ON), TVA_RES_OK);
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  for (int32 whichsol : {TVA_SOL_ITR, TVA_SOL_BAS}) {
    double y[1] = {0}, slx[2] = {0, 0}, xx[2] = {1, 1};
    int32 solsta = -1;
    ASSERT_EQ(TVA_getsolution(task, whichsol, nullptr, &solsta, nullptr, nullptr, nullptr, nullptr,
                              xx, y, nullptr, nullptr, slx, nullptr, nullptr),
              TVA_RES_OK);
    EXPECT_EQ(solsta, TVA_SOL_STA_OPTIMAL);
    EXPECT_EQ(y[0], -2.0);
    EXPECT_EQ(slx[0], -2.0);
    EXPECT_EQ(slx[1], -2.0);
    EXPECT_EQ(xx[0], 0.0);
  }
  int32 solsta_item = -1;
  ASSERT_EQ(TVA_getintinf(task, TVA_IINF_SOL_ITR_SOLSTA, &solsta_item), TVA_RES_OK);
  EXPECT_EQ(solsta_item, TVA_SOL_STA_OPTIMAL);
  log.clear();
  ASSERT_EQ(TVA_onesolutionsummary(task, TVA_STREAM_MSG, TVA_SOL_ITR), TVA_RES_OK);
  EXPECT_EQ(log.rfind("Interior-point solution summary\n"
                      "  Problem status  : PRIMAL_AND_DUAL_FEASIBLE\n"
                      "  Solution status : OPTIMAL\n"
                      "  Primal.  obj: ",
                      0),
            0u)
      << log;
}

} // namespace
