// Hash table over item numbers.
#include "misc/hashtabl.h"

#include "misc/sysarr.h"

namespace telva {

bool hashtabl_create(sysenv* sys, int32 capacity, int32 factor, hashtabl* ht) {
  ht->sys = sys;
  if (capacity < 1) capacity = 1;
  if (factor < 1) factor = 1;
  int64 want = 4 * int64(factor) * capacity;
  int64 size = 2;
  while (size < want)
    size *= 2;
  ht->heads = sysarr_alloc<int32>(sys, size);
  ht->next = sysarr_alloc<int32>(sys, capacity);
  if (!ht->heads || !ht->next) {
    hashtabl_delete(ht);
    return false;
  }
  ht->size = static_cast<int32>(size);
  ht->mask = ht->size - 1;
  ht->capacity = capacity;
  for (int32 b = 0; b < ht->size; ++b)
    ht->heads[b] = -1;
  for (int32 i = 0; i < capacity; ++i)
    ht->next[i] = -1;
  return true;
}

void hashtabl_delete(hashtabl* ht) {
  if (ht->sys) {
    sysarr_free(ht->sys, &ht->heads);
    sysarr_free(ht->sys, &ht->next);
  }
  ht->size = ht->mask = ht->capacity = 0;
}

int hashtabl_add(hashtabl* ht, uint32 hash, int32 item, const void* key, hashtabl_match match,
                 const void* ctx, int32* dup) {
  TVA_ASSERT(ht->sys, item >= 0 && item < ht->capacity);
  int32 b = static_cast<int32>(hash & static_cast<uint32>(ht->mask));
  for (int32 i = ht->heads[b]; i >= 0; i = ht->next[i]) {
    if (match(ctx, key, i)) {
      if (dup) *dup = i;
      return 0;
    }
  }
  ht->next[item] = ht->heads[b];
  ht->heads[b] = item;
  return 1;
}

int32 hashtabl_find(const hashtabl* ht, uint32 hash, const void* key, hashtabl_match match,
                    const void* ctx) {
  if (ht->size == 0) return -1;
  int32 b = static_cast<int32>(hash & static_cast<uint32>(ht->mask));
  for (int32 i = ht->heads[b]; i >= 0; i = ht->next[i])
    if (match(ctx, key, i)) return i;
  return -1;
}

bool hashtabl_remove(hashtabl* ht, uint32 hash, int32 item) {
  int32 b = static_cast<int32>(hash & static_cast<uint32>(ht->mask));
  int32* link = &ht->heads[b];
  while (*link >= 0) {
    if (*link == item) {
      *link = ht->next[item];
      ht->next[item] = -1;
      return true;
    }
    link = &ht->next[*link];
  }
  return false;
}

uint32 hashtabl_strhash(const char* s) {
  uint32 h = 0;
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(s); *p; ++p) {
    uint32 t = (h + *p) * 17u;
    h = t ^ (t >> 6);
  }
  uint32 u = h * 9u;
  return (u ^ (u >> 11)) * 32769u;
}

} // namespace telva
