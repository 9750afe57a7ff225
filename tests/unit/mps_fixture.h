// Shared helpers of the MPS tests: a sysenv per test, reading a text or a file into a staging
// model with the warnings collected, and writing a model to text.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cpub/sysfile.h"
#include "telva/files/mps/mpsmodel.h"
#include "telva/files/mps/mpsread.h"
#include "telva/files/mps/mpswrite.h"

namespace mpstest {

using namespace telva;

struct Warnings {
  std::vector<MpsError> list;
  TVArescode stop_with = TVA_RES_OK;
  static TVArescode collect(void* h, const MpsError& w) {
    auto* self = static_cast<Warnings*>(h);
    self->list.push_back(w);
    return self->stop_with;
  }
};

class MpsTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(sysenv_create(&sys_, 0, memman_default_hooks(), nullptr, nullptr), kSysOk);
  }
  void TearDown() override { EXPECT_EQ(sysenv_delete(&sys_), kSysOk); }

  MpsReadOptions options(int32 format = TVA_MPS_FORMAT_FREE) {
    MpsReadOptions o;
    o.format = format;
    o.handle = &warnings_;
    o.warn = &Warnings::collect;
    return o;
  }

  TVArescode read_text(const std::string& text, const MpsReadOptions& opt, MpsModel* m) {
    MpsTextSource src;
    src.text = text.data();
    src.len = text.size();
    return mps_read(sys_, mps_source_text(&src), opt, m, &err_);
  }
  TVArescode read_text(const std::string& text, MpsModel* m, int32 format = TVA_MPS_FORMAT_FREE) {
    return read_text(text, options(format), m);
  }

  TVArescode read_file(const std::string& path, const MpsReadOptions& opt, MpsModel* m) {
    sysfile* f = nullptr;
    int st = sysfile_open(sys_, &f, path.c_str(), kFileRead, 1);
    if (st != kSysOk) return TVA_RES_ERR_FILE_OPEN;
    TVArescode r = mps_read(sys_, mps_source_file(f), opt, m, &err_);
    sysfile_close(&f);
    return r;
  }

  std::string write_text(const MpsModel& m, int32 format, bool* generic = nullptr,
                         int32 precision = 15) {
    SysString out{SysAllocator<char>(sys_)};
    MpsWriteOptions o;
    o.format = format;
    o.precision = precision;
    o.handle = &warnings_;
    o.warn = &Warnings::collect;
    EXPECT_EQ(mps_write(sys_, m, o, mps_sink_text(&out), generic), TVA_RES_OK);
    return std::string(out.data(), out.size());
  }

  // Writes in the layout and reads back (free format); the models must agree exactly, names
  // too unless the writer had to use generic names.
  void expect_round_trip(const MpsModel& m, int32 layout, const std::string& label,
                         int32 precision = 15) {
    bool generic = false;
    std::string text = write_text(m, layout, &generic, precision);
    MpsModel back(sys_);
    ASSERT_EQ(read_text(text, &back), TVA_RES_OK)
        << label << " layout " << layout << " line " << err_.line;
    const char* what = "";
    bool same = mpsmodel_equal(m, back, !generic, &what);
    EXPECT_TRUE(same) << label << " layout " << layout << ": " << what;
    if (!same && std::string(what) == "constraint bounds")
      for (int32 i = 0; i < m.numcon(); ++i)
        if (m.con_bl[i] != back.con_bl[i] || m.con_bu[i] != back.con_bu[i])
          ADD_FAILURE() << "row " << i << " key " << m.con_bk[i] << " bounds "
                        << ::testing::PrintToString(m.con_bl[i]) << " "
                        << ::testing::PrintToString(m.con_bu[i]) << " read back "
                        << ::testing::PrintToString(back.con_bl[i]) << " "
                        << ::testing::PrintToString(back.con_bu[i]);
  }

  sysenv* sys_ = nullptr;
  MpsError err_;
  Warnings warnings_;
};

} // namespace mpstest
