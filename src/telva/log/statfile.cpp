// The statistics file: one line per information item, appended after each run a caller
// wants recorded, with the caller's name and key in front.
#include <cinttypes>
#include <cstdarg>
#include <cstdio>

#include "cpub/sysfile.h"
#include "telva/log/report.h"
#include "telva/task/task.h"

namespace telva {

namespace {

const char* const kDinfShort[kNumDinf] = {
#define TVA_DINF(NAME, IDX) #NAME,
#define TVA_IINF(NAME, IDX)
#define TVA_LIINF(NAME, IDX)
#include "telva/catalog/tables/infitems.def"
#undef TVA_DINF
#undef TVA_IINF
#undef TVA_LIINF
};

const char* const kIinfShort[kNumIinf] = {
#define TVA_DINF(NAME, IDX)
#define TVA_IINF(NAME, IDX) #NAME,
#define TVA_LIINF(NAME, IDX)
#include "telva/catalog/tables/infitems.def"
#undef TVA_DINF
#undef TVA_IINF
#undef TVA_LIINF
};

const char* const kLiinfShort[kNumLiinf] = {
#define TVA_DINF(NAME, IDX)
#define TVA_IINF(NAME, IDX)
#define TVA_LIINF(NAME, IDX) #NAME,
#include "telva/catalog/tables/infitems.def"
#undef TVA_DINF
#undef TVA_IINF
#undef TVA_LIINF
};

const char* spar_or_empty(const TvaTask* task, int32 which) {
  const char* v = task->sparam[which];
  return v ? v : "";
}

int open_stat(TvaTask* task, int32 mode, sysfile** f) {
  return sysfile_open(task->sys, f, task->sparam[TVA_SPAR_STAT_FILE_NAME], mode,
                      task->iparam[TVA_IPAR_COMPRESS_STATFILE] == 1);
}

// Writes one formatted line; lines are short, so a fixed buffer holds them.
bool put_line(sysfile* f, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
bool put_line(sysfile* f, const char* fmt, ...) {
  char line[512];
  va_list ap;
  va_start(ap, fmt);
  int n = std::vsnprintf(line, sizeof line, fmt, ap);
  va_end(ap);
  if (n < 0) return false;
  if (n >= static_cast<int>(sizeof line)) n = sizeof line - 1;
  return sysfile_write(f, line, n) == 0;
}

bool write_items(TvaTask* task, sysfile* f) {
  const char* name = spar_or_empty(task, TVA_SPAR_STAT_NAME);
  const char* key = spar_or_empty(task, TVA_SPAR_STAT_KEY);
  bool ok = true;
  for (int32 k = 0; ok && k < kNumDinf; ++k)
    ok = put_line(f, "%s,%s,TVA_%s%s,%-24.16e\n", name, key, "DINF_", kDinfShort[k], task->dinf[k]);
  for (int32 k = 0; ok && k < kNumIinf; ++k)
    ok = put_line(f, "%s,%s,TVA_%s%s,%d\n", name, key, "IINF_", kIinfShort[k], task->iinf[k]);
  for (int32 k = 0; ok && k < kNumLiinf; ++k)
    ok = put_line(f, "%s,%s,TVA_%s%s,%" PRId64 "\n", name, key, "LIINF_", kLiinfShort[k],
                  task->liinf[k]);
  // The private items have no names of their own: their index stands for it.
  for (int32 k = 0; ok && k < kNumPrivDinf; ++k)
    ok = put_line(f, "%s,%s,TVA_%s%d,%-24.16e\n", name, key, "DINF_PRIVATE_", k, task->pdinf[k]);
  for (int32 k = 0; ok && k < kNumPrivIinf; ++k)
    ok = put_line(f, "%s,%s,TVA_%s%d,%d\n", name, key, "IINF_PRIVATE_", k, task->piinf[k]);
  for (int32 k = 0; ok && k < kNumPrivLiinf; ++k)
    ok = put_line(f, "%s,%s,TVA_%s%d,%" PRId64 "\n", name, key, "LIINF_PRIVATE_", k,
                  task->pliinf[k]);
  return ok;
}

} // namespace

} // namespace telva

using namespace telva;

extern "C" {

// Empties the file. A file that can't be opened is not a failure: statistics are optional.
TVAAPI TVArescode TVA_startstat(TVAtask_t task) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  sysfile* f = nullptr;
  if (open_stat(task, kFileWrite, &f) == 0) sysfile_close(&f);
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_appendstat(TVAtask_t task) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  const char* fname = task->sparam[TVA_SPAR_STAT_FILE_NAME];
  sysfile* f = nullptr;
  if (open_stat(task, kFileAppend, &f) != 0)
    return TVA_REP(task, ERR_FILE_OPEN, fname ? fname : "");
  bool ok = write_items(task, f);
  if (sysfile_close(&f) != 0) ok = false;
  return ok ? TVA_RES_OK : TVA_REP(task, ERR_FILE_WRITE, fname);
}

TVAAPI TVArescode TVA_stopstat(TVAtask_t task) {
  return task_check(task);
}

} // extern "C"
