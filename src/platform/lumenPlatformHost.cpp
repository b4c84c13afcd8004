// A Linux development host: the log is standard error, properties are lines of a file.

#include "platform/lumenPlatformHost.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <utility>

namespace {

constexpr char kPriorityLetter[] = "??VDIWEF";

void (*logHook)() = nullptr;

void toStandardError(lumLogPriority priority, const char* tag, const char* text) {
  if (logHook) logHook();
  size_t length = 0;
  char* record = lumHostFormatRecord(priority, tag, text, length);
  if (!record) return;
  std::fwrite(record, 1, length, stderr);
  std::free(record);
}

lumLogSink logSink = toStandardError;

using Properties = std::map<std::string, std::string>;

// Lines "key=value" of the file that LUMEN_SYSTEM_PROPERTIES names; other lines are passed over.
Properties readProperties() {
  Properties properties;
  const char* path = std::getenv("LUMEN_SYSTEM_PROPERTIES");
  if (!path) return properties;
  std::ifstream file(path, std::ios::binary);
  for (std::string line; std::getline(file, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const size_t equals = line.find('=');
    if (equals == std::string::npos) continue;
    properties[line.substr(0, equals)] = line.substr(equals + 1, LUM_PROPERTY_SIZE - 1);
  }
  return properties;
}

}  // namespace

char* lumHostFormatRecord(lumLogPriority priority, const char* tag, const char* text,
                          size_t& length) {
  const size_t textLength = std::strlen(text), tagLength = std::strlen(tag);
  const size_t body = textLength && text[textLength - 1] == '\n' ? textLength - 1 : textLength;
  const size_t lines = 1 + static_cast<size_t>(std::count(text, text + body, '\n'));
  char* record = static_cast<char*>(std::malloc(body + lines * (tagLength + 5)));
  if (!record) return nullptr;

  char* out = record;
  const char *line = text, *end = text + body;
  for (;;) {
    *out++ = kPriorityLetter[priority];
    *out++ = '/';
    out = std::copy_n(tag, tagLength, out);
    *out++ = ':';
    *out++ = ' ';
    const char* lineEnd = std::find(line, end, '\n');
    out = std::copy(line, lineEnd, out);
    *out++ = '\n';
    if (lineEnd == end) break;
    line = lineEnd + 1;
  }
  length = static_cast<size_t>(out - record);
  return record;
}

lumLogSink lumHostSetLogSink(lumLogSink sink) {
  return std::exchange(logSink, sink ? sink : toStandardError);
}

void lumSetLogHook(void (*beforeRecord)()) { logHook = beforeRecord; }

void lumLog(lumLogPriority priority, const char* tag, const char* format, ...) {
  va_list arguments, again;
  va_start(arguments, format);
  va_copy(again, arguments);
  char shortText[512];
  const int length = std::vsnprintf(shortText, sizeof(shortText), format, arguments);
  va_end(arguments);
  if (length >= 0 && static_cast<size_t>(length) < sizeof(shortText)) {
    logSink(priority, tag, shortText);
  } else if (length >= 0) {
    std::string longText(static_cast<size_t>(length), '\0');
    std::vsnprintf(longText.data(), longText.size() + 1, format, again);
    logSink(priority, tag, longText.c_str());
  }
  va_end(again);
}

void lumSystemProperty(const char* name, char (&value)[LUM_PROPERTY_SIZE]) {
  static const Properties properties = readProperties();
  const auto found = properties.find(name);
  value[0] = '\0';
  if (found == properties.end()) return;
  const std::string& text = found->second;
  value[text.copy(value, LUM_PROPERTY_SIZE - 1)] = '\0';
}

void* lumOpenLibrary(const char* name) { return dlopen(name, RTLD_NOW); }
