// Item names of the store: one arena of zero-terminated strings, offsets per item, and per
// class a hash map from name to item that is made by the first lookup.
#include <algorithm>
#include <cstdio>

#include "telva/store/store_internal.h"

namespace telva {

namespace {

int64 string_bytes(const ProblemStore& s, int64 off) {
  return off > 0 ? int64(std::strlen(s.name_arena + off)) + 1 : 0;
}

// Rebuilds the arena compactly with room for at least request more bytes.
bool grow_arena(TvaTask* task, int64 request) {
  ProblemStore& s = task->store;
  int64 used = 1 + string_bytes(s, s.objname);
  for (int32 cls = 0; cls < kNumNameClasses; ++cls)
    for (int32 i = 0; i < store_name_count(task, cls); ++i)
      used += string_bytes(s, s.name_offset[cls][i]);
  int64 size = used + std::max(used, request) + 1;
  size = std::max<int64>(size, 17 * (int64(task->maxnumcon) + task->maxnumvar + task->maxnumcone +
                                     task->maxnumbarvar));
  char* fresh = sysarr_alloc<char>(task->sys, size);
  if (!fresh) return false;
  int64 pos = 1;
  auto move = [&](int64& off) {
    if (off <= 0) return;
    int64 n = string_bytes(s, off);
    std::memcpy(fresh + pos, s.name_arena + off, n);
    off = pos;
    pos += n;
  };
  move(s.objname);
  for (int32 cls = 0; cls < kNumNameClasses; ++cls)
    for (int32 i = 0; i < store_name_count(task, cls); ++i)
      move(s.name_offset[cls][i]);
  sysarr_free(task->sys, &s.name_arena);
  s.name_arena = fresh;
  s.name_arena_size = size;
  s.name_surplus = size - pos;
  return true;
}

// The offset where a name of len bytes goes, given the old offset: the old place when the
// name is not longer, else the end of the arena (grown when needed). -1 when out of memory.
int64 place_name(TvaTask* task, int64 old, const char* name, int64 len) {
  ProblemStore& s = task->store;
  if (len == 0) return 0;
  if (old > 0 && int64(std::strlen(s.name_arena + old)) >= len) {
    std::memcpy(s.name_arena + old, name, len + 1);
    return old;
  }
  return store_name_place(task, name, len);
}

struct MapCtx {
  const TvaTask* task;
  int32 cls;
};

bool name_matches(const void* ctx, const void* key, int32 item) {
  const MapCtx* c = static_cast<const MapCtx*>(ctx);
  return std::strcmp(store_getname(c->task, c->cls, item), static_cast<const char*>(key)) == 0;
}

int32 class_capacity(const TvaTask* task, int32 cls) {
  switch (cls) {
  case kNameCon:
    return task->maxnumcon;
  case kNameVar:
    return task->maxnumvar;
  case kNameCone:
    return task->maxnumcone;
  default:
    return task->maxnumbarvar;
  }
}

// The first two items of the class with one name, by sorting; false when all are unique.
// A failure to get the scratch array is reported through *r.
bool first_duplicate(TvaTask* task, int32 cls, int32* a, int32* b, TVArescode* r) {
  int32 n = store_name_count(task, cls);
  *r = TVA_RES_OK;
  if (n < 2) return false;
  ScratchArr<int32> order(task->sys, n);
  if (!order.ok()) {
    *r = TVA_REP(task, ERR_SPACE);
    return false;
  }
  int32 m = 0;
  for (int32 i = 0; i < n; ++i)
    if (task->store.name_offset[cls][i] > 0) order[m++] = i;
  std::sort(order.p, order.p + m, [&](int32 x, int32 y) {
    int c = std::strcmp(store_getname(task, cls, x), store_getname(task, cls, y));
    return c != 0 ? c < 0 : x < y;
  });
  // Among equal names the first pair in index order is the one reported.
  bool found = false;
  for (int32 t = 1; t < m; ++t) {
    if (std::strcmp(store_getname(task, cls, order[t - 1]), store_getname(task, cls, order[t])))
      continue;
    if (!found || order[t - 1] < *a || (order[t - 1] == *a && order[t] < *b)) {
      *a = order[t - 1];
      *b = order[t];
    }
    found = true;
  }
  return found;
}

TVArescode report_duplicate(TvaTask* task, int32 cls, int32 a, int32 b, bool warn) {
  const char* name = store_getname(task, cls, a);
  switch (cls) {
  case kNameCon:
    return warn ? TVA_REP(task, WRN_DUPLICATE_CONSTRAINT_NAMES, a, b, name)
                : TVA_REP(task, ERR_DUPLICATE_CONSTRAINT_NAMES, a, b, name);
  case kNameVar:
    return warn ? TVA_REP(task, WRN_DUPLICATE_VARIABLE_NAMES, a, b, name)
                : TVA_REP(task, ERR_DUPLICATE_VARIABLE_NAMES, a, b, name);
  case kNameCone:
    return warn ? TVA_REP(task, WRN_DUPLICATE_CONE_NAMES, a, b, name)
                : TVA_REP(task, ERR_DUPLICATE_CONE_NAMES, a, b, name);
  default:
    return warn ? TVA_REP(task, WRN_DUPLICATE_BARVARIABLE_NAMES, a, b, name)
                : TVA_REP(task, ERR_DUPLICATE_BARVARIABLE_NAMES, a, b, name);
  }
}

// Makes the class's map from the names that stand; duplicates refuse it.
TVArescode make_map(TvaTask* task, int32 cls) {
  ProblemStore& s = task->store;
  if (s.name_map_made[cls]) return TVA_RES_OK;
  int32 a = -1, b = -1;
  TVArescode r = TVA_RES_OK;
  if (first_duplicate(task, cls, &a, &b, &r)) return report_duplicate(task, cls, a, b, false);
  if (r != TVA_RES_OK) return r;
  int32 n = store_name_count(task, cls);
  hashtabl& ht = s.name_map[cls];
  if (!hashtabl_create(task->sys, std::max(n, class_capacity(task, cls)), 1, &ht))
    return TVA_REP(task, ERR_SPACE);
  MapCtx ctx{task, cls};
  for (int32 i = 0; i < n; ++i) {
    if (s.name_offset[cls][i] == 0) continue;
    const char* name = store_getname(task, cls, i);
    int32 dup;
    hashtabl_add(&ht, hashtabl_strhash(name), i, name, name_matches, &ctx, &dup);
  }
  s.name_map_made[cls] = true;
  return TVA_RES_OK;
}

const char* class_word(int32 cls) {
  static const char* const words[kNumNameClasses] = {"constraint", "variable", "cone",
                                                     "bar variable"};
  return words[cls];
}

} // namespace

int32 store_name_count(const TvaTask* task, int32 cls) {
  switch (cls) {
  case kNameCon:
    return task->numcon;
  case kNameVar:
    return task->numvar;
  case kNameCone:
    return task->numcone;
  default:
    return task->numbarvar;
  }
}

int64 store_name_place(TvaTask* task, const char* name, int64 len) {
  ProblemStore& s = task->store;
  if (!s.name_arena || s.name_surplus < len + 1) {
    // A name that lives in the arena itself (one item's name given to another) is copied out
    // first, since growing frees the old arena.
    bool inside = s.name_arena && name >= s.name_arena && name < s.name_arena + s.name_arena_size;
    ScratchArr<char> copy(task->sys, inside ? len + 1 : 0);
    if (inside) {
      if (!copy.ok()) return -1;
      std::memcpy(copy.p, name, len);
      name = copy.p;
    }
    if (!grow_arena(task, len + 1)) return -1;
    int64 off = s.name_arena_size - s.name_surplus;
    std::memcpy(s.name_arena + off, name, len);
    s.name_arena[off + len] = '\0';
    s.name_surplus -= len + 1;
    return off;
  }
  int64 off = s.name_arena_size - s.name_surplus;
  std::memcpy(s.name_arena + off, name, len);
  s.name_arena[off + len] = '\0';
  s.name_surplus -= len + 1;
  return off;
}

void store_dropnamemap(TvaTask* task, int32 cls) {
  ProblemStore& s = task->store;
  if (s.name_map_made[cls]) hashtabl_delete(&s.name_map[cls]);
  s.name_map_made[cls] = false;
}

TVArescode store_putname(TvaTask* task, int32 cls, int32 i, const char* name) {
  TVArescode r = check_index(task, i, store_name_count(task, cls), "i");
  if (r != TVA_RES_OK) return r;
  ProblemStore& s = task->store;
  int64 len = name ? int64(std::strlen(name)) : 0;
  if (!s.name_map_made[cls]) {
    // Without a map any number of items may share a name; the map's making checks that.
    int64 at = place_name(task, s.name_offset[cls][i], name, len);
    if (at < 0) return TVA_REP(task, ERR_SPACE);
    s.name_offset[cls][i] = at;
    return TVA_RES_OK;
  }
  hashtabl& ht = s.name_map[cls];
  MapCtx ctx{task, cls};
  if (len > 0) {
    int32 holder = hashtabl_find(&ht, hashtabl_strhash(name), name, name_matches, &ctx);
    if (holder >= 0 && holder != i) return TVA_REP(task, ERR_DUP_NAME, name, class_word(cls));
    if (holder == i) return TVA_RES_OK;
  }
  if (i >= ht.capacity) {
    // Items appended beyond the map's room: make it anew, larger (the names are unique).
    store_dropnamemap(task, cls);
    r = make_map(task, cls);
    if (r != TVA_RES_OK) return r;
  }
  // The new string is placed before the map changes, so that running out of memory leaves the
  // old name in place and in the map. The old string is read before it may be overwritten.
  const char* oldname = store_getname(task, cls, i);
  uint32 oldhash = hashtabl_strhash(oldname);
  bool hadname = s.name_offset[cls][i] > 0;
  if (len > 0 && !(hadname && int64(std::strlen(oldname)) >= len) && s.name_surplus < len + 1 &&
      !grow_arena(task, len + 1))
    return TVA_REP(task, ERR_SPACE);
  if (hadname) hashtabl_remove(&ht, oldhash, i);
  int64 at = place_name(task, s.name_offset[cls][i], name, len);
  TVA_ASSERT(task->sys, at >= 0);
  s.name_offset[cls][i] = at;
  if (len > 0) {
    int32 dup;
    hashtabl_add(&ht, hashtabl_strhash(name), i, name, name_matches, &ctx, &dup);
  }
  return TVA_RES_OK;
}

const char* store_getname(const TvaTask* task, int32 cls, int32 i) {
  const ProblemStore& s = task->store;
  if (!s.name_arena || !s.name_offset[cls] || i < 0 || i >= store_name_count(task, cls)) return "";
  return s.name_arena + s.name_offset[cls][i];
}

TVArescode store_putobjname(TvaTask* task, const char* name) {
  ProblemStore& s = task->store;
  int64 len = name ? int64(std::strlen(name)) : 0;
  int64 at = place_name(task, s.objname, name, len);
  if (at < 0) return TVA_REP(task, ERR_SPACE);
  s.objname = at;
  return TVA_RES_OK;
}

const char* store_getobjname(const TvaTask* task) {
  const ProblemStore& s = task->store;
  return s.name_arena ? s.name_arena + s.objname : "";
}

TVArescode store_findname(TvaTask* task, int32 cls, const char* name, int32* item) {
  *item = -1;
  TVArescode r = make_map(task, cls);
  if (r != TVA_RES_OK) return r;
  MapCtx ctx{task, cls};
  *item =
      hashtabl_find(&task->store.name_map[cls], hashtabl_strhash(name), name, name_matches, &ctx);
  return TVA_RES_OK;
}

const char* store_name_or_generated(const TvaTask* task, int32 cls, int32 i, char* buf) {
  const char* own = store_getname(task, cls, i);
  if (*own) return own;
  static const char* const prefixes[kNumNameClasses] = {"C", "X", "K", "BARX"};
  std::snprintf(buf, 16, "%s%d", prefixes[cls], i + 1);
  return buf;
}

const char* store_objname_or_generated(const TvaTask* task) {
  const char* own = store_getobjname(task);
  return *own ? own : "OBJ";
}

TVArescode store_warn_duplicate_names(TvaTask* task) {
  for (int32 cls = 0; cls < kNumNameClasses; ++cls) {
    int32 a = -1, b = -1;
    TVArescode r = TVA_RES_OK;
    if (first_duplicate(task, cls, &a, &b, &r)) return report_duplicate(task, cls, a, b, true);
    if (r != TVA_RES_OK) return r;
  }
  return TVA_RES_OK;
}

} // namespace telva
