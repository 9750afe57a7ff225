// The store of symmetric matrices: each matrix is kept once, immutable, as triplets of its
// lower triangle, and is known by an int64 index. The triplets live in a block store.
#pragma once

#include "cpub/sysenv.h"
#include "misc/bsto.h"

namespace telva {

struct sossm_mat {
  int64 nz = 0;
  int32* subi = nullptr;
  int32* subj = nullptr;
  double* val = nullptr;
};

struct sossm {
  sysenv* sys = nullptr;
  int64 num = 0;
  int64 maxnum = 0;
  int32* dim = nullptr;
  unsigned char* type = nullptr; // TVA_SYMMAT_TYPE_SPARSE
  sossm_mat** mat = nullptr;     // per matrix, its record in the block store
  bsto blocks;
};

void sossm_create(sysenv* sys, sossm* s);
void sossm_delete(sossm* s);
// Stores a matrix whose elements were checked by the caller; false when out of memory (the
// store then holds what it held before).
bool sossm_add(sossm* s, int32 dim, int64 nz, const int32* subi, const int32* subj,
               const double* val, int64* idx);
inline const sossm_mat* sossm_get(const sossm* s, int64 idx) {
  return s->mat[idx];
}
inline int32 sossm_dim(const sossm* s, int64 idx) {
  return s->dim[idx];
}
// Bytes in use by the matrices' records (for memory reports).
int64 sossm_bytes(const sossm* s);

} // namespace telva
