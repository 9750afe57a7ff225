// The checked road from the exported solution functions to the slots.
#pragma once

#include "telva/solution/solution.h"

namespace telva {

enum class SolArray { Skc, Skx, Xc, Xx, Y, Slc, Suc, Slx, Sux, Snx };

// whichsol 0..2, else TVA_RES_ERR_INVALID_WHICHSOL.
TVArescode sol_check_whichsol(TvaTask* task, int32 whichsol);
// The same, and the slot must be defined (TVA_RES_ERR_UNDEF_SOLUTION).
TVArescode sol_check_read(TvaTask* task, int32 whichsol);
// Every key below 7, else the array's own code naming the position.
TVArescode sol_check_keys(TvaTask* task, SolArray item, const int32* keys, int32 n);
// values[0 .. last-first) to or from positions first .. last-1 of the item; int32 for the keys,
// double otherwise. A put sets solsta to unknown and creates the slot if needed.
TVArescode sol_put_slice(TvaTask* task, int32 whichsol, SolArray item, int32 first, int32 last,
                         const void* values);
TVArescode sol_get_slice(TvaTask* task, int32 whichsol, SolArray item, int32 first, int32 last,
                         void* values);
// numcon or numvar, by the item.
int32 sol_array_count(const TvaTask* task, SolArray item);

} // namespace telva
