#include "lumenTestIsolate.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// What the child tells its parent through the pipe: checks, and at the end its result and times.
enum class Message : uint8_t { check, end };

class Writer {
 public:
  explicit Writer(Message kind) { value(kind); }
  template <class T>
  Writer& value(const T& number) {
    static_assert(std::is_trivially_copyable_v<T>);
    bytes_.append(reinterpret_cast<const char*>(&number), sizeof(number));
    return *this;
  }
  Writer& text(std::string_view text) {
    value(text.size());
    bytes_.append(text);
    return *this;
  }
  void send(int pipe) const {
    const size_t size = bytes_.size();
    write(pipe, std::string_view(reinterpret_cast<const char*>(&size), sizeof(size)));
    write(pipe, bytes_);
  }

 private:
  static void write(int pipe, std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t count = ::write(pipe, bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) return;  // the parent is gone
      bytes.remove_prefix(static_cast<size_t>(count));
    }
  }

  std::string bytes_;
};

// Reads what a child has written, of which a crash may have left a part only.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}

  template <class T>
  bool value(T& number) {
    if (bytes_.size() < sizeof(number)) return false;
    std::memcpy(&number, bytes_.data(), sizeof(number));
    bytes_.remove_prefix(sizeof(number));
    return true;
  }
  bool text(std::string_view& text) {
    size_t size = 0;
    if (!value(size) || size > bytes_.size()) return false;
    text = bytes_.substr(0, size);
    bytes_.remove_prefix(size);
    return true;
  }

 private:
  std::string_view bytes_;
};

int checkPipe = -1;  // of the child

void sendCheck(const LUMEN_TEST_CheckResult& result) {
  Writer(Message::check)
      .text(result.function)
      .value(result.slot)
      .text(result.check)
      .value(result.verdict)
      .value(result.cases)
      .value(result.failedCases)
      .value(result.difference)
      .value(result.tolerance)
      .value(result.seconds)
      .text(result.detail)
      .send(checkPipe);
}

bool readCheck(Reader& reader, LUMEN_TEST_CheckResult& result) {
  return reader.text(result.function) && reader.value(result.slot) && reader.text(result.check) &&
         reader.value(result.verdict) && reader.value(result.cases) &&
         reader.value(result.failedCases) && reader.value(result.difference) &&
         reader.value(result.tolerance) && reader.value(result.seconds) &&
         reader.text(result.detail);
}

std::string_view samplesOf(const LUMEN_TEST_Times* times) {
  if (!times || !times->samples) return {};
  return {reinterpret_cast<const char*>(times->samples),
          std::min(times->numSamples, times->maxSamples) * sizeof(uint64_t)};
}

void sendEnd(int pipe, int result, const LUMEN_TEST_Times* times) {
  Writer(Message::end)
      .value(result)
      .value(times ? *times : LUMEN_TEST_Times{})
      .text(samplesOf(times))
      .send(pipe);
}

bool readEnd(Reader& reader, int& result, LUMEN_TEST_Times* times) {
  LUMEN_TEST_Times read = {};
  std::string_view samples;
  if (!reader.value(result) || !reader.value(read) || !reader.text(samples)) return false;
  if (!times) return true;
  read.samples = times->samples;
  read.maxSamples = times->maxSamples;
  *times = read;
  if (samples.size() <= times->maxSamples * sizeof(uint64_t) && !samples.empty()) {
    std::memcpy(times->samples, samples.data(), samples.size());
  }
  return true;
}

// Nothing that the parent has set up is taken down here: no destructors, no functions of atexit.
[[noreturn]] void runChild(int pipe, pid_t parent, const LUMEN_TEST_Times* times,
                           const std::function<int()>& work) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);
  checkPipe = pipe;
  LUMEN_TEST_ForwardChecks(sendCheck);
  const int result = work();
  std::fflush(nullptr);
  sendEnd(pipe, result, times);
  _exit(0);
}

// Takes what the child writes until it has ended, or until the time is over: then false.
bool receive(int pipe, Clock::time_point deadline, std::string& bytes) {
  for (;;) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count() + 1;
    if (left <= 0) return false;
    pollfd wanted = {pipe, POLLIN, 0};
    const int ready = poll(&wanted, 1, static_cast<int>(std::min<int64_t>(left, 60000)));
    if (ready <= 0) continue;
    char part[65536];
    const ssize_t count = read(pipe, part, sizeof(part));
    if (count > 0) bytes.append(part, static_cast<size_t>(count));
    else if (count == 0 || errno != EINTR) return true;
  }
}

std::string signalName(int number) {
  constexpr struct {
    int number;
    const char* name;
  } kNames[] = {{SIGSEGV, "SIGSEGV"}, {SIGBUS, "SIGBUS"},   {SIGILL, "SIGILL"},
                {SIGFPE, "SIGFPE"},   {SIGABRT, "SIGABRT"}, {SIGTRAP, "SIGTRAP"},
                {SIGSYS, "SIGSYS"},   {SIGKILL, "SIGKILL"}, {SIGTERM, "SIGTERM"},
                {SIGPIPE, "SIGPIPE"}, {SIGALRM, "SIGALRM"}, {SIGXCPU, "SIGXCPU"}};
  for (const auto& signal : kNames) {
    if (signal.number == number) return signal.name;
  }
  return "signal " + std::to_string(number);
}

// The child has closed its pipe, by ending: or it was wild enough to do so and go on.
bool waitFor(pid_t child, Clock::time_point deadline, int& status) {
  for (;;) {
    const pid_t ended = waitpid(child, &status, WNOHANG);
    if (ended == child || (ended < 0 && errno != EINTR)) return true;
    if (Clock::now() >= deadline) return false;
    usleep(200);
  }
}

}  // namespace

LUMEN_TEST_Isolated LUMEN_TEST_RunIsolated(
    double seconds, LUMEN_TEST_Times* times, const std::function<int()>& work,
    const std::function<void(const LUMEN_TEST_CheckResult&)>& onCheck) {
  LUMEN_TEST_Isolated isolated;
  int ends[2];
  const Clock::time_point start = Clock::now();
  const auto limit =
      std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  std::fflush(nullptr);  // what is in a buffer would be written by both
  if (pipe2(ends, O_CLOEXEC) != 0) {
    isolated.detail = std::string("no pipe: ") + std::strerror(errno);
    return isolated;
  }
  const pid_t parent = getpid(), child = fork();
  if (child == 0) {
    close(ends[0]);
    runChild(ends[1], parent, times, work);
  }
  close(ends[1]);
  if (child < 0) {
    isolated.detail = std::string("no process: ") + std::strerror(errno);
    close(ends[0]);
    return isolated;
  }

  std::string bytes;
  int status = 0;
  const bool inTime =
      receive(ends[0], start + limit, bytes) && waitFor(child, start + limit, status);
  if (!inTime) {
    kill(child, SIGKILL);
    waitFor(child, Clock::time_point::max(), status);
  }
  close(ends[0]);
  isolated.seconds = std::chrono::duration<double>(Clock::now() - start).count();

  bool ended = false;
  Reader messages(bytes);
  for (std::string_view message; messages.text(message);) {
    Reader reader(message);
    Message kind;
    LUMEN_TEST_CheckResult check = {};
    if (!reader.value(kind)) break;
    if (kind == Message::end) ended = readEnd(reader, isolated.result, times);
    else if (readCheck(reader, check)) onCheck(check);
  }
  if (ended) {
    isolated.verdict = LUMEN_TEST_Verdict::pass;
  } else if (!inTime) {
    isolated.verdict = LUMEN_TEST_Verdict::timeout;
    char text[32];
    std::snprintf(text, sizeof(text), "%g s", seconds);
    isolated.detail = text;
  } else {
    isolated.detail = WIFSIGNALED(status) ? signalName(WTERMSIG(status))
                                          : "exit status " + std::to_string(WEXITSTATUS(status));
  }
  return isolated;
}
