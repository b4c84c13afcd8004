#include "lumenVector.h"

#include <cstdlib>
#include <cstring>

#include "platform/lumenPlatform.h"

#if defined(__x86_64__)
#include <cpuid.h>
#endif

#if defined(__x86_64__)

namespace {

bool hasHalfFloats() {
  unsigned int a = 0, b = 0, c = 0, d = 0;
  return __get_cpuid(1, &a, &b, &c, &d) && (c & bit_F16C);
}

}  // namespace

bool lumHasVectorTarget(lumVectorTarget target) {
  const bool sse4 = __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("sse4.1") &&
                    __builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("aes") &&
                    __builtin_cpu_supports("pclmul");
  const bool avx2 = sse4 && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                    __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("fma") &&
                    hasHalfFloats();
  const bool avx512 = avx2 && __builtin_cpu_supports("avx512f") &&
                      __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq") &&
                      __builtin_cpu_supports("avx512bw");
  switch (target) {
    case LUM_VECTOR_SSE4:
      return sse4;
    case LUM_VECTOR_AVX2:
      return avx2;
    case LUM_VECTOR_AVX512:
      return avx512;
    case LUM_VECTOR_NEON:
      return false;
  }
  return false;
}

#else

// ARM builds have NEON throughout: the compiler may use it everywhere.
bool lumHasVectorTarget(lumVectorTarget target) { return target == LUM_VECTOR_NEON; }

#endif

std::optional<lumVectorTarget> lumChooseVectorTarget() {
  const char* wanted = std::getenv("LUMEN_VECTOR_TARGET");
  if (wanted && *wanted) {
    for (uint32_t target = 0; target < LUM_VECTOR_TARGET_COUNT; ++target) {
      if (std::strcmp(wanted, LUM_VECTOR_TARGET_NAME[target]) == 0 &&
          lumHasVectorTarget(static_cast<lumVectorTarget>(target))) {
        return static_cast<lumVectorTarget>(target);
      }
    }
    lumLog(LUM_LOG_ERROR, "lumen_lib_log",
           "ERROR: LUMEN_VECTOR_TARGET is \"%s\", which is no vector instruction set of this "
           "machine; it is left out of account",
           wanted);
  }
  for (uint32_t target = LUM_VECTOR_TARGET_COUNT; target-- > 0;) {
    if (lumHasVectorTarget(static_cast<lumVectorTarget>(target))) {
      return static_cast<lumVectorTarget>(target);
    }
  }
  return std::nullopt;
}

std::optional<lumVectorTarget> lumBestVectorTarget() {
  static const std::optional<lumVectorTarget> best = lumChooseVectorTarget();
  return best;
}
