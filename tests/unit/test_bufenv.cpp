// Per-worker scratch: size classes, alignment, reuse, and blocks moving between workers through
// the shared row.
#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

#include "cpub/bufenv.h"
#include "cpub/sysworker.h"

using namespace telva;

namespace {

class Bufenv : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(sysenv_create(&sys, 0, memman_default_hooks(), nullptr, nullptr), kSysOk);
    sysenv_usage(sys, &base_use, nullptr);
    sysworker_set_id(0);
  }
  void TearDown() override {
    sysworker_set_id(0);
    int64 cur;
    sysenv_usage(sys, &cur, nullptr);
    EXPECT_EQ(cur, base_use) << "bufenv_delete must return every block";
    sysenv_delete(&sys);
  }
  int64 use() {
    int64 cur;
    sysenv_usage(sys, &cur, nullptr);
    return cur;
  }
  sysenv* sys = nullptr;
  int64 base_use = 0;
};

TEST_F(Bufenv, ZeroBytesGiveAFixedAddress) {
  bufenv* be = bufenv_create(sys, 16, 0);
  ASSERT_NE(be, nullptr);
  void* a = TVA_BUF_GET(be, 0);
  void* b = TVA_BUF_GET(be, 0);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a, b);
  int64 before = use();
  TVA_BUF_PUT(be, a);
  TVA_BUF_PUT(be, nullptr);
  EXPECT_EQ(use(), before);
  EXPECT_EQ(bufenv_num_free(be, 0), 0);
  bufenv_delete(&be);
  EXPECT_EQ(be, nullptr);
}

TEST_F(Bufenv, EveryPointerIsAlignedAndUsable) {
  for (size_t align : {1, 8, 16, 64, 256}) {
    bufenv* be = bufenv_create(sys, align, 0);
    ASSERT_NE(be, nullptr);
    std::vector<std::pair<void*, size_t>> taken;
    for (size_t bytes = 1; bytes < 5000; bytes = bytes * 3 / 2 + 1) {
      void* p = TVA_BUF_GET(be, bytes);
      ASSERT_NE(p, nullptr);
      EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % std::max<size_t>(align, 8), 0u) << bytes;
      std::memset(p, 0x5a, bytes); // the sanitizer build catches a block that is too small
      taken.emplace_back(p, bytes);
    }
    for (auto& [p, bytes] : taken)
      TVA_BUF_PUT(be, p);
    EXPECT_EQ(bufenv_num_free(be, 0), static_cast<int64>(taken.size()));
    bufenv_delete(&be);
  }
  EXPECT_EQ(bufenv_create(sys, 24, 0), nullptr); // not a power of two
}

TEST_F(Bufenv, SameWorkerReusesWithoutAllocating) {
  bufenv* be = bufenv_create(sys, 16, 0);
  void* p = TVA_BUF_GET(be, 100);
  TVA_BUF_PUT(be, p);
  int64 before = use();
  void* q = TVA_BUF_GET(be, 90); // same class as 100 bytes
  EXPECT_EQ(q, p);
  EXPECT_EQ(use(), before);
  void* big = TVA_BUF_GET(be, 1000); // another class: a new block
  EXPECT_NE(big, p);
  EXPECT_GT(use(), before);
  TVA_BUF_PUT(be, q);
  TVA_BUF_PUT(be, big);
  bufenv_delete(&be);
}

TEST_F(Bufenv, ClearedBlocksAreZeroAgainOnReuse) {
  bufenv* be = bufenv_create(sys, 16, 1);
  auto* p = static_cast<unsigned char*>(TVA_BUF_GET(be, 200));
  for (int i = 0; i < 200; ++i)
    ASSERT_EQ(p[i], 0);
  std::memset(p, 0xff, 200);
  TVA_BUF_PUT(be, p);
  auto* q = static_cast<unsigned char*>(TVA_BUF_GET(be, 150));
  ASSERT_EQ(q, p);
  for (int i = 0; i < 150; ++i)
    ASSERT_EQ(q[i], 0) << i;
  TVA_BUF_PUT(be, q);
  bufenv_delete(&be);
}

TEST_F(Bufenv, ForeignReleaseGoesToSharedRowAndIsTakenByNextMiss) {
  bufenv* be = bufenv_create(sys, 16, 0);
  sysworker_set_id(3);
  void* p = TVA_BUF_GET(be, 300);
  sysworker_set_id(5);
  TVA_BUF_PUT(be, p);
  EXPECT_EQ(bufenv_num_free(be, -1), 1);
  EXPECT_EQ(bufenv_num_free(be, 5), 0);
  EXPECT_EQ(bufenv_num_free(be, 3), 0);

  // A miss in another class leaves the shared block where it is.
  sysworker_set_id(7);
  void* other = TVA_BUF_GET(be, 3000);
  EXPECT_EQ(bufenv_num_free(be, -1), 1);
  // Worker 7 misses in the class of 300 bytes and takes the block; it now belongs to 7.
  int64 before = use();
  void* q = TVA_BUF_GET(be, 300);
  EXPECT_EQ(q, p);
  EXPECT_EQ(use(), before);
  EXPECT_EQ(bufenv_num_free(be, -1), 0);
  TVA_BUF_PUT(be, q);
  EXPECT_EQ(bufenv_num_free(be, 7), 1);
  EXPECT_EQ(bufenv_num_free(be, -1), 0);
  TVA_BUF_PUT(be, other);
  // Worker 3 gave its block away: it gets a new one.
  sysworker_set_id(3);
  void* r = TVA_BUF_GET(be, 300);
  EXPECT_NE(r, p);
  TVA_BUF_PUT(be, r);
  bufenv_delete(&be);
}

TEST_F(Bufenv, MemoryMovesBetweenThreadsThroughTheSharedRow) {
  bufenv* be = bufenv_create(sys, 64, 0);
  constexpr int kThreads = 4, kBlocks = 50;
  void* blocks[kThreads][kBlocks];
  auto run = [&](auto body) {
    std::vector<std::thread> pool;
    for (int t = 0; t < kThreads; ++t)
      pool.emplace_back([&, t] {
        sysworker_set_id(t);
        body(t);
      });
    for (auto& th : pool)
      th.join();
  };
  run([&](int t) {
    for (int i = 0; i < kBlocks; ++i) {
      blocks[t][i] = TVA_BUF_GET(be, 1 + 37 * i);
      std::memset(blocks[t][i], t, 1 + 37 * i);
    }
  });
  int64 peak = use();
  // Each thread releases its neighbour's blocks: all of them land on the shared row.
  run([&](int t) {
    for (int i = 0; i < kBlocks; ++i)
      TVA_BUF_PUT(be, blocks[(t + 1) % kThreads][i]);
  });
  EXPECT_EQ(bufenv_num_free(be, -1), kThreads * kBlocks);
  // The same requests again are served from the shared row without new memory.
  run([&](int t) {
    for (int i = 0; i < kBlocks; ++i)
      blocks[t][i] = TVA_BUF_GET(be, 1 + 37 * i);
  });
  EXPECT_EQ(use(), peak);
  EXPECT_EQ(bufenv_num_free(be, -1), 0);
  run([&](int t) {
    for (int i = 0; i < kBlocks; ++i)
      TVA_BUF_PUT(be, blocks[t][i]);
  });
  bufenv_delete(&be);
}

void fatal_to_stderr(void*, const char*, int, const char* msg) {
  std::fprintf(stderr, "%s", msg);
}

TEST(BufenvDeathTest, InvalidWorkerIdIsFatal) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        sysenv* sys = nullptr;
        sysenv_create(&sys, 0, memman_default_hooks(), nullptr, nullptr);
        sysenv_set_fatal(sys, fatal_to_stderr, nullptr);
        bufenv* be = bufenv_create(sys, 16, 0);
        sysworker_set_id(kBufMaxWorkers);
        TVA_BUF_GET(be, 10);
      },
      "Invalid worker id. wid: 512 max_num_workers: 512");
}

} // namespace
