// What a search for regions writes to the caller.

#include <pthread.h>

#include <algorithm>

#include "cpu/lumenMserFxp.h"
#include "lumenRoutines.h"
#include "platform/lumenPlatform.h"

namespace {

// The points of the first `count` pixels of a list.
template <class T>
void copyPoints(const MSER_sList& list, uint32_t head, uint32_t count, const MSER_cRowOf& rowOf,
                T* point) {
  constexpr uint32_t kBlock = 8;
  for (uint32_t at = head; count > 0;) {
    const uint32_t* pixel = list.pixel + at;
    if (count > kBlock) {
      uint32_t turns = 0;
      for (uint32_t k = 0; k < kBlock; ++k) turns |= pixel[k];
      if (turns < MSER_sList::kTurn) {
        for (uint32_t k = 0; k < kBlock; ++k) rowOf.write(pixel[k], point + 2 * k);
        at += kBlock;
        point += 2 * kBlock;
        count -= kBlock;
        continue;
      }
    }
    rowOf.write(*pixel & ~MSER_sList::kTurn, point);
    at = *pixel & MSER_sList::kTurn ? list.turn[at] : at + 1;
    point += 2;
    --count;
  }
}

// Regions of one polarity, on their way to the caller's arrays.
struct Piece {
  const MSER_sHandle* handle;
  const MSER_sPolarity* polarity;
  const MSER_sOutput* output;
  uint32_t first, count;
  uint32_t outputIndex;
  size_t pointIndex;
  uint32_t nodeOffset;
};

void copyExt(const Piece& piece, uint32_t region, uint32_t index) {
  const MSER_sExt& ext = piece.polarity->pExt[region];
  const MSER_sExtArrays& arrays = piece.output->ext;
  arrays.variation[index] = ext.nVariation;
  if (arrays.polarity) arrays.polarity[index] = ext.nPolarity;
  arrays.nodeId[index] = ext.nNodeId + piece.nodeOffset;
  arrays.nodeCounter[index] = ext.nNodeCounter + piece.nodeOffset;
}

// A copy worker, with 32-bit points, or with 16-bit points and rectangles.
template <class T>
void copyPiece(const Piece& piece, T* points) {
  const MSER_sOutput& output = *piece.output;
  const MSER_cRowOf rowOf(piece.handle->size.nStride);
  points += 2 * piece.pointIndex;
  for (uint32_t k = 0; k < piece.count; ++k) {
    const MSER_sRegion& region = piece.polarity->pRegions[piece.first + k];
    const uint32_t index = piece.outputIndex + k;
    output.numPointsInContour[index] = region.nSize;
    copyPoints(piece.polarity->list, region.pHead, region.nSize, rowOf, points);
    if constexpr (sizeof(T) == sizeof(uint16_t)) {
      uint16_t* const rectangle = output.boundingRects + 4 * size_t{index};
      if (output.rects == MSER_eRects::corners) {
        LUM_ROUTINES.MSER_boundBox(points, region.nSize, rectangle);
      } else {
        LUM_ROUTINES.MSER_boundBox_v3(points, region.nSize, rectangle);
      }
    }
    points += 2 * size_t{region.nSize};
    if (output.ext.variation) copyExt(piece, piece.first + k, index);
  }
}

void* MSER_CopyOutput(void* argument) {
  const Piece& piece = *static_cast<const Piece*>(argument);
  copyPiece(piece, piece.output->points32);
  return nullptr;
}

void* MSER_CopyOutput_v2(void* argument) {
  const Piece& piece = *static_cast<const Piece*>(argument);
  copyPiece(piece, piece.output->points16);
  return nullptr;
}

constexpr uint32_t kPieces = 8;
constexpr size_t kPointsWorthThreads = 1 << 16;

// Each polarity in four pieces: three of a quarter of its regions, and the rest.
size_t cut(const MSER_sHandle& handle, const MSER_sOutput& output, uint32_t minus, uint32_t plus,
           Piece (&pieces)[kPieces]) {
  uint32_t outputIndex = 0;
  size_t points = 0;
  for (uint32_t k = 0; k < kPieces; ++k) {
    const bool isPlus = k >= kPieces / 2;
    const MSER_sPolarity& polarity = isPlus ? handle.plus : handle.minus;
    const uint32_t all = isPlus ? plus : minus, quarter = all / 4, first = k % 4 * quarter;
    const uint32_t count = k % 4 == 3 ? all - first : quarter;
    pieces[k] = {&handle, &polarity,   &output, first,
                 count,   outputIndex, points,  isPlus ? handle.minus.nNodes : 0};
    outputIndex += count;
    for (uint32_t region = first; region < first + count; ++region) {
      points += polarity.pRegions[region].nSize;
    }
  }
  return points;
}

void copyPieces(Piece (&pieces)[kPieces], bool is16, bool threading) {
  void* (*const copy)(void*) = is16 ? MSER_CopyOutput_v2 : MSER_CopyOutput;
  pthread_t threads[kPieces];
  uint32_t started = 0, k = 0;
  // The last piece is the calling thread's, and so are all from one on whose thread cannot start.
  for (; threading && k < kPieces - 1; ++k) {
    if (pieces[k].count == 0) continue;
    if (pthread_create(&threads[started], nullptr, copy, &pieces[k]) != 0) break;
    ++started;
  }
  for (; k < kPieces; ++k) copy(&pieces[k]);
  while (started > 0) pthread_join(threads[--started], nullptr);
}

}  // namespace

MSER_eResult MSER_toLUMapi(const MSER_sHandle& handle, const MSER_sOutput& output, bool threading) {
  const uint32_t most = output.nMaxContours;
  uint32_t minus = handle.minus.nRegions, plus = handle.plus.nRegions;
  MSER_eResult result = MSER_COMPLETE;
  if (uint64_t{minus} + plus > most) {
    lumLog(LUM_LOG_ERROR, "lumen_lib_log",
           "ERROR: extracted contours exceed the maximum number allowed of %i. Please increase "
           "maxContours.\n",
           static_cast<int>(most));
    if (minus >= most && plus >= most) minus = plus = most / 2;
    else if (minus > plus) minus = most - plus;
    else plus = most - minus;
    result = MSER_CUT;
  }

  Piece pieces[kPieces];
  const size_t points = cut(handle, output, minus, plus, pieces);
  if (points > output.nPointsArraySize) {
    output.setCounts(0, 0);
    lumLog(LUM_LOG_ERROR, "lumen_lib_log",
           "ERROR: %i contour points extracted. Exceeds the maximum number of %i points allowed in "
           "the contour output buffers. Please increase pointsArraySize.\n",
           static_cast<int>(std::min(points, size_t{INT32_MAX})),
           static_cast<int>(output.nPointsArraySize));
    return MSER_FAILED;
  }
  copyPieces(pieces, output.points16 != nullptr, threading && points >= kPointsWorthThreads);
  output.setCounts(minus, plus);
  return result;
}
