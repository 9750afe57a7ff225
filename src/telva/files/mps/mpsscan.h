// The line scanner of the MPS reader: significant lines, section lines and the six fields of
// a data line, in fixed columns (strict or relaxed) or blank-separated.
#pragma once

#include "telva/files/mps/mpsread.h"

namespace telva {

enum MpsSection : int32 {
  kSecName = 0,
  kSecObjsense = 1,
  kSecObjname = 2,
  kSecRows = 3,
  kSecColumns = 4,
  kSecRhs = 5,
  kSecRanges = 6,
  kSecBounds = 7,
  kSecSets = 8,
  kSecQuadobj = 9,
  kSecQsection = 10,
  kSecQmatrix = 11,
  kSecQcmatrix = 12,
  kSecCsection = 13,
  kSecEndata = 14,
  kNumSections = 15,
};

const char* mps_section_word(int32 section);

enum MpsScanFormat : int32 { kScanStrict = 0, kScanRelaxed = 1, kScanFree = 2 };

// Fields of a data line. Names are empty strings when absent, numbers 0.0.
struct MpsFields {
  const char* f1 = "";
  const char* f2 = "";
  const char* f3 = "";
  const char* f5 = "";
  double f4 = 0.0;
  double f6 = 0.0;
  bool has_f4 = false;
  bool has_f6 = false;
  bool marker = false; // a COLUMNS line with "'MARKER'" in field 3
};

class MpsScanner {
public:
  MpsScanner(sysenv* sys, const MpsLineSource& src, int32 format, int32 width, bool debug,
             MpsError* err);
  ~MpsScanner();
  bool ok() const { return buf_ != nullptr; }

  // Reads the next significant line. TVA_RES_OK, TVA_RES_ERR_END_OF_FILE or
  // TVA_RES_ERR_MPS_FILE (the error is filled).
  TVArescode next_line();
  // Whether the current line is a data line (begins with a blank).
  bool indented() const { return buf_[0] == ' '; }
  const char* line() const { return buf_; }
  int64 lineno() const { return lineno_; }

  // Classifies the current (non-indented) line; for QSECTION, QCMATRIX and CSECTION the
  // arguments are cut out: name (and for CSECTION parameter and type).
  TVArescode section_line(int32* section, const char** name, double* par, const char** type);
  // Cuts the current (indented) line into the fields the section wants.
  TVArescode data_line(int32 section, MpsFields* out);

  // Fills the error with a code at the current line and a position; arguments follow.
  TVArescode fail(TVArescode code, int64 pos);
  MpsError* err() { return err_; }
  int32 format() const { return format_; }

private:
  TVArescode cut_fixed(int32 section, MpsFields* out);
  TVArescode cut_free(int32 section, MpsFields* out);
  // Fixed columns: a name field starting at col with width w; errc is the field number of
  // the error when the name runs over.
  TVArescode fixed_name(int64 col, int64 w, int32 field, TVArescode tabcode, const char** out);
  TVArescode fixed_number(int64 col, int64 w, int32 errfield, bool required, double* out,
                          bool* has);
  // Blank or tab separated words of the line from the scan position.
  const char* next_word();
  // Words left on the line from the scan position, and whether a free-format data line of
  // the section (with its bound key) leaves out the vector name.
  int32 words_ahead() const;
  bool vector_name_absent(int32 section, const char* key) const;
  TVArescode number_word(const char* w, int32 errfield, double* out);

  sysenv* sys_;
  MpsLineSource src_;
  int32 format_;
  int64 width_;
  bool debug_;
  MpsError* err_;
  char* buf_ = nullptr;
  int64 len_ = 0;
  int64 lineno_ = 0;
  int64 pos_ = 0;
  const char* rest_ = nullptr; // remainder of a line longer than the width
  int64 rest_len_ = 0;
};

} // namespace telva
