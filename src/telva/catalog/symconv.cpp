// The symbolic constants through the exported interface: the table walk, name to value, and
// the conversions of keys and statuses to and from text.
#include <cstdio>
#include <cstring>

#include "telva/log/report.h"
#include "telva/catalog/symtable.h"
#include "telva/task/task.h"

namespace telva {

namespace {

const SymConst* find_in_family(const char* family, int32 value) {
  for (const SymConst* c = kSymConsts; c->name; ++c)
    if (c->value == value && std::strcmp(c->family, family) == 0) return c;
  return nullptr;
}

void put_text(char* out, const char* text) {
  if (out) std::memcpy(out, text, std::strlen(text) + 1);
}

// Status keys as two letters, by value.
const char* const kStakeyText[] = {"UN", "BS", "SB", "LL", "UL", "EQ", "IF"};

const char* const kProstaText[] = {"UNKNOWN",
                                   "PRIMAL_AND_DUAL_FEASIBLE",
                                   "PRIMAL_FEASIBLE",
                                   "DUAL_FEASIBLE",
                                   "PRIMAL_INFEASIBLE",
                                   "DUAL_INFEASIBLE",
                                   "PRIMAL_AND_DUAL_INFEASIBLE",
                                   "ILL_POSED",
                                   "NEAR_PRIMAL_AND_DUAL_FEASIBLE",
                                   "NEAR_PRIMAL_FEASIBLE",
                                   "NEAR_DUAL_FEASIBLE",
                                   "PRIMAL_INFEASIBLE_OR_UNBOUNDED"};

// By TVA_SOL_STA_* value; 7 is not assigned.
const char* const kSolstaText[] = {"UNKNOWN",
                                   "OPTIMAL",
                                   "PRIMAL_FEASIBLE",
                                   "DUAL_FEASIBLE",
                                   "PRIMAL_AND_DUAL_FEASIBLE",
                                   "PRIMAL_INFEASIBLE_CER",
                                   "DUAL_INFEASIBLE_CER",
                                   nullptr,
                                   "NEAR_OPTIMAL",
                                   "NEAR_PRIMAL_FEASIBLE",
                                   "NEAR_DUAL_FEASIBLE",
                                   "NEAR_PRIMAL_AND_DUAL_FEASIBLE",
                                   "NEAR_PRIMAL_INFEASIBLE_CER",
                                   "NEAR_DUAL_INFEASIBLE_CER",
                                   "PRIMAL_ILLPOSED_CER",
                                   "DUAL_ILLPOSED_CER",
                                   "INTEGER_OPTIMAL",
                                   "NEAR_INTEGER_OPTIMAL"};

const char* const kProbtypeText[] = {"LO (linear optimization problem)",
                                     "QO (quadratic optimization problem)",
                                     "QCQO (quadratically constrained optimization problem)",
                                     "GECO (general convex optimization problem)",
                                     "CONIC (conic optimization problem)",
                                     "MIXED (mixed nonlinear and conic optimization problem)"};

template <size_t N> const char* text_of(const char* const (&table)[N], int32 value) {
  return value >= 0 && static_cast<size_t>(value) < N ? table[value] : nullptr;
}

} // namespace

} // namespace telva

using namespace telva;

extern "C" {

TVAAPI TVAbooleant TVA_symnamtovalue(const char* name, char* value) {
  const SymConst* c = symcon_find(name);
  put_text(value, c ? c->text : "");
  return c ? 1 : 0;
}

TVAAPI TVArescode TVA_getsymbcondim(TVAenv_t env, TVAint32t* num, TVAint32t* maxlen) {
  TVArescode r = env_check(env);
  if (r != TVA_RES_OK) return r;
  if (num) *num = symcon_count();
  if (maxlen) *maxlen = symcon_max_name_len();
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getsymbcon(TVAtask_t task, TVAint32t i, TVAint32t maxlen, char* name,
                                 TVAint32t* value) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (i < 0) return TVA_REP(task, ERR_INDEX_IS_TOO_SMALL, static_cast<int64>(i), "i");
  if (i >= symcon_count()) return TVA_REP(task, ERR_INDEX_IS_TOO_LARGE, static_cast<int64>(i), "i");
  const SymConst& c = kSymConsts[i];
  if (value) *value = c.value;
  const int32 len = static_cast<int32>(std::strlen(c.name));
  if (name && maxlen > 0) {
    int32 take = len < maxlen ? len : maxlen - 1;
    std::memcpy(name, c.name, static_cast<size_t>(take));
    name[take] = '\0';
  }
  if (len >= maxlen)
    return TVA_REP(task, WRN_NAME_MAX_LEN, static_cast<int64>(len), static_cast<int64>(maxlen));
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_iparvaltosymnam(TVAenv_t env, TVAint32t whichparam, TVAint32t whichvalue,
                                      char* symbolicname) {
  TVArescode r = env_check(env);
  if (r != TVA_RES_OK) return r;
  if (whichparam < 0 || whichparam >= kNumIpar || !env->catalogue.ipar_names[whichparam][0])
    return TVA_RES_ERR_PARAM_INDEX;
  if (!symbolicname) return TVA_RES_ERR_NULL_POINTER;
  const SymConst* c = ipar_symbolic_value(whichparam, whichvalue);
  put_text(symbolicname, c ? c->name : "");
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_bktostr(TVAtask_t task, TVAint32t bk, char* str) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  const SymConst* c = find_in_family("boundkey", bk);
  put_text(str, c ? c->name : "");
  return c ? TVA_RES_OK : TVA_REP(task, ERR_INV_BK, bk);
}

TVAAPI TVArescode TVA_sktostr(TVAtask_t task, TVAint32t sk, char* str) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  const char* t = text_of(kStakeyText, sk);
  put_text(str, t ? t : "");
  return t ? TVA_RES_OK : TVA_REP(task, ERR_INV_SK, sk);
}

TVAAPI TVArescode TVA_strtosk(TVAtask_t task, const char* str, TVAint32t* sk) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!sk) return TVA_REP(task, ERR_NULL_POINTER, "sk");
  *sk = TVA_SK_UNK;
  if (str) {
    // "**" is the infeasible key in solution files; "IF", what TVA_sktostr gives, reads back too.
    if (std::strcmp(str, "**") == 0) {
      *sk = TVA_SK_INF;
      return TVA_RES_OK;
    }
    for (int32 k = 0; k < static_cast<int32>(sizeof kStakeyText / sizeof kStakeyText[0]); ++k)
      if (std::strcmp(str, kStakeyText[k]) == 0) {
        *sk = k;
        return TVA_RES_OK;
      }
  }
  return TVA_REP(task, ERR_INV_SK_STR, str ? str : "");
}

TVAAPI TVArescode TVA_conetypetostr(TVAtask_t task, TVAint32t ct, char* str) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  const SymConst* c = find_in_family("conetype", ct);
  put_text(str, c ? c->name : "");
  return c ? TVA_RES_OK : TVA_REP(task, ERR_CONE_TYPE, ct);
}

TVAAPI TVArescode TVA_strtoconetype(TVAtask_t task, const char* str, TVAint32t* conetype) {
  (void)str;
  (void)conetype;
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  // Cone types are not read from text; the code's message takes a number, and -1 marks that
  // there is none.
  return TVA_REP(task, ERR_CONE_TYPE_STR, static_cast<int32>(-1));
}

TVAAPI TVArescode TVA_prostatostr(TVAtask_t task, TVAint32t prosta, char* str) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  const char* t = text_of(kProstaText, prosta);
  if (!str) return TVA_RES_OK;
  if (t)
    put_text(str, t);
  else
    std::snprintf(str, TVA_MAX_STR_LEN, "INVALID CODE(%d)", prosta);
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_solstatostr(TVAtask_t task, TVAint32t solsta, char* str) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  const char* t = text_of(kSolstaText, solsta);
  if (!str) return TVA_RES_OK;
  if (t)
    put_text(str, t);
  else
    std::snprintf(str, TVA_MAX_STR_LEN, "INVALID code(%d)", solsta);
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_probtypetostr(TVAtask_t task, TVAint32t probtype, char* str) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  const char* t = text_of(kProbtypeText, probtype);
  put_text(str, t ? t : "");
  return t ? TVA_RES_OK : TVA_REP(task, ERR_IN_ARGUMENT, "probtype");
}

TVAAPI TVArescode TVA_callbackcodetostr(TVAint32t code, char* callbackcodestr) {
  const SymConst* c = find_in_family("callbackcode", code);
  put_text(callbackcodestr, c ? c->name : "");
  return c ? TVA_RES_OK : TVA_RES_ERR_IN_ARGUMENT;
}

} // extern "C"
