// Statistics of measured times that do not mind outliers.

#ifndef LUMEN_TEST_STATISTICS_H
#define LUMEN_TEST_STATISTICS_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <vector>

// The value below which `percent` of the sorted samples lie, on the line between the two that are
// next to it; 0 without samples.
inline double LUMEN_TEST_Percentile(std::span<const double> sorted, double percent) {
  if (sorted.empty()) return 0;
  const double place = percent / 100 * static_cast<double>(sorted.size() - 1);
  const size_t below = std::min(static_cast<size_t>(place), sorted.size() - 1);
  const size_t above = std::min(below + 1, sorted.size() - 1);
  return std::lerp(sorted[below], sorted[above], place - static_cast<double>(below));
}

struct LUMEN_TEST_Statistics {
  size_t count = 0;
  double min = 0, median = 0, p95 = 0;
  double rmad =
      0;  // median absolute deviation from the median, as a part of it; 0 for a median of 0
};

inline LUMEN_TEST_Statistics LUMEN_TEST_StatisticsOf(std::span<const double> samples) {
  if (samples.empty()) return {};
  std::vector<double> sorted(samples.begin(), samples.end());
  std::sort(sorted.begin(), sorted.end());
  LUMEN_TEST_Statistics result = {.count = sorted.size(),
                                  .min = sorted.front(),
                                  .median = LUMEN_TEST_Percentile(sorted, 50),
                                  .p95 = LUMEN_TEST_Percentile(sorted, 95)};
  for (double& value : sorted) value = std::abs(value - result.median);
  std::sort(sorted.begin(), sorted.end());
  if (result.median > 0) result.rmad = LUMEN_TEST_Percentile(sorted, 50) / result.median;
  return result;
}

// At most `most` of the samples, evenly spaced in the order in which they were taken.
inline std::vector<double> LUMEN_TEST_Thinned(std::span<const double> samples, size_t most) {
  const size_t count = std::min(samples.size(), most);
  std::vector<double> kept(count);
  for (size_t i = 0; i < count; ++i) kept[i] = samples[i * samples.size() / count];
  return kept;
}

// Samples of a measurement of any length: when there are too many, every second one is dropped, and
// of those to come as many are left out.
class LUMEN_TEST_Samples {
 public:
  static constexpr size_t kMost = 1 << 16;

  void add(double sample) {
    if (taken_++ % step_ != 0) return;
    values_.push_back(sample);
    if (values_.size() < kMost) return;
    for (size_t i = 0; i < kMost / 2; ++i) values_[i] = values_[2 * i];
    values_.resize(kMost / 2);
    step_ *= 2;
  }
  std::span<const double> values() const { return values_; }

 private:
  std::vector<double> values_;
  size_t taken_ = 0, step_ = 1;
};

#endif  // LUMEN_TEST_STATISTICS_H
