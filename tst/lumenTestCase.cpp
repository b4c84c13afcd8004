#include "lumenTestCase.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "lumenTestCompare.h"
#include "lumenTestDifference.h"
#include "lumenTestLog.h"

namespace {

// What a path may have, its terminating zero included.
constexpr size_t kPathSize = 255;

// Of profiling runs without a script.
constexpr uint32_t kProfilingWidth = 320, kProfilingHeight = 240;

// The place in the arguments for a scalar that a script gives.
LUMEN_TEST_Destination destinationOf(LUMEN_TEST_Type type, void* place) {
  return LUMEN_TEST_WithType(type, [&](auto value) -> LUMEN_TEST_Destination {
    using T = decltype(value);
    if constexpr (std::is_same_v<T, int8_t>) return static_cast<char*>(place);
    else return static_cast<T*>(place);
  });
}

}  // namespace

std::string LUMEN_TEST_ScriptPath(const LUMEN_TEST_Scripts& scripts, bool profiling) {
  return std::string(scripts.directory) + "/control_script_" + (profiling ? "profiling_" : "") +
         scripts.suffix + ".csv";
}

LUMEN_TEST_Script::LUMEN_TEST_Script(const char* dataDirectory, const LUMEN_TEST_Scripts& scripts,
                                     bool profiling) {
  const std::string root = dataDirectory;
  const std::string path = root + "/" + LUMEN_TEST_ScriptPath(scripts, profiling);
  dataDirectory_ = root + "/" + (profiling ? "lumTestRef" : scripts.directory) + "/";
  if (path.size() < kPathSize) file_.reset(std::fopen(path.c_str(), "rb"));
  if (!file_) LUMEN_TEST_Log("Could not open %s...\n", path.c_str());
}

LUMEN_TEST_RowStatus LUMEN_TEST_Case::read(const LUMEN_TEST_Script& script) {
  const auto images = description_.images;
  const auto scalars = description_.scalars;
  std::vector<LUMEN_TEST_Destination> destinations;
  for (size_t i = 0; i < images.size(); ++i) {
    if (!images[i].isWritten) {
      destinations.push_back(LUMEN_TEST_BufferOf{&image_[i], images[i].elementSize()});
    }
  }
  for (size_t i = 0; i < scalars.size(); ++i) {
    destinations.push_back(destinationOf(scalars[i].type, arguments_.scalar[i]));
  }
  for (size_t i = 0; i < images.size(); ++i) {
    if (images[i].isWritten) {
      destinations.push_back(LUMEN_TEST_BufferOf{&reference_[i], images[i].elementSize()});
    }
  }
  // And the text, which no test reads.
  const int columns = static_cast<int>(destinations.size()) + 1;
  return LUMEN_TEST_NextScriptRow(script.dataDirectory(), script.file(), columns, option_,
                                  destinations);
}

bool LUMEN_TEST_Case::shape(uint32_t width, uint32_t height) {
  for (size_t i = 0; i < description_.images.size(); ++i) {
    const LUMEN_TEST_Image& image = description_.images[i];
    const auto row = static_cast<int32_t>(image.rowElements(width));
    const auto rows = static_cast<int32_t>(image.rows(height));
    const auto elementSize = static_cast<int32_t>(image.elementSize());
    if (!image_[i].Shape({row, rows, 0, 0, row, rows, elementSize, 0}, option_, true)) return false;
  }
  for (size_t i = 0; i < description_.scalars.size(); ++i) {
    const LUMEN_TEST_Scalar& scalar = description_.scalars[i];
    LUMEN_TEST_WithType(scalar.type, [&](auto value) {
      arguments_.setValue(i, static_cast<decltype(value)>(scalar.forProfiling));
    });
  }
  return takeArguments();
}

bool LUMEN_TEST_Case::shapeForProfiling() {
  if (!shape(kProfilingWidth, kProfilingHeight)) return false;
  for (size_t i = 0; i < description_.images.size(); ++i) {
    if (description_.images[i].isWritten) continue;
    constexpr uint32_t kBytes = kProfilingWidth * kProfilingHeight;
    std::memset(image_[i].data(), 255, std::min(image_[i].size(), kBytes));
  }
  return true;
}

LUMEN_TEST_Case::State LUMEN_TEST_Case::prepare() {
  for (size_t i = 0; i < description_.images.size(); ++i) {
    if (!description_.images[i].isWritten) continue;
    if (!image_[i].Shape(reference_[i].shape(), option_, true)) return State::outOfMemory;
  }
  return takeArguments() ? State::ready : State::unusable;
}

// The first image's region says what the call works on.
bool LUMEN_TEST_Case::takeArguments() {
  const auto images = description_.images;
  const uint64_t width = uint64_t{image_[0].roiWidth()} * images[0].widthDivisor;
  const uint64_t height = uint64_t{image_[0].roiHeight()} * images[0].heightDivisor;
  if (width % images[0].channels != 0 || width > UINT32_MAX || height > UINT32_MAX) return false;
  arguments_.width = static_cast<uint32_t>(width / images[0].channels);
  arguments_.height = static_cast<uint32_t>(height);
  for (size_t i = 0; i < images.size(); ++i) {
    arguments_.image[i] = image_[i].roi<uint8_t>();
    const size_t of = images[i].scriptStrideOf;
    arguments_.stride[i] = image_[of == LUMEN_TEST_Image::kOwn ? i : of].strideBytes();
  }
  for (size_t i = 0; i < images.size(); ++i) {
    const uint64_t row = images[i].rowElements(arguments_.width);
    const size_t strideOf = images[i].strideOf == LUMEN_TEST_Image::kOwn ? i : images[i].strideOf;
    if (row > UINT32_MAX ||
        !image_[i].holds(static_cast<uint32_t>(row), images[i].rows(arguments_.height),
                         arguments_.stride[strideOf])) {
      LUMEN_TEST_Log("The image %s of %s is smaller than the call needs it\n", images[i].name,
                     description_.name);
      return false;
    }
  }
  return true;
}

int LUMEN_TEST_Case::compare(float tolerance) {
  int differs = 0;
  for (size_t i = 0; i < description_.images.size(); ++i) {
    if (!description_.images[i].isWritten) continue;
    differs |= LUMEN_TEST_WithType(description_.images[i].type, [&](auto value) {
      using T = decltype(value);
      return LUMEN_TEST_CompareBuffers<T>(reference_[i], image_[i], static_cast<T>(tolerance));
    });
  }
  return differs;
}

double LUMEN_TEST_Case::difference() const {
  double largest = 0;
  for (size_t i = 0; i < description_.images.size() && !std::isnan(largest); ++i) {
    if (!description_.images[i].isWritten) continue;
    LUMEN_TEST_WithType(description_.images[i].type, [&](auto value) {
      const double here = LUMEN_TEST_LargestDifference<decltype(value)>(reference_[i], image_[i]);
      if (!(here <= largest)) largest = here;
    });
  }
  return largest;
}

void LUMEN_TEST_Case::flush() const {
  for (size_t i = 0; i < description_.images.size(); ++i) LUMEN_TEST_FlushBuffers(image_[i]);
}
