// Regions in both columns, on one thread and on two, beside OpenCV's and VLFeat's search of both
// polarities with the same parameters.
//
// Names are <function>.<scene>/<size>/<who>; bench/lumen-ratios makes a table of them. "mser2" is
// on two threads, beside the same peers on one.

#include <benchmark/benchmark.h>

#include <functional>
#include <opencv2/features2d.hpp>
#include <string>
#include <vector>

extern "C" {
#include <vl/mser.h>
}

#include "lumen/lumenControl.h"
#include "lumenScenes.h"
#include "lumenTable.h"
#include "lumenVector.h"

namespace {

constexpr int kDelta = 5, kMinArea = 60, kMaxArea = 14400;
constexpr float kMaxVariation = 0.25f, kMinDiversity = 0.2f;

// Every pixel a region of its own until all are joined.
cv::Mat finestCheckerboard(const cv::Size& size) {
  cv::Mat image(size, CV_8U);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) image.at<uint8_t>(y, x) = (x + y) % 2 ? 255 : 0;
  }
  return image;
}

// An image, a handle for it, and room for what is found.
struct Search {
  explicit Search(const cv::Mat& pixels, bool nn8)
      : image(pixels), sizes(1 << 20), points(image.total() * 32) {
    (nn8 ? lumMserNN8Init : lumMserInit)(static_cast<uint32_t>(image.cols),
                                         static_cast<uint32_t>(image.rows), kDelta, kMinArea,
                                         kMaxArea, kMaxVariation, kMinDiversity, &handle);
  }
  void run(decltype(lumMseru8)* function, uint32_t threading) {
    lumMserSetThreading(handle, threading);
    function(handle, image.data, static_cast<uint32_t>(image.cols),
             static_cast<uint32_t>(image.rows), static_cast<uint32_t>(image.step),
             static_cast<uint32_t>(sizes.size()), &count, sizes.data(),
             static_cast<uint32_t>(points.size() / 2), points.data());
    benchmark::DoNotOptimize(count);
  }
  cv::Mat image;
  void* handle = nullptr;
  uint32_t count = 0;
  std::vector<uint32_t> sizes, points;
};

void withOpenCv(const cv::Mat& image) {
  std::vector<std::vector<cv::Point>> regions;
  std::vector<cv::Rect> boxes;
  cv::MSER::create(kDelta, kMinArea, kMaxArea, kMaxVariation, kMinDiversity)
      ->detectRegions(image, regions, boxes);
  benchmark::DoNotOptimize(regions.data());
}

// One polarity at a time: bright on dark, and the inverted image. Gives seeds of regions, no
// pixels.
void withVlFeat(const cv::Mat& image, const cv::Mat& inverted) {
  const int size[] = {image.cols, image.rows};
  VlMserFilt* const filter = vl_mser_new(2, size);
  const double pixels = static_cast<double>(image.total());
  vl_mser_set_delta(filter, kDelta);
  vl_mser_set_min_area(filter, kMinArea / pixels);
  vl_mser_set_max_area(filter, kMaxArea / pixels);
  vl_mser_set_max_variation(filter, kMaxVariation);
  vl_mser_set_min_diversity(filter, kMinDiversity);
  for (const cv::Mat* polarity : {&image, &inverted}) {
    vl_mser_process(filter, polarity->data);
    benchmark::DoNotOptimize(vl_mser_get_regions(filter));
  }
  vl_mser_delete(filter);
}

void add(const std::string& name, std::function<void()> work) {
  benchmark::RegisterBenchmark(name.c_str(), [work = std::move(work)](benchmark::State& state) {
    for (auto _ : state) work();
  })->UseRealTime();
}

void addImage(const std::string& rest, const cv::Mat& image) {
  auto& search = *new Search(image, false);
  auto& search8 = *new Search(image, true);
  auto& inverted = *new cv::Mat(255 - image);
  auto* const best = lumBestOf(lumMseru8FxpSTV, lumMseru8FxpSTC);
  auto* const best8 = lumBestOf(lumMserNN8u8STV, lumMserNN8u8STC);
  add("mser" + rest + "/V", [=, &search] { search.run(best, 0); });
  add("mser" + rest + "/C", [&search] { search.run(lumMseru8FxpSTC, 0); });
  add("mser" + rest + "/vlfeat", [&search, &inverted] { withVlFeat(search.image, inverted); });
  add("mser2" + rest + "/V", [=, &search] { search.run(best, 1); });
  add("mser8" + rest + "/V", [=, &search8] { search8.run(best8, 0); });
  for (const char* function : {"mser", "mser2"}) {
    add(function + rest + "/opencv", [&search] { withOpenCv(search.image); });
  }
}

const bool registered = [] {
  cv::setNumThreads(1);
  lumSetOperationMode(LUMEN_OP_CPU_PERFORMANCE);
  for (const lumScene scene : LUM_SCENES) {
    for (const cv::Size& size : LUM_SCENE_SIZES) {
      if (lumIsSceneTimed(scene, size))
        addImage(lumSceneName(scene, size), lumSceneOf(scene, size));
    }
  }
  const cv::Size size(1920, 1080);
  addImage(".finestCheckerboard/1920x1080", finestCheckerboard(size));
  return true;
}();

}  // namespace
