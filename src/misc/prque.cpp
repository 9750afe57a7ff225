// Bucket queue in a caller's array.
#include "misc/prque.h"

namespace telva {

void prque_create(sysenv* sys, int32 count, int32* mem, int64 memlen, int64 first, prque* q) {
  if (first + 3 * int64(count) + 1 > memlen)
    sysenv_fatal(sys, TVA_HERE, "Assertion 'first+3*count+1<=memlen' failed: %lld %d %lld",
                 static_cast<long long>(first), count, static_cast<long long>(memlen));
  q->sys = sys;
  q->count = count;
  q->size = 0;
  q->minkey = count + 1;
  q->head = mem + first;
  q->next = q->head + count + 1;
  q->prev = q->next + count;
  for (int32 k = 0; k <= count; ++k)
    q->head[k] = -1;
  for (int32 i = 0; i < count; ++i) {
    q->next[i] = -1;
    q->prev[i] = kPrqueOut;
  }
}

int32 prque_key(const prque* q, int32 item) {
  int32 i = item;
  while (q->prev[i] >= 0)
    i = q->prev[i];
  return -2 - q->prev[i];
}

void prque_insert(prque* q, int32 item, int32 key) {
  TVA_ASSERT(q->sys, item >= 0 && item < q->count && q->prev[item] == kPrqueOut);
  TVA_ASSERT(q->sys, key >= 0 && key <= q->count);
  int32 h = q->head[key];
  q->next[item] = h;
  q->prev[item] = -2 - key;
  if (h >= 0) q->prev[h] = item;
  q->head[key] = item;
  q->size++;
  if (key < q->minkey) q->minkey = key;
}

void prque_remove(prque* q, int32 item) {
  TVA_ASSERT(q->sys, q->prev[item] != kPrqueOut);
  int32 p = q->prev[item], n = q->next[item];
  if (p >= 0) {
    q->next[p] = n;
  } else {
    q->head[-2 - p] = n;
  }
  if (n >= 0) q->prev[n] = p;
  q->prev[item] = kPrqueOut;
  q->next[item] = -1;
  q->size--;
}

int32 prque_top(prque* q, int32* key) {
  TVA_ASSERT(q->sys, q->size > 0);
  while (q->head[q->minkey] < 0)
    q->minkey++;
  if (key) *key = q->minkey;
  return q->head[q->minkey];
}

void prque_removetop(prque* q) {
  prque_remove(q, prque_top(q, nullptr));
}

void prque_changekey(prque* q, int32 item, int32 key) {
  prque_remove(q, item);
  prque_insert(q, item, key);
}

} // namespace telva
