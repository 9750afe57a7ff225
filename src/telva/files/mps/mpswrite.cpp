// The MPS writer. Lines are built in one buffer that goes to the sink when it is large; names
// are padded to at least 8 characters and never cut.
#include "telva/files/mps/mpswrite.h"

#include <cstdarg>
#include <cstdio>
#include <cmath>
#include <cstring>
#include <new>

#include "telva/files/mps/mpsnumber.h"

namespace telva {

namespace {

int file_write(void* handle, const char* data, int64 n) {
  return sysfile_write(static_cast<sysfile*>(handle), data, n);
}

int text_write(void* handle, const char* data, int64 n) {
  try {
    static_cast<SysString*>(handle)->append(data, static_cast<size_t>(n));
  } catch (const std::bad_alloc&) {
    return kSysSpace;
  }
  return kSysOk;
}

// A name can stand in an MPS file when it is not empty and holds only printing characters
// (bytes of multi-byte characters count as printing) and no blank.
bool name_ok(const char* s) {
  if (!*s) return false;
  for (; *s; ++s) {
    unsigned char ch = static_cast<unsigned char>(*s);
    if (ch <= 32 || ch == 127) return false;
  }
  return true;
}

class Writer {
public:
  Writer(sysenv* sys, const MpsModel& m, const MpsWriteOptions& opt, const MpsSink& sink)
      : m_(m), opt_(opt), sink_(sink), buf_(SysAllocator<char>(sys)),
        ranges_(SysAllocator<double>(sys)), upper_form_(SysAllocator<char>(sys)) {
    buf_.reserve(1 << 16);
  }

  TVArescode run(bool* generic_used);

private:
  TVArescode choose_names();
  TVArescode warn(TVArescode code, int64 i, int64 j, const char* name);
  // Appends formatted text; sends the buffer on when it is large.
  void put(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
  void flush();
  const char* num(double v) {
    numslot_ = (numslot_ + 1) % 4;
    mps_format_number(v, opt_.precision, nums_[numslot_]);
    return nums_[numslot_];
  }
  // Names, generic or as stored. Each class has its own ring of generic names, so a result
  // stays valid until the fourth call for the same class after it.
  const char* con(int32 i) { return generic_ ? gen(0, 'C', i) : m_.con_names.get(i); }
  const char* var(int32 j) { return generic_ ? gen(1, 'X', j) : m_.var_names.get(j); }
  const char* cone(int32 k) { return generic_ ? gen(2, 'K', k) : m_.cone_names.get(k); }
  const char* obj() { return generic_ ? "OBJ" : m_.obj_name.c_str(); }
  const char* gen(int cls, char prefix, int32 i) {
    int& slot = genslot_[cls];
    slot = (slot + 1) % 4;
    std::snprintf(gens_[cls][slot], sizeof gens_[0][0], "%c%d", prefix, i + 1);
    return gens_[cls][slot];
  }
  // Whether the text of v reads back as v.
  bool exact(double v) {
    const char* text = num(v);
    double back = 0.0;
    size_t used = 0;
    return mps_parse_number(text, std::strlen(text), &back, &used) && back == v;
  }
  // The range of a ranged row. Written as a G row, the reader adds the range to the lower
  // bound; as an L row, it takes the range from the upper bound. upper - lower is rounded, and
  // so is its decimal text: both forms and a few neighbours of the range are tried, so that the
  // bounds read back are the bounds written wherever that is possible. *upper_form tells
  // whether the row goes out as L.
  double range_of(double bl, double bu, bool* upper_form) {
    double r0 = bu - bl;
    for (int form = 0; form < 2; ++form) {
      if (!exact(form == 0 ? bl : bu)) continue;
      for (int k = 0; k <= 16; ++k) {
        // r0, then one step up, one down, two up, two down, ...
        double c = r0;
        for (int s = 0; s < (k + 1) / 2; ++s)
          c = std::nextafter(c, k % 2 ? HUGE_VAL : -HUGE_VAL);
        const char* text = num(c);
        double back = 0.0;
        size_t used = 0;
        if (!mps_parse_number(text, std::strlen(text), &back, &used)) continue;
        if (form == 0 ? bl + std::fabs(back) == bu : bu - std::fabs(back) == bl) {
          *upper_form = form == 1;
          return c;
        }
      }
    }
    *upper_form = false;
    return r0;
  }
  void choose_range_forms() {
    ranges_.assign(static_cast<size_t>(m_.numcon()), 0.0);
    upper_form_.assign(static_cast<size_t>(m_.numcon()), 0);
    for (int32 i = 0; i < m_.numcon(); ++i)
      if (m_.con_bk[i] == TVA_BK_RA) {
        bool up = false;
        ranges_[i] = range_of(m_.con_bl[i], m_.con_bu[i], &up);
        upper_form_[i] = up;
      }
  }
  bool written(int32 i) const { return opt_.write_free_con || m_.con_bk[i] != TVA_BK_FR; }

  void write_rows();
  void write_columns();
  void write_rhs_ranges();
  void write_bounds();
  void write_quadratic();
  void write_cones();

  const MpsModel& m_;
  const MpsWriteOptions& opt_;
  MpsSink sink_;
  SysString buf_;
  SysVector<double> ranges_;   // the range written for each ranged row
  SysVector<char> upper_form_; // ranged rows written as L rows
  bool generic_ = false;
  bool failed_ = false;
  char nums_[4][40] = {};
  int numslot_ = 0;
  char gens_[3][4][24] = {};
  int genslot_[3] = {};
};

void Writer::flush() {
  if (!failed_ && !buf_.empty() &&
      sink_.write(sink_.handle, buf_.data(), static_cast<int64>(buf_.size())) != kSysOk)
    failed_ = true;
  buf_.clear();
}

void Writer::put(const char* fmt, ...) {
  char small[512];
  va_list ap;
  va_start(ap, fmt);
  int n = std::vsnprintf(small, sizeof small, fmt, ap);
  va_end(ap);
  if (n < 0) return;
  if (static_cast<size_t>(n) < sizeof small) {
    buf_.append(small, static_cast<size_t>(n));
  } else {
    size_t at = buf_.size();
    buf_.resize(at + static_cast<size_t>(n) + 1);
    va_start(ap, fmt);
    std::vsnprintf(&buf_[at], static_cast<size_t>(n) + 1, fmt, ap);
    va_end(ap);
    buf_.resize(at + static_cast<size_t>(n));
  }
  if (buf_.size() >= (1 << 16)) flush();
}

TVArescode Writer::warn(TVArescode code, int64 i, int64 j, const char* name) {
  if (!opt_.warn) return TVA_RES_OK;
  MpsError w;
  w.code = code;
  if (name) {
    w.nargs = 3;
    w.args[0].i = i;
    w.args[1].i = j;
    std::snprintf(w.args[2].s, sizeof w.args[2].s, "%s", name);
    w.args[2].kind = MpsArg::kText;
  }
  return opt_.warn(opt_.handle, w);
}

// The first duplicate of a class: indices (i < j) of two equal names, or false.
bool first_duplicate(const MpsNames& names, int32* i, int32* j) {
  for (int32 t = 0; t < names.size(); ++t) {
    int32 f = names.find(names.get(t));
    if (f != t) {
      *i = f;
      *j = t;
      return true;
    }
  }
  return false;
}

TVArescode Writer::choose_names() {
  if (opt_.generic_names) {
    generic_ = true;
    return TVA_RES_OK;
  }
  bool ok = name_ok(m_.obj_name.c_str());
  for (int32 i = 0; ok && i < m_.numcon(); ++i)
    ok = name_ok(m_.con_names.get(i));
  for (int32 j = 0; ok && j < m_.numvar(); ++j)
    ok = name_ok(m_.var_names.get(j));
  for (int32 k = 0; ok && k < m_.numcone(); ++k)
    ok = name_ok(m_.cone_names.get(k));
  if (!ok) {
    generic_ = true;
    return TVA_RES_OK;
  }
  bool clash = m_.con_names.find(m_.obj_name.c_str()) >= 0;
  int32 a = 0, b = 0;
  TVArescode r = TVA_RES_OK;
  if (first_duplicate(m_.con_names, &a, &b)) {
    clash = true;
    r = warn(TVA_RES_WRN_DUPLICATE_CONSTRAINT_NAMES, a, b, m_.con_names.get(a));
  } else if (first_duplicate(m_.var_names, &a, &b)) {
    clash = true;
    r = warn(TVA_RES_WRN_DUPLICATE_VARIABLE_NAMES, a, b, m_.var_names.get(a));
  } else if (first_duplicate(m_.cone_names, &a, &b)) {
    clash = true;
    r = warn(TVA_RES_WRN_DUPLICATE_CONE_NAMES, a, b, m_.cone_names.get(a));
  }
  if (r != TVA_RES_OK) return r;
  if (clash) {
    generic_ = true;
    return warn(TVA_RES_WRN_USING_GENERIC_NAMES, 0, 0, nullptr);
  }
  return TVA_RES_OK;
}

void Writer::write_rows() {
  put("ROWS\n");
  put(" N  %-s\n", obj());
  for (int32 i = 0; i < m_.numcon(); ++i) {
    if (!written(i)) continue;
    char kind = 'N';
    switch (m_.con_bk[i]) {
    case TVA_BK_FX:
      kind = 'E';
      break;
    case TVA_BK_LO:
      kind = 'G';
      break;
    case TVA_BK_RA:
      kind = upper_form_[i] ? 'L' : 'G';
      break;
    case TVA_BK_UP:
      kind = 'L';
      break;
    default:
      break;
    }
    put(" %c  %-8s\n", kind, con(i));
  }
}

void Writer::write_columns() {
  put("COLUMNS\n");
  bool open = false;
  int32 marker = 0;
  for (int32 j = 0; j < m_.numvar() && !failed_; ++j) {
    bool integer = opt_.write_int && m_.var_int[j];
    if (integer && !open) {
      put("%4s%-8d  %-8s  %-12s   'INTORG'\n", "", marker++, "'MARKER'", "");
      open = true;
    } else if (!integer && open) {
      put("%4s%-8d  %-8s  %-12s   'INTEND'\n", "", marker++, "'MARKER'", "");
      open = false;
    }
    const char* name = var(j);
    put("    %-8s", name);
    put("  %-8s  %-s\n", obj(), num(m_.c[j]));
    for (int64 t = m_.a_ptr[j]; t < m_.a_ptr[j + 1]; ++t) {
      int32 i = m_.a_sub[t];
      if (!written(i)) continue;
      put("    %-8s  %-8s  %-s\n", name, con(i), num(m_.a_val[t]));
    }
  }
  if (open) put("%4s%-8d  %-8s   %-12s  'INTEND'\n", "", marker, "'MARKER'", "");
}

void Writer::write_rhs_ranges() {
  put("RHS\n");
  if (m_.cfix != 0.0) put("    %-8s  %-8s  %-s\n", "rhs", obj(), num(-m_.cfix));
  for (int32 i = 0; i < m_.numcon(); ++i) {
    if (!written(i)) continue;
    double b = 0.0;
    switch (m_.con_bk[i]) {
    case TVA_BK_RA:
      b = upper_form_[i] ? m_.con_bu[i] : m_.con_bl[i];
      break;
    case TVA_BK_LO:
    case TVA_BK_FX:
      b = m_.con_bl[i];
      break;
    case TVA_BK_UP:
      b = m_.con_bu[i];
      break;
    default:
      continue;
    }
    if (b != 0.0) put("    %-8s  %-8s  %-s\n", "rhs", con(i), num(b));
  }
  put("RANGES\n");
  for (int32 i = 0; i < m_.numcon(); ++i)
    if (written(i) && m_.con_bk[i] == TVA_BK_RA)
      put("    %-8s  %-8s  %-s\n", "ran", con(i), num(ranges_[i]));
}

void Writer::write_bounds() {
  put("BOUNDS\n");
  const char* v = "bound";
  for (int32 j = 0; j < m_.numvar() && !failed_; ++j) {
    int32 bk = m_.var_bk[j];
    double bl = m_.var_bl[j], bu = m_.var_bu[j];
    bool lo = bk == TVA_BK_LO || bk == TVA_BK_RA || bk == TVA_BK_FX;
    bool up = bk == TVA_BK_UP || bk == TVA_BK_RA || bk == TVA_BK_FX;
    const char* name = var(j);
    if (!(opt_.write_int && m_.var_int[j])) {
      if (bk == TVA_BK_FR) {
        put(" FR %-8s  %-8s\n", v, name);
      } else if (bk == TVA_BK_FX) {
        put(" FX %-8s  %-8s", v, name);
        put("  %-s\n", num(bl));
      } else {
        if (lo && bl != 0.0) put(" LO %-8s  %-8s  %-s\n", v, name, num(bl));
        if (!lo) put(" MI %-8s  %-8s\n", v, name);
        if (up) put(" UP %-8s  %-8s  %-s\n", v, name, num(bu));
      }
      continue;
    }
    if ((bk == TVA_BK_RA || bk == TVA_BK_FX) && bl == 0.0 && bu == 1.0) {
      put(" BV %-8s  %-8s\n", v, name);
    } else if (bk == TVA_BK_FR) {
      put(" LI %-8s  %-8s  %-s\n", v, name, "0");
      put(" MI %-8s  %-8s\n", v, name);
    } else if (bk == TVA_BK_FX) {
      // LI and UI would read back as a ranged pair of equal bounds; FX keeps the key, and the
      // markers around the column keep the integer mark.
      put(" FX %-8s  %-8s", v, name);
      put("  %-s\n", num(bl));
    } else {
      if (lo)
        put(" LI %-8s  %-8s  %-s\n", v, name, num(bl));
      else
        put(" MI %-8s  %-8s\n", v, name);
      if (up) put(" UI %-8s  %-8s  %-s\n", v, name, num(bu));
    }
  }
}

void Writer::write_quadratic() {
  bool cplex = opt_.format == TVA_MPS_FORMAT_CPLEX;
  const MpsQuad& q = m_.qobj;
  if (q.size() > 0) {
    if (cplex)
      put("%-14s\n", "QUADOBJ");
    else
      put("%-14s%-s\n", "QSECTION", obj());
    for (int64 t = 0; t < q.size(); ++t)
      put("    %-8s  %-8s  %-s\n", var(q.subi[t]), var(q.subj[t]), num(q.val[t]));
  }
  for (size_t s = 0; s < m_.qcon.size() && !failed_; ++s) {
    int32 k = m_.qcon_index[s];
    const MpsQuad& qk = m_.qcon[s];
    if (!written(k) || qk.size() == 0) continue;
    if (!cplex) {
      put("%-14s%-8s\n", "QSECTION", con(k));
      for (int64 t = 0; t < qk.size(); ++t)
        put("    %-8s  %-8s  %-s\n", var(qk.subi[t]), var(qk.subj[t]), num(qk.val[t]));
      continue;
    }
    // x'Qx with the full matrix: half of each stored value, off-diagonal ones on both sides.
    put("%-14s%-8s\n", "QCMATRIX", con(k));
    for (int64 t = 0; t < qk.size(); ++t) {
      int32 i = qk.subi[t], j = qk.subj[t];
      const char* h = num(0.5 * qk.val[t]);
      put("    %-8s  %-8s  %-s\n", var(i), var(j), h);
      if (i != j) put("    %-8s  %-8s  %-s\n", var(j), var(i), h);
    }
  }
}

void Writer::write_cones() {
  for (int32 k = 0; k < m_.numcone() && !failed_; ++k) {
    put("%-14s%-8s", "CSECTION", cone(k));
    put("  %-12s   %s\n", num(m_.cone_par[k]), m_.cone_type[k] == TVA_CT_RQUAD ? "RQUAD" : "QUAD");
    for (int64 t = m_.cone_ptr[k]; t < m_.cone_ptr[k + 1]; ++t)
      put("    %-8s\n", var(m_.cone_sub[t]));
  }
}

TVArescode Writer::run(bool* generic_used) {
  TVArescode r = choose_names();
  if (r != TVA_RES_OK) return r;
  if (generic_used) *generic_used = generic_;
  if (generic_ || m_.task_name.empty())
    put("NAME\n");
  else
    put("%-14s %-s\n", "NAME", m_.task_name.c_str());
  put("* Written by TELVA version %d.%d.%d.%d\n", TVA_VERSION_MAJOR, TVA_VERSION_MINOR,
      TVA_VERSION_BUILD, TVA_VERSION_REVISION);
  put("OBJSENSE\n");
  put(m_.sense == TVA_OBJECTIVE_SENSE_MAXIMIZE ? "%4sMAX\n" : "%4sMIN\n", "");
  choose_range_forms();
  write_rows();
  if (!failed_) write_columns();
  if (!failed_) write_rhs_ranges();
  if (!failed_) write_bounds();
  if (!failed_) write_quadratic();
  if (!failed_) write_cones();
  put("ENDATA\n");
  flush();
  return failed_ ? TVA_RES_ERR_FILE_WRITE : TVA_RES_OK;
}

} // namespace

MpsSink mps_sink_file(sysfile* file) {
  MpsSink s;
  s.handle = file;
  s.write = file_write;
  return s;
}

MpsSink mps_sink_text(SysString* out) {
  MpsSink s;
  s.handle = out;
  s.write = text_write;
  return s;
}

TVArescode mps_write(sysenv* sys, const MpsModel& model, const MpsWriteOptions& opt,
                     const MpsSink& sink, bool* generic_used) {
  try {
    Writer w(sys, model, opt, sink);
    return w.run(generic_used);
  } catch (const std::bad_alloc&) {
    return TVA_RES_ERR_SPACE;
  }
}

} // namespace telva
