// The table of symbolic constants, the conversions of keys and statuses, and the readers of
// the information items.
#include <cstring>
#include <set>
#include <string>

#include "param_fixture.h"

namespace {

using ParamSymbolicTest = paramtest::TaskFixture;

// Every family constant: its name and the value the header gives it. The header is generated
// from the same table, so this pins the generator and the constant table to each other.
struct Named {
  const char* name;
  int header_value;
};
const Named kFamilyConsts[] = {
#define TVA_SYMCON(FAMILY, NAME, VALUE) {"TVA_" #NAME, TVA_##NAME},
#include "telva/catalog/tables/symcons.def"
#undef TVA_SYMCON
};
const Named kCallbacks[] = {
#define TVA_CALLBACK(NAME, VALUE) {"TVA_CALLBACK_" #NAME, TVA_CALLBACK_##NAME},
#include "telva/catalog/tables/callbacks.def"
#undef TVA_CALLBACK
};
constexpr int kNumRescodes = 0
#define TVA_RESCODE(NAME, VALUE, DESC, TEMPLATE) +1
#include "telva/catalog/tables/rescodes.def"
#undef TVA_RESCODE
    ;

TEST_F(ParamSymbolicTest, TableHoldsEveryNamedConstantOnce) {
  TVAint32t num = 0, maxlen = 0;
  ASSERT_EQ(TVA_getsymbcondim(env, &num, &maxlen), TVA_RES_OK);
  const int expected = static_cast<int>(std::size(kFamilyConsts)) + kNumRescodes +
                       static_cast<int>(std::size(kCallbacks)) + 170 + 70 + 24 + 94 + 84 + 16;
  EXPECT_EQ(num, expected);
  EXPECT_EQ(std::size(kFamilyConsts), 203u);
  EXPECT_EQ(kNumRescodes, 420);
  EXPECT_EQ(std::size(kCallbacks), 97u);
  EXPECT_EQ(TVA_getsymbcondim(nullptr, &num, &maxlen), TVA_RES_ERR_NULL_ENV);

  std::set<std::string> names;
  size_t longest = 0;
  for (TVAint32t i = 0; i < num; ++i) {
    char name[TVA_MAX_STR_LEN] = "";
    TVAint32t value = -77;
    ASSERT_EQ(TVA_getsymbcon(task, i, TVA_MAX_STR_LEN, name, &value), TVA_RES_OK);
    EXPECT_TRUE(names.insert(name).second) << "twice: " << name;
    longest = std::max(longest, std::strlen(name));
    char text[TVA_MAX_STR_LEN];
    ASSERT_EQ(TVA_symnamtovalue(name, text), 1) << name;
    EXPECT_EQ(std::to_string(value), text) << name;
  }
  EXPECT_EQ(static_cast<size_t>(maxlen), longest);
  for (const Named& c : kFamilyConsts) {
    char text[TVA_MAX_STR_LEN];
    ASSERT_EQ(TVA_symnamtovalue(c.name, text), 1) << c.name;
    EXPECT_EQ(std::to_string(c.header_value), text) << c.name;
  }
  EXPECT_TRUE(names.count("TVA_RES_ERR_PARAM_INDEX"));
  EXPECT_TRUE(names.count("TVA_LIINF_RD_NUMQNZ"));
  EXPECT_TRUE(names.count("TVA_SOL_ITG"));
}

TEST_F(ParamSymbolicTest, SymbconBoundsAndShortBuffers) {
  TVAint32t num = 0, value = 0;
  ASSERT_EQ(TVA_getsymbcondim(env, &num, nullptr), TVA_RES_OK);
  char name[TVA_MAX_STR_LEN];
  EXPECT_EQ(TVA_getsymbcon(task, -1, TVA_MAX_STR_LEN, name, &value),
            TVA_RES_ERR_INDEX_IS_TOO_SMALL);
  EXPECT_EQ(TVA_getsymbcon(task, num, TVA_MAX_STR_LEN, name, &value),
            TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(TVA_getsymbcon(task, num - 1, TVA_MAX_STR_LEN, name, &value), TVA_RES_OK);
  EXPECT_EQ(TVA_getsymbcon(nullptr, 0, TVA_MAX_STR_LEN, name, &value), TVA_RES_ERR_NULL_TASK);
  // Entry 0 is TVA_BK_LO (9 characters): a buffer of 9 bytes cuts it, with a warning only.
  char small[9];
  EXPECT_EQ(TVA_getsymbcon(task, 0, 9, small, &value), TVA_RES_OK);
  EXPECT_STREQ(small, "TVA_BK_L");
  EXPECT_EQ(value, TVA_BK_LO);
  char fits[10];
  EXPECT_EQ(TVA_getsymbcon(task, 0, 10, fits, &value), TVA_RES_OK);
  EXPECT_STREQ(fits, "TVA_BK_LO");
}

TEST_F(ParamSymbolicTest, NameToValue) {
  char text[TVA_MAX_STR_LEN] = "junk";
  EXPECT_EQ(TVA_symnamtovalue("TVA_ON", text), 1);
  EXPECT_STREQ(text, "1");
  EXPECT_EQ(TVA_symnamtovalue("TVA_MAX_STR_LEN", text), 1);
  EXPECT_STREQ(text, "1024");
  EXPECT_EQ(TVA_symnamtovalue("TVA_RES_TRM_MAX_TIME", text), 1);
  EXPECT_STREQ(text, "10001");
  EXPECT_EQ(TVA_symnamtovalue("TVA_on", text), 0);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(TVA_symnamtovalue(nullptr, text), 0);
  EXPECT_EQ(TVA_symnamtovalue("TVA_OFF", nullptr), 1);
}

TEST_F(ParamSymbolicTest, KeysToTextAndBack) {
  char s[TVA_MAX_STR_LEN];
  EXPECT_EQ(TVA_bktostr(task, TVA_BK_RA, s), TVA_RES_OK);
  EXPECT_STREQ(s, "TVA_BK_RA");
  EXPECT_EQ(TVA_bktostr(task, 5, s), TVA_RES_ERR_INV_BK);
  EXPECT_STREQ(s, "");
  EXPECT_EQ(TVA_bktostr(task, -1, s), TVA_RES_ERR_INV_BK);

  const char* sk_text[] = {"UN", "BS", "SB", "LL", "UL", "EQ", "IF"};
  for (int k = 0; k < 7; ++k) {
    ASSERT_EQ(TVA_sktostr(task, k, s), TVA_RES_OK);
    EXPECT_STREQ(s, sk_text[k]);
    TVAint32t back = -1;
    EXPECT_EQ(TVA_strtosk(task, s, &back), TVA_RES_OK);
    EXPECT_EQ(back, k);
  }
  EXPECT_EQ(TVA_sktostr(task, 7, s), TVA_RES_ERR_INV_SK);
  EXPECT_STREQ(s, "");
  TVAint32t sk = -1;
  EXPECT_EQ(TVA_strtosk(task, "**", &sk), TVA_RES_OK);
  EXPECT_EQ(sk, TVA_SK_INF);
  sk = -1;
  EXPECT_EQ(TVA_strtosk(task, "bs", &sk), TVA_RES_ERR_INV_SK_STR);
  EXPECT_EQ(sk, TVA_SK_UNK); // set before the search

  EXPECT_EQ(TVA_conetypetostr(task, TVA_CT_RQUAD, s), TVA_RES_OK);
  EXPECT_STREQ(s, "TVA_CT_RQUAD");
  EXPECT_EQ(TVA_conetypetostr(task, 2, s), TVA_RES_ERR_CONE_TYPE);
  TVAint32t ct = 5;
  EXPECT_EQ(TVA_strtoconetype(task, "QUAD", &ct), TVA_RES_ERR_CONE_TYPE_STR);
  EXPECT_EQ(ct, 5);
  EXPECT_EQ(TVA_strtoconetype(nullptr, "QUAD", &ct), TVA_RES_ERR_NULL_TASK);
}

TEST_F(ParamSymbolicTest, StatusesAndTypesToText) {
  char s[TVA_MAX_STR_LEN];
  EXPECT_EQ(TVA_prostatostr(task, TVA_PRO_STA_PRIM_INFEAS_OR_UNBOUNDED, s), TVA_RES_OK);
  EXPECT_STREQ(s, "PRIMAL_INFEASIBLE_OR_UNBOUNDED");
  EXPECT_EQ(TVA_prostatostr(task, TVA_PRO_STA_ILL_POSED, s), TVA_RES_OK);
  EXPECT_STREQ(s, "ILL_POSED");
  EXPECT_EQ(TVA_prostatostr(task, 12, s), TVA_RES_OK);
  EXPECT_STREQ(s, "INVALID CODE(12)");

  EXPECT_EQ(TVA_solstatostr(task, TVA_SOL_STA_NEAR_PRIM_AND_DUAL_FEAS, s), TVA_RES_OK);
  EXPECT_STREQ(s, "NEAR_PRIMAL_AND_DUAL_FEASIBLE");
  EXPECT_EQ(TVA_solstatostr(task, TVA_SOL_STA_NEAR_INTEGER_OPTIMAL, s), TVA_RES_OK);
  EXPECT_STREQ(s, "NEAR_INTEGER_OPTIMAL");
  EXPECT_EQ(TVA_solstatostr(task, TVA_SOL_STA_DUAL_INFEAS_CER, s), TVA_RES_OK);
  EXPECT_STREQ(s, "DUAL_INFEASIBLE_CER");
  EXPECT_EQ(TVA_solstatostr(task, 7, s), TVA_RES_OK); // no status has the value 7
  EXPECT_STREQ(s, "INVALID code(7)");
  EXPECT_EQ(TVA_solstatostr(task, -2, s), TVA_RES_OK);
  EXPECT_STREQ(s, "INVALID code(-2)");

  EXPECT_EQ(TVA_probtypetostr(task, TVA_PROBTYPE_QCQO, s), TVA_RES_OK);
  EXPECT_STREQ(s, "QCQO (quadratically constrained optimization problem)");
  EXPECT_EQ(TVA_probtypetostr(task, 6, s), TVA_RES_ERR_IN_ARGUMENT);

  EXPECT_EQ(TVA_callbackcodetostr(TVA_CALLBACK_END_WRITE, s), TVA_RES_OK);
  EXPECT_STREQ(s, "TVA_CALLBACK_END_WRITE");
  EXPECT_EQ(TVA_callbackcodetostr(TVA_CALLBACK_IM_LU, nullptr), TVA_RES_OK);
  for (int gap : {10, 41, 67, 100, -1})
    EXPECT_NE(TVA_callbackcodetostr(gap, s), TVA_RES_OK);
  for (const Named& c : kCallbacks) {
    ASSERT_EQ(TVA_callbackcodetostr(c.header_value, s), TVA_RES_OK);
    EXPECT_STREQ(s, c.name);
  }
}

TEST_F(ParamSymbolicTest, InformationItems) {
  TVAint32t m = -1;
  EXPECT_EQ(TVA_getinfmax(task, 7, &m), TVA_RES_ERR_INF_TYPE);
  EXPECT_EQ(m, 0);
  const struct {
    int type, count;
  } kinds[] = {{TVA_INF_DOU_TYPE, 94}, {TVA_INF_INT_TYPE, 84}, {TVA_INF_LINT_TYPE, 16}};
  for (const auto& k : kinds) {
    ASSERT_EQ(TVA_getinfmax(task, k.type, &m), TVA_RES_OK);
    EXPECT_EQ(m, k.count);
    for (int i = 0; i < k.count; ++i) {
      char name[TVA_MAX_STR_LEN];
      ASSERT_EQ(TVA_getinfname(task, k.type, i, name), TVA_RES_OK);
      TVAint32t idx = -1;
      ASSERT_EQ(TVA_getinfindex(task, k.type, name, &idx), TVA_RES_OK) << name;
      EXPECT_EQ(idx, i);
      char text[TVA_MAX_STR_LEN];
      ASSERT_EQ(TVA_symnamtovalue(name, text), 1);
      EXPECT_EQ(std::to_string(i), text);
    }
    char name[TVA_MAX_STR_LEN];
    EXPECT_NE(TVA_getinfname(task, k.type, k.count, name), TVA_RES_OK);
  }
  char name[TVA_MAX_STR_LEN];
  ASSERT_EQ(TVA_getinfname(task, TVA_INF_DOU_TYPE, TVA_DINF_BI_TIME, name), TVA_RES_OK);
  EXPECT_STREQ(name, "TVA_DINF_BI_TIME");
  TVAint32t idx = -1;
  EXPECT_EQ(TVA_getinfindex(task, TVA_INF_INT_TYPE, "TVA_DINF_BI_TIME", &idx),
            TVA_RES_ERR_INF_INT_NAME);
  EXPECT_EQ(TVA_getinfindex(task, TVA_INF_LINT_TYPE, "x", &idx), TVA_RES_ERR_INF_LINT_NAME);
  EXPECT_EQ(TVA_getinfindex(task, TVA_INF_DOU_TYPE, "x", &idx), TVA_RES_ERR_INF_DOU_NAME);
  EXPECT_EQ(TVA_getinfindex(task, 3, "x", &idx), TVA_RES_ERR_INF_TYPE);

  // Values come from the task's arrays.
  task->dinf[TVA_DINF_OPTIMIZER_TIME] = 1.25;
  task->iinf[TVA_IINF_INTPNT_ITER] = 17;
  task->liinf[TVA_LIINF_RD_NUMANZ] = 5000000000LL;
  double d = 0;
  TVAint32t iv = 0;
  TVAint64t lv = 0;
  EXPECT_EQ(TVA_getdouinf(task, TVA_DINF_OPTIMIZER_TIME, &d), TVA_RES_OK);
  EXPECT_EQ(d, 1.25);
  EXPECT_EQ(TVA_getintinf(task, TVA_IINF_INTPNT_ITER, &iv), TVA_RES_OK);
  EXPECT_EQ(iv, 17);
  EXPECT_EQ(TVA_getlintinf(task, TVA_LIINF_RD_NUMANZ, &lv), TVA_RES_OK);
  EXPECT_EQ(lv, 5000000000LL);
  EXPECT_EQ(TVA_getnadouinf(task, "TVA_DINF_OPTIMIZER_TIME", &d), TVA_RES_OK);
  EXPECT_EQ(TVA_getnaintinf(task, "TVA_IINF_INTPNT_ITER", &iv), TVA_RES_OK);
  EXPECT_EQ(TVA_getnadouinf(task, "TVA_DINF_NOPE", &d), TVA_RES_ERR_INF_DOU_NAME);
  EXPECT_EQ(TVA_getnaintinf(task, "TVA_DINF_OPTIMIZER_TIME", &iv), TVA_RES_ERR_INF_INT_NAME);
  EXPECT_EQ(TVA_getdouinf(task, 94, &d), TVA_RES_ERR_INF_DOU_INDEX);
  EXPECT_EQ(TVA_getintinf(task, -1, &iv), TVA_RES_ERR_INF_INT_INDEX);
  EXPECT_EQ(TVA_getlintinf(task, 16, &lv), TVA_RES_ERR_INF_LINT_INDEX);
  EXPECT_EQ(TVA_getdouinf(nullptr, 0, &d), TVA_RES_ERR_NULL_TASK);
}

} // namespace
