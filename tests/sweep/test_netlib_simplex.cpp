// Every netlib problem through the public interface with a simplex optimizer: a feasible one
// must end optimal with the reference objective to 1e-6 relative and a basic solution whose
// primal and dual violations are below 1e-6; an infeasible one must end with a certificate of
// primal infeasibility that the solution's own evaluation confirms (a positive bound sum and
// no dual residual). The optimizers form a list, one test per optimizer and problem.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "netlib_files.h"
#include "telva.h"
#include "../unit/farkas_check.h"

namespace {

struct Case {
  int32_t optimizer;
  std::string set; // "" for the feasible set, "infeas" for the infeasible one
  std::string name;
};

// The optimizers under test. The dual and free simplex join this list when they solve.
const int32_t kOptimizers[] = {TVA_OPTIMIZER_PRIMAL_SIMPLEX};

std::vector<Case> all_cases() {
  std::vector<Case> out;
  for (int32_t opt : kOptimizers)
    for (const char* set : {"", "infeas"}) {
      std::string dir = netlib::dir() + (*set ? std::string("/") + set : "");
      for (const std::string& n : netlib::names(dir))
        out.push_back({opt, set, n});
    }
  return out;
}

class NetlibSimplex : public ::testing::TestWithParam<Case> {
protected:
  void SetUp() override {
    ASSERT_EQ(TVA_makeenv(&env_, nullptr), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env_, 0, 0, &task_), TVA_RES_OK);
    TVA_putintparam(task_, TVA_IPAR_LOG, 0);
    TVA_putintparam(task_, TVA_IPAR_READ_MPS_FORMAT, TVA_MPS_FORMAT_STRICT);
  }
  void TearDown() override {
    TVA_deletetask(&task_);
    TVA_deleteenv(&env_);
  }
  TVAenv_t env_ = nullptr;
  TVAtask_t task_ = nullptr;
};

TEST_P(NetlibSimplex, SolvesToReference) {
  const Case& c = GetParam();
  std::string dir = netlib::dir() + (c.set.empty() ? "" : "/" + c.set);
  ASSERT_EQ(TVA_readdata(task_, (dir + "/" + c.name + ".mps.gz").c_str()), TVA_RES_OK);
  ASSERT_EQ(TVA_putintparam(task_, TVA_IPAR_OPTIMIZER, c.optimizer), TVA_RES_OK);
  // A limit inside the test timeout, so that a stalled solve fails with its own status. The
  // largest problems (qap15) take some 10 to 17 minutes on 2 cores.
  const char* limit = std::getenv("TELVA_SWEEP_TIME_LIMIT");
  TVA_putdouparam(task_, TVA_DPAR_OPTIMIZER_MAX_TIME, limit ? std::atof(limit) : 1500.0);
  TVArescode trm = TVA_RES_OK;
  ASSERT_EQ(TVA_optimizetrm(task_, &trm), TVA_RES_OK);
  EXPECT_EQ(trm, TVA_RES_OK);
  int32_t solsta = -1;
  ASSERT_EQ(TVA_getsolsta(task_, TVA_SOL_BAS, &solsta), TVA_RES_OK);
  double pobj, pcon, pvar, dobj, dcon, dvar;
  ASSERT_EQ(TVA_getsolutioninfo(task_, TVA_SOL_BAS, &pobj, &pcon, &pvar, nullptr, nullptr, nullptr,
                                &dobj, &dcon, &dvar, nullptr, nullptr),
            TVA_RES_OK);
  if (c.set == "infeas") {
    ASSERT_EQ(solsta, TVA_SOL_STA_PRIM_INFEAS_CER);
    // A Farkas certificate: its bound sum is positive and the dual residual A'y + s_l - s_u
    // vanishes, relative to the certificate's size.
    double nrmy = 0, nslc = 0, nsuc = 0, nslx = 0, nsux = 0;
    ASSERT_EQ(TVA_getdualsolutionnorms(task_, TVA_SOL_BAS, &nrmy, &nslc, &nsuc, &nslx, &nsux,
                                       nullptr, nullptr),
              TVA_RES_OK);
    double size = std::max({1.0, nrmy, nslc, nsuc, nslx, nsux});
    // cplex2 is infeasible by a hair: its certificates have a bound sum near 1e-9 of their
    // size, so only the sign is asked here.
    EXPECT_GT(farkas::bound_sum(task_, TVA_SOL_BAS), 0.0);
    EXPECT_LT(dcon, 1e-6 * size);
    EXPECT_LT(dvar, 1e-6 * size);
    return;
  }
  auto optima = netlib::optima(netlib::dir());
  auto ref = optima.find(c.name);
  ASSERT_NE(ref, optima.end()) << c.name << " has no reference optimum";
  ASSERT_EQ(solsta, TVA_SOL_STA_OPTIMAL);
  EXPECT_LE(std::fabs(pobj - ref->second), 1e-6 * std::max(1.0, std::fabs(ref->second)))
      << "objective " << pobj << " reference " << ref->second;
  EXPECT_LE(std::fabs(dobj - pobj), 1e-6 * std::max(1.0, std::fabs(pobj))); // strong duality
  EXPECT_LT(pcon, 1e-6);
  EXPECT_LT(pvar, 1e-6);
  EXPECT_LT(dcon, 1e-6);
  EXPECT_LT(dvar, 1e-6);
}

void PrintTo(const Case& c, std::ostream* os) {
  *os << c.optimizer << "/" << (c.set.empty() ? "" : c.set + "/") << c.name;
}

std::string case_name(const ::testing::TestParamInfo<Case>& info) {
  const Case& c = info.param;
  std::string opt = c.optimizer == TVA_OPTIMIZER_PRIMAL_SIMPLEX ? "primal"
                    : c.optimizer == TVA_OPTIMIZER_DUAL_SIMPLEX ? "dual"
                                                                : "free";
  std::string s = opt + "_" + (c.set.empty() ? "" : c.set + "_") + c.name;
  for (char& ch : s)
    if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
  return s;
}

INSTANTIATE_TEST_SUITE_P(Netlib, NetlibSimplex, ::testing::ValuesIn(all_cases()), case_name);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NetlibSimplex);

} // namespace
