// A sample of the benchmark files through the LP, OPF and CBF formats: each converts to every
// format that can hold it and reads back to the same problem, the formats that can't hold it
// refuse it, and the LP and OPF forms of a netlib problem solve to its optimum.
#include <gtest/gtest.h>

#include "files_fixture.h"
#include "test_data.h"

namespace {

using filetest::Compare;
using filetest::Task;

void read_data(const Task& t, const std::string& rel) {
  std::string path = testdata::path(rel);
  ASSERT_TRUE(testdata::readable(path));
  // The benchmark MPS files are in fixed columns.
  TVA_putintparam(t, TVA_IPAR_READ_MPS_FORMAT, TVA_MPS_FORMAT_STRICT);
  ASSERT_EQ(TVA_readdata(t, path.c_str()), TVA_RES_OK) << rel << ": " << t.last_message();
}

TEST(FilesData, MpsFilesConvertToEveryFormatThatHoldsThem) {
  struct Case {
    const char* file;
    bool quadratic;
  };
  const Case cases[] = {{"netlib/afiro.mps.gz", false},
                        {"netlib/sc50a.mps.gz", false},
                        {"miplib/p0033.mps.gz", false},
                        {"qp/HS21.qps.gz", true},
                        {"qp/QPTEST.qps.gz", true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    Task orig;
    read_data(orig, c.file);
    for (const char* ext : {".lp", ".opf", ".lp.gz"}) {
      Task back;
      EXPECT_TRUE(filetest::round_trip(orig, back, ext)) << ext;
    }
    Task cbf;
    TVArescode r = TVA_RES_OK;
    std::string text = filetest::write_text(orig, ".cbf", &r);
    if (c.quadratic) {
      EXPECT_EQ(r, TVA_RES_ERR_INVALID_FILE_FORMAT_FOR_QUADRATIC_TERMS);
      continue;
    }
    ASSERT_EQ(r, TVA_RES_OK);
    ASSERT_EQ(filetest::read_text(cbf, text, ".cbf"), TVA_RES_OK);
    EXPECT_TRUE(filetest::cbf_image(orig, cbf));
  }
}

TEST(FilesData, NamesSurviveLpAndOpfWhereTheFormatTakesThem) {
  Task orig, lp, opf;
  read_data(orig, "netlib/afiro.mps.gz");
  Compare names{.names = true, .objname = true};
  EXPECT_TRUE(filetest::round_trip(orig, lp, ".lp", names));
  EXPECT_TRUE(filetest::round_trip(orig, opf, ".opf", names));
}

// MPS -> LP -> OPF -> MPS gives the problem back; CBF then holds its image.
TEST(FilesData, ChainThroughAllFormats) {
  Task orig, lp, opf, mps, cbf;
  read_data(orig, "miplib/p0033.mps.gz");
  ASSERT_TRUE(filetest::round_trip(orig, lp, ".lp"));
  ASSERT_TRUE(filetest::round_trip(lp, opf, ".opf"));
  ASSERT_TRUE(filetest::round_trip(opf, mps, ".mps"));
  EXPECT_TRUE(filetest::same_problem(orig, mps));
  TVArescode r = TVA_RES_OK;
  std::string text = filetest::write_text(mps, ".cbf", &r);
  ASSERT_EQ(r, TVA_RES_OK);
  ASSERT_EQ(filetest::read_text(cbf, text, ".cbf"), TVA_RES_OK);
  EXPECT_TRUE(filetest::cbf_image(orig, cbf));
}

// Conic files: second-order cones, integers, semidefinite variables and matrix inequalities.
TEST(FilesData, CbfFilesConvertToEveryFormatThatHoldsThem) {
  struct Case {
    const char* file;
    bool semidefinite;
  };
  const Case cases[] = {{"cblib/estein4_A.cbf.gz", false},
                        {"cblib/pp-n10-d10.cbf.gz", false},
                        {"cblib/example_cbf_mix.cbf.gz", true},
                        {"cblib/example_cbf_primal.cbf.gz", true},
                        {"cblib/truss1.cbf.gz", true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    Task orig;
    read_data(orig, c.file);
    Task back;
    EXPECT_TRUE(filetest::round_trip(orig, back, ".cbf"));
    for (const char* ext : {".opf", ".mps"}) {
      Task other;
      if (c.semidefinite) {
        TVArescode r = TVA_RES_OK;
        filetest::write_text(orig, ext, &r);
        EXPECT_EQ(r, TVA_RES_ERR_INVALID_FILE_FORMAT_FOR_SYM_MAT) << ext;
      } else {
        EXPECT_TRUE(filetest::round_trip(orig, other, ext)) << ext;
      }
    }
    TVArescode r = TVA_RES_OK;
    filetest::write_text(orig, ".lp", &r);
    EXPECT_EQ(r, c.semidefinite ? TVA_RES_ERR_INVALID_FILE_FORMAT_FOR_SYM_MAT
                                : TVA_RES_ERR_INVALID_FILE_FORMAT_FOR_CONES);
  }
}

TEST(FilesData, LpAndOpfFormsSolveToTheOptimum) {
  Task orig;
  read_data(orig, "netlib/afiro.mps.gz");
  for (const char* ext : {".lp", ".opf", ".cbf"}) {
    SCOPED_TRACE(ext);
    Task conv;
    TVArescode r = TVA_RES_OK;
    std::string text = filetest::write_text(orig, ext, &r);
    ASSERT_EQ(r, TVA_RES_OK);
    ASSERT_EQ(filetest::read_text(conv, text, ext), TVA_RES_OK);
    TVA_putintparam(conv, TVA_IPAR_LOG, 0);
    ASSERT_EQ(TVA_optimize(conv), TVA_RES_OK);
    double obj = 0.0;
    ASSERT_EQ(TVA_getprimalobj(conv, TVA_SOL_BAS, &obj), TVA_RES_OK);
    EXPECT_NEAR(obj, -4.6475314286e+02, 1e-6);
  }
}

} // namespace
