// Pictures to time detectors on: photographs at any size, and what is hard.

#ifndef LUMEN_SCENES_H
#define LUMEN_SCENES_H

#include <array>
#include <cmath>
#include <fstream>
#include <iterator>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

enum class lumScene { natural, texture, noise, checkerboard, zonePlate };
inline constexpr lumScene LUM_SCENES[] = {lumScene::natural, lumScene::texture, lumScene::noise,
                                          lumScene::checkerboard, lumScene::zonePlate};

inline const cv::Size LUM_SCENE_SIZES[] = {{640, 480}, {1920, 1080}, {4000, 3000}};

inline cv::Mat lumPhotograph(const std::string& name) {
  std::ifstream file(LUMEN_PHOTOGRAPHS + name, std::ios::binary);
  std::string magic;
  int width = 0, height = 0, greatest = 0;
  file >> magic >> width >> height >> greatest;
  file.get();
  std::vector<char> pixels(std::istreambuf_iterator<char>(file), {});
  if (magic != "P5" || pixels.size() != static_cast<size_t>(width) * static_cast<size_t>(height)) {
    throw std::runtime_error("cannot read the photograph " + name);
  }
  return cv::Mat(height, width, CV_8U, pixels.data()).clone();
}

// The photographs side by side, each square of them mirrored, until `size` is full. What is
// enlarged has the noise of a sensor again.
inline cv::Mat lumPhotographs(const cv::Size& size, double scale) {
  std::array<cv::Mat, 2> tiles = {lumPhotograph("coffee.pgm"), lumPhotograph("photographer.pgm")};
  for (cv::Mat& tile : tiles) {
    tile = tile(cv::Rect(0, 0, 512, 400)).clone();
    if (scale != 1)
      cv::resize(tile, tile, {}, scale, scale, scale < 1 ? cv::INTER_AREA : cv::INTER_CUBIC);
  }
  cv::Mat pair, square, all;
  cv::hconcat(tiles[0], tiles[1], pair);
  cv::flip(pair, square, -1);
  cv::vconcat(pair, square, square);
  cv::repeat(square, size.height / square.rows + 1, size.width / square.cols + 1, all);
  all = all(cv::Rect({}, size)).clone();
  if (scale <= 1) return all;
  std::minstd_rand random(1);
  for (int y = 0; y < size.height; ++y) {
    for (auto* pixel = all.ptr(y); pixel != all.ptr(y) + size.width; ++pixel) {
      *pixel = cv::saturate_cast<uint8_t>(*pixel + static_cast<int>(random() >> 8) % 3 - 1);
    }
  }
  return all;
}

// `natural`: in their own size, enlarged 2 times from 1000 columns on and 4 times from 3000 columns
// on; `texture`: half as large, so that every few pixels there is an edge.
inline cv::Mat lumSceneOf(lumScene scene, const cv::Size& size) {
  if (scene == lumScene::texture) return lumPhotographs(size, 0.5);
  if (scene == lumScene::natural) {
    return lumPhotographs(size, size.width < 1000 ? 1 : size.width < 3000 ? 2 : 4);
  }
  cv::Mat image(size, CV_8U);
  std::minstd_rand random(1);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      auto& pixel = image.at<uint8_t>(y, x);
      if (scene == lumScene::noise) pixel = static_cast<uint8_t>(random() >> 8);
      else if (scene == lumScene::checkerboard) pixel = (x / 8 + y / 8) % 2 ? 230 : 20;
      else pixel = static_cast<uint8_t>(128 + 127 * std::sin(0.0016 * (x * x + y * y)));
    }
  }
  return image;
}

// ".<scene>/<size>", or ".<scene>.<number>/<size>", which ends the name of a benchmark.
inline std::string lumSceneName(lumScene scene, const cv::Size& size, int number = -1) {
  static constexpr const char* kNames[] = {"natural", "texture", "noise", "checkerboard",
                                           "zonePlate"};
  std::string name(".");
  name += kNames[static_cast<size_t>(scene)];
  if (number >= 0) (name += ".") += std::to_string(number);
  ((name += "/") += std::to_string(size.width)) += "x";
  return name += std::to_string(size.height);
}

// What is hard is timed in one size.
inline bool lumIsSceneTimed(lumScene scene, const cv::Size& size) {
  return scene <= lumScene::texture || size.width == 1920;
}

#endif  // LUMEN_SCENES_H
