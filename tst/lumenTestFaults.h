// Faulty implementations of lumAbsDiffu8, for the self-test.

#ifndef LUMEN_TEST_FAULTS_H
#define LUMEN_TEST_FAULTS_H

#include <span>

#include "lumen/lumenArithm.h"

struct LUMEN_TEST_PlantedFault {
  const char* name;
  decltype(lumAbsDiffu8)* implementation;
  // The checks that have to find it, by their names in the self-test.
  std::span<const char* const> finders;
  bool endless = false;  // does not come back
};

// The faults work around a sound implementation, which they call.
std::span<const LUMEN_TEST_PlantedFault> LUMEN_TEST_PlantedFaults(decltype(lumAbsDiffu8)* sound);

// One that takes half as long again.
extern "C" decltype(lumAbsDiffu8) LUMEN_TEST_SlowAbsDiff;

#endif  // LUMEN_TEST_FAULTS_H
