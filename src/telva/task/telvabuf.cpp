#include "telva/task/telvabuf.h"

#include <cstring>

#include "telva/log/report.h"

namespace telva {

namespace {

void free_node(TvaTask* task, TaskBufNode* node) {
  TVA_freedbgtask(task, node->data, __FILE__, __LINE__);
  TVA_freedbgtask(task, node, __FILE__, __LINE__);
}

void free_chain(TvaTask* task, TaskBufNode* node) {
  while (node) {
    TaskBufNode* next = node->next;
    free_node(task, node);
    node = next;
  }
}

telvabuf* lists_of(const char* file, int line, TvaTask* task) {
  if (!task->buflists) sysenv_fatal(task->sys, file, line, "No buffers is available");
  return task->buflists;
}

// Inserts into the free chain before the first block that is at least as large.
void insert_free(TaskBufList* list, TaskBufNode* node) {
  TaskBufNode** link = &list->free_chain;
  while (*link && (*link)->size < node->size)
    link = &(*link)->next;
  node->next = *link;
  *link = node;
}

} // namespace

TVArescode telvabuf_create(TvaTask* task) {
  task->buflists =
      static_cast<telvabuf*>(TVA_callocdbgtask(task, 1, sizeof(telvabuf), __FILE__, __LINE__));
  return task->buflists ? TVA_RES_OK : TVA_RES_ERR_SPACE;
}

void telvabuf_delete(TvaTask* task) {
  if (!task->buflists) return;
  for (TaskBufList& list : task->buflists->lists) {
    free_chain(task, list.free_chain);
    free_chain(task, list.in_use);
  }
  TVA_freedbgtask(task, task->buflists, __FILE__, __LINE__);
  task->buflists = nullptr;
}

TVArescode telvabuf_get(const char* file, int line, TvaTask* task, int64 n, int32 elemsize,
                        int clear, void** out) {
  *out = nullptr;
  telvabuf* bufs = lists_of(file, line, task);
  if (elemsize < 0 || elemsize > kTaskBufMaxElemSize || n < 0)
    sysenv_fatal(task->sys, file, line,
                 "Assertion failed at %s(%d). Scratch request of %lld elements of %d bytes.",
                 file ? file : "", line, static_cast<long long>(n), elemsize);
  if (n == 0 || elemsize == 0) return TVA_RES_OK;
  clear = clear ? 1 : 0;
  TaskBufList& list = bufs->lists[elemsize];

  // The smallest free block that is large enough and has the wanted kind.
  TaskBufNode** link = &list.free_chain;
  while (*link && ((*link)->size < n || (*link)->cleared != clear))
    link = &(*link)->next;
  TaskBufNode* node = *link;
  if (node) {
    *link = node->next;
    if (clear) std::memset(node->data, 0, static_cast<size_t>(n) * static_cast<size_t>(elemsize));
  } else {
    node = static_cast<TaskBufNode*>(TVA_callocdbgtask(task, 1, sizeof(TaskBufNode), file, line));
    void* data = node ? TVA_callocdbgtask(task, static_cast<size_t>(n),
                                          static_cast<size_t>(elemsize), file, line)
                      : nullptr;
    if (!data) {
      TVA_freedbgtask(task, node, file, line);
      return report_code(task, file, line, TVA_RES_ERR_SPACE);
    }
    node->size = n;
    node->cleared = clear;
    node->data = data;
  }
  node->keep = 0;
  node->next = list.in_use;
  list.in_use = node;
  *out = node->data;
  return TVA_RES_OK;
}

TVArescode telvabuf_getnc(const char* file, int line, TvaTask* task, int64 n, int32 elemsize,
                          void** out) {
  return telvabuf_get(file, line, task, n, elemsize, 0, out);
}

void telvabuf_put(const char* file, int line, TvaTask* task, void** block) {
  if (!*block) return;
  telvabuf* bufs = lists_of(file, line, task);
  for (TaskBufList& list : bufs->lists) {
    for (TaskBufNode** link = &list.in_use; *link; link = &(*link)->next) {
      TaskBufNode* node = *link;
      if (node->data != *block) continue;
      *link = node->next;
      node->keep = 0;
      insert_free(&list, node);
      *block = nullptr;
      return;
    }
  }
  sysenv_fatal(task->sys, file, line, "Assertion failed at %s(%d). Scratch block %p is not in use.",
               file ? file : "", line, *block);
}

void telvabuf_keep_in_use(TvaTask* task) {
  telvabuf* bufs = lists_of(__FILE__, __LINE__, task);
  for (TaskBufList& list : bufs->lists) {
    for (TaskBufNode* node = list.in_use; node; node = node->next)
      node->keep = 1;
    free_chain(task, list.free_chain);
    list.free_chain = nullptr;
  }
}

int64 telvabuf_num_in_use(const TvaTask* task, bool exclude_keep) {
  if (!task->buflists) return 0;
  int64 count = 0;
  for (const TaskBufList& list : task->buflists->lists)
    for (const TaskBufNode* node = list.in_use; node; node = node->next)
      if (!(exclude_keep && node->keep)) ++count;
  return count;
}

} // namespace telva
