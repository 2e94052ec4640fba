// The log file: whole lines are appended to it, and it is rolled over by size.
//
// "log" becomes "log.1", that "log.2", and so on up to the number of old files kept. A file that
// cannot be written ends nothing: what is to be written waits, up to a limit, for the next attempt,
// and whatever had to be dropped is counted.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "UniqueFd.h"

// The name of an old file, 1 being the youngest; 0 names the file itself.
std::string OldLogFile(const std::string& path, unsigned int number);

// Not for several threads.
class RollingFile {
 public:
  static constexpr std::size_t kMostWaiting = std::size_t{4} << 20;  // bytes, while writing fails

  // `report` is told, for a human, when writing or rolling over begins to fail and when writing
  // goes on.
  using Report = std::function<void(const std::string& what)>;
  explicit RollingFile(Report report) : m_report(std::move(report)) {}

  // Names the file, creating it and missing folders; the size in bytes at which it is rolled over,
  // and the number of old files. May be called again at any time.
  void Use(const std::string& path, std::uint64_t size, unsigned int oldFiles);

  // Append whole lines here, then flush.
  std::string& buffer() { return m_buffer; }
  // Writes what waits, unless the last attempt failed.
  void Flush();
  // Tries again after a failure. Call it now and then.
  void Retry();
  // Lets go of the file, which may have been renamed, and opens its name anew.
  void Reopen();
  // The number of lines that were dropped since the last call, once writing works again; until
  // then 0.
  std::uint64_t TakeLost();
  // The number of lines that would be lost if this were the end.
  std::uint64_t Unwritten() const;

 private:
  bool Open();
  void EndTornLine();
  void Roll();
  std::size_t Fitting(std::size_t from) const;
  std::size_t Write(std::size_t from, std::size_t size);
  void DropExcess();
  bool Fail(const char* what);

  const Report m_report;
  std::string m_path;
  std::uint64_t m_limit = 0;
  unsigned int m_oldFiles = 0;

  UniqueFd m_fd;
  bool m_regular = false;     // only a regular file is rolled over
  std::uint64_t m_size = 0;   // of the file
  std::string m_buffer;       // whole lines
  std::uint64_t m_lost = 0;   // lines
  bool m_waiting = false;     // the last attempt failed
  bool m_failing = false;     // so it was reported
  bool m_rollFailed = false;  // the file grows beyond its size until the next attempt
  bool m_rollReported = false;
};
