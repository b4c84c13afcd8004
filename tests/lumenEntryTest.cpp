// The rule that public entries follow, on a row of the test's own and on the entries that there
// are.

#include "lumenEntry.h"

#include <functional>

#include "lumenTestSupport.h"

namespace {

using testing::ElementsAre;

// A function with a status result, whose implementations say what the test tells them to.
using Own = lumStatus(int argument);
lumStatus results[LUM_IMPL_COUNT];
std::vector<uint32_t> called;

template <uint32_t kColumn>
lumStatus answer(int argument) {
  EXPECT_EQ(argument, 42);
  called.push_back(kColumn);
  return results[kColumn];
}
const lumRow<Own> ownRow = {
    {answer<0>, answer<1>, answer<2>, answer<3>, answer<4>, answer<5>, answer<6>}};

lumEntry<Own> own(uint32_t impl) { return {ownRow, impl, "lumOwn"}; }

class Entry : public testing::Test {
 protected:
  void SetUp() override { LUM_ENTRY_SWITCHES = {}; }
  void TearDown() override {
    LUM_ENTRY_SWITCHES = {};
    LUM_IMPL_INDEX[LUM_FN_lumAbsDiffu8] = LUM_IMPL_CPU;
    called.clear();
  }
  RecordedLog log;
};

TEST_F(Entry, SendsADeclinedCallOnceToTheVectorUnit) {
  for (uint32_t impl = 0; impl < LUM_IMPL_COUNT; ++impl) {
    for (const int watch : {0, +LUM_WATCH_LOG, +LUM_WATCH_COUNT}) {
      LUM_ENTRY_SWITCHES.watch = static_cast<uint8_t>(watch);
      std::fill_n(results, LUM_IMPL_COUNT, LUMEN_EHWGPU);
      called.clear();
      EXPECT_EQ(own(impl).call(42), LUMEN_EHWGPU);
      EXPECT_THAT(called, ElementsAre(impl));

      if (impl == LUM_IMPL_VORTA) continue;
      results[impl] = LUM_FALLBACK_STATUS;
      results[LUM_IMPL_VORTA] = LUMEN_EUNSUPPORTED;
      called.clear();
      EXPECT_EQ(own(impl).call(42), LUMEN_EUNSUPPORTED);
      EXPECT_THAT(called, ElementsAre(impl, LUM_IMPL_VORTA));
    }
  }
}

TEST_F(Entry, SaysWhatRunsEachCall) {
  LUM_ENTRY_SWITCHES.watch = LUM_WATCH_LOG;
  for (uint32_t impl = 0; impl < LUM_IMPL_COUNT; ++impl) {
    lumEntry<Own> entry = own(impl);
    EXPECT_EQ(entry.onGpu(), impl == 3);
    EXPECT_EQ(entry.onDsp(), impl == 2 || impl > 3);
    entry.call(42);
    EXPECT_THAT(log.take(),
                ElementsAre("E/lumen_runtime_log: lumOwn_" + std::string(LUM_IMPL_NAME[impl])));
    // Two demands, the second missed by what runs on the vector unit already.
    entry.needs(true);
    entry.needs(false);
    entry.needs(false);
    EXPECT_FALSE(entry.onDsp() || entry.onGpu());
    called.clear();
    entry.call(42);
    EXPECT_THAT(called, ElementsAre(LUM_IMPL_VORTA));
    const std::string line = "E/lumen_runtime_log: lumOwn_VORTA";
    const bool twice = impl == 2 || impl > 3;
    EXPECT_EQ(log.take(), std::vector<std::string>(twice ? 2 : 1, line));
  }
}

lumStatus checked(lumEntry<Own> entry, const void* src, uint32_t width) {
  LUM_CHECK(entry, src && (width > 1));
  return entry.call(42);
}

TEST_F(Entry, RefusesWithBadParam) {
  results[LUM_IMPL_ZDSP] = LUMEN_SUCCESS;
  EXPECT_EQ(checked(own(LUM_IMPL_ZDSP), &log, 2), LUMEN_SUCCESS);
  EXPECT_THAT(log.take(), ElementsAre());
  EXPECT_EQ(checked(own(LUM_IMPL_ZDSP), &log, 1), LUMEN_EBADPARAM);
  const std::string refusal = "E/lumen_lib_log: Assertion failed @lumOwn: src && (width > 1)\n";
  EXPECT_THAT(log.take(), ElementsAre(refusal));
  LUM_ENTRY_SWITCHES.watch = LUM_WATCH_LOG;
  EXPECT_EQ(checked(own(LUM_IMPL_ZDSP), nullptr, 9), LUMEN_EBADPARAM);
  EXPECT_THAT(log.take(), ElementsAre("E/lumen_runtime_log: lumOwn_ZDSP", refusal));
  EXPECT_EQ(called.size(), 1u);
}

// Calls that nobody counts leave the counters alone, and so do refused ones and foreign rows.
TEST_F(Entry, CountsTheColumnThatACallReached) {
  const lumFuncTable table = LUM_FUNC_TABLE;
  auto& columns = LUM_FUNC_TABLE.lumAbsDiffu8.column;
  const auto nothing = [](const uint8_t*, const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*,
                          uint32_t) {};
  const auto countedAs = [&](uint32_t impl) {
    for (auto& count : LUM_CALL_COUNT[LUM_FN_lumAbsDiffu8]) count = 0;
    LUM_IMPL_INDEX[LUM_FN_lumAbsDiffu8] = impl;
    lumSmallImage().absDiff();
    lumAbsDiffu8(nullptr, nullptr, 1, 1, 1, nullptr, 1);
    own(LUM_IMPL_CPU).call(42);
    std::vector<uint32_t> counts;
    for (auto& count : LUM_CALL_COUNT[LUM_FN_lumAbsDiffu8]) counts.push_back(count);
    return counts;
  };
  lumSetOperationMode(LUMEN_OP_CPU_PERFORMANCE);
  EXPECT_THAT(countedAs(LUM_IMPL_VORTA), ElementsAre(0, 0, 0, 0, 0, 0, 0));
  LUM_ENTRY_SWITCHES.watch = LUM_WATCH_COUNT;
  EXPECT_THAT(countedAs(LUM_IMPL_CPU), ElementsAre(1, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(countedAs(LUM_IMPL_VORTA), ElementsAre(0, 1, 0, 0, 0, 0, 0));
  columns[LUM_IMPL_ADSP] = nothing;
  EXPECT_THAT(countedAs(LUM_IMPL_ADSP), ElementsAre(0, 0, 0, 0, 1, 0, 0));
  columns[LUM_IMPL_ADSP] = columns[LUM_IMPL_VORTA];
  EXPECT_THAT(countedAs(LUM_IMPL_ADSP), ElementsAre(0, 1, 0, 0, 0, 0, 0));
  columns[LUM_IMPL_VORTA] = columns[LUM_IMPL_CPU];
  EXPECT_THAT(countedAs(LUM_IMPL_VORTA), ElementsAre(1, 0, 0, 0, 0, 0, 0));
  // An operation mode decides on the log alone.
  lumSetOperationMode(LUMEN_OP_CPU_PERFORMANCE);
  EXPECT_EQ(LUM_ENTRY_SWITCHES.watch, LUM_WATCH_COUNT);
  LUM_FUNC_TABLE = table;
}

TEST_F(Entry, AbortsOnAnIndexAboveTheColumns) {
  EXPECT_EXIT(own(7).call(42), testing::KilledBySignal(SIGABRT), "");
  LUM_IMPL_INDEX[LUM_FN_lumAbsDiffu8] = UINT32_MAX;
  EXPECT_EXIT(lumSmallImage().absDiff(), testing::KilledBySignal(SIGABRT), "");
  LUM_ENTRY_SWITCHES.watch = LUM_WATCH_LOG;
  EXPECT_EXIT(lumSmallImage().absDiff(), testing::KilledBySignal(SIGABRT), "");
  LUM_ENTRY_SWITCHES.watch = 0;
  lumAbsDiffu8(nullptr, nullptr, 1, 1, 1, nullptr, 1);  // refused before the index counts
  EXPECT_EQ(log.take().size(), 1u);
}

TEST_F(Entry, KnowsWhatIsWorthARemoteCall) {
  EXPECT_FALSE(lumWorthRemote(176, 144, 4, 3));
  EXPECT_TRUE(lumWorthRemote(25345, 3, 4, 3));
  EXPECT_TRUE(lumWorthRemote(4, 25345, 4, 3));
  EXPECT_FALSE(lumWorthRemote(3, 25345, 4, 3));
  EXPECT_FALSE(lumWorthRemote(25345, 2, 4, 3));
  EXPECT_TRUE(lumWorthRemote(1 << 16, 1 << 16, 4, 3));  // more pixels than 32 bits count
  LUM_ENTRY_SWITCHES.forcedRemote = true;
  EXPECT_TRUE(lumWorthRemote(1, 1, 4, 3));

  const auto* at = reinterpret_cast<const uint8_t*>(uintptr_t{48});
  EXPECT_TRUE(lumMultipleOf<16>(at, at + 16, uint32_t{0}));
  EXPECT_FALSE(lumMultipleOf<16>(at, at + 8, uint32_t{16}));
  EXPECT_FALSE(lumMultipleOf<16>(at, uint32_t{1}));
}

// Every form of the absolute difference, with untyped images.
using Call = std::function<void(const void* src1, const void* src2, uint32_t width, uint32_t height,
                                uint32_t srcStride, void* dst, uint32_t dstStride)>;
using u32 = uint32_t;

template <class T, class D>
Call callOf(void (*f)(const T*, const T*, u32, u32, u32, D*, u32)) {
  return [f](const void* a, const void* b, u32 w, u32 h, u32 s, void* d, u32 t) {
    f(static_cast<const T*>(a), static_cast<const T*>(b), w, h, s, static_cast<D*>(d), t);
  };
}
template <class T, class D>
Call callOf(void (*f)(const T*, T, u32, u32, u32, D*, u32)) {
  return [f](const void* a, const void*, u32 w, u32 h, u32 s, void* d, u32 t) {
    f(static_cast<const T*>(a), {}, w, h, s, static_cast<D*>(d), t);
  };
}
template <class T, class D>
Call callOf(void (*f)(const T*, T, T, T, u32, u32, u32, D*, u32)) {
  return [f](const void* a, const void*, u32 w, u32 h, u32 s, void* d, u32 t) {
    f(static_cast<const T*>(a), {}, {}, {}, w, h, s, static_cast<D*>(d), t);
  };
}
template <class T, class D>
Call callOf(void (*f)(const T*, T, T, T, T, u32, u32, u32, D*, u32)) {
  return [f](const void* a, const void*, u32 w, u32 h, u32 s, void* d, u32 t) {
    f(static_cast<const T*>(a), {}, {}, {}, {}, w, h, s, static_cast<D*>(d), t);
  };
}

const char* const kTwo =
    "src1 && src2 && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride";
const char* const kOne =
    "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && (dstStride >= srcWidth)";
const char* const kThree =
    "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth * 3) && "
    "(dstStride >= srcWidth * 3)";
const char* const kFour =
    "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth * 4) && "
    "(dstStride >= srcWidth * 4)";

struct Form {
  const char* name;
  Call call;
  const char* condition;
  uint32_t minStride;   // that the condition asks for 8 pixels
  uint32_t pixelBytes;  // of a packed row
};
#define FORM(name) #name, callOf(name)
const Form kForms[] = {
    {FORM(lumAbsDiffu8), kTwo, 8, 1},         {FORM(lumAbsDiffs32), kTwo, 8, 4},
    {FORM(lumAbsDifff32), kTwo, 8, 4},        {FORM(lumAbsDiffVu8), kOne, 8, 1},
    {FORM(lumAbsDiffVs32), kOne, 8, 4},       {FORM(lumAbsDiffVf32), kOne, 8, 4},
    {FORM(lumAbsDiffVc3u8), kThree, 24, 3},   {FORM(lumAbsDiffVc3s32), kThree, 24, 12},
    {FORM(lumAbsDiffVc3f32), kThree, 24, 12}, {FORM(lumAbsDiffVc4u8), kFour, 32, 4},
    {FORM(lumAbsDiffVc4s32), kFour, 32, 16},  {FORM(lumAbsDiffVc4f32), kFour, 32, 16},
};

TEST_F(Entry, RefusesBadArgumentsOfEveryForm) {
  for (const Form& form : kForms) {
    SCOPED_TRACE(form.name);
    alignas(16) uint8_t a[256] = {}, b[256] = {}, d[256] = {};
    const auto isRefused = [&](const void* src1, const void* src2, u32 w, u32 h, u32 s, void* dst,
                               u32 t) {
      form.call(src1, src2, w, h, s, dst, t);
      const auto lines = log.take();
      return lines == std::vector{"E/lumen_lib_log: Assertion failed @" + std::string(form.name) +
                                  ": " + form.condition + "\n"};
    };
    const bool two = form.condition == kTwo;
    const uint32_t packed = 8 * form.pixelBytes;
    EXPECT_TRUE(isRefused(nullptr, b, 8, 2, packed, d, packed));
    EXPECT_EQ(isRefused(a, nullptr, 8, 2, packed, d, packed), two);
    EXPECT_TRUE(isRefused(a, b, 8, 2, packed, nullptr, packed));
    EXPECT_TRUE(isRefused(a, b, 0, 2, packed, d, packed));
    EXPECT_TRUE(isRefused(a, b, 8, 0, packed, d, packed));
    EXPECT_TRUE(isRefused(a, b, 8, 2, form.minStride - 1, d, packed));
    EXPECT_FALSE(isRefused(a, b, 8, 2, form.minStride, d, packed));
    EXPECT_EQ(isRefused(a, b, 8, 2, packed, d, form.minStride - 1), !two);
    EXPECT_FALSE(isRefused(a, b, 8, 2, 0, d, 0));
    if (form.pixelBytes == 1) continue;
    // Packed rows longer than 32 bits count, by either stride. Of 32-bit elements, one whose 32-bit
    // product is 0x80000000, which the condition would let through.
    const uint32_t longRow = form.pixelBytes * 8 > form.minStride
                                 ? 0x60000000 / (form.minStride / 8)
                                 : UINT32_MAX / form.pixelBytes + 1;
    EXPECT_TRUE(isRefused(a, b, longRow, 1, 0, d, UINT32_MAX));
    EXPECT_TRUE(isRefused(a, b, longRow, 1, UINT32_MAX, d, 0));
    if (form.minStride == 8) continue;
    EXPECT_TRUE(isRefused(a, b, UINT32_MAX / form.minStride * 8 + 8, 1, UINT32_MAX, d, UINT32_MAX));
  }
}

}  // namespace
