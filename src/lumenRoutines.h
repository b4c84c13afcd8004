// The shared inner routines: LUM_ROUTINES.rgb8882y is the routine of that name, reference or vector
// as the operation mode has it.

#ifndef LUMEN_ROUTINES_H
#define LUMEN_ROUTINES_H

#include "lumenRoutineTypes.h"
#include "lumenTable.h"

inline constexpr uint32_t LUM_ROUTINE_COUNT = 71;

#define LUM_ROUTINE_C(slot, name, type) extern "C" type name##C;
#define LUM_ROUTINE_CV(slot, name, type) \
  extern "C" type name##C;               \
  extern const lumVectorSet<type> name##V;
#include "lumenRoutines.def"

struct lumRoutineTable {
#define LUM_ROUTINE(slot, name) lumAnyFunction name;
#define LUM_ROUTINE_C(slot, name, type) type* name;
#include "lumenRoutines.def"
};
extern lumRoutineTable LUM_ROUTINES;

static_assert(sizeof(lumRoutineTable) == LUM_ROUTINE_COUNT * sizeof(lumAnyFunction));
#define LUM_ROUTINE(slot, name) \
  static_assert(offsetof(lumRoutineTable, name) == slot * sizeof(lumAnyFunction));
#include "lumenRoutines.def"

inline constexpr lumRowInfo LUM_ROUTINE_INFO[LUM_ROUTINE_COUNT] = {
#define LUM_ROUTINE_PENDING(slot, name) {#name, lumRowState::pending},
#define LUM_ROUTINE_C(slot, name, type) {#name, lumRowState::reference},
#define LUM_ROUTINE_CV(slot, name, type) {#name, lumRowState::vector},
#include "lumenRoutines.def"
};

#endif  // LUMEN_ROUTINES_H
