// What the speed of processors depends on, as far as the system shows it.

#ifndef LUMEN_TEST_ENVIRONMENT_H
#define LUMEN_TEST_ENVIRONMENT_H

#include <string>
#include <vector>

struct LUMEN_TEST_Environment {
  std::vector<std::string> governor;  // of each processor that has one
  std::vector<double> frequency;      // of the same processors, kHz
  std::vector<double> temperature;    // of each thermal zone, degrees Celsius
};

// `root` is where the system shows itself, /sys.
LUMEN_TEST_Environment LUMEN_TEST_ReadEnvironment(const std::string& root);

#endif  // LUMEN_TEST_ENVIRONMENT_H
