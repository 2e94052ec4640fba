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

// What KvoTraceEntry.S goes by: its numbers, its three steps to the root, that a level can be read
// for any byte, and that a message which is admitted has a level above the one that inherits.
static_assert(KVO_LOG_CLASSES == 201 && KVO_LOG_CLASSES <= 256);
static_assert(offsetof(Mapping, config) + offsetof(KvoLogConfig, levels) == 4);
static_assert(sizeof(KvoLogConfig::levels[0]) == 4 && 4 + 256 * 4 <= 4096);
static_assert(offsetof(Mapping, above) == 4096 && sizeof(AboveTable::value_type) == 256);
static_assert(kMaxSteps == 3);
static_assert(KVO_LOG_INHERIT == 0 && KVO_LOG_VERBOSE == 1);

// Maps the file, which a process of group 0 creates, lengthens and initialises where needed. Where
// that fails nothing is mapped.
void MapConfig();
void UnmapConfig();

// The mapping, or null.
const KvoLogConfig* Config();

}  // namespace kvolog
