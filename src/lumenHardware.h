// What the device offers: the processor probe and what the optional shared build reports.

#ifndef LUMEN_HARDWARE_H
#define LUMEN_HARDWARE_H

#include <cstdint>

#include "lumen/lumenControl.h"

// Bits of lumProcessor::features.
enum : uint32_t {
  LUM_FEATURE_ARMV7 = 1,  // architecture level 7 or above
  LUM_FEATURE_VFP = 2,
  LUM_FEATURE_NEON = 4,
};

// What /proc/cpuinfo says. Of its text only the first 4096 bytes are read.
struct lumProcessor {
  bool probed;  // also when there was nothing to read
  uint32_t features;
  uint32_t implementer;  // 0x41, 0x51, ...; 0 where the text does not say
  bool restricted;       // a device with neither DSP nor GPU for the library
};
extern lumProcessor LUM_PROCESSOR;

// What the optional shared build reported last; cleared by lumCleanUp.
struct lumDspFlags {
  bool zdsp;
  bool gpu;
  bool any() const { return zdsp || gpu; }
};
extern lumDspFlags LUM_DSP_FLAGS;

// The shared build's allocator of device memory, null until it is bound. The free function returns
// non-zero for a block that is not its own.
struct lumSharedMem {
  void* (*alloc)(uint32_t nBytes, uint32_t byteAlignment);
  int (*free)(void* ptr);
};
extern lumSharedMem LUM_SHARED_MEM;

// The probe itself; lumProbeProcessor runs it once.
void lum_android_cpuInit();
void lumProbeProcessor();

// What a text like /proc/cpuinfo says of the processor.
lumProcessor lumParseCpuinfo(const char* buffer, int length);

// The value of a line "field<blanks>: value", newly allocated; null when there is no such line.
char* extract_cpuinfo_field(const char* buffer, int length, const char* field);

// Takes the run-time log's switch from the system property.
void lumReadRuntimeLogSwitch();

#endif  // LUMEN_HARDWARE_H
