// A transfer under way: files are copied into a folder one after another, and the progress window
// follows and is obeyed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Commands.h"
#include "Console.h"
#include "Session.h"

struct TransferOrder {
  std::vector<std::string> paths;  // the files to copy
  int folder;                      // an open folder
  std::uint32_t operation;         // YRAFT_OPERATION_...: what the window calls it
  std::uint64_t rate = 0;          // bytes a second at most; 0 for as fast as it goes
};

// Copies the files and says a line for each. Answers kExitDone when all arrived whole, else
// kExitIncomplete. An interrupt cancels, as the window's Cancel does.
ExitStatus RunTransfer(Session& session, Console& console, const TransferOrder& order);
