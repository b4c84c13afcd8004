// What the library and the test program need from the system that they run on. This folder is the
// only place that knows one system from another: each has one source here that defines all of this.

#ifndef LUMEN_PLATFORM_H
#define LUMEN_PLATFORM_H

#include <cstddef>
#include <cstdint>

enum lumLogPriority : int {
  LUM_LOG_VERBOSE = 2,
  LUM_LOG_DEBUG = 3,
  LUM_LOG_INFO = 4,
  LUM_LOG_WARN = 5,
  LUM_LOG_ERROR = 6,
  LUM_LOG_FATAL = 7,
};

// One record of the system's log.
void lumLog(lumLogPriority priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// Where the log goes to standard error, `beforeRecord` is called before each record; null: nothing.
// For a program that shows its progress there.
void lumSetLogHook(void (*beforeRecord)());

// Room for a property's value and its terminating zero.
inline constexpr size_t LUM_PROPERTY_SIZE = 92;

// Reads a system property; a property that is not set reads as the empty text.
void lumSystemProperty(const char* name, char (&value)[LUM_PROPERTY_SIZE]);

// Opens a shared library with every symbol bound at once; null when there is none. The handle goes
// to dlsym and dlclose.
void* lumOpenLibrary(const char* name);

// Memory that a remote unit can map: of the remote-call library "libnexcall.so" where there is one,
// otherwise from the heap, aligned to a page. Null when there is no memory.
void* lumRemoteMemAlloc(int heap, uint32_t flags, uint32_t bytes);
void lumRemoteMemFree(void* ptr);

#endif  // LUMEN_PLATFORM_H
