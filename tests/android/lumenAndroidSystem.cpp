#include "lumenAndroidSystem.h"

#include <android/log.h>
#include <dlfcn.h>
#include <sys/system_properties.h>

#include <cstdio>

std::vector<lumAndroidRecord> lumAndroidLog;
std::map<std::string, std::string> lumAndroidProperties;
int lumAndroidLibraryFlags;

// The linker puts the first in the place of dlopen, which the second is then.
extern "C" void* __wrap_dlopen(const char* name, int flags);
extern "C" void* __real_dlopen(const char* name, int flags);
void* __wrap_dlopen(const char* name, int flags) {
  lumAndroidLibraryFlags = flags;
  return __real_dlopen(name, RTLD_NOW);
}

int __android_log_vprint(int priority, const char* tag, const char* format, va_list arguments) {
  char text[1024];
  const int length = std::vsnprintf(text, sizeof(text), format, arguments);
  lumAndroidLog.push_back({priority, tag, text});
  return length;
}

int __android_log_print(int priority, const char* tag, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = __android_log_vprint(priority, tag, format, arguments);
  va_end(arguments);
  return length;
}

// As there: the length, 0 for a property that is not set; the value may fill all of its room.
int __system_property_get(const char* name, char* value) {
  const std::string text = lumAndroidProperties[name].substr(0, PROP_VALUE_MAX - 1);
  value[text.copy(value, text.size())] = '\0';
  return static_cast<int>(text.size());
}
