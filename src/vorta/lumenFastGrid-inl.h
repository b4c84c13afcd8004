// Vectors of 64 pixels of some rows in which FAST corners are searched at once, in columns.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_FAST_GRID_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_FAST_GRID_INL_H
#undef LUMEN_FAST_GRID_INL_H
#else
#define LUMEN_FAST_GRID_INL_H
#endif

#include <hwy/highway.h>

#include "lumenFast.h"
#include "vorta/lumenFastStrength-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

// Rows are searched tile by tile: what a few columns hold of them stays in the cache. Vectors are
// numbered tile by tile and row by row, and so are their halves, the blocks. Where they lie is the
// same for all rows that are searched after one another, and so is written down once. But for the
// last of a row and what comes before the second, vectors begin where addresses in the first row
// are multiples of their length: where the stride is one too, what is loaded from the same column
// lies in one cache line.
class FastGrid {
 public:
  static constexpr uint32_t kLanes = 64;
  // At most so many vectors are searched at once, and so many rows. Arrays of as many words must
  // not be about a multiple of a page long: processors take loads for ones of what is being stored
  // where addresses are the same but for pages.
  static constexpr uint32_t kVectors = 896, kRows = 24;

  // Turns to row y and some rows from there on, at most `rows`. How many.
  HWY_INLINE uint32_t Start(uint32_t y, uint32_t rows) {
    y_ = y;
    rows_ = HWY_MIN(mostRows_, rows);
    nextX_ = begin_;
    isDone_ = false;
    return rows_;
  }
  bool isDone() const { return isDone_; }
  // Where the next part of the rows begins.
  uint32_t nextX() const { return nextX_; }

 protected:
  static constexpr uint32_t kBlock = kLanes / 2;
  // How many columns a tile has, and how many it may have where it has all.
  static constexpr uint32_t kTile = 16, kWidestTile = 2 * kTile;
  static_assert(kVectors % kTile == 0);

  // The columns between the borders must be a vector at least.
  explicit FastGrid(const lumFastSearch& search)
      : search_(search), begin_(search.border), end_(search.width - search.border) {
    LayOut(begin_);
  }

  // Goes on to the next part of the rows: all of them, or as much of one row as there is room for.
  HWY_INLINE void Turn() {
    if (!isWhole_) LayOut(nextX_);
    part_ = search_.src + size_t{y_} * search_.stride;
    nextX_ = partEnd_;
    isDone_ = nextX_ == end_;
  }

  // Some columns of the rows that are searched.
  struct Tile {
    uint32_t column, columns;
    // The number of the first of its vectors, and how far rows of them are apart.
    uint32_t first, pitch, rows;
  };
  uint32_t tiles() const { return tiles_; }
  HWY_INLINE Tile TileAt(uint32_t tile) const {
    const uint32_t column = tile * pitch_;
    return {column, HWY_MIN(columns_ - column, pitch_), column * mostRows_, pitch_, rows_};
  }

  HWY_INLINE const uint8_t* pixelsOf(uint32_t block) const { return part_ + offset_[block]; }
  HWY_INLINE FastPlace placeOf(uint32_t block) const {
    return place_[block / 2] + block % 2 * kBlock + FastPlaceAt(0, y_);
  }
  // The pixels that are no neighbour's as well: the first and the last vector may share some.
  HWY_INLINE uint64_t ownOf(uint32_t column) const {
    if (column == 0) return ownOfFirst_;
    return column == columns_ - 1 ? ownOfLast_ : kEach;
  }

  const lumFastSearch& search_;

 private:
  static constexpr uint64_t kEach = ~uint64_t{0};

  HWY_NOINLINE void LayOut(uint32_t begin) {
    const auto address =
        reinterpret_cast<uintptr_t>(search_.src + size_t{search_.border} * search_.stride + begin);
    // Two vectors are enough where they reach from end to end.
    const bool isShort = end_ - begin_ <= 2 * kLanes;
    const uint32_t own = isShort ? kLanes : kLanes - static_cast<uint32_t>(address % kLanes);
    ownOfFirst_ = kEach >> (kLanes - own);
    ownOfLast_ = kEach;
    column_[0] = begin;
    columns_ = 1;
    uint32_t x = begin + own;
    for (; x + kLanes <= end_ && columns_ < kVectors - 1; x += kLanes) column_[columns_++] = x;
    if (x < end_ && x + kLanes > end_) {
      ownOfLast_ = kEach << (x - (end_ - kLanes));
      column_[columns_++] = end_ - kLanes;
      x = end_;
    }
    partEnd_ = x;
    isWhole_ = begin == begin_ && x == end_;
    pitch_ = columns_ <= kWidestTile ? columns_ : kTile;
    tiles_ = hwy::DivCeil(columns_, pitch_);
    mostRows_ = isWhole_ ? RowsOfWhole() : 1;
    for (uint32_t k = 0; k < tiles_; ++k) {
      const Tile tile = TileAt(k);
      for (uint32_t row = 0; row < mostRows_; ++row) {
        for (uint32_t column = 0; column < tile.columns; ++column) {
          const uint32_t vector = tile.first + row * tile.pitch + column;
          const uint32_t x0 = column_[tile.column + column];
          place_[vector] = FastPlaceAt(x0, row);
          offset_[2 * vector] = row * search_.stride + x0;
          offset_[2 * vector + 1] = offset_[2 * vector] + kBlock;
        }
      }
    }
  }
  // How many rows there is room for; offsets have 32 bits.
  uint32_t RowsOfWhole() const {
    const uint32_t wide = (~uint32_t{0} - search_.width) / HWY_MAX(search_.stride, 1u);
    const uint32_t all = HWY_MIN(kRows, search_.height - 2 * search_.border);
    return HWY_MAX(HWY_MIN(all, HWY_MIN(wide, kVectors / (tiles_ * pitch_))), 1u);
  }

  const uint32_t begin_, end_;
  // The columns of this part of the rows, and whether it is all there is of them.
  uint32_t columns_ = 0, tiles_ = 0, pitch_ = 0, partEnd_ = 0, mostRows_ = 0;
  bool isWhole_ = false;
  uint64_t ownOfFirst_ = 0, ownOfLast_ = 0;
  // The rows that are searched now.
  const uint8_t* part_ = nullptr;
  uint32_t y_ = 0, rows_ = 0, nextX_ = 0;
  bool isDone_ = true;
  uint32_t column_[kVectors];
  // Seen from the first of these rows.
  FastPlace place_[kVectors];
  uint32_t offset_[2 * kVectors];
};

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_FAST_GRID_INL_H
