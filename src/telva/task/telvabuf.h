// The task's scratch lists: temporary arrays of the task's functions come from here and go back
// here, so that repeated calls reuse the same blocks instead of allocating each time. There is
// one list per element size from 0 to 8 bytes; each keeps its free blocks sorted by size and
// its blocks in use on a second chain. All memory is the task's, through TVA_callocdbgtask.
#pragma once

#include "telva/task/task.h"

namespace telva {

constexpr int32 kTaskBufMaxElemSize = 8;

struct TaskBufNode {
  int64 size;  // elements
  int keep;    // in use when the lists were last trimmed: held across an optimizer run
  int cleared; // the block comes out zeroed
  void* data;
  TaskBufNode* next;
};

struct TaskBufList {
  TaskBufNode* free_chain; // sorted by size, smallest first
  TaskBufNode* in_use;
};

struct telvabuf {
  TaskBufList lists[kTaskBufMaxElemSize + 1];
};

// Makes the task's lists (task->buflists); TVA_RES_ERR_SPACE when out of space.
TVArescode telvabuf_create(TvaTask* task);
// Frees both chains of every list with their blocks, and the lists.
void telvabuf_delete(TvaTask* task);

// A block of n elements of elemsize bytes (0..8), zeroed when clear is set. n * elemsize of 0
// gives null and no failure. Out of space is reported on the task as TVA_RES_ERR_SPACE.
TVArescode telvabuf_get(const char* file, int line, TvaTask* task, int64 n, int32 elemsize,
                        int clear, void** out);
// The short form: clear off.
TVArescode telvabuf_getnc(const char* file, int line, TvaTask* task, int64 n, int32 elemsize,
                          void** out);
// Gives a block back to the free chain; null is accepted. Sets *block to null.
void telvabuf_put(const char* file, int line, TvaTask* task, void** block);

// At the start of an optimizer run: the blocks in use are marked keep and the free chains are
// released with their blocks, so that a run starts from what the caller still holds.
void telvabuf_keep_in_use(TvaTask* task);
// Blocks in use; with exclude_keep, only those taken since the last keep_in_use.
int64 telvabuf_num_in_use(const TvaTask* task, bool exclude_keep);

template <class T>
TVArescode telvabuf_take(const char* file, int line, TvaTask* task, int64 n, int clear, T** out) {
  static_assert(sizeof(T) <= kTaskBufMaxElemSize, "scratch lists hold elements of up to 8 bytes");
  void* p = nullptr;
  TVArescode r = telvabuf_get(file, line, task, n, static_cast<int32>(sizeof(T)), clear, &p);
  *out = static_cast<T*>(p);
  return r;
}

// Typed forms: TVA_TASKBUF_GET(task, n, &ptr) (uncleared), TVA_TASKBUF_GETZ (zeroed),
// TVA_TASKBUF_PUT(task, &ptr).
#define TVA_TASKBUF_GET(task, n, pptr)                                                             \
  ::telva::telvabuf_take(__FILE__, __LINE__, (task), (n), 0, (pptr))
#define TVA_TASKBUF_GETZ(task, n, pptr)                                                            \
  ::telva::telvabuf_take(__FILE__, __LINE__, (task), (n), 1, (pptr))
#define TVA_TASKBUF_PUT(task, pptr)                                                                \
  ::telva::telvabuf_put(__FILE__, __LINE__, (task), reinterpret_cast<void**>(pptr))

} // namespace telva
