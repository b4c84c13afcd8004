// Turns one of the functions of lumenReaderFuzz.h into a libFuzzer target.

#ifndef LUMEN_FUZZ_TARGET_H
#define LUMEN_FUZZ_TARGET_H

#include <cstdint>
#include <cstdio>

#include "lumenReaderFuzz.h"
#include "platform/lumenPlatformHost.h"

namespace lumenFuzz {

template <Entry entry>
int runTarget(const uint8_t* data, size_t size) {
  // Bad files are what this is about: nobody wants to read of each.
  static const lumLogSink silenced =
      lumHostSetLogSink([](lumLogPriority, const char*, const char*) {});
  static_cast<void>(silenced);
  if (const char* wrong = entry({reinterpret_cast<const char*>(data), size})) {
    std::fprintf(stderr, "%s\n", wrong);
    std::abort();
  }
  return 0;
}

}  // namespace lumenFuzz

#endif  // LUMEN_FUZZ_TARGET_H
