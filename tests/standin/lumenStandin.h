// Stand-ins for the optional libraries that only a device has. Each exports one record, by which a
// test tells it what to answer and sees what it was asked.

#ifndef LUMEN_STANDIN_H
#define LUMEN_STANDIN_H

#include "lumenTable.h"

// The shared build, exported as "lumStandin". Variants: "full" has every symbol, "old" is of a time
// before modes and tables, "bare" exports nothing else.
struct lumStandinState {
  // What it is told.
  uint32_t components = LUMEN_UNIT_ZDSP | LUMEN_UNIT_GPU;  // the units that it reports
  const char* version = "1.9.0";
  bool servesSharedMem = true;

  // What it saw.
  uint32_t versionCalls, versionLength;
  uint32_t componentCalls, hardwareCalls;
  lumOperationMode queriedMode;
  uint32_t remoteInits;
  lumOperationMode remoteMode;
  uint32_t managerInits;
  LUM_FUNC_MANAGER* manager;
  uint32_t fills[LUM_IMPL_COUNT];  // of each column
  uint32_t remoteCalls, lastRow;
  uint32_t cleanUps, memInits, memDeInits;
  uint32_t scratchBytes, scratchAlignment, scratchGets, scratchReleases;
  uint32_t sharedAllocs, sharedFrees;
};

// "lumInternalRow(n)": how `lastRow` names a row of the internal table.
inline constexpr uint32_t lumInternalRow(uint32_t row) { return 1000 + row; }

inline constexpr uint64_t LUM_STANDIN_CLOCK = 787200000000;

// The remote-call library, exported as "lumStandinNexcall".
struct lumStandinNexcallState {
  bool fails;
  uint32_t allocs, frees;
  int heap;
  uint32_t flags;
  int bytes;
  void* block;  // handed out last
  void* freed;  // given back last
};

// The DSP stub library, exported as "lumStandinStub". Variants: "adsp", and "adspold", which knows
// no leak check.
struct lumStandinStubState {
  uint32_t flushes, leakChecks;
  void* flushed;
  int flushedBytes;
};

#endif  // LUMEN_STANDIN_H
