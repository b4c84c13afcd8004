// What tests of the test program's driver share: its log, files to feed it, and starting it.

#ifndef LUMEN_TEST_DRIVER_SUPPORT_H
#define LUMEN_TEST_DRIVER_SUPPORT_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "platform/lumenPlatformHost.h"

// Catches the log of this process from here on.
class CapturedLog {
 public:
  CapturedLog() {
    lines().clear();
    lumHostSetLogSink([](lumLogPriority priority, const char* tag, const char* text) {
      lines().push_back(std::string(1, "??VDIWEF"[priority]) + "/" + tag + ": " + text);
    });
  }
  ~CapturedLog() { lumHostSetLogSink(nullptr); }

  // Records as "D/lumen_test: text", in order.
  static std::vector<std::string>& lines() {
    static std::vector<std::string> captured;
    return captured;
  }
  static auto count(const std::string& record) {
    return std::count(lines().begin(), lines().end(), record);
  }
};

// A directory that lives as long as the object.
class TempDirectory {
 public:
  TempDirectory() {
    std::string name = std::filesystem::temp_directory_path() / "lumenTestXXXXXX";
    if (!mkdtemp(name.data())) std::abort();
    path_ = name;
  }
  ~TempDirectory() { std::filesystem::remove_all(path_); }

  std::string path() const { return path_; }
  std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(path_ + "/" + name, std::ios::binary) << text;
    return path_ + "/" + name;
  }
  // A program for the shell to find, when the directory is in the path.
  void writeTool(const std::string& name, const std::string& script) const {
    std::filesystem::permissions(write(name, "#!/bin/sh\n" + script + "\n"),
                                 std::filesystem::perms::owner_all);
  }
  std::string inFrontOfPath() const {
    const char* path = std::getenv("PATH");
    return path_ + ":" + (path ? path : "");
  }

 private:
  std::string path_;
};

// A test table with the given lines under its two header lines.
inline std::string testTable(const std::string& lines) {
  return "name,implC,implVorta,implZDSP,implGPU,numTolerances,"
         "tolC0,tolVorta0,tolZDSP0,tolGPU0,tolC1,tolVorta1,tolZDSP1,tolGPU1\n"
         "char*,unsignedchar,unsignedchar,unsignedchar,unsignedchar,int,"
         "float,float,float,float,float,float,float,float\n" +
         lines;
}

inline std::string textOf(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

struct ProgramRun {
  int status;       // -1 when it did not end by itself
  std::string out;  // standard output
  std::string err;  // standard error, with the log
};

// Runs lumenTest with the given words of a shell command behind it; `before` goes in front. With
// `together`, all that it writes is in `out`, in the order in which a terminal would show it.
inline ProgramRun runLumenTest(const std::string& arguments, const std::string& before = "",
                               bool together = false) {
  const TempDirectory directory;
  const std::string out = directory.path() + "/out", err = directory.path() + "/err";
  const std::string command = before + " " + LUMEN_TEST_COMMAND " " + arguments + " >" + out +
                              " 2>" + (together ? "&1" : err);
  const int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, textOf(out), textOf(err)};
}

// What a call writes to standard output.
template <class Call>
std::string standardOutputOf(Call call) {
  testing::internal::CaptureStdout();
  call();
  return testing::internal::GetCapturedStdout();
}

// From here on nothing can be opened, and so no shell command be started; until the process ends,
// when a sanitizer may want to open something.
inline void forbidOpening() {
  static rlimit before = {};
  getrlimit(RLIMIT_NOFILE, &before);
  const int free = dup(0);
  close(free);
  rlimit limit = before;
  limit.rlim_cur = static_cast<rlim_t>(free);
  setrlimit(RLIMIT_NOFILE, &limit);
  std::atexit([] { setrlimit(RLIMIT_NOFILE, &before); });
}

#endif  // LUMEN_TEST_DRIVER_SUPPORT_H
