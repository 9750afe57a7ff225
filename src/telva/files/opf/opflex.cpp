// The OPF lexer.
#include "telva/files/opf/opflex.h"

#include <cstring>

namespace telva {

bool opf_plain_char(int ch) {
  return text_is_alpha(ch) || text_is_digit(ch) || ch == '@' || ch == '_' || ch == '{' || ch == '}';
}

namespace {

bool tag_char(int ch) {
  return opf_plain_char(ch);
}

} // namespace

void OpfLexer::skip_space() {
  for (;;) {
    int ch = in_.peek();
    if (text_is_space(ch)) {
      in_.get();
    } else if (ch == '#') {
      while (ch >= 0 && ch != '\n')
        ch = in_.get();
    } else {
      return;
    }
  }
}

// The text up to the closing quote; "\\" makes the next character plain. False when the
// input ends first.
bool OpfLexer::quoted(int quote, SysString* out) {
  in_.get();
  for (;;) {
    int ch = in_.get();
    if (ch < 0) return false;
    if (ch == quote) return true;
    if (ch == '\\') {
      ch = in_.get();
      if (ch < 0) return false;
    }
    out->push_back(static_cast<char>(ch));
  }
}

void OpfLexer::tag() {
  in_.get(); // "["
  OpfToken& t = tok_;
  t.kind = kOpfTag;
  t.params.clear();
  while (in_.peek() == ' ' || in_.peek() == '\t')
    in_.get();
  if (in_.peek() == '/') {
    in_.get();
    t.closing = true;
  }
  while (tag_char(in_.peek())) {
    int ch = in_.get();
    if (ch >= 'A' && ch <= 'Z') ch = ch - 'A' + 'a';
    t.text.push_back(static_cast<char>(ch));
  }
  for (;;) {
    skip_space();
    int ch = in_.peek();
    if (ch == ']') {
      in_.get();
      break;
    }
    if (ch < 0) {
      t.kind = kOpfEof;
      return;
    }
    OpfParam p(sys_);
    auto word = [&](SysString* out, bool* was_quoted) -> bool {
      int c = in_.peek();
      if (c == '\'' || c == '"') {
        *was_quoted = true;
        return quoted(c, out);
      }
      while ((c = in_.peek()) >= 0 && !text_is_space(c) && c != ']' && c != '=' && c != '[') {
        if (c == '\\') {
          in_.get();
          c = in_.peek();
          if (c < 0) return false;
        }
        out->push_back(static_cast<char>(in_.get()));
      }
      return true;
    };
    bool q = false;
    if (!word(&p.value, &q)) {
      t.kind = kOpfBad;
      return;
    }
    if (in_.peek() == '=') {
      in_.get();
      p.key = p.value;
      p.value.clear();
      q = false;
      if (!word(&p.value, &q)) {
        t.kind = kOpfBad;
        return;
      }
    }
    if (p.value.empty() && p.key.empty() && !q) {
      t.kind = kOpfBad; // a character no parameter can hold
      return;
    }
    p.quoted = q;
    t.params.push_back(std::move(p));
  }
}

const OpfToken& OpfLexer::next() {
  skip_space();
  OpfToken& t = tok_;
  t.text.clear();
  t.quoted = t.closing = false;
  t.line = in_.line();
  int ch = in_.peek();
  auto one = [&](int32 kind) -> const OpfToken& {
    in_.get();
    t.kind = kind;
    return t;
  };
  switch (ch) {
  case -1:
    t.kind = kOpfEof;
    return t;
  case '[':
    tag();
    return t;
  case '+':
    return one(kOpfPlus);
  case '-':
    return one(kOpfMinus);
  case '*':
    return one(kOpfStar);
  case '^':
    return one(kOpfCaret);
  case '(':
    return one(kOpfOpen);
  case ')':
    return one(kOpfClose);
  case ',':
    return one(kOpfComma);
  case '<':
  case '>':
    in_.get();
    t.kind = ch == '<' ? kOpfLess : kOpfGreater;
    if (in_.peek() == '=') in_.get();
    return t;
  case '=':
    in_.get();
    t.kind = kOpfEq;
    if (in_.peek() == '<' || in_.peek() == '>') t.kind = in_.get() == '<' ? kOpfLess : kOpfGreater;
    return t;
  case '\'':
  case '"':
    t.kind = quoted(ch, &t.text) ? kOpfName : kOpfBad;
    t.quoted = true;
    return t;
  default:
    break;
  }
  if (text_is_digit(ch) || (ch == '.' && text_is_digit(in_.peek2()))) {
    t.kind = text_read_number(in_, true, &t.value) ? kOpfNumber : kOpfBad;
    return t;
  }
  if (text_is_alpha(ch) || ch == '\\') {
    while (opf_plain_char(in_.peek()) || in_.peek() == '\\') {
      if (in_.peek() == '\\') {
        in_.get();
        if (in_.peek() < 0) break;
      }
      t.text.push_back(static_cast<char>(in_.get()));
    }
    t.kind = kOpfName;
    return t;
  }
  in_.get();
  t.kind = kOpfBad;
  return t;
}

bool OpfLexer::skip_section(const char* name) {
  size_t n = std::strlen(name);
  for (;;) {
    int ch = in_.get();
    if (ch < 0) return false;
    if (ch != '[') continue;
    while (in_.peek() == ' ' || in_.peek() == '\t')
      in_.get();
    if (in_.peek() != '/') continue;
    in_.get();
    size_t k = 0;
    bool match = true;
    while (tag_char(in_.peek())) {
      int c = in_.get();
      if (c >= 'A' && c <= 'Z') c = c - 'A' + 'a';
      match = match && k < n && c == name[k];
      ++k;
    }
    if (!match || k != n) continue;
    while (in_.peek() >= 0 && in_.peek() != ']')
      in_.get();
    if (in_.get() == ']') return true;
    return false;
  }
}

void OpfLexer::raw_text(SysString* out) {
  for (;;) {
    int ch = in_.peek();
    if (ch < 0 || ch == '[') return;
    in_.get();
    if (ch == '\\') {
      ch = in_.get();
      if (ch < 0) return;
    }
    out->push_back(static_cast<char>(ch));
  }
}

} // namespace telva
