// Random numbers of the checks on own data. They do not touch rand(), whose numbers belong to the
// module tests, and are the same on every machine.

#ifndef LUMEN_TEST_RANDOM_H
#define LUMEN_TEST_RANDOM_H

#include <cstdint>
#include <string_view>

// Spreads every bit of a number over all bits of the result; no two numbers have the same result.
constexpr uint64_t LUMEN_TEST_Mix(uint64_t z) {
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
  return z ^ (z >> 31);
}

// FNV-1a.
constexpr uint64_t LUMEN_TEST_Hash(std::string_view text) {
  uint64_t hash = 0xCBF29CE484222325u;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3u;
  return hash;
}

// SplitMix64 (Steele, Lea and Flood, "Fast splittable pseudorandom number generators", 2014).
class LUMEN_TEST_Random {
 public:
  explicit constexpr LUMEN_TEST_Random(uint64_t seed) : state_(LUMEN_TEST_Mix(seed)) {}

  constexpr uint64_t next() { return LUMEN_TEST_Mix(state_ += kStep); }
  // From 0 to `limit` - 1; all but equally likely.
  constexpr uint64_t below(uint64_t limit) { return next() % limit; }

 private:
  static constexpr uint64_t kStep = 0x9E3779B97F4A7C15u;
  uint64_t state_;
};

#endif  // LUMEN_TEST_RANDOM_H
