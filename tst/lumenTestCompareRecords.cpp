#include "lumenTestCompareRecords.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "lumenTestCompare.h"
#include "lumenTestLines.h"
#include "lumenTestLog.h"

namespace {

constexpr int kFeatureLine = 256;
constexpr int64_t kOrientationWrap = 1023;
constexpr int64_t kDescriptorTolerance = 5;
constexpr int kDescriptorSize = 36;

const LUMEN_TEST_Feature* findFeature(const LUMEN_TEST_Feature* features, int count, int64_t x,
                                      int64_t y) {
  for (int i = 0; i < count; ++i) {
    if (features[i].x == x && features[i].y == y) return features + i;
  }
  return nullptr;
}

bool isOrientationClose(int64_t difference) {
  return difference == 0 || difference == 1 || difference == kOrientationWrap;
}

// Compares one line "x,y,orientation,descriptor..." with the feature that is at x, y.
int compareFeature(const char* text, int count, const LUMEN_TEST_Feature* features) {
  int64_t value[3 + kDescriptorSize];
  if (!LUMEN_TEST_ParseIntegers(text, ',', value, 3)) {
    LUMEN_TEST_Log("Not a feature: '%s'\n", text);
    return 1;
  }
  const LUMEN_TEST_Feature* feature = findFeature(features, count, value[0], value[1]);
  if (!feature) {
    LUMEN_TEST_Log("No feature at %lld,%lld\n", static_cast<long long>(value[0]),
                   static_cast<long long>(value[1]));
    return 1;
  }
  const int64_t orientation = value[2];
  if (!isOrientationClose(std::abs(std::clamp<int64_t>(orientation, INT32_MIN, INT32_MAX) -
                                   feature->orientation))) {
    LUMEN_TEST_Log("Feature at %d,%d: orientation ref %lld, tst %d\n", feature->x, feature->y,
                   static_cast<long long>(orientation), feature->orientation);
    return 1;
  }
  if (orientation != feature->orientation) return 0;

  if (!LUMEN_TEST_ParseIntegers(text, ',', value, 3 + kDescriptorSize)) {
    LUMEN_TEST_Log("Not a feature: '%s'\n", text);
    return 1;
  }
  for (int i = 0; i < kDescriptorSize; ++i) {
    const int64_t ref = value[3 + i], tst = feature->descriptor[i];
    if (ref < tst - kDescriptorTolerance || ref > tst + kDescriptorTolerance) {
      LUMEN_TEST_Log("Feature at %d,%d: descriptor[%d] ref %lld, tst %lld\n", feature->x,
                     feature->y, i, static_cast<long long>(ref), static_cast<long long>(tst));
      return 1;
    }
  }
  return 0;
}

LUMEN_TEST_LineSegment segmentAt(const LUMEN_TEST_Buffer& buffer, unsigned int index) {
  // Copied: the bytes of a buffer need not be aligned for a record.
  LUMEN_TEST_LineSegment segment;
  std::memcpy(&segment, buffer.data() + index * sizeof(segment), sizeof(segment));
  return segment;
}

// True when the buffer's rows are records and its memory holds `count` of them.
bool holdsSegments(const LUMEN_TEST_Buffer& buffer, unsigned int count) {
  return buffer.shape().stride == static_cast<int32_t>(sizeof(LUMEN_TEST_LineSegment)) &&
         buffer.shape().elemSize == 1 && buffer.shape().height >= 0 &&
         static_cast<unsigned int>(buffer.shape().height) >= count &&
         buffer.size() / sizeof(LUMEN_TEST_LineSegment) >= count && (buffer.data() || !count);
}

int compareSegment(const LUMEN_TEST_LineSegment& ref, const LUMEN_TEST_LineSegment& tst,
                   unsigned int index, float precision, unsigned int flags) {
  if (!(flags & LUMEN_TEST_LINE_SEGMENT_NO_POINTS) &&
      (ref.nPoint != tst.nPoint || ref.pointsStartIndex != tst.pointsStartIndex)) {
    LUMEN_TEST_Log("nPoint ref:test %d:%d, pointsStartIndex %d:%d", static_cast<int>(ref.nPoint),
                   static_cast<int>(tst.nPoint), static_cast<int>(ref.pointsStartIndex),
                   static_cast<int>(tst.pointsStartIndex));
    return 1;
  }
  if (!(flags & LUMEN_TEST_LINE_SEGMENT_NO_SUM_MAG) && ref.sumMag != tst.sumMag) {
    LUMEN_TEST_Log("Diff Index = %d, sumMag ref %d, test %d, diff %lld", static_cast<int>(index),
                   ref.sumMag, tst.sumMag, static_cast<long long>(ref.sumMag) - tst.sumMag);
    return 1;
  }
  // The y of the end goes by the name of the start's.
  const struct {
    const char* name;
    float ref, tst;
    bool isLeftOut;
  } fields[] = {
      {"start.x", ref.start.x, tst.start.x, false},
      {"start.y", ref.start.y, tst.start.y, false},
      {"end.x", ref.end.x, tst.end.x, false},
      {"start.y", ref.end.y, tst.end.y, false},
      {"normal[0]", ref.normal[0], tst.normal[0], (flags & LUMEN_TEST_LINE_SEGMENT_NO_NORMAL) != 0},
      {"normal[1]", ref.normal[1], tst.normal[1], (flags & LUMEN_TEST_LINE_SEGMENT_NO_NORMAL) != 0},
  };
  for (const auto& field : fields) {
    if (field.isLeftOut || !LUMEN_TEST_Differs_f32(field.ref, field.tst, precision)) continue;
    LUMEN_TEST_Log("Diff Index = %d %s", static_cast<int>(index), field.name);
    return 1;
  }
  return 0;
}

}  // namespace

int compareFeatureSets(const char* path, int count, const LUMEN_TEST_Feature* features) {
  const LUMEN_TEST_File file = LUMEN_TEST_OpenRegular(path);
  if (!file) {
    LUMEN_TEST_Log("Could not read %s...\n", path);
    return 1;
  }
  char line[kFeatureLine];
  const char* text = get_a_valid_line(file.get(), line, sizeof(line));
  int64_t expected = 0;
  if (!text || !LUMEN_TEST_ParseIntegers(text, ',', &expected, 1)) {
    LUMEN_TEST_Log("No number of features in %s\n", path);
    return 1;
  }
  if (expected != count) {
    LUMEN_TEST_Log("Number of features = %d, expecting %d\n", count, static_cast<int>(expected));
    return 1;
  }
  int64_t seen = 0;
  for (;;) {
    char* start = nullptr;
    const LUMEN_TEST_LineStatus status = LUMEN_TEST_ReadLine(file.get(), line, sizeof(line), start);
    if (status == LUMEN_TEST_LineStatus::kEnd) break;
    if (status == LUMEN_TEST_LineStatus::kTooLong) {
      LUMEN_TEST_Log("A line of %s is longer than %d characters\n", path, kFeatureLine);
      return 1;
    }
    if (compareFeature(start, count, features)) return 1;
    ++seen;
  }
  if (seen >= expected) return 0;
  LUMEN_TEST_Log("%s holds %d features of %d\n", path, static_cast<int>(seen), count);
  return 1;
}

int LUMEN_TEST_CompareLineSegmentsBuffer(const LUMEN_TEST_Buffer& ref, const LUMEN_TEST_Buffer& tst,
                                         unsigned int numLineSegments, float precision,
                                         unsigned int flags) {
  if (!holdsSegments(ref, numLineSegments) || !holdsSegments(tst, numLineSegments) ||
      static_cast<unsigned int>(ref.shape().height) != numLineSegments) {
    LUMEN_TEST_Log("Ref Struct size: %d, numStruct: %d", ref.shape().stride, ref.shape().height);
    LUMEN_TEST_Log("Tst Struct size: %d, numStruct: %d, numLineSegments: %d", tst.shape().stride,
                   tst.shape().height, static_cast<int>(numLineSegments));
    return 1;
  }
  for (unsigned int i = 0; i < numLineSegments; ++i) {
    if (compareSegment(segmentAt(ref, i), segmentAt(tst, i), i, precision, flags)) return 1;
  }
  return 0;
}

int CompareSVDResult(const LUMEN_TEST_Buffer& ref, const LUMEN_TEST_Buffer& tst, float precision) {
  const float* refRow = ref.roi<const float>();
  const float* tstRow = tst.roi<const float>();
  const auto isFloat = [](const LUMEN_TEST_Buffer& buffer) {
    return buffer.shape().elemSize == static_cast<int32_t>(sizeof(float));
  };
  if (!refRow || !tstRow || !isFloat(ref) || !isFloat(tst) || ref.roiWidth() != tst.roiWidth() ||
      ref.roiHeight() != tst.roiHeight()) {
    LUMEN_TEST_Log("No matrices of one size: ref %u x %u, tst %u x %u\n", ref.roiWidth(),
                   ref.roiHeight(), tst.roiWidth(), tst.roiHeight());
    return 1;
  }
  double error = 0, norm = 0;
  for (uint32_t row = 0; row < ref.roiHeight(); ++row) {
    for (uint32_t column = 0; column < ref.roiWidth(); ++column) {
      const double value = static_cast<double>(refRow[column]);
      const double difference = value - static_cast<double>(tstRow[column]);
      error += difference * difference;
      norm += value * value;
    }
    refRow += ref.shape().stride;
    tstRow += tst.shape().stride;
  }
  error = std::sqrt(norm > 0 ? error / norm : error);
  if (error <= static_cast<double>(precision)) return 0;
  LUMEN_TEST_Log("relative error %e, precision %e", error, static_cast<double>(precision));
  return 1;
}
