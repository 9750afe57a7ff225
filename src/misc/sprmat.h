// The growing store of a task's constraint matrix A (nrow by ncol). The elements live in one
// spmat, by columns or by rows; the orientation is an inner state that flips whenever a caller
// asks for the other kind of vector. Single-element changes go to a pending list and reach the
// main storage only when something reads or replaces a vector, so that millions of them cost
// one merge.
#pragma once

#include <cstdio>

#include "misc/spmat.h"

namespace telva {

// Results of sprmat operations; the task maps them to response codes in one place.
enum SprmatStatus : int {
  kSprmatOk = 0,
  kSprmatAppendRows = 1, // a negative count of new rows or columns
  kSprmatMaxsize = 3,    // the requested element capacity is below the elements in use
  kSprmatSpace = 6,
  kSprmatNegSurplus = 7, // not enough room in a caller's output
};

struct sprmat {
  sysenv* sys = nullptr;
  int32 nrow = 0, ncol = 0;
  bool bycol = true;     // orientation of dim
  spmat* dim = nullptr;  // the elements, vectors by the orientation
  spmat* tdim = nullptr; // the other orientation while flipping; kept for reuse
  int64 maxsize = 0;     // element capacity asked for
  // Pending single elements in the order they came; a 0.0 value removes the element.
  int64 npend = 0, maxpend = 0;
  int32* pendi = nullptr;
  int32* pendj = nullptr;
  double* pendv = nullptr;
  int32 locked = 0;
  // Set when a merge or a replacement had to enlarge the element store, so that the owner can
  // tell its log; the owner clears it.
  bool grew = false;
  int64 grew_from = 0, grew_to = 0;
};

// Makes an empty nrow by ncol matrix with room for maxsize elements.
int sprmat_create(sysenv* sys, int32 nrow, int32 ncol, int64 maxsize, sprmat** out);
// Makes a matrix from column (bycol) or row arrays: vector k holds ptre[k] - ptrb[k] elements.
int sprmat_createfrom(sysenv* sys, int32 nrow, int32 ncol, bool bycol, const int64* ptrb,
                      const int64* ptre, const int32* sub, const double* val, sprmat** out);
void sprmat_delete(sprmat** a);

// Element capacity: never below the elements in use (kSprmatMaxsize).
int sprmat_setmaxsize(sprmat* a, int64 maxsize);
// Adds num empty rows or columns at the end.
int sprmat_appendrows(sprmat* a, int32 num);
int sprmat_appendcols(sprmat* a, int32 num);
// Renumbers rows (or columns) by newidx, old to new with -1 for removed, keeping the order;
// the other dimension's vectors lose the removed indices.
int sprmat_renumber(sprmat* a, bool rows, const int32* newidx, int32 newcount);

// One element to the pending list; 0.0 removes the element.
int sprmat_putelem(sprmat* a, int32 i, int32 j, double v);
// Makes room for extra more pending elements, so that the next puts can't fail.
int sprmat_reservepend(sprmat* a, int64 extra);
// Puts a in the given orientation and makes room for replacements of total elements, so that
// the next sprmat_replacevec calls of that size can't fail.
int sprmat_preparereplace(sprmat* a, bool bycol, int64 total);
// Merges the pending list into the main storage.
int sprmat_flush(sprmat* a);
// Puts a in the given orientation (flushing first).
int sprmat_orient(sprmat* a, bool bycol);
// Replaces column j (bycol) or row i by nz elements with distinct indices.
int sprmat_replacevec(sprmat* a, bool bycol, int32 k, int32 nz, const int32* sub,
                      const double* val);
// A view of column or row k, valid until the next change of a.
int sprmat_getvec(sprmat* a, bool bycol, int32 k, int32* nz, const int32** sub, const double** val);
int sprmat_getvecnz(sprmat* a, bool bycol, int32 k, int32* nz);
// The value at (i, j), 0.0 when no element stands there.
int sprmat_getaij(sprmat* a, int32 i, int32 j, double* v);
int sprmat_numnz(sprmat* a, int64* nz);
// Sorts the indices inside every vector by two transpositions.
int sprmat_sort(sprmat* a);
// Copies the matrix in the other orientation into at, sized by the caller.
int sprmat_transposecopy(sprmat* a, spmat* at);

// A view can be locked against changes; a second lock is a programming error.
void sprmat_lock(sprmat* a);
void sprmat_unlock(sprmat* a);
void sprmat_debugline(const sprmat* a, std::FILE* f);

} // namespace telva
