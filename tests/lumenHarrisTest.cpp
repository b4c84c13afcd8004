// Harris corners: references against the definition on single pixels, vector implementations of
// every instruction set that this machine has against the references.

#include "lumen/lumenHarris.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "cpu/lumenHarris.h"
#include "lumenGuardedMemory.h"
#include "lumenVector.h"

namespace {

struct Place {
  uint32_t x, y;
  auto operator<=>(const Place&) const = default;
};
void PrintTo(const Place& place, std::ostream* out) { *out << place.x << "," << place.y; }

// Corners with their responses, by a detector's count.
struct Corners {
  std::vector<Place> places;
  std::vector<int32_t> scores;
  bool operator==(const Corners&) const = default;
};

// An image flush against guard pages, and the definitions on it.
class Image {
 public:
  Image(uint32_t width, uint32_t height, uint32_t gap, lumFence fence)
      : memory_(size_t{width + gap} * height), pixels(memory_, width, height, gap, fence) {}

  uint32_t width() const { return static_cast<uint32_t>(pixels.width()); }
  uint32_t height() const { return pixels.height(); }

  struct Sums {
    int64_t xx, yy, xy;
  };
  Sums sums(uint32_t x, uint32_t y) const {
    constexpr int kWeight[] = {1, 4, 6, 4, 1};
    Sums sums = {0, 0, 0};
    for (uint32_t v = 0; v < 5; ++v) {
      for (uint32_t u = 0; u < 5; ++u) {
        const uint32_t px = x + u - 2, py = y + v - 2;
        const auto half = [](int difference) {
          return static_cast<int64_t>(std::floor(difference / 2.0));
        };
        const int64_t ix = half(pixels.row(py)[px + 1] - pixels.row(py)[px - 1]);
        const int64_t iy = half(pixels.row(py + 1)[px] - pixels.row(py - 1)[px]);
        const int weight = kWeight[u] * kWeight[v];
        sums.xx += weight * ix * ix, sums.yy += weight * iy * iy, sums.xy += weight * ix * iy;
      }
    }
    const auto part = [](int64_t sum) {
      return static_cast<int64_t>(std::floor(double(sum) / 256));
    };
    return {part(sums.xx), part(sums.yy), part(sums.xy)};
  }
  // To be called when the pixels are there.
  void measure() {
    responses_.assign(size_t{width()} * height(), INT64_MIN);
    for (uint32_t y = 3; y + 3 < height(); ++y) {
      for (uint32_t x = 3; x + 3 < width(); ++x) {
        const Sums s = sums(x, y);
        const int64_t trace = s.xx + s.yy;
        responses_[y * size_t{width()} + x] = s.xx * s.yy - s.xy * s.xy - trace * trace / 16;
      }
    }
  }
  int64_t response(uint32_t x, uint32_t y) const { return responses_[y * size_t{width()} + x]; }
  int64_t minEigenvalue(uint32_t x, uint32_t y) const {
    const Sums s = sums(x, y);
    const double square = double((s.xx - s.yy) * (s.xx - s.yy) + 4 * s.xy * s.xy);
    return s.xx + s.yy - static_cast<int64_t>(std::sqrt(square));
  }

  template <class Visit>
  void visit(uint32_t border, Visit visit) const {
    const uint64_t margin = std::max(border, 5u);
    for (uint64_t y = margin; y + margin < height(); ++y) {
      for (uint64_t x = margin; x + margin < width(); ++x) {
        if (!visit(static_cast<uint32_t>(x), static_cast<uint32_t>(y))) return;
      }
    }
  }
  bool isStrict(uint32_t x, uint32_t y) const {
    for (uint32_t v = y - 2; v <= y + 2; ++v) {
      for (uint32_t u = x - 2; u <= x + 2; ++u) {
        if ((u != x || v != y) && response(u, v) >= response(x, y)) return false;
      }
    }
    return true;
  }
  Corners expected(uint32_t border, uint32_t capacity, int32_t threshold, bool strict = true,
                   const std::function<bool(uint32_t, uint32_t)>& tested = {}) const {
    Corners corners;
    visit(border, [&](uint32_t x, uint32_t y) {
      if (tested && !tested(x, y)) return true;
      if (response(x, y) > threshold && (!strict || isStrict(x, y))) {
        corners.places.push_back({x, y});
        corners.scores.push_back(static_cast<int32_t>(response(x, y)));
      }
      return corners.places.size() < capacity;
    });
    return corners;
  }

 private:
  lumGuardedMemory memory_;
  std::vector<int64_t> responses_;

 public:
  lumGuardedImage<uint8_t> pixels;
};

class Random {
 public:
  explicit Random(uint32_t seed) : state_(seed) {}
  uint32_t operator()(uint32_t below) {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    return static_cast<uint32_t>(state_ >> 33) % below;
  }

 private:
  uint64_t state_;
};

// Kinds of contents: few responses, many, equal neighbours, the greatest gradients.
enum class Scene { blobs, noise, steps, extremes, flat };
constexpr Scene kScenes[] = {Scene::blobs, Scene::noise, Scene::steps, Scene::extremes,
                             Scene::flat};

void draw(Image& image, Scene scene, uint32_t seed) {
  Random random(seed);
  image.pixels.fill([&](size_t x, uint32_t y) -> uint8_t {
    switch (scene) {
      case Scene::noise:
        return static_cast<uint8_t>(random(256));
      case Scene::extremes:
        return random(2) ? 255 : 0;
      case Scene::steps:  // the same every 8 pixels
        return x % 8 < 4 && y % 8 < 4 ? 200 : 50;
      case Scene::blobs:
        return static_cast<uint8_t>(x % 13 < 5 && y % 11 < 6 ? 150 + random(8) : 80 + random(3));
      case Scene::flat:
        break;
    }
    return 77;
  });
  image.measure();
}

// A detector in one column, with room for `capacity` corners and one guard behind them.
template <class Call>
Corners run(uint32_t room, Call call) {
  const lumGuardedMemory xyMemory(room * 8 + 8), scoreMemory(room * 4 + 4);
  uint32_t* const xy = reinterpret_cast<uint32_t*>(xyMemory.place(room * 8, lumFence::after));
  int32_t* const scores = reinterpret_cast<int32_t*>(scoreMemory.place(room * 4, lumFence::after));
  uint32_t count = 12345;
  const bool hasScores = call(xy, scores, &count);
  Corners corners;
  for (uint32_t i = 0; i < std::min(count, room); ++i) {
    corners.places.push_back({xy[i * 2], xy[i * 2 + 1]});
    if (hasScores) corners.scores.push_back(scores[i]);
  }
  EXPECT_LE(count, room);
  return corners;
}

// Calls `check(implementation)` with the reference and each vector implementation.
template <class F, class Check>
void everyColumn(F* reference, const lumVectorSet<F>& vector, Check check) {
  {
    SCOPED_TRACE("reference");
    check(reference);
  }
  for (uint32_t target = 0; target < LUM_VECTOR_TARGET_COUNT; ++target) {
    F* const f = vector.target[target];
    if (!f || !lumHasVectorTarget(static_cast<lumVectorTarget>(target))) continue;
    SCOPED_TRACE(LUM_VECTOR_TARGET_NAME[target]);
    check(f);
  }
}
#define LUM_EVERY_COLUMN(name, ...) everyColumn(name##C, name##V, __VA_ARGS__)

constexpr uint32_t kRoom = 4000;

void expectPlain(const Image& image, uint32_t border, uint32_t capacity, int32_t threshold) {
  SCOPED_TRACE(testing::Message() << image.width() << "x" << image.height() << " border " << border
                                  << " capacity " << capacity << " threshold " << threshold);
  const Corners want = image.expected(border, capacity, threshold);
  LUM_EVERY_COLUMN(lumCornerHarrisu8, [&](auto* f) {
    const Corners got =
        run(std::min(std::max(capacity, 1u), kRoom), [&](uint32_t* xy, int32_t*, uint32_t* count) {
          f(image.pixels.data(), image.width(), image.height(), image.pixels.stride(), border, xy,
            capacity, count, threshold);
          return false;
        });
    ASSERT_EQ(got.places, want.places);
  });
}

void expectScored(const Image& image, uint32_t border, int32_t threshold, bool suppresses) {
  const Corners want = image.expected(border, kRoom, threshold, suppresses);
  LUM_EVERY_COLUMN(lumCornerHarrisScoreu8, [&](auto* f) {
    const Corners got = run(kRoom, [&](uint32_t* xy, int32_t* scores, uint32_t* count) {
      f(image.pixels.data(), image.width(), image.height(), image.pixels.stride(), border, xy,
        scores, kRoom, count, threshold, suppresses ? 2 : 0);
      return true;
    });
    ASSERT_EQ(got.places, want.places);
    ASSERT_EQ(got.scores, want.scores);
  });
}

}  // namespace

TEST(Harris, FindsWhatItsDefinitionSays) {
  // Widths about vectors and blocks of all lengths, and the smallest images.
  for (uint32_t width = 5; width <= 140; width += width < 48 ? 1 : 13) {
    const lumFence fence = width % 2 ? lumFence::before : lumFence::after;
    Image image(width, 5 + width * 7 % 22, width % 3, fence);
    for (Scene scene : kScenes) {
      draw(image, scene, width);
      expectPlain(image, width % 9, kRoom, 0);
      expectPlain(image, 5, kRoom, 2000000);
      expectScored(image, 0, -1000, true);
      expectScored(image, 6, scene == Scene::noise ? 900000 : -1, false);
      ASSERT_FALSE(HasFatalFailure()) << "scene " << static_cast<int>(scene);
    }
  }
}

TEST(Harris, KeepsToItsBordersAndItsRoom) {
  Image image(47, 30, 3, lumFence::after);
  draw(image, Scene::noise, 3);
  const size_t all = image.expected(0, kRoom, 0).places.size();
  ASSERT_GT(all, 10u);
  for (uint32_t border : {0u, 5u, 6u, 9u, 14u, 15u, 23u, 24u, 47u, 1000u, UINT32_MAX}) {
    expectPlain(image, border, kRoom, 0);
  }
  for (uint32_t capacity : {0u, 1u, 2u, 9u, uint32_t(all), UINT32_MAX}) {
    expectPlain(image, 0, capacity, 0);
  }
  // With a corner at the very first tested pixel, a capacity of 0 still yields it.
  const Place first = image.expected(0, kRoom, 0).places.front();
  expectPlain(image, 0, 0, 0);
  for (uint32_t y = 0; y < 30; ++y) {
    std::rotate(image.pixels.row(y), image.pixels.row(y) + (first.x - 5), image.pixels.row(y) + 47);
  }
  Image moved(42, 30 - (first.y - 5), 0, lumFence::before);
  moved.pixels.fill([&](size_t x, uint32_t y) { return image.pixels.row(y + first.y - 5)[x]; });
  moved.measure();
  ASSERT_THAT(moved.expected(0, 0, 0).places, testing::ElementsAre(Place{5, 5}));
  expectPlain(moved, 0, 0, 0);
  // A response equal to the threshold is none.
  const int32_t strongest = moved.expected(0, kRoom, 0).scores.front();
  expectPlain(moved, 0, 1, strongest - 1);
  expectPlain(moved, 0, 1, strongest);
}

TEST(Harris, LeavesOutWhatItsMaskSets) {
  struct Scale {
    uint32_t times, parts;  // of the image's size
  };
  Image image(64, 48, 0, lumFence::after);
  draw(image, Scene::noise, 5);
  const auto mapped = [](const Scale& scale, uint32_t at) {
    return at * scale.times / scale.parts;
  };
  for (const Scale& scale : {Scale{1, 1}, Scale{2, 1}, Scale{1, 2}, Scale{4, 1}, Scale{1, 4},
                             Scale{8, 1}, Scale{1, 8}, Scale{3, 1}}) {
    const uint32_t width = mapped(scale, 64), height = mapped(scale, 48);
    const uint32_t rowBytes = (width + 7) / 8;
    lumGuardedMemory memory(rowBytes * height);
    uint8_t* const mask = memory.place(rowBytes * height, lumFence::after);
    Random random(7);
    for (uint32_t i = 0; i < rowBytes * height; ++i) mask[i] = static_cast<uint8_t>(random(256));
    const auto tested = [&](uint32_t x, uint32_t y) {
      const uint32_t mx = mapped(scale, x), my = mapped(scale, y);
      return scale.times != 3 && !(mask[my * rowBytes + mx / 8] & (0x80 >> (mx % 8)));
    };
    for (uint32_t capacity : {0u, 3u, kRoom}) {
      SCOPED_TRACE(testing::Message() << width << "x" << height << " capacity " << capacity);
      const Corners want = image.expected(0, capacity, 0, true, tested);
      LUM_EVERY_COLUMN(lumCornerHarrisInMasku8, [&](auto* f) {
        const Corners got = run(kRoom, [&](uint32_t* xy, int32_t*, uint32_t* count) {
          f(image.pixels.data(), 64, 48, 64, 0, xy, capacity, count, 0, mask, width, height);
          return false;
        });
        ASSERT_EQ(got.places, want.places);
      });
    }
  }
}

TEST(Harris, AdaptsItsThresholdToItsRoom) {
  for (Scene scene : {Scene::noise, Scene::steps, Scene::blobs}) {
    Image image(90, 50, 1, lumFence::after);
    draw(image, scene, 11);
    const Corners all = image.expected(7, kRoom, 100);
    std::vector<int32_t> sorted = all.scores;
    std::sort(sorted.rbegin(), sorted.rend());
    for (uint32_t capacity : {0u, 1u, 2u, 3u, 10u, 31u, uint32_t(all.scores.size()), kRoom}) {
      std::vector<Place> want;
      const int32_t threshold = capacity < sorted.size() ? sorted[capacity] : 100;
      for (size_t i = 0; i < all.places.size(); ++i) {
        if (all.scores[i] > threshold && capacity) want.push_back(all.places[i]);
      }
      LUM_EVERY_COLUMN(lumCornerHarrisAdaptiveu8, [&](auto* f) {
        const Corners got = run(capacity, [&](uint32_t* xy, int32_t*, uint32_t* count) {
          f(image.pixels.data(), 90, 50, 91, 7, xy, capacity, count, 100);
          return false;
        });
        ASSERT_EQ(got.places, want) << capacity << " of " << sorted.size();
      });
    }
  }
}

TEST(Harris, FindsTheStrongestNearAPlace) {
  for (uint32_t width : {3u, 6u, 7u, 12u, 30u}) {
    Image image(width, 19, 2, lumFence::before);
    for (Scene scene : {Scene::noise, Scene::steps, Scene::flat}) {
      draw(image, scene, 13);
      for (uint32_t at = 0; at < width * 19; at += 3) {
        const uint32_t px = at % width, py = at / width;
        std::tuple want(px, py, INT32_MIN);
        for (uint32_t y = 3; y + 3 < 19; ++y) {
          for (uint32_t x = 3; x + 3 < width; ++x) {
            if (std::max({x, px}) - std::min({x, px}) > 5) continue;
            if (std::max({y, py}) - std::min({y, py}) > 5) continue;
            const int32_t response = static_cast<int32_t>(image.response(x, y));
            if (response > std::get<2>(want)) want = {x, y, response};
          }
        }
        LUM_EVERY_COLUMN(lumLocalHarrisMaxu8, [&](auto* f) {
          uint32_t x = 99, y = 99;
          int32_t score = 99;
          f(image.pixels.data(), width, 19, width + 2, px, py, &x, &y, &score);
          ASSERT_EQ(std::tuple(x, y, score), want) << px << "," << py << " of " << width;
        });
      }
    }
  }
}

TEST(Harris, FindsGoodFeaturesStrongestFirst) {
  for (Scene scene : kScenes) {
    Image image(57, 40, 1, lumFence::after);
    draw(image, scene, 17);
    std::vector<std::tuple<int64_t, Place>> candidates;
    int64_t strongest = 0;
    const auto value = [&](uint32_t x, uint32_t y) { return image.minEigenvalue(x, y); };
    image.visit(6, [&](uint32_t x, uint32_t y) {
      const int64_t own = value(x, y);
      for (uint32_t k = 0; k < 9; ++k) {
        if (k == 4) continue;
        const int64_t other = value(x + k % 3 - 1, y + k / 3 - 1);
        if (k < 4 ? other >= own : other > own) return true;
      }
      if (own <= 0) return true;
      strongest = std::max(strongest, own);
      candidates.push_back({-own, {x, y}});
      return true;
    });
    // By strength, then as raster order has them, which the sort keeps.
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const auto& a, const auto& b) { return std::get<0>(a) < std::get<0>(b); });
    struct Numbers {
      float quality;
      uint32_t distance, capacity;
    };
    for (const Numbers& n : {Numbers{0, 0, kRoom},
                             {0.1f, 1, kRoom},
                             {0.05f, 2, kRoom},
                             {0.3f, 3, kRoom},
                             {0.01f, 7, 5},
                             {0.01f, 13, kRoom},
                             {NAN, 1000000, kRoom},
                             {2, 0, kRoom},
                             {0.2f, UINT32_MAX, kRoom},
                             {0.1f, 5, 0}}) {
      std::vector<Place> want;
      const auto isFar = [&](const Place& place) {
        return std::none_of(want.begin(), want.end(), [&](const Place& other) {
          return std::hypot(double(other.x) - place.x, double(other.y) - place.y) < n.distance;
        });
      };
      for (const auto& [negative, place] : candidates) {
        const float level = n.quality > 0 ? std::min(n.quality, 1.0f) : 0;
        if (static_cast<float>(-negative) < level * static_cast<float>(strongest)) continue;
        if (want.size() < n.capacity && isFar(place)) want.push_back(place);
      }
      LUM_EVERY_COLUMN(lumGoodFeatureToTracku8, [&](auto* f) {
        const Corners got = run(n.capacity, [&](uint32_t* xy, int32_t*, uint32_t* count) {
          f(image.pixels.data(), 57, 40, 58, 6, xy, n.capacity, count, n.quality, n.distance);
          return false;
        });
        ASSERT_EQ(got.places, want) << "quality " << n.quality << " distance " << n.distance;
      });
    }
  }
}

TEST(Harris, ThresholdsResponseImages) {
  // 5 x 3, padded; the last bytes of the stride do not count.
  const float response[] = {1, 5, 5, 0, 2, 9, 3, 5, 5, 4, 2, 9, 0, 0, 0, 0, 7, 9};
  uint32_t xy[64], count;
  const auto places = [&] {
    std::vector<Place> places;
    for (uint32_t i = 0; i < count; ++i) places.push_back({xy[i * 2], xy[i * 2 + 1]});
    return places;
  };
  threshCorners(xy, response, 27, &count, 30, 5, 3, 4);
  EXPECT_THAT(places(), testing::ElementsAre(Place{1, 0}, Place{2, 0}, Place{1, 1}, Place{2, 1},
                                             Place{4, 2}));
  threshCorners(xy, response, 24, &count, 2, 5, 3, 4);
  EXPECT_THAT(places(), testing::ElementsAre(Place{1, 0}, Place{2, 0}));
  threshCorners(xy, response, 24, &count, 0, 5, 3, 0);
  EXPECT_THAT(places(), testing::ElementsAre(Place{0, 0}));

  // Equal maxima are all kept; a window of 4 reaches two pixels each way.
  threshCornersWithNMS(xy, response, 27, &count, 30, 5, 3, 1, 3.9f);
  EXPECT_THAT(places(), testing::ElementsAre(Place{1, 0}, Place{2, 0}, Place{1, 1}, Place{2, 1},
                                             Place{4, 2}));
  threshCornersWithNMS(xy, response, 24, &count, 30, 5, 3, 1, 4);
  EXPECT_THAT(places(), testing::ElementsAre(Place{1, 0}, Place{1, 1}, Place{4, 2}));
  threshCornersWithNMS(xy, response, 24, &count, 30, 5, 3, 6.5f, 1e30f);
  EXPECT_THAT(places(), testing::ElementsAre(Place{4, 2}));
  threshCornersWithNMS(xy, response, 24, &count, 30, 5, 3, 4, NAN);
  EXPECT_EQ(count, 5u);
  // The pixel tested first is none, and fills a list without room.
  threshCornersWithNMS(xy, response, 24, &count, 0, 5, 3, 0, 3);
  EXPECT_EQ(count, 0u);
}
