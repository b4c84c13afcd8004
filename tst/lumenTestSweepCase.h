// A case of the checks on data that nobody wrote down, and its text, which repeats just it:
//
//   lumAbsDiffu8/V/sweep/w33h3p1q2o5/ramp+max/1f2e3d4c
//   lumAbsDiffVu8/V/tail/w64h2i1.0/random@least/0
//
// Function; letter of the slot; check; sizes and layout; contents; seed of all that is random.
//
// Sizes and layout: width and height in pixels (w, h), elements of padding behind the rows of
// images that are read (p) and written (q), or strides passed as 0 (z) or rounded up to 128 bytes
// (a), the images that begin one element past an aligned address (o, a bit for each), the image
// that is written and the one that is read in the same memory (i). What is 0 is left out.
//
// Contents: a pattern for the first, third, ... image that is read, one for the others if it is not
// the same, and where the function takes numbers what they are.

#ifndef LUMEN_TEST_SWEEP_CASE_H
#define LUMEN_TEST_SWEEP_CASE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "lumenTestDescription.h"

enum class LUMEN_TEST_OwnCheck : uint8_t {
  sweep,   // against the reference slot
  tail,    // images that end at inaccessible memory
  head,    // images that begin at inaccessible memory
  row,     // each row for itself between inaccessible memory
  poison,  // what is written, and what results depend on
};

enum class LUMEN_TEST_Pattern : uint8_t {
  random,
  zeros,
  max,
  min,
  ramp,
  alt,  // least and greatest value in turns
  hot,  // zeros but for one element
  inf,  // infinities among random floats
  nan,  // NaN among random floats
  sub,  // subnormal floats among others of about their size
};
inline constexpr LUMEN_TEST_Pattern LUMEN_TEST_LAST_PATTERN = LUMEN_TEST_Pattern::sub;
inline constexpr LUMEN_TEST_Pattern LUMEN_TEST_LAST_INTEGER_PATTERN = LUMEN_TEST_Pattern::hot;

enum class LUMEN_TEST_ScalarChoice : uint8_t { random, least, greatest, zero, one };
inline constexpr LUMEN_TEST_ScalarChoice LUMEN_TEST_LAST_SCALAR_CHOICE =
    LUMEN_TEST_ScalarChoice::one;

enum class LUMEN_TEST_StrideChoice : uint8_t { padded, zero, aligned };

struct LUMEN_TEST_InPlace {
  uint8_t written, read;  // indices of images
  bool operator==(const LUMEN_TEST_InPlace&) const = default;
};

struct LUMEN_TEST_SweepCase {
  uint32_t width = 1, height = 1;
  uint32_t readPadding = 0, writtenPadding = 0;
  LUMEN_TEST_StrideChoice strides = LUMEN_TEST_StrideChoice::padded;
  uint32_t misaligned = 0;
  std::optional<LUMEN_TEST_InPlace> inPlace = {};
  LUMEN_TEST_Pattern pattern[2] = {};
  LUMEN_TEST_ScalarChoice scalars = {};
  uint32_t seed = 0;

  // Whether the function can be called so at all.
  bool fits(const LUMEN_TEST_Description& description) const;

  // Takes a seed that depends on the function, on everything else in the case, and on the run.
  void seedFor(const LUMEN_TEST_Description& description, uint64_t runSeed);

  bool operator==(const LUMEN_TEST_SweepCase&) const = default;
};

// A case with what it is a case of.
struct LUMEN_TEST_NamedCase {
  std::string function;
  char slot;  // its letter
  LUMEN_TEST_OwnCheck check;
  LUMEN_TEST_SweepCase sweepCase;

  std::string text() const;
};

// Nothing for a text that is none of a case.
std::optional<LUMEN_TEST_NamedCase> LUMEN_TEST_ParseCase(std::string_view text);

#endif  // LUMEN_TEST_SWEEP_CASE_H
