// The parameter catalogue as a whole: the header agrees with the tables name by name, every
// name maps to its index and back, every default passes its own limits, and the values just
// outside the limits are refused.
#include <climits>
#include <cmath>
#include <cstring>
#include <set>
#include <string>

#include "param_fixture.h"
#include "telva/catalog/symtable.h"

namespace {

using paramtest::TaskFixture;
using ParamCatalogueTest = TaskFixture;

struct Row {
  const char* name;
  int header_value;
  int table_index;
};

const Row kIparRows[] = {
#define TVA_IPAR(NAME, IDX, DEF, KIND, MIN, MAX, FAM) {"TVA_IPAR_" #NAME, TVA_IPAR_##NAME, IDX},
#include "telva/catalog/tables/iparams.def"
#undef TVA_IPAR
};
const Row kDparRows[] = {
#define TVA_DPAR(NAME, IDX, DEF, KIND, MIN, MAX) {"TVA_DPAR_" #NAME, TVA_DPAR_##NAME, IDX},
#include "telva/catalog/tables/dparams.def"
#undef TVA_DPAR
};
const Row kSparRows[] = {
#define TVA_SPAR(NAME, IDX, DEF) {"TVA_SPAR_" #NAME, TVA_SPAR_##NAME, IDX},
#include "telva/catalog/tables/sparams.def"
#undef TVA_SPAR
};

TEST_F(ParamCatalogueTest, HeaderAgreesWithTablesNameByName) {
  struct Kind {
    const Row* rows;
    size_t n;
    int type;
  } kinds[] = {{kIparRows, std::size(kIparRows), TVA_PAR_INT_TYPE},
               {kDparRows, std::size(kDparRows), TVA_PAR_DOU_TYPE},
               {kSparRows, std::size(kSparRows), TVA_PAR_STR_TYPE}};
  for (const Kind& k : kinds) {
    for (size_t i = 0; i < k.n; ++i) {
      const Row& row = k.rows[i];
      SCOPED_TRACE(row.name);
      EXPECT_EQ(row.header_value, row.table_index);
      char name[TVA_MAX_STR_LEN] = "";
      ASSERT_EQ(TVA_getparamname(task, k.type, row.table_index, name), TVA_RES_OK);
      EXPECT_STREQ(name, row.name);
      // The constant table knows the parameter by the same name and index.
      char text[TVA_MAX_STR_LEN];
      ASSERT_EQ(TVA_symnamtovalue(row.name, text), 1);
      EXPECT_EQ(std::stoi(text), row.table_index);
    }
  }
  EXPECT_EQ(std::size(kIparRows), 170u); // 176 slots, 6 of them unassigned
  EXPECT_EQ(std::size(kDparRows), 70u);
  EXPECT_EQ(std::size(kSparRows), 24u);
}

TEST_F(ParamCatalogueTest, EveryNameMapsToItsIndexAndBack) {
  for (int type : {TVA_PAR_DOU_TYPE, TVA_PAR_INT_TYPE, TVA_PAR_STR_TYPE}) {
    TVAint32t num = 0;
    ASSERT_EQ(TVA_getnumparam(task, type, &num), TVA_RES_OK);
    int named = 0;
    for (TVAint32t i = 0; i < num; ++i) {
      char name[TVA_MAX_STR_LEN] = "";
      TVArescode r = TVA_getparamname(task, type, i, name);
      if (type == TVA_PAR_INT_TYPE && (i == 9 || (i >= 29 && i <= 33))) {
        EXPECT_EQ(r, TVA_RES_ERR_PARAM_INDEX) << i;
        continue;
      }
      ASSERT_EQ(r, TVA_RES_OK) << type << " " << i;
      ++named;
      TVAint32t found_type = -1, found = -1, isidx = -1;
      ASSERT_EQ(TVA_whichparam(task, name, &found_type, &found), TVA_RES_OK);
      EXPECT_EQ(found_type, type) << name;
      EXPECT_EQ(found, i) << name;
      if (type == TVA_PAR_DOU_TYPE) TVA_isdouparname(task, name, &isidx);
      if (type == TVA_PAR_INT_TYPE) TVA_isintparname(task, name, &isidx);
      if (type == TVA_PAR_STR_TYPE) TVA_isstrparname(task, name, &isidx);
      EXPECT_EQ(isidx, i) << name;
    }
    EXPECT_EQ(named, type == TVA_PAR_INT_TYPE ? 170 : num);
  }
}

TEST_F(ParamCatalogueTest, DefaultsPassTheirLimitsAndNeighboursOutsideAreRefused) {
  const telva::ParamCatalogue& cat = env->catalogue;
  for (int i = 0; i < TVA_IPAR_NUM; ++i) {
    if (!cat.ipar_names[i][0]) continue;
    SCOPED_TRACE(cat.ipar_names[i]);
    const int kind = cat.ipar_kind[i], def = cat.ipar_default[i];
    const bool has_min = kind == 0 || kind == 4, has_max = kind == 1 || kind == 4;
    // Start from a value other than the default so that putting the default really checks.
    TVAint32t other = def;
    if (has_max && def < cat.ipar_max[i])
      other = def + 1;
    else if (has_min && def > cat.ipar_min[i])
      other = def - 1;
    else if (!has_min && !has_max)
      other = def + 1;
    ASSERT_EQ(TVA_putintparam(task, i, other), TVA_RES_OK);
    ASSERT_EQ(TVA_putintparam(task, i, def), TVA_RES_OK);
    if (has_min && cat.ipar_min[i] > INT32_MIN) {
      EXPECT_EQ(TVA_putintparam(task, i, cat.ipar_min[i]), TVA_RES_OK);
      EXPECT_EQ(TVA_putintparam(task, i, cat.ipar_min[i] - 1), TVA_RES_ERR_PARAM_IS_TOO_SMALL);
      EXPECT_EQ(task->iparam[i], cat.ipar_min[i]);
    }
    if (has_max && cat.ipar_max[i] < INT32_MAX) {
      EXPECT_EQ(TVA_putintparam(task, i, cat.ipar_max[i]), TVA_RES_OK);
      EXPECT_EQ(TVA_putintparam(task, i, cat.ipar_max[i] + 1), TVA_RES_ERR_PARAM_IS_TOO_LARGE);
      EXPECT_EQ(task->iparam[i], cat.ipar_max[i]);
    }
    if (!has_min && !has_max) {
      EXPECT_EQ(TVA_putintparam(task, i, INT32_MIN), TVA_RES_OK);
      EXPECT_EQ(TVA_putintparam(task, i, INT32_MAX), TVA_RES_OK);
    }
  }
  for (int i = 0; i < TVA_DPAR_NUM; ++i) {
    SCOPED_TRACE(cat.dpar_names[i]);
    const int kind = cat.dpar_kind[i];
    const double def = cat.dpar_default[i];
    const bool has_min = kind == 0 || kind == 4, has_max = kind == 1 || kind == 4;
    ASSERT_EQ(TVA_putdouparam(task, i, def + 1.0),
              has_max && def + 1.0 > cat.dpar_max[i] ? TVA_RES_ERR_PARAM_IS_TOO_LARGE : TVA_RES_OK);
    ASSERT_EQ(TVA_putdouparam(task, i, def), TVA_RES_OK);
    if (has_min) {
      double below = std::nextafter(cat.dpar_min[i], -INFINITY);
      EXPECT_EQ(TVA_putdouparam(task, i, below), TVA_RES_ERR_PARAM_IS_TOO_SMALL);
      EXPECT_EQ(task->dparam[i], def);
      EXPECT_EQ(TVA_putdouparam(task, i, cat.dpar_min[i]), TVA_RES_OK);
    }
    if (has_max) {
      double above = std::nextafter(cat.dpar_max[i], INFINITY);
      EXPECT_EQ(TVA_putdouparam(task, i, above), TVA_RES_ERR_PARAM_IS_TOO_LARGE);
      EXPECT_EQ(TVA_putdouparam(task, i, cat.dpar_max[i]), TVA_RES_OK);
    }
    if (!has_min && !has_max) {
      EXPECT_EQ(TVA_putdouparam(task, i, -1.0e300), TVA_RES_OK);
      EXPECT_EQ(TVA_putdouparam(task, i, 1.0e300), TVA_RES_OK);
    }
  }
}

TEST_F(ParamCatalogueTest, NewTaskHoldsTheDefaults) {
  const telva::ParamCatalogue& cat = env->catalogue;
  EXPECT_EQ(task->iparam[TVA_IPAR_LOG_BI_FREQ], 2500);
  EXPECT_EQ(task->dparam[TVA_DPAR_LOWER_OBJ_CUT], -1.0e30);
  EXPECT_EQ(task->dparam[TVA_DPAR_INTPNT_NL_TOL_REL_STEP], 0.995);
  for (int i = 0; i < TVA_SPAR_NUM; ++i) {
    const char* expect = i == TVA_SPAR_PARAM_COMMENT_SIGN      ? "%%"
                         : i == TVA_SPAR_WRITE_LP_GEN_VAR_NAME ? "XTVAGEN"
                                                               : "";
    EXPECT_STREQ(task->sparam[i], expect) << cat.spar_names[i];
  }
}

// Every value that an int parameter with a family may take has a symbolic name, and the
// family's values stay inside the parameter's limits.
TEST_F(ParamCatalogueTest, FamiliesCoverTheRangesOfTheirParameters) {
  const telva::ParamCatalogue& cat = env->catalogue;
  int with_family = 0;
  for (int i = 0; i < TVA_IPAR_NUM; ++i) {
    const telva::SymFamily* fam = telva::ipar_family(i);
    if (!fam) continue;
    ++with_family;
    SCOPED_TRACE(cat.ipar_names[i]);
    ASSERT_EQ(cat.ipar_kind[i], 4);
    for (int v = cat.ipar_min[i]; v <= cat.ipar_max[i]; ++v) {
      char name[TVA_MAX_STR_LEN] = "x";
      ASSERT_EQ(TVA_iparvaltosymnam(env, i, v, name), TVA_RES_OK);
      ASSERT_STRNE(name, "");
      TVAint32t back = -1;
      char text[TVA_MAX_STR_LEN];
      ASSERT_EQ(TVA_symnamtovalue(name, text), 1);
      back = std::stoi(text);
      EXPECT_EQ(back, v);
    }
    char none[TVA_MAX_STR_LEN] = "x";
    EXPECT_EQ(TVA_iparvaltosymnam(env, i, cat.ipar_max[i] + 1, none), TVA_RES_OK);
    EXPECT_STREQ(none, "");
  }
  EXPECT_EQ(with_family, 99);
  char name[TVA_MAX_STR_LEN];
  EXPECT_EQ(TVA_iparvaltosymnam(env, TVA_IPAR_OPTIMIZER, 4, name), TVA_RES_OK);
  EXPECT_STREQ(name, "TVA_OPTIMIZER_INTPNT");
  EXPECT_EQ(TVA_iparvaltosymnam(env, TVA_IPAR_LOG, 1, name), TVA_RES_OK);
  EXPECT_STREQ(name, ""); // a plain number
  EXPECT_EQ(TVA_iparvaltosymnam(env, 9, 0, name), TVA_RES_ERR_PARAM_INDEX);
  EXPECT_EQ(TVA_iparvaltosymnam(nullptr, 0, 0, name), TVA_RES_ERR_NULL_ENV);

  std::string_view prefix, word;
  ASSERT_TRUE(telva::ipar_symbolic_parts(TVA_IPAR_READ_MPS_FORMAT, 3, &prefix, &word));
  EXPECT_EQ(prefix, "MPS_FORMAT_");
  EXPECT_EQ(word, "CPLEX");
  ASSERT_TRUE(telva::ipar_symbolic_parts(TVA_IPAR_PRESOLVE_LINDEP_USE, 1, &prefix, &word));
  EXPECT_EQ(prefix, "");
  EXPECT_EQ(word, "ON");
  ASSERT_TRUE(telva::ipar_symbolic_parts(TVA_IPAR_INTPNT_SCALING, 1, &prefix, &word));
  EXPECT_EQ(prefix, "SCALING_");
  EXPECT_EQ(word, "NONE");
}

} // namespace
