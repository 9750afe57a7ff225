// The OPF reader and writer: sections and their scopes, names and quotes, bounds that combine,
// cones, the quadratic group, hints, vendor parameters, and the errors.
#include <gtest/gtest.h>

#include "files_fixture.h"

namespace {

using filetest::Task;

int32_t var_index(const Task& t, const char* name) {
  int32_t asgn = 0, j = -1;
  EXPECT_EQ(TVA_getvarnameindex(t, name, &asgn, &j), TVA_RES_OK);
  EXPECT_EQ(asgn, 1) << name;
  return j;
}

TEST(OpfRead, SectionsOfAProblem) {
  Task t;
  const char* text = "text at the root is ignored\n"
                     "[comment] anything [con] here is skipped [/comment]\n"
                     "[vendor other] [parameters] [p X] 1 [/p] [/parameters] [/vendor]\n"
                     "[vendor telva] [parameters] [p TVA_IPAR_LOG] 7 [/p]\n"
                     "  [p TVA_DPAR_DATA_TOL_BOUND_WRN] 1e9 [/p] [/parameters] [/vendor]\n"
                     "[problemname] my \\[task\\] [/problemname]\n"
                     "[OBJECTIVE Maximize 'the obj'] 2 x - y + 0.5 (x ^ 2 + 2 x * y) + 3 # c\n"
                     "[/objective]\n"
                     "[constraints]\n"
                     "  [con c1] 1 <= x + y + 2 <= 4 [/con]\n"
                     "  [con] x - y = 0 [/con]\n"
                     "  [con 'c 3'] -inf <= x [/con]\n"
                     "[/constraints]\n"
                     "[bounds]\n"
                     "  [b] 0 <= * [/b]\n"
                     "  [b] x,y <= 5 [/b]\n"
                     "  [b] z free [/b]\n"
                     "  [b] w = 2 [/b]\n"
                     "  [cone rquad k1] x, y, z [/cone]\n"
                     "[/bounds]\n"
                     "[integer] w v [/integer]\n";
  ASSERT_EQ(filetest::read_text(t, text, ".opf"), TVA_RES_OK) << t.last_message();
  int32_t numvar = 0, numcon = 0, numcone = 0, sense = 0, log = 0;
  TVA_getnumvar(t, &numvar);
  TVA_getnumcon(t, &numcon);
  TVA_getnumcone(t, &numcone);
  TVA_getobjsense(t, &sense);
  TVA_getintparam(t, TVA_IPAR_LOG, &log);
  EXPECT_EQ(numvar, 5); // x y z w v
  EXPECT_EQ(numcon, 3);
  EXPECT_EQ(numcone, 1);
  EXPECT_EQ(sense, TVA_OBJECTIVE_SENSE_MAXIMIZE);
  EXPECT_EQ(log, 7);
  char name[64] = "";
  TVA_gettaskname(t, sizeof name, name);
  EXPECT_STREQ(name, "my [task]");
  TVA_getobjname(t, sizeof name, name);
  EXPECT_STREQ(name, "the obj");
  int32_t x = var_index(t, "x"), y = var_index(t, "y"), z = var_index(t, "z"),
          w = var_index(t, "w");
  double q = 0.0, cfix = 0.0;
  TVA_getqobjij(t, x, x, &q);
  EXPECT_EQ(q, 1.0); // 0.5 x^2
  TVA_getqobjij(t, y, x, &q);
  EXPECT_EQ(q, 1.0); // 0.5 * 2 xy
  TVA_getcfix(t, &cfix);
  EXPECT_EQ(cfix, 3.0);
  int32_t bk = 0;
  double bl = 0.0, bu = 0.0;
  TVA_getconbound(t, 0, &bk, &bl, &bu); // the constant moves to the bounds
  EXPECT_EQ(bk, TVA_BK_RA);
  EXPECT_EQ(bl, -1.0);
  EXPECT_EQ(bu, 2.0);
  TVA_getconbound(t, 1, &bk, &bl, &bu);
  EXPECT_EQ(bk, TVA_BK_FX);
  TVA_getconbound(t, 2, &bk, &bl, &bu);
  EXPECT_EQ(bk, TVA_BK_FR);
  TVA_getconname(t, 1, sizeof name, name);
  EXPECT_STREQ(name, "");
  TVA_getvarbound(t, x, &bk, &bl, &bu);
  EXPECT_EQ(bk, TVA_BK_RA);
  EXPECT_EQ(bu, 5.0);
  TVA_getvarbound(t, z, &bk, &bl, &bu);
  EXPECT_EQ(bk, TVA_BK_FR);
  TVA_getvarbound(t, w, &bk, &bl, &bu);
  EXPECT_EQ(bk, TVA_BK_FX);
  int32_t v = var_index(t, "v");
  TVA_getvarbound(t, v, &bk, &bl, &bu); // named only in [integer]: appended free
  EXPECT_EQ(bk, TVA_BK_FR);
  int32_t type = 0;
  TVA_getvartype(t, v, &type);
  EXPECT_EQ(type, TVA_VAR_TYPE_INT);
}

TEST(OpfRead, Errors) {
  struct Case {
    const char* text;
    TVArescode code;
    const char* message;
  };
  const Case cases[] = {
      {"[objective minimize]\n x +\n [con] [/objective]", TVA_RES_ERR_OPF_FORMAT, "number: 3."},
      {"[constraints]\n [con c] x <= 1 [/con]\n", TVA_RES_ERR_OPF_PREMATURE_EOF, "Premature"},
      {"[comment] never closed", TVA_RES_ERR_OPF_PREMATURE_EOF, "Premature"},
      {"[variables disallow_new_variables] x [/variables]\n[integer] y [/integer]",
       TVA_RES_ERR_OPF_NEW_VARIABLE, "'y' is not"},
      {"[bounds]\n[b] x >= +inf [/b]\n[/bounds]", TVA_RES_ERR_OPF_FORMAT, "number: 2."},
      {"[/objective]", TVA_RES_ERR_OPF_FORMAT, "number: 1."},
      {"[bounds] [cone circle] x [/cone] [/bounds]", TVA_RES_ERR_OPF_FORMAT, "number: 1."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    Task t;
    EXPECT_EQ(filetest::read_text(t, c.text, ".opf"), c.code);
    EXPECT_NE(t.last_message().find(c.message), std::string::npos) << t.last_message();
  }
}

TEST(OpfWrite, ProblemWithConesAndOddNamesReadsBack) {
  Task a, b;
  ASSERT_EQ(TVA_appendvars(a, 4), TVA_RES_OK);
  ASSERT_EQ(TVA_appendcons(a, 2), TVA_RES_OK);
  const char* names[] = {"x", "it's", "free", "a.b"};
  for (int32_t j = 0; j < 4; ++j) {
    TVA_putvarname(a, j, names[j]);
    TVA_putvarbound(a, j, j < 2 ? TVA_BK_LO : TVA_BK_FR, 0.0, 0.0);
    TVA_putcj(a, j, 1.0 / (j + 1));
  }
  TVA_putconname(a, 0, "c0");
  TVA_putconbound(a, 0, TVA_BK_RA, -1.25, 3.0);
  TVA_putconbound(a, 1, TVA_BK_LO, 2.0, 0.0);
  TVA_putaij(a, 0, 0, 1.5);
  TVA_putaij(a, 0, 3, -1.0);
  TVA_putaij(a, 1, 2, 1e-7);
  const int32_t members[] = {2, 3, 1};
  ASSERT_EQ(TVA_appendcone(a, TVA_CT_QUAD, 0.0, 3, members), TVA_RES_OK);
  TVA_putconename(a, 0, "the cone");
  const int32_t qi[] = {0, 1}, qj[] = {0, 0};
  const double qv[] = {4.0, -1.0};
  TVA_putqconk(a, 1, 2, qi, qj, qv);
  TVA_puttaskname(a, "a [name]");
  TVA_putintparam(a, TVA_IPAR_OPF_MAX_TERMS_PER_LINE, 0);
  std::string text;
  ASSERT_TRUE(filetest::round_trip(a, b, ".opf", {.names = true, .objname = true}, &text));
  EXPECT_NE(text.find("'it\\'s'"), std::string::npos) << text;
  EXPECT_NE(text.find("'free'"), std::string::npos) << text;
  EXPECT_NE(text.find("  [con] "), std::string::npos) << text;
  char name[32] = "";
  TVA_gettaskname(b, sizeof name, name);
  EXPECT_STREQ(name, "a [name]");
}

TEST(OpfWrite, DuplicateVariableNamesAreGenerated) {
  Task a, b;
  ASSERT_EQ(TVA_appendvars(a, 2), TVA_RES_OK);
  TVA_putvarname(a, 0, "x");
  TVA_putvarname(a, 1, "x");
  for (int32_t j = 0; j < 2; ++j)
    TVA_putvarbound(a, j, TVA_BK_RA, -j, j + 1.0);
  std::string text;
  ASSERT_TRUE(filetest::round_trip(a, b, ".opf", {}, &text));
  EXPECT_NE(text.find("x0002"), std::string::npos) << text;
}

} // namespace
