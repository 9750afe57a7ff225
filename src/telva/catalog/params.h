// Parameters of a task: lookups in the catalogue and the parsing of values given as text,
// shared by the exported put and get functions and by the parameter files.
#pragma once

#include "telva/task/task.h"

namespace telva {

// Index of a parameter of one kind by an exact, case-sensitive name; -1 if not found.
int32 param_find_dou(const TvaEnv* env, const char* name);
int32 param_find_int(const TvaEnv* env, const char* name);
int32 param_find_str(const TvaEnv* env, const char* name);

// Searches doubles, ints and strings in this order. Gives the parameter type
// (TVA_PAR_INVALID_TYPE if none) and sets `index` when found.
int32 param_which(const TvaEnv* env, const char* name, int32* index);

// Whether an int index names a parameter (indices in the gaps of the numbering do not).
bool param_int_assigned(const TvaEnv* env, int32 index);

// Sets parameter `index` of `type` from text as TVA_putparam does: doubles and ints are
// parsed (ints also through the symbolic constants), strings are stored as given.
TVArescode param_put_text(TvaTask* task, int32 type, int32 index, const char* value);

// Parses a whole text (blanks around allowed) as a number; false if anything is left over.
bool parse_double_text(const char* text, double* value);
bool parse_int_text(const char* text, int32* value);

} // namespace telva
