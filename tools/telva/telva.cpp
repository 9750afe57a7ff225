// telva: the command-line front of the library. Reads a problem file in any format the library
// reads, prints the log and the summaries, optionally writes the problem to another file and,
// where the library has the optimizer, optimizes and prints the solution.
//
// Only the public header is used: this program is an ordinary client of libtelva.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "telva.h"

namespace {

constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

struct Options {
  std::string problem_file;
  std::vector<std::string> param_files;
  std::vector<std::pair<std::string, std::string>> params; // in the order given
  std::string optimizer;
  std::string write_file;
  bool quiet = false;
  bool solution = false;
  bool help = false;
};

void print_help(std::FILE* out) {
  std::fputs(
      "Usage: telva [options] FILE\n"
      "\n"
      "Reads the problem in FILE, prints the read summary and a problem summary, and, where\n"
      "this build has the optimizer, optimizes and prints the optimizer's and the solution's\n"
      "summaries. The format of FILE comes from its extension: .mps (also unknown extensions\n"
      "and none), .fmps (free MPS), .lp, .opf, .task, .cbf, .jtask; a trailing .gz means the\n"
      "file is gzip-compressed (a.mps.gz). Formats whose reader is not in the library yet are\n"
      "refused with the library's format error.\n"
      "\n"
      "Options:\n"
      "  -p, --paramfile FILE      read parameters from FILE (lines of NAME VALUE between\n"
      "                            BEGIN TELVA and END TELVA);\n"
      "                            may be given more than once\n"
      "  -d, --param NAME VALUE    set the parameter NAME (such as TVA_IPAR_LOG or\n"
      "                            TVA_DPAR_INTPNT_TOL_PFEAS) to VALUE; integer parameters take\n"
      "                            symbolic values such as TVA_ON or TVA_OPTIMIZER_INTPNT.\n"
      "                            Parameters are applied after the parameter files, in the\n"
      "                            order given, and before the problem is read\n"
      "  -O, --optimizer NAME      choose the optimizer: free, intpnt, conic, primal_simplex,\n"
      "                            dual_simplex, free_simplex, mixed_int, or the full\n"
      "                            symbolic name TVA_OPTIMIZER_...\n"
      "  -o, --write FILE          write the problem to FILE after reading it; the format\n"
      "                            comes from the extension of FILE, .gz compresses. With\n"
      "                            -o alone telva converts and stops; -O or -s make it\n"
      "                            optimize as well\n"
      "  -q, --quiet               print nothing but errors\n"
      "  -s, --solution            print the primal and dual values of the solution\n"
      "  -h, --help                print this text\n"
      "\n"
      "Exit status: 0 on success, 1 when the library reports a failure (the code and its\n"
      "message are printed), 2 for a wrong command line.\n",
      out);
#ifndef TELVA_HAVE_OPTIMIZE
  std::fputs("\n"
             "Not available in this build: the optimizer. The problem is read, summarised and\n"
             "written; -O is accepted and checked but nothing is optimized, and -s has no\n"
             "solution to print.\n",
             out);
#endif
}

bool parse_args(int argc, char** argv, Options* opt, std::string* error) {
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    auto need = [&](int n) {
      if (i + n < argc) return true;
      *error = "option " + a + " needs " + (n == 1 ? "a value" : "a name and a value");
      return false;
    };
    if (a == "-h" || a == "--help") {
      opt->help = true;
    } else if (a == "-q" || a == "--quiet") {
      opt->quiet = true;
    } else if (a == "-s" || a == "--solution") {
      opt->solution = true;
    } else if (a == "-p" || a == "--paramfile") {
      if (!need(1)) return false;
      opt->param_files.push_back(argv[++i]);
    } else if (a == "-d" || a == "--param") {
      if (!need(2)) return false;
      opt->params.emplace_back(argv[i + 1], argv[i + 2]);
      i += 2;
    } else if (a == "-O" || a == "--optimizer") {
      if (!need(1)) return false;
      opt->optimizer = argv[++i];
    } else if (a == "-o" || a == "--write") {
      if (!need(1)) return false;
      opt->write_file = argv[++i];
    } else if (a.size() > 1 && a[0] == '-') {
      *error = "unknown option " + a;
      return false;
    } else if (opt->problem_file.empty()) {
      opt->problem_file = a;
    } else {
      *error = "more than one problem file: " + opt->problem_file + " and " + a;
      return false;
    }
  }
  if (!opt->help && opt->problem_file.empty()) {
    *error = "no problem file given";
    return false;
  }
  return true;
}

// The symbolic value of an optimizer name: short names are widened to TVA_OPTIMIZER_NAME.
std::string optimizer_value(const std::string& name) {
  if (name.rfind("TVA_", 0) == 0) return name;
  std::string v = "TVA_OPTIMIZER_";
  for (char ch : name)
    v += static_cast<char>(ch >= 'a' && ch <= 'z' ? ch - 'a' + 'A' : ch);
  return v;
}

// Log text goes out as it comes, so that a long solve shows its progress even when the output
// is a file or a pipe.
void print_stream(void* /*handle*/, const char* text) {
  std::fputs(text, stdout);
  std::fflush(stdout);
}

// Prints the task's last failure (code, symbolic name and message) on stderr.
int fail(TVAtask_t task, TVArescode r, const char* what) {
  char symname[TVA_MAX_STR_LEN] = "", desc[TVA_MAX_STR_LEN] = "";
  TVA_getcodedesc(r, symname, desc);
  char msg[TVA_MAX_STR_LEN] = "";
  TVArescode last = r;
  if (task) TVA_getlasterror(task, &last, sizeof msg, nullptr, msg);
  std::fprintf(stderr, "telva: %s failed: %s (%d): %s\n", what, symname, static_cast<int>(r),
               msg[0] ? msg : desc);
  return kExitFailure;
}

// Counts of the problem just read, from the read statistics.
void print_problem_summary(TVAtask_t task) {
  TVAint32t numcon = 0, numvar = 0, numint = 0, numcone = 0, numbarvar = 0, probtype = 0;
  TVAint64t numanz = 0;
  TVA_getintinf(task, TVA_IINF_RD_NUMCON, &numcon);
  TVA_getintinf(task, TVA_IINF_RD_NUMVAR, &numvar);
  TVA_getintinf(task, TVA_IINF_RD_NUMINTVAR, &numint);
  TVA_getintinf(task, TVA_IINF_RD_NUMCONE, &numcone);
  TVA_getintinf(task, TVA_IINF_RD_NUMBARVAR, &numbarvar);
  TVA_getintinf(task, TVA_IINF_RD_PROTYPE, &probtype);
  TVA_getlintinf(task, TVA_LIINF_RD_NUMANZ, &numanz);
  char type[TVA_MAX_STR_LEN] = "";
  TVA_probtypetostr(task, probtype, type);
  std::printf("Problem summary\n");
  std::printf("  Problem type      : %s\n", type);
  std::printf("  Constraints       : %d\n", static_cast<int>(numcon));
  std::printf("  Variables         : %d\n", static_cast<int>(numvar));
  std::printf("  Integer variables : %d\n", static_cast<int>(numint));
  std::printf("  Matrix variables  : %d\n", static_cast<int>(numbarvar));
  std::printf("  Cones             : %d\n", static_cast<int>(numcone));
  std::printf("  Nonzeros in A     : %lld\n\n", static_cast<long long>(numanz));
}

int run(TVAtask_t task, const Options& opt) {
  TVArescode r = TVA_RES_OK;
  if (!opt.quiet &&
      (r = TVA_linkfunctotaskstream(task, TVA_STREAM_LOG, nullptr, print_stream)) != TVA_RES_OK)
    return fail(task, r, "linking the log stream");
  for (const std::string& f : opt.param_files)
    if ((r = TVA_readparamfile(task, f.c_str())) != TVA_RES_OK)
      return fail(task, r, ("reading the parameter file " + f).c_str());
  for (const auto& [name, value] : opt.params)
    if ((r = TVA_putparam(task, name.c_str(), value.c_str())) != TVA_RES_OK)
      return fail(task, r, ("setting " + name).c_str());
  if (!opt.optimizer.empty()) {
    std::string value = optimizer_value(opt.optimizer);
    if ((r = TVA_putparam(task, "TVA_IPAR_OPTIMIZER", value.c_str())) != TVA_RES_OK)
      return fail(task, r, ("choosing the optimizer " + opt.optimizer).c_str());
  }
  // Quiet wins over any log level given as a parameter.
  if (opt.quiet && (r = TVA_putintparam(task, TVA_IPAR_LOG, 0)) != TVA_RES_OK)
    return fail(task, r, "setting TVA_IPAR_LOG");

  if ((r = TVA_readdata(task, opt.problem_file.c_str())) != TVA_RES_OK)
    return fail(task, r, ("reading " + opt.problem_file).c_str());
  if (!opt.quiet) {
    TVA_readsummary(task, TVA_STREAM_LOG);
    print_problem_summary(task);
  }
  if (!opt.write_file.empty() && (r = TVA_writedata(task, opt.write_file.c_str())) != TVA_RES_OK)
    return fail(task, r, ("writing " + opt.write_file).c_str());

  // ---- Optimize and the solution ----
  // Built only when the library declares its optimize driver; the solution printing comes
  // with it.
  // A conversion (-o) optimizes only when asked to with -O or -s.
  if (!opt.write_file.empty() && opt.optimizer.empty() && !opt.solution) return kExitOk;
#ifdef TELVA_HAVE_OPTIMIZE
  TVArescode trm = TVA_RES_OK;
  if ((r = TVA_optimizetrm(task, &trm)) != TVA_RES_OK) return fail(task, r, "optimizing");
  if (!opt.quiet) {
    char symname[TVA_MAX_STR_LEN] = "", desc[TVA_MAX_STR_LEN] = "";
    TVA_getcodedesc(trm, symname, desc);
    std::printf("Optimizer terminated with %s: %s\n", symname, desc);
    TVA_optimizersummary(task, TVA_STREAM_LOG);
    TVA_solutionsummary(task, TVA_STREAM_LOG);
  }
  if (opt.solution) {
    TVAint32t numcon = 0, numvar = 0;
    TVA_getintinf(task, TVA_IINF_RD_NUMCON, &numcon);
    TVA_getintinf(task, TVA_IINF_RD_NUMVAR, &numvar);
    const TVAint32t order[] = {TVA_SOL_ITG, TVA_SOL_BAS, TVA_SOL_ITR};
    for (TVAint32t whichsol : order) {
      TVAbooleant isdef = 0;
      if (TVA_solutiondef(task, whichsol, &isdef) != TVA_RES_OK || !isdef) continue;
      std::vector<double> xx(static_cast<size_t>(numvar)), y(static_cast<size_t>(numcon));
      if ((r = TVA_getxx(task, whichsol, xx.data())) != TVA_RES_OK)
        return fail(task, r, "getting the primal values");
      std::printf("Primal values\n");
      for (TVAint32t j = 0; j < numvar; ++j)
        std::printf("  x[%d] = %.10g\n", static_cast<int>(j), xx[j]);
      if (whichsol != TVA_SOL_ITG) {
        if ((r = TVA_gety(task, whichsol, y.data())) != TVA_RES_OK)
          return fail(task, r, "getting the dual values");
        std::printf("Dual values\n");
        for (TVAint32t i = 0; i < numcon; ++i)
          std::printf("  y[%d] = %.10g\n", static_cast<int>(i), y[i]);
      }
      break;
    }
  }
#else
  if (opt.solution)
    std::printf("No solution to print: this build of telva has no optimizer yet.\n");
#endif
  return kExitOk;
}

} // namespace

int main(int argc, char** argv) {
  Options opt;
  std::string error;
  if (!parse_args(argc, argv, &opt, &error)) {
    std::fprintf(stderr, "telva: %s\n\n", error.c_str());
    print_help(stderr);
    return kExitUsage;
  }
  if (opt.help) {
    print_help(stdout);
    return kExitOk;
  }
  TVAenv_t env = nullptr;
  TVArescode r = TVA_makeenv(&env, nullptr);
  if (r != TVA_RES_OK) return fail(nullptr, r, "making the environment");
  TVAtask_t task = nullptr;
  r = TVA_maketask(env, 0, 0, &task);
  int status = r == TVA_RES_OK ? run(task, opt) : fail(nullptr, r, "making the task");
  TVA_deletetask(&task);
  TVA_deleteenv(&env);
  return status;
}
