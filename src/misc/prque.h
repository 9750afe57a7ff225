// A bucket queue over items 0..count-1 with integer keys 0..count: one bucket per key, doubly
// linked. Its memory is a part of a caller's int32 array: from first, count + 1 bucket heads,
// count next links and count previous links, so first + 3 * count + 1 entries must fit.
#pragma once

#include "cpub/sysenv.h"

namespace telva {

struct prque {
  sysenv* sys = nullptr;
  int32 count = 0;       // items; keys run from 0 to count
  int32 size = 0;        // members
  int32 minkey = 0;      // no member has a key below this
  int32* head = nullptr; // per key, the first member or -1
  int32* next = nullptr; // per item, the next member of its bucket or -1
  int32* prev = nullptr; // per item: the previous member, or -2 - key at a bucket's head,
                         // or kPrqueOut when not a member
};

constexpr int32 kPrqueOut = -1;

void prque_create(sysenv* sys, int32 count, int32* mem, int64 memlen, int64 first, prque* q);
void prque_insert(prque* q, int32 item, int32 key);
inline bool prque_empty(const prque* q) {
  return q->size == 0;
}
inline bool prque_contains(const prque* q, int32 item) {
  return q->prev[item] != kPrqueOut;
}
// A member with the smallest key, and that key; the queue must not be empty.
int32 prque_top(prque* q, int32* key);
void prque_removetop(prque* q);
void prque_changekey(prque* q, int32 item, int32 key);
void prque_remove(prque* q, int32 item);
// The key of a member.
int32 prque_key(const prque* q, int32 item);

} // namespace telva
