// A buffered byte stream with a pluggable read or write function. The same type serves log
// output, string building, file reading and file writing: what differs is the function
// behind it.
#pragma once

#include <cstddef>

#include "cpub/sysenv.h"

namespace telva {

// Fills buffer with up to capacity bytes; gives the count, 0 at the end of the data.
using StreamReadFunc = size_t (*)(void* handle, char* buffer, size_t capacity);
// Takes up to count bytes; gives the number of bytes taken.
using StreamWriteFunc = size_t (*)(void* handle, const char* buffer, size_t count);

struct stream {
  void* handle = nullptr;
  StreamReadFunc readfunc = nullptr;
  StreamWriteFunc writefunc = nullptr;
  sysenv* sys = nullptr;
  uint32 capacity = 0;
  uint32 count = 0;    // bytes in the buffer
  uint32 position = 0; // read position within the buffer
  char* buffer = nullptr;
  int32 failed = 0; // sticky: once set, writes give -1
};

// A stream has exactly one of the two functions; otherwise, or out of memory, null.
stream* stream_make(sysenv* sys, uint32 capacity, void* handle, StreamReadFunc readfunc,
                    StreamWriteFunc writefunc);
void stream_delete(stream** s);

// Write side. Each gives 0 at success, -1 on a failed stream.
int32 stream_flush(stream* s);
int32 stream_putc(stream* s, char c);
int32 stream_write(stream* s, const char* data, size_t n);
int32 stream_puts(stream* s, const char* text);

// Read side. A byte is given as 0..255; -1 at the end of the data.
int32 stream_getc(stream* s);
int32 stream_peekc(stream* s);
// Reads up to n bytes; gives the count read (0 at the end).
size_t stream_read(stream* s, char* out, size_t n);
// Skips up to n bytes; gives the count skipped.
size_t stream_skip(stream* s, size_t n);
// Reads one line without its newline into out (at most limit-1 bytes and a terminator; the
// rest of a longer line is skipped). Gives the line's full length, or -1 at the end of data.
int64 stream_readline(stream* s, char* out, size_t limit);

} // namespace telva
