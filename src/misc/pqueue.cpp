// Binary heap with positions.
#include "misc/pqueue.h"

#include "misc/sysarr.h"

namespace telva {

namespace {

void place(pqueue* q, int32 at, int32 item) {
  q->heap[at] = item;
  q->pos[item] = at;
}

void sift_up(pqueue* q, int32 at) {
  int32 item = q->heap[at];
  while (at > 0) {
    int32 parent = (at - 1) / 2;
    if (q->key[q->heap[parent]] <= q->key[item]) break;
    place(q, at, q->heap[parent]);
    at = parent;
  }
  place(q, at, item);
}

void sift_down(pqueue* q, int32 at) {
  int32 item = q->heap[at];
  while (true) {
    int32 child = 2 * at + 1;
    if (child >= q->count) break;
    if (child + 1 < q->count && q->key[q->heap[child + 1]] < q->key[q->heap[child]]) ++child;
    if (q->key[item] <= q->key[q->heap[child]]) break;
    place(q, at, q->heap[child]);
    at = child;
  }
  place(q, at, item);
}

} // namespace

bool pqueue_create(sysenv* sys, int32 maxitems, pqueue* q) {
  q->sys = sys;
  q->count = 0;
  q->heap = sysarr_alloc<int32>(sys, maxitems);
  q->pos = sysarr_alloc<int32>(sys, maxitems);
  q->key = sysarr_alloc<double>(sys, maxitems);
  if (maxitems > 0 && (!q->heap || !q->pos || !q->key)) {
    pqueue_delete(q);
    return false;
  }
  q->maxitems = maxitems;
  for (int32 i = 0; i < maxitems; ++i)
    q->pos[i] = -1;
  return true;
}

void pqueue_delete(pqueue* q) {
  if (q->sys) {
    sysarr_free(q->sys, &q->heap);
    sysarr_free(q->sys, &q->pos);
    sysarr_free(q->sys, &q->key);
  }
  q->maxitems = q->count = 0;
}

void pqueue_insert(pqueue* q, int32 item, double key) {
  TVA_ASSERT(q->sys, item >= 0 && item < q->maxitems && q->pos[item] < 0);
  q->key[item] = key;
  place(q, q->count++, item);
  sift_up(q, q->count - 1);
}

int32 pqueue_top(const pqueue* q) {
  TVA_ASSERT(q->sys, q->count > 0);
  return q->heap[0];
}

void pqueue_removetop(pqueue* q) {
  pqueue_remove(q, pqueue_top(q));
}

void pqueue_changekey(pqueue* q, int32 item, double key) {
  TVA_ASSERT(q->sys, q->pos[item] >= 0);
  double old = q->key[item];
  q->key[item] = key;
  if (key < old)
    sift_up(q, q->pos[item]);
  else
    sift_down(q, q->pos[item]);
}

void pqueue_remove(pqueue* q, int32 item) {
  TVA_ASSERT(q->sys, q->pos[item] >= 0);
  int32 at = q->pos[item];
  q->pos[item] = -1;
  int32 last = q->heap[--q->count];
  if (at == q->count) return;
  place(q, at, last);
  sift_down(q, at);
  sift_up(q, q->pos[last]);
}

} // namespace telva
