// Reads a log file from its end on, across the files that it is rolled over into.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "UniqueFd.h"

// Lines are handed over without their line feed. Not for several threads.
class LogFollower {
 public:
  using Admits = std::function<bool(std::string_view line)>;
  using Sink = std::function<void(std::string_view line)>;

  explicit LogFollower(std::string path) : m_path(std::move(path)) {}

  // The file is there and can be read; errno tells why not.
  bool Open();

  // The last lines of those that `admits` wants, in their order, old files included. Goes to the
  // end of the file. Call it first.
  std::vector<std::string> Last(std::size_t count, const Admits& admits);

  // Hands over what was written since.
  void Read(const Sink& sink);

  // The log goes on in another file as soon as something is written there.
  void GoOnIn(const std::string& path);

 private:
  void ReadToEnd(const Sink& sink);
  bool OpenNext(const Sink& sink);
  void Adopt(UniqueFd fd, off_t offset);
  std::optional<unsigned int> NumberOfOurs() const;

  std::string m_path;
  UniqueFd m_fd;
  off_t m_offset = 0;
  std::string m_partial;  // a line whose end is not written yet
  std::string m_nextPath;
  off_t m_nextOffset = 0;
};
