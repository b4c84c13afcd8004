// The search for maximally stable extremal regions: what a handle holds, and the steps of a call.
//
// A call lays out a plane of work words for each polarity (the shared routines MSER_PreProcess...),
// walks through the component tree (lumenMserFxp-inl.h, compiled for the reference and for every
// instruction set), and copies the regions found to the caller. MSER- is MSER+ of the inverted
// image: below the pre-processing there is one code for both.
//
// Links are indices of 32 bits, whatever the size of a pointer.

#ifndef LUMEN_MSER_FXP_H
#define LUMEN_MSER_FXP_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <utility>

// Layout of a work word, 16 bits for 4 neighbours and 32 for 8: the grey level in the low byte, a
// bit for each neighbour that is darker above it, in the order in which they are looked at, and
// above these a bit for each that was visited. The walk goes by bytes: a word that was stored to in
// part cannot be loaded at once as a whole.
template <class Word>
struct MSER_sWordOf {
  static constexpr uint32_t kNeighbours = sizeof(Word) == 2 ? 4 : 8;
  static constexpr uint32_t kDarkerShift = 8;
  static constexpr uint32_t kVisitedShift = 8 + kNeighbours;
  static constexpr Word kFrame = static_cast<Word>(-1);  // words of pixels that count as visited

  // The neighbours among those of 8, clockwise from the right one: for 4, every other one.
  static constexpr uint32_t kStep = 8 / kNeighbours;
  static constexpr uint32_t bitsOf(std::initializer_list<uint32_t> ofEight) {
    uint32_t bits = 0;
    for (const uint32_t k : ofEight) bits |= k % kStep == 0 ? 1u << (k / kStep) : 0;
    return bits << kVisitedShift;
  }
  static constexpr uint32_t kRight = bitsOf({7, 0, 1}), kBelow = bitsOf({1, 2, 3});
  static constexpr uint32_t kLeft = bitsOf({3, 4, 5}), kAbove = bitsOf({5, 6, 7});

  // What of the neighbours of a row's pixels belongs to the frame above and below.
  static constexpr uint32_t frameOfRow(uint32_t y, uint32_t height) {
    return (y == 1 ? kAbove : 0) | (y + 2 == height ? kBelow : 0);
  }
};

constexpr uint32_t MSER_NONE = UINT32_MAX;

// A component at an earlier grey level.
struct MSER_sHistory {
  int32_t nGreyLevel;
  uint32_t nSize;
  uint32_t pPrev;  // the older one; MSER_NONE: there is none
};

// A component that grows. Components lie on a stack, darker above brighter ones, and only the top
// one grows; pixels are numbered in the order in which they join one. So the pixels of a component
// are those from its first one to the first one of the component above it. As a list they have
// another order, since the longer of two lists that are joined goes first: see MSER_sList.
struct MSER_sComponent {
  int32_t nGreyLevel;
  uint32_t nFirst;         // number of its first pixel
  uint32_t nReportedSize;  // at the last report
  uint32_t pHead;          // of its list
  uint32_t pTail;          // of its list, as long as no pixel has a number of nTailUntil or above
  uint32_t nTailUntil;     // from then on the tail is the last pixel that joined
  uint32_t pHistory;
  uint32_t nReferenceSize;  // what the last variation was taken from
  float fVariation;
  uint32_t nRising;
  uint32_t nNodeId;
};

// The lists of pixels of one polarity. pixel[k] is the k-th pixel that joined a component; the next
// one in its list is k + 1, unless kTurn is set in pixel[k]: then it is turn[k].
struct MSER_sList {
  static constexpr uint32_t kTurn = uint32_t{1} << 31;
  uint32_t* pixel;
  uint32_t* turn;
};

struct MSER_sRegion {
  uint32_t nSize;
  uint32_t pHead;  // the region is the first nSize pixels from here
};

// What the extended forms say of a region.
struct MSER_sExt {
  uint32_t nVariation;
  int32_t nPolarity;
  uint32_t nNodeId;
  uint32_t nNodeCounter;
};

inline constexpr uint32_t MSER_LEVELS = 256;

// One polarity: its work memory, and the regions of the last call.
struct MSER_sPolarity {
  bool isPlus;
  void* pMask;  // of either kind of words
  MSER_sList list;
  MSER_sHistory* pHistory;
  // Pixels on the boundary: a stack for each grey level, one after the other.
  uint32_t* pBoundary;
  MSER_sRegion* pRegions;
  MSER_sExt* pExt;
  uint32_t nRegions;
  uint32_t nNodes;  // components created
};

// The parameters change for the length of a call when its image is smaller than the handle's.
struct MSER_sSize {
  uint32_t nNumPixels;  // without the frame
  uint32_t nStride;
  uint32_t nMaxSize;
  uint32_t nWidth;
  uint32_t nHeight;
};

struct MSER_sHandle {
  MSER_sSize size;
  uint32_t nMinSize;
  float nMaxVar;
  float nMinDiv;
  int32_t nDelta;
  bool nn8;
  bool threading;
  bool ext;               // this call wants MSER_sExt of its regions
  uint32_t nMaxContours;  // of this call
  uint32_t nRegionCapacity;
  uint32_t nExtCapacity;
  size_t nCopyCapacity;
  uint8_t* pCopy;  // of the source, with rows of nStride
  const uint8_t* pSource;
  MSER_sPolarity plus, minus;
};

// What a polarity, or a call, came to.
enum MSER_eResult : int32_t {
  MSER_FAILED = 0,
  MSER_COMPLETE = 1,
  MSER_CUT = 2,  // regions are left out for want of room
};

// A quotient by the stride, by multiplication with its reciprocal: 31 bits, rounded down, so that
// the quotient of a number below 2^30 that is no multiple of the stride is exact; the multiples,
// the frame's first column, may come out one less. A power of two has 2^31 - 1 for 2^31.
class MSER_cRowOf {
 public:
  explicit MSER_cRowOf(uint32_t stride) : stride_(stride) {
    while ((stride >> shift_) > 1) ++shift_;
    shift_ += 31;
    reciprocal_ = (uint64_t{1} << shift_) / stride;
    if (reciprocal_ > INT32_MAX) reciprocal_ = INT32_MAX;
  }
  template <class T>
  void write(uint32_t pixel, T* point) const {
    const uint32_t y = static_cast<uint32_t>((pixel * reciprocal_) >> shift_);
    point[0] = static_cast<T>(pixel - y * stride_);
    point[1] = static_cast<T>(y);
  }

 private:
  uint32_t stride_, shift_ = 0;
  uint64_t reciprocal_ = 0;
};

// The part of a call that every instruction set has of its own.
using MSER_Walk = MSER_eResult(const MSER_sHandle& handle, MSER_sPolarity& polarity,
                               const uint32_t* histogram);
struct MSER_sWalks {
  MSER_Walk* nn4;
  MSER_Walk* nn8;
};

// Rectangles: none, left top right bottom, or x y width height.
enum class MSER_eRects : uint8_t { none, corners, sizes };

// Where the extended forms want what they say of regions; null: not wanted.
struct MSER_sExtArrays {
  uint32_t* variation;
  int32_t* polarity;
  uint32_t* nodeId;
  uint32_t* nodeCounter;
};

// Where the caller wants the results. One of the arrays of points, and either numContours or the
// two numbers of the polarities are null.
struct MSER_sOutput {
  uint32_t nMaxContours = 0;
  uint32_t* numContours = nullptr;
  uint32_t* numContoursMinus = nullptr;
  uint32_t* numContoursPlus = nullptr;
  uint32_t* numPointsInContour = nullptr;
  uint32_t nPointsArraySize = 0;
  uint32_t* points32 = nullptr;
  uint16_t* points16 = nullptr;
  MSER_eRects rects = MSER_eRects::none;
  uint16_t* boundingRects = nullptr;
  MSER_sExtArrays ext = {};

  void setCounts(uint32_t minus, uint32_t plus) const {
    if (numContours) {
      *numContours = minus + plus;
    } else {
      *numContoursMinus = minus;
      *numContoursPlus = plus;
    }
  }
};

struct MSER_sImage {
  const uint8_t* data;
  uint32_t width, height, stride;
};

enum class MSER_eHandles : uint8_t { nn4, nn8, both };

// Logs the condition of an assertion that failed, and ends the process with status 1.
[[noreturn, gnu::cold]] void MSER_AssertionFailed(const char* condition, const char* file,
                                                  int line);
[[gnu::always_inline]] inline void MSER_Assert(bool holds, const char* condition,
                                               const char* file = __builtin_FILE(),
                                               int line = __builtin_LINE()) {
  if (__builtin_expect(!holds, false)) MSER_AssertionFailed(condition, file, line);
}

MSER_sHandle* MSER_Initialize(uint32_t width, uint32_t height, uint32_t stride, int32_t delta,
                              uint32_t minSize, uint32_t maxSize, float maxVar, float minDiv,
                              bool nn8);
void MSER_Release(MSER_sHandle* handle);

// Makes room for a call's regions, and its source accessible with rows of nStride.
bool MSER_fromLUMapi(MSER_sHandle& handle, const MSER_sImage& image, const MSER_sOutput& output);

// Writes what both polarities have found.
MSER_eResult MSER_toLUMapi(const MSER_sHandle& handle, const MSER_sOutput& output, bool threading);

// A whole call with handles of the given kind.
int32_t MSER_Extract(void* handle, MSER_eHandles kind, const MSER_sImage& image,
                     const MSER_sOutput& output, const MSER_sWalks& walks);

#endif  // LUMEN_MSER_FXP_H
