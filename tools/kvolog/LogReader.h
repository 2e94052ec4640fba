// Reads a log: from one of its last lines or from a time on, through the files that it was rolled
// over into, and goes on while it is written.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "UniqueFd.h"

// Keeps offsets and no lines: what it needs does not grow with the log. Lines are handed over
// without their line feed. Not for several threads.
class LogReader {
 public:
  using Admits = std::function<bool(std::string_view line)>;
  struct Sink {
    Admits line;                  // answers false when no more lines are wanted
    std::function<void()> block;  // some lines have been handed over
    std::function<void()> gap;    // lines may be missing here
  };

  // `alone` is a file whose old files are somebody else's.
  explicit LogReader(std::string path, bool alone = false)
      : m_path(std::move(path)), m_alone(alone) {}

  // The file is there and can be read; errno tells why not.
  bool Open();

  // Where to start, the end of the log unless told; old files are looked into. Call one of them,
  // once.
  void StartAtLast(std::size_t count, const Admits& admits);  // of those lines that `admits` wants
  void StartAtTime(std::int64_t time);  // microseconds; a little earlier, since clients overlap
  void StartAtBeginning();

  // Hands over all lines from there to the end of the log as it is now.
  void Read(const Sink& sink);

  // The log goes on in another file as soon as something is written there, with what is as young as
  // `since`, in microseconds since 1970.
  void GoOnIn(const std::string& path, std::int64_t since);
  const std::string& path() const { return m_path; }

 private:
  struct Part {
    UniqueFd fd;
    off_t offset = 0;
    bool gap = false;     // the file before it is not the one that we read before it
    bool packed = false;  // it is compressed: what is read is a copy, and nobody writes it any more
  };

  bool AddOlder();
  void AddNewer();
  bool ReadBlock(const Sink& sink);
  void NoticeCut();
  std::optional<unsigned int> NumberOf(const Part& part) const;

  std::string m_path;
  bool m_alone;
  std::deque<Part> m_parts;      // the first is being read, the others follow it
  unsigned int m_older = 1;      // the next old file to look into
  std::vector<char> m_block;     // its start is a line whose end is not read yet,
  std::size_t m_unfinished = 0;  // of so many bytes
  bool m_skipping = false;       // a line that is too long to be one
  bool m_stopped = false;
  std::string m_nextPath;
  off_t m_nextOffset = 0;
};
