// A hash table over item numbers: the keys live in the caller's array, the table holds only
// the numbers 0..capacity-1 of the items, chained per bucket. The caller gives the hash of a
// key and a function that compares a key with an item's key.
#pragma once

#include "cpub/sysenv.h"

namespace telva {

struct hashtabl {
  sysenv* sys = nullptr;
  int32 size = 0; // a power of two, the smallest not below 4 * factor * capacity
  int32 mask = 0; // size - 1
  int32 capacity = 0;
  int32* heads = nullptr; // per bucket, first item or -1
  int32* next = nullptr;  // per item, next item of its chain or -1
};

// Whether the caller's key matches item's key.
using hashtabl_match = bool (*)(const void* ctx, const void* key, int32 item);

// Returns false when out of memory (the table then holds nothing).
bool hashtabl_create(sysenv* sys, int32 capacity, int32 factor, hashtabl* ht);
void hashtabl_delete(hashtabl* ht);
// Adds item under hash. When an item with an equal key stands, nothing is added, the result is
// 0 and *dup is that item; else the result is 1.
int hashtabl_add(hashtabl* ht, uint32 hash, int32 item, const void* key, hashtabl_match match,
                 const void* ctx, int32* dup);
// The item whose key matches, or -1.
int32 hashtabl_find(const hashtabl* ht, uint32 hash, const void* key, hashtabl_match match,
                    const void* ctx);
// Takes item out of its chain; false if it was not in.
bool hashtabl_remove(hashtabl* ht, uint32 hash, int32 item);

// The hash of a zero-terminated string used for names.
uint32 hashtabl_strhash(const char* s);

} // namespace telva
