// Module MSER: maximally stable extremal regions.
//
// A call makes a handle, which is larger than the image by what two columns say, and at least as
// large as the least handle. Script columns: source, the numbers of `kNumbers`, then references:
// the number of regions (of the split form MSER- and MSER+), the points of each region, rectangles
// where there are any, the points, what the extended forms say of a region, and a text.

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include "lumen/lumenMser.h"
#include "lumenTestLog.h"
#include "lumenTestModule.h"
#include "lumenTestModules.h"

namespace {

using Arguments = LUMEN_TEST_Arguments;

enum Number : size_t {
  kWider,
  kHigher,
  kDelta,
  kMinArea,
  kMaxArea,
  kMaxVariation,
  kMinDiversity,
  kMaxContours,
  kPointsArraySize,
  kThreading
};
constexpr double kPoints[] = {0, 1, 100, 3000, 20000};
constexpr LUMEN_TEST_Scalar kNumbers[] = {
    {"wider", LUMEN_TEST_Type::s32, 0, 40, 0},
    {"higher", LUMEN_TEST_Type::s32, 0, 40, 0},
    {"delta", LUMEN_TEST_Type::u32, 1, 255, 5},
    {"minArea", LUMEN_TEST_Type::u32, 0, 30, 60},
    {"maxArea", LUMEN_TEST_Type::u32, 2, 5000, 14400},
    {"maxVariation", LUMEN_TEST_Type::f32, 0.125, 8, 0.25},
    {"minDiversity", LUMEN_TEST_Type::f32, 0, 0.5, 0.25},
    {"maxContours", LUMEN_TEST_Type::u32, 0, 64, 1000},
    {"pointsArraySize", LUMEN_TEST_Type::u32, 0, 20000, 100000, kPoints},
    {"threading", LUMEN_TEST_Type::u8, 0, 1, 0},
};

// The least handle, and a greatest area that it takes.
void adjust(Arguments& a) {
  const uint32_t minArea = a.value<uint32_t>(kMinArea);
  a.setValue(kMaxArea, std::max(a.value<uint32_t>(kMaxArea), minArea + 2));
}
uint32_t handleSize(uint32_t image, int32_t more, uint32_t least) {
  return std::max(image + static_cast<uint32_t>(more), least);
}

// A handle for the length of a call, and the image as it takes it.
class Search {
 public:
  Search(const Arguments& a, bool nn8) : stride_(a.stride[0]) {
    (nn8 ? lumMserNN8Init : lumMserInit)(handleSize(a.width, a.value<int32_t>(kWider), 51),
                                         handleSize(a.height, a.value<int32_t>(kHigher), 6),
                                         a.value<uint32_t>(kDelta), a.value<uint32_t>(kMinArea),
                                         a.value<uint32_t>(kMaxArea), a.value<float>(kMaxVariation),
                                         a.value<float>(kMinDiversity), &handle_);
    if (handle_) lumMserSetThreading(handle_, a.value<uint8_t>(kThreading));
    source_ = a.as<const uint8_t>(0);
    // An image that a call would search in place, with its stride left out of account.
    const bool hasGaps = stride_ != a.width && stride_ != 0;
    if (a.width % 32 == 0 && hasGaps && reinterpret_cast<uintptr_t>(source_) % 32 == 0) {
      packed_.resize(size_t{a.width} * a.height);
      for (uint32_t y = 0; y < a.height; ++y) {
        std::copy_n(source_ + size_t{y} * stride_, a.width, &packed_[size_t{y} * a.width]);
      }
      source_ = packed_.data();
      stride_ = a.width;
    }
  }
  ~Search() {
    if (handle_) lumMserRelease(handle_);
  }
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;

  void* handle() const { return handle_; }
  const uint8_t* source() const { return source_; }
  uint32_t stride() const { return stride_; }

 private:
  void* handle_ = nullptr;
  const uint8_t* source_;
  uint32_t stride_;
  std::vector<uint8_t> packed_;
};

// What a form writes, by the images' places; 0: it does not.
struct Form {
  bool nn8, isSplit, hasRects, isExtended;

  constexpr size_t contours() const { return isSplit ? 2 : 1; }  // places from 1 on
  constexpr size_t sizes() const { return contours() + 1; }
  constexpr size_t rects() const { return hasRects ? sizes() + 1 : 0; }
  constexpr size_t points() const { return sizes() + (hasRects ? 2 : 1); }
  constexpr size_t variation() const { return points() + 1; }
  constexpr size_t polarity() const { return isSplit ? 0 : variation() + 1; }
  constexpr size_t nodeId() const { return variation() + (isSplit ? 1 : 2); }
  constexpr size_t nodeCounter() const { return nodeId() + 1; }
  constexpr size_t images() const { return isExtended ? nodeCounter() + 1 : points() + 1; }

  uint64_t countContours(const Arguments& a) const {
    uint64_t count = a.as<uint32_t>(1)[0];
    if (isSplit) count += a.as<uint32_t>(2)[0];
    return std::min(count, uint64_t{a.value<uint32_t>(kMaxContours)});
  }
  uint64_t countPoints(const Arguments& a) const {
    uint64_t count = 0;
    for (uint64_t k = countContours(a); k-- > 0;) count += a.as<uint32_t>(sizes())[k];
    return std::min(count, uint64_t{a.value<uint32_t>(kPointsArraySize)});
  }
};

template <Form kForm>
constexpr std::array<LUMEN_TEST_Image, kForm.images()> kImages = [] {
  using Type = LUMEN_TEST_Type;
  std::array<LUMEN_TEST_Image, kForm.images()> images = {};
  // A number, or numbers for each region.
  const auto single = [&](size_t place, const char* name) {
    images[place] = {.name = name,
                     .type = Type::u32,
                     .isWritten = true,
                     .isPacked = true,
                     .extent = [](const Arguments&) -> LUMEN_TEST_Extent {
                       return {1, 1};
                     }};
  };
  const auto list = [&]<size_t kEach>(size_t place, const char* name, Type type,
                                      std::integral_constant<size_t, kEach>) {
    images[place] = {
        .name = name,
        .type = type,
        .isWritten = true,
        .isPacked = true,
        .extent = [](const Arguments& a) -> LUMEN_TEST_Extent {
          return {kEach, a.value<uint32_t>(kMaxContours)};
        },
        .meaningful = [](const Arguments& a) { return kEach * kForm.countContours(a); }};
  };
  constexpr std::integral_constant<size_t, 1> kOne;
  images[0] = {.name = "src", .type = Type::u8};
  single(1, kForm.isSplit ? "numContoursMinus" : "numContours");
  if (kForm.isSplit) single(2, "numContoursPlus");
  list(kForm.sizes(), "numPointsInContour", Type::u32, kOne);
  if (kForm.hasRects) {
    list(kForm.rects(), "boundingRects", Type::u16, std::integral_constant<size_t, 4>());
  }
  images[kForm.points()] = {
      .name = "points",
      .type = kForm.hasRects ? Type::u16 : Type::u32,
      .isWritten = true,
      .isPacked = true,
      .extent = [](const Arguments& a) -> LUMEN_TEST_Extent {
        return {2, a.value<uint32_t>(kPointsArraySize)};
      },
      .meaningful = [](const Arguments& a) { return 2 * kForm.countPoints(a); }};
  if (kForm.isExtended) {
    list(kForm.variation(), "variation", Type::u32, kOne);
    if (!kForm.isSplit) list(kForm.polarity(), "polarity", Type::s32, kOne);
    list(kForm.nodeId(), "nodeId", Type::u32, kOne);
    list(kForm.nodeCounter(), "nodeCounter", Type::u32, kOne);
  }
  return images;
}();

// The first region in which a call differs from what was expected.
template <Form kForm, class Coordinate>
void explain(const char* name, const Arguments& got, const Arguments& want) {
  const uint64_t regions = kForm.countContours(want), found = kForm.countContours(got);
  const uint32_t* const sizes = got.as<uint32_t>(kForm.sizes());
  const uint32_t* const wantedSizes = want.as<uint32_t>(kForm.sizes());
  size_t at = 0;
  for (uint64_t k = 0; k < std::min(regions, found); ++k) {
    const int region = static_cast<int>(k);
    if (sizes[k] != wantedSizes[k]) {
      LUMEN_TEST_Log("%s: region %d has %u points instead of %u", name, region, sizes[k],
                     wantedSizes[k]);
      return;
    }
    for (uint32_t i = 0; i < sizes[k]; ++i, ++at) {
      const Coordinate* const point = got.as<Coordinate>(kForm.points()) + 2 * at;
      const Coordinate* const wanted = want.as<Coordinate>(kForm.points()) + 2 * at;
      if (point[0] == wanted[0] && point[1] == wanted[1]) continue;
      LUMEN_TEST_Log("%s: point %u of region %d is (%u, %u) instead of (%u, %u)", name, i, region,
                     unsigned{point[0]}, unsigned{point[1]}, unsigned{wanted[0]},
                     unsigned{wanted[1]});
      return;
    }
  }
  if (regions != found) {
    LUMEN_TEST_Log("%s: %d regions instead of %d", name, static_cast<int>(found),
                   static_cast<int>(regions));
  } else {
    LUMEN_TEST_Log("%s: all points of all %d regions are right, but not what is said of them", name,
                   static_cast<int>(found));
  }
}

template <LUMEN_FUNC kFunction, Form kForm>
constexpr LUMEN_TEST_Description describe(const char* suffix, void (*call)(const Arguments&)) {
  using Coordinate = std::conditional_t<kForm.hasRects, uint16_t, uint32_t>;
  return {.name = LUMEN_FUNC_NAME[kFunction],
          .id = kFunction,
          .scripts = {"lumenmser", suffix, /*hasProfiling=*/false},
          .images = kImages<kForm>,
          .scalars = kNumbers,
          .call = call,
          .sizes = {.greatestWidth = 8000, .greatestHeight = 8000},
          .adjust = adjust,
          .explain = [](const Arguments& got, const Arguments& want) {
            explain<kForm, Coordinate>(LUMEN_FUNC_NAME[kFunction], got, want);
          }};
}

template <auto* function, Form kForm>
void callPlain(const Arguments& a) {
  const Search search(a, kForm.nn8);
  function(search.handle(), search.source(), a.width, a.height, search.stride(),
           a.value<uint32_t>(kMaxContours), a.as<uint32_t>(1), a.as<uint32_t>(kForm.sizes()),
           a.value<uint32_t>(kPointsArraySize), a.as<uint32_t>(kForm.points()));
}

template <auto* function, Form kForm>
void callExtended(const Arguments& a) {
  const Search search(a, kForm.nn8);
  function(search.handle(), search.source(), a.width, a.height, search.stride(),
           a.value<uint32_t>(kMaxContours), a.as<uint32_t>(1), a.as<uint32_t>(kForm.sizes()),
           a.as<uint32_t>(kForm.points()), a.value<uint32_t>(kPointsArraySize),
           a.as<uint32_t>(kForm.variation()), a.as<int32_t>(kForm.polarity()),
           a.as<uint32_t>(kForm.nodeId()), a.as<uint32_t>(kForm.nodeCounter()));
}

template <auto* function, Form kForm>
void callExtendedWithRects(const Arguments& a) {
  const Search search(a, kForm.nn8);
  function(search.handle(), search.source(), a.width, a.height, search.stride(),
           a.value<uint32_t>(kMaxContours), a.as<uint32_t>(1), a.as<uint32_t>(kForm.sizes()),
           a.as<uint16_t>(kForm.rects()), a.as<uint16_t>(kForm.points()),
           a.value<uint32_t>(kPointsArraySize), a.as<uint32_t>(kForm.variation()),
           a.as<int32_t>(kForm.polarity()), a.as<uint32_t>(kForm.nodeId()),
           a.as<uint32_t>(kForm.nodeCounter()));
}

void callWithRects(const Arguments& a);
void callSplit(const Arguments& a);

constexpr Form kPlain = {false, false, false, false}, kPlainNN8 = {true, false, false, false};
constexpr Form kExtended = {false, false, false, true}, kExtendedNN8 = {true, false, false, true};
constexpr Form kWithRects = {false, false, true, false};
constexpr Form kExtendedWithRects = {false, false, true, true}, kSplit = {false, true, true, true};

void callWithRects(const Arguments& a) {
  const Search search(a, false);
  lumMseru8_v2(search.handle(), search.source(), a.width, a.height, search.stride(),
               a.value<uint32_t>(kMaxContours), a.as<uint32_t>(1),
               a.as<uint32_t>(kWithRects.sizes()), a.as<uint16_t>(kWithRects.rects()),
               a.value<uint32_t>(kPointsArraySize), a.as<uint16_t>(kWithRects.points()));
}

void callSplit(const Arguments& a) {
  const Search search(a, false);
  lumMserSplitExtu8(search.handle(), search.source(), a.width, a.height, search.stride(),
                    a.value<uint32_t>(kMaxContours), a.as<uint32_t>(1), a.as<uint32_t>(2),
                    a.as<uint32_t>(kSplit.sizes()), a.as<uint16_t>(kSplit.rects()),
                    a.as<uint16_t>(kSplit.points()), a.value<uint32_t>(kPointsArraySize),
                    a.as<uint32_t>(kSplit.variation()), a.as<uint32_t>(kSplit.nodeId()),
                    a.as<uint32_t>(kSplit.nodeCounter()));
}

constexpr auto ku8 = describe<LUMEN_FUNC_lumMseru8, kPlain>("u8", callPlain<lumMseru8, kPlain>);
constexpr auto kExtu8 =
    describe<LUMEN_FUNC_lumMserExtu8, kExtended>("Extu8", callExtended<lumMserExtu8, kExtended>);
constexpr auto kNN8u8 =
    describe<LUMEN_FUNC_lumMserNN8u8, kPlainNN8>("NN8u8", callPlain<lumMserNN8u8, kPlainNN8>);
constexpr auto kExtNN8u8 = describe<LUMEN_FUNC_lumMserExtNN8u8, kExtendedNN8>(
    "ExtNN8u8", callExtended<lumMserExtNN8u8, kExtendedNN8>);
constexpr auto ku8_v2 = describe<LUMEN_FUNC_lumMseru8_v2, kWithRects>("u8_v2", callWithRects);
constexpr auto kExtu8_v2 = describe<LUMEN_FUNC_lumMserExtu8_v2, kExtendedWithRects>(
    "Extu8_v2", callExtendedWithRects<lumMserExtu8_v2, kExtendedWithRects>);
constexpr auto kSplitExtu8 =
    describe<LUMEN_FUNC_lumMserSplitExtu8, kSplit>("SplitExtu8", callSplit);
constexpr auto kExtu8_v3 = describe<LUMEN_FUNC_lumMserExtu8_v3, kExtendedWithRects>(
    "Extu8_v3", callExtendedWithRects<lumMserExtu8_v3, kExtendedWithRects>);

}  // namespace

LUMEN_UNIT_TEST_ONLY(lumMseru8, ku8)
LUMEN_UNIT_TEST_ONLY(lumMserExtu8, kExtu8)
LUMEN_UNIT_TEST_ONLY(lumMserNN8u8, kNN8u8)
LUMEN_UNIT_TEST_ONLY(lumMserExtNN8u8, kExtNN8u8)
LUMEN_UNIT_TEST_ONLY(lumMseru8_v2, ku8_v2)
LUMEN_UNIT_TEST_ONLY(lumMserExtu8_v2, kExtu8_v2)
LUMEN_UNIT_TEST_ONLY(lumMserSplitExtu8, kSplitExtu8)
LUMEN_UNIT_TEST_ONLY(lumMserExtu8_v3, kExtu8_v3)

int LUMEN_TEST_Mser(int loops, const char* dataDirectory) {
  static constexpr LUMEN_TEST_Function functions[] = {
      {&ku8, nullptr, unitTest_lumMseru8, profiling_lumMseru8},
      {&kExtu8, nullptr, unitTest_lumMserExtu8, profiling_lumMserExtu8},
      {&kNN8u8, nullptr, unitTest_lumMserNN8u8, profiling_lumMserNN8u8},
      {&kExtNN8u8, nullptr, unitTest_lumMserExtNN8u8, profiling_lumMserExtNN8u8},
      {&ku8_v2, nullptr, unitTest_lumMseru8_v2, profiling_lumMseru8_v2},
      {&kExtu8_v2, nullptr, unitTest_lumMserExtu8_v2, profiling_lumMserExtu8_v2},
      {&kSplitExtu8, nullptr, unitTest_lumMserSplitExtu8, profiling_lumMserSplitExtu8},
      {&kExtu8_v3, nullptr, unitTest_lumMserExtu8_v3, profiling_lumMserExtu8_v3},
  };
  return LUMEN_TEST_RunModule(functions, loops, dataDirectory);
}
