// Every problem file of the benchmark sets through the LP, OPF and CBF formats: MPS and QPS
// files to LP, OPF and CBF (CBF where there are no quadratic terms), CBF files to CBF, OPF and
// MPS (where there are no semidefinite parts), each read back and compared; the chain MPS ->
// LP -> OPF -> CBF -> MPS; and the netlib optima from the LP and OPF forms.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdio>

#include "../unit/files_fixture.h"
#include "netlib_files.h"

namespace {

using filetest::Task;

struct Set {
  const char* dir;
  const char* ext;
};
const Set kMpsSets[] = {{"netlib", ".mps.gz"},
                        {"netlib/infeas", ".mps.gz"},
                        {"netlib/kennington", ".mps.gz"},
                        {"miplib", ".mps.gz"},
                        {"qp", ".qps.gz"}};

bool read_file(const Task& t, const std::string& path) {
  TVA_putintparam(t, TVA_IPAR_READ_MPS_FORMAT, TVA_MPS_FORMAT_STRICT);
  TVArescode r = TVA_readdata(t, path.c_str());
  EXPECT_EQ(r, TVA_RES_OK) << path << ": " << t.last_message();
  return r == TVA_RES_OK;
}

bool quadratic(const Task& t) {
  int32_t type = 0;
  TVA_getprobtype(t, &type);
  return type == TVA_PROBTYPE_QO || type == TVA_PROBTYPE_QCQO;
}

// Writes through ext into a new task of out.
bool convert(const Task& from, const Task& to, const char* ext) {
  TVArescode r = TVA_RES_OK;
  std::string text = filetest::write_text(from, ext, &r);
  EXPECT_EQ(r, TVA_RES_OK) << ext;
  if (r != TVA_RES_OK) return false;
  r = filetest::read_text(to, text, ext);
  EXPECT_EQ(r, TVA_RES_OK) << ext << ": " << to.last_message();
  return r == TVA_RES_OK;
}

TEST(FilesSweep, MpsFilesThroughLpOpfAndCbf) {
  int files = 0;
  for (const Set& set : kMpsSets) {
    std::string dir = testdata::path(set.dir);
    auto names = netlib::files_in(dir, set.ext);
    EXPECT_FALSE(names.empty()) << dir;
    for (const std::string& name : names) {
      SCOPED_TRACE(std::string(set.dir) + "/" + name);
      Task orig;
      if (!read_file(orig, dir + "/" + name + set.ext)) continue;
      ++files;
      for (const char* ext : {".lp", ".opf"}) {
        Task back;
        EXPECT_TRUE(filetest::round_trip(orig, back, ext)) << ext;
      }
      if (quadratic(orig)) {
        TVArescode r = TVA_RES_OK;
        filetest::write_text(orig, ".cbf", &r);
        EXPECT_EQ(r, TVA_RES_ERR_INVALID_FILE_FORMAT_FOR_QUADRATIC_TERMS);
        continue;
      }
      // The chain MPS -> LP -> OPF -> CBF -> MPS: LP and OPF keep the problem, CBF holds its
      // image, and MPS keeps that image.
      Task lp, opf, cbf, mps;
      if (!convert(orig, lp, ".lp") || !convert(lp, opf, ".opf") || !convert(opf, cbf, ".cbf") ||
          !convert(cbf, mps, ".mps"))
        continue;
      EXPECT_TRUE(filetest::same_problem(orig, opf));
      EXPECT_TRUE(filetest::cbf_image(orig, cbf));
      EXPECT_TRUE(filetest::same_problem(cbf, mps));
    }
  }
  std::printf("%d MPS and QPS files through LP, OPF and CBF\n", files);
}

TEST(FilesSweep, CbfFilesThroughCbfOpfAndMps) {
  std::string dir = testdata::path("cblib");
  auto names = netlib::files_in(dir, ".cbf.gz");
  ASSERT_FALSE(names.empty()) << dir;
  int semidefinite = 0;
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    Task orig;
    if (!read_file(orig, dir + "/" + name + ".cbf.gz")) continue;
    Task back;
    EXPECT_TRUE(filetest::round_trip(orig, back, ".cbf"));
    int32_t numbarvar = 0, numcone = 0;
    TVA_getnumbarvar(orig, &numbarvar);
    TVA_getnumcone(orig, &numcone);
    semidefinite += numbarvar > 0;
    for (const char* ext : {".opf", ".mps", ".lp"}) {
      Task other;
      bool lp = ext[1] == 'l';
      if (numbarvar > 0 || (lp && numcone > 0)) {
        TVArescode r = TVA_RES_OK;
        filetest::write_text(orig, ext, &r);
        EXPECT_EQ(r, numbarvar > 0 ? TVA_RES_ERR_INVALID_FILE_FORMAT_FOR_SYM_MAT
                                   : TVA_RES_ERR_INVALID_FILE_FORMAT_FOR_CONES)
            << ext;
      } else {
        EXPECT_TRUE(filetest::round_trip(orig, other, ext)) << ext;
      }
    }
  }
  std::printf("%zu CBF files, %d with semidefinite parts\n", names.size(), semidefinite);
}

// The LP and OPF forms of every netlib problem solve to the reference optimum (dual simplex,
// relative 1e-6), within TELVA_SWEEP_TIME_LIMIT seconds per solve (default 600).
TEST(FilesSweep, NetlibOptimaFromLpAndOpf) {
  const std::string dir = netlib::dir();
  auto ref = netlib::optima(dir);
  auto names = netlib::names(dir);
  ASSERT_FALSE(names.empty());
  const char* limit = std::getenv("TELVA_SWEEP_TIME_LIMIT");
  double seconds = limit ? std::atof(limit) : 600.0;
  std::printf("%-10s %-4s %-22s %-10s %8s\n", "name", "fmt", "objective", "rel.error", "time");
  for (const std::string& name : names) {
    Task orig;
    if (!read_file(orig, dir + "/" + name + ".mps.gz")) continue;
    for (const char* ext : {".lp", ".opf"}) {
      SCOPED_TRACE(name + ext);
      Task conv;
      if (!convert(orig, conv, ext)) continue;
      TVA_putintparam(conv, TVA_IPAR_LOG, 0);
      TVA_putintparam(conv, TVA_IPAR_OPTIMIZER, TVA_OPTIMIZER_DUAL_SIMPLEX);
      TVA_putdouparam(conv, TVA_DPAR_OPTIMIZER_MAX_TIME, seconds);
      auto t0 = std::chrono::steady_clock::now();
      TVArescode trm = TVA_RES_OK;
      EXPECT_EQ(TVA_optimizetrm(conv, &trm), TVA_RES_OK);
      double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
      double obj = 0.0;
      TVA_getprimalobj(conv, TVA_SOL_BAS, &obj);
      double want = ref.count(name) ? ref[name] : NAN;
      double err = std::fabs(obj - want) / std::max(1.0, std::fabs(want));
      std::printf("%-10s %-4s %-22.12e %-10.1e %8.2f\n", name.c_str(), ext + 1, obj, err, secs);
      std::fflush(stdout);
      EXPECT_EQ(trm, TVA_RES_OK);
      EXPECT_LE(err, 1e-6);
    }
  }
}

} // namespace
