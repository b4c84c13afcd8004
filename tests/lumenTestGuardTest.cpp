// Images beside inaccessible memory: what is touched there is found, named, and survived.

#include <signal.h>
#include <sys/mman.h>

#include <cstring>

#include "lumenTestGuardMemory.h"
#include "lumenTestGuardTrap.h"
#include "lumenTestSweepSupport.h"

namespace {

using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

// Reads that no compiler leaves out.
uint8_t touch(const uint8_t* address) { return *static_cast<const volatile uint8_t*>(address); }
void overwrite(uint8_t* address) { *static_cast<volatile uint8_t*>(address) = 1; }

volatile uintptr_t wild = 16;  // no compiler knows it

class Guard : public OwnData {
 protected:
  // The only finding of a case with lumAbsDiffu8 as planted.
  static std::string finding(const std::string& contents) {
    EXPECT_EQ(checkCase("lumAbsDiffu8/V/" + contents + "/random/1"), 1) << contents;
    const std::vector<std::string> lines = log();
    if (lines.size() != 4) return testing::PrintToString(lines);
    EXPECT_EQ(lines[3], "lumAbsDiffu8_V guard, 1 of 1 cases failed =>FAIL");
    return lines[1];
  }
  static void passes(const std::string& contents) {
    EXPECT_EQ(checkCase("lumAbsDiffu8/V/" + contents + "/random/1"), 0)
        << contents << testing::PrintToString(log());
  }
};

// lumAbsDiffu8 and one access more, to `Touch()(src1, src2, dst, last row of each, width)`.
template <class Touch>
constexpr AbsDiffu8* touching(Touch) {
  return [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
            uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
    lumAbsDiffu8C(src1, src2, width, height, srcStride, dst, dstStride);
    Touch()(src1, src2, dst, width, height, srcStride, dstStride);
  };
}
#define TOUCHING(statement)                                                               \
  touching([]([[maybe_unused]] const uint8_t* src1, [[maybe_unused]] const uint8_t* src2, \
              [[maybe_unused]] uint8_t* dst, [[maybe_unused]] uint32_t width,             \
              [[maybe_unused]] uint32_t height, [[maybe_unused]] uint32_t srcStride,      \
              [[maybe_unused]] uint32_t dstStride) { statement; })

}  // namespace

TEST_F(Guard, HealthyFunctionsPassInEveryPlace) {
  for (const auto guard : {LUMEN_TEST_Guard::tail, LUMEN_TEST_Guard::head, LUMEN_TEST_Guard::row}) {
    lumenTestExtras.guard = guard;
    for (const LUMEN_TEST_Function& function : LUMEN_TEST_ABSDIFF_FUNCTIONS) {
      for (const unsigned int slot : {LUMEN_TEST_SLOT_C, LUMEN_TEST_SLOT_VORTA}) {
        EXPECT_EQ(check(*function.description, slot), 0);
        EXPECT_THAT(log(), ElementsAre(HasSubstr(" guard, 0 of ")));
      }
    }
  }
}

TEST_F(Guard, NamesBufferOffsetAndAccessBehindTheTail) {
  // 33 x 3 pixels: packed, an image has 99 bytes; its rows padded by 1 and 2 (and the image's
  // number), 2 x 34 + 33 and 2 x 37 + 33.
  vortaColumn() = TOUCHING(touch(src1 + (height - 1) * srcStride + width));
  EXPECT_EQ(finding("tail/w33h3"), "src1, offset 99: read outside its 33 x 3 bytes, stride 33");
  EXPECT_EQ(finding("tail/w33h3p1q2"),
            "src1, offset 101: read outside its 33 x 3 bytes, stride 34");
  passes("head/w33h3");

  vortaColumn() = TOUCHING(touch(src2 + (height - 1) * srcStride + width + 15));
  EXPECT_EQ(finding("tail/w33h3"), "src2, offset 114: read outside its 33 x 3 bytes, stride 33");

  vortaColumn() = TOUCHING(overwrite(dst + (height - 1) * dstStride + width));
  EXPECT_EQ(finding("tail/w33h3p1q2"),
            "dst, offset 107: write outside its 33 x 3 bytes, stride 37");
  EXPECT_EQ(finding("tail/w33h3i2.1"), "dst, offset 99: write outside its 33 x 3 bytes, stride 33");

  vortaColumn() = TOUCHING(touch(dst + (height - 1) * dstStride + width));
  EXPECT_EQ(finding("tail/w33h3"), "dst, offset 99: read outside its 33 x 3 bytes, stride 33");
  EXPECT_EQ(finding("tail/w33h3i2.1"), "src2, offset 99: read outside its 33 x 3 bytes, stride 33");
}

TEST_F(Guard, NamesThemBeforeTheHead) {
  vortaColumn() = TOUCHING(touch(src2 - 1));
  EXPECT_EQ(finding("head/w33h3"), "src2, offset -1: read outside its 33 x 3 bytes, stride 33");
  passes("tail/w33h3");
  vortaColumn() = TOUCHING(overwrite(dst - 16));
  EXPECT_EQ(finding("head/w5h1"), "dst, offset -16: write outside its 5 x 1 bytes, stride 5");
}

TEST_F(Guard, LooksAtEachRow) {
  // Past every row but the last: into the padding, where neither end of the image sees it.
  vortaColumn() = TOUCHING(if (height > 1) touch(src1 + width));
  passes("tail/w33h3p1q2");
  passes("head/w33h3p1q2");
  EXPECT_THAT(finding("row/w33h3p1q2"),
              MatchesRegex("rows apart, src1, offset 33: read outside its 33 x 3 bytes, stride "
                           "[0-9]+"));
  passes("row/w33h3z");  // rows without padding may be one long row

  vortaColumn() = TOUCHING(if (height > 2) overwrite(dst + 2 * dstStride - 1));
  passes("tail/w33h3p1q2");
  EXPECT_THAT(finding("row/w33h3p1q2"), StartsWith("rows apart, dst, offset "));

  vortaColumn() = TOUCHING(if (height == 1) touch(src1 - 1));
  EXPECT_EQ(finding("row/w33h3"),
            "row 0 alone, src1, offset -1: read outside its 33 x 1 bytes, stride 33");
  vortaColumn() = TOUCHING(if (height == 1) touch(src1 + width));
  EXPECT_EQ(finding("row/w33h3"),
            "row 0 alone, src1, offset 33: read outside its 33 x 1 bytes, stride 33");
}

TEST_F(Guard, GoesOnAfterFaults) {
  vortaColumn() = TOUCHING(if (width == 17) touch(src1 + (height - 1) * srcStride + width));
  lumenTestExtras.guard = LUMEN_TEST_Guard::tail;
  EXPECT_EQ(check("lumAbsDiffu8"), 1);
  EXPECT_THAT(failedCases(), testing::SizeIs(5));
  EXPECT_THAT(failedCases(), Each(StartsWith("lumAbsDiffu8/V/tail/w17h")));
  // All cases of this width, and no others.
  EXPECT_THAT(log().back(), MatchesRegex("lumAbsDiffu8_V guard, 20 of 2700 cases failed =>FAIL"));
  for (const std::string& text : failedCases()) EXPECT_EQ(checkCase(text), 1) << text;
}

TEST_F(Guard, SurvivesWildAddresses) {
  vortaColumn() = [](const uint8_t*, const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*,
                     uint32_t) { overwrite(reinterpret_cast<uint8_t*>(wild)); };
  EXPECT_THAT(finding("tail/w33h3"), EndsWith(" at 0x10, far from every image"));
}

namespace {

void recognised(int) {}

struct sigaction actionOf(int signal) {
  struct sigaction action = {};
  sigaction(signal, nullptr, &action);
  return action;
}

constexpr LUMEN_TEST_Image kByte[] = {{.name = "byte", .type = LUMEN_TEST_Type::u8}};
LUMEN_TEST_Description describing(void (*call)(const LUMEN_TEST_Arguments&)) {
  return {.name = "touch",
          .id = LUMEN_FUNC_NONE,
          .scripts = {},
          .images = kByte,
          .scalars = {},
          .call = call};
}

}  // namespace

TEST_F(Guard, GivesHandlersAndStackBack) {
  struct sigaction own = {};
  own.sa_handler = recognised;
  struct sigaction before[2];
  sigaction(SIGSEGV, &own, &before[0]);
  sigaction(SIGBUS, &own, &before[1]);
  stack_t stackBefore = {}, stackAfter = {};
  sigaltstack(nullptr, &stackBefore);
  sigset_t maskBefore, maskAfter;
  sigprocmask(SIG_SETMASK, nullptr, &maskBefore);

  LUMEN_TEST_Arguments arguments = {};
  const auto reads = describing([](const LUMEN_TEST_Arguments& a) { touch(a.as<uint8_t>(0)); });
  uint8_t byte = 0;
  arguments.image[0] = &byte;
  EXPECT_FALSE(LUMEN_TEST_CallTrapped(reads, arguments));
  arguments.image[0] = reinterpret_cast<void*>(uintptr_t{32});
  for (int time = 0; time < 2; ++time) {
    const auto fault = LUMEN_TEST_CallTrapped(reads, arguments);
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->address, 32u);
  }

  EXPECT_EQ(actionOf(SIGSEGV).sa_handler, &recognised);
  EXPECT_EQ(actionOf(SIGBUS).sa_handler, &recognised);
  sigaltstack(nullptr, &stackAfter);
  EXPECT_EQ(stackAfter.ss_sp, stackBefore.ss_sp);
  EXPECT_EQ(stackAfter.ss_flags, stackBefore.ss_flags);
  sigprocmask(SIG_SETMASK, nullptr, &maskAfter);
  EXPECT_EQ(sigismember(&maskAfter, SIGSEGV), sigismember(&maskBefore, SIGSEGV));
  sigaction(SIGSEGV, &before[0], nullptr);
  sigaction(SIGBUS, &before[1], nullptr);
}

TEST_F(Guard, LeavesSignalsOfOthersToTheirHandlers) {
  static volatile sig_atomic_t caught;
  caught = 0;
  struct sigaction own = {}, before;
  own.sa_handler = [](int) { caught = caught + 1; };
  sigaction(SIGSEGV, &own, &before);
  const auto sends = describing([](const LUMEN_TEST_Arguments&) { raise(SIGSEGV); });
  EXPECT_FALSE(LUMEN_TEST_CallTrapped(sends, {}));
  EXPECT_EQ(caught, 1);
  sigaction(SIGSEGV, &before, nullptr);
}

TEST_F(Guard, MemoryIsGuardedToTheByte) {
  const size_t page = LUMEN_TEST_GuardedImage::pageBytes();
  LUMEN_TEST_GuardedImage image;
  const auto faultsAt = [&](ptrdiff_t offset) {
    LUMEN_TEST_Arguments arguments = {};
    arguments.image[0] = image.first() + offset;
    return LUMEN_TEST_CallTrapped(
               describing([](const LUMEN_TEST_Arguments& a) { overwrite(a.as<uint8_t>(0)); }),
               arguments)
        .has_value();
  };
  const LUMEN_TEST_Layout::Image packed = {10, 3, 10, 10, 30, 0};
  for (int time = 0; time < 2; ++time) {  // memory is used again
    ASSERT_TRUE(image.place(packed, LUMEN_TEST_Fence::tail, false));
    EXPECT_TRUE(!faultsAt(0) && !faultsAt(29) && faultsAt(30));
    ASSERT_TRUE(image.place(packed, LUMEN_TEST_Fence::head, false));
    EXPECT_TRUE(!faultsAt(0) && !faultsAt(29) && faultsAt(-1));
    const auto apart = static_cast<ptrdiff_t>(2 * page);
    const LUMEN_TEST_Layout::Image spread = {10, 3, 2 * page, 0, 4 * page + 10, 0};
    ASSERT_TRUE(image.place(spread, LUMEN_TEST_Fence::tail, true));
    EXPECT_TRUE(!faultsAt(0) && !faultsAt(9) && faultsAt(10));
    EXPECT_TRUE(!faultsAt(2 * apart) && !faultsAt(2 * apart + 9) && faultsAt(2 * apart + 10));
    ASSERT_TRUE(image.place(spread, LUMEN_TEST_Fence::head, true));
    EXPECT_TRUE(faultsAt(-1) && !faultsAt(0) && faultsAt(apart - 1) && !faultsAt(apart));
    const LUMEN_TEST_Layout::Image large = {3 * page + 1, 1, 0, 0, 3 * page + 1, 0};
    ASSERT_TRUE(image.place(large, LUMEN_TEST_Fence::tail, false));
    EXPECT_TRUE(!faultsAt(0) && faultsAt(static_cast<ptrdiff_t>(3 * page + 1)));
  }
}
