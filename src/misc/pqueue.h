// A binary min-heap over items 0..maxitems-1 with double keys. A position array makes a member's
// key changeable and lets any member leave in logarithmic time.
#pragma once

#include "cpub/sysenv.h"

namespace telva {

struct pqueue {
  sysenv* sys = nullptr;
  int32 maxitems = 0;
  int32 count = 0;
  int32* heap = nullptr; // items in heap order
  int32* pos = nullptr;  // per item, its place in heap, or -1 when not a member
  double* key = nullptr; // per item
};

bool pqueue_create(sysenv* sys, int32 maxitems, pqueue* q);
void pqueue_delete(pqueue* q);
void pqueue_insert(pqueue* q, int32 item, double key);
inline bool pqueue_empty(const pqueue* q) {
  return q->count == 0;
}
inline bool pqueue_contains(const pqueue* q, int32 item) {
  return q->pos[item] >= 0;
}
// The member with the smallest key; the queue must not be empty.
int32 pqueue_top(const pqueue* q);
void pqueue_removetop(pqueue* q);
void pqueue_changekey(pqueue* q, int32 item, double key);
void pqueue_remove(pqueue* q, int32 item);

} // namespace telva
