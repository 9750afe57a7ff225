// A bound beyond 1e30 that is not infinite: a lower bound of 5e31 (from a constant moved to
// the other side) was written as a number and read back as an infinite lower bound, which the
// readers refuse. Only the words for infinity are infinite now; a number is a bound.
#include <gtest/gtest.h>

#include "files_fixture.h"

namespace {

TEST(RegressionHugeBoundRoundTrip, LargeFiniteBoundsReadBack) {
  struct Case {
    const char* ext;
    const char* text;
  };
  const Case cases[] = {
      {".opf", "[constraints] [con] x = 4 - 5e31 [/con] [/constraints]"},
      {".lp", "min\n x\nst\n c: x >= 5e31\nbounds\n 7e40 <= x\nend\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    filetest::Task a, b, d;
    ASSERT_EQ(filetest::read_text(a, c.text, c.ext), TVA_RES_OK) << a.last_message();
    int32_t bk = 0;
    double bl = 0.0, bu = 0.0;
    TVA_getconbound(a, 0, &bk, &bl, &bu);
    EXPECT_EQ(bk, TVA_BK_LO);
    EXPECT_EQ(bl, 5e31);
    EXPECT_TRUE(filetest::round_trip(a, b, c.ext));
    EXPECT_TRUE(filetest::round_trip(a, d, c.ext == std::string(".lp") ? ".opf" : ".lp"));
  }
}

} // namespace
