#include "lumenTestAttest.h"

#include <numeric>
#include <string>

#include "lumenEntry.h"
#include "lumenTestConfig.h"
#include "lumenTestExtras.h"
#include "lumenTestLog.h"

namespace {

using Counts = LUMEN_TEST_ColumnCounts;

bool isExpected(unsigned int slot, uint32_t column) {
  switch (slot) {
    case LUMEN_TEST_SLOT_C:
      return column == LUM_IMPL_CPU;
    case LUMEN_TEST_SLOT_VORTA:
      return column == LUM_IMPL_VORTA;
    case LUMEN_TEST_SLOT_ZDSP:  // the device may have a signal processor under another name
      return column >= LUM_IMPL_ZDSP && column != LUM_IMPL_GPU;
    case LUMEN_TEST_SLOT_GPU:
      return column == LUM_IMPL_GPU;
    default:
      return true;
  }
}

struct Split {
  uint32_t calls = 0, strays = 0;
};
Split split(unsigned int slot, const Counts& counts) {
  Split split;
  for (uint32_t column = 0; column < LUM_IMPL_COUNT; ++column) {
    split.calls += counts[column];
    if (!isExpected(slot, column)) split.strays += counts[column];
  }
  return split;
}

// A row may have an ending that its public function lacks.
bool isRowOf(std::string_view row, std::string_view function) {
  if (!row.starts_with(function)) return false;
  row.remove_prefix(function.size());
  return row.empty() || row == "ST" || row == "FxpST";
}

uint32_t rowOf(std::string_view function) {
  uint32_t row = 0;
  while (row < LUM_ROW_COUNT && !isRowOf(LUM_ROW_INFO[row].name, function)) ++row;
  return row;
}

Counts sumOf(const Counts& a, const Counts& b) {
  Counts sum;
  for (size_t column = 0; column < sum.size(); ++column) sum[column] = a[column] + b[column];
  return sum;
}

std::string textOf(const Counts& counts) {
  std::string text;
  for (size_t column = 0; column < counts.size(); ++column) {
    if (counts[column] == 0) continue;
    text += (text.empty() ? "" : ", ") + std::string(LUM_IMPL_NAME[column]) + " " +
            std::to_string(counts[column]);
  }
  return text.empty() ? "no call" : text;
}

}  // namespace

LUMEN_TEST_Attested LUMEN_TEST_JudgeColumns(unsigned int slot, const Counts& compared,
                                            const Counts& timed) {
  const Split first = split(slot, compared), second = split(slot, timed);
  LUMEN_TEST_Attested result = {LUMEN_TEST_Verdict::pass, 0, first.calls + second.calls,
                                first.strays + second.strays};
  if (result.calls == 0) result.verdict = LUMEN_TEST_Verdict::skipped;
  if (result.strays == 0) return result;

  const Counts all = sumOf(compared, timed);
  uint32_t most = 0;
  for (uint32_t column = 0; column < LUM_IMPL_COUNT; ++column) {
    if (isExpected(slot, column) || all[column] <= most) continue;
    most = all[column];
    result.column = column;
  }
  const bool isRemote = slot == LUMEN_TEST_SLOT_ZDSP || slot == LUMEN_TEST_SLOT_GPU;
  const bool mayStray = isRemote && first.strays < first.calls && second.strays == 0;
  if (!mayStray) result.verdict = LUMEN_TEST_Verdict::fellBack;
  return result;
}

LUMEN_TEST_Attest::LUMEN_TEST_Attest(const char* function) : function_(function) {
  if (!lumenTestExtras.attest) return;
  row_ = rowOf(function);
  if (row_ == LUM_ROW_COUNT) return;
  for (std::atomic<uint32_t>& count : LUM_CALL_COUNT[row_]) count = 0;
  LUM_ENTRY_SWITCHES.watch |= LUM_WATCH_COUNT;
}

LUMEN_TEST_Attest::~LUMEN_TEST_Attest() {
  LUM_ENTRY_SWITCHES.watch &= static_cast<uint8_t>(~LUM_WATCH_COUNT);
}

Counts LUMEN_TEST_Attest::take() const {
  Counts counts;
  for (size_t column = 0; column < counts.size(); ++column) {
    counts[column] = LUM_CALL_COUNT[row_][column].exchange(0);
  }
  return counts;
}

void LUMEN_TEST_Attest::timedFromHere() {
  if (row_ < LUM_ROW_COUNT) compared_ = take();
}

bool LUMEN_TEST_Attest::report(unsigned int slot) {
  if (row_ == LUM_ROW_COUNT) return false;
  const Counts timed = take();
  const LUMEN_TEST_Attested attested = LUMEN_TEST_JudgeColumns(slot, compared_, timed);
  const std::string detail = textOf(sumOf(compared_, timed));
  const char letter = lumenTestSettings.profileOrder[slot];
  const bool fellBack = attested.verdict == LUMEN_TEST_Verdict::fellBack;
  if (fellBack) {
    lumLog(LUM_LOG_WARN, LUMEN_TEST_LOG_TAG, "LUMEN_TEST, %s_%c =>FELL_BACK (%s)", function_,
           letter, LUM_IMPL_NAME[attested.column]);
  } else {
    LUMEN_TEST_Log("LUMEN_TEST, %s_%c reached %s", function_, letter, detail.c_str());
  }
  LUMEN_TEST_RecordCheck({.function = function_,
                          .slot = letter,
                          .check = "attest",
                          .verdict = attested.verdict,
                          .cases = attested.calls,
                          .failedCases = fellBack ? attested.strays : 0,
                          .detail = detail});
  return fellBack;
}
