// The parameter catalogue: names, defaults and limits of every parameter, filled from the
// tables in src/telva/catalog/tables when an environment is made.
#pragma once

#include "cpub/systypes.h"

namespace telva {

constexpr int32 kNumIpar = TVA_IPAR_NUM;
constexpr int32 kNumDpar = TVA_DPAR_NUM;
constexpr int32 kNumSpar = TVA_SPAR_NUM;
constexpr int32 kParNameSlot = 128;
constexpr int32 kNumDinf = TVA_DINF_NUM;
constexpr int32 kNumIinf = TVA_IINF_NUM;
constexpr int32 kNumLiinf = TVA_LIINF_NUM;
constexpr int32 kNumPrivDinf = 83;
constexpr int32 kNumPrivIinf = 96;
constexpr int32 kNumPrivLiinf = 7;

// Limit kinds of a parameter.
enum ParLimitKind : int32 {
  kLimitMin = 0,  // value >= minimum
  kLimitMax = 1,  // value <= maximum
  kLimitNone = 3, // no limit
  kLimitBoth = 4, // minimum <= value <= maximum
};

struct ParamCatalogue {
  char dpar_names[kNumDpar][kParNameSlot];
  char ipar_names[kNumIpar][kParNameSlot];
  char spar_names[kNumSpar][kParNameSlot];
  int32 ipar_default[kNumIpar];
  int32 ipar_kind[kNumIpar];
  int32 ipar_min[kNumIpar];
  int32 ipar_max[kNumIpar];
  double dpar_default[kNumDpar];
  int32 dpar_kind[kNumDpar];
  double dpar_min[kNumDpar];
  double dpar_max[kNumDpar];
  // Owned copies, made by the environment; null for none.
  char* spar_default[kNumSpar];
};

// Fills names, defaults and limits (string defaults are set by the caller, which owns them).
void catalogue_fill(ParamCatalogue* cat);
// The compiled-in default text of a string parameter.
const char* catalogue_spar_default_text(int32 index);

} // namespace telva
