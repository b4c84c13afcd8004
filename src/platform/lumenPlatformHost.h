// Handles that only a development host has: tests use them to see what is logged.

#ifndef LUMEN_PLATFORM_HOST_H
#define LUMEN_PLATFORM_HOST_H

#include "platform/lumenPlatform.h"

using lumLogSink = void (*)(lumLogPriority priority, const char* tag, const char* text);

// Sends log records to `sink` (null: standard error) and returns the sink that it replaces.
lumLogSink lumHostSetLogSink(lumLogSink sink);

// A record as it goes to standard error: "<P>/<tag>: <message>", where P is the letter of the
// priority. A message of several lines gets the prefix on each, so that every line of the stream
// says where it comes from; the last line ends in exactly one newline, added where it is missing.
// Returns a block to be freed, its length in `length`; null when there is no memory.
char* lumHostFormatRecord(lumLogPriority priority, const char* tag, const char* text,
                          size_t& length);

#endif  // LUMEN_PLATFORM_HOST_H
