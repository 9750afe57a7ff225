// Memory manager: both roads, the trace file, guard violations, locked blocks and leaks.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "cpub/md5.h"
#include "cpub/memman.h"
#include "telva.h"
#include "telva/task/task.h"

using namespace telva;

namespace {

std::string md5_hex(const std::string& text) {
  unsigned char d[16];
  md5_digest(text.data(), text.size(), d);
  char hex[33];
  for (int i = 0; i < 16; ++i)
    std::snprintf(hex + 2 * i, 3, "%02x", d[i]);
  return hex;
}

TEST(Md5, Rfc1321Vectors) {
  EXPECT_EQ(md5_hex(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(md5_hex("a"), "0cc175b9c0f1b6a831c399e269772661");
  EXPECT_EQ(md5_hex("abc"), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(md5_hex("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(md5_hex("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
  EXPECT_EQ(md5_hex("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
            "d174ab98d277d9f5a5611c2c9f419d9f");
  EXPECT_EQ(md5_hex("1234567890123456789012345678901234567890123456789012345678901234567890"
                    "1234567890"),
            "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(Md5, PiecewiseEqualsWhole) {
  std::string text(1000, '\0');
  for (size_t i = 0; i < text.size(); ++i)
    text[i] = static_cast<char>(i * 7 + 3);
  unsigned char whole[16], parts[16];
  md5_digest(text.data(), text.size(), whole);
  Md5 ctx;
  md5_init(&ctx);
  for (size_t at = 0, step = 1; at < text.size(); at += step, step = step * 3 % 97 + 1)
    md5_update(&ctx, text.data() + at, std::min(step, text.size() - at));
  md5_final(&ctx, parts);
  EXPECT_EQ(0, std::memcmp(whole, parts, 16));
}

// Collects the manager's messages.
void collect(void* handle, const char* text) {
  static_cast<std::string*>(handle)->append(text);
}

std::string read_file(const std::string& path) {
  std::ifstream in(path);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

std::string temp_path(const std::string& name) {
  return ::testing::TempDir() + "telva_mem_" + std::to_string(getpid()) + "_" + name;
}

// Hooks that fail once a budget of calls is spent and count the blocks they hold.
struct Budget {
  long left = -1;
  long live = 0;
  long calls = 0;
};
bool spend(Budget* b) {
  ++b->calls;
  if (b->left == 0) return false;
  if (b->left > 0) --b->left;
  return true;
}
void* b_malloc(void* u, size_t n) {
  auto* b = static_cast<Budget*>(u);
  if (!spend(b)) return nullptr;
  ++b->live;
  return std::malloc(n);
}
void* b_calloc(void* u, size_t n, size_t m) {
  auto* b = static_cast<Budget*>(u);
  if (!spend(b)) return nullptr;
  ++b->live;
  return std::calloc(n, m);
}
void* b_realloc(void* u, void* p, size_t n) {
  auto* b = static_cast<Budget*>(u);
  return spend(b) ? std::realloc(p, n) : nullptr;
}
void b_free(void* u, void* p) {
  if (!p) return;
  --static_cast<Budget*>(u)->live;
  std::free(p);
}
MemHooks budget_hooks(Budget* b) {
  MemHooks h;
  h.usrptr = b;
  h.malloc_fn = b_malloc;
  h.calloc_fn = b_calloc;
  h.realloc_fn = b_realloc;
  h.free_fn = b_free;
  return h;
}

class MemRoads : public ::testing::TestWithParam<int> {};

TEST_P(MemRoads, OverflowZeroAndNullAreHarmless) {
  std::string msgs;
  memman* mm = memman_create(GetParam(), 2, memman_default_hooks(), "T", nullptr);
  ASSERT_NE(mm, nullptr);
  memman_set_msg(mm, collect, &msgs);
  auto* keep = static_cast<unsigned char*>(memman_calloc(mm, TVA_HERE, 100, 1));
  ASSERT_NE(keep, nullptr);
  std::memset(keep, 0xab, 100);
  int64 cur0, max0;
  memman_usage(mm, &cur0, &max0);

  EXPECT_EQ(memman_malloc(mm, "here.cpp", 12, 70000, 70000), nullptr);
  EXPECT_NE(msgs.find("Out of space due to a block size overflow 'here.cpp(12)'.\n"),
            std::string::npos);
  EXPECT_EQ(memman_realloc(mm, "here.cpp", 13, keep, 70000, 70000), nullptr);
  EXPECT_EQ(memman_calloc(mm, TVA_HERE, 0, 8), nullptr);
  EXPECT_EQ(memman_calloc(mm, TVA_HERE, 8, 0), nullptr);
  memman_free(mm, TVA_HERE, nullptr);

  int64 cur1, max1;
  memman_usage(mm, &cur1, &max1);
  EXPECT_EQ(cur1, cur0);
  EXPECT_EQ(max1, max0);
  for (int i = 0; i < 100; ++i)
    ASSERT_EQ(keep[i], 0xab);
  EXPECT_EQ(memman_scan(mm, TVA_HERE), 0);
  memman_free(mm, TVA_HERE, keep);
  EXPECT_EQ(memman_delete(mm), 0);
}

TEST_P(MemRoads, UsageReallocAndStrdup) {
  memman* mm = memman_create(GetParam(), 0, memman_default_hooks(), "T", nullptr);
  ASSERT_NE(mm, nullptr);
  auto* a = static_cast<int32*>(memman_malloc(mm, TVA_HERE, 10, sizeof(int32)));
  ASSERT_NE(a, nullptr);
  for (int i = 0; i < 10; ++i)
    a[i] = i * i;
  char* s = memman_strdup(mm, TVA_HERE, "telva");
  int64 cur, max;
  memman_usage(mm, &cur, &max);
  EXPECT_EQ(cur, 46);
  a = static_cast<int32*>(memman_realloc(mm, TVA_HERE, a, 1000, sizeof(int32)));
  ASSERT_NE(a, nullptr);
  for (int i = 0; i < 10; ++i)
    EXPECT_EQ(a[i], i * i);
  memman_usage(mm, &cur, &max);
  EXPECT_EQ(cur, 4006);
  a = static_cast<int32*>(memman_realloc(mm, TVA_HERE, a, 2, sizeof(int32)));
  EXPECT_EQ(a[1], 1);
  memman_usage(mm, &cur, &max);
  EXPECT_EQ(cur, 14);
  EXPECT_EQ(max, 4006);
  EXPECT_STREQ(s, "telva");
  EXPECT_EQ(memman_realloc(mm, TVA_HERE, s, 0, 1), nullptr); // a new size of 0 frees
  memman_free(mm, TVA_HERE, a);
  memman_usage(mm, &cur, &max);
  EXPECT_EQ(cur, 0);
  EXPECT_EQ(memman_delete(mm), 0);
}

TEST_P(MemRoads, FailingHooksGiveNullAndKeepOldBlock) {
  Budget b;
  memman* mm = memman_create(GetParam(), 2, budget_hooks(&b), "T", nullptr);
  ASSERT_NE(mm, nullptr);
  std::string msgs;
  memman_set_msg(mm, collect, &msgs);
  auto* p = static_cast<char*>(memman_malloc(mm, TVA_HERE, 1, 64));
  ASSERT_NE(p, nullptr);
  std::memset(p, 'x', 64);
  b.left = 0;
  EXPECT_EQ(memman_calloc(mm, "f.cpp", 7, 3, 33), nullptr);
  EXPECT_EQ(memman_realloc(mm, "f.cpp", 8, p, 1, 128), nullptr);
  if (GetParam()) {
    EXPECT_NE(msgs.find("Out of space while trying to allocate a block of size 99 in file "
                        "'f.cpp(7)'\n"),
              std::string::npos);
    EXPECT_NE(msgs.find("Out of space while trying to reallocate a block of size 128 in file "
                        "'f.cpp(8)'\n"),
              std::string::npos);
  }
  b.left = -1;
  for (int i = 0; i < 64; ++i)
    ASSERT_EQ(p[i], 'x');
  EXPECT_EQ(memman_scan(mm, TVA_HERE), 0);
  memman_free(mm, TVA_HERE, p);
  EXPECT_EQ(memman_delete(mm), 0);
  EXPECT_EQ(b.live, 0);
}

TEST_P(MemRoads, ManyBlocksFreedInAnyOrder) {
  memman* mm = memman_create(GetParam(), 0, memman_default_hooks(), "T", nullptr);
  ASSERT_NE(mm, nullptr);
  std::vector<void*> blocks;
  for (int i = 0; i < 3000; ++i)
    blocks.push_back(memman_malloc(mm, TVA_HERE, 1, 1 + i % 50));
  std::mt19937 rng(7);
  std::shuffle(blocks.begin(), blocks.end(), rng);
  for (size_t i = 0; i < blocks.size(); i += 2)
    blocks[i] = memman_realloc(mm, TVA_HERE, blocks[i], 1, 80);
  EXPECT_EQ(memman_num_blocks(mm), 3000);
  for (void* p : blocks)
    memman_free(mm, TVA_HERE, p);
  int64 cur;
  memman_usage(mm, &cur, nullptr);
  EXPECT_EQ(cur, 0);
  EXPECT_EQ(memman_delete(mm), 0);
}

// An environment's manager is shared by the threads of its tasks: the counts must stay exact.
TEST_P(MemRoads, ThreadsAllocateConcurrently) {
  memman* mm = memman_create(GetParam(), 0, memman_default_hooks(), "T", nullptr);
  ASSERT_NE(mm, nullptr);
  std::vector<std::thread> pool;
  for (int t = 0; t < 4; ++t)
    pool.emplace_back([mm, t] {
      std::vector<void*> mine;
      for (int i = 0; i < 400; ++i) {
        mine.push_back(memman_malloc(mm, TVA_HERE, 1, 8 + (i + t) % 64));
        if (i % 3 == 0) {
          memman_free(mm, TVA_HERE, mine.back());
          mine.pop_back();
        }
      }
      for (void* p : mine)
        memman_free(mm, TVA_HERE, p);
    });
  for (auto& th : pool)
    th.join();
  int64 cur, max;
  memman_usage(mm, &cur, &max);
  EXPECT_EQ(cur, 0);
  EXPECT_GT(max, 0);
  EXPECT_EQ(memman_num_blocks(mm), 0);
  EXPECT_EQ(memman_delete(mm), 0);
}

INSTANTIATE_TEST_SUITE_P(PlainAndChecked, MemRoads, ::testing::Values(0, 1));

TEST(MemChecked, BlocksAreAlignedAndGuarded) {
  memman* mm = memman_create(1, 0, memman_default_hooks(), "T", nullptr);
  ASSERT_NE(mm, nullptr);
  auto* p = static_cast<unsigned char*>(memman_malloc(mm, TVA_HERE, 1, 10));
  EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 16, 0u);
  for (int i = 0; i < kMemGuardBytes; ++i) {
    EXPECT_EQ(p[-kMemGuardBytes + i], kMemGuardSeed + i);
    EXPECT_EQ(p[10 + i], kMemGuardSeed + i);
  }
  memman_free(mm, TVA_HERE, p);
  memman_delete(mm);
}

TEST(MemChecked, TraceFileHasEveryStep) {
  std::string path = temp_path("trace.txt");
  memman* mm = memman_create(1, 10, memman_default_hooks(), "T", std::fopen(path.c_str(), "w"));
  ASSERT_NE(mm, nullptr);
  void* a = memman_malloc(mm, "a.cpp", 1, 1, 100);
  void* b = memman_calloc(mm, "b.cpp", 2, 5, 4);
  b = memman_realloc(mm, "c.cpp", 3, b, 1, 50);
  memman_free(mm, "d.cpp", 4, a);
  memman_scan(mm, "e.cpp", 5);
  EXPECT_EQ(memman_delete(mm), 1);
  std::string log = read_file(path);
  char line[256];
  std::snprintf(line, sizeof line,
                "Allocated(T)   #0      at %-10p of size 100 (100) in file "
                "'a.cpp(1)'.\n",
                a);
  EXPECT_NE(log.find(line), std::string::npos) << log;
  EXPECT_NE(log.find("Allocated(T)   #1      at "), std::string::npos);
  std::snprintf(line, sizeof line,
                "Rellocated(T)   #1      at %-10p of size 50 (150) in file "
                "'c.cpp(3)'.\n",
                b);
  EXPECT_NE(log.find(line), std::string::npos) << log;
  std::snprintf(line, sizeof line,
                "Deallocated(T) #0      at %-10p of size 100 (50) in file "
                "'d.cpp(4)'\n",
                a);
  EXPECT_NE(log.find(line), std::string::npos) << log;
  EXPECT_NE(log.find("Scanning memory at 'e.cpp'(5)\n"
                     "Space usage. Number of blocks: 1  Current usage: 50 Maximum usage: 150\n"),
            std::string::npos);
  EXPECT_NE(log.find("Deleting mem manager. Scanning memory\n"), std::string::npos);
  std::snprintf(line, sizeof line,
                "Checking leaks\n**** ALLOCATED  BLOCKS LEFT\n#1 at %p (%p) "
                "is allocated\nDone checking leaks\n",
                b, static_cast<void*>(static_cast<char*>(b) - kMemGuardBytes));
  EXPECT_NE(log.find(line), std::string::npos) << log;
  EXPECT_NE(log.find("\nFile closed: 20"), std::string::npos);
  std::remove(path.c_str());
}

TEST(MemChecked, LockedBlockMayBeReadAndFreed) {
  memman* mm = memman_create(1, 0, memman_default_hooks(), "T", nullptr);
  auto* p = static_cast<char*>(memman_calloc(mm, TVA_HERE, 1, 40));
  std::strcpy(p, "constant");
  EXPECT_EQ(memman_lock_block(mm, TVA_HERE, p), 0);
  EXPECT_EQ(memman_scan(mm, TVA_HERE), 0);
  EXPECT_EQ(memman_unlock_block(mm, TVA_HERE, p), 0);
  p[0] = 'C'; // unlocked: changes are allowed again
  EXPECT_EQ(memman_scan(mm, TVA_HERE), 0);
  int local = 0;
  EXPECT_EQ(memman_lock_block(mm, TVA_HERE, &local), 1);
  memman_lock_block(mm, TVA_HERE, p);
  memman_free(mm, TVA_HERE, p);
  EXPECT_EQ(memman_delete(mm), 0);
}

// The fatal road is checked in a child process: the handler shows the message on stderr.
using MemFatalDeathTest = ::testing::Test;

void fatal_to_stderr(void*, const char* file, int line, const char* msg) {
  std::fprintf(stderr, "FATAL %s:%d %s\n", file, line, msg);
}

memman* checked_manager() {
  memman* mm = memman_create(1, 0, memman_default_hooks(), "T", nullptr);
  memman_set_fatal(mm, fatal_to_stderr, nullptr);
  return mm;
}

TEST(MemFatalDeathTest, OverrunIsReportedAtFreeWithItsPosition) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        memman* mm = checked_manager();
        auto* p = static_cast<char*>(memman_malloc(mm, TVA_HERE, 1, 24));
        p[24] = 'x'; // one byte past the end
        memman_free(mm, "free.cpp", 99, p);
      },
      "FATAL free.cpp:99 \\*\\*\\* Block end guard violation. #0 at 0x[0-9a-f]+. pos: 0 "
      "expected: 32 got 120");
  EXPECT_DEATH(
      {
        memman* mm = checked_manager();
        memman_malloc(mm, TVA_HERE, 1, 8);
        auto* p = static_cast<char*>(memman_malloc(mm, TVA_HERE, 1, 8));
        p[-1] = 0; // one byte in front
        memman_scan(mm, "scan.cpp", 5);
      },
      "FATAL scan.cpp:5 \\*\\*\\* Block begin guard violation. #1 at 0x[0-9a-f]+. pos: 31 "
      "expected: 63 got 0");
}

TEST(MemFatalDeathTest, ForeignPointerAndChangedLockedBlockStop) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        memman* mm = checked_manager();
        static char foreign[64];
        memman_free(mm, TVA_HERE, foreign + 32);
      },
      "cannot be deallocated because it is not in the allocation list");
  EXPECT_DEATH(
      {
        memman* mm = checked_manager();
        auto* p = static_cast<char*>(memman_calloc(mm, TVA_HERE, 1, 16));
        memman_lock_block(mm, TVA_HERE, p);
        p[3] = 1;
        memman_scan(mm, "s.cpp", 3);
      },
      "Locked #0      at 0x[0-9a-f]+ of size 16 has been changed at 's.cpp' 3");
  // Without a handler the manager ends the process itself. The hooks keep freed blocks so
  // that the second free reads a header that is still there.
  EXPECT_DEATH(
      {
        MemHooks hooks = memman_default_hooks();
        hooks.free_fn = [](void*, void*) {};
        memman* mm = memman_create(0, 0, hooks, "T", nullptr);
        void* p = memman_malloc(mm, TVA_HERE, 1, 8);
        memman_free(mm, TVA_HERE, p);
        memman_free(mm, "twice.cpp", 2, p);
      },
      "Line : 2\nMsg. : Block 0x[0-9a-f]+ cannot be deallocated");
}

// Through the exported interface: debugging on an environment and its tasks.
TEST(MemDebugFile, EnvironmentAndTaskTracesAndLeaks) {
  std::string base = temp_path("dbg");
  TVAenv_t env = nullptr;
  ASSERT_EQ(TVA_makeenv(&env, base.c_str()), TVA_RES_OK);
  TVAtask_t task = nullptr;
  ASSERT_EQ(TVA_maketask(env, 5, 5, &task), TVA_RES_OK);
  void* p = TVA_calloctask(task, 10, 8);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(TVA_checkmemtask(task, "t.cpp", 1), TVA_RES_OK);
  TVAint64t cur, max;
  ASSERT_EQ(TVA_getmemusagetask(task, &cur, &max), TVA_RES_OK);
  EXPECT_GE(cur, 80);
  TVA_freetask(task, p);
  EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK); // nothing left: no leak
  std::string tlog = read_file(base + ".0.task.txt");
  EXPECT_EQ(tlog.rfind("TELVA memory task debugging.\n", 0), 0u);
  EXPECT_NE(tlog.find("Scanning memory at 't.cpp'(1)\n"), std::string::npos);
  EXPECT_NE(tlog.find("Checking leaks\nDone checking leaks\n"), std::string::npos);

  ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
  EXPECT_NE(TVA_calloctask(task, 3, 3), nullptr);
  EXPECT_EQ(TVA_deletetask(&task), TVA_RES_ERR_SPACE_LEAKING);
  EXPECT_EQ(task, nullptr);
  EXPECT_NE(read_file(base + ".1.task.txt").find("**** ALLOCATED  BLOCKS LEFT\n"),
            std::string::npos);

  EXPECT_NE(TVA_callocenv(env, 1, 7), nullptr);
  EXPECT_EQ(TVA_checkmemenv(env, "e.cpp", 2), TVA_RES_OK);
  EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_ERR_SPACE_LEAKING);
  EXPECT_EQ(env, nullptr);
  std::string elog = read_file(base + ".env.txt");
  EXPECT_EQ(elog.rfind("TELVA memory debugging.\n", 0), 0u);
  EXPECT_NE(elog.find("Scanning memory at 'e.cpp'(2)\n"), std::string::npos);
  EXPECT_NE(elog.find("**** ALLOCATED  BLOCKS LEFT\n"), std::string::npos);
  EXPECT_NE(elog.find("\nFile closed: "), std::string::npos);
  std::remove((base + ".env.txt").c_str());
  std::remove((base + ".0.task.txt").c_str());
  std::remove((base + ".1.task.txt").c_str());
}

TEST(MemDebugFile, CleanEnvironmentHasNoLeaks) {
  std::string base = temp_path("clean");
  TVAenv_t env = nullptr;
  ASSERT_EQ(TVA_makeenv(&env, base.c_str()), TVA_RES_OK);
  TVAtask_t task = nullptr, clone = nullptr;
  ASSERT_EQ(TVA_maketask(env, 3, 3, &task), TVA_RES_OK);
  ASSERT_EQ(TVA_clonetask(task, &clone), TVA_RES_OK);
  EXPECT_EQ(TVA_deletetask(&clone), TVA_RES_OK);
  EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
  EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  std::string elog = read_file(base + ".env.txt");
  EXPECT_EQ(elog.find("BLOCKS LEFT"), std::string::npos);
  for (const char* suffix : {".env.txt", ".0.task.txt", ".1.task.txt"})
    std::remove((base + suffix).c_str());
}

int exit_to_stderr(void*, const char* file, int line, const char* msg) {
  std::fprintf(stderr, "EXIT %s(%d): %s\n", file, line, msg);
  return 0;
}

TEST(MemFatalDeathTest, OverrunInEnvironmentEndsInItsExitFunction) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  std::string base = temp_path("fatal");
  EXPECT_DEATH(
      {
        TVAenv_t env = nullptr;
        TVA_makeenv(&env, base.c_str());
        TVA_putexitfunc(env, exit_to_stderr, nullptr);
        auto* p = static_cast<char*>(TVA_callocenv(env, 4, 4));
        p[17] = 7;
        TVA_freeenv(env, p);
      },
      "EXIT .*memexport.cpp\\([0-9]+\\): \\*\\*\\* Block end guard violation. #[0-9]+ at "
      "0x[0-9a-f]+. pos: 1 expected: 33 got 7");
  std::remove((base + ".env.txt").c_str());
}

} // namespace

namespace {

// With memory debugging on, a failure at any allocation of TVA_makeenvalloc or TVA_maketask
// still gives TVA_RES_ERR_SPACE, a null handle, and nothing left behind.
TEST(MemDebugFile, FailureAtEveryAllocationLeavesNothing) {
  std::string base = temp_path("fail");
  Budget probe;
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  ASSERT_EQ(TVA_makeenvalloc(&env, &probe, b_malloc, b_calloc, b_realloc, b_free, base.c_str()),
            TVA_RES_OK);
  long env_calls = probe.calls;
  ASSERT_EQ(TVA_maketask(env, 4, 4, &task), TVA_RES_OK);
  long task_calls = probe.calls - env_calls;
  EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
  EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  ASSERT_EQ(probe.live, 0);

  // With debugging on, the manager's messages also go to the standard output.
  ::testing::internal::CaptureStdout();
  for (long n = 0; n < env_calls; ++n) {
    Budget b;
    b.left = n;
    TVAenv_t e = reinterpret_cast<TVAenv_t>(1);
    EXPECT_EQ(TVA_makeenvalloc(&e, &b, b_malloc, b_calloc, b_realloc, b_free, base.c_str()),
              TVA_RES_ERR_SPACE)
        << n;
    EXPECT_EQ(e, nullptr);
    EXPECT_EQ(b.live, 0) << n;
  }
  for (long n = 0; n < task_calls; ++n) {
    Budget b;
    TVAenv_t e = nullptr;
    ASSERT_EQ(TVA_makeenvalloc(&e, &b, b_malloc, b_calloc, b_realloc, b_free, base.c_str()),
              TVA_RES_OK);
    long live = b.live;
    b.left = n;
    TVAtask_t t = reinterpret_cast<TVAtask_t>(1);
    EXPECT_EQ(TVA_maketask(e, 4, 4, &t), TVA_RES_ERR_SPACE) << n;
    EXPECT_EQ(t, nullptr);
    EXPECT_EQ(b.live, live) << n;
    b.left = -1;
    EXPECT_EQ(TVA_deleteenv(&e), TVA_RES_OK) << n;
    EXPECT_EQ(b.live, 0) << n;
  }
  std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_NE(out.find("Out of space while trying to allocate a block of size "), std::string::npos);
  std::remove((base + ".env.txt").c_str());
  for (long id = 0; id <= 1; ++id)
    std::remove((base + "." + std::to_string(id) + ".task.txt").c_str());
}

} // namespace
