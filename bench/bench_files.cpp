// Reading and writing the text formats (MPS, LP, OPF, CBF), plain and gzip-compressed, on the
// largest files of the public data sets; and GLPK's LP reader (glpsol --lp FILE --check, the
// whole process timed) on the same LP files in the same run. Prints one row per file, format
// and step with MB of text per second, and per format and step the geometric mean.
//
//   bench_files [DATA_DIR]     (default: ../shared/data beside the checkout)
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "telva.h"

namespace {

double seconds_since(std::chrono::steady_clock::time_point t0) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

double file_mb(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 ? static_cast<double>(st.st_size) / 1e6 : 0.0;
}

// Reads path into a new task; the seconds it took, or a negative value on failure.
// The data sets' MPS files are in fixed columns; the ones written here are free.
double timed_read(TVAenv_t env, const std::string& path, TVAtask_t* out, bool fixed = false) {
  TVAtask_t task = nullptr;
  TVA_maketask(env, 0, 0, &task);
  TVA_putintparam(task, TVA_IPAR_LOG, 0);
  if (fixed) TVA_putintparam(task, TVA_IPAR_READ_MPS_FORMAT, TVA_MPS_FORMAT_STRICT);
  auto t0 = std::chrono::steady_clock::now();
  TVArescode r = TVA_readdata(task, path.c_str());
  double s = seconds_since(t0);
  *out = task;
  return r == TVA_RES_OK ? s : -1.0;
}

double timed_write(TVAtask_t task, const std::string& path) {
  auto t0 = std::chrono::steady_clock::now();
  TVArescode r = TVA_writedata(task, path.c_str());
  double s = seconds_since(t0);
  return r == TVA_RES_OK ? s : -1.0;
}

} // namespace

int main(int argc, char** argv) {
  std::string dir = argc > 1 ? argv[1] : "../shared/data";
  const char* files[] = {"netlib/kennington/osa-14.mps.gz", "netlib/kennington/ken-11.mps.gz",
                         "netlib/maros-r7.mps.gz",          "netlib/qap15.mps.gz",
                         "netlib/pilot87.mps.gz",           "qp/CVXQP3_L.qps.gz",
                         "cblib/mcp124-1.cbf.gz",           "cblib/uflquad-psc-10-100.cbf.gz"};
  const char* formats[] = {".mps", ".lp", ".opf", ".cbf"};
  bool have_glpsol = std::system("glpsol --version > /dev/null 2>&1") == 0;
  TVAenv_t env = nullptr;
  if (TVA_makeenv(&env, nullptr) != TVA_RES_OK) return 1;
  std::printf("%-32s %-5s %-12s %9s %9s %8s\n", "file", "fmt", "step", "MB(text)", "seconds",
              "MB/s");
  std::map<std::string, std::pair<double, int>> means;
  auto row = [&](const std::string& name, const char* fmt, const char* step, double mb,
                 double secs) {
    if (secs < 0) {
      std::printf("%-32s %-5s %-12s %9.2f %9s %8s\n", name.c_str(), fmt, step, mb, "refused", "");
      return;
    }
    double rate = secs > 0 ? mb / secs : 0.0;
    std::printf("%-32s %-5s %-12s %9.2f %9.3f %8.1f\n", name.c_str(), fmt, step, mb, secs, rate);
    std::fflush(stdout);
    if (rate > 0) {
      auto& m = means[std::string(fmt) + " " + step];
      m.first += std::log(rate);
      ++m.second;
    }
  };
  for (const char* f : files) {
    TVAtask_t task = nullptr;
    if (timed_read(env, dir + "/" + f, &task, true) < 0) {
      std::printf("%-32s read failed\n", f);
      TVA_deletetask(&task);
      continue;
    }
    for (const char* fmt : formats) {
      std::string plain = std::string("/tmp/telva_bench_files") + fmt, packed = plain + ".gz";
      double wp = timed_write(task, plain);
      double mb = file_mb(plain);
      row(f, fmt + 1, "write", mb, wp);
      if (wp < 0) continue;
      row(f, fmt + 1, "write gz", mb, timed_write(task, packed));
      TVAtask_t back = nullptr;
      row(f, fmt + 1, "read", mb, timed_read(env, plain, &back));
      TVA_deletetask(&back);
      row(f, fmt + 1, "read gz", mb, timed_read(env, packed, &back));
      TVA_deletetask(&back);
      if (have_glpsol && std::string(fmt) == ".lp") {
        std::string cmd = "glpsol --lp " + plain + " --check > /dev/null 2>&1";
        auto t0 = std::chrono::steady_clock::now();
        int rc = std::system(cmd.c_str());
        row(f, "lp", "glpsol read", mb, rc == 0 ? seconds_since(t0) : -1.0);
      }
      std::remove(plain.c_str());
      std::remove(packed.c_str());
    }
    TVA_deletetask(&task);
  }
  std::printf("\ngeometric means (MB of text per second)\n");
  for (const auto& [key, m] : means)
    std::printf("  %-20s %8.1f\n", key.c_str(), std::exp(m.first / m.second));
  TVA_deleteenv(&env);
  return 0;
}
