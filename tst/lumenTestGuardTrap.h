// Calls that may touch memory that they must not: the fault ends the call, not the program.

#ifndef LUMEN_TEST_GUARD_TRAP_H
#define LUMEN_TEST_GUARD_TRAP_H

#include <cstdint>
#include <optional>

#include "lumenTestDescription.h"

enum class LUMEN_TEST_Access : uint8_t { unknown, read, write };

struct LUMEN_TEST_Fault {
  uintptr_t address;  // 0 where the processor does not tell
  LUMEN_TEST_Access access;
};

// Calls the function; a fault of this thread leaves the call where it stands, which no destructor
// sees, so that locks and memory that the function holds are lost. Signal handlers and the
// alternate stack are those of before again when this returns. Not for two threads at once.
std::optional<LUMEN_TEST_Fault> LUMEN_TEST_CallTrapped(const LUMEN_TEST_Description& description,
                                                       const LUMEN_TEST_Arguments& arguments);

#endif  // LUMEN_TEST_GUARD_TRAP_H
