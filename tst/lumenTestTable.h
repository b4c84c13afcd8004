// The test table, LumenTestTable.csv in the data directory: for each library function, which units
// have an implementation of it and how far results may be from the reference.

#ifndef LUMEN_TEST_TABLE_H
#define LUMEN_TEST_TABLE_H

#include <cstdint>

#include "lumenTestConfig.h"
#include "lumenTestFunctions.h"

inline constexpr int LUMEN_TEST_MAX_TOLERANCES = 2;
inline constexpr unsigned int LUMEN_TEST_UNIT_SLOTS = LUMEN_TEST_SLOT_GPU + 1;

// One line of the file.
struct LUMEN_TEST_TableRecord {
  char name[100];
  uint8_t implC;
  uint8_t implVorta;
  uint8_t implZDSP;
  uint8_t implGPU;
  int32_t numTolerances;  // rows of `tolerance` in use; below 1 the function is tested nowhere
  float tolerance[LUMEN_TEST_MAX_TOLERANCES][LUMEN_TEST_UNIT_SLOTS];
};

// Forgets every record.
void LUMEN_TEST_ClearTestTable();

// Reads the file; a function that it names twice gets the later line. Unknown names and functions
// that it lacks are only logged. Returns 0, or 1 when the file cannot be opened, or with --strict
// when one of its rows cannot be read.
int LUMEN_TEST_ReadTestTable(const char* dataDirectory);

// Non-zero when the function is to be tested in the slot; writes as many tolerances as the function
// has. In the slots of operation modes, where the library may pick any unit, a function that the
// table has is always tested, with the largest tolerance of all units.
int isFunctionImpl(LUMEN_FUNC funcId, unsigned int slot, float* tolerances);

#endif  // LUMEN_TEST_TABLE_H
