// Putting and getting single parameters: by index, by name and by text, with the codes of
// bad input and the rule that a refused value leaves the parameter as it was.
#include <cmath>
#include <cstring>

#include "param_fixture.h"

namespace {

using ParamPutGetTest = paramtest::TaskFixture;

TEST_F(ParamPutGetTest, IntLimitsByKind) {
  // Kind 0: below the minimum is refused and the old value stays.
  EXPECT_EQ(TVA_putintparam(task, TVA_IPAR_LOG_BI_FREQ, -1), TVA_RES_ERR_PARAM_IS_TOO_SMALL);
  TVAint32t v = 0;
  ASSERT_EQ(TVA_getintparam(task, TVA_IPAR_LOG_BI_FREQ, &v), TVA_RES_OK);
  EXPECT_EQ(v, 2500);
  // Kind 3 takes anything.
  EXPECT_EQ(TVA_putintparam(task, TVA_IPAR_MAX_NUM_WARNINGS, -5), TVA_RES_OK);
  EXPECT_EQ(task->iparam[TVA_IPAR_MAX_NUM_WARNINGS], -5);
  // Kind 4 on both sides; the minimum of READ_MPS_WIDTH is 80.
  EXPECT_EQ(TVA_putintparam(task, TVA_IPAR_SIM_DUAL_RESTRICT_SELECTION, 101),
            TVA_RES_ERR_PARAM_IS_TOO_LARGE);
  EXPECT_EQ(TVA_putintparam(task, TVA_IPAR_READ_MPS_WIDTH, 79), TVA_RES_ERR_PARAM_IS_TOO_SMALL);
  EXPECT_EQ(TVA_putintparam(task, TVA_IPAR_READ_MPS_WIDTH, 80), TVA_RES_OK);
  EXPECT_EQ(TVA_putintparam(task, TVA_IPAR_INTPNT_MAX_NUM_COR, -2), TVA_RES_ERR_PARAM_IS_TOO_SMALL);
  EXPECT_EQ(TVA_putintparam(task, TVA_IPAR_INTPNT_MAX_NUM_COR, -1), TVA_RES_OK);
  // The last response names the refused value.
  EXPECT_EQ(TVA_putintparam(task, TVA_IPAR_MT_SPINCOUNT, 1000000001),
            TVA_RES_ERR_PARAM_IS_TOO_LARGE);
  EXPECT_EQ(task->lastcode, TVA_RES_ERR_PARAM_IS_TOO_LARGE);
  EXPECT_EQ(task->iparam[TVA_IPAR_MT_SPINCOUNT], 0);
}

TEST_F(ParamPutGetTest, BadIndicesAndNullHandles) {
  TVAint32t v = 0;
  double d = 0;
  EXPECT_EQ(TVA_putintparam(task, 176, 0), TVA_RES_ERR_PARAM_INDEX);
  EXPECT_EQ(TVA_putintparam(task, -1, 0), TVA_RES_ERR_PARAM_INDEX);
  EXPECT_EQ(TVA_putintparam(task, 9, 0), TVA_RES_ERR_PARAM_INDEX); // a gap in the numbering
  EXPECT_EQ(TVA_getintparam(task, 31, &v), TVA_RES_ERR_PARAM_INDEX);
  EXPECT_EQ(TVA_putdouparam(task, 70, 0.0), TVA_RES_ERR_PARAM_INDEX);
  EXPECT_EQ(TVA_getdouparam(task, -3, &d), TVA_RES_ERR_PARAM_INDEX);
  EXPECT_EQ(TVA_putstrparam(task, 24, "x"), TVA_RES_ERR_PARAM_INDEX);
  EXPECT_EQ(TVA_getstrparamlen(task, 24, &v), TVA_RES_ERR_PARAM_INDEX);
  EXPECT_EQ(TVA_putintparam(nullptr, 0, 0), TVA_RES_ERR_NULL_TASK);
  EXPECT_EQ(TVA_getdouparam(nullptr, 0, &d), TVA_RES_ERR_NULL_TASK);
  EXPECT_EQ(TVA_getintparam(task, TVA_IPAR_LOG, nullptr), TVA_RES_ERR_NULL_POINTER);
}

TEST_F(ParamPutGetTest, DoubleLimitsAndNaN) {
  EXPECT_EQ(TVA_putdouparam(task, TVA_DPAR_SIM_LU_TOL_REL_PIV, 0.9999995),
            TVA_RES_ERR_PARAM_IS_TOO_LARGE);
  EXPECT_EQ(task->dparam[TVA_DPAR_SIM_LU_TOL_REL_PIV], 0.01);
  EXPECT_EQ(TVA_putdouparam(task, TVA_DPAR_SIM_LU_TOL_REL_PIV, 1e-7),
            TVA_RES_ERR_PARAM_IS_TOO_SMALL);
  EXPECT_EQ(TVA_putdouparam(task, TVA_DPAR_SIM_LU_TOL_REL_PIV, 0.5), TVA_RES_OK);
  // A NaN fails no comparison and is taken.
  EXPECT_EQ(TVA_putdouparam(task, TVA_DPAR_MIO_TOL_FEAS, NAN), TVA_RES_OK);
  EXPECT_TRUE(std::isnan(task->dparam[TVA_DPAR_MIO_TOL_FEAS]));
}

TEST_F(ParamPutGetTest, StringValuesQuotedAndCut) {
  ASSERT_EQ(TVA_putstrparam(task, TVA_SPAR_STAT_NAME, "\"say \\\"hi\\\" now\" trailing"),
            TVA_RES_OK);
  EXPECT_STREQ(task->sparam[TVA_SPAR_STAT_NAME], "say \"hi\" now");
  ASSERT_EQ(TVA_putstrparam(task, TVA_SPAR_STAT_NAME, "plain \\\" text"), TVA_RES_OK);
  EXPECT_STREQ(task->sparam[TVA_SPAR_STAT_NAME], "plain \\\" text");
  ASSERT_EQ(TVA_putstrparam(task, TVA_SPAR_WRITE_LP_GEN_VAR_NAME, nullptr), TVA_RES_OK);
  EXPECT_STREQ(task->sparam[TVA_SPAR_WRITE_LP_GEN_VAR_NAME], "");

  ASSERT_EQ(TVA_putstrparam(task, TVA_SPAR_STAT_KEY, "abcdef"), TVA_RES_OK);
  TVAint32t len = -1;
  char buf[8];
  std::memset(buf, 'z', sizeof buf);
  EXPECT_EQ(TVA_getstrparam(task, TVA_SPAR_STAT_KEY, 8, &len, buf), TVA_RES_OK);
  EXPECT_EQ(len, 6);
  EXPECT_STREQ(buf, "abcdef");
  EXPECT_EQ(buf[7], '\0'); // zero-padded to maxlen
  // A buffer that cannot hold the terminator cuts the value: a warning, so the result is 0.
  char small[4];
  EXPECT_EQ(TVA_getstrparam(task, TVA_SPAR_STAT_KEY, 4, &len, small), TVA_RES_OK);
  EXPECT_STREQ(small, "abc");
  EXPECT_EQ(TVA_getstrparam(task, TVA_SPAR_STAT_KEY, 6, nullptr, buf), TVA_RES_OK);
  EXPECT_STREQ(buf, "abcde");
  EXPECT_EQ(TVA_getstrparamlen(task, TVA_SPAR_STAT_KEY, &len), TVA_RES_OK);
  EXPECT_EQ(len, 6);

  char* al = nullptr;
  ASSERT_EQ(TVA_getstrparamal(task, TVA_SPAR_STAT_KEY, 10, &al), TVA_RES_OK);
  EXPECT_STREQ(al, "abcdef");
  TVA_freetask(task, al);
  ASSERT_EQ(TVA_getnastrparamal(task, "TVA_SPAR_DATA_FILE_NAME", 0, &al), TVA_RES_OK);
  EXPECT_STREQ(al, "");
  TVA_freetask(task, al);
  // A null value reads as empty.
  telva::sysenv_free(task->sys, TVA_HERE, task->sparam[TVA_SPAR_STAT_KEY]);
  task->sparam[TVA_SPAR_STAT_KEY] = nullptr;
  EXPECT_EQ(TVA_getstrparam(task, TVA_SPAR_STAT_KEY, 8, &len, buf), TVA_RES_OK);
  EXPECT_EQ(len, 0);
  EXPECT_STREQ(buf, "");
}

TEST_F(ParamPutGetTest, ByNameIsExactAndCaseSensitive) {
  EXPECT_EQ(TVA_putnaintparam(task, "TVA_IPAR_LOG", 3), TVA_RES_OK);
  EXPECT_EQ(task->iparam[TVA_IPAR_LOG], 3);
  EXPECT_EQ(TVA_putnaintparam(task, "tva_ipar_log", 3), TVA_RES_ERR_PARAM_NAME_INT);
  EXPECT_EQ(TVA_putnaintparam(task, "TVA_IPAR_LO", 3), TVA_RES_ERR_PARAM_NAME_INT);
  EXPECT_EQ(TVA_putnaintparam(task, "", 3), TVA_RES_ERR_PARAM_NAME_INT);
  EXPECT_EQ(TVA_putnadouparam(task, "TVA_IPAR_LOG", 3.0), TVA_RES_ERR_PARAM_NAME_DOU);
  EXPECT_EQ(TVA_putnastrparam(task, "TVA_DPAR_MIO_MAX_TIME", "1"), TVA_RES_ERR_PARAM_NAME_STR);
  EXPECT_EQ(TVA_putnadouparam(task, "TVA_DPAR_MIO_MAX_TIME", 60.5), TVA_RES_OK);
  double d = 0;
  EXPECT_EQ(TVA_getnadouparam(task, "TVA_DPAR_MIO_MAX_TIME", &d), TVA_RES_OK);
  EXPECT_EQ(d, 60.5);
  TVAint32t v = 0;
  EXPECT_EQ(TVA_getnaintparam(task, "TVA_IPAR_LOG", &v), TVA_RES_OK);
  EXPECT_EQ(v, 3);
  EXPECT_EQ(TVA_putnastrparam(task, "TVA_SPAR_STAT_KEY", "k1"), TVA_RES_OK);
  char buf[16];
  TVAint32t len = 0;
  EXPECT_EQ(TVA_getnastrparam(task, "TVA_SPAR_STAT_KEY", 16, &len, buf), TVA_RES_OK);
  EXPECT_STREQ(buf, "k1");
  EXPECT_EQ(TVA_getnaintparam(task, "TVA_SPAR_STAT_KEY", &v), TVA_RES_ERR_PARAM_NAME_INT);
}

TEST_F(ParamPutGetTest, PutParamParsesTextAndSymbols) {
  EXPECT_EQ(TVA_putparam(task, "  TVA_IPAR_OPTIMIZER\t", "TVA_OPTIMIZER_DUAL_SIMPLEX"), TVA_RES_OK);
  EXPECT_EQ(task->iparam[TVA_IPAR_OPTIMIZER], TVA_OPTIMIZER_DUAL_SIMPLEX);
  EXPECT_EQ(TVA_putparam(task, "TVA_IPAR_PRESOLVE_LINDEP_USE", " TVA_OFF "), TVA_RES_OK);
  EXPECT_EQ(task->iparam[TVA_IPAR_PRESOLVE_LINDEP_USE], TVA_OFF);
  EXPECT_EQ(TVA_putparam(task, "TVA_IPAR_LOG", " 7 "), TVA_RES_OK);
  EXPECT_EQ(task->iparam[TVA_IPAR_LOG], 7);
  EXPECT_EQ(TVA_putparam(task, "TVA_IPAR_LOG", "7x"), TVA_RES_ERR_PARAM_VALUE_STR);
  EXPECT_EQ(TVA_putparam(task, "TVA_IPAR_LOG", "99999999999"), TVA_RES_ERR_PARAM_VALUE_STR);
  EXPECT_EQ(TVA_putparam(task, "TVA_IPAR_LOG", "TVA_NOT_A_NAME"), TVA_RES_ERR_PARAM_VALUE_STR);
  EXPECT_EQ(task->iparam[TVA_IPAR_LOG], 7);
  // A symbol outside the parameter's range is refused by the limits.
  EXPECT_EQ(TVA_putparam(task, "TVA_IPAR_MIO_MODE", "TVA_OPTIMIZER_INTPNT"),
            TVA_RES_ERR_PARAM_IS_TOO_LARGE);
  EXPECT_EQ(TVA_putparam(task, "TVA_DPAR_OPTIMIZER_MAX_TIME", "1.5e3"), TVA_RES_OK);
  EXPECT_EQ(task->dparam[TVA_DPAR_OPTIMIZER_MAX_TIME], 1500.0);
  EXPECT_EQ(TVA_putparam(task, "TVA_DPAR_OPTIMIZER_MAX_TIME", "fast"), TVA_RES_ERR_PARAM_VALUE_STR);
  EXPECT_EQ(TVA_putparam(task, "TVA_DPAR_OPTIMIZER_MAX_TIME", ""), TVA_RES_ERR_PARAM_VALUE_STR);
  EXPECT_EQ(TVA_putparam(task, "TVA_DPAR_BASIS_TOL_S", "1e-10"), TVA_RES_ERR_PARAM_IS_TOO_SMALL);
  EXPECT_EQ(TVA_putparam(task, "TVA_SPAR_STAT_NAME", "\"a b\""), TVA_RES_OK);
  EXPECT_STREQ(task->sparam[TVA_SPAR_STAT_NAME], "a b");
  EXPECT_EQ(TVA_putparam(task, "TVA_XPAR_NONE", "1"), TVA_RES_ERR_PARAM_NAME);
  EXPECT_EQ(TVA_putparam(task, nullptr, "1"), TVA_RES_ERR_NULL_POINTER);
}

TEST_F(ParamPutGetTest, WhichParamAndCounts) {
  TVAint32t type = -1, idx = -1;
  EXPECT_EQ(TVA_whichparam(task, "TVA_SPAR_STAT_KEY", &type, &idx), TVA_RES_OK);
  EXPECT_EQ(type, TVA_PAR_STR_TYPE);
  EXPECT_EQ(idx, TVA_SPAR_STAT_KEY);
  idx = 77;
  EXPECT_EQ(TVA_whichparam(task, "TVA_IPAR_NOPE", &type, &idx), TVA_RES_OK);
  EXPECT_EQ(type, TVA_PAR_INVALID_TYPE);
  EXPECT_EQ(idx, 77);
  TVAint32t p = -1;
  EXPECT_EQ(TVA_isintparname(task, "TVA_DPAR_MIO_MAX_TIME", &p), TVA_RES_OK);
  EXPECT_EQ(p, 176);
  EXPECT_EQ(TVA_isdouparname(task, "x", &p), TVA_RES_OK);
  EXPECT_EQ(p, 70);
  EXPECT_EQ(TVA_isstrparname(task, nullptr, &p), TVA_RES_OK);
  EXPECT_EQ(p, 24);

  TVAint32t n = 0;
  EXPECT_EQ(TVA_getnumparam(task, TVA_PAR_INT_TYPE, &n), TVA_RES_OK);
  EXPECT_EQ(n, 176);
  EXPECT_EQ(TVA_getparammax(task, TVA_PAR_DOU_TYPE, &n), TVA_RES_OK);
  EXPECT_EQ(n, 70);
  EXPECT_EQ(TVA_getnumparam(task, TVA_PAR_STR_TYPE, &n), TVA_RES_OK);
  EXPECT_EQ(n, 24);
  EXPECT_EQ(TVA_getnumparam(task, TVA_PAR_INVALID_TYPE, &n), TVA_RES_ERR_PARAM_TYPE);
  EXPECT_EQ(TVA_getparammax(task, 4, &n), TVA_RES_ERR_PARAM_TYPE);
  char name[TVA_MAX_STR_LEN];
  EXPECT_EQ(TVA_getparamname(task, 5, 0, name), TVA_RES_ERR_PARAM_TYPE);
  EXPECT_EQ(TVA_getparamname(task, TVA_PAR_STR_TYPE, 24, name), TVA_RES_ERR_PARAM_INDEX);
  EXPECT_EQ(TVA_getparamname(task, TVA_PAR_INT_TYPE, 175, name), TVA_RES_OK);
  EXPECT_STREQ(name, "TVA_IPAR_WRITE_XML_MODE");
}

TEST_F(ParamPutGetTest, SetDefaultsRestoresEverything) {
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG, 0), TVA_RES_OK);
  ASSERT_EQ(TVA_putdouparam(task, TVA_DPAR_UPPER_OBJ_CUT, 5.0), TVA_RES_OK);
  ASSERT_EQ(TVA_putstrparam(task, TVA_SPAR_PARAM_COMMENT_SIGN, "#"), TVA_RES_OK);
  ASSERT_EQ(TVA_setdefaults(task), TVA_RES_OK);
  EXPECT_EQ(task->iparam[TVA_IPAR_LOG], 10);
  EXPECT_EQ(task->dparam[TVA_DPAR_UPPER_OBJ_CUT], 1.0e30);
  EXPECT_STREQ(task->sparam[TVA_SPAR_PARAM_COMMENT_SIGN], "%%");
  // A fresh copy, not the catalogue's own string.
  EXPECT_NE(task->sparam[TVA_SPAR_PARAM_COMMENT_SIGN],
            env->catalogue.spar_default[TVA_SPAR_PARAM_COMMENT_SIGN]);
}

} // namespace
