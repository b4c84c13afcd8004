// An Android device.

#include <android/log.h>
#include <dlfcn.h>
#include <sys/system_properties.h>

#include <cstdarg>

#include "platform/lumenPlatform.h"

static_assert(LUM_PROPERTY_SIZE == PROP_VALUE_MAX);

void lumLog(lumLogPriority priority, const char* tag, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  __android_log_vprint(priority, tag, format, arguments);
  va_end(arguments);
}

// The log is not on the terminal.
void lumSetLogHook(void (*)()) {}

void lumSystemProperty(const char* name, char (&value)[LUM_PROPERTY_SIZE]) {
  if (__system_property_get(name, value) <= 0) value[0] = '\0';
}

// The 32-bit C library takes flags 0 as "bind now"; the 64-bit one refuses them.
void* lumOpenLibrary(const char* name) { return dlopen(name, sizeof(void*) == 4 ? 0 : RTLD_NOW); }
