// The solver log: the lines of a run, the level test with its cut on later runs, halved
// areas, the problem heading and the call-level lines.
#include "optimize_fixture.h"
#include "telva/log/replog.h"

#include <regex>

using namespace opttest;
using telva::int32;

namespace {

using Log = OptimizeTask;

// Times vary from run to run; everything else must match to the byte.
std::string mask_times(const std::string& s) {
  static const std::regex time(R"(Time: [0-9]+\.[0-9]+)");
  return std::regex_replace(s, time, "Time: T");
}

TEST_F(Log, FirstRunPrintsHeadingAndEveryEventLine) {
  small_lp(false);
  script().steps = {{0, -1},  {31, -1}, {32, -1}, {33, -1}, {34, -1},
                    {36, -1}, {39, -1}, {3, -1},  {8, -1},  {30, -1}};
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(mask_times(log), "Problem\n"
                             "  Name                   : \n"
                             "  Objective sense        : minimize\n"
                             "  Type                   : LO (linear optimization problem)\n"
                             "  Constraints            : 1\n"
                             "  Cones                  : 0\n"
                             "  Scalar variables       : 2\n"
                             "  Matrix variables       : 0\n"
                             "  Integer variables      : 0\n"
                             "\n"
                             "Optimizer started.\n"
                             "Interior-point optimizer started.\n"
                             "Presolve start.\n"
                             "Eliminator started.\n"
                             "Eliminator terminated.\n"
                             "Linear dependency checker started.\n"
                             "Linear dependency checker terminated.\n"
                             "Presolve terminated. Time: T\n"
                             "Interior-point optimizer terminated. Time: T. \n\n"
                             "Basis identification started.\n"
                             "Basis identification terminated. Time: T\n"
                             "Optimizer terminated. Time: T\n");
}

TEST_F(Log, SecondRunCutsAreasAtLevelOne) {
  small_lp(false);
  script().steps = {{0, -1}, {31, -1}, {3, -1}};
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  log.clear();
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  // TVA_IPAR_LOG_OPTIMIZER and TVA_IPAR_LOG_PRESOLVE stand at 1, which is not above the cut.
  EXPECT_EQ(mask_times(log), "Interior-point optimizer started.\n"
                             "Interior-point optimizer terminated. Time: T. \n\n");
  log.clear();
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_CUT_SECOND_OPT, 0), TVA_RES_OK);
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_NE(log.find("Problem\n"), std::string::npos);
  EXPECT_NE(log.find("Presolve start.\n"), std::string::npos);
}

TEST_F(Log, LogZeroSilencesEverythingButTheCallbackStillRuns) {
  small_lp(false);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG, 0), TVA_RES_OK);
  ASSERT_EQ(TVA_putcallbackfunc(task, recording_callback, nullptr), TVA_RES_OK);
  script().steps = {{0, -1}, {8, -1}, {30, -1}, {3, -1}};
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(log, "");
  EXPECT_EQ(script().codes.size(), 6u);
}

TEST_F(Log, BasisIdentificationAreaCountsHalved) {
  small_lp(false);
  script().steps = {{8, -1}, {30, -1}};
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_BI, 1), TVA_RES_OK);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_OPTIMIZER, 0), TVA_RES_OK);
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(log, "");
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_BI, 2), TVA_RES_OK);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_CUT_SECOND_OPT, 0), TVA_RES_OK);
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(mask_times(log),
            "Basis identification started.\nBasis identification terminated. Time: T\n");
}

TEST_F(Log, LevelIsTheSmallerOfAreaAndLog) {
  task->optimize_count = 1;
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG, 1), TVA_RES_OK);
  EXPECT_TRUE(telva::log_area_on(task, TVA_IPAR_LOG_SIM, false));
  EXPECT_FALSE(telva::log_area_on(task, TVA_IPAR_LOG_SIM, true) &&
               task->iparam[TVA_IPAR_LOG_SIM] < 2);
  task->optimize_count = 2; // cut 1 from the second run on
  EXPECT_FALSE(telva::log_area_on(task, TVA_IPAR_LOG_SIM, false));
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG, 3), TVA_RES_OK);
  EXPECT_TRUE(telva::log_area_on(task, TVA_IPAR_LOG_SIM, false)); // min(4, 3) = 3 > 1
  EXPECT_TRUE(telva::log_area_on(task, TVA_IPAR_LOG_SIM, true));  // min(2, 3) = 2 > 1
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_SIM, 3), TVA_RES_OK);
  EXPECT_FALSE(telva::log_area_on(task, TVA_IPAR_LOG_SIM, true)); // min(1, 3) = 1
}

TEST_F(Log, HeadingPrintsOncePerRun) {
  small_lp(false);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_FEAS_REPAIR, 1), TVA_RES_OK);
  task->optimize_count = 1;
  task->header_printed = false;
  EXPECT_EQ(telva::event_call(task, TVA_CALLBACK_BEGIN_PRIMAL_REPAIR), TVA_RES_OK);
  EXPECT_EQ(telva::event_call(task, TVA_CALLBACK_BEGIN_OPTIMIZER), TVA_RES_OK);
  EXPECT_EQ(telva::event_call(task, TVA_CALLBACK_END_PRIMAL_REPAIR), TVA_RES_OK);
  size_t first = log.find("Problem\n");
  ASSERT_NE(first, std::string::npos);
  EXPECT_EQ(log.find("Problem\n", first + 1), std::string::npos);
  EXPECT_NE(log.find("\nPrimal feasibility repair started.\nOptimizer started.\n"
                     "Primal feasibility repair terminated.\n"),
            std::string::npos)
      << log;
}

TEST_F(Log, HeadingShowsNameSenseAndType) {
  small_lp(true);
  ASSERT_EQ(TVA_putobjsense(task, TVA_OBJECTIVE_SENSE_MAXIMIZE), TVA_RES_OK);
  char* own = task->taskname;
  task->taskname = TVA_strduptask(task, "lp1");
  task->optimize_count = 1;
  telva::log_problem_heading(task);
  EXPECT_NE(log.find("  Name                   : lp1\n"), std::string::npos) << log;
  EXPECT_NE(log.find("  Objective sense        : maximize\n"), std::string::npos);
  EXPECT_NE(log.find("  Type                   : QO (quadratic optimization problem)\n"),
            std::string::npos);
  TVA_freetask(task, task->taskname);
  task->taskname = own;
}

TEST_F(Log, CallLevelLinesAndTheirSwitches) {
  int32 codes[] = {TVA_CALLBACK_BEGIN_PRIMAL_SENSITIVITY,
                   TVA_CALLBACK_BEGIN_DUAL_SENSITIVITY,
                   TVA_CALLBACK_BEGIN_INFEAS_ANA,
                   TVA_CALLBACK_END_INFEAS_ANA,
                   TVA_CALLBACK_BEGIN_READ,
                   TVA_CALLBACK_BEGIN_QCQO_REFORMULATE,
                   TVA_CALLBACK_BEGIN_FULL_CONVEXITY_CHECK};
  // The convexity check's area is off by default.
  EXPECT_EQ(telva::event_call(task, TVA_CALLBACK_END_FULL_CONVEXITY_CHECK), TVA_RES_OK);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_CHECK_CONVEXITY, 1), TVA_RES_OK);
  for (int32 c : codes)
    EXPECT_EQ(telva::event_call(task, c), TVA_RES_OK);
  EXPECT_EQ(log, "Primal sensitivity analysis is started.\n"
                 "Dual sensitivity analysis is started.\n"
                 "Infeasibility analyzer is started.\n"
                 "Infeasibility analyzer ended.\n"
                 "Reading started.\n"
                 "Quadratic to conic reformulation started.\n"
                 "Convexity check started.\n");
  log.clear();
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_SENSITIVITY, 0), TVA_RES_OK);
  EXPECT_EQ(telva::event_call(task, TVA_CALLBACK_END_PRIMAL_SENSITIVITY), TVA_RES_OK);
  EXPECT_EQ(log, "");
  ASSERT_EQ(TVA_putcallbackfunc(task, recording_callback, nullptr), TVA_RES_OK);
  script().stop_at_call = 0;
  EXPECT_EQ(telva::event_call(task, TVA_CALLBACK_BEGIN_READ), TVA_RES_TRM_USER_CALLBACK);
}

TEST_F(Log, BasisIdentificationProgressLines) {
  task->optimize_count = 1;
  telva::EventDetail d;
  d.iter = 12;
  d.infeas = 1.5e-3;
  d.obj = -2.25;
  d.time = 0.5;
  task->dinf[TVA_DINF_BI_PRIMAL_TIME] = 0.75;
  telva::event_report(task, 10, nullptr);
  telva::event_report(task, 13, nullptr, &d);
  EXPECT_EQ(log, "Primal basis identification phase started.\n"
                 "ITER      INFEAS      OBJ                   TIME\n"
                 "12        1.50e-03    -2.2500000000e+00     0.50\n"
                 "Primal basis identification phase terminated. Time: 0.75\n");
  // Counts above 10000 keep the column's width in exponent form.
  log.clear();
  d.iter = 123456;
  telva::event_report(task, 12, nullptr, &d);
  EXPECT_EQ(log, "1.23e+05  1.50e-03    -2.2500000000e+00     0.50\n");
}

TEST_F(Log, SettingsBlockLayout) {
  task->optimize_count = 1;
  telva::SettingsBlock sb;
  sb.threads = 2;
  sb.numcon = 3;
  sb.numvar = 4;
  sb.numconicvar = 1;
  sb.factor = true;
  sb.nz_before = 17;
  sb.nz_after = 21;
  sb.dense_dim = 0;
  sb.flops = 1.5e3;
  sb.ml_order_time = "0.00";
  sb.gp_order_time = "-";
  telva::log_settings_block(task, sb);
  EXPECT_EQ(log,
            "Optimizer  - solved problem         : the primal\n"
            "Optimizer  - threads                : 2       \n"
            "Optimizer  - Constraints            : 3       \n"
            "Optimizer  - Cones                  : 0       \n"
            "Optimizer  - Scalar variables       : 4         conic                  : 1       \n"
            "Optimizer  - Semi-definite variables: 0         scalarized             : 0       \n"
            "Factor     - setup time             : 0.00      dense det. time        : 0.00    \n"
            "Factor     - ML order time          : 0.00      GP order time          : -       \n"
            "Factor     - nonzeros before factor : 17        after factor           : 2.10e+01\n"
            "Factor     - dense dim.             : 0         flops                  : 1.50e+03\n");
}

} // namespace

namespace {

TEST_F(Log, FeasibilityRepairLines) {
  telva::replog_move(task, telva::RepairMove::kConLowerDown, 1.0, "c1", 3, 0.5);
  telva::replog_move(task, telva::RepairMove::kVarFixed, -2.0, "x", 0, 1.25);
  telva::replog_penalty_objective(task, 4.0);
  // The library's printer drops trailing zeros unless a format keeps them.
  EXPECT_EQ(log, "Decreasing the lower bound 1e+00 on constraint 'c1' (3) with 5e-01.\n"
                 "Changing the bound -2e+00 on the fixed variable 'x' (0) with 1.25e+00.\n"
                 "Optimal objective value of the penalty problem: 4e+00\n");
  log.clear();
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_FEAS_REPAIR, 0), TVA_RES_OK);
  telva::replog_penalty_objective(task, 4.0);
  EXPECT_EQ(log, "");
}

} // namespace

namespace {

TEST_F(Log, SimplexProgressLinesAsReported) {
  task->optimize_count = 1;
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_SIM_FREQ, 10), TVA_RES_OK);
  telva::EventDetail d;
  d.phase = 1;
  d.iter = 10;
  d.degiter_pct = 12.5;
  d.pfeas = 3.0e-2;
  d.pobj = 1.5;
  d.time = 0.25;
  d.tottime = 0.5;
  telva::event_report(task, 47, nullptr, &d);
  d.phase = 2;
  d.iter = 17; // the engine's last line of a run falls off the frequency
  d.dfeas = 4.0e-3;
  d.dobj = -2.0;
  telva::event_report(task, 59, nullptr, &d);
  EXPECT_EQ(log, "10        12.50       3.00e-02    NA          1.5000000000e+00      NA      "
                 "              0.25      0.50    \n"
                 "17        12.50       NA          4.00e-03    NA                    "
                 "-2.0000000000e+00     0.25      0.50    \n");
  // A frequency of 0 turns the table off.
  log.clear();
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_SIM_FREQ, 0), TVA_RES_OK);
  telva::event_report(task, 59, nullptr, &d);
  EXPECT_EQ(log, "");
}

} // namespace
