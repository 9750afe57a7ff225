// Exported functions of names: items, the objective and the task, lengths, lookups, the
// greatest length and the check of names against a file format's rules.
#include <algorithm>
#include <cctype>

#include "telva/store/putget.h"

using namespace telva;

namespace {

TVArescode putname(TvaTask* task, int32 cls, int32 i, const char* name) {
  return putget_put(task, kChangeNames, [&] { return store_putname(task, cls, i, name); });
}

// Copies a string into a caller's buffer of maxlen bytes; a string of maxlen or more
// characters leaves the buffer empty and is refused.
TVArescode copy_out(TvaTask* task, const char* s, int32 maxlen, char* buf) {
  if (!buf) return TVA_RES_OK;
  int64 len = int64(std::strlen(s));
  if (len >= maxlen) {
    if (maxlen > 0) buf[0] = '\0';
    return TVA_REP(task, ERR_NAME_MAX_LEN, s, len, int64(maxlen));
  }
  std::memcpy(buf, s, len + 1);
  return TVA_RES_OK;
}

TVArescode getname(TvaTask* task, int32 cls, int32 i, int32 maxlen, char* name) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = check_index(task, i, store_name_count(task, cls), "i");
    if (r != TVA_RES_OK) return r;
    return copy_out(task, store_getname(task, cls, i), maxlen, name);
  });
}

TVArescode getnamelen(TvaTask* task, int32 cls, int32 i, int32* len) {
  return putget_call(task, [&]() -> TVArescode {
    TVArescode r = check_index(task, i, store_name_count(task, cls), "i");
    if (r != TVA_RES_OK) return r;
    TVA_NEED_PTR(task, len);
    *len = static_cast<int32>(std::strlen(store_getname(task, cls, i)));
    return TVA_RES_OK;
  });
}

TVArescode getnameindex(TvaTask* task, int32 cls, const char* name, int32* asgn, int32* index) {
  return putget_call(task, [&]() -> TVArescode {
    if (asgn) *asgn = 0;
    if (index) *index = store_name_count(task, cls);
    if (!name || !*name) return TVA_REP(task, ERR_BLANK_NAME);
    int32 item = -1;
    TVArescode r = store_findname(task, cls, name, &item);
    if (r == TVA_RES_OK && item >= 0) {
      if (asgn) *asgn = 1;
      if (index) *index = item;
    }
    return r;
  });
}

// The rules of the MPS format: printable characters without white space.
bool valid_mps_name(const char* s) {
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(s); *p; ++p)
    if (*p <= ' ' || *p >= 127) return false;
  return true;
}

// The rules of the LP format: no leading digit, and only letters, digits and a fixed set of
// punctuation.
bool valid_lp_name(const char* s) {
  if (!*s) return true;
  if (std::isdigit(static_cast<unsigned char>(*s))) return false;
  static const char kAllowed[] = "!\"#$%&'(),./;?@_`{|}~";
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(s); *p; ++p)
    if (!std::isalnum(*p) && !std::strchr(kAllowed, *p)) return false;
  return true;
}

bool name_passes(int32 nametype, const char* s) {
  if (nametype == TVA_NAME_TYPE_MPS) return *s && valid_mps_name(s);
  if (nametype == TVA_NAME_TYPE_LP) return valid_lp_name(s);
  return true;
}

} // namespace

extern "C" {

TVAAPI TVArescode TVA_putconname(TVAtask_t task, TVAint32t i, const char* name) {
  return putname(task, kNameCon, i, name);
}
TVAAPI TVArescode TVA_putvarname(TVAtask_t task, TVAint32t j, const char* name) {
  return putname(task, kNameVar, j, name);
}
TVAAPI TVArescode TVA_putconename(TVAtask_t task, TVAint32t j, const char* name) {
  return putname(task, kNameCone, j, name);
}
TVAAPI TVArescode TVA_putbarvarname(TVAtask_t task, TVAint32t j, const char* name) {
  return putname(task, kNameBarvar, j, name);
}

TVAAPI TVArescode TVA_getconname(TVAtask_t task, TVAint32t i, TVAint32t maxlen, char* name) {
  return getname(task, kNameCon, i, maxlen, name);
}
TVAAPI TVArescode TVA_getvarname(TVAtask_t task, TVAint32t j, TVAint32t maxlen, char* name) {
  return getname(task, kNameVar, j, maxlen, name);
}
TVAAPI TVArescode TVA_getconename(TVAtask_t task, TVAint32t j, TVAint32t maxlen, char* name) {
  return getname(task, kNameCone, j, maxlen, name);
}
TVAAPI TVArescode TVA_getbarvarname(TVAtask_t task, TVAint32t j, TVAint32t maxlen, char* name) {
  return getname(task, kNameBarvar, j, maxlen, name);
}

TVAAPI TVArescode TVA_getconnamelen(TVAtask_t task, TVAint32t i, TVAint32t* len) {
  return getnamelen(task, kNameCon, i, len);
}
TVAAPI TVArescode TVA_getvarnamelen(TVAtask_t task, TVAint32t j, TVAint32t* len) {
  return getnamelen(task, kNameVar, j, len);
}
TVAAPI TVArescode TVA_getconenamelen(TVAtask_t task, TVAint32t j, TVAint32t* len) {
  return getnamelen(task, kNameCone, j, len);
}
TVAAPI TVArescode TVA_getbarvarnamelen(TVAtask_t task, TVAint32t j, TVAint32t* len) {
  return getnamelen(task, kNameBarvar, j, len);
}

TVAAPI TVArescode TVA_getconnameindex(TVAtask_t task, const char* name, TVAint32t* asgn,
                                      TVAint32t* index) {
  return getnameindex(task, kNameCon, name, asgn, index);
}
TVAAPI TVArescode TVA_getvarnameindex(TVAtask_t task, const char* name, TVAint32t* asgn,
                                      TVAint32t* index) {
  return getnameindex(task, kNameVar, name, asgn, index);
}
TVAAPI TVArescode TVA_getconenameindex(TVAtask_t task, const char* name, TVAint32t* asgn,
                                       TVAint32t* index) {
  return getnameindex(task, kNameCone, name, asgn, index);
}
TVAAPI TVArescode TVA_getbarvarnameindex(TVAtask_t task, const char* name, TVAint32t* asgn,
                                         TVAint32t* index) {
  return getnameindex(task, kNameBarvar, name, asgn, index);
}

TVAAPI TVArescode TVA_putobjname(TVAtask_t task, const char* name) {
  return putget_put(task, kChangeNames, [&] { return store_putobjname(task, name); });
}
TVAAPI TVArescode TVA_getobjname(TVAtask_t task, TVAint32t maxlen, char* name) {
  return putget_call(task, [&] { return copy_out(task, store_getobjname(task), maxlen, name); });
}
TVAAPI TVArescode TVA_getobjnamelen(TVAtask_t task, TVAint32t* len) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, len);
    *len = static_cast<int32>(std::strlen(store_getobjname(task)));
    return TVA_RES_OK;
  });
}

TVAAPI TVArescode TVA_puttaskname(TVAtask_t task, const char* taskname) {
  return putget_call(task, [&]() -> TVArescode {
    char* copy = sysenv_strdup(task->sys, TVA_HERE, taskname ? taskname : "");
    if (!copy) return TVA_REP(task, ERR_SPACE);
    TVA_SYS_FREE(task->sys, task->taskname);
    task->taskname = copy;
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_gettaskname(TVAtask_t task, TVAint32t maxlen, char* taskname) {
  return putget_call(task, [&]() -> TVArescode {
    const char* s = task->taskname ? task->taskname : "";
    int64 len = int64(std::strlen(s));
    if (len >= maxlen) return TVA_REP(task, ERR_MAX_LEN_IS_TOO_SMALL, int64(maxlen), "maxlen");
    if (taskname) std::memcpy(taskname, s, len + 1);
    return TVA_RES_OK;
  });
}
TVAAPI TVArescode TVA_gettasknamelen(TVAtask_t task, TVAint32t* len) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, len);
    *len = static_cast<int32>(std::strlen(task->taskname ? task->taskname : ""));
    return TVA_RES_OK;
  });
}

TVAAPI TVArescode TVA_getmaxnamelen(TVAtask_t task, TVAint32t* maxlen) {
  return putget_call(task, [&]() -> TVArescode {
    TVA_NEED_PTR(task, maxlen);
    size_t m = std::strlen(store_getobjname(task));
    m = std::max(m, std::strlen(task->taskname ? task->taskname : ""));
    for (int32 cls = 0; cls < kNumNameClasses; ++cls)
      for (int32 i = 0; i < store_name_count(task, cls); ++i)
        m = std::max(m, std::strlen(store_getname(task, cls, i)));
    *maxlen = static_cast<int32>(m);
    return TVA_RES_OK;
  });
}

TVAAPI TVArescode TVA_analyzenames(TVAtask_t task, TVAint32t whichstream, TVAint32t nametype) {
  return putget_call(task, [&]() -> TVArescode {
    if (whichstream < TVA_STREAM_LOG || whichstream > TVA_STREAM_WRN)
      return TVA_REP(task, ERR_INVALID_STREAM, whichstream);
    if (nametype < TVA_NAME_TYPE_GEN || nametype > TVA_NAME_TYPE_LP)
      return TVA_REP(task, ERR_INV_NAME_ITEM, nametype);
    if (nametype == TVA_NAME_TYPE_GEN) return TVA_RES_OK;
    const char* obj = store_getobjname(task);
    if (!name_passes(nametype, obj)) return TVA_REP(task, ERR_INVALID_OBJ_NAME, obj);
    for (int32 i = 0; i < task->numcon; ++i) {
      const char* s = store_getname(task, kNameCon, i);
      if (!name_passes(nametype, s)) return TVA_REP(task, ERR_INVALID_CON_NAME, s, i);
    }
    for (int32 j = 0; j < task->numvar; ++j) {
      const char* s = store_getname(task, kNameVar, j);
      if (!name_passes(nametype, s)) return TVA_REP(task, ERR_INVALID_VAR_NAME, s, j);
    }
    for (int32 k = 0; k < task->numcone; ++k) {
      const char* s = store_getname(task, kNameCone, k);
      if (!name_passes(nametype, s)) return TVA_REP(task, ERR_INVALID_CONE_NAME, s, k);
    }
    return TVA_RES_OK;
  });
}

} // extern "C"
