// The environment: the process-level root of the library. It owns the parameter catalogue,
// its own memory (through its sysenv), its four message streams, three locks and the
// counters of the tasks made in it.
#pragma once

#include "cpub/bufenv.h"
#include "cpub/sysenv.h"
#include "cpub/sysmutex.h"
#include "telva/catalog/catalogue.h"
#include "telva/log/streamblock.h"

struct TvaEnv {
  int garcol = 0;         // deletion allowed while tasks live; the last task finishes it
  int delete_pending = 0; // TVA_deleteenv was called while tasks lived
  telva::ParamCatalogue catalogue;
  // Lock 0: task counters and deletion; lock 1: the thread-count decision; lock 2: sockets.
  telva::sysmutex locks[3];
  bool locks_made = false;
  telva::sysenv* sys = nullptr;
  telva::bufenv* bufenv = nullptr; // per-worker scratch, blocks (16, 0)
  telva::int32 numthreads = 0;
  char* dbgfile = nullptr;
  TVAexitfunc exit_func = nullptr;
  void* exit_handle = nullptr;
  telva::StreamBlock streams;
  telva::int32 tasks_made = 0;
  telva::int32 tasks_gone = 0;
  int socket_started = 0;
};

namespace telva {

// The banner that environments and tasks put at the head of their streams.
extern const char* const kBanner;

// Maps a sysenv status to the response code of an exported call.
TVArescode sysstatus_to_rescode(int status);

} // namespace telva
