// Pictures to time detectors on: a photograph of the test data at any size, and what is hard.

#ifndef LUMEN_SCENES_H
#define LUMEN_SCENES_H

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
inline constexpr const char* LUM_SCENE_NAME[] = {"natural", "texture", "noise", "checkerboard",
                                                 "zonePlate"};

inline cv::Mat lumPhotograph(const char* name) {
  std::ifstream file(std::string(LUMEN_PHOTOGRAPHS) + name, std::ios::binary);
  std::string magic;
  int width = 0, height = 0, greatest = 0;
  file >> magic >> width >> height >> greatest;
  file.get();
  std::vector<char> pixels(std::istreambuf_iterator<char>(file), {});
  if (magic != "P5" || pixels.size() != static_cast<size_t>(width) * static_cast<size_t>(height)) {
    throw std::runtime_error(std::string("cannot read the photograph ") + name);
  }
  return cv::Mat(height, width, CV_8U, pixels.data()).clone();
}

// `natural`: the photograph enlarged 4 times and repeated, every other time mirrored; `texture`: in
// its own size.
inline cv::Mat lumSceneOf(lumScene scene, const cv::Size& size) {
  if (scene == lumScene::natural || scene == lumScene::texture) {
    cv::Mat tile = lumPhotograph("photographer.pgm"), all;
    if (scene == lumScene::natural) cv::resize(tile, tile, {}, 4, 4, cv::INTER_CUBIC);
    cv::Mat pair, square;
    cv::flip(tile, pair, 1);
    cv::hconcat(tile, pair, pair);
    cv::flip(pair, square, 0);
    cv::vconcat(pair, square, square);
    cv::repeat(square, size.height / square.rows + 1, size.width / square.cols + 1, all);
    return all(cv::Rect({}, size)).clone();
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

#endif  // LUMEN_SCENES_H
