#include "cpub/syscpu.h"

#include <cstring>
#include <unistd.h>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#define TELVA_HAVE_CPUID 1
#endif

namespace telva {

namespace {

#ifdef TELVA_HAVE_CPUID

bool vendor_is(const SysCpuInfo& info, const char* name) {
  return std::strcmp(info.vendor, name) == 0;
}

// Intel's deterministic cache parameters: one sub-leaf of leaf 4 per cache.
void intel_caches(SysCpuInfo* info, unsigned max_leaf) {
  if (max_leaf < 4) return;
  for (unsigned sub = 0; sub < 16; ++sub) {
    unsigned a, b, c, d;
    __cpuid_count(4, sub, a, b, c, d);
    unsigned type = a & 0x1f;
    if (type == 0) break;
    if (type == 2) continue; // instruction cache
    unsigned level = (a >> 5) & 0x7;
    long long ways = ((b >> 22) & 0x3ff) + 1;
    long long parts = ((b >> 12) & 0x3ff) + 1;
    long long line = (b & 0xfff) + 1;
    long long sets = static_cast<long long>(c) + 1;
    long long size = ways * parts * line * sets;
    if (size > 0x7fffffffLL) size = 0x7fffffffLL;
    if (level == 1) info->cache_l1 = static_cast<int32>(size);
    if (level == 2) info->cache_l2 = static_cast<int32>(size);
  }
}

// AMD and others report L1 data and L2 sizes in kilobytes in the extended leaves.
void extended_caches(SysCpuInfo* info, unsigned max_ext) {
  unsigned a, b, c, d;
  if (max_ext >= 0x80000005u && info->cache_l1 == 0) {
    __cpuid(0x80000005u, a, b, c, d);
    info->cache_l1 = static_cast<int32>((c >> 24) & 0xff) * 1024;
  }
  if (max_ext >= 0x80000006u && info->cache_l2 == 0) {
    __cpuid(0x80000006u, a, b, c, d);
    info->cache_l2 = static_cast<int32>((c >> 16) & 0xffff) * 1024;
  }
}

void read_cpuid(SysCpuInfo* info) {
  unsigned a, b, c, d;
  unsigned max_leaf = __get_cpuid_max(0, nullptr);
  if (max_leaf == 0) return;
  info->has_cpuid = true;
  __cpuid(0, a, b, c, d);
  std::memcpy(info->vendor + 0, &b, 4);
  std::memcpy(info->vendor + 4, &d, 4);
  std::memcpy(info->vendor + 8, &c, 4);
  info->vendor[12] = '\0';

  if (max_leaf >= 1) {
    __cpuid(1, a, b, c, d);
    int32 base_family = static_cast<int32>((a >> 8) & 0xf);
    int32 base_model = static_cast<int32>((a >> 4) & 0xf);
    int32 ext_family = static_cast<int32>((a >> 20) & 0xff);
    int32 ext_model = static_cast<int32>((a >> 16) & 0xf);
    info->family = base_family == 0xf ? base_family + ext_family : base_family;
    info->model =
        (base_family == 0x6 || base_family == 0xf) ? (ext_model << 4) + base_model : base_model;
    info->sse2 = (d >> 26) & 1;
    info->sse3 = c & 1;
    info->ssse3 = (c >> 9) & 1;
    info->sse41 = (c >> 19) & 1;
    info->sse42 = (c >> 20) & 1;
  }
  // The wide vector units count only when the operating system saves their registers; the
  // compiler's run-time check includes that test.
  __builtin_cpu_init();
  info->avx = __builtin_cpu_supports("avx");
  info->avx2 = __builtin_cpu_supports("avx2");
  info->fma = __builtin_cpu_supports("fma");
  info->avx512f = __builtin_cpu_supports("avx512f");

  unsigned max_ext = __get_cpuid_max(0x80000000u, nullptr);
  if (max_ext >= 0x80000004u) {
    unsigned regs[12];
    for (unsigned i = 0; i < 3; ++i)
      __cpuid(0x80000002u + i, regs[4 * i], regs[4 * i + 1], regs[4 * i + 2], regs[4 * i + 3]);
    std::memcpy(info->name, regs, 48);
    info->name[48] = '\0';
  }
  if (vendor_is(*info, "GenuineIntel")) intel_caches(info, max_leaf);
  extended_caches(info, max_ext);
}

#endif

} // namespace

void syscpu_identify(SysCpuInfo* info) {
  *info = SysCpuInfo{};
#ifdef TELVA_HAVE_CPUID
  read_cpuid(info);
#endif
  // Where the processor doesn't tell (or CPUID is absent), take what the system reports.
  if (info->cache_l1 <= 0) {
    long v = sysconf(_SC_LEVEL1_DCACHE_SIZE);
    info->cache_l1 = v > 0 ? static_cast<int32>(v) : 0;
  }
  if (info->cache_l2 <= 0) {
    long v = sysconf(_SC_LEVEL2_CACHE_SIZE);
    info->cache_l2 = v > 0 ? static_cast<int32>(v) : 0;
  }
}

int32 syscpu_code(const SysCpuInfo& info) {
  if (!info.has_cpuid || !info.sse2) return kCpuCodeUnknown;
  if (info.avx512f && info.avx2) return kCpuCodeAvx512;
  if (info.avx2 && info.fma) return kCpuCodeAvx2;
  if (info.avx) return kCpuCodeAvx;
  if (std::strcmp(info.vendor, "AuthenticAMD") == 0) return kCpuCodeAmdSse;
  if (info.sse42) return kCpuCodeSse42;
  if (info.ssse3 || info.sse41) return kCpuCodeSse41;
  if (info.sse3) return kCpuCodeSse3;
  return kCpuCodeSse2;
}

int32 syscpu_class_of_code(int32 code) {
  switch (code) {
  case 6:
    return 1000;
  case 7:
    return 1001;
  case 8:
    return 1002;
  case 9:
    return 5000;
  case 12:
    return 2000;
  case 17:
    return 10001;
  case 18:
    return 10002;
  case 151:
    return 30000;
  default:
    return 10;
  }
}

} // namespace telva
