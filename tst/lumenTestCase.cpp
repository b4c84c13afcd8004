#include "lumenTestCase.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "lumenTestCompare.h"
#include "lumenTestDifference.h"
#include "lumenTestLog.h"
#include "lumenTestSweepData.h"

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
    if (images[i].isCompared()) {
      destinations.push_back(LUMEN_TEST_BufferOf{&reference_[i], images[i].elementSize()});
    }
  }
  // And the text, which no test reads.
  const int columns = static_cast<int>(destinations.size()) + 1;
  return LUMEN_TEST_NextScriptRow(script.dataDirectory(), script.file(), columns, option_,
                                  destinations);
}

bool LUMEN_TEST_Case::shape(uint32_t width, uint32_t height) {
  arguments_.width = width;
  arguments_.height = height;
  for (size_t i = 0; i < description_.scalars.size(); ++i) {
    const LUMEN_TEST_Scalar& scalar = description_.scalars[i];
    LUMEN_TEST_WithType(scalar.type, [&](auto value) {
      arguments_.setValue(i, static_cast<decltype(value)>(scalar.forProfiling));
    });
  }
  if (description_.adjust) description_.adjust(arguments_);
  for (size_t i = 0; i < description_.images.size(); ++i) {
    const LUMEN_TEST_Image& image = description_.images[i];
    const LUMEN_TEST_Extent all = image.extentOf(arguments_);
    if (!shapeLike(i, all, image.extent ? all : image.region(width, height))) return false;
  }
  return takeArguments();
}

bool LUMEN_TEST_Case::shapeLike(size_t image, LUMEN_TEST_Extent all, LUMEN_TEST_Extent region) {
  if (all.rowElements > INT32_MAX || all.rows > INT32_MAX) return false;
  const auto size = [](uint64_t number) { return static_cast<int32_t>(number); };
  return image_[image].Shape({size(all.rowElements), size(all.rows), 0, 0, size(region.rowElements),
                              size(region.rows), size(description_.images[image].elementSize()), 0},
                             option_, true);
}

bool LUMEN_TEST_Case::fillForTiming(size_t image, LUMEN_TEST_Random& random) {
  return LUMEN_TEST_FillForTiming(description_.images[image], bytes(image),
                                  static_cast<size_t>(image_[image].shape().stride), random);
}

bool LUMEN_TEST_Case::shapeForProfiling() {
  if (!shape(kProfilingWidth, kProfilingHeight)) return false;
  for (size_t i = 0; i < description_.images.size(); ++i) {
    if (description_.images[i].isWritten) continue;
    LUMEN_TEST_Random random(i);
    if (fillForTiming(i, random)) continue;
    constexpr uint32_t kBytes = kProfilingWidth * kProfilingHeight;
    std::memset(image_[i].data(), 255, std::min(image_[i].size(), kBytes));
  }
  return true;
}

LUMEN_TEST_Case::State LUMEN_TEST_Case::prepare() {
  for (size_t i = 0; i < description_.images.size(); ++i) {
    if (!description_.images[i].isCompared()) continue;
    if (!image_[i].Shape(reference_[i].shape(), option_, true)) return State::outOfMemory;
  }
  if (!takeSize()) return State::unusable;
  for (size_t i = 0; i < description_.images.size(); ++i) {
    if (!description_.images[i].isScratch) continue;
    const LUMEN_TEST_Extent size = description_.images[i].extentOf(arguments_);
    if (!shapeLike(i, size, size)) return State::outOfMemory;
  }
  return takeArguments() ? State::ready : State::unusable;
}

// The region of the first image that has no extent of its own says what the call works on.
bool LUMEN_TEST_Case::takeSize() {
  const auto images = description_.images;
  const auto first = std::find_if(images.begin(), images.end(), [](const LUMEN_TEST_Image& image) {
    return !image.extent && !image.isScratch;
  });
  arguments_.width = arguments_.height = 1;
  if (first == images.end()) return true;
  const LUMEN_TEST_Buffer& buffer = image_[first - images.begin()];
  const uint64_t width = uint64_t{buffer.roiWidth()} * first->widthDivisor;
  const uint64_t height = uint64_t{buffer.roiHeight()} * first->heightDivisor;
  if (width % first->channels != 0 || width > UINT32_MAX || height > UINT32_MAX) return false;
  arguments_.width = static_cast<uint32_t>(width / first->channels);
  arguments_.height = static_cast<uint32_t>(height);
  return true;
}

// Whether a call finds all of the image in its buffer.
bool LUMEN_TEST_Case::isHeld(size_t image) const {
  const LUMEN_TEST_Image& wanted = description_.images[image];
  const LUMEN_TEST_Buffer& buffer = image_[image];
  const LUMEN_TEST_Extent size = wanted.extentOf(arguments_);
  if (size.rowElements > UINT32_MAX || size.rows > UINT32_MAX) return false;
  const auto row = static_cast<uint32_t>(size.rowElements);
  const auto rows = static_cast<uint32_t>(size.rows);
  if (wanted.isPacked) {
    const uint64_t pitch = size.rowElements * wanted.elementSize();
    const bool hasGaps =
        buffer.roiHeight() > 1 && buffer.strideBytes() != buffer.roiWidth() * wanted.elementSize();
    return !hasGaps && pitch <= UINT32_MAX && buffer.holds(row, rows, static_cast<uint32_t>(pitch));
  }
  const size_t strideOf = wanted.strideOf == LUMEN_TEST_Image::kOwn ? image : wanted.strideOf;
  return buffer.holds(row, rows, arguments_.stride[strideOf]);
}

bool LUMEN_TEST_Case::takeArguments() {
  const auto images = description_.images;
  for (size_t i = 0; i < images.size(); ++i) {
    arguments_.image[i] = image_[i].roi<uint8_t>();
    const size_t of = images[i].scriptStrideOf;
    arguments_.stride[i] = image_[of == LUMEN_TEST_Image::kOwn ? i : of].strideBytes();
  }
  for (size_t i = 0; i < images.size(); ++i) {
    if (!isHeld(i)) {
      LUMEN_TEST_Log("The image %s of %s is smaller than the call needs it\n", images[i].name,
                     description_.name);
      return false;
    }
  }
  return true;
}

// What means nothing takes the reference's value.
void LUMEN_TEST_Case::overlookRest(size_t image) {
  const LUMEN_TEST_Buffer &from = reference_[image], &to = image_[image];
  const size_t size = description_.images[image].elementSize(), row = to.roiWidth();
  for (size_t k = static_cast<size_t>(description_.meaningful(image, arguments_));
       row > 0 && k < row * to.roiHeight(); ++k) {
    const size_t at = k / row * to.strideBytes() + k % row * size;
    std::memcpy(to.roi<uint8_t>() + at, from.roi<uint8_t>() + at, size);
  }
}

int LUMEN_TEST_Case::compare(float tolerance) {
  int differs = 0;
  for (size_t i = 0; i < description_.images.size(); ++i) {
    if (!description_.images[i].isCompared()) continue;
    if (description_.images[i].isRestFree) overlookRest(i);
    differs |= LUMEN_TEST_WithType(description_.images[i].type, [&](auto value) {
      using T = decltype(value);
      return LUMEN_TEST_CompareBuffers<T>(reference_[i], image_[i], static_cast<T>(tolerance));
    });
  }
  if (differs && description_.explain) {
    LUMEN_TEST_Arguments expected = arguments_;
    for (size_t i = 0; i < description_.images.size(); ++i) {
      if (description_.images[i].isCompared()) expected.image[i] = reference_[i].roi<uint8_t>();
    }
    description_.explain(arguments_, expected);
  }
  return differs;
}

double LUMEN_TEST_Case::difference() const {
  double largest = 0;
  for (size_t i = 0; i < description_.images.size() && !std::isnan(largest); ++i) {
    if (!description_.images[i].isCompared()) continue;
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
