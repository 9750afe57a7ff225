// A stack of scratch blocks with a fixed number of slots in one byte array made at creation.
// Blocks are pushed and popped in reverse order; in spill mode each block comes from the heap
// instead, with the same bookkeeping. Size checkpoints bound the bytes live on the stack
// within a region of code. Every misuse is a programming error and takes the fatal road.
#pragma once

#include "cpub/sysenv.h"

namespace telva {

struct stkbuf;

constexpr int kStkMaxSizeChecks = 16;

// count: number of slots (the most blocks live at once); size: bytes per slot, so that the
// array holds count * size bytes; alignment: a power of two, the largest a push may ask for;
// spill: take every block from the heap; level: above 5 each push and pop is echoed.
// Returns null when out of space.
stkbuf* stkbuf_create(sysenv* owner, int32 count, size_t size, size_t alignment, int spill,
                      int level);
// Blocks still live at deletion are a fatal error ("Buffers left").
void stkbuf_delete(const char* file, int line, stkbuf** sb);

// A block of bytes aligned at alignment (0 means the stack's own). In spill mode null is
// returned when the heap is out of space.
void* stkbuf_push(const char* file, int line, stkbuf* sb, size_t bytes, size_t alignment);
// Pops the last block, which *block must be; sets *block to null.
void stkbuf_pop(const char* file, int line, stkbuf* sb, void** block);

// Checkpoints: until the matching pop, a push that takes the live bytes above limit is fatal.
void stkbuf_push_sizecheck(const char* file, int line, stkbuf* sb, int32 id, size_t limit);
void stkbuf_pop_sizecheck(const char* file, int line, stkbuf* sb, int32 id);

size_t stkbuf_bytes_live(const stkbuf* sb);
int32 stkbuf_numbufs(const stkbuf* sb);

#define TVA_STK_PUSH(sb, bytes, align)                                                             \
  ::telva::stkbuf_push(__FILE__, __LINE__, (sb), (bytes), (align))
#define TVA_STK_POP(sb, pblock)                                                                    \
  ::telva::stkbuf_pop(__FILE__, __LINE__, (sb), reinterpret_cast<void**>(pblock))

} // namespace telva
