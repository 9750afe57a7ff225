// The MPS reader: a line scanner that cuts each line into six fields (fixed columns, strict or
// relaxed, or blank-separated), and a section interpreter that fills an MpsModel.
//
// Errors come back as a response code with the line number, the scan position and the
// arguments of the code's message template, so that the task-level caller reports them with
// TVA_REP and echoes the place. Warnings go to a callback that may stop the read.
#pragma once

#include "cpub/sysfile.h"
#include "telva/files/mps/mpsmodel.h"

namespace telva {

// Where lines come from. next gives kSysOk with a line (without its end), kSysEndOfFile when
// no line is left, kSysFileRead on a failure.
struct MpsLineSource {
  void* handle = nullptr;
  int (*next)(void* handle, const char** line, int64* len) = nullptr;
};

// Lines of an open file (plain or gzip, see sysfile_open).
MpsLineSource mps_source_file(sysfile* file);

// Lines of a text in memory, for tests and in-memory input.
struct MpsTextSource {
  const char* text = nullptr;
  size_t len = 0;
  size_t pos = 0;
};
MpsLineSource mps_source_text(MpsTextSource* src);

// One argument of a message template, in template order.
struct MpsArg {
  enum Kind : int32 { kInt = 0, kDouble = 1, kText = 2 };
  int32 kind = kInt;
  int64 i = 0;
  double d = 0.0;
  char s[512] = {}; // cut if longer
};

// An error or a warning of the reader.
struct MpsError {
  TVArescode code = TVA_RES_OK;
  int64 line = 0; // 1-based number of the physical line, 0 when no line was read
  int64 pos = 0;  // 0-based position in the line where the fault was seen
  int32 nargs = 0;
  MpsArg args[6];
  char echo[1025] = {}; // the line as read, cut to fit (kept only with debug on)
};

// Called for every warning; a non-zero result stops the read with that code.
using MpsWarnFunc = TVArescode (*)(void* handle, const MpsError& warning);
// Informative lines ("Using 'x' as rhs vector\n" and the timing of A).
using MpsLogFunc = void (*)(void* handle, const char* text);
// The progress point during COLUMNS; a non-zero result stops the read.
using MpsProgressFunc = int (*)(void* handle);

// The parameters the reader depends on, with their defaults.
struct MpsReadOptions {
  int32 format = TVA_MPS_FORMAT_FREE; // 0 strict, 1 relaxed, anything else free
  int32 width = 1024;                 // TVA_IPAR_READ_MPS_WIDTH, at least 80
  bool debug = false;                 // TVA_IPAR_READ_DEBUG: keep the line for the echo
  bool keep_free_con = false;         // TVA_IPAR_READ_KEEP_FREE_CON
  const char* obj_name = "";          // TVA_SPAR_READ_MPS_OBJ_NAME
  const char* rhs_name = "";          // TVA_SPAR_READ_MPS_RHS_NAME
  const char* ran_name = "";          // TVA_SPAR_READ_MPS_RAN_NAME
  const char* bou_name = "";          // TVA_SPAR_READ_MPS_BOU_NAME
  double tol_qij = 1e-16;             // TVA_DPAR_DATA_TOL_QIJ
  double tol_bound_wrn = 1e8;         // TVA_DPAR_DATA_TOL_BOUND_WRN
  void* handle = nullptr;             // given to the callbacks
  MpsWarnFunc warn = nullptr;
  MpsLogFunc log = nullptr; // null: nothing is told
  MpsProgressFunc progress = nullptr;
};

// The echo that follows a reported error: the place ("The error occurred at (#line,pos): ..."),
// then with debug on the line as read and a caret under the position, with it off the hint
// how to turn debugging on. out receives each piece with its stream (TVA_STREAM_MSG for the
// place and the caret, TVA_STREAM_ERR for the line and the hint).
using MpsEchoFunc = void (*)(void* handle, int32 stream, const char* text);
void mps_error_echo(const MpsError& err, bool debug, void* handle, MpsEchoFunc out);

// Reads an MPS file into model, which is cleared first. On failure the model keeps what was
// read so far and *err tells the code, the place and the message arguments.
TVArescode mps_read(sysenv* sys, const MpsLineSource& src, const MpsReadOptions& opt,
                    MpsModel* model, MpsError* err);

} // namespace telva
