// The MPS writer: number text, the exact layout of its lines, generic names, and random
// problems written in each layout and read back unchanged.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "mps_fixture.h"
#include "telva/files/mps/mpsnumber.h"

namespace {

using namespace mpstest;

constexpr double kInf = 1e30;

std::string fmt(double v, int32 precision = 15) {
  char buf[40];
  mps_format_number(v, precision, buf);
  return buf;
}

TEST(MpsNumber, ShortestFormWithLimitedDigits) {
  EXPECT_EQ(fmt(0.0), "0");
  EXPECT_EQ(fmt(-0.0), "0");
  EXPECT_EQ(fmt(1.0), "1e+0");
  EXPECT_EQ(fmt(0.1), "1e-1");
  EXPECT_EQ(fmt(-0.0025), "-2.5e-3");
  EXPECT_EQ(fmt(123456.0), "1.23456e+5");
  EXPECT_EQ(fmt(1e300), "1e+300");
  EXPECT_EQ(fmt(1.0 / 3.0), "3.333333333333333e-1"); // 16 digits by default
  EXPECT_EQ(fmt(1.0 / 3.0, 2), "3.33e-1");
  EXPECT_EQ(fmt(0.29999999999999999), "3e-1");
  EXPECT_EQ(fmt(2.0 / 3.0, 16), "6.666666666666666e-1");
  EXPECT_EQ(fmt(1e30), "1e+30");
  EXPECT_EQ(fmt(std::numeric_limits<double>::infinity()), "inf");
  EXPECT_EQ(fmt(-std::numeric_limits<double>::infinity()), "-inf");
}

TEST(MpsNumber, ReadsBackWhatItWrites) {
  std::mt19937_64 rng(7);
  std::uniform_real_distribution<double> mant(-10.0, 10.0);
  std::uniform_int_distribution<int> expo(-300, 300);
  for (int t = 0; t < 20000; ++t) {
    double v = std::ldexp(mant(rng), expo(rng) / 4);
    char buf[40];
    mps_format_number(v, 16, buf);
    double back = 0.0;
    size_t used = 0;
    ASSERT_TRUE(mps_parse_number(buf, std::strlen(buf), &back, &used)) << buf;
    EXPECT_EQ(back, v) << buf;
    EXPECT_EQ(used, std::strlen(buf));
  }
  double v = 0;
  size_t used = 0;
  EXPECT_FALSE(mps_parse_number("e5", 2, &v, &used));
  EXPECT_FALSE(mps_parse_number("-", 1, &v, &used));
  EXPECT_TRUE(mps_parse_number("1e-400", 6, &v, &used));
  EXPECT_EQ(v, 0.0);
  EXPECT_TRUE(mps_parse_number("1.5x", 4, &v, &used));
  EXPECT_EQ(used, 3u);
}

class MpsWrite : public MpsTest {
protected:
  // A small problem with every kind of row and bound, integers, Q and a cone.
  void build(MpsModel& m) {
    m.task_name = "demo";
    m.obj_name = "cost";
    m.sense = TVA_OBJECTIVE_SENSE_MAXIMIZE;
    m.cfix = 2.5;
    m.add_con("lim", TVA_BK_UP, -kInf, 4.0);
    m.add_con("eq", TVA_BK_FX, 1.0, 1.0);
    m.add_con("rng", TVA_BK_RA, -1.0, 3.0);
    m.add_con("low", TVA_BK_LO, 0.0, kInf);
    m.add_var("x", TVA_BK_LO, 0.0, kInf, false);
    m.add_var("y", TVA_BK_RA, 0.0, 1.0, true);
    m.add_var("z", TVA_BK_FR, -kInf, kInf, false);
    m.add_var("w", TVA_BK_UP, -kInf, 5.0, true);
    m.c[0] = 1.0;
    m.c[2] = -0.1;
    auto put_col = [&m](int32 j, std::initializer_list<std::pair<int32, double>> e) {
      for (auto [i, v] : e) {
        m.a_sub.push_back(i);
        m.a_val.push_back(v);
      }
      for (int32 k = j + 1; k <= m.numvar(); ++k)
        m.a_ptr[k] = static_cast<int64>(m.a_sub.size());
    };
    put_col(0, {{0, 1.0}, {2, 2.0}});
    put_col(1, {{1, -1.0}});
    put_col(2, {});
    put_col(3, {{3, 0.5}});
    m.qobj.subi = {0, 1};
    m.qobj.subj = {0, 0};
    m.qobj.val = {2.0, 1.0};
    MpsQuad& q = m.qcon_make(0);
    q.subi = {2, 3};
    q.subj = {0, 3};
    q.val = {0.5, 4.0};
    m.cone_names.add("k1");
    m.cone_type.push_back(TVA_CT_RQUAD);
    m.cone_par.push_back(0.0);
    m.cone_sub = {0, 2, 3};
    m.cone_ptr.push_back(3);
  }
};

TEST_F(MpsWrite, LayoutOfEveryLine) {
  MpsModel m(sys_);
  build(m);
  std::string text = write_text(m, TVA_MPS_FORMAT_FREE);
  std::string want = "NAME           demo\n"
                     "* Written by TELVA version 8.0.0.81\n"
                     "OBJSENSE\n"
                     "    MAX\n"
                     "ROWS\n"
                     " N  cost\n"
                     " L  lim     \n"
                     " E  eq      \n"
                     " G  rng     \n"
                     " G  low     \n"
                     "COLUMNS\n"
                     "    x         cost      1e+0\n"
                     "    x         lim       1e+0\n"
                     "    x         rng       2e+0\n"
                     "    0         'MARKER'                 'INTORG'\n"
                     "    y         cost      0\n"
                     "    y         eq        -1e+0\n"
                     "    1         'MARKER'                 'INTEND'\n"
                     "    z         cost      -1e-1\n"
                     "    2         'MARKER'                 'INTORG'\n"
                     "    w         cost      0\n"
                     "    w         low       5e-1\n"
                     "    3         'MARKER'                 'INTEND'\n"
                     "RHS\n"
                     "    rhs       cost      -2.5e+0\n"
                     "    rhs       lim       4e+0\n"
                     "    rhs       eq        1e+0\n"
                     "    rhs       rng       -1e+0\n"
                     "RANGES\n"
                     "    ran       rng       4e+0\n"
                     "BOUNDS\n"
                     " BV bound     y       \n"
                     " FR bound     z       \n"
                     " MI bound     w       \n"
                     " UI bound     w         5e+0\n"
                     "QSECTION      cost\n"
                     "    x         x         2e+0\n"
                     "    y         x         1e+0\n"
                     "QSECTION      lim     \n"
                     "    z         x         5e-1\n"
                     "    w         w         4e+0\n"
                     "CSECTION      k1        0              RQUAD\n"
                     "    x       \n"
                     "    z       \n"
                     "    w       \n"
                     "ENDATA\n";
  EXPECT_EQ(text, want);
  // Strict and relaxed give the same text; the TVA_MPS_FORMAT_CPLEX layout differs in the quadratic
  // part.
  EXPECT_EQ(write_text(m, TVA_MPS_FORMAT_STRICT), want);
  EXPECT_EQ(write_text(m, TVA_MPS_FORMAT_RELAXED), want);
  std::string cplex = write_text(m, TVA_MPS_FORMAT_CPLEX);
  EXPECT_NE(cplex.find("QUADOBJ       \n    x         x         2e+0\n"), std::string::npos);
  EXPECT_NE(cplex.find("QCMATRIX      lim     \n"
                       "    z         x         2.5e-1\n"
                       "    x         z         2.5e-1\n"
                       "    w         w         2e+0\n"),
            std::string::npos);
}

TEST_F(MpsWrite, WrittenFileReadsBackInEveryReaderFormat) {
  MpsModel m(sys_);
  build(m);
  for (int32 layout = 0; layout <= 3; ++layout)
    expect_round_trip(m, layout, "demo");
  // Short names and short numbers fit the fixed columns as well.
  std::string text = write_text(m, TVA_MPS_FORMAT_STRICT);
  for (int32 format : {TVA_MPS_FORMAT_STRICT, TVA_MPS_FORMAT_RELAXED}) {
    MpsModel back(sys_);
    ASSERT_EQ(read_text(text, &back, format), TVA_RES_OK) << err_.line;
    const char* what = "";
    EXPECT_TRUE(mpsmodel_equal(m, back, true, &what)) << what;
  }
}

TEST_F(MpsWrite, OptionsForFreeRowsAndIntegers) {
  MpsModel m(sys_);
  build(m);
  m.add_con("free", TVA_BK_FR, -kInf, kInf);
  m.a_sub.push_back(4);
  m.a_val.push_back(9.0);
  ++m.a_ptr[4];
  SysString out{SysAllocator<char>(sys_)};
  MpsWriteOptions o;
  ASSERT_EQ(mps_write(sys_, m, o, mps_sink_text(&out), nullptr), TVA_RES_OK);
  EXPECT_NE(out.find(" N  free"), SysString::npos);
  EXPECT_NE(out.find("    w         free      9e+0"), SysString::npos);
  out.clear();
  o.write_free_con = false;
  o.write_int = false;
  ASSERT_EQ(mps_write(sys_, m, o, mps_sink_text(&out), nullptr), TVA_RES_OK);
  EXPECT_EQ(out.find("free"), SysString::npos);
  EXPECT_EQ(out.find("MARKER"), SysString::npos);
  // Integers written as continuous variables keep their bounds.
  EXPECT_NE(out.find(" UP bound     y         1e+0"), SysString::npos);
}

TEST_F(MpsWrite, GenericNames) {
  MpsModel m(sys_);
  build(m);
  // A blank in a name: generic names without a warning.
  MpsModel blank(sys_);
  build(blank);
  blank.var_names.clear();
  for (const char* n : {"x", "y y", "z", "w"})
    blank.var_names.add(n);
  bool generic = false;
  std::string text = write_text(blank, TVA_MPS_FORMAT_FREE, &generic);
  EXPECT_TRUE(generic);
  EXPECT_TRUE(warnings_.list.empty());
  EXPECT_EQ(text.substr(0, 5), "NAME\n");
  EXPECT_NE(text.find(" N  OBJ\n"), std::string::npos);
  EXPECT_NE(text.find("    X2        C2        -1e+0\n"), std::string::npos);
  EXPECT_NE(text.find("CSECTION      K1"), std::string::npos);
  MpsModel back(sys_);
  ASSERT_EQ(read_text(text, &back), TVA_RES_OK);
  const char* what = "";
  EXPECT_TRUE(mpsmodel_equal(blank, back, false, &what)) << what;
  // Two equal variable names: a warning for the pair, then the switch to generic names.
  MpsModel dup(sys_);
  build(dup);
  dup.var_names.clear();
  for (const char* n : {"x", "y", "x", "w"})
    dup.var_names.add(n);
  text = write_text(dup, TVA_MPS_FORMAT_FREE, &generic);
  EXPECT_TRUE(generic);
  ASSERT_EQ(warnings_.list.size(), 2u);
  EXPECT_EQ(warnings_.list[0].code, TVA_RES_WRN_DUPLICATE_VARIABLE_NAMES);
  EXPECT_EQ(warnings_.list[0].args[0].i, 0);
  EXPECT_EQ(warnings_.list[0].args[1].i, 2);
  EXPECT_STREQ(warnings_.list[0].args[2].s, "x");
  EXPECT_EQ(warnings_.list[1].code, TVA_RES_WRN_USING_GENERIC_NAMES);
  // The objective named like a constraint: generic names too.
  warnings_.list.clear();
  m.obj_name = "eq";
  write_text(m, TVA_MPS_FORMAT_FREE, &generic);
  EXPECT_TRUE(generic);
  ASSERT_EQ(warnings_.list.size(), 1u);
  EXPECT_EQ(warnings_.list[0].code, TVA_RES_WRN_USING_GENERIC_NAMES);
}

TEST_F(MpsWrite, SinkFailureIsAWriteError) {
  MpsModel m(sys_);
  build(m);
  MpsSink bad;
  bad.write = [](void*, const char*, int64) { return static_cast<int>(kSysFileWrite); };
  EXPECT_EQ(mps_write(sys_, m, MpsWriteOptions(), bad, nullptr), TVA_RES_ERR_FILE_WRITE);
}

// Random problems: values on a grid of eighths (exact in decimal and in sums), or arbitrary
// doubles with full precision, every bound key, integers, Q in the objective and constraints,
// cones on disjoint variables.
class MpsRandom : public MpsTest {
protected:
  void make(MpsModel& m, std::mt19937_64& rng, bool grid) {
    std::uniform_int_distribution<int> small(-40, 40), key(0, 4), count(0, 12), coin(0, 3);
    std::uniform_real_distribution<double> real(-1e3, 1e3);
    auto value = [&]() {
      double v = grid ? small(rng) / 8.0 : real(rng);
      return v == 0.0 ? 1.0 : v;
    };
    int32 n = 1 + count(rng) * 2, mcon = count(rng);
    m.task_name = "random";
    m.obj_name = "obj";
    m.sense = coin(rng) == 0 ? TVA_OBJECTIVE_SENSE_MAXIMIZE : TVA_OBJECTIVE_SENSE_MINIMIZE;
    m.cfix = coin(rng) == 0 ? 0.0 : value();
    auto bounds = [&](int32 bk, double* bl, double* bu, bool integer) {
      double a = integer ? std::round(value()) : value();
      double b = integer ? std::round(value()) : value();
      if (a > b) std::swap(a, b);
      if (a == b) b = a + 1;
      *bl = -kInf, *bu = kInf;
      switch (bk) {
      case TVA_BK_LO:
        *bl = a;
        break;
      case TVA_BK_UP:
        *bu = b;
        break;
      case TVA_BK_FX:
        *bl = *bu = a;
        break;
      // A ranged row is a right-hand side and a range in the file, so its upper bound comes
      // back as lower + range: only bounds of that form can be written exactly.
      case TVA_BK_RA:
        *bl = a, *bu = a + (b - a);
        break;
      default:
        break;
      }
    };
    for (int32 i = 0; i < mcon; ++i) {
      int32 bk = key(rng);
      if (bk == TVA_BK_FR) bk = TVA_BK_LO; // free rows don't come back from a read
      double bl, bu;
      bounds(bk, &bl, &bu, false);
      m.add_con(("c" + std::to_string(i)).c_str(), bk, bl, bu);
    }
    for (int32 j = 0; j < n; ++j) {
      bool integer = coin(rng) == 0;
      int32 bk = key(rng);
      double bl, bu;
      bounds(bk, &bl, &bu, integer);
      if (integer && bk == TVA_BK_RA && coin(rng) == 0) bl = 0.0, bu = 1.0;
      m.add_var(("longer_variable_name_" + std::to_string(j)).c_str(), bk, bl, bu, integer);
      m.c[j] = coin(rng) == 0 ? 0.0 : value();
      for (int32 i = 0; i < mcon; ++i)
        if (coin(rng) == 0) {
          m.a_sub.push_back(i);
          m.a_val.push_back(value());
        }
      m.a_ptr[j + 1] = static_cast<int64>(m.a_sub.size());
    }
    auto quad = [&](MpsQuad& q) {
      for (int32 t = count(rng); t > 0; --t) {
        std::uniform_int_distribution<int32> var(0, n - 1);
        int32 a = var(rng), b = var(rng);
        q.subi.push_back(std::max(a, b));
        q.subj.push_back(std::min(a, b));
        q.val.push_back(value());
      }
      q.normalize();
    };
    quad(m.qobj);
    for (int32 i = 0; i < mcon; ++i)
      if (coin(rng) == 0) {
        MpsQuad& q = m.qcon_make(i);
        quad(q);
        if (q.size() == 0) {
          m.qcon.erase(m.qcon.begin() + static_cast<std::ptrdiff_t>(
                                            std::find(m.qcon_index.begin(), m.qcon_index.end(), i) -
                                            m.qcon_index.begin()));
          m.qcon_index.erase(std::find(m.qcon_index.begin(), m.qcon_index.end(), i));
        }
      }
    // Cones on consecutive runs of variables.
    int32 j = 0;
    while (j + 3 <= n && coin(rng) != 0) {
      int32 size = 2 + coin(rng) % 2;
      m.cone_names.add(("k" + std::to_string(m.numcone())).c_str());
      m.cone_type.push_back(coin(rng) % 2 ? TVA_CT_QUAD : TVA_CT_RQUAD);
      m.cone_par.push_back(0.0);
      for (int32 t = 0; t < size; ++t)
        m.cone_sub.push_back(j + t);
      m.cone_ptr.push_back(static_cast<int64>(m.cone_sub.size()));
      j += size;
    }
  }
};

TEST_F(MpsRandom, GridValuesRoundTripAtDefaultPrecision) {
  std::mt19937_64 rng(2024);
  for (int t = 0; t < 150; ++t) {
    MpsModel m(sys_);
    make(m, rng, true);
    for (int32 layout = 0; layout <= 3; ++layout)
      expect_round_trip(m, layout, "grid " + std::to_string(t));
  }
}

TEST_F(MpsRandom, ArbitraryDoublesRoundTripWithFullPrecision) {
  std::mt19937_64 rng(99);
  for (int t = 0; t < 150; ++t) {
    MpsModel m(sys_);
    make(m, rng, false);
    for (int32 layout = 0; layout <= 3; ++layout)
      expect_round_trip(m, layout, "real " + std::to_string(t), 16);
  }
}

} // namespace
