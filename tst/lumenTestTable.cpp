#include "lumenTestTable.h"

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "lumenTestExtras.h"
#include "lumenTestLog.h"
#include "lumenTestScript.h"

namespace {

constexpr size_t kPathSize = 255;
constexpr int kColumns = 14;

LUMEN_TEST_TableRecord table[LUMEN_FUNC_COUNT + 1];

// A path that does not fit is not cut to that of some other file, and a directory is no table.
FILE* openTable(const std::string& path) {
  if (path.size() >= kPathSize) return nullptr;
  FILE* file = std::fopen(path.c_str(), "rb");
  struct stat status;
  if (file && (fstat(fileno(file), &status) != 0 || S_ISDIR(status.st_mode))) {
    std::fclose(file);
    return nullptr;
  }
  return file;
}

LUMEN_TEST_RowStatus readRecord(const char* dataDirectory, FILE* file,
                                LUMEN_TEST_TableRecord& record) {
  record = {};
  auto& [row0, row1] = record.tolerance;
  const LUMEN_TEST_Destination destinations[kColumns] = {
      LUMEN_TEST_Text{record.name, sizeof(record.name)},
      &record.implC,
      &record.implVorta,
      &record.implZDSP,
      &record.implGPU,
      &record.numTolerances,
      &row0[0],
      &row0[1],
      &row0[2],
      &row0[3],
      &row1[0],
      &row1[1],
      &row1[2],
      &row1[3],
  };
  return LUMEN_TEST_NextScriptRow(dataDirectory, file, kColumns, LUMEN_MEM_HEAP, destinations);
}

// The file is not trusted to keep within the record, nor its tolerances to be numbers.
void makeSafe(const char* dataDirectory, LUMEN_TEST_TableRecord& record) {
  if (record.numTolerances > LUMEN_TEST_MAX_TOLERANCES) {
    LUMEN_TEST_Log(
        "WARNING - Function %s has %d tolerances in %s/LumenTestTable.csv, %d is most.\n",
        record.name, record.numTolerances, dataDirectory, LUMEN_TEST_MAX_TOLERANCES);
    record.numTolerances = LUMEN_TEST_MAX_TOLERANCES;
  }
  for (auto& row : record.tolerance) {
    for (float& tolerance : row) {
      if (std::isfinite(tolerance)) continue;
      LUMEN_TEST_Log(
          "WARNING - Function %s has tolerance %f in %s/LumenTestTable.csv, taken as 0.\n",
          record.name, double{tolerance}, dataDirectory);
      tolerance = 0;
    }
  }
}

}  // namespace

void LUMEN_TEST_ClearTestTable() {
  std::fill(std::begin(table), std::end(table), LUMEN_TEST_TableRecord{});
}

int LUMEN_TEST_ReadTestTable(const char* dataDirectory) {
  const std::string path = std::string(dataDirectory) + "/LumenTestTable.csv";
  FILE* file = openTable(path);
  if (!file) {
    LUMEN_TEST_Log("Could not open %s...\n", path.c_str());
    std::printf("LUMEN_PROFILE, Could not open %s...\n\n", path.c_str());
    std::printf("LUMEN_PROFILE, %s\n",
                "Problem with the Lumen data : Check whether the Lumen data path is correct or not "
                "...\n");
    return 1;
  }

  LUMEN_TEST_TableRecord record;
  LUMEN_TEST_RowStatus status;
  while ((status = readRecord(dataDirectory, file, record)) == LUMEN_TEST_RowStatus::row) {
    const LUMEN_FUNC id = parseFunctionName(record.name);
    if (id == LUMEN_FUNC_NONE) {
      LUMEN_TEST_Log("WARNING - Unknown function %s in %s/LumenTestTable.csv.\n", record.name,
                     dataDirectory);
      continue;
    }
    makeSafe(dataDirectory, record);
    table[id] = record;
  }
  std::fclose(file);
  if (status == LUMEN_TEST_RowStatus::refused && lumenTestExtras.strict) {
    LUMEN_TEST_LogFault("a row of %s cannot be read", path.c_str());
    return 1;
  }

  for (unsigned int id = 1; id <= LUMEN_FUNC_COUNT; ++id) {
    if (table[id].name[0] == '\0') {
      LUMEN_TEST_Log("WARNING - Function %u not found in %s/LumenTestTable.csv.\n", id,
                     dataDirectory);
    }
  }
  return 0;
}

int isFunctionImpl(LUMEN_FUNC funcId, unsigned int slot, float* tolerances) {
  if (funcId < 1 || funcId > LUMEN_FUNC_COUNT || slot >= LUMEN_TEST_SLOT_COUNT) return 0;
  const LUMEN_TEST_TableRecord& record = table[funcId];
  if (record.numTolerances < 1) return 0;

  const bool isUnit = slot < LUMEN_TEST_UNIT_SLOTS;
  for (int row = 0; row < record.numTolerances; ++row) {
    const auto& ofUnits = record.tolerance[row];
    tolerances[row] = isUnit ? ofUnits[slot] : *std::max_element(ofUnits, std::end(ofUnits));
  }
  const uint8_t implemented[LUMEN_TEST_UNIT_SLOTS] = {record.implC, record.implVorta,
                                                      record.implZDSP, record.implGPU};
  return !isUnit || implemented[slot] != 0;
}
