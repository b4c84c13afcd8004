#include "lumenTestEnvironment.h"

#include <cmath>
#include <fstream>
#include <limits>

namespace {

// The first line of a file; false when there is none.
bool readLine(const std::string& path, std::string& line) {
  std::ifstream file(path);
  return static_cast<bool>(std::getline(file, line));
}

double readNumber(const std::string& path) {
  double number = 0;
  std::ifstream file(path);
  return file >> number ? number : std::numeric_limits<double>::quiet_NaN();
}

// Processors and zones are numbered; some may be switched off, and numbers be left out.
constexpr int kMost = 1024, kMostGap = 64;
template <class Read>
void readNumbered(const std::string& prefix, Read read) {
  for (int i = 0, missing = 0; i < kMost && missing < kMostGap; ++i) {
    missing = read(prefix + std::to_string(i)) ? 0 : missing + 1;
  }
}

}  // namespace

LUMEN_TEST_Environment LUMEN_TEST_ReadEnvironment(const std::string& root) {
  LUMEN_TEST_Environment environment;
  readNumbered(root + "/devices/system/cpu/cpu", [&](const std::string& processor) {
    std::string governor;
    if (!readLine(processor + "/cpufreq/scaling_governor", governor)) return false;
    environment.governor.push_back(governor);
    environment.frequency.push_back(readNumber(processor + "/cpufreq/scaling_cur_freq"));
    return true;
  });
  readNumbered(root + "/class/thermal/thermal_zone", [&](const std::string& zone) {
    const double value = readNumber(zone + "/temp");
    if (std::isnan(value)) return false;
    // Thousandths; some drivers give whole degrees.
    environment.temperature.push_back(std::abs(value) < 200 ? value : value / 1000);
    return true;
  });
  return environment;
}
