// The one place where a put tells the task that its problem data changed. The stored solutions
// hang their status demotion here; the counter lets readers of the store see that a change
// happened since they last looked.
#include "telva/store/store_internal.h"

namespace telva {

void store_changed(TvaTask* task, StoreChange what) {
  (void)what;
  task->store.change_count++;
}

} // namespace telva
