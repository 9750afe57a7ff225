// A block store: hands out pieces of memory from large blocks and frees them all at once.
// A piece stays valid, at the same address, until the store is deleted.
#pragma once

#include "cpub/sysenv.h"

namespace telva {

constexpr int64 kBstoBlockSize = 128000;

struct bsto_block;

struct bsto {
  sysenv* sys = nullptr;
  int64 blocksize = kBstoBlockSize;
  bsto_block* head = nullptr; // the block pieces are cut from; others behind it
  int64 used = 0;             // bytes handed out of head
  int64 numblocks = 0;
  int64 totalbytes = 0;
};

void bsto_create(sysenv* sys, int64 blocksize, bsto* b);
// A piece of n bytes, aligned for any scalar type, zeroed; null when out of memory. A piece
// larger than a block gets a block of its own.
void* bsto_get(bsto* b, int64 n);
void bsto_delete(bsto* b);

} // namespace telva
