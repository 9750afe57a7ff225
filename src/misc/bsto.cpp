// Block store.
#include "misc/bsto.h"

#include <cstring>

namespace telva {

struct bsto_block {
  bsto_block* next;
  int64 size;
  alignas(16) unsigned char data[1];
};

namespace {

constexpr int64 kAlign = 16;

bsto_block* new_block(bsto* b, int64 size) {
  void* raw = sysenv_malloc(b->sys, TVA_HERE, 1, offsetof(bsto_block, data) + size);
  if (!raw) return nullptr;
  bsto_block* blk = static_cast<bsto_block*>(raw);
  blk->size = size;
  b->numblocks++;
  b->totalbytes += size;
  return blk;
}

} // namespace

void bsto_create(sysenv* sys, int64 blocksize, bsto* b) {
  b->sys = sys;
  b->blocksize = blocksize > 0 ? blocksize : kBstoBlockSize;
  b->head = nullptr;
  b->used = 0;
  b->numblocks = 0;
  b->totalbytes = 0;
}

void* bsto_get(bsto* b, int64 n) {
  if (n <= 0) n = 1;
  n = (n + kAlign - 1) / kAlign * kAlign;
  if (n > b->blocksize) {
    // A large piece: its own block, linked behind the head so that the head keeps serving.
    bsto_block* blk = new_block(b, n);
    if (!blk) return nullptr;
    if (b->head) {
      blk->next = b->head->next;
      b->head->next = blk;
    } else {
      blk->next = nullptr;
      b->head = blk;
      b->used = n;
    }
    std::memset(blk->data, 0, n);
    return blk->data;
  }
  if (!b->head || b->used + n > b->head->size) {
    bsto_block* blk = new_block(b, b->blocksize);
    if (!blk) return nullptr;
    blk->next = b->head;
    b->head = blk;
    b->used = 0;
  }
  void* p = b->head->data + b->used;
  b->used += n;
  std::memset(p, 0, n);
  return p;
}

void bsto_delete(bsto* b) {
  bsto_block* blk = b->head;
  while (blk) {
    bsto_block* next = blk->next;
    TVA_SYS_FREE(b->sys, blk);
    blk = next;
  }
  b->head = nullptr;
  b->used = 0;
  b->numblocks = 0;
  b->totalbytes = 0;
}

} // namespace telva
