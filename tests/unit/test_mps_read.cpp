// The MPS reader on small hand-written files: every section, the bound and range rules, the
// quadratic and cone sections, and each error and warning with its line.
#include <cmath>

#include "mps_fixture.h"

namespace {

using namespace mpstest;

constexpr double kInf = 1e30;

class MpsRead : public MpsTest {};

// A data line in fixed columns: fields at columns 1, 4, 14, 24, 39, 49; numbers are set
// flush right in their 12 columns.
std::string fixed_line(const std::string& f1, const std::string& f2, const std::string& f3,
                       const std::string& f4 = "", const std::string& f5 = "",
                       const std::string& f6 = "") {
  std::string line(61, ' ');
  auto place = [&line](size_t col, const std::string& t) { line.replace(col, t.size(), t); };
  place(1, f1);
  place(4, f2);
  place(14, f3);
  place(36 - f4.size(), f4);
  place(39, f5);
  place(61 - f6.size(), f6);
  while (!line.empty() && line.back() == ' ')
    line.pop_back();
  return line + "\n";
}

const char* kSmall = R"(NAME          small problem  
ROWS
 N  obj
 L  c1
 G  c2
 E  c3
COLUMNS
    x         obj       1.5        c1        2
    x         c2        -1
    y         obj       -1         c3        4
    y         c1        1
RHS
    rhs       c1        10         c2        -5
    rhs       c3        8          obj       2.5
BOUNDS
 UP bnd       x         4
ENDATA
)";

TEST_F(MpsRead, ClassicalSections) {
  MpsModel m(sys_);
  ASSERT_EQ(read_text(kSmall, &m), TVA_RES_OK);
  EXPECT_STREQ(m.task_name.c_str(), "small problem");
  EXPECT_STREQ(m.obj_name.c_str(), "obj");
  ASSERT_EQ(m.numcon(), 3); // the objective row is gone
  EXPECT_STREQ(m.con_names.get(0), "c1");
  EXPECT_EQ(m.con_bk[0], TVA_BK_UP);
  EXPECT_EQ(m.con_bl[0], -kInf);
  EXPECT_EQ(m.con_bu[0], 10.0);
  EXPECT_EQ(m.con_bk[1], TVA_BK_LO);
  EXPECT_EQ(m.con_bl[1], -5.0);
  EXPECT_EQ(m.con_bk[2], TVA_BK_FX);
  EXPECT_EQ(m.con_bl[2], 8.0);
  EXPECT_EQ(m.con_bu[2], 8.0);
  EXPECT_EQ(m.cfix, -2.5); // minus the right-hand side of the objective row
  ASSERT_EQ(m.numvar(), 2);
  EXPECT_EQ(m.c[0], 1.5);
  EXPECT_EQ(m.c[1], -1.0);
  EXPECT_EQ(m.var_bk[0], TVA_BK_RA);
  EXPECT_EQ(m.var_bl[0], 0.0);
  EXPECT_EQ(m.var_bu[0], 4.0);
  EXPECT_EQ(m.var_bk[1], TVA_BK_LO);
  EXPECT_EQ(m.var_bu[1], kInf);
  // A by columns, rows renumbered after the objective row left.
  ASSERT_EQ(m.numanz(), 4);
  EXPECT_EQ(m.a_ptr[1], 2);
  EXPECT_EQ(m.a_sub[0], 0);
  EXPECT_EQ(m.a_val[0], 2.0);
  EXPECT_EQ(m.a_sub[1], 1);
  EXPECT_EQ(m.a_val[1], -1.0);
  EXPECT_EQ(m.a_sub[2], 2);
  EXPECT_EQ(m.a_sub[3], 0);
  EXPECT_EQ(m.sense, TVA_OBJECTIVE_SENSE_MINIMIZE);
}

TEST_F(MpsRead, FixedColumnsKeepBlanksInNamesAndAllowEmptyVectorNames) {
  std::string text = "NAME          FIX\n"
                     "ROWS\n"
                     " N  COST\n"
                     " L  ROW 1\n"
                     "COLUMNS\n" +
                     fixed_line("", "X 1", "COST", "1.", "ROW 1", "2.") + "RHS\n" +
                     fixed_line("", "", "ROW 1", "3.") + "BOUNDS\n" +
                     fixed_line("UP", "", "X 1", "7.") + "ENDATA\n";
  for (int32 format : {TVA_MPS_FORMAT_STRICT, TVA_MPS_FORMAT_RELAXED}) {
    MpsModel m(sys_);
    ASSERT_EQ(read_text(text, &m, format), TVA_RES_OK) << err_.line;
    EXPECT_STREQ(m.con_names.get(0), "ROW 1");
    EXPECT_STREQ(m.var_names.get(0), "X 1");
    EXPECT_EQ(m.con_bu[0], 3.0);
    EXPECT_EQ(m.var_bu[0], 7.0);
    EXPECT_EQ(m.a_val[0], 2.0);
  }
}

TEST_F(MpsRead, StrictAndRelaxedDifferOnlyInNumberWidth) {
  // The number of field 4 runs past column 35.
  const char* text = "ROWS\n"
                     " N  obj\n"
                     "COLUMNS\n"
                     "    x         obj       1.00000000000001\n"
                     "ENDATA\n";
  MpsModel m(sys_);
  EXPECT_EQ(read_text(text, &m, TVA_MPS_FORMAT_STRICT), TVA_RES_ERR_MPS_INV_FIELD);
  EXPECT_EQ(err_.line, 4);
  EXPECT_EQ(err_.args[0].i, 3);
  ASSERT_EQ(read_text(text, &m, TVA_MPS_FORMAT_RELAXED), TVA_RES_OK);
  EXPECT_EQ(m.c[0], 1.00000000000001);
}

TEST_F(MpsRead, FixedFieldErrors) {
  struct Case {
    const char* line;
    TVArescode code;
    int field;
  } cases[] = {
      {"    x         obj       1   z", TVA_RES_ERR_MPS_INV_FIELD, 4},
      {"   xx         obj       1", TVA_RES_ERR_MPS_INV_FIELD, 1},
      {"    x        obj       1", TVA_RES_ERR_MPS_INV_FIELD, 2},
      {"    x         obj       1x", TVA_RES_ERR_MPS_INV_FIELD, 3},
      {"    x         obj", TVA_RES_ERR_MPS_INV_FIELD, 3}, // the number is required
      {"    x         obj       1              obj       z", TVA_RES_ERR_MPS_INV_FIELD, 5},
      {"    x\ty       obj       1", TVA_RES_ERR_MPS_TAB_IN_FIELD2, 0},
      {"    x         o\tj       1", TVA_RES_ERR_MPS_TAB_IN_FIELD3, 0},
      {"    x         obj       1              o\tj       1", TVA_RES_ERR_MPS_TAB_IN_FIELD5, 0},
  };
  for (const Case& c : cases) {
    std::string text = std::string("ROWS\n N  obj\nCOLUMNS\n") + c.line + "\nENDATA\n";
    MpsModel m(sys_);
    EXPECT_EQ(read_text(text, &m, TVA_MPS_FORMAT_STRICT), c.code) << c.line;
    EXPECT_EQ(err_.line, 4) << c.line;
    if (c.field) {
      EXPECT_EQ(err_.args[0].i, c.field) << c.line;
    }
  }
  MpsModel m(sys_);
  EXPECT_EQ(read_text("ROWS\n N  obj     x\nENDATA\n", &m, TVA_MPS_FORMAT_STRICT),
            TVA_RES_ERR_MPS_INV_FIELD);
  EXPECT_EQ(err_.args[0].i, 2);
  EXPECT_EQ(err_.line, 2);
}

TEST_F(MpsRead, SectionOrder) {
  MpsModel m(sys_);
  // RHS before COLUMNS: COLUMNS is the section that is not expected.
  EXPECT_EQ(read_text("ROWS\n N obj\nRHS\nCOLUMNS\n x obj 1\nENDATA\n", &m),
            TVA_RES_ERR_MPS_INV_SEC_ORDER);
  EXPECT_STREQ(err_.args[0].s, "COLUMNS");
  EXPECT_EQ(err_.line, 4);
  // QSECTION needs ROWS first.
  EXPECT_EQ(read_text("NAME x\nQSECTION obj\n x x 1\nENDATA\n", &m), TVA_RES_ERR_MPS_INV_SEC_ORDER);
  EXPECT_STREQ(err_.args[0].s, "QSECTION");
  EXPECT_EQ(err_.line, 2);
  // An unknown keyword.
  EXPECT_EQ(read_text("ROWS\n N obj\nCOLUMS\nENDATA\n", &m), TVA_RES_ERR_MPS_INV_FIELD);
  EXPECT_EQ(err_.args[0].i, 1);
  EXPECT_EQ(err_.line, 3);
  // Keywords are prefixes: ROWSX is ROWS. NAME may be missing.
  ASSERT_EQ(read_text("ROWSX\n N obj\nCOLUMNS\n x obj 1\nENDATA\n", &m), TVA_RES_OK);
  EXPECT_EQ(m.numvar(), 1);
  // Without ENDATA.
  EXPECT_EQ(read_text("ROWS\n N obj\nCOLUMNS\n x obj 1\n", &m), TVA_RES_ERR_END_OF_FILE);
  // Text after ENDATA is not read.
  EXPECT_EQ(read_text("ROWS\n N obj\nENDATA\nIMPORTANCES\n junk\n", &m), TVA_RES_OK);
}

TEST_F(MpsRead, CommentsBlankLinesCrLfAndLongLines) {
  MpsModel m(sys_);
  std::string text = "* comment\r\n\r\nNAME t\r\nROWS\r\n   \r\n N obj\r\n* more\r\nCOLUMNS\r\n"
                     " x obj 1   \r\nENDATA\r\n";
  ASSERT_EQ(read_text(text, &m), TVA_RES_OK);
  EXPECT_EQ(m.c[0], 1.0);
  // With a width of 80 a line of 100 characters is two lines; the rest is not indented and
  // so is an unknown section word, on the same physical line.
  std::string lng = " x obj 1" + std::string(80 - 8, ' ') + "TAILTEXT" + std::string(12, 'x');
  MpsReadOptions o = options();
  o.width = 80;
  EXPECT_EQ(read_text("ROWS\n N obj\nCOLUMNS\n" + lng + "\nENDATA\n", o, &m),
            TVA_RES_ERR_MPS_INV_FIELD);
  EXPECT_EQ(err_.line, 4);
  EXPECT_EQ(err_.args[0].i, 1);
}

TEST_F(MpsRead, ObjsenseAndObjname) {
  MpsModel m(sys_);
  ASSERT_EQ(read_text("OBJSENSE\n    MAXIMIZE\nROWS\n N a\n N b\nENDATA\n", &m), TVA_RES_OK);
  EXPECT_EQ(m.sense, TVA_OBJECTIVE_SENSE_MAXIMIZE);
  ASSERT_EQ(read_text("OBJSENSE MAX\nROWS\n N a\nENDATA\n", &m), TVA_RES_OK);
  EXPECT_EQ(m.sense, TVA_OBJECTIVE_SENSE_MAXIMIZE);
  // A tab does not indent: the sense line is missing.
  ASSERT_EQ(read_text("OBJSENSE\n\tMIN\nROWS\n N a\nENDATA\n", &m), TVA_RES_ERR_MPS_FILE);
  EXPECT_EQ(err_.line, 2);
  ASSERT_EQ(read_text("OBJSENSE\n MIN\nROWS\n N a\nENDATA\n", &m), TVA_RES_OK);
  EXPECT_EQ(m.sense, TVA_OBJECTIVE_SENSE_MINIMIZE);
  EXPECT_EQ(read_text("OBJSENSE\n    max\nROWS\n", &m), TVA_RES_ERR_MPS_INVALID_OBJSENSE);
  EXPECT_STREQ(err_.args[0].s, "max");
  EXPECT_EQ(err_.line, 2);
  EXPECT_EQ(read_text("OBJSENSE\nROWS\n", &m), TVA_RES_ERR_MPS_FILE);

  // OBJNAME picks the second N row; the first N row is then an ordinary free row.
  const char* two = "OBJNAME\n    b\nROWS\n N a\n N b\nCOLUMNS\n x a 1 b 2\nENDATA\n";
  ASSERT_EQ(read_text(two, &m), TVA_RES_OK);
  EXPECT_STREQ(m.obj_name.c_str(), "b");
  EXPECT_STREQ(m.objname_section.c_str(), "b");
  EXPECT_EQ(m.c[0], 2.0);
  EXPECT_EQ(m.numcon(), 0);
  // The objective name may also come from the options.
  MpsReadOptions o = options();
  o.obj_name = "b";
  ASSERT_EQ(read_text("ROWS\n N a\n N b\nCOLUMNS\n x a 1 b 2\nENDATA\n", o, &m), TVA_RES_OK);
  EXPECT_EQ(m.c[0], 2.0);
  o.obj_name = "zz";
  EXPECT_EQ(read_text("ROWS\n N a\nCOLUMNS\n", o, &m), TVA_RES_ERR_MPS_INVALID_OBJ_NAME);
  EXPECT_STREQ(err_.args[0].s, "zz");
  EXPECT_EQ(read_text("ROWS\n E a\nCOLUMNS\n", &m), TVA_RES_ERR_MPS_NO_OBJECTIVE);
  EXPECT_EQ(read_text("OBJNAME\n N  b\nROWS\n", &m, TVA_MPS_FORMAT_STRICT),
            TVA_RES_ERR_MPS_INV_FIELD);
}

TEST_F(MpsRead, RowsErrors) {
  MpsModel m(sys_);
  EXPECT_EQ(read_text("ROWS\n N obj\n X r1\nENDATA\n", &m), TVA_RES_ERR_MPS_INV_CON_KEY);
  EXPECT_STREQ(err_.args[0].s, "X");
  EXPECT_STREQ(err_.args[1].s, "r1");
  EXPECT_EQ(err_.line, 3);
  EXPECT_EQ(read_text("ROWS\n N obj\n LE r1\nENDATA\n", &m), TVA_RES_ERR_MPS_INV_CON_KEY);
  EXPECT_EQ(read_text("ROWS\n N obj\n L\nENDATA\n", &m), TVA_RES_ERR_MPS_NULL_CON_NAME);
  EXPECT_EQ(read_text("ROWS\n N obj\n L r\n G r\nENDATA\n", &m), TVA_RES_ERR_MPS_MUL_CON_NAME);
  EXPECT_STREQ(err_.args[0].s, "r");
  EXPECT_EQ(err_.line, 4);
  EXPECT_EQ(read_text("ROWS\n N obj\n L r extra\nENDATA\n", &m), TVA_RES_ERR_MPS_INV_FIELD);
  EXPECT_EQ(err_.args[0].i, 2);
}

TEST_F(MpsRead, ColumnsRules) {
  MpsModel m(sys_);
  // Two entries of one row in one column are added; an explicit zero is dropped.
  ASSERT_EQ(read_text("ROWS\n N obj\n L r\nCOLUMNS\n x r 1 r 2\n x obj 0\n y r 0\nENDATA\n", &m),
            TVA_RES_OK);
  EXPECT_EQ(m.numanz(), 1);
  EXPECT_EQ(m.a_val[0], 3.0);
  EXPECT_EQ(m.numvar(), 2);
  EXPECT_EQ(read_text("ROWS\n N obj\nCOLUMNS\n x obj 1\n y obj 1\n x obj 1\nENDATA\n", &m),
            TVA_RES_ERR_MPS_SPLITTED_VAR);
  EXPECT_STREQ(err_.args[0].s, "x");
  EXPECT_EQ(err_.line, 6);
  EXPECT_EQ(read_text("ROWS\n N obj\nCOLUMNS\n x nope 1\nENDATA\n", &m),
            TVA_RES_ERR_MPS_UNDEF_CON_NAME);
  EXPECT_STREQ(err_.args[0].s, "nope");
  EXPECT_EQ(read_text("ROWS\n N obj\nCOLUMNS\n x obj 1 r\nENDATA\n", &m),
            TVA_RES_ERR_MPS_UNDEF_CON_NAME);
  EXPECT_EQ(read_text("ROWS\n N obj\nCOLUMNS\n    \n", &m), TVA_RES_ERR_END_OF_FILE);
  EXPECT_EQ(read_text("ROWS\n N  obj\nCOLUMNS\n              obj       1\nENDATA\n", &m,
                      TVA_MPS_FORMAT_STRICT),
            TVA_RES_ERR_MPS_NULL_VAR_NAME);
  EXPECT_EQ(err_.line, 4);
  EXPECT_EQ(read_text("ROWS\n N obj\nCOLUMNS\n x obj 1e\nENDATA\n", &m), TVA_RES_ERR_MPS_INV_FIELD);
  EXPECT_EQ(err_.args[0].i, 3);
}

TEST_F(MpsRead, Markers) {
  const char* text = "ROWS\n N obj\nCOLUMNS\n"
                     " a obj 1\n"
                     " M1 'MARKER' 'INTORG'\n"
                     " b obj 1\n"
                     " c obj 1\n"
                     " M2 'MARKER' 'INTEND'\n"
                     " d obj 1\n"
                     " M3 'MARKER' 'OTHER'\n" // ignored outside a run
                     "ENDATA\n";
  MpsModel m(sys_);
  ASSERT_EQ(read_text(text, &m), TVA_RES_OK);
  ASSERT_EQ(m.numvar(), 4);
  EXPECT_EQ(m.var_int[0], 0);
  EXPECT_EQ(m.var_int[1], 1);
  EXPECT_EQ(m.var_int[2], 1);
  EXPECT_EQ(m.var_int[3], 0);
  // No BOUNDS section: integers keep [0, inf).
  EXPECT_EQ(m.var_bk[1], TVA_BK_LO);
  EXPECT_EQ(m.var_bu[1], kInf);
  // With a BOUNDS section, integers it does not name get [0, 1].
  std::string with = text;
  with.insert(with.find("ENDATA"), "BOUNDS\n UP bnd c 5\n");
  ASSERT_EQ(read_text(with, &m), TVA_RES_OK);
  EXPECT_EQ(m.var_bk[1], TVA_BK_RA);
  EXPECT_EQ(m.var_bu[1], 1.0);
  EXPECT_EQ(m.var_bu[2], 5.0);
  EXPECT_EQ(m.var_bu[0], kInf);
  // Fixed columns with the marker words where the files put them.
  const char* fixed = "ROWS\n N  obj\nCOLUMNS\n"
                      "    MARK0000  'MARKER'                 'INTORG'\n"
                      "    x         obj                1.\n"
                      "    MARK0001  'MARKER'                 'INTEND'\n"
                      "ENDATA\n";
  ASSERT_EQ(read_text(fixed, &m, TVA_MPS_FORMAT_STRICT), TVA_RES_OK);
  EXPECT_EQ(m.var_int[0], 1);
  EXPECT_EQ(read_text("ROWS\n N obj\nCOLUMNS\n M 'MARKER' 'INTORG'\n M 'MARKER' 'INTORG'\n", &m),
            TVA_RES_ERR_MPS_INV_MARKER);
  EXPECT_EQ(err_.line, 5);
}

TEST_F(MpsRead, RhsRules) {
  MpsModel m(sys_);
  // A free row that is not the objective ignores its right-hand side and vanishes.
  const char* text = "ROWS\n N obj\n N free\n G g\nCOLUMNS\n x obj 1 free 1\n x g 1\n"
                     "RHS\n rhs free 7 g 2\nENDATA\n";
  ASSERT_EQ(read_text(text, &m), TVA_RES_OK);
  ASSERT_EQ(m.numcon(), 1);
  EXPECT_STREQ(m.con_names.get(0), "g");
  EXPECT_EQ(m.cfix, 0.0);
  // Kept, free rows stay as free constraints, the objective row too.
  MpsReadOptions o = options();
  o.keep_free_con = true;
  ASSERT_EQ(read_text(text, o, &m), TVA_RES_OK);
  ASSERT_EQ(m.numcon(), 3);
  EXPECT_EQ(m.con_bk[1], TVA_BK_FR);
  EXPECT_EQ(m.con_bl[1], -kInf);
  EXPECT_EQ(m.numanz(), 3);
  EXPECT_EQ(m.c[0], 1.0);

  EXPECT_EQ(read_text("ROWS\n N obj\nRHS\n rhs\nENDATA\n", &m), TVA_RES_ERR_MPS_NULL_CON_NAME);
  EXPECT_EQ(read_text("ROWS\n N obj\n G g\nRHS\n rhs g 1 \"\" 0\nENDATA\n", &m),
            TVA_RES_ERR_MPS_UNDEF_CON_NAME);
  EXPECT_EQ(read_text("ROWS\n N obj\nRHS\n rhs zz 1\nENDATA\n", &m),
            TVA_RES_ERR_MPS_UNDEF_CON_NAME);
  EXPECT_EQ(err_.line, 4);
}

TEST_F(MpsRead, VectorSelectionAndSplitWarnings) {
  const char* text = "ROWS\n N obj\n G a\n G b\nCOLUMNS\n x a 1 b 1\n"
                     "RHS\n r1 a 1\n r2 a 2\n r1 b 3\n"
                     "RANGES\n q1 a 4\n q2 a 5\n q1 b 6\n"
                     "BOUNDS\n UP v1 x 7\n UP v2 x 8\n LO v1 x 1\nENDATA\n";
  MpsModel m(sys_);
  ASSERT_EQ(read_text(text, &m), TVA_RES_OK);
  EXPECT_EQ(m.con_bl[0], 1.0);
  EXPECT_EQ(m.con_bl[1], 3.0);
  EXPECT_EQ(m.con_bu[0], 5.0);
  EXPECT_EQ(m.con_bu[1], 9.0);
  EXPECT_EQ(m.var_bl[0], 1.0);
  EXPECT_EQ(m.var_bu[0], 7.0);
  ASSERT_EQ(warnings_.list.size(), 3u);
  EXPECT_EQ(warnings_.list[0].code, TVA_RES_WRN_MPS_SPLIT_RHS_VECTOR);
  EXPECT_EQ(warnings_.list[0].line, 10);
  EXPECT_STREQ(warnings_.list[0].args[0].s, "r1");
  EXPECT_EQ(warnings_.list[1].code, TVA_RES_WRN_MPS_SPLIT_RAN_VECTOR);
  EXPECT_EQ(warnings_.list[2].code, TVA_RES_WRN_MPS_SPLIT_BOU_VECTOR);
  EXPECT_EQ(warnings_.list[2].line, 18);
  // Named vectors: only their lines count, and no split is seen.
  warnings_.list.clear();
  MpsReadOptions o = options();
  o.rhs_name = "r2";
  o.ran_name = "q2";
  o.bou_name = "v2";
  ASSERT_EQ(read_text(text, o, &m), TVA_RES_OK);
  EXPECT_EQ(m.con_bl[0], 2.0);
  EXPECT_EQ(m.con_bk[1], TVA_BK_LO);
  EXPECT_EQ(m.con_bu[0], 7.0);
  EXPECT_EQ(m.var_bl[0], 0.0);
  EXPECT_EQ(m.var_bu[0], 8.0);
  EXPECT_TRUE(warnings_.list.empty());
  // A warning the handler turns into a stop ends the read with that code.
  warnings_.stop_with = TVA_RES_ERR_MPS_FILE;
  EXPECT_EQ(read_text(text, &m), TVA_RES_ERR_MPS_FILE);
  EXPECT_EQ(err_.line, 10);
}

TEST_F(MpsRead, LargeRhsWarns) {
  MpsModel m(sys_);
  ASSERT_EQ(read_text("ROWS\n N obj\n L c\nCOLUMNS\n x c 1\nRHS\n r c 1e9\nENDATA\n", &m),
            TVA_RES_OK);
  ASSERT_EQ(warnings_.list.size(), 1u);
  EXPECT_EQ(warnings_.list[0].code, TVA_RES_WRN_LARGE_BOUND);
  EXPECT_EQ(warnings_.list[0].args[0].d, 1e9);
  EXPECT_STREQ(warnings_.list[0].args[2].s, "c");
}

TEST_F(MpsRead, RangesSignRules) {
  const char* text = "ROWS\n N obj\n G g0\n G g1\n L l0\n L l1\n E e0\n E ep\n E en\n N f\n"
                     "COLUMNS\n x g0 1\n"
                     "RHS\n r g0 1 g1 1\n r l0 4 l1 4\n r e0 2 ep 2\n r en 2\n"
                     "RANGES\n q g0 0 g1 -3\n q l0 0 l1 -3\n q e0 0 ep 3\n q en -3 f 5\n"
                     "ENDATA\n";
  MpsModel m(sys_);
  ASSERT_EQ(read_text(text, &m), TVA_RES_OK);
  struct Want {
    int32 bk;
    double bl, bu;
  } want[] = {{TVA_BK_FX, 1, 1}, {TVA_BK_RA, 1, 4}, {TVA_BK_FX, 4, 4}, {TVA_BK_RA, 1, 4},
              {TVA_BK_FX, 2, 2}, {TVA_BK_RA, 2, 5}, {TVA_BK_RA, -1, 2}};
  ASSERT_EQ(m.numcon(), 7);
  for (int32 i = 0; i < 7; ++i) {
    EXPECT_EQ(m.con_bk[i], want[i].bk) << i;
    EXPECT_EQ(m.con_bl[i], want[i].bl) << i;
    EXPECT_EQ(m.con_bu[i], want[i].bu) << i;
  }
  EXPECT_EQ(read_text("ROWS\n N obj\nRANGES\n q zz 1\nENDATA\n", &m),
            TVA_RES_ERR_MPS_UNDEF_CON_NAME);
}

TEST_F(MpsRead, BoundTypes) {
  const char* text = "ROWS\n N obj\nCOLUMNS\n"
                     " mi obj 1\n pl obj 1\n bv obj 1\n fr obj 1\n fx obj 1\n lo obj 1\n"
                     " li obj 1\n up obj 1\n ui obj 1\n neg obj 1\n miup obj 1\n"
                     "BOUNDS\n"
                     " UP b mi 3\n MI b mi\n"
                     " UP b pl 3\n PL b pl\n"
                     " BV b bv\n FR b fr\n FX b fx 2.5\n LO b lo -2\n"
                     " LI b li 2.3\n UP b up 4\n UI b ui 2.7\n UP b neg -1\n"
                     " MI b miup\n UP b miup 6\n"
                     "ENDATA\n";
  MpsModel m(sys_);
  ASSERT_EQ(read_text(text, &m), TVA_RES_OK);
  struct Want {
    int32 bk;
    double bl, bu;
    char integer;
  } want[] = {
      {TVA_BK_UP, -kInf, 3, 0},    {TVA_BK_LO, 0, kInf, 0},  {TVA_BK_RA, 0, 1, 1},
      {TVA_BK_FR, -kInf, kInf, 0}, {TVA_BK_FX, 2.5, 2.5, 0}, {TVA_BK_LO, -2, kInf, 0},
      {TVA_BK_LO, 3, kInf, 1},     {TVA_BK_RA, 0, 4, 0},     {TVA_BK_RA, 0, 2, 1},
      {TVA_BK_RA, 0, -1, 0}, // UP below zero keeps the lower bound: an empty interval
      {TVA_BK_UP, -kInf, 6, 0},
  };
  ASSERT_EQ(m.numvar(), 11);
  for (int32 j = 0; j < 11; ++j) {
    EXPECT_EQ(m.var_bk[j], want[j].bk) << m.var_names.get(j);
    EXPECT_EQ(m.var_bl[j], want[j].bl) << m.var_names.get(j);
    EXPECT_EQ(m.var_bu[j], want[j].bu) << m.var_names.get(j);
    EXPECT_EQ(m.var_int[j], want[j].integer) << m.var_names.get(j);
  }
  EXPECT_EQ(read_text("ROWS\n N obj\nCOLUMNS\n x obj 1\nBOUNDS\n XX b x 1\nENDATA\n", &m),
            TVA_RES_ERR_MPS_INV_BOUND_KEY);
  EXPECT_STREQ(err_.args[0].s, "XX");
  EXPECT_EQ(err_.line, 6);
  EXPECT_EQ(read_text("ROWS\n N obj\nCOLUMNS\n x obj 1\nBOUNDS\n UP b y 1\nENDATA\n", &m),
            TVA_RES_ERR_MPS_UNDEF_VAR_NAME);
  EXPECT_STREQ(err_.args[0].s, "y");
}

// Blank-separated lines may leave out the vector name of RHS, RANGES and BOUNDS: the number of
// words tells. A line without a name belongs to the vector with the empty name.
TEST_F(MpsRead, FreeFormatVectorNameMayBeLeftOut) {
  const char* text = "ROWS\n N obj\n G r1\n L r2\n E r3\nCOLUMNS\n"
                     " x obj 1 r1 1\n y r2 1 r3 1\n z r3 2\n b r1 1\n"
                     "RHS\n r1 2\n r2 5 r3 7\n obj -3\n"
                     "RANGES\n r1 4\n"
                     "BOUNDS\n UP x 4\n FR y\n MI z\n UP z 9\n BV b\n"
                     "ENDATA\n";
  MpsModel m(sys_);
  ASSERT_EQ(read_text(text, &m), TVA_RES_OK) << err_.line;
  EXPECT_EQ(m.con_bl[0], 2.0);
  EXPECT_EQ(m.con_bu[0], 6.0);
  EXPECT_EQ(m.con_bu[1], 5.0);
  EXPECT_EQ(m.con_bl[2], 7.0);
  EXPECT_EQ(m.cfix, 3.0);
  EXPECT_EQ(m.var_bu[0], 4.0);
  EXPECT_EQ(m.var_bk[1], TVA_BK_FR);
  EXPECT_EQ(m.var_bk[2], TVA_BK_UP);
  EXPECT_EQ(m.var_bu[2], 9.0);
  EXPECT_EQ(m.var_int[3], 1);

  // With a vector name the lines read as before; "BV name 1" and "BV vector name" both work.
  const char* named = "ROWS\n N obj\n G r1\nCOLUMNS\n x obj 1 r1 1\n c r1 1\n"
                      "RHS\n rhs r1 2\nBOUNDS\n UP bnd x 4\n BV bnd c\nENDATA\n";
  MpsModel n(sys_);
  ASSERT_EQ(read_text(named, &n), TVA_RES_OK) << err_.line;
  EXPECT_EQ(n.con_bl[0], 2.0);
  EXPECT_EQ(n.var_bu[0], 4.0);
  EXPECT_EQ(n.var_int[1], 1);
  MpsModel b(sys_);
  ASSERT_EQ(read_text("ROWS\n N obj\nCOLUMNS\n x obj 1\nBOUNDS\n BV x 1\nENDATA\n", &b),
            TVA_RES_OK);
  EXPECT_EQ(b.var_int[0], 1);
}

TEST_F(MpsRead, QuadraticSections) {
  const char* head = "ROWS\n N obj\n L c\nCOLUMNS\n x obj 1\n y obj 1\n";
  MpsModel m(sys_);
  // QUADOBJ: one triangle, stored in the lower one.
  ASSERT_EQ(read_text(std::string(head) + "QUADOBJ\n x x 2 y 1\n y y 4\nENDATA\n", &m), TVA_RES_OK);
  ASSERT_EQ(m.qobj.size(), 3);
  EXPECT_EQ(m.qobj.subi[1], 1);
  EXPECT_EQ(m.qobj.subj[1], 0);
  EXPECT_EQ(m.qobj.val[1], 1.0);
  // QSECTION of the objective row is the objective's; of a constraint, that constraint's.
  ASSERT_EQ(read_text(std::string(head) + "QSECTION obj\n x y 3\nQSECTION c\n y y 5\nENDATA\n", &m),
            TVA_RES_OK);
  ASSERT_EQ(m.qobj.size(), 1);
  EXPECT_EQ(m.qobj.subi[0], 1);
  ASSERT_EQ(m.qcon_index.size(), 1u);
  EXPECT_EQ(m.qcon_index[0], 0);
  EXPECT_EQ(m.qcon[0].val[0], 5.0);
  // QMATRIX as it stands, QCMATRIX doubled; a mirror with another value passes and the lower
  // triangle's value is kept.
  ASSERT_EQ(read_text(std::string(head) +
                          "QMATRIX\n x x 2\n x y 1\n y x 1\nQCMATRIX c\n x x 2\n x y 3\n y x 7\n"
                          "ENDATA\n",
                      &m),
            TVA_RES_OK);
  ASSERT_EQ(m.qobj.size(), 2);
  EXPECT_EQ(m.qobj.val[0], 2.0);
  EXPECT_EQ(m.qobj.val[1], 1.0);
  ASSERT_EQ(m.qcon[0].size(), 2);
  EXPECT_EQ(m.qcon[0].val[0], 4.0);
  EXPECT_EQ(m.qcon[0].subi[1], 1);
  EXPECT_EQ(m.qcon[0].val[1], 14.0);
  // Tiny entries are dropped.
  ASSERT_EQ(read_text(std::string(head) + "QUADOBJ\n x x 1e-17\nENDATA\n", &m), TVA_RES_OK);
  EXPECT_EQ(m.qobj.size(), 0);

  EXPECT_EQ(read_text(std::string(head) + "QMATRIX\n x y 1\n y y 1\nENDATA\n", &m),
            TVA_RES_ERR_MPS_NON_SYMMETRIC_Q);
  EXPECT_EQ(err_.line, 10);
  EXPECT_EQ(read_text(std::string(head) + "QMATRIX\n x x 1\n x x 1\nENDATA\n", &m),
            TVA_RES_ERR_MPS_DUPLICATE_Q_ELEMENT);
  EXPECT_STREQ(err_.args[0].s, "x");
  EXPECT_EQ(read_text(std::string(head) + "QUADOBJ\n x x 1\nQUADOBJ\n y y 1\nENDATA\n", &m),
            TVA_RES_ERR_MPS_MUL_QSEC);
  EXPECT_STREQ(err_.args[0].s, "obj");
  EXPECT_EQ(read_text(std::string(head) + "QSECTION zz\n", &m), TVA_RES_ERR_MPS_UNDEF_CON_NAME);
  EXPECT_EQ(read_text(std::string(head) + "QUADOBJ\n x q 1\n", &m), TVA_RES_ERR_MPS_UNDEF_VAR_NAME);
  EXPECT_EQ(read_text("ROWS\n N  obj\nCOLUMNS\n    x         obj                1.\n"
                      "QUADOBJ\n UP x         x                  1.\nENDATA\n",
                      &m, TVA_MPS_FORMAT_STRICT),
            TVA_RES_ERR_MPS_INV_BOUND_KEY);
  EXPECT_EQ(err_.line, 6);
}

TEST_F(MpsRead, Cones) {
  const char* head = "ROWS\n N obj\nCOLUMNS\n x obj 1\n y obj 1\n z obj 1\n";
  MpsModel m(sys_);
  ASSERT_EQ(read_text(std::string(head) + "CSECTION k1 0.0 QUAD\n x\n y\nCSECTION k2 0 RQUAD\n"
                                          " z\n x\nENDATA\n",
                      &m),
            TVA_RES_ERR_CONE_OVERLAP);
  ASSERT_EQ(
      read_text(std::string(head) + "CSECTION k1 1.5 QUAD\n x\n y\nCSECTION k2 RQUAD\n z\nENDATA\n",
                &m),
      TVA_RES_ERR_CONE_SIZE);
  ASSERT_EQ(read_text(std::string(head) + "CSECTION k1 0 RQUAD\n z\n x\n y\nENDATA\n", &m),
            TVA_RES_OK);
  ASSERT_EQ(m.numcone(), 1);
  EXPECT_EQ(m.cone_type[0], TVA_CT_RQUAD);
  EXPECT_STREQ(m.cone_names.get(0), "k1");
  ASSERT_EQ(m.cone_ptr[1], 3);
  EXPECT_EQ(m.cone_sub[0], 2);
  EXPECT_EQ(read_text(std::string(head) + "CSECTION k1 0 CUBE\n", &m), TVA_RES_ERR_MPS_CONE_TYPE);
  EXPECT_STREQ(err_.args[0].s, "CUBE");
  EXPECT_EQ(read_text(std::string(head) + "CSECTION k 0 QUAD\n x\nCSECTION k 0 QUAD\n", &m),
            TVA_RES_ERR_MPS_MUL_CSEC);
  EXPECT_EQ(err_.line, 9);
  EXPECT_EQ(read_text(std::string(head) + "CSECTION k 0 QUAD\n w\n", &m),
            TVA_RES_ERR_MPS_UNDEF_VAR_NAME);
  EXPECT_EQ(read_text(std::string(head) + "CSECTION k 0 QUAD\n x\n x\nENDATA\n", &m),
            TVA_RES_ERR_CONE_REP_VAR);
  EXPECT_EQ(read_text(std::string(head) + "CSECTION k 0 QUAD\n x y\n", &m),
            TVA_RES_ERR_MPS_INV_FIELD);
}

TEST_F(MpsRead, SetsAreSkipped) {
  MpsModel m(sys_);
  ASSERT_EQ(read_text("ROWS\n N obj\nCOLUMNS\n x obj 1\nSETS\n S1 x 1\n S2\nENDATA\n", &m),
            TVA_RES_OK);
  EXPECT_EQ(m.numvar(), 1);
}

TEST_F(MpsRead, NumbersAreReadWithoutLocale) {
  MpsModel m(sys_);
  ASSERT_EQ(read_text("ROWS\n N obj\nCOLUMNS\n a obj .5\n b obj -1.e2\n c obj +2E-1\n d obj .\n"
                      " e obj 1e400\nENDATA\n",
                      &m),
            TVA_RES_OK);
  EXPECT_EQ(m.c[0], 0.5);
  EXPECT_EQ(m.c[1], -100.0);
  EXPECT_EQ(m.c[2], 0.2);
  EXPECT_EQ(m.c[3], 0.0);
  EXPECT_TRUE(std::isinf(m.c[4]));
}

} // namespace

namespace {

using namespace mpstest;

struct Echo {
  std::string msg, err;
  static void put(void* h, int32 stream, const char* text) {
    auto* e = static_cast<Echo*>(h);
    (stream == TVA_STREAM_MSG ? e->msg : e->err) += text;
  }
};

TEST_F(MpsRead, ErrorEchoShowsTheLineAndACaret) {
  MpsModel m(sys_);
  MpsReadOptions o = options(TVA_MPS_FORMAT_STRICT);
  o.debug = true;
  ASSERT_EQ(read_text("ROWS\n N  obj\nCOLUMNS\n    x         obj       1x\nENDATA\n", o, &m),
            TVA_RES_ERR_MPS_INV_FIELD);
  Echo e;
  mps_error_echo(err_, true, &e, &Echo::put);
  EXPECT_EQ(e.msg, "The error occurred at (#line,pos): 4,24\n" + std::string(24, ' ') + "^\n");
  EXPECT_EQ(e.err, "    x         obj       1x\n");
  Echo quiet;
  mps_error_echo(err_, false, &quiet, &Echo::put);
  EXPECT_EQ(quiet.err, "Turn debugging by setting TVA_IPAR_READ_DEBUG TVA_ON.");
}

} // namespace

namespace {

using namespace mpstest;

struct Calls {
  std::string log;
  int progress = 0;
  int stop_at = 0;
  static void on_log(void* h, const char* t) { static_cast<Calls*>(h)->log += t; }
  static int on_progress(void* h) {
    auto* c = static_cast<Calls*>(h);
    return ++c->progress == c->stop_at ? 1 : 0;
  }
};

TEST_F(MpsRead, TellsTheChosenVectorsAndCallsProgress) {
  Calls calls;
  MpsReadOptions o = options();
  o.handle = &calls;
  o.warn = nullptr;
  o.log = &Calls::on_log;
  o.progress = &Calls::on_progress;
  MpsModel m(sys_);
  ASSERT_EQ(read_text("ROWS\n N obj\n L c\nCOLUMNS\n x c 1\nRHS\n r c 1\nRANGES\n q c 1\n"
                      "BOUNDS\n UP b x 1\nENDATA\n",
                      o, &m),
            TVA_RES_OK);
  EXPECT_NE(calls.log.find("Using 'obj' as objective vector\n"), std::string::npos);
  EXPECT_NE(calls.log.find("Using 'r' as rhs vector\n"), std::string::npos);
  EXPECT_NE(calls.log.find("Using 'q' as range vector\n"), std::string::npos);
  EXPECT_NE(calls.log.find("Using 'b' as bound vector\n"), std::string::npos);
  EXPECT_NE(calls.log.find("Read 1 number of A nonzeros in "), std::string::npos);
  EXPECT_EQ(calls.progress, 1); // once at the end of COLUMNS
  // The progress callback may stop the read.
  calls.stop_at = 2;
  EXPECT_EQ(read_text("ROWS\n N obj\nCOLUMNS\n x obj 1\nENDATA\n", o, &m),
            TVA_RES_TRM_USER_CALLBACK);
}

} // namespace
