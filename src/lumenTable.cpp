#include "lumenTable.h"

#include "lumenMode.h"
#include "lumenRoutines.h"
#include "lumenVector.h"

// Before any operation mode is set, every call runs the reference implementation.
constinit lumFuncTable LUM_FUNC_TABLE = {
#define LUM_ROW(row, name) {},
#define LUM_ROW_C(row, name) {{name##C, name##C, name##C, name##C}},
#include "lumenFunctions.def"
};
constinit lumInternalFuncTable LUM_INTERNAL_FUNC_TABLE = {
#define LUM_INTERNAL(row, name) {},
#define LUM_INTERNAL_C(row, name, type) {{name##C, name##C, name##C, name##C}},
#include "lumenInternal.def"
};
constinit lumRoutineTable LUM_ROUTINES = {
#define LUM_ROUTINE(slot, name) nullptr,
#define LUM_ROUTINE_C(slot, name, type) name##C,
#include "lumenRoutines.def"
};

constinit uint32_t LUM_IMPL_INDEX[LUM_ROW_COUNT] = {};
constinit uint32_t LUM_INTERNAL_IMPL_INDEX[LUM_INTERNAL_ROW_COUNT] = {};
constinit uint32_t LUM_AVAILABILITY[LUM_ROW_COUNT] = {};

void uCTable(LUM_IMPL column) {
#define LUM_ROW_C(row, name) LUM_FUNC_TABLE.name.column[column] = name##C;
#include "lumenFunctions.def"
#define LUM_INTERNAL_C(row, name, type) LUM_INTERNAL_FUNC_TABLE.name.column[column] = name##C;
#include "lumenInternal.def"
}

void uVTable(LUM_IMPL column) {
#define LUM_ROW_CV(row, name) LUM_FUNC_TABLE.name.column[column] = lumBestOf(name##V, name##C);
#include "lumenFunctions.def"
#define LUM_INTERNAL_CV(row, name, type) \
  LUM_INTERNAL_FUNC_TABLE.name.column[column] = lumBestOf(name##V, name##C);
#include "lumenInternal.def"
}

// The entries of the reserved rows and of lumRegisterBuf keep what the shared build has put there.
void uCIndex() {
  for (uint32_t row = 0; row < LUM_ROW_COUNT; ++row) {
    if (LUM_ROW_INFO[row].state != lumRowState::reserved) LUM_IMPL_INDEX[row] = LUM_IMPL_CPU;
  }
  for (uint32_t row = 0; row < LUM_INTERNAL_ROW_COUNT; ++row) {
    if (row != LUM_INTERNAL_FN_lumRegisterBuf) LUM_INTERNAL_IMPL_INDEX[row] = LUM_IMPL_CPU;
  }
}

void uVIndex() {
#define LUM_ROW_CV(row, name) LUM_IMPL_INDEX[row] = LUM_IMPL_VORTA;
#include "lumenFunctions.def"
#define LUM_INTERNAL_CV(row, name, type) LUM_INTERNAL_IMPL_INDEX[row] = LUM_IMPL_VORTA;
#include "lumenInternal.def"
}

void uCRoutines() {
#define LUM_ROUTINE_C(slot, name, type) LUM_ROUTINES.name = name##C;
#include "lumenRoutines.def"
}

void uVRoutines() {
#define LUM_ROUTINE_CV(slot, name, type) LUM_ROUTINES.name = lumBestOf(name##V, name##C);
#include "lumenRoutines.def"
}
