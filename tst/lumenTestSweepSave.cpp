#include "lumenTestSweepSave.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "lumenTestConfig.h"
#include "lumenTestImage.h"
#include "lumenTestLines.h"
#include "lumenTestSavedImage.h"
#include "lumenTestSweepData.h"
#include "lumenTestTable.h"

namespace {

using Bytes = std::vector<uint8_t>;

// Shapes of the files of a case, and what they cannot keep of it.
struct Shapes {
  std::array<LUMEN_TEST_SavedShape, LUMEN_TEST_MAX_IMAGES> image;
  std::string lost;

  void lose(const char* what) { lost += (lost.empty() ? "" : ", ") + std::string(what); }
};

size_t scriptStrideOf(const LUMEN_TEST_Description& description, size_t image) {
  const size_t of = description.images[image].scriptStrideOf;
  return of == LUMEN_TEST_Image::kOwn ? image : of;
}

// The stride that each file declares is the one that a call takes from it.
bool keepStrides(const LUMEN_TEST_FailedCase& failed, Shapes& shapes) {
  const auto images = failed.description.images;
  const auto strideOf = [&](size_t i) {
    return failed.layout.image[i].stride / images[i].elementSize();
  };
  for (size_t i = 0; i < images.size(); ++i) {
    shapes.image[i].pitch = shapes.image[i].stride = strideOf(i);
  }
  for (size_t i = 0; i < images.size(); ++i) {
    if (images[i].isPacked || LUMEN_TEST_StrideOwner(failed.description, i) != i) continue;
    const size_t from = scriptStrideOf(failed.description, i);
    shapes.image[from].stride = failed.layout.image[i].stride / images[from].elementSize();
  }
  // Of a result, the reader of rows knows only one stride.
  for (size_t i = 0; i < images.size(); ++i) {
    const LUMEN_TEST_SavedShape& shape = shapes.image[i];
    if (shape.stride < shape.width || (images[i].isWritten && shape.stride != shape.pitch)) {
      return false;
    }
    if (images[i].isPacked || LUMEN_TEST_StrideOwner(failed.description, i) != i) continue;
    const size_t from = scriptStrideOf(failed.description, i);
    if (shapes.image[from].stride * images[from].elementSize() != failed.layout.image[i].stride) {
      return false;
    }
  }
  return true;
}

Shapes shapesOf(const LUMEN_TEST_FailedCase& failed) {
  const auto images = failed.description.images;
  const LUMEN_TEST_SweepCase& c = failed.named.sweepCase;
  Shapes shapes = {};
  for (size_t i = 0; i < images.size(); ++i) {
    const LUMEN_TEST_Layout::Image& place = failed.layout.image[i];
    shapes.image[i].width = place.rowBytes / images[i].elementSize();
    shapes.image[i].rows = place.rows;
    if (images[i].isWritten || images[i].extent) continue;
    // Only the size that the call is given is declared.
    const LUMEN_TEST_Extent region = images[i].region(c.width, c.height);
    const auto width = static_cast<size_t>(region.rowElements);
    const auto rows = static_cast<size_t>(region.rows);
    if (width != shapes.image[i].width) shapes.image[i].regionWidth = width;
    if (rows != place.rows) shapes.image[i].regionRows = rows;
  }
  if (!keepStrides(failed, shapes)) {
    shapes.lose("strides");
    for (auto& shape : shapes.image) shape.pitch = shape.stride = shape.width;
  }
  bool isAlignmentLost = false;
  for (size_t i = 0; i < images.size(); ++i) {
    if (!(c.misaligned >> failed.layout.image[i].memoryOf & 1)) continue;
    LUMEN_TEST_SavedShape& shape = shapes.image[i];
    if (shape.stride > shape.width) shape.left = 1;
    else isAlignmentLost = true;
  }
  if (isAlignmentLost) shapes.lose("misalignment");
  if (c.inPlace) shapes.lose("working in place");
  if (c.strides == LUMEN_TEST_StrideChoice::zero) shapes.lose("strides of 0");
  return shapes;
}

// The rows of an input, made once more: the call may have written over them.
Bytes inputRows(const LUMEN_TEST_FailedCase& failed, size_t index) {
  LUMEN_TEST_Layout packed = failed.layout;
  packed.image[index].stride = packed.image[index].rowBytes;
  Bytes rows(packed.image[index].rowBytes * packed.image[index].rows);
  LUMEN_TEST_FillInput(failed.description, failed.named.sweepCase, packed, index, rows.data());
  return rows;
}

Bytes referenceRows(const LUMEN_TEST_FailedCase& failed, size_t index) {
  const auto bytesOf = [&](size_t i) {
    return failed.layout.image[i].rowBytes * failed.layout.image[i].rows;
  };
  auto at = failed.reference.exact.begin();
  for (size_t i = 0; i < index; ++i) {
    if (failed.description.images[i].isCompared()) at += static_cast<ptrdiff_t>(bytesOf(i));
  }
  return {at, at + static_cast<ptrdiff_t>(bytesOf(index))};
}

Bytes resultRows(const LUMEN_TEST_FailedCase& failed, size_t index) {
  const LUMEN_TEST_Layout::Image& place = failed.layout.image[index];
  Bytes rows;
  for (size_t y = 0; y < place.rows; ++y) {
    const uint8_t* row = failed.arguments.as<uint8_t>(index) + y * place.stride;
    rows.insert(rows.end(), row, row + place.rowBytes);
  }
  return rows;
}

// File names of a case begin like this; two cases never share them.
std::string stemOf(const LUMEN_TEST_FailedCase& failed) {
  std::string text = failed.named.text();
  text.erase(0, text.find('/', failed.named.function.size() + 3) + 1);  // function, slot, check
  for (char& c : text) {
    if (c == '/' || c == '+' || c == '@' || c == '.') c = '-';
  }
  return std::string(failed.description.scripts.suffix) + "-" + text;
}

bool append(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary | std::ios::app);
  file << text;
  file.close();
  return !file.fail();
}

// Whether a line of the file begins so.
bool hasLine(const std::string& path, const std::string& begin) {
  std::ifstream file(path, std::ios::binary);
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with(begin)) return true;
  }
  return false;
}

class Saver {
 public:
  Saver(const LUMEN_TEST_FailedCase& failed, const std::string& directory)
      : failed_(failed),
        directory_(directory),
        folder_(std::string(failed.description.scripts.directory) + "/"),
        stem_(stemOf(failed)) {}

  bool save(const Shapes& shapes) {
    std::error_code error;
    std::filesystem::create_directories(directory_ + "/" + folder_, error);
    return !error && saveFiles(shapes) && saveRow() && saveTableRow();
  }

  // Pictures of what was expected and what came, of the first image that can be one.
  void savePictures(LUMEN_TEST_CaseFailure& failure) const {
    const auto images = failed_.description.images;
    for (size_t i = 0; i < images.size(); ++i) {
      const uint32_t channels = images[i].channels;
      if (!images[i].isCompared() || images[i].isPacked) continue;
      if (images[i].type != LUMEN_TEST_Type::u8) continue;
      if (channels != 1 && channels != 3) continue;
      const std::string end = channels == 1 ? ".pgm" : ".ppm";
      const std::string reference = folder_ + stem_ + "-reference" + end;
      const std::string result = folder_ + stem_ + "-result" + end;
      const auto write = [&](const std::string& name, const Bytes& rows) {
        const LUMEN_TEST_Layout::Image& place = failed_.layout.image[i];
        return LUMEN_TEST_IMGIO_writeppm(rows.data(), static_cast<int>(place.rowBytes / channels),
                                         static_cast<int>(place.rows), static_cast<int>(channels),
                                         (directory_ + "/" + name).c_str()) ==
               LUMEN_TEST_IMGIO_WRITTEN;
      };
      if (!write(reference, referenceRows(failed_, i)) || !write(result, resultRows(failed_, i))) {
        continue;
      }
      failure.reference = reference;
      failure.result = result;
      return;
    }
  }

 private:
  // Columns are in the order of a script: inputs, numbers, references, text.
  struct Column {
    std::string name, type, field;
  };

  bool saveFiles(const Shapes& shapes) {
    const auto images = failed_.description.images;
    const auto scalars = failed_.description.scalars;
    for (const bool written : {false, true}) {
      for (size_t i = 0; i < images.size(); ++i) {
        if (images[i].isWritten != written || images[i].isScratch) continue;
        const LUMEN_TEST_SavedShape& shape = shapes.image[i];
        const std::string name =
            stem_ + "-" + images[i].name + (shape.isPacked() ? ".data" : ".csv");
        const std::string path = directory_ + "/" + folder_ + name;
        if (path.size() >= LUMEN_TEST_PATH_SIZE ||
            !LUMEN_TEST_WriteImage(path, images[i].type, shape,
                                   written ? referenceRows(failed_, i) : inputRows(failed_, i))) {
          return false;
        }
        columns_.push_back(
            {images[i].name, LUMEN_TEST_ScriptTypeName(images[i].type) + std::string("[]"), name});
      }
      if (written) continue;
      for (size_t i = 0; i < scalars.size(); ++i) {
        columns_.push_back({scalars[i].name, LUMEN_TEST_ScriptTypeName(scalars[i].type),
                            LUMEN_TEST_NumberText(scalars[i].type, failed_.arguments.scalar[i])});
      }
    }
    columns_.push_back({"note", "comment", failed_.named.text()});
    return true;
  }

  std::string line(std::string Column::*part) const {
    std::string text;
    for (const Column& column : columns_) {
      if (!text.empty()) text += ',';
      text += column.*part;
    }
    return text + '\n';
  }

  bool saveRow() const {
    const std::string path = directory_ + "/" + folder_ + "control_script_" +
                             failed_.description.scripts.suffix + ".csv";
    const std::string row = line(&Column::field);
    if (!std::filesystem::exists(path)) {
      return append(path, line(&Column::name) + line(&Column::type) + row);
    }
    // What is there already may be of another kind.
    const std::string types = line(&Column::type), field = row.substr(0, row.size() - 1);
    if (!hasLine(path, types.substr(0, types.size() - 1))) return false;
    return hasLine(path, field) || append(path, row);
  }

  // Where the run's own table has the function, and within which tolerances.
  bool saveTableRow() const {
    const std::string path = directory_ + "/LumenTestTable.csv";
    const std::string name = failed_.description.name;
    if (hasLine(path, name + ",")) return true;
    std::string built, tolerances[LUMEN_TEST_MAX_TOLERANCES];
    int used = 1;
    for (unsigned int slot = 0; slot < LUMEN_TEST_UNIT_SLOTS; ++slot) {
      float tolerance[LUMEN_TEST_MAX_TOLERANCES] = {};
      const bool isBuilt = isFunctionImpl(failed_.description.id, slot, tolerance) != 0 ||
                           slot == failed_.slot || slot == LUMEN_TEST_SLOT_C;
      if (slot == failed_.slot) tolerance[0] = failed_.tolerance;
      built += isBuilt ? "1," : "0,";
      for (int row = 0; row < LUMEN_TEST_MAX_TOLERANCES; ++row) {
        if (tolerance[row] != 0) used = std::max(used, row + 1);
        tolerances[row] += ',';
        tolerances[row] += LUMEN_TEST_NumberText(LUMEN_TEST_Type::f32, &tolerance[row]);
      }
    }
    const std::string row =
        name + "," + built + std::to_string(used) + tolerances[0] + tolerances[1] + "\n";
    if (std::filesystem::exists(path)) return append(path, row);
    return append(path,
                  "name,implC,implVorta,implZDSP,implGPU,numTolerances,"
                  "tolerance0C,tolerance0Vorta,tolerance0ZDSP,tolerance0GPU,"
                  "tolerance1C,tolerance1Vorta,tolerance1ZDSP,tolerance1GPU\n"
                  "char*,unsignedchar,unsignedchar,unsignedchar,unsignedchar,int,"
                  "float,float,float,float,float,float,float,float\n" +
                      row);
  }

  const LUMEN_TEST_FailedCase& failed_;
  const std::string directory_, folder_, stem_;
  std::vector<Column> columns_;
};

}  // namespace

void LUMEN_TEST_SaveCase(const LUMEN_TEST_FailedCase& failed, const std::string& directory,
                         LUMEN_TEST_CaseFailure& failure) {
  const Shapes shapes = shapesOf(failed);
  Saver saver(failed, directory);
  if (!saver.save(shapes)) {
    failure.findings.push_back("could not be saved in " + directory);
    return;
  }
  failure.saved = directory;
  failure.findings.push_back("saved in " + directory +
                             (shapes.lost.empty() ? "" : ", but without " + shapes.lost));
  saver.savePictures(failure);
}
