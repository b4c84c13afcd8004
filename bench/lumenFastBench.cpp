// FAST corners in both columns, beside OpenCV's and libCVD's detectors on one thread.
//
// Names are <function>.<scene>.<barrier>/<size>/<who>; bench/lumen-ratios makes a table of them.

#include <cvd/fast_corner.h>
#include <cvd/nonmax_suppression.h>

#include <opencv2/features2d.hpp>
#include <string>
#include <vector>

#include "lumenBench.h"
#include "lumenScenes.h"
#include "lumenTable.h"
#include "lumenVector.h"

namespace {

// An image with room for all of its corners.
struct Search {
  cv::Mat image;
  CVD::BasicImage<CVD::byte> peer;
  std::vector<uint32_t> xy, scores, work;
  uint32_t width, height, count = 0;

  Search(lumScene scene, const cv::Size& size)
      : image(lumSceneOf(scene, size)),
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
    lumAddDetector(name + who, [&s, barrier, f = f] {
      f(s.image.data, s.width, s.height, s.width, barrier, 3, s.xy.data(), s.capacity(), &s.count);
      return size_t{s.count};
    });
  }
  lumAddDetector(name + "/opencv", [&s, barrier] {
    static std::vector<cv::KeyPoint> points;
    cv::FAST(s.image, points, barrier, false);
    return points.size();
  });
  lumAddDetector(name + "/cvd", [&s, barrier, peer] {
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
    lumAddDetector(name + who, [&s, barrier, f = f] {
      f(s.image.data, s.width, s.height, s.width, barrier, 3, s.xy.data(), s.scores.data(),
        s.capacity(), &s.count, 1, s.work.data());
      return size_t{s.count};
    });
  }
  lumAddDetector(name + "/opencv", [&s, barrier] {
    static std::vector<cv::KeyPoint> points;
    cv::FAST(s.image, points, barrier, true);
    return points.size();
  });
  lumAddDetector(name + "/cvd", [&s, barrier, peer, isNine] {
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
  for (const lumScene scene : LUM_SCENES) {
    for (const cv::Size& size : LUM_SCENE_SIZES) {
      if (!lumIsSceneTimed(scene, size)) continue;
      auto& s = *new Search(scene, size);
      for (const int barrier : {20, 40}) {
        const std::string rest = lumSceneName(scene, size, barrier);
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
