#include "misc/utf8bld.h"

#include <cstring>
#include <new>

namespace telva {

namespace {

// Takes all bytes, growing the buffer (one byte more is kept for the terminator); 0 when
// memory runs out, which marks the stream failed.
size_t sink_write(void* handle, const char* buffer, size_t count) {
  MemSink* sink = static_cast<MemSink*>(handle);
  size_t need = sink->used + count + 1;
  if (need > sink->capacity) {
    size_t cap = sink->capacity ? sink->capacity : kUtf8bldInitialCapacity;
    while (cap < need)
      cap *= 2;
    void* grown = sysenv_realloc(sink->sys, TVA_HERE, sink->data, cap, 1);
    if (!grown) return 0;
    sink->data = static_cast<char*>(grown);
    sink->capacity = cap;
  }
  std::memcpy(sink->data + sink->used, buffer, count);
  sink->used += count;
  sink->data[sink->used] = '\0';
  return count;
}

} // namespace

utf8bld* utf8bld_make(sysenv* sys, dtoaenv* dtoa) {
  void* raw = sysenv_calloc(sys, TVA_HERE, 1, sizeof(utf8bld));
  if (!raw) return nullptr;
  utf8bld* b = new (raw) utf8bld;
  b->sys = sys;
  b->sink.sys = sys;
  b->sink.data = TVA_SYS_ALLOC(sys, char, kUtf8bldInitialCapacity);
  b->sink.capacity = kUtf8bldInitialCapacity;
  b->s = stream_make(sys, kUtf8bldStreamBuffer, &b->sink, nullptr, sink_write);
  if (!b->sink.data || !b->s) {
    utf8bld_delete(&b);
    return nullptr;
  }
  printer_init(&b->pr, b->s, sys, dtoa, 0);
  return b;
}

void utf8bld_delete(utf8bld** pb) {
  if (!pb || !*pb) return;
  utf8bld* b = *pb;
  sysenv* sys = b->sys;
  stream_delete(&b->s);
  TVA_SYS_FREE(sys, b->sink.data);
  b->~utf8bld();
  TVA_SYS_FREE(sys, b);
  *pb = nullptr;
}

void utf8bld_reset(utf8bld* b) {
  b->s->count = 0;
  b->s->failed = 0;
  b->sink.used = 0;
  b->sink.position = 0;
  if (b->sink.data) b->sink.data[0] = '\0';
}

int32 utf8bld_vformat(utf8bld* b, const char* fmt, va_list ap) {
  return printer_vformat(&b->pr, fmt, ap);
}

int32 utf8bld_format(utf8bld* b, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  int32 r = printer_vformat(&b->pr, fmt, ap);
  va_end(ap);
  return r;
}

int32 utf8bld_puts(utf8bld* b, const char* text) {
  return printer_puts(&b->pr, text);
}

const char* utf8bld_text(utf8bld* b, size_t* len) {
  if (stream_flush(b->s) != 0 || !b->sink.data) {
    if (len) *len = 0;
    return nullptr;
  }
  if (len) *len = b->sink.used;
  return b->sink.data;
}

} // namespace telva
