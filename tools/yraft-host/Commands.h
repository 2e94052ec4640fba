// The commands of the program.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ChooserLook.h"
#include "PrintPaths.h"

enum ExitStatus {
  kExitDone = 0,        // every file arrived whole; something was chosen; the message was closed
  kExitIncomplete = 1,  // declined, refused, cancelled, or a file did not arrive
  kExitNoStart = 2      // wrong usage, no such folder, no display
};

struct TransferOptions {
  std::uint64_t rate = 0;                  // bytes a second at most; 0 for as fast as it goes
  bool asItIs = false;                     // take files that others write meanwhile
  bool resumes = false;                    // go on where a process before has stopped
  bool quiet = false;                      // say only what goes wrong
  PathFormat format = PathFormat::kLines;  // of what arrived where

  bool Speaks() const { return !quiet && format == PathFormat::kLines; }
};
// `folder` is a path or a URL.
ExitStatus Download(const std::string& folder, const TransferOptions& options);
// `folder` is a path or a URL; empty asks the user.
ExitStatus Upload(const std::vector<std::string>& places, const std::string& folder,
                  const TransferOptions& options);

struct Limits {
  std::uint64_t files = UINT16_MAX;
  std::uint64_t bytes = UINT64_MAX;
};
ExitStatus PickFiles(const Limits& limits, const ChooserLook& look, PathFormat format);
ExitStatus PickDirectory(PathFormat format);

// Throws WrongUsage for texts that are too long.
ExitStatus Message(const std::string& title, const std::string& text, const std::string& more);
