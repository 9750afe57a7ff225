// The sysenv: processor class mapping, timers, timing sections and debug output, core count,
// spin count, checked narrowing and the fatal road, and the 32-bit atomics.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sched.h>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>

#include "cpub/sysatomic.h"
#include "cpub/syscpu.h"
#include "cpub/sysenv.h"
#include "telva/task/env.h"

namespace {

using namespace telva;

void capture(void* handle, const char* text) {
  *static_cast<std::string*>(handle) += text;
}
void to_stderr(void*, const char* text) {
  std::fputs(text, stderr);
}

class SysEnv : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(sysenv_create(&sys_, 0, memman_default_hooks(), nullptr, nullptr), kSysOk);
  }
  void TearDown() override { EXPECT_EQ(sysenv_delete(&sys_), kSysOk); }
  sysenv* sys_ = nullptr;
};

TEST(SysCpu, ClassOfCode) {
  const int32 codes[][2] = {{6, 1000},  {7, 1001},   {8, 1002},   {9, 5000},
                            {12, 2000}, {17, 10001}, {18, 10002}, {151, 30000},
                            {0, 10},    {10, 10},    {150, 10},   {-1, 10}};
  for (const auto& c : codes)
    EXPECT_EQ(syscpu_class_of_code(c[0]), c[1]) << c[0];
}

TEST(SysCpu, CodeFromFeatures) {
  SysCpuInfo info;
  EXPECT_EQ(syscpu_code(info), kCpuCodeUnknown); // no CPUID
  info.has_cpuid = true;
  std::snprintf(info.vendor, sizeof info.vendor, "GenuineIntel");
  EXPECT_EQ(syscpu_code(info), kCpuCodeUnknown); // below SSE2
  info.sse2 = true;
  EXPECT_EQ(syscpu_code(info), kCpuCodeSse2);
  info.sse3 = true;
  EXPECT_EQ(syscpu_code(info), kCpuCodeSse3);
  info.ssse3 = true;
  EXPECT_EQ(syscpu_code(info), kCpuCodeSse41);
  info.sse42 = true;
  EXPECT_EQ(syscpu_code(info), kCpuCodeSse42);
  std::snprintf(info.vendor, sizeof info.vendor, "AuthenticAMD");
  EXPECT_EQ(syscpu_code(info), kCpuCodeAmdSse);
  info.avx = true;
  EXPECT_EQ(syscpu_code(info), kCpuCodeAvx);
  info.avx2 = true; // AVX2 without FMA stays in the AVX class
  EXPECT_EQ(syscpu_code(info), kCpuCodeAvx);
  info.fma = true;
  EXPECT_EQ(syscpu_code(info), kCpuCodeAvx2);
  info.avx512f = true;
  EXPECT_EQ(syscpu_code(info), kCpuCodeAvx512);
}

TEST_F(SysEnv, IdentificationAndPlatform) {
  EXPECT_EQ(sys_->cpu_class, syscpu_class_of_code(sys_->cpu_code));
  EXPECT_GE(sys_->cache_l1, 0);
  EXPECT_GE(sys_->cache_l2, 0);
#if defined(__linux__) && defined(__x86_64__)
  EXPECT_STREQ(sysenv_platform_text(sys_), "Linux/64-X86");
  EXPECT_NE(sys_->cpu_code, kCpuCodeUnknown); // every x86-64 processor has SSE2
#endif
  sys_->platform = 3;
  EXPECT_STREQ(sysenv_platform_text(sys_), "Windows/32-X86");
  sys_->platform = 99;
  EXPECT_STREQ(sysenv_platform_text(sys_), "generic");
}

TEST_F(SysEnv, DebugDumpGoesToTheMessageFunction) {
  std::string out;
  sysenv_set_message(sys_, capture, &out);
  sysenv_dump_info(sys_);
  EXPECT_NE(out.find("Testing for CPUID instruction."), std::string::npos);
  EXPECT_NE(out.find("Telva system information:\n"), std::string::npos);
  EXPECT_NE(out.find("L1 = " + std::to_string(sys_->cache_l1) + "\n"), std::string::npos);
  EXPECT_NE(out.find("L2 = " + std::to_string(sys_->cache_l2) + "\n"), std::string::npos);
  EXPECT_NE(out.find("HAS_SSE2: "), std::string::npos);
  EXPECT_NE(out.find("proc name str = "), std::string::npos);
}

TEST(SysEnvDebugFile, DumpGoesIntoTheTraceFile) {
  std::string base = ::testing::TempDir() + "telva_sysenv_dbg_" + std::to_string(getpid());
  TVAenv_t env = nullptr;
  ASSERT_EQ(TVA_makeenv(&env, base.c_str()), TVA_RES_OK);
  EXPECT_EQ(env->sys->debug_level, 10);
  int32 l1 = env->sys->cache_l1;
  EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  std::string trace = base + ".env.txt";
  std::ifstream in(trace);
  std::stringstream text;
  text << in.rdbuf();
  std::remove(trace.c_str());
  EXPECT_NE(text.str().find("Telva system information:\n"), std::string::npos);
  EXPECT_NE(text.str().find("L1 = " + std::to_string(l1) + "\n"), std::string::npos);
}

TEST_F(SysEnv, NarrowAffinityIsNoticed) {
  cpu_set_t saved;
  ASSERT_EQ(sched_getaffinity(0, sizeof saved, &saved), 0);
  if (CPU_COUNT(&saved) < 2 || CPU_COUNT(&saved) < sysconf(_SC_NPROCESSORS_ONLN))
    GTEST_SKIP() << "needs a process that may run on all of at least two processors";
  cpu_set_t one;
  CPU_ZERO(&one);
  for (int c = 0; c < CPU_SETSIZE; ++c)
    if (CPU_ISSET(c, &saved)) {
      CPU_SET(c, &one);
      break;
    }
  ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
  std::string out;
  sysenv_set_message(sys_, capture, &out);
  sys_->debug_level = 10;
  int32 cores = sysenv_num_cores(sys_);
  ASSERT_EQ(sched_setaffinity(0, sizeof saved, &saved), 0);
  EXPECT_EQ(cores, 1);
  EXPECT_EQ(out, "Not all cpus enabled\n");
}

TEST_F(SysEnv, TimingSectionsOnlyAtADebugLevel) {
  std::string out;
  sysenv_set_message(sys_, capture, &out);
  SysTimer t;
  sysenv_section_begin(sys_, "quiet", &t);
  sysenv_section_end(sys_, "quiet", t);
  EXPECT_EQ(out, "");
  sys_->debug_level = 10;
  sysenv_section_begin(sys_, "solve", &t);
  sysenv_section_end(sys_, "solve", t);
  EXPECT_TRUE(testing::internal::RE::FullMatch(
      out, "--- BEGIN solve\n--- END solve \\[[0-9]+\\.[0-9][0-9]\\]\n"))
      << out;
}

TEST_F(SysEnv, TimersInBothClocks) {
  // Differences bring both clocks to seconds: 1000 ms ticks to 2.5e9 ns is 1.5 s.
  SysTimer a{1000, true}, b{2500000000LL, false};
  EXPECT_DOUBLE_EQ(sysenv_timer_diff(a, b), 1.5);
  EXPECT_DOUBLE_EQ(sysenv_timer_diff(SysTimer{5, true}, SysTimer{7, true}), 0.002);

  for (bool ticks : {false, true}) {
    sys_->use_ticks = ticks;
    SysTimer s, e;
    sysenv_timer_stamp(sys_, &s);
    EXPECT_EQ(s.ticks, ticks);
    usleep(2000);
    sysenv_timer_stamp(sys_, &e);
    EXPECT_GE(sysenv_timer_diff(s, e), 0.0);
    EXPECT_GE(sysenv_timer_seconds(sys_, s), sysenv_timer_diff(s, e));
  }
}

TEST_F(SysEnv, CoresAndSpinCount) {
  int32 cores = sysenv_num_cores(sys_);
  EXPECT_GE(cores, 1);
  EXPECT_LE(cores, sysconf(_SC_NPROCESSORS_ONLN));
  sysenv_set_num_cores(sys_, 3);
  EXPECT_EQ(sysenv_num_cores(sys_), 3);
  sysenv_set_num_cores(sys_, 0);
  EXPECT_EQ(sys_->num_cores, -1);
  EXPECT_EQ(sysenv_num_cores(sys_), cores);

  EXPECT_EQ(sysenv_get_spin_count(sys_), 0);
  sysenv_set_spin_count(sys_, 5000000000LL);
  EXPECT_EQ(sysenv_get_spin_count(sys_), 5000000000LL);
  sysenv_set_spin_count(sys_, -1);
  EXPECT_EQ(sysenv_get_spin_count(sys_), 0);
}

TEST_F(SysEnv, CheckedNarrowingInRange) {
  EXPECT_EQ(TVA_I64_TO_I32(sys_, 0), 0);
  EXPECT_EQ(TVA_I64_TO_I32(sys_, INT32_MAX), INT32_MAX);
  EXPECT_EQ(TVA_I64_TO_I32(sys_, INT32_MIN), INT32_MIN);
  EXPECT_EQ(TVA_I64_TO_I32(sys_, -123456789), -123456789);
}

using SysEnvDeathTest = SysEnv;

TEST_F(SysEnvDeathTest, FatalRoad) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  sysenv_set_message(sys_, to_stderr, nullptr);
  EXPECT_DEATH(TVA_I64_TO_I32(sys_, static_cast<int64>(INT32_MAX) + 1),
               "Fatal error\nFile : .*\nLine : [0-9]+\nMsg. : Overflow in integer64 to integer32 "
               "conversion: 2147483648");
  EXPECT_DEATH(TVA_I64_TO_I32(sys_, static_cast<int64>(INT32_MIN) - 1), "integer64 to integer32");
  EXPECT_DEATH(sysenv_assert(sys_, "here.cpp", 12, 0), "Assertion failed at here.cpp\\(12\\)\\.");
  sysenv_assert(sys_, "here.cpp", 12, 1); // a true condition passes
}

void fatal_to_stderr(void*, const char* file, int line, const char* msg) {
  std::fprintf(stderr, "handler got %s:%d [%s]\n", file, line, msg);
}

TEST_F(SysEnvDeathTest, ExitFunctionRunsFirst) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  sysenv_set_fatal(sys_, fatal_to_stderr, nullptr);
  EXPECT_DEATH(sysenv_fatal(sys_, "f.cpp", 7, "broken %d", 5),
               "handler got f.cpp:7 \\[broken 5\\]");
}

TEST(SysAtomic, AddCasLoadStore) {
  alignas(4) int32 word = 0;
  std::thread ts[4];
  for (auto& t : ts)
    t = std::thread([&word] {
      for (int i = 0; i < 10000; ++i)
        sysatomic_add32(&word, 1);
    });
  for (auto& t : ts)
    t.join();
  EXPECT_EQ(sysatomic_load32(&word), 40000);
  EXPECT_EQ(sysatomic_add32(&word, -1), 39999);
  EXPECT_FALSE(sysatomic_cas32(&word, 5, 6));
  EXPECT_EQ(word, 39999);
  EXPECT_TRUE(sysatomic_cas32(&word, 39999, 6));
  EXPECT_EQ(word, 6);
  sysatomic_store32(&word, -3);
  EXPECT_EQ(sysatomic_load32(&word), -3);
}

} // namespace
