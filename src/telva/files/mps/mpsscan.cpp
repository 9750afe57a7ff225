// The line scanner of the MPS reader.
//
// The scanner owns a line buffer of width + 1 bytes and a field buffer of the same size into
// which the fields of a data line are copied, each ending with a NUL. A line longer than the
// width is cut there and its remainder comes back as the next line.
#include "telva/files/mps/mpsscan.h"

#include <cstdio>
#include <cstring>

#include "telva/files/mps/mpsnumber.h"

namespace telva {

namespace {

constexpr const char* kSectionWords[kNumSections] = {
    "NAME", "OBJSENSE", "OBJNAME",  "ROWS",    "COLUMNS",  "RHS",      "RANGES", "BOUNDS",
    "SETS", "QUADOBJ",  "QSECTION", "QMATRIX", "QCMATRIX", "CSECTION", "ENDATA",
};

bool is_sep(char ch) {
  return ch == ' ' || ch == '\t';
}

// Fixed-format columns of the fields of a data line.
constexpr int64 kCol2 = 4, kWidth2 = 8;
constexpr int64 kCol3 = 14, kWidth3 = 8;
constexpr int64 kCol4 = 24, kWidth4 = 12;
constexpr int64 kCol5 = 39, kWidth5 = 8;
constexpr int64 kCol6 = 49, kWidth6 = 12;

} // namespace

const char* mps_section_word(int32 section) {
  return section >= 0 && section < kNumSections ? kSectionWords[section] : "";
}

MpsScanner::MpsScanner(sysenv* sys, const MpsLineSource& src, int32 format, int32 width, bool debug,
                       MpsError* err)
    : sys_(sys), src_(src), format_(format == 0   ? kScanStrict
                                    : format == 1 ? kScanRelaxed
                                                  : kScanFree),
      width_(width < 80 ? 80 : width), debug_(debug), err_(err) {
  // Two buffers in one block: the line, and the copies of the fields.
  buf_ = static_cast<char*>(sysenv_malloc(sys_, TVA_HERE, 2 * static_cast<size_t>(width_ + 1), 1));
  if (buf_) buf_[0] = '\0';
}

MpsScanner::~MpsScanner() {
  if (buf_) sysenv_free(sys_, TVA_HERE, buf_);
}

TVArescode MpsScanner::fail(TVArescode code, int64 pos) {
  err_->code = code;
  err_->line = lineno_;
  err_->pos = pos;
  err_->nargs = 0;
  if (debug_) {
    size_t n = std::strlen(buf_);
    if (n >= sizeof err_->echo) n = sizeof err_->echo - 1;
    std::memcpy(err_->echo, buf_, n);
    err_->echo[n] = '\0';
  }
  return code;
}

TVArescode MpsScanner::next_line() {
  for (;;) {
    const char* text = nullptr;
    int64 len = 0;
    if (rest_) {
      text = rest_;
      len = rest_len_;
      rest_ = nullptr;
    } else {
      int st = src_.next(src_.handle, &text, &len);
      if (st == kSysEndOfFile) {
        buf_[0] = '\0';
        return fail(TVA_RES_ERR_END_OF_FILE, 0);
      }
      if (st != kSysOk) {
        buf_[0] = '\0';
        return fail(TVA_RES_ERR_MPS_FILE, 0);
      }
      ++lineno_;
    }
    if (len > width_) {
      rest_ = text + width_;
      rest_len_ = len - width_;
      len = width_;
    }
    // Trailing blanks go; a line end of a lone carriage return too.
    while (len > 0 && (text[len - 1] == ' ' || text[len - 1] == '\t' || text[len - 1] == '\r'))
      --len;
    std::memcpy(buf_, text, static_cast<size_t>(len));
    buf_[len] = '\0';
    len_ = len;
    pos_ = 0;
    if (len == 0 || buf_[0] == '*') continue;
    // A NUL inside the line would cut it silently: treat it as a blank.
    for (int64 i = 0; i < len; ++i)
      if (buf_[i] == '\0') buf_[i] = ' ';
    return TVA_RES_OK;
  }
}

const char* MpsScanner::next_word() {
  char* fb = buf_ + width_ + 1;
  // Words are copied to the field buffer at the same offset as in the line, so that they
  // never overlap one another.
  while (pos_ < len_ && is_sep(buf_[pos_]))
    ++pos_;
  if (pos_ >= len_) return nullptr;
  int64 b = pos_;
  while (pos_ < len_ && !is_sep(buf_[pos_]))
    ++pos_;
  std::memcpy(fb + b, buf_ + b, static_cast<size_t>(pos_ - b));
  fb[pos_] = '\0';
  return fb + b;
}

TVArescode MpsScanner::number_word(const char* w, int32 errfield, double* out) {
  size_t n = std::strlen(w), used = 0;
  int64 at = static_cast<int64>(w - (buf_ + width_ + 1));
  if (!mps_parse_number(w, n, out, &used) || (used < n && w[used] != '0'))
    return fail(TVA_RES_ERR_MPS_INV_FIELD, at);
  (void)errfield;
  return TVA_RES_OK;
}

TVArescode MpsScanner::section_line(int32* section, const char** name, double* par,
                                    const char** type) {
  *name = "";
  *type = "";
  *par = 0.0;
  int32 s = -1;
  for (int32 k = 0; k < kNumSections; ++k) {
    size_t n = std::strlen(kSectionWords[k]);
    if (std::strncmp(buf_, kSectionWords[k], n) == 0) {
      s = k;
      break;
    }
  }
  if (s < 0) {
    fail(TVA_RES_ERR_MPS_INV_FIELD, 0);
    err_->nargs = 1;
    err_->args[0].kind = MpsArg::kInt;
    err_->args[0].i = 1;
    return err_->code;
  }
  *section = s;
  pos_ = 0;
  next_word(); // the keyword
  if (s == kSecQsection || s == kSecQcmatrix || s == kSecCsection || s == kSecObjsense) {
    const char* w = next_word();
    if (w) *name = w;
  }
  if (s == kSecCsection) {
    const char* w1 = next_word();
    const char* w2 = next_word();
    if (w1 && !w2) {
      // Name and type only: the parameter is empty and reads as 0.0.
      double v = 0.0;
      size_t used = 0;
      if (mps_parse_number(w1, std::strlen(w1), &v, &used) && used == std::strlen(w1)) {
        *par = v;
      } else {
        *type = w1;
      }
    } else if (w1) {
      if (number_word(w1, 3, par) != TVA_RES_OK) {
        err_->nargs = 1;
        err_->args[0].kind = MpsArg::kInt;
        err_->args[0].i = 3;
        return err_->code;
      }
      *type = w2;
    }
  }
  return TVA_RES_OK;
}

TVArescode MpsScanner::data_line(int32 section, MpsFields* out) {
  *out = MpsFields();
  TVArescode r = format_ == kScanFree ? cut_free(section, out) : cut_fixed(section, out);
  if (r == TVA_RES_ERR_MPS_INV_FIELD && err_->nargs == 0) {
    err_->nargs = 1;
    err_->args[0].kind = MpsArg::kInt;
  }
  return r;
}

namespace {

TVArescode field_error(MpsScanner* sc, int64 pos, int32 number) {
  sc->fail(TVA_RES_ERR_MPS_INV_FIELD, pos);
  sc->err()->nargs = 1;
  sc->err()->args[0].kind = MpsArg::kInt;
  sc->err()->args[0].i = number;
  return TVA_RES_ERR_MPS_INV_FIELD;
}

} // namespace

int32 MpsScanner::words_ahead() const {
  int32 count = 0;
  for (int64 i = pos_; i < len_;) {
    while (i < len_ && is_sep(buf_[i]))
      ++i;
    if (i >= len_) break;
    ++count;
    while (i < len_ && !is_sep(buf_[i]))
      ++i;
  }
  return count;
}

bool MpsScanner::vector_name_absent(int32 section, const char* key) const {
  const int32 words = words_ahead();
  if (section == kSecRhs || section == kSecRanges) return words == 2 || words == 4;
  if (section != kSecBounds) return false;
  const bool novalue =
      !std::strcmp(key, "FR") || !std::strcmp(key, "MI") || !std::strcmp(key, "PL");
  if (novalue) return words == 1;
  if (!std::strcmp(key, "BV")) {
    if (words == 1) return true;
    if (words != 2) return false;
    // "BV name 1" without a vector name, or "BV vector name": the last word tells.
    int64 i = len_;
    while (i > pos_ && !is_sep(buf_[i - 1]))
      --i;
    size_t n = static_cast<size_t>(len_ - i), used = 0;
    double v = 0.0;
    return mps_parse_number(buf_ + i, n, &v, &used) && used == n;
  }
  return words == 2;
}

TVArescode MpsScanner::cut_free(int32 section, MpsFields* out) {
  pos_ = 0;
  const char* w = nullptr;
  if (section == kSecRows || section == kSecBounds) {
    w = next_word();
    if (w) out->f1 = w;
  }
  // Blank-separated files may leave out the vector name of RHS, RANGES and BOUNDS lines, as
  // many writers do; the number of words on the line tells whether it is there.
  const bool noname = (section == kSecRhs || section == kSecRanges || section == kSecBounds) &&
                      vector_name_absent(section, out->f1);
  if (!noname && (w = next_word())) out->f2 = w;
  if (section == kSecRows || section == kSecCsection || section == kSecObjname) {
    int64 at = pos_;
    if (section != kSecObjname && next_word()) return field_error(this, at, 2);
    return TVA_RES_OK;
  }
  if ((w = next_word())) out->f3 = w;
  if (section == kSecColumns && std::strcmp(out->f3, "'MARKER'") == 0) {
    out->marker = true;
    if ((w = next_word())) out->f5 = w;
    return TVA_RES_OK;
  }
  if ((w = next_word())) {
    if (number_word(w, 3, &out->f4) != TVA_RES_OK) return field_error(this, err_->pos, 3);
    out->has_f4 = true;
  }
  if ((w = next_word())) out->f5 = w;
  if ((w = next_word())) {
    if (number_word(w, 5, &out->f6) != TVA_RES_OK) return field_error(this, err_->pos, 5);
    out->has_f6 = true;
  }
  int64 at = pos_;
  if (next_word()) return field_error(this, at, 5);
  return TVA_RES_OK;
}

TVArescode MpsScanner::fixed_name(int64 col, int64 w, int32 field, TVArescode tabcode,
                                  const char** out) {
  char* fb = buf_ + width_ + 1;
  int64 end = col + w < len_ ? col + w : len_;
  int64 b = col;
  while (b < end && buf_[b] == ' ')
    ++b;
  int64 e = end;
  while (e > b && buf_[e - 1] == ' ')
    --e;
  for (int64 i = b; i < e; ++i)
    if (buf_[i] == '\t') return fail(tabcode, i);
  // The character behind the field must be a blank or the end, so a name can't run over.
  if (col + w < len_ && buf_[col + w] != ' ') return field_error(this, col + w, field);
  if (b < e) std::memcpy(fb + b, buf_ + b, static_cast<size_t>(e - b));
  fb[e > b ? e : b] = '\0';
  *out = fb + b;
  return TVA_RES_OK;
}

TVArescode MpsScanner::fixed_number(int64 col, int64 w, int32 errfield, bool required, double* out,
                                    bool* has) {
  int64 b = col;
  while (b < len_ && b < col + w && buf_[b] == ' ')
    ++b;
  if (b >= len_ || b >= col + w) {
    if (required) return field_error(this, b < len_ ? b : len_, errfield);
    return TVA_RES_OK;
  }
  int64 e = b;
  while (e < len_ && buf_[e] != ' ')
    ++e;
  if (format_ == kScanStrict && e > col + w) return field_error(this, col + w, errfield);
  size_t used = 0;
  double v = 0.0;
  if (!mps_parse_number(buf_ + b, static_cast<size_t>(e - b), &v, &used) ||
      (static_cast<int64>(used) < e - b && buf_[b + static_cast<int64>(used)] != '0'))
    return field_error(this, b, errfield);
  *out = v;
  *has = true;
  pos_ = e;
  return TVA_RES_OK;
}

TVArescode MpsScanner::cut_fixed(int32 section, MpsFields* out) {
  char* fb = buf_ + width_ + 1;
  TVArescode r = TVA_RES_OK;
  // Field 1: columns 1 and 2, trailing blanks dropped, a blank (or the end) behind.
  {
    int64 e = len_ < 3 ? len_ : 3;
    while (e > 1 && buf_[e - 1] == ' ')
      --e;
    if (len_ > 3 && buf_[3] != ' ') return field_error(this, 3, 1);
    if (e > 1) std::memcpy(fb + 1, buf_ + 1, static_cast<size_t>(e - 1));
    fb[e > 1 ? e : 1] = '\0';
    out->f1 = fb + 1;
  }
  if ((r = fixed_name(kCol2, kWidth2, 2, TVA_RES_ERR_MPS_TAB_IN_FIELD2, &out->f2)) != TVA_RES_OK)
    return r;
  if (len_ > kCol3 - 1 && buf_[kCol3 - 1] != ' ') return field_error(this, kCol3 - 1, 2);
  if (section == kSecRows || section == kSecCsection) {
    for (int64 i = kCol2 + kWidth2; i < len_; ++i)
      if (buf_[i] != ' ') return field_error(this, i, 2);
    return TVA_RES_OK;
  }
  if (section == kSecObjname) return TVA_RES_OK;
  if ((r = fixed_name(kCol3, kWidth3, 3, TVA_RES_ERR_MPS_TAB_IN_FIELD3, &out->f3)) != TVA_RES_OK)
    return r;
  if (section == kSecColumns && std::strcmp(out->f3, "'MARKER'") == 0) {
    // A marker: the word after field 3 is field 5 wherever it stands; no numbers are read.
    out->marker = true;
    pos_ = kCol3 + kWidth3;
    const char* w = pos_ < len_ ? next_word() : nullptr;
    if (w) out->f5 = w;
    return TVA_RES_OK;
  }
  for (int64 i = kCol3 + kWidth3; i < kCol4 && i < len_; ++i)
    if (buf_[i] != ' ') return field_error(this, i, 3);
  bool required = section == kSecColumns || section == kSecRhs || section == kSecQuadobj ||
                  section == kSecQsection || section == kSecQmatrix || section == kSecQcmatrix;
  if (section == kSecBounds) {
    const char* k = out->f1;
    required = !std::strcmp(k, "LO") || !std::strcmp(k, "UP") || !std::strcmp(k, "FX") ||
               !std::strcmp(k, "LI") || !std::strcmp(k, "UI");
  }
  pos_ = kCol4;
  if ((r = fixed_number(kCol4, kWidth4, 3, required, &out->f4, &out->has_f4)) != TVA_RES_OK)
    return r;
  if (pos_ > kCol5) {
    // A relaxed number ran into field 5: the fields behind it are taken as words.
    const char* w = next_word();
    if (w) out->f5 = w;
    if ((w = next_word())) {
      if (number_word(w, 5, &out->f6) != TVA_RES_OK) return field_error(this, err_->pos, 5);
      out->has_f6 = true;
    }
    return TVA_RES_OK;
  }
  for (int64 i = pos_; i < kCol5 && i < len_; ++i)
    if (buf_[i] != ' ') return field_error(this, i, 4);
  if ((r = fixed_name(kCol5, kWidth5, 5, TVA_RES_ERR_MPS_TAB_IN_FIELD5, &out->f5)) != TVA_RES_OK)
    return r;
  for (int64 i = kCol5 + kWidth5; i < kCol6 && i < len_; ++i)
    if (buf_[i] != ' ') return field_error(this, i, 5);
  pos_ = kCol6;
  return fixed_number(kCol6, kWidth6, 5, false, &out->f6, &out->has_f6);
}

} // namespace telva
