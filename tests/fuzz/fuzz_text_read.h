// The frame of the fuzz targets of the LP, OPF and CBF readers: any input must end in a
// response code, never a crash, a leak or a hang; what reads is written in the same format
// and must read back.
#pragma once

#include <cstdint>
#include <cstdlib>

#include "telva.h"
#include "telva/files/text/textio.h"
#include "telva/task/task.h"

namespace fuzztext {

using Reader = TVArescode (*)(TvaTask* task, const telva::TextSource& src);
using Writer = TVArescode (*)(TvaTask* task, const telva::TextSink& sink);

// The environment and the two tasks live for the whole run: making and deleting a task per
// input costs far more than reading it. Each read starts from a cleared task, as in
// TVA_readdata.
inline int run(const uint8_t* data, size_t size, Reader read, Writer write) {
  static TVAenv_t env = nullptr;
  static TVAtask_t task = nullptr, back = nullptr;
  if (!env) {
    if (TVA_makeenv(&env, nullptr) != TVA_RES_OK) std::abort();
    if (TVA_maketask(env, 0, 0, &task) != TVA_RES_OK) std::abort();
    if (TVA_maketask(env, 0, 0, &back) != TVA_RES_OK) std::abort();
  }
  telva::store_clear(task);
  telva::store_clear(back);
  telva::MemText mem;
  mem.text = reinterpret_cast<const char*>(data);
  mem.len = size;
  if (read(task, telva::textsource_memory(&mem)) == TVA_RES_OK) {
    telva::SysString out{telva::SysAllocator<char>(task->sys)};
    TVArescode w = write(task, telva::textsink_string(&out));
    // A writer may refuse a problem for what it holds, with a reported code; a text it wrote
    // must read.
    if (w == TVA_RES_OK) {
      telva::MemText again;
      again.text = out.data();
      again.len = out.size();
      if (read(back, telva::textsource_memory(&again)) != TVA_RES_OK) std::abort();
    }
  }
  return 0;
}

} // namespace fuzztext
