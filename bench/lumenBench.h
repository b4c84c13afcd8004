// What the benchmarks share: names are <function>/<size>/<who>, of which bench/lumen-ratios makes
// tables.

#ifndef LUMEN_BENCH_H
#define LUMEN_BENCH_H

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

struct lumBenchSize {
  int width, height;
  std::string text() const { return std::to_string(width) + "x" + std::to_string(height); }
};
inline constexpr lumBenchSize LUM_BENCH_SIZES[] = {{640, 480}, {1920, 1080}, {4000, 3000}};

// `bytes`: how many are read and written by each call of `work`.
template <class F>
void lumAddBench(const std::string& name, size_t bytes, F work) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    for (auto _ : state) {
      work();
      benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
  })->UseRealTime();
}

// `work` gives how many corners it found.
template <class F>
void lumAddDetector(const std::string& name, F work) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    size_t corners = 0;
    for (auto _ : state) {
      corners = work();
      benchmark::ClobberMemory();
    }
    state.counters["corners"] = static_cast<double>(corners);
  })->UseRealTime();
}

#define LUM_BENCH_CLONES \
  __attribute__((target_clones("arch=skylake-avx512", "arch=haswell", "default")))

// What a function that reads `from` and writes `to` can reach. What the larger one has more is read
// or written alone.
LUM_BENCH_CLONES inline void lumMoveLoop(const void* from, size_t fromBytes, void* to,
                                         size_t toBytes) {
  const auto* a = static_cast<const uint64_t*>(from);
  auto* b = static_cast<uint64_t*>(to);
  const size_t both = std::min(fromBytes, toBytes) / 8;
  for (size_t i = 0; i < both; ++i) b[i] = ~a[i];
  uint64_t sum = 0;
  for (size_t i = both; i < fromBytes / 8; ++i) sum ^= a[i];
  for (size_t i = both; i < toBytes / 8; ++i) b[i] = sum;
  benchmark::DoNotOptimize(sum);
}

#endif  // LUMEN_BENCH_H
