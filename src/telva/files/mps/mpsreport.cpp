// The MPS codes and their typed reporters. The reader fills the arguments in the order and the
// kinds of each code's message template, so every case below passes them through unchanged.
#include "telva/files/mps/mpsreport.h"

#include "telva/log/report.h"
#include "telva/log/taskprint.h"

namespace telva {

namespace {

struct Args {
  const MpsError& e;
  const char* s(int k) const { return e.args[k].s; }
  int32 i(int k) const { return static_cast<int32>(e.args[k].i); }
  double d(int k) const { return e.args[k].d; }
};

void echo_to_task(void* handle, int32 stream, const char* text) {
  task_printf(static_cast<TvaTask*>(handle), stream, "%s", text);
}

} // namespace

TVArescode mpsreport_code(TvaTask* task, const MpsError& err) {
  Args a{err};
  switch (err.code) {
  case TVA_RES_OK:
    return TVA_RES_OK;
  case TVA_RES_ERR_SPACE:
    return TVA_REP(task, ERR_SPACE);
  case TVA_RES_ERR_END_OF_FILE:
    return TVA_REP(task, ERR_END_OF_FILE);
  case TVA_RES_ERR_FILE_WRITE:
    return TVA_REP(task, ERR_FILE_WRITE, a.s(0));
  case TVA_RES_ERR_MPS_FILE:
    return TVA_REP(task, ERR_MPS_FILE);
  case TVA_RES_ERR_MPS_INV_FIELD:
    return TVA_REP(task, ERR_MPS_INV_FIELD, a.i(0));
  case TVA_RES_ERR_MPS_INV_MARKER:
    return TVA_REP(task, ERR_MPS_INV_MARKER);
  case TVA_RES_ERR_MPS_NULL_CON_NAME:
    return TVA_REP(task, ERR_MPS_NULL_CON_NAME);
  case TVA_RES_ERR_MPS_NULL_VAR_NAME:
    return TVA_REP(task, ERR_MPS_NULL_VAR_NAME);
  case TVA_RES_ERR_MPS_UNDEF_CON_NAME:
    return TVA_REP(task, ERR_MPS_UNDEF_CON_NAME, a.s(0));
  case TVA_RES_ERR_MPS_UNDEF_VAR_NAME:
    return TVA_REP(task, ERR_MPS_UNDEF_VAR_NAME, a.s(0));
  case TVA_RES_ERR_MPS_INV_CON_KEY:
    return TVA_REP(task, ERR_MPS_INV_CON_KEY, a.s(0), a.s(1));
  case TVA_RES_ERR_MPS_INV_BOUND_KEY:
    return TVA_REP(task, ERR_MPS_INV_BOUND_KEY, a.s(0));
  case TVA_RES_ERR_MPS_NO_OBJECTIVE:
    return TVA_REP(task, ERR_MPS_NO_OBJECTIVE);
  case TVA_RES_ERR_MPS_SPLITTED_VAR:
    return TVA_REP(task, ERR_MPS_SPLITTED_VAR, a.s(0));
  case TVA_RES_ERR_MPS_MUL_CON_NAME:
    return TVA_REP(task, ERR_MPS_MUL_CON_NAME, a.s(0));
  case TVA_RES_ERR_MPS_MUL_QSEC:
    return TVA_REP(task, ERR_MPS_MUL_QSEC, a.s(0));
  case TVA_RES_ERR_MPS_INV_SEC_ORDER:
    return TVA_REP(task, ERR_MPS_INV_SEC_ORDER, a.s(0));
  case TVA_RES_ERR_MPS_MUL_CSEC:
    return TVA_REP(task, ERR_MPS_MUL_CSEC, a.s(0));
  case TVA_RES_ERR_MPS_CONE_TYPE:
    return TVA_REP(task, ERR_MPS_CONE_TYPE, a.s(0));
  case TVA_RES_ERR_MPS_NON_SYMMETRIC_Q:
    return TVA_REP(task, ERR_MPS_NON_SYMMETRIC_Q, a.s(0), a.s(1));
  case TVA_RES_ERR_MPS_DUPLICATE_Q_ELEMENT:
    return TVA_REP(task, ERR_MPS_DUPLICATE_Q_ELEMENT, a.s(0), a.s(1));
  case TVA_RES_ERR_MPS_INVALID_OBJSENSE:
    return TVA_REP(task, ERR_MPS_INVALID_OBJSENSE, a.s(0));
  case TVA_RES_ERR_MPS_TAB_IN_FIELD2:
    return TVA_REP(task, ERR_MPS_TAB_IN_FIELD2);
  case TVA_RES_ERR_MPS_TAB_IN_FIELD3:
    return TVA_REP(task, ERR_MPS_TAB_IN_FIELD3);
  case TVA_RES_ERR_MPS_TAB_IN_FIELD5:
    return TVA_REP(task, ERR_MPS_TAB_IN_FIELD5);
  case TVA_RES_ERR_MPS_INVALID_OBJ_NAME:
    return TVA_REP(task, ERR_MPS_INVALID_OBJ_NAME, a.s(0));
  case TVA_RES_ERR_CONE_SIZE:
    return TVA_REP(task, ERR_CONE_SIZE, a.i(0), a.s(1));
  case TVA_RES_ERR_CONE_REP_VAR:
    return TVA_REP(task, ERR_CONE_REP_VAR, a.s(0), a.i(1), a.s(2), a.i(3));
  case TVA_RES_ERR_CONE_OVERLAP:
    return TVA_REP(task, ERR_CONE_OVERLAP, a.s(0), a.i(1), a.s(2), a.i(3), a.s(4), a.i(5));
  case TVA_RES_WRN_LARGE_BOUND:
    return TVA_REP(task, WRN_LARGE_BOUND, TVA_WJP_VALUE, a.d(0), a.s(1), a.s(2), a.i(3));
  case TVA_RES_WRN_MPS_SPLIT_RHS_VECTOR:
    return TVA_REP(task, WRN_MPS_SPLIT_RHS_VECTOR, a.s(0));
  case TVA_RES_WRN_MPS_SPLIT_RAN_VECTOR:
    return TVA_REP(task, WRN_MPS_SPLIT_RAN_VECTOR, a.s(0));
  case TVA_RES_WRN_MPS_SPLIT_BOU_VECTOR:
    return TVA_REP(task, WRN_MPS_SPLIT_BOU_VECTOR, a.s(0));
  case TVA_RES_WRN_DUPLICATE_CONSTRAINT_NAMES:
    return TVA_REP(task, WRN_DUPLICATE_CONSTRAINT_NAMES, a.i(0), a.i(1), a.s(2));
  case TVA_RES_WRN_DUPLICATE_VARIABLE_NAMES:
    return TVA_REP(task, WRN_DUPLICATE_VARIABLE_NAMES, a.i(0), a.i(1), a.s(2));
  case TVA_RES_WRN_DUPLICATE_CONE_NAMES:
    return TVA_REP(task, WRN_DUPLICATE_CONE_NAMES, a.i(0), a.i(1), a.s(2));
  case TVA_RES_WRN_USING_GENERIC_NAMES:
    return TVA_REP(task, WRN_USING_GENERIC_NAMES);
  default:
    // A code the MPS code does not produce today: the generic MPS failure keeps the message
    // meaningful, and the caller still gets the code itself.
    TVA_REP(task, ERR_MPS_FILE);
    return err.code;
  }
}

TVArescode mpsreport_read_error(TvaTask* task, const MpsError& err, bool debug) {
  TVArescode r = mpsreport_code(task, err);
  if (err.line > 0) {
    mps_error_echo(err, debug, task, echo_to_task);
    // The hint how to turn debugging on comes without a line end; end its line so that it
    // leaves the stream now.
    if (!debug) task_printf(task, TVA_STREAM_ERR, "\n");
  }
  return r;
}

TVArescode mpsreport_warning(void* task, const MpsError& warning) {
  return mpsreport_code(static_cast<TvaTask*>(task), warning);
}

} // namespace telva
