// The table of response codes (src/telva/catalog/tables/rescodes.def) as data: symbolic names,
// descriptions and message templates, with compile-time parsing of a template into the
// argument types it takes.
#pragma once

#include "cpub/systypes.h"

namespace telva {

struct RescodeInfo {
  TVArescode code;
  const char* name;        // without the "TVA_RES_" prefix
  const char* description; // one sentence without placeholders
  const char* templ;       // the message a report prints; empty: the description
};

inline constexpr RescodeInfo kRescodes[] = {
#define TVA_RESCODE(NAME, VALUE, DESC, TEMPLATE) {VALUE, #NAME, DESC, TEMPLATE},
#include "telva/catalog/tables/rescodes.def"
#undef TVA_RESCODE
};

inline constexpr int32 kNumRescodes = static_cast<int32>(sizeof kRescodes / sizeof *kRescodes);

// The row index of a code, or -1. (Compile-time code works with indices, not pointers:
// pointer comparisons are not constant expressions under the sanitizers.)
constexpr int32 rescode_index(TVArescode code) {
  for (int32 i = 0; i < kNumRescodes; ++i)
    if (kRescodes[i].code == code) return i;
  return -1;
}

// The row of a code, or null.
inline const RescodeInfo* rescode_find(TVArescode code) {
  int32 i = rescode_index(code);
  return i < 0 ? nullptr : &kRescodes[i];
}

// The text a report of the code formats: its template, or its description when the template
// is empty.
constexpr const char* rescode_report_text(TVArescode code) {
  int32 i = rescode_index(code);
  if (i < 0) return "";
  return kRescodes[i].templ[0] ? kRescodes[i].templ : kRescodes[i].description;
}

// Copies the message template of a code into buf (1024 bytes): "No message for this code."
// for a code that isn't in the table.
void rescode_message_template(TVArescode code, char* buf);

// The argument a conversion of the format language takes.
enum class ArgKind : unsigned char { I32, I64, U32, U64, Dbl, Str, WStr, Ptr };

struct TemplateSig {
  ArgKind kinds[32] = {};
  int32 count = 0;
  bool valid = true; // false: the template has a conversion the printer doesn't know
};

constexpr TemplateSig parse_template(const char* t) {
  TemplateSig sig;
  auto add = [&sig](ArgKind k) {
    if (sig.count < 32)
      sig.kinds[sig.count++] = k;
    else
      sig.valid = false;
  };
  for (int32 i = 0; t[i]; ++i) {
    if (t[i] != '%') continue;
    ++i;
    if (t[i] == '%') continue;
    if (t[i] == '{') {
      for (++i; t[i] && t[i] != '}'; ++i) {
        char c = t[i];
        if (c == 'w' || c == 'j' || c == 'p' || c == 'f' || c == 'g' || c == 'G')
          add(ArgKind::I32);
        else if (c != '+' && c != '/')
          sig.valid = false;
      }
      if (!t[i]) {
        sig.valid = false;
        return sig;
      }
      ++i;
    }
    switch (t[i]) {
    case 'i':
    case 'd':
      add(ArgKind::I32);
      break;
    case 'u':
    case 'U':
      add(ArgKind::U32);
      break;
    case 'I':
      if (t[i + 1] == '6' && t[i + 2] == '4' && (t[i + 3] == 'd' || t[i + 3] == 'i')) {
        add(ArgKind::I64);
        i += 3;
      } else if (t[i + 1] == '6' && t[i + 2] == '4' && t[i + 3] == 'u') {
        add(ArgKind::U64);
        i += 3;
      } else {
        add(ArgKind::U32);
      }
      break;
    case 'l':
      add(ArgKind::I64);
      break;
    case 'L':
      add(ArgKind::U64);
      break;
    case 'e':
    case 'f':
    case 'g':
      add(ArgKind::Dbl);
      break;
    case 'p':
      add(ArgKind::Ptr);
      break;
    case 's':
      add(ArgKind::Str);
      break;
    case 'w':
      if (t[i + 1] == 's') {
        add(ArgKind::WStr);
        ++i;
      } else {
        sig.valid = false;
      }
      break;
    default:
      sig.valid = false;
      return sig;
    }
  }
  return sig;
}

// Every template in the table must parse.
constexpr bool all_templates_parse() {
  for (const RescodeInfo& r : kRescodes)
    if (!parse_template(r.templ).valid) return false;
  return true;
}
static_assert(all_templates_parse(), "a template in rescodes.def has an unknown conversion");

} // namespace telva
