// libFuzzer target of the LP reader.
#include "fuzz_text_read.h"
#include "telva/files/lp/lpfile.h"

namespace {

TVArescode write_lp(TvaTask* task, const telva::TextSink& sink) {
  telva::LpWriteOptions opt;
  return telva::lp_write(task, sink, opt);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return fuzztext::run(data, size, telva::lp_read, write_lp);
}
