// The sweep: which cases it runs, which faults it finds, and what it tells of them.

#include <cmath>
#include <cstring>
#include <limits>
#include <set>

#include "lumenTestSweepCases.h"
#include "lumenTestSweepCompare.h"
#include "lumenTestSweepData.h"
#include "lumenTestSweepSupport.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class Sweep : public OwnData {
 protected:
  Sweep() { lumenTestExtras.sweep = LUMEN_TEST_Sweep::quick; }
};

using Cases = std::vector<LUMEN_TEST_SweepCase>;

constexpr uint64_t kSeed = 1;

}  // namespace

TEST_F(Sweep, CaseTextsSayWhatIsRun) {
  for (const char* text :
       {"lumAbsDiffu8/V/sweep/w33h3p1q2o5/ramp+max/1f2e3d4c",
        "lumAbsDiffVu8/C/tail/w4294967295h1zi1.0/random@least/0", "f/S/head/w1h1a/zeros/ffffffff",
        "f/G/row/w1h2q7o1i2.1/min+alt@greatest/1", "f/P/poison/w1h2p7/hot+inf@one/1",
        "f/P/poison/w1h2p7/nan+sub@zero/1"}) {
    const auto named = LUMEN_TEST_ParseCase(text);
    ASSERT_TRUE(named) << text;
    EXPECT_EQ(named->text(), text);
  }
  for (const char* text : {"",
                           "f",
                           "f/V/sweep/w1h1/random",
                           "f/V/sweep/w1h1/random/",
                           "f/V/sweep/w1h1/random/x",
                           "f/V/sweep/w1h1/random/1/",
                           "f/V/sweep/w1h1/random/1ffffffff",
                           "/V/sweep/w1h1/random/1",
                           "f/VV/sweep/w1h1/random/1",
                           "f/V/swept/w1h1/random/1",
                           "f/V/sweep/w0h1/random/1",
                           "f/V/sweep/w1/random/1",
                           "f/V/sweep/h1w1/random/1",
                           "f/V/sweep/w1h1p0/random/1",
                           "f/V/sweep/w-1h1/random/1",
                           "f/V/sweep/w4294967296h1/random/1",
                           "f/V/sweep/w1h1i2/random/1",
                           "f/V/sweep/w1h1x/random/1",
                           "f/V/sweep/w1h1/rand/1",
                           "f/V/sweep/w1h1/random@/1x",
                           "f/V/sweep/w1h1/random@two/1"}) {
    EXPECT_FALSE(LUMEN_TEST_ParseCase(text)) << text;
  }
}

TEST_F(Sweep, RefusesCasesThatAreNoneOfTheFunction) {
  EXPECT_EQ(checkCase("lumAbsDiffu8/V/sweep/w1h1/random/0"), 0);
  EXPECT_THAT(log(), ElementsAre("lumAbsDiffu8_V sweep, 0 of 1 cases failed =>PASS"));
  EXPECT_EQ(checkCase("lumAbsDiffu8/C/sweep/w1h1/random/0"), 0);  // of another slot
  EXPECT_THAT(log(), IsEmpty());
  for (const char* text :
       {"lumAbsDiffu8/V/sweep/w1h1i2.2/random/0", "lumAbsDiffu8/V/sweep/w1h1i0.1/random/0",
        "lumAbsDiffu8/V/sweep/w1h1o8/random/0", "lumAbsDiffu8/V/sweep/w1h1/nan/0",
        "lumAbsDiffu8/V/sweep/w4294967295h1p1/random/0", "lumAbsDiffu8/V/row/w900000000h1/random/0",
        "lumAbsDiffu8/V/head/w4294967295h4294967295/random/0", "lumAbsDiffu8/V/nothing"}) {
    EXPECT_EQ(checkCase(text), 1) << text;
    EXPECT_THAT(log(), Contains(AllOf(StartsWith("'"), HasSubstr("is no case"))));
  }
}

TEST_F(Sweep, CoversSizesAndLayouts) {
  for (const LUMEN_TEST_Function& function : LUMEN_TEST_ABSDIFF_FUNCTIONS) {
    const LUMEN_TEST_Description& f = *function.description;
    const uint32_t vector = static_cast<uint32_t>(64 / f.images[0].elementSize());
    const Cases quick = LUMEN_TEST_SweepCases(f, LUMEN_TEST_Sweep::quick, kSeed);
    const Cases full = LUMEN_TEST_SweepCases(f, LUMEN_TEST_Sweep::full, kSeed);
    for (const Cases* cases : {&quick, &full}) {
      std::set<uint32_t> widths, heights, misaligned, inPlace, patterns, scalars;
      bool zero = false, onlyRead = false, onlyWritten = false;
      for (const LUMEN_TEST_SweepCase& c : *cases) {
        widths.insert(c.width);
        heights.insert(c.height);
        misaligned.insert(c.misaligned);
        if (c.inPlace) inPlace.insert(c.inPlace->read);
        for (const auto pattern : c.pattern) patterns.insert(static_cast<uint32_t>(pattern));
        scalars.insert(static_cast<uint32_t>(c.scalars));
        zero |= c.strides == LUMEN_TEST_StrideChoice::zero;
        onlyRead |= c.readPadding > 0 && c.writtenPadding == 0;
        onlyWritten |= c.readPadding == 0 && c.writtenPadding > 0;
        EXPECT_TRUE(c.fits(f));
      }
      for (uint32_t width = 1; width <= 2 * vector + 1; ++width) EXPECT_EQ(widths.count(width), 1u);
      for (uint32_t height = 1; height <= 5; ++height) EXPECT_EQ(heights.count(height), 1u);
      // None, all, the one that is written, the first and each replaced one that is read.
      EXPECT_THAT(misaligned, SizeIs(f.scalars.empty() ? 5 : 4));
      EXPECT_THAT(inPlace, SizeIs(f.scalars.empty() ? 2 : 1));
      EXPECT_THAT(patterns, SizeIs(f.images[0].type == LUMEN_TEST_Type::f32 ? 10 : 7));
      EXPECT_THAT(scalars, SizeIs(f.scalars.empty() ? 1 : 5));
      EXPECT_TRUE(zero && onlyRead && onlyWritten);
    }
    const auto isLarge = [&](const LUMEN_TEST_SweepCase& c) {
      size_t bytes = 0;
      LUMEN_TEST_Layout layout;
      EXPECT_TRUE(LUMEN_TEST_LayOut(f, c, layout));
      for (const auto& image : layout.image) bytes += image.bytes;
      return bytes > size_t{2} << 20;
    };
    EXPECT_FALSE(std::any_of(quick.begin(), quick.end(), isLarge));
    EXPECT_TRUE(std::any_of(full.begin(), full.end(), isLarge));
  }
}

TEST_F(Sweep, SeedsDependOnFunctionCaseAndRunAlone) {
  const LUMEN_TEST_Description &u8 = description("lumAbsDiffu8"),
                               &s32 = description("lumAbsDiffs32");
  LUMEN_TEST_SweepCase c = {.width = 9, .height = 2};
  std::set<uint32_t> seeds;
  for (const LUMEN_TEST_Description* f : {&u8, &s32}) {
    for (const uint64_t run : {1u, 2u}) {
      for (c.width = 9; c.width < 11; ++c.width) {
        c.seedFor(*f, run);
        seeds.insert(c.seed);
      }
    }
  }
  EXPECT_THAT(seeds, SizeIs(8));

  // The same case has the same seed and so the same contents, in whatever list it is.
  const Cases full = LUMEN_TEST_SweepCases(u8, LUMEN_TEST_Sweep::full, kSeed);
  for (LUMEN_TEST_SweepCase again : full) {
    const uint32_t seed = again.seed;
    again.seedFor(u8, kSeed);
    ASSERT_EQ(again.seed, seed);
  }
  // The default of -s, known to be this.
  EXPECT_EQ(lumenTestOwnDataRun.seed, 1246302971u);
}

TEST_F(Sweep, LeavesRandAlone) {
  std::srand(7);
  const int first = std::rand(), second = std::rand();
  std::srand(7);
  EXPECT_EQ(std::rand(), first);
  EXPECT_EQ(check("lumAbsDiffu8"), 0);
  EXPECT_EQ(std::rand(), second);
}

TEST_F(Sweep, ContentsAreWhatTheirNamesSay) {
  const LUMEN_TEST_Description& f32 = description("lumAbsDifff32");
  using Limits = std::numeric_limits<float>;
  const auto fill = [&](LUMEN_TEST_Pattern pattern, size_t image) {
    LUMEN_TEST_SweepCase c = {.width = 64, .height = 2, .seed = 5};
    c.pattern[0] = c.pattern[1] = pattern;
    LUMEN_TEST_Layout layout;
    EXPECT_TRUE(LUMEN_TEST_LayOut(f32, c, layout));
    std::vector<float> values(128);
    LUMEN_TEST_FillInput(f32, c, layout, image, reinterpret_cast<uint8_t*>(values.data()));
    return values;
  };
  const auto count = [&](LUMEN_TEST_Pattern pattern, auto is) {
    const std::vector<float> values = fill(pattern, 0);
    return std::count_if(values.begin(), values.end(), is);
  };
  const auto isSubnormal = [](float x) { return std::fpclassify(x) == FP_SUBNORMAL; };
  EXPECT_EQ(count(LUMEN_TEST_Pattern::max, [](float x) { return x == Limits::max(); }), 128);
  EXPECT_EQ(count(LUMEN_TEST_Pattern::min, [](float x) { return x == Limits::lowest(); }), 128);
  EXPECT_EQ(count(LUMEN_TEST_Pattern::hot, [](float x) { return x != 0; }), 1);
  EXPECT_EQ(count(LUMEN_TEST_Pattern::alt, [](float x) { return x == Limits::max(); }), 64);
  EXPECT_GT(count(LUMEN_TEST_Pattern::nan, [](float x) { return std::isnan(x); }), 10);
  EXPECT_GT(count(LUMEN_TEST_Pattern::inf, [](float x) { return x == Limits::infinity(); }), 10);
  EXPECT_GT(count(LUMEN_TEST_Pattern::inf, [](float x) { return x == -Limits::infinity(); }), 10);
  EXPECT_GT(count(LUMEN_TEST_Pattern::sub, isSubnormal), 40);
  EXPECT_LT(count(LUMEN_TEST_Pattern::sub, isSubnormal), 120);
  EXPECT_EQ(count(LUMEN_TEST_Pattern::random, [](float x) { return std::isnormal(x); }), 128);
  // Two images of a call do not hold the same.
  for (const auto pattern : {LUMEN_TEST_Pattern::random, LUMEN_TEST_Pattern::alt}) {
    EXPECT_NE(fill(pattern, 0), fill(pattern, 1));
  }
}

TEST_F(Sweep, HealthyFunctionsPassInFull) {
  lumenTestExtras.sweep = LUMEN_TEST_Sweep::full;
  for (const LUMEN_TEST_Function& function : LUMEN_TEST_ABSDIFF_FUNCTIONS) {
    for (const unsigned int slot : {LUMEN_TEST_SLOT_C, LUMEN_TEST_SLOT_VORTA}) {
      EXPECT_EQ(check(*function.description, slot), 0);
      EXPECT_THAT(log(), ElementsAre(HasSubstr(" sweep, 0 of ")));
      const uint32_t column = slot == LUMEN_TEST_SLOT_C ? LUM_IMPL_CPU : LUM_IMPL_VORTA;
      EXPECT_EQ(LUM_IMPL_INDEX[LUM_FN_lumAbsDiffu8], column);  // the slot's mode is set again
    }
  }
}

namespace {

struct Fault {
  const char* what;
  AbsDiffu8* function;
  bool isFoundByQuick = true;
};

// The fault is where `isAt(arguments)` says, in the last pixel.
template <class IsAt>
constexpr AbsDiffu8* wrongWhere(IsAt) {
  return [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
            uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
    const bool isWrong = IsAt()(src1, src2, width, height, srcStride, dst, dstStride);
    lumAbsDiffu8C(src1, src2, width, height, srcStride, dst, dstStride);
    if (isWrong) dst[(height - 1) * dstStride + width - 1] ^= 1;
  };
}

// Names of the arguments that a condition looks at.
#define WRONG_WHERE(condition)                                                              \
  wrongWhere([]([[maybe_unused]] const uint8_t* src1, [[maybe_unused]] const uint8_t* src2, \
                [[maybe_unused]] uint32_t width, [[maybe_unused]] uint32_t height,          \
                [[maybe_unused]] uint32_t srcStride, [[maybe_unused]] const uint8_t* dst,   \
                [[maybe_unused]] uint32_t dstStride) { return condition; })

constexpr Fault kFaults[] = {
    {"a remainder of vectors", WRONG_WHERE(width % 16 == 15 && width > 64)},
    {"rows of one pixel", WRONG_WHERE(width == 1 && height > 4)},
    {"misaligned results", WRONG_WHERE(reinterpret_cast<uintptr_t>(dst) % 2 == 1 && width > 100)},
    {"padded sources alone", WRONG_WHERE(srcStride != width && dstStride == width)},
    {"padded results alone", WRONG_WHERE(srcStride == width && dstStride != width)},
    {"in place of the second source", WRONG_WHERE(dst == src2 && height == 3)},
    {"long packed loops", WRONG_WHERE(width > 500 && height > 1 && srcStride == width)},
    {"the extremes", WRONG_WHERE(width > 8 && src1[5] == 255 && src2[5] == 0)},
    {"a saturated one", WRONG_WHERE(src1[0] == 0 && src1[width - 1] == 255 && src2[0] == 0)},
    {"images that no cache holds", WRONG_WHERE(size_t{width} * height > 690000), false},
    {"source strides taken for the result's",
     [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
        uint32_t srcStride, uint8_t* dst,
        uint32_t) { lumAbsDiffu8C(src1, src2, width, height, srcStride, dst, srcStride); }},
    {"results cleared before the sources are read",
     [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
        uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
       for (uint32_t y = 0; y < height; ++y) std::memset(dst + size_t{y} * dstStride, 0, width);
       lumAbsDiffu8C(src1, src2, width, height, srcStride, dst, dstStride);
     }},
    {"a row that is left out",
     [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
        uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
       if (height > 4) --height;
       lumAbsDiffu8C(src1, src2, width, height, srcStride, dst, dstStride);
     }},
};

}  // namespace

TEST_F(Sweep, FindsPlantedFaultsAndRepeatsThem) {
  AbsDiffu8* const healthy = vortaColumn();
  for (const Fault& fault : kFaults) {
    SCOPED_TRACE(fault.what);
    lumenTestExtras = {};
    lumenTestExtras.sweep = LUMEN_TEST_Sweep::quick;
    vortaColumn() = fault.function;
    EXPECT_EQ(check("lumAbsDiffu8"), fault.isFoundByQuick);
    if (!fault.isFoundByQuick) {  // the full sweep takes long, and has all cases of the quick one
      lumenTestExtras.sweep = LUMEN_TEST_Sweep::full;
      EXPECT_EQ(check("lumAbsDiffu8"), 1);
    }
    const std::vector<std::string> texts = failedCases();
    ASSERT_FALSE(texts.empty());
    EXPECT_LE(texts.size(), 5u);
    for (const std::string& text : texts) {
      EXPECT_EQ(checkCase(text), 1) << text;
      EXPECT_THAT(failedCases(), ElementsAre(text));
    }
    vortaColumn() = healthy;
    for (const std::string& text : texts) EXPECT_EQ(checkCase(text), 0) << text;
  }
}

TEST_F(Sweep, TellsWhereAndHowOften) {
  lumenTestOwnDataRun.dataDirectory = "my data";
  vortaColumn() = WRONG_WHERE(width == 33 && height == 1);
  EXPECT_EQ(check("lumAbsDiffu8"), 1);
  const std::vector<std::string> lines = log();
  ASSERT_EQ(lines.size(), 16u);  // five failures in three lines each, and the sum
  const std::string text = failedCases().front();
  EXPECT_THAT(text, AllOf(StartsWith("lumAbsDiffu8/V/sweep/w33h1")));
  EXPECT_EQ(lines[0], "lumAbsDiffu8_V (" + text + ") =>FAIL");
  EXPECT_THAT(lines[1], testing::MatchesRegex("dst, row 0, element 32: reference [0-9]+, result "
                                              "[0-9]+ \\(1 of 33 elements differ\\)"));
  EXPECT_THAT(lines[2], StartsWith("again: lumenTest 'my data' -m "));
  EXPECT_THAT(lines[2], HasSubstr(" -f lumAbsDiffu8 --case=" + text));
  EXPECT_THAT(lines[15],
              testing::MatchesRegex("lumAbsDiffu8_V sweep, [0-9]+ of [0-9]+ cases failed =>FAIL"));

  // An operation mode has to be asked for.
  EXPECT_EQ(check("lumAbsDiffu8", LUMEN_TEST_SLOT_CPU_PERFORMANCE), 1);
  EXPECT_THAT(log(), Contains(HasSubstr(" -f lumAbsDiffu8 -M 8 --case=lumAbsDiffu8/S/sweep/")));
}

TEST_F(Sweep, FindsSwappedNumbers) {
  LUM_FUNC_TABLE.lumAbsDiffVc3u8.column[LUM_IMPL_VORTA] =
      [](const uint8_t* src, uint8_t value1, uint8_t value2, uint8_t value3, uint32_t width,
         uint32_t height, uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
        lumAbsDiffVc3u8C(src, value1, value3, value2, width, height, srcStride, dst, dstStride);
      };
  EXPECT_EQ(check("lumAbsDiffVc3u8"), 1);
  EXPECT_EQ(check("lumAbsDiffVc4u8"), 0);
}

namespace {

// lumAbsDifff32, with `change` on each result.
template <class Change>
constexpr auto changed(Change) {
  return [](const float* src1, const float* src2, uint32_t width, uint32_t height,
            uint32_t srcStride, float* dst, uint32_t dstStride) {
    for (uint32_t y = 0; y < height; ++y) {
      const float *a = src1 + y * (srcStride / 4), *b = src2 + y * (srcStride / 4);
      float* d = dst + y * (dstStride / 4);
      for (uint32_t x = 0; x < width; ++x) d[x] = Change()(std::fabs(a[x] - b[x]));
    }
  };
}

}  // namespace

TEST_F(Sweep, ComparesFloatsWithinTheToleranceAndByValue) {
  auto& column = LUM_FUNC_TABLE.lumAbsDifff32.column[LUM_IMPL_VORTA];
  column = changed([](float x) { return std::isnan(x) ? -x : x; });  // any NaN, any zero
  EXPECT_EQ(check("lumAbsDifff32"), 0);
  column = changed([](float x) { return std::isnan(x) ? 0 : x; });
  EXPECT_EQ(check("lumAbsDifff32"), 1);
  column = changed([](float x) { return std::isinf(x) ? std::numeric_limits<float>::max() : x; });
  EXPECT_EQ(check("lumAbsDifff32"), 1);
  EXPECT_EQ(check("lumAbsDifff32", LUMEN_TEST_SLOT_VORTA, 1e30f), 1);

  column = changed([](float x) { return x > 1 && x < 1.5f ? x + 0.25f : x; });
  EXPECT_EQ(check("lumAbsDifff32"), 1);
  EXPECT_EQ(check("lumAbsDifff32", LUMEN_TEST_SLOT_VORTA, 0.125f), 1);
  EXPECT_EQ(check("lumAbsDifff32", LUMEN_TEST_SLOT_VORTA, 0.25f), 0);
  // Integers have to be exact, whatever the table says.
  vortaColumn() = WRONG_WHERE(true);
  EXPECT_EQ(check("lumAbsDiffu8", LUMEN_TEST_SLOT_VORTA, 10), 1);
}

namespace {

// Two floats of each image go through `combine`, with subnormals as `flushes` says.
bool flushesOperands, flushesResults;
float flushed(float x, bool flushes) {
  return flushes && std::fpclassify(x) == FP_SUBNORMAL ? 0 : x;
}
constexpr LUMEN_TEST_Image kFloats[] = {
    {.name = "src", .type = LUMEN_TEST_Type::f32},
    {.name = "dst", .type = LUMEN_TEST_Type::f32, .isWritten = true},
};
// The smallest normal numbers less an operand: of a subnormal one, results are subnormal or not.
constexpr LUMEN_TEST_Description kLess = {
    .name = "less",
    .id = LUMEN_FUNC_NONE,
    .scripts = {},
    .images = kFloats,
    .scalars = {},
    .call = [](const LUMEN_TEST_Arguments& a) {
      for (uint32_t x = 0; x < a.width; ++x) {
        const float operand = flushed(a.as<const float>(0)[x], flushesOperands);
        a.as<float>(1)[x] = flushed(0x1.2p-126f - operand, flushesResults);
      }
    }};

}  // namespace

TEST_F(Sweep, TakesSubnormalsForZeroOnlyWhereThatIsAllowedAndOnlyThroughout) {
  LUMEN_TEST_SweepCase c = {.width = 64};
  c.pattern[0] = c.pattern[1] = LUMEN_TEST_Pattern::sub;
  LUMEN_TEST_Layout layout;
  ASSERT_TRUE(LUMEN_TEST_LayOut(kLess, c, layout));
  LUMEN_TEST_CaseMemory memory(LUMEN_MEM_HEAP);
  const auto differing = [&](bool operands, bool results, bool allowed) {
    flushesOperands = flushesResults = false;
    const auto reference = LUMEN_TEST_ReferenceOf(kLess, c, memory, allowed);
    flushesOperands = operands;
    flushesResults = results;
    EXPECT_TRUE(memory.place(kLess, c, layout, 0));
    const auto arguments = LUMEN_TEST_ArgumentsOf(kLess, c, layout, memory.images());
    LUMEN_TEST_FillInputs(kLess, c, layout, arguments);
    kLess.call(arguments);
    return LUMEN_TEST_CompareWithReference(kLess, layout, arguments, *reference, 0).differing;
  };
  EXPECT_EQ(differing(false, false, false), 0u);
  EXPECT_EQ(differing(false, false, true), 0u);
  EXPECT_EQ(differing(true, true, true), 0u);
  EXPECT_GT(differing(true, true, false), 0u);
  EXPECT_GT(differing(false, true, true), 0u);  // between the two
}
