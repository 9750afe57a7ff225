// A memory builder of UTF-8 text: a stream whose write function grows a buffer, with a
// printer on it. The task builds its response messages in one.
#pragma once

#include "misc/printer.h"

namespace telva {

// The growing buffer behind the builder's stream.
struct MemSink {
  char* data = nullptr;
  sysenv* sys = nullptr;
  size_t capacity = 0;
  size_t used = 0;
  size_t position = 0;
};

struct utf8bld {
  sysenv* sys = nullptr;
  MemSink sink;
  stream* s = nullptr;
  printer pr;
};

constexpr size_t kUtf8bldInitialCapacity = 256;
constexpr uint32 kUtf8bldStreamBuffer = 256;

utf8bld* utf8bld_make(sysenv* sys, dtoaenv* dtoa);
void utf8bld_delete(utf8bld** b);

// Empties the text and clears a failure.
void utf8bld_reset(utf8bld* b);
int32 utf8bld_format(utf8bld* b, const char* fmt, ...);
int32 utf8bld_vformat(utf8bld* b, const char* fmt, va_list ap);
int32 utf8bld_puts(utf8bld* b, const char* text);
// Flushes and gives the text built so far, zero-terminated; len (if not null) gets its
// length. Null when memory ran out.
const char* utf8bld_text(utf8bld* b, size_t* len);

} // namespace telva
