// The checked road of the memory manager: a record with a serial number for every block, kept
// in a list with an address index, 32-byte guards on both sides of the user's memory, digests
// of locked blocks, and the leak report at deletion.
#include <cstring>

#include "cpub/md5.h"
#include "cpub/memman_internal.h"

namespace telva {
namespace memdetail {

namespace {

// ---- Checked road: the address index --------------------------------------------------------

unsigned char* user_of(const MemBlockRecord* r) {
  return r->base + kMemGuardBytes;
}

size_t bucket_of(const void* user, size_t num_buckets) {
  uint64 key = static_cast<uint64>(reinterpret_cast<uintptr_t>(user)) >> 4;
  return static_cast<size_t>((key * 0x9e3779b97f4a7c15ULL) >> 32) & (num_buckets - 1);
}

// Rebuilds the index with a table of the given size; on failure the old table stands.
void index_rebuild(memman* mm, size_t num_buckets) {
  MemListHead* head = mm->blocks;
  auto** table = static_cast<MemBlockRecord**>(
      mm->hooks.calloc_fn(mm->hooks.usrptr, num_buckets, sizeof(MemBlockRecord*)));
  if (!table) return;
  for (MemBlockRecord* r = head->first; r; r = r->next) {
    size_t b = bucket_of(user_of(r), num_buckets);
    r->hash_next = table[b];
    table[b] = r;
  }
  if (head->buckets) mm->hooks.free_fn(mm->hooks.usrptr, head->buckets);
  head->buckets = table;
  head->num_buckets = num_buckets;
}

MemBlockRecord* index_find(memman* mm, const void* user) {
  MemListHead* head = mm->blocks;
  if (head->buckets) {
    for (MemBlockRecord* r = head->buckets[bucket_of(user, head->num_buckets)]; r; r = r->hash_next)
      if (user_of(r) == user) return r;
    return nullptr;
  }
  for (MemBlockRecord* r = head->first; r; r = r->next)
    if (user_of(r) == user) return r;
  return nullptr;
}

void index_remove(memman* mm, MemBlockRecord* rec) {
  MemListHead* head = mm->blocks;
  if (!head->buckets) return;
  MemBlockRecord** link = &head->buckets[bucket_of(user_of(rec), head->num_buckets)];
  while (*link && *link != rec)
    link = &(*link)->hash_next;
  if (*link) *link = rec->hash_next;
}

void index_insert(memman* mm, MemBlockRecord* rec) {
  MemListHead* head = mm->blocks;
  if (head->buckets) {
    size_t b = bucket_of(user_of(rec), head->num_buckets);
    rec->hash_next = head->buckets[b];
    head->buckets[b] = rec;
  }
  if (head->num_records > 2 * head->num_buckets)
    index_rebuild(mm, head->num_buckets ? 4 * head->num_buckets : 256);
}

void link_record(memman* mm, MemBlockRecord* rec) {
  MemListHead* head = mm->blocks;
  rec->prev = nullptr;
  rec->next = head->first;
  if (head->first) head->first->prev = rec;
  head->first = rec;
  head->num_records++;
  index_insert(mm, rec);
}

void unlink_record(memman* mm, MemBlockRecord* rec) {
  MemListHead* head = mm->blocks;
  index_remove(mm, rec);
  if (rec->prev)
    rec->prev->next = rec->next;
  else
    head->first = rec->next;
  if (rec->next) rec->next->prev = rec->prev;
  head->num_records--;
}

// ---- Checked road: guards and digests --------------------------------------------------------

void fill_guards(MemBlockRecord* r) {
  for (int i = 0; i < kMemGuardBytes; ++i) {
    r->base[i] = static_cast<unsigned char>(r->begin_seed + i);
    r->base[kMemGuardBytes + r->size + i] = static_cast<unsigned char>(r->end_seed + i);
  }
}

// Verifies one block; on a violation takes the fatal road with the first damaged position.
void verify_block(memman* mm, MemBlockRecord* r, const char* file, int line) {
  char msg[512];
  for (int i = 0; i < kMemGuardBytes; ++i) {
    unsigned expected = static_cast<unsigned char>(r->begin_seed + i);
    unsigned got = r->base[i];
    if (got != expected) {
      std::snprintf(msg, sizeof msg,
                    "*** Block begin guard violation. #%" PRIu64 " at %p. pos: %u expected: %u "
                    "got %u",
                    r->serial, static_cast<void*>(user_of(r)), static_cast<unsigned>(i), expected,
                    got);
      fatal(mm, mm->lock_on, file, line, msg);
    }
  }
  const unsigned char* end = r->base + kMemGuardBytes + r->size;
  for (int i = 0; i < kMemGuardBytes; ++i) {
    unsigned expected = static_cast<unsigned char>(r->end_seed + i);
    unsigned got = end[i];
    if (got != expected) {
      std::snprintf(msg, sizeof msg,
                    "*** Block end guard violation. #%" PRIu64 " at %p. pos: %u expected: %u "
                    "got %u",
                    r->serial, static_cast<void*>(user_of(r)), static_cast<unsigned>(i), expected,
                    got);
      fatal(mm, mm->lock_on, file, line, msg);
    }
  }
  if (r->locked) {
    unsigned char now[16];
    md5_digest(user_of(r), r->size, now);
    for (int i = 0; i < 16; ++i) {
      if (now[i] != r->digest[i]) {
        std::snprintf(msg, sizeof msg,
                      "Locked #%-6" PRIu64 " at %p of size %s has been changed at '%s' %u. "
                      "Digest info.: %d(%d!=%d) \n",
                      r->serial, static_cast<void*>(user_of(r)), Count(r->size).text, place(file),
                      static_cast<unsigned>(line), i, r->digest[i], now[i]);
        fatal(mm, mm->lock_on, file, line, msg);
      }
    }
  }
}

bool take_lock(memman* mm) {
  return !mm->lock_on || sysmutex_lock(&mm->lock) == 0;
}
void release_lock(memman* mm) {
  if (mm->lock_on) sysmutex_unlock(&mm->lock);
}

// Finds the record of a block that is to be freed or reallocated; a foreign pointer stops.
MemBlockRecord* record_for_release(memman* mm, const char* file, int line, void* block) {
  MemBlockRecord* rec = index_find(mm, block);
  if (!rec) {
    char msg[256];
    std::snprintf(msg, sizeof msg,
                  "Block %p cannot be deallocated because it is not in the allocation list.\n",
                  block);
    fatal(mm, mm->lock_on, file, line, msg);
  }
  verify_block(mm, rec, file, line);
  return rec;
}

// Scans every block; the caller holds the lock.
void scan_locked(memman* mm, const char* file, int line) {
  if (std::strcmp(mm->begin_mark, "begin") != 0 || std::strcmp(mm->end_mark, "end") != 0) {
    char msg[128];
    std::snprintf(msg, sizeof msg, "The memory manager at %p has been overwritten.",
                  static_cast<void*>(mm));
    fatal(mm, mm->lock_on, file, line, msg);
  }
  tracef(mm, "Scanning memory at '%s'(%d)\n", place(file), line);
  for (MemBlockRecord* r = mm->blocks->first; r; r = r->next)
    verify_block(mm, r, file, line);
  tracef(mm, "Space usage. Number of blocks: %s  Current usage: %s Maximum usage: %s\n",
         Count(mm->blocks->num_records).text, Count(static_cast<uint64>(mm->curuse.load())).text,
         Count(static_cast<uint64>(mm->maxuse.load())).text);
}

} // namespace

void* checked_alloc(memman* mm, const char* file, int line, size_t bytes, bool zero) {
  if (!take_lock(mm)) return nullptr;
  auto* rec = static_cast<MemBlockRecord*>(
      mm->hooks.calloc_fn(mm->hooks.usrptr, 1, sizeof(MemBlockRecord)));
  unsigned char* base = nullptr;
  if (rec) {
    size_t total = bytes + 2 * kMemGuardBytes;
    base = static_cast<unsigned char*>(zero ? mm->hooks.calloc_fn(mm->hooks.usrptr, 1, total)
                                            : mm->hooks.malloc_fn(mm->hooks.usrptr, total));
  }
  if (!rec || !base) {
    reportf(mm, "Out of space while trying to allocate a block of size %u in file '%s(%d)'\n",
            static_cast<unsigned>(bytes), place(file), line);
    if (rec) mm->hooks.free_fn(mm->hooks.usrptr, rec);
    release_lock(mm);
    return nullptr;
  }
  rec->serial = mm->blocks->next_serial++;
  rec->size = static_cast<uint32>(bytes);
  rec->base = base;
  rec->begin_seed = kMemGuardSeed;
  rec->end_seed = kMemGuardSeed;
  fill_guards(rec);
  link_record(mm, rec);
  add_use(mm, static_cast<int64>(bytes));
  mm->numblocks.fetch_add(1);
  tracef(mm, "Allocated(%s)   #%-6" PRIu64 " at %-10p of size %-s (%-s) in file '%s(%d)'.\n",
         mm->name, rec->serial, static_cast<void*>(user_of(rec)), Count(bytes).text,
         Count(static_cast<uint64>(mm->curuse.load())).text, place(file), line);
  release_lock(mm);
  return user_of(rec);
}

void* checked_realloc(memman* mm, const char* file, int line, void* block, size_t bytes) {
  if (!take_lock(mm)) return nullptr;
  MemBlockRecord* rec = record_for_release(mm, file, line, block);
  auto* base = static_cast<unsigned char*>(
      mm->hooks.malloc_fn(mm->hooks.usrptr, bytes + 2 * kMemGuardBytes));
  if (!base) {
    reportf(mm, "Out of space while trying to reallocate a block of size %u in file '%s(%d)'\n",
            static_cast<unsigned>(bytes), place(file), line);
    release_lock(mm);
    return nullptr;
  }
  std::memcpy(base + kMemGuardBytes, user_of(rec), bytes < rec->size ? bytes : rec->size);
  index_remove(mm, rec);
  mm->hooks.free_fn(mm->hooks.usrptr, rec->base);
  add_use(mm, static_cast<int64>(bytes) - static_cast<int64>(rec->size));
  rec->base = base;
  rec->size = static_cast<uint32>(bytes);
  // A reallocated block is meant to change: it is no longer locked.
  rec->locked = 0;
  fill_guards(rec);
  if (mm->blocks->buckets) {
    size_t b = bucket_of(user_of(rec), mm->blocks->num_buckets);
    rec->hash_next = mm->blocks->buckets[b];
    mm->blocks->buckets[b] = rec;
  }
  tracef(mm, "Rellocated(%s)   #%-6" PRIu64 " at %-10p of size %-s (%-s) in file '%s(%d)'.\n",
         mm->name, rec->serial, static_cast<void*>(user_of(rec)), Count(bytes).text,
         Count(static_cast<uint64>(mm->curuse.load())).text, place(file), line);
  release_lock(mm);
  return user_of(rec);
}

void checked_free(memman* mm, const char* file, int line, void* block) {
  if (!take_lock(mm)) return;
  MemBlockRecord* rec = record_for_release(mm, file, line, block);
  mm->curuse.fetch_sub(static_cast<int64>(rec->size));
  mm->numblocks.fetch_sub(1);
  if (mm->level > 5)
    tracef(mm, "Deallocated(%s) #%-6" PRIu64 " at %-10p of size %-s (%-s) in file '%s(%d)'\n",
           mm->name, rec->serial, block, Count(rec->size).text,
           Count(static_cast<uint64>(mm->curuse.load())).text, place(file), line);
  unlink_record(mm, rec);
  mm->hooks.free_fn(mm->hooks.usrptr, rec->base);
  mm->hooks.free_fn(mm->hooks.usrptr, rec);
  release_lock(mm);
}

void checked_scan(memman* mm, const char* file, int line) {
  if (!take_lock(mm)) return;
  scan_locked(mm, file, line);
  if (mm->log_file) std::fflush(mm->log_file);
  release_lock(mm);
}

bool checked_set_locked(memman* mm, const char* file, int line, void* block, bool locked) {
  if (!take_lock(mm)) return false;
  MemBlockRecord* rec = index_find(mm, block);
  if (rec) {
    verify_block(mm, rec, file, line);
    if (locked) md5_digest(user_of(rec), rec->size, rec->digest);
    rec->locked = locked ? 1 : 0;
  }
  release_lock(mm);
  return rec != nullptr;
}

void checked_teardown(memman* mm) {
  tracef(mm, "Deleting mem manager. Scanning memory\n");
  checked_scan(mm, "memman_delete", 0);
  tracef(mm, "Checking leaks\n");
  MemListHead* head = mm->blocks;
  if (head->first) {
    report(mm, "**** ALLOCATED  BLOCKS LEFT\n");
    for (MemBlockRecord* r = head->first; r; r = r->next)
      reportf(mm, "#%-" PRIu64 " at %p (%p) is allocated\n", r->serial,
              static_cast<void*>(user_of(r)), static_cast<void*>(r->base));
  }
  tracef(mm, "Done checking leaks\n");
  // The blocks left are released: the owner is gone and nobody can free them any more.
  for (MemBlockRecord* r = head->first; r;) {
    MemBlockRecord* next = r->next;
    mm->hooks.free_fn(mm->hooks.usrptr, r->base);
    mm->hooks.free_fn(mm->hooks.usrptr, r);
    r = next;
  }
  if (head->buckets) mm->hooks.free_fn(mm->hooks.usrptr, head->buckets);
  mm->hooks.free_fn(mm->hooks.usrptr, head);
  mm->blocks = nullptr;
}

} // namespace memdetail
} // namespace telva
