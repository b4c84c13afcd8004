// FAST corners with arcs of 9, reference, and what all FAST searches share.

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "cpu/lumenFastArc.h"
#include "platform/lumenPlatform.h"

lumFastMaskScale lumFastScaleOf(const lumFastMask& mask, uint32_t width, uint32_t height) {
  for (uint32_t shift = 0; shift <= 3; ++shift) {
    const auto isTimes = [shift](uint64_t a, uint64_t b) { return a == b << shift; };
    if (isTimes(mask.width, width) && isTimes(mask.height, height)) return {true, shift, 0};
    if (isTimes(width, mask.width) && isTimes(height, mask.height)) return {true, 0, shift};
  }
  return {};
}

void make_offsets(int32_t* offsets, uint32_t stride) {
  for (int i = 0; i < LUM_CIRCLE; ++i) {
    offsets[i] =
        static_cast<int32_t>(LUM_CIRCLE_PLACE[i].dx + int64_t{LUM_CIRCLE_PLACE[i].dy} * stride);
  }
}

void score_9(const uint8_t* src, uint32_t srcWidth, int32_t barrier, uint32_t nCorners,
             const uint32_t* xy, uint32_t* scores, uint32_t srcStride) {
  lumFastSearch search = {};
  search.src = src;
  search.stride = srcStride ? srcStride : srcWidth;
  search.barrier = barrier;
  lumFastScore(LUM_ROUTINES.fast9_corner_score, search, nCorners, xy, scores);
}

void lumFastScore(lumCornerScore* score, const lumFastSearch& search, uint32_t count,
                  const uint32_t* xy, uint32_t* scores) {
  // Where 32 bits do not hold the offsets of such rows, the corner's surroundings are copied.
  constexpr uint32_t kSide = 7, kLongestStride = (INT32_MAX - 3) / 3;
  const bool isCopied = search.stride > kLongestStride;
  int32_t offsets[LUM_CIRCLE];
  make_offsets(offsets, isCopied ? kSide : search.stride);
  for (size_t i = 0; i < count; ++i) {
    const uint8_t* p = search.src + size_t{xy[2 * i + 1]} * search.stride + xy[2 * i];
    uint8_t copy[kSide * kSide];
    if (isCopied) {
      for (size_t y = 0; y < kSide; ++y) {
        std::memcpy(copy + y * kSide, p + y * search.stride - 3 * size_t{search.stride} - 3, kSide);
      }
      p = copy + 3 * kSide + 3;
    }
    scores[i] = score(p, offsets, search.barrier);
  }
}

void nms_processing(const uint32_t* candXY, const uint32_t* candScores, uint32_t* rowStart,
                    uint32_t count, uint32_t* outXY, uint32_t* outScores, uint32_t* outCount) {
  *outCount = 0;
  if (count == 0) return;
  constexpr uint32_t kNone = UINT32_MAX;
  const auto x = [&](size_t i) { return candXY[2 * i]; };
  const auto y = [&](size_t i) { return candXY[2 * i + 1]; };
  const uint32_t lastRow = y(count - 1);
  std::fill_n(rowStart, size_t{lastRow} + 1, kNone);
  for (uint32_t i = count; i-- > 0;) rowStart[y(i)] = i;

  // Whether row `row` has a corner as strong as corner i beside it. The cursor only moves forward.
  const auto isBeaten = [&](uint32_t i, uint32_t row, uint32_t& cursor) {
    if (rowStart[row] == kNone || cursor >= count) return false;
    if (y(cursor) < row) cursor = rowStart[row];
    while (cursor < count && y(cursor) == row && x(cursor) + 1 < x(i)) ++cursor;
    for (uint32_t k = cursor; k < count && y(k) == row && x(k) <= x(i) + 1; ++k) {
      if (candScores[k] >= candScores[i]) return true;
    }
    return false;
  };
  uint32_t upper = 0, lower = 0, kept = 0;
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t score = candScores[i];
    if (i > 0 && y(i - 1) == y(i) && x(i - 1) + 1 == x(i) && candScores[i - 1] >= score) continue;
    if (i + 1 < count && y(i + 1) == y(i) && x(i) + 1 == x(i + 1) && candScores[i + 1] >= score) {
      continue;
    }
    if (y(i) > 0 && isBeaten(i, y(i) - 1, upper)) continue;
    if (y(i) != lastRow && isBeaten(i, y(i) + 1, lower)) continue;
    outXY[2 * size_t{kept}] = x(i);
    outXY[2 * size_t{kept} + 1] = y(i);
    outScores[kept++] = score;
  }
  *outCount = kept;
}

void lumFastNeedsWork(const uint32_t* tempBuf, const char* file, int line) {
  if (tempBuf) return;
  lumLog(LUM_LOG_ERROR, "lumen_lib_log", "%s@%d: %s Assertion failed\n", file, line, "tempBuf");
  std::exit(1);
}

uint32_t fast9_corner_scoreC(const uint8_t* p, const int32_t* offsets, int32_t barrier) {
  return lumBisectScore<9>(p, offsets, barrier);
}

void lumCornerFast9u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                       uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                       uint32_t nCornersMax, uint32_t* nCorners) {
  lumFindCorners<9>(
      {src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners});
}

void lumCornerFast9InMasku8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                             uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                             uint32_t nCornersMax, uint32_t* nCorners, const uint8_t* bitMask,
                             uint32_t maskWidth, uint32_t maskHeight) {
  lumFindCorners<9>(
      {src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners},
      {bitMask, maskWidth, maskHeight});
}

void lumCornerFast9Scoreu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                            uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                            uint32_t* scores, uint32_t nCornersMax, uint32_t* nCorners) {
  lumFindScored({src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners},
                scores, LUM_ROUTINES.fast9_corner_score, nullptr, lumFindBy(lumCornerFast9u8));
}

void lumCornerFast9InMaskScoreu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                  uint32_t srcStride, int32_t barrier, uint32_t border,
                                  uint32_t* xy, uint32_t* scores, uint32_t nCornersMax,
                                  uint32_t* nCorners, const uint8_t* bitMask, uint32_t maskWidth,
                                  uint32_t maskHeight) {
  lumFindScored({src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners},
                scores, LUM_ROUTINES.fast9_corner_score, nullptr,
                lumFindBy(lumCornerFast9InMasku8, bitMask, maskWidth, maskHeight));
}

void lumCornerFast9Scoreu8_v2C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                               uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                               uint32_t* scores, uint32_t nCornersMax, uint32_t* nCorners,
                               uint32_t nmsEnabled, uint32_t* tempBuf) {
  if (nmsEnabled) lumFastNeedsWork(tempBuf, LUM_FAST9_FILE, 3097);
  lumFindScored({src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners},
                scores, LUM_ROUTINES.fast9_corner_score, nmsEnabled ? tempBuf : nullptr,
                lumFindBy(lumCornerFast9u8));
}

void lumCornerFast9InMaskScoreu8_v2C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                     uint32_t srcStride, int32_t barrier, uint32_t border,
                                     uint32_t* xy, uint32_t* scores, uint32_t nCornersMax,
                                     uint32_t* nCorners, const uint8_t* bitMask, uint32_t maskWidth,
                                     uint32_t maskHeight, uint32_t nmsEnabled, uint32_t* tempBuf) {
  if (nmsEnabled) lumFastNeedsWork(tempBuf, LUM_FAST9_FILE, 3143);
  lumFindScored({src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners},
                scores, LUM_ROUTINES.fast9_corner_score, nmsEnabled ? tempBuf : nullptr,
                lumFindBy(lumCornerFast9InMasku8, bitMask, maskWidth, maskHeight));
}
