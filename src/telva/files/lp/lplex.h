// The tokens of LP files.
#pragma once

#include "telva/files/text/textio.h"

namespace telva {

enum LpTok : int32 {
  kLpEof = 0, // the end of the input, or a character that fits nothing
  kLpPlus,
  kLpMinus,
  kLpStar,
  kLpCaret,
  kLpSlash,
  kLpColon,
  kLpOpen,
  kLpClose,
  kLpEq,
  kLpLess,
  kLpLessEq,
  kLpGreater,
  kLpGreaterEq,
  kLpNumber,
  kLpName,       // also a quoted name (quoted tells)
  kLpLabel,      // "name:"
  kLpRangeLabel, // "name::"
  // Keywords.
  kLpInfinity,
  kLpMaximize,
  kLpMinimize,
  kLpBounds,
  kLpBinary,
  kLpGeneral,
  kLpEnd,
  kLpSubjectTo,
};

struct LpToken {
  explicit LpToken(sysenv* sys) : text(SysAllocator<char>(sys)) {}
  int32 kind = kLpEof;
  SysString text; // names and labels; the number's text
  double value = 0.0;
  bool quoted = false;
  int64 line = 1;
};

// Whether a character may start an LP name, and continue one.
bool lp_name_start(int ch);
bool lp_name_char(int ch);
// The keyword kind of a word, or kLpName.
int32 lp_keyword(const char* s, size_t n);

class LpLexer {
public:
  LpLexer(sysenv* sys, const TextSource& src) : in_(sys, src), tok_(sys), ahead_(sys) {}

  // Moves to the next token and gives it.
  const LpToken& next();
  const LpToken& tok() const { return tok_; }
  int64 line() const { return tok_.line; }
  bool failed() const { return in_.failed(); }

private:
  void scan(LpToken* t);
  void scan_name(LpToken* t, bool quoted);
  void skip_space();

  TextIn in_;
  LpToken tok_, ahead_;
  bool have_ahead_ = false;
  int32 last_kind_ = kLpEof;
};

} // namespace telva
