#include "telva/catalog/catalogue.h"

#include <climits>
#include <cstdio>
#include <cstring>

namespace telva {

void catalogue_fill(ParamCatalogue* cat) {
  // Unassigned integer indices keep an empty name and a value without limits.
  std::memset(cat->ipar_names, 0, sizeof cat->ipar_names);
  for (int32 i = 0; i < kNumIpar; ++i) {
    cat->ipar_default[i] = 0;
    cat->ipar_kind[i] = kLimitNone;
    cat->ipar_min[i] = INT32_MIN;
    cat->ipar_max[i] = INT32_MAX;
  }
#define TVA_IPAR(NAME, IDX, DEF, KIND, MIN, MAX, FAM)                                              \
  std::snprintf(cat->ipar_names[IDX], kParNameSlot, "TVA_IPAR_" #NAME);                            \
  cat->ipar_default[IDX] = DEF;                                                                    \
  cat->ipar_kind[IDX] = KIND;                                                                      \
  cat->ipar_min[IDX] = MIN;                                                                        \
  cat->ipar_max[IDX] = MAX;
#include "telva/catalog/tables/iparams.def"
#undef TVA_IPAR
#define TVA_DPAR(NAME, IDX, DEF, KIND, MIN, MAX)                                                   \
  std::snprintf(cat->dpar_names[IDX], kParNameSlot, "TVA_DPAR_" #NAME);                            \
  cat->dpar_default[IDX] = DEF;                                                                    \
  cat->dpar_kind[IDX] = KIND;                                                                      \
  cat->dpar_min[IDX] = MIN;                                                                        \
  cat->dpar_max[IDX] = MAX;
#include "telva/catalog/tables/dparams.def"
#undef TVA_DPAR
#define TVA_SPAR(NAME, IDX, DEF)                                                                   \
  std::snprintf(cat->spar_names[IDX], kParNameSlot, "TVA_SPAR_" #NAME);
#include "telva/catalog/tables/sparams.def"
#undef TVA_SPAR
}

const char* catalogue_spar_default_text(int32 index) {
  static const char* const texts[kNumSpar] = {
#define TVA_SPAR(NAME, IDX, DEF) DEF,
#include "telva/catalog/tables/sparams.def"
#undef TVA_SPAR
  };
  return (index >= 0 && index < kNumSpar) ? texts[index] : "";
}

} // namespace telva
