// The CBF reader: the header keywords (VER, OBJSENSE, VAR, INT, CON, PSDVAR, PSDCON) are
// collected first and the task is built from them when the first coordinate keyword comes;
// coordinates are gathered and put at the end of the file in one piece each.
#include <algorithm>
#include <cstring>
#include <new>
#include <tuple>

#include "telva/files/cbf/cbffile.h"
#include "telva/log/report.h"
#include "telva/log/taskprint.h"

namespace telva {

namespace {

enum Domain : int32 { kLpos = 0, kLneg = 1, kLzero = 2, kFree = 3, kQuad = 4, kRquad = 5 };

struct DomainWord {
  const char* word;
  int32 domain;
};
constexpr DomainWord kDomains[] = {{"L+", kLpos}, {"L-", kLneg}, {"L=", kLzero},
                                   {"F", kFree},  {"Q", kQuad},  {"QR", kRquad}};
// Cones of the later versions of the format that the task cannot hold.
constexpr const char* kUnsupportedDomains[] = {"EXP", "EXP*", "SVECPSD"};
constexpr const char* kUnsupportedKeywords[] = {"POWCONE", "POW*CONE"};

struct Block {
  int32 domain, size;
};

// A coordinate of a semidefinite term: item i (row, PSDCON or 0 for the objective), index j
// (bar variable or scalar variable), position (k, l) with k >= l, value.
struct SymEntry {
  int32 i, j, k, l;
  double v;
};

class Reader {
public:
  Reader(TvaTask* task, const TextSource& src, const CbfReadOptions& opt)
      : task_(task), sys_(task->sys), opt_(opt), in_(task->sys, src),
        line_(SysAllocator<char>(sys_)), words_(SysAllocator<std::pair<size_t, size_t>>(sys_)),
        varblocks_(SysAllocator<Block>(sys_)), conblocks_(SysAllocator<Block>(sys_)),
        psdvar_(SysAllocator<int32>(sys_)), psdcon_(SysAllocator<int32>(sys_)),
        ints_(SysAllocator<std::pair<int32, int64>>(sys_)), con_bk_(SysAllocator<int32>(sys_)),
        con_bl_(SysAllocator<double>(sys_)), con_bu_(SysAllocator<double>(sys_)),
        con_domain_(SysAllocator<int32>(sys_)), psdcon_row_(SysAllocator<int32>(sys_)),
        c_sub_(SysAllocator<int32>(sys_)), c_val_(SysAllocator<double>(sys_)),
        seen_(SysAllocator<char>(sys_)), a_(SysAllocator<std::tuple<int32, int32, double>>(sys_)),
        h_(SysAllocator<SymEntry>(sys_)), d_(SysAllocator<SymEntry>(sys_)),
        f_(SysAllocator<SymEntry>(sys_)), objf_(SysAllocator<SymEntry>(sys_)) {}

  TVArescode run();

private:
  // Errors at the current line; the place is echoed on the log stream first.
  void echo() {
    task_printf(task_, TVA_STREAM_LOG, "Error (line=%lld,pos=%d):\n",
                static_cast<long long>(lineno_), static_cast<int>(pos_));
    if (lineno_ > 0)
      task_printf(task_, TVA_STREAM_LOG, "%s\n", line_.c_str());
    else
      task_printf(task_, TVA_STREAM_LOG, "Source line is not available.\n");
  }
  TVArescode parse_error() {
    echo();
    return TVA_REP(task_, ERR_CBF_PARSE, lineno_);
  }
  TVArescode space() { return TVA_REP(task_, ERR_SPACE); }

  // The next line that is neither empty nor a comment, cut into words; false at the end.
  bool next_line();
  // The next line as data: kSysOk, or an error reported (the end of the file included).
  TVArescode data_line(size_t nwords);
  const char* word(size_t t) const { return line_.data() + words_[t].first; }
  size_t wordlen(size_t t) const { return words_[t].second; }
  bool word_is(size_t t, const char* w) const {
    return wordlen(t) == std::strlen(w) && std::memcmp(word(t), w, wordlen(t)) == 0;
  }
  TVArescode int_word(size_t t, int64 lo, int64 hi, int64* v);
  TVArescode double_word(size_t t, double* v);
  TVArescode index_word(size_t t, int64 count, int32* v) {
    int64 x = 0;
    TVArescode r = int_word(t, 0, count - 1, &x);
    *v = static_cast<int32>(x);
    return r;
  }

  TVArescode keyword();
  TVArescode read_objsense();
  TVArescode read_blocks(bool var);
  TVArescode read_psd(SysVector<int32>* dims);
  TVArescode read_int();
  TVArescode read_pairs(bool objective);
  TVArescode read_acoord();
  TVArescode read_objbcoord();
  TVArescode read_sym(SysVector<SymEntry>* out, int32 nidx, bool objective, bool hcoord);
  TVArescode count_line(int64* n);

  TVArescode build();
  TVArescode build_vars();
  TVArescode build_cons();
  TVArescode build_psdcon_rows();
  TVArescode finish();
  TVArescode put_a();
  TVArescode put_bar(SysVector<SymEntry>& e, bool isbara);

  int64 psd_positions(int32 n) const { return static_cast<int64>(n) * (n + 1) / 2; }

  TvaTask* task_;
  sysenv* sys_;
  const CbfReadOptions& opt_;
  TextIn in_;
  SysString line_;
  SysVector<std::pair<size_t, size_t>> words_;
  int64 lineno_ = 0;
  int32 pos_ = 0;

  bool have_sense_ = false, have_var_ = false, have_con_ = false, have_int_ = false;
  bool have_psdvar_ = false, have_psdcon_ = false, built_ = false;
  int32 sense_ = TVA_OBJECTIVE_SENSE_MINIMIZE;
  int32 numvar_ = 0, numcon_ = 0; // as the file declares them
  SysVector<Block> varblocks_, conblocks_;
  SysVector<int32> psdvar_, psdcon_;        // orders
  SysVector<std::pair<int32, int64>> ints_; // index and its line

  // Rows of the task: the CON rows, then the rows of the PSDCONs.
  SysVector<int32> con_bk_;
  SysVector<double> con_bl_, con_bu_;
  SysVector<int32> con_domain_;
  SysVector<int32> psdcon_row_; // first row of each PSDCON
  int32 numrow_ = 0;

  SysVector<int32> c_sub_;
  SysVector<double> c_val_;
  SysVector<char> seen_; // duplicate marks of OBJACOORD and BCOORD
  double cfix_ = 0.0;
  bool have_cfix_ = false;
  SysVector<std::tuple<int32, int32, double>> a_; // (column, row, value)
  SysVector<SymEntry> h_, d_, f_, objf_;
};

bool Reader::next_line() {
  for (;;) {
    if (!in_.readline(&line_)) return false;
    ++lineno_;
    while (!line_.empty() && (line_.back() == ' ' || line_.back() == '\t' || line_.back() == '\r'))
      line_.pop_back();
    if (line_.empty() || line_[0] == '#') continue;
    words_.clear();
    size_t i = 0, n = line_.size();
    while (i < n) {
      while (i < n && (line_[i] == ' ' || line_[i] == '\t'))
        ++i;
      size_t b = i;
      while (i < n && line_[i] != ' ' && line_[i] != '\t')
        ++i;
      if (i > b) words_.emplace_back(b, i - b);
    }
    pos_ = 0;
    return true;
  }
}

TVArescode Reader::data_line(size_t nwords) {
  if (!next_line()) {
    if (in_.failed()) return TVA_REP(task_, ERR_FILE_READ, "");
    return TVA_REP(task_, ERR_END_OF_FILE);
  }
  if (words_.size() != nwords) {
    pos_ = static_cast<int32>(words_.size() > nwords ? words_[nwords].first : line_.size());
    return parse_error();
  }
  return TVA_RES_OK;
}

TVArescode Reader::int_word(size_t t, int64 lo, int64 hi, int64* v) {
  pos_ = static_cast<int32>(words_[t].first);
  if (!text_parse_int64(word(t), wordlen(t), v) || *v < lo || *v > hi) return parse_error();
  return TVA_RES_OK;
}

TVArescode Reader::double_word(size_t t, double* v) {
  pos_ = static_cast<int32>(words_[t].first);
  if (!text_parse_double(word(t), wordlen(t), v)) return parse_error();
  return TVA_RES_OK;
}

TVArescode Reader::count_line(int64* n) {
  TVArescode r = data_line(1);
  if (r == TVA_RES_OK) r = int_word(0, 0, INT32_MAX, n);
  return r;
}

TVArescode Reader::read_objsense() {
  if (have_sense_) {
    echo();
    return TVA_REP(task_, ERR_CBF_DUPLICATE_OBJ, lineno_);
  }
  have_sense_ = true;
  TVArescode r = data_line(1);
  if (r != TVA_RES_OK) return r;
  if (word_is(0, "MIN")) {
    sense_ = TVA_OBJECTIVE_SENSE_MINIMIZE;
  } else if (word_is(0, "MAX")) {
    sense_ = TVA_OBJECTIVE_SENSE_MAXIMIZE;
  } else {
    echo();
    return TVA_REP(task_, ERR_CBF_OBJ_SENSE, lineno_);
  }
  // After the coordinates began the task stands already.
  return built_ ? store_putobjsense(task_, sense_) : TVA_RES_OK;
}

// VAR or CON: "n k", then k lines "domain size" whose sizes add up to n.
TVArescode Reader::read_blocks(bool var) {
  if (var ? have_var_ : have_con_) {
    echo();
    return var ? TVA_REP(task_, ERR_CBF_DUPLICATE_VAR, lineno_)
               : TVA_REP(task_, ERR_CBF_DUPLICATE_CON, lineno_);
  }
  if (!var && !have_var_) {
    echo();
    return TVA_REP(task_, ERR_CBF_NO_VARIABLES, lineno_);
  }
  (var ? have_var_ : have_con_) = true;
  TVArescode r = data_line(2);
  int64 n = 0, k = 0;
  if (r == TVA_RES_OK) r = int_word(0, 0, opt_.max_count, &n);
  if (r == TVA_RES_OK) r = int_word(1, 0, n, &k);
  if (r != TVA_RES_OK) return r;
  SysVector<Block>& blocks = var ? varblocks_ : conblocks_;
  int64 total = 0;
  for (int64 b = 0; b < k; ++b) {
    if ((r = data_line(2)) != TVA_RES_OK) return r;
    int32 domain = -1;
    for (const DomainWord& d : kDomains)
      if (word_is(0, d.word)) domain = d.domain;
    if (domain < 0) {
      bool known = false;
      for (const char* w : kUnsupportedDomains)
        known = known || word_is(0, w);
      known = known || (wordlen(0) > 0 && word(0)[0] == '@');
      echo();
      if (known) return TVA_REP(task_, ERR_CBF_UNSUPPORTED, lineno_);
      return var ? TVA_REP(task_, ERR_CBF_INVALID_VAR_TYPE, lineno_)
                 : TVA_REP(task_, ERR_CBF_INVALID_CON_TYPE, lineno_);
    }
    int64 size = 0;
    pos_ = static_cast<int32>(words_[1].first);
    if (!text_parse_int64(word(1), wordlen(1), &size)) return parse_error();
    if (size < (domain == kRquad ? 2 : 1)) {
      echo();
      return TVA_REP(task_, ERR_CBF_INVALID_DOMAIN_DIMENSION, lineno_);
    }
    if (size > n - total) {
      echo();
      return var ? TVA_REP(task_, ERR_CBF_TOO_MANY_VARIABLES, lineno_)
                 : TVA_REP(task_, ERR_CBF_TOO_MANY_CONSTRAINTS, lineno_);
    }
    total += size;
    blocks.push_back({domain, static_cast<int32>(size)});
  }
  if (total < n) {
    int32 want = static_cast<int32>(n), got = static_cast<int32>(total);
    return var ? TVA_REP(task_, ERR_CBF_TOO_FEW_VARIABLES, want, got)
               : TVA_REP(task_, ERR_CBF_TOO_FEW_CONSTRAINTS, want, got);
  }
  (var ? numvar_ : numcon_) = static_cast<int32>(n);
  return TVA_RES_OK;
}

// PSDVAR or PSDCON: a count, then the order of each block.
TVArescode Reader::read_psd(SysVector<int32>* dims) {
  bool& have = dims == &psdvar_ ? have_psdvar_ : have_psdcon_;
  if (have) return parse_error();
  have = true;
  int64 n = 0;
  TVArescode r = count_line(&n);
  if (r == TVA_RES_OK && n > opt_.max_count) {
    echo();
    return TVA_REP(task_, ERR_CBF_TOO_MANY_VARIABLES, lineno_);
  }
  for (int64 t = 0; t < n && r == TVA_RES_OK; ++t) {
    int64 dim = 0;
    if ((r = data_line(1)) != TVA_RES_OK) break;
    pos_ = 0;
    if (!text_parse_int64(word(0), wordlen(0), &dim)) return parse_error();
    if (dim < 1 || dim > opt_.max_count || psd_positions(static_cast<int32>(dim)) > INT32_MAX) {
      echo();
      return TVA_REP(task_, ERR_CBF_INVALID_DOMAIN_DIMENSION, lineno_);
    }
    dims->push_back(static_cast<int32>(dim));
  }
  return r;
}

TVArescode Reader::read_int() {
  if (have_int_) {
    echo();
    return TVA_REP(task_, ERR_CBF_DUPLICATE_INT, lineno_);
  }
  have_int_ = true;
  int64 n = 0;
  TVArescode r = count_line(&n);
  if (r != TVA_RES_OK) return r;
  for (int64 t = 0; t < n; ++t) {
    if (!next_line()) {
      if (in_.failed()) return TVA_REP(task_, ERR_FILE_READ, "");
      return TVA_REP(task_, ERR_CBF_TOO_FEW_INTS, static_cast<int32>(n), static_cast<int32>(t));
    }
    int64 j = 0;
    if (words_.size() != 1 || !text_parse_int64(word(0), wordlen(0), &j)) {
      // A keyword where an index should stand: the list was shorter than its count.
      if (words_.size() == 1 && text_is_alpha(word(0)[0]))
        return TVA_REP(task_, ERR_CBF_TOO_FEW_INTS, static_cast<int32>(n), static_cast<int32>(t));
      return parse_error();
    }
    if (j < 0 || j > INT32_MAX) {
      echo();
      return TVA_REP(task_, ERR_CBF_INVALID_INT_INDEX, lineno_,
                     static_cast<int32>(j < 0 ? -1 : INT32_MAX));
    }
    ints_.emplace_back(static_cast<int32>(j), lineno_);
  }
  return TVA_RES_OK;
}

// OBJACOORD (objective) or BCOORD: "n", then n lines "index value".
TVArescode Reader::read_pairs(bool objective) {
  int64 n = 0;
  TVArescode r = count_line(&n);
  int32 count = objective ? numvar_ : numcon_;
  seen_.assign(static_cast<size_t>(count), 0);
  for (int64 t = 0; t < n && r == TVA_RES_OK; ++t) {
    int32 i = 0;
    double v = 0.0;
    if ((r = data_line(2)) == TVA_RES_OK && (r = index_word(0, count, &i)) == TVA_RES_OK)
      r = double_word(1, &v);
    if (r != TVA_RES_OK) break;
    if (seen_[i]) {
      return objective ? TVA_REP(task_, ERR_CBF_DUPLICATE_OBJACOORD, i)
                       : TVA_REP(task_, ERR_CBF_DUPLICATE_BCOORD, i);
    }
    seen_[i] = 1;
    if (objective) {
      c_sub_.push_back(i);
      c_val_.push_back(v);
      continue;
    }
    // The row reads "a x + b" in its domain: its bounds move by -b.
    switch (con_domain_[i]) {
    case kLpos:
      con_bl_[i] -= v;
      break;
    case kLneg:
      con_bu_[i] -= v;
      break;
    case kLzero:
    case kQuad:
    case kRquad:
      con_bl_[i] -= v;
      con_bu_[i] -= v;
      break;
    default:
      break; // a free row stays free
    }
  }
  return r;
}

TVArescode Reader::read_acoord() {
  int64 n = 0;
  TVArescode r = count_line(&n);
  for (int64 t = 0; t < n && r == TVA_RES_OK; ++t) {
    int32 i = 0, j = 0;
    double v = 0.0;
    if ((r = data_line(3)) == TVA_RES_OK && (r = index_word(0, numcon_, &i)) == TVA_RES_OK &&
        (r = index_word(1, numvar_, &j)) == TVA_RES_OK && (r = double_word(2, &v)) == TVA_RES_OK)
      a_.emplace_back(j, i, v);
  }
  return r;
}

TVArescode Reader::read_objbcoord() {
  if (have_cfix_) return parse_error();
  have_cfix_ = true;
  TVArescode r = data_line(1);
  if (r == TVA_RES_OK) r = double_word(0, &cfix_);
  return r;
}

// OBJFCOORD "j k l v", FCOORD "i j k l v", HCOORD "i j k l v", DCOORD "i k l v".
TVArescode Reader::read_sym(SysVector<SymEntry>* out, int32 nidx, bool objective, bool hcoord) {
  int64 n = 0;
  TVArescode r = count_line(&n);
  bool dcoord = out == &d_;
  size_t words = objective || dcoord ? 4 : 5;
  for (int64 t = 0; t < n && r == TVA_RES_OK; ++t) {
    if ((r = data_line(words)) != TVA_RES_OK) break;
    SymEntry e{0, 0, 0, 0, 0.0};
    size_t w = 0;
    if (!objective && (r = index_word(w++, nidx, &e.i)) != TVA_RES_OK) break;
    if (!dcoord) {
      int32 count = hcoord ? numvar_ : static_cast<int32>(psdvar_.size());
      if ((r = index_word(w++, count, &e.j)) != TVA_RES_OK) break;
    }
    // The order of the block the position lies in.
    int32 dim = hcoord || dcoord ? psdcon_[e.i] : psdvar_[e.j];
    if ((r = index_word(w++, dim, &e.k)) != TVA_RES_OK ||
        (r = index_word(w++, dim, &e.l)) != TVA_RES_OK || (r = double_word(w, &e.v)) != TVA_RES_OK)
      break;
    if (e.k < e.l) std::swap(e.k, e.l); // the symmetric position in the lower triangle
    out->push_back(e);
  }
  return r;
}

TVArescode Reader::keyword() {
  pos_ = 0;
  if (words_.size() != 1) return parse_error();
  if (word_is(0, "OBJSENSE")) return read_objsense();
  if (word_is(0, "VAR")) return built_ ? parse_error() : read_blocks(true);
  if (word_is(0, "CON")) return built_ ? parse_error() : read_blocks(false);
  if (word_is(0, "PSDVAR")) return built_ ? parse_error() : read_psd(&psdvar_);
  if (word_is(0, "PSDCON")) return built_ ? parse_error() : read_psd(&psdcon_);
  if (word_is(0, "INT")) return built_ ? parse_error() : read_int();
  for (const char* w : kUnsupportedKeywords)
    if (word_is(0, w)) {
      echo();
      return TVA_REP(task_, ERR_CBF_UNSUPPORTED, lineno_);
    }
  static const char* const coords[] = {"OBJACOORD", "OBJBCOORD", "OBJFCOORD", "ACOORD",
                                       "BCOORD",    "FCOORD",    "HCOORD",    "DCOORD"};
  int which = -1;
  for (int t = 0; t < 8; ++t)
    if (word_is(0, coords[t])) which = t;
  if (which < 0) {
    echo();
    return TVA_REP(task_, ERR_CBF_SYNTAX, lineno_);
  }
  TVArescode r = build();
  if (r != TVA_RES_OK) return r;
  switch (which) {
  case 0:
    return read_pairs(true);
  case 1:
    return read_objbcoord();
  case 2:
    return read_sym(&objf_, 1, true, false);
  case 3:
    return read_acoord();
  case 4:
    return read_pairs(false);
  case 5:
    return read_sym(&f_, numcon_, false, false);
  case 6:
    return read_sym(&h_, static_cast<int32>(psdcon_.size()), false, true);
  default:
    return read_sym(&d_, static_cast<int32>(psdcon_.size()), false, false);
  }
}

TVArescode Reader::run() {
  if (!next_line() || !word_is(0, "VER") || words_.size() != 1) {
    if (in_.failed()) return TVA_REP(task_, ERR_FILE_READ, "");
    return TVA_REP(task_, ERR_CBF_NO_VERSION_SPECIFIED);
  }
  int64 version = 0;
  TVArescode r = data_line(1);
  if (r == TVA_RES_OK) r = int_word(0, 0, INT32_MAX, &version);
  if (r != TVA_RES_OK) return r;
  if (version < 1 || version > 3) {
    echo();
    return TVA_REP(task_, ERR_CBF_UNSUPPORTED, lineno_);
  }
  while (r == TVA_RES_OK && next_line()) {
    if (word_is(0, "CHANGE")) break; // what follows changes the problem: not read
    r = keyword();
  }
  if (r == TVA_RES_OK && in_.failed()) r = TVA_REP(task_, ERR_FILE_READ, "");
  if (r == TVA_RES_OK) r = build();
  if (r == TVA_RES_OK) r = finish();
  return r;
}

// ---- Building the task from the header ----

TVArescode Reader::build_vars() {
  TVArescode r = store_appendvars(task_, numvar_);
  SysVector<int32> bk(static_cast<size_t>(numvar_), TVA_BK_FR, SysAllocator<int32>(sys_));
  SysVector<double> bl(static_cast<size_t>(numvar_), -kInfinity, SysAllocator<double>(sys_));
  SysVector<double> bu(static_cast<size_t>(numvar_), kInfinity, SysAllocator<double>(sys_));
  int32 j = 0;
  for (const Block& b : varblocks_) {
    for (int32 t = j; t < j + b.size; ++t)
      switch (b.domain) {
      case kLpos:
        bk[t] = TVA_BK_LO, bl[t] = 0.0;
        break;
      case kLneg:
        bk[t] = TVA_BK_UP, bu[t] = 0.0;
        break;
      case kLzero:
        bk[t] = TVA_BK_FX, bl[t] = bu[t] = 0.0;
        break;
      default:
        break;
      }
    j += b.size;
  }
  if (r == TVA_RES_OK && numvar_ > 0)
    r = store_putboundlist(task_, TVA_ACC_VAR, numvar_, nullptr, 0, bk.data(), bl.data(),
                           bu.data());
  j = 0;
  for (const Block& b : varblocks_) {
    if (r == TVA_RES_OK && (b.domain == kQuad || b.domain == kRquad))
      r = store_appendconeseq(task_, b.domain == kQuad ? TVA_CT_QUAD : TVA_CT_RQUAD, 0.0, b.size,
                              j);
    j += b.size;
  }
  return r;
}

TVArescode Reader::build_cons() {
  int64 rows = numcon_;
  for (int32 dim : psdcon_)
    rows += psd_positions(dim);
  if (rows > INT32_MAX || rows > opt_.max_count) {
    echo();
    return TVA_REP(task_, ERR_CBF_TOO_MANY_CONSTRAINTS, lineno_);
  }
  numrow_ = static_cast<int32>(rows);
  con_bk_.assign(static_cast<size_t>(numrow_), TVA_BK_FX);
  con_bl_.assign(static_cast<size_t>(numrow_), 0.0);
  con_bu_.assign(static_cast<size_t>(numrow_), 0.0);
  con_domain_.assign(static_cast<size_t>(numcon_), kLzero);
  int32 i = 0;
  int32 numslack = 0;
  for (const Block& b : conblocks_) {
    for (int32 t = i; t < i + b.size; ++t) {
      con_domain_[t] = b.domain;
      switch (b.domain) {
      case kLpos:
        con_bk_[t] = TVA_BK_LO, con_bu_[t] = kInfinity;
        break;
      case kLneg:
        con_bk_[t] = TVA_BK_UP, con_bl_[t] = -kInfinity;
        break;
      case kFree:
        con_bk_[t] = TVA_BK_FR, con_bl_[t] = -kInfinity, con_bu_[t] = kInfinity;
        break;
      default:
        break; // fixed at 0: L=, and the rows of a cone block
      }
    }
    if (b.domain == kQuad || b.domain == kRquad) numslack += b.size;
    i += b.size;
  }
  TVArescode r = store_appendcons(task_, numrow_);
  // A cone block of rows: each row "a x + b - s = 0" with a new free variable s, and the cone
  // over the new variables.
  int32 first_slack = task_->numvar;
  if (r == TVA_RES_OK && numslack > 0) r = store_appendvars(task_, numslack);
  if (r == TVA_RES_OK && numslack > 0) {
    SysVector<int32> bk(static_cast<size_t>(numslack), TVA_BK_FR, SysAllocator<int32>(sys_));
    SysVector<double> bl(static_cast<size_t>(numslack), -kInfinity, SysAllocator<double>(sys_));
    SysVector<double> bu(static_cast<size_t>(numslack), kInfinity, SysAllocator<double>(sys_));
    r = store_putboundlist(task_, TVA_ACC_VAR, numslack, nullptr, first_slack, bk.data(), bl.data(),
                           bu.data());
  }
  i = 0;
  int32 s = first_slack;
  for (const Block& b : conblocks_) {
    if (r == TVA_RES_OK && (b.domain == kQuad || b.domain == kRquad)) {
      for (int32 t = 0; t < b.size; ++t)
        a_.emplace_back(s + t, i + t, -1.0);
      r = store_appendconeseq(task_, b.domain == kQuad ? TVA_CT_QUAD : TVA_CT_RQUAD, 0.0, b.size,
                              s);
      s += b.size;
    }
    i += b.size;
  }
  return r;
}

// The rows of each PSDCON tie its bar variable S to the scalar part:
// sum_j H_j[k,l] x_j - <E_kl, S> = -D[k,l]. One matrix E_kl per order and position is stored
// and shared by all blocks of that order.
TVArescode Reader::build_psdcon_rows() {
  int32 first_bar = task_->numbarvar - static_cast<int32>(psdcon_.size());
  int32 row = numcon_;
  SysVector<std::pair<int32, int64>> unit_base{SysAllocator<std::pair<int32, int64>>(sys_)};
  TVArescode r = TVA_RES_OK;
  for (size_t c = 0; c < psdcon_.size() && r == TVA_RES_OK; ++c) {
    int32 dim = psdcon_[c];
    psdcon_row_.push_back(row);
    int64 base = -1;
    for (const auto& [d, b] : unit_base)
      if (d == dim) base = b;
    if (base < 0) {
      for (int32 k = 0; k < dim && r == TVA_RES_OK; ++k)
        for (int32 l = 0; l <= k && r == TVA_RES_OK; ++l) {
          double v = k == l ? 1.0 : 0.5;
          int64 idx = 0;
          r = store_appendsparsesymmat(task_, dim, 1, &k, &l, &v, &idx);
          if (base < 0) base = idx;
        }
      unit_base.emplace_back(dim, base);
    }
    const double minus_one = -1.0;
    for (int64 p = 0; p < psd_positions(dim) && r == TVA_RES_OK; ++p) {
      int64 idx = base + p;
      r = store_putbaraij(task_, row + static_cast<int32>(p), first_bar + static_cast<int32>(c), 1,
                          &idx, &minus_one);
    }
    row += static_cast<int32>(psd_positions(dim));
  }
  return r;
}

TVArescode Reader::build() {
  if (built_) return TVA_RES_OK;
  built_ = true;
  TVArescode r = store_putobjsense(task_, sense_);
  if (r == TVA_RES_OK) r = build_vars();
  SysVector<int32> dims(psdvar_, SysAllocator<int32>(sys_));
  dims.insert(dims.end(), psdcon_.begin(), psdcon_.end());
  if (r == TVA_RES_OK && !dims.empty())
    r = store_appendbarvars(task_, static_cast<int32>(dims.size()), dims.data());
  if (r == TVA_RES_OK) r = build_cons();
  if (r == TVA_RES_OK) r = build_psdcon_rows();
  for (const auto& [j, line] : ints_) {
    if (r != TVA_RES_OK) break;
    if (j >= numvar_) {
      lineno_ = line;
      return TVA_REP(task_, ERR_CBF_INVALID_INT_INDEX, line, j);
    }
    r = store_putvartype(task_, j, TVA_VAR_TYPE_INT);
  }
  return r;
}

// ---- Putting the coordinates ----

TVArescode Reader::put_a() {
  // HCOORD entries are rows of their PSDCON.
  for (const SymEntry& e : h_) {
    int32 row = psdcon_row_[e.i] + e.k * (e.k + 1) / 2 + e.l;
    a_.emplace_back(e.j, row, e.v);
  }
  std::sort(a_.begin(), a_.end(), [](const auto& x, const auto& y) {
    return std::get<0>(x) != std::get<0>(y) ? std::get<0>(x) < std::get<0>(y)
                                            : std::get<1>(x) < std::get<1>(y);
  });
  int32 n = task_->numvar;
  SysVector<int64> ptr(static_cast<size_t>(n) + 1, 0, SysAllocator<int64>(sys_));
  SysVector<int32> sub{SysAllocator<int32>(sys_)};
  SysVector<double> val{SysAllocator<double>(sys_)};
  sub.reserve(a_.size());
  val.reserve(a_.size());
  for (size_t t = 0; t < a_.size(); ++t) {
    auto [j, i, v] = a_[t];
    if (t > 0 && std::get<0>(a_[t - 1]) == j && std::get<1>(a_[t - 1]) == i) {
      if (i < numcon_) return TVA_REP(task_, ERR_CBF_DUPLICATE_ACOORD, i, j);
      return parse_error(); // the same position twice in HCOORD
    }
    ++ptr[j + 1];
    sub.push_back(i);
    val.push_back(v);
  }
  for (int32 j = 0; j < n; ++j)
    ptr[j + 1] += ptr[j];
  if (n == 0 || sub.empty()) return TVA_RES_OK;
  return store_putavecs(task_, true, n, nullptr, 0, ptr.data(), ptr.data() + 1, sub.data(),
                        val.data());
}

TVArescode Reader::put_bar(SysVector<SymEntry>& e, bool isbara) {
  if (e.empty()) return TVA_RES_OK;
  int64 n = static_cast<int64>(e.size());
  SysVector<int32> si{SysAllocator<int32>(sys_)}, sj{SysAllocator<int32>(sys_)},
      sk{SysAllocator<int32>(sys_)}, sl{SysAllocator<int32>(sys_)};
  SysVector<double> v{SysAllocator<double>(sys_)};
  for (const SymEntry& x : e) {
    si.push_back(x.i);
    sj.push_back(x.j);
    sk.push_back(x.k);
    sl.push_back(x.l);
    v.push_back(x.v);
  }
  return store_putbarblocktriplet(task_, isbara, n, si.data(), sj.data(), sk.data(), sl.data(),
                                  v.data());
}

TVArescode Reader::finish() {
  // D moves the right side of its PSDCON's rows.
  SysVector<char> dseen{SysAllocator<char>(sys_)};
  for (const SymEntry& e : d_) {
    int32 row = psdcon_row_[e.i] + e.k * (e.k + 1) / 2 + e.l;
    if (dseen.empty()) dseen.assign(static_cast<size_t>(numrow_), 0);
    if (dseen[row]) return parse_error();
    dseen[row] = 1;
    con_bl_[row] -= e.v;
    con_bu_[row] -= e.v;
  }
  TVArescode r = TVA_RES_OK;
  if (numrow_ > 0)
    r = store_putboundlist(task_, TVA_ACC_CON, numrow_, nullptr, 0, con_bk_.data(), con_bl_.data(),
                           con_bu_.data());
  if (r == TVA_RES_OK && !c_sub_.empty())
    r = store_putclist(task_, static_cast<int32>(c_sub_.size()), c_sub_.data(), 0, c_val_.data());
  if (r == TVA_RES_OK) store_putcfix(task_, cfix_);
  if (r == TVA_RES_OK) r = put_a();
  if (r == TVA_RES_OK) r = put_bar(objf_, false);
  if (r == TVA_RES_OK) r = put_bar(f_, true);
  return r;
}

} // namespace

TVArescode cbf_read(TvaTask* task, const TextSource& src, const CbfReadOptions& opt) {
  try {
    Reader reader(task, src, opt);
    return reader.run();
  } catch (const std::bad_alloc&) {
    return TVA_REP(task, ERR_SPACE);
  }
}

} // namespace telva
