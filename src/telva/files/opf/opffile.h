// OPF files: the tagged text form of a task ([objective], [constraints], [bounds] with cones,
// [integer], [variables], [hints], vendor parameters).
#pragma once

#include "telva/files/text/textio.h"
#include "telva/task/task.h"

namespace telva {

struct OpfReadOptions {
  // Reservations a [hints] section may ask for; larger hints are ignored (a hint only saves
  // reallocations, and the fuzz targets keep their memory small so).
  int64 max_hint = int64{1} << 26;
};

// Reads an OPF file into the task, which the caller has cleared. Failures are reported on the
// task with their line.
TVArescode opf_read(TvaTask* task, const TextSource& src, const OpfReadOptions& opt);

struct OpfWriteOptions {
  bool generic_names = false; // TVA_IPAR_WRITE_GENERIC_NAMES
  bool header = true;         // TVA_IPAR_OPF_WRITE_HEADER
  bool hints = true;          // TVA_IPAR_OPF_WRITE_HINTS
  bool problem = true;        // TVA_IPAR_OPF_WRITE_PROBLEM
  bool parameters = false;    // TVA_IPAR_OPF_WRITE_PARAMETERS
  int32 terms_per_line = 5;   // TVA_IPAR_OPF_MAX_TERMS_PER_LINE, 0 for one line
  int32 precision = 15;       // TVA_IPAR_WRITE_PRECISION
};

// Writes the task as an OPF file; semidefinite parts are left out. A failing sink gives
// TVA_RES_ERR_FILE_WRITE and exhausted memory TVA_RES_ERR_SPACE, not reported.
TVArescode opf_write(TvaTask* task, const TextSink& sink, const OpfWriteOptions& opt);

} // namespace telva
