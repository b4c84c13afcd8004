// What detectors are timed on: the photographs of the test data, enlarged or as they are, repeated
// as often as the size takes; and what is hard for such code.

#ifndef LUMEN_BENCH_SCENES_H
#define LUMEN_BENCH_SCENES_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <opencv2/core.hpp>
#include <random>
#include <string>
#include <vector>

struct lumBenchSize {
  int width, height;
  std::string text() const { return std::to_string(width) + "x" + std::to_string(height); }
};
inline constexpr lumBenchSize LUM_BENCH_SIZES[] = {{640, 480}, {1920, 1080}, {4000, 3000}};

enum class lumBenchScene { natural, texture, noise, checkerboard, zonePlate };
inline constexpr const char* LUM_BENCH_SCENE_NAME[] = {"natural", "texture", "noise", "checker",
                                                       "zone"};

// A photograph of the test data.
struct lumBenchPhotograph {
  int width = 0, height = 0;
  std::vector<uint8_t> pixels;

  explicit lumBenchPhotograph(const char* name) {
    std::ifstream file(std::string(LUMEN_PHOTOGRAPHS) + name, std::ios::binary);
    std::string magic;
    int greatest = 0;
    file >> magic >> width >> height >> greatest;
    file.get();
    pixels.assign(std::istreambuf_iterator<char>(file), {});
  }
  // There and back again for ever, so that no seams show.
  int at(int x, int y) const {
    const auto mirrored = [](int i, int size) {
      return i / size % 2 ? size - 1 - i % size : i % size;
    };
    return pixels[static_cast<size_t>(mirrored(y, height) * width + mirrored(x, width))];
  }
};

// Both photographs side by side by turns, `enlarged` times; between four pixels by how near each
// is.
inline cv::Mat lumBenchPhotographs(const lumBenchSize& size, int enlarged) {
  static const lumBenchPhotograph photographs[] = {lumBenchPhotograph("coffee.pgm"),
                                                   lumBenchPhotograph("photographer.pgm")};
  cv::Mat all(size.height, size.width, CV_8U);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const lumBenchPhotograph& from = photographs[x / (192 * enlarged) % 2];
      const int sx = x / enlarged, sy = y / enlarged, wx = x % enlarged, wy = y % enlarged;
      const int sum = (enlarged - wx) * (enlarged - wy) * from.at(sx, sy) +
                      wx * (enlarged - wy) * from.at(sx + 1, sy) +
                      (enlarged - wx) * wy * from.at(sx, sy + 1) +
                      wx * wy * from.at(sx + 1, sy + 1);
      all.at<uint8_t>(y, x) = static_cast<uint8_t>(sum / (enlarged * enlarged));
    }
  }
  return all;
}

inline cv::Mat lumBenchImage(lumBenchScene scene, const lumBenchSize& size) {
  if (scene == lumBenchScene::natural) {
    return lumBenchPhotographs(size, std::max(1, size.width / 640));
  }
  if (scene == lumBenchScene::texture) return lumBenchPhotographs(size, 1);
  cv::Mat image(size.height, size.width, CV_8U);
  std::minstd_rand random(1);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      auto& pixel = image.at<uint8_t>(y, x);
      if (scene == lumBenchScene::noise) pixel = static_cast<uint8_t>(random() >> 8);
      else if (scene == lumBenchScene::checkerboard) pixel = (x / 8 + y / 8) % 2 ? 230 : 20;
      else pixel = static_cast<uint8_t>(128 + 127 * std::sin(0.0016 * (x * x + y * y)));
    }
  }
  return image;
}

#endif  // LUMEN_BENCH_SCENES_H
