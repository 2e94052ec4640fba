// One file into one folder, whole or not at all.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <optional>
#include <string>

#include "UniqueFd.h"

// An open regular file and what it was when it was opened.
struct Source {
  UniqueFd fd;
  std::uint64_t size = 0;  // bytes
  mode_t mode = 0;         // permission bits
  timespec modified{};
};

// The part of a path behind its last '/'.
std::string BaseName(const std::string& path);

// Opens a folder that files can be put into; empty, with the reason in `why`, where it is none.
UniqueFd OpenFolder(const std::string& path, std::string& why);

// Opens a file for reading, links followed. Refuses everything but a regular file; `why` then says
// what it is, or which error there was.
std::optional<Source> OpenSource(const std::string& path, std::string& why);

// Asked before the first block and after every block: `offset` bytes of the file are done, `moved`
// of them were written since the last call (a hole moves none). May take its time; false cancels.
using Checkpoint = std::function<bool(std::uint64_t offset, std::size_t moved)>;

struct CopyResult {
  enum class Outcome { kWhole, kCancelled, kFailed };
  Outcome outcome;
  std::string detail;  // whole: the name it got; failed: why
};

// Copies a file into an open folder under `name`, or "name (2)" and so on where that is taken:
// nothing is ever replaced. Until it is whole and on the disk it goes by a temporary name, which
// is gone when the function returns or the process exits. Holes stay holes.
//
// blockSize  bytes to read and write at a time
CopyResult CopyInto(int folder, const std::string& name, const Source& source,
                    std::size_t blockSize, const Checkpoint& checkpoint);
