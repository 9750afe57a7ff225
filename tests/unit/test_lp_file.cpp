// The LP reader and writer: the grammar's forms, the quadratic conventions, the errors with
// their lines, and what the writer does with names and with what it can't write.
#include <gtest/gtest.h>

#include "files_fixture.h"

namespace {

using filetest::Task;

double qobj(const Task& t, int32_t i, int32_t j) {
  double v = 0.0;
  EXPECT_EQ(TVA_getqobjij(t, i, j, &v), TVA_RES_OK);
  return v;
}

struct Bound {
  int32_t bk;
  double bl, bu;
};

Bound var_bound(const Task& t, int32_t j) {
  Bound b{};
  EXPECT_EQ(TVA_getvarbound(t, j, &b.bk, &b.bl, &b.bu), TVA_RES_OK);
  return b;
}

Bound con_bound(const Task& t, int32_t i) {
  Bound b{};
  EXPECT_EQ(TVA_getconbound(t, i, &b.bk, &b.bl, &b.bu), TVA_RES_OK);
  return b;
}

TEST(LpRead, QuadraticGroupsFollowTheHalfConvention) {
  struct Case {
    const char* objective;
    double xx, yx;
  };
  const Case cases[] = {{"[ x^2 ]/2", 1.0, 0.0},
                        {"[ x^2 ]", 2.0, 0.0},
                        {"[ x*y ]/2", 0.0, 0.5},
                        {"[ 3 x * y + 4 x ^ 2 ]", 8.0, 3.0},
                        {"[ x y - x^2 ]/2", -1.0, 0.5}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.objective);
    Task t;
    std::string text = std::string("minimize\n obj: y + ") + c.objective + "\nend\n";
    ASSERT_EQ(filetest::read_text(t, text, ".lp"), TVA_RES_OK) << t.last_message();
    int32_t x = 0, y = 0, asgn = 0;
    TVA_getvarnameindex(t, "x", &asgn, &x);
    TVA_getvarnameindex(t, "y", &asgn, &y);
    EXPECT_EQ(qobj(t, x, x), c.xx);
    EXPECT_EQ(qobj(t, y, x), c.yx);
  }
}

TEST(LpRead, ConstraintsBoundsAndIntegers) {
  Task t;
  const char* text = "\\ a comment line\n"
                     "Maximize\n"
                     " profit: 2 x + 3 y - z + 4.5\n"
                     "s.t.\n"
                     " c1: x + y + x <= 10\n"
                     " c2:: -5 <= x - y <= 5\n"
                     " - y + z >= -infinity\n"
                     " c4: x = 2\n"
                     "Bounds\n"
                     " y free\n"
                     " -3 <= z <= 8\n"
                     " w >= 1\n"
                     "binaries\n b\n"
                     "General\n z\n"
                     "End\n"
                     "whatever stands behind end is not read";
  ASSERT_EQ(filetest::read_text(t, text, ".lp"), TVA_RES_OK) << t.last_message();
  int32_t sense = 0, numvar = 0, numcon = 0;
  TVA_getobjsense(t, &sense);
  TVA_getnumvar(t, &numvar);
  TVA_getnumcon(t, &numcon);
  EXPECT_EQ(sense, TVA_OBJECTIVE_SENSE_MAXIMIZE);
  ASSERT_EQ(numvar, 5); // x y z w b, in order of appearance
  ASSERT_EQ(numcon, 4);
  double cfix = 0.0, a = 0.0;
  TVA_getcfix(t, &cfix);
  EXPECT_EQ(cfix, 4.5);
  TVA_getaij(t, 0, 0, &a);
  EXPECT_EQ(a, 2.0); // repeated names add up
  char name[64] = "";
  TVA_getobjname(t, sizeof name, name);
  EXPECT_STREQ(name, "profit");
  TVA_getconname(t, 2, sizeof name, name);
  EXPECT_STREQ(name, "");
  struct ConCase {
    int32_t i;
    Bound want;
  };
  for (const ConCase& c : {ConCase{0, {TVA_BK_UP, -1e30, 10}}, ConCase{1, {TVA_BK_RA, -5, 5}},
                           ConCase{2, {TVA_BK_FR, -1e30, 1e30}}, ConCase{3, {TVA_BK_FX, 2, 2}}}) {
    Bound b = con_bound(t, c.i);
    EXPECT_EQ(b.bk, c.want.bk) << "row " << c.i;
    EXPECT_EQ(b.bl, c.want.bl) << "row " << c.i;
    EXPECT_EQ(b.bu, c.want.bu) << "row " << c.i;
  }
  struct VarCase {
    int32_t j;
    Bound want;
    int32_t type;
  };
  for (const VarCase& c : {VarCase{0, {TVA_BK_LO, 0, 1e30}, TVA_VAR_TYPE_CONT},
                           VarCase{1, {TVA_BK_FR, -1e30, 1e30}, TVA_VAR_TYPE_CONT},
                           VarCase{2, {TVA_BK_RA, -3, 8}, TVA_VAR_TYPE_INT},
                           VarCase{3, {TVA_BK_LO, 1, 1e30}, TVA_VAR_TYPE_CONT},
                           VarCase{4, {TVA_BK_RA, 0, 1}, TVA_VAR_TYPE_INT}}) {
    Bound b = var_bound(t, c.j);
    int32_t type = 0;
    TVA_getvartype(t, c.j, &type);
    EXPECT_EQ(b.bk, c.want.bk) << "var " << c.j;
    EXPECT_EQ(b.bl, c.want.bl) << "var " << c.j;
    EXPECT_EQ(b.bu, c.want.bu) << "var " << c.j;
    EXPECT_EQ(type, c.type) << "var " << c.j;
  }
}

TEST(LpRead, SyntaxErrorsNameTheirLine) {
  struct Case {
    const char* text;
    TVArescode code;
    const char* message;
  };
  const Case cases[] = {
      {"x + y\nend\n", TVA_RES_ERR_LP_FILE_FORMAT, "at line: 1."},
      {"min\n x\nst\n 1 <= x\nend\n", TVA_RES_ERR_LP_FILE_FORMAT, "at line: 4."},
      {"min\n x\nst\n c: x <= 1\n", TVA_RES_ERR_READ_LP_MISSING_END_TAG, "line: 5. Missing End"},
      {"min\n x\nst\n\n c: x >= +inf\nend\n", TVA_RES_ERR_LP_FILE_FORMAT, "at line: 5."},
      {"min\n x\nst\n c: x = -infinity\nend\n", TVA_RES_ERR_LP_FILE_FORMAT, "at line: 4."},
      {"min\n [ x^3 ]\nend\n", TVA_RES_ERR_LP_FILE_FORMAT, "at line: 2."},
      {"min\n x\nst\n c: 2e+ x <= 1\nend\n", TVA_RES_ERR_LP_FILE_FORMAT, "at line: 4."},
      {"min\n x\nbounds\n x = inf\nend\n", TVA_RES_ERR_LP_FILE_FORMAT, "at line: 4."},
      {"min\n \"x\nend\n", TVA_RES_ERR_READ_LP_MISSING_END_TAG, "line: 2. Missing End"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    Task t;
    EXPECT_EQ(filetest::read_text(t, c.text, ".lp"), c.code);
    EXPECT_NE(t.last_message().find(c.message), std::string::npos) << t.last_message();
  }
}

TEST(LpRead, KeywordsNeedWholeWordsAndQuotesMakeNames) {
  Task t;
  // "subject" without "to" is a name; quoted names may be keywords or hold blanks.
  const char* text = "MINIMIZE\n subject + \"end\" + \"a b\"\nSUBJECT TO\n"
                     " r: subject - \"end\" >= 1\nEND\n";
  ASSERT_EQ(filetest::read_text(t, text, ".lp"), TVA_RES_OK) << t.last_message();
  int32_t numvar = 0, numcon = 0;
  TVA_getnumvar(t, &numvar);
  TVA_getnumcon(t, &numcon);
  EXPECT_EQ(numvar, 3);
  EXPECT_EQ(numcon, 1);
  char name[16] = "";
  TVA_getvarname(t, 1, sizeof name, name);
  EXPECT_STREQ(name, "end");
}

// A problem with what LP can hold, written and read back.
void fill(const Task& t) {
  ASSERT_EQ(TVA_appendvars(t, 4), TVA_RES_OK);
  ASSERT_EQ(TVA_appendcons(t, 3), TVA_RES_OK);
  const char* vars[] = {"x", "y", "e1", "z"};
  for (int32_t j = 0; j < 4; ++j) {
    TVA_putvarname(t, j, vars[j]);
    TVA_putvarbound(t, j, TVA_BK_RA, -1.5 * j, 10.0 + 0.1 * j);
  }
  TVA_putvarbound(t, 3, TVA_BK_FX, 0.3, 0.3);
  TVA_putvartype(t, 1, TVA_VAR_TYPE_INT);
  TVA_putconbound(t, 0, TVA_BK_RA, -1.0 / 3.0, 2.0);
  TVA_putconbound(t, 1, TVA_BK_UP, -1e30, 7.25);
  TVA_putconbound(t, 2, TVA_BK_FR, -1e30, 1e30);
  for (int32_t i = 0; i < 3; ++i)
    for (int32_t j = 0; j < 4; ++j)
      if ((i + j) % 2 == 0) TVA_putaij(t, i, j, 0.1 + i - 2.0 * j);
  TVA_putcj(t, 0, 1.0);
  TVA_putcj(t, 2, -2.0 / 7.0);
  TVA_putcfix(t, -3.5);
  const int32_t qi[] = {0, 1, 3}, qj[] = {0, 0, 2};
  const double qv[] = {2.0, -0.7, 1e-3};
  TVA_putqobj(t, 3, qi, qj, qv);
  TVA_putqconk(t, 1, 3, qi, qj, qv);
}

TEST(LpWrite, ProblemReadsBackWithGeneratedNamesWhereNeeded) {
  Task a, b;
  fill(a);
  TVA_putintparam(a, TVA_IPAR_WRITE_LP_TERMS_PER_LINE, 1);
  std::string text;
  ASSERT_TRUE(filetest::round_trip(a, b, ".lp", {}, &text));
  // "e1" is no LP name, so the variables get generated names that keep the stored ones; the
  // nameless constraints are numbered.
  EXPECT_NE(text.find("x0003_e1"), std::string::npos) << text;
  EXPECT_NE(text.find("c0002:"), std::string::npos) << text;
  EXPECT_NE(text.find(" x0004_z = 3e-1"), std::string::npos) << text;
}

TEST(LpWrite, RefusesWhatTheFormatCannotHold) {
  {
    Task t;
    fill(t);
    TVA_putintparam(t, TVA_IPAR_WRITE_LP_STRICT_FORMAT, TVA_ON);
    TVArescode r = TVA_RES_OK;
    filetest::write_text(t, ".lp", &r);
    EXPECT_EQ(r, TVA_RES_ERR_WRITE_LP_FORMAT);
    EXPECT_NE(t.last_message().find("ranged constraints"), std::string::npos);
  }
  {
    Task t;
    TVA_appendcons(t, 1);
    TVArescode r = TVA_RES_OK;
    filetest::write_text(t, ".lp", &r);
    EXPECT_EQ(r, TVA_RES_ERR_LP_EMPTY);
  }
  {
    Task t;
    fill(t);
    TVA_putqobj(t, 0, nullptr, nullptr, nullptr);
    TVA_putqconk(t, 1, 0, nullptr, nullptr, nullptr);
    TVA_putvarbound(t, 0, TVA_BK_FR, 0, 0);
    const int32_t members[] = {0, 1};
    ASSERT_EQ(TVA_appendcone(t, TVA_CT_QUAD, 0.0, 2, members), TVA_RES_OK);
    TVArescode r = TVA_RES_OK;
    filetest::write_text(t, ".lp", &r);
    EXPECT_EQ(r, TVA_RES_ERR_INVALID_FILE_FORMAT_FOR_CONES);
  }
}

} // namespace
