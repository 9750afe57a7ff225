// The four message streams of an environment or a task (log, message, error, warning). Each
// record has its own lock, a buffered stream with a printer that flushes after each newline,
// and a sink that hands the text to a linked file and a linked function. Text written to the
// message, error and warning streams also goes to the log stream.
#pragma once

#include <cstdarg>
#include <cstdio>

#include "cpub/sysenv.h"
#include "cpub/sysmutex.h"
#include "misc/printer.h"

namespace telva {

using StreamFunc = void (*)(void* handle, const char* text);

// A linked output file, plain or gzip-compressed by its name.
struct StreamFile {
  std::FILE* plain = nullptr;
  void* gz = nullptr; // a gzFile
  bool open() const { return plain || gz; }
};

struct StreamRecord {
  StreamFile file;
  StreamFunc func = nullptr;
  void* handle = nullptr;
  sysmutex lock;
  bool lock_made = false;
  stream* s = nullptr;
  printer pr;
};

struct StreamBlock {
  sysenv* sys = nullptr;
  char banner[1024] = {0};
  bool use_locks = false;
  StreamRecord rec[4];
};

constexpr uint32 kStreamRecordBuffer = 1024;
// Pieces handed to a linked function are at most this long (plus a terminator).
constexpr size_t kStreamFuncChunk = 512;

// Makes the four records; on a failure tears down those made and gives 1051 or 1045.
TVArescode streamblock_init(StreamBlock* sb, sysenv* sys, const char* banner);
void streamblock_teardown(StreamBlock* sb);

// Whether the stream, or the log stream that receives its text, has a file or a function.
bool streamblock_has_output(const StreamBlock* sb, int32 which);

// Writes text on one stream (and, for streams 1 to 3, on the log stream too). Gives 0, or
// 1046/1047 for a lock failure; a failed stream drops text silently (log output doesn't fail
// an operation).
TVArescode streamblock_write(StreamBlock* sb, int32 which, const char* text);
// The same with the C library's format rules.
TVArescode streamblock_printf(StreamBlock* sb, int32 which, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
TVArescode streamblock_vprintf(StreamBlock* sb, int32 which, const char* fmt, va_list ap);
// The same with the library's own format language (misc/printer.h).
TVArescode streamblock_format(StreamBlock* sb, int32 which, const char* fmt, ...);
TVArescode streamblock_vformat(StreamBlock* sb, int32 which, const char* fmt, va_list ap);

void streamblock_flush(StreamBlock* sb, int32 which);
void streamblock_flush_all(StreamBlock* sb);
// Closes and forgets the files linked to the four streams.
void streamblock_unlink_files(StreamBlock* sb);

// Links a file (null: only closes the one linked), as the link exports describe. Gives 0,
// 1052 when the file cannot be opened, or a lock failure.
TVArescode streamblock_link_file(StreamBlock* sb, int32 which, const char* filename, int32 append);
// Sets (or with null clears) the function of a stream, flushing to the old one first.
TVArescode streamblock_link_func(StreamBlock* sb, int32 which, void* handle, StreamFunc func);

} // namespace telva
