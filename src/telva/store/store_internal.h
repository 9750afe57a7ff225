// Helpers shared by the files of the problem store.
#pragma once

#include <cmath>
#include <cstring>

#include "misc/sysarr.h"
#include "telva/log/report.h"
#include "telva/store/store.h"
#include "telva/task/task.h"

namespace telva {

// One array of a group that is reallocated together.
struct ArrayResize {
  void** p;
  size_t elem;
  int64 keep;
  bool optional; // a null array stays null
};

template <class T> ArrayResize resize_of(T** p, int64 keep, bool optional = false) {
  return ArrayResize{reinterpret_cast<void**>(p), sizeof(T), keep, optional};
}

// Gives every array of the group (now oldlen entries) newlen entries, keeping the first keep.
// False when out of memory; every array then still has at least oldlen entries with its data.
bool resize_group(sysenv* sys, ArrayResize* group, int count, int64 oldlen, int64 newlen);

// A scratch array of the task, freed at the end of the scope. ok() tells whether it was had.
template <class T> struct ScratchArr {
  sysenv* sys;
  T* p;
  ScratchArr(sysenv* s, int64 n) : sys(s), p(sysarr_alloc<T>(s, n > 0 ? n : 1)) {}
  ~ScratchArr() { sysarr_free(sys, &p); }
  ScratchArr(const ScratchArr&) = delete;
  ScratchArr& operator=(const ScratchArr&) = delete;
  bool ok() const { return p != nullptr; }
  T& operator[](int64 i) { return p[i]; }
};

// Index checks that report the single-index codes with the argument's name.
TVArescode check_index(TvaTask* task, int64 i, int64 count, const char* arg);
// Index checks of a list element, reported with the array's name and the position.
TVArescode check_index_arr(TvaTask* task, int32 v, int32 pos, int32 count, const char* arg);

// The range checks of a slice [first, last): first below 0 gives TVA_RES_ERR_FIRST, last above
// count TVA_RES_ERR_LAST. A last not above first is an empty slice, which callers treat as a
// no-op.
TVArescode check_slice(TvaTask* task, int32 first, int32 last, int32 count);
// Every entry of a list of num indices in 0..count-1, reported per position with the array's
// name; a null list with num above 0 is TVA_RES_ERR_NULL_POINTER.
TVArescode check_index_list(TvaTask* task, int64 num, const int32* sub, int32 count,
                            const char* arg);

// A count of list elements must not be negative.
inline TVArescode check_count(TvaTask* task, int64 num, const char* arg) {
  return num < 0 ? TVA_REP(task, ERR_ARG_IS_TOO_SMALL, num, arg) : TVA_RES_OK;
}

inline bool is_bad_value(double v) {
  return std::isnan(v) || std::isinf(v);
}

// The growth rule for sizes: the larger of twice the old capacity and what is needed.
inline int32 grown_capacity(int32 cap, int64 need) {
  int64 c = 2 * int64(cap);
  return static_cast<int32>(c > need ? (c > 0x7fffffff ? need : c) : need);
}

// The value checks of one bound (warnings on the way) and the store of a checked bound.
TVArescode store_check_bound(TvaTask* task, bool con, int32 i, int32 bk, double bl, double bu);
void store_one_bound(TvaTask* task, bool con, int32 i, int32 bk, double bl, double bu);
// The value checks of one objective coefficient.
TVArescode store_check_c(TvaTask* task, int32 j, double cj);

// Makes A when it doesn't stand yet, with the task's current counts.
TVArescode store_ensure_a(TvaTask* task);
// Q of removed variables dropped; used by removal.
void store_q_dropvars(TvaTask* task, const int32* gone);
// Constraint k's Q emptied, and the constraints renumbered in the Q marks.
void store_q_renumbercons(TvaTask* task, const int32* newidx, int32 newcount);
// Compacts conesub into the front of target (which has room for maxnumvar entries).
void store_cones_compact_into(TvaTask* task, int32* target);
// Appends a name string to the arena; returns its offset or -1 when out of memory.
int64 store_name_place(TvaTask* task, const char* name, int64 len);

} // namespace telva
