// A handful of small netlib problems through the public interface with the primal simplex:
// the published optimum, a basic solution that satisfies the optimality conditions (no primal
// or dual violation, equal primal and dual objectives), a confirmed certificate for the
// infeasible ones, and a warm start after a cost change that lands where a cold start does.
// The whole sets run in the sweep tests.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

#include "telva.h"
#include "farkas_check.h"
#include "test_data.h"

namespace {

class NetlibSmall : public ::testing::Test {
protected:
  void SetUp() override { ASSERT_EQ(TVA_makeenv(&env_, nullptr), TVA_RES_OK); }
  void TearDown() override {
    for (TVAtask_t& t : tasks_)
      TVA_deletetask(&t);
    TVA_deleteenv(&env_);
  }
  // A task with the problem read and the primal simplex chosen; null (after a failure naming
  // the path) when the file cannot be read.
  TVAtask_t load(const std::string& rel) {
    std::string path = testdata::path(rel);
    EXPECT_TRUE(testdata::readable(path));
    if (access(path.c_str(), R_OK) != 0) return nullptr;
    TVAtask_t t = nullptr;
    EXPECT_EQ(TVA_maketask(env_, 0, 0, &t), TVA_RES_OK);
    tasks_.push_back(t);
    TVA_putintparam(t, TVA_IPAR_LOG, 0);
    TVA_putintparam(t, TVA_IPAR_READ_MPS_FORMAT, TVA_MPS_FORMAT_STRICT);
    TVA_putintparam(t, TVA_IPAR_OPTIMIZER, TVA_OPTIMIZER_PRIMAL_SIMPLEX);
    EXPECT_EQ(TVA_readdata(t, path.c_str()), TVA_RES_OK) << rel;
    return t;
  }
  static int32_t solve(TVAtask_t t) {
    TVArescode trm = -1;
    EXPECT_EQ(TVA_optimizetrm(t, &trm), TVA_RES_OK);
    EXPECT_EQ(trm, TVA_RES_OK);
    int32_t solsta = -1;
    EXPECT_EQ(TVA_getsolsta(t, TVA_SOL_BAS, &solsta), TVA_RES_OK);
    return solsta;
  }
  TVAenv_t env_ = nullptr;
  std::vector<TVAtask_t> tasks_;
};

struct Pinned {
  const char* name;
  double obj; // the netlib table's optimum, 11 digits
};

TEST_F(NetlibSmall, FeasibleProblemsReachTheirOptimumWithAKktPoint) {
  const Pinned cases[] = {{"afiro", -4.6475314286e+02},
                          {"sc50a", -6.4575077059e+01},
                          {"adlittle", 2.2549496316e+05},
                          {"blend", -3.0812149846e+01},
                          {"share2b", -4.1573224074e+02}};
  for (const Pinned& c : cases) {
    SCOPED_TRACE(c.name);
    TVAtask_t t = load(std::string("netlib/") + c.name + ".mps.gz");
    ASSERT_NE(t, nullptr);
    ASSERT_EQ(solve(t), TVA_SOL_STA_OPTIMAL);
    double pobj, pcon, pvar, dobj, dcon, dvar;
    ASSERT_EQ(TVA_getsolutioninfo(t, TVA_SOL_BAS, &pobj, &pcon, &pvar, nullptr, nullptr, nullptr,
                                  &dobj, &dcon, &dvar, nullptr, nullptr),
              TVA_RES_OK);
    const double scale = std::max(1.0, std::fabs(c.obj));
    EXPECT_NEAR(pobj, c.obj, 1e-9 * scale);
    EXPECT_NEAR(dobj, pobj, 1e-9 * scale); // strong duality of a basic optimum
    EXPECT_LT(pcon, 1e-8);
    EXPECT_LT(pvar, 1e-8);
    EXPECT_LT(dcon, 1e-8);
    EXPECT_LT(dvar, 1e-8);
  }
}

TEST_F(NetlibSmall, InfeasibleProblemsEndWithAConfirmedCertificate) {
  for (const char* name : {"itest2", "itest6", "klein1"}) {
    SCOPED_TRACE(name);
    TVAtask_t t = load(std::string("netlib/infeas/") + name + ".mps.gz");
    ASSERT_NE(t, nullptr);
    ASSERT_EQ(solve(t), TVA_SOL_STA_PRIM_INFEAS_CER);
    int32_t prosta = -1;
    TVA_getprosta(t, TVA_SOL_BAS, &prosta);
    EXPECT_EQ(prosta, TVA_PRO_STA_PRIM_INFEAS);
    double dcon, dvar, nrmy, nslc, nsuc, nslx, nsux;
    ASSERT_EQ(TVA_getsolutioninfo(t, TVA_SOL_BAS, nullptr, nullptr, nullptr, nullptr, nullptr,
                                  nullptr, nullptr, &dcon, &dvar, nullptr, nullptr),
              TVA_RES_OK);
    ASSERT_EQ(TVA_getdualsolutionnorms(t, TVA_SOL_BAS, &nrmy, &nslc, &nsuc, &nslx, &nsux, nullptr,
                                       nullptr),
              TVA_RES_OK);
    const double size = std::max({nrmy, nslc, nsuc, nslx, nsux});
    EXPECT_GT(size, 0.0);
    EXPECT_GT(farkas::bound_sum(t, TVA_SOL_BAS), 1e-9 * size); // positive for a Farkas ray
    EXPECT_LT(dcon, 1e-9 * std::max(1.0, size));
    EXPECT_LT(dvar, 1e-9 * std::max(1.0, size));
  }
}

TEST_F(NetlibSmall, WarmStartAfterACostChangeAgreesWithAColdStart) {
  TVAtask_t warm = load("netlib/share2b.mps.gz");
  TVAtask_t cold = load("netlib/share2b.mps.gz");
  ASSERT_TRUE(warm && cold);
  ASSERT_EQ(solve(warm), TVA_SOL_STA_OPTIMAL);
  // Make the most expensive basic variable dearer, so that the old basis stops being optimal.
  int32_t n = 0;
  TVA_getnumvar(warm, &n);
  std::vector<int32_t> skx(n);
  std::vector<double> xx(n), c(n);
  TVA_getskx(warm, TVA_SOL_BAS, skx.data());
  TVA_getxx(warm, TVA_SOL_BAS, xx.data());
  TVA_getc(warm, c.data());
  int32_t pick = -1;
  for (int32_t j = 0; j < n; ++j)
    if (skx[j] == TVA_SK_BAS &&
        (pick < 0 || std::fabs(c[j] * xx[j]) > std::fabs(c[pick] * xx[pick])))
      pick = j;
  ASSERT_GE(pick, 0);
  double newc = 1.5 * c[pick] + 1.0;
  TVA_putcj(warm, pick, newc);
  TVA_putcj(cold, pick, newc);
  TVA_putintparam(warm, TVA_IPAR_SIM_HOTSTART, TVA_SIM_HOTSTART_STATUS_KEYS);
  ASSERT_EQ(solve(cold), TVA_SOL_STA_OPTIMAL);
  ASSERT_EQ(solve(warm), TVA_SOL_STA_OPTIMAL);
  double ocold = 0, owarm = 0;
  TVA_getprimalobj(cold, TVA_SOL_BAS, &ocold);
  TVA_getprimalobj(warm, TVA_SOL_BAS, &owarm);
  EXPECT_NEAR(owarm, ocold, 1e-9 * std::max(1.0, std::fabs(ocold)));
}

} // namespace
