// A file that a record is written to.

#ifndef LUMEN_TEST_RECORD_FILE_H
#define LUMEN_TEST_RECORD_FILE_H

#include <string>
#include <string_view>

// The first write that fails is said on standard error, and nothing more is written: what follows a
// cut line would spoil it further.
class LUMEN_TEST_RecordFile {
 public:
  LUMEN_TEST_RecordFile() = default;
  ~LUMEN_TEST_RecordFile() { close(); }
  LUMEN_TEST_RecordFile(const LUMEN_TEST_RecordFile&) = delete;
  LUMEN_TEST_RecordFile& operator=(const LUMEN_TEST_RecordFile&) = delete;

  // Makes an empty file to append to, which children inherit and programs do not. False with a
  // message when that fails.
  bool open(const std::string& path);
  bool isOpen() const { return file_ >= 0; }
  bool isSameAs(const LUMEN_TEST_RecordFile& other) const;

  // With one call of the system, so that lines of several processes do not mix.
  void append(std::string_view bytes);
  // After a process has died that may have been writing a line: ends that line.
  void endCutLine();
  // Replaces the contents. A pipe or a terminal has to wait for the last ones.
  void replace(std::string_view bytes, bool isLast);

  // False when not everything could be written.
  bool close();

 private:
  bool isRegular() const;
  void fail();

  std::string path_;
  int file_ = -1;
  bool failed_ = false;
};

#endif  // LUMEN_TEST_RECORD_FILE_H
