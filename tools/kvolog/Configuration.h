// The shared configuration file: mapped behind the library's accessors for those who change it,
// read for those who go on while others change, shorten or replace it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "kvolog.h"

// Maps the configuration until the process ends. Throws Refused.
void MapConfiguration();

// As above, and throws Refused where the process may only read.
void MapConfigurationToChange();

// Throws Refused where an accessor of the library answered that a change was not stored.
void Require(int stored);

// Bits of the flags word that are the log service's.
constexpr std::uint32_t kFlagNoRollover = 0x10000;
constexpr std::uint32_t kFlagCompress = 0x20000;

// What the configuration tells the log service to do.
struct LogTarget {
  std::string path;
  unsigned int size = 0;   // MiB
  unsigned int count = 0;  // of old files
  bool rolls = true;
  bool compresses = false;  // old files
  bool operator==(const LogTarget&) const = default;
};

// The file as it stands, read whole and never mapped. Nothing while it is missing, damaged or no
// regular file.
std::optional<KvoLogConfig> ReadConfiguration(const std::string& path = KVO_LOG_CONFIG_PATH);

// What it tells the log service. Numbers out of range are brought into it.
LogTarget TargetOf(const KvoLogConfig& configuration);

// The same of the file; throws Refused where it cannot be read.
LogTarget StoredTarget();

// Follows what the configuration says.
class ConfigurationWatch {
 public:
  // What it says now; what it last said while the file is missing or damaged. A change counts when
  // two calls in a row see it, since a path is not stored in one piece: call it now and then.
  const LogTarget& Now();

 private:
  LogTarget m_seen = StoredTarget();
  LogTarget m_target = m_seen;
};
