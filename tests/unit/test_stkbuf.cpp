// Stack buffers: reverse-order pushes and pops, alignment, spill mode, size checkpoints and
// the fatal assertions on misuse.
#include <gtest/gtest.h>

#include <cstring>

#include "cpub/stkbuf.h"

using namespace telva;

namespace {

class Stkbuf : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(sysenv_create(&sys, 0, memman_default_hooks(), nullptr, nullptr), kSysOk);
    sysenv_usage(sys, &base_use, nullptr);
  }
  void TearDown() override { sysenv_delete(&sys); }
  int64 use() {
    int64 cur;
    sysenv_usage(sys, &cur, nullptr);
    return cur;
  }
  sysenv* sys = nullptr;
  int64 base_use = 0;
};

TEST_F(Stkbuf, PushPopInReverseOrderReusesTheArray) {
  stkbuf* sb = stkbuf_create(sys, 4, 256, 64, 0, 0);
  ASSERT_NE(sb, nullptr);
  void* a = TVA_STK_PUSH(sb, 10, 8);
  void* b = TVA_STK_PUSH(sb, 100, 64);
  void* c = TVA_STK_PUSH(sb, 1, 0);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(b) % 64, 0u);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(c) % 64, 0u); // 0: the stack's own alignment
  EXPECT_GE(static_cast<char*>(b), static_cast<char*>(a) + 10);
  EXPECT_GE(static_cast<char*>(c), static_cast<char*>(b) + 100);
  std::memset(b, 1, 100);
  EXPECT_EQ(stkbuf_numbufs(sb), 3);
  EXPECT_EQ(stkbuf_bytes_live(sb), 111u);
  TVA_STK_POP(sb, &c);
  EXPECT_EQ(c, nullptr);
  TVA_STK_POP(sb, &b);
  void* b2 = TVA_STK_PUSH(sb, 50, 16);
  EXPECT_LE(static_cast<char*>(b2), static_cast<char*>(a) + 64); // the freed space is reused
  TVA_STK_POP(sb, &b2);
  TVA_STK_POP(sb, &a);
  EXPECT_EQ(stkbuf_bytes_live(sb), 0u);
  stkbuf_delete(TVA_HERE, &sb);
  EXPECT_EQ(sb, nullptr);
  EXPECT_EQ(use(), base_use);
}

TEST_F(Stkbuf, SpillModeTakesHeapBlocks) {
  stkbuf* sb = stkbuf_create(sys, 3, 0, 32, 1, 0);
  ASSERT_NE(sb, nullptr);
  int64 empty = use();
  void* a = TVA_STK_PUSH(sb, 1000, 32);
  void* b = TVA_STK_PUSH(sb, 5000, 16);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(a) % 32, 0u);
  std::memset(a, 2, 1000);
  std::memset(b, 3, 5000);
  EXPECT_GE(use(), empty + 6000);
  TVA_STK_POP(sb, &b);
  TVA_STK_POP(sb, &a);
  EXPECT_EQ(use(), empty);
  stkbuf_delete(TVA_HERE, &sb);
  EXPECT_EQ(use(), base_use);
}

TEST_F(Stkbuf, SizeCheckpointsNest) {
  stkbuf* sb = stkbuf_create(sys, 8, 128, 16, 0, 0);
  stkbuf_push_sizecheck(TVA_HERE, sb, 1, 600);
  void* a = TVA_STK_PUSH(sb, 300, 16);
  stkbuf_push_sizecheck(TVA_HERE, sb, 2, 400);
  void* b = TVA_STK_PUSH(sb, 100, 16); // 400 live: exactly at the inner limit
  TVA_STK_POP(sb, &b);
  stkbuf_pop_sizecheck(TVA_HERE, sb, 2);
  b = TVA_STK_PUSH(sb, 300, 16); // only the outer limit of 600 holds now
  TVA_STK_POP(sb, &b);
  TVA_STK_POP(sb, &a);
  stkbuf_pop_sizecheck(TVA_HERE, sb, 1);
  stkbuf_delete(TVA_HERE, &sb);
}

void fatal_to_stderr(void*, const char*, int, const char* msg) {
  std::fprintf(stderr, "%s", msg);
}

stkbuf* fresh_stack(int count, size_t size, size_t align) {
  sysenv* sys = nullptr;
  sysenv_create(&sys, 0, memman_default_hooks(), nullptr, nullptr);
  sysenv_set_fatal(sys, fatal_to_stderr, nullptr);
  return stkbuf_create(sys, count, size, align, 0, 0);
}

TEST(StkbufDeathTest, MisuseIsFatal) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        stkbuf* sb = fresh_stack(4, 64, 16);
        void* a = TVA_STK_PUSH(sb, 8, 16);
        void* b = TVA_STK_PUSH(sb, 8, 16);
        (void)b;
        TVA_STK_POP(sb, &a); // not the last block
      },
      "buffer error -- expected: 0x[0-9a-f]+ input: 0x[0-9a-f]+");
  EXPECT_DEATH(
      {
        stkbuf* sb = fresh_stack(4, 64, 16);
        void* a = nullptr;
        TVA_STK_POP(sb, &a);
      },
      "numbufs<=0");
  EXPECT_DEATH(
      {
        stkbuf* sb = fresh_stack(4, 64, 16);
        TVA_STK_PUSH(sb, 8, 32);
      },
      "Incorrect alignment");
  EXPECT_DEATH(
      {
        stkbuf* sb = fresh_stack(2, 64, 16);
        TVA_STK_PUSH(sb, 100, 16);
        TVA_STK_PUSH(sb, 100, 16);
      },
      "Out of space in stack buffer 212 128");
  EXPECT_DEATH(
      {
        stkbuf* sb = fresh_stack(2, 64, 16);
        TVA_STK_PUSH(sb, 1, 16);
        TVA_STK_PUSH(sb, 1, 16);
        TVA_STK_PUSH(sb, 1, 16);
      },
      "Out of space in stack buffer 2 2");
  EXPECT_DEATH(
      {
        stkbuf* sb = fresh_stack(4, 64, 16);
        stkbuf_push_sizecheck(TVA_HERE, sb, 7, 100);
        TVA_STK_PUSH(sb, 60, 16);
        TVA_STK_PUSH(sb, 50, 16);
      },
      "Failed size check. numsizechecks: 1 k: 0 Checking id: 7 stackuse: 60 sizechecks: 100 "
      "size: 50");
  EXPECT_DEATH(
      {
        stkbuf* sb = fresh_stack(4, 64, 16);
        TVA_STK_PUSH(sb, 8, 16);
        stkbuf_delete(TVA_HERE, &sb);
      },
      "Buffers left");
}

} // namespace
