/// @file
/// Memory: aligned blocks for callers, and the pool of scratch buffers that functions work in.
///
/// All of these may be called from any thread.

#ifndef LUMEN_MEM_H
#define LUMEN_MEM_H

#include "lumen/lumenTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Starts the scratch pool, or joins it: 32 buffers that keep their memory between calls. Without
/// it, functions that need scratch memory take it from the heap each time.
LUMEN_API void lumMemInit(void);

/// As `lumMemInit`, and makes one buffer of `nBytes` ready, its pages present. More than 33177600
/// bytes (a frame of 7680 x 4320 bytes) are taken as that; 0 is the same as `lumMemInit`.
LUMEN_API void lumMemInitPreAlloc(uint32_t nBytes);

/// Leaves the scratch pool. The last to leave takes it down, and waits for buffers still lent.
LUMEN_API void lumMemDeInit(void);

/// Allocates `nBytes` at an address that is a multiple of `byteAlignment`.
///
/// @param byteAlignment a power of two from 1 to 128.
/// @return the block, to be given to `lumMemFree`; null when there is no memory, or for an
/// alignment that is not as above.
LUMEN_API void* lumMemAlloc(uint32_t nBytes, uint32_t byteAlignment);

/// Frees a block of `lumMemAlloc`. Null is ignored.
LUMEN_API void lumMemFree(void* ptr);

/// Hooks around each allocation, for builds that keep statistics. Empty in this one.
LUMEN_API void lumHeapStatsInit(void);
LUMEN_API void lumHeapStats(void);
LUMEN_API void lumHeapStatsMalloc(void* ptr, uint32_t nBytes);
LUMEN_API void lumHeapStatsFree(void* ptr);

#ifdef __cplusplus
}
#endif

#endif  // LUMEN_MEM_H
