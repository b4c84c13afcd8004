// Which column of the function table the calls of a test have really reached.

#ifndef LUMEN_TEST_ATTEST_H
#define LUMEN_TEST_ATTEST_H

#include <array>
#include <cstdint>

#include "lumenTable.h"
#include "lumenTestRecord.h"

using LUMEN_TEST_ColumnCounts = std::array<uint32_t, LUM_IMPL_COUNT>;

// A verdict on calls that were compared and calls that were timed in a slot. The C slot and the V
// slot fell back when any call reached another column than theirs. Of a remote unit's slot single
// calls may go to the vector unit, where their arguments miss the unit's demands: it fell back when
// none of the compared calls, or not every one of the timed calls, reached the unit. Slots of
// operation modes expect no certain column. Skipped when there was no call.
struct LUMEN_TEST_Attested {
  LUMEN_TEST_Verdict verdict;
  uint32_t column;  // where it fell back to: that of most of the calls which went astray
  uint32_t calls, strays;
};
LUMEN_TEST_Attested LUMEN_TEST_JudgeColumns(unsigned int slot,
                                            const LUMEN_TEST_ColumnCounts& compared,
                                            const LUMEN_TEST_ColumnCounts& timed);

// With --attest, counts the calls of a function as long as it lives.
class LUMEN_TEST_Attest {
 public:
  explicit LUMEN_TEST_Attest(const char* function);
  ~LUMEN_TEST_Attest();
  LUMEN_TEST_Attest(const LUMEN_TEST_Attest&) = delete;
  LUMEN_TEST_Attest& operator=(const LUMEN_TEST_Attest&) = delete;

  // The calls so far were compared, those from here on are timed.
  void timedFromHere();

  // Logs and records the verdict; true when the slot fell back.
  bool report(unsigned int slot);

 private:
  LUMEN_TEST_ColumnCounts take() const;

  const char* const function_;
  uint32_t row_ = LUM_ROW_COUNT;  // none: not counting
  LUMEN_TEST_ColumnCounts compared_ = {};
};

#endif  // LUMEN_TEST_ATTEST_H
