// The MPS writer: prints a staging model in MPS text. The strict, relaxed and free layouts
// give the same text; TVA_MPS_FORMAT_CPLEX writes the objective's quadratic terms as QUADOBJ
// and the constraints' as full QCMATRIX sections of x'Qx.
#pragma once

#include "cpub/sysfile.h"
#include "telva/files/mps/mpsmodel.h"
#include "telva/files/mps/mpsread.h"

namespace telva {

// Where text goes: write gives kSysOk or a failure status.
struct MpsSink {
  void* handle = nullptr;
  int (*write)(void* handle, const char* data, int64 n) = nullptr;
};

MpsSink mps_sink_file(sysfile* file);
// Appends to a string (for tests and in-memory output).
MpsSink mps_sink_text(SysString* out);

struct MpsWriteOptions {
  int32 format = TVA_MPS_FORMAT_FREE; // TVA_IPAR_WRITE_MPS_FORMAT
  bool generic_names = false;         // TVA_IPAR_WRITE_GENERIC_NAMES
  int32 precision = 15;               // TVA_IPAR_WRITE_PRECISION
  bool write_free_con = true;         // TVA_IPAR_WRITE_FREE_CON
  bool write_int = true;              // TVA_IPAR_WRITE_MPS_INT
  void* handle = nullptr;             // given to warn
  MpsWarnFunc warn = nullptr;         // duplicate names and the switch to generic names
};

// Writes the model. *generic_used (may be null) tells whether generic names were written.
// TVA_RES_ERR_FILE_WRITE when the sink fails, TVA_RES_ERR_SPACE without memory, or the code a
// warning callback turned a warning into.
TVArescode mps_write(sysenv* sys, const MpsModel& model, const MpsWriteOptions& opt,
                     const MpsSink& sink, bool* generic_used);

} // namespace telva
