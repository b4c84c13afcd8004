// FAST corners in both columns, beside OpenCV's and libCVD's detectors on one thread: both
// photographs enlarged (natural), repeated (dense texture), and what is hard for such code.
//
// Names are <function>.<scene>.<barrier>/<size>/<who>; bench/lumen-ratios makes a table of them.

#include <benchmark/benchmark.h>
#include <cvd/fast_corner.h>
#include <cvd/nonmax_suppression.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <opencv2/core.hpp>
#include <opencv2/features2d.hpp>
#include <random>
#include <string>
#include <vector>

#include "lumenTable.h"
#include "lumenVector.h"

namespace {

struct Size {
  int width, height;
};
constexpr Size kSizes[] = {{640, 480}, {1920, 1080}, {4000, 3000}};

// A photograph of the test data.
struct Photograph {
  int width = 0, height = 0;
  std::vector<uint8_t> pixels;

  explicit Photograph(const char* name) {
    std::ifstream file(std::string(LUMEN_PHOTOGRAPHS) + name, std::ios::binary);
    std::string magic;
    int greatest = 0;
    file >> magic >> width >> height >> greatest;
    file.get();
    pixels.assign(std::istreambuf_iterator<char>(file), {});
  }
  int at(int x, int y) const { return pixels[static_cast<size_t>(y * width + x)]; }
};

enum class Scene { natural, texture, noise, checkerboard, zonePlate };
constexpr const char* kSceneName[] = {"natural", "texture", "noise", "checker", "zone"};

// Enlarged by 2, repeated as often as the size takes, every other time turned around.
cv::Mat naturalOf(const Size& size, int enlarged) {
  static const Photograph photographs[] = {Photograph("coffee.pgm"),
                                           Photograph("photographer.pgm")};
  cv::Mat all(size.height, size.width, CV_8U);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const int tile = 160 * enlarged;
      const int tx = x / tile, ty = y / tile, inX = x % tile, inY = y % (144 * enlarged);
      const Photograph& from = photographs[(tx + ty) % 2];
      const int fx = tx % 4 < 2 ? inX : tile - 1 - inX;
      const int sx = fx / enlarged, sy = std::min(inY / enlarged, 143);
      if (enlarged == 1) {
        all.at<uint8_t>(y, x) = static_cast<uint8_t>(from.at(sx, sy));
        continue;
      }
      // Between the four pixels around, by how near each is.
      const int wx = fx % enlarged, wy = inY % enlarged;
      const int nx = std::min(sx + 1, 159), ny = std::min(sy + 1, 143);
      const int sum = (enlarged - wx) * (enlarged - wy) * from.at(sx, sy) +
                      wx * (enlarged - wy) * from.at(nx, sy) +
                      (enlarged - wx) * wy * from.at(sx, ny) + wx * wy * from.at(nx, ny);
      all.at<uint8_t>(y, x) = static_cast<uint8_t>(sum / (enlarged * enlarged));
    }
  }
  return all;
}

cv::Mat sceneOf(Scene scene, const Size& size) {
  if (scene == Scene::natural) return naturalOf(size, std::max(1, size.width / 640));
  if (scene == Scene::texture) return naturalOf(size, 1);
  cv::Mat image(size.height, size.width, CV_8U);
  std::minstd_rand random(1);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      auto& pixel = image.at<uint8_t>(y, x);
      if (scene == Scene::noise) pixel = static_cast<uint8_t>(random() >> 8);
      else if (scene == Scene::checkerboard) pixel = (x / 8 + y / 8) % 2 ? 230 : 20;
      else pixel = static_cast<uint8_t>(128 + 127 * std::sin(0.0016 * (x * x + y * y)));
    }
  }
  return image;
}

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

// An image with room for all of its corners.
struct Search {
  cv::Mat image;
  CVD::BasicImage<CVD::byte> peer;
  std::vector<uint32_t> xy, scores, work;
  uint32_t width, height, count = 0;

  Search(Scene scene, const Size& size)
      : image(sceneOf(scene, size)),
        peer(image.data, CVD::ImageRef(size.width, size.height)),
        width(static_cast<uint32_t>(size.width)),
        height(static_cast<uint32_t>(size.height)) {
    const size_t all = size_t{width} * height;
    xy.resize(2 * all);
    scores.resize(all);
    work.resize(3 * all + height);
  }
  uint32_t capacity() const { return width * height; }
};

using Plain = decltype(lumCornerFast9u8);
using Scored = decltype(lumCornerFast9Scoreu8_v2);

void addPlain(const std::string& name, Search& s, int barrier, Plain* reference, Plain* vector,
              void (*peer)(const CVD::BasicImage<CVD::byte>&, std::vector<CVD::ImageRef>&, int)) {
  for (auto [who, f] : {std::pair("/V", vector), {"/C", reference}}) {
    add(name + who, [&s, barrier, f = f] {
      f(s.image.data, s.width, s.height, s.width, barrier, 3, s.xy.data(), s.capacity(), &s.count);
      return size_t{s.count};
    });
  }
  add(name + "/opencv", [&s, barrier] {
    static std::vector<cv::KeyPoint> points;
    cv::FAST(s.image, points, barrier, false);
    return points.size();
  });
  add(name + "/cvd", [&s, barrier, peer] {
    static std::vector<CVD::ImageRef> points;
    points.clear();
    peer(s.peer, points, barrier);
    return points.size();
  });
}

void addScored(const std::string& name, Search& s, int barrier, Scored* reference, Scored* vector,
               void (*peer)(const CVD::BasicImage<CVD::byte>&, std::vector<CVD::ImageRef>&, int),
               bool isNine) {
  for (auto [who, f] : {std::pair("/V", vector), {"/C", reference}}) {
    add(name + who, [&s, barrier, f = f] {
      f(s.image.data, s.width, s.height, s.width, barrier, 3, s.xy.data(), s.scores.data(),
        s.capacity(), &s.count, 1, s.work.data());
      return size_t{s.count};
    });
  }
  add(name + "/opencv", [&s, barrier] {
    static std::vector<cv::KeyPoint> points;
    cv::FAST(s.image, points, barrier, true);
    return points.size();
  });
  add(name + "/cvd", [&s, barrier, peer, isNine] {
    static std::vector<CVD::ImageRef> points, kept;
    static std::vector<int> scores;
    points.clear();
    kept.clear();
    peer(s.peer, points, barrier);
    if (isNine) CVD::fast_corner_score_9(s.peer, points, barrier, scores);
    else CVD::fast_corner_score_10(s.peer, points, barrier, scores);
    CVD::nonmax_suppression(points, scores, kept);
    return kept.size();
  });
}

// OpenCV has no arcs of 10: those of 9 stand in.
const bool registered = [] {
  cv::setNumThreads(1);
  for (const Scene scene :
       {Scene::natural, Scene::texture, Scene::noise, Scene::checkerboard, Scene::zonePlate}) {
    for (const Size& size : kSizes) {
      if (scene > Scene::texture && size.width != 1920) continue;
      auto& s = *new Search(scene, size);
      for (const int barrier : {20, 40}) {
        const std::string rest = std::string(".") + kSceneName[static_cast<size_t>(scene)] + "." +
                                 std::to_string(barrier) + "/" + std::to_string(size.width) + "x" +
                                 std::to_string(size.height);
        addPlain("fast9" + rest, s, barrier, lumCornerFast9u8C,
                 lumBestOf(lumCornerFast9u8V, lumCornerFast9u8C), CVD::fast_corner_detect_9);
        addPlain("fast10" + rest, s, barrier, lumCornerFast10u8C,
                 lumBestOf(lumCornerFast10u8V, lumCornerFast10u8C), CVD::fast_corner_detect_10);
        addScored("fast9nms" + rest, s, barrier, lumCornerFast9Scoreu8_v2C,
                  lumBestOf(lumCornerFast9Scoreu8_v2V, lumCornerFast9Scoreu8_v2C),
                  CVD::fast_corner_detect_9, true);
        addScored("fast10nms" + rest, s, barrier, lumCornerFast10Scoreu8C,
                  lumBestOf(lumCornerFast10Scoreu8V, lumCornerFast10Scoreu8C),
                  CVD::fast_corner_detect_10, false);
      }
    }
  }
  return true;
}();

}  // namespace
