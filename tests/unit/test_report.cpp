// Reporting response codes: the message a report prints, where it goes, the warning limit,
// the response handler, the last response, the code table and the fatal road.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "telva/task/fatal.h"
#include "telva/log/report.h"

using namespace telva;

namespace {

// Collects what a linked function receives.
struct Sink {
  std::string text;
  int calls = 0;
  static void take(void* handle, const char* str) {
    Sink* s = static_cast<Sink*>(handle);
    s->text += str;
    ++s->calls;
  }
};

struct Handler {
  int32 answer = 0;
  std::vector<std::pair<TVArescode, std::string>> seen;
  static TVAint32t take(void* handle, TVArescode code, const char* msg) {
    Handler* h = static_cast<Handler*>(handle);
    h->seen.emplace_back(code, msg);
    return h->answer;
  }
};

class ReportTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
    for (int32 s = 0; s < 4; ++s)
      ASSERT_EQ(TVA_linkfunctotaskstream(task, s, &sinks[s], Sink::take), TVA_RES_OK);
  }
  void TearDown() override {
    EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
    EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  }
  std::pair<TVArescode, std::string> last() {
    TVArescode code = -1;
    TVAint32t len = -1;
    char msg[2048];
    EXPECT_EQ(TVA_getlasterror(task, &code, sizeof msg, &len, msg), TVA_RES_OK);
    EXPECT_EQ(static_cast<size_t>(len), std::strlen(msg) + 1);
    return {code, msg};
  }
  void clear_sinks() {
    for (Sink& s : sinks)
      s = Sink{};
  }
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  Sink sinks[4];
};

TEST_F(ReportTest, ErrorReachesStreamsLogAndLastError) {
  EXPECT_EQ(TVA_REP(task, ERR_INDEX_IS_TOO_LARGE, 7, "subj"), TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  const std::string line =
      "TELVA error 1204: The index value 7 occurring in argument 'subj' is too large.\n";
  EXPECT_EQ(sinks[TVA_STREAM_ERR].text, line);
  EXPECT_EQ(sinks[TVA_STREAM_LOG].text, line);
  EXPECT_EQ(sinks[TVA_STREAM_WRN].text, "");
  auto [code, msg] = last();
  EXPECT_EQ(code, TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(msg, "The index value 7 occurring in argument 'subj' is too large.");

  // A code without placeholders prints its description; %l takes 64-bit values whole.
  EXPECT_EQ(TVA_REP(task, ERR_SPACE), TVA_RES_ERR_SPACE);
  EXPECT_EQ(last().second, "Out of space.");
  EXPECT_EQ(TVA_REP(task, ERR_ARGUMENT_IS_TOO_LARGE, int64_t{1} << 40, "num"),
            TVA_RES_ERR_ARGUMENT_IS_TOO_LARGE);
  EXPECT_EQ(last().second, "The value 1099511627776 of argument 'num' is too large.");
}

TEST_F(ReportTest, WidthJustifyPrecisionArgumentsOfBoundWarnings) {
  EXPECT_EQ(TVA_REP(task, WRN_LARGE_BOUND, 8, 2, 1, 1.5e31, "variable", "x", 3), TVA_RES_OK);
  EXPECT_EQ(sinks[TVA_STREAM_WRN].text, "TELVA warning 51: A numerically large bound value "
                                        " 1.5e+31 is specified for variable 'x' (3).\n");
  EXPECT_EQ(TVA_REP(task, ERR_FIXED_BOUND_VALUES, 8, 2, 1, 1.0, 8, 2, 1, 2.25), 1425);
  EXPECT_EQ(last().second, "For the bound key :tva:const:`boundkey.fx` the specified lower "
                           "   1e+00 and upper bound  2.2e+00 are different.");
}

TEST_F(ReportTest, WarningLimitPrintsNoticeOnceThenSilence) {
  task->iparam[TVA_IPAR_MAX_NUM_WARNINGS] = 1;
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(TVA_REP(task, WRN_MPS_SPLIT_RHS_VECTOR, "rhs"), 0);
  EXPECT_EQ(sinks[TVA_STREAM_WRN].text,
            "TELVA warning 70: The RHS vector 'rhs' is split into several nonadjacent parts.\n");
  EXPECT_EQ(sinks[TVA_STREAM_MSG].text, "Warning number 70 is disabled.\n");
  EXPECT_EQ(sinks[TVA_STREAM_LOG].text, sinks[TVA_STREAM_WRN].text + sinks[TVA_STREAM_MSG].text);
  // The limit counts per code: another warning code still prints.
  EXPECT_EQ(TVA_REP(task, WRN_MPS_SPLIT_RAN_VECTOR, "rng"), 0);
  EXPECT_NE(sinks[TVA_STREAM_WRN].text.find("warning 71"), std::string::npos);
}

TEST_F(ReportTest, WarningLimitZeroSilencesAndNegativeRemovesIt) {
  task->iparam[TVA_IPAR_MAX_NUM_WARNINGS] = 0;
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(TVA_REP(task, WRN_ZERO_AIJ, 4), 0);
  for (const Sink& s : sinks)
    EXPECT_EQ(s.text, "");
  task->iparam[TVA_IPAR_MAX_NUM_WARNINGS] = -1;
  for (int i = 0; i < 30; ++i)
    EXPECT_EQ(TVA_REP(task, WRN_SOL_FILE_IGNORED_CON, i), 0);
  EXPECT_EQ(sinks[TVA_STREAM_WRN].calls, 30);
  // With the log off the notice isn't printed.
  task->iparam[TVA_IPAR_MAX_NUM_WARNINGS] = 2;
  task->iparam[TVA_IPAR_LOG] = 0;
  for (int i = 0; i < 4; ++i)
    TVA_REP(task, WRN_SOL_FILE_IGNORED_VAR, i);
  EXPECT_EQ(sinks[TVA_STREAM_MSG].text, "");
}

TEST_F(ReportTest, HandlerTurnsWarningIntoFailure) {
  Handler h;
  h.answer = 1;
  ASSERT_EQ(TVA_putresponsefunc(task, Handler::take, &h), TVA_RES_OK);
  EXPECT_EQ(TVA_REP(task, WRN_ZERO_AIJ, 3), TVA_RES_WRN_ZERO_AIJ);
  ASSERT_EQ(h.seen.size(), 1u);
  EXPECT_EQ(h.seen[0].first, TVA_RES_WRN_ZERO_AIJ);
  EXPECT_EQ(h.seen[0].second, "3 zero element(s) in A are specified.");
  auto [code, msg] = last();
  EXPECT_EQ(code, TVA_RES_WRN_ZERO_AIJ);
  EXPECT_EQ(msg, "3 zero element(s) in A are specified.");
  for (const Sink& s : sinks)
    EXPECT_EQ(s.text, ""); // the handler replaces printing

  h.answer = 0;
  EXPECT_EQ(TVA_REP(task, WRN_ZERO_AIJ, 5), TVA_RES_OK);
  EXPECT_EQ(last(), std::make_pair(TVArescode{0}, std::string()));
}

TEST_F(ReportTest, ErrorWithHandlerPrintsNothingAndKeepsItsCode) {
  Handler h;
  ASSERT_EQ(TVA_putresponsefunc(task, Handler::take, &h), TVA_RES_OK);
  for (int32 answer : {0, 1, -5}) {
    h.answer = answer;
    EXPECT_EQ(TVA_REP(task, ERR_INVALID_STREAM, 9), TVA_RES_ERR_INVALID_STREAM);
    EXPECT_EQ(last().first, TVA_RES_ERR_INVALID_STREAM);
  }
  EXPECT_EQ(h.seen.size(), 3u);
  EXPECT_EQ(h.seen[0].second, "9 is an invalid stream.");
  for (const Sink& s : sinks)
    EXPECT_EQ(s.text, "");
}

TEST_F(ReportTest, WarningAfterErrorClearsLastError) {
  EXPECT_EQ(TVA_REP(task, ERR_NULL_POINTER, "x"), TVA_RES_ERR_NULL_POINTER);
  EXPECT_EQ(last().first, TVA_RES_ERR_NULL_POINTER);
  EXPECT_EQ(TVA_REP(task, WRN_OPEN_PARAM_FILE, "p.prm"), TVA_RES_OK);
  EXPECT_EQ(last(), std::make_pair(TVArescode{0}, std::string()));
}

TEST_F(ReportTest, LongMessageIsCutSafely) {
  // Two-byte characters, so the 1024-byte cut falls inside one unless it backs off.
  std::string name;
  for (int i = 0; i < 1500; ++i)
    name += "\xc3\xa9";
  EXPECT_EQ(TVA_REP(task, ERR_FILE_OPEN, name.c_str()), TVA_RES_ERR_FILE_OPEN);
  const std::string full = "An error occurred while opening file '" + name + "'.";
  EXPECT_EQ(sinks[TVA_STREAM_ERR].text, "TELVA error 1052: " + full + "\n"); // whole on streams
  auto [code, msg] = last();
  EXPECT_EQ(code, TVA_RES_ERR_FILE_OPEN);
  EXPECT_LE(msg.size(), 1024u);
  EXPECT_GE(msg.size(), 1023u);
  EXPECT_EQ(full.compare(0, msg.size(), msg), 0);
  EXPECT_NE(static_cast<unsigned char>(msg.back()), 0xc3); // no half character at the end
  // A short buffer gets a prefix; the length tells what a full copy needs.
  char small[8];
  TVAint64t len = 0;
  EXPECT_EQ(TVA_getlasterror64(task, nullptr, sizeof small, &len, small), TVA_RES_OK);
  EXPECT_EQ(std::string(small), msg.substr(0, 7));
  EXPECT_EQ(len, static_cast<TVAint64t>(msg.size()) + 1);
  EXPECT_EQ(TVA_getlasterror(task, nullptr, 0, nullptr, nullptr), TVA_RES_OK);
}

TEST(ResponseCodes, ClassesAndDescriptions) {
  const std::pair<TVArescode, TVAint32t> classes[] = {
      {0, TVA_RESPONSE_OK},     {1, TVA_RESPONSE_WRN},    {999, TVA_RESPONSE_WRN},
      {1000, TVA_RESPONSE_ERR}, {9999, TVA_RESPONSE_ERR}, {10006, TVA_RESPONSE_TRM},
      {10000, TVA_RESPONSE_TRM}};
  for (auto [code, cls] : classes) {
    TVAint32t c = -1;
    EXPECT_EQ(TVA_getresponseclass(code, &c), TVA_RES_OK);
    EXPECT_EQ(c, cls) << code;
  }
  char name[1024], desc[1024];
  EXPECT_EQ(TVA_getcodedesc(12345, name, desc), TVA_RES_OK);
  EXPECT_STREQ(name, "");
  EXPECT_STREQ(desc, "No description for the code 12345 is available.");
  EXPECT_EQ(TVA_getcodedesc(TVA_RES_ERR_SPACE, name, desc), TVA_RES_OK);
  EXPECT_STREQ(name, "TVA_RES_ERR_SPACE");
  EXPECT_STREQ(desc, "Out of space.");
  EXPECT_EQ(TVA_getcodedesc(TVA_RES_OK, nullptr, desc), TVA_RES_OK);
  EXPECT_STREQ(desc, "No error occurred.");
  char templ[1024];
  rescode_message_template(TVA_RES_ERR_INDEX_IS_TOO_SMALL, templ);
  EXPECT_STREQ(templ, "The index value %l occurring in argument '%s' is too small.");
  rescode_message_template(4242, templ);
  EXPECT_STREQ(templ, "No message for this code.");
}

TEST(ResponseCodes, TableIsComplete) {
  std::set<TVArescode> values;
  std::set<std::string> names;
  for (const RescodeInfo& r : kRescodes) {
    EXPECT_TRUE(values.insert(r.code).second) << r.name;
    EXPECT_TRUE(names.insert(r.name).second) << r.name;
    std::string d = r.description;
    EXPECT_FALSE(d.empty()) << r.name;
    EXPECT_EQ(d.find('%'), std::string::npos) << r.name;
    EXPECT_TRUE(!d.empty() && d.back() == '.') << r.name;
    std::string expected_prefix = r.code == 0      ? "OK"
                                  : r.code < 1000  ? "WRN_"
                                  : r.code < 10000 ? "ERR_"
                                                   : "TRM_";
    EXPECT_EQ(std::string(r.name).rfind(expected_prefix, 0), 0u) << r.name;
  }
  EXPECT_EQ(kNumRescodes, 420);
}

TEST(ResponseCodes, ArgumentTypesOfConversions) {
  using report_detail::accepts;
  static_assert(accepts<int, ArgKind::I32>() && accepts<short, ArgKind::I32>());
  static_assert(!accepts<int64_t, ArgKind::I32>() && !accepts<unsigned, ArgKind::I32>());
  static_assert(!accepts<double, ArgKind::I32>() && !accepts<bool, ArgKind::I32>());
  static_assert(!accepts<const char*, ArgKind::I32>() && !accepts<char, ArgKind::I32>());
  static_assert(accepts<int, ArgKind::I64>() && accepts<int64_t, ArgKind::I64>());
  static_assert(accepts<unsigned, ArgKind::I64>() && !accepts<uint64_t, ArgKind::I64>());
  static_assert(accepts<double, ArgKind::Dbl>() && !accepts<int, ArgKind::Dbl>());
  static_assert(!accepts<long double, ArgKind::Dbl>());
  static_assert(accepts<const char(&)[4], ArgKind::Str>() && accepts<char*, ArgKind::Str>());
  static_assert(!accepts<int, ArgKind::Str>() && !accepts<std::string, ArgKind::Str>());
  static_assert(accepts<const char16_t*, ArgKind::WStr>() && accepts<int*, ArgKind::Ptr>());
  constexpr TemplateSig sig = parse_template("%{wjp}e %s '%s' (%i) %l %I64d %I64u %I %ws %p %%");
  static_assert(sig.valid && sig.count == 13);
  static_assert(sig.kinds[2] == ArgKind::I32 && sig.kinds[3] == ArgKind::Dbl);
  static_assert(sig.kinds[7] == ArgKind::I64 && sig.kinds[8] == ArgKind::I64);
  static_assert(sig.kinds[9] == ArgKind::U64 && sig.kinds[10] == ArgKind::U32);
  static_assert(sig.kinds[11] == ArgKind::WStr && sig.kinds[12] == ArgKind::Ptr);
  static_assert(!parse_template("%q").valid && !parse_template("%{wz}i").valid);
  static_assert(report_detail::Reporter<TVA_RES_ERR_INDEX_IS_TOO_LARGE>::sig.count == 2);
  SUCCEED();
}

struct ExitRecord {
  int calls = 0;
  std::string file, msg;
  int line = 0;
  static TVArescode take(void* handle, const char* file, TVAint32t line, const char* msg) {
    ExitRecord* e = static_cast<ExitRecord*>(handle);
    ++e->calls;
    e->file = file ? file : "";
    e->line = line;
    e->msg = msg;
    return 4242;
  }
};

TEST_F(ReportTest, FatalRoadEndsInExitFunction) {
  ExitRecord exit_rec;
  Sink env_err;
  ASSERT_EQ(TVA_putexitfunc(env, ExitRecord::take, &exit_rec), TVA_RES_OK);
  ASSERT_EQ(TVA_linkfunctoenvstream(env, TVA_STREAM_ERR, &env_err, Sink::take), TVA_RES_OK);
  EXPECT_EQ(TVA_CHECK(task, 1 + 1 == 2), TVA_RES_OK);
  EXPECT_EQ(exit_rec.calls, 0);
  EXPECT_EQ(stoptask(task, "here.cpp", 77, "broken %s %d", "invariant", 5), 4242);
  EXPECT_EQ(exit_rec.calls, 1);
  EXPECT_EQ(exit_rec.file, "here.cpp");
  EXPECT_EQ(exit_rec.line, 77);
  EXPECT_EQ(exit_rec.msg, "broken invariant 5");
  const std::string& t = sinks[TVA_STREAM_ERR].text;
  EXPECT_EQ(t.rfind("\n\nTELVA fatal error (stoptask)\nVersion : 8.0.0.81\nPlatform: ", 0), 0u);
  EXPECT_NE(t.find("File    : here.cpp\nLine    : 77\nMsg.    : broken invariant 5\n"),
            std::string::npos);
  EXPECT_EQ(env_err.text.rfind("TELVA fatal error stopenv.\nVersion : 8.0.0.81\n", 0), 0u);
  EXPECT_EQ(TVA_CHECK(task, false), 4242);
  EXPECT_EQ(exit_rec.msg, "Assertion failed");
}

} // namespace
