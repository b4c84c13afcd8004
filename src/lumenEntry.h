// The rule that every public entry follows. A typical entry:
//
//   void lumAbsDiffu8(...) {
//     auto entry = LUM_ENTRY(lumAbsDiffu8);
//     if (entry.onDsp()) entry.needs(lumMultipleOf<4>(src1, src2, dst, srcStride, dstStride));
//     if (entry.onGpu()) entry.needs(lumMultipleOf<2>(srcWidth, srcHeight));
//     lumPack(srcStride, srcWidth);
//     lumPack(dstStride, srcWidth);
//     LUM_CHECK(entry, src1 && src2 && dst && srcWidth && srcHeight);
//     return entry.call(src1, src2, srcWidth, srcHeight, srcStride, dst, dstStride);
//   }

#ifndef LUMEN_ENTRY_H
#define LUMEN_ENTRY_H

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

#include "lumenTable.h"

// What an implementation returns to decline a call. Never leaves a public entry.
inline constexpr lumStatus LUM_FALLBACK_STATUS = static_cast<lumStatus>(0x8000);

// What may be done about every call beside making it: one byte, so that the usual call tests it
// once.
enum lumWatch : uint8_t {
  LUM_WATCH_LOG = 1,    // log its implementation
  LUM_WATCH_COUNT = 2,  // count it in LUM_CALL_COUNT
};

// What the entries are told. The operation mode writes the bit of the log and `forcedRemote`.
struct lumEntrySwitches {
  uint8_t watch;      // of lumWatch
  bool forcedRemote;  // send images of any size to the remote unit
};
extern lumEntrySwitches LUM_ENTRY_SWITCHES;

// How many calls of each public function have reached each column since somebody cleared it. A
// column that holds the very pointer of the reference or the vector column is that column: so it is
// where no remote unit has put an implementation of its own.
extern std::atomic<uint32_t> LUM_CALL_COUNT[LUM_ROW_COUNT][LUM_IMPL_COUNT];
// `row` is one of LUM_FUNC_TABLE; calls through other rows are not counted.
void lumCountCall(const void* row, uint32_t impl);

// What a call came to, for the run-time log.
struct lumChoice {
  const char* function;
  uint32_t impl;
  bool leftDsp;  // the arguments missed a demand of the DSP column that the mode had selected
};
void lumLogChoice(lumChoice choice);
void lumLogRefusal(lumChoice choice, const char* condition);

inline bool lumUnlikely(bool condition) { return __builtin_expect(condition, false); }

template <class F>
class lumEntry;

// One call of a public function on its way to an implementation.
template <class Result, class... Args>
class lumEntry<Result(Args...)> {
 public:
  lumEntry(const lumRow<Result(Args...)>& row, uint32_t impl, const char* name)
      : row_(row), name_(name), impl_(impl) {}

  bool onDsp() const { return onRemote() && impl_ != LUM_IMPL_GPU && impl_ < LUM_IMPL_COUNT; }
  bool onGpu() const { return onRemote() && impl_ == LUM_IMPL_GPU; }

  // What the remote unit asks of the arguments; a call that lacks it runs on the vector unit.
  void needs(bool met) {
    if (met) return;
    leftDsp_ = leftDsp_ || onDsp();
    impl_ = LUM_IMPL_VORTA;
  }

  // Says which condition the arguments fail, and gives what the call then returns.
  Result refuse(const char* condition) const {
    lumLogRefusal(choice(), condition);
    if constexpr (std::is_same_v<Result, lumStatus>) return LUMEN_EBADPARAM;
    else return Result();
  }

  // Watching is kept out of the way, so that the usual call ends in one jump to the implementation.
  Result call(Args... args) const {
    if (lumUnlikely(LUM_ENTRY_SWITCHES.watch != 0)) return watchedCall(row_, choice(), args...);
    return run(row_, impl_, args...);
  }

 private:
  bool onRemote() const { return lumUnlikely(impl_ > LUM_IMPL_VORTA); }
  lumChoice choice() const { return {name_, impl_, leftDsp_}; }

  static Result run(const lumRow<Result(Args...)>& row, uint32_t impl, Args... args) {
    if (lumUnlikely(impl >= LUM_IMPL_COUNT)) std::abort();
    if constexpr (std::is_same_v<Result, lumStatus>) {
      const lumStatus status = row.column[impl](args...);
      if (lumUnlikely(status == LUM_FALLBACK_STATUS)) return row.column[LUM_IMPL_VORTA](args...);
      return status;
    } else {
      return row.column[impl](args...);
    }
  }

  // A call that is declined counts where it went then.
  [[gnu::noinline, gnu::cold]] static Result watchedCall(const lumRow<Result(Args...)>& row,
                                                         lumChoice choice, Args... args) {
    const uint8_t watch = LUM_ENTRY_SWITCHES.watch;
    if (watch & LUM_WATCH_LOG) lumLogChoice(choice);
    if (!(watch & LUM_WATCH_COUNT)) return run(row, choice.impl, args...);
    if (choice.impl >= LUM_IMPL_COUNT) std::abort();
    if constexpr (std::is_same_v<Result, lumStatus>) {
      const lumStatus status = row.column[choice.impl](args...);
      const bool declined = status == LUM_FALLBACK_STATUS;
      lumCountCall(&row, declined ? uint32_t{LUM_IMPL_VORTA} : choice.impl);
      return declined ? row.column[LUM_IMPL_VORTA](args...) : status;
    } else {
      lumCountCall(&row, choice.impl);
      return row.column[choice.impl](args...);
    }
  }

  const lumRow<Result(Args...)>& row_;
  const char* name_;
  uint32_t impl_;
  bool leftDsp_ = false;
};

// The entry of a public function: its row, the row's selected implementation, its name.
#define LUM_ENTRY(name) \
  lumEntry<decltype(name)>(LUM_FUNC_TABLE.name, LUM_IMPL_INDEX[LUM_FN_##name], #name)

// The same of a function with a row in the internal table.
#define LUM_INTERNAL_ENTRY(name)                         \
  lumEntry<decltype(name)>(LUM_INTERNAL_FUNC_TABLE.name, \
                           LUM_INTERNAL_IMPL_INDEX[LUM_INTERNAL_FN_##name], #name)

// Returns from the public function unless the condition holds; the log quotes its text.
#define LUM_CHECK(entry, condition)                                 \
  do {                                                              \
    if (lumUnlikely(!(condition))) return entry.refuse(#condition); \
  } while (false)

// Whether an image is large enough to gain from a remote unit. Always so when the mode says that.
inline bool lumWorthRemote(uint32_t width, uint32_t height, uint32_t minWidth, uint32_t minHeight) {
  constexpr uint64_t kMinPixels = 176 * 144 + 1;
  return LUM_ENTRY_SWITCHES.forcedRemote ||
         (uint64_t{width} * height >= kMinPixels && width >= minWidth && height >= minHeight);
}

// A stride of 0 stands for rows without a gap. It stays 0, for the check to refuse, when such a row
// is longer than 32 bits can count.
inline void lumPack(uint32_t& stride, uint64_t rowBytes) {
  if (stride == 0 && rowBytes <= UINT32_MAX) stride = static_cast<uint32_t>(rowBytes);
}

// Whether all the given addresses and numbers are multiples of N, a power of two.
template <uintptr_t N, class... T>
bool lumMultipleOf(T... values) {
  static_assert((N & (N - 1)) == 0);
  const auto bits = [](auto value) {
    if constexpr (std::is_pointer_v<decltype(value)>) return reinterpret_cast<uintptr_t>(value);
    else return uintptr_t{value};
  };
  return ((... | bits(values)) & (N - 1)) == 0;
}

#endif  // LUMEN_ENTRY_H
