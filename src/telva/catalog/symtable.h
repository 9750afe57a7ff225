// The table of symbolic constants: every named constant of the catalogue with its value, both
// as a number and as text, built from the same tables as the public header. Names in
// parameter files and in TVA_putparam become numbers through it, and the family slices give
// the symbolic values that an integer parameter takes.
#pragma once

#include <string_view>

#include "cpub/systypes.h"

namespace telva {

struct SymConst {
  const char* family; // family of the constant ("boundkey", ..., "rescode", "iparam", ...)
  const char* name;   // full name, such as "TVA_BK_LO"
  const char* text;   // the value as text
  int32 value;
};

// All entries in a fixed order: the families of enumerated values, the response codes, the
// parameters, the information items and the callback codes. The entry after the last has a
// null name.
extern const SymConst kSymConsts[];
int32 symcon_count();
// Length of the longest name.
int32 symcon_max_name_len();
// The entry of a name by an exact comparison from the start of the table; null if none.
const SymConst* symcon_find(const char* name);

// The family of symbolic values that integer parameter `ipar` takes: a slice of kSymConsts.
struct SymFamily {
  const char* name;
  const SymConst* first;
  int32 count;
  // Common start of the members' names after "TVA_", up to and with its last underscore
  // ("OPTIMIZER_" for the optimizers, "" for TVA_ON and TVA_OFF).
  int32 prefix_len;
};
// Null when the parameter takes plain numbers or the index is not an integer parameter.
const SymFamily* ipar_family(int32 ipar);
// The member of the family of `ipar` with this value; null if there is none.
const SymConst* ipar_symbolic_value(int32 ipar, int32 value);
// For writers that print "TVA_" prefix word: splits the symbolic name of a value into the
// family prefix and the value's word (both without "TVA_"). False if the value has no name.
bool ipar_symbolic_parts(int32 ipar, int32 value, std::string_view* prefix, std::string_view* word);

} // namespace telva
