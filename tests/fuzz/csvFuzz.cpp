#include "lumenFuzzTarget.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return lumenFuzz::runTarget<lumenFuzz::csv>(data, size);
}
