/// @file
/// Operation modes, what the device offers, version and time.
///
/// `lumSetOperationMode` and `lumCleanUp` rewrite the process-wide choice of implementations
/// without a lock: call them while no other thread is inside a library function. Everything else
/// here may be called at any time.

#ifndef LUMEN_CONTROL_H
#define LUMEN_CONTROL_H

#include "lumen/lumenTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/// What the implementations are chosen for: one of `LUMEN_OP_...`, or `LUM_OP_TARGET_FLAG` plus one
/// of `LUMEN_UNIT_...`, which asks for that single processing unit.
typedef uint32_t lumOperationMode;

enum {
  LUMEN_OP_LOW_POWER = 0,       ///< remote units where they can run a function
  LUMEN_OP_PERFORMANCE = 1,     ///< the same
  LUMEN_OP_CPU_OFFLOAD = 2,     ///< the same
  LUMEN_OP_CPU_PERFORMANCE = 3  ///< the processor alone, vector implementations where there are any
};

/// Set in a mode that names one processing unit.
#define LUM_OP_TARGET_FLAG 0x80000000u

/// Processing units; also the bits of the mask that `lumAvailableHardware` returns.
enum {
  LUMEN_UNIT_ARM = 2,    ///< portable reference implementations
  LUMEN_UNIT_VORTA = 4,  ///< vector implementations (NEON; SSE4 to AVX-512 on x86-64)
  LUMEN_UNIT_ZDSP = 8,   ///< digital signal processor
  LUMEN_UNIT_FPGA = 16,
  LUMEN_UNIT_GPU = 32,
  LUMEN_UNIT_C2D = 64,
  LUMEN_UNIT_VFP = 128,    ///< floating-point unit
  LUMEN_UNIT_ARMV7 = 256,  ///< architecture level 7 or above
  LUMEN_UNIT_DMA = 512,
  LUMEN_UNIT_ZDSP_TEST = 1024  ///< as LUMEN_UNIT_ZDSP
};

/// Further bits of the mask that `lumAvailableHardware` returns.
enum {
  LUM_HW_FAMILY = 0x800,        ///< a device family that the optional shared build supports
  LUM_HW_SHARED_BUILD = 0x1000  ///< the optional shared build is there, with this major version
};

/// Chooses the implementation of every library function.
///
/// Each call makes the choice from scratch. Modes 0, 1 and 2, and the targets ZDSP and GPU, bind
/// the remote entry points of the optional shared build "liblumenopt.so" where there is one, and
/// choose vector code elsewhere; mode 3 and the Vorta target (unit 1 or 4) choose vector code, the
/// ARM target reference code. Before the first call everything runs reference code, as it does in a
/// mode of 4 and above without the target flag.
/// @return 0, or -1 for a target whose unit is not known; vector code is then chosen.
LUMEN_API int32_t lumSetOperationMode(lumOperationMode mode);

/// Ends what the optional shared build holds on remote units. Library functions keep working.
LUMEN_API void lumCleanUp(void);

/// Says what the device offers, as a mask of `LUMEN_UNIT_...` and `LUM_HW_...` bits.
///
/// `LUMEN_UNIT_ARM` is always set. The optional shared build is asked for remote units only when
/// the mode may use them and the processor belongs to a family that it supports.
LUMEN_API uint32_t lumAvailableHardware(lumOperationMode mode);

/// Copies the library's version, as "1.7.1" with its terminating zero, to `version`.
///
/// @param length bytes that `version` has room for; below 6, that many zero bytes are written.
/// A null `version` is ignored.
LUMEN_API void lumGetVersion(char* version, uint32_t length);

/// The clock of the digital signal processor, as the optional shared build reports it; 0 without.
LUMEN_API uint64_t lumZ6GetClk(void);

/// The time of day in microseconds.
LUMEN_API int64_t lumGetTime(void);

#ifdef __cplusplus
}
#endif

#endif  // LUMEN_CONTROL_H
