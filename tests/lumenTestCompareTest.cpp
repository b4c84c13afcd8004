#include "lumenTestCompare.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "lumenTestCompareRecords.h"
#include "lumenTestFiles.h"

namespace {

using std::string;
using u8 = unsigned char;

class Compare : public testing::Test {
 protected:
  // Whole arrays of one row.
  template <class T>
  int rows(const std::vector<T>& ref, const std::vector<T>& tst, T tolerance) {
    const int size = static_cast<int>(ref.size());
    return LUMEN_TEST_CompareBuffers<T>(ref.data(), tst.data(), size, 1, -1, -1, -1, -1, -1, -1, -1,
                                        -1, -1, -1, tolerance);
  }
  int floats(const std::vector<float>& ref, const std::vector<float>& tst, float precision,
             int allowed = 0) {
    const int size = static_cast<int>(ref.size());
    return LUMEN_TEST_CompareBuffers_f32(ref.data(), tst.data(), size, 1, 0, size, 0, 1, size, 1, 0,
                                         size, 0, 1, precision, allowed);
  }

  LogCapture log;
};

}  // namespace

TEST_F(Compare, FirstDifferenceBeyondTheToleranceIsReported) {
  const u8 ref[] = {0, 0, 0, 0, 0,  //
                    0, 1, 2, 3, 0,  //
                    0, 4, 5, 6, 0};
  const u8 tst[] = {1, 2, 5, 4, 5, 9};
  const auto compare = [&](u8 tolerance) {
    return LUMEN_TEST_CompareBuffers(ref, tst, 5, 3, 1, 3, 1, 2, 3, 2, 0, 3, 0, 2, tolerance);
  };
  EXPECT_EQ(compare(3), 0);
  EXPECT_EQ(log.take(), Lines{});
  EXPECT_EQ(compare(2), 1);
  EXPECT_EQ(log.take(), (Lines{"Diff Index = (2,3) (1,2) ref = 6, tst = 9\n",
                               "Ref Win : 5,3,1,1,3,2\n", "Tst Win : 3,2,0,0,3,2\n"}));
}

TEST_F(Compare, RegionsAreCheckedBeforeAnyElementIsRead) {
  const auto compare = [](int refX, int refWidth, int refY, int refHeight, int tstStride,
                          int tstHeight, int tstX, int tstWidth, int tstY, int tstRoiHeight) {
    return LUMEN_TEST_CompareBuffers<int>(nullptr, nullptr, 4, 3, refX, refWidth, refY, refHeight,
                                          tstStride, tstHeight, tstX, tstWidth, tstY, tstRoiHeight,
                                          0);
  };
  EXPECT_EQ(compare(0, 4, 0, 3, 4, 3, 0, 3, 0, 2), 1);
  EXPECT_EQ(log.take(), (Lines{"Ref Win : 4,3\n", "Tst Win : 3,2\n"}));
  EXPECT_EQ(compare(0, 2, 1, 2, 3, 2, 2, 2, 0, 2), 1);
  EXPECT_EQ(log.take(), (Lines{"Ref Win : 3 > 3, 2 > 4\n", "Tst Win : 2 > 2, 4 > 3\n"}));
  EXPECT_EQ(compare(1, 4, 0, 3, -1, -1, 0, -1, 0, -1), 1);
  EXPECT_EQ(compare(0, 4, 1, 3, -1, -1, 0, -1, 0, -1), 1);
  EXPECT_EQ(compare(INT32_MAX, 4, 0, 3, -1, -1, 0, -1, 0, -1), 1);
  EXPECT_EQ(compare(-2, 4, 0, 3, -1, -1, 0, -1, 0, -1), 1);
  log.take();
  EXPECT_EQ(compare(0, 0, 0, 3, -1, -1, -1, -1, -1, -1), 0);
  EXPECT_EQ(compare(0, 4, 3, 0, -1, -1, -1, -1, -1, -1), 0);
  EXPECT_EQ(log.take(), Lines{});
  EXPECT_EQ(compare(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1), 1);  // no data
  EXPECT_EQ(log.take().size(), 1u);
}

TEST_F(Compare, DifferencesDoNotWrapAround) {
  constexpr long long kMax = std::numeric_limits<long long>::max();
  EXPECT_EQ(rows<unsigned>({0}, {0xffffffff}, 1), 1);
  EXPECT_EQ(log.take()[0], "Diff Index = (0,0) (0,0) ref = 0, tst = 4294967295\n");
  EXPECT_EQ(rows<unsigned>({0}, {0xffffffff}, 0xffffffff), 0);
  EXPECT_EQ(rows<int>({INT32_MIN}, {INT32_MAX}, INT32_MAX), 1);
  EXPECT_EQ(rows<signed char>({-128}, {127}, 127), 1);
  EXPECT_EQ(rows<short>({-1, 5}, {1, 3}, 2), 0);
  EXPECT_EQ(rows<long long>({-kMax - 1}, {kMax}, kMax), 1);
  EXPECT_EQ(rows<long long>({-kMax - 1}, {0}, kMax), 1);
  EXPECT_EQ(rows<long long>({-kMax}, {0}, kMax), 0);
}

TEST_F(Compare, FloatsCompareAbsolutelyAndPrintAsIntegers) {
  const float kNaN = std::nanf(""), kInfinity = std::numeric_limits<float>::infinity();
  EXPECT_EQ(rows<float>({1.5f}, {1.75f}, 0.25f), 0);
  EXPECT_EQ(rows<float>({-1.5f}, {1e30f}, 0.25f), 1);
  EXPECT_EQ(log.take()[0], "Diff Index = (0,0) (0,0) ref = -1, tst = 9223372036854775807\n");
  EXPECT_EQ(rows<float>({kNaN, kInfinity}, {1, kInfinity}, 0), 0);
  EXPECT_EQ(rows<float>({1}, {-kInfinity}, 0), 1);
}

TEST_F(Compare, SomeDifferencesMayBeAllowed) {
  const u8 ref[] = {0, 0, 0, 0}, tst[] = {9, 0, 9, 9};
  const auto compare = [&](int allowed) {
    return LUMEN_TEST_CompareBuffersAllowNDiff(ref, tst, 4, 1, 0, 4, 0, 1, 4, 1, 0, 4, 0, 1, 1,
                                               allowed);
  };
  EXPECT_EQ(compare(3), 0);
  EXPECT_EQ(log.take(), Lines{});
  EXPECT_EQ(compare(2), 1);
  EXPECT_EQ(log.take()[0], "Diff Index = (0,3) (0,3) ref = 0, tst = 9\n");
  EXPECT_EQ(compare(0), 1);
  EXPECT_EQ(log.take()[0], "Diff Index = (0,0) (0,0) ref = 0, tst = 9\n");
}

TEST_F(Compare, F32IsRelativeAwayFromZero) {
  const float kNaN = std::nanf("");
  EXPECT_EQ(floats({100}, {100.05f}, 0.001f), 0);
  EXPECT_EQ(floats({100}, {100.2f}, 0.001f), 1);
  EXPECT_EQ(floats({0}, {0.0005f}, 0.001f), 0);
  EXPECT_EQ(floats({0}, {0.002f}, 0.001f), 1);
  EXPECT_EQ(floats({0.002f}, {0}, 0.001f), 1);
  EXPECT_EQ(floats({-5}, {5}, 1.5f), 1);
  EXPECT_EQ(floats({kNaN, 1}, {1, kNaN}, 0), 0);
  log.take();
  EXPECT_EQ(floats({1}, {0}, 0), 1);  // not divided by 0
  EXPECT_EQ(log.take()[0],
            "ref 1.000000e+00, tst 0.000000e+00, diff 1.000000e+00, precision 0.000000e+00");
  EXPECT_EQ(floats({1, 1, 1}, {2, 2, 2}, 0.25f, 2), 1);
  EXPECT_EQ(
      log.take(),
      (Lines{"ref 1.000000e+00, tst 2.000000e+00, diff 5.000000e-01, precision 2.500000e-01",
             "Diff Index = (0,2) (0,2)\n", "Ref Win : 3,1,0,0,3,1\n", "Tst Win : 3,1,0,0,3,1\n"}));
  EXPECT_EQ(floats({1, 1, 1}, {2, 2, 2}, 0.25f, 3), 0);
  EXPECT_EQ(floats({1, 2}, {1, 2}, 0, -1), 0);
}

TEST_F(Compare, PsnrIsOfTheRegion) {
  const u8 ref[] = {10, 20, 30, 99}, tst[] = {11, 20, 30, 0};
  const auto compare = [&](const u8* test, int width, double db, int maxValue) {
    return LUMEN_TEST_CompareBuffersPSNR(ref, test, 4, 1, 0, width, 0, 1, 4, 1, 0, width, 0, 1, db,
                                         maxValue);
  };
  // 10 log10(3 * 255 * 255 / 1) = 52.90
  EXPECT_EQ(compare(tst, 3, 52.8, 255), 0);
  EXPECT_EQ(log.take(), Lines{});
  EXPECT_EQ(compare(tst, 3, 53, 255), 1);
  EXPECT_EQ(log.take(), Lines{"psnr 52.902016 < tolerancePSNRdB 53.000000"});
  EXPECT_EQ(compare(ref, 4, 1e9, 255), 0);
  EXPECT_EQ(compare(ref, 4, 0, 0), 1);
  EXPECT_EQ(compare(ref, 0, 0, 0), 1);
  EXPECT_EQ(compare(ref, 0, 0, 255), 0);
  EXPECT_EQ(compare(ref, 5, 0, 255), 1);
}

TEST_F(Compare, PsnrNumeratorWrapsAround) {
  // 66052 * 255 * 255 is 64004 beyond 32 bits: what would be 96 dB is 48.
  const std::vector<u8> ref(66052), tst = [&] {
    std::vector<u8> changed = ref;
    changed[0] = 1;
    return changed;
  }();
  const auto compare = [&](double db) {
    return LUMEN_TEST_CompareBuffersPSNR<u8>(ref.data(), tst.data(), 66052, 1, -1, -1, -1, -1, -1,
                                             -1, -1, -1, -1, -1, db, 255);
  };
  EXPECT_EQ(compare(48), 0);
  EXPECT_EQ(compare(49), 1);
}

TEST_F(Compare, BuffersCompareByTheirShapes) {
  LUMEN_TEST_Buffer ref, tst;
  fillBuffer<short>(ref, 4, {1, 2, 3, 4, 5, 6, 7, 8});
  fillBuffer<short>(tst, 4, {1, 2, 3, 4, 5, 6, 7, 9});
  EXPECT_EQ(LUMEN_TEST_CompareBuffers(ref, tst, short{0}), 1);
  EXPECT_EQ(LUMEN_TEST_CompareBuffers(ref, tst, short{1}), 0);
  EXPECT_EQ(LUMEN_TEST_CompareBuffersAllowNDiff(ref, tst, short{0}, 1), 0);
  log.take();
  // Neither other elements nor memory that is gone are taken for agreement.
  EXPECT_EQ(LUMEN_TEST_CompareBuffers(ref, ref, 0), 1);
  ASSERT_TRUE(tst.Size(8, LUMEN_MEM_HEAP, true));
  EXPECT_EQ(LUMEN_TEST_CompareBuffers(ref, tst, short{100}), 1);
  tst.Free(LUMEN_MEM_HEAP);
  EXPECT_EQ(LUMEN_TEST_CompareBuffers(ref, tst, short{100}), 1);
  EXPECT_EQ(LUMEN_TEST_CompareBuffers(tst, tst, short{100}), 1);
  EXPECT_EQ(log.take().size(), 4u);

  fillBuffer<float>(ref, 2, {1, 2});
  fillBuffer<float>(tst, 2, {1, 2.5f});
  EXPECT_EQ(LUMEN_TEST_CompareBuffers_f32(ref, tst, 0.25f), 0);
  EXPECT_EQ(LUMEN_TEST_CompareBuffers_f32(ref, tst, 0.1f), 1);
  EXPECT_EQ(LUMEN_TEST_CompareBuffersAllowNDiff_f32(ref, tst, 0.1f, 1), 0);
}

TEST_F(Compare, BuffersOfPixelsCompareEveryChannel) {
  LUMEN_TEST_Buffer ref, tst;
  fillBuffer<u8>(ref, 2, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, 3);
  fillBuffer<u8>(tst, 2, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 13}, 3);
  EXPECT_EQ(LUMEN_TEST_CompareBuffers(ref, ref, u8{0}), 0);
  EXPECT_EQ(LUMEN_TEST_CompareBuffers(ref, tst, u8{0}), 1);
  EXPECT_EQ(log.take()[0], "Diff Index = (1,5) (1,5) ref = 12, tst = 13\n");
  EXPECT_EQ(LUMEN_TEST_CompareBuffersPSNR<u8>(ref, tst, 58, 255), 0);
  EXPECT_EQ(LUMEN_TEST_CompareBuffersPSNR<u8>(ref, tst, 59, 255), 1);
}

TEST_F(Compare, FeatureSets) {
  TempDirectory directory;
  LUMEN_TEST_Feature features[2] = {};
  features[0] = {{}, 10, 20, 1023, {}};
  features[1] = {{}, 30, 40, 5, {}};
  features[1].descriptor[35] = -4;
  const string zeros = [] {
    string text;
    for (int i = 0; i < 35; ++i) text += "0,";
    return text;
  }();
  const auto compare = [&](const string& content) {
    return compareFeatureSets(directory.write("f.txt", content).c_str(), 2, features);
  };
  const string first = "10,20,0,\n";  // orientations wrap; the descriptor does not matter
  EXPECT_EQ(compare("2\n" + first + "30,40,5," + zeros + "1,\n"), 0);
  EXPECT_EQ(compare("2\n" + first + "30,40,6,\n"), 0);
  EXPECT_EQ(log.take(), Lines{});
  EXPECT_EQ(compare("2\n" + first + "30,40,5," + zeros + "2,\n"), 1);  // 6 apart
  EXPECT_EQ(compare("2\n" + first + "30,40,5," + zeros + "\n"), 1);    // a value is missing
  EXPECT_EQ(compare("2\n" + first + "30,40,7,\n"), 1);
  EXPECT_EQ(compare("2\n" + first + "30,41,5,\n"), 1);
  EXPECT_EQ(compare("2\n10,20,1,\n30,40,5,\n"), 1);  // 1022 apart
  EXPECT_EQ(compare("2\n" + first), 1);
  EXPECT_EQ(compare("2\n" + first + string(300, '1')), 1);
  EXPECT_EQ(compare(""), 1);
  EXPECT_EQ(log.take().size(), 8u);
  EXPECT_EQ(compare("3\n"), 1);
  EXPECT_EQ(log.take(), Lines{"Number of features = 2, expecting 3\n"});
  EXPECT_EQ(compareFeatureSets("no such file", 2, features), 1);
  EXPECT_EQ(log.take(), Lines{"Could not read no such file...\n"});
}

namespace {

void fillSegments(LUMEN_TEST_Buffer& buffer, const std::vector<LUMEN_TEST_LineSegment>& segments) {
  const int size = sizeof(LUMEN_TEST_LineSegment), count = static_cast<int>(segments.size());
  ASSERT_TRUE(buffer.Shape({size, count, 0, 0, size, count, 1, 0}, LUMEN_MEM_HEAP, true));
  std::memcpy(buffer.data(), segments.data(), buffer.size());
}

}  // namespace

TEST_F(Compare, LineSegmentsNameTheFieldThatDiffers) {
  const LUMEN_TEST_LineSegment segment = {3, 7, 100, {1, 2}, {3, 4}, {0, 1}};
  const std::vector<LUMEN_TEST_LineSegment> segments(2, segment);
  LUMEN_TEST_Buffer ref, tst;
  fillSegments(ref, segments);
  fillSegments(tst, segments);
  EXPECT_EQ(LUMEN_TEST_CompareLineSegmentsBuffer(ref, tst, 2, 0.01f, 0), 0);
  EXPECT_EQ(log.take(), Lines{});

  using Change = void (*)(LUMEN_TEST_LineSegment&);
  const struct {
    Change change;
    string line;
    unsigned int leftOutBy;
  } cases[] = {
      {[](auto& s) { s.nPoint = 4; }, "nPoint ref:test 3:4, pointsStartIndex 7:7", 1},
      {[](auto& s) { s.pointsStartIndex = 8; }, "nPoint ref:test 3:3, pointsStartIndex 7:8", 1},
      {[](auto& s) { s.sumMag = 98; }, "Diff Index = 1, sumMag ref 100, test 98, diff 2", 2},
      {[](auto& s) { s.start.x = 9; }, "Diff Index = 1 start.x", 0},
      {[](auto& s) { s.start.y = 9; }, "Diff Index = 1 start.y", 0},
      {[](auto& s) { s.end.x = 9; }, "Diff Index = 1 end.x", 0},
      {[](auto& s) { s.end.y = 9; }, "Diff Index = 1 start.y", 0},
      {[](auto& s) { s.normal[0] = 9; }, "Diff Index = 1 normal[0]", 4},
      {[](auto& s) { s.normal[1] = 9; }, "Diff Index = 1 normal[1]", 4},
  };
  for (const auto& [change, line, leftOutBy] : cases) {
    auto changed = segments;
    change(changed[1]);
    fillSegments(tst, changed);
    EXPECT_EQ(LUMEN_TEST_CompareLineSegmentsBuffer(ref, tst, 2, 0.01f, 0), 1) << line;
    EXPECT_EQ(log.take().back(), line);
    for (const unsigned int flag : {1u, 2u, 4u}) {
      EXPECT_EQ(LUMEN_TEST_CompareLineSegmentsBuffer(ref, tst, 2, 0.01f, flag), flag != leftOutBy);
    }
  }
  log.take();
  EXPECT_EQ(LUMEN_TEST_CompareLineSegmentsBuffer(ref, tst, 1, 0.01f, 0), 1);
  EXPECT_EQ(log.take(), (Lines{"Ref Struct size: 36, numStruct: 2",
                               "Tst Struct size: 36, numStruct: 2, numLineSegments: 1"}));
  tst.Free(LUMEN_MEM_HEAP);
  EXPECT_EQ(LUMEN_TEST_CompareLineSegmentsBuffer(ref, tst, 2, 0.01f, 0), 1);
}

TEST_F(Compare, MatricesByTheirRelativeError) {
  LUMEN_TEST_Buffer ref, tst;
  fillBuffer<float>(ref, 2, {3, 0, 0, 4});
  fillBuffer<float>(tst, 2, {3, 0.5f, 0, 4});
  EXPECT_EQ(CompareSVDResult(ref, tst, 0.1f), 0);
  EXPECT_EQ(log.take(), Lines{});
  EXPECT_EQ(CompareSVDResult(ref, tst, 0.09f), 1);
  EXPECT_EQ(log.take(), Lines{"relative error 1.000000e-01, precision 9.000000e-02"});
  fillBuffer<float>(tst, 2, {std::nanf(""), 0, 0, 4});
  EXPECT_EQ(CompareSVDResult(ref, tst, 1e9f), 1);
  fillBuffer<float>(tst, 4, {3, 0, 0, 4});
  EXPECT_EQ(CompareSVDResult(ref, tst, 1), 1);
}
