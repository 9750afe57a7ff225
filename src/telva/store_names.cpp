// Item names of the store: one arena of zero-terminated strings, offsets per item.
#include <algorithm>

#include "telva/store_internal.h"

namespace telva {

namespace {

int32 class_count(const TvaTask* task, int32 cls) {
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

int64 string_bytes(const ProblemStore& s, int64 off) {
  return off > 0 ? int64(std::strlen(s.name_arena + off)) + 1 : 0;
}

// Rebuilds the arena compactly with room for at least request more bytes.
bool grow_arena(TvaTask* task, int64 request) {
  ProblemStore& s = task->store;
  int64 used = 1 + string_bytes(s, s.objname);
  for (int32 cls = 0; cls < kNumNameClasses; ++cls)
    for (int32 i = 0; i < class_count(task, cls); ++i)
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
    for (int32 i = 0; i < class_count(task, cls); ++i)
      move(s.name_offset[cls][i]);
  sysarr_free(task->sys, &s.name_arena);
  s.name_arena = fresh;
  s.name_arena_size = size;
  s.name_surplus = size - pos;
  return true;
}

} // namespace

int64 store_name_place(TvaTask* task, const char* name, int64 len) {
  ProblemStore& s = task->store;
  if (!s.name_arena || s.name_surplus < len + 1) {
    if (!grow_arena(task, len + 1)) return -1;
  }
  int64 off = s.name_arena_size - s.name_surplus;
  std::memcpy(s.name_arena + off, name, len);
  s.name_arena[off + len] = '\0';
  s.name_surplus -= len + 1;
  return off;
}

TVArescode store_putname(TvaTask* task, int32 cls, int32 i, const char* name) {
  TVArescode r = check_index(task, i, class_count(task, cls), "i");
  if (r != TVA_RES_OK) return r;
  ProblemStore& s = task->store;
  int64& off = s.name_offset[cls][i];
  int64 len = name ? int64(std::strlen(name)) : 0;
  if (len == 0) {
    off = 0;
    return TVA_RES_OK;
  }
  // A name that is not longer than the old one takes its place.
  if (off > 0 && int64(std::strlen(s.name_arena + off)) >= len) {
    std::memcpy(s.name_arena + off, name, len + 1);
    return TVA_RES_OK;
  }
  int64 at = store_name_place(task, name, len);
  if (at < 0) return TVA_REP(task, ERR_SPACE);
  s.name_offset[cls][i] = at; // the arena may have moved: no reference into the old one
  return TVA_RES_OK;
}

const char* store_getname(const TvaTask* task, int32 cls, int32 i) {
  const ProblemStore& s = task->store;
  if (!s.name_arena || !s.name_offset[cls] || i < 0 || i >= class_count(task, cls)) return "";
  return s.name_arena + s.name_offset[cls][i];
}

} // namespace telva
