// The CBF reader and writer: domains and cones, the coordinates, semidefinite variables and
// matrix inequalities, and the errors with their lines.
#include <gtest/gtest.h>

#include "files_fixture.h"

namespace {

using filetest::Task;

TEST(CbfRead, ConeBlocksOfRowsGetVariablesAndRangesTwoRows) {
  Task t;
  const char* text = "# a comment\nVER\n3\n\nOBJSENSE\nMAX\nVAR\n3 2\nL+ 1\nF 2\nINT\n1\n0\n"
                     "CON\n4 2\nL- 1\nQ 3\n"
                     "OBJACOORD\n2\n0 1.5\n2 -1\nOBJBCOORD\n2.5\n"
                     "ACOORD\n4\n0 0 1\n0 1 2\n1 2 1\n3 1 -1\nBCOORD\n2\n0 -4\n2 7\n"
                     "CHANGE\nthis is not read\n";
  ASSERT_EQ(filetest::read_text(t, text, ".cbf"), TVA_RES_OK) << t.last_message();
  int32_t numvar = 0, numcon = 0, numcone = 0, sense = 0, type = 0;
  TVA_getnumvar(t, &numvar);
  TVA_getnumcon(t, &numcon);
  TVA_getnumcone(t, &numcone);
  TVA_getobjsense(t, &sense);
  TVA_getvartype(t, 0, &type);
  EXPECT_EQ(numvar, 6); // three of the file and one per row of the Q block
  EXPECT_EQ(numcon, 4);
  EXPECT_EQ(numcone, 1);
  EXPECT_EQ(sense, TVA_OBJECTIVE_SENSE_MAXIMIZE);
  EXPECT_EQ(type, TVA_VAR_TYPE_INT);
  int32_t ct = 0, nummem = 0, sub[3] = {};
  double par = 0.0;
  TVA_getcone(t, 0, &ct, &par, &nummem, sub);
  EXPECT_EQ(ct, TVA_CT_QUAD);
  EXPECT_EQ(nummem, 3);
  EXPECT_EQ(sub[0], 3);
  int32_t bk = 0;
  double bl = 0.0, bu = 0.0, a = 0.0;
  TVA_getconbound(t, 0, &bk, &bl, &bu); // x0 + 2 x1 - 4 <= 0
  EXPECT_EQ(bk, TVA_BK_UP);
  EXPECT_EQ(bu, 4.0);
  TVA_getconbound(t, 2, &bk, &bl, &bu); // 7 - s4 = 0
  EXPECT_EQ(bk, TVA_BK_FX);
  EXPECT_EQ(bl, -7.0);
  TVA_getaij(t, 2, 4, &a);
  EXPECT_EQ(a, -1.0);

  // A ranged row goes out as two rows, the bound of a variable other than 0 as a row.
  TVA_putconbound(t, 0, TVA_BK_RA, -1.0, 4.0);
  TVA_putvarbound(t, 1, TVA_BK_LO, 3.0, 0.0);
  Task back;
  TVArescode r = TVA_RES_OK;
  std::string out = filetest::write_text(t, ".cbf", &r);
  ASSERT_EQ(r, TVA_RES_OK);
  ASSERT_EQ(filetest::read_text(back, out, ".cbf"), TVA_RES_OK) << out;
  EXPECT_TRUE(filetest::cbf_image(t, back)) << out;
}

TEST(CbfRead, MatrixInequalitiesBecomeBarVariablesWithRows) {
  Task t;
  // x0 [[1,2],[2,0]] + [[0,0],[0,-1]] >= 0 with one PSDVAR of order 1 in the objective.
  const char* text =
      "VER\n1\nPSDVAR\n1\n1\nVAR\n1 1\nF 1\nPSDCON\n1\n2\n"
      "OBJFCOORD\n1\n0 0 0 3\nHCOORD\n2\n0 0 0 0 1\n0 0 1 0 2\nDCOORD\n1\n0 1 1 -1\n";
  ASSERT_EQ(filetest::read_text(t, text, ".cbf"), TVA_RES_OK) << t.last_message();
  int32_t numbarvar = 0, numcon = 0, dim = 0;
  TVA_getnumbarvar(t, &numbarvar);
  TVA_getnumcon(t, &numcon);
  TVA_getdimbarvarj(t, 1, &dim);
  EXPECT_EQ(numbarvar, 2);
  EXPECT_EQ(numcon, 3); // positions (0,0), (1,0), (1,1)
  EXPECT_EQ(dim, 2);
  double a = 0.0;
  TVA_getaij(t, 1, 0, &a);
  EXPECT_EQ(a, 2.0);
  int32_t bk = 0;
  double bl = 0.0, bu = 0.0;
  TVA_getconbound(t, 2, &bk, &bl, &bu);
  EXPECT_EQ(bk, TVA_BK_FX);
  EXPECT_EQ(bl, 1.0);
  // Written back as a PSDCON, it reads to the same task.
  Task back;
  std::string out;
  ASSERT_TRUE(filetest::round_trip(t, back, ".cbf", {}, &out));
  EXPECT_NE(out.find("PSDCON\n1\n2\n"), std::string::npos) << out;
  EXPECT_NE(out.find("DCOORD\n1\n0 1 1 -1\n"), std::string::npos) << out;
}

TEST(CbfRead, Errors) {
  struct Case {
    const char* text;
    TVArescode code;
    const char* message;
  };
  const Case cases[] = {
      {"OBJSENSE\nMIN\nVER\n1\n", TVA_RES_ERR_CBF_NO_VERSION_SPECIFIED, "No version"},
      {"VER\n1\nOBJSENSE\nUP\n", TVA_RES_ERR_CBF_OBJ_SENSE, "(line=4)"},
      {"VER\n1\nOBJSENSE\nMIN\nOBJSENSE\nMAX\n", TVA_RES_ERR_CBF_DUPLICATE_OBJ, "(line=5)"},
      {"VER\n1\nCON\n1 1\nL= 1\n", TVA_RES_ERR_CBF_NO_VARIABLES, "(line=3)"},
      {"VER\n1\nVAR\n2 1\nF 3\n", TVA_RES_ERR_CBF_TOO_MANY_VARIABLES, "(line=5)"},
      {"VER\n1\nVAR\n3 1\nF 2\n", TVA_RES_ERR_CBF_TOO_FEW_VARIABLES, "Expected 3 but got only 2"},
      {"VER\n1\nVAR\n2 1\nQR 1\n", TVA_RES_ERR_CBF_INVALID_DOMAIN_DIMENSION, "(line=5)"},
      {"VER\n1\nVAR\n2 1\nL* 2\n", TVA_RES_ERR_CBF_INVALID_VAR_TYPE, "(line=5)"},
      {"VER\n3\nVAR\n3 1\nEXP 3\n", TVA_RES_ERR_CBF_UNSUPPORTED, "(line=5)"},
      {"VER\n3\nPOWCONE\n1 2\n", TVA_RES_ERR_CBF_UNSUPPORTED, "(line=3)"},
      {"VER\n1\nVAR\n2 1\nF 2\nINT\n1\n5\nOBJACOORD\n0\n", TVA_RES_ERR_CBF_INVALID_INT_INDEX,
       "5 is an invalid"},
      {"VER\n1\nVAR\n2 1\nF 2\nINT\n2\n0\nCON\n0 0\n", TVA_RES_ERR_CBF_TOO_FEW_INTS,
       "Expected 2 ints but got 1"},
      {"VER\n1\nVAR\n2 1\nF 2\nOBJACOORD\n2\n1 1\n1 2\n", TVA_RES_ERR_CBF_DUPLICATE_OBJACOORD,
       "Index 1 is"},
      {"VER\n1\nVAR\n1 1\nF 1\nCON\n1 1\nL= 1\nACOORD\n2\n0 0 1\n0 0 2\n",
       TVA_RES_ERR_CBF_DUPLICATE_ACOORD, "row 0 and column 0"},
      {"VER\n1\nVAR\n1 1\nF 1\nOBJACOORD\n1\n1 1.0\n", TVA_RES_ERR_CBF_PARSE, "(line=8)"},
      {"VER\n1\nVAR\n1 1\nF 1\nOBJACOORD\n1\n0 1x\n", TVA_RES_ERR_CBF_PARSE, "(line=8)"},
      {"VER\n1\nVAR\n1 1\nF 1\nOBJACOORD\n2\n0 1\n", TVA_RES_ERR_END_OF_FILE, "End of file"},
      {"VER\n1\nVARS\n", TVA_RES_ERR_CBF_SYNTAX, "(line=3)"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    Task t;
    EXPECT_EQ(filetest::read_text(t, c.text, ".cbf"), c.code);
    EXPECT_NE(t.last_message().find(c.message), std::string::npos) << t.last_message();
  }
}

TEST(CbfWrite, RefusesQuadraticTermsUnlessTold) {
  Task t;
  ASSERT_EQ(TVA_appendvars(t, 1), TVA_RES_OK);
  TVA_putvarbound(t, 0, TVA_BK_FR, 0, 0);
  const int32_t i[] = {0};
  const double v[] = {1.0};
  TVA_putqobj(t, 1, i, i, v);
  TVArescode r = TVA_RES_OK;
  filetest::write_text(t, ".cbf", &r);
  EXPECT_EQ(r, TVA_RES_ERR_INVALID_FILE_FORMAT_FOR_QUADRATIC_TERMS);
  TVA_putintparam(t, TVA_IPAR_WRITE_IGNORE_INCOMPATIBLE_ITEMS, TVA_ON);
  std::string text = filetest::write_text(t, ".cbf", &r);
  EXPECT_EQ(r, TVA_RES_OK);
  EXPECT_EQ(text.find("COORD"), std::string::npos) << text;
}

} // namespace
