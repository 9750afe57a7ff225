#include "cpub/sysworker.h"

namespace telva {

namespace {
thread_local int32 tls_worker_id = 0;
}

int32 sysworker_id() {
  return tls_worker_id;
}
void sysworker_set_id(int32 id) {
  tls_worker_id = id;
}

} // namespace telva
