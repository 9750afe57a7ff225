// The file front end: name analysis, reading and writing through files (plain and gzip), the
// read statistics and summary, and the failures with their messages and places.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "telva.h"
#include "cpub/sysfile.h"
#include "telva/files/datafile.h"
#include "telva/files/mps/mpstask.h"
#include "telva/task/task.h"

namespace {

using namespace telva;

const char* kSmallLp = R"(NAME          SMALL
ROWS
 N  PROFIT
 L  CAP1
 G  DEMAND
 E  BALANCE
COLUMNS
    X1        PROFIT          -3.0   CAP1             1.0
    X1        BALANCE          1.0
    X2        PROFIT          -2.0   CAP1             1.0
    X2        DEMAND           1.0
    X3        BALANCE         -1.0   DEMAND           2.5
RHS
    RHS       CAP1             4.0   DEMAND           1.0
BOUNDS
 UP BND       X3               5.0
ENDATA
)";

// A mixed-integer problem with a quadratic objective and a quadratic constraint, in free MPS.
const char* kQuadMip = R"(NAME qmip
OBJSENSE
    MAX
ROWS
 N obj
 L q1
 E e1
COLUMNS
 MARKER 'MARKER' 'INTORG'
 x obj 1 q1 1
 MARKER 'MARKER' 'INTEND'
 y obj 2 e1 1
 z e1 -1
RHS
 rhs q1 10 e1 0
BOUNDS
 UP bnd x 4
QUADOBJ
 x x -2
 y x 0.5
QCMATRIX q1
 y y 1
ENDATA
)";

// A conic problem: t >= ||(y, z)||, in free MPS.
const char* kConic = R"(NAME conic
ROWS
 N obj
 E e1
COLUMNS
 t obj 1
 y e1 1
 z e1 1
RHS
 rhs e1 1
BOUNDS
 FR bnd y
 FR bnd z
CSECTION k1 0 QUAD
 t
 y
 z
ENDATA
)";

class ReadData : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(TVA_makeenv(&env_, nullptr), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env_, 0, 0, &task_), TVA_RES_OK);
    for (int32 s : {TVA_STREAM_LOG})
      ASSERT_EQ(TVA_linkfunctotaskstream(task_, s, &out_, collect), TVA_RES_OK);
    char tmpl[] = "/tmp/telva_readdata_XXXXXX";
    ASSERT_NE(mkdtemp(tmpl), nullptr);
    dir_ = tmpl;
  }
  void TearDown() override {
    TVA_deletetask(&task_);
    TVA_deleteenv(&env_);
    std::string cmd = "rm -rf '" + dir_ + "'";
    ASSERT_EQ(std::system(cmd.c_str()), 0);
  }
  static void collect(void* h, const char* s) { *static_cast<std::string*>(h) += s; }

  std::string path(const std::string& name) const { return dir_ + "/" + name; }
  void write_text(const std::string& name, const std::string& text) {
    std::ofstream(path(name), std::ios::binary) << text;
  }
  std::string file_text(const std::string& name) {
    std::ifstream in(path(name), std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
  }
  TVArescode lastcode() {
    TVArescode r = 0;
    TVA_getlasterror(task_, &r, 0, nullptr, nullptr);
    return r;
  }
  std::string lastmsg() {
    char buf[2048] = "";
    TVArescode r = 0;
    TVA_getlasterror(task_, &r, sizeof buf, nullptr, buf);
    return buf;
  }

  TVAenv_t env_ = nullptr;
  TVAtask_t task_ = nullptr;
  std::string out_;
  std::string dir_;
};

// The problem of the task, through the writer's model, for comparisons.
bool same_problem(TVAtask_t a, TVAtask_t b, std::string* what) {
  MpsModel ma(a->sys), mb(b->sys);
  if (mpstask_get(a, &ma) != TVA_RES_OK || mpstask_get(b, &mb) != TVA_RES_OK) return false;
  const char* w = "";
  bool same = mpsmodel_equal(ma, mb, true, &w);
  *what = w ? w : "";
  return same;
}

TEST(DataFileName, FormatAndCompressionFromExtension) {
  struct Case {
    const char* name;
    int32 format, compress;
  } cases[] = {
      {"a.mps", TVA_DATA_FORMAT_MPS, TVA_COMPRESS_NONE},
      {"a.mps.gz", TVA_DATA_FORMAT_MPS, TVA_COMPRESS_GZIP},
      {"a.gz", TVA_DATA_FORMAT_MPS, TVA_COMPRESS_GZIP},
      {"A.LP", TVA_DATA_FORMAT_LP, TVA_COMPRESS_NONE},
      {"x/y.opf", TVA_DATA_FORMAT_OP, TVA_COMPRESS_NONE},
      {"y.xml", TVA_DATA_FORMAT_XML, TVA_COMPRESS_NONE},
      {"p.fmps.GZ", TVA_DATA_FORMAT_FREE_MPS, TVA_COMPRESS_GZIP},
      {"t.task", TVA_DATA_FORMAT_TASK, TVA_COMPRESS_NONE},
      {"c.cbf.gz", TVA_DATA_FORMAT_CB, TVA_COMPRESS_GZIP},
      {"j.jtask", TVA_DATA_FORMAT_JSON_TASK, TVA_COMPRESS_NONE},
      {"noextension", TVA_DATA_FORMAT_MPS, TVA_COMPRESS_NONE},
      {"dir.lp/file", TVA_DATA_FORMAT_MPS, TVA_COMPRESS_NONE},  // the dot is in a directory
      {"dir.lp\\file", TVA_DATA_FORMAT_MPS, TVA_COMPRESS_NONE}, // also behind a backslash
      {"a.mpsx", TVA_DATA_FORMAT_MPS, TVA_COMPRESS_NONE},       // unknown: MPS
      {"a.lpx.gz", TVA_DATA_FORMAT_MPS, TVA_COMPRESS_GZIP},
      {"a.gz.lp", TVA_DATA_FORMAT_LP, TVA_COMPRESS_NONE},
      {"", TVA_DATA_FORMAT_MPS, TVA_COMPRESS_NONE},
  };
  for (const Case& c : cases) {
    int32 format = -1, compress = -1;
    datafile_analyse(c.name, &format, &compress);
    EXPECT_EQ(format, c.format) << c.name;
    EXPECT_EQ(compress, c.compress) << c.name;
  }
}

TEST_F(ReadData, ReadsNamesAndData) {
  write_text("small.mps", kSmallLp);
  ASSERT_EQ(TVA_readdata(task_, path("small.mps").c_str()), TVA_RES_OK);
  EXPECT_EQ(task_->numcon, 3);
  EXPECT_EQ(task_->numvar, 3);
  EXPECT_STREQ(store_getname(task_, kNameCon, 2), "BALANCE");
  EXPECT_STREQ(store_getname(task_, kNameVar, 1), "X2");
  EXPECT_STREQ(task_->taskname, "SMALL");
  double aij = 0.0;
  ASSERT_EQ(store_getaij(task_, 1, 2, &aij), TVA_RES_OK);
  EXPECT_EQ(aij, 2.5);
  int32 bk = 0;
  double bl = 0, bu = 0;
  store_getbound(task_, TVA_ACC_VAR, 2, &bk, &bl, &bu);
  EXPECT_EQ(bk, TVA_BK_RA);
  EXPECT_EQ(bu, 5.0);
}

TEST_F(ReadData, RoundTripThroughPlainAndGzipFiles) {
  for (const char* text : {kQuadMip, kConic}) {
    write_text("in.fmps", text);
    ASSERT_EQ(TVA_readdata(task_, path("in.fmps").c_str()), TVA_RES_OK);
    for (const char* out : {"out.mps", "out.mps.gz", "out.gz", "out.fmps.gz", "noext"}) {
      ASSERT_EQ(TVA_writedata(task_, path(out).c_str()), TVA_RES_OK) << out;
      std::string raw = file_text(out);
      bool gz = std::string(out).ends_with(".gz");
      ASSERT_GE(raw.size(), 4u);
      if (gz) { // gzip magic bytes
        EXPECT_EQ(static_cast<unsigned char>(raw[0]), 0x1f) << out;
        EXPECT_EQ(static_cast<unsigned char>(raw[1]), 0x8b) << out;
      } else {
        EXPECT_EQ(raw.substr(0, 4), "NAME") << out; // MPS text, also without an extension
      }
      TVAtask_t copy = nullptr;
      ASSERT_EQ(TVA_maketask(env_, 0, 0, &copy), TVA_RES_OK);
      EXPECT_EQ(TVA_readdata(copy, path(out).c_str()), TVA_RES_OK) << out;
      std::string what;
      EXPECT_TRUE(same_problem(task_, copy, &what)) << out << ": " << what;
      TVA_deletetask(&copy);
    }
  }
}

TEST_F(ReadData, ReadStatisticsAndSummary) {
  write_text("q.fmps", kQuadMip);
  ASSERT_EQ(TVA_putintparam(task_, TVA_IPAR_READ_MPS_FORMAT, TVA_MPS_FORMAT_FREE), TVA_RES_OK);
  ASSERT_EQ(TVA_readdata(task_, path("q.fmps").c_str()), TVA_RES_OK);
  int32 v = 0;
  int64 l = 0;
  TVA_getintinf(task_, TVA_IINF_RD_NUMCON, &v);
  EXPECT_EQ(v, 2);
  TVA_getintinf(task_, TVA_IINF_RD_NUMVAR, &v);
  EXPECT_EQ(v, 3);
  TVA_getintinf(task_, TVA_IINF_RD_NUMINTVAR, &v);
  EXPECT_EQ(v, 1);
  TVA_getintinf(task_, TVA_IINF_RD_NUMQ, &v);
  EXPECT_EQ(v, 2); // the objective and q1
  TVA_getintinf(task_, TVA_IINF_RD_NUMCONE, &v);
  EXPECT_EQ(v, 0);
  TVA_getintinf(task_, TVA_IINF_RD_PROTYPE, &v);
  EXPECT_EQ(v, TVA_PROBTYPE_QCQO);
  TVA_getlintinf(task_, TVA_LIINF_RD_NUMANZ, &l);
  EXPECT_EQ(l, 3);
  TVA_getlintinf(task_, TVA_LIINF_RD_NUMQNZ, &l);
  EXPECT_EQ(l, 3);

  out_.clear();
  ASSERT_EQ(TVA_readsummary(task_, TVA_STREAM_LOG), TVA_RES_OK);
  EXPECT_NE(out_.find("\nRead summary\n"), std::string::npos) << out_;
  EXPECT_NE(out_.find("  Objective sense  : max\n"), std::string::npos) << out_;
  EXPECT_NE(out_.find("  Scalar variables : 3           \n"), std::string::npos) << out_;
  EXPECT_NE(out_.find("  Constraints      : 2           \n"), std::string::npos) << out_;
  EXPECT_NE(out_.find("  Cones            : 0           \n"), std::string::npos) << out_;
  EXPECT_NE(out_.find("  Time             : 0.0     \n"), std::string::npos) << out_;

  // The conic read replaces everything, statistics included.
  write_text("c.mps", kConic);
  ASSERT_EQ(TVA_readdata(task_, path("c.mps").c_str()), TVA_RES_OK);
  EXPECT_EQ(task_->numcon, 1);
  EXPECT_EQ(task_->store.numintvar, 0);
  TVA_getintinf(task_, TVA_IINF_RD_NUMCONE, &v);
  EXPECT_EQ(v, 1);
  TVA_getintinf(task_, TVA_IINF_RD_NUMQ, &v);
  EXPECT_EQ(v, 0);
  TVA_getintinf(task_, TVA_IINF_RD_PROTYPE, &v);
  EXPECT_EQ(v, TVA_PROBTYPE_CONIC);

  // With the log off the summary prints nothing; a bad stream is refused.
  ASSERT_EQ(TVA_putintparam(task_, TVA_IPAR_LOG, 0), TVA_RES_OK);
  out_.clear();
  EXPECT_EQ(TVA_readsummary(task_, TVA_STREAM_LOG), TVA_RES_OK);
  EXPECT_EQ(out_, "");
  EXPECT_EQ(TVA_readsummary(task_, 7), TVA_RES_ERR_INVALID_STREAM);
}

TEST_F(ReadData, FormatByParameterOrByName) {
  write_text("x.mps", kSmallLp);
  // The read format parameter wins over the name...
  ASSERT_EQ(TVA_putintparam(task_, TVA_IPAR_READ_DATA_FORMAT, TVA_DATA_FORMAT_LP), TVA_RES_OK);
  EXPECT_EQ(TVA_readdata(task_, path("x.mps").c_str()), TVA_RES_ERR_LP_FILE_FORMAT);
  // ...but not for the automatic read, which goes by the name alone.
  EXPECT_EQ(TVA_readdataautoformat(task_, path("x.mps").c_str()), TVA_RES_OK);
  EXPECT_EQ(task_->numcon, 3);
  ASSERT_EQ(TVA_putintparam(task_, TVA_IPAR_READ_DATA_FORMAT, TVA_DATA_FORMAT_MPS), TVA_RES_OK);
  write_text("x.lp", kSmallLp);
  EXPECT_EQ(TVA_readdataautoformat(task_, path("x.lp").c_str()), TVA_RES_ERR_LP_FILE_FORMAT);
  EXPECT_EQ(TVA_readdata(task_, path("x.lp").c_str()), TVA_RES_OK);

  // XML has no reader; format 0 given explicitly names none.
  ASSERT_EQ(TVA_putintparam(task_, TVA_IPAR_READ_DATA_FORMAT, 0), TVA_RES_OK);
  write_text("y.xml", kSmallLp);
  EXPECT_EQ(TVA_readdata(task_, path("y.xml").c_str()), TVA_RES_ERR_READ_FORMAT);
  EXPECT_EQ(lastmsg(), "The specified format cannot be read. The format code is 4.");
  EXPECT_EQ(TVA_readdataformat(task_, path("x.mps").c_str(), 0, TVA_COMPRESS_FREE),
            TVA_RES_ERR_READ_FORMAT);
  EXPECT_EQ(
      TVA_readdataformat(task_, path("y.xml").c_str(), TVA_DATA_FORMAT_MPS, TVA_COMPRESS_FREE),
      TVA_RES_OK);
  EXPECT_EQ(task_->numvar, 3);
}

TEST_F(ReadData, CompressionByParameter) {
  write_text("in.mps", kSmallLp);
  ASSERT_EQ(TVA_readdata(task_, path("in.mps").c_str()), TVA_RES_OK);
  // A gzip file under a plain name: written compressed by the parameter, read back the same way.
  ASSERT_EQ(TVA_putintparam(task_, TVA_IPAR_READ_DATA_COMPRESSED, TVA_COMPRESS_GZIP), TVA_RES_OK);
  ASSERT_EQ(TVA_writedata(task_, path("packed.mps").c_str()), TVA_RES_OK);
  std::string raw = file_text("packed.mps");
  ASSERT_GE(raw.size(), 2u);
  EXPECT_EQ(static_cast<unsigned char>(raw[0]), 0x1f);
  TVAtask_t copy = nullptr;
  ASSERT_EQ(TVA_maketask(env_, 0, 0, &copy), TVA_RES_OK);
  EXPECT_EQ(
      TVA_readdataformat(copy, path("packed.mps").c_str(), TVA_DATA_FORMAT_MPS, TVA_COMPRESS_GZIP),
      TVA_RES_OK);
  std::string what;
  EXPECT_TRUE(same_problem(task_, copy, &what)) << what;
  TVA_deletetask(&copy);
}

TEST_F(ReadData, BadNamesAndMissingFiles) {
  EXPECT_EQ(TVA_readdata(task_, ""), TVA_RES_ERR_FILE_OPEN);
  EXPECT_EQ(lastmsg(), "An error occurred while opening file ''.");
  // A null name takes the data file parameter, empty by default.
  EXPECT_EQ(TVA_readdata(task_, nullptr), TVA_RES_ERR_FILE_OPEN);
  EXPECT_EQ(TVA_writedata(task_, nullptr), TVA_RES_ERR_FILE_OPEN);
  EXPECT_EQ(TVA_readdataformat(task_, nullptr, TVA_DATA_FORMAT_MPS, TVA_COMPRESS_FREE),
            TVA_RES_ERR_INVALID_FILE_NAME);
  EXPECT_EQ(lastmsg(), "'' is an invalid file name.");
  std::string missing = path("missing.mps");
  EXPECT_EQ(TVA_readdata(task_, missing.c_str()), TVA_RES_ERR_FILE_OPEN);
  EXPECT_EQ(lastmsg(), "An error occurred while opening file '" + missing + "'.");
  EXPECT_EQ(TVA_writedata(task_, path("no/such/dir/a.mps").c_str()), TVA_RES_ERR_FILE_OPEN);

  write_text("named.mps", kSmallLp);
  ASSERT_EQ(TVA_putstrparam(task_, TVA_SPAR_DATA_FILE_NAME, path("named.mps").c_str()), TVA_RES_OK);
  EXPECT_EQ(TVA_readdata(task_, nullptr), TVA_RES_OK);
  EXPECT_EQ(task_->numcon, 3);
  EXPECT_EQ(TVA_readdata(nullptr, "a.mps"), TVA_RES_ERR_NULL_TASK);
}

TEST_F(ReadData, ErrorsTellTheLineThroughTheReporter) {
  const std::string text = "NAME bad\nROWS\n N obj\n L c1\nCOLUMNS\n x obj 1 c1 1\n"
                           " y obj 1 nosuch 2\nENDATA\n";
  write_text("bad.mps", text);
  ASSERT_EQ(TVA_putintparam(task_, TVA_IPAR_READ_MPS_FORMAT, TVA_MPS_FORMAT_FREE), TVA_RES_OK);
  out_.clear();
  EXPECT_EQ(TVA_readdata(task_, path("bad.mps").c_str()), TVA_RES_ERR_MPS_UNDEF_CON_NAME);
  EXPECT_EQ(lastcode(), TVA_RES_ERR_MPS_UNDEF_CON_NAME);
  EXPECT_EQ(lastmsg(), "'nosuch' is an undefined constraint name.");
  EXPECT_NE(out_.find("TELVA error 1105: 'nosuch' is an undefined constraint name."),
            std::string::npos)
      << out_;
  EXPECT_NE(out_.find("The error occurred at (#line,pos): 7,"), std::string::npos) << out_;
  EXPECT_NE(out_.find("TVA_IPAR_READ_DEBUG"), std::string::npos) << out_;
  // The task was cleared for the read and holds nothing of the failed file.
  EXPECT_EQ(task_->numcon, 0);

  // With debugging on, the line itself is echoed with a caret below.
  ASSERT_EQ(TVA_putintparam(task_, TVA_IPAR_READ_DEBUG, TVA_ON), TVA_RES_OK);
  out_.clear();
  EXPECT_EQ(TVA_readdata(task_, path("bad.mps").c_str()), TVA_RES_ERR_MPS_UNDEF_CON_NAME);
  EXPECT_NE(out_.find(" y obj 1 nosuch 2\n"), std::string::npos) << out_;
  EXPECT_NE(out_.find("^\n"), std::string::npos) << out_;
}

TEST_F(ReadData, WarningsGoThroughTheReporter) {
  const std::string text = "NAME w\nROWS\n N obj\n L c1\nCOLUMNS\n x obj 1 c1 1\n"
                           "RHS\n rhs c1 1e12\nENDATA\n";
  write_text("warn.mps", text);
  ASSERT_EQ(TVA_putintparam(task_, TVA_IPAR_READ_MPS_FORMAT, TVA_MPS_FORMAT_FREE), TVA_RES_OK);
  out_.clear();
  EXPECT_EQ(TVA_readdata(task_, path("warn.mps").c_str()), TVA_RES_OK);
  EXPECT_NE(out_.find("TELVA warning 51: A numerically large bound value"), std::string::npos)
      << out_;
  EXPECT_NE(out_.find("for constraint 'c1'"), std::string::npos) << out_;
}

TEST_F(ReadData, ParametersSurviveTheRead) {
  write_text("objname.mps", "NAME n\nOBJNAME\n    cost\nROWS\n N other\n N cost\n L c1\n"
                            "COLUMNS\n x cost 2 c1 1\nENDATA\n");
  ASSERT_EQ(TVA_putintparam(task_, TVA_IPAR_READ_MPS_FORMAT, TVA_MPS_FORMAT_FREE), TVA_RES_OK);
  ASSERT_EQ(TVA_putdouparam(task_, TVA_DPAR_DATA_TOL_QIJ, 1e-12), TVA_RES_OK);
  ASSERT_EQ(TVA_readdata(task_, path("objname.mps").c_str()), TVA_RES_OK);
  EXPECT_EQ(task_->dparam[TVA_DPAR_DATA_TOL_QIJ], 1e-12);
  EXPECT_EQ(task_->iparam[TVA_IPAR_READ_MPS_FORMAT], TVA_MPS_FORMAT_FREE);
  EXPECT_STREQ(task_->sparam[TVA_SPAR_READ_MPS_OBJ_NAME], "cost");
  EXPECT_EQ(task_->store.c[0], 2.0);
  // The chosen row's name becomes the objective's name.
  char name[16] = "";
  ASSERT_EQ(TVA_getobjname(task_, sizeof name, name), TVA_RES_OK);
  EXPECT_STREQ(name, "cost");
}

TEST_F(ReadData, WriteRefusesWhatTheFormatCannotHold) {
  write_text("c.fmps", kConic);
  ASSERT_EQ(TVA_readdata(task_, path("c.fmps").c_str()), TVA_RES_OK);
  // Cones and LP: refused before anything is written.
  EXPECT_EQ(TVA_writedata(task_, path("c.lp").c_str()), TVA_RES_ERR_INVALID_FILE_FORMAT_FOR_CONES);
  EXPECT_FALSE(sysfile_exists(path("c.lp").c_str()));
  ASSERT_EQ(TVA_putintparam(task_, TVA_IPAR_WRITE_IGNORE_INCOMPATIBLE_ITEMS, TVA_ON), TVA_RES_OK);
  // Past the test, the LP writer leaves the cones out.
  EXPECT_EQ(TVA_writedata(task_, path("c.lp").c_str()), TVA_RES_OK);
  ASSERT_EQ(TVA_putintparam(task_, TVA_IPAR_WRITE_IGNORE_INCOMPATIBLE_ITEMS, TVA_OFF), TVA_RES_OK);

  // Semidefinite variables: refused for MPS, not tested for free MPS, whose writer drops them.
  int32 dim = 2;
  ASSERT_EQ(store_appendbarvars(task_, 1, &dim), TVA_RES_OK);
  EXPECT_EQ(TVA_writedata(task_, path("s.mps").c_str()),
            TVA_RES_ERR_INVALID_FILE_FORMAT_FOR_SYM_MAT);
  ASSERT_EQ(TVA_writedata(task_, path("s.fmps").c_str()), TVA_RES_OK);
  TVAtask_t copy = nullptr;
  ASSERT_EQ(TVA_maketask(env_, 0, 0, &copy), TVA_RES_OK);
  ASSERT_EQ(TVA_readdata(copy, path("s.fmps").c_str()), TVA_RES_OK);
  EXPECT_EQ(copy->numbarvar, 0);
  EXPECT_EQ(copy->numcone, 1);
  TVA_deletetask(&copy);

  // The write format parameter wins over the name.
  ASSERT_EQ(TVA_putintparam(task_, TVA_IPAR_WRITE_DATA_FORMAT, TVA_DATA_FORMAT_XML), TVA_RES_OK);
  EXPECT_EQ(TVA_writedata(task_, path("s.fmps").c_str()),
            TVA_RES_ERR_INVALID_FILE_FORMAT_FOR_SYM_MAT);
}

TEST_F(ReadData, WriteLogLines) {
  write_text("in.mps", kSmallLp);
  ASSERT_EQ(TVA_readdata(task_, path("in.mps").c_str()), TVA_RES_OK);
  out_.clear();
  ASSERT_EQ(TVA_writedata(task_, path("out.mps").c_str()), TVA_RES_OK);
  EXPECT_NE(out_.find("Start writing.\n"), std::string::npos) << out_;
  EXPECT_NE(out_.find("done writing. Time: "), std::string::npos) << out_;
  ASSERT_EQ(TVA_putintparam(task_, TVA_IPAR_LOG_FILE, 0), TVA_RES_OK);
  out_.clear();
  ASSERT_EQ(TVA_writedata(task_, path("out.mps").c_str()), TVA_RES_OK);
  EXPECT_EQ(out_.find("Start writing."), std::string::npos) << out_;
}

} // namespace

namespace {

TEST_F(ReadData, ConeErrorsCarryAllTheirArguments) {
  // t is a member of two cones: the message names both cones and the variable with indices.
  write_text("overlap.fmps", "NAME o\nROWS\n N obj\nCOLUMNS\n t obj 1\n y obj 1\n z obj 1\n"
                             "CSECTION k1 0 QUAD\n t\n y\nCSECTION k2 0 QUAD\n z\n t\nENDATA\n");
  EXPECT_EQ(TVA_readdata(task_, path("overlap.fmps").c_str()), TVA_RES_ERR_CONE_OVERLAP);
  EXPECT_EQ(lastmsg(), "Variable 't' (0) is a member of cone 'k1' (0) and cone 'k2' (1).");
}

TEST_F(ReadData, WriterWarningsGoThroughTheReporter) {
  write_text("in.mps", kSmallLp);
  ASSERT_EQ(TVA_readdata(task_, path("in.mps").c_str()), TVA_RES_OK);
  ASSERT_EQ(store_putname(task_, kNameCon, 1, "CAP1"), TVA_RES_OK);
  out_.clear();
  ASSERT_EQ(TVA_writedata(task_, path("dup.mps").c_str()), TVA_RES_OK);
  EXPECT_NE(out_.find("TELVA warning 850: Constraint number 0 and 1 is given the same name "
                      "'CAP1'."),
            std::string::npos)
      << out_;
  EXPECT_NE(out_.find("TELVA warning 503:"), std::string::npos) << out_;
  // Generic names throughout, and the problem itself is unchanged.
  EXPECT_NE(file_text("dup.mps").find(" L  C1"), std::string::npos);
  TVAtask_t copy = nullptr;
  ASSERT_EQ(TVA_maketask(env_, 0, 0, &copy), TVA_RES_OK);
  ASSERT_EQ(TVA_readdata(copy, path("dup.mps").c_str()), TVA_RES_OK);
  {
    MpsModel a(task_->sys), b(copy->sys);
    ASSERT_EQ(mpstask_get(task_, &a), TVA_RES_OK);
    ASSERT_EQ(mpstask_get(copy, &b), TVA_RES_OK);
    const char* what = "";
    EXPECT_TRUE(mpsmodel_equal(a, b, false, &what)) << what;
  } // the models live in the tasks' memory: gone before the copy is
  TVA_deletetask(&copy);

  // A response handler that refuses warnings stops the write with the warning's code.
  ASSERT_EQ(TVA_putresponsefunc(
                task_, [](void*, TVArescode, const char*) -> TVAint32t { return 1; }, nullptr),
            TVA_RES_OK);
  EXPECT_EQ(TVA_writedata(task_, path("dup2.mps").c_str()), TVA_RES_WRN_DUPLICATE_CONSTRAINT_NAMES);
}

} // namespace
