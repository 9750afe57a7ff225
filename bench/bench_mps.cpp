// Reading and writing MPS files: time against file size, compressed and plain, for the
// largest files of the public data sets. Prints one row per file and direction, and the
// geometric mean of the rates.
//
//   bench_mps [DATA_DIR]     (default: ../shared/data beside the checkout)
#include <chrono>
#include <cmath>
#include <cstdio>
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

struct Timed {
  TVArescode r;
  double secs;
};

Timed read_file(TVAenv_t env, const std::string& path, TVAtask_t* out) {
  TVAtask_t task = nullptr;
  TVA_maketask(env, 0, 0, &task);
  TVA_putintparam(task, TVA_IPAR_LOG, 0);
  // The netlib files need fixed columns (names with blanks, RHS lines without a vector name).
  TVA_putintparam(task, TVA_IPAR_READ_MPS_FORMAT, TVA_MPS_FORMAT_STRICT);
  auto t0 = std::chrono::steady_clock::now();
  TVArescode r = TVA_readdata(task, path.c_str());
  double s = seconds_since(t0);
  *out = task;
  return {r, s};
}

} // namespace

int main(int argc, char** argv) {
  std::string dir = argc > 1 ? argv[1] : "../shared/data";
  const char* files[] = {"netlib/kennington/osa-14.mps.gz",
                         "netlib/kennington/osa-07.mps.gz",
                         "netlib/maros-r7.mps.gz",
                         "netlib/kennington/ken-11.mps.gz",
                         "netlib/qap15.mps.gz",
                         "netlib/pilot87.mps.gz",
                         "qp/CVXQP3_L.qps.gz",
                         "qp/CVXQP1_L.qps.gz"};
  TVAenv_t env = nullptr;
  if (TVA_makeenv(&env, nullptr) != TVA_RES_OK) return 1;
  std::printf("%-34s %-10s %9s %9s %9s %8s\n", "file", "step", "MB(file)", "MB(text)", "seconds",
              "MB/s");
  double logsum = 0.0;
  int count = 0;
  auto row = [&](const std::string& name, const char* step, double mb, double text_mb,
                 double secs) {
    double rate = secs > 0 ? text_mb / secs : 0.0;
    std::printf("%-34s %-10s %9.2f %9.2f %9.3f %8.1f\n", name.c_str(), step, mb, text_mb, secs,
                rate);
    if (rate > 0) {
      logsum += std::log(rate);
      ++count;
    }
  };
  for (const char* f : files) {
    std::string path = dir + "/" + f;
    TVAtask_t task = nullptr;
    Timed rd = read_file(env, path, &task);
    if (rd.r != TVA_RES_OK) {
      std::printf("%-34s read failed with code %d\n", f, rd.r);
      TVA_deletetask(&task);
      continue;
    }
    // Write plain and compressed copies, then read each back.
    std::string plain = "/tmp/telva_bench_mps.mps", packed = "/tmp/telva_bench_mps.mps.gz";
    auto t0 = std::chrono::steady_clock::now();
    TVArescode w1 = TVA_writedata(task, plain.c_str());
    double wplain = seconds_since(t0);
    t0 = std::chrono::steady_clock::now();
    TVArescode w2 = TVA_writedata(task, packed.c_str());
    double wpacked = seconds_since(t0);
    double text_mb = file_mb(plain);
    row(f, "read gz", file_mb(path), text_mb, rd.secs);
    if (w1 == TVA_RES_OK) row(f, "write", text_mb, text_mb, wplain);
    if (w2 == TVA_RES_OK) row(f, "write gz", file_mb(packed), text_mb, wpacked);
    TVAtask_t back = nullptr;
    Timed rp = read_file(env, plain, &back);
    if (rp.r == TVA_RES_OK) row(f, "read", text_mb, text_mb, rp.secs);
    TVA_deletetask(&back);
    TVA_deletetask(&task);
    std::remove(plain.c_str());
    std::remove(packed.c_str());
  }
  if (count > 0)
    std::printf("%-34s %-10s %9s %9s %9s %8.1f\n", "geometric mean (MB of text per second)", "", "",
                "", "", std::exp(logsum / count));
  TVA_deleteenv(&env);
  return 0;
}
