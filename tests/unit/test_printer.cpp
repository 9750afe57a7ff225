// The format engine against the C library's printf for the conversions they share, over
// many random values, and the engine's own conversions; dtoaenv's reading against strtod.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <random>
#include <string>

#include "misc/dtoaenv.h"
#include "misc/utf8bld.h"

using namespace telva;

namespace {

class PrinterTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(sysenv_create(&sys, 0, memman_default_hooks(), nullptr, nullptr), kSysOk);
    dtoa = dtoaenv_make(sys);
    bld = utf8bld_make(sys, dtoa);
    ASSERT_NE(bld, nullptr);
  }
  void TearDown() override {
    utf8bld_delete(&bld);
    dtoaenv_delete(&dtoa);
    EXPECT_EQ(sysenv_delete(&sys), kSysOk);
  }
  // Formats with the engine; result gets the format's status.
  std::string fmt(const char* f, ...) {
    utf8bld_reset(bld);
    va_list ap;
    va_start(ap, f);
    result = utf8bld_vformat(bld, f, ap);
    va_end(ap);
    size_t len = 0;
    const char* text = utf8bld_text(bld, &len);
    return std::string(text, len);
  }
  static std::string cfmt(const char* f, ...) {
    char buf[8192];
    va_list ap;
    va_start(ap, f);
    std::vsnprintf(buf, sizeof buf, f, ap);
    va_end(ap);
    return buf;
  }
  double random_double() {
    uint64_t bits = rng();
    switch (rng() % 8) {
    case 0:
      bits &= 0x800fffffffffffffULL;
      break; // denormal or zero
    case 1:
      return std::ldexp(static_cast<double>(rng() % 100000), static_cast<int>(rng() % 40) - 20);
    case 2:
      return static_cast<double>(static_cast<int64_t>(rng() % 2000001) - 1000000) / 1000.0;
    default:
      break;
    }
    double v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
  }
  sysenv* sys = nullptr;
  dtoaenv* dtoa = nullptr;
  utf8bld* bld = nullptr;
  int32 result = 0;
  std::mt19937_64 rng{20261123};
};

TEST_F(PrinterTest, WidthJustificationAndFill) {
  EXPECT_EQ(fmt("%{w}i", 5, 42), "   42");
  EXPECT_EQ(fmt("%{wj}i", 5, 0, 42), "42   ");
  EXPECT_EQ(fmt("%{wj}i", 6, 1, 42), "  42  ");
  EXPECT_EQ(fmt("%{wj}i", 7, 1, 42), "  42   "); // the left pad gets the smaller half
  EXPECT_EQ(fmt("%{w}s|", 5, "ab"), "ab   |");
  EXPECT_EQ(fmt("%{wj}s|", 5, 2, "ab"), "   ab|");
  EXPECT_EQ(fmt("%{wgG}i|%{wjG}s|", 6, '*', '#', -7, 6, 0, '.', "x"), "****-7|x.....|");
  EXPECT_EQ(fmt("%{wg}i", 6, '0', -7), "-00007");
  EXPECT_EQ(fmt("%{w}i|", -5, 42), "42   |"); // a negative width justifies left
  EXPECT_EQ(fmt("%{wjg}s", 4, 2, 0x00e9, "a"), "\xc3\xa9\xc3\xa9\xc3\xa9"
                                               "a"); // a 16-bit fill
}

TEST_F(PrinterTest, SignsBasesAndIntegerKinds) {
  EXPECT_EQ(fmt("%{+}i", 7), "+7");
  EXPECT_EQ(fmt("%{+}i", -7), "-7");
  EXPECT_EQ(fmt("%{f}i", 1, 255), "ff");
  EXPECT_EQ(fmt("%{f}i", 2, 8), "10");
  EXPECT_EQ(fmt("%{f}i", 3, 10), "1010");
  EXPECT_EQ(fmt("%{f}i", 1, -1), "ffffffff"); // other bases show the bits
  EXPECT_EQ(fmt("%{f}l", 1, int64_t{-1}), "ffffffffffffffff");
  EXPECT_EQ(fmt("%l %I64d %L %I64u", INT64_MIN, int64_t{-5}, UINT64_MAX, uint64_t{9}),
            "-9223372036854775808 -5 18446744073709551615 9");
  EXPECT_EQ(fmt("%i %d %u %U %I", INT32_MIN, 3, UINT32_MAX, 4u, 5u),
            "-2147483648 3 4294967295 4 5");
  EXPECT_EQ(fmt("100%% %p", static_cast<void*>(nullptr)), "100% (nil)");
  int x = 0;
  EXPECT_EQ(fmt("%p", static_cast<void*>(&x)), cfmt("%p", static_cast<void*>(&x)));
}

TEST_F(PrinterTest, StringsAndWideStrings) {
  EXPECT_EQ(fmt("%s", static_cast<const char*>(nullptr)), "(nil)");
  EXPECT_EQ(fmt("[%{p}s]", 2, "abcdef"), "[ab]");
  // Width and precision count characters: "é" is one character of two bytes.
  EXPECT_EQ(fmt("[%{w}s]", 3, "\xc3\xa9"), "[\xc3\xa9  ]");
  EXPECT_EQ(fmt("[%{p}s]", 1, "\xc3\xa9z"), "[\xc3\xa9]");
  const uint16_t wide[] = {'a', 0x00e9, 0xd83d, 0xde00, 0};
  EXPECT_EQ(fmt("%ws", wide), "a\xc3\xa9\xf0\x9f\x98\x80");
  EXPECT_EQ(fmt("%ws", static_cast<const uint16_t*>(nullptr)), "(nil)");
}

TEST_F(PrinterTest, FormatErrorsKeepWhatWasOutput) {
  EXPECT_EQ(fmt("abc%ydef", 1), "abc");
  EXPECT_EQ(result, -2);
  EXPECT_EQ(fmt("x%{q}i", 1, 2), "x");
  EXPECT_EQ(result, -2);
  EXPECT_EQ(fmt("x%{w", 1), "x");
  EXPECT_EQ(result, -2);
  EXPECT_EQ(fmt("x%wi", 1), "x");
  EXPECT_EQ(result, -2);
  EXPECT_EQ(fmt("ok %i", 1), "ok 1");
  EXPECT_EQ(result, 0);
}

TEST_F(PrinterTest, IntegersMatchPrintf) {
  for (int t = 0; t < 20000; ++t) {
    int32 w = static_cast<int32>(rng() % 41) - 20;
    int32 p = static_cast<int32>(rng() % 25) - 3;
    int32 v = static_cast<int32>(rng());
    if (t % 3 == 0) v %= 1000;
    int64_t l = static_cast<int64_t>(rng());
    ASSERT_EQ(fmt("%{wp}i", w, p, v), cfmt("%*.*d", w, p, v)) << w << " " << p << " " << v;
    ASSERT_EQ(fmt("%{wp+}i", w, p, v), cfmt("%+*.*d", w, p, v));
    ASSERT_EQ(fmt("%{wp}l", w, p, l), cfmt("%*.*lld", w, p, static_cast<long long>(l)));
    ASSERT_EQ(fmt("%{wp}u", w, p, static_cast<uint32>(v)),
              cfmt("%*.*u", w, p, static_cast<unsigned>(v)));
    ASSERT_EQ(fmt("%{wpf}i", w, p, 1, v), cfmt("%*.*x", w, p, static_cast<unsigned>(v)));
    ASSERT_EQ(fmt("%{wpf}L", w, p, 2, static_cast<uint64_t>(l)),
              cfmt("%*.*llo", w, p, static_cast<unsigned long long>(l)));
    if (w > 0 && p < 0) {
      ASSERT_EQ(fmt("%{wg}i", w, '0', v), cfmt("%0*d", w, v));
    }
  }
}

TEST_F(PrinterTest, DoublesMatchPrintf) {
  const double specials[] = {0.0,     -0.0,    INFINITY,     -INFINITY, NAN, -NAN,
                             DBL_MIN, DBL_MAX, DBL_TRUE_MIN, 0.5,       1.5, 2.5,
                             0.125,   1e22,    1e23,         9.5,       0.05};
  for (int t = 0; t < 40000; ++t) {
    double v = t < static_cast<int>(std::size(specials)) ? specials[t] : random_double();
    int32 w = static_cast<int32>(rng() % 61) - 30;
    int32 p = static_cast<int32>(rng() % 30);
    if (t % 50 == 0) p = static_cast<int32>(rng() % 800); // all digits of the exact value
    ASSERT_EQ(fmt("%{p/}e", p, v), cfmt("%.*e", p, v)) << p << " " << cfmt("%a", v);
    ASSERT_EQ(fmt("%{wp/}e", w, p, v), cfmt("%*.*e", w, p, v));
    ASSERT_EQ(fmt("%{wp/+}e", w, p, v), cfmt("%+*.*e", w, p, v));
    ASSERT_EQ(fmt("%{p}g", p, v), cfmt("%.*g", p, v)) << p << " " << cfmt("%a", v);
    if (std::fabs(v) < 1e60 || !std::isfinite(v)) {
      ASSERT_EQ(fmt("%{wp/}f", w, p, v), cfmt("%*.*f", w, p, v)) << p << " " << cfmt("%a", v);
    }
    if (w > 0 && std::isfinite(v)) {
      ASSERT_EQ(fmt("%{wgp/}e", w, '0', p, v), cfmt("%0*.*e", w, p, v));
    }
  }
  // Without the keep flag trailing zeros go, and the point with them.
  EXPECT_EQ(fmt("%{p}e", 3, 1.5), "1.5e+00");
  EXPECT_EQ(fmt("%{p}e", 3, 1.0), "1e+00");
  EXPECT_EQ(fmt("%{p}f", 3, 2.0), "2");
  EXPECT_EQ(fmt("%{wjp}e", 8, 2, 1, 1.0e30), "   1e+30");
  EXPECT_EQ(fmt("%{wjp}e", 8, 2, 1, 1.25e30), " 1.2e+30"); // ties go to even
}

TEST_F(PrinterTest, ShortestFormReadsBackAndIsShortest) {
  EXPECT_EQ(fmt("%e %e %e %e", 0.1, 1.0, 123.0, 5e-324), "1e-01 1e+00 1.23e+02 5e-324");
  EXPECT_EQ(fmt("%f %f %f %f", 0.1, 1e22, 1e-7, -0.0), "0.1 10000000000000000000000 0.0000001 -0");
  EXPECT_EQ(fmt("%g %g %g", 0.1, 1e20, 1e-5), "0.1 1e+20 1e-05");
  for (int t = 0; t < 20000; ++t) {
    double v = random_double();
    if (!std::isfinite(v) || v == 0.0) continue;
    std::string s = fmt("%e", v);
    ASSERT_EQ(std::strtod(s.c_str(), nullptr), v) << s;
    size_t mant = s.find('e');
    size_t ndigits = mant - (s[0] == '-' ? 1 : 0) - (s.find('.') < mant ? 1 : 0);
    if (ndigits > 1) {
      // The nearest number with one digit fewer does not read back.
      std::string shorter = cfmt("%.*e", static_cast<int>(ndigits) - 2, v);
      ASSERT_NE(std::strtod(shorter.c_str(), nullptr), v) << s << " " << shorter;
    }
    std::string f = fmt("%f", v);
    ASSERT_EQ(std::strtod(f.c_str(), nullptr), v) << f;
  }
}

TEST_F(PrinterTest, ReadingMatchesStrtod) {
  const char* fixed[] = {"0",
                         "-0",
                         "1e-400",
                         "1e400",
                         "2.4703282292062327e-324",
                         "2.4703282292062328e-324",
                         "4.9406564584124654e-324",
                         "1.7976931348623157e308",
                         "1.7976931348623158e308",
                         "1.7976931348623159e308",
                         "9007199254740993",
                         "0.1",
                         ".5",
                         "5.",
                         "123456789012345678901234567890e-30",
                         "Infinity",
                         "-inf",
                         "NaN",
                         "2.2250738585072011e-308",
                         "2.2250738585072012e-308"};
  for (const char* s : fixed) {
    const char* end = nullptr;
    char* cend = nullptr;
    double ours = dtoa_strtod(dtoa, s, &end);
    double theirs = std::strtod(s, &cend);
    if (std::isnan(theirs)) {
      EXPECT_TRUE(std::isnan(ours)) << s;
    } else {
      EXPECT_EQ(std::memcmp(&ours, &theirs, sizeof ours), 0) << s;
    }
    EXPECT_EQ(end, cend) << s;
  }
  std::string s;
  for (int t = 0; t < 30000; ++t) {
    s.clear();
    if (t % 3 == 0) {
      s = cfmt("%.*e", static_cast<int>(rng() % 40), random_double());
    } else {
      // Random digits with a point and an exponent; now and then very many digits.
      int nd = t % 97 == 0 ? 700 + static_cast<int>(rng() % 300) : 1 + static_cast<int>(rng() % 30);
      for (int i = 0; i < nd; ++i)
        s += static_cast<char>('0' + rng() % 10);
      if (rng() % 2) s.insert(rng() % s.size(), ".");
      s += "e" + std::to_string(static_cast<int>(rng() % 700) - 360);
    }
    if (!std::isfinite(std::strtod(s.c_str(), nullptr)) && s.find("nan") != std::string::npos)
      continue;
    const char* end = nullptr;
    double ours = dtoa_strtod(dtoa, s.c_str(), &end);
    double theirs = std::strtod(s.c_str(), nullptr);
    if (std::isnan(theirs)) continue;
    ASSERT_EQ(std::memcmp(&ours, &theirs, sizeof ours), 0) << s;
    ASSERT_EQ(*end, '\0') << s;
  }
}

TEST_F(PrinterTest, LongOutputAndLineFlush) {
  std::string longtext(20000, 'x');
  for (size_t i = 0; i < longtext.size(); i += 7)
    longtext[i] = static_cast<char>('a' + i % 26);
  EXPECT_EQ(fmt("<%s>", longtext.c_str()), "<" + longtext + ">");
  EXPECT_EQ(fmt("%{w}s|", 300, longtext.c_str()), longtext + "|");
  EXPECT_EQ(fmt("%{w}i", 3000, 1), std::string(2999, ' ') + "1");
}

} // namespace
