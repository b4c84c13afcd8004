#include "lumenTable.h"
extern "C" uint64_t probeZ6TimeC(int, unsigned int) { return 0; }
extern "C" int32_t lumRegisterBufC(const void*, uint32_t) { return 0; }
