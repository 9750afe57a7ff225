// libFuzzer target of the OPF reader; hints stay small so that memory does.
#include "fuzz_text_read.h"
#include "telva/files/opf/opffile.h"

namespace {

TVArescode read_opf(TvaTask* task, const telva::TextSource& src) {
  telva::OpfReadOptions opt;
  opt.max_hint = 1 << 16;
  return telva::opf_read(task, src, opt);
}

TVArescode write_opf(TvaTask* task, const telva::TextSink& sink) {
  telva::OpfWriteOptions opt;
  opt.parameters = true;
  return telva::opf_write(task, sink, opt);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return fuzztext::run(data, size, read_opf, write_opf);
}
