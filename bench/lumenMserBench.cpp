// Regions in both columns, on one thread and on two, beside OpenCV's and VLFeat's search of both
// polarities with the same parameters. Pixels: a photograph of the test data, enlarged, and worst
// cases. LUMEN_BENCH_DATA names the directory of the test data; without it the photograph is noise
// that was smoothed.
//
// Names are <image>/<size>/<who>; "V2" is the vector column with two threads.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <opencv2/features2d.hpp>
#include <opencv2/imgproc.hpp>
#include <random>
#include <string>
#include <vector>

extern "C" {
#include <vl/mser.h>
}

#include "lumen/lumenControl.h"
#include "lumenTable.h"
#include "lumenVector.h"

namespace {

constexpr int kDelta = 5, kMinArea = 60, kMaxArea = 14400;
constexpr float kMaxVariation = 0.25f, kMinDiversity = 0.2f;

// OpenCV enlarges it with a cubic filter, which leaves what a lens leaves: smooth surfaces.
cv::Mat photograph(int width, int height) {
  const char* directory = std::getenv("LUMEN_BENCH_DATA");
  std::ifstream file(std::string(directory ? directory : "") + "/photographs/coffee.pgm",
                     std::ios::binary);
  std::string magic;
  int columns = 192, rows = 160, greatest = 255;
  cv::Mat small(rows, columns, CV_8U);
  if (file >> magic >> columns >> rows >> greatest) {
    file.get();
    small.create(rows, columns, CV_8U);
    file.read(reinterpret_cast<char*>(small.data), static_cast<std::streamsize>(small.total()));
  } else {
    std::minstd_rand random(1);
    small.forEach<uint8_t>([&](uint8_t& pixel, const int*) { pixel = uint8_t(random() >> 8); });
  }
  // Tiles twice as large as the original, and the noise of a sensor.
  cv::Mat tile, image(height, width, CV_8U);
  cv::resize(small, tile, cv::Size(), 2, 2, cv::INTER_CUBIC);
  std::minstd_rand random(1);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int noise = static_cast<int>(random() >> 8) % 3 - 1;
      image.at<uint8_t>(y, x) =
          cv::saturate_cast<uint8_t>(tile.at<uint8_t>(y % tile.rows, x % tile.cols) + noise);
    }
  }
  return image;
}

cv::Mat noise(int width, int height) {
  cv::Mat image(height, width, CV_8U);
  std::minstd_rand random(1);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) image.at<uint8_t>(y, x) = static_cast<uint8_t>(random() >> 8);
  }
  return image;
}

cv::Mat checkerboard(int width, int height) {
  cv::Mat image(height, width, CV_8U);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) image.at<uint8_t>(y, x) = (x + y) % 2 ? 255 : 0;
  }
  return image;
}

cv::Mat zonePlate(int width, int height) {
  cv::Mat image(height, width, CV_8U);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double phase = 1.5 * (double(x) * x + double(y) * y) / width;
      image.at<uint8_t>(y, x) = static_cast<uint8_t>(127.5 + 127.4 * std::cos(phase));
    }
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

void addImage(const std::string& name, const cv::Mat& image) {
  const std::string prefix =
      name + "/" + std::to_string(image.cols) + "x" + std::to_string(image.rows) + "/";
  auto& search = *new Search(image, false);
  auto& search8 = *new Search(image, true);
  auto& inverted = *new cv::Mat(255 - image);
  auto* const best = lumBestOf(lumMseru8FxpSTV, lumMseru8FxpSTC);
  auto* const best8 = lumBestOf(lumMserNN8u8STV, lumMserNN8u8STC);
  add(prefix + "V", [=, &search] { search.run(best, 0); });
  add(prefix + "V2", [=, &search] { search.run(best, 1); });
  add(prefix + "C", [&search] { search.run(lumMseru8FxpSTC, 0); });
  add(prefix + "NN8", [=, &search8] { search8.run(best8, 0); });
  add(prefix + "opencv", [&search] { withOpenCv(search.image); });
  add(prefix + "vlfeat", [&search, &inverted] { withVlFeat(search.image, inverted); });
}

const bool registered = [] {
  cv::setNumThreads(1);
  lumSetOperationMode(LUMEN_OP_CPU_PERFORMANCE);
  for (const auto& [width, height] : {std::pair{640, 480}, {1920, 1080}, {4000, 3000}}) {
    addImage("mser-photograph", photograph(width, height));
  }
  addImage("mser-noise", noise(1920, 1080));
  addImage("mser-checkerboard", checkerboard(1920, 1080));
  addImage("mser-zoneplate", zonePlate(1920, 1080));
  return true;
}();

}  // namespace
