// Two fillings of all that is no input pixel: what differs between them, or changes outside the
// results, is a fault of the function, and the finding says which and where.

#include <algorithm>
#include <cstring>

#include "lumenTestSweepSupport.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

class Poison : public OwnData {
 protected:
  // The findings of a case with lumAbsDiffu8 as planted.
  static std::vector<std::string> findings(const std::string& contents) {
    const int failed = checkCase("lumAbsDiffu8/V/poison/" + contents);
    std::vector<std::string> lines = log();
    EXPECT_EQ(failed, lines.size() > 1);
    if (!failed) return {};
    lines.erase(lines.begin());
    lines.resize(lines.size() - 2);  // the command and the sum
    return lines;
  }
  static bool isFoundByAll() {
    lumenTestExtras = {};
    lumenTestExtras.poison = true;
    return check("lumAbsDiffu8") != 0;
  }
};

}  // namespace

TEST_F(Poison, HealthyFunctionsPass) {
  lumenTestExtras.poison = true;
  for (const LUMEN_TEST_Function& function : LUMEN_TEST_ABSDIFF_FUNCTIONS) {
    for (const unsigned int slot : {LUMEN_TEST_SLOT_C, LUMEN_TEST_SLOT_VORTA}) {
      EXPECT_EQ(check(*function.description, slot), 0);
      EXPECT_THAT(log(), ElementsAre(HasSubstr(" poison, 0 of ")));
    }
  }
}

TEST_F(Poison, FindsPixelsThatAreNeverWritten) {
  vortaColumn() = [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                     uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
    if (width > 32) width -= width % 16;
    lumAbsDiffu8C(src1, src2, width, height, srcStride, dst, dstStride);
  };
  // Padding of dst: 2 and its number, 2.
  EXPECT_THAT(findings("w37h2p1q2/random/1"), ElementsAre("dst, row 0, offset 32: never written"));
  EXPECT_THAT(findings("w32h2/random/1"), ElementsAre());
  EXPECT_TRUE(isFoundByAll());
}

TEST_F(Poison, FindsWritesOutsideTheImage) {
  vortaColumn() = [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                     uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
    lumAbsDiffu8C(src1, src2, width, height, srcStride, dst, dstStride);
    dst[dstStride + width] = 1;  // behind the second row, if there is one
  };
  EXPECT_THAT(findings("w37h3q2/random/1"),
              ElementsAre("dst, row 1, offset 78: written outside the image"));
  EXPECT_THAT(findings("w37h2/random/1"),
              ElementsAre("dst, row 1, offset 74: written outside the image"));
  EXPECT_THAT(findings("w37h3p2i2.0/random/1"),
              ElementsAre("src1, row 1, offset 76: written outside the image"));

  vortaColumn() = [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                     uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
    lumAbsDiffu8C(src1, src2, width, height, srcStride, dst, dstStride);
    dst[-1] = 0xA5;  // one of the fillings
  };
  EXPECT_THAT(findings("w37h3/random/1"),
              ElementsAre("dst, row 0, offset -1: written outside the image"));
  EXPECT_TRUE(isFoundByAll());
}

TEST_F(Poison, FindsInputsThatChange) {
  vortaColumn() = [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                     uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
    lumAbsDiffu8C(src1, src2, width, height, srcStride, dst, dstStride);
    const_cast<uint8_t*>(src2)[(height - 1) * srcStride + 3] ^= 1;
  };
  EXPECT_THAT(findings("w5h2p1/random/1"), ElementsAre("src2, row 1, offset 9: input changed"));
  EXPECT_TRUE(isFoundByAll());
  // Which it may where the result takes its place, but not the other.
  vortaColumn() = [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                     uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
    if (dst == src1) const_cast<uint8_t*>(src2)[0] ^= 1;
    lumAbsDiffu8C(src1, src2, width, height, srcStride, dst, dstStride);
  };
  EXPECT_THAT(findings("w5h2i2.1/random/1"), ElementsAre());
  EXPECT_THAT(findings("w5h2i2.0/random/1"), ElementsAre("src2, row 0, offset 0: input changed"));
}

TEST_F(Poison, FindsResultsThatDependOnMoreThanPixels) {
  // The last pixel of a row takes the byte behind it in.
  vortaColumn() = [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                     uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
    lumAbsDiffu8C(src1, src2, width, height, srcStride, dst, dstStride);
    for (uint32_t y = 0; y < height; ++y) {
      dst[y * dstStride + width - 1] ^= src1[y * srcStride + width];
    }
  };
  EXPECT_THAT(findings("w5h2p1/random/1"),
              ElementsAre("dst, row 0, offset 4: depends on bytes around the pixels of an input"));
  EXPECT_TRUE(isFoundByAll());

  vortaColumn() = [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                     uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
    const uint8_t before = dst[0];
    lumAbsDiffu8C(src1, src2, width, height, srcStride, dst, dstStride);
    dst[0] = static_cast<uint8_t>(dst[0] + before);
  };
  EXPECT_THAT(findings("w5h2p1/random/1"),
              ElementsAre("dst, row 0, offset 0: depends on what was there before"));
  EXPECT_TRUE(isFoundByAll());
}
