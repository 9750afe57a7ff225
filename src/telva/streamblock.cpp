#include "telva/streamblock.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace telva {

int streamblock_init(StreamBlock* sb, sysenv* sys, const char* banner) {
  sb->sys = sys;
  std::snprintf(sb->banner, sizeof sb->banner, "%s", banner ? banner : "");
  for (StreamRecord& r : sb->rec) {
    if (sysmutex_init(&r.lock) != 0) return TVA_RES_ERR_THREAD_MUTEX_INIT;
  }
  sb->use_locks = true;
  return TVA_RES_OK;
}

void streamblock_teardown(StreamBlock* sb) {
  if (!sb->sys) return;
  sb->use_locks = false;
  streamblock_flush_all(sb);
  streamblock_unlink_files(sb);
  for (StreamRecord& r : sb->rec)
    sysmutex_destroy(&r.lock);
  sb->sys = nullptr;
}

static void write_one(StreamBlock* sb, StreamRecord& r, const char* text) {
  if (!r.file && !r.func) return;
  bool lock = sb->use_locks;
  if (lock) sysmutex_lock(&r.lock);
  if (r.file) std::fputs(text, r.file);
  if (r.func) r.func(r.handle, text);
  if (lock) sysmutex_unlock(&r.lock);
}

void streamblock_write(StreamBlock* sb, int32 which, const char* text) {
  if (!sb->sys || which < 0 || which > 3 || !text) return;
  write_one(sb, sb->rec[which], text);
  if (which != TVA_STREAM_LOG) write_one(sb, sb->rec[TVA_STREAM_LOG], text);
}

void streamblock_printf(StreamBlock* sb, int32 which, const char* fmt, ...) {
  char buf[4096];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(buf, sizeof buf, fmt, ap);
  va_end(ap);
  streamblock_write(sb, which, buf);
}

void streamblock_flush(StreamBlock* sb, int32 which) {
  if (which < 0 || which > 3) return;
  if (sb->rec[which].file) std::fflush(sb->rec[which].file);
}

void streamblock_flush_all(StreamBlock* sb) {
  for (int32 i = 0; i < 4; ++i)
    streamblock_flush(sb, i);
}

void streamblock_unlink_files(StreamBlock* sb) {
  for (StreamRecord& r : sb->rec) {
    if (r.file && r.own_file) std::fclose(r.file);
    r.file = nullptr;
    r.own_file = false;
  }
}

} // namespace telva
