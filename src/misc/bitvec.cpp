// Packed bit arrays.
#include "misc/bitvec.h"

#include "misc/sysarr.h"

namespace telva {

namespace {
int64 num_words(int64 nbits) {
  return (nbits + 63) >> 6;
}
} // namespace

bool bitvec_create(sysenv* sys, int64 nbits, bitvec* bv) {
  bv->sys = sys;
  bv->nbits = 0;
  bv->words = sysarr_alloc<uint64>(sys, num_words(nbits));
  if (nbits > 0 && !bv->words) return false;
  bv->nbits = nbits;
  return true;
}

void bitvec_delete(bitvec* bv) {
  if (bv->sys) sysarr_free(bv->sys, &bv->words);
  bv->nbits = 0;
}

void bitvec_clearall(bitvec* bv) {
  for (int64 w = 0; w < num_words(bv->nbits); ++w)
    bv->words[w] = 0;
}

int64 bitvec_count(const bitvec* bv) {
  int64 c = 0;
  for (int64 w = 0; w < num_words(bv->nbits); ++w)
    c += __builtin_popcountll(bv->words[w]);
  return c;
}

int64 bitvec_next(const bitvec* bv, int64 i) {
  if (i >= bv->nbits) return bv->nbits;
  int64 w = i >> 6;
  uint64 word = bv->words[w] & (~uint64(0) << (i & 63));
  const int64 nw = num_words(bv->nbits);
  while (true) {
    if (word) {
      int64 r = (w << 6) + __builtin_ctzll(word);
      return r < bv->nbits ? r : bv->nbits;
    }
    if (++w >= nw) return bv->nbits;
    word = bv->words[w];
  }
}

} // namespace telva
