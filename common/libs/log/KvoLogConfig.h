// The shared configuration file, mapped by every process of the agent. Processes of group 0 may
// write into it, all others only read.
#pragma once

#include "common/libs/log/KvoLogClasses.h"
#include "kvolog.h"

namespace kvolog {

// The file as it stands in memory, and on the next page the tree of the classes, so that one
// pointer leads to all that decides about a line.
struct Mapping {
  alignas(4096) KvoLogConfig config;
  alignas(4096) AboveTable above;
};

// Maps the file, which a process of group 0 creates, lengthens and initialises where needed. Where
// that fails nothing is mapped.
void MapConfig();
void UnmapConfig();

// The mapping, or null.
const KvoLogConfig* Config();

}  // namespace kvolog
