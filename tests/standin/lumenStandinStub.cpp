// A stand-in for the DSP stub library: it counts.

#include "lumenStandin.h"

lumStandinStubState lumStandinStub = {};

extern "C" void lum_cache_flush_invalidateQ(void* data, int bytes) {
  ++lumStandinStub.flushes;
  lumStandinStub.flushed = data;
  lumStandinStub.flushedBytes = bytes;
}

#ifdef LUM_STANDIN_LEAK_CHECK
extern "C" void lumCheckMemoryLeaksQ() { ++lumStandinStub.leakChecks; }
#endif
