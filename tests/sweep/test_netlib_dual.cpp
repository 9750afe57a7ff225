// The dual simplex and the free simplex choice over every netlib problem, presolve off: each
// feasible problem must end optimal with the reference objective to 1e-6 relative and primal
// and dual violations below 1e-6; each problem of the infeasible set must end with a primal
// infeasibility certificate. A table per run shows status, objective, error, iterations, time.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "netlib_files.h"
#include "telva.h"

namespace {

struct Run {
  TVArescode read = TVA_RES_OK, opt = TVA_RES_OK;
  int32_t solsta = 0, iters = 0;
  double pobj = 0, pviol = 0, dviol = 0, secs = 0;
};

Run solve(TVAenv_t env, const std::string& path, int32_t optimizer) {
  Run r;
  TVAtask_t task = nullptr;
  if (TVA_maketask(env, 0, 0, &task) != TVA_RES_OK) {
    r.read = TVA_RES_ERR_SPACE;
    return r;
  }
  TVA_putintparam(task, TVA_IPAR_READ_MPS_FORMAT, TVA_MPS_FORMAT_STRICT);
  TVA_putintparam(task, TVA_IPAR_PRESOLVE_USE, TVA_PRESOLVE_MODE_OFF);
  TVA_putintparam(task, TVA_IPAR_OPTIMIZER, optimizer);
  r.read = TVA_readdata(task, path.c_str());
  if (r.read == TVA_RES_OK) {
    auto t0 = std::chrono::steady_clock::now();
    r.opt = TVA_optimize(task);
    r.secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    TVA_getsolsta(task, TVA_SOL_BAS, &r.solsta);
    int32_t pi = 0, di = 0;
    TVA_getintinf(task, TVA_IINF_SIM_PRIMAL_ITER, &pi);
    TVA_getintinf(task, TVA_IINF_SIM_DUAL_ITER, &di);
    r.iters = pi + di;
    double pc = 0, pv = 0, dobj = 0, dc = 0, dv = 0, u = 0;
    TVA_getsolutioninfo(task, TVA_SOL_BAS, &r.pobj, &pc, &pv, &u, &u, &u, &dobj, &dc, &dv, &u, &u);
    r.pviol = std::max(pc, pv), r.dviol = std::max(dc, dv);
  }
  TVA_deletetask(&task);
  return r;
}

void sweep_feasible(int32_t optimizer, const char* label) {
  const std::string dir = netlib::dir();
  auto ref = netlib::optima(dir);
  auto names = netlib::names(dir);
  ASSERT_FALSE(names.empty()) << "no netlib files in " << dir;
  TVAenv_t env = nullptr;
  ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
  int32_t ok6 = 0, ok8 = 0;
  long long iters = 0;
  double total = 0, logsum = 0;
  std::printf("%-10s %-9s %-6s %-22s %-9s %-9s %-9s %-8s %-8s\n", label, "problem", "solsta",
              "objective", "relerr", "pviol", "dviol", "iter", "time");
  for (const std::string& n : names) {
    Run r = solve(env, dir + "/" + n + ".mps.gz", optimizer);
    auto it = ref.find(n);
    double refv = it == ref.end() ? NAN : it->second;
    double rel = std::fabs(r.pobj - refv) / std::max(1.0, std::fabs(refv));
    std::printf("%-10s %-9s %-6d %-22.14e %-9.1e %-9.1e %-9.1e %-8d %-8.3f\n", label, n.c_str(),
                r.solsta, r.pobj, rel, r.pviol, r.dviol, r.iters, r.secs);
    std::fflush(stdout);
    EXPECT_EQ(r.read, TVA_RES_OK) << n;
    EXPECT_EQ(r.opt, TVA_RES_OK) << n;
    EXPECT_EQ(r.solsta, TVA_SOL_STA_OPTIMAL) << n;
    EXPECT_LT(rel, 1e-6) << n;
    EXPECT_LT(r.pviol, 1e-6) << n;
    EXPECT_LT(r.dviol, 1e-6) << n;
    bool good = r.solsta == TVA_SOL_STA_OPTIMAL && r.pviol < 1e-6 && r.dviol < 1e-6;
    ok6 += good && rel < 1e-6;
    ok8 += good && rel < 1e-8;
    iters += r.iters;
    total += r.secs;
    logsum += std::log(std::max(r.secs, 1e-3));
  }
  std::printf("%s: %d of %zu optimal within 1e-6, %d within 1e-8; %lld iterations, %.2f s total, "
              "geometric mean %.4f s (times floored at 1 ms)\n",
              label, ok6, names.size(), ok8, iters, total, std::exp(logsum / names.size()));
  TVA_deleteenv(&env);
}

void sweep_infeasible(int32_t optimizer, const char* label) {
  const std::string dir = netlib::dir() + "/infeas";
  auto names = netlib::names(dir);
  ASSERT_FALSE(names.empty()) << "no infeasible netlib files in " << dir;
  TVAenv_t env = nullptr;
  ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
  int32_t cert = 0;
  for (const std::string& n : names) {
    Run r = solve(env, dir + "/" + n + ".mps.gz", optimizer);
    std::printf("%-10s %-9s %-6d %-8d %-8.3f\n", label, n.c_str(), r.solsta, r.iters, r.secs);
    std::fflush(stdout);
    EXPECT_EQ(r.read, TVA_RES_OK) << n;
    EXPECT_EQ(r.opt, TVA_RES_OK) << n;
    EXPECT_EQ(r.solsta, TVA_SOL_STA_PRIM_INFEAS_CER) << n;
    cert += r.solsta == TVA_SOL_STA_PRIM_INFEAS_CER;
  }
  std::printf("%s: %d of %zu infeasible problems with a certificate\n", label, cert, names.size());
  TVA_deleteenv(&env);
}

} // namespace

TEST(NetlibDual, FeasibleSet) {
  sweep_feasible(TVA_OPTIMIZER_DUAL_SIMPLEX, "dual");
}

TEST(NetlibDual, InfeasibleSet) {
  sweep_infeasible(TVA_OPTIMIZER_DUAL_SIMPLEX, "dual");
}

TEST(NetlibFreeSimplex, FeasibleSet) {
  sweep_feasible(TVA_OPTIMIZER_FREE_SIMPLEX, "free");
}

TEST(NetlibFreeSimplex, InfeasibleSet) {
  sweep_infeasible(TVA_OPTIMIZER_FREE_SIMPLEX, "free");
}
