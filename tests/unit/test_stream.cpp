// The buffered stream, the memory builder, the message streams of tasks and environments
// (files, functions, the log stream's copy, locking) and the character conversions.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>
#include <zlib.h>

#include "misc/utf8bld.h"
#include "telva/task/env.h"
#include "telva/task/task.h"
#include "telva/log/taskprint.h"

using namespace telva;

namespace {

// A write function that takes at most `limit` bytes per call; limit 0 takes nothing.
struct Taker {
  std::string got;
  size_t limit = SIZE_MAX;
  int calls = 0;
  static size_t write(void* h, const char* buf, size_t n) {
    Taker* t = static_cast<Taker*>(h);
    ++t->calls;
    size_t take = n < t->limit ? n : t->limit;
    t->got.append(buf, take);
    return take;
  }
};

// A read function that hands out a string a few bytes at a time.
struct Giver {
  std::string data;
  size_t pos = 0;
  size_t piece = 3;
  static size_t read(void* h, char* buf, size_t cap) {
    Giver* g = static_cast<Giver*>(h);
    size_t n = std::min({cap, g->piece, g->data.size() - g->pos});
    std::memcpy(buf, g->data.data() + g->pos, n);
    g->pos += n;
    return n;
  }
};

class StreamTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(sysenv_create(&sys, 0, memman_default_hooks(), nullptr, nullptr), kSysOk);
  }
  void TearDown() override { EXPECT_EQ(sysenv_delete(&sys), kSysOk); }
  sysenv* sys = nullptr;
};

TEST_F(StreamTest, MakeNeedsExactlyOneFunction) {
  Taker t;
  EXPECT_EQ(stream_make(sys, 16, &t, nullptr, nullptr), nullptr);
  EXPECT_EQ(stream_make(sys, 16, &t, Giver::read, Taker::write), nullptr);
  stream* s = stream_make(sys, 16, &t, nullptr, Taker::write);
  ASSERT_NE(s, nullptr);
  stream_delete(&s);
  EXPECT_EQ(s, nullptr);
}

TEST_F(StreamTest, WriteSideKeepsOrderThroughPartialTakes) {
  Taker t;
  t.limit = 5;
  stream* s = stream_make(sys, 8, &t, nullptr, Taker::write);
  std::string expected;
  for (int i = 0; i < 200; ++i) {
    std::string piece = std::to_string(i) + ",";
    expected += piece;
    ASSERT_EQ(stream_write(s, piece.data(), piece.size()), 0);
    if (i % 7 == 0) {
      ASSERT_EQ(stream_putc(s, '|'), 0);
      expected += '|';
    }
  }
  while (s->count > 0)
    ASSERT_EQ(stream_flush(s), 0);
  EXPECT_EQ(t.got, expected);
  // A function that takes nothing fails the stream for good.
  t.limit = 0;
  EXPECT_EQ(stream_puts(s, "abc"), 0);
  EXPECT_EQ(stream_flush(s), -1);
  EXPECT_EQ(s->failed, 1);
  EXPECT_EQ(stream_putc(s, 'x'), -1);
  EXPECT_EQ(stream_puts(s, "more"), -1);
  stream_delete(&s);
}

TEST_F(StreamTest, ReadSide) {
  Giver g;
  g.data = "first line\nsecond\n\nlast without newline";
  stream* s = stream_make(sys, 4, &g, Giver::read, nullptr);
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(stream_peekc(s), 'f');
  EXPECT_EQ(stream_getc(s), 'f');
  EXPECT_EQ(stream_skip(s, 2), 2u);
  char buf[6];
  EXPECT_EQ(stream_read(s, buf, 3), 3u);
  EXPECT_EQ(std::string(buf, 3), "st ");
  char line[5];
  EXPECT_EQ(stream_readline(s, line, sizeof line), 4); // "line", cut to fit
  EXPECT_STREQ(line, "line");
  EXPECT_EQ(stream_readline(s, line, sizeof line), 6); // "second": 4 bytes kept
  EXPECT_STREQ(line, "seco");
  EXPECT_EQ(stream_readline(s, line, sizeof line), 0);
  EXPECT_EQ(stream_readline(s, line, sizeof line), 20);
  EXPECT_EQ(stream_readline(s, line, sizeof line), -1);
  EXPECT_EQ(stream_getc(s), -1);
  EXPECT_EQ(stream_putc(s, 'x'), -1); // a read stream takes no output
  stream_delete(&s);
}

TEST_F(StreamTest, BuilderGrowsAndResets) {
  utf8bld* b = utf8bld_make(sys, nullptr);
  ASSERT_NE(b, nullptr);
  std::string expected;
  for (int i = 0; i < 500; ++i) {
    ASSERT_EQ(utf8bld_format(b, "%i:%s;", i, "\xe2\x82\xac"), 0);
    expected += std::to_string(i) + ":\xe2\x82\xac;";
  }
  size_t len = 0;
  EXPECT_EQ(std::string(utf8bld_text(b, &len)), expected);
  EXPECT_EQ(len, expected.size());
  utf8bld_reset(b);
  utf8bld_puts(b, "fresh");
  EXPECT_STREQ(utf8bld_text(b, nullptr), "fresh");
  utf8bld_delete(&b);
}

// Collects what a linked function receives, call by call.
struct Catcher {
  std::vector<std::string> calls;
  std::string all() const {
    std::string s;
    for (const std::string& c : calls)
      s += c;
    return s;
  }
  static void take(void* h, const char* text) { static_cast<Catcher*>(h)->calls.push_back(text); }
};

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

bool valid_utf8(const std::string& s) {
  size_t outlen = 0, conv = 0;
  return TVA_utf8towchar(0, &outlen, &conv, nullptr, s.c_str()) == TVA_RES_OK;
}

class TaskStreamTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
    dir = ::testing::TempDir();
  }
  void TearDown() override {
    EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK); // a task deleted already is null
    EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  }
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  std::string dir;
};

TEST_F(TaskStreamTest, FileAndFunctionGetEverythingInOrder) {
  std::string path = dir + "telva_stream_msg.txt";
  Catcher msg, log;
  ASSERT_EQ(TVA_linkfiletotaskstream(task, TVA_STREAM_MSG, path.c_str(), 0), TVA_RES_OK);
  ASSERT_EQ(TVA_linkfunctotaskstream(task, TVA_STREAM_MSG, &msg, Catcher::take), TVA_RES_OK);
  ASSERT_EQ(TVA_linkfunctotaskstream(task, TVA_STREAM_LOG, &log, Catcher::take), TVA_RES_OK);
  std::string expected, expected_log;
  for (int i = 0; i < 3000; ++i) {
    int32 which = i % 4;
    ASSERT_EQ(TVA_echotask(task, which, "line %d on %d %s\n", i, which, i % 10 ? "" : "with more"),
              TVA_RES_OK);
    char line[64];
    std::snprintf(line, sizeof line, "line %d on %d %s\n", i, which, i % 10 ? "" : "with more");
    if (which == TVA_STREAM_MSG) expected += line;
    expected_log += line; // the log stream gets the text of every stream
  }
  // A text without newline waits in the buffer until the stream is flushed.
  ASSERT_EQ(TVA_echotask(task, TVA_STREAM_MSG, "tail"), TVA_RES_OK);
  EXPECT_EQ(msg.all(), expected);
  expected += "tail";
  expected_log += "tail";
  ASSERT_EQ(TVA_deletetask(&task), TVA_RES_OK);
  EXPECT_EQ(msg.all(), expected);
  EXPECT_EQ(log.all(), expected_log);
  std::string file = read_file(path);
  const std::string head = "\nFile opened at ";
  ASSERT_EQ(file.rfind(head, 0), 0u);
  size_t eol = file.find('\n', 1);
  EXPECT_EQ(file.substr(eol - std::strlen(" by TELVA version 8.0.0.81."),
                        std::strlen(" by TELVA version 8.0.0.81.")),
            " by TELVA version 8.0.0.81.");
  EXPECT_EQ(file.substr(eol + 1), expected);
  std::remove(path.c_str());
}

TEST_F(TaskStreamTest, RelinkingClosesAndReopens) {
  std::string a = dir + "telva_stream_a.txt", b = dir + "telva_stream_b.log.gz";
  ASSERT_EQ(TVA_linkfiletotaskstream(task, TVA_STREAM_ERR, a.c_str(), 0), TVA_RES_OK);
  TVA_echotask(task, TVA_STREAM_ERR, "to a\n");
  ASSERT_EQ(TVA_linkfiletotaskstream(task, TVA_STREAM_ERR, b.c_str(), 0), TVA_RES_OK);
  TVA_echotask(task, TVA_STREAM_ERR, "to b\n");
  std::string fa = read_file(a);
  EXPECT_NE(fa.find("to a\n\nFile closed: "), std::string::npos);
  EXPECT_EQ(fa.find("to b"), std::string::npos);
  // Appending to a file keeps what it had and says it was reopened.
  ASSERT_EQ(TVA_linkfiletotaskstream(task, TVA_STREAM_ERR, a.c_str(), 1), TVA_RES_OK);
  TVA_echotask(task, TVA_STREAM_ERR, "a again\n");
  ASSERT_EQ(TVA_linkfiletotaskstream(task, TVA_STREAM_ERR, nullptr, 1), TVA_RES_OK);
  TVA_echotask(task, TVA_STREAM_ERR, "nowhere\n");
  fa = read_file(a);
  EXPECT_NE(fa.find("to a\n"), std::string::npos);
  EXPECT_NE(fa.find("\nFile reopened at "), std::string::npos);
  EXPECT_NE(fa.find("a again\n"), std::string::npos);
  EXPECT_EQ(fa.find("nowhere"), std::string::npos);
  // The .gz file was written compressed.
  gzFile gz = gzopen(b.c_str(), "rb");
  ASSERT_NE(gz, nullptr);
  char buf[512];
  int n = gzread(gz, buf, sizeof buf - 1);
  gzclose(gz);
  ASSERT_GT(n, 0);
  buf[n] = '\0';
  EXPECT_NE(std::string(buf).find("to b\n"), std::string::npos);
  EXPECT_NE(read_file(b).substr(0, 2), "\n\n");
  std::remove(a.c_str());
  std::remove(b.c_str());
  std::string bad = dir + "no/such/dir/x.txt";
  EXPECT_EQ(TVA_linkfiletotaskstream(task, TVA_STREAM_MSG, bad.c_str(), 0), TVA_RES_ERR_FILE_OPEN);
}

TEST_F(TaskStreamTest, LongTextArrivesInPiecesOnCharacterBoundaries) {
  Catcher c;
  ASSERT_EQ(TVA_linkfunctotaskstream(task, TVA_STREAM_MSG, &c, Catcher::take), TVA_RES_OK);
  std::string text;
  for (int i = 0; i < 200; ++i)
    text += "\xe2\x82\xac"; // 600 bytes of three-byte characters
  ASSERT_EQ(TVA_echotask(task, TVA_STREAM_MSG, "%s\n", text.c_str()), TVA_RES_OK);
  ASSERT_EQ(c.calls.size(), 2u);
  for (const std::string& piece : c.calls) {
    EXPECT_LE(piece.size(), 512u);
    EXPECT_TRUE(valid_utf8(piece));
  }
  EXPECT_EQ(c.all(), text + "\n");
}

TEST_F(TaskStreamTest, UnlinkedAndInvalidStreams) {
  EXPECT_EQ(TVA_echotask(task, TVA_STREAM_WRN, "nobody listens %d\n", 1), TVA_RES_OK);
  EXPECT_EQ(TVA_echotask(task, 4, "x"), TVA_RES_ERR_INVALID_STREAM);
  EXPECT_EQ(TVA_echotask(task, -1, "x"), TVA_RES_ERR_INVALID_STREAM);
  EXPECT_EQ(TVA_linkfunctotaskstream(task, 4, nullptr, nullptr), TVA_RES_ERR_INVALID_STREAM);
  EXPECT_EQ(TVA_linkfiletotaskstream(task, 7, "x", 0), TVA_RES_ERR_INVALID_STREAM);
  EXPECT_EQ(TVA_echoenv(env, 4, "x"), TVA_RES_ERR_INVALID_STREAM);
  EXPECT_EQ(TVA_echotask(nullptr, 0, "x"), TVA_RES_ERR_NULL_TASK);
  EXPECT_EQ(TVA_echoenv(nullptr, 0, "x"), TVA_RES_ERR_NULL_ENV);
  // Handle codes and the stream code are returned plainly, without a last error.
  TVArescode last = -1;
  EXPECT_EQ(TVA_getlasterror(task, &last, 0, nullptr, nullptr), TVA_RES_OK);
  EXPECT_EQ(last, TVA_RES_OK);
  // Unlinking stops delivery.
  Catcher c;
  TVA_linkfunctotaskstream(task, TVA_STREAM_MSG, &c, Catcher::take);
  TVA_echotask(task, TVA_STREAM_MSG, "one\n");
  EXPECT_EQ(TVA_unlinkfuncfromtaskstream(task, TVA_STREAM_MSG), TVA_RES_OK);
  TVA_echotask(task, TVA_STREAM_MSG, "two\n");
  EXPECT_EQ(c.all(), "one\n");
}

TEST_F(TaskStreamTest, ErrorTextReachesFunctionLinkedOnlyToLog) {
  Catcher log;
  ASSERT_EQ(TVA_linkfunctotaskstream(task, TVA_STREAM_LOG, &log, Catcher::take), TVA_RES_OK);
  EXPECT_EQ(TVA_echotask(task, TVA_STREAM_ERR, "bad thing %s\n", "happened"), TVA_RES_OK);
  EXPECT_EQ(log.all(), "bad thing happened\n");
}

TEST_F(TaskStreamTest, ThreadsKeepLinesWhole) {
  Catcher c;
  ASSERT_EQ(TVA_linkfunctotaskstream(task, TVA_STREAM_MSG, &c, Catcher::take), TVA_RES_OK);
  auto work = [&](char tag) {
    for (int i = 0; i < 2000; ++i)
      TVA_echotask(task, TVA_STREAM_MSG, "%c%c%c %04d\n", tag, tag, tag, i);
  };
  std::thread t1(work, 'a'), t2(work, 'b');
  t1.join();
  t2.join();
  std::istringstream lines(c.all());
  std::string line;
  int count[2] = {0, 0};
  while (std::getline(lines, line)) {
    ASSERT_EQ(line.size(), 8u) << line;
    ASSERT_TRUE(line.substr(0, 3) == "aaa" || line.substr(0, 3) == "bbb") << line;
    int k = line[0] - 'a';
    ASSERT_EQ(std::stoi(line.substr(4)), count[k]++); // each thread's lines in its order
  }
  EXPECT_EQ(count[0], 2000);
  EXPECT_EQ(count[1], 2000);
}

TEST_F(TaskStreamTest, EnvironmentStreams) {
  Catcher msg, log;
  ASSERT_EQ(TVA_linkfunctoenvstream(env, TVA_STREAM_MSG, &msg, Catcher::take), TVA_RES_OK);
  ASSERT_EQ(TVA_linkfunctoenvstream(env, TVA_STREAM_LOG, &log, Catcher::take), TVA_RES_OK);
  ASSERT_EQ(TVA_echoenv(env, TVA_STREAM_MSG, "env %d\n", 5), TVA_RES_OK);
  ASSERT_EQ(TVA_echointro(env, 0), TVA_RES_OK);
  EXPECT_EQ(msg.all().rfind("env 5\n\nTELVA Version 8.0.0.81 (Build date: ", 0), 0u);
  EXPECT_EQ(log.all(), msg.all());
  EXPECT_EQ(TVA_unlinkfuncfromenvstream(env, TVA_STREAM_MSG), TVA_RES_OK);
  std::string path = ::testing::TempDir() + "telva_env_stream.txt";
  ASSERT_EQ(TVA_linkfiletoenvstream(env, TVA_STREAM_WRN, path.c_str(), 0), TVA_RES_OK);
  TVA_echoenv(env, TVA_STREAM_WRN, "careful\n");
  ASSERT_EQ(TVA_linkfiletoenvstream(env, TVA_STREAM_WRN, nullptr, 0), TVA_RES_OK);
  EXPECT_NE(read_file(path).find("careful\n\nFile closed: "), std::string::npos);
  std::remove(path.c_str());
}

TEST_F(TaskStreamTest, InnerPrintingAndLogLevels) {
  Catcher msg;
  ASSERT_EQ(TVA_linkfunctotaskstream(task, TVA_STREAM_MSG, &msg, Catcher::take), TVA_RES_OK);
  task->iparam[TVA_IPAR_LOG_SIM] = 2;
  EXPECT_TRUE(task_log_on(task, TVA_IPAR_LOG_SIM, 2));
  EXPECT_FALSE(task_log_on(task, TVA_IPAR_LOG_SIM, 3));
  task_printf(task, TVA_STREAM_MSG, "%-6s|%5.2f\n", "iter", 3.14159);
  task_format(task, TVA_STREAM_MSG, "%{wj}s|%{p}e\n", 6, 0, "iter", 2, 3.14159);
  EXPECT_EQ(msg.all(), "iter  | 3.14\niter  |3.14e+00\n");
  task->iparam[TVA_IPAR_LOG] = 0;
  EXPECT_FALSE(task_log_on(task, TVA_IPAR_LOG_SIM, 1));
}

TEST(CharacterConversion, RoundTripAndLimits) {
  const char* text = "a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80z"; // a é € 😀 z
  TVAwchart wide[16];
  size_t len = 0, conv = 0;
  ASSERT_EQ(TVA_utf8towchar(16, &len, &conv, wide, text), TVA_RES_OK);
  EXPECT_EQ(len, 6u); // the emoji takes a surrogate pair
  EXPECT_EQ(conv, std::strlen(text));
  const TVAwchart expected[] = {'a', 0xe9, 0x20ac, 0xd83d, 0xde00, 'z', 0};
  EXPECT_EQ(std::memcmp(wide, expected, sizeof expected), 0);
  char back[32];
  ASSERT_EQ(TVA_wchartoutf8(sizeof back, &len, &conv, back, wide), TVA_RES_OK);
  EXPECT_STREQ(back, text);
  EXPECT_EQ(len, std::strlen(text));
  // Output capacity less one; a surrogate pair is never split, nor a UTF-8 sequence.
  ASSERT_EQ(TVA_utf8towchar(5, &len, &conv, wide, text), TVA_RES_OK);
  EXPECT_EQ(len, 3u);
  EXPECT_EQ(wide[3], 0);
  ASSERT_EQ(TVA_wchartoutf8(5, &len, &conv, back, wide), TVA_RES_OK);
  EXPECT_STREQ(back, "a\xc3\xa9");
  // Bad input gives its code and the position.
  const char* bad[] = {
      "ab\x80", "ab\xc3(", "ab\xc0\xaf", "ab\xed\xa0\x80", "ab\xf8\x88\x80\x80\x80", "ab\xe2\x82"};
  for (const char* b : bad) {
    EXPECT_EQ(TVA_utf8towchar(16, &len, &conv, wide, b), TVA_RES_ERR_INVALID_UTF8) << b;
    EXPECT_EQ(conv, 2u);
    EXPECT_EQ(len, 2u);
  }
  const TVAwchart lone[] = {'x', 0xdc00, 'y', 0};
  EXPECT_EQ(TVA_wchartoutf8(16, &len, &conv, back, lone), TVA_RES_ERR_INVALID_WCHAR);
  EXPECT_EQ(conv, 1u);
  EXPECT_STREQ(back, "x");
}

} // namespace
