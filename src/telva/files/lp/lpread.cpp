// The LP reader: a recursive-descent parser over the lexer. The problem is gathered in plain
// arrays (variables in order of appearance, rows by rows) and put into the task at the end,
// through the store's own list functions.
#include <cmath>
#include <new>

#include "telva/files/lp/lpfile.h"
#include "telva/files/lp/lplex.h"
#include "telva/files/mps/mpsmodel.h"
#include "telva/files/text/termsum.h"
#include "telva/log/report.h"

namespace telva {

namespace {

// The side of a bound that is not there, and the value of the words for infinity, while a
// file is read; the store gets its own infinity at the end. A number, however large, is a
// bound.
constexpr double kNoBound = HUGE_VAL;

struct QEntry {
  int32 i, j;
  double v;
};

class Reader {
public:
  Reader(TvaTask* task, const TextSource& src)
      : task_(task), sys_(task->sys), lex_(task->sys, src), names_(task->sys),
        var_bl_(SysAllocator<double>(sys_)), var_bu_(SysAllocator<double>(sys_)),
        var_fixed_(SysAllocator<char>(sys_)), var_int_(SysAllocator<char>(sys_)),
        c_(SysAllocator<double>(sys_)), objname_(SysAllocator<char>(sys_)), acc_(sys_),
        q_(SysAllocator<QEntry>(sys_)), qobj_(SysAllocator<QEntry>(sys_)), con_names_(task->sys),
        con_bk_(SysAllocator<int32>(sys_)), con_bl_(SysAllocator<double>(sys_)),
        con_bu_(SysAllocator<double>(sys_)), row_ptr_(1, 0, SysAllocator<int64>(sys_)),
        row_sub_(SysAllocator<int32>(sys_)), row_val_(SysAllocator<double>(sys_)),
        qk_(SysAllocator<int32>(sys_)), qi_(SysAllocator<int32>(sys_)),
        qj_(SysAllocator<int32>(sys_)), qv_(SysAllocator<double>(sys_)) {}

  TVArescode run();

private:
  const LpToken& t() const { return lex_.tok(); }
  int32 kind() const { return lex_.tok().kind; }
  void next() { lex_.next(); }
  TVArescode syntax() { return syntax_at(lex_.line()); }
  TVArescode syntax_at(int64 line) {
    if (lex_.failed()) return TVA_REP(task_, ERR_FILE_READ, "");
    return TVA_REP(task_, ERR_LP_FILE_FORMAT, static_cast<uint64_t>(line));
  }
  // A value that its place does not allow: the fault is on the value's line.
  TVArescode bad_value() { return syntax_at(value_line_); }
  bool is_name() const { return kind() == kLpName; }
  bool is_comparison() const {
    return kind() == kLpLess || kind() == kLpLessEq || kind() == kLpGreater ||
           kind() == kLpGreaterEq || kind() == kLpEq;
  }
  bool is_less() const { return kind() == kLpLess || kind() == kLpLessEq; }
  bool is_greater() const { return kind() == kLpGreater || kind() == kLpGreaterEq; }
  bool starts_value() const {
    return kind() == kLpPlus || kind() == kLpMinus || kind() == kLpNumber || kind() == kLpInfinity;
  }

  // The variable of the current name token, made when new with bounds [lo, up].
  int32 var(double lo = 0.0, double up = kNoBound);
  // "[sign] number|infinity", infinity as +-1e30.
  TVArescode value(double* v, bool allow_infinity);
  TVArescode expression(bool objective, bool* quadratic_seen);
  TVArescode quadratic_group(SysVector<QEntry>* out, bool objective);
  TVArescode constraint();
  TVArescode bound();
  TVArescode bounds_section();
  TVArescode integer_section(bool binary);
  TVArescode put_all();

  TvaTask* task_;
  sysenv* sys_;
  LpLexer lex_;
  int64 value_line_ = 1; // the line of the last value read

  MpsNames names_; // variables
  SysVector<double> var_bl_, var_bu_;
  SysVector<char> var_fixed_, var_int_;
  SysVector<double> c_;
  double cfix_ = 0.0;
  int32 sense_ = TVA_OBJECTIVE_SENSE_MINIMIZE;
  SysString objname_;

  TermSum acc_;
  SysVector<QEntry> q_, qobj_;

  MpsNames con_names_;
  SysVector<int32> con_bk_;
  SysVector<double> con_bl_, con_bu_;
  SysVector<int64> row_ptr_;
  SysVector<int32> row_sub_;
  SysVector<double> row_val_;
  SysVector<int32> qk_, qi_, qj_;
  SysVector<double> qv_;
};

int32 Reader::var(double lo, double up) {
  const char* name = t().text.c_str();
  int32 j = names_.find(name);
  if (j >= 0) return j;
  j = names_.add(name);
  var_bl_.push_back(lo);
  var_bu_.push_back(up);
  var_fixed_.push_back(0);
  var_int_.push_back(0);
  c_.push_back(0.0);
  return j;
}

TVArescode Reader::value(double* v, bool allow_infinity) {
  double sign = 1.0;
  if (kind() == kLpPlus || kind() == kLpMinus) {
    sign = kind() == kLpMinus ? -1.0 : 1.0;
    next();
  }
  if (kind() == kLpNumber) {
    *v = sign * t().value;
  } else if (kind() == kLpInfinity && allow_infinity) {
    *v = sign * kNoBound;
  } else {
    return syntax();
  }
  value_line_ = t().line;
  next();
  return TVA_RES_OK;
}

// "[ term sign term ... ]", then "/2" or not. Terms: "[number] x ^ 2", "[number] x * y",
// "[number] x y". With "/2" the coefficients are those of the form 1/2 x'Qx: a square's
// coefficient is Q's diagonal entry, a product's is twice the off-diagonal entry. Without it
// the group is the plain polynomial, whose values are doubled.
TVArescode Reader::quadratic_group(SysVector<QEntry>* out, bool objective) {
  (void)objective;
  size_t first = out->size();
  next(); // "["
  bool first_term = true;
  while (kind() != kLpClose) {
    double sign = 1.0;
    if (kind() == kLpPlus || kind() == kLpMinus) {
      sign = kind() == kLpMinus ? -1.0 : 1.0;
      next();
    } else if (!first_term) {
      return syntax();
    }
    first_term = false;
    double coef = 1.0;
    if (kind() == kLpNumber) {
      coef = t().value;
      next();
    }
    if (!is_name()) return syntax();
    int32 i = var();
    next();
    int32 j = -1;
    if (kind() == kLpCaret) {
      next();
      if (kind() != kLpNumber || t().value != 2.0) return syntax();
      j = i;
      next();
    } else if (kind() == kLpStar) {
      next();
      if (!is_name()) return syntax();
      j = var();
      next();
    } else if (is_name()) {
      j = var();
      next();
    } else {
      return syntax();
    }
    double v = sign * coef;
    if (!std::isfinite(v)) return syntax();
    if (i != j) v *= 0.5;
    out->push_back({std::max(i, j), std::min(i, j), v});
  }
  next(); // "]"
  if (kind() == kLpSlash) {
    next();
    if (kind() != kLpNumber || t().value != 2.0 || t().text.size() > 1) return syntax();
    next();
  } else {
    for (size_t p = first; p < out->size(); ++p)
      (*out)[p].v *= 2.0;
  }
  return TVA_RES_OK;
}

// Linear terms, constants (objective only) and quadratic groups. Stops at the first token that
// continues no expression.
TVArescode Reader::expression(bool objective, bool* quadratic_seen) {
  bool first = true;
  for (;;) {
    double sign = 1.0;
    bool signed_term = false;
    if (kind() == kLpPlus || kind() == kLpMinus) {
      sign = kind() == kLpMinus ? -1.0 : 1.0;
      signed_term = true;
      next();
    } else if (!first && kind() != kLpOpen) {
      return TVA_RES_OK;
    }
    first = false;
    if (kind() == kLpOpen) {
      if (sign < 0) return syntax();
      *quadratic_seen = true;
      TVArescode r = quadratic_group(objective ? &qobj_ : &q_, objective);
      if (r != TVA_RES_OK) return r;
      continue;
    }
    if (kind() == kLpNumber) {
      double coef = sign * t().value;
      next();
      if (is_name()) {
        if (!std::isfinite(coef)) return syntax();
        acc_.add(var(), coef);
        next();
      } else if (objective) {
        if (!std::isfinite(coef)) return syntax();
        cfix_ += coef;
      } else {
        return syntax();
      }
    } else if (is_name()) {
      acc_.add(var(), sign);
      next();
    } else if (signed_term) {
      return syntax();
    } else {
      return TVA_RES_OK; // an empty expression
    }
  }
}

TVArescode Reader::constraint() {
  const char* name = "";
  bool range = false;
  SysString label{SysAllocator<char>(sys_)};
  if (kind() == kLpLabel || kind() == kLpRangeLabel) {
    range = kind() == kLpRangeLabel;
    label = t().text;
    name = label.c_str();
    next();
  }
  double lo = -kNoBound, up = kNoBound;
  bool first_bound = false, first_lower = false;
  TVArescode r = TVA_RES_OK;
  if (range && starts_value()) {
    double v = 0.0;
    if ((r = value(&v, true)) != TVA_RES_OK) return r;
    if (is_less()) {
      if (v >= kNoBound) return bad_value();
      lo = v;
      first_lower = true;
    } else if (is_greater()) {
      if (v <= -kNoBound) return bad_value();
      up = v;
    } else {
      return syntax();
    }
    first_bound = true;
    next();
  }
  acc_.clear();
  q_.clear();
  bool quadratic = false;
  if ((r = expression(false, &quadratic)) != TVA_RES_OK) return r;
  if (is_comparison()) {
    int32 op = kind();
    next();
    double v = 0.0;
    if ((r = value(&v, true)) != TVA_RES_OK) return r;
    bool less = op == kLpLess || op == kLpLessEq;
    bool greater = op == kLpGreater || op == kLpGreaterEq;
    if (first_bound && (op == kLpEq || less != first_lower)) return bad_value();
    if (op == kLpEq) {
      if (std::fabs(v) >= kNoBound) return bad_value();
      lo = up = v;
    } else if (less) {
      if (v <= -kNoBound) return bad_value();
      up = v;
    } else if (greater) {
      if (v >= kNoBound) return bad_value();
      lo = v;
    }
  } else if (!first_bound) {
    return syntax();
  }
  bool has_lo = lo > -kNoBound, has_up = up < kNoBound;
  int32 bk = has_lo && has_up ? (lo == up && !first_bound ? TVA_BK_FX : TVA_BK_RA)
             : has_lo         ? TVA_BK_LO
             : has_up         ? TVA_BK_UP
                              : TVA_BK_FR;
  int32 row = con_names_.add(name);
  con_bk_.push_back(bk);
  con_bl_.push_back(lo);
  con_bu_.push_back(up);
  for (int32 j : acc_.touched()) {
    double a = acc_.coef(j);
    if (a == 0.0) continue;
    row_sub_.push_back(j);
    row_val_.push_back(a);
  }
  row_ptr_.push_back(static_cast<int64>(row_sub_.size()));
  for (const QEntry& e : q_) {
    qk_.push_back(row);
    qi_.push_back(e.i);
    qj_.push_back(e.j);
    qv_.push_back(e.v);
  }
  return TVA_RES_OK;
}

// One bound statement: "v op x [op v]", "x op v", "x = v" or "x free".
TVArescode Reader::bound() {
  TVArescode r = TVA_RES_OK;
  double lo = NAN, up = NAN;
  bool fixed = false;
  int32 j = -1;
  auto side = [&](bool less_op, bool value_left, double v) -> bool {
    // A value left of "<=" or right of ">=" is a lower bound.
    bool lower = less_op == value_left;
    if (lower ? v >= kNoBound : v <= -kNoBound) return false;
    (lower ? lo : up) = v;
    return true;
  };
  if (starts_value()) {
    double v = 0.0;
    if ((r = value(&v, true)) != TVA_RES_OK) return r;
    if (!is_less() && !is_greater()) return syntax();
    bool less = is_less();
    next();
    if (!is_name()) return syntax();
    j = var();
    next();
    if (!side(less, true, v)) return bad_value();
    if (is_less() || is_greater()) {
      less = is_less();
      next();
      if ((r = value(&v, true)) != TVA_RES_OK) return r;
      if (!side(less, false, v)) return bad_value();
    }
  } else if (is_name()) {
    j = var();
    next();
    if (kind() == kLpName && !t().quoted &&
        text_word_is(t().text.data(), t().text.size(), "free")) {
      lo = -kNoBound;
      up = kNoBound;
      next();
    } else if (kind() == kLpEq) {
      next();
      double v = 0.0;
      if ((r = value(&v, false)) != TVA_RES_OK) return r;
      lo = up = v;
      fixed = true;
    } else if (is_less() || is_greater()) {
      bool less = is_less();
      next();
      double v = 0.0;
      if ((r = value(&v, true)) != TVA_RES_OK) return r;
      if (!side(less, false, v)) return bad_value();
    } else {
      return syntax();
    }
  } else {
    return syntax();
  }
  if (!std::isnan(lo)) var_bl_[j] = lo;
  if (!std::isnan(up)) var_bu_[j] = up;
  var_fixed_[j] = fixed;
  return TVA_RES_OK;
}

TVArescode Reader::bounds_section() {
  next();
  while (starts_value() || is_name()) {
    TVArescode r = bound();
    if (r != TVA_RES_OK) return r;
  }
  return TVA_RES_OK;
}

// A binary variable is clipped to [0, 1]; a new one starts there.
TVArescode Reader::integer_section(bool binary) {
  next();
  while (is_name()) {
    int32 j = binary ? var(0.0, 1.0) : var();
    if (binary) {
      var_bl_[j] = std::max(var_bl_[j], 0.0);
      var_bu_[j] = std::min(var_bu_[j], 1.0);
      var_fixed_[j] = 0;
    }
    var_int_[j] = 1;
    next();
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
  if (r == TVA_RES_OK) r = store_putobjname(task_, objname_.c_str());
  for (int32 j = 0; j < numvar && r == TVA_RES_OK; ++j)
    if (var_int_[j]) r = store_putvartype(task_, j, TVA_VAR_TYPE_INT);
  if (r == TVA_RES_OK && numcon > 0 && !row_sub_.empty())
    r = store_putavecs(task_, false, numcon, nullptr, 0, row_ptr_.data(), row_ptr_.data() + 1,
                       row_sub_.data(), row_val_.data());
  if (r == TVA_RES_OK && !qobj_.empty()) {
    SysVector<int32> qi{SysAllocator<int32>(sys_)}, qj{SysAllocator<int32>(sys_)};
    SysVector<double> qv{SysAllocator<double>(sys_)};
    for (const QEntry& e : qobj_) {
      qi.push_back(e.i);
      qj.push_back(e.j);
      qv.push_back(e.v);
    }
    r = store_putqobj(task_, static_cast<int32>(qi.size()), qi.data(), qj.data(), qv.data());
  }
  if (r == TVA_RES_OK && !qk_.empty())
    r = store_putqcon(task_, static_cast<int32>(qk_.size()), qk_.data(), qi_.data(), qj_.data(),
                      qv_.data());
  return r;
}

TVArescode Reader::run() {
  next();
  if (kind() != kLpMinimize && kind() != kLpMaximize) return syntax();
  sense_ = kind() == kLpMaximize ? TVA_OBJECTIVE_SENSE_MAXIMIZE : TVA_OBJECTIVE_SENSE_MINIMIZE;
  next();
  if (kind() == kLpLabel) {
    objname_ = t().text;
    next();
  } else {
    objname_ = "obj";
  }
  acc_.clear();
  bool quadratic = false;
  TVArescode r = expression(true, &quadratic);
  if (r != TVA_RES_OK) return r;
  for (int32 j : acc_.touched())
    c_[j] = acc_.coef(j);
  if (kind() == kLpSubjectTo) {
    next();
    while (r == TVA_RES_OK &&
           (kind() == kLpPlus || kind() == kLpMinus || kind() == kLpOpen || kind() == kLpNumber ||
            is_name() || kind() == kLpLabel || kind() == kLpRangeLabel))
      r = constraint();
  }
  // The bounds and the integer sections, in any order.
  while (r == TVA_RES_OK) {
    if (kind() == kLpBounds)
      r = bounds_section();
    else if (kind() == kLpBinary || kind() == kLpGeneral)
      r = integer_section(kind() == kLpBinary);
    else
      break;
  }
  if (r != TVA_RES_OK) return r;
  if (kind() != kLpEnd) {
    if (lex_.failed()) return TVA_REP(task_, ERR_FILE_READ, "");
    return TVA_REP(task_, ERR_READ_LP_MISSING_END_TAG, static_cast<int32>(lex_.line()));
  }
  // What follows "end" is not read.
  r = put_all();
  // A failing task call counts as a fault of the file at the place reached.
  if (r != TVA_RES_OK && r != TVA_RES_ERR_SPACE)
    return TVA_REP(task_, ERR_LP_FILE_FORMAT, static_cast<uint64_t>(lex_.line()));
  return r;
}

} // namespace

TVArescode lp_read(TvaTask* task, const TextSource& src) {
  try {
    Reader reader(task, src);
    return reader.run();
  } catch (const std::bad_alloc&) {
    return TVA_REP(task, ERR_SPACE);
  }
}

} // namespace telva
