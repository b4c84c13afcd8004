// One row of a control script: the buffers of a call, the call, and the comparison.

#ifndef LUMEN_TEST_CASE_H
#define LUMEN_TEST_CASE_H

#include <cstdio>
#include <memory>
#include <span>
#include <string>

#include "lumenTestBuffer.h"
#include "lumenTestDescription.h"
#include "lumenTestRandom.h"
#include "lumenTestScript.h"

// Where a control script is in the data directory.
std::string LUMEN_TEST_ScriptPath(const LUMEN_TEST_Scripts& scripts, bool profiling);

// An open control script, and the directory that its file names are relative to.
class LUMEN_TEST_Script {
 public:
  // The script of unit tests, with its files beside it; or that of profiling and exhaustive runs,
  // with its files in lumTestRef. One that cannot be opened is logged.
  LUMEN_TEST_Script(const char* dataDirectory, const LUMEN_TEST_Scripts& scripts, bool profiling);

  explicit operator bool() const { return file_ != nullptr; }
  FILE* file() const { return file_.get(); }
  const char* dataDirectory() const { return dataDirectory_.c_str(); }

 private:
  struct Close {
    void operator()(FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<FILE, Close> file_;
  std::string dataDirectory_;
};

class LUMEN_TEST_Case {
 public:
  LUMEN_TEST_Case(const LUMEN_TEST_Description& description, lumMemOption option)
      : description_(description), option_(option) {}

  // Fills the inputs, the scalars and the references from the script's next row.
  LUMEN_TEST_RowStatus read(const LUMEN_TEST_Script& script);

  // Makes images of this size without a script, all zero, and scalars as profiling has them. False
  // when there is no memory.
  bool shape(uint32_t width, uint32_t height);

  // Fills an input whose contents matter for its time; false for others.
  bool fillForTiming(size_t image, LUMEN_TEST_Random& random);

  // Makes the images of a profiling run without a script: 320 x 240 pixels, of which as many bytes
  // of each input are 255 and the rest 0, or what is timed of an input that says so. False when
  // there is no memory.
  bool shapeForProfiling();

  // Shapes each output like its reference and takes the call's arguments from the buffers. A row
  // whose buffers do not fit together, so that the call would leave them, is unusable.
  enum class State { ready, outOfMemory, unusable };
  State prepare();

  void call() { description_.call(arguments_); }

  const LUMEN_TEST_Arguments& arguments() const { return arguments_; }
  std::span<uint8_t> bytes(size_t image) { return {image_[image].data(), image_[image].size()}; }

  // 0 when every output agrees with its reference.
  int compare(float tolerance);

  // The largest absolute difference of an output from its reference; NaN when there is no such
  // number.
  double difference() const;

  // Writes the images of the call back to memory.
  void flush() const;

 private:
  bool shapeLike(size_t image, LUMEN_TEST_Extent all, LUMEN_TEST_Extent region);
  bool takeSize();
  bool takeArguments();
  bool isHeld(size_t image) const;
  void overlookRest(size_t image);

  const LUMEN_TEST_Description& description_;
  const lumMemOption option_;
  LUMEN_TEST_Buffer image_[LUMEN_TEST_MAX_IMAGES];
  LUMEN_TEST_Buffer reference_[LUMEN_TEST_MAX_IMAGES];  // of images that are written
  LUMEN_TEST_Arguments arguments_ = {};
};

#endif  // LUMEN_TEST_CASE_H
