// What tests of the checks on own data share: the checks of a function by its name, faulty
// implementations in its place, and what the log then says.

#ifndef LUMEN_TEST_SWEEP_SUPPORT_H
#define LUMEN_TEST_SWEEP_SUPPORT_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "lumenTable.h"
#include "lumenTestConfig.h"
#include "lumenTestDriverSupport.h"
#include "lumenTestExtras.h"
#include "lumenTestModule.h"
#include "lumenTestSweep.h"

class OwnData : public testing::Test {
 protected:
  OwnData() {
    lumSetOperationMode(LUMEN_TEST_SLOT_MODE[LUMEN_TEST_SLOT_C]);
    table_ = LUM_FUNC_TABLE;
    lumenTestRunConfig = {};
    lumenTestSettings = {};
    lumenTestExtras = {};
    lumenTestOwnDataRun = {};
  }
  ~OwnData() override {
    LUM_FUNC_TABLE = table_;
    lumenTestExtras = {};
    lumenTestOwnDataRun = {};
  }

  static const LUMEN_TEST_Description& description(std::string_view name) {
    for (const LUMEN_TEST_Function& function : LUMEN_TEST_ABSDIFF_FUNCTIONS) {
      if (function.description->name == name) return *function.description;
    }
    ADD_FAILURE() << name;
    return *LUMEN_TEST_ABSDIFF_FUNCTIONS[0].description;
  }

  // What the checks that lumenTestExtras asks for come to; their log is in log().
  static int check(const LUMEN_TEST_Description& function,
                   unsigned int slot = LUMEN_TEST_SLOT_VORTA, float tolerance = 0) {
    CapturedLog::lines().clear();
    lumSetOperationMode(LUMEN_TEST_SLOT_MODE[slot]);
    return LUMEN_TEST_CheckOwnData(function, slot, tolerance);
  }
  static int check(std::string_view name, unsigned int slot = LUMEN_TEST_SLOT_VORTA,
                   float tolerance = 0) {
    return check(description(name), slot, tolerance);
  }
  static int checkCase(const std::string& text) {
    lumenTestExtras = {};
    lumenTestExtras.caseText = text;
    return check(text.substr(0, text.find('/')));
  }

  // The texts of the log's lines, without what all of them begin with.
  static std::vector<std::string> log() {
    std::vector<std::string> lines;
    const std::string prefix = "D/lumen_test: LUMEN_TEST, ";
    for (const std::string& line : CapturedLog::lines()) {
      if (line.starts_with(prefix)) lines.push_back(line.substr(prefix.size()));
    }
    return lines;
  }

  // The texts of the cases that the log names.
  static std::vector<std::string> failedCases() {
    std::vector<std::string> texts;
    for (const std::string& line : log()) {
      const size_t begin = line.find(" ("), end = line.find(") =>FAIL");
      if (begin == std::string::npos || end == std::string::npos) continue;
      texts.push_back(line.substr(begin + 2, end - begin - 2));
    }
    return texts;
  }

 private:
  lumFuncTable table_;
  const CapturedLog capture_;
};

// Where faulty implementations of lumAbsDiffu8 go, and what they begin with. Later operation modes
// leave the column alone.
inline auto& vortaColumn() { return LUM_FUNC_TABLE.lumAbsDiffu8.column[LUM_IMPL_VORTA]; }
using AbsDiffu8 = decltype(lumAbsDiffu8);

#endif  // LUMEN_TEST_SWEEP_SUPPORT_H
