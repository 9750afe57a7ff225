// A sparse grid of weighted sums of symmetric matrices: cell (i, j) holds a list of
// (matrix index, weight) pairs. The cell lists live in a block store of 128000-byte blocks;
// a replaced list stays there until the grid is deleted.
#pragma once

#include <map>

#include "cpub/sysalloc.h"
#include "misc/bsto.h"

namespace telva {

struct hyposm_cell {
  int64 num = 0;
  int64* sub = nullptr;
  double* weight = nullptr;
};

struct hyposm {
  using Key = std::pair<int32, int32>; // (row, column)
  using CellMap =
      std::map<Key, hyposm_cell, std::less<Key>, SysAllocator<std::pair<const Key, hyposm_cell>>>;
  sysenv* sys = nullptr;
  int32 nrow = 0, ncol = 0;
  int64 numentries = 0; // sum of the cells' list lengths
  CellMap cells;        // non-empty cells in (row, column) order
  CellMap staged;       // a renumbered copy waiting to be installed
  int64 staged_entries = 0;
  bsto blocks;
  explicit hyposm(sysenv* s)
      : sys(s), cells(SysAllocator<std::pair<const Key, hyposm_cell>>(s)),
        staged(SysAllocator<std::pair<const Key, hyposm_cell>>(s)) {}
};

// All return false when out of memory, with the grid as it was.
bool hyposm_create(sysenv* sys, int32 nrow, int32 ncol, hyposm** out);
void hyposm_delete(hyposm** h);
void hyposm_setdims(hyposm* h, int32 nrow, int32 ncol);
// Replaces cell (i, j) by num entries; num 0 empties it.
bool hyposm_putcell(hyposm* h, int32 i, int32 j, int64 num, const int64* sub, const double* weight);
// Adds one entry to cell (i, j).
bool hyposm_addentry(hyposm* h, int32 i, int32 j, int64 sub, double weight);
// The cell's list; null when the cell is empty.
const hyposm_cell* hyposm_getcell(const hyposm* h, int32 i, int32 j);
inline int64 hyposm_numcells(const hyposm* h) {
  return static_cast<int64>(h->cells.size());
}
inline int64 hyposm_numentries(const hyposm* h) {
  return h->numentries;
}
// Renumbers rows (or columns) by newidx (old to new, -1 for removed) and sets the new count.
bool hyposm_renumber(hyposm* h, bool rows, const int32* newidx, int32 newcount);
// The same in two steps, so that several grids can be renumbered all or none: the stage step
// can fail (and changes nothing), the commit step can't.
bool hyposm_stage_renumber(hyposm* h, bool rows, const int32* newidx);
void hyposm_commit_renumber(hyposm* h, bool rows, int32 newcount);

} // namespace telva
