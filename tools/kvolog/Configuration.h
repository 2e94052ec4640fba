// The shared configuration file behind the library's accessors: mapping it, and saying why not.
#pragma once

#include <sys/types.h>

#include <string>

// Maps the configuration until the process ends. Throws Refused.
void MapConfiguration();

// As above, and throws Refused where the process may only read.
void MapConfigurationToChange();

// What the configuration tells the log service to do.
struct LogTarget {
  std::string path;
  unsigned int size;   // MiB
  unsigned int count;  // of old files
  bool operator==(const LogTarget&) const = default;
};

// What it says now; the configuration is mapped. Numbers out of range are brought into it.
LogTarget StoredTarget();

// Follows what the configuration says while others change or replace the file. The configuration
// is mapped already.
class ConfigurationWatch {
 public:
  ConfigurationWatch();

  // What it says now; what it last said while the file is missing or damaged. A change counts when
  // two calls in a row see it, since a path is not stored in one piece: call it now and then.
  const LogTarget& Now();

 private:
  dev_t m_device = 0;
  ino_t m_inode = 0;
  LogTarget m_seen;
  LogTarget m_target;
};
