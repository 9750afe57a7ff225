// A few benchmark files read in place, checked against their solutions.csv counts and written
// and read back in every layout (the whole sets run in the sweep tests).
#include "mps_fixture.h"
#include "test_data.h"

namespace {

using namespace mpstest;

class MpsData : public MpsTest {
protected:
  void read(const std::string& rel, MpsModel* m, bool keep_free = false) {
    std::string path = testdata::path(rel);
    ASSERT_TRUE(testdata::readable(path));
    MpsReadOptions o = options(TVA_MPS_FORMAT_STRICT);
    o.keep_free_con = keep_free;
    ASSERT_EQ(read_file(path, o, m), TVA_RES_OK) << rel << " line " << err_.line;
  }
};

TEST_F(MpsData, AfiroWithObjectiveConstantFromTheRhs) {
  MpsModel m(sys_);
  read("netlib/e226.mps.gz", &m);
  if (HasFatalFailure()) return;
  // netlib table: 224 rows with the objective, 282 columns, 2767 non-zeros with c.
  EXPECT_EQ(m.numcon(), 223);
  EXPECT_EQ(m.numvar(), 282);
  int64 cnz = 0;
  for (double v : m.c)
    cnz += v != 0.0;
  EXPECT_EQ(m.numanz() + cnz, 2767);
  EXPECT_EQ(m.cfix, 7.113); // the objective row's right-hand side is -7.113
  for (int32 layout = 0; layout <= 3; ++layout)
    expect_round_trip(m, layout, "e226");
}

TEST_F(MpsData, ForplanNamesWithBlanksAndRanges) {
  MpsModel m(sys_);
  read("netlib/forplan.mps.gz", &m);
  if (HasFatalFailure()) return;
  EXPECT_EQ(m.numcon() + 1, 162);
  EXPECT_EQ(m.numvar(), 421);
  EXPECT_GE(m.con_names.find("DEDO3 1R"), 0);
  EXPECT_STREQ(m.obj_name.c_str(), "OB1PNW20"); // the second row
  int ranged = 0;
  for (int32 bk : m.con_bk)
    ranged += bk == TVA_BK_RA;
  EXPECT_EQ(ranged, 1); // one RANGES entry, on a G row
  for (int32 layout = 0; layout <= 3; ++layout)
    expect_round_trip(m, layout, "forplan"); // with generic names
}

TEST_F(MpsData, MarkersAndIntegerBounds) {
  MpsModel m(sys_);
  read("miplib/p0033.mps.gz", &m);
  if (HasFatalFailure()) return;
  EXPECT_EQ(m.numcon(), 16);
  EXPECT_EQ(m.numvar(), 33);
  EXPECT_EQ(m.numintvar(), 33);
  for (int32 layout = 0; layout <= 3; ++layout)
    expect_round_trip(m, layout, "p0033");
  MpsModel bv(sys_);
  read("miplib/pp08a.mps.gz", &bv); // BV and UI without markers, blank lines
  if (HasFatalFailure()) return;
  EXPECT_EQ(bv.numcon(), 136);
  EXPECT_EQ(bv.numvar(), 240);
  EXPECT_EQ(bv.numintvar(), 64);
}

TEST_F(MpsData, QuadraticObjective) {
  MpsModel m(sys_);
  read("qp/HS21.qps.gz", &m);
  if (HasFatalFailure()) return;
  EXPECT_EQ(m.numcon(), 1);
  EXPECT_EQ(m.numvar(), 2);
  EXPECT_EQ(m.cfix, -100.0);
  EXPECT_EQ(m.qobj.size(), 2);
  for (int32 layout = 0; layout <= 3; ++layout)
    expect_round_trip(m, layout, "HS21");
}

} // namespace
