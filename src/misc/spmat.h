// A sparse matrix stored as vectors (columns or rows, as the user decides) with free space
// allowed between them: each vector has its own start and end pointer into one element store.
// A vector's elements are contiguous; their order is free unless a caller sorted them.
#pragma once

#include <cstdio>

#include "cpub/sysenv.h"

namespace telva {

struct spmat {
  sysenv* sys = nullptr;
  int32 nvec = 0;    // vectors in use
  int32 maxnvec = 0; // vectors allocated
  int32 vlen = 0;    // length of each vector: the other dimension
  int64 ffree = 0;   // first free position in the element store
  int64 maxsze = 0;  // size of the element store
  int64* ptrb = nullptr;
  int64* ptre = nullptr;
  int32* sub = nullptr;
  double* val = nullptr; // null for a pattern-only store
  bool hasval = true;
};

// Results of the operations that allocate: 0 success, 1 out of memory (the matrix unchanged).
enum SpmatStatus : int { kSpmatOk = 0, kSpmatSpace = 1 };

int spmat_create(sysenv* sys, int32 maxnvec, int32 vlen, int64 maxsze, bool withval, spmat** out);
void spmat_delete(spmat** a);
// Drops all vectors; the memory stays.
void spmat_clear(spmat* a);
// Makes room for maxnvec vectors and maxsze elements (never shrinks).
int spmat_reserve(spmat* a, int32 maxnvec, int64 maxsze);
// Appends a vector with nz elements at the end; it becomes vector nvec - 1.
int spmat_addvec(spmat* a, int32 nz, const int32* sub, const double* val);
// Replaces vector k; the elements go in place when they fit, else behind ffree.
int spmat_replacevec(spmat* a, int32 k, int32 nz, const int32* sub, const double* val);
// Sets the number of vectors (new ones empty) and the vector length.
int spmat_setdims(spmat* a, int32 nvec, int32 vlen);

// Makes room for need elements behind ffree (repacking or growing), so that the next
// replacements of that size can't fail.
int spmat_makeroom(spmat* a, int64 need);
// Renumbers the vectors by newidx (old to new, -1 for dropped, order kept) to newcount vectors.
void spmat_renumbervecs(spmat* a, const int32* newidx, int32 newcount);
// Renumbers the indices inside the vectors by newidx (-1 drops the element); vlen becomes
// newvlen. The order inside each vector is kept.
void spmat_renumbersubs(spmat* a, const int32* newidx, int32 newvlen);

inline int32 spmat_getnvec(const spmat* a) {
  return a->nvec;
}
inline int32 spmat_getvlen(const spmat* a) {
  return a->vlen;
}
inline int64 spmat_getvecnz(const spmat* a, int32 k) {
  return a->ptre[k] - a->ptrb[k];
}
int64 spmat_numnz(const spmat* a);

// at = transpose of a. The caller must size at: nvec(at) == vlen(a) and vlen(at) == nvec(a).
// The element store of at grows if needed. The result has sorted vectors and no gaps.
int spmat_transpose(const spmat* a, spmat* at);
// As spmat_transpose, with a's vectors taken in the order perm: the element of a's vector
// perm[t] gets index t in at.
int spmat_transposeperm(const spmat* a, const int32* perm, spmat* at);
// c = alpha * a + beta * b on c's fixed pattern, which must hold every element of a and b.
// work: vlen doubles, all zero, and zero again at return.
void spmat_nummatadd(double alpha, const spmat* a, double beta, const spmat* b, spmat* c,
                     double* work);
// Moves the vectors to the front so that no gaps remain: ffree becomes the number of elements.
int spmat_packinplace(spmat* a);
// Spreads the vectors so that each vector has extra free slots behind it.
int spmat_unpackinplace(spmat* a, int32 extra);
// Writes a into the dense column-major array d with leading dimension ld (vectors as columns).
void spmat_uncompress(const spmat* a, double* d, int64 ld);
void spmat_writetofile(const spmat* a, std::FILE* f, const char* name);

} // namespace telva
