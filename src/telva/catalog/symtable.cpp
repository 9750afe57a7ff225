#include "telva/catalog/symtable.h"

#include <algorithm>
#include <cstring>

#include "telva/catalog/catalogue.h"

namespace telva {

const SymConst kSymConsts[] = {
#define TVA_SYMCON(FAMILY, NAME, VALUE) {#FAMILY, "TVA_" #NAME, #VALUE, VALUE},
#include "telva/catalog/tables/symcons.def"
#undef TVA_SYMCON
#define TVA_RESCODE(NAME, VALUE, DESC, TEMPLATE) {"rescode", "TVA_RES_" #NAME, #VALUE, VALUE},
#include "telva/catalog/tables/rescodes.def"
#undef TVA_RESCODE
#define TVA_DPAR(NAME, IDX, DEF, KIND, MIN, MAX) {"dparam", "TVA_DPAR_" #NAME, #IDX, IDX},
#include "telva/catalog/tables/dparams.def"
#undef TVA_DPAR
#define TVA_IPAR(NAME, IDX, DEF, KIND, MIN, MAX, FAM) {"iparam", "TVA_IPAR_" #NAME, #IDX, IDX},
#include "telva/catalog/tables/iparams.def"
#undef TVA_IPAR
#define TVA_SPAR(NAME, IDX, DEF) {"sparam", "TVA_SPAR_" #NAME, #IDX, IDX},
#include "telva/catalog/tables/sparams.def"
#undef TVA_SPAR
#define TVA_DINF(NAME, IDX) {"dinfitem", "TVA_DINF_" #NAME, #IDX, IDX},
#define TVA_IINF(NAME, IDX) {"iinfitem", "TVA_IINF_" #NAME, #IDX, IDX},
#define TVA_LIINF(NAME, IDX) {"liinfitem", "TVA_LIINF_" #NAME, #IDX, IDX},
#include "telva/catalog/tables/infitems.def"
#undef TVA_DINF
#undef TVA_IINF
#undef TVA_LIINF
#define TVA_CALLBACK(NAME, VALUE) {"callbackcode", "TVA_CALLBACK_" #NAME, #VALUE, VALUE},
#include "telva/catalog/tables/callbacks.def"
#undef TVA_CALLBACK
    {nullptr, nullptr, nullptr, 0},
};

namespace {

constexpr int32 kCount = static_cast<int32>(sizeof kSymConsts / sizeof kSymConsts[0]) - 1;

// The family token of every integer parameter, by index; null for unassigned indices.
const char* const* ipar_family_tokens() {
  static const char* tokens[kNumIpar] = {};
  static const bool filled = [] {
#define TVA_IPAR(NAME, IDX, DEF, KIND, MIN, MAX, FAM) tokens[IDX] = #FAM;
#include "telva/catalog/tables/iparams.def"
#undef TVA_IPAR
    return true;
  }();
  (void)filled;
  return tokens;
}

int32 common_prefix_len(const SymConst* first, int32 count) {
  const char* a = first->name + 4;
  size_t len = std::strlen(a);
  for (int32 k = 1; k < count; ++k) {
    const char* b = first[k].name + 4;
    size_t n = 0;
    while (n < len && a[n] == b[n])
      ++n;
    len = n;
  }
  // Cut back to the last underscore so that the prefix is a whole word list.
  while (len > 0 && a[len - 1] != '_')
    --len;
  return static_cast<int32>(len);
}

struct FamilyIndex {
  SymFamily by_ipar[kNumIpar];
  bool has[kNumIpar];
};

const FamilyIndex& family_index() {
  static const FamilyIndex index = [] {
    FamilyIndex fi{};
    const char* const* tokens = ipar_family_tokens();
    for (int32 p = 0; p < kNumIpar; ++p) {
      if (!tokens[p] || std::strcmp(tokens[p], "none") == 0) continue;
      for (int32 i = 0; i < kCount; ++i) {
        if (std::strcmp(kSymConsts[i].family, tokens[p]) != 0) continue;
        int32 n = 0;
        while (i + n < kCount && std::strcmp(kSymConsts[i + n].family, tokens[p]) == 0)
          ++n;
        fi.by_ipar[p] = {kSymConsts[i].family, &kSymConsts[i], n,
                         common_prefix_len(&kSymConsts[i], n)};
        fi.has[p] = true;
        break;
      }
    }
    return fi;
  }();
  return index;
}

} // namespace

int32 symcon_count() {
  return kCount;
}

int32 symcon_max_name_len() {
  static const int32 longest = [] {
    size_t m = 0;
    for (int32 i = 0; i < kCount; ++i)
      m = std::max(m, std::strlen(kSymConsts[i].name));
    return static_cast<int32>(m);
  }();
  return longest;
}

const SymConst* symcon_find(const char* name) {
  if (!name) return nullptr;
  for (const SymConst* c = kSymConsts; c->name; ++c)
    if (std::strcmp(c->name, name) == 0) return c;
  return nullptr;
}

const SymFamily* ipar_family(int32 ipar) {
  if (ipar < 0 || ipar >= kNumIpar) return nullptr;
  const FamilyIndex& fi = family_index();
  return fi.has[ipar] ? &fi.by_ipar[ipar] : nullptr;
}

const SymConst* ipar_symbolic_value(int32 ipar, int32 value) {
  const SymFamily* fam = ipar_family(ipar);
  if (!fam) return nullptr;
  for (int32 k = 0; k < fam->count; ++k)
    if (fam->first[k].value == value) return &fam->first[k];
  return nullptr;
}

bool ipar_symbolic_parts(int32 ipar, int32 value, std::string_view* prefix,
                         std::string_view* word) {
  const SymConst* c = ipar_symbolic_value(ipar, value);
  if (!c) return false;
  const SymFamily* fam = ipar_family(ipar);
  std::string_view full(c->name + 4);
  if (prefix) *prefix = full.substr(0, static_cast<size_t>(fam->prefix_len));
  if (word) *word = full.substr(static_cast<size_t>(fam->prefix_len));
  return true;
}

} // namespace telva
