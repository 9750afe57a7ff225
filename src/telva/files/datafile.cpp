// Name analysis and opening of problem files.
#include "telva/files/datafile.h"

#include <strings.h>

#include <cstring>

#include "telva/log/report.h"

namespace telva {

namespace {

struct FormatExtension {
  int32 format;
  const char* ext;
};

// In the order names are matched.
constexpr FormatExtension kExtensions[] = {
    {TVA_DATA_FORMAT_MPS, ".mps"},       {TVA_DATA_FORMAT_LP, ".lp"},
    {TVA_DATA_FORMAT_OP, ".opf"},        {TVA_DATA_FORMAT_XML, ".xml"},
    {TVA_DATA_FORMAT_FREE_MPS, ".fmps"}, {TVA_DATA_FORMAT_TASK, ".task"},
    {TVA_DATA_FORMAT_CB, ".cbf"},        {TVA_DATA_FORMAT_JSON_TASK, ".jtask"},
};

bool same_extension(const char* ext, size_t len, const char* known) {
  return std::strlen(known) == len && strncasecmp(ext, known, len) == 0;
}

} // namespace

const char* datafile_extension(const char* name, size_t len, size_t* extlen) {
  for (size_t t = len; t > 0; --t) {
    char ch = name[t - 1];
    if (ch == '/' || ch == '\\') break;
    if (ch == '.') {
      *extlen = len - (t - 1);
      return name + t - 1;
    }
  }
  *extlen = 0;
  return name + len;
}

void datafile_analyse(const char* name, int32* format, int32* compress) {
  *format = TVA_DATA_FORMAT_MPS;
  *compress = TVA_COMPRESS_NONE;
  if (!name) return;
  size_t len = std::strlen(name), extlen = 0;
  const char* ext = datafile_extension(name, len, &extlen);
  if (same_extension(ext, extlen, ".gz")) {
    *compress = TVA_COMPRESS_GZIP;
    ext = datafile_extension(name, len - extlen, &extlen);
  }
  for (const FormatExtension& fe : kExtensions)
    if (same_extension(ext, extlen, fe.ext)) {
      *format = fe.format;
      return;
    }
}

TVArescode datafile_open(TvaTask* task, const char* name, bool write, int32 compress,
                         sysfile** out) {
  *out = nullptr;
  int status = sysfile_open(task->sys, out, name, write ? kFileWrite : kFileRead,
                            compress == TVA_COMPRESS_GZIP ? 1 : 0);
  switch (status) {
  case kSysOk:
    return TVA_RES_OK;
  case kSysSpace:
    return TVA_REP(task, ERR_SPACE);
  case kSysInvalidFileName:
    return TVA_REP(task, ERR_INVALID_FILE_NAME, name ? name : "");
  default:
    return TVA_REP(task, ERR_FILE_OPEN, name ? name : "");
  }
}

const char* datafile_name(const TvaTask* task, const char* filename) {
  if (filename) return filename;
  const char* p = task->sparam[TVA_SPAR_DATA_FILE_NAME];
  return p ? p : "";
}

} // namespace telva
