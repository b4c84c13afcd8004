// Numbers in texts from outside: options, properties, what devices print.

#ifndef LUMEN_TEST_TO_INT_H
#define LUMEN_TEST_TO_INT_H

#include <algorithm>
#include <climits>
#include <cstdlib>

// As atoi, which leaves open what becomes of a number that an int cannot hold: here it becomes the
// nearest one that it can.
inline int LUMEN_TEST_ToInt(const char* text) {
  return static_cast<int>(std::clamp<long>(std::strtol(text, nullptr, 10), INT_MIN, INT_MAX));
}

#endif  // LUMEN_TEST_TO_INT_H
