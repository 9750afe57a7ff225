// MD5 message digest (RFC 1321). The memory manager uses it to notice changes to locked blocks;
// it is a change detector here, not a security measure.
#pragma once

#include "cpub/systypes.h"

namespace telva {

struct Md5 {
  uint32 state[4];
  uint64 length; // bytes taken so far
  unsigned char pending[64];
};

void md5_init(Md5* ctx);
void md5_update(Md5* ctx, const void* data, size_t bytes);
void md5_final(Md5* ctx, unsigned char digest[16]);
// Digest of one buffer in a single call.
void md5_digest(const void* data, size_t bytes, unsigned char digest[16]);

} // namespace telva
