// Functions that are more than images in, images of the same size out: each such thing that a
// description says is held against a function that does otherwise.

#include <algorithm>
#include <set>

#include "lumenTestSweepCases.h"
#include "lumenTestSweepData.h"
#include "lumenTestSweepSupport.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

enum class Fault {
  none,
  wrongLast,       // of the list
  wrongCount,      // one less than there are
  oneTooMany,      // behind the list's counted part
  beyondCapacity,  // behind the whole list
  readsWork,       // takes what was in the work area
  beyondWork,
  beyondTable,
  oneRowLess,  // of those that an odd height is rounded up to
  oneRowMore,
  writesOddWidths,  // where nothing is to be written
  takesBorderForNone,
};
Fault planted;

// Only the slot under test is at fault.
bool has(Fault fault) {
  return planted == fault && LUM_IMPL_INDEX[LUM_FN_lumAbsDiffu8] != LUM_IMPL_CPU;
}

enum Images { kSrc, kTable, kList, kCount, kWork, kHalf };
enum Scalars { kBorder, kCapacity };

constexpr double kCapacities[] = {0, 1, 3, 40};
constexpr double kBorders[] = {0, 1, 2, 8};

constexpr LUMEN_TEST_Image kImages[] = {
    {.name = "src", .type = LUMEN_TEST_Type::u8, .heightMultiple = 2, .least = 3, .greatest = 90},
    {.name = "table",
     .type = LUMEN_TEST_Type::u8,
     .isPacked = true,
     .extent =
         [](const LUMEN_TEST_Arguments&) {
           return LUMEN_TEST_Extent{256, 1};
         }},
    {.name = "list",
     .type = LUMEN_TEST_Type::u32,
     .isWritten = true,
     .isPacked = true,
     .extent =
         [](const LUMEN_TEST_Arguments& a) {
           return LUMEN_TEST_Extent{2, a.value<uint32_t>(kCapacity)};
         },
     .meaningful =
         [](const LUMEN_TEST_Arguments& a) { return 2 * uint64_t{a.as<uint32_t>(kCount)[0]}; }},
    {.name = "count",
     .type = LUMEN_TEST_Type::u32,
     .isWritten = true,
     .isPacked = true,
     .extent =
         [](const LUMEN_TEST_Arguments&) {
           return LUMEN_TEST_Extent{1, 1};
         }},
    {.name = "work",
     .type = LUMEN_TEST_Type::u32,
     .isWritten = true,
     .isPacked = true,
     .extent =
         [](const LUMEN_TEST_Arguments& a) {
           return LUMEN_TEST_Extent{a.value<uint32_t>(kCapacity) + uint64_t{a.height}, 1};
         },
     .isScratch = true},
    {.name = "half",
     .type = LUMEN_TEST_Type::u8,
     .isWritten = true,
     .widthDivisor = 2,
     .heightDivisor = 2,
     .meaningful = [](const LUMEN_TEST_Arguments& a) -> uint64_t {
       return a.width % 2 ? 0 : UINT64_MAX;
     }},
};
constexpr LUMEN_TEST_Scalar kScalars[] = {
    {"border", LUMEN_TEST_Type::s32, 0, 8, 1, kBorders},
    {"capacity", LUMEN_TEST_Type::u32, 0, 40, 10, kCapacities},
};

// Lists the places whose value the table takes to more than 128, in pairs of rows within a border,
// and takes every other pixel of every other row into `half`.
void find(const LUMEN_TEST_Arguments& a) {
  const auto* src = a.as<const uint8_t>(kSrc);
  const auto* table = a.as<const uint8_t>(kTable);
  auto *list = a.as<uint32_t>(kList), *count = a.as<uint32_t>(kCount);
  auto* work = a.as<uint32_t>(kWork);
  const uint32_t border =
      has(Fault::takesBorderForNone) ? 0 : static_cast<uint32_t>(a.value<int32_t>(kBorder));
  const uint32_t capacity = a.value<uint32_t>(kCapacity), stride = a.stride[kSrc];
  uint32_t rows = (a.height + 1) / 2 * 2;
  if (has(Fault::oneRowLess)) rows = a.height;
  if (has(Fault::oneRowMore)) rows += 2;
  const size_t step = stride ? stride : a.width;
  uint32_t found = 0;
  if (!has(Fault::readsWork)) work[0] = 7;
  work[a.height + capacity - (has(Fault::beyondWork) ? 0 : 1)] = 7;
  const uint8_t limit = has(Fault::beyondTable) ? table[256] : 128;
  for (uint32_t y = border; y < rows; ++y) {
    for (uint32_t x = border; x + border < a.width && found < capacity; ++x) {
      if (table[src[y * step + x]] <= limit) continue;
      list[2 * found] = x;
      list[2 * found++ + 1] = y;
    }
  }
  if (has(Fault::wrongLast) && found > 2) list[2 * found - 1] ^= 1;
  if (has(Fault::oneTooMany) && found < capacity) list[2 * found] = 1;
  if (has(Fault::beyondCapacity)) list[std::max(2 * capacity, 2u)] = 1;
  if (has(Fault::wrongCount) && found > 0) --found;
  if (has(Fault::readsWork)) found += work[0] & 1;
  *count = found;
  if (a.width % 2 && !has(Fault::writesOddWidths)) return;
  auto* half = a.as<uint8_t>(kHalf);
  const size_t halfStep = a.stride[kHalf] ? a.stride[kHalf] : (a.width + 1) / 2;
  for (uint32_t y = 0; y < a.height; y += 2) {
    for (uint32_t x = 0; x < a.width; x += 2) {
      half[y / 2 * halfStep + x / 2] = src[y * step + x];
    }
  }
}

constexpr LUMEN_TEST_Description kFind = {
    .name = "find",
    .id = LUMEN_FUNC_NONE,
    .scripts = {"find", "u8", true},
    .images = kImages,
    .scalars = kScalars,
    .call = find,
    .sizes = {.leastWidth = 5, .leastHeight = 3, .greatestWidth = 70},
    .adjust = [](LUMEN_TEST_Arguments& a) {
      const auto most = static_cast<int32_t>(std::min(a.width, a.height) - 1) / 2;
      a.setValue(kBorder, std::min(a.value<int32_t>(kBorder), most));
    }};

class Described : public OwnData {
 protected:
  Described() { planted = Fault::none; }
  ~Described() override { planted = Fault::none; }

  static bool sweepFinds() {
    return finds([] { lumenTestExtras.sweep = LUMEN_TEST_Sweep::quick; });
  }
  static bool guardFinds(LUMEN_TEST_Guard guard = LUMEN_TEST_Guard::tail) {
    return finds([guard] { lumenTestExtras.guard = guard; });
  }
  static bool poisonFinds() {
    return finds([] { lumenTestExtras.poison = true; });
  }

 private:
  template <class Ask>
  static bool finds(Ask ask) {
    lumenTestExtras = {};
    ask();
    return check(kFind) != 0;
  }
};

}  // namespace

TEST_F(Described, SoundFunctionPasses) {
  EXPECT_FALSE(sweepFinds());
  EXPECT_THAT(log(), ElementsAre(HasSubstr("find_V sweep, 0 of ")));
  for (const auto guard : {LUMEN_TEST_Guard::tail, LUMEN_TEST_Guard::head, LUMEN_TEST_Guard::row}) {
    EXPECT_FALSE(guardFinds(guard)) << testing::PrintToString(log());
  }
  EXPECT_FALSE(poisonFinds()) << testing::PrintToString(log());
}

TEST_F(Described, FaultsAreFoundByTheChecksThatCanSeeThem) {
  struct {
    Fault fault;
    bool bySweep, byGuard, byPoison;
    const char* finding;  // of poison, else of guard
  } faults[] = {
      {Fault::wrongLast, true, false, false, ""},
      {Fault::wrongCount, true, false, true, "list, row "},
      {Fault::oneTooMany, false, false, true, "written behind what means something"},
      {Fault::beyondCapacity, false, true, true, "list, row "},
      {Fault::readsWork, true, false, true, "count, row 0, offset 0: depends on what was there"},
      {Fault::beyondWork, false, true, true, "work, row 0, offset "},
      {Fault::beyondTable, true, true, true, "depends on bytes around the pixels of an input"},
      {Fault::oneRowLess, true, false, false, ""},
      {Fault::oneRowMore, true, true, true, "depends on bytes around the pixels of an input"},
      {Fault::writesOddWidths, false, false, true, "half, row 0, offset 0: written behind"},
      {Fault::takesBorderForNone, true, false, false, ""},
  };
  for (const auto& fault : faults) {
    SCOPED_TRACE(static_cast<int>(fault.fault));
    planted = fault.fault;
    EXPECT_EQ(sweepFinds(), fault.bySweep);
    EXPECT_EQ(guardFinds(), fault.byGuard);
    EXPECT_EQ(poisonFinds(), fault.byPoison);
    if (!fault.byPoison) continue;
    EXPECT_THAT(log(), Contains(HasSubstr(fault.finding)));
  }
}

TEST_F(Described, ChoicesKeepToSizesValuesAndRanges) {
  std::set<std::pair<int32_t, uint32_t>> numbers;
  std::set<uint32_t> widths, heights;
  for (const LUMEN_TEST_SweepCase& c : LUMEN_TEST_SweepCases(kFind, LUMEN_TEST_Sweep::full, 1)) {
    widths.insert(c.width);
    heights.insert(c.height);
    const LUMEN_TEST_Arguments a = LUMEN_TEST_NumbersOf(kFind, c);
    EXPECT_LT(a.value<int32_t>(kBorder) * 2, static_cast<int32_t>(std::min(c.width, c.height)));
    EXPECT_THAT(kCapacities, Contains(double(a.value<uint32_t>(kCapacity))));
    numbers.insert({a.value<int32_t>(kBorder), a.value<uint32_t>(kCapacity)});
  }
  EXPECT_EQ(*widths.begin(), 5u);
  EXPECT_EQ(*widths.rbegin(), 70u);
  EXPECT_EQ(widths.size(), 66u);
  EXPECT_THAT(heights, testing::IsSupersetOf({3u, 4u, 5u, 6u, 7u}));
  EXPECT_GE(numbers.size(), 12u);
  EXPECT_FALSE((LUMEN_TEST_SweepCase{.width = 4, .height = 3}).fits(kFind));

  LUMEN_TEST_SweepCase c = {.width = 20, .height = 5, .seed = 3};
  LUMEN_TEST_Layout layout;
  ASSERT_TRUE(LUMEN_TEST_LayOut(kFind, c, layout));
  EXPECT_EQ(layout.image[kSrc].rows, 6u);
  EXPECT_EQ(layout.image[kHalf].rows, 3u);
  for (auto pattern = 0; pattern <= int(LUMEN_TEST_LAST_INTEGER_PATTERN); ++pattern) {
    c.pattern[0] = LUMEN_TEST_Pattern(pattern);
    std::vector<uint8_t> bytes(layout.image[kSrc].bytes);
    LUMEN_TEST_FillInput(kFind, c, layout, kSrc, bytes.data());
    const auto [least, greatest] = std::minmax_element(bytes.begin(), bytes.end());
    EXPECT_TRUE(*least >= 3 && *greatest <= 90) << pattern;
  }
}

namespace {

// A script's row as a saved case writes it, and the rows of a directory by hand.
int runScript(const std::string& directory) {
  CapturedLog::lines().clear();
  lumSetOperationMode(LUMEN_TEST_SLOT_MODE[LUMEN_TEST_SLOT_VORTA]);
  return LUMEN_TEST_RunUnit(
      kFind, {"find", directory.c_str(), LUMEN_TEST_SLOT_VORTA, 0, LUMEN_TEST_UNIT, 0, nullptr});
}

}  // namespace

TEST_F(Described, RowsOfScriptsHaveListsAndRoundedRowsAndNoWorkAreas) {
  const TempDirectory directory;
  std::filesystem::create_directory(directory.path() + "/find");
  directory.write("find/control_script_u8.csv",
                  "src,table,border,capacity,list,count,half,note\n"
                  "unsignedchar[],unsignedchar[],int,unsignedint,unsignedint[],unsignedint[],"
                  "unsignedchar[],comment\n"
                  "src.csv,table.csv,0,3,list.csv,count.csv,half.csv,\n");
  directory.write("find/src.csv", "4,4,0,0,4,3\n0,9,0,0\n0,0,0,0\n0,0,0,0\n9,0,0,0\n");
  std::string table = "256,1,0,0,256,1\n0";
  for (int i = 1; i < 256; ++i) table += i == 9 ? ",200" : ",0";
  directory.write("find/table.csv", table + "\n");
  directory.write("find/list.csv", "2,3,0,0,2,3\n1,0\n0,3\n");  // the rest as it was
  directory.write("find/count.csv", "1,1,0,0,1,1\n2\n");
  directory.write("find/half.csv", "2,2,0,0,2,2\n0,0\n0,0\n");
  EXPECT_EQ(runScript(directory.path()), 0) << testing::PrintToString(log());
  for (const Fault fault : {Fault::oneRowLess, Fault::oneTooMany, Fault::wrongCount}) {
    planted = fault;
    EXPECT_EQ(runScript(directory.path()), 1) << static_cast<int>(fault);
  }
  planted = Fault::none;
  directory.write("find/list.csv", "2,2,0,0,2,2\n1,0\n0,3\n");  // shorter than its capacity
  EXPECT_EQ(runScript(directory.path()), 1);
  EXPECT_THAT(CapturedLog::lines(), Contains(HasSubstr("The image list of find is smaller")));
}

TEST_F(Described, SavedCasesFailAgain) {
  const TempDirectory directory;
  for (const Fault fault : {Fault::wrongLast, Fault::oneRowLess}) {
    std::filesystem::remove_all(directory.path() + "/find");
    planted = fault;
    lumenTestExtras = {};
    lumenTestExtras.sweep = LUMEN_TEST_Sweep::quick;
    lumenTestExtras.saveFailing = directory.path();
    EXPECT_EQ(check(kFind), 1);
    EXPECT_THAT(log(), Contains(HasSubstr("saved in ")));
    EXPECT_EQ(runScript(directory.path()), 1);
    EXPECT_THAT(CapturedLog::lines(), testing::Not(Contains(HasSubstr("smaller than the call"))));
    planted = Fault::none;
    EXPECT_EQ(runScript(directory.path()), 0) << testing::PrintToString(CapturedLog::lines());
  }
}

TEST_F(Described, IsTimedWithoutAScript) {
  LUMEN_TEST_Times times = {};
  LUMEN_TEST_RunProfiling(
      kFind, {"find", nullptr, LUMEN_TEST_SLOT_VORTA, 0, LUMEN_TEST_PROFILING, 3, &times});
  EXPECT_THAT(log(), IsEmpty());
}
