// What a public entry costs on top of calling an implementation directly: the same call both ways,
// on an image of one pixel and with an implementation that does nothing.

#include <benchmark/benchmark.h>

#include "lumenTable.h"

namespace {

alignas(16) uint8_t a[64], b[64], d[64];

void nothing(const uint8_t*, const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t) {}

using Function = decltype(lumAbsDiffu8);

void callEach(benchmark::State& state, Function* function, uint32_t stride) {
  Function* volatile hidden = function;
  for (auto _ : state) hidden(a, b, 8, 8, stride, d, stride);
}

void emptyDirect(benchmark::State& state) { callEach(state, nothing, 8); }

void throughEntry(benchmark::State& state, LUM_IMPL column, uint32_t stride) {
  const lumFuncTable kept = LUM_FUNC_TABLE;
  LUM_FUNC_TABLE.lumAbsDiffu8.column[column] = nothing;
  LUM_IMPL_INDEX[LUM_FN_lumAbsDiffu8] = column;
  callEach(state, lumAbsDiffu8, stride);
  LUM_IMPL_INDEX[LUM_FN_lumAbsDiffu8] = LUM_IMPL_CPU;
  LUM_FUNC_TABLE = kept;
}

BENCHMARK(emptyDirect)->Name("dispatch/direct");
BENCHMARK_CAPTURE(throughEntry, reference, LUM_IMPL_CPU, 8)->Name("dispatch/reference");
BENCHMARK_CAPTURE(throughEntry, packed, LUM_IMPL_CPU, 0)->Name("dispatch/packed-strides");
BENCHMARK_CAPTURE(throughEntry, dsp, LUM_IMPL_ZDSP, 8)->Name("dispatch/dsp-column");

}  // namespace
