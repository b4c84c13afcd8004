// Harris corners in both columns, beside OpenCV's cornerHarris, dilate and threshold on one thread.
// OpenCV's responses are floats of other gradients, and a box smooths them: the same work, not the
// same corners.
//
// Names are <function>.<scene>/<size>/<who>; bench/lumen-ratios makes a table of them.

#include <utility>

#include "lumenBench.h"
#include "lumenScenes.h"
#include "lumenTable.h"
#include "lumenVector.h"

namespace {

constexpr uint32_t kCapacity = 1000000;
constexpr int32_t kThreshold = 20000;
constexpr float kQuality = 0.02f;
constexpr uint32_t kDistance = 8;

struct Search {
  cv::Mat image;
  std::vector<uint32_t> xy = std::vector<uint32_t>(2 * size_t{kCapacity});
  std::vector<int32_t> scores = std::vector<int32_t>(kCapacity);
  uint32_t width = static_cast<uint32_t>(image.cols), height = static_cast<uint32_t>(image.rows);
  uint32_t count = 0;
};

// A function in both columns; `last`: its arguments behind the image and the border.
template <class F, class... Last>
void addColumns(const std::string& name, Search& s, F* reference, const lumVectorSet<F>& vector,
                Last... last) {
  for (auto [who, f] : {std::pair("/V", lumBestOf(vector, reference)), {"/C", reference}}) {
    lumAddDetector(name + who, [=, &s, f = f] {
      f(s.image.data, s.width, s.height, s.width, 5, s.xy.data(), last...);
      return size_t{s.count};
    });
  }
}

size_t cornersOfOpenCv(const cv::Mat& image) {
  static cv::Mat response, dilated;
  static std::vector<cv::Point> points;
  cv::cornerHarris(image, response, 5, 3, 1.0 / 16);
  cv::dilate(response, dilated, cv::getStructuringElement(cv::MORPH_RECT, {5, 5}));
  // Its gradients are 8 / 5100 of ours, and its window adds up 25 of their products.
  constexpr double kScale = 25 * 8 * 8 / (5100.0 * 5100.0);
  constexpr auto kFloatThreshold = static_cast<float>(kThreshold * kScale * kScale);
  points.clear();
  for (int y = 5; y < response.rows - 5; ++y) {
    const float *r = response.ptr<float>(y), *d = dilated.ptr<float>(y);
    for (int x = 5; x < response.cols - 5; ++x) {
      if (r[x] > kFloatThreshold && r[x] == d[x]) points.emplace_back(x, y);
    }
  }
  return points.size();
}

const bool registered = [] {
  cv::setNumThreads(1);
  for (const lumScene scene : LUM_SCENES) {
    for (const cv::Size& size : LUM_SCENE_SIZES) {
      if (!lumIsSceneTimed(scene, size)) continue;
      auto& s = *new Search{lumSceneOf(scene, size)};
      const std::string rest = lumSceneName(scene, size);
      addColumns("harris" + rest, s, lumCornerHarrisu8C, lumCornerHarrisu8V, kCapacity, &s.count,
                 kThreshold);
      lumAddDetector("harris" + rest + "/opencv", [&s] { return cornersOfOpenCv(s.image); });
      addColumns("harrisAdaptive" + rest, s, lumCornerHarrisAdaptiveu8C, lumCornerHarrisAdaptiveu8V,
                 1000u, &s.count, kThreshold);
      addColumns("harrisScore" + rest, s, lumCornerHarrisScoreu8C, lumCornerHarrisScoreu8V,
                 s.scores.data(), kCapacity, &s.count, kThreshold, 1u);
      addColumns("goodFeatures" + rest, s, lumGoodFeatureToTracku8C, lumGoodFeatureToTracku8V,
                 1000u, &s.count, kQuality, kDistance);
      lumAddDetector("goodFeatures" + rest + "/opencv", [&s] {
        static std::vector<cv::Point2f> points;
        cv::goodFeaturesToTrack(s.image, points, 1000, kQuality, kDistance, {}, 5);
        return points.size();
      });
    }
  }
  return true;
}();

}  // namespace
