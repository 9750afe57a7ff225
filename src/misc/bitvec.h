// Packed bit arrays.
#pragma once

#include "cpub/sysenv.h"

namespace telva {

struct bitvec {
  sysenv* sys = nullptr;
  int64 nbits = 0;
  uint64* words = nullptr;
};

// Returns false when out of memory; bv is then empty.
bool bitvec_create(sysenv* sys, int64 nbits, bitvec* bv);
void bitvec_delete(bitvec* bv);
void bitvec_clearall(bitvec* bv);
inline void bitvec_set(bitvec* bv, int64 i) {
  bv->words[i >> 6] |= uint64(1) << (i & 63);
}
inline void bitvec_reset(bitvec* bv, int64 i) {
  bv->words[i >> 6] &= ~(uint64(1) << (i & 63));
}
inline bool bitvec_get(const bitvec* bv, int64 i) {
  return (bv->words[i >> 6] >> (i & 63)) & 1;
}
int64 bitvec_count(const bitvec* bv);
// The first set bit at or after i, or nbits when there is none: for (i = next(bv, 0); i <
// nbits; i = next(bv, i + 1)) visits every set bit.
int64 bitvec_next(const bitvec* bv, int64 i);

} // namespace telva
