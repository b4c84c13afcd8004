// Harris corners in both columns, beside what people write with OpenCV for the same: cornerHarris
// with a window of 5 pixels, dilation by 5 x 5, and a list of the pixels that equal it above a
// threshold; and goodFeaturesToTrack. One thread each.
//
// Names are <function>.<scene>/<size>/<who>; bench/lumen-ratios makes a table of them.

#include <benchmark/benchmark.h>

#include <opencv2/imgproc.hpp>

#include "lumenBenchScenes.h"
#include "lumenTable.h"
#include "lumenVector.h"

namespace {

template <class F>
void add(const std::string& name, F work) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    size_t corners = 0;
    for (auto _ : state) {
      corners = work();
      benchmark::ClobberMemory();
    }
    state.counters["corners"] = static_cast<double>(corners);
  })->UseRealTime();
}

// An image with room for its corners.
struct Search {
  cv::Mat image, response, greatest;
  std::vector<uint32_t> xy;
  std::vector<int32_t> scores;
  uint32_t width, height, count = 0;

  Search(lumBenchScene scene, const lumBenchSize& size)
      : image(lumBenchImage(scene, size)),
        width(static_cast<uint32_t>(size.width)),
        height(static_cast<uint32_t>(size.height)) {
    xy.resize(2 * size_t{capacity()});
    scores.resize(capacity());
  }
  uint32_t capacity() const { return width * height / 4; }
};

// About as strong as an edge of 15 grey levels around a corner.
constexpr int32_t kThreshold = 20000;

size_t findByPeer(Search& s) {
  cv::cornerHarris(s.image, s.response, 5, 3, 1.0 / 16);
  cv::dilate(s.response, s.greatest, cv::getStructuringElement(cv::MORPH_RECT, {5, 5}));
  // Its gradients are 8 times ours over 5100, and its window adds 25 of their products.
  constexpr double kScale = 25 * 8 * 8 / (5100.0 * 5100.0);
  const float threshold = static_cast<float>(kThreshold * kScale * kScale);
  s.count = 0;
  for (int y = 5; y < s.image.rows - 5; ++y) {
    const float* const own = s.response.ptr<float>(y);
    const float* const window = s.greatest.ptr<float>(y);
    for (int x = 5; x < s.image.cols - 5; ++x) {
      if (own[x] > threshold && own[x] == window[x] && s.count < s.capacity()) {
        s.xy[s.count * 2] = static_cast<uint32_t>(x);
        s.xy[s.count * 2 + 1] = static_cast<uint32_t>(y);
        ++s.count;
      }
    }
  }
  return s.count;
}

using Corners = decltype(lumCornerHarrisu8);
using Features = decltype(lumGoodFeatureToTracku8);
using Scored = decltype(lumCornerHarrisScoreu8);

void addScene(lumBenchScene scene, const lumBenchSize& size) {
  auto& s = *new Search(scene, size);
  const std::string suffix =
      "." + std::string(LUM_BENCH_SCENE_NAME[static_cast<int>(scene)]) + "/" + size.text();
  const auto each = [&](const std::string& function, auto* reference, const auto& vector,
                        auto call) {
    add(function + suffix + "/V", [call, f = lumBestOf(vector, reference)] { return call(f); });
    add(function + suffix + "/C", [call, f = reference] { return call(f); });
  };
  each("lumCornerHarrisu8", lumCornerHarrisu8C, lumCornerHarrisu8V, [&s](Corners* f) {
    f(s.image.data, s.width, s.height, s.width, 5, s.xy.data(), s.capacity(), &s.count, kThreshold);
    return size_t{s.count};
  });
  add("lumCornerHarrisu8" + suffix + "/opencv", [&s] { return findByPeer(s); });
  if (scene != lumBenchScene::natural && scene != lumBenchScene::noise) return;
  each("lumCornerHarrisAdaptiveu8", lumCornerHarrisAdaptiveu8C, lumCornerHarrisAdaptiveu8V,
       [&s](Corners* f) {
         f(s.image.data, s.width, s.height, s.width, 5, s.xy.data(), 500, &s.count, 0);
         return size_t{s.count};
       });
  each("lumCornerHarrisScoreu8.all", lumCornerHarrisScoreu8C, lumCornerHarrisScoreu8V,
       [&s](Scored* f) {
         f(s.image.data, s.width, s.height, s.width, 5, s.xy.data(), s.scores.data(), s.capacity(),
           &s.count, kThreshold * 10, 0);
         return size_t{s.count};
       });
  each("lumGoodFeatureToTracku8", lumGoodFeatureToTracku8C, lumGoodFeatureToTracku8V,
       [&s](Features* f) {
         f(s.image.data, s.width, s.height, s.width, 5, s.xy.data(), 1000, &s.count, 0.05f, 8);
         return size_t{s.count};
       });
  add("lumGoodFeatureToTracku8" + suffix + "/opencv", [&s] {
    std::vector<cv::Point2f> points;
    cv::goodFeaturesToTrack(s.image, points, 1000, 0.05, 8, {}, 5);
    return points.size();
  });
}

const bool registered = [] {
  cv::setNumThreads(1);
  for (const lumBenchSize& size : LUM_BENCH_SIZES) {
    for (lumBenchScene scene :
         {lumBenchScene::natural, lumBenchScene::texture, lumBenchScene::noise,
          lumBenchScene::checkerboard, lumBenchScene::zonePlate}) {
      if (scene == lumBenchScene::natural || size.width == 1920) addScene(scene, size);
    }
  }
  return true;
}();

}  // namespace
