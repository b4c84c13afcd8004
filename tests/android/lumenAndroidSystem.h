// An Android system of plain memory: its log and its properties.

#ifndef LUMEN_ANDROID_SYSTEM_H
#define LUMEN_ANDROID_SYSTEM_H

#include <map>
#include <string>
#include <vector>

struct lumAndroidRecord {
  int priority;
  std::string tag, text;
  bool operator==(const lumAndroidRecord&) const = default;
};
extern std::vector<lumAndroidRecord> lumAndroidLog;
extern std::map<std::string, std::string> lumAndroidProperties;
extern int lumAndroidLibraryFlags;  // of the last dlopen

#endif  // LUMEN_ANDROID_SYSTEM_H
