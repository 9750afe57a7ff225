// The simplex chain's log and callback: the lines of a run in order with the iteration table
// at the chosen frequency, the level parameters that silence it, the callback codes in order
// with live information items, and a callback that stops the run.
#include <regex>
#include <sstream>
#include <string>

#include "task_lp_fixture.h"

namespace {

using lptask::int32;

struct SimplexTaskLog : lptask::TaskLp {
  std::string log;

  static void collect(void* handle, const char* text) {
    *static_cast<std::string*>(handle) += text;
  }
  void SetUp() override {
    TaskLp::SetUp();
    ASSERT_EQ(TVA_linkfunctotaskstream(task, TVA_STREAM_LOG, &log, collect), TVA_RES_OK);
    ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_OPTIMIZER, TVA_OPTIMIZER_PRIMAL_SIMPLEX), TVA_RES_OK);
    // Every run starts cold, so that repeated runs take the same path.
    ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_SIM_HOTSTART, TVA_SIM_HOTSTART_NONE), TVA_RES_OK);
  }
};

std::vector<std::string> lines_of(const std::string& s) {
  std::vector<std::string> out;
  std::istringstream in(s);
  for (std::string line; std::getline(in, line);)
    out.push_back(line);
  return out;
}

TEST_F(SimplexTaskLog, LinesOfARunInOrder) {
  random_lp(40, 70, 3);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_SIM_FREQ, 5), TVA_RES_OK);
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  int32 iters = 0;
  ASSERT_EQ(TVA_getintinf(task, TVA_IINF_SIM_PRIMAL_ITER, &iters), TVA_RES_OK);
  ASSERT_GE(iters, 10) << "the problem is meant to take a few table lines";

  std::vector<std::string> lines = lines_of(log);
  auto at = [&](const std::string& text) {
    return std::find(lines.begin(), lines.end(), text) - lines.begin();
  };
  const auto n = static_cast<long>(lines.size());
  long started = at("Simplex optimizer started."), primal = at("Primal simplex optimizer started.");
  long header =
      at("ITER      DEGITER(%)  PFEAS       DFEAS       POBJ                  DOBJ        "
         "          TIME      TOTTIME ");
  long pend = at("Primal simplex optimizer terminated.");
  ASSERT_LT(started, n);
  EXPECT_EQ(primal, started + 1);
  EXPECT_EQ(header, primal + 1);
  ASSERT_LT(pend, n);
  ASSERT_LT(pend + 1, n);
  EXPECT_TRUE(std::regex_match(
      lines[pend + 1], std::regex(R"(Simplex optimizer terminated\. Time: [0-9]+\.[0-9]{2}\. )")))
      << lines[pend + 1];
  EXPECT_EQ(lines[pend + 2], "");
  EXPECT_TRUE(lines[pend + 3].rfind("Optimizer terminated. Time: ", 0) == 0) << lines[pend + 3];

  // The table: primal lines at iteration 0, every 5 iterations and at the run's last one,
  // rising.
  const std::regex row(R"((\d+) +(\d+\.\d\d) +(\S+) +NA +(\S+) +NA +(\d+\.\d\d) +(\d+\.\d\d) *)");
  int32 last = -1, rows = 0;
  for (long k = header + 1; k < pend; ++k) {
    std::smatch mt;
    ASSERT_TRUE(std::regex_match(lines[k], mt, row)) << lines[k];
    int32 it = std::stoi(mt[1]);
    if (k + 1 < pend) {
      EXPECT_EQ(it % 5, 0);
    }
    EXPECT_GT(it, last);
    EXPECT_GE(std::stod(mt[2]), 0.0);
    EXPECT_LE(std::stod(mt[2]), 100.0);
    last = it;
    rows++;
  }
  EXPECT_EQ(last, iters);
  EXPECT_EQ(rows, iters / 5 + 1 + (iters % 5 != 0 ? 1 : 0));
  // The items of the run.
  int32 numcon = 0, deg = -1;
  double simtime = -1.0, obj = 0.0, pobj = 0.0;
  ASSERT_EQ(TVA_getintinf(task, TVA_IINF_SIM_NUMCON, &numcon), TVA_RES_OK);
  ASSERT_EQ(TVA_getintinf(task, TVA_IINF_SIM_PRIMAL_DEG_ITER, &deg), TVA_RES_OK);
  ASSERT_EQ(TVA_getdouinf(task, TVA_DINF_SIM_TIME, &simtime), TVA_RES_OK);
  ASSERT_EQ(TVA_getdouinf(task, TVA_DINF_SIM_OBJ, &obj), TVA_RES_OK);
  ASSERT_EQ(TVA_getprimalobj(task, TVA_SOL_BAS, &pobj), TVA_RES_OK);
  EXPECT_EQ(numcon, 40);
  EXPECT_GE(deg, 0);
  EXPECT_LE(deg, iters);
  EXPECT_GE(simtime, 0.0);
  EXPECT_NEAR(obj, pobj, 1e-9 * (1.0 + std::fabs(pobj)));
}

TEST_F(SimplexTaskLog, LevelsSilenceTheLines) {
  random_lp(20, 30, 4);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_SIM_FREQ, 1), TVA_RES_OK);
  // TVA_IPAR_LOG_SIM at 1: the halved lines go, the table stays.
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_SIM, 1), TVA_RES_OK);
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(log.find("Simplex optimizer started."), std::string::npos);
  EXPECT_EQ(log.find("Primal simplex optimizer"), std::string::npos);
  EXPECT_NE(log.find("ITER      DEGITER(%)"), std::string::npos);
  EXPECT_NE(log.find("\n1         "), std::string::npos);
  // TVA_IPAR_LOG at 0: nothing of the simplex.
  log.clear();
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_SIM, 4), TVA_RES_OK);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG, 0), TVA_RES_OK);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_CUT_SECOND_OPT, 0), TVA_RES_OK);
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  EXPECT_EQ(log, "");
}

struct Calls {
  std::vector<int32> codes;
  std::vector<int32> iters; // TVA_IINF_SIM_PRIMAL_ITER as each update saw it
  int32 stop_at_update = -1;
};

TVAint32t record(TVAtask_t, void* handle, TVAint32t code, const double*, const TVAint32t* iinf,
                 const TVAint64t*) {
  auto* c = static_cast<Calls*>(handle);
  c->codes.push_back(code);
  if (code != TVA_CALLBACK_UPDATE_PRIMAL_SIMPLEX) return 0;
  c->iters.push_back(iinf[TVA_IINF_SIM_PRIMAL_ITER]);
  return static_cast<int32>(c->iters.size()) == c->stop_at_update ? 1 : 0;
}

TEST_F(SimplexTaskLog, CallbackCodesInOrderAndAStop) {
  random_lp(40, 70, 3);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_SIM_FREQ, 4), TVA_RES_OK);
  Calls calls;
  ASSERT_EQ(TVA_putcallbackfunc(task, record, &calls), TVA_RES_OK);
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  // Optimizer, simplex, primal begin; updates; primal, simplex, optimizer end.
  ASSERT_GE(calls.codes.size(), 7u);
  EXPECT_EQ(calls.codes[0], TVA_CALLBACK_BEGIN_OPTIMIZER);
  EXPECT_EQ(calls.codes[1], TVA_CALLBACK_BEGIN_SIMPLEX);
  EXPECT_EQ(calls.codes[2], TVA_CALLBACK_BEGIN_PRIMAL_SIMPLEX);
  const size_t k = calls.codes.size();
  EXPECT_EQ(calls.codes[k - 3], TVA_CALLBACK_END_PRIMAL_SIMPLEX);
  EXPECT_EQ(calls.codes[k - 2], TVA_CALLBACK_END_SIMPLEX);
  EXPECT_EQ(calls.codes[k - 1], TVA_CALLBACK_END_OPTIMIZER);
  for (size_t t = 3; t < k - 3; ++t)
    EXPECT_EQ(calls.codes[t], TVA_CALLBACK_UPDATE_PRIMAL_SIMPLEX);
  // Updates at iteration 0, every 4 iterations and at the last one.
  int32 total = 0;
  ASSERT_EQ(TVA_getintinf(task, TVA_IINF_SIM_PRIMAL_ITER, &total), TVA_RES_OK);
  ASSERT_GE(calls.iters.size(), 3u);
  for (size_t t = 0; t + 1 < calls.iters.size(); ++t)
    EXPECT_EQ(calls.iters[t], 4 * static_cast<int32>(t));
  EXPECT_EQ(calls.iters.back(), total);
  double full = 0.0;
  ASSERT_EQ(TVA_getprimalobj(task, TVA_SOL_BAS, &full), TVA_RES_OK);

  // A nonzero answer at the third update (iteration 8) ends the run there.
  calls = Calls();
  calls.stop_at_update = 3;
  TVArescode trm = 0;
  ASSERT_EQ(TVA_optimizetrm(task, &trm), TVA_RES_OK);
  EXPECT_EQ(trm, TVA_RES_TRM_USER_CALLBACK);
  EXPECT_EQ(calls.iters.size(), 3u);
  int32 iters = 0;
  ASSERT_EQ(TVA_getintinf(task, TVA_IINF_SIM_PRIMAL_ITER, &iters), TVA_RES_OK);
  EXPECT_EQ(iters, 8);
  EXPECT_EQ(calls.codes.back(), TVA_CALLBACK_END_OPTIMIZER);
  int32 solsta = -1;
  ASSERT_EQ(TVA_getsolsta(task, TVA_SOL_BAS, &solsta), TVA_RES_OK);
  EXPECT_NE(solsta, TVA_SOL_STA_OPTIMAL);

  // A stop at the simplex's own begin runs no iteration.
  struct StopAtBegin {
    static TVAint32t cb(TVAtask_t, void*, TVAint32t code, const double*, const TVAint32t*,
                        const TVAint64t*) {
      return code == TVA_CALLBACK_BEGIN_SIMPLEX ? 1 : 0;
    }
  };
  ASSERT_EQ(TVA_putcallbackfunc(task, StopAtBegin::cb, nullptr), TVA_RES_OK);
  EXPECT_EQ(TVA_optimize(task), TVA_RES_TRM_USER_CALLBACK);
  ASSERT_EQ(TVA_getintinf(task, TVA_IINF_SIM_PRIMAL_ITER, &iters), TVA_RES_OK);
  EXPECT_EQ(iters, 0);
}

} // namespace
