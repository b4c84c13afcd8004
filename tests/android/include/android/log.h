// The part of Android's log that the library uses, as it is declared there.

#ifndef LUMEN_ANDROID_LOG_H
#define LUMEN_ANDROID_LOG_H

#include <stdarg.h>

extern "C" {
int __android_log_print(int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
int __android_log_vprint(int priority, const char* tag, const char* format, va_list arguments)
    __attribute__((format(printf, 3, 0)));
}

#endif  // LUMEN_ANDROID_LOG_H
