// The OPF reader: a loop over the root's tags, one handler per section. The problem is gathered
// in plain arrays and put into the task at the end through the store's list functions.
#include <cmath>
#include <cstring>
#include <new>

#include "telva/catalog/params.h"
#include "telva/files/mps/mpsmodel.h"
#include "telva/files/opf/opffile.h"
#include "telva/files/opf/opflex.h"
#include "telva/files/text/termsum.h"
#include "telva/log/report.h"

namespace telva {

namespace {

// The side of a bound that is not there, and the value of the words for infinity, while a
// file is read; the store gets its own infinity at the end. A number, however large, is a
// bound.
constexpr double kNoBound = HUGE_VAL;

struct QEntry {
  int32 k, i, j; // k = -1 for the objective
  double v;
};

struct ConeRec {
  int32 type;
  int64 first, last; // members in cone_sub_
};

bool lower_is(const SysString& s, const char* w) {
  return text_word_is(s.data(), s.size(), w);
}

class Reader {
public:
  Reader(TvaTask* task, const TextSource& src, const OpfReadOptions& opt)
      : task_(task), sys_(task->sys), opt_(opt), lex_(task->sys, src), names_(task->sys),
        var_bl_(SysAllocator<double>(sys_)), var_bu_(SysAllocator<double>(sys_)),
        var_fixed_(SysAllocator<char>(sys_)), var_int_(SysAllocator<char>(sys_)),
        c_(SysAllocator<double>(sys_)), objname_(SysAllocator<char>(sys_)),
        taskname_(SysAllocator<char>(sys_)), acc_(sys_), q_(SysAllocator<QEntry>(sys_)),
        con_names_(task->sys), con_bk_(SysAllocator<int32>(sys_)),
        con_bl_(SysAllocator<double>(sys_)), con_bu_(SysAllocator<double>(sys_)),
        row_ptr_(1, 0, SysAllocator<int64>(sys_)), row_sub_(SysAllocator<int32>(sys_)),
        row_val_(SysAllocator<double>(sys_)), cones_(SysAllocator<ConeRec>(sys_)),
        cone_names_(task->sys), cone_sub_(SysAllocator<int32>(sys_)),
        list_(SysAllocator<int32>(sys_)) {}

  TVArescode run();

private:
  const OpfToken& t() const { return lex_.tok(); }
  int32 kind() const { return lex_.tok().kind; }
  void next() { lex_.next(); }
  TVArescode syntax() {
    if (lex_.failed()) return TVA_REP(task_, ERR_FILE_READ, "");
    if (kind() == kOpfEof) return TVA_REP(task_, ERR_OPF_PREMATURE_EOF);
    return TVA_REP(task_, ERR_OPF_FORMAT, static_cast<int32>(t().line));
  }
  bool is_closing(const char* name) const {
    return kind() == kOpfTag && t().closing && t().text == name;
  }
  bool is_infinity_word() const {
    return kind() == kOpfName && !t().quoted &&
           (lower_is(t().text, "inf") || lower_is(t().text, "infinity"));
  }
  bool starts_value() const {
    return kind() == kOpfNumber || kind() == kOpfPlus || kind() == kOpfMinus || is_infinity_word();
  }

  // The variable of a name; new ones start free, unless new variables are not allowed.
  TVArescode var(const SysString& name, int32* j);
  TVArescode value(double* v);
  TVArescode row(bool objective, const char* closing);
  TVArescode quad_term(double coef, int32 k, int32 i, bool in_group);
  TVArescode var_list(const char* closing);
  TVArescode read_objective();
  TVArescode read_constraints();
  TVArescode read_bounds();
  TVArescode read_bound();
  TVArescode read_cone();
  TVArescode read_integer();
  TVArescode read_variables();
  TVArescode read_hints();
  TVArescode read_problemname();
  TVArescode read_vendor();
  TVArescode read_parameter();
  TVArescode skip(const char* name) {
    return lex_.skip_section(name) ? TVA_RES_OK : TVA_REP(task_, ERR_OPF_PREMATURE_EOF);
  }
  TVArescode put_all();

  TvaTask* task_;
  sysenv* sys_;
  const OpfReadOptions& opt_;
  OpfLexer lex_;
  bool disallow_new_ = false;

  MpsNames names_;
  SysVector<double> var_bl_, var_bu_;
  SysVector<char> var_fixed_, var_int_;
  SysVector<double> c_;
  double cfix_ = 0.0;
  int32 sense_ = TVA_OBJECTIVE_SENSE_MINIMIZE;
  SysString objname_, taskname_;

  TermSum acc_;
  SysVector<QEntry> q_;

  MpsNames con_names_;
  SysVector<int32> con_bk_;
  SysVector<double> con_bl_, con_bu_;
  SysVector<int64> row_ptr_;
  SysVector<int32> row_sub_;
  SysVector<double> row_val_;

  SysVector<ConeRec> cones_;
  MpsNames cone_names_;
  SysVector<int32> cone_sub_;
  SysVector<int32> list_;
};

TVArescode Reader::var(const SysString& name, int32* j) {
  *j = names_.find(name.c_str());
  if (*j >= 0) return TVA_RES_OK;
  if (disallow_new_) return TVA_REP(task_, ERR_OPF_NEW_VARIABLE, name.c_str());
  *j = names_.add(name.c_str());
  var_bl_.push_back(-kNoBound);
  var_bu_.push_back(kNoBound);
  var_fixed_.push_back(0);
  var_int_.push_back(0);
  c_.push_back(0.0);
  return TVA_RES_OK;
}

// "[sign] number", or "inf", "+inf", "-inf".
TVArescode Reader::value(double* v) {
  double sign = 1.0;
  if (kind() == kOpfPlus || kind() == kOpfMinus) {
    sign = kind() == kOpfMinus ? -1.0 : 1.0;
    next();
  }
  if (kind() == kOpfNumber)
    *v = sign * t().value;
  else if (is_infinity_word())
    *v = sign * kNoBound;
  else
    return syntax();
  next();
  return TVA_RES_OK;
}

// The terms of 1/2 x'Qx read literally: "c x ^ 2" is Q[x,x] = 2c, "c x * y" is Q[x,y] = c.
TVArescode Reader::quad_term(double coef, int32 k, int32 i, bool in_group) {
  (void)in_group;
  int32 j = i;
  if (kind() == kOpfCaret) {
    next();
    if (kind() != kOpfNumber || t().value != 2.0) return syntax();
    next();
    coef *= 2.0;
  } else {
    next(); // "*"
    if (kind() != kOpfName) return syntax();
    TVArescode r = var(t().text, &j);
    if (r != TVA_RES_OK) return r;
    next();
    if (i == j) coef *= 2.0;
  }
  if (!std::isfinite(coef)) return syntax();
  q_.push_back({k, std::max(i, j), std::min(i, j), coef});
  return TVA_RES_OK;
}

// A row: "[lower <=] expression [<= upper]", with "=" for a fixed row, ">=" the other way round;
// the objective has no bounds. Expression terms: "c x", "c * x", "c x ^ 2", "c x * y", a
// group "c ( ... )" of quadratic terms multiplied by c, and constants. Ends at the closing tag.
TVArescode Reader::row(bool objective, const char* closing) {
  acc_.clear();
  double lo = -kNoBound, up = kNoBound, constant = 0.0;
  bool fixed = false, first = true, any_bound = false;
  int32 k = objective ? -1 : con_names_.size();
  TVArescode r = TVA_RES_OK;
  next();
  auto bound = [&](int32 op, double v, bool value_left) -> bool {
    if (op == kOpfEq) {
      if (std::fabs(v) >= kNoBound) return false;
      lo = up = v;
      fixed = true;
    } else if ((op == kOpfLess) == value_left) {
      if (v >= kNoBound) return false;
      lo = v;
    } else {
      if (v <= -kNoBound) return false;
      up = v;
    }
    any_bound = true;
    return true;
  };
  int32 group_depth = 0;
  double group = 1.0;
  while (kind() != kOpfTag) {
    if (kind() == kOpfEof || kind() == kOpfBad) return syntax();
    if (kind() == kOpfClose && group_depth > 0) {
      --group_depth;
      group = 1.0;
      next();
      continue;
    }
    if (!objective && (kind() == kOpfLess || kind() == kOpfGreater || kind() == kOpfEq)) {
      int32 op = kind();
      next();
      double v = 0.0;
      if ((r = value(&v)) != TVA_RES_OK) return r;
      if (!bound(op, v, false)) return syntax();
      continue;
    }
    double sign = 1.0;
    if (kind() == kOpfPlus || kind() == kOpfMinus) {
      sign = kind() == kOpfMinus ? -1.0 : 1.0;
      next();
    }
    double coef = sign;
    bool number = false;
    if (first && !objective && is_infinity_word()) {
      // "-inf <= ..." or "inf >= ..."
      coef = sign * kNoBound;
      next();
      if (kind() != kOpfLess && kind() != kOpfGreater) return syntax();
      int32 op = kind();
      next();
      if (!bound(op, coef, true)) return syntax();
      first = false;
      continue;
    }
    if (kind() == kOpfNumber) {
      coef = sign * t().value;
      number = true;
      next();
      if (kind() == kOpfStar) next();
    }
    if (!std::isfinite(coef) && kind() != kOpfLess && kind() != kOpfGreater) return syntax();
    if (number && first && !objective &&
        (kind() == kOpfLess || kind() == kOpfGreater || kind() == kOpfEq)) {
      int32 op = kind();
      next();
      if (!bound(op, coef, true)) return syntax();
      first = false;
      continue;
    }
    first = false;
    if (kind() == kOpfOpen) {
      if (group_depth > 0) return syntax();
      ++group_depth;
      group = coef;
      next();
      continue;
    }
    if (kind() == kOpfName) {
      int32 j = 0;
      if ((r = var(t().text, &j)) != TVA_RES_OK) return r;
      next();
      if (kind() == kOpfCaret || kind() == kOpfStar) {
        if ((r = quad_term(group * coef, k, j, group_depth > 0)) != TVA_RES_OK) return r;
      } else if (group_depth > 0) {
        return syntax(); // only quadratic terms in a group
      } else {
        acc_.add(j, coef);
      }
      continue;
    }
    if (!number || group_depth > 0) return syntax();
    constant += coef;
  }
  if (group_depth > 0 || !is_closing(closing)) return syntax();
  if (objective) {
    for (int32 j : acc_.touched())
      c_[j] += acc_.coef(j);
    cfix_ += constant;
    return TVA_RES_OK;
  }
  // A constant moves to the other side.
  if (lo > -kNoBound) lo -= constant;
  if (up < kNoBound) up -= constant;
  bool has_lo = lo > -kNoBound, has_up = up < kNoBound;
  (void)any_bound;
  con_bk_.push_back(fixed && has_lo && has_up ? TVA_BK_FX
                    : has_lo && has_up        ? TVA_BK_RA
                    : has_lo                  ? TVA_BK_LO
                    : has_up                  ? TVA_BK_UP
                                              : TVA_BK_FR);
  con_bl_.push_back(lo);
  con_bu_.push_back(up);
  for (int32 j : acc_.touched()) {
    double a = acc_.coef(j);
    if (a == 0.0) continue;
    row_sub_.push_back(j);
    row_val_.push_back(a);
  }
  row_ptr_.push_back(static_cast<int64>(row_sub_.size()));
  return TVA_RES_OK;
}

// Names separated by commas or blanks, "*" for all variables so far, up to the closing tag;
// list_ receives them.
TVArescode Reader::var_list(const char* closing) {
  list_.clear();
  for (next(); kind() != kOpfTag; next()) {
    if (kind() == kOpfComma) continue;
    if (kind() == kOpfStar) {
      for (int32 j = 0; j < names_.size(); ++j)
        list_.push_back(j);
      continue;
    }
    if (kind() != kOpfName) return syntax();
    int32 j = 0;
    TVArescode r = var(t().text, &j);
    if (r != TVA_RES_OK) return r;
    list_.push_back(j);
  }
  return is_closing(closing) ? TVA_RES_OK : syntax();
}

TVArescode Reader::read_objective() {
  for (const OpfParam& p : t().params) {
    if (!p.key.empty()) continue;
    if (!p.quoted && (lower_is(p.value, "minimize") || lower_is(p.value, "min")))
      sense_ = TVA_OBJECTIVE_SENSE_MINIMIZE;
    else if (!p.quoted && (lower_is(p.value, "maximize") || lower_is(p.value, "max")))
      sense_ = TVA_OBJECTIVE_SENSE_MAXIMIZE;
    else
      objname_ = p.value;
  }
  return row(true, "objective");
}

TVArescode Reader::read_constraints() {
  for (next(); !is_closing("constraints"); next()) {
    if (kind() != kOpfTag || t().closing || t().text != "con") return syntax();
    SysString name{SysAllocator<char>(sys_)};
    for (const OpfParam& p : t().params)
      if (p.key.empty()) name = p.value;
    TVArescode r = row(false, "con");
    if (r != TVA_RES_OK) return r;
    con_names_.add(name.c_str());
  }
  return TVA_RES_OK;
}

// "[b] [value op] list [op value | free] [/b]": "<=" with the value on its right sets the
// upper bound, ">=" the lower one, "=" both; a value on the left reads the other way round.
TVArescode Reader::read_bound() {
  double lo = NAN, up = NAN;
  bool fixed = false;
  TVArescode r = TVA_RES_OK;
  auto side = [&](int32 op, double v, bool value_left) -> bool {
    if (op == kOpfEq) {
      if (std::fabs(v) >= kNoBound) return false;
      lo = up = v;
      fixed = true;
    } else if ((op == kOpfLess) == value_left) {
      if (v >= kNoBound) return false;
      lo = v;
    } else {
      if (v <= -kNoBound) return false;
      up = v;
    }
    return true;
  };
  list_.clear();
  next();
  if (starts_value()) {
    double v = 0.0;
    if ((r = value(&v)) != TVA_RES_OK) return r;
    if (kind() != kOpfLess && kind() != kOpfGreater && kind() != kOpfEq) return syntax();
    int32 op = kind();
    next();
    if (!side(op, v, true)) return syntax();
  }
  for (; kind() == kOpfName || kind() == kOpfComma || kind() == kOpfStar; next()) {
    if (kind() == kOpfComma) continue;
    if (kind() == kOpfStar) {
      for (int32 j = 0; j < names_.size(); ++j)
        list_.push_back(j);
      continue;
    }
    if (!t().quoted && lower_is(t().text, "free")) {
      lo = -kNoBound;
      up = kNoBound;
      continue;
    }
    int32 j = 0;
    if ((r = var(t().text, &j)) != TVA_RES_OK) return r;
    list_.push_back(j);
  }
  if (kind() == kOpfLess || kind() == kOpfGreater || kind() == kOpfEq) {
    int32 op = kind();
    next();
    double v = 0.0;
    if ((r = value(&v)) != TVA_RES_OK) return r;
    if (!side(op, v, false)) return syntax();
  }
  if (!is_closing("b")) return syntax();
  for (int32 j : list_) {
    if (!std::isnan(lo)) var_bl_[j] = lo;
    if (!std::isnan(up)) var_bu_[j] = up;
    var_fixed_[j] = fixed;
  }
  return TVA_RES_OK;
}

TVArescode Reader::read_cone() {
  int32 type = -1;
  SysString name{SysAllocator<char>(sys_)};
  for (const OpfParam& p : t().params) {
    const SysString& w = p.value;
    bool type_word = p.key.empty() || lower_is(p.key, "type");
    if (type_word && !p.quoted && type < 0 && (lower_is(w, "quad") || lower_is(w, "quadratic")))
      type = TVA_CT_QUAD;
    else if (type_word && !p.quoted && type < 0 &&
             (lower_is(w, "rquad") || lower_is(w, "rotatedquadratic")))
      type = TVA_CT_RQUAD;
    else if (p.key.empty())
      name = w;
  }
  if (type < 0) return syntax();
  TVArescode r = var_list("cone");
  if (r != TVA_RES_OK) return r;
  int64 first = static_cast<int64>(cone_sub_.size());
  cone_sub_.insert(cone_sub_.end(), list_.begin(), list_.end());
  cones_.push_back({type, first, static_cast<int64>(cone_sub_.size())});
  cone_names_.add(name.c_str());
  return TVA_RES_OK;
}

TVArescode Reader::read_bounds() {
  for (next(); !is_closing("bounds"); next()) {
    if (kind() != kOpfTag || t().closing) return syntax();
    TVArescode r = t().text == "b" ? read_bound() : t().text == "cone" ? read_cone() : syntax();
    if (r != TVA_RES_OK) return r;
  }
  return TVA_RES_OK;
}

TVArescode Reader::read_integer() {
  TVArescode r = var_list("integer");
  for (int32 j : list_)
    var_int_[j] = 1;
  return r;
}

TVArescode Reader::read_variables() {
  bool disallow = false;
  for (const OpfParam& p : t().params)
    disallow = disallow || (p.key.empty() && lower_is(p.value, "disallow_new_variables"));
  TVArescode r = var_list("variables");
  disallow_new_ = disallow_new_ || disallow;
  return r;
}

TVArescode Reader::read_hints() {
  for (next(); !is_closing("hints"); next()) {
    if (kind() != kOpfTag || t().closing || t().text != "hint" || t().params.empty())
      return syntax();
    SysString what = t().params[0].value;
    next();
    if (kind() != kOpfNumber) return syntax();
    double v = t().value;
    next();
    if (!is_closing("hint")) return syntax();
    if (!(v >= 0.0) || v > static_cast<double>(opt_.max_hint)) continue;
    int64 n = static_cast<int64>(v);
    TVArescode r = TVA_RES_OK;
    if (lower_is(what, "numvar") && n > task_->maxnumvar)
      r = store_putmaxnumvar(task_, static_cast<int32>(n));
    else if (lower_is(what, "numcon") && n > task_->maxnumcon)
      r = store_putmaxnumcon(task_, static_cast<int32>(n));
    else if (lower_is(what, "numcone") && n > task_->maxnumcone)
      r = store_putmaxnumcone(task_, static_cast<int32>(n));
    else if (lower_is(what, "numanz") && n > task_->maxnumanz)
      r = store_putmaxnumanz(task_, n);
    else if (lower_is(what, "numqnz") && n > task_->maxnumqnz)
      r = store_putmaxnumqnz(task_, n);
    if (r != TVA_RES_OK) return r;
  }
  return TVA_RES_OK;
}

TVArescode Reader::read_problemname() {
  taskname_.clear();
  lex_.raw_text(&taskname_);
  while (!taskname_.empty() && text_is_space(static_cast<unsigned char>(taskname_.back())))
    taskname_.pop_back();
  size_t b = 0;
  while (b < taskname_.size() && text_is_space(static_cast<unsigned char>(taskname_[b])))
    ++b;
  taskname_.erase(0, b);
  next();
  return is_closing("problemname") ? TVA_RES_OK : syntax();
}

// "[p NAME] value [/p]": a parameter that is unknown, or whose value does not parse, gives a
// warning and the read goes on.
TVArescode Reader::read_parameter() {
  if (t().params.empty()) return syntax();
  SysString name = t().params[0].value;
  SysString text{SysAllocator<char>(sys_)};
  next();
  if (kind() == kOpfName || kind() == kOpfNumber) {
    // The value's text as written: a word, a quoted string, or a number with its sign.
    text = t().text;
    if (kind() == kOpfNumber) {
      char buf[40];
      std::snprintf(buf, sizeof buf, "%.17g", t().value);
      text = buf;
    }
    next();
  } else if (kind() == kOpfMinus || kind() == kOpfPlus) {
    bool minus = kind() == kOpfMinus;
    next();
    if (kind() != kOpfNumber) return syntax();
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.17g", minus ? -t().value : t().value);
    text = buf;
    next();
  }
  if (!is_closing("p")) return syntax();
  int32 index = -1;
  int32 type = param_which(task_->env, name.c_str(), &index);
  if (type == TVA_PAR_INVALID_TYPE) {
    if (name.rfind("TVA_DPAR_", 0) == 0) return TVA_REP(task_, WRN_PARAM_NAME_DOU, name.c_str());
    if (name.rfind("TVA_SPAR_", 0) == 0) return TVA_REP(task_, WRN_PARAM_NAME_STR, name.c_str());
    return TVA_REP(task_, WRN_PARAM_NAME_INT, name.c_str());
  }
  if (param_put_text(task_, type, index, text.c_str()) != TVA_RES_OK)
    return TVA_REP(task_, WRN_PARAM_STR_VALUE, text.c_str(), name.c_str());
  return TVA_RES_OK;
}

TVArescode Reader::read_vendor() {
  if (t().params.empty() || !lower_is(t().params[0].value, "telva")) return skip("vendor");
  for (next(); !is_closing("vendor"); next()) {
    if (kind() != kOpfTag || t().closing || t().text != "parameters") return syntax();
    for (next(); !is_closing("parameters"); next()) {
      if (kind() != kOpfTag || t().closing || t().text != "p") return syntax();
      TVArescode r = read_parameter();
      if (r != TVA_RES_OK) return r;
    }
  }
  return TVA_RES_OK;
}

TVArescode Reader::put_all() {
  int32 numvar = names_.size(), numcon = con_names_.size();
  TVArescode r = store_appendcons(task_, numcon);
  if (r == TVA_RES_OK) r = store_appendvars(task_, numvar);
  for (int32 i = 0; i < numcon && r == TVA_RES_OK; ++i)
    if (con_names_.get(i)[0]) r = store_putname(task_, kNameCon, i, con_names_.get(i));
  for (int32 j = 0; j < numvar && r == TVA_RES_OK; ++j)
    r = store_putname(task_, kNameVar, j, names_.get(j));
  if (r == TVA_RES_OK && numcon > 0)
    r = store_putboundlist(task_, TVA_ACC_CON, numcon, nullptr, 0, con_bk_.data(), con_bl_.data(),
                           con_bu_.data());
  SysVector<int32> bk(static_cast<size_t>(numvar), 0, SysAllocator<int32>(sys_));
  for (int32 j = 0; j < numvar; ++j) {
    bool lo = var_bl_[j] > -kNoBound, up = var_bu_[j] < kNoBound;
    bk[j] = lo && up ? (var_fixed_[j] ? TVA_BK_FX : TVA_BK_RA)
            : lo     ? TVA_BK_LO
            : up     ? TVA_BK_UP
                     : TVA_BK_FR;
  }
  if (r == TVA_RES_OK && numvar > 0)
    r = store_putboundlist(task_, TVA_ACC_VAR, numvar, nullptr, 0, bk.data(), var_bl_.data(),
                           var_bu_.data());
  if (r == TVA_RES_OK && numvar > 0) r = store_putclist(task_, numvar, nullptr, 0, c_.data());
  if (r == TVA_RES_OK) {
    store_putcfix(task_, cfix_);
    r = store_putobjsense(task_, sense_);
  }
  if (r == TVA_RES_OK && !objname_.empty()) r = store_putobjname(task_, objname_.c_str());
  for (int32 j = 0; j < numvar && r == TVA_RES_OK; ++j)
    if (var_int_[j]) r = store_putvartype(task_, j, TVA_VAR_TYPE_INT);
  if (r == TVA_RES_OK && numcon > 0 && !row_sub_.empty())
    r = store_putavecs(task_, false, numcon, nullptr, 0, row_ptr_.data(), row_ptr_.data() + 1,
                       row_sub_.data(), row_val_.data());
  SysVector<int32> qk{SysAllocator<int32>(sys_)}, qi{SysAllocator<int32>(sys_)},
      qj{SysAllocator<int32>(sys_)};
  SysVector<double> qv{SysAllocator<double>(sys_)};
  for (int pass = 0; pass < 2 && r == TVA_RES_OK; ++pass) {
    qk.clear(), qi.clear(), qj.clear(), qv.clear();
    for (const QEntry& e : q_)
      if ((e.k < 0) == (pass == 0)) {
        qk.push_back(e.k), qi.push_back(e.i), qj.push_back(e.j), qv.push_back(e.v);
      }
    if (qi.empty()) continue;
    int32 n = static_cast<int32>(qi.size());
    r = pass == 0 ? store_putqobj(task_, n, qi.data(), qj.data(), qv.data())
                  : store_putqcon(task_, n, qk.data(), qi.data(), qj.data(), qv.data());
  }
  for (size_t k = 0; k < cones_.size() && r == TVA_RES_OK; ++k) {
    const ConeRec& c = cones_[k];
    r = store_appendcone(task_, c.type, 0.0, static_cast<int32>(c.last - c.first),
                         cone_sub_.data() + c.first);
    if (r == TVA_RES_OK && cone_names_.get(static_cast<int32>(k))[0])
      r = store_putname(task_, kNameCone, static_cast<int32>(k),
                        cone_names_.get(static_cast<int32>(k)));
  }
  if (r == TVA_RES_OK) {
    char* copy = sysenv_strdup(sys_, TVA_HERE, taskname_.c_str());
    if (!copy) return TVA_REP(task_, ERR_SPACE);
    TVA_SYS_FREE(sys_, task_->taskname);
    task_->taskname = copy;
  }
  return r;
}

TVArescode Reader::run() {
  TVArescode r = TVA_RES_OK;
  for (next(); kind() != kOpfEof && r == TVA_RES_OK; next()) {
    if (kind() != kOpfTag) continue; // text outside the tags
    if (t().closing) return syntax();
    SysString name = t().text;
    if (name == "objective")
      r = read_objective();
    else if (name == "constraints")
      r = read_constraints();
    else if (name == "bounds")
      r = read_bounds();
    else if (name == "integer")
      r = read_integer();
    else if (name == "variables")
      r = read_variables();
    else if (name == "hints")
      r = read_hints();
    else if (name == "problemname")
      r = read_problemname();
    else if (name == "vendor")
      r = read_vendor();
    else
      r = skip(name.c_str()); // comments, solutions, branch priorities and the unknown
  }
  if (r == TVA_RES_OK && lex_.failed()) r = TVA_REP(task_, ERR_FILE_READ, "");
  if (r == TVA_RES_OK) r = put_all();
  return r;
}

} // namespace

TVArescode opf_read(TvaTask* task, const TextSource& src, const OpfReadOptions& opt) {
  try {
    Reader reader(task, src, opt);
    return reader.run();
  } catch (const std::bad_alloc&) {
    return TVA_REP(task, ERR_SPACE);
  }
}

} // namespace telva
