// Names: the arena, the lookup maps made on demand, duplicate checks, lengths, the objective
// and task names, and the check of names against the rules of a file format.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "telva.h"
#include "telva/store/store.h"
#include "telva/task/task.h"

namespace {

class Names : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
    ASSERT_EQ(TVA_appendcons(task, 3), TVA_RES_OK);
    ASSERT_EQ(TVA_appendvars(task, 4), TVA_RES_OK);
  }
  void TearDown() override {
    EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
    EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  }
  // (asgn, index) of a variable name.
  std::pair<int, int> var_index(const char* name, TVArescode expect = TVA_RES_OK) {
    int asgn = -1, index = -1;
    EXPECT_EQ(TVA_getvarnameindex(task, name, &asgn, &index), expect) << name;
    return {asgn, index};
  }
  std::string var_name(int j) {
    char buf[256];
    EXPECT_EQ(TVA_getvarname(task, j, sizeof buf, buf), TVA_RES_OK);
    return buf;
  }
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
};

TEST_F(Names, DuplicatesAreAcceptedUntilTheFirstLookup) {
  ASSERT_EQ(TVA_putvarname(task, 0, "x"), TVA_RES_OK);
  ASSERT_EQ(TVA_putvarname(task, 2, "x"), TVA_RES_OK);
  EXPECT_EQ(var_index("x", TVA_RES_ERR_DUPLICATE_VARIABLE_NAMES), std::make_pair(0, 4));
  // Renaming one makes the lookup possible, and then the names must stay unique.
  ASSERT_EQ(TVA_putvarname(task, 2, "y"), TVA_RES_OK);
  EXPECT_EQ(var_index("x"), std::make_pair(1, 0));
  EXPECT_EQ(var_index("y"), std::make_pair(1, 2));
  EXPECT_EQ(var_index("z"), std::make_pair(0, 4));
  EXPECT_EQ(TVA_putvarname(task, 3, "y"), TVA_RES_ERR_DUP_NAME);
  EXPECT_EQ(var_name(3), "");
  EXPECT_EQ(TVA_putvarname(task, 0, "y"), TVA_RES_ERR_DUP_NAME);
  EXPECT_EQ(var_name(0), "x");
  // Giving an item its own name again is no conflict.
  EXPECT_EQ(TVA_putvarname(task, 2, "y"), TVA_RES_OK);
  // The classes are separate.
  EXPECT_EQ(TVA_putconname(task, 0, "y"), TVA_RES_OK);
  int asgn = -1, index = -1;
  EXPECT_EQ(TVA_getconnameindex(task, "y", &asgn, &index), TVA_RES_OK);
  EXPECT_EQ(std::make_pair(asgn, index), std::make_pair(1, 0));
}

TEST_F(Names, EachClassReportsItsOwnDuplicateCode) {
  int dim = 2;
  int mem[] = {0};
  int mem2[] = {1};
  ASSERT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 1, mem), TVA_RES_OK);
  ASSERT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 1, mem2), TVA_RES_OK);
  ASSERT_EQ(TVA_appendbarvars(task, 1, &dim), TVA_RES_OK);
  ASSERT_EQ(TVA_appendbarvars(task, 1, &dim), TVA_RES_OK);
  ASSERT_EQ(TVA_putconname(task, 1, "d"), TVA_RES_OK);
  ASSERT_EQ(TVA_putconname(task, 2, "d"), TVA_RES_OK);
  ASSERT_EQ(TVA_putconename(task, 0, "d"), TVA_RES_OK);
  ASSERT_EQ(TVA_putconename(task, 1, "d"), TVA_RES_OK);
  ASSERT_EQ(TVA_putbarvarname(task, 0, "d"), TVA_RES_OK);
  ASSERT_EQ(TVA_putbarvarname(task, 1, "d"), TVA_RES_OK);
  int a, i;
  EXPECT_EQ(TVA_getconnameindex(task, "d", &a, &i), TVA_RES_ERR_DUPLICATE_CONSTRAINT_NAMES);
  EXPECT_EQ(TVA_getconenameindex(task, "d", &a, &i), TVA_RES_ERR_DUPLICATE_CONE_NAMES);
  EXPECT_EQ(TVA_getbarvarnameindex(task, "d", &a, &i), TVA_RES_ERR_DUPLICATE_BARVARIABLE_NAMES);
  // The writers' version warns for the first class with duplicates (constraints) and goes on.
  EXPECT_EQ(telva::store_warn_duplicate_names(task), TVA_RES_OK);
  EXPECT_EQ(task->warncount[TVA_RES_WRN_DUPLICATE_CONSTRAINT_NAMES], 1);
  EXPECT_EQ(task->warncount[TVA_RES_WRN_DUPLICATE_CONE_NAMES], 0);
}

TEST_F(Names, ClearingANameFreesItForAnotherItem) {
  ASSERT_EQ(TVA_putvarname(task, 1, "v"), TVA_RES_OK);
  EXPECT_EQ(var_index("v"), std::make_pair(1, 1));
  ASSERT_EQ(TVA_putvarname(task, 1, nullptr), TVA_RES_OK);
  EXPECT_EQ(var_index("v"), std::make_pair(0, 4));
  ASSERT_EQ(TVA_putvarname(task, 3, "v"), TVA_RES_OK);
  EXPECT_EQ(var_index("v"), std::make_pair(1, 3));
  ASSERT_EQ(TVA_putvarname(task, 3, ""), TVA_RES_OK);
  EXPECT_EQ(var_name(3), "");
}

TEST_F(Names, ANameTakenFromTheArenaItselfSurvivesItsGrowth) {
  // Inner callers may hand one item's stored name to another; the arena grows meanwhile.
  ASSERT_EQ(TVA_putvarname(task, 0, std::string(40, 'a').c_str()), TVA_RES_OK);
  for (int round = 0; round < 6; ++round)
    for (int j = 1; j < 4; ++j)
      ASSERT_EQ(telva::store_putname(task, telva::kNameVar, j,
                                     telva::store_getname(task, telva::kNameVar, j - 1)),
                TVA_RES_OK);
  EXPECT_EQ(var_name(3), std::string(40, 'a'));
}

TEST_F(Names, MaxlenBoundary) {
  ASSERT_EQ(TVA_putconname(task, 0, "abcde"), TVA_RES_OK);
  char buf[8] = "zzzzzzz";
  EXPECT_EQ(TVA_getconname(task, 0, 6, buf), TVA_RES_OK);
  EXPECT_STREQ(buf, "abcde");
  EXPECT_EQ(TVA_getconname(task, 0, 5, buf), TVA_RES_ERR_NAME_MAX_LEN);
  EXPECT_STREQ(buf, "");
  // A null buffer is a no-op after the index check.
  EXPECT_EQ(TVA_getconname(task, 0, 0, nullptr), TVA_RES_OK);
  int len = -1;
  EXPECT_EQ(TVA_getconnamelen(task, 0, &len), TVA_RES_OK);
  EXPECT_EQ(len, 5);
  ASSERT_EQ(TVA_puttaskname(task, "abcde"), TVA_RES_OK);
  EXPECT_EQ(TVA_gettaskname(task, 6, buf), TVA_RES_OK);
  EXPECT_STREQ(buf, "abcde");
  EXPECT_EQ(TVA_gettaskname(task, 5, buf), TVA_RES_ERR_MAX_LEN_IS_TOO_SMALL);
}

TEST_F(Names, LookupsSurviveGrowthRenamesRemovalAndAppends) {
  // Long and growing names force the arena to be rebuilt many times while the map stands.
  ASSERT_EQ(TVA_putvarname(task, 0, "seed"), TVA_RES_OK);
  EXPECT_EQ(var_index("seed"), std::make_pair(1, 0));
  ASSERT_EQ(TVA_appendvars(task, 200), TVA_RES_OK); // beyond the map's first room
  for (int j = 0; j < 204; ++j)
    ASSERT_EQ(
        TVA_putvarname(task, j, ("name_" + std::string(j % 37, 'q') + std::to_string(j)).c_str()),
        TVA_RES_OK);
  for (int j = 0; j < 204; j += 7)
    ASSERT_EQ(TVA_putvarname(task, j, ("n" + std::to_string(j)).c_str()), TVA_RES_OK);
  for (int j = 0; j < 204; ++j) {
    std::string want = j % 7 == 0 ? "n" + std::to_string(j)
                                  : "name_" + std::string(j % 37, 'q') + std::to_string(j);
    ASSERT_EQ(var_name(j), want);
    ASSERT_EQ(var_index(want.c_str()), std::make_pair(1, j));
  }
  // The old longer names are gone from the map.
  EXPECT_EQ(var_index("name_0").first, 0);
  // Removal renumbers: lookups follow.
  int gone[] = {0, 5};
  ASSERT_EQ(TVA_removevars(task, 2, gone), TVA_RES_OK);
  EXPECT_EQ(var_index("n7"), std::make_pair(1, 5));
  EXPECT_EQ(var_index("n14"), std::make_pair(1, 12));
  EXPECT_EQ(var_index("n0").first, 0);
  // After removing constraint 0 of three, 1 and 2 become 0 and 1 with their names.
  ASSERT_EQ(TVA_putconname(task, 1, "one"), TVA_RES_OK);
  ASSERT_EQ(TVA_putconname(task, 2, "two"), TVA_RES_OK);
  int c0 = 0;
  ASSERT_EQ(TVA_removecons(task, 1, &c0), TVA_RES_OK);
  int a = -1, i = -1;
  EXPECT_EQ(TVA_getconnameindex(task, "two", &a, &i), TVA_RES_OK);
  EXPECT_EQ(i, 1);
}

TEST_F(Names, ObjectiveTaskAndGreatestLength) {
  int len = -1;
  EXPECT_EQ(TVA_getobjnamelen(task, &len), TVA_RES_OK);
  EXPECT_EQ(len, 0);
  ASSERT_EQ(TVA_putobjname(task, "profit"), TVA_RES_OK);
  ASSERT_EQ(TVA_putobjname(task, "loss"), TVA_RES_OK); // shorter: same place
  char buf[16];
  EXPECT_EQ(TVA_getobjname(task, sizeof buf, buf), TVA_RES_OK);
  EXPECT_STREQ(buf, "loss");
  ASSERT_EQ(TVA_putvarname(task, 2, "abc"), TVA_RES_OK);
  int m = -1;
  EXPECT_EQ(TVA_getmaxnamelen(task, &m), TVA_RES_OK);
  EXPECT_EQ(m, 4);
  ASSERT_EQ(TVA_puttaskname(task, "a rather long task"), TVA_RES_OK);
  EXPECT_EQ(TVA_getmaxnamelen(task, &m), TVA_RES_OK);
  EXPECT_EQ(m, 18);
  EXPECT_EQ(TVA_gettasknamelen(task, &len), TVA_RES_OK);
  EXPECT_EQ(len, 18);
  // A resize clears the problem's names; the task's name stays.
  ASSERT_EQ(TVA_resizetask(task, 5, 5, 0, 0, 0), TVA_RES_OK);
  EXPECT_EQ(TVA_getobjnamelen(task, &len), TVA_RES_OK);
  EXPECT_EQ(len, 0);
  ASSERT_EQ(TVA_appendvars(task, 3), TVA_RES_OK);
  EXPECT_EQ(var_index("abc"), std::make_pair(0, 3));
  EXPECT_EQ(TVA_gettasknamelen(task, &len), TVA_RES_OK);
  EXPECT_EQ(len, 18);
}

TEST_F(Names, WritersSeeGeneratedNamesForUnnamedItems) {
  char buf[16];
  ASSERT_EQ(TVA_putvarname(task, 1, "flow"), TVA_RES_OK);
  EXPECT_STREQ(telva::store_name_or_generated(task, telva::kNameVar, 0, buf), "X1");
  EXPECT_STREQ(telva::store_name_or_generated(task, telva::kNameVar, 1, buf), "flow");
  EXPECT_STREQ(telva::store_name_or_generated(task, telva::kNameCon, 2, buf), "C3");
  int mem[] = {0};
  int dim = 1;
  ASSERT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 1, mem), TVA_RES_OK);
  ASSERT_EQ(TVA_appendbarvars(task, 1, &dim), TVA_RES_OK);
  EXPECT_STREQ(telva::store_name_or_generated(task, telva::kNameCone, 0, buf), "K1");
  EXPECT_STREQ(telva::store_name_or_generated(task, telva::kNameBarvar, 0, buf), "BARX1");
  EXPECT_STREQ(telva::store_objname_or_generated(task), "OBJ");
  ASSERT_EQ(TVA_putobjname(task, "z"), TVA_RES_OK);
  EXPECT_STREQ(telva::store_objname_or_generated(task), "z");
}

TEST_F(Names, AnalyzeNamesByFormat) {
  // Nothing named: the general rules pass, LP passes, MPS wants the objective named first.
  EXPECT_EQ(TVA_analyzenames(task, TVA_STREAM_LOG, TVA_NAME_TYPE_GEN), TVA_RES_OK);
  EXPECT_EQ(TVA_analyzenames(task, TVA_STREAM_LOG, TVA_NAME_TYPE_LP), TVA_RES_OK);
  EXPECT_EQ(TVA_analyzenames(task, TVA_STREAM_LOG, TVA_NAME_TYPE_MPS),
            TVA_RES_ERR_INVALID_OBJ_NAME);
  ASSERT_EQ(TVA_putobjname(task, "obj"), TVA_RES_OK);
  EXPECT_EQ(TVA_analyzenames(task, TVA_STREAM_LOG, TVA_NAME_TYPE_MPS),
            TVA_RES_ERR_INVALID_CON_NAME);
  for (int i = 0; i < 3; ++i)
    ASSERT_EQ(TVA_putconname(task, i, ("c" + std::to_string(i)).c_str()), TVA_RES_OK);
  EXPECT_EQ(TVA_analyzenames(task, TVA_STREAM_LOG, TVA_NAME_TYPE_MPS),
            TVA_RES_ERR_INVALID_VAR_NAME);
  for (int j = 0; j < 4; ++j)
    ASSERT_EQ(TVA_putvarname(task, j, ("x(" + std::to_string(j) + ")").c_str()), TVA_RES_OK);
  EXPECT_EQ(TVA_analyzenames(task, TVA_STREAM_LOG, TVA_NAME_TYPE_MPS), TVA_RES_OK);
  EXPECT_EQ(TVA_analyzenames(task, TVA_STREAM_LOG, TVA_NAME_TYPE_LP), TVA_RES_OK);
  // White space fails MPS only; a leading digit or a character outside the set fails LP.
  ASSERT_EQ(TVA_putvarname(task, 1, "has space"), TVA_RES_OK);
  EXPECT_EQ(TVA_analyzenames(task, TVA_STREAM_LOG, TVA_NAME_TYPE_MPS),
            TVA_RES_ERR_INVALID_VAR_NAME);
  EXPECT_EQ(TVA_analyzenames(task, TVA_STREAM_LOG, TVA_NAME_TYPE_LP), TVA_RES_ERR_INVALID_VAR_NAME);
  ASSERT_EQ(TVA_putvarname(task, 1, "x_1!\"#$%&'(),./;?@`{|}~"), TVA_RES_OK);
  EXPECT_EQ(TVA_analyzenames(task, TVA_STREAM_LOG, TVA_NAME_TYPE_LP), TVA_RES_OK);
  for (const char* bad : {"1x", "x+y", "x:y", "x[1]", "a<b", "x^2"}) {
    ASSERT_EQ(TVA_putconname(task, 2, bad), TVA_RES_OK);
    EXPECT_EQ(TVA_analyzenames(task, TVA_STREAM_LOG, TVA_NAME_TYPE_LP),
              TVA_RES_ERR_INVALID_CON_NAME)
        << bad;
  }
  ASSERT_EQ(TVA_putconname(task, 2, "c2"), TVA_RES_OK);
  int mem[] = {0};
  ASSERT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 1, mem), TVA_RES_OK);
  EXPECT_EQ(TVA_analyzenames(task, TVA_STREAM_LOG, TVA_NAME_TYPE_MPS),
            TVA_RES_ERR_INVALID_CONE_NAME);
  ASSERT_EQ(TVA_putconename(task, 0, "q"), TVA_RES_OK);
  EXPECT_EQ(TVA_analyzenames(task, TVA_STREAM_LOG, TVA_NAME_TYPE_MPS), TVA_RES_OK);
}

} // namespace
