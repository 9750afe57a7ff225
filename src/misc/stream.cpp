#include "misc/stream.h"

#include <cstring>

namespace telva {

stream* stream_make(sysenv* sys, uint32 capacity, void* handle, StreamReadFunc readfunc,
                    StreamWriteFunc writefunc) {
  if ((readfunc == nullptr) == (writefunc == nullptr) || capacity == 0) return nullptr;
  stream* s = TVA_SYS_ALLOC(sys, stream, 1);
  if (!s) return nullptr;
  s->buffer = TVA_SYS_ALLOC(sys, char, capacity);
  if (!s->buffer) {
    TVA_SYS_FREE(sys, s);
    return nullptr;
  }
  s->handle = handle;
  s->readfunc = readfunc;
  s->writefunc = writefunc;
  s->sys = sys;
  s->capacity = capacity;
  return s;
}

void stream_delete(stream** ps) {
  if (!ps || !*ps) return;
  stream* s = *ps;
  sysenv* sys = s->sys;
  TVA_SYS_FREE(sys, s->buffer);
  TVA_SYS_FREE(sys, s);
  *ps = nullptr;
}

int32 stream_flush(stream* s) {
  if (s->failed) return -1;
  if (!s->writefunc || s->count == 0) return 0;
  size_t taken = s->writefunc(s->handle, s->buffer, s->count);
  if (taken == 0) {
    s->failed = 1;
    return -1;
  }
  if (taken >= s->count) {
    s->count = 0;
  } else {
    std::memmove(s->buffer, s->buffer + taken, s->count - taken);
    s->count -= static_cast<uint32>(taken);
  }
  return 0;
}

int32 stream_putc(stream* s, char c) {
  if (s->failed || !s->writefunc) return -1;
  if (s->count >= s->capacity && stream_flush(s) != 0) return -1;
  s->buffer[s->count++] = c;
  return 0;
}

int32 stream_write(stream* s, const char* data, size_t n) {
  if (s->failed || !s->writefunc) return -1;
  while (n > 0) {
    if (s->count >= s->capacity && stream_flush(s) != 0) return -1;
    size_t room = s->capacity - s->count;
    size_t take = n < room ? n : room;
    std::memcpy(s->buffer + s->count, data, take);
    s->count += static_cast<uint32>(take);
    data += take;
    n -= take;
  }
  return 0;
}

int32 stream_puts(stream* s, const char* text) {
  return stream_write(s, text, std::strlen(text));
}

// Refills an exhausted read buffer; false at the end of the data.
static bool refill(stream* s) {
  if (s->position < s->count) return true;
  if (!s->readfunc || s->failed) return false;
  size_t got = s->readfunc(s->handle, s->buffer, s->capacity);
  s->position = 0;
  s->count = static_cast<uint32>(got > s->capacity ? s->capacity : got);
  return s->count > 0;
}

int32 stream_getc(stream* s) {
  if (!refill(s)) return -1;
  return static_cast<unsigned char>(s->buffer[s->position++]);
}

int32 stream_peekc(stream* s) {
  if (!refill(s)) return -1;
  return static_cast<unsigned char>(s->buffer[s->position]);
}

size_t stream_read(stream* s, char* out, size_t n) {
  size_t done = 0;
  while (done < n && refill(s)) {
    size_t avail = s->count - s->position;
    size_t take = n - done < avail ? n - done : avail;
    std::memcpy(out + done, s->buffer + s->position, take);
    s->position += static_cast<uint32>(take);
    done += take;
  }
  return done;
}

size_t stream_skip(stream* s, size_t n) {
  size_t done = 0;
  while (done < n && refill(s)) {
    size_t avail = s->count - s->position;
    size_t take = n - done < avail ? n - done : avail;
    s->position += static_cast<uint32>(take);
    done += take;
  }
  return done;
}

int64 stream_readline(stream* s, char* out, size_t limit) {
  if (!refill(s)) return -1;
  int64 len = 0;
  size_t stored = 0;
  for (;;) {
    int32 c = stream_getc(s);
    if (c < 0 || c == '\n') break;
    if (stored + 1 < limit) out[stored++] = static_cast<char>(c);
    ++len;
  }
  if (limit > 0) out[stored] = '\0';
  return len;
}

} // namespace telva
