// The download: the user chooses files, each is copied into a folder, the progress window follows.
#pragma once

#include <cstdint>
#include <string>

struct DownloadOptions {
  std::string folder;
  std::uint64_t rate = 0;  // bytes a second at most; 0 for as fast as it goes
};

// Exit statuses of the program.
enum ExitStatus {
  kExitWhole = 0,       // every chosen file arrived whole
  kExitIncomplete = 1,  // nothing chosen, cancelled, or a file did not arrive
  kExitNoStart = 2      // wrong usage, no folder, no display
};

ExitStatus RunDownload(const DownloadOptions& options);
