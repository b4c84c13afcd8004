#include "lumen/lumenFast.h"

#include "lumenEntry.h"

namespace {

// The shapes of the functions: each has its own condition, which a refused call quotes letter for
// letter.
enum class Shape { plain, masked, scored, scoredMasked };

template <Shape kShape>
constexpr const char* kFast9 = nullptr;
template <>
constexpr const char* kFast9<Shape::plain> =
    "src && xy && numcorners && stride >= width && border*2 < width && border*2 < height";
template <>
constexpr const char* kFast9<Shape::masked> =
    "src && xy && numcorners && bitMask && stride >= width && border*2 < width && border*2 < "
    "height";
template <>
constexpr const char* kFast9<Shape::scored> =
    "src && xy && scores && numcorners && stride >= width && border*2 < width && border*2 < "
    "height";
template <>
constexpr const char* kFast9<Shape::scoredMasked> =
    "src && xy && scores && numcorners && bitMask && stride >= width && border*2 < width && "
    "border*2 < height";

template <Shape kShape>
constexpr const char* kFast10 = nullptr;
template <>
constexpr const char* kFast10<Shape::plain> =
    "src && xy && nCorners && srcStride >= srcWidth && border*2 < srcWidth && border*2 < srcHeight";
template <>
constexpr const char* kFast10<Shape::masked> =
    "src && xy && nCorners && mask && srcStride >= srcWidth && border*2 < srcWidth && border*2 < "
    "srcHeight";
template <>
constexpr const char* kFast10<Shape::scored> =
    "src && xy && scores && nCorners && srcStride >= srcWidth && border*2 < srcWidth && border*2 < "
    "srcHeight";
template <>
constexpr const char* kFast10<Shape::scoredMasked> =
    "src && xy && scores && nCorners && mask && srcStride >= srcWidth && border*2 < srcWidth && "
    "border*2 < srcHeight";

// Puts the image's arguments right and asks the remote units' demands; false where the call is to
// be refused. `pointers`: those that the function needs beside the image and the list.
template <class Entry, class... Pointer>
[[gnu::always_inline]] inline bool isReady(Entry& entry, const uint8_t* src, uint32_t width,
                                           uint32_t height, uint32_t& stride, uint32_t& border,
                                           const uint32_t* xy, const Pointer*... pointers) {
  constexpr uint32_t kRadius = 3;
  lumPack(stride, width);
  if (border < kRadius) border = kRadius;
  if (entry.onDsp()) {
    entry.needs(LUM_ENTRY_SWITCHES.forcedRemote ||
                (lumWorthRemote(width, height, 0, 0) && lumMultipleOf<8>(src, stride)));
  }
  if (entry.onGpu()) entry.needs(lumMultipleOf<16>(src, xy));
  const uint64_t twice = uint64_t{border} * 2;
  return src && xy && (... && pointers) && stride >= width && twice < width && twice < height;
}

// What the functions with a work area also ask of the graphics unit.
template <class Entry>
[[gnu::always_inline]] inline void askOfWork(Entry& entry, const uint32_t* scores, uint32_t stride,
                                             uint32_t nmsEnabled, const uint32_t* tempBuf) {
  if (!entry.onGpu()) return;
  entry.needs(lumMultipleOf<16>(scores) && lumMultipleOf<8>(stride) &&
              (!nmsEnabled || (tempBuf && lumMultipleOf<16>(tempBuf))));
}

}  // namespace

void lumCornerFast9u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                      int32_t barrier, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                      uint32_t* nCorners) {
  auto entry = LUM_ENTRY(lumCornerFast9u8);
  if (!isReady(entry, src, srcWidth, srcHeight, srcStride, border, xy, nCorners))
    return entry.refuse(kFast9<Shape::plain>);
  return entry.call(src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax,
                    nCorners);
}

void lumCornerFast9InMasku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                            uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                            uint32_t nCornersMax, uint32_t* nCorners, const uint8_t* bitMask,
                            uint32_t maskWidth, uint32_t maskHeight) {
  auto entry = LUM_ENTRY(lumCornerFast9InMasku8);
  if (!isReady(entry, src, srcWidth, srcHeight, srcStride, border, xy, nCorners, bitMask))
    return entry.refuse(kFast9<Shape::masked>);
  return entry.call(src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners,
                    bitMask, maskWidth, maskHeight);
}

void lumCornerFast9Scoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                           uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                           uint32_t* scores, uint32_t nCornersMax, uint32_t* nCorners) {
  auto entry = LUM_ENTRY(lumCornerFast9Scoreu8);
  if (!isReady(entry, src, srcWidth, srcHeight, srcStride, border, xy, scores, nCorners))
    return entry.refuse(kFast9<Shape::scored>);
  return entry.call(src, srcWidth, srcHeight, srcStride, barrier, border, xy, scores, nCornersMax,
                    nCorners);
}

void lumCornerFast9InMaskScoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                 uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                                 uint32_t* scores, uint32_t nCornersMax, uint32_t* nCorners,
                                 const uint8_t* bitMask, uint32_t maskWidth, uint32_t maskHeight) {
  auto entry = LUM_ENTRY(lumCornerFast9InMaskScoreu8);
  if (!isReady(entry, src, srcWidth, srcHeight, srcStride, border, xy, scores, nCorners, bitMask))
    return entry.refuse(kFast9<Shape::scoredMasked>);
  return entry.call(src, srcWidth, srcHeight, srcStride, barrier, border, xy, scores, nCornersMax,
                    nCorners, bitMask, maskWidth, maskHeight);
}

void lumCornerFast9Scoreu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                              uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                              uint32_t* scores, uint32_t nCornersMax, uint32_t* nCorners,
                              uint32_t nmsEnabled, uint32_t* tempBuf) {
  auto entry = LUM_ENTRY(lumCornerFast9Scoreu8_v2);
  if (!isReady(entry, src, srcWidth, srcHeight, srcStride, border, xy, scores, nCorners))
    return entry.refuse(kFast9<Shape::scored>);
  askOfWork(entry, scores, srcStride, nmsEnabled, tempBuf);
  return entry.call(src, srcWidth, srcHeight, srcStride, barrier, border, xy, scores, nCornersMax,
                    nCorners, nmsEnabled, tempBuf);
}

void lumCornerFast9InMaskScoreu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                    uint32_t srcStride, int32_t barrier, uint32_t border,
                                    uint32_t* xy, uint32_t* scores, uint32_t nCornersMax,
                                    uint32_t* nCorners, const uint8_t* bitMask, uint32_t maskWidth,
                                    uint32_t maskHeight, uint32_t nmsEnabled, uint32_t* tempBuf) {
  auto entry = LUM_ENTRY(lumCornerFast9InMaskScoreu8_v2);
  if (!isReady(entry, src, srcWidth, srcHeight, srcStride, border, xy, scores, nCorners, bitMask))
    return entry.refuse(kFast9<Shape::scoredMasked>);
  askOfWork(entry, scores, srcStride, nmsEnabled, tempBuf);
  return entry.call(src, srcWidth, srcHeight, srcStride, barrier, border, xy, scores, nCornersMax,
                    nCorners, bitMask, maskWidth, maskHeight, nmsEnabled, tempBuf);
}

void lumCornerFast10u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                       uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                       uint32_t nCornersMax, uint32_t* nCorners) {
  auto entry = LUM_ENTRY(lumCornerFast10u8);
  if (!isReady(entry, src, srcWidth, srcHeight, srcStride, border, xy, nCorners))
    return entry.refuse(kFast10<Shape::plain>);
  return entry.call(src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax,
                    nCorners);
}

void lumCornerFast10InMasku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                             uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                             uint32_t nCornersMax, uint32_t* nCorners, const uint8_t* mask,
                             uint32_t maskWidth, uint32_t maskHeight) {
  auto entry = LUM_ENTRY(lumCornerFast10InMasku8);
  if (!isReady(entry, src, srcWidth, srcHeight, srcStride, border, xy, nCorners, mask))
    return entry.refuse(kFast10<Shape::masked>);
  return entry.call(src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners,
                    mask, maskWidth, maskHeight);
}

void lumCornerFast10Scoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                            uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                            uint32_t* scores, uint32_t nCornersMax, uint32_t* nCorners,
                            uint32_t nmsEnabled, uint32_t* tempBuf) {
  auto entry = LUM_ENTRY(lumCornerFast10Scoreu8);
  if (!isReady(entry, src, srcWidth, srcHeight, srcStride, border, xy, scores, nCorners))
    return entry.refuse(kFast10<Shape::scored>);
  askOfWork(entry, scores, srcStride, nmsEnabled, tempBuf);
  return entry.call(src, srcWidth, srcHeight, srcStride, barrier, border, xy, scores, nCornersMax,
                    nCorners, nmsEnabled, tempBuf);
}

void lumCornerFast10InMaskScoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                  uint32_t srcStride, int32_t barrier, uint32_t border,
                                  uint32_t* xy, uint32_t* scores, uint32_t nCornersMax,
                                  uint32_t* nCorners, const uint8_t* mask, uint32_t maskWidth,
                                  uint32_t maskHeight, uint32_t nmsEnabled, uint32_t* tempBuf) {
  auto entry = LUM_ENTRY(lumCornerFast10InMaskScoreu8);
  if (!isReady(entry, src, srcWidth, srcHeight, srcStride, border, xy, scores, nCorners, mask))
    return entry.refuse(kFast10<Shape::scoredMasked>);
  askOfWork(entry, scores, srcStride, nmsEnabled, tempBuf);
  return entry.call(src, srcWidth, srcHeight, srcStride, barrier, border, xy, scores, nCornersMax,
                    nCorners, mask, maskWidth, maskHeight, nmsEnabled, tempBuf);
}
