// FAST corners: the references against the definition, and the vector implementations of every
// instruction set that this machine has against the references.

#include "lumenFast.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <vector>

#include "cpu/lumenFastArc.h"
#include "lumenGuardedMemory.h"
#include "lumenTestDriverSupport.h"
#include "lumenTestFast.h"
#include "lumenVector.h"

namespace {

using testing::ElementsAre;

// What a search gives: lists, and what lies behind them.
struct Found {
  std::vector<uint32_t> xy, scores;
  uint32_t count = 77;
  bool operator==(const Found&) const = default;
};

// A search on an image in guarded memory: the fence tells which end of it is flush.
struct Scene {
  lumGuardedMemory memory{1 << 19};
  lumGuardedImage<uint8_t> image;
  int32_t barrier = 20;
  uint32_t border = 3, capacity = 4000;

  Scene(uint32_t width, uint32_t height, uint32_t gap, lumFence fence)
      : image(memory, width, height, gap, fence) {}
  uint32_t width() const { return static_cast<uint32_t>(image.width()); }

  template <class Call>
  Found find(Call call) const {
    Found found;
    found.xy.assign(2 * size_t{std::max(capacity, 1u)} + 2, 9);
    found.scores.assign(size_t{std::max(capacity, 1u)} + 1, 9);
    call(found);
    return found;
  }
  template <class F>
  Found plain(F* f) const {
    return find([&](Found& o) {
      f(image.data(), width(), image.height(), image.stride(), barrier, border, o.xy.data(),
        capacity, &o.count);
    });
  }
  template <class F>
  Found masked(F* f, const std::vector<uint8_t>& mask, uint32_t w, uint32_t h) const {
    return find([&](Found& o) {
      f(image.data(), width(), image.height(), image.stride(), barrier, border, o.xy.data(),
        capacity, &o.count, mask.data(), w, h);
    });
  }
  template <class F>
  Found suppressed(F* f, uint32_t nms = 1) const {
    std::vector<uint32_t> work(3 * size_t{capacity} + image.height());
    return find([&](Found& o) {
      f(image.data(), width(), image.height(), image.stride(), barrier, border, o.xy.data(),
        o.scores.data(), capacity, &o.count, nms, work.data());
    });
  }
};

// Calls `check` with each vector implementation that this machine can run.
template <class F, class Check>
void forVectors(const lumVectorSet<F>& set, Check check) {
  for (uint32_t target = 0; target < LUM_VECTOR_TARGET_COUNT; ++target) {
    if (!set.target[target] || !lumHasVectorTarget(static_cast<lumVectorTarget>(target))) continue;
    SCOPED_TRACE(LUM_VECTOR_TARGET_NAME[target]);
    check(set.target[target]);
  }
}

// Contents that vector code finds hard, by number.
constexpr int kContents = 6;
uint8_t pixelOf(int content, size_t x, uint32_t y, std::minstd_rand& random) {
  const auto noise = static_cast<uint32_t>(random() >> 8);
  switch (content) {
    case 0:  // noise
      return static_cast<uint8_t>(noise);
    case 1:  // checkerboard
      return (x / 4 + y / 4) % 2 ? 230 : 20;
    case 2:  // rings that get narrower
      return static_cast<uint8_t>((x * x + y * y) / 8);
    case 3:  // few bright pixels on a dark ground: corners everywhere around them
      return noise % 23 == 0 ? 255 : static_cast<uint8_t>(noise % 3);
    case 4:  // small boxes
      return x / 6 % 3 == 0 && y / 5 % 2 == 0 ? 180 : 60;
    default:  // near the end of the range
      return static_cast<uint8_t>(noise % 2 ? 250 + noise / 2 % 6 : noise / 2 % 256);
  }
}

}  // namespace

TEST(Fast, VectorsEqualReferencesOnAllSizesBordersAndContents) {
  std::vector<uint32_t> widths;
  for (uint32_t width = 7; width < 150; width += width < 90 ? 1 : 7) widths.push_back(width);
  // Rows that are searched in parts, and those too wide for rows of strengths.
  widths.insert(widths.end(), {4090, 4101, 4163, 8172, 8192, 8201, 16340, 59870});
  for (const lumFence fence : {lumFence::before, lumFence::after}) {
    for (const uint32_t width : widths) {
      Scene scene(width, 7 + width % 5, width % 3, fence);
      std::minstd_rand random(width);
      const int content = static_cast<int>(width) % kContents;
      scene.image.fill([&](size_t x, uint32_t y) { return pixelOf(content, x, y, random); });
      const int32_t barriers[] = {0, 20, 40, 254, -3};
      scene.barrier = barriers[width % 5];
      scene.border = 3 + width % 2 * (width > 8 && scene.image.height() > 8);
      scene.capacity = width % 7 == 0 ? width % 3 : 20 * width;
      SCOPED_TRACE(testing::Message() << width << " content " << content);
      const auto compare = [&](auto* reference, const auto& vectors, auto run) {
        const Found want = run(reference);
        forVectors(vectors, [&](auto* f) { ASSERT_EQ(run(f), want); });
      };
      const auto plain = [&](auto* f) { return scene.plain(f); };
      compare(lumCornerFast9u8C, lumCornerFast9u8V, plain);
      compare(lumCornerFast10u8C, lumCornerFast10u8V, plain);
      for (const uint32_t nms : {0u, 1u}) {
        const auto suppressed = [&](auto* f) { return scene.suppressed(f, nms); };
        compare(lumCornerFast9Scoreu8_v2C, lumCornerFast9Scoreu8_v2V, suppressed);
        compare(lumCornerFast10Scoreu8C, lumCornerFast10Scoreu8V, suppressed);
      }
      if (HasFatalFailure()) return;
    }
  }
}

// Of rows that are searched at once, flat and full ones.
TEST(Fast, SearchesMayEndInAnyRow) {
  Scene scene(1003, 90, 5, lumFence::after);
  std::minstd_rand random(1);
  scene.image.fill([&](size_t x, uint32_t y) -> uint8_t {
    if (y % 60 >= 45) return pixelOf(0, x, y, random);
    return x % 331 < 5 && y % 20 < 5 ? 200 : 100;
  });
  scene.barrier = 30;
  const auto plain = [&](auto* f) { return scene.plain(f); };
  const auto suppressed = [&](auto* f) { return scene.suppressed(f, 1); };
  scene.capacity = 100000;
  const uint32_t all = plain(lumCornerFast9u8C).count;
  EXPECT_GT(all, 1000u);
  for (uint32_t part = 0; part <= 8; ++part) {
    scene.capacity = part * all / 8 + 1;
    SCOPED_TRACE(scene.capacity);
    const Found corners = plain(lumCornerFast9u8C), kept = suppressed(lumCornerFast9Scoreu8_v2C);
    forVectors(lumCornerFast9u8V, [&](auto* f) { EXPECT_EQ(plain(f), corners); });
    forVectors(lumCornerFast9Scoreu8_v2V, [&](auto* f) { EXPECT_EQ(suppressed(f), kept); });
  }
}

TEST(Fast, MasksOfAllScalesExcludeTheirPlaces) {
  Scene scene(48, 40, 1, lumFence::after);
  std::minstd_rand random(1);
  scene.image.fill([&](size_t x, uint32_t y) { return pixelOf(0, x, y, random); });
  scene.barrier = 4;
  const Found all = scene.plain(lumCornerFast9u8C);
  for (const auto& [times, divided] :
       {std::pair(1u, 1u), {2u, 1u}, {4u, 1u}, {8u, 1u}, {1u, 2u}, {1u, 4u}, {1u, 8u}}) {
    const uint32_t w = 48 * times / divided, h = 40 * times / divided;
    std::vector<uint8_t> mask(size_t{(w + 7) / 8} * h);
    for (uint8_t& byte : mask) byte = static_cast<uint8_t>(random() >> 9);
    std::vector<uint32_t> want;
    for (size_t i = 0; i < 2 * size_t{all.count}; i += 2) {
      const uint32_t mx = all.xy[i] * times / divided, my = all.xy[i + 1] * times / divided;
      if (mask[my * ((w + 7) / 8) + mx / 8] >> (7 - mx % 8) & 1) continue;
      want.insert(want.end(), {all.xy[i], all.xy[i + 1]});
    }
    ASSERT_FALSE(want.empty());
    const auto check = [&](auto* f) {
      Found found = scene.masked(f, mask, w, h);
      found.xy.resize(2 * size_t{found.count});
      EXPECT_EQ(found.xy, want) << w << "x" << h;
    };
    check(lumCornerFast9InMasku8C);
    forVectors(lumCornerFast9InMasku8V, check);
  }
  const std::vector<uint8_t> mask(size_t{12} * 80);
  const auto findsNothing = [&](auto* f) {
    EXPECT_EQ(scene.masked(f, mask, 96, 40).count, 0u);
    EXPECT_EQ(scene.masked(f, mask, 96, 20).count, 0u);
    EXPECT_EQ(scene.masked(f, mask, 47, 40).count, 0u);
  };
  findsNothing(lumCornerFast10InMasku8C);
  forVectors(lumCornerFast10InMasku8V, findsNothing);
}

namespace {

// A 7 x 7 image with one centre, and its circle.
struct Circle {
  uint8_t pixels[49] = {};
  int32_t offsets[LUM_CIRCLE];

  Circle() { make_offsets(offsets, 7); }
  const uint8_t* centre() const { return pixels + 24; }
  uint8_t& at(int i) { return pixels[24 + offsets[i % LUM_CIRCLE]]; }
};

// The definition, arc by arc.
bool isCorner(Circle& circle, int arc, int32_t barrier) {
  for (int begin = 0; begin < LUM_CIRCLE; ++begin) {
    bool bright = true, dark = true;
    for (int i = begin; i < begin + arc; ++i) {
      bright &= circle.at(i) > *circle.centre() + barrier;
      dark &= circle.at(i) < *circle.centre() - barrier;
    }
    if (bright || dark) return true;
  }
  return false;
}

}  // namespace

TEST(Fast, ArcsOfTheLengthAreCornersAndShorterOnesAreNot) {
  for (int length = 1; length <= LUM_CIRCLE; ++length) {
    for (int begin = 0; begin < LUM_CIRCLE; ++begin) {
      for (const int step : {21, -21, 20, -20}) {
        Circle circle;
        std::fill_n(circle.pixels, 49, uint8_t{100});
        for (int i = begin; i < begin + length; ++i)
          circle.at(i) = static_cast<uint8_t>(100 + step);
        const bool isBeyond = std::abs(step) > 20;
        EXPECT_EQ(lumIsCorner<9>(circle.centre(), circle.offsets, 20), isBeyond && length >= 9);
        EXPECT_EQ(lumIsCorner<10>(circle.centre(), circle.offsets, 20), isBeyond && length >= 10);
      }
    }
  }
}

// Every barrier that the bisection may begin with, its ends and beyond, also where there is no
// corner at all.
TEST(Fast, ScoresEqualTheBisectionFromEveryBarrier) {
  std::minstd_rand random(3);
  for (int round = 0; round < 40; ++round) {
    Circle circle;
    for (uint8_t& pixel : circle.pixels) {
      const auto noise = static_cast<uint32_t>(random() >> 7);
      pixel = static_cast<uint8_t>(round % 4 == 0   ? noise
                                   : round % 4 == 1 ? noise % 2 * 255
                                   : round % 4 == 2 ? 255 - noise % 4
                                                    : 90 + noise % 40);
    }
    if (round % 5 == 0) circle.pixels[24] = round % 2 ? 255 : 0;
    int32_t best9 = -300, best10 = -300;
    for (int32_t barrier = -300; barrier <= 300; ++barrier) {
      if (isCorner(circle, 9, barrier)) best9 = barrier;
      if (isCorner(circle, 10, barrier)) best10 = barrier;
    }
    for (int32_t barrier = -300; barrier <= 300; ++barrier) {
      const auto check = [&](lumCornerScore* score, int32_t best) {
        ASSERT_EQ(static_cast<int32_t>(score(circle.centre(), circle.offsets, barrier)),
                  std::max(barrier, best));
      };
      check(fast9_corner_scoreC, best9);
      check(fast10_corner_scoreC, best10);
      forVectors(fast9_corner_scoreV, [&](lumCornerScore* score) { check(score, best9); });
      forVectors(fast10_corner_scoreV, [&](lumCornerScore* score) { check(score, best10); });
      if (HasFatalFailure()) return;
    }
  }
}

TEST(Fast, SuppressionKeepsWhatNoNeighbourIsAsStrongAs) {
  std::minstd_rand random(5);
  for (int round = 0; round < 300; ++round) {
    constexpr uint32_t kSide = 14;
    const uint32_t density = 1 + static_cast<uint32_t>(round) % 10;
    std::vector<uint32_t> xy, scores, rowStart(kSide), outXY(500), outScores(250), wantXY,
        wantScores;
    int64_t score[kSide + 2][kSide + 2];
    std::fill_n(&score[0][0], (kSide + 2) * (kSide + 2), -1);
    for (uint32_t y = 0; y < kSide; ++y) {
      for (uint32_t x = 0; x < kSide; ++x) {
        if (random() / 256 % 10 >= density || (round % 3 == 0 && y % 3 == 1)) continue;
        xy.insert(xy.end(), {x, y});
        scores.push_back(static_cast<uint32_t>(random() / 256 % 4));
        score[y + 1][x + 1] = scores.back();
      }
    }
    for (size_t i = 0; i < scores.size(); ++i) {
      const uint32_t x = xy[2 * i], y = xy[2 * i + 1];
      bool isKept = true;
      for (uint32_t k = 0; k < 9; ++k) {
        isKept &= k == 4 || score[y + k / 3][x + k % 3] < score[y + 1][x + 1];
      }
      if (!isKept) continue;
      wantXY.insert(wantXY.end(), {x, y});
      wantScores.push_back(scores[i]);
    }
    uint32_t count = 77;
    nms_processing(xy.data(), scores.data(), rowStart.data(), static_cast<uint32_t>(scores.size()),
                   outXY.data(), outScores.data(), &count);
    outXY.resize(2 * size_t{count});
    outScores.resize(count);
    ASSERT_EQ(outXY, wantXY);
    ASSERT_EQ(outScores, wantScores);
  }
}

TEST(Fast, RefusalsQuoteTheirConditionsAndWriteNothing) {
  lumSetOperationMode(LUM_OP_TARGET_FLAG | LUMEN_UNIT_VORTA);
  const uint8_t src[100] = {};
  uint32_t xy[2] = {5, 5}, scores[1] = {5}, count = 5, work[40];
  const CapturedLog log;
  lumCornerFast9u8(src, 10, 10, 9, 20, 3, xy, 1, &count);
  lumCornerFast9InMasku8(src, 10, 10, 0, 20, 5, xy, 1, &count, src, 10, 10);
  lumCornerFast9Scoreu8(src, 10, 6, 0, 20, 0, xy, scores, 1, &count);
  lumCornerFast9InMaskScoreu8(src, 10, 10, 0, 20, 0, xy, nullptr, 1, &count, src, 10, 10);
  lumCornerFast9Scoreu8_v2(src, 10, 10, 0, 20, 0x80000000u, xy, scores, 1, &count, 1, work);
  lumCornerFast9InMaskScoreu8_v2(src, 10, 10, 0, 20, 0, xy, scores, 1, &count, nullptr, 10, 10, 0,
                                 nullptr);
  lumCornerFast10u8(nullptr, 10, 10, 0, 20, 0, xy, 1, &count);
  lumCornerFast10InMasku8(src, 10, 10, 0, 20, 0, xy, 1, &count, nullptr, 10, 10);
  lumCornerFast10Scoreu8(src, 10, 10, 0, 20, 0, nullptr, scores, 1, &count, 0, nullptr);
  lumCornerFast10InMaskScoreu8(src, 10, 10, 0, 20, 0, xy, scores, 1, nullptr, src, 10, 10, 0,
                               nullptr);
  const std::string nine = "stride >= width && border*2 < width && border*2 < height\n",
                    ten = "srcStride >= srcWidth && border*2 < srcWidth && border*2 < srcHeight\n",
                    failed = "E/lumen_lib_log: Assertion failed @lumCornerFast";
  EXPECT_THAT(
      CapturedLog::lines(),
      ElementsAre(
          failed + "9u8: src && xy && numcorners && " + nine,
          failed + "9InMasku8: src && xy && numcorners && bitMask && " + nine,
          failed + "9Scoreu8: src && xy && scores && numcorners && " + nine,
          failed + "9InMaskScoreu8: src && xy && scores && numcorners && bitMask && " + nine,
          failed + "9Scoreu8_v2: src && xy && scores && numcorners && " + nine,
          failed + "9InMaskScoreu8_v2: src && xy && scores && numcorners && bitMask && " + nine,
          failed + "10u8: src && xy && nCorners && " + ten,
          failed + "10InMasku8: src && xy && nCorners && mask && " + ten,
          failed + "10Scoreu8: src && xy && scores && nCorners && " + ten,
          failed + "10InMaskScoreu8: src && xy && scores && nCorners && mask && " + ten));
  EXPECT_THAT(xy, ElementsAre(5, 5));
  EXPECT_EQ(count, 5u);
}

TEST(FastDeathTest, SuppressionNeedsItsWorkArea) {
  const std::vector<uint8_t> src(100);
  uint32_t xy[2], scores[1], count = 5;
  const auto dies = [&](auto* f, const char* place) {
    EXPECT_EXIT(f(src.data(), 10, 10, 10, 20, 3, xy, scores, 1, &count, 1, nullptr),
                testing::ExitedWithCode(1), std::string(place) + ": tempBuf Assertion failed");
  };
  const auto diesMasked = [&](auto* f, const char* place) {
    EXPECT_EXIT(
        f(src.data(), 10, 10, 10, 20, 3, xy, scores, 1, &count, src.data(), 10, 10, 1, nullptr),
        testing::ExitedWithCode(1), std::string(place) + ": tempBuf Assertion failed");
  };
  dies(lumCornerFast9Scoreu8_v2C, "src/cpu/lumenFastC.cpp@3097");
  diesMasked(lumCornerFast9InMaskScoreu8_v2C, "src/cpu/lumenFastC.cpp@3143");
  dies(lumCornerFast10Scoreu8C, "src/cpu/lumenFast10C.cpp@1529");
  diesMasked(lumCornerFast10InMaskScoreu8C, "src/cpu/lumenFast10C.cpp@1653");
  forVectors(lumCornerFast9Scoreu8_v2V, [&](auto* f) { dies(f, "src/cpu/lumenFastC.cpp@3097"); });
}

TEST(Fast, ExplanationsNameTheFirstCornerThatDiffers) {
  using Form = LUMEN_TEST_FastScored;
  constexpr auto kDescription = Form::of<lumCornerFast9Scoreu8, LUMEN_FUNC_lumCornerFast9Scoreu8>();
  struct List {
    uint32_t count, xy[6], scores[3];
  };
  const auto explain = [&](List got, List want) {
    const auto argumentsOf = [](List& list) {
      LUMEN_TEST_Arguments a = {};
      a.setValue(Form::kCapacity, 3u);
      a.image[Form::kXY] = list.xy;
      a.image[Form::kScores] = list.scores;
      a.image[Form::kCount] = &list.count;
      return a;
    };
    const CapturedLog log;
    kDescription.explain(argumentsOf(got), argumentsOf(want));
    return testing::PrintToString(CapturedLog::lines());
  };
  const List want = {2, {5, 6, 7, 8}, {30, 40}};
  using testing::HasSubstr;
  const auto says = [](const std::string& text) {
    return HasSubstr("lumCornerFast9Scoreu8: " + text + "\"");
  };
  EXPECT_THAT(explain({2, {5, 6, 7, 9}, {31, 40}}, want),
              says("corner 0 of 2 is (5, 6) with 31 instead of (5, 6) with 30"));
  EXPECT_THAT(explain({2, {5, 6, 8, 8}, {30, 40}}, want),
              says("corner 1 of 2 is (8, 8) with 40 instead of (7, 8) with 40"));
  EXPECT_THAT(explain({1, {5, 6}, {30}}, want),
              says("corner 1 of 1 is none instead of (7, 8) with 40"));
  EXPECT_THAT(explain({3, {5, 6, 7, 8, 9, 9}, {30, 40, 50}}, want),
              says("corner 2 of 3 is (9, 9) with 50 instead of none"));
  EXPECT_THAT(
      explain({4000000000, {1, 2, 3, 4, 5, 6}, {7, 8, 9}}, {3, {1, 2, 3, 4, 5, 6}, {7, 8, 9}}),
      says("says 4000000000 corners instead of 3"));
  EXPECT_THAT(explain({2, {5, 6, 7, 8, 1}, {30, 40}}, want),
              says("all 2 corners are right, but not what lies behind them"));
}
