// The simplex optimizers on a netlib-style directory: every problem (or the named ones) is read
// and solved through the public interface, and one row per problem tells its size, status,
// objective, relative error against the reference of solutions.csv, iterations and time; the
// counts of correct answers and the geometric means close the table.
//
//   bench_simplex [--optimizer primal|dual|free] [--time-limit S] [--hotstart]
//                 [--param NAME=VALUE ...] DATA_DIR [names...]
//
// --param sets any parameter by name (TVA_putparam), e.g. TVA_IPAR_SIM_PRIMAL_SELECTION=
// TVA_SIM_SELECTION_DEVEX, to compare settings on the same files.
//
// DATA_DIR holds NAME.mps.gz files and a solutions.csv with the columns name and
// optimal_objective (alt_objective preferred when present) or status (infeasible).
//
// --hotstart: for each problem, solve, change one cost and, separately, one bound (the choice
// is fixed, below), and solve again from the previous basis; the same changed problem is also
// solved from scratch. The table compares the iterations of the cold and the warm solve.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "telva.h"

namespace {

struct Ref {
  bool infeasible = false;
  bool known = false;
  double obj = 0.0;
};

std::map<std::string, Ref> read_refs(const std::string& path) {
  std::map<std::string, Ref> out;
  std::ifstream in(path);
  std::string line;
  std::vector<std::string> head;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    std::vector<std::string> cells;
    std::stringstream ss(line);
    std::string cell;
    while (std::getline(ss, cell, ','))
      cells.push_back(cell);
    if (head.empty()) {
      head = cells;
      continue;
    }
    std::map<std::string, std::string> row;
    for (size_t k = 0; k < cells.size() && k < head.size(); ++k)
      row[head[k]] = cells[k];
    Ref r;
    if (row["status"] == "infeasible") {
      r.infeasible = r.known = true;
    } else if (!row["alt_objective"].empty()) {
      r.obj = std::atof(row["alt_objective"].c_str()), r.known = true;
    } else if (!row["optimal_objective"].empty()) {
      r.obj = std::atof(row["optimal_objective"].c_str()), r.known = true;
    }
    if (!cells.empty()) out[cells[0]] = r;
  }
  return out;
}

std::vector<std::string> problems_in(const std::string& dir) {
  std::vector<std::string> out;
  const std::string ext = ".mps.gz";
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* e = readdir(d)) {
      std::string n = e->d_name;
      if (n.size() > ext.size() && n.compare(n.size() - ext.size(), ext.size(), ext) == 0)
        out.push_back(n.substr(0, n.size() - ext.size()));
    }
    closedir(d);
  }
  std::sort(out.begin(), out.end());
  return out;
}

struct Options {
  int32_t optimizer = TVA_OPTIMIZER_PRIMAL_SIMPLEX;
  const char* optname = "primal";
  double timelimit = -1.0;
  bool hotstart = false;
  std::vector<std::pair<std::string, std::string>> params;
  std::string dir;
  std::vector<std::string> names;
};

struct Run {
  TVArescode r = TVA_RES_OK, trm = TVA_RES_OK;
  int32_t solsta = TVA_SOL_STA_UNKNOWN;
  double obj = 0.0;
  int32_t iter = 0;
  double secs = 0.0;
  double pviol = 0.0, dviol = 0.0; // largest primal and dual violation of the basic solution
};

TVAtask_t load(TVAenv_t env, const Options& o, const std::string& name, TVArescode* r) {
  TVAtask_t task = nullptr;
  *r = TVA_maketask(env, 0, 0, &task);
  if (*r != TVA_RES_OK) return nullptr;
  TVA_putintparam(task, TVA_IPAR_LOG, 0);
  TVA_putintparam(task, TVA_IPAR_READ_MPS_FORMAT, TVA_MPS_FORMAT_STRICT);
  TVA_putintparam(task, TVA_IPAR_OPTIMIZER, o.optimizer);
  if (o.timelimit > 0.0) TVA_putdouparam(task, TVA_DPAR_OPTIMIZER_MAX_TIME, o.timelimit);
  for (const auto& [name, value] : o.params)
    if (TVA_putparam(task, name.c_str(), value.c_str()) != TVA_RES_OK)
      std::fprintf(stderr, "parameter %s=%s refused\n", name.c_str(), value.c_str());
  *r = TVA_readdata(task, (o.dir + "/" + name + ".mps.gz").c_str());
  return task;
}

Run solve(TVAtask_t task) {
  Run run;
  auto t0 = std::chrono::steady_clock::now();
  run.r = TVA_optimizetrm(task, &run.trm);
  run.secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  TVA_getsolsta(task, TVA_SOL_BAS, &run.solsta);
  TVA_getprimalobj(task, TVA_SOL_BAS, &run.obj);
  int32_t ip = 0, id = 0;
  TVA_getintinf(task, TVA_IINF_SIM_PRIMAL_ITER, &ip);
  TVA_getintinf(task, TVA_IINF_SIM_DUAL_ITER, &id);
  run.iter = ip + id;
  double pc = 0, pv = 0, dc = 0, dv = 0;
  if (TVA_getsolutioninfo(task, TVA_SOL_BAS, nullptr, &pc, &pv, nullptr, nullptr, nullptr, nullptr,
                          &dc, &dv, nullptr, nullptr) == TVA_RES_OK)
    run.pviol = std::max(pc, pv), run.dviol = std::max(dc, dv);
  return run;
}

const char* status_text(const Run& run) {
  if (run.r != TVA_RES_OK) return "error";
  switch (run.solsta) {
  case TVA_SOL_STA_OPTIMAL:
    return "optimal";
  case TVA_SOL_STA_PRIM_INFEAS_CER:
    return "infeas";
  case TVA_SOL_STA_DUAL_INFEAS_CER:
    return "unbnd";
  case TVA_SOL_STA_PRIM_FEAS:
    return run.trm == TVA_RES_TRM_MAX_TIME ? "time/pf" : "primfeas";
  default:
    return run.trm == TVA_RES_TRM_MAX_TIME ? "time" : "unknown";
  }
}

double relerr(double v, double ref) {
  return std::fabs(v - ref) / std::max(1.0, std::fabs(ref));
}

// Geometric mean of v + shift, less the shift.
double shifted_geomean(const std::vector<double>& v, double shift) {
  if (v.empty()) return 0.0;
  double s = 0.0;
  for (double x : v)
    s += std::log(x + shift);
  return std::exp(s / v.size()) - shift;
}

int bench_solve(TVAenv_t env, const Options& o, const std::map<std::string, Ref>& refs) {
  std::printf("optimizer %s, data %s\n", o.optname, o.dir.c_str());
  std::printf("%-10s %6s %6s %-8s %20s %9s %8s %9s %8s %8s\n", "name", "rows", "cols", "status",
              "objective", "relerr", "iter", "time(s)", "pviol", "dviol");
  int32_t total = 0, nopt = 0, n6 = 0, n8 = 0, ninf = 0, ninfok = 0;
  std::vector<double> times, iters;
  for (const std::string& name : o.names) {
    TVArescode rr;
    TVAtask_t task = load(env, o, name, &rr);
    if (rr != TVA_RES_OK) {
      std::printf("%-10s read failed (%d)\n", name.c_str(), rr);
      TVA_deletetask(&task);
      continue;
    }
    int32_t m = 0, n = 0;
    TVA_getnumcon(task, &m);
    TVA_getnumvar(task, &n);
    Run run = solve(task);
    auto ref = refs.find(name);
    Ref rf = ref == refs.end() ? Ref() : ref->second;
    ++total;
    char err[32] = "-";
    if (rf.infeasible) {
      ++ninf;
      ninfok += run.solsta == TVA_SOL_STA_PRIM_INFEAS_CER;
    } else if (run.solsta == TVA_SOL_STA_OPTIMAL) {
      ++nopt;
      if (rf.known) {
        double e = relerr(run.obj, rf.obj);
        n6 += e <= 1e-6, n8 += e <= 1e-8;
        std::snprintf(err, sizeof err, "%.1e", e);
      }
    }
    times.push_back(run.secs);
    iters.push_back(run.iter);
    std::printf("%-10s %6d %6d %-8s %20.10e %9s %8d %9.3f %8.1e %8.1e\n", name.c_str(), m, n,
                status_text(run), run.obj, err, run.iter, run.secs, run.pviol, run.dviol);
    std::fflush(stdout);
    TVA_deletetask(&task);
  }
  std::printf("\nproblems %d: optimal %d, within 1e-6 %d, within 1e-8 %d", total, nopt, n6, n8);
  if (ninf) std::printf(", infeasible expected %d, certified %d", ninf, ninfok);
  std::printf("\ngeometric mean: time %.4f s (shifted by 1 ms), iterations %.1f (shifted by 1)\n",
              shifted_geomean(times, 1e-3), shifted_geomean(iters, 1.0));
  return 0;
}

// The change of the hot-start runs, made the same way on both copies of the problem.
// Cost: the basic variable of largest |c_j x_j| gets c_j * 1.5 + 1 (a basic variable, so that
// the old basis is no longer optimal in most cases). Bound: the basic variable of largest |x_j|
// above 1e-6 gets its upper bound at 0.9 x_j (a finite lower bound beyond it moves down too).
struct Change {
  bool cost = true;
  int32_t j = -1;
  double value = 0.0;
};

bool choose_change(TVAtask_t task, bool cost, Change* ch) {
  int32_t n = 0;
  TVA_getnumvar(task, &n);
  std::vector<int32_t> skx(n);
  std::vector<double> xx(n), c(n);
  if (TVA_getskx(task, TVA_SOL_BAS, skx.data()) != TVA_RES_OK) return false;
  TVA_getxx(task, TVA_SOL_BAS, xx.data());
  TVA_getc(task, c.data());
  double best = 0.0;
  ch->cost = cost;
  for (int32_t j = 0; j < n; ++j) {
    if (skx[j] != TVA_SK_BAS) continue;
    double s = cost ? std::fabs(c[j] * xx[j]) : std::fabs(xx[j]);
    if (s > best && (cost || s > 1e-6)) best = s, ch->j = j;
  }
  if (ch->j < 0) return false;
  ch->value = cost ? c[ch->j] * 1.5 + 1.0 : 0.9 * xx[ch->j];
  return true;
}

void apply_change(TVAtask_t task, const Change& ch) {
  if (ch.cost) {
    TVA_putcj(task, ch.j, ch.value);
    return;
  }
  int32_t bk = 0;
  double bl = 0.0, bu = 0.0;
  TVA_getvarbound(task, ch.j, &bk, &bl, &bu);
  bool haslo = bk == TVA_BK_LO || bk == TVA_BK_FX || bk == TVA_BK_RA;
  double lo = haslo ? std::min(bl, ch.value) : -1e30;
  if (ch.value < 0.0) // a negative value moves the lower bound: the change tightens |x_j|
    TVA_putvarbound(task, ch.j, TVA_BK_RA, ch.value, std::max(ch.value, bu));
  else
    TVA_putvarbound(task, ch.j, haslo ? TVA_BK_RA : TVA_BK_UP, lo, ch.value);
}

int bench_hotstart(TVAenv_t env, const Options& o) {
  std::printf("hot start, optimizer %s, data %s\n", o.optname, o.dir.c_str());
  std::printf("%-10s %-6s %6s %-8s %20s %8s %-8s %20s %8s %9s\n", "name", "change", "var", "cold",
              "objective", "iter", "warm", "objective", "iter", "agree");
  std::vector<double> cold_it, warm_it;
  for (const std::string& name : o.names) {
    for (int pass = 0; pass < 2; ++pass) {
      TVArescode r1, r2;
      TVAtask_t warm = load(env, o, name, &r1);
      TVAtask_t cold = load(env, o, name, &r2);
      Change ch;
      Run base;
      if (r1 == TVA_RES_OK && r2 == TVA_RES_OK) base = solve(warm);
      if (r1 != TVA_RES_OK || r2 != TVA_RES_OK || base.solsta != TVA_SOL_STA_OPTIMAL ||
          !choose_change(warm, pass == 0, &ch)) {
        std::printf("%-10s %-6s no base solve or no variable to change\n", name.c_str(),
                    pass == 0 ? "cost" : "bound");
        TVA_deletetask(&warm);
        TVA_deletetask(&cold);
        continue;
      }
      apply_change(warm, ch);
      apply_change(cold, ch);
      TVA_putintparam(warm, TVA_IPAR_SIM_HOTSTART, TVA_SIM_HOTSTART_STATUS_KEYS);
      TVA_putintparam(cold, TVA_IPAR_SIM_HOTSTART, TVA_SIM_HOTSTART_NONE);
      Run rc = solve(cold), rw = solve(warm);
      bool agree = rc.solsta == rw.solsta &&
                   (rc.solsta != TVA_SOL_STA_OPTIMAL || relerr(rc.obj, rw.obj) <= 1e-8);
      std::printf("%-10s %-6s %6d %-8s %20.10e %8d %-8s %20.10e %8d %9s\n", name.c_str(),
                  pass == 0 ? "cost" : "bound", ch.j, status_text(rc), rc.obj, rc.iter,
                  status_text(rw), rw.obj, rw.iter, agree ? "yes" : "NO");
      std::fflush(stdout);
      cold_it.push_back(rc.iter);
      warm_it.push_back(rw.iter);
      TVA_deletetask(&warm);
      TVA_deletetask(&cold);
    }
  }
  std::printf("\ngeometric mean of iterations (shifted by 1): cold %.1f, warm %.1f\n",
              shifted_geomean(cold_it, 1.0), shifted_geomean(warm_it, 1.0));
  return 0;
}

int usage() {
  std::fprintf(stderr, "usage: bench_simplex [--optimizer primal|dual|free] [--time-limit S] "
                       "[--hotstart] [--param NAME=VALUE] DATA_DIR [names...]\n");
  return 2;
}

} // namespace

int main(int argc, char** argv) {
  Options o;
  int a = 1;
  for (; a < argc && std::strncmp(argv[a], "--", 2) == 0; ++a) {
    std::string opt = argv[a];
    if (opt == "--optimizer" && a + 1 < argc) {
      std::string v = argv[++a];
      if (v == "primal")
        o.optimizer = TVA_OPTIMIZER_PRIMAL_SIMPLEX, o.optname = "primal";
      else if (v == "dual")
        o.optimizer = TVA_OPTIMIZER_DUAL_SIMPLEX, o.optname = "dual";
      else if (v == "free")
        o.optimizer = TVA_OPTIMIZER_FREE_SIMPLEX, o.optname = "free";
      else
        return usage();
    } else if (opt == "--time-limit" && a + 1 < argc) {
      o.timelimit = std::atof(argv[++a]);
    } else if (opt == "--param" && a + 1 < argc) {
      std::string kv = argv[++a];
      size_t eq = kv.find('=');
      if (eq == std::string::npos) return usage();
      o.params.emplace_back(kv.substr(0, eq), kv.substr(eq + 1));
    } else if (opt == "--hotstart") {
      o.hotstart = true;
    } else {
      return usage();
    }
  }
  if (a >= argc) return usage();
  o.dir = argv[a++];
  for (; a < argc; ++a)
    o.names.push_back(argv[a]);
  if (o.names.empty()) {
    o.names = problems_in(o.dir);
    if (o.hotstart) // a few small and medium problems unless named
      o.names = {"afiro",    "adlittle", "blend", "sc105",  "share2b", "scagr25",
                 "stocfor1", "israel",   "bandm", "scfxm1", "brandy",  "e226"};
  }
  auto refs = read_refs(o.dir + "/solutions.csv");
  TVAenv_t env = nullptr;
  if (TVA_makeenv(&env, nullptr) != TVA_RES_OK) return 1;
  int rc = o.hotstart ? bench_hotstart(env, o) : bench_solve(env, o, refs);
  TVA_deleteenv(&env);
  return rc;
}
