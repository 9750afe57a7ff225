// The array family on the solution slots: whole arrays and slices of skc, skx, xc, xx, y, slc,
// suc, slx, sux and snx, put and get, all through one checked road.
#include <cstring>

#include "telva/solution/solution_access.h"
#include "telva/store/store_internal.h"

namespace telva {

namespace {

struct ItemDesc {
  bool con;  // the range is numcon (else numvar)
  bool key;  // int32 status keys (else doubles)
  bool dual; // refused for the integer slot
  bool snx;  // refused for the basic slot too
};

constexpr ItemDesc kItems[] = {
    {true, true, false, false},   // skc
    {false, true, false, false},  // skx
    {true, false, false, false},  // xc
    {false, false, false, false}, // xx
    {true, false, true, false},   // y
    {true, false, true, false},   // slc
    {true, false, true, false},   // suc
    {false, false, true, false},  // slx
    {false, false, true, false},  // sux
    {false, false, true, true},   // snx
};

void* item_array(SolutionSlot& s, SolArray item) {
  switch (item) {
  case SolArray::Skc:
    return s.skc;
  case SolArray::Skx:
    return s.skx;
  case SolArray::Xc:
    return s.xc;
  case SolArray::Xx:
    return s.xx;
  case SolArray::Y:
    return s.y;
  case SolArray::Slc:
    return s.slc;
  case SolArray::Suc:
    return s.suc;
  case SolArray::Slx:
    return s.slx;
  case SolArray::Sux:
    return s.sux;
  case SolArray::Snx:
    return s.snx;
  }
  return nullptr;
}

// The refusals by slot, the range checks; *empty is set when there is nothing to do.
TVArescode check_slice(TvaTask* task, int32 whichsol, SolArray item, int32 first, int32 last,
                       bool* empty) {
  const ItemDesc& d = kItems[static_cast<int>(item)];
  if (d.dual && whichsol == TVA_SOL_ITG) return TVA_REP(task, ERR_NO_DUAL_FOR_ITG_SOL);
  if (d.snx && whichsol == TVA_SOL_BAS) return TVA_REP(task, ERR_NO_SNX_FOR_BAS_SOL);
  int32 count = d.con ? task->numcon : task->numvar;
  if (first < 0) return TVA_REP(task, ERR_FIRST, first);
  if (last > count) return TVA_REP(task, ERR_LAST, last);
  *empty = last <= first;
  return TVA_RES_OK;
}

} // namespace

TVArescode sol_check_whichsol(TvaTask* task, int32 whichsol) {
  if (whichsol < 0 || whichsol >= kNumSolSlots)
    return TVA_REP(task, ERR_INVALID_WHICHSOL, whichsol);
  return TVA_RES_OK;
}

TVArescode sol_check_read(TvaTask* task, int32 whichsol) {
  TVArescode r = sol_check_whichsol(task, whichsol);
  if (r == TVA_RES_OK && !sol_slot(task, whichsol)->defined)
    r = TVA_REP(task, ERR_UNDEF_SOLUTION, whichsol);
  return r;
}

TVArescode sol_check_keys(TvaTask* task, SolArray item, const int32* keys, int32 n) {
  for (int32 t = 0; t < n; ++t)
    if (keys[t] < 0 || keys[t] >= 7) {
      if (item == SolArray::Skc) return TVA_REP(task, ERR_INV_SKC, t);
      if (item == SolArray::Skx) return TVA_REP(task, ERR_INV_SKX, t);
      return TVA_REP(task, ERR_INV_SKN, t);
    }
  return TVA_RES_OK;
}

TVArescode sol_put_slice(TvaTask* task, int32 whichsol, SolArray item, int32 first, int32 last,
                         const void* values) {
  TVArescode r = sol_check_whichsol(task, whichsol);
  bool empty = true;
  if (r == TVA_RES_OK) r = check_slice(task, whichsol, item, first, last, &empty);
  if (r != TVA_RES_OK || empty) return r;
  const ItemDesc& d = kItems[static_cast<int>(item)];
  if (d.key) r = sol_check_keys(task, item, static_cast<const int32*>(values), last - first);
  if (r == TVA_RES_OK) r = sol_prepare(task, whichsol);
  if (r != TVA_RES_OK) return r;
  SolutionSlot& s = *sol_slot(task, whichsol);
  s.solsta = TVA_SOL_STA_UNKNOWN;
  size_t elem = d.key ? sizeof(int32) : sizeof(double);
  char* dst = static_cast<char*>(item_array(s, item));
  std::memcpy(dst + elem * first, values, elem * static_cast<size_t>(last - first));
  return TVA_RES_OK;
}

TVArescode sol_get_slice(TvaTask* task, int32 whichsol, SolArray item, int32 first, int32 last,
                         void* values) {
  TVArescode r = sol_check_read(task, whichsol);
  bool empty = true;
  if (r == TVA_RES_OK) r = check_slice(task, whichsol, item, first, last, &empty);
  if (r != TVA_RES_OK || empty) return r;
  const ItemDesc& d = kItems[static_cast<int>(item)];
  size_t elem = d.key ? sizeof(int32) : sizeof(double);
  const char* src = static_cast<const char*>(item_array(*sol_slot(task, whichsol), item));
  std::memcpy(values, src + elem * first, elem * static_cast<size_t>(last - first));
  return TVA_RES_OK;
}

int32 sol_array_count(const TvaTask* task, SolArray item) {
  return kItems[static_cast<int>(item)].con ? task->numcon : task->numvar;
}

} // namespace telva
