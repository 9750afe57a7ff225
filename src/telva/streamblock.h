// The four message streams of an environment or a task (log, message, error, warning).
// Text written to the message, error and warning streams also goes to the log stream.
#pragma once

#include "cpub/sysenv.h"
#include "cpub/sysmutex.h"

namespace telva {

using StreamFunc = void (*)(void* handle, const char* text);

struct StreamRecord {
  std::FILE* file = nullptr;
  bool own_file = false;
  StreamFunc func = nullptr;
  void* handle = nullptr;
  sysmutex lock;
};

struct StreamBlock {
  sysenv* sys = nullptr;
  char banner[1024] = {0};
  bool use_locks = false;
  StreamRecord rec[4];
};

int streamblock_init(StreamBlock* sb, sysenv* sys, const char* banner);
void streamblock_teardown(StreamBlock* sb);
// Writes text on one stream (and, for streams 1 to 3, on the log stream too).
void streamblock_write(StreamBlock* sb, int32 which, const char* text);
void streamblock_printf(StreamBlock* sb, int32 which, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
void streamblock_flush(StreamBlock* sb, int32 which);
void streamblock_flush_all(StreamBlock* sb);
// Closes and forgets the files linked to the four streams.
void streamblock_unlink_files(StreamBlock* sb);

} // namespace telva
