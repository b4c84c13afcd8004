// The contents of a case. They depend on its text alone, not on where the images lie.

#ifndef LUMEN_TEST_SWEEP_DATA_H
#define LUMEN_TEST_SWEEP_DATA_H

#include <cstddef>
#include <cstdint>
#include <span>

#include "lumenTestRandom.h"
#include "lumenTestSweepLayout.h"

// The size and the numbers of the case's call, without images.
LUMEN_TEST_Arguments LUMEN_TEST_NumbersOf(const LUMEN_TEST_Description& description,
                                          const LUMEN_TEST_SweepCase& c);

// The arguments of the case's call, its images at the given places.
LUMEN_TEST_Arguments LUMEN_TEST_ArgumentsOf(const LUMEN_TEST_Description& description,
                                            const LUMEN_TEST_SweepCase& c,
                                            const LUMEN_TEST_Layout& layout,
                                            uint8_t* const (&image)[LUMEN_TEST_MAX_IMAGES]);

// Fills the image that is read with this index; padding is left as it is.
void LUMEN_TEST_FillInput(const LUMEN_TEST_Description& description, const LUMEN_TEST_SweepCase& c,
                          const LUMEN_TEST_Layout& layout, size_t index, uint8_t* first);

// All of them.
void LUMEN_TEST_FillInputs(const LUMEN_TEST_Description& description, const LUMEN_TEST_SweepCase& c,
                           const LUMEN_TEST_Layout& layout, const LUMEN_TEST_Arguments& arguments);

// Makes every byte of the images that are written `fill`, padding included; before the inputs are
// filled, which may be in the same memory.
void LUMEN_TEST_FillOutputs(const LUMEN_TEST_Description& description,
                            const LUMEN_TEST_Layout& layout, const LUMEN_TEST_Arguments& arguments,
                            uint8_t fill);

// Random elements in the range of an image, or the scene that a picture shows; `bytes` are its rows
// of `rowElements` without gaps. False for other images.
bool LUMEN_TEST_FillForTiming(const LUMEN_TEST_Image& image, std::span<uint8_t> bytes,
                              size_t rowElements, LUMEN_TEST_Random& random);

#endif  // LUMEN_TEST_SWEEP_DATA_H
