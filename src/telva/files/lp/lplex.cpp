// The LP lexer: names, quoted names, labels, numbers, operators and keywords, with one token
// of look-ahead for "subject to".
#include "telva/files/lp/lplex.h"

#include <cstring>

namespace telva {

namespace {

constexpr const char* kNameSpecials = "!\"#$%&/(),.;?@_'`{}|~";

struct Keyword {
  const char* word;
  int32 kind;
};
constexpr Keyword kKeywords[] = {
    {"inf", kLpInfinity},      {"infinity", kLpInfinity}, {"max", kLpMaximize},
    {"maximize", kLpMaximize}, {"maximum", kLpMaximize},  {"min", kLpMinimize},
    {"minimize", kLpMinimize}, {"minimum", kLpMinimize},  {"bound", kLpBounds},
    {"bounds", kLpBounds},     {"bin", kLpBinary},        {"binary", kLpBinary},
    {"binaries", kLpBinary},   {"gen", kLpGeneral},       {"general", kLpGeneral},
    {"generals", kLpGeneral},  {"integer", kLpGeneral},   {"integers", kLpGeneral},
    {"end", kLpEnd},           {"s.t.", kLpSubjectTo},    {"st", kLpSubjectTo},
};

bool is_subject(const SysString& s) {
  return text_word_is(s.data(), s.size(), "subject") || text_word_is(s.data(), s.size(), "subj");
}

} // namespace

bool lp_name_start(int ch) {
  return ch > 0 && (text_is_alpha(ch) || std::strchr(kNameSpecials, ch) != nullptr);
}

bool lp_name_char(int ch) {
  return lp_name_start(ch) || text_is_digit(ch);
}

int32 lp_keyword(const char* s, size_t n) {
  for (const Keyword& k : kKeywords)
    if (text_word_is(s, n, k.word)) return k.kind;
  return kLpName;
}

void LpLexer::skip_space() {
  for (;;) {
    int ch = in_.peek();
    if (text_is_space(ch)) {
      in_.get();
    } else if (ch == '\\') {
      while (ch >= 0 && ch != '\n')
        ch = in_.get();
    } else {
      return;
    }
  }
}

void LpLexer::scan_name(LpToken* t, bool quoted) {
  t->kind = kLpName;
  t->quoted = quoted;
  if (quoted) {
    in_.get(); // the opening quote
    for (;;) {
      int ch = in_.get();
      if (ch < 0) {
        t->kind = kLpEof; // no closing quote
        return;
      }
      if (ch == '"') break;
      t->text.push_back(static_cast<char>(ch));
    }
  } else {
    while (lp_name_char(in_.peek()))
      t->text.push_back(static_cast<char>(in_.get()));
  }
  skip_space();
  if (in_.peek() == ':') {
    in_.get();
    t->kind = kLpLabel;
    if (in_.peek() == ':') {
      in_.get();
      t->kind = kLpRangeLabel;
    }
    return;
  }
  if (!quoted) t->kind = lp_keyword(t->text.data(), t->text.size());
}

void LpLexer::scan(LpToken* t) {
  skip_space();
  t->text.clear();
  t->quoted = false;
  t->line = in_.line();
  int ch = in_.peek();
  auto one = [&](int32 kind) {
    in_.get();
    t->kind = kind;
  };
  auto two = [&](int second, int32 both, int32 single) {
    in_.get();
    if (in_.peek() == second) {
      in_.get();
      t->kind = both;
    } else {
      t->kind = single;
    }
  };
  switch (ch) {
  case -1:
    t->kind = kLpEof;
    return;
  case '+':
    return one(kLpPlus);
  case '-':
    return one(kLpMinus);
  case '*':
    return one(kLpStar);
  case '^':
    return one(kLpCaret);
  case ':':
    return one(kLpColon);
  case '[':
    return one(kLpOpen);
  case ']':
    return one(kLpClose);
  case '<':
    return two('=', kLpLessEq, kLpLess);
  case '>':
    return two('=', kLpGreaterEq, kLpGreater);
  case '=':
    in_.get();
    if (in_.peek() == '<') {
      in_.get();
      t->kind = kLpLessEq;
    } else if (in_.peek() == '>') {
      in_.get();
      t->kind = kLpGreaterEq;
    } else {
      t->kind = kLpEq;
    }
    return;
  default:
    break;
  }
  // A slash after a closing bracket is the "/2" of a quadratic group; elsewhere it starts a
  // name.
  if (ch == '/' && last_kind_ == kLpClose) return one(kLpSlash);
  if (text_is_digit(ch) || (ch == '.' && text_is_digit(in_.peek2()))) {
    t->kind = text_read_number(in_, false, &t->value) ? kLpNumber : kLpEof;
    return;
  }
  if (ch == '"') return scan_name(t, true);
  if (lp_name_start(ch)) return scan_name(t, false);
  t->kind = kLpEof; // a character that fits nothing
}

const LpToken& LpLexer::next() {
  if (have_ahead_) {
    std::swap(tok_, ahead_);
    have_ahead_ = false;
  } else {
    scan(&tok_);
  }
  // "subject to" and "subj to", in any case, are one keyword; without "to" the word is a name.
  if (tok_.kind == kLpName && !tok_.quoted && is_subject(tok_.text)) {
    scan(&ahead_);
    if (ahead_.kind == kLpName && !ahead_.quoted &&
        text_word_is(ahead_.text.data(), ahead_.text.size(), "to")) {
      tok_.kind = kLpSubjectTo;
    } else {
      have_ahead_ = true;
    }
  }
  last_kind_ = tok_.kind;
  return tok_;
}

} // namespace telva
