// The LP writer: objective, constraints, bounds for every variable, the integer list. Names
// that the format can't hold make their class go out under generated names.
#include <cstdio>
#include <cstring>
#include <new>

#include "telva/files/lp/lpfile.h"
#include "telva/files/lp/lplex.h"
#include "telva/files/mps/mpsmodel.h"
#include "telva/log/report.h"

namespace telva {

namespace {

constexpr size_t kStrictNameLimit = 256;

// Words that the reader takes as keywords wherever they stand, or as a bound's "free".
bool reserved(const char* name) {
  size_t n = std::strlen(name);
  return lp_keyword(name, n) != kLpName || text_word_is(name, n, "free") ||
         text_word_is(name, n, "subject") || text_word_is(name, n, "subj");
}

struct QTerm {
  int32 i, j;
  double v;
};

class Writer {
public:
  Writer(TvaTask* task, const TextSink& sink, const LpWriteOptions& opt)
      : task_(task), sys_(task->sys), opt_(opt), out_(task->sys, sink, opt.precision),
        names_{SysVector<SysString>(SysAllocator<SysString>(sys_)),
               SysVector<SysString>(SysAllocator<SysString>(sys_))},
        sub_(SysAllocator<int32>(sys_)), val_(SysAllocator<double>(sys_)),
        q_(SysAllocator<QTerm>(sys_)) {}

  TVArescode run();

private:
  // Decides the names of one class (0 constraints, 1 variables); true when a stored name was
  // replaced.
  bool choose_names(int32 cls, int32 count);
  const char* con(int32 i) const { return names_[0][i].c_str(); }
  const char* var(int32 j) const { return names_[1][j].c_str(); }

  // Starts a new line when the line holds its count of terms or is full.
  void wrap(int32* terms) {
    bool full = opt_.line_width > 0 && out_.column() >= static_cast<size_t>(opt_.line_width);
    if ((opt_.terms_per_line > 0 && *terms >= opt_.terms_per_line) || full) {
      out_.put("\n    ");
      *terms = 0;
    }
    ++*terms;
  }
  void coef_term(double v, const char* name, int32* terms);
  void quad_terms(int32 k, bool objective);
  void write_objective();
  TVArescode write_constraints();
  void write_bounds();
  void write_integers();

  TvaTask* task_;
  sysenv* sys_;
  const LpWriteOptions& opt_;
  TextOut out_;
  SysVector<SysString> names_[2];
  SysVector<int32> sub_;
  SysVector<double> val_;
  SysVector<QTerm> q_;
  bool generic_obj_ = false;
};

bool Writer::choose_names(int32 cls, int32 count) {
  int32 store_cls = cls == 0 ? kNameCon : kNameVar;
  bool generic = opt_.generic_names;
  MpsNames seen(sys_);
  for (int32 i = 0; i < count && !generic; ++i) {
    const char* name = store_getname(task_, store_cls, i);
    if (!lp_name_valid(name) || seen.find(name) >= 0)
      generic = true;
    else
      seen.add(name);
  }
  SysVector<SysString>& out = names_[cls];
  out.reserve(static_cast<size_t>(count));
  bool changed = false;
  char buf[32];
  for (int32 i = 0; i < count; ++i) {
    const char* name = store_getname(task_, store_cls, i);
    if (!generic) {
      out.emplace_back(name, SysAllocator<char>(sys_));
      continue;
    }
    // "c0001" or "x0001", with the stored name behind "_" so that names stay recognisable;
    // characters the format does not take become "_".
    std::snprintf(buf, sizeof buf, "%c%04d", cls == 0 ? 'c' : 'x', static_cast<int>(i + 1));
    SysString g(buf, SysAllocator<char>(sys_));
    if (name[0]) {
      g.push_back('_');
      for (const char* p = name; *p; ++p)
        g.push_back(lp_name_char(static_cast<unsigned char>(*p)) && *p != '"' ? *p : '_');
      changed = changed || !opt_.generic_names;
    }
    out.push_back(std::move(g));
  }
  return changed;
}

void Writer::coef_term(double v, const char* name, int32* terms) {
  wrap(terms);
  char buf[40];
  if (v == 1.0) {
    out_.printf(" + %s", name);
  } else if (v == -1.0) {
    out_.printf(" - %s", name);
  } else {
    out_.printf(" %c %s %s", v < 0 ? '-' : '+', out_.numtext(v < 0 ? -v : v, buf), name);
  }
}

// The quadratic terms of the objective (k = -1) as " + [ ... ]/2", whose coefficients are those
// of 1/2 x'Qx, or of a row as " + [ ... ]", the plain polynomial.
void Writer::quad_terms(int32 k, bool objective) {
  int64 first = 0, last = 0;
  store_qinterval(task_, k, &first, &last);
  if (last <= first) return;
  const ProblemStore& s = task_->store;
  out_.put(" + [");
  int32 terms = 0;
  char buf[40];
  for (int64 p = first; p < last; ++p) {
    int32 i = s.qsubi[p], j = s.qsubj[p];
    // Square: the diagonal entry (halved in a row); product: twice the entry (once in a row).
    double v = s.qval[p] * (i == j ? (objective ? 1.0 : 0.5) : (objective ? 2.0 : 1.0));
    wrap(&terms);
    char sign = v < 0 ? '-' : '+';
    double a = v < 0 ? -v : v;
    if (a != 1.0)
      out_.printf(" %c %s", sign, out_.numtext(a, buf));
    else
      out_.printf(" %c", sign);
    if (i == j)
      out_.printf(" %s ^ 2", var(i));
    else
      out_.printf(" %s * %s", var(i), var(j));
  }
  out_.put(objective ? " ]/2" : " ]");
}

void Writer::write_objective() {
  const ProblemStore& s = task_->store;
  out_.put(s.objsense == TVA_OBJECTIVE_SENSE_MAXIMIZE ? "maximize\n" : "minimize\n");
  const char* objname = store_getobjname(task_);
  if (generic_obj_) objname = "obj";
  if (objname && objname[0])
    out_.printf("    %s:", objname);
  else
    out_.put("   ");
  int32 terms = 0;
  for (int32 j = 0; j < task_->numvar; ++j) {
    double c = s.c[j];
    if (c == 0.0) {
      if (opt_.full_obj) {
        wrap(&terms);
        out_.printf(" + 0 %s", var(j));
      }
      continue;
    }
    coef_term(c, var(j), &terms);
  }
  if (s.cfix != 0.0) {
    char buf[40];
    out_.printf(" %c %s", s.cfix < 0 ? '-' : '+', out_.numtext(s.cfix < 0 ? -s.cfix : s.cfix, buf));
  }
  quad_terms(-1, true);
  out_.put("\n");
}

TVArescode Writer::write_constraints() {
  if (task_->numcon == 0) return TVA_RES_OK;
  out_.put("subject to\n");
  sub_.resize(static_cast<size_t>(task_->numvar) + 1);
  val_.resize(static_cast<size_t>(task_->numvar) + 1);
  char buf[40];
  for (int32 i = 0; i < task_->numcon; ++i) {
    int32 bk = 0;
    double bl = 0.0, bu = 0.0;
    store_getbound(task_, TVA_ACC_CON, i, &bk, &bl, &bu);
    if (opt_.strict && (bk == TVA_BK_RA || bk == TVA_BK_FR))
      return TVA_REP(task_, ERR_WRITE_LP_FORMAT,
                     bk == TVA_BK_RA ? "ranged constraints" : "free constraints");
    if (bk == TVA_BK_RA)
      out_.printf("    %s:: %s <=", con(i), out_.numtext(bl, buf));
    else
      out_.printf("    %s:", con(i));
    int32 nz = 0;
    TVArescode r = store_getavec(task_, false, i, &nz, sub_.data(), val_.data());
    if (r != TVA_RES_OK) return r;
    int32 terms = 0;
    for (int32 t = 0; t < nz; ++t)
      coef_term(val_[t], var(sub_[t]), &terms);
    quad_terms(i, false);
    switch (bk) {
    case TVA_BK_LO:
      out_.printf(" >= %s\n", out_.numtext(bl, buf));
      break;
    case TVA_BK_UP:
    case TVA_BK_RA:
      out_.printf(" <= %s\n", out_.numtext(bu, buf));
      break;
    case TVA_BK_FX:
      out_.printf(" = %s\n", out_.numtext(bl, buf));
      break;
    default:
      out_.put(" <= +infinity\n");
      break;
    }
  }
  return TVA_RES_OK;
}

// Every variable has its line, so that none is left with the reader's default bounds. A fixed
// variable goes out as "x = v", which keeps its key.
void Writer::write_bounds() {
  if (task_->numvar == 0) return;
  out_.put("bounds\n");
  char lo[40], up[40];
  for (int32 j = 0; j < task_->numvar; ++j) {
    int32 bk = 0;
    double bl = 0.0, bu = 0.0;
    store_getbound(task_, TVA_ACC_VAR, j, &bk, &bl, &bu);
    switch (bk) {
    case TVA_BK_FR:
      out_.printf(" %s free\n", var(j));
      break;
    case TVA_BK_LO:
      out_.printf(" %s <= %s <= +infinity\n", out_.numtext(bl, lo), var(j));
      break;
    case TVA_BK_UP:
      out_.printf(" -infinity <= %s <= %s\n", var(j), out_.numtext(bu, up));
      break;
    case TVA_BK_FX:
      out_.printf(" %s = %s\n", var(j), out_.numtext(bl, lo));
      break;
    default:
      out_.printf(" %s <= %s <= %s\n", out_.numtext(bl, lo), var(j), out_.numtext(bu, up));
      break;
    }
  }
}

void Writer::write_integers() {
  if (task_->store.numintvar == 0) return;
  out_.put("general\n");
  int32 terms = 0;
  for (int32 j = 0; j < task_->numvar; ++j) {
    if (task_->store.vartype[j] != TVA_VAR_TYPE_INT) continue;
    wrap(&terms);
    out_.printf(" %s", var(j));
  }
  out_.put("\n");
}

TVArescode Writer::run() {
  if (task_->numvar == 0) return TVA_REP(task_, ERR_LP_EMPTY);
  bool changed = choose_names(0, task_->numcon);
  changed = choose_names(1, task_->numvar) || changed;
  const char* objname = store_getobjname(task_);
  generic_obj_ = opt_.generic_names || (objname && objname[0] && !lp_name_valid(objname));
  if (opt_.strict) {
    size_t longest = 0;
    for (int32 cls = 0; cls < 2; ++cls)
      for (const SysString& s : names_[cls])
        longest = std::max(longest, s.size());
    if (longest >= kStrictNameLimit)
      return TVA_REP(task_, ERR_WRITE_LP_FORMAT, "names of 256 or more characters");
  }
  TVArescode r = TVA_RES_OK;
  if (changed) r = TVA_REP(task_, WRN_WRITE_CHANGED_NAMES);
  if (r != TVA_RES_OK) return r;
  out_.printf("\\ Created by TELVA version %d.%d.%d.%d\n", TVA_VERSION_MAJOR, TVA_VERSION_MINOR,
              TVA_VERSION_BUILD, TVA_VERSION_REVISION);
  write_objective();
  r = write_constraints();
  if (r != TVA_RES_OK) return r;
  write_bounds();
  write_integers();
  out_.put("end\n");
  out_.flush();
  return out_.failed() ? TVA_RES_ERR_FILE_WRITE : TVA_RES_OK;
}

} // namespace

bool lp_name_valid(const char* name) {
  int ch = static_cast<unsigned char>(name[0]);
  if (ch == 0 || ch == '.' || ch == 'e' || ch == 'E' || text_is_digit(ch) || ch == '"')
    return false;
  for (const char* p = name; *p; ++p)
    if (!lp_name_char(static_cast<unsigned char>(*p))) return false;
  return !reserved(name);
}

TVArescode lp_write(TvaTask* task, const TextSink& sink, const LpWriteOptions& opt) {
  try {
    Writer w(task, sink, opt);
    return w.run();
  } catch (const std::bad_alloc&) {
    return TVA_RES_ERR_SPACE;
  }
}

} // namespace telva
