// Handles of the search for regions, and what a call prepares in them.

#include <cstdlib>
#include <cstring>
#include <new>

#include "cpu/lumenMserFxp.h"
#include "lumen/lumenMem.h"
#include "platform/lumenPlatform.h"

namespace {

constexpr uint32_t kAlignment = 32;

bool isAligned(const void* data) { return reinterpret_cast<uintptr_t>(data) % kAlignment == 0; }

// Areas that a call fills before it reads them; their pages become present when they are used.
template <class T>
T* newArea(size_t count) {
  return static_cast<T*>(std::calloc(count, sizeof(T)));
}

// Of the library's allocator, which keeps the distance to the raw block below the address.
void* newPlane(uint64_t nBytes) {
  return nBytes <= UINT32_MAX ? lumMemAlloc(static_cast<uint32_t>(nBytes), kAlignment) : nullptr;
}

void* newMask(const MSER_sHandle& handle) {
  const uint64_t nBytes =
      uint64_t{handle.size.nStride} * handle.size.nHeight * (handle.nn8 ? 4 : 2);
  void* mask = newPlane(nBytes);
  if (mask) std::memset(mask, 0, static_cast<size_t>(nBytes));
  return mask;
}

bool allocate(const MSER_sHandle& handle, MSER_sPolarity& polarity) {
  const size_t pixels = handle.size.nNumPixels;
  polarity.list.pixel = newArea<uint32_t>(pixels);
  polarity.list.turn = newArea<uint32_t>(pixels);
  polarity.pHistory = newArea<MSER_sHistory>(pixels);
  polarity.pBoundary = newArea<uint32_t>(pixels + MSER_LEVELS);
  return polarity.list.pixel && polarity.list.turn && polarity.pHistory && polarity.pBoundary;
}

void release(MSER_sPolarity& polarity) {
  lumMemFree(polarity.pMask);
  std::free(polarity.list.pixel);
  std::free(polarity.list.turn);
  std::free(polarity.pHistory);
  std::free(polarity.pBoundary);
  std::free(polarity.pRegions);
  lumMemFree(polarity.pExt);
}

void logError(const char* message) { lumLog(LUM_LOG_ERROR, "lumen_lib_log", "%s", message); }

void logNoMemory(uint64_t nBytes) {
  lumLog(LUM_LOG_ERROR, "lumen_lib_log", "ERROR: Failed to allocate memory of %i bytes.\n",
         static_cast<int>(nBytes));
}

bool makeRegions(MSER_sHandle& handle, uint32_t count) {
  if (count <= handle.nRegionCapacity) return true;
  const uint64_t nBytes = uint64_t{count} * sizeof(MSER_sRegion);
  handle.nRegionCapacity = 0;
  for (MSER_sPolarity* polarity : {&handle.minus, &handle.plus}) {
    std::free(polarity->pRegions);
    polarity->pRegions = nBytes <= SIZE_MAX ? newArea<MSER_sRegion>(count) : nullptr;
    if (polarity->pRegions) continue;
    logNoMemory(nBytes);
    return false;
  }
  handle.nRegionCapacity = count;
  return true;
}

bool makeExt(MSER_sHandle& handle, uint32_t count) {
  if (count <= handle.nExtCapacity) return true;
  handle.nExtCapacity = 0;
  for (MSER_sPolarity* polarity : {&handle.minus, &handle.plus}) {
    lumMemFree(polarity->pExt);
    polarity->pExt = static_cast<MSER_sExt*>(newPlane(uint64_t{count} * sizeof(MSER_sExt)));
    if (polarity->pExt) continue;
    logError("ERROR: Failed to allocate memory for ext information.\n");
    return false;
  }
  handle.nExtCapacity = count;
  return true;
}

bool copySource(MSER_sHandle& handle, const MSER_sImage& image) {
  const size_t stride = handle.size.nStride, nBytes = stride * image.height;
  if (handle.nCopyCapacity < nBytes) {
    lumMemFree(handle.pCopy);
    handle.pCopy = static_cast<uint8_t*>(newPlane(nBytes));
    handle.nCopyCapacity = handle.pCopy ? nBytes : 0;
  }
  if (!handle.pCopy) {
    logNoMemory(nBytes);
    return false;
  }
  for (uint32_t y = 0; y < image.height; ++y) {
    uint8_t* row = handle.pCopy + y * stride;
    std::memcpy(row, image.data + size_t{y} * image.stride, image.width);
    std::memset(row + image.width, 0, stride - image.width);
  }
  handle.pSource = handle.pCopy;
  return true;
}

}  // namespace

void MSER_AssertionFailed(const char* condition, const char* file, int line) {
  lumLog(LUM_LOG_ERROR, "lumen_lib_log", "%s@%d: %s Assertion failed\n", file, line, condition);
  std::exit(1);
}

MSER_sHandle* MSER_Initialize(uint32_t width, uint32_t height, uint32_t stride, int32_t delta,
                              uint32_t minSize, uint32_t maxSize, float maxVar, float minDiv,
                              bool nn8) {
  MSER_sHandle* const handle = new (std::nothrow) MSER_sHandle();
  if (!handle) {
    logError("ERROR: Cannot allocate MSER handle.\n");
    return nullptr;
  }
  if (width <= 50 || height <= 5) {
    logError(width <= 50 ? "ERROR: image width must be greater than 50 for MSER.\n"
                         : "ERROR: image height must be greater than 5 for MSER.\n");
    MSER_Release(handle);
    return nullptr;
  }
  handle->size = {(width - 2) * (height - 2), stride, maxSize, width, height};
  handle->nMinSize = minSize;
  handle->nMaxVar = maxVar;
  handle->nMinDiv = minDiv;
  handle->nDelta = delta;
  handle->nn8 = nn8;
  handle->threading = true;
  handle->plus.isPlus = true;
  // The last condition is not in the text: widths whose stride wrapped around 16 bits fail as all
  // others above the limit do.
  MSER_Assert(
      stride % 32 == 0 && stride <= 255 * 32 && 0 < delta && delta < 256 &&
          minSize < handle->size.nNumPixels && maxSize > 1 && minSize + 1 < maxSize && maxVar > 0 &&
          minDiv < 256 && stride >= width,
      "( ( pHandle->nStride&(32-1)) == 0 ) && ( pHandle->nStride <= ((1<<8)-1)*32) && ( "
      "0<pHandle->nDelta && pHandle->nDelta<256) && ( pHandle->nMinSize < pHandle->nNumPixels) && "
      "( pHandle->nMaxSize > 1) && ( pHandle->nMinSize+1 < pHandle->nMaxSize) && ( "
      "pHandle->nMaxVar > 0) && ( pHandle->nMinDiv < (1<<8))");

  handle->plus.pMask = newMask(*handle);
  handle->minus.pMask = newMask(*handle);
  MSER_Assert(isAligned(handle->plus.pMask) && isAligned(handle->minus.pMask),
              "((uintptr_t)pHandle->pMaskPlus&(32-1)) == 0 && "
              "((uintptr_t)pHandle->pMaskMinus&(32-1)) == 0");
  if (!handle->plus.pMask || !handle->minus.pMask || !allocate(*handle, handle->plus) ||
      !allocate(*handle, handle->minus)) {
    logError("ERROR: out of memory initializing MSER.\n");
    MSER_Release(handle);
    return nullptr;
  }
  return handle;
}

void MSER_Release(MSER_sHandle* handle) {
  if (!handle) return;
  release(handle->plus);
  release(handle->minus);
  lumMemFree(handle->pCopy);
  delete handle;
}

bool MSER_fromLUMapi(MSER_sHandle& handle, const MSER_sImage& image, const MSER_sOutput& output) {
  handle.nMaxContours = output.nMaxContours;
  handle.ext = output.ext.variation != nullptr;
  if (!makeRegions(handle, output.nMaxContours)) return false;
  if (handle.ext && !makeExt(handle, output.nMaxContours)) return false;
  // The stride of the source is not asked: rows in place follow without a gap.
  if (handle.size.nStride == image.width && isAligned(image.data)) {
    handle.pSource = image.data;
    return true;
  }
  return copySource(handle, image);
}
