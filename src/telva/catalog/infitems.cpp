// Readers of the information items that the optimizers leave in a task.
#include <cstring>

#include "telva/log/report.h"
#include "telva/task/task.h"

namespace telva {

namespace {

const char* const kDinfNames[kNumDinf] = {
#define TVA_DINF(NAME, IDX) "TVA_DINF_" #NAME,
#define TVA_IINF(NAME, IDX)
#define TVA_LIINF(NAME, IDX)
#include "telva/catalog/tables/infitems.def"
#undef TVA_DINF
#undef TVA_IINF
#undef TVA_LIINF
};

const char* const kIinfNames[kNumIinf] = {
#define TVA_DINF(NAME, IDX)
#define TVA_IINF(NAME, IDX) "TVA_IINF_" #NAME,
#define TVA_LIINF(NAME, IDX)
#include "telva/catalog/tables/infitems.def"
#undef TVA_DINF
#undef TVA_IINF
#undef TVA_LIINF
};

const char* const kLiinfNames[kNumLiinf] = {
#define TVA_DINF(NAME, IDX)
#define TVA_IINF(NAME, IDX)
#define TVA_LIINF(NAME, IDX) "TVA_LIINF_" #NAME,
#include "telva/catalog/tables/infitems.def"
#undef TVA_DINF
#undef TVA_IINF
#undef TVA_LIINF
};

int32 find(const char* const* names, int32 count, const char* name) {
  if (!name) return -1;
  for (int32 i = 0; i < count; ++i)
    if (std::strcmp(names[i], name) == 0) return i;
  return -1;
}

// The item readers skip the full handle check (they are called in loops by summaries and
// callbacks) but still refuse a null handle rather than read through it.
TVArescode cheap_check(const TvaTask* task) {
  return task ? TVA_RES_OK : TVA_RES_ERR_NULL_TASK;
}

} // namespace

} // namespace telva

using namespace telva;

extern "C" {

TVAAPI TVArescode TVA_getdouinf(TVAtask_t task, TVAint32t whichdinf, double* dvalue) {
  TVArescode r = cheap_check(task);
  if (r != TVA_RES_OK) return r;
  if (whichdinf < 0 || whichdinf >= kNumDinf) return TVA_REP(task, ERR_INF_DOU_INDEX, whichdinf);
  if (!dvalue) return TVA_REP(task, ERR_NULL_POINTER, "dvalue");
  *dvalue = task->dinf[whichdinf];
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getintinf(TVAtask_t task, TVAint32t whichiinf, TVAint32t* ivalue) {
  TVArescode r = cheap_check(task);
  if (r != TVA_RES_OK) return r;
  if (whichiinf < 0 || whichiinf >= kNumIinf) return TVA_REP(task, ERR_INF_INT_INDEX, whichiinf);
  if (!ivalue) return TVA_REP(task, ERR_NULL_POINTER, "ivalue");
  *ivalue = task->iinf[whichiinf];
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getlintinf(TVAtask_t task, TVAint32t whichliinf, TVAint64t* ivalue) {
  TVArescode r = cheap_check(task);
  if (r != TVA_RES_OK) return r;
  if (whichliinf < 0 || whichliinf >= kNumLiinf)
    return TVA_REP(task, ERR_INF_LINT_INDEX, whichliinf);
  if (!ivalue) return TVA_REP(task, ERR_NULL_POINTER, "ivalue");
  *ivalue = task->liinf[whichliinf];
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getnadouinf(TVAtask_t task, const char* infitemname, double* dvalue) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  int32 i = find(kDinfNames, kNumDinf, infitemname);
  if (i < 0) return TVA_REP(task, ERR_INF_DOU_NAME, infitemname ? infitemname : "");
  return TVA_getdouinf(task, i, dvalue);
}

TVAAPI TVArescode TVA_getnaintinf(TVAtask_t task, const char* infitemname, TVAint32t* ivalue) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  int32 i = find(kIinfNames, kNumIinf, infitemname);
  if (i < 0) return TVA_REP(task, ERR_INF_INT_NAME, infitemname ? infitemname : "");
  return TVA_getintinf(task, i, ivalue);
}

TVAAPI TVArescode TVA_getinfindex(TVAtask_t task, TVAint32t inftype, const char* infname,
                                  TVAint32t* infindex) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  const char* shown = infname ? infname : "";
  int32 i;
  switch (inftype) {
  case TVA_INF_DOU_TYPE:
    if ((i = find(kDinfNames, kNumDinf, infname)) < 0)
      return TVA_REP(task, ERR_INF_DOU_NAME, shown);
    break;
  case TVA_INF_INT_TYPE:
    if ((i = find(kIinfNames, kNumIinf, infname)) < 0)
      return TVA_REP(task, ERR_INF_INT_NAME, shown);
    break;
  case TVA_INF_LINT_TYPE:
    if ((i = find(kLiinfNames, kNumLiinf, infname)) < 0)
      return TVA_REP(task, ERR_INF_LINT_NAME, shown);
    break;
  default:
    return TVA_REP(task, ERR_INF_TYPE, inftype);
  }
  if (!infindex) return TVA_REP(task, ERR_NULL_POINTER, "infindex");
  *infindex = i;
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getinfname(TVAtask_t task, TVAint32t inftype, TVAint32t whichinf,
                                 char* infname) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  const char* name;
  switch (inftype) {
  case TVA_INF_DOU_TYPE:
    if (whichinf < 0 || whichinf >= kNumDinf) return TVA_REP(task, ERR_INF_DOU_INDEX, whichinf);
    name = kDinfNames[whichinf];
    break;
  case TVA_INF_INT_TYPE:
    if (whichinf < 0 || whichinf >= kNumIinf) return TVA_REP(task, ERR_INF_INT_INDEX, whichinf);
    name = kIinfNames[whichinf];
    break;
  case TVA_INF_LINT_TYPE:
    if (whichinf < 0 || whichinf >= kNumLiinf) return TVA_REP(task, ERR_INF_LINT_INDEX, whichinf);
    name = kLiinfNames[whichinf];
    break;
  default:
    return TVA_REP(task, ERR_INF_TYPE, inftype);
  }
  if (!infname) return TVA_REP(task, ERR_NULL_POINTER, "infname");
  std::memcpy(infname, name, std::strlen(name) + 1);
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_getinfmax(TVAtask_t task, TVAint32t inftype, TVAint32t* infmax) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!infmax) return TVA_REP(task, ERR_NULL_POINTER, "infmax");
  switch (inftype) {
  case TVA_INF_DOU_TYPE:
    *infmax = kNumDinf;
    return TVA_RES_OK;
  case TVA_INF_INT_TYPE:
    *infmax = kNumIinf;
    return TVA_RES_OK;
  case TVA_INF_LINT_TYPE:
    *infmax = kNumLiinf;
    return TVA_RES_OK;
  default:
    // The count of an unknown kind is 0 (so that a loop over it does nothing).
    *infmax = 0;
    return TVA_REP(task, ERR_INF_TYPE, inftype);
  }
}

} // extern "C"
