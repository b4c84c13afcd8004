// Shell commands whose output the test program reads, a line at a time.

#ifndef LUMEN_TEST_SHELL_H
#define LUMEN_TEST_SHELL_H

#include <cstdio>
#include <cstdlib>

#include "lumenTestLog.h"

class LUMEN_TEST_Shell {
 public:
  explicit LUMEN_TEST_Shell(const char* command) : stream_(popen(command, "r")) {}
  LUMEN_TEST_Shell(const LUMEN_TEST_Shell&) = delete;
  LUMEN_TEST_Shell& operator=(const LUMEN_TEST_Shell&) = delete;
  ~LUMEN_TEST_Shell() { close(); }

  bool isStarted() const { return stream_ != nullptr; }

  void endProcessUnlessStarted() const {
    if (isStarted()) return;
    LUMEN_TEST_Log("Failed to run command\n");
    std::exit(0);
  }

  // The next line, or as much of it as there is room for; false at the end of the output.
  template <size_t kSize>
  bool readLine(char (&text)[kSize]) {
    return stream_ && std::fgets(text, kSize, stream_);
  }

  void close() {
    if (stream_) pclose(stream_);
    stream_ = nullptr;
  }
  void leaveOpen() { stream_ = nullptr; }

 private:
  FILE* stream_;
};

#endif  // LUMEN_TEST_SHELL_H
