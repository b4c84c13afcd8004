// The stack probe. It writes below the stack pointer on purpose, so nothing here may be called from
// a frame that reaches further than 2 KiB below the marker.

#include <cstdint>

#include "lumenTestDevice.h"
#include "lumenTestLog.h"

namespace {

constexpr uintptr_t kClearance = 2 * 1024;
constexpr ptrdiff_t kPainted = 128 * 1024;
constexpr unsigned char kPaint = 0xDD;

}  // namespace

// From the top down, so that the system sees the stack grow page by page. Volatile: the compiler
// would make it a call, whose frame lies where it writes.
LUMEN_TEST_ON_REAL_STACK unsigned char* lum_test_stackprefill(int& marker) {
  const uintptr_t top = reinterpret_cast<uintptr_t>(&marker) - kClearance;
  for (ptrdiff_t i = 1; i <= kPainted; ++i) {
    *reinterpret_cast<volatile unsigned char*>(top - static_cast<uintptr_t>(i)) = kPaint;
  }
  return reinterpret_cast<unsigned char*>(top);
}

LUMEN_TEST_ON_REAL_STACK void lum_test_stackusage(unsigned char* top, const char* name) {
  volatile unsigned char* touched = top - kPainted;
  while (touched != top && *touched == kPaint) ++touched;
  const ptrdiff_t untouched = touched - (top - kPainted);
  LUMEN_TEST_Log(
      "STACK USAGE STATS ==> %s, Stack Max PTR : %p; USAGE : %td KB; REMAINING : %td KB\n", name,
      const_cast<void*>(static_cast<volatile void*>(touched)), (kPainted - untouched) >> 10,
      untouched >> 10);
}
