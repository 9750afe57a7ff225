// LP files: the algebraic text form of a linear or quadratic problem with integer marks.
#pragma once

#include "telva/files/text/textio.h"
#include "telva/task/task.h"

namespace telva {

// Reads an LP file into the task, which the caller has cleared. Failures are reported on the
// task with the line where they were seen.
TVArescode lp_read(TvaTask* task, const TextSource& src);

struct LpWriteOptions {
  bool generic_names = false; // TVA_IPAR_WRITE_GENERIC_NAMES
  bool strict = false;        // TVA_IPAR_WRITE_LP_STRICT_FORMAT
  int32 line_width = 80;      // TVA_IPAR_WRITE_LP_LINE_WIDTH
  int32 terms_per_line = 10;  // TVA_IPAR_WRITE_LP_TERMS_PER_LINE, 0 for no limit
  bool full_obj = true;       // TVA_IPAR_WRITE_LP_FULL_OBJ
  int32 precision = 15;       // TVA_IPAR_WRITE_PRECISION
};

// Writes the task as an LP file. Failures of the task's content are reported; a failing sink
// gives TVA_RES_ERR_FILE_WRITE and exhausted memory TVA_RES_ERR_SPACE, not reported.
TVArescode lp_write(TvaTask* task, const TextSink& sink, const LpWriteOptions& opt);

// Whether a name can stand unquoted in an LP file as this reader and others read it: not
// empty, not starting with a digit, ".", "e" or "E", made of letters, digits and the LP name
// characters, and no keyword.
bool lp_name_valid(const char* name);

} // namespace telva
