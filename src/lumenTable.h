// The dispatch tables: which implementation of a function a call reaches.

#ifndef LUMEN_TABLE_H
#define LUMEN_TABLE_H

#include <cstddef>
#include <cstdint>

#include "lumen/lumen.h"

enum LUM_IMPL : uint32_t {
  LUM_IMPL_CPU,
  LUM_IMPL_VORTA,
  LUM_IMPL_ZDSP,
  LUM_IMPL_GPU,
  LUM_IMPL_ADSP,
  LUM_IMPL_CDSP,
  LUM_IMPL_MDSP,
};
inline constexpr uint32_t LUM_IMPL_COUNT = 7;
inline constexpr const char* LUM_IMPL_NAME[LUM_IMPL_COUNT] = {"CPU",  "VORTA", "ZDSP", "GPU",
                                                              "ADSP", "CDSP",  "MDSP"};

inline constexpr uint32_t LUM_ROW_COUNT = 506;
inline constexpr uint32_t LUM_INTERNAL_ROW_COUNT = 16;

// Any function's entry point, as the shared build sees it.
using lumAnyFunction = void (*)();

// One row: the implementations of a function of type F, by column; null where there is none.
template <class F>
struct lumRow {
  F* column[LUM_IMPL_COUNT];
};

// Functions that the shared build knows by another name: declared for their type, never defined.
extern "C" {
decltype(lumMserExtNN8u8) lumMserExtNN8u8ST;
decltype(lumMserExtu8) lumMserExtu8FxpST;
decltype(lumMserExtu8_v2) lumMserExtu8_v2ST;
decltype(lumMserExtu8_v3) lumMserExtu8_v3ST;
decltype(lumMserInit) lumMserInitFxp;
decltype(lumMserNN8u8) lumMserNN8u8ST;
decltype(lumMserRelease) lumMserReleaseFxp;
decltype(lumMseru8) lumMseru8FxpST;
decltype(lumMseru8_v2) lumMseru8_v2ST;
}

// LUM_FUNC_TABLE.lumAbsDiffu8 is that function's row and takes pointers of its type only. In memory
// the whole is an array of LUM_ROW_COUNT x LUM_IMPL_COUNT pointers, as the shared build sees it.
struct lumFuncTable {
#define LUM_ROW(row, name) lumRow<void()> name;
#define LUM_ROW_C(row, name) lumRow<decltype(::name)> name;
#include "lumenFunctions.def"
};
extern lumFuncTable LUM_FUNC_TABLE;

static_assert(sizeof(lumFuncTable) == LUM_ROW_COUNT * LUM_IMPL_COUNT * sizeof(lumAnyFunction));
#define LUM_ROW(row, name) \
  static_assert(offsetof(lumFuncTable, name) == row * sizeof(lumRow<void()>));
#include "lumenFunctions.def"

// Functions that only the library itself calls through the dispatch: the clock of the digital
// signal processor at the start (0) or end (1) of a call, the announcement of a buffer to remote
// units, and the colour conversions that turn an image by 180 degrees.
using lumProbeZ6Time = uint64_t(int end, unsigned int clockDivisor);
using lumRegisterBuffer = int32_t(const void* data, uint32_t bytes);
using lumTurnedColor = decltype(lumColorYUV420toRGB565u8Rotate180);

#define LUM_INTERNAL_C(row, name, type) extern "C" type name##C;
#include "lumenInternal.def"

struct lumInternalFuncTable {
#define LUM_INTERNAL(row, name) lumRow<void()> name;
#define LUM_INTERNAL_C(row, name, type) lumRow<decltype(name##C)> name;
#include "lumenInternal.def"
};
extern lumInternalFuncTable LUM_INTERNAL_FUNC_TABLE;

static_assert(sizeof(lumInternalFuncTable) ==
              LUM_INTERNAL_ROW_COUNT * LUM_IMPL_COUNT * sizeof(lumAnyFunction));
#define LUM_INTERNAL(row, name) \
  static_assert(offsetof(lumInternalFuncTable, name) == row * sizeof(lumRow<void()>));
#include "lumenInternal.def"

// Row numbers by name: LUM_FN_lumAbsDiffu8, LUM_INTERNAL_FN_probeZ6Time.
enum LUM_FN : uint32_t {
#define LUM_ROW(row, name) LUM_FN_##name = row,
#include "lumenFunctions.def"
};
enum LUM_INTERNAL_FN : uint32_t {
#define LUM_INTERNAL(row, name) LUM_INTERNAL_FN_##name = row,
#include "lumenInternal.def"
};

// The column that each row's calls go to.
extern uint32_t LUM_IMPL_INDEX[LUM_ROW_COUNT];
extern uint32_t LUM_INTERNAL_IMPL_INDEX[LUM_INTERNAL_ROW_COUNT];

// One word for each public row, of which every operation mode sets bit 0. For the shared build.
extern uint32_t LUM_AVAILABILITY[LUM_ROW_COUNT];

// What the optional shared build sees of the tables, and rewrites them through.
struct LUM_FUNC_MANAGER {
  uint32_t* implIndex;
  uint32_t rowCount;
  lumFuncTable* table;
  uint32_t* internalImplIndex;
  uint32_t internalRowCount;
  lumInternalFuncTable* internalTable;
  uint32_t implCount;
};

// The vector implementations of one function: the same source, compiled for one instruction set
// each; null where this build has none for that set.
enum lumVectorTarget : uint32_t {
  LUM_VECTOR_SSE4,
  LUM_VECTOR_AVX2,
  LUM_VECTOR_AVX512,
  LUM_VECTOR_NEON,
};
inline constexpr uint32_t LUM_VECTOR_TARGET_COUNT = 4;

template <class F>
struct lumVectorSet {
  F* target[LUM_VECTOR_TARGET_COUNT];
};

// Every implementation is declared here, from the type of its public function.
#define LUM_ROW_C(row, name) extern "C" decltype(name) name##C;
#define LUM_ROW_CV(row, name)        \
  extern "C" decltype(name) name##C; \
  extern const lumVectorSet<decltype(name)> name##V;
#include "lumenFunctions.def"
#define LUM_INTERNAL_CV(row, name, type) extern const lumVectorSet<type> name##V;
#include "lumenInternal.def"

// What a row has got, for reports and for tests that walk the table.
enum class lumRowState : uint8_t { reserved, pending, reference, vector };
struct lumRowInfo {
  const char* name;
  lumRowState state;
};
inline constexpr lumRowInfo LUM_ROW_INFO[LUM_ROW_COUNT] = {
#define LUM_ROW_RESERVED(row, name) {#name, lumRowState::reserved},
#define LUM_ROW_PENDING(row, name) {#name, lumRowState::pending},
#define LUM_ROW_C(row, name) {#name, lumRowState::reference},
#define LUM_ROW_CV(row, name) {#name, lumRowState::vector},
#include "lumenFunctions.def"
};
inline constexpr lumRowInfo LUM_INTERNAL_ROW_INFO[LUM_INTERNAL_ROW_COUNT] = {
#define LUM_INTERNAL_PENDING(row, name) {#name, lumRowState::pending},
#define LUM_INTERNAL_C(row, name, type) {#name, lumRowState::reference},
#define LUM_INTERNAL_CV(row, name, type) {#name, lumRowState::vector},
#include "lumenInternal.def"
};

template <size_t kCount>
constexpr uint32_t lumCountRows(const lumRowInfo (&rows)[kCount], lumRowState state) {
  uint32_t count = 0;
  for (const lumRowInfo& row : rows) count += row.state == state;
  return count;
}

#endif  // LUMEN_TABLE_H
