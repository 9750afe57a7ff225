// libFuzzer target of the MPS reader: any input, in each reader format and at the smallest
// line width, must end in a response code, never a crash, a leak or a hang. What reads
// successfully is written and must read back.
#include <cstdint>
#include <cstdlib>

#include "telva/files/mps/mpsread.h"
#include "telva/files/mps/mpswrite.h"

using namespace telva;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  sysenv* sys = nullptr;
  if (sysenv_create(&sys, 0, memman_default_hooks(), nullptr, nullptr) != kSysOk) std::abort();
  {
    for (int32 format = 0; format <= 2; ++format) {
      MpsTextSource src;
      src.text = reinterpret_cast<const char*>(data);
      src.len = size;
      MpsReadOptions opt;
      opt.format = format;
      opt.width = size % 2 ? 80 : 1024;
      opt.debug = true;
      opt.keep_free_con = size % 3 == 0;
      MpsModel m(sys);
      MpsError err;
      TVArescode r = mps_read(sys, mps_source_text(&src), opt, &m, &err);
      if (r != TVA_RES_OK) continue;
      SysString out{SysAllocator<char>(sys)};
      MpsWriteOptions wo;
      wo.format = format == 2 ? TVA_MPS_FORMAT_CPLEX : format;
      if (mps_write(sys, m, wo, mps_sink_text(&out), nullptr) != TVA_RES_OK) std::abort();
      MpsTextSource back;
      back.text = out.data();
      back.len = out.size();
      MpsReadOptions fo;
      fo.keep_free_con = opt.keep_free_con;
      MpsModel m2(sys);
      // A written file always reads (free format takes the long names and numbers).
      if (mps_read(sys, mps_source_text(&back), fo, &m2, &err) != TVA_RES_OK) std::abort();
    }
  }
  if (sysenv_delete(&sys) != kSysOk) std::abort(); // every block was returned
  return 0;
}
