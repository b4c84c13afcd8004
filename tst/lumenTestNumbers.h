// Numbers that come from files: sizes are multiplied and values stored only after a check.

#ifndef LUMEN_TEST_NUMBERS_H
#define LUMEN_TEST_NUMBERS_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <type_traits>

// The product of `factors`; false when one is negative or the product is beyond 64 bits.
inline bool LUMEN_TEST_Product(std::initializer_list<int64_t> factors, uint64_t& product) {
  if (std::min(factors) < 0) return false;
  // A zero makes all other factors fit.
  product = std::min(factors) == 0 ? 0 : 1;
  for (const int64_t factor : factors) {
    if (__builtin_mul_overflow(product, static_cast<uint64_t>(factor), &product)) return false;
  }
  return true;
}

inline bool LUMEN_TEST_IsInt(int64_t value) {
  return value >= std::numeric_limits<int32_t>::min() &&
         value <= std::numeric_limits<int32_t>::max();
}

// Stores a number as a T; false when T does not hold it. An integer type takes everything from the
// least number of its signed kind to the greatest of its unsigned one, and keeps the bits: -1 is a
// way to write the greatest unsigned number, and `char` has another sign on another processor.
template <class T>
bool LUMEN_TEST_StoreInteger(bool isNegative, uint64_t bits, T& out) {
  if constexpr (std::is_same_v<T, bool>) {
    out = bits != 0;
  } else if constexpr (std::is_floating_point_v<T>) {
    out = isNegative ? static_cast<T>(static_cast<int64_t>(bits)) : static_cast<T>(bits);
  } else {
    constexpr int64_t least = std::numeric_limits<std::make_signed_t<T>>::min();
    constexpr uint64_t greatest = std::numeric_limits<std::make_unsigned_t<T>>::max();
    if (isNegative ? static_cast<int64_t>(bits) < least : bits > greatest) return false;
    out = static_cast<T>(bits);
  }
  return true;
}

// The same for a real number, which an integer type takes without its fraction.
template <class T>
bool LUMEN_TEST_StoreReal(double value, T& out) {
  if constexpr (std::is_floating_point_v<T>) {
    constexpr double greatest = std::numeric_limits<T>::max();
    constexpr T infinity = std::numeric_limits<T>::infinity();
    if (std::abs(value) > greatest) out = std::signbit(value) ? -infinity : infinity;
    else out = static_cast<T>(value);
    return true;
  } else {
    const double whole = std::trunc(value);
    if (!(whole >= -0x1p63 && whole < 0x1p64)) return false;
    const bool isNegative = whole < 0;
    const uint64_t bits = isNegative ? static_cast<uint64_t>(static_cast<int64_t>(whole))
                                     : static_cast<uint64_t>(whole);
    return LUMEN_TEST_StoreInteger(isNegative, bits, out);
  }
}

#endif  // LUMEN_TEST_NUMBERS_H
