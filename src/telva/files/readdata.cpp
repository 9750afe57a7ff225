// Reading problem files: the exported read calls, the dispatch by format, the read statistics
// and the read summary.
#include <new>

#include "telva/files/cbf/cbffile.h"
#include "telva/files/datafile.h"
#include "telva/files/lp/lpfile.h"
#include "telva/files/mps/mpsread.h"
#include "telva/files/mps/mpsreport.h"
#include "telva/files/mps/mpstask.h"
#include "telva/files/opf/opffile.h"
#include "telva/catalog/params.h"
#include "telva/log/report.h"
#include "telva/log/taskprint.h"

namespace telva {

namespace {

const char* str_param(const TvaTask* task, int32 which) {
  const char* p = task->sparam[which];
  return p ? p : "";
}

void log_reader_line(void* handle, const char* text) {
  TvaTask* task = static_cast<TvaTask*>(handle);
  if (task->iparam[TVA_IPAR_LOG] >= 1) task_printf(task, TVA_STREAM_MSG, "%s", text);
}

TVArescode read_mps(TvaTask* task, sysfile* file, bool free_format) {
  MpsReadOptions opt;
  opt.format = free_format ? TVA_MPS_FORMAT_FREE : task->iparam[TVA_IPAR_READ_MPS_FORMAT];
  opt.width = task->iparam[TVA_IPAR_READ_MPS_WIDTH];
  opt.debug = task->iparam[TVA_IPAR_READ_DEBUG] != 0;
  opt.keep_free_con = task->iparam[TVA_IPAR_READ_KEEP_FREE_CON] != 0;
  opt.obj_name = str_param(task, TVA_SPAR_READ_MPS_OBJ_NAME);
  opt.rhs_name = str_param(task, TVA_SPAR_READ_MPS_RHS_NAME);
  opt.ran_name = str_param(task, TVA_SPAR_READ_MPS_RAN_NAME);
  opt.bou_name = str_param(task, TVA_SPAR_READ_MPS_BOU_NAME);
  opt.tol_qij = task->dparam[TVA_DPAR_DATA_TOL_QIJ];
  opt.tol_bound_wrn = task->dparam[TVA_DPAR_DATA_TOL_BOUND_WRN];
  opt.handle = task;
  opt.warn = mpsreport_warning;
  opt.log = log_reader_line;
  try {
    MpsModel model(task->sys);
    MpsError err;
    TVArescode r = mps_read(task->sys, mps_source_file(file), opt, &model, &err);
    if (r != TVA_RES_OK) return mpsreport_read_error(task, err, opt.debug);
    r = mpstask_put(task, model);
    if (r == TVA_RES_OK && !model.objname_section.empty())
      r = param_put_text(task, TVA_PAR_STR_TYPE, TVA_SPAR_READ_MPS_OBJ_NAME,
                         model.objname_section.c_str());
    return r;
  } catch (const std::bad_alloc&) {
    return TVA_REP(task, ERR_SPACE);
  }
}

// Empties the task for a read: the problem and its names go, the parameters stay.
TVArescode clear_for_read(TvaTask* task) {
  store_clear(task);
  char* name = sysenv_strdup(task->sys, TVA_HERE, "");
  if (!name) return TVA_REP(task, ERR_SPACE);
  TVA_SYS_FREE(task->sys, task->taskname);
  task->taskname = name;
  return TVA_RES_OK;
}

void store_read_statistics(TvaTask* task) {
  int32 numq = 0;
  int64 numqnz = 0, first = 0, last = 0;
  store_qinterval(task, -1, &first, &last);
  numq += last > first;
  numqnz += last - first;
  if (task->store.qcon_first)
    for (int32 k = 0; k < task->numcon; ++k) {
      store_qinterval(task, k, &first, &last);
      numq += last > first;
      numqnz += last - first;
    }
  int64 numanz = 0;
  store_getnumanz(task, &numanz);
  task->iinf[TVA_IINF_RD_NUMCON] = task->numcon;
  task->iinf[TVA_IINF_RD_NUMVAR] = task->numvar;
  task->iinf[TVA_IINF_RD_NUMBARVAR] = task->numbarvar;
  task->iinf[TVA_IINF_RD_NUMCONE] = task->numcone;
  task->iinf[TVA_IINF_RD_NUMINTVAR] = task->store.numintvar;
  task->iinf[TVA_IINF_RD_NUMQ] = numq;
  task->liinf[TVA_LIINF_RD_NUMANZ] = numanz;
  task->liinf[TVA_LIINF_RD_NUMQNZ] = numqnz;
  task->iinf[TVA_IINF_RD_PROTYPE] = store_probtype(task);
}

// The read dispatch on an open file. The progress callbacks of the start and the end of a
// read belong here (TVA_CALLBACK_BEGIN_READ before the task is cleared, TVA_CALLBACK_END_READ
// after the clock stops) once tasks carry a progress callback.
TVArescode read_dispatch(TvaTask* task, sysfile* file, int32 format) {
  SysTimer start;
  sysenv_timer_stamp(task->sys, &start);
  TVArescode r = clear_for_read(task);
  if (r == TVA_RES_OK) {
    switch (format) {
    case TVA_DATA_FORMAT_MPS:
      r = read_mps(task, file, false);
      break;
    case TVA_DATA_FORMAT_FREE_MPS:
      r = read_mps(task, file, true);
      break;
    case TVA_DATA_FORMAT_LP:
      r = lp_read(task, textsource_file(file));
      break;
    case TVA_DATA_FORMAT_OP:
      r = opf_read(task, textsource_file(file), OpfReadOptions{});
      break;
    case TVA_DATA_FORMAT_CB:
      r = cbf_read(task, textsource_file(file), CbfReadOptions{});
      break;
    default:
      // The other formats have no reader in this build; XML and 0 never have one.
      r = TVA_REP(task, ERR_READ_FORMAT, format);
      break;
    }
  }
  task->dinf[TVA_DINF_RD_TIME] = sysenv_timer_seconds(task->sys, start);
  if (r == TVA_RES_OK) store_read_statistics(task);
  return r;
}

TVArescode read_file(TvaTask* task, const char* name, int32 format, int32 compress) {
  if (name[0] == '\0') return TVA_REP(task, ERR_FILE_OPEN, "");
  sysfile* file = nullptr;
  TVArescode r = datafile_open(task, name, false, compress, &file);
  if (r != TVA_RES_OK) return r;
  r = read_dispatch(task, file, format);
  sysfile_close(&file);
  return r;
}

TVArescode read_by_name(TvaTask* task, const char* filename, bool use_params) {
  const char* name = datafile_name(task, filename);
  int32 format = 0, compress = 0;
  datafile_analyse(name, &format, &compress);
  if (use_params) {
    if (task->iparam[TVA_IPAR_READ_DATA_FORMAT] != 0)
      format = task->iparam[TVA_IPAR_READ_DATA_FORMAT];
    if (task->iparam[TVA_IPAR_READ_DATA_COMPRESSED] != TVA_COMPRESS_FREE)
      compress = task->iparam[TVA_IPAR_READ_DATA_COMPRESSED];
  }
  return read_file(task, name, format, compress);
}

} // namespace

} // namespace telva

using namespace telva;

extern "C" {

TVAAPI TVArescode TVA_readdata(TVAtask_t task, const char* filename) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  return read_by_name(task, filename, true);
}

TVAAPI TVArescode TVA_readdataautoformat(TVAtask_t task, const char* filename) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  return read_by_name(task, filename, false);
}

TVAAPI TVArescode TVA_readdataformat(TVAtask_t task, const char* filename, TVAint32t format,
                                     TVAint32t compress) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  // Here no parameter stands in for a missing name: the name itself is invalid.
  if (!filename) return TVA_REP(task, ERR_INVALID_FILE_NAME, "");
  const char* name = filename;
  int32 by_name = 0, name_compress = 0;
  datafile_analyse(name, &by_name, &name_compress);
  if (compress != TVA_COMPRESS_FREE) name_compress = compress;
  return read_file(task, name, format, name_compress);
}

TVAAPI TVArescode TVA_readsummary(TVAtask_t task, TVAint32t whichstream) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (whichstream < TVA_STREAM_LOG || whichstream > TVA_STREAM_WRN)
    return TVA_REP(task, ERR_INVALID_STREAM, whichstream);
  if (task->iparam[TVA_IPAR_LOG] <= 0) return TVA_RES_OK;
  char type[TVA_MAX_STR_LEN] = "";
  if (TVA_probtypetostr(task, task->iinf[TVA_IINF_RD_PROTYPE], type) != TVA_RES_OK) type[0] = 0;
  const char* sense = task->store.objsense == TVA_OBJECTIVE_SENSE_MAXIMIZE ? "max" : "min";
  task_printf(task, whichstream, "\nRead summary\n");
  task_printf(task, whichstream, "  Type             : %s\n", type);
  task_printf(task, whichstream, "  Objective sense  : %s\n", sense);
  task_printf(task, whichstream, "  Scalar variables : %-12d\n", task->iinf[TVA_IINF_RD_NUMVAR]);
  task_printf(task, whichstream, "  Matrix variables : %-12d\n", task->iinf[TVA_IINF_RD_NUMBARVAR]);
  task_printf(task, whichstream, "  Constraints      : %-12d\n", task->iinf[TVA_IINF_RD_NUMCON]);
  task_printf(task, whichstream, "  Cones            : %-12d\n", task->iinf[TVA_IINF_RD_NUMCONE]);
  task_printf(task, whichstream, "  Time             : %-8.1f\n", task->dinf[TVA_DINF_RD_TIME]);
  task_printf(task, whichstream, "\n");
  return TVA_RES_OK;
}

} // extern "C"
