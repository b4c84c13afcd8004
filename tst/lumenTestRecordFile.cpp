#include "lumenTestRecordFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

bool LUMEN_TEST_RecordFile::open(const std::string& path) {
  close();
  path_ = path;
  file_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666);
  if (file_ < 0) fail();
  return isOpen();
}

bool LUMEN_TEST_RecordFile::isSameAs(const LUMEN_TEST_RecordFile& other) const {
  struct stat mine, others;
  return isRegular() && fstat(file_, &mine) == 0 && fstat(other.file_, &others) == 0 &&
         mine.st_dev == others.st_dev && mine.st_ino == others.st_ino;
}

bool LUMEN_TEST_RecordFile::isRegular() const {
  struct stat status;
  return fstat(file_, &status) == 0 && S_ISREG(status.st_mode);
}

void LUMEN_TEST_RecordFile::fail() {
  failed_ = true;
  std::fprintf(stderr, "ERROR: cannot write '%s': %s\n", path_.c_str(), std::strerror(errno));
}

void LUMEN_TEST_RecordFile::append(std::string_view bytes) {
  while (!bytes.empty() && isOpen() && !failed_) {
    const ssize_t count = write(file_, bytes.data(), bytes.size());
    if (count >= 0) bytes.remove_prefix(static_cast<size_t>(count));
    else if (errno != EINTR) fail();
  }
}

void LUMEN_TEST_RecordFile::endCutLine() {
  if (!isOpen() || !isRegular()) return;
  const int file = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return;
  char last = '\n';
  if (lseek(file, -1, SEEK_END) >= 0 && read(file, &last, 1) == 1 && last != '\n') append("\n");
  ::close(file);
}

void LUMEN_TEST_RecordFile::replace(std::string_view bytes, bool isLast) {
  if (!isOpen() || (!isLast && !isRegular())) return;
  if (isRegular() && ftruncate(file_, 0) != 0) fail();
  append(bytes);
}

bool LUMEN_TEST_RecordFile::close() {
  if (isOpen() && ::close(file_) != 0 && !failed_) fail();
  file_ = -1;
  return !std::exchange(failed_, false);
}
