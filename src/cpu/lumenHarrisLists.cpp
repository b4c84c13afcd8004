// What the Harris detectors make of the maxima that a scan finds, the same for every
// implementation.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "cpu/lumenHarris.h"
#include "lumenScratch.h"
#include "platform/lumenPlatform.h"

void lumHarrisRequire(bool condition, const char* file, int line, const char* text) {
  if (condition) return;
  const char* const slash = std::strrchr(file, '/');
  lumLog(LUM_LOG_ERROR, "lumen_lib_log", "%s@%d: %s Assertion failed\n", slash ? slash + 1 : file,
         line, text);
  std::exit(1);
}

namespace {

// The pixels of an image that are tested: columns x0 to x1 - 1 of rows y0 to y1 - 1.
struct Region {
  uint32_t x0, y0, x1, y1;

  // What is left between the borders.
  Region(const lumHarrisImage& image, uint32_t border) {
    constexpr uint32_t kLeast = lumHarrisMargin(lumHarrisMaxima::strict);
    x0 = y0 = std::max(border, kLeast);
    x1 = std::max(image.width - std::min(image.width, x0), x0);
    y1 = std::max(image.height - std::min(image.height, y0), y0);
  }

  bool isEmpty() const { return x0 == x1 || y0 == y1; }
  // The most pixels of which no two are neighbours, nor have fewer than `between` between them.
  uint64_t apart(uint32_t between) const {
    const auto most = [=](uint32_t count) {
      return (uint64_t{count} + between) / (uint64_t{between} + 1);
    };
    return most(x1 - x0) * most(y1 - y0);
  }
  void scan(lumHarrisScan* scan, const lumHarrisImage& image, lumHarrisResponse response,
            lumHarrisMaxima maxima, lumHarrisList& list) const {
    const uint32_t margin = lumHarrisMargin(maxima);
    const uint8_t* const src = image.src + size_t{y0 - margin} * image.stride + (x0 - margin);
    scan({src, x1 - x0 + 2 * margin, y1 - y0 + 2 * margin, image.stride}, response, maxima, list);
  }
};

// Pixels that are not tested.
class Mask {
 public:
  Mask(const lumFastMask& mask, const lumHarrisImage& image)
      : mask_(mask), scale_(lumFastScaleOf(mask, image.width, image.height)) {}

  bool fits() const { return scale_.isKnown; }
  bool excludes(uint32_t x, uint32_t y) const { return lumFastIsMasked(mask_, scale_, x, y); }

 private:
  lumFastMask mask_;
  lumFastMaskScale scale_;
};

// Reduces a region to its first pixel that is not excluded, if it has one.
void reduceToFirst(Region& region, const Mask* mask) {
  for (uint32_t y = region.y0; y < region.y1; ++y) {
    for (uint32_t x = region.x0; x < region.x1; ++x) {
      if (mask && mask->excludes(x, y)) continue;
      region.x0 = x, region.x1 = x + 1, region.y0 = y, region.y1 = y + 1;
      return;
    }
  }
  region.x1 = region.x0;
}

// The corners in the order in which they are found.
class CornerList : public lumHarrisList {
 public:
  CornerList(int32_t lowest, const Region& region, uint32_t margin, uint32_t* xy, int32_t* scores,
             uint32_t capacity, const Mask* mask)
      : lumHarrisList(lowest),
        left_(region.x0 - margin),
        top_(region.y0 - margin),
        xy_(xy),
        scores_(scores),
        capacity_(capacity),
        mask_(mask) {}

  bool take(uint32_t y, const uint32_t* x, const int32_t* response, uint32_t found) override {
    for (uint32_t i = 0; i < found; ++i) {
      if (mask_ && mask_->excludes(left_ + x[i], top_ + y)) continue;
      xy_[size_t{count} * 2] = left_ + x[i];
      xy_[size_t{count} * 2 + 1] = top_ + y;
      if (scores_) scores_[count] = response[i];
      if (++count == capacity_) return false;
    }
    return true;
  }

  uint32_t count = 0;

 private:
  uint32_t left_, top_;
  uint32_t* xy_;
  int32_t* scores_;
  uint32_t capacity_;
  const Mask* mask_;
};

struct Find {
  uint32_t x, y;
  int32_t response;
};

// Finds with room for all that may become corners.
class FindList : public lumHarrisList {
 public:
  FindList(int32_t lowest, Find* finds, uint32_t room)
      : lumHarrisList(lowest), finds_(finds), room_(room) {}

  uint32_t size() const { return size_; }
  Find* begin() const { return finds_; }
  Find* end() const { return finds_ + size_; }

 protected:
  ~FindList() = default;
  void add(const Find& find) { finds_[size_++] = find; }
  bool isFull() const { return size_ == room_; }
  void dropUpTo(int32_t response) {
    const auto weak = [=](const Find& find) { return find.response <= response; };
    size_ = static_cast<uint32_t>(std::remove_if(begin(), end(), weak) - begin());
  }

 private:
  Find* finds_;
  uint32_t room_, size_ = 0;
};

// Raises its threshold whenever it has run full, to what leaves no more than `capacity` finds.
class AdaptiveList final : public FindList {
 public:
  AdaptiveList(int32_t lowest, Find* finds, uint32_t room, uint32_t capacity)
      : FindList(lowest, finds, room), capacity_(capacity) {}

  bool take(uint32_t y, const uint32_t* x, const int32_t* response, uint32_t found) override {
    for (uint32_t i = 0; i < found; ++i) {
      if (response[i] <= threshold) continue;
      if (isFull()) adapt();
      if (response[i] > threshold) add({x[i], y, response[i]});
    }
    return true;
  }
  // The strongest find without room sets the threshold. Partitions in place and restores the order
  // of rows and columns, which costs less than the finds did.
  void adapt() {
    if (size() <= capacity_) return;
    const auto stronger = [](const Find& a, const Find& b) { return a.response > b.response; };
    std::nth_element(begin(), begin() + capacity_, end(), stronger);
    threshold = begin()[capacity_].response;
    dropUpTo(threshold);
    std::sort(begin(), end(),
              [](const Find& a, const Find& b) { return a.y != b.y ? a.y < b.y : a.x < b.x; });
  }

 private:
  uint32_t capacity_;
};

// Raises its threshold with the strongest find.
class QualityList final : public FindList {
 public:
  QualityList(Find* finds, uint32_t room, float level)
      : FindList(0, finds, room), level_(level > 0 ? std::min(level, 1.0f) : 0) {}

  bool take(uint32_t y, const uint32_t* x, const int32_t* response, uint32_t found) override {
    for (uint32_t i = 0; i < found; ++i) {
      strongest_ = std::max(strongest_, response[i]);
      if (response[i] > threshold) add({x[i], y, response[i]});
    }
    const float least = std::ceil(level_ * static_cast<float>(strongest_));
    threshold = std::max(static_cast<int32_t>(least) - 1, 0);
    return true;
  }
  void finish() { dropUpTo(threshold); }

 private:
  float level_;
  int32_t strongest_ = 0;
};

// The strongest response, the first of several.
class StrongestList final : public lumHarrisList {
 public:
  StrongestList() : lumHarrisList(INT32_MIN) {}
  bool take(uint32_t y, const uint32_t* x, const int32_t* response, uint32_t found) override {
    for (uint32_t i = 0; i < found; ++i) {
      if (response[i] > strongest.response) strongest = {x[i], y, response[i]};
    }
    return true;
  }
  Find strongest = {0, 0, INT32_MIN};
};

// Corners taken so far, by cells of the image so small that each has room for one of them.
class Distances {
 public:
  // `distance` is 2 at least, and not much more than the image is wide and high.
  explicit Distances(uint64_t distance, const lumHarrisImage& image)
      : distance2_(distance * distance), cell_(cellOf(distance)) {
    columns_ = static_cast<uint32_t>((image.width - 1) / cell_ + 1);
    rows_ = static_cast<uint32_t>((image.height - 1) / cell_ + 1);
  }

  uint64_t cells() const { return uint64_t{columns_} * rows_; }
  // Whether a place is far enough from all those added to `taken`, whose corners are in xy.
  bool allows(const uint32_t* taken, const uint32_t* xy, uint32_t x, uint32_t y) const {
    // Two cells lie between places as far as that, three when both stand at the far sides.
    const uint32_t column = static_cast<uint32_t>(x / cell_),
                   row = static_cast<uint32_t>(y / cell_);
    for (uint32_t r = row - std::min(row, kReach); r <= row + kReach && r < rows_; ++r) {
      for (uint32_t c = column - std::min(column, kReach); c <= column + kReach && c < columns_;
           ++c) {
        const uint32_t number = taken[size_t{r} * columns_ + c];
        if (number == 0) continue;
        const uint32_t* const other = xy + (size_t{number} - 1) * 2;
        const int64_t dx = int64_t{other[0]} - x, dy = int64_t{other[1]} - y;
        if (static_cast<uint64_t>(dx * dx + dy * dy) < distance2_) return false;
      }
    }
    return true;
  }
  void add(uint32_t* taken, uint32_t number, uint32_t x, uint32_t y) const {
    taken[static_cast<size_t>(y / cell_ * columns_ + x / cell_)] = number;
  }

 private:
  static constexpr uint32_t kReach = 2;
  // The greatest size at which the far corners of a cell are nearer than the distance.
  static uint64_t cellOf(uint64_t distance) {
    uint64_t cell =
        static_cast<uint64_t>(std::sqrt(static_cast<double>(distance * distance) / 2.0)) + 2;
    while (2 * (cell - 1) * (cell - 1) >= distance * distance) --cell;
    return cell;
  }

  uint64_t distance2_, cell_;
  uint32_t columns_, rows_;
};

}  // namespace

void lumHarrisCorners(lumHarrisScan* scan, const lumHarrisArguments& arguments, int32_t threshold,
                      lumHarrisMaxima maxima, int32_t* scores, const lumFastMask* maskBits) {
  const auto& [image, border, xy, nCornersMax, nCorners] = arguments;
  *nCorners = 0;
  Region region(image, border);
  const Mask mask(maskBits ? *maskBits : lumFastMask{nullptr, image.width, image.height}, image);
  const Mask* const used = maskBits ? &mask : nullptr;
  if (region.isEmpty() || !mask.fits()) return;
  if (nCornersMax == 0) reduceToFirst(region, used);
  if (region.isEmpty()) return;
  CornerList list(threshold, region, lumHarrisMargin(maxima), xy, scores, nCornersMax, used);
  region.scan(scan, image, lumHarrisResponse::corner, maxima, list);
  *nCorners = list.count;
}

void lumHarrisAdaptive(lumHarrisScan* scan, const lumHarrisArguments& arguments,
                       int32_t threshold) {
  const auto& [image, border, xy, nCornersMax, nCorners] = arguments;
  constexpr lumHarrisMaxima kMaxima = lumHarrisMaxima::strict;
  *nCorners = 0;
  const Region region(image, border);
  if (region.isEmpty() || nCornersMax == 0) return;
  const uint64_t most = region.apart(2);
  const uint64_t room = std::min(most, 2 * uint64_t{nCornersMax});
  const lumScratch<Find> finds(lumScratchBytes(room * sizeof(Find)));
  LUM_HARRIS_REQUIRE(finds);
  AdaptiveList list(threshold, finds.data(), static_cast<uint32_t>(room), nCornersMax);
  region.scan(scan, image, lumHarrisResponse::corner, kMaxima, list);
  list.adapt();
  uint32_t* out = xy;
  for (const Find& find : list) {
    *out++ = find.x + region.x0 - lumHarrisMargin(kMaxima);
    *out++ = find.y + region.y0 - lumHarrisMargin(kMaxima);
  }
  *nCorners = list.size();
}

void lumHarrisGoodFeatures(lumHarrisScan* scan, const lumHarrisArguments& arguments,
                           float qualityLevel, uint32_t minDistance) {
  const auto& [image, border, xy, nCornersMax, nCorners] = arguments;
  constexpr lumHarrisMaxima kMaxima = lumHarrisMaxima::first;
  *nCorners = 0;
  const Region region(image, border);
  if (region.isEmpty() || nCornersMax == 0) return;
  const uint64_t most = region.apart(1);
  const lumScratch<Find> finds(lumScratchBytes(most * sizeof(Find)));
  LUM_HARRIS_REQUIRE(finds);
  QualityList list(finds.data(), static_cast<uint32_t>(most), qualityLevel);
  region.scan(scan, image, lumHarrisResponse::minEigenvalue, kMaxima, list);
  list.finish();

  const bool spaced = minDistance > 1;
  const Distances distances(
      std::clamp<uint64_t>(minDistance, 2, uint64_t{image.width} + image.height), image);
  const lumScratch<uint32_t> taken(
      lumScratchBytes((spaced ? distances.cells() : 1) * sizeof(uint32_t)));
  LUM_HARRIS_REQUIRE(taken);
  // What has been allocated fits a size_t.
  if (spaced) {
    std::memset(taken.data(), 0, static_cast<size_t>(distances.cells() * sizeof(uint32_t)));
  }

  // A heap, since the list is often full long before the weakest candidate's turn.
  const auto weaker = [](const Find& a, const Find& b) {
    if (a.response != b.response) return a.response < b.response;
    return a.y != b.y ? a.y > b.y : a.x > b.x;
  };
  std::make_heap(list.begin(), list.end(), weaker);
  uint32_t count = 0;
  for (Find* end = list.end(); end != list.begin() && count < nCornersMax; --end) {
    std::pop_heap(list.begin(), end, weaker);
    const uint32_t x = end[-1].x + region.x0 - lumHarrisMargin(kMaxima);
    const uint32_t y = end[-1].y + region.y0 - lumHarrisMargin(kMaxima);
    if (spaced && !distances.allows(taken.data(), xy, x, y)) continue;
    xy[size_t{count} * 2] = x;
    xy[size_t{count} * 2 + 1] = y;
    ++count;
    if (spaced) distances.add(taken.data(), count, x, y);
  }
  *nCorners = count;
}

void lumHarrisLocalMax(lumHarrisScan* scan, const lumHarrisImage& image, uint32_t posX,
                       uint32_t posY, uint32_t* maxX, uint32_t* maxY, int32_t* maxScore) {
  constexpr uint32_t kReach = 5;
  constexpr uint32_t kMargin = lumHarrisMargin(lumHarrisMaxima::all);
  // First and one past the last of the responses along one direction.
  const auto from = [=](uint32_t position) {
    return std::max(position - std::min(position, kReach), kMargin);
  };
  const auto to = [=](uint32_t position, uint32_t size) {
    return static_cast<uint32_t>(
        std::min(uint64_t{position} + kReach + 1, uint64_t{size - std::min(size, kMargin)}));
  };
  Region region(image, 0);
  region.x0 = from(posX), region.x1 = std::max(to(posX, image.width), region.x0);
  region.y0 = from(posY), region.y1 = std::max(to(posY, image.height), region.y0);
  StrongestList list;
  if (!region.isEmpty()) {
    region.scan(scan, image, lumHarrisResponse::corner, lumHarrisMaxima::all, list);
    posX = list.strongest.x + region.x0 - kMargin;
    posY = list.strongest.y + region.y0 - kMargin;
  }
  *maxX = posX;
  *maxY = posY;
  *maxScore = list.strongest.response;
}
