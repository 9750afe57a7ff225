#include "cpub/stkbuf.h"

#include <cstdio>
#include <new>

namespace telva {

namespace {

struct StkBlock {
  unsigned char* start;
  unsigned char* end; // first byte after the block, rounded up to the stack's alignment
  size_t size;
  void* heap_base; // spill mode: what the heap gave
};

struct StkSizeCheck {
  int32 id;
  size_t limit;
};

unsigned char* align_up(unsigned char* p, size_t alignment) {
  uintptr_t v = reinterpret_cast<uintptr_t>(p);
  uintptr_t a = (v + alignment - 1) & ~(static_cast<uintptr_t>(alignment) - 1);
  return p + (a - v);
}

} // namespace

struct stkbuf {
  sysenv* owner;
  int32 count;
  size_t size;
  size_t alignment;
  int spill;
  int level;
  size_t use_now;    // bytes of the array in use, from its start to the last block's end
  size_t bytes_live; // sum of the sizes of the live blocks
  int32 numbufs;
  unsigned char* stack; // aligned start of the array
  void* stack_base;     // what the owner's memory gave for the array
  size_t capacity;
  StkBlock* blocks;
  int32 numsizechecks;
  StkSizeCheck size_checks[kStkMaxSizeChecks];
};

stkbuf* stkbuf_create(sysenv* owner, int32 count, size_t size, size_t alignment, int spill,
                      int level) {
  if (count < 0 || alignment == 0 || (alignment & (alignment - 1))) return nullptr;
  void* raw = sysenv_calloc(owner, TVA_HERE, 1, sizeof(stkbuf));
  if (!raw) return nullptr;
  stkbuf* sb = new (raw) stkbuf;
  sb->owner = owner;
  sb->count = count;
  sb->size = size;
  sb->alignment = alignment;
  sb->spill = spill ? 1 : 0;
  sb->level = level;
  sb->capacity = sb->spill ? 0 : static_cast<size_t>(count) * size;
  bool ok = true;
  if (count > 0) {
    sb->blocks = static_cast<StkBlock*>(sysenv_calloc(owner, TVA_HERE, count, sizeof(StkBlock)));
    ok = sb->blocks != nullptr;
  }
  if (ok && sb->capacity > 0) {
    sb->stack_base = sysenv_malloc(owner, TVA_HERE, sb->capacity + alignment, 1);
    ok = sb->stack_base != nullptr;
    if (ok) sb->stack = align_up(static_cast<unsigned char*>(sb->stack_base), alignment);
  }
  if (!ok) {
    sysenv_free(owner, TVA_HERE, sb->blocks);
    sysenv_free(owner, TVA_HERE, raw);
    return nullptr;
  }
  return sb;
}

void stkbuf_delete(const char* file, int line, stkbuf** psb) {
  stkbuf* sb = *psb;
  if (!sb) return;
  if (sb->numbufs > 0) sysenv_fatal(sb->owner, file, line, "Buffers left");
  *psb = nullptr;
  sysenv* owner = sb->owner;
  sysenv_free(owner, TVA_HERE, sb->stack_base);
  sysenv_free(owner, TVA_HERE, sb->blocks);
  sysenv_free(owner, TVA_HERE, sb);
}

void* stkbuf_push(const char* file, int line, stkbuf* sb, size_t bytes, size_t alignment) {
  if (alignment == 0) alignment = sb->alignment;
  if (alignment > sb->alignment || (alignment & (alignment - 1)))
    sysenv_fatal(sb->owner, file, line, "Incorrect alignment");
  for (int32 k = 0; k < sb->numsizechecks; ++k) {
    const StkSizeCheck& c = sb->size_checks[k];
    if (bytes + sb->bytes_live > c.limit)
      sysenv_fatal(sb->owner, file, line,
                   "Failed size check. numsizechecks: %d k: %d Checking id: %d stackuse: %lu "
                   "sizechecks: %lu size: %lu",
                   sb->numsizechecks, k, c.id, static_cast<unsigned long>(sb->bytes_live),
                   static_cast<unsigned long>(c.limit), static_cast<unsigned long>(bytes));
  }
  if (sb->numbufs >= sb->count)
    sysenv_fatal(sb->owner, file, line, "Out of space in stack buffer %d %d", sb->numbufs,
                 sb->count);
  StkBlock blk{};
  blk.size = bytes;
  if (sb->spill) {
    blk.heap_base = sysenv_malloc(sb->owner, file, line, bytes + alignment, 1);
    if (!blk.heap_base) return nullptr;
    blk.start = align_up(static_cast<unsigned char*>(blk.heap_base), alignment);
    blk.end = blk.start + bytes;
  } else {
    blk.start = align_up(sb->stack + sb->use_now, alignment);
    size_t end = static_cast<size_t>(blk.start - sb->stack) + bytes;
    if (end > sb->capacity)
      sysenv_fatal(sb->owner, file, line, "Out of space in stack buffer %d %d",
                   static_cast<int>(end), static_cast<int>(sb->capacity));
    // The next block starts at the stack's own alignment, within the array.
    blk.end = align_up(blk.start + bytes, sb->alignment);
    if (blk.end > sb->stack + sb->capacity) blk.end = sb->stack + sb->capacity;
    sb->use_now = static_cast<size_t>(blk.end - sb->stack);
  }
  sb->blocks[sb->numbufs++] = blk;
  sb->bytes_live += bytes;
  if (sb->level > 5) {
    char text[512];
    std::snprintf(text, sizeof text, "stkbuf:push:%s(%d): %lu %p stkuse: %lu\n", file ? file : "",
                  line, static_cast<unsigned long>(bytes), static_cast<void*>(blk.start),
                  static_cast<unsigned long>(sb->bytes_live));
    sysenv_echo(sb->owner, text);
  }
  return blk.start;
}

void stkbuf_pop(const char* file, int line, stkbuf* sb, void** block) {
  if (sb->numbufs <= 0) sysenv_fatal(sb->owner, file, line, "numbufs<=0");
  StkBlock& blk = sb->blocks[sb->numbufs - 1];
  if (*block != blk.start)
    sysenv_fatal(sb->owner, file, line, "buffer error -- expected: %p input: %p",
                 static_cast<void*>(blk.start), *block);
  if (sb->bytes_live < blk.size)
    sysenv_fatal(sb->owner, file, line, "stackuse: %lu %lu",
                 static_cast<unsigned long>(sb->bytes_live), static_cast<unsigned long>(blk.size));
  sb->bytes_live -= blk.size;
  if (sb->level > 5) {
    char text[512];
    std::snprintf(text, sizeof text, "stkbuf:pop:%s(%d): %lu %p stkuse: %lu\n", file ? file : "",
                  line, static_cast<unsigned long>(blk.size), static_cast<void*>(blk.start),
                  static_cast<unsigned long>(sb->bytes_live));
    sysenv_echo(sb->owner, text);
  }
  if (blk.heap_base) sysenv_free(sb->owner, file, line, blk.heap_base);
  sb->numbufs--;
  if (!sb->spill)
    sb->use_now =
        sb->numbufs > 0 ? static_cast<size_t>(sb->blocks[sb->numbufs - 1].end - sb->stack) : 0;
  *block = nullptr;
}

void stkbuf_push_sizecheck(const char* file, int line, stkbuf* sb, int32 id, size_t limit) {
  if (sb->numsizechecks >= kStkMaxSizeChecks)
    sysenv_fatal(sb->owner, file, line, "Assertion failed at %s(%d). Too many size checks: %d.",
                 file ? file : "", line, sb->numsizechecks);
  sb->size_checks[sb->numsizechecks++] = StkSizeCheck{id, limit};
}

void stkbuf_pop_sizecheck(const char* file, int line, stkbuf* sb, int32 id) {
  if (sb->numsizechecks <= 0 || sb->size_checks[sb->numsizechecks - 1].id != id)
    sysenv_fatal(sb->owner, file, line,
                 "Assertion failed at %s(%d). Size check %d is not the last one.", file ? file : "",
                 line, id);
  sb->numsizechecks--;
}

size_t stkbuf_bytes_live(const stkbuf* sb) {
  return sb->bytes_live;
}
int32 stkbuf_numbufs(const stkbuf* sb) {
  return sb->numbufs;
}

} // namespace telva
