// The section interpreter of the MPS reader: reads section by section through the scanner and
// fills the staging model, with the order rule of the sections, the vector selection of RHS,
// RANGES and BOUNDS, the integer markers, the quadratic sections and the cones.
#include "telva/files/mps/mpsread.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>

#include "telva/files/mps/mpsscan.h"

namespace telva {

namespace {

// Lines from a sysfile.
int file_next(void* handle, const char** line, int64* len) {
  return sysfile_readline(static_cast<sysfile*>(handle), line, len);
}

// Lines from a text in memory; "\n" or "\r\n" ends a line.
int text_next(void* handle, const char** line, int64* len) {
  auto* src = static_cast<MpsTextSource*>(handle);
  if (src->pos >= src->len) return kSysEndOfFile;
  const char* b = src->text + src->pos;
  const char* nl = static_cast<const char*>(std::memchr(b, '\n', src->len - src->pos));
  size_t n = nl ? static_cast<size_t>(nl - b) : src->len - src->pos;
  src->pos += nl ? n + 1 : n;
  if (n > 0 && b[n - 1] == '\r') --n;
  *line = b;
  *len = static_cast<int64>(n);
  return kSysOk;
}

void set_text(MpsArg* a, const char* s) {
  a->kind = MpsArg::kText;
  size_t n = std::strlen(s);
  if (n >= sizeof a->s) n = sizeof a->s - 1;
  std::memcpy(a->s, s, n);
  a->s[n] = '\0';
}

// The state of a selected vector (RHS, RANGES or BOUNDS): 0 none chosen yet, 1 inside the
// chosen vector, 2 after it.
struct VectorChoice {
  explicit VectorChoice(sysenv* sys) : chosen(SysAllocator<char>(sys)) {}
  SysString chosen;
  int32 state = 0;
};

class Reader {
public:
  Reader(sysenv* sys, const MpsLineSource& src, const MpsReadOptions& opt, MpsModel* m,
         MpsError* err)
      : sys_(sys), opt_(opt), m_(*m), err_(err),
        sc_(sys, src, opt.format, opt.width, opt.debug, err), obj_wanted_(SysAllocator<char>(sys)),
        rowpos_(SysAllocator<int32>(sys)), colrows_(SysAllocator<int32>(sys)),
        colvals_(SysAllocator<double>(sys)), qi_(SysAllocator<int32>(sys)),
        qj_(SysAllocator<int32>(sys)), qv_(SysAllocator<double>(sys)),
        varcone_(SysAllocator<int32>(sys)), cone_members_(SysAllocator<int32>(sys)),
        cone_name_(SysAllocator<char>(sys)) {
    obj_wanted_ = opt.obj_name ? opt.obj_name : "";
  }

  TVArescode run();

private:
  // Errors at the current line, with the arguments of the code's template.
  TVArescode error(TVArescode code) { return sc_.fail(code, 0); }
  TVArescode error(TVArescode code, const char* s1) {
    sc_.fail(code, 0);
    err_->nargs = 1;
    set_text(&err_->args[0], s1);
    return code;
  }
  TVArescode error(TVArescode code, const char* s1, const char* s2) {
    error(code, s1);
    err_->nargs = 2;
    set_text(&err_->args[1], s2);
    return code;
  }
  TVArescode warn(const MpsError& w) {
    if (!opt_.warn) return TVA_RES_OK;
    TVArescode r = opt_.warn(opt_.handle, w);
    if (r != TVA_RES_OK) {
      *err_ = w;
      err_->code = r;
    }
    return r;
  }
  void log(const char* text) {
    if (opt_.log) opt_.log(opt_.handle, text);
  }
  void log_vector(const char* name, const char* what) {
    if (!opt_.log) return;
    char buf[640];
    std::snprintf(buf, sizeof buf, "Using '%.512s' as %s vector\n", name, what);
    log(buf);
  }

  TVArescode sec_name();
  TVArescode sec_objsense(const char* sameline);
  TVArescode sec_objname();
  TVArescode sec_rows();
  TVArescode choose_objective();
  TVArescode sec_columns();
  TVArescode flush_column();
  TVArescode sec_rhs();
  TVArescode sec_ranges();
  TVArescode sec_bounds();
  TVArescode sec_skip();
  TVArescode sec_quad(int32 section, const char* rowname);
  TVArescode finish_symmetric(int32 section);
  TVArescode sec_cone(const char* name, double par, const char* type);
  TVArescode append_cone();
  TVArescode finish();
  // Whether the line belongs to the chosen vector; may raise the split warning.
  TVArescode take_vector(VectorChoice* v, const char* param, const char* name, TVArescode splitcode,
                         const char* what, bool* take);
  int32 con_index(const char* name) const { return m_.con_names.find(name); }
  int32 var_index(const char* name) const { return m_.var_names.find(name); }

  sysenv* sys_;
  const MpsReadOptions& opt_;
  MpsModel& m_;
  MpsError* err_;
  MpsScanner sc_;
  SysString obj_wanted_;
  int32 objrow_ = -1;
  bool rows_done_ = false;
  // The column being collected: rowpos_[i] is 1 + the slot of row i in colrows_, or 0.
  SysVector<int32> rowpos_;
  SysVector<int32> colrows_;
  SysVector<double> colvals_;
  int32 curcol_ = -1;
  int64 nz_stored_ = 0;
  // Quadratic entries of the section being read.
  SysVector<int32> qi_, qj_;
  SysVector<double> qv_;
  // Cones: the cone of each variable plus one (0 none), the members of the open cone.
  SysVector<int32> varcone_;
  SysVector<int32> cone_members_;
  SysString cone_name_;
  bool cone_open_ = false;
  int32 cone_type_ = 0;
  double cone_par_ = 0.0;
};

TVArescode Reader::run() {
  if (!sc_.ok()) return error(TVA_RES_ERR_SPACE);
  m_.clear();
  TVArescode r = sc_.next_line();
  int32 next = 0;
  while (r == TVA_RES_OK) {
    int32 s = 0;
    const char* name = "";
    const char* type = "";
    double par = 0.0;
    if ((r = sc_.section_line(&s, &name, &par, &type)) != TVA_RES_OK) break;
    // A cone is complete when the next section line comes.
    if (cone_open_ && (r = append_cone()) != TVA_RES_OK) break;
    if (s >= kSecQuadobj && s <= kSecCsection) {
      if (next < kSecColumns) return error(TVA_RES_ERR_MPS_INV_SEC_ORDER, mps_section_word(s));
    } else {
      if (s < next) return error(TVA_RES_ERR_MPS_INV_SEC_ORDER, mps_section_word(s));
      next = s + 1;
    }
    if (s > kSecRows && !rows_done_ && (r = choose_objective()) != TVA_RES_OK) break;
    switch (s) {
    case kSecName:
      r = sec_name();
      break;
    case kSecObjsense:
      r = sec_objsense(name);
      break;
    case kSecObjname:
      r = sec_objname();
      break;
    case kSecRows:
      r = sec_rows();
      break;
    case kSecColumns:
      r = sec_columns();
      break;
    case kSecRhs:
      r = sec_rhs();
      break;
    case kSecRanges:
      r = sec_ranges();
      break;
    case kSecBounds:
      r = sec_bounds();
      break;
    case kSecSets:
      r = sec_skip();
      break;
    case kSecQuadobj:
    case kSecQsection:
    case kSecQmatrix:
    case kSecQcmatrix:
      r = sec_quad(s, name);
      break;
    case kSecCsection:
      r = sec_cone(name, par, type);
      break;
    case kSecEndata:
      return finish();
    }
  }
  return r;
}

TVArescode Reader::sec_name() {
  const char* p = sc_.line();
  while (*p && *p != ' ' && *p != '\t')
    ++p;
  while (*p == ' ' || *p == '\t')
    ++p;
  const char* e = p + std::strlen(p);
  while (e > p && (e[-1] == ' ' || e[-1] == '\t'))
    --e;
  m_.task_name.assign(p, static_cast<size_t>(e - p));
  return sc_.next_line();
}

TVArescode Reader::sec_objsense(const char* sameline) {
  // The sense may also stand on the section line itself ("OBJSENSE MAX").
  char word[32] = {};
  const char* w = sameline;
  if (!*w) {
    TVArescode r = sc_.next_line();
    if (r != TVA_RES_OK) return r;
    if (!sc_.indented()) return error(TVA_RES_ERR_MPS_FILE);
    w = sc_.line();
    while (*w == ' ' || *w == '\t')
      ++w;
  }
  size_t n = 0;
  while (w[n] && w[n] != ' ' && w[n] != '\t')
    ++n;
  std::snprintf(word, sizeof word, "%.*s", static_cast<int>(n), w);
  if (n < sizeof word - 1 && (!std::strcmp(word, "MAX") || !std::strcmp(word, "MAXIMIZE")))
    m_.sense = TVA_OBJECTIVE_SENSE_MAXIMIZE;
  else if (n < sizeof word - 1 && (!std::strcmp(word, "MIN") || !std::strcmp(word, "MINIMIZE")))
    m_.sense = TVA_OBJECTIVE_SENSE_MINIMIZE;
  else {
    SysString bad(w, n, SysAllocator<char>(sys_));
    return error(TVA_RES_ERR_MPS_INVALID_OBJSENSE, bad.c_str());
  }
  return sc_.next_line();
}

TVArescode Reader::sec_objname() {
  TVArescode r = sc_.next_line();
  if (r != TVA_RES_OK || !sc_.indented()) return r;
  MpsFields f;
  if ((r = sc_.data_line(kSecObjname, &f)) != TVA_RES_OK) return r;
  if (*f.f1) {
    sc_.fail(TVA_RES_ERR_MPS_INV_FIELD, 1);
    err_->nargs = 1;
    err_->args[0].i = 1;
    return err_->code;
  }
  m_.objname_section = f.f2;
  obj_wanted_ = f.f2;
  return sc_.next_line();
}

TVArescode Reader::sec_rows() {
  TVArescode r;
  MpsFields f;
  while ((r = sc_.next_line()) == TVA_RES_OK && sc_.indented()) {
    if ((r = sc_.data_line(kSecRows, &f)) != TVA_RES_OK) return r;
    char key[4] = {};
    size_t n = 0;
    for (const char* p = f.f1; *p; ++p)
      if (*p != ' ' && n < 3) key[n++] = *p;
    if (!*f.f2) return error(TVA_RES_ERR_MPS_NULL_CON_NAME);
    int32 bk = -1;
    double bl = 0.0, bu = 0.0;
    if (n == 1) switch (key[0]) {
      case 'L':
        bk = TVA_BK_UP, bl = -kMpsInf;
        break;
      case 'E':
        bk = TVA_BK_FX;
        break;
      case 'G':
        bk = TVA_BK_LO, bu = kMpsInf;
        break;
      case 'N':
        bk = TVA_BK_FR, bl = -kMpsInf, bu = kMpsInf;
        break;
      }
    if (bk < 0) return error(TVA_RES_ERR_MPS_INV_CON_KEY, f.f1, f.f2);
    if (con_index(f.f2) >= 0) return error(TVA_RES_ERR_MPS_MUL_CON_NAME, f.f2);
    m_.add_con(f.f2, bk, bl, bu);
  }
  if (r != TVA_RES_OK) return r;
  return choose_objective();
}

TVArescode Reader::choose_objective() {
  rows_done_ = true;
  if (!obj_wanted_.empty()) {
    objrow_ = con_index(obj_wanted_.c_str());
    if (objrow_ < 0) return error(TVA_RES_ERR_MPS_INVALID_OBJ_NAME, obj_wanted_.c_str());
  } else {
    for (int32 i = 0; i < m_.numcon() && objrow_ < 0; ++i)
      if (m_.con_bk[i] == TVA_BK_FR) objrow_ = i;
    if (objrow_ < 0) return error(TVA_RES_ERR_MPS_NO_OBJECTIVE);
  }
  m_.obj_name = m_.con_names.get(objrow_);
  log_vector(m_.obj_name.c_str(), "objective");
  return TVA_RES_OK;
}

TVArescode Reader::flush_column() {
  if (curcol_ < 0) return TVA_RES_OK;
  for (size_t t = 0; t < colrows_.size(); ++t) {
    int32 i = colrows_[t];
    rowpos_[i] = 0;
    // Entries that added up to zero are no entries.
    if (colvals_[t] == 0.0) continue;
    if (i == objrow_) m_.c[curcol_] = colvals_[t];
    m_.a_sub.push_back(i);
    m_.a_val.push_back(colvals_[t]);
  }
  m_.a_ptr[curcol_ + 1] = static_cast<int64>(m_.a_sub.size());
  colrows_.clear();
  colvals_.clear();
  return TVA_RES_OK;
}

TVArescode Reader::sec_columns() {
  rowpos_.assign(static_cast<size_t>(m_.numcon()), 0);
  bool intmode = false;
  auto start = std::chrono::steady_clock::now();
  int64 next_report = 10000000;
  auto report = [&]() -> TVArescode {
    if (opt_.log) {
      double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
      char buf[128];
      std::snprintf(buf, sizeof buf, "Read %lld number of %s in %.2f seconds.\n",
                    static_cast<long long>(nz_stored_), "A nonzeros", secs);
      log(buf);
    }
    if (opt_.progress && opt_.progress(opt_.handle) != 0) return error(TVA_RES_TRM_USER_CALLBACK);
    return TVA_RES_OK;
  };
  TVArescode r;
  MpsFields f;
  while ((r = sc_.next_line()) == TVA_RES_OK && sc_.indented()) {
    if ((r = sc_.data_line(kSecColumns, &f)) != TVA_RES_OK) return r;
    if (f.marker) {
      if (!intmode) {
        if (!std::strcmp(f.f5, "'INTORG'")) intmode = true;
      } else if (!std::strcmp(f.f5, "'INTEND'")) {
        intmode = false;
      } else {
        return error(TVA_RES_ERR_MPS_INV_MARKER);
      }
      continue;
    }
    if (!*f.f2) return error(TVA_RES_ERR_MPS_NULL_VAR_NAME);
    if (curcol_ < 0 || std::strcmp(f.f2, m_.var_names.get(curcol_)) != 0) {
      flush_column();
      if (var_index(f.f2) >= 0) return error(TVA_RES_ERR_MPS_SPLITTED_VAR, f.f2);
      curcol_ = m_.add_var(f.f2, TVA_BK_LO, 0.0, kMpsInf, intmode);
    }
    const char* names[2] = {f.f3, f.f5};
    double vals[2] = {f.f4, f.f6};
    for (int p = 0; p < 2; ++p) {
      if (!*names[p] && vals[p] == 0.0) continue;
      int32 i = con_index(names[p]);
      if (i < 0) return error(TVA_RES_ERR_MPS_UNDEF_CON_NAME, names[p]);
      if (vals[p] == 0.0) continue;
      if (rowpos_[i] == 0) {
        colrows_.push_back(i);
        colvals_.push_back(vals[p]);
        rowpos_[i] = static_cast<int32>(colrows_.size());
        if (++nz_stored_ >= next_report) {
          next_report += 10000000;
          if ((r = report()) != TVA_RES_OK) return r;
        }
      } else {
        colvals_[rowpos_[i] - 1] += vals[p];
      }
    }
  }
  if (r != TVA_RES_OK) return r;
  flush_column();
  curcol_ = -1;
  return report();
}

TVArescode Reader::take_vector(VectorChoice* v, const char* param, const char* name,
                               TVArescode splitcode, const char* what, bool* take) {
  *take = false;
  if (v->state == 0) {
    if (param && *param && std::strcmp(param, name) != 0) return TVA_RES_OK;
    v->chosen = name;
    v->state = 1;
    log_vector(name, what);
    *take = true;
    return TVA_RES_OK;
  }
  if (v->chosen == name) {
    if (v->state == 2) {
      v->state = 1;
      MpsError w;
      w.code = splitcode;
      w.line = sc_.lineno();
      w.nargs = 1;
      set_text(&w.args[0], name);
      TVArescode r = warn(w);
      if (r != TVA_RES_OK) return r;
    }
    *take = true;
    return TVA_RES_OK;
  }
  if (v->state == 1) v->state = 2;
  return TVA_RES_OK;
}

TVArescode Reader::sec_rhs() {
  VectorChoice v(sys_);
  TVArescode r;
  MpsFields f;
  while ((r = sc_.next_line()) == TVA_RES_OK && sc_.indented()) {
    if ((r = sc_.data_line(kSecRhs, &f)) != TVA_RES_OK) return r;
    bool take = false;
    if ((r = take_vector(&v, opt_.rhs_name, f.f2, TVA_RES_WRN_MPS_SPLIT_RHS_VECTOR, "rhs",
                         &take)) != TVA_RES_OK)
      return r;
    if (!take) continue;
    const char* names[2] = {f.f3, f.f5};
    double vals[2] = {f.f4, f.f6};
    for (int p = 0; p < 2; ++p) {
      if (!*names[p]) {
        if (p == 1 && vals[p] == 0.0) break;
        return error(TVA_RES_ERR_MPS_NULL_CON_NAME);
      }
      int32 i = con_index(names[p]);
      if (i < 0) return error(TVA_RES_ERR_MPS_UNDEF_CON_NAME, names[p]);
      double b = vals[p];
      switch (m_.con_bk[i]) {
      case TVA_BK_FR:
        if (i == objrow_) m_.cfix = -b;
        continue;
      case TVA_BK_LO:
        m_.con_bl[i] = b, m_.con_bu[i] = kMpsInf;
        break;
      case TVA_BK_UP:
        m_.con_bu[i] = b, m_.con_bl[i] = -kMpsInf;
        break;
      default:
        m_.con_bl[i] = m_.con_bu[i] = b;
        break;
      }
      if (std::fabs(b) >= opt_.tol_bound_wrn) {
        MpsError w;
        w.code = TVA_RES_WRN_LARGE_BOUND;
        w.line = sc_.lineno();
        w.nargs = 4;
        w.args[0].kind = MpsArg::kDouble;
        w.args[0].d = b;
        set_text(&w.args[1], "constraint");
        set_text(&w.args[2], names[p]);
        w.args[3].kind = MpsArg::kInt;
        w.args[3].i = i;
        if ((r = warn(w)) != TVA_RES_OK) return r;
      }
    }
  }
  return r;
}

TVArescode Reader::sec_ranges() {
  VectorChoice v(sys_);
  TVArescode r;
  MpsFields f;
  while ((r = sc_.next_line()) == TVA_RES_OK && sc_.indented()) {
    if ((r = sc_.data_line(kSecRanges, &f)) != TVA_RES_OK) return r;
    bool take = false;
    if ((r = take_vector(&v, opt_.ran_name, f.f2, TVA_RES_WRN_MPS_SPLIT_RAN_VECTOR, "range",
                         &take)) != TVA_RES_OK)
      return r;
    if (!take) continue;
    const char* names[2] = {f.f3, f.f5};
    double vals[2] = {f.f4, f.f6};
    for (int p = 0; p < 2; ++p) {
      if (!*names[p] && vals[p] == 0.0) continue;
      int32 i = con_index(names[p]);
      if (i < 0) return error(TVA_RES_ERR_MPS_UNDEF_CON_NAME, names[p]);
      double R = vals[p];
      double& bl = m_.con_bl[i];
      double& bu = m_.con_bu[i];
      int32& bk = m_.con_bk[i];
      switch (bk) {
      case TVA_BK_LO:
        if (R == 0.0)
          bk = TVA_BK_FX, bu = bl;
        else
          bk = TVA_BK_RA, bu = bl + std::fabs(R);
        break;
      case TVA_BK_UP:
        if (R == 0.0)
          bk = TVA_BK_FX, bl = bu;
        else
          bk = TVA_BK_RA, bl = bu - std::fabs(R);
        break;
      case TVA_BK_FX:
        if (R > 0.0)
          bk = TVA_BK_RA, bu = bl + R;
        else if (R < 0.0)
          bk = TVA_BK_RA, bl = bu + R;
        break;
      default:
        break;
      }
    }
  }
  return r;
}

TVArescode Reader::sec_bounds() {
  VectorChoice v(sys_);
  int32 n = m_.numvar();
  // Integer variables not named by any line of the chosen vector get [0, 1] at the end.
  SysVector<char> untouched(m_.var_int);
  TVArescode r;
  MpsFields f;
  while ((r = sc_.next_line()) == TVA_RES_OK && sc_.indented()) {
    if ((r = sc_.data_line(kSecBounds, &f)) != TVA_RES_OK) return r;
    bool take = false;
    if ((r = take_vector(&v, opt_.bou_name, f.f2, TVA_RES_WRN_MPS_SPLIT_BOU_VECTOR, "bound",
                         &take)) != TVA_RES_OK)
      return r;
    if (!take) continue;
    int32 j = var_index(f.f3);
    if (j < 0) return error(TVA_RES_ERR_MPS_UNDEF_VAR_NAME, f.f3);
    untouched[j] = 0;
    int32 bk = m_.var_bk[j];
    double& bl = m_.var_bl[j];
    double& bu = m_.var_bu[j];
    bool lo = bk == TVA_BK_LO || bk == TVA_BK_RA || bk == TVA_BK_FX;
    bool up = bk == TVA_BK_UP || bk == TVA_BK_RA || bk == TVA_BK_FX;
    bool fixed = false;
    const char* k = f.f1;
    double x = f.f4;
    if (!std::strcmp(k, "MI"))
      lo = false;
    else if (!std::strcmp(k, "PL"))
      up = false;
    else if (!std::strcmp(k, "BV"))
      m_.var_int[j] = 1, lo = up = true, bl = 0.0, bu = 1.0;
    else if (!std::strcmp(k, "FR"))
      lo = up = false;
    else if (!std::strcmp(k, "FX"))
      fixed = lo = up = true, bl = bu = x;
    else if (!std::strcmp(k, "LO"))
      lo = true, bl = x;
    else if (!std::strcmp(k, "LI"))
      m_.var_int[j] = 1, lo = true, bl = std::ceil(x);
    else if (!std::strcmp(k, "UP"))
      up = true, bu = x;
    else if (!std::strcmp(k, "UI"))
      m_.var_int[j] = 1, up = true, bu = std::floor(x);
    else
      return error(TVA_RES_ERR_MPS_INV_BOUND_KEY, k);
    // A bound at or beyond the infinity of 1e30 is no bound.
    if (lo && bl <= -kMpsInf) lo = fixed = false;
    if (up && bu >= kMpsInf) up = fixed = false;
    if (!lo) bl = -kMpsInf;
    if (!up) bu = kMpsInf;
    m_.var_bk[j] = fixed      ? TVA_BK_FX
                   : lo && up ? TVA_BK_RA
                   : lo       ? TVA_BK_LO
                   : up       ? TVA_BK_UP
                              : TVA_BK_FR;
  }
  if (r != TVA_RES_OK) return r;
  for (int32 j = 0; j < n; ++j)
    if (untouched[j]) m_.var_bk[j] = TVA_BK_RA, m_.var_bl[j] = 0.0, m_.var_bu[j] = 1.0;
  return r;
}

TVArescode Reader::sec_skip() {
  TVArescode r;
  while ((r = sc_.next_line()) == TVA_RES_OK && sc_.indented()) {
  }
  return r;
}

TVArescode Reader::sec_quad(int32 section, const char* rowname) {
  int32 row = objrow_;
  if (section == kSecQsection || section == kSecQcmatrix) {
    row = con_index(rowname);
    if (row < 0) return error(TVA_RES_ERR_MPS_UNDEF_CON_NAME, rowname);
  }
  const MpsQuad* have = m_.qcon_of(row);
  if (have && have->size() > 0) return error(TVA_RES_ERR_MPS_MUL_QSEC, m_.con_names.get(row));
  bool full = section == kSecQmatrix || section == kSecQcmatrix;
  qi_.clear();
  qj_.clear();
  qv_.clear();
  TVArescode r;
  MpsFields f;
  while ((r = sc_.next_line()) == TVA_RES_OK && sc_.indented()) {
    if ((r = sc_.data_line(section, &f)) != TVA_RES_OK) return r;
    if (*f.f1) return error(TVA_RES_ERR_MPS_INV_BOUND_KEY, f.f1);
    int32 i = var_index(f.f2);
    if (i < 0) return error(TVA_RES_ERR_MPS_UNDEF_VAR_NAME, f.f2);
    const char* names[2] = {f.f3, f.f5};
    double vals[2] = {f.f4, f.f6};
    for (int p = 0; p < 2; ++p) {
      if (p == 1 && !*names[p] && vals[p] == 0.0) break;
      int32 j = var_index(names[p]);
      if (j < 0) return error(TVA_RES_ERR_MPS_UNDEF_VAR_NAME, names[p]);
      if (!(std::fabs(vals[p]) > opt_.tol_qij)) continue;
      if (qv_.size() == qv_.capacity()) {
        size_t cap = std::max<size_t>(32, 2 * qv_.capacity());
        qi_.reserve(cap);
        qj_.reserve(cap);
        qv_.reserve(cap);
      }
      if (full) {
        qi_.push_back(i);
        qj_.push_back(j);
      } else {
        qi_.push_back(std::max(i, j));
        qj_.push_back(std::min(i, j));
      }
      qv_.push_back(vals[p]);
    }
  }
  if (r != TVA_RES_OK) return r;
  if (full && (r = finish_symmetric(section)) != TVA_RES_OK) return r;
  if (qv_.empty()) return TVA_RES_OK;
  MpsQuad& q = m_.qcon_make(row);
  q.subi.assign(qi_.begin(), qi_.end());
  q.subj.assign(qj_.begin(), qj_.end());
  q.val.assign(qv_.begin(), qv_.end());
  q.normalize();
  return TVA_RES_OK;
}

// A full symmetric list: sorted by (column, row), no position twice, every off-diagonal
// position mirrored (values are not compared: the lower triangle's value is taken). Leaves
// the lower triangle in qi_, qj_, qv_, doubled for QCMATRIX (x'Qx is stored as 1/2 x'(2Q)x).
TVArescode Reader::finish_symmetric(int32 section) {
  size_t n = qv_.size();
  SysVector<size_t> ord(n, SysAllocator<size_t>(sys_));
  for (size_t t = 0; t < n; ++t)
    ord[t] = t;
  std::sort(ord.begin(), ord.end(), [this](size_t a, size_t b) {
    return qj_[a] != qj_[b] ? qj_[a] < qj_[b] : qi_[a] < qi_[b];
  });
  for (size_t t = 1; t < n; ++t)
    if (qi_[ord[t]] == qi_[ord[t - 1]] && qj_[ord[t]] == qj_[ord[t - 1]])
      return error(TVA_RES_ERR_MPS_DUPLICATE_Q_ELEMENT, m_.var_names.get(qi_[ord[t]]),
                   m_.var_names.get(qj_[ord[t]]));
  // Columns in order: cursor[j] walks the entries of column j; the entries of row i, taken in
  // column order, must meet their mirrors (i, j) -> (j, i) at the cursor of column i.
  int32 nv = m_.numvar();
  SysVector<int64> colstart(static_cast<size_t>(nv) + 1, 0, SysAllocator<int64>(sys_));
  for (size_t t = 0; t < n; ++t)
    ++colstart[qj_[ord[t]] + 1];
  for (int32 j = 0; j < nv; ++j)
    colstart[j + 1] += colstart[j];
  SysVector<int64> cursor(colstart.begin(), colstart.end() - 1, SysAllocator<int64>(sys_));
  for (size_t t = 0; t < n; ++t) {
    int32 i = qi_[ord[t]], j = qj_[ord[t]];
    // The entry (i, j) consumes its mirror (j, i) from column i. Columns are visited in
    // increasing order, so every column's cursor is asked for its rows in increasing order, and
    // a row it skips is an entry whose mirror is missing.
    int64 c = cursor[i];
    if (c < colstart[i + 1] && qi_[ord[c]] < j)
      return error(TVA_RES_ERR_MPS_NON_SYMMETRIC_Q, m_.var_names.get(qi_[ord[c]]),
                   m_.var_names.get(i));
    if (c >= colstart[i + 1] || qi_[ord[c]] != j)
      return error(TVA_RES_ERR_MPS_NON_SYMMETRIC_Q, m_.var_names.get(i), m_.var_names.get(j));
    ++cursor[i];
  }
  // Every entry was consumed once as a mirror; one left over lacks its mirror.
  for (int32 j = 0; j < nv; ++j)
    if (cursor[j] != colstart[j + 1]) {
      int64 c = cursor[j];
      return error(TVA_RES_ERR_MPS_NON_SYMMETRIC_Q, m_.var_names.get(qi_[ord[c]]),
                   m_.var_names.get(j));
    }
  double scale = section == kSecQcmatrix ? 2.0 : 1.0;
  SysVector<int32> li{SysAllocator<int32>(sys_)}, lj{SysAllocator<int32>(sys_)};
  SysVector<double> lv{SysAllocator<double>(sys_)};
  for (size_t t = 0; t < n; ++t) {
    size_t o = ord[t];
    if (qi_[o] < qj_[o]) continue;
    li.push_back(qi_[o]);
    lj.push_back(qj_[o]);
    lv.push_back(scale * qv_[o]);
  }
  qi_.swap(li);
  qj_.swap(lj);
  qv_.swap(lv);
  return TVA_RES_OK;
}

TVArescode Reader::sec_cone(const char* name, double par, const char* type) {
  if (m_.cone_names.find(name) >= 0) return error(TVA_RES_ERR_MPS_MUL_CSEC, name);
  if (!std::strcmp(type, "QUAD"))
    cone_type_ = TVA_CT_QUAD;
  else if (!std::strcmp(type, "RQUAD"))
    cone_type_ = TVA_CT_RQUAD;
  else
    return error(TVA_RES_ERR_MPS_CONE_TYPE, type);
  cone_name_ = name;
  cone_par_ = par;
  cone_members_.clear();
  cone_open_ = true;
  TVArescode r;
  MpsFields f;
  while ((r = sc_.next_line()) == TVA_RES_OK && sc_.indented()) {
    if ((r = sc_.data_line(kSecCsection, &f)) != TVA_RES_OK) return r;
    if (*f.f1) return error(TVA_RES_ERR_MPS_INV_BOUND_KEY, f.f1);
    int32 j = var_index(f.f2);
    if (j < 0) return error(TVA_RES_ERR_MPS_UNDEF_VAR_NAME, f.f2);
    cone_members_.push_back(j);
  }
  return r;
}

// Adds the cone read last, with the checks a task makes when a cone is appended: enough
// members for its type, no variable twice in it, no variable in another cone.
TVArescode Reader::append_cone() {
  cone_open_ = false;
  int32 k = m_.numcone();
  size_t need = cone_type_ == TVA_CT_QUAD ? 1 : 2;
  if (cone_members_.size() < need) {
    sc_.fail(TVA_RES_ERR_CONE_SIZE, 0);
    err_->nargs = 2;
    err_->args[0].kind = MpsArg::kInt;
    err_->args[0].i = static_cast<int64>(need);
    set_text(&err_->args[1], cone_type_ == TVA_CT_QUAD ? "TVA_CT_QUAD" : "TVA_CT_RQUAD");
    return err_->code;
  }
  varcone_.resize(static_cast<size_t>(m_.numvar()), 0);
  for (size_t t = 0; t < cone_members_.size(); ++t) {
    int32 j = cone_members_[t];
    if (varcone_[j] == k + 1) {
      sc_.fail(TVA_RES_ERR_CONE_REP_VAR, 0);
      err_->nargs = 4;
      set_text(&err_->args[0], m_.var_names.get(j));
      err_->args[1].kind = MpsArg::kInt;
      err_->args[1].i = j;
      set_text(&err_->args[2], cone_name_.c_str());
      err_->args[3].kind = MpsArg::kInt;
      err_->args[3].i = k;
      return err_->code;
    }
    if (varcone_[j] != 0) {
      int32 other = varcone_[j] - 1;
      sc_.fail(TVA_RES_ERR_CONE_OVERLAP, 0);
      err_->nargs = 6;
      set_text(&err_->args[0], m_.var_names.get(j));
      err_->args[1].kind = MpsArg::kInt;
      err_->args[1].i = j;
      set_text(&err_->args[2], m_.cone_names.get(other));
      err_->args[3].kind = MpsArg::kInt;
      err_->args[3].i = other;
      set_text(&err_->args[4], cone_name_.c_str());
      err_->args[5].kind = MpsArg::kInt;
      err_->args[5].i = k;
      return err_->code;
    }
    varcone_[j] = k + 1;
  }
  m_.cone_type.push_back(cone_type_);
  m_.cone_par.push_back(cone_par_);
  m_.cone_sub.insert(m_.cone_sub.end(), cone_members_.begin(), cone_members_.end());
  m_.cone_ptr.push_back(static_cast<int64>(m_.cone_sub.size()));
  m_.cone_names.add(cone_name_.c_str());
  return TVA_RES_OK;
}

TVArescode Reader::finish() {
  if (!rows_done_) {
    TVArescode r = choose_objective();
    if (r != TVA_RES_OK) return r;
  }
  if (cone_open_) {
    TVArescode r = append_cone();
    if (r != TVA_RES_OK) return r;
  }
  // The objective row's quadratic terms are the objective's.
  if (objrow_ >= 0) {
    MpsQuad* q = m_.qcon_of(objrow_);
    if (q) {
      m_.qobj.subi = q->subi;
      m_.qobj.subj = q->subj;
      m_.qobj.val = q->val;
      if (!opt_.keep_free_con) {
        q->subi.clear();
        q->subj.clear();
        q->val.clear();
      }
    }
  }
  // Constraint functions left empty are dropped from the list.
  {
    size_t w = 0;
    for (size_t t = 0; t < m_.qcon.size(); ++t) {
      if (m_.qcon[t].size() == 0) continue;
      if (w != t) {
        m_.qcon_index[w] = m_.qcon_index[t];
        m_.qcon[w] = std::move(m_.qcon[t]);
      }
      ++w;
    }
    m_.qcon_index.resize(w);
    while (m_.qcon.size() > w)
      m_.qcon.pop_back();
  }
  if (!opt_.keep_free_con) {
    SysVector<char> remove(static_cast<size_t>(m_.numcon()), 0, SysAllocator<char>(sys_));
    bool any = false;
    for (int32 i = 0; i < m_.numcon(); ++i)
      if (m_.con_bk[i] == TVA_BK_FR) remove[i] = 1, any = true;
    if (any) m_.remove_cons(remove);
  }
  return TVA_RES_OK;
}

} // namespace

MpsLineSource mps_source_file(sysfile* file) {
  MpsLineSource s;
  s.handle = file;
  s.next = file_next;
  return s;
}

MpsLineSource mps_source_text(MpsTextSource* src) {
  MpsLineSource s;
  s.handle = src;
  s.next = text_next;
  return s;
}

void mps_error_echo(const MpsError& err, bool debug, void* handle, MpsEchoFunc out) {
  char buf[128];
  std::snprintf(buf, sizeof buf, "The error occurred at (#line,pos): %lld,%lld\n",
                static_cast<long long>(err.line), static_cast<long long>(err.pos));
  out(handle, TVA_STREAM_MSG, buf);
  if (!debug) {
    out(handle, TVA_STREAM_ERR, "Turn debugging by setting TVA_IPAR_READ_DEBUG TVA_ON.");
    return;
  }
  out(handle, TVA_STREAM_ERR, err.echo);
  out(handle, TVA_STREAM_ERR, "\n");
  char blanks[65];
  std::memset(blanks, ' ', 64);
  blanks[64] = '\0';
  for (int64 left = err.pos; left > 0; left -= 64)
    out(handle, TVA_STREAM_MSG, blanks + 64 - (left < 64 ? left : 64));
  out(handle, TVA_STREAM_MSG, "^\n");
}

TVArescode mps_read(sysenv* sys, const MpsLineSource& src, const MpsReadOptions& opt,
                    MpsModel* model, MpsError* err) {
  *err = MpsError();
  try {
    Reader reader(sys, src, opt, model, err);
    TVArescode r = reader.run();
    if (r == TVA_RES_OK) *err = MpsError();
    return r;
  } catch (const std::bad_alloc&) {
    err->code = TVA_RES_ERR_SPACE;
    return TVA_RES_ERR_SPACE;
  }
}

} // namespace telva
