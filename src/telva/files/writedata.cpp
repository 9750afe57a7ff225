// Writing problem files: the exported write call, the test of what a format can hold, and the
// dispatch to the writers.
#include <new>

#include "telva/files/datafile.h"
#include "telva/files/mps/mpsreport.h"
#include "telva/files/mps/mpstask.h"
#include "telva/files/mps/mpswrite.h"
#include "telva/log/report.h"
#include "telva/log/taskprint.h"

namespace telva {

namespace {

// What the format cannot hold, tested before the file is opened so that a refused write
// leaves an existing file alone. Free MPS is not tested for semidefinite variables: its
// writer drops them.
TVArescode check_format_fits(TvaTask* task, int32 format) {
  if (task->iparam[TVA_IPAR_WRITE_IGNORE_INCOMPATIBLE_ITEMS] != 0) return TVA_RES_OK;
  if (task->numbarvar > 0 && format >= TVA_DATA_FORMAT_MPS && format <= TVA_DATA_FORMAT_XML)
    return TVA_REP(task, ERR_INVALID_FILE_FORMAT_FOR_SYM_MAT);
  if (task->numcone > 0 && (format == TVA_DATA_FORMAT_LP || format == TVA_DATA_FORMAT_XML))
    return TVA_REP(task, ERR_INVALID_FILE_FORMAT_FOR_CONES);
  if (store_is_nl(task)) return TVA_REP(task, ERR_INVALID_FILE_FORMAT_FOR_GENERAL_NL);
  return TVA_RES_OK;
}

TVArescode write_mps(TvaTask* task, sysfile* file, const char* name) {
  MpsWriteOptions opt;
  opt.format = task->iparam[TVA_IPAR_WRITE_MPS_FORMAT];
  opt.generic_names = task->iparam[TVA_IPAR_WRITE_GENERIC_NAMES] != 0;
  opt.precision = task->iparam[TVA_IPAR_WRITE_PRECISION];
  opt.write_free_con = task->iparam[TVA_IPAR_WRITE_FREE_CON] != 0;
  opt.write_int = task->iparam[TVA_IPAR_WRITE_MPS_INT] != 0;
  opt.handle = task;
  opt.warn = mpsreport_warning;
  try {
    MpsModel model(task->sys);
    TVArescode r = mpstask_get(task, &model);
    if (r != TVA_RES_OK) return r;
    r = mps_write(task->sys, model, opt, mps_sink_file(file), nullptr);
    if (r == TVA_RES_ERR_FILE_WRITE) return TVA_REP(task, ERR_FILE_WRITE, name);
    if (r == TVA_RES_ERR_SPACE) return TVA_REP(task, ERR_SPACE);
    return r; // a warning turned into a failure was reported by the warning callback
  } catch (const std::bad_alloc&) {
    return TVA_REP(task, ERR_SPACE);
  }
}

bool has_writer(int32 format) {
  return format == TVA_DATA_FORMAT_MPS || format == TVA_DATA_FORMAT_FREE_MPS;
}

TVArescode write_file(TvaTask* task, const char* name, int32 format, int32 compress) {
  if (name[0] == '\0') return TVA_REP(task, ERR_FILE_OPEN, "");
  // Format 0 names no format. What the task holds is tested next, then the formats without a
  // writer in this build are refused like format 0; all before anything is opened.
  if (format == TVA_DATA_FORMAT_EXTENSION) return TVA_REP(task, ERR_INVALID_FORMAT_TYPE, format);
  TVArescode r = check_format_fits(task, format);
  if (r != TVA_RES_OK) return r;
  if (!has_writer(format)) return TVA_REP(task, ERR_INVALID_FORMAT_TYPE, format);
  bool log = task->iparam[TVA_IPAR_LOG] != 0 && task->iparam[TVA_IPAR_LOG_FILE] != 0;
  sysfile* file = nullptr;
  r = datafile_open(task, name, true, compress, &file);
  if (r != TVA_RES_OK) return r;
  SysTimer start;
  sysenv_timer_stamp(task->sys, &start);
  if (log) task_printf(task, TVA_STREAM_MSG, "Start writing.\n");
  r = write_mps(task, file, name);
  if (sysfile_close(&file) != kSysOk && r == TVA_RES_OK) r = TVA_REP(task, ERR_FILE_WRITE, name);
  if (log)
    task_printf(task, TVA_STREAM_MSG, "done writing. Time: %.2f\n\n",
                sysenv_timer_seconds(task->sys, start));
  return r;
}

} // namespace

} // namespace telva

using namespace telva;

extern "C" {

TVAAPI TVArescode TVA_writedata(TVAtask_t task, const char* filename) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  const char* name = datafile_name(task, filename);
  int32 format = 0, compress = 0;
  datafile_analyse(name, &format, &compress);
  if (task->iparam[TVA_IPAR_WRITE_DATA_FORMAT] != 0)
    format = task->iparam[TVA_IPAR_WRITE_DATA_FORMAT];
  if (task->iparam[TVA_IPAR_READ_DATA_COMPRESSED] != TVA_COMPRESS_FREE)
    compress = task->iparam[TVA_IPAR_READ_DATA_COMPRESSED];
  return write_file(task, name, format, compress);
}

} // extern "C"
