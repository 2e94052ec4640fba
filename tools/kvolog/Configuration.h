// The shared configuration file: mapped behind the library's accessors for those who change it,
// read for those who go on while others change, shorten or replace it.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "FileWatch.h"
#include "kvolog.h"

// Maps the configuration until the process ends. Throws Refused.
void MapConfiguration();

// As above, and throws Refused where the process may only read.
void MapConfigurationToChange();

// Throws Refused where an accessor of the library answered that a change was not stored. Whoever
// watches the file hears of one that was.
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
  ConfigurationWatch() { m_file.Watch(KVO_LOG_CONFIG_PATH); }

  // Readable when it may have changed. A process that has it mapped changes it without a sound.
  int event() const { return m_file.fd(); }

  // What it says now; what it last said while the file is missing or damaged. A change counts when
  // two calls in a row see it, since a path is not stored in one piece.
  const LogTarget& Now();
  bool Settled() const { return m_seen == m_target; }
  // When to call Now() again at the latest.
  std::chrono::milliseconds Patience() const {
    return std::chrono::milliseconds(Settled() ? 1000 : 20);
  }

 private:
  FileWatch m_file{IN_MODIFY};
  LogTarget m_seen = StoredTarget();
  LogTarget m_target = m_seen;
};
