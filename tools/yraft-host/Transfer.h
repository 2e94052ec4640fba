// A transfer under way: files are copied into a folder one after another, and the progress window
// follows and is obeyed.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Commands.h"
#include "Console.h"
#include "Endpoints.h"
#include "Session.h"

// The size of a file of this machine; 0 for everything else.
std::uint64_t SizeOf(const std::string& path);

struct TransferItem {
  std::string place;                    // of the source
  std::string name;                     // that it gets in the target
  std::uint64_t bytes = SizeOf(place);  // 0 where that is not known
};

struct TransferOrder {
  std::vector<TransferItem> items;
  std::uint32_t operation;  // YRAFT_OPERATION_...: what the window calls it
  TransferOptions options;
  std::function<std::unique_ptr<Source>(const std::string& place)> open;
  Target& target;
  Permission& permission;  // that sources and target ask; the transfer gives it
};

// Moves the files and says a line for each. Answers kExitDone when all arrived whole, else
// kExitIncomplete, and shows what failed in a box. An interrupt cancels, as the window's Cancel
// does.
ExitStatus RunTransfer(Session& session, Console& console, const TransferOrder& order);
