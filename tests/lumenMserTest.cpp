// Regions: what handles and calls refuse, the routines of every instruction set against the
// references, threads, and lack of memory. What is found is the golden rows' business.

#include "lumen/lumenMser.h"

#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "cpu/lumenMserFxp.h"
#include "lumenGuardedMemory.h"
#include "lumenRoutines.h"
#include "lumenTestSupport.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kOwnsMemory = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kOwnsMemory = false;
#else
constexpr bool kOwnsMemory = true;
#endif
#else
constexpr bool kOwnsMemory = true;
#endif

struct Options {
  uint32_t delta = 2, minArea = 5, maxArea = 3000;
  float maxVariation = 3, minDiversity = 0.1f;
  bool nn8 = false;
};

void* makeHandle(uint32_t width, uint32_t height, const Options& o = {}) {
  void* handle = nullptr;
  const int32_t made = (o.nn8 ? lumMserNN8Init : lumMserInit)(
      width, height, o.delta, o.minArea, o.maxArea, o.maxVariation, o.minDiversity, &handle);
  EXPECT_EQ(made, handle != nullptr);
  return handle;
}

// A random surface with some noise, its rows at any address and stride.
struct Picture {
  Picture(uint32_t columns, uint32_t rows, uint32_t seed, uint32_t offset = 0, uint32_t pitch = 0)
      : width(columns), height(rows), stride(pitch ? pitch : columns) {
    bytes.resize(size_t{stride} * height + 32 + offset);
    data = bytes.data() + (32 - reinterpret_cast<uintptr_t>(bytes.data()) % 32) % 32 + offset;
    uint32_t state = seed;
    for (uint32_t y = 0; y < height; ++y) {
      for (uint32_t x = 0; x < stride; ++x) {
        state = state * 1664525 + 1013904223;
        const uint32_t wave = ((x * 3 + seed) % 97) * ((y * 5 + seed) % 61) / 40;
        data[size_t{y} * stride + x] = static_cast<uint8_t>(wave + state % 5 * (state >> 27));
      }
    }
  }
  uint32_t width, height, stride;
  std::vector<uint8_t> bytes;
  uint8_t* data;
};

struct Found {
  uint32_t count = 12345;
  std::vector<uint32_t> sizes = std::vector<uint32_t>(5000), points;
  bool operator==(const Found&) const = default;
};

// `function`: lumMseru8 or lumMserNN8u8, or an implementation of one.
template <class F>
Found findWith(F* function, void* handle, const Picture& picture, uint32_t maxContours = 5000) {
  Found found;
  found.points.resize(40 * size_t{picture.width} * picture.height);
  function(handle, picture.data, picture.width, picture.height, picture.stride, maxContours,
           &found.count, found.sizes.data(), static_cast<uint32_t>(found.points.size() / 2),
           found.points.data());
  return found;
}
Found find(void* handle, const Picture& picture) { return findWith(lumMseru8, handle, picture); }

constexpr char kFailed[] = "E/lumen_lib_log: Failed to initialize MSER handle!\n";

}  // namespace

TEST(Mser, RefusesSmallHandles) {
  RecordedLog log;
  EXPECT_EQ(makeHandle(50, 100), nullptr);
  EXPECT_THAT(log.take(), ElementsAre("E/lumen_lib_log: ERROR: image width must be greater than 50 "
                                      "for MSER.\n",
                                      kFailed));
  EXPECT_EQ(makeHandle(65536 + 51, 5, {.nn8 = true}), nullptr);
  EXPECT_THAT(log.take(), ElementsAre("E/lumen_lib_log: ERROR: image height must be greater than 5 "
                                      "for MSER.\n",
                                      kFailed));
  void* const least = makeHandle(51, 6, {.minArea = 195, .maxArea = 197});
  ASSERT_NE(least, nullptr);
  lumMserRelease(least);
  EXPECT_THAT(log.take(), IsEmpty());
}

TEST(MserDeathTest, EndsTheProcessOnParametersOutsideTheirRange) {
  const auto ends = [](uint32_t width, const Options& options) {
    EXPECT_EXIT(makeHandle(width, 60, options), testing::ExitedWithCode(1),
                "E/lumen_lib_log: .*@[0-9]+: \\( \\( pHandle->nStride&\\(32-1\\)\\) == 0 \\) && .* "
                "Assertion failed");
  };
  ends(60, {.delta = 0});
  ends(60, {.delta = 256});
  ends(60, {.minArea = 58 * 58, .maxArea = 5000});
  ends(60, {.minArea = 9, .maxArea = 10});
  ends(60, {.maxVariation = 0});
  ends(60, {.minDiversity = 256});
  ends(8161, {});
  ends(65530, {});  // its stride would be 0 in 16 bits
}

TEST(Mser, RefusesArguments) {
  RecordedLog log;
  const Picture picture(60, 40, 1);
  void* const handle = makeHandle(60, 40);
  uint32_t count = 7, sizes[4], points[8], extended[4];
  int32_t polarity[4];
  uint16_t rects[16], points16[8];
  lumMserRelease(nullptr);
  EXPECT_EQ(lumMserInit(60, 40, 2, 5, 50, 1, 1, nullptr), 0);
  lumMseru8(handle, nullptr, 60, 40, 60, 4, &count, sizes, 4, points);
  lumMserExtu8(handle, picture.data, 60, 40, 60, 4, &count, sizes, points, 4, extended, polarity,
               extended, nullptr);
  EXPECT_EQ(lumMserExtu8_v3(handle, picture.data, 60, 40, 60, 4, &count, sizes, nullptr, points16,
                            4, extended, polarity, extended, extended),
            0);
  EXPECT_EQ(lumMserSplitExtu8(handle, picture.data, 60, 40, 60, 4, &count, nullptr, sizes, rects,
                              points16, 4, extended, extended, extended),
            0);
  const std::string failed = "E/lumen_lib_log: Assertion failed @";
  const std::string some = ": mserHandle && srcPtr && ",
                    last = "contourNodeId && contourNodeCounter\n";
  EXPECT_THAT(
      log.take(),
      ElementsAre(
          failed + "lumMserRelease: mserHandle\n", failed + "lumMserInit: mserHandle\n",
          failed + "lumMseru8" + some + "numContours && numPointsInContour && pointsArray\n",
          failed + "lumMserExtu8" + some +
              "numContours && numPointsInContour && pointsArray && contourVariation && "
              "contourPolarity && " +
              last,
          failed + "lumMserExtu8_v3" + some +
              "numContours && numPointsInContour && boundingRects && pointsArray && "
              "contourVariation && contourPolarity && " +
              last,
          failed + "lumMserSplitExtu8" + some +
              "numContoursMinus && numContoursPlus && numPointsInContour && boundingRects && "
              "pointsArray && contourVariation && " +
              last));

  // A handle of the other kind, an image too large, rows that overlap: nothing is written.
  void* const nn8 = makeHandle(60, 40, {.nn8 = true});
  EXPECT_EQ(find(nn8, picture).count, 12345u);
  EXPECT_EQ(findWith(lumMserNN8u8, handle, picture).count, 12345u);
  EXPECT_EQ(find(handle, Picture(61, 40, 1)).count, 12345u);
  EXPECT_EQ(find(handle, Picture(60, 41, 1)).count, 12345u);
  EXPECT_EQ(find(handle, Picture(60, 40, 1, 0, 59)).count, 12345u);
  EXPECT_THAT(log.take(), IsEmpty());
  lumMserRelease(nn8);
  lumMserRelease(handle);
}

// A smaller image leaves the handle as it was, and a stride of 0 means rows without gaps.
TEST(Mser, ServesImagesOfSeveralSizes) {
  void* const handle = makeHandle(130, 90);
  const Picture large(130, 90, 3), small(70, 33, 4);
  const Found first = find(handle, large), little = find(handle, small);
  EXPECT_GT(first.count, 5u);
  EXPECT_GT(little.count, 0u);
  Picture packed = large;
  packed.stride = 0;
  packed.data = packed.bytes.data() + (large.data - large.bytes.data());
  EXPECT_EQ(find(handle, packed).sizes, first.sizes);
  EXPECT_EQ(find(handle, large), first);
  EXPECT_EQ(find(handle, small), little);
  lumMserRelease(handle);
}

// In place or copied is the same, but that in place the stride is not asked.
TEST(Mser, SearchesAlignedImagesInPlace) {
  void* const handle = makeHandle(96, 60);
  const Found aligned = find(handle, Picture(96, 60, 5));
  EXPECT_GT(aligned.count, 5u);
  EXPECT_EQ(find(handle, Picture(96, 60, 5, 1)), aligned);
  Picture gaps(96, 60, 6, 0, 100), apart(96, 60, 6, 1, 100);
  const Found closeUp = find(handle, gaps), right = find(handle, apart);
  gaps.stride = 96;
  EXPECT_EQ(find(handle, gaps), closeUp);
  EXPECT_FALSE(right == closeUp);
  lumMserRelease(handle);
}

// Every instruction set lays out the same words and counts, from an image between guard pages.
TEST(Mser, PreProcessesAlike) {
  const auto check = [](auto* reference, const auto& vector, auto word) {
    using Word = decltype(word);
    struct Size {
      uint32_t width, height;
    };
    for (const Size& size : {Size{51, 6}, {64, 9}, {97, 7}, {32, 3}, {3, 4}}) {
      const uint32_t width = size.width, height = size.height;
      const uint32_t stride = (width + 31) / 32 * 32;
      const lumGuardedMemory memory(size_t{stride} * height), words(size_t{stride} * height * 4);
      for (const lumFence fence : {lumFence::before, lumFence::after}) {
        uint8_t* const image = memory.place(size_t{stride} * height, fence);
        const Picture picture(stride, height, width);
        std::copy_n(picture.data, size_t{stride} * height, image);
        Word* const mask =
            reinterpret_cast<Word*>(words.place(size_t{stride} * height * sizeof(Word), fence));
        const auto run = [&](auto* routine) {
          std::vector<uint32_t> all(MSER_LEVELS);
          routine(image, width, height, stride, mask, all.data());
          for (uint32_t y = 0; y < height; ++y) {
            all.insert(all.end(), mask + y * stride, mask + y * stride + width);
          }
          return all;
        };
        const std::vector<uint32_t> want = run(reference);
        for (uint32_t target = 0; target < LUM_VECTOR_TARGET_COUNT; ++target) {
          if (!lumHasVectorTarget(static_cast<lumVectorTarget>(target))) continue;
          if (!vector.target[target]) continue;
          EXPECT_EQ(run(vector.target[target]), want) << width;
        }
      }
    }
  };
  check(MSER_PreProcessPlusC, MSER_PreProcessPlusV, uint16_t());
  check(MSER_PreProcessMinusC, MSER_PreProcessMinusV, uint16_t());
  check(MSER_NN8_PreProcessPlusC, MSER_NN8_PreProcessPlusV, uint32_t());
  check(MSER_NN8_PreProcessMinusC, MSER_NN8_PreProcessMinusV, uint32_t());
}

TEST(Mser, BoundsAlike) {
  const lumGuardedMemory memory(4096);
  for (uint32_t count = 1; count < 130; ++count) {
    uint16_t* const points =
        reinterpret_cast<uint16_t*>(memory.place(4 * size_t{count}, lumFence::after));
    for (uint32_t k = 0; k < 2 * count; ++k) points[k] = static_cast<uint16_t>(k * 40503 + count);
    points[count] = count % 2 ? 0 : 65535;
    uint16_t want[8];
    MSER_boundBoxC(points, count, want);
    MSER_boundBox_v3C(points, count, want + 4);
    EXPECT_EQ(want[6], static_cast<uint16_t>(want[2] - want[0] + 1));
    for (uint32_t target = 0; target < LUM_VECTOR_TARGET_COUNT; ++target) {
      if (!MSER_boundBoxV.target[target]) continue;
      if (!lumHasVectorTarget(static_cast<lumVectorTarget>(target))) continue;
      uint16_t got[8];
      MSER_boundBoxV.target[target](points, count, got);
      MSER_boundBox_v3V.target[target](points, count, got + 4);
      EXPECT_THAT(got, testing::ElementsAreArray(want)) << count;
    }
  }
}

TEST(Mser, FindsAlikeInEveryColumnAndOnThreads) {
  const Picture picture(333, 170, 7);
  for (const bool nn8 : {false, true}) {
    void* const handle = makeHandle(333, 170, {.maxArea = 30000, .nn8 = nn8});
    lumMserSetThreading(handle, 0);
    const Found want = findWith(nn8 ? lumMserNN8u8STC : lumMseru8FxpSTC, handle, picture);
    EXPECT_GT(want.count, 20u);
    for (const uint32_t threading : {0u, 1u}) {
      lumMserSetThreading(handle, threading);
      EXPECT_EQ(findWith(nn8 ? lumMserNN8u8 : lumMseru8, handle, picture), want);
      for (uint32_t target = 0; target < LUM_VECTOR_TARGET_COUNT; ++target) {
        auto* const vector = (nn8 ? lumMserNN8u8STV : lumMseru8FxpSTV).target[target];
        if (!vector || !lumHasVectorTarget(static_cast<lumVectorTarget>(target))) continue;
        EXPECT_EQ(findWith(vector, handle, picture), want);
      }
    }
    lumMserRelease(handle);
  }
}

// So many points that copying them is spread over threads.
TEST(Mser, CopiesOnThreads) {
  const Picture picture(640, 480, 8);
  void* const handle = makeHandle(640, 480, {.delta = 1, .minArea = 100, .maxArea = 200000});
  lumMserSetThreading(handle, 0);
  const Found alone = find(handle, picture);
  uint64_t points = 0;
  for (const uint32_t size : alone.sizes) points += size;
  EXPECT_GT(points, uint64_t{1} << 16);
  lumMserSetThreading(handle, 1);
  EXPECT_EQ(find(handle, picture), alone);
  lumMserRelease(handle);
}

TEST(Mser, ServesManyThreadsWithHandlesOfTheirOwn) {
  const Picture pictures[] = {Picture(150, 120, 9), Picture(120, 100, 10)};
  void* const handle = makeHandle(150, 120);
  const Found want[] = {find(handle, pictures[0]), find(handle, pictures[1])};
  lumMserRelease(handle);
  std::vector<std::thread> threads;
  for (int k = 0; k < 8; ++k) {
    threads.emplace_back([&, k] {
      void* const own = makeHandle(150, 120);
      for (int i = k; i < k + 4; ++i) EXPECT_EQ(find(own, pictures[i % 2]), want[i % 2]);
      lumMserRelease(own);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// Each kept region is one of those found with more room, and both polarities are cut as told.
TEST(Mser, LogsWhatIsLeftOut) {
  const Picture picture(200, 120, 11);
  void* const handle = makeHandle(200, 120);
  lumMserSetThreading(handle, 0);
  const Found all = find(handle, picture);
  ASSERT_GT(all.count, 10u);
  RecordedLog log;
  EXPECT_EQ(findWith(lumMseru8, handle, picture, all.count - 1).count, all.count - 1);
  EXPECT_THAT(log.take(),
              ElementsAre("E/lumen_lib_log: ERROR: extracted contours exceed the maximum number "
                          "allowed of " +
                          std::to_string(all.count - 1) + ". Please increase maxContours.\n"));
  EXPECT_EQ(findWith(lumMseru8, handle, picture, 3).count, 2u);
  const auto over = [](const char* sign) {
    return std::vector<std::string>{
        "E/lumen_lib_log: ERROR: maxContours = 3,  detected more MSER regions beyond this "
        "capacity. Please consider increasing maxContours.\n",
        std::string("E/lumen_lib_log: ERROR: failed to extract MSER") + sign + ".\n"};
  };
  std::vector<std::string> want = over("-");
  for (const std::string& line : over("+")) want.push_back(line);
  want.push_back(
      "E/lumen_lib_log: ERROR: extracted contours exceed the maximum number allowed of 3. Please "
      "increase maxContours.\n");
  EXPECT_EQ(log.take(), want);

  uint32_t count = 9, sizes[5000], points[2];
  lumMseru8(handle, picture.data, 200, 120, 200, 5000, &count, sizes, 1, points);
  EXPECT_EQ(count, 0u);
  EXPECT_THAT(log.take(),
              ElementsAre(testing::MatchesRegex(
                  "E/lumen_lib_log: ERROR: [0-9]+ contour points extracted. Exceeds the maximum "
                  "number of 1 points allowed in the contour output buffers. Please increase "
                  "pointsArraySize.\n")));
  lumMserRelease(handle);
}

// Rows of pixels by multiplication: exact wherever a region can be.
TEST(Mser, DividesByEveryStride) {
  for (uint32_t stride = 32; stride <= 8160; stride += 32) {
    const MSER_cRowOf rowOf(stride);
    for (uint32_t y = 0; y < 65536; y += y < 64 || y > 65500 ? 1 : 97) {
      for (const uint32_t x : {1u, stride / 2, stride - 1}) {
        uint32_t point[2];
        rowOf.write(y * stride + x, point);
        ASSERT_THAT(point, ElementsAre(x, y)) << stride;
      }
    }
  }
}

// The largest list of what is said of regions is more than the library's allocator gives.
TEST(Mser, EndsACallWithoutMemoryForExt) {
  RecordedLog log;
  const Picture picture(60, 40, 12);
  void* const handle = makeHandle(60, 40);
  uint32_t count = 7, sizes[4], points[8], extended[4];
  int32_t polarity[4];
  const auto call = [&](uint32_t maxContours) {
    lumMserExtu8(handle, picture.data, 60, 40, 60, maxContours, &count, sizes, points, 4, extended,
                 polarity, extended, extended);
  };
  if (sizeof(void*) == 4 || !kOwnsMemory) return lumMserRelease(handle);
  call(1u << 28);
  EXPECT_EQ(count, 0u);
  EXPECT_THAT(log.take(), ElementsAre("E/lumen_lib_log: ERROR: Failed to allocate memory for ext "
                                      "information.\n"));
  call(0);  // and the handle is good as ever
  EXPECT_THAT(log.take(), testing::Contains(testing::HasSubstr("detected more MSER regions")));
  lumMserRelease(handle);
}

TEST(Mser, LogsWhatItHasNoMemoryFor) {
  LUM_NEEDS_OWN_PROCESS();
  if (!kOwnsMemory || LUMEN_EMULATOR[0]) GTEST_SKIP() << "memory cannot be limited here";
  const Picture picture(301, 200, 13);
  void* const handle = makeHandle(301, 200);
  const Found want = find(handle, picture);
  RecordedLog log;
  Found alone, none;
  alone.points.resize(want.points.size());
  none.points.resize(16);

  // Less than the stack of a thread more than there is.
  std::ifstream statm("/proc/self/statm");
  size_t pages = 0;
  statm >> pages;
  rlimit limit;
  getrlimit(RLIMIT_AS, &limit);
  const rlim_t before = limit.rlim_cur;
  limit.rlim_cur = pages * static_cast<size_t>(sysconf(_SC_PAGESIZE)) + (6u << 20);
  setrlimit(RLIMIT_AS, &limit);
  lumMseru8(handle, picture.data, 301, 200, 301, 5000, &alone.count, alone.sizes.data(),
            static_cast<uint32_t>(alone.points.size() / 2), alone.points.data());
  lumMseru8(handle, picture.data, 301, 200, 301, 20000000, &none.count, none.sizes.data(), 8,
            none.points.data());
  void* other = nullptr;
  const int32_t made = lumMserInit(4000, 3000, 2, 5, 50, 1, 0.5f, &other);
  limit.rlim_cur = before;
  setrlimit(RLIMIT_AS, &limit);

  EXPECT_EQ(alone, want);
  EXPECT_EQ(none.count, 0u);
  EXPECT_EQ(made, 0);
  EXPECT_EQ(other, nullptr);
  EXPECT_THAT(log.take(),
              ElementsAre("E/lumen_lib_log: ERROR: Failed to allocate memory of 160000000 bytes.\n",
                          "E/lumen_lib_log: ERROR: out of memory initializing MSER.\n", kFailed));
  lumMserRelease(handle);
}
