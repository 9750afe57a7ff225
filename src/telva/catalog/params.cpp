// Exported put and get functions of the task's parameters, by index and by name.
#include "telva/catalog/params.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "telva/log/report.h"
#include "telva/catalog/symtable.h"

namespace telva {

namespace {

int32 find_name(const char (*names)[kParNameSlot], int32 count, const char* name) {
  if (!name || !*name) return -1; // an empty name would match the gaps of the int numbering
  for (int32 i = 0; i < count; ++i)
    if (std::strcmp(names[i], name) == 0) return i;
  return -1;
}

const char* skip_blanks(const char* s) {
  while (*s == ' ' || *s == '\t' || *s == '\r' || *s == '\n')
    ++s;
  return s;
}

bool only_blanks(const char* s) {
  return *skip_blanks(s) == '\0';
}

// Symbolic names are far shorter; a longer text is no name and is cut to fail the lookup.
constexpr size_t kSymbolLen = 1024;

// The text without blanks around it, in `out` (kSymbolLen bytes); null for a null text.
const char* trimmed_copy(const char* text, char* out) {
  if (!text) return nullptr;
  const char* s = skip_blanks(text);
  size_t n = std::strlen(s);
  while (n > 0 && (s[n - 1] == ' ' || s[n - 1] == '\t' || s[n - 1] == '\r' || s[n - 1] == '\n'))
    --n;
  if (n > kSymbolLen - 1) n = kSymbolLen - 1;
  std::memcpy(out, s, n);
  out[n] = '\0';
  return out;
}

// Copies text into a fresh string of the task; a value that begins with a double quote is
// taken up to its closing quote, with \" read as a quote.
char* copy_string_value(TvaTask* task, const char* value) {
  if (!value) value = "";
  size_t len = std::strlen(value);
  char* out = static_cast<char*>(sysenv_malloc(task->sys, TVA_HERE, len + 1, 1));
  if (!out) return nullptr;
  if (value[0] != '"') {
    std::memcpy(out, value, len + 1);
    return out;
  }
  size_t n = 0;
  for (const char* p = value + 1; *p && *p != '"'; ++p) {
    if (p[0] == '\\' && p[1] == '"') ++p;
    out[n++] = *p;
  }
  out[n] = '\0';
  return out;
}

TVArescode int_index_error(TvaTask* task, int32 param, const char* word) {
  return TVA_REP(task, ERR_PARAM_INDEX, param, word);
}

TVArescode copy_out_string(TvaTask* task, const char* text, int32 maxlen, int32* len, char* value) {
  if (!text) text = "";
  int32 n = static_cast<int32>(std::strlen(text));
  if (len) *len = n;
  if (!value) return TVA_RES_OK;
  if (maxlen > 0) {
    int32 take = n < maxlen ? n : maxlen - 1;
    std::memcpy(value, text, static_cast<size_t>(take));
    std::memset(value + take, 0, static_cast<size_t>(maxlen - take));
  }
  if (n >= maxlen) return TVA_REP(task, WRN_SPAR_MAX_LEN);
  return TVA_RES_OK;
}

TVArescode alloc_out_string(TvaTask* task, const char* text, int32 maxlen, char** value) {
  if (!value) return TVA_REP(task, ERR_NULL_POINTER, "value");
  if (!text) text = "";
  size_t n = std::strlen(text);
  size_t extra = maxlen > 0 ? static_cast<size_t>(maxlen) : 0;
  char* out = static_cast<char*>(sysenv_calloc(task->sys, TVA_HERE, extra + n + 1, 1));
  if (!out) return TVA_REP(task, ERR_SPACE);
  std::memcpy(out, text, n + 1);
  *value = out;
  return TVA_RES_OK;
}

} // namespace

int32 param_find_dou(const TvaEnv* env, const char* name) {
  return find_name(env->catalogue.dpar_names, kNumDpar, name);
}
int32 param_find_int(const TvaEnv* env, const char* name) {
  return find_name(env->catalogue.ipar_names, kNumIpar, name);
}
int32 param_find_str(const TvaEnv* env, const char* name) {
  return find_name(env->catalogue.spar_names, kNumSpar, name);
}

int32 param_which(const TvaEnv* env, const char* name, int32* index) {
  int32 i;
  if ((i = param_find_dou(env, name)) >= 0) {
    *index = i;
    return TVA_PAR_DOU_TYPE;
  }
  if ((i = param_find_int(env, name)) >= 0) {
    *index = i;
    return TVA_PAR_INT_TYPE;
  }
  if ((i = param_find_str(env, name)) >= 0) {
    *index = i;
    return TVA_PAR_STR_TYPE;
  }
  return TVA_PAR_INVALID_TYPE;
}

bool param_int_assigned(const TvaEnv* env, int32 index) {
  return index >= 0 && index < kNumIpar && env->catalogue.ipar_names[index][0] != '\0';
}

bool parse_double_text(const char* text, double* value) {
  if (!text) return false;
  const char* s = skip_blanks(text);
  if (!*s) return false;
  char* end = nullptr;
  errno = 0;
  double v = std::strtod(s, &end);
  if (end == s || !only_blanks(end)) return false;
  // Overflow to infinity is refused; underflow to a tiny or zero value is a valid reading.
  if (errno == ERANGE && std::isinf(v)) return false;
  *value = v;
  return true;
}

bool parse_int_text(const char* text, int32* value) {
  if (!text) return false;
  const char* s = skip_blanks(text);
  if (!*s) return false;
  char* end = nullptr;
  errno = 0;
  long long v = std::strtoll(s, &end, 10);
  if (end == s || !only_blanks(end) || errno == ERANGE || v < INT32_MIN || v > INT32_MAX)
    return false;
  *value = static_cast<int32>(v);
  return true;
}

TVArescode param_put_text(TvaTask* task, int32 type, int32 index, const char* value) {
  const ParamCatalogue& cat = task->env->catalogue;
  switch (type) {
  case TVA_PAR_DOU_TYPE: {
    double d;
    if (!parse_double_text(value, &d))
      return TVA_REP(task, ERR_PARAM_VALUE_STR, value ? value : "", cat.dpar_names[index]);
    return TVA_putdouparam(task, index, d);
  }
  case TVA_PAR_INT_TYPE: {
    int32 v;
    if (!parse_int_text(value, &v)) {
      // Not a number: a symbolic name such as TVA_ON, looked up in the constants.
      char symbol[kSymbolLen];
      const SymConst* c = symcon_find(trimmed_copy(value, symbol));
      if (!c || !parse_int_text(c->text, &v))
        return TVA_REP(task, ERR_PARAM_VALUE_STR, value ? value : "", cat.ipar_names[index]);
    }
    return TVA_putintparam(task, index, v);
  }
  case TVA_PAR_STR_TYPE:
    return TVA_putstrparam(task, index, value);
  default:
    return TVA_REP(task, ERR_PARAM_TYPE, type);
  }
}

} // namespace telva

using namespace telva;

extern "C" {

TVAAPI TVArescode TVA_putintparam(TVAtask_t task, TVAint32t param, TVAint32t value) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!param_int_assigned(task->env, param)) return int_index_error(task, param, "int");
  if (task->iparam[param] == value) return TVA_RES_OK;
  const ParamCatalogue& cat = task->env->catalogue;
  const int32 kind = cat.ipar_kind[param];
  const bool has_min = kind == kLimitMin || kind == kLimitBoth;
  const bool has_max = kind == kLimitMax || kind == kLimitBoth;
  char text[32];
  std::snprintf(text, sizeof text, "%d", value);
  if (has_min && value < cat.ipar_min[param])
    return TVA_REP(task, ERR_PARAM_IS_TOO_SMALL, text, cat.ipar_names[param]);
  if (has_max && value > cat.ipar_max[param])
    return TVA_REP(task, ERR_PARAM_IS_TOO_LARGE, text, cat.ipar_names[param]);
  task->iparam[param] = value;
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_putdouparam(TVAtask_t task, TVAint32t param, double value) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (param < 0 || param >= kNumDpar) return int_index_error(task, param, "double");
  if (task->dparam[param] == value) return TVA_RES_OK;
  const ParamCatalogue& cat = task->env->catalogue;
  const int32 kind = cat.dpar_kind[param];
  const bool has_min = kind == kLimitMin || kind == kLimitBoth;
  const bool has_max = kind == kLimitMax || kind == kLimitBoth;
  char text[64];
  std::snprintf(text, sizeof text, "%g", value);
  // A NaN fails both comparisons and so counts as in range.
  if (has_min && value < cat.dpar_min[param])
    return TVA_REP(task, ERR_PARAM_IS_TOO_SMALL, text, cat.dpar_names[param]);
  if (has_max && value > cat.dpar_max[param])
    return TVA_REP(task, ERR_PARAM_IS_TOO_LARGE, text, cat.dpar_names[param]);
  task->dparam[param] = value;
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_putstrparam(TVAtask_t task, TVAint32t param, const char* value) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (param < 0 || param >= kNumSpar) return int_index_error(task, param, "string");
  // The old value goes first, so that a failed copy leaves a null value (read as empty).
  TVA_SYS_FREE(task->sys, task->sparam[param]);
  task->sparam[param] = copy_string_value(task, value);
  if (!task->sparam[param]) return TVA_REP(task, ERR_SPACE);
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getintparam(TVAtask_t task, TVAint32t param, TVAint32t* value) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!param_int_assigned(task->env, param)) return int_index_error(task, param, "int");
  if (!value) return TVA_REP(task, ERR_NULL_POINTER, "value");
  *value = task->iparam[param];
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getdouparam(TVAtask_t task, TVAint32t param, double* value) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (param < 0 || param >= kNumDpar) return int_index_error(task, param, "double");
  if (!value) return TVA_REP(task, ERR_NULL_POINTER, "value");
  *value = task->dparam[param];
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getstrparam(TVAtask_t task, TVAint32t param, TVAint32t maxlen, TVAint32t* len,
                                  char* value) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (param < 0 || param >= kNumSpar) return int_index_error(task, param, "string");
  return copy_out_string(task, task->sparam[param], maxlen, len, value);
}

TVAAPI TVArescode TVA_getstrparamlen(TVAtask_t task, TVAint32t param, TVAint32t* len) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (param < 0 || param >= kNumSpar) return int_index_error(task, param, "string");
  if (!len) return TVA_REP(task, ERR_NULL_POINTER, "len");
  *len = task->sparam[param] ? static_cast<int32>(std::strlen(task->sparam[param])) : 0;
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getstrparamal(TVAtask_t task, TVAint32t param, TVAint32t maxlen,
                                    char** value) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (param < 0 || param >= kNumSpar) return int_index_error(task, param, "string");
  return alloc_out_string(task, task->sparam[param], maxlen, value);
}

// By name: find the index, then as by index.

TVAAPI TVArescode TVA_putnaintparam(TVAtask_t task, const char* name, TVAint32t value) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!name) return TVA_REP(task, ERR_NULL_POINTER, "name");
  int32 i = param_find_int(task->env, name);
  if (i < 0) return TVA_REP(task, ERR_PARAM_NAME_INT, name);
  return TVA_putintparam(task, i, value);
}

TVAAPI TVArescode TVA_putnadouparam(TVAtask_t task, const char* name, double value) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!name) return TVA_REP(task, ERR_NULL_POINTER, "name");
  int32 i = param_find_dou(task->env, name);
  if (i < 0) return TVA_REP(task, ERR_PARAM_NAME_DOU, name);
  return TVA_putdouparam(task, i, value);
}

TVAAPI TVArescode TVA_putnastrparam(TVAtask_t task, const char* name, const char* value) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!name) return TVA_REP(task, ERR_NULL_POINTER, "name");
  int32 i = param_find_str(task->env, name);
  if (i < 0) return TVA_REP(task, ERR_PARAM_NAME_STR, name);
  return TVA_putstrparam(task, i, value);
}

TVAAPI TVArescode TVA_getnaintparam(TVAtask_t task, const char* name, TVAint32t* value) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!name) return TVA_REP(task, ERR_NULL_POINTER, "name");
  int32 i = param_find_int(task->env, name);
  if (i < 0) return TVA_REP(task, ERR_PARAM_NAME_INT, name);
  return TVA_getintparam(task, i, value);
}

TVAAPI TVArescode TVA_getnadouparam(TVAtask_t task, const char* name, double* value) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!name) return TVA_REP(task, ERR_NULL_POINTER, "name");
  int32 i = param_find_dou(task->env, name);
  if (i < 0) return TVA_REP(task, ERR_PARAM_NAME_DOU, name);
  return TVA_getdouparam(task, i, value);
}

TVAAPI TVArescode TVA_getnastrparam(TVAtask_t task, const char* name, TVAint32t maxlen,
                                    TVAint32t* len, char* value) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!name) return TVA_REP(task, ERR_NULL_POINTER, "name");
  int32 i = param_find_str(task->env, name);
  if (i < 0) return TVA_REP(task, ERR_PARAM_NAME_STR, name);
  return TVA_getstrparam(task, i, maxlen, len, value);
}

TVAAPI TVArescode TVA_getnastrparamal(TVAtask_t task, const char* name, TVAint32t maxlen,
                                      char** value) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!name) return TVA_REP(task, ERR_NULL_POINTER, "name");
  int32 i = param_find_str(task->env, name);
  if (i < 0) return TVA_REP(task, ERR_PARAM_NAME_STR, name);
  return TVA_getstrparamal(task, i, maxlen, value);
}

TVAAPI TVArescode TVA_putparam(TVAtask_t task, const char* parname, const char* parvalue) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!parname) return TVA_REP(task, ERR_NULL_POINTER, "parname");
  // The name may come with blanks around it (typed by hand or cut from a file).
  char name[1024];
  const char* s = skip_blanks(parname);
  size_t n = std::strlen(s);
  if (n > sizeof name - 1) n = sizeof name - 1;
  std::memcpy(name, s, n);
  while (n > 0 &&
         (name[n - 1] == ' ' || name[n - 1] == '\t' || name[n - 1] == '\r' || name[n - 1] == '\n'))
    --n;
  name[n] = '\0';
  int32 index = -1;
  int32 type = param_which(task->env, name, &index);
  if (type == TVA_PAR_INVALID_TYPE) return TVA_REP(task, ERR_PARAM_NAME, name);
  return param_put_text(task, type, index, parvalue);
}

TVAAPI TVArescode TVA_whichparam(TVAtask_t task, const char* parname, TVAint32t* partype,
                                 TVAint32t* param) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!partype) return TVA_REP(task, ERR_NULL_POINTER, "partype");
  int32 index = -1;
  int32 type = param_which(task->env, parname, &index);
  *partype = type;
  if (type != TVA_PAR_INVALID_TYPE && param) *param = index;
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_isdouparname(TVAtask_t task, const char* parname, TVAint32t* param) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!param) return TVA_REP(task, ERR_NULL_POINTER, "param");
  int32 i = param_find_dou(task->env, parname);
  *param = i >= 0 ? i : kNumDpar;
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_isintparname(TVAtask_t task, const char* parname, TVAint32t* param) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!param) return TVA_REP(task, ERR_NULL_POINTER, "param");
  int32 i = param_find_int(task->env, parname);
  *param = i >= 0 ? i : kNumIpar;
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_isstrparname(TVAtask_t task, const char* parname, TVAint32t* param) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!param) return TVA_REP(task, ERR_NULL_POINTER, "param");
  int32 i = param_find_str(task->env, parname);
  *param = i >= 0 ? i : kNumSpar;
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getparamname(TVAtask_t task, TVAint32t partype, TVAint32t param,
                                   char* parname) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  const ParamCatalogue& cat = task->env->catalogue;
  const char* name = nullptr;
  switch (partype) {
  case TVA_PAR_DOU_TYPE:
    if (param < 0 || param >= kNumDpar) return int_index_error(task, param, "double");
    name = cat.dpar_names[param];
    break;
  case TVA_PAR_INT_TYPE:
    if (!param_int_assigned(task->env, param)) return int_index_error(task, param, "integer");
    name = cat.ipar_names[param];
    break;
  case TVA_PAR_STR_TYPE:
    if (param < 0 || param >= kNumSpar) return int_index_error(task, param, "string");
    name = cat.spar_names[param];
    break;
  default:
    return TVA_REP(task, ERR_PARAM_TYPE, partype);
  }
  if (!parname) return TVA_REP(task, ERR_NULL_POINTER, "parname");
  std::memcpy(parname, name, std::strlen(name) + 1);
  return TVA_RES_OK;
}

static TVArescode param_count(TVAtask_t task, TVAint32t partype, TVAint32t* num) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  int32 n;
  switch (partype) {
  case TVA_PAR_DOU_TYPE:
    n = kNumDpar;
    break;
  case TVA_PAR_INT_TYPE:
    n = kNumIpar;
    break;
  case TVA_PAR_STR_TYPE:
    n = kNumSpar;
    break;
  default:
    return TVA_REP(task, ERR_PARAM_TYPE, partype);
  }
  if (!num) return TVA_REP(task, ERR_NULL_POINTER, "num");
  *num = n;
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getnumparam(TVAtask_t task, TVAint32t partype, TVAint32t* numparam) {
  return param_count(task, partype, numparam);
}

TVAAPI TVArescode TVA_getparammax(TVAtask_t task, TVAint32t partype, TVAint32t* parammax) {
  return param_count(task, partype, parammax);
}

TVAAPI TVArescode TVA_setdefaults(TVAtask_t task) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  const ParamCatalogue& cat = task->env->catalogue;
  std::memcpy(task->iparam, cat.ipar_default, sizeof task->iparam);
  std::memcpy(task->dparam, cat.dpar_default, sizeof task->dparam);
  for (int32 i = 0; i < kNumSpar; ++i) {
    TVA_SYS_FREE(task->sys, task->sparam[i]);
    task->sparam[i] =
        sysenv_strdup(task->sys, TVA_HERE, cat.spar_default[i] ? cat.spar_default[i] : "");
    if (!task->sparam[i]) return TVA_REP(task, ERR_SPACE);
  }
  return TVA_RES_OK;
}

} // extern "C"
