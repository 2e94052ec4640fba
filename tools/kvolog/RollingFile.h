// The log file: whole lines are appended to it, and it is rolled over by size.
//
// "log" becomes "log.1", that "log.2", and so on up to the number of old files kept; on request old
// ones are compressed and called "log.1.gz". A file that cannot be written ends nothing: the caller
// tries again. Only regular files are touched, and no link to one.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

#include "Configuration.h"
#include "UniqueFd.h"

// The name of an old file, 1 being the youngest; 0 names the file itself.
std::string OldLogFile(const std::string& path, unsigned int number);

// Not for several threads.
class RollingFile {
 public:
  // `report` is told, for a human, when writing or rolling over begins to fail and when writing
  // goes on.
  using Report = std::function<void(const std::string& what)>;
  explicit RollingFile(Report report) : m_report(std::move(report)) {}
  ~RollingFile();

  // Names the file, creating it and missing folders, and says how it is rolled over. May be called
  // again at any time.
  void Use(const LogTarget& target);

  // Appends whole lines. Answers how many bytes of them are done with: all, or fewer where the file
  // cannot be written now. Ends between two lines.
  std::size_t Append(std::string_view lines);

  // Lets go of the file, which may have been renamed, and opens its name anew.
  void Reopen();

  // Reopens where two calls in a row found that the file has lost its name. Compresses old files,
  // one after the other. Call it now and then while something is written or happens in the folder,
  // and as long as it answers true.
  bool Check();

 private:
  bool Open();
  void EndTornLine();
  void Roll();
  std::string Unfinished() const { return m_target.path + ".gz.tmp"; }
  void Pack();
  void NamePacked();
  void StopPacking();
  std::size_t Fitting(std::string_view lines) const;
  std::size_t Write(std::string_view lines);
  bool Fail(const char* what);

  const Report m_report;
  LogTarget m_target;

  UniqueFd m_fd;
  std::uint64_t m_size = 0;   // of the file
  bool m_nameless = false;    // the last check found no file of its name
  bool m_failing = false;     // to open or to write it, which was reported
  bool m_rollFailed = false;  // the file grows beyond its size until the next check
  bool m_rollReported = false;

  std::jthread m_packing;      // compresses an old file
  std::atomic<bool> m_packed;  // it has come to its end
  ino_t m_packedInode = 0;     // of that file, whose number may change meanwhile
};
