#include "lumenTestBench.h"

#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "lumenTestBenchCalls.h"
#include "lumenTestCase.h"
#include "lumenTestConfig.h"
#include "lumenTestExtras.h"
#include "lumenTestLog.h"
#include "lumenTestRandom.h"
#include "lumenTestRecord.h"
#include "lumenTestStatistics.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kLeastSample = 20e3;  // nanoseconds that a sample of several calls takes
constexpr double kLeastSteps = 200;    // and steps of the clock
constexpr double kRounds = 50;         // turns that each slot has about, when calls are short
constexpr size_t kFewSamples = 10;     // fewer say little,
constexpr double kUnstable = 0.05;     // as does a greater deviation
constexpr size_t kRecordedSamples = 1000;
constexpr uint64_t kSeed = 20;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// Numbers of everyday size: infinite, undefined and denormal ones take times of their own.
float realOf(uint64_t random) {
  constexpr double kGreatest = 1000;
  return static_cast<float>((static_cast<double>(random >> 11) * 0x1p-52 - 1) * kGreatest);
}

void fill(LUMEN_TEST_Type type, std::span<uint8_t> bytes, LUMEN_TEST_Random& random) {
  const auto put = [&](auto makeValue) {
    for (size_t i = 0; i < bytes.size();) {
      const auto value = makeValue(random.next());
      const size_t size = std::min(sizeof(value), bytes.size() - i);
      std::memcpy(&bytes[i], &value, size);
      i += size;
    }
  };
  if (type == LUMEN_TEST_Type::f32) put(realOf);
  else put([](uint64_t number) { return number; });
}

// The images of a call in one kind of memory.
struct Images {
  Images(const LUMEN_TEST_Description& description, lumMemOption option)
      : testCase(description, option) {
    const uint32_t size = lumenTestRunConfig.resolution;
    isUsable =
        testCase.shape(LUMEN_TEST_RESOLUTION_WIDTH[size], LUMEN_TEST_RESOLUTION_HEIGHT[size]);
    if (!isUsable) return;
    LUMEN_TEST_Random random(kSeed);  // the same contents in every kind of memory
    for (size_t i = 0; i < description.images.size(); ++i) {
      const LUMEN_TEST_Image& image = description.images[i];
      if (!image.isWritten && !testCase.fillForTiming(i, random)) {
        fill(image.type, testCase.bytes(i), random);
      }
      blocks.push_back(testCase.bytes(i));
    }
  }

  LUMEN_TEST_Case testCase;
  std::vector<std::span<const uint8_t>> blocks;
  bool isUsable;
};

struct Slot {
  unsigned int slot;
  const Images* images;
  uint32_t batch = 1;
  LUMEN_TEST_Samples hot = {}, flushed = {};
};

class Bench {
 public:
  Bench(const LUMEN_TEST_Description& description, std::span<const unsigned int> slots)
      : description_(description) {
    for (const unsigned int slot : slots) {
      const lumMemOption option = lumenTestSettings.memOption[slot];
      auto& images = images_[option];
      if (!images) images = std::make_unique<Images>(description, option);
      if (images->isUsable) slots_.push_back({.slot = slot, .images = images.get()});
      else LUMEN_TEST_Log("Out of memory...Allocating %s\n", description.name);
    }
  }

  void measure(double seconds) {
    if (slots_.empty()) return;
    const Clock::time_point start = Clock::now();
    const double leastSample = std::max(kLeastSample, kLeastSteps * LUMEN_TEST_ClockStep());
    for (Slot& slot : slots_) {
      select(slot);
      slot.batch = LUMEN_TEST_CalibrateBatch(description_.call, argumentsOf(slot), leastSample);
    }
    measureNothing(leastSample);

    const double turn = seconds / kRounds / static_cast<double>(slots_.size());
    LUMEN_TEST_Random random(kSeed);
    std::vector<Slot*> order;
    for (Slot& slot : slots_) order.push_back(&slot);
    double round = 0;
    do {
      const Clock::time_point roundStart = Clock::now();
      for (size_t i = order.size(); i > 1; --i) {
        std::swap(order[i - 1], order[static_cast<size_t>(random.below(i))]);
      }
      for (Slot* slot : order) takeTurn(*slot, turn);
      round = secondsSince(roundStart);
    } while (secondsSince(start) + round / 2 < seconds);
  }

  void report() const {
    for (const Slot& slot : slots_) {
      report(slot, "hot", slot.hot, slot.batch);
      report(slot, "flushed", slot.flushed, 1);
    }
  }

 private:
  static const LUMEN_TEST_Arguments& argumentsOf(const Slot& slot) {
    return slot.images->testCase.arguments();
  }

  static void select(const Slot& slot) { lumSetOperationMode(LUMEN_TEST_SLOT_MODE[slot.slot]); }

  // What the samples hold besides the call.
  void measureNothing(double leastSample) {
    constexpr int kSamples = 21;
    const LUMEN_TEST_Arguments& arguments = argumentsOf(slots_.front());
    const uint32_t batch =
        LUMEN_TEST_CalibrateBatch(LUMEN_TEST_CallNothing, arguments, leastSample);
    std::vector<double> inBatch, alone;
    for (int i = 0; i < kSamples; ++i) {
      inBatch.push_back(LUMEN_TEST_TimeCalls(LUMEN_TEST_CallNothing, arguments, batch) / batch);
      alone.push_back(LUMEN_TEST_TimeCalls(LUMEN_TEST_CallNothing, arguments, 1));
    }
    nothingInBatch_ = LUMEN_TEST_StatisticsOf(inBatch).median;
    nothingAlone_ = LUMEN_TEST_StatisticsOf(alone).median;
  }

  // Half of the time for each kind of sample, but one of each at least.
  void takeTurn(Slot& slot, double seconds) const {
    const LUMEN_TEST_Arguments& arguments = argumentsOf(slot);
    const auto repeat = [&](auto takeSample) {
      const Clock::time_point start = Clock::now();
      do takeSample();
      while (secondsSince(start) < seconds / 2);
    };
    const auto add = [](LUMEN_TEST_Samples& samples, double time) {
      samples.add(std::max(time, 0.0));
    };
    select(slot);
    description_.call(arguments);
    repeat([&] {
      const double time = LUMEN_TEST_TimeCalls(description_.call, arguments, slot.batch);
      add(slot.hot, time / slot.batch - nothingInBatch_);
    });
    repeat([&] {
      LUMEN_TEST_Evict(slot.images->blocks);
      add(slot.flushed, LUMEN_TEST_TimeCalls(description_.call, arguments, 1) - nothingAlone_);
    });
  }

  void report(const Slot& slot, const char* state, const LUMEN_TEST_Samples& samples,
              uint32_t batch) const {
    const LUMEN_TEST_Statistics times = LUMEN_TEST_StatisticsOf(samples.values());
    const uint32_t width = argumentsOf(slot).width, height = argumentsOf(slot).height;
    const double perPixel = times.median / (static_cast<double>(width) * height);
    const char letter = lumenTestSettings.profileOrder[slot.slot];
    const bool unstable =
        times.count < kFewSamples || times.rmad > kUnstable || !(times.median > 0);
    std::printf(
        "LUMEN_PROFILE, %s_%c bench %s %" PRIu32 "x%" PRIu32
        ": min %.1f, median %.1f, p95 %.1f ns, rmad %.1f %%, %zu samples, %.4f ns/pixel%s\n",
        description_.name, letter, state, width, height, times.min, times.median, times.p95,
        100 * times.rmad, times.count, perPixel, unstable ? ", unstable" : "");

    std::vector<double> recorded = LUMEN_TEST_Thinned(samples.values(), kRecordedSamples);
    for (double& sample : recorded) sample = std::round(sample * 100) / 100;
    LUMEN_TEST_JsonLine("bench")
        .about(description_.name, letter)
        .integer("width", width)
        .integer("height", height)
        .text("state", state)
        .number("min", times.min)
        .number("median", times.median)
        .number("p95", times.p95)
        .number("rmad", times.rmad)
        .integer("count", static_cast<int64_t>(times.count))
        .integer("batch", batch)
        .boolean("unstable", unstable)
        .number("nsPerPixel", perPixel)
        .numbers("samples", recorded);
  }

  const LUMEN_TEST_Description& description_;
  std::map<lumMemOption, std::unique_ptr<Images>> images_;
  std::vector<Slot> slots_;
  double nothingInBatch_ = 0, nothingAlone_ = 0;
};

}  // namespace

void LUMEN_TEST_BenchSlots(const LUMEN_TEST_Description& description,
                           std::span<const unsigned int> slots) {
  if (slots.empty()) return;
  Bench bench(description, slots);
  bench.measure(lumenTestExtras.benchSeconds);
  bench.report();
  lumSetOperationMode(LUMEN_TEST_SLOT_MODE[slots.back()]);
}
