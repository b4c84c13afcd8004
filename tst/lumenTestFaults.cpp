#include "lumenTestFaults.h"

#include <cstddef>
#include <cstdlib>

#include "lumenTable.h"

// The faults touch memory that they must not. A sanitizer would end the process before the checks
// could say so.
#define UNSEEN __attribute__((noinline, no_sanitize("address", "thread", "undefined")))

namespace {

constexpr uint32_t kVector = 16;  // pixels that vector code takes at once

decltype(lumAbsDiffu8)* soundAbsDiff = nullptr;

// The arguments of a call.
struct Call {
  const uint8_t *src1, *src2;
  uint32_t width, height, srcStride;
  uint8_t* dst;
  uint32_t dstStride;

  void sound() const { soundAbsDiff(src1, src2, width, height, srcStride, dst, dstStride); }
};

UNSEEN void read(const uint8_t* byte) {
  static_cast<void>(*static_cast<const volatile uint8_t*>(byte));
}
UNSEEN void write(uint8_t* byte) { *static_cast<volatile uint8_t*>(byte) = 0x5A; }

// An implementation made of a function of its call.
template <void (*fault)(const Call& call)>
void planted(const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
             uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
  fault({src1, src2, width, height, srcStride, dst, dstStride});
}

void offByOnePixel(const Call& c) {
  for (size_t y = 0; y < c.height; ++y) {
    const uint8_t *a = c.src1 + y * c.srcStride, *b = c.src2 + y * c.srcStride;
    for (size_t x = 0; x < c.width; ++x) {
      c.dst[y * c.dstStride + x] = static_cast<uint8_t>(std::abs(a[x] - b[x == 0 ? 0 : x - 1]));
    }
  }
}

// Bytes behind the last row of a source, and behind every row but the last.
template <uint32_t kBytes>
void readBehindImage(const Call& c) {
  c.sound();
  const uint8_t* end = c.src1 + size_t{c.height - 1} * c.srcStride + c.width;
  for (uint32_t i = 0; i < kBytes; ++i) read(end + i);
}
void readBehindRows(const Call& c) {
  c.sound();
  for (size_t y = 0; y + 1 < c.height; ++y) {
    if (c.srcStride > c.width) read(c.src2 + y * c.srcStride + c.width);
  }
}
void readBeforeImage(const Call& c) {
  c.sound();
  read(c.src2 - 1);
}

void writeBehindImage(const Call& c) {
  c.sound();
  write(c.dst + size_t{c.height - 1} * c.dstStride + c.width);
}

void leaveTail(const Call& c) {
  Call whole = c;
  whole.width -= c.width % kVector;
  if (whole.width != 0) whole.sound();
}

void ignoreStride(const Call& c) {
  Call packed = c;
  packed.srcStride = packed.dstStride = c.width;
  packed.sound();
}

void changeInput(const Call& c) {
  c.sound();
  write(const_cast<uint8_t*>(c.src1));
}

UNSEEN void crash(const Call& c) {
  c.sound();
  uint8_t* volatile nowhere = nullptr;
  write(nowhere);
}

void neverEnd(const Call&) {
  for (volatile bool goOn = true; goOn;) continue;
}

constexpr const char* kCompared[] = {"golden", "sweep"};
constexpr const char* kReadBehind[] = {"guard=tail", "guard=row"};
constexpr const char* kReadBehindRow[] = {"guard=row"};
constexpr const char* kReadBefore[] = {"guard=head"};
constexpr const char* kWritten[] = {"guard=tail", "poison"};
constexpr const char* kUnwritten[] = {"golden", "sweep", "poison"};
constexpr const char* kChanged[] = {"poison"};
constexpr const char* kIsolated[] = {"isolate"};
constexpr const char* kAttested[] = {"attest"};

constexpr LUMEN_TEST_PlantedFault kFaults[] = {
    {"off by one pixel", planted<offByOnePixel>, kCompared},
    {"reads a byte behind the image", planted<readBehindImage<1>>, kReadBehind},
    {"reads a vector behind the image", planted<readBehindImage<kVector>>, kReadBehind},
    {"reads a byte behind inner rows", planted<readBehindRows>, kReadBehindRow},
    {"reads a byte before the image", planted<readBeforeImage>, kReadBefore},
    {"writes a byte behind the image", planted<writeBehindImage>, kWritten},
    {"leaves the tail of rows unwritten", planted<leaveTail>, kUnwritten},
    {"ignores the stride", planted<ignoreStride>, kCompared},
    {"changes an input", planted<changeInput>, kChanged},
    {"crashes", planted<crash>, kIsolated},
    {"never ends", planted<neverEnd>, kIsolated, true},
    {"is the reference", lumAbsDiffu8C, kAttested},
};

}  // namespace

std::span<const LUMEN_TEST_PlantedFault> LUMEN_TEST_PlantedFaults(decltype(lumAbsDiffu8)* sound) {
  soundAbsDiff = sound;
  return kFaults;
}

void LUMEN_TEST_SlowAbsDiff(const uint8_t* src1, const uint8_t* src2, uint32_t srcWidth,
                            uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstStride) {
  Call call = {src1, src2, srcWidth, srcHeight, srcStride, dst, dstStride};
  call.sound();
  call.height /= 2;
  if (call.height != 0) call.sound();
}
