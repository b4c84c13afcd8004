// The instruction sets that vector implementations are compiled for, and the choice among them.
//
// A vector file compiles its kernels once for each set that the build has (hwy/foreach_target.h),
// says which kernel implements which function, and lists them once:
//
//   namespace lumen::HWY_NAMESPACE {
//   LUM_KERNEL(lumAbsDiffu8) = AbsDiffRows<uint8_t, uint8_t>;
//   }
//   #if HWY_ONCE
//   LUM_VECTOR(lumAbsDiffu8);   // defines lumAbsDiffu8V
//   #endif
//
// The choice is made once, when the function table is filled; a call costs nothing for it.

#ifndef LUMEN_VECTOR_H
#define LUMEN_VECTOR_H

#include <optional>

#include "lumenTable.h"

// A kernel of the type that the public function has.
#define LUM_KERNEL(name) constexpr decltype(::name)* name

// The kernels of all instruction sets, at global scope: of a row, and of a shared inner routine.
#define LUM_VECTOR(name) LUM_VECTOR_OF(decltype(name), name)
#define LUM_VECTOR_OF(type, name)                \
  constinit const lumVectorSet<type> name##V = { \
      {LUM_SSE4(name), LUM_AVX2(name), LUM_AVX512(name), LUM_NEON(name)}}

#if HWY_TARGETS & HWY_SSE4
#define LUM_SSE4(name) lumen::N_SSE4::name
#else
#define LUM_SSE4(name) nullptr
#endif
#if HWY_TARGETS & HWY_AVX2
#define LUM_AVX2(name) lumen::N_AVX2::name
#else
#define LUM_AVX2(name) nullptr
#endif
#if HWY_TARGETS & HWY_AVX3
#define LUM_AVX512(name) lumen::N_AVX3::name
#else
#define LUM_AVX512(name) nullptr
#endif
#if HWY_TARGETS & HWY_NEON
#define LUM_NEON(name) lumen::N_NEON::name
#else
#define LUM_NEON(name) nullptr
#endif

inline constexpr const char* LUM_VECTOR_TARGET_NAME[LUM_VECTOR_TARGET_COUNT] = {"sse4", "avx2",
                                                                                "avx512", "neon"};

// Whether this processor has an instruction set.
bool lumHasVectorTarget(lumVectorTarget target);

// The best instruction set that this processor has and this build knows, no better than what the
// environment variable LUMEN_VECTOR_TARGET names; none when there is no vector unit to use. A word
// that is no instruction set of this machine is logged as an error and left out of account.
std::optional<lumVectorTarget> lumChooseVectorTarget();

// The choice of the process, made at the first call.
std::optional<lumVectorTarget> lumBestVectorTarget();

// The best implementation of a set, or `fallback` where it has none for this machine. A compiler
// may not know the best instruction set; each one includes those before it.
template <class F>
F* lumBestOf(const lumVectorSet<F>& set, F* fallback) {
  const std::optional<lumVectorTarget> best = lumBestVectorTarget();
  for (uint32_t target = best ? *best + 1 : 0; target-- > 0;) {
    if (set.target[target]) return set.target[target];
  }
  return fallback;
}

#endif  // LUMEN_VECTOR_H
