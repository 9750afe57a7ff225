// Parameter files: writing and reading back every parameter exactly, the symbolic values,
// case folding, comments, bad lines with and without error tolerance, and the printed table.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "param_fixture.h"

namespace {

using ParamFileTest = paramtest::TaskFixture;

std::string temp_path(const char* tag) {
  return ::testing::TempDir() + "telva_param_" + tag + "_" +
         std::to_string(reinterpret_cast<uintptr_t>(&tag) & 0xffff) + ".txt";
}

void write_text(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string read_text(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

// A value of each int parameter other than its default and inside its limits.
TVAint32t changed_int(const telva::ParamCatalogue& cat, int i) {
  const int kind = cat.ipar_kind[i], def = cat.ipar_default[i];
  const bool has_max = kind == 1 || kind == 4;
  if (has_max && def >= cat.ipar_max[i]) return def - 1;
  return def + 1;
}

// A value of each double parameter other than its default, inside its limits, and with no
// short decimal form, so that any loss of digits in the file shows.
double changed_double(const telva::ParamCatalogue& cat, int i) {
  const int kind = cat.dpar_kind[i];
  const double def = cat.dpar_default[i];
  if (kind == 4) return cat.dpar_min[i] + (cat.dpar_max[i] - cat.dpar_min[i]) * (3.0 / 7.0);
  if (def == 0.0) return 1.0 / 3.0;
  return def * (1.0 + 1.0 / 7.0);
}

TEST_F(ParamFileTest, WriteThenReadRestoresEveryValueExactly) {
  const telva::ParamCatalogue& cat = env->catalogue;
  for (int i = 0; i < TVA_IPAR_NUM; ++i) {
    if (!cat.ipar_names[i][0]) continue;
    ASSERT_EQ(TVA_putintparam(task, i, changed_int(cat, i)), TVA_RES_OK) << cat.ipar_names[i];
  }
  for (int i = 0; i < TVA_DPAR_NUM; ++i) {
    double v = changed_double(cat, i);
    ASSERT_NE(v, cat.dpar_default[i]) << cat.dpar_names[i];
    ASSERT_EQ(TVA_putdouparam(task, i, v), TVA_RES_OK) << cat.dpar_names[i];
  }
  // Strings that need care: blanks, both comment characters, quotes, and plain words.
  const char* tricky[] = {"with blanks  inside", "50% done",        "# hash", "\"quoted\" start",
                          "tab\there",           "C:/dir/file.txt", "",       "x"};
  for (int i = 0; i < TVA_SPAR_NUM; ++i) {
    std::string v = i < 8 ? tricky[i] : "value_" + std::to_string(i);
    if (v[0] == '"') v = "\"" + std::string("\\\"quoted\\\" start") + "\""; // stored as tricky[3]
    ASSERT_EQ(TVA_putstrparam(task, i, v.c_str()), TVA_RES_OK);
  }
  ASSERT_STREQ(task->sparam[3], "\"quoted\" start");
  ASSERT_EQ(TVA_putstrparam(task, TVA_SPAR_PARAM_COMMENT_SIGN, "#"), TVA_RES_OK);

  const std::string path = temp_path("roundtrip");
  ASSERT_EQ(TVA_writeparamfile(task, path.c_str()), TVA_RES_OK);

  TVAtask_t other = nullptr;
  ASSERT_EQ(TVA_maketask(env, 0, 0, &other), TVA_RES_OK);
  std::string m2, e2;
  capture(other, &m2, &e2);
  ASSERT_EQ(TVA_readparamfile(other, path.c_str()), TVA_RES_OK) << e2;
  EXPECT_EQ(e2, "");
  for (int i = 0; i < TVA_IPAR_NUM; ++i)
    EXPECT_EQ(other->iparam[i], task->iparam[i]) << cat.ipar_names[i];
  for (int i = 0; i < TVA_DPAR_NUM; ++i)
    EXPECT_EQ(std::memcmp(&other->dparam[i], &task->dparam[i], sizeof(double)), 0)
        << cat.dpar_names[i] << " " << other->dparam[i] << " vs " << task->dparam[i];
  for (int i = 0; i < TVA_SPAR_NUM; ++i)
    EXPECT_STREQ(other->sparam[i], task->sparam[i]) << cat.spar_names[i];
  EXPECT_EQ(TVA_deletetask(&other), TVA_RES_OK);
  std::remove(path.c_str());
}

TEST_F(ParamFileTest, FileLayoutAndLog) {
  const std::string path = temp_path("layout");
  ASSERT_EQ(TVA_writeparamfile(task, path.c_str()), TVA_RES_OK);
  std::string text = read_text(path);
  EXPECT_EQ(text.rfind("BEGIN TELVA\n\n", 0), 0u);
  EXPECT_NE(text.find("TVA_IPAR_LOG_BI_FREQ                             2500"), std::string::npos);
  EXPECT_NE(text.find("TVA_DPAR_SIM_LU_TOL_REL_PIV                      1.0000000000000000e-02"),
            std::string::npos);
  EXPECT_NE(text.find("TVA_SPAR_WRITE_LP_GEN_VAR_NAME                   XTVAGEN\n"),
            std::string::npos);
  EXPECT_EQ(text.substr(text.size() - 11), "\nEND TELVA\n");
  EXPECT_EQ(msg.find("Writing parameter file:  " + path + "\n"), 0u);
  EXPECT_NE(msg.find("done writing. Time: "), std::string::npos);
  std::remove(path.c_str());
}

TEST_F(ParamFileTest, SymbolsCaseCommentsAndBlankLines) {
  const std::string path = temp_path("symbols");
  write_text(path, "leading text is skipped\n"
                   "BEGIN TELVA\n"
                   "% a comment line\n"
                   "\n"
                   "TVA_IPAR_PRESOLVE_USE   TVA_PRESOLVE_MODE_OFF   % trailing comment\n"
                   "tva_ipar_log 3\n"
                   "TVA_DPAR_MIO_MAX_TIME 12.5%no blank before the comment\n"
                   "TVA_SPAR_STAT_NAME \"two words\"\n"
                   "TVA_SPAR_STAT_KEY\n"
                   "END TELVA\n"
                   "TVA_IPAR_LOG 1\n");
  ASSERT_EQ(TVA_putstrparam(task, TVA_SPAR_STAT_KEY, "old"), TVA_RES_OK);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_PARAM_READ_CASE_NAME, TVA_OFF), TVA_RES_OK);
  ASSERT_EQ(TVA_readparamfile(task, path.c_str()), TVA_RES_OK) << err;
  EXPECT_EQ(task->iparam[TVA_IPAR_PRESOLVE_USE], TVA_PRESOLVE_MODE_OFF);
  EXPECT_EQ(task->iparam[TVA_IPAR_LOG], 3); // after END TELVA nothing is read
  EXPECT_EQ(task->dparam[TVA_DPAR_MIO_MAX_TIME], 12.5);
  EXPECT_STREQ(task->sparam[TVA_SPAR_STAT_NAME], "two words");
  EXPECT_STREQ(task->sparam[TVA_SPAR_STAT_KEY], ""); // a missing value is empty
  EXPECT_EQ(msg.find("Reading parameter file - " + path + "\n"), 0u);
  EXPECT_NE(msg.find("done reading. Time: "), std::string::npos);

  // With case-sensitive names (the default) the lower-case name is unknown.
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_PARAM_READ_CASE_NAME, TVA_ON), TVA_RES_OK);
  EXPECT_EQ(TVA_readparamfile(task, path.c_str()), TVA_RES_ERR_PARAM_NAME);
  EXPECT_NE(err.find("The error occurred in line:\ntva_ipar_log 3\n"), std::string::npos);
  std::remove(path.c_str());
}

TEST_F(ParamFileTest, FirstFailureStopsUnlessErrorsAreIgnored) {
  const std::string path = temp_path("errors");
  write_text(path, "BEGIN TELVA\n"
                   "TVA_IPAR_LOG_BI_FREQ -1\n"
                   "TVA_IPAR_LOG_SIM_FREQ 7\n"
                   "TVA_DPAR_MIO_MAX_TIME soon\n"
                   "TVA_IPAR_NO_SUCH 1\n"
                   "TVA_IPAR_LOG_MIO_FREQ 9\n"
                   "END TELVA\n");
  EXPECT_EQ(TVA_readparamfile(task, path.c_str()), TVA_RES_ERR_PARAM_IS_TOO_SMALL);
  EXPECT_EQ(task->iparam[TVA_IPAR_LOG_BI_FREQ], 2500);
  EXPECT_EQ(task->iparam[TVA_IPAR_LOG_SIM_FREQ], 1000); // not reached
  EXPECT_NE(err.find("The error occurred in line:\nTVA_IPAR_LOG_BI_FREQ -1\n"), std::string::npos);

  err.clear();
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_PARAM_READ_IGN_ERROR, TVA_ON), TVA_RES_OK);
  EXPECT_EQ(TVA_readparamfile(task, path.c_str()), TVA_RES_OK);
  EXPECT_EQ(task->iparam[TVA_IPAR_LOG_BI_FREQ], 2500);
  EXPECT_EQ(task->iparam[TVA_IPAR_LOG_SIM_FREQ], 7);
  EXPECT_EQ(task->dparam[TVA_DPAR_MIO_MAX_TIME], -1.0);
  EXPECT_EQ(task->iparam[TVA_IPAR_LOG_MIO_FREQ], 9);
  // Every bad line was shown.
  EXPECT_NE(err.find("TVA_DPAR_MIO_MAX_TIME soon"), std::string::npos);
  EXPECT_NE(err.find("TVA_IPAR_NO_SUCH 1"), std::string::npos);
  std::remove(path.c_str());
}

TEST_F(ParamFileTest, MissingFilesNamesAndBeginLine) {
  // No name anywhere: the warning, which leaves the result at 0.
  EXPECT_EQ(TVA_readparamfile(task, nullptr), TVA_RES_OK);
  EXPECT_EQ(TVA_writeparamfile(task, ""), TVA_RES_ERR_INVALID_FILE_NAME);
  const std::string missing = temp_path("missing") + ".none";
  EXPECT_EQ(TVA_readparamfile(task, missing.c_str()), TVA_RES_OK);
  EXPECT_EQ(TVA_writeparamfile(task, "/nonexistent-dir/x/params.txt"), TVA_RES_ERR_FILE_OPEN);

  // The names from the string parameters.
  const std::string path = temp_path("byparam");
  ASSERT_EQ(TVA_putstrparam(task, TVA_SPAR_PARAM_WRITE_FILE_NAME, path.c_str()), TVA_RES_OK);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_SIM_FREQ, 17), TVA_RES_OK);
  ASSERT_EQ(TVA_writeparamfile(task, nullptr), TVA_RES_OK);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_SIM_FREQ, 5), TVA_RES_OK);
  ASSERT_EQ(TVA_putstrparam(task, TVA_SPAR_PARAM_READ_FILE_NAME, path.c_str()), TVA_RES_OK);
  ASSERT_EQ(TVA_readparamfile(task, ""), TVA_RES_OK);
  EXPECT_EQ(task->iparam[TVA_IPAR_LOG_SIM_FREQ], 17);

  // A file without a begin line changes nothing.
  write_text(path, "TVA_IPAR_LOG_SIM_FREQ 3\n");
  msg.clear();
  EXPECT_EQ(TVA_readparamfile(task, path.c_str()), TVA_RES_OK);
  EXPECT_NE(msg.find("No parameters found\n"), std::string::npos);
  EXPECT_EQ(task->iparam[TVA_IPAR_LOG_SIM_FREQ], 17);

  // With logging off nothing is printed.
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_FILE, 0), TVA_RES_OK);
  msg.clear();
  EXPECT_EQ(TVA_readparamfile(task, path.c_str()), TVA_RES_OK);
  EXPECT_EQ(msg, "");
  std::remove(path.c_str());
}

TEST_F(ParamFileTest, OverlongLinesAreCut) {
  const std::string path = temp_path("long");
  std::string longvalue(2000, 'a');
  write_text(path, "BEGIN TELVA\nTVA_SPAR_STAT_NAME " + longvalue +
                       "\nTVA_IPAR_LOG_SIM_FREQ 4\nEND TELVA\n");
  ASSERT_EQ(TVA_readparamfile(task, path.c_str()), TVA_RES_OK);
  // The line holds 1024 characters: the name, one blank and the start of the value.
  EXPECT_EQ(std::strlen(task->sparam[TVA_SPAR_STAT_NAME]), 1024u - 19u);
  EXPECT_EQ(task->iparam[TVA_IPAR_LOG_SIM_FREQ], 4);
  std::remove(path.c_str());
}

TEST_F(ParamFileTest, PrintedTable) {
  ASSERT_EQ(TVA_putstrparam(task, TVA_SPAR_STAT_KEY, "key7"), TVA_RES_OK);
  ASSERT_EQ(TVA_printparam(task), TVA_RES_OK);
  EXPECT_EQ(msg.rfind("Integer parameters\n", 0), 0u);
  char line[256];
  std::snprintf(line, sizeof line, "%-3d %-48s: %-18d   %-18d   %-18s\n", 37,
                "TVA_IPAR_LOG_BI_FREQ", 2500, 0, "NONE");
  EXPECT_NE(msg.find(line), std::string::npos) << line;
  std::snprintf(line, sizeof line, "%-3d %-48s: %-18d   %-18d   %-18d\n", 0,
                "TVA_IPAR_ANA_SOL_BASIS", 1, 0, 1);
  EXPECT_NE(msg.find(line), std::string::npos) << line;
  std::snprintf(line, sizeof line, "%-3d %-48s: %-18.8e   %-18s   %-18s\n", 58,
                "TVA_DPAR_OPTIMIZER_MAX_TIME", -1.0, "NONE", "NONE");
  EXPECT_NE(msg.find(line), std::string::npos) << line;
  EXPECT_NE(msg.find("\nDouble parameters\n"), std::string::npos);
  EXPECT_NE(msg.find("\nString parameters\n"), std::string::npos);
  std::snprintf(line, sizeof line, "%-3d %-48s: %-s\n", 21, "TVA_SPAR_STAT_KEY", "key7");
  EXPECT_NE(msg.find(line), std::string::npos);
  // Gaps in the int numbering are not printed.
  EXPECT_EQ(msg.find("\n9   TVA_IPAR"), std::string::npos);
  EXPECT_NE(msg.find("\n10  TVA_IPAR_CHECK_CONVEXITY"), std::string::npos);
}

} // namespace
