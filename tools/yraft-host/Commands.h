// The commands of the program.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "PrintPaths.h"

enum ExitStatus {
  kExitDone = 0,        // every file arrived whole; something was chosen; the message was closed
  kExitIncomplete = 1,  // declined, refused, cancelled, or a file did not arrive
  kExitNoStart = 2      // wrong usage, no such folder, no display
};

// `rate` is in bytes a second; 0 for as fast as it goes.
ExitStatus Download(const std::string& folder, std::uint64_t rate);
ExitStatus Upload(const std::vector<std::string>& files, std::uint64_t rate);

struct Limits {
  std::uint64_t files = UINT16_MAX;
  std::uint64_t bytes = UINT64_MAX;
};
ExitStatus PickFiles(const Limits& limits, PathFormat format);
ExitStatus PickDirectory(PathFormat format);

// Throws WrongUsage for texts that are too long.
ExitStatus Message(const std::string& title, const std::string& text, const std::string& more);
