// The walk through the component tree of one polarity. Included inside a namespace: the
// reference's, and that of each instruction set, for whose bit operations it is then compiled.

// The pixels on the boundary of what was visited: a stack for each grey level. The one of the level
// that is searched is held by the walk, with its top pixel apart: the next pixel is mostly one that
// has just been pushed, and so need not go through memory.
class MSER_cBoundary {
 public:
  MSER_cBoundary(const uint32_t* histogram, uint32_t* pixels) {
    ++pixels;  // the one before a stack is read and written when that is empty
    for (uint32_t level = 0; level < MSER_LEVELS; ++level) {
      top_[level] = base_[level] = pixels;
      pixels += histogram[level] + 1;
    }
  }

  struct Stack {
    uint32_t* last;  // where `top` belongs; before `bottom` when the stack is empty
    uint32_t* bottom;
    uint32_t top;
    bool empty() const { return last < bottom; }
    uint32_t pop() {
      const uint32_t pixel = top;
      top = *--last;
      return pixel;
    }
  };
  // Begins and ends the search of a level.
  Stack enter(uint32_t level) const {
    uint32_t* const last = top_[level] - 1;
    return {last, base_[level], *last};
  }
  void leave(uint32_t level, const Stack& stack) {
    *stack.last = stack.top;
    top_[level] = stack.last + 1;
  }
  // A pixel of a level that is not searched.
  void push(uint32_t pixel, uint32_t level) {
    *top_[level]++ = pixel;
    any_[level / 64] |= uint64_t{1} << (level % 64);
  }
  // One of any level while the stack of `own` is held.
  void push(uint32_t pixel, uint32_t level, Stack& stack, uint32_t own) {
    if (level == own) {
      *stack.last++ = stack.top;
      stack.top = pixel;
    } else {
      push(pixel, level);
    }
  }

  // The darkest level above one that has become empty; MSER_LEVELS when there is none.
  uint32_t nextLevel(uint32_t level) {
    for (;;) {
      any_[level / 64] &= ~(uint64_t{1} << (level % 64));
      uint32_t word = level / 64;
      while (any_[word] == 0) {
        if (++word == kWords) return MSER_LEVELS;
      }
      level = word * 64 + static_cast<uint32_t>(__builtin_ctzll(any_[word]));
      if (top_[level] != base_[level]) return level;
    }
  }

 private:
  static constexpr uint32_t kWords = MSER_LEVELS / 64;
  uint64_t any_[kWords] = {};  // which stacks may hold something: cleared when one is found empty
  uint32_t *top_[MSER_LEVELS], *base_[MSER_LEVELS];
};

// A component's list ends where the numbers of the pixels end that joined it.
inline uint32_t MSER_TailOf(const MSER_sComponent& component, uint32_t end) {
  return end > component.nTailUntil ? end - 1 : component.pTail;
}

// Puts `second` behind the list whose last pixel is `tail`.
inline void MSER_Link(const MSER_sList& list, uint32_t tail, uint32_t second) {
  list.pixel[tail] |= MSER_sList::kTurn;
  list.turn[tail] = second;
}

// Joins component1, the top one, with component0 below it, when `joined` pixels have joined any.
inline void MSER_MergeComponents(MSER_sComponent& component0, const MSER_sComponent& component1,
                                 MSER_sHistory& history, const MSER_sList& list, uint32_t joined) {
  const uint32_t size0 = component1.nFirst - component0.nFirst, size1 = joined - component1.nFirst;
  MSER_Assert(size1 > 0,
              "pComponent1->nSize > 0 && pComponent1->pHead != __null && pComponent1->pTail != "
              "__null && pHistory");
  const uint32_t tail0 = MSER_TailOf(component0, component1.nFirst);
  const uint32_t tail1 = MSER_TailOf(component1, joined);
  if (size1 >= size0) {
    history = {component1.nGreyLevel, size1, component1.pHistory};
    component0.fVariation = component1.fVariation;
    component0.nRising = component1.nRising;
    component0.nReferenceSize = component1.nReferenceSize;
    if (size0 > 0) {
      MSER_Link(list, tail1, component0.pHead);
      MSER_Link(list, tail0, joined);
      component0.pTail = tail0;
      component0.nTailUntil = joined;
    } else {
      component0.pTail = component1.pTail;
      component0.nTailUntil = component1.nTailUntil;
    }
    component0.pHead = component1.pHead;
  } else {
    history = {component0.nGreyLevel, size0, component0.pHistory};
    if (tail0 + 1 != component1.pHead) MSER_Link(list, tail0, component1.pHead);
    component0.pTail = component1.pTail;
    component0.nTailUntil = component1.nTailUntil;
  }
  if (component0.nReportedSize < component1.nReportedSize) {
    component0.nReportedSize = component1.nReportedSize;
  }
}

// Whether a component of `size` pixels was stable at its last level; then its variation is stored.
inline bool MSER_CheckStable(const MSER_sHandle& handle, const MSER_sPolarity& polarity,
                             MSER_sComponent& component, uint32_t size) {
  if (component.pHistory == MSER_NONE) return false;
  const MSER_sHistory& last = polarity.pHistory[component.pHistory];
  if (last.nSize <= handle.nMinSize || last.nSize >= handle.size.nMaxSize) return false;

  // A last level that is old enough yields to the one before it, whereas a walk back ends at the
  // first level that is: one step less. So it is meant.
  const int32_t target = component.nGreyLevel - handle.nDelta;
  const MSER_sHistory* reference = &last;
  if (last.nGreyLevel <= target && last.pPrev != MSER_NONE) {
    reference = &polarity.pHistory[last.pPrev];
  } else {
    while (reference->nGreyLevel > target && reference->pPrev != MSER_NONE) {
      const MSER_sHistory& older = polarity.pHistory[reference->pPrev];
      MSER_Assert(older.nGreyLevel <= reference->nGreyLevel,
                  polarity.isPlus ? "pHistory->pPrev->nGreyLevel <= pHistory->nGreyLevel"
                                  : "pHistory->pPrev->nGreyLevel >= pHistory->nGreyLevel");
      reference = &older;
    }
  }
  const uint32_t increment = size - reference->nSize;
  MSER_Assert(increment > 0, "nSizeIncrement > 0");

  const float variation = static_cast<float>(increment) / static_cast<float>(reference->nSize);
  const bool rising =
      component.fVariation < variation || last.nGreyLevel + 1 < component.nGreyLevel;
  const bool stable =
      rising && !component.nRising &&
      component
          .fVariation<handle.nMaxVar&& static_cast<float>(last.nSize - component.nReportedSize) /
                      static_cast<float>(last.nSize)>
              handle.nMinDiv;
  component.fVariation = variation;
  component.nRising = rising;
  component.nReferenceSize = reference->nSize;
  if (stable) component.nReportedSize = last.nSize;
  return stable;
}

inline bool MSER_Record(const MSER_sHandle& handle, MSER_sPolarity& polarity,
                        const MSER_sComponent& component, uint32_t nodes) {
  if (polarity.nRegions >= handle.nMaxContours) return false;
  polarity.pRegions[polarity.nRegions] = {component.nReportedSize, component.pHead};
  if (handle.ext) {
    const float scaled = component.fVariation * 10000.0f;
    polarity.pExt[polarity.nRegions] = {
        scaled < 4294967296.0f ? static_cast<uint32_t>(scaled) : UINT32_MAX,
        polarity.isPlus ? 1 : -1, component.nNodeId, nodes};
  }
  ++polarity.nRegions;
  return true;
}

// A pixel of the work plane, by the bytes of its word.
template <class Word>
class MSER_cPixel {
  using Layout = MSER_sWordOf<Word>;
  static constexpr uint32_t kNeighbours = Layout::kNeighbours;
  static_assert(std::endian::native == std::endian::little);

 public:
  MSER_cPixel(void* mask, ptrdiff_t at) : bytes_(static_cast<uint8_t*>(mask)) { *this += at; }
  MSER_cPixel& operator+=(ptrdiff_t pixels) {
    bytes_ += pixels * ptrdiff_t{sizeof(Word)};
    return *this;
  }
  MSER_cPixel operator+(ptrdiff_t pixels) const {
    MSER_cPixel other = *this;
    return other += pixels;
  }
  uint32_t indexIn(const void* mask) const {
    return static_cast<uint32_t>(bytes_ - static_cast<const uint8_t*>(mask)) / sizeof(Word);
  }

  uint32_t level() const { return bytes_[0]; }
  // A bit for each neighbour that was not visited yet, and of those for each darker one.
  uint32_t unvisited() const {
    return ((uint32_t{bytes_[Layout::kVisitedShift / 8]} >> Layout::kVisitedShift % 8) ^
            ((1u << kNeighbours) - 1));
  }
  uint32_t darker(uint32_t unvisited) const { return unvisited & bytes_[1]; }

  // Lets every neighbour know.
  template <size_t... k>
  void visit(const ptrdiff_t (&offset)[sizeof...(k)], std::index_sequence<k...>) const {
    constexpr uint32_t kHalf = kNeighbours / 2;  // what is the kth to one is the opposite to it
    (..., (bytes_[offset[k] * ptrdiff_t{sizeof(Word)} + Layout::kVisitedShift / 8] |=
           uint8_t(1u << ((k + kHalf) % kNeighbours + Layout::kVisitedShift % 8))));
  }

 private:
  uint8_t* bytes_;
};

// `histogram`: of the grey levels inside the frame. The polarity's mask is laid out.
template <class Word>
inline MSER_eResult MSER_WalkTree(const MSER_sHandle& handle, MSER_sPolarity& polarity,
                                  const uint32_t* histogram) {
  using Layout = MSER_sWordOf<Word>;
  constexpr uint32_t kNeighbours = Layout::kNeighbours;
  constexpr std::make_index_sequence<kNeighbours> kAll;
  const ptrdiff_t stride = static_cast<ptrdiff_t>(handle.size.nStride);
  ptrdiff_t offset[kNeighbours];
  if constexpr (kNeighbours == 4) {
    const ptrdiff_t clockwise[] = {1, stride, -1, -stride};
    for (uint32_t k = 0; k < kNeighbours; ++k) offset[k] = clockwise[k];
  } else {
    const ptrdiff_t clockwise[] = {1,  stride + 1,  stride,  stride - 1,
                                   -1, -stride - 1, -stride, -stride + 1};
    for (uint32_t k = 0; k < kNeighbours; ++k) offset[k] = clockwise[k];
  }

  void* const mask = polarity.pMask;
  const MSER_sList list = polarity.list;
  MSER_sHistory* const histories = polarity.pHistory;
  MSER_cBoundary boundary(histogram, polarity.pBoundary);
  MSER_sComponent components[MSER_LEVELS + 1];
  MSER_sComponent* top = components;
  top->nGreyLevel = MSER_LEVELS;  // the sentinel, brighter than everything
  top->nFirst = 0;
  uint32_t joined = 0, history = 0, nodes = 0;

  MSER_cPixel<Word> pixel(mask, stride + 1);
  pixel.visit(offset, kAll);
  uint32_t level = pixel.level();
  const auto create = [&] {
    *++top = {.nGreyLevel = static_cast<int32_t>(level),
              .nFirst = joined,
              .nReportedSize = 0,
              .pHead = joined,
              .pTail = joined,
              .nTailUntil = joined,
              .pHistory = MSER_NONE,
              .nReferenceSize = 0,
              .fVariation = 0,
              .nRising = 1,
              .nNodeId = nodes++};
  };
  create();
  MSER_cBoundary::Stack stack = boundary.enter(level);
  polarity.nRegions = 0;

  for (;;) {
    uint32_t unvisited = pixel.unvisited();
    if (const uint32_t darker = pixel.darker(unvisited)) {
      boundary.leave(level, stack);
      boundary.push(pixel.indexIn(mask), level);
      pixel += offset[__builtin_ctz(darker)];
      pixel.visit(offset, kAll);
      level = pixel.level();
      create();
      stack = boundary.enter(level);
      continue;
    }
    for (; unvisited; unvisited &= unvisited - 1) {
      const MSER_cPixel<Word> neighbour = pixel + offset[__builtin_ctz(unvisited)];
      neighbour.visit(offset, kAll);
      boundary.push(neighbour.indexIn(mask), neighbour.level(), stack, level);
    }
    list.pixel[joined++] = pixel.indexIn(mask);
    if (!stack.empty()) {
      pixel = {mask, static_cast<ptrdiff_t>(stack.pop())};
      continue;
    }

    boundary.leave(level, stack);
    level = boundary.nextLevel(level);
    if (level == MSER_LEVELS) break;
    MSER_Assert(level < MSER_LEVELS, "0<=nGreyLevel && nGreyLevel<=((1<<(8-0))-1)");
    if (top[-1].nGreyLevel <= static_cast<int32_t>(level)) {
      MSER_MergeComponents(top[-1], top[0], histories[history], list, joined);
      --top;
      MSER_Assert(static_cast<int32_t>(level) == top->nGreyLevel,
                  "nGreyLevel == pComponent[0].nGreyLevel");
    } else {
      const uint32_t size = joined - top->nFirst;
      if (MSER_CheckStable(handle, polarity, *top, size) &&
          !MSER_Record(handle, polarity, *top, nodes)) {
        polarity.nNodes = nodes;
        return MSER_CUT;
      }
      histories[history] = {top->nGreyLevel, size, top->pHistory};
      top->nGreyLevel = static_cast<int32_t>(level);
    }
    top->pHistory = history++;
    stack = boundary.enter(level);
    pixel = {mask, static_cast<ptrdiff_t>(stack.pop())};
  }
  polarity.nNodes = nodes;
  return MSER_COMPLETE;
}

// The rows of the function table, in this namespace's walk.
inline constexpr MSER_sWalks MSER_WALKS = {MSER_WalkTree<uint16_t>, MSER_WalkTree<uint32_t>};

template <MSER_eHandles kKind>
inline void MSER_Plain(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                       uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                       uint32_t* numContours, uint32_t* numPointsInContour,
                       uint32_t pointsArraySize, uint32_t* pointsArray) {
  MSER_Extract(mserHandle, kKind, {srcPtr, srcWidth, srcHeight, srcStride},
               {.nMaxContours = maxContours,
                .numContours = numContours,
                .numPointsInContour = numPointsInContour,
                .nPointsArraySize = pointsArraySize,
                .points32 = pointsArray},
               MSER_WALKS);
}

template <MSER_eHandles kKind>
inline void MSER_Extended(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                          uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                          uint32_t* numContours, uint32_t* numPointsInContour,
                          uint32_t* pointsArray, uint32_t pointsArraySize,
                          uint32_t* contourVariation, int32_t* contourPolarity,
                          uint32_t* contourNodeId, uint32_t* contourNodeCounter) {
  MSER_Extract(mserHandle, kKind, {srcPtr, srcWidth, srcHeight, srcStride},
               {.nMaxContours = maxContours,
                .numContours = numContours,
                .numPointsInContour = numPointsInContour,
                .nPointsArraySize = pointsArraySize,
                .points32 = pointsArray,
                .ext = {contourVariation, contourPolarity, contourNodeId, contourNodeCounter}},
               MSER_WALKS);
}

inline int32_t MSER_WithRects(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                              uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                              uint32_t* numContours, uint32_t* numPointsInContour,
                              uint16_t* boundingRects, uint32_t pointsArraySize,
                              uint16_t* pointsArray) {
  return MSER_Extract(mserHandle, MSER_eHandles::both, {srcPtr, srcWidth, srcHeight, srcStride},
                      {.nMaxContours = maxContours,
                       .numContours = numContours,
                       .numPointsInContour = numPointsInContour,
                       .nPointsArraySize = pointsArraySize,
                       .points16 = pointsArray,
                       .rects = MSER_eRects::corners,
                       .boundingRects = boundingRects},
                      MSER_WALKS);
}

template <MSER_eRects kRects>
inline int32_t MSER_ExtendedWithRects(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                                      uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                                      uint32_t* numContours, uint32_t* numPointsInContour,
                                      uint16_t* boundingRects, uint16_t* pointsArray,
                                      uint32_t pointsArraySize, uint32_t* contourVariation,
                                      int32_t* contourPolarity, uint32_t* contourNodeId,
                                      uint32_t* contourNodeCounter) {
  return MSER_Extract(
      mserHandle, MSER_eHandles::both, {srcPtr, srcWidth, srcHeight, srcStride},
      {.nMaxContours = maxContours,
       .numContours = numContours,
       .numPointsInContour = numPointsInContour,
       .nPointsArraySize = pointsArraySize,
       .points16 = pointsArray,
       .rects = kRects,
       .boundingRects = boundingRects,
       .ext = {contourVariation, contourPolarity, contourNodeId, contourNodeCounter}},
      MSER_WALKS);
}
