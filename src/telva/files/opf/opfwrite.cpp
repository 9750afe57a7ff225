// The OPF writer: header, hints, the problem (variables, objective, constraints, bounds with
// cones, integers) and, on request, the task's parameters.
#include <cstdio>
#include <cstring>
#include <ctime>
#include <new>

#include "telva/catalog/params.h"
#include "telva/files/mps/mpsmodel.h"
#include "telva/files/opf/opffile.h"
#include "telva/files/opf/opflex.h"

namespace telva {

namespace {

// Whether a name goes out as it stands: a letter, then plain characters, and no word that a
// reader takes for a value or a bound.
bool plain_name(const char* s) {
  if (!text_is_alpha(static_cast<unsigned char>(s[0]))) return false;
  for (const char* p = s; *p; ++p)
    if (!opf_plain_char(static_cast<unsigned char>(*p))) return false;
  size_t n = std::strlen(s);
  return !text_word_is(s, n, "inf") && !text_word_is(s, n, "infinity") &&
         !text_word_is(s, n, "free");
}

class Writer {
public:
  Writer(TvaTask* task, const TextSink& sink, const OpfWriteOptions& opt)
      : task_(task), sys_(task->sys), opt_(opt), out_(task->sys, sink, opt.precision),
        names_{SysVector<SysString>(SysAllocator<SysString>(sys_)),
               SysVector<SysString>(SysAllocator<SysString>(sys_)),
               SysVector<SysString>(SysAllocator<SysString>(sys_))},
        sub_(SysAllocator<int32>(sys_)), val_(SysAllocator<double>(sys_)) {}

  TVArescode run();

private:
  void choose_names(int32 cls, int32 count, char prefix, bool required);
  // A name as it goes out: plain, or in single quotes with "\\" and "'" escaped.
  void name(const char* s);
  void wrap(int32* terms) {
    if (opt_.terms_per_line > 0 && *terms >= opt_.terms_per_line) {
      out_.put("\n    ");
      *terms = 0;
    }
    ++*terms;
  }
  void term(double v, int32 j, int32* terms);
  void quad_group(int32 k, int32* terms);
  void write_header();
  void write_hints();
  void write_variables();
  void write_objective();
  TVArescode write_constraints();
  void write_bounds();
  void write_integers();
  void write_parameters();

  TvaTask* task_;
  sysenv* sys_;
  const OpfWriteOptions& opt_;
  TextOut out_;
  SysVector<SysString> names_[3]; // constraints, variables, cones
  SysVector<int32> sub_;
  SysVector<double> val_;
};

// Variables need names to be referred to: if one is missing or two are equal, all of them go
// out under generated names ("x0001"). Constraints and cones without a name stay nameless;
// duplicates among the named make the class generated ("c0001", "k0001").
void Writer::choose_names(int32 cls, int32 count, char prefix, bool required) {
  static const int32 store_cls[] = {kNameCon, kNameVar, kNameCone};
  bool generic = opt_.generic_names;
  MpsNames seen(sys_);
  for (int32 i = 0; i < count && !generic; ++i) {
    const char* s = store_getname(task_, store_cls[cls], i);
    if (!s[0]) {
      generic = required;
      continue;
    }
    if (seen.find(s) >= 0)
      generic = true;
    else
      seen.add(s);
  }
  char buf[32];
  for (int32 i = 0; i < count; ++i) {
    if (generic) {
      std::snprintf(buf, sizeof buf, "%c%04d", prefix, static_cast<int>(i + 1));
      names_[cls].emplace_back(buf, SysAllocator<char>(sys_));
    } else {
      names_[cls].emplace_back(store_getname(task_, store_cls[cls], i), SysAllocator<char>(sys_));
    }
  }
}

void Writer::name(const char* s) {
  if (plain_name(s)) {
    out_.put(s);
    return;
  }
  out_.put('\'');
  for (const char* p = s; *p; ++p) {
    if (*p == '\\' || *p == '\'') out_.put('\\');
    out_.put(*p);
  }
  out_.put('\'');
}

void Writer::term(double v, int32 j, int32* terms) {
  wrap(terms);
  out_.put(v < 0 ? " - " : " + ");
  double a = v < 0 ? -v : v;
  if (a != 1.0) {
    out_.num(a);
    out_.put(' ');
  }
  name(names_[1][j].c_str());
}

// " + 0.5 ( ... )" holding 1/2 x'Qx read literally: a square's coefficient is Q's diagonal
// entry, a product's twice the entry below the diagonal.
void Writer::quad_group(int32 k, int32* terms) {
  int64 first = 0, last = 0;
  store_qinterval(task_, k, &first, &last);
  if (last <= first) return;
  const ProblemStore& s = task_->store;
  out_.put(" + 0.5 (");
  for (int64 p = first; p < last; ++p) {
    int32 i = s.qsubi[p], j = s.qsubj[p];
    double v = i == j ? s.qval[p] : 2.0 * s.qval[p];
    wrap(terms);
    out_.put(v < 0 ? " - " : " + ");
    double a = v < 0 ? -v : v;
    if (a != 1.0) {
      out_.num(a);
      out_.put(' ');
    }
    name(names_[1][i].c_str());
    if (i == j) {
      out_.put(" ^ 2");
    } else {
      out_.put(" * ");
      name(names_[1][j].c_str());
    }
  }
  out_.put(" )");
}

void Writer::write_header() {
  std::time_t now = std::time(nullptr);
  std::tm tm{};
  localtime_r(&now, &tm);
  out_.put("[comment]\n");
  out_.printf("   Written by TELVA version %d.%d.%d.%d\n", TVA_VERSION_MAJOR, TVA_VERSION_MINOR,
              TVA_VERSION_BUILD, TVA_VERSION_REVISION);
  out_.printf("   Date %d-%02d-%02d\n   Time %02d:%02d:%02d\n", tm.tm_year + 1900, tm.tm_mon + 1,
              tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
  out_.put("[/comment]\n\n");
  const char* tn = task_->taskname;
  if (tn && tn[0]) {
    out_.put("[problemname] ");
    for (const char* p = tn; *p; ++p) {
      if (*p == '\\' || *p == '[' || *p == ']') out_.put('\\');
      out_.put(*p);
    }
    out_.put(" [/problemname]\n\n");
  }
}

void Writer::write_hints() {
  int64 numanz = 0, numqnz = 0, first = 0, last = 0;
  store_getnumanz(task_, &numanz);
  store_qinterval(task_, -1, &first, &last);
  numqnz += last - first;
  if (task_->store.qcon_first)
    for (int32 k = 0; k < task_->numcon; ++k) {
      store_qinterval(task_, k, &first, &last);
      numqnz += last - first;
    }
  out_.printf("[hints]\n  [hint NUMVAR] %d [/hint]\n  [hint NUMCON] %d [/hint]\n",
              static_cast<int>(task_->numvar), static_cast<int>(task_->numcon));
  out_.printf("  [hint NUMANZ] %lld [/hint]\n  [hint NUMQNZ] %lld [/hint]\n",
              static_cast<long long>(numanz), static_cast<long long>(numqnz));
  out_.printf("  [hint NUMCONE] %d [/hint]\n[/hints]\n\n", static_cast<int>(task_->numcone));
}

void Writer::write_variables() {
  out_.put("[variables disallow_new_variables]\n ");
  int32 terms = 0;
  for (int32 j = 0; j < task_->numvar; ++j) {
    wrap(&terms);
    out_.put(' ');
    name(names_[1][j].c_str());
  }
  out_.put("\n[/variables]\n\n");
}

void Writer::write_objective() {
  const ProblemStore& s = task_->store;
  out_.printf("[objective %s",
              s.objsense == TVA_OBJECTIVE_SENSE_MAXIMIZE ? "maximize" : "minimize");
  const char* objname = store_getobjname(task_);
  if (objname && objname[0]) {
    out_.put(' ');
    name(objname);
  }
  out_.put("]\n ");
  int32 terms = 0;
  for (int32 j = 0; j < task_->numvar; ++j)
    if (s.c[j] != 0.0) term(s.c[j], j, &terms);
  quad_group(-1, &terms);
  if (s.cfix != 0.0) {
    out_.put(s.cfix < 0 ? " - " : " + ");
    out_.num(s.cfix < 0 ? -s.cfix : s.cfix);
  }
  out_.put("\n[/objective]\n\n");
}

TVArescode Writer::write_constraints() {
  if (task_->numcon == 0) return TVA_RES_OK;
  out_.put("[constraints]\n");
  sub_.resize(static_cast<size_t>(task_->numvar) + 1);
  val_.resize(static_cast<size_t>(task_->numvar) + 1);
  for (int32 i = 0; i < task_->numcon; ++i) {
    int32 bk = 0;
    double bl = 0.0, bu = 0.0;
    store_getbound(task_, TVA_ACC_CON, i, &bk, &bl, &bu);
    out_.put("  [con");
    if (!names_[0][i].empty()) {
      out_.put(' ');
      name(names_[0][i].c_str());
    }
    out_.put("]");
    if (bk == TVA_BK_LO || bk == TVA_BK_RA) {
      out_.put(' ');
      out_.num(bl);
      out_.put(" <=");
    }
    int32 nz = 0;
    TVArescode r = store_getavec(task_, false, i, &nz, sub_.data(), val_.data());
    if (r != TVA_RES_OK) return r;
    int32 terms = 0;
    for (int32 t = 0; t < nz; ++t)
      term(val_[t], sub_[t], &terms);
    quad_group(i, &terms);
    if (bk == TVA_BK_FX) {
      out_.put(" = ");
      out_.num(bl);
    } else if (bk == TVA_BK_UP || bk == TVA_BK_RA) {
      out_.put(" <= ");
      out_.num(bu);
    }
    out_.put(" [/con]\n");
  }
  out_.put("[/constraints]\n\n");
  return TVA_RES_OK;
}

// Runs of neighbouring variables with equal bounds share one [b].
void Writer::write_bounds() {
  out_.put("[bounds]\n");
  int32 n = task_->numvar;
  for (int32 j = 0; j < n;) {
    int32 bk = 0;
    double bl = 0.0, bu = 0.0;
    store_getbound(task_, TVA_ACC_VAR, j, &bk, &bl, &bu);
    int32 e = j + 1;
    for (; e < n; ++e) {
      int32 bk2 = 0;
      double bl2 = 0.0, bu2 = 0.0;
      store_getbound(task_, TVA_ACC_VAR, e, &bk2, &bl2, &bu2);
      if (bk2 != bk || bl2 != bl || bu2 != bu) break;
    }
    out_.put("  [b]");
    if (bk == TVA_BK_LO || bk == TVA_BK_RA) {
      out_.put(' ');
      out_.num(bl);
      out_.put(" <=");
    }
    int32 terms = 0;
    for (int32 t = j; t < e; ++t) {
      wrap(&terms);
      out_.put(t > j ? ", " : " ");
      name(names_[1][t].c_str());
    }
    switch (bk) {
    case TVA_BK_UP:
    case TVA_BK_RA:
      out_.put(" <= ");
      out_.num(bu);
      break;
    case TVA_BK_FX:
      out_.put(" = ");
      out_.num(bl);
      break;
    case TVA_BK_FR:
      out_.put(" free");
      break;
    default:
      break;
    }
    out_.put(" [/b]\n");
    j = e;
  }
  const ProblemStore& s = task_->store;
  for (int32 k = 0; k < task_->numcone; ++k) {
    out_.put(s.conetype[k] == TVA_CT_RQUAD ? "  [cone rquad" : "  [cone quad");
    if (!names_[2][k].empty()) {
      out_.put(' ');
      name(names_[2][k].c_str());
    }
    out_.put("]");
    int32 terms = 0;
    for (int32 p = s.coneptrb[k]; p < s.coneptre[k]; ++p) {
      wrap(&terms);
      out_.put(p > s.coneptrb[k] ? ", " : " ");
      name(names_[1][s.conesub[p]].c_str());
    }
    out_.put(" [/cone]\n");
  }
  out_.put("[/bounds]\n\n");
}

void Writer::write_integers() {
  if (task_->store.numintvar == 0) return;
  out_.put("[integer]\n ");
  int32 terms = 0;
  for (int32 j = 0; j < task_->numvar; ++j) {
    if (task_->store.vartype[j] != TVA_VAR_TYPE_INT) continue;
    wrap(&terms);
    out_.put(' ');
    name(names_[1][j].c_str());
  }
  out_.put("\n[/integer]\n\n");
}

void Writer::write_parameters() {
  const ParamCatalogue& cat = task_->env->catalogue;
  out_.put("[vendor telva]\n  [parameters]\n");
  out_.put("    ##################################################\n"
           "    # INTEGER parameters\n"
           "    ##################################################\n");
  for (int32 i = 0; i < kNumIpar; ++i)
    if (param_int_assigned(task_->env, i))
      out_.printf("    [p %s] %d [/p]\n", cat.ipar_names[i], static_cast<int>(task_->iparam[i]));
  out_.put("    ##################################################\n"
           "    # DOUBLE parameters\n"
           "    ##################################################\n");
  char buf[40];
  for (int32 i = 0; i < kNumDpar; ++i) {
    std::snprintf(buf, sizeof buf, "%.17g", task_->dparam[i]);
    out_.printf("    [p %s] %s [/p]\n", cat.dpar_names[i], buf);
  }
  out_.put("    ##################################################\n"
           "    # STRING parameters\n"
           "    ##################################################\n");
  for (int32 i = 0; i < kNumSpar; ++i) {
    out_.printf("    [p %s] '", cat.spar_names[i]);
    for (const char* p = task_->sparam[i] ? task_->sparam[i] : ""; *p; ++p) {
      if (*p == '\\' || *p == '\'') out_.put('\\');
      out_.put(*p);
    }
    out_.put("' [/p]\n");
  }
  out_.put("  [/parameters]\n[/vendor]\n\n");
}

TVArescode Writer::run() {
  choose_names(0, task_->numcon, 'c', false);
  choose_names(1, task_->numvar, 'x', true);
  choose_names(2, task_->numcone, 'k', false);
  if (opt_.header) write_header();
  if (opt_.hints) write_hints();
  if (opt_.problem) {
    write_variables();
    write_objective();
    TVArescode r = write_constraints();
    if (r != TVA_RES_OK) return r;
    write_bounds();
    write_integers();
  }
  if (opt_.parameters) write_parameters();
  out_.flush();
  return out_.failed() ? TVA_RES_ERR_FILE_WRITE : TVA_RES_OK;
}

} // namespace

TVArescode opf_write(TvaTask* task, const TextSink& sink, const OpfWriteOptions& opt) {
  try {
    Writer w(task, sink, opt);
    return w.run();
  } catch (const std::bad_alloc&) {
    return TVA_RES_ERR_SPACE;
  }
}

} // namespace telva
