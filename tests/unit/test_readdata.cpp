// The file front end: name analysis, reading and writing through files (plain and gzip), the
// read statistics and summary, and the failures with their messages and places.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "telva.h"
#include "telva/datafile.h"
#include "telva/mpstask.h"
#include "telva/task.h"

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

// A mixed-integer problem with a quadratic objective, a quadratic constraint and a cone, all
// in free MPS.
const char* kRichMps = R"(NAME rich
OBJSENSE
    MAX
ROWS
 N obj
 L q1
 E e1
COLUMNS
 MARKER MARKER INTORG
 x obj 1 q1 1
 MARKER MARKER INTEND
 y obj 2 e1 1
 z e1 -1
 t obj 0.5
RHS
 rhs q1 10 e1 0
BOUNDS
 UP bnd x 4
 FR bnd t
QUADOBJ
 x x -2
 y x 0.5
QCMATRIX q1
 y y 1
CSECTION k1 0 QUAD
 t
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

TEST_F(ReadData, ReadsNamesAndData) {
  write_text("small.mps", kSmallLp);
  ASSERT_EQ(TVA_readdata(task_, path("small.mps").c_str()), TVA_RES_OK);
  EXPECT_EQ(task_->numcon, 3);
  EXPECT_EQ(task_->numvar, 3);
  EXPECT_STREQ(store_getname(task_, kNameCon, 2), "BALANCE");
  EXPECT_STREQ(store_getname(task_, kNameVar, 1), "X2");
  EXPECT_STREQ(task_->taskname, "SMALL");
}

} // namespace
