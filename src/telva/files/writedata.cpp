// Writing problem files: the exported write call, the test of what a format can hold, and the
// dispatch to the writers.
#include <new>

#include "telva/files/cbf/cbffile.h"
#include "telva/files/datafile.h"
#include "telva/files/lp/lpfile.h"
#include "telva/files/mps/mpsreport.h"
#include "telva/files/mps/mpstask.h"
#include "telva/files/mps/mpswrite.h"
#include "telva/files/opf/opffile.h"
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
  if (format == TVA_DATA_FORMAT_CB && (store_has_qobj(task) || store_has_qcon(task)))
    return TVA_REP(task, ERR_INVALID_FILE_FORMAT_FOR_QUADRATIC_TERMS);
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

// The writers of the text formats other than MPS; their failures of content are reported by
// the writers themselves.
TVArescode write_text(TvaTask* task, sysfile* file, const char* name, int32 format) {
  TVArescode r = TVA_RES_OK;
  const int32* ip = task->iparam;
  bool generic = ip[TVA_IPAR_WRITE_GENERIC_NAMES] != 0;
  if (format == TVA_DATA_FORMAT_LP) {
    LpWriteOptions opt;
    opt.generic_names = generic;
    opt.strict = ip[TVA_IPAR_WRITE_LP_STRICT_FORMAT] != 0;
    opt.line_width = ip[TVA_IPAR_WRITE_LP_LINE_WIDTH];
    opt.terms_per_line = ip[TVA_IPAR_WRITE_LP_TERMS_PER_LINE];
    opt.full_obj = ip[TVA_IPAR_WRITE_LP_FULL_OBJ] != 0;
    opt.precision = ip[TVA_IPAR_WRITE_PRECISION];
    r = lp_write(task, textsink_file(file), opt);
  } else if (format == TVA_DATA_FORMAT_OP) {
    OpfWriteOptions opt;
    opt.generic_names = generic;
    opt.header = ip[TVA_IPAR_OPF_WRITE_HEADER] != 0;
    opt.hints = ip[TVA_IPAR_OPF_WRITE_HINTS] != 0;
    opt.problem = ip[TVA_IPAR_OPF_WRITE_PROBLEM] != 0;
    opt.parameters = ip[TVA_IPAR_OPF_WRITE_PARAMETERS] != 0;
    opt.terms_per_line = ip[TVA_IPAR_OPF_MAX_TERMS_PER_LINE];
    opt.precision = ip[TVA_IPAR_WRITE_PRECISION];
    r = opf_write(task, textsink_file(file), opt);
  } else {
    r = cbf_write(task, textsink_file(file));
  }
  if (r == TVA_RES_ERR_FILE_WRITE) return TVA_REP(task, ERR_FILE_WRITE, name);
  if (r == TVA_RES_ERR_SPACE) return TVA_REP(task, ERR_SPACE);
  return r;
}

bool has_writer(int32 format) {
  return format == TVA_DATA_FORMAT_MPS || format == TVA_DATA_FORMAT_FREE_MPS ||
         format == TVA_DATA_FORMAT_LP || format == TVA_DATA_FORMAT_OP ||
         format == TVA_DATA_FORMAT_CB;
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
  if (format == TVA_DATA_FORMAT_MPS || format == TVA_DATA_FORMAT_FREE_MPS)
    r = write_mps(task, file, name);
  else
    r = write_text(task, file, name, format);
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
