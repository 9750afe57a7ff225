// libFuzzer target of the CBF reader; the counts a file may ask for stay small so that memory
// does.
#include "fuzz_text_read.h"
#include "telva/files/cbf/cbffile.h"

namespace {

TVArescode read_cbf(TvaTask* task, const telva::TextSource& src) {
  telva::CbfReadOptions opt;
  opt.max_count = 1 << 12;
  return telva::cbf_read(task, src, opt);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return fuzztext::run(data, size, read_cbf, telva::cbf_write);
}
