// The tokens of OPF files: tags with their parameters, and inside sections names, numbers and
// operators.
#pragma once

#include "telva/files/text/textio.h"

namespace telva {

enum OpfTok : int32 {
  kOpfEof = 0,
  kOpfTag, // "[name params]" or "[/name]"
  kOpfName,
  kOpfNumber,
  kOpfPlus,
  kOpfMinus,
  kOpfStar,
  kOpfCaret,
  kOpfOpen,  // "("
  kOpfClose, // ")"
  kOpfComma,
  kOpfLess,    // "<" or "<="
  kOpfGreater, // ">" or ">="
  kOpfEq,
  kOpfBad, // a character that fits nothing, or an unclosed quote
};

// A word of a tag: "word", "'quoted word'" or "key=value".
struct OpfParam {
  explicit OpfParam(sysenv* sys) : key(SysAllocator<char>(sys)), value(SysAllocator<char>(sys)) {}
  SysString key; // empty for a plain word
  SysString value;
  bool quoted = false;
};

struct OpfToken {
  explicit OpfToken(sysenv* sys)
      : text(SysAllocator<char>(sys)), params(SysAllocator<OpfParam>(sys)) {}
  int32 kind = kOpfEof;
  SysString text; // a name, or the tag's name in lower case
  bool quoted = false;
  bool closing = false; // "[/name]"
  double value = 0.0;
  SysVector<OpfParam> params;
  int64 line = 1;
};

// A plain OPF name: a letter, then letters, digits, "@", "_", "{", "}".
bool opf_plain_char(int ch);

class OpfLexer {
public:
  OpfLexer(sysenv* sys, const TextSource& src) : sys_(sys), in_(sys, src), tok_(sys) {}

  const OpfToken& next();
  const OpfToken& tok() const { return tok_; }
  int64 line() const { return in_.line(); }
  bool failed() const { return in_.failed(); }
  bool at_end() { return in_.peek() < 0; }

  // Skips to the closing tag of name (lower case) without looking at the content; false at
  // the end of the input.
  bool skip_section(const char* name);
  // Reads the raw text up to the next tag, with "\\" making the next character plain, and
  // stops before the "[".
  void raw_text(SysString* out);

private:
  void skip_space();
  bool quoted(int quote, SysString* out);
  void tag();

  sysenv* sys_;
  TextIn in_;
  OpfToken tok_;
};

} // namespace telva
