// Processor identification: vendor, family and model, SIMD features, cache sizes and the
// processor class by which the dense kernels pick their code paths.
#pragma once

#include "cpub/systypes.h"

namespace telva {

// Processor codes: a small number that names the capability generation of the processor.
// The class mapping below turns a code into the class the kernels switch on.
enum SysCpuCode : int32 {
  kCpuCodeUnknown = 0,  // no CPUID, not x86, or below SSE2
  kCpuCodeSse2 = 6,     // SSE2 only
  kCpuCodeSse3 = 7,     // SSE3
  kCpuCodeSse41 = 8,    // SSSE3 or SSE4.1
  kCpuCodeSse42 = 9,    // SSE4.2
  kCpuCodeAmdSse = 12,  // AMD before AVX, whatever its SSE level
  kCpuCodeAvx = 17,     // AVX without AVX2/FMA
  kCpuCodeAvx2 = 18,    // AVX2 with FMA
  kCpuCodeAvx512 = 151, // AVX-512 foundation
};

struct SysCpuInfo {
  bool has_cpuid = false;
  char vendor[13] = {0};
  int32 family = 0; // displayed family (base plus extended)
  int32 model = 0;  // displayed model (extended model folded in)
  bool sse2 = false, sse3 = false, ssse3 = false, sse41 = false, sse42 = false;
  bool avx = false, avx2 = false, fma = false, avx512f = false;
  int32 cache_l1 = 0;  // level-1 data cache, bytes
  int32 cache_l2 = 0;  // level-2 cache, bytes
  char name[49] = {0}; // brand string
};

// Reads the processor's identification. On a machine without CPUID only the cache sizes that
// the operating system reports are filled.
void syscpu_identify(SysCpuInfo* info);

// The code of an identified processor (see SysCpuCode).
int32 syscpu_code(const SysCpuInfo& info);

// Processor class of a code: 6->1000, 7->1001, 8->1002, 9->5000, 12->2000, 17->10001,
// 18->10002, 151->30000, anything else 10.
int32 syscpu_class_of_code(int32 code);

} // namespace telva
