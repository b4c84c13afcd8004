// The reference of a case, and the comparison of a result with it.
//
// Integers agree where all bits do. Floats agree within the tolerance, or where they are equal, and
// a NaN agrees with any other.
//
// Subnormal floats: on 32-bit ARM the vector unit takes each for zero, as an operand and as a
// result, while the reference does not. There, and nowhere else, an element may also agree with
// what the reference makes of operands whose subnormals are zero, with a subnormal result zero too.
// Anything between the two is a fault.

#ifndef LUMEN_TEST_SWEEP_COMPARE_H
#define LUMEN_TEST_SWEEP_COMPARE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lumenTestSweepLayout.h"

#if defined(__arm__)
inline constexpr bool LUMEN_TEST_SUBNORMALS_MAY_BE_ZERO = true;
#else
inline constexpr bool LUMEN_TEST_SUBNORMALS_MAY_BE_ZERO = false;
#endif

// What is expected in the images that are written and are no work areas: their rows, packed, image
// after image, with zeros for elements that mean nothing.
struct LUMEN_TEST_Reference {
  std::vector<uint8_t> exact;
  std::vector<uint8_t> withoutSubnormals;  // empty where that is not allowed, or no different
  uint64_t meaningful[LUMEN_TEST_MAX_IMAGES] = {};  // elements of each image; the others may differ
};

// Calls the function as the operation mode has it, on packed images in memory of their own; nothing
// when there is no memory.
std::optional<LUMEN_TEST_Reference> LUMEN_TEST_ReferenceOf(
    const LUMEN_TEST_Description& description, const LUMEN_TEST_SweepCase& c,
    LUMEN_TEST_CaseMemory& memory, bool subnormalsMayBeZero = LUMEN_TEST_SUBNORMALS_MAY_BE_ZERO);

struct LUMEN_TEST_Mismatch {
  uint64_t elements = 0;   // that were compared
  uint64_t differing = 0;  // of them
  double largest = 0;      // difference, also within the tolerance
  // The first that differs.
  size_t image = 0, row = 0, element = 0;
  std::string reference, result;

  explicit operator bool() const { return differing > 0; }
};

LUMEN_TEST_Mismatch LUMEN_TEST_CompareWithReference(const LUMEN_TEST_Description& description,
                                                    const LUMEN_TEST_Layout& layout,
                                                    const LUMEN_TEST_Arguments& arguments,
                                                    const LUMEN_TEST_Reference& reference,
                                                    float tolerance);

#endif  // LUMEN_TEST_SWEEP_COMPARE_H
