#include "Configuration.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "Failure.h"
#include "kvolog.h"

namespace {

constexpr const char* kPath = KVO_LOG_CONFIG_PATH;

bool WholeFile(struct stat* status) {
  return stat(kPath, status) == 0 && status->st_size >= static_cast<off_t>(sizeof(KvoLogConfig));
}

std::string WhyUnmapped() {
  struct stat status {};
  const bool exists = stat(kPath, &status) == 0;
  const int error = errno;
  if (!exists && error == ENOENT && getgid() != 0) {
    return "it does not exist yet, and only a process of group 0 creates it";
  }
  if (!exists) return std::strerror(error);
  if (status.st_size < static_cast<off_t>(sizeof(KvoLogConfig))) {
    return "it is too short, and only a process of group 0 repairs it";
  }
  return access(kPath, R_OK) != 0 ? std::strerror(errno) : "it cannot be mapped";
}

}  // namespace

void MapConfiguration() {
  if (KvoLogInitConfigOnly() != 0) return;
  throw Refused(std::string("no logging configuration in ") + kPath + ": " + WhyUnmapped());
}

void MapConfigurationToChange() {
  MapConfiguration();
  if (getgid() == 0) return;
  throw Refused(
      "only a process of group 0 may change the logging configuration; the group of this "
      "one is " +
      std::to_string(getgid()));
}

LogTarget StoredTarget() {
  LogTarget target;
  const char* path = KvoLogGetOutputPath();
  target.path.assign(path, strnlen(path, sizeof(KvoLogConfig::outputPath)));
  target.size = std::clamp(KvoLogGetRolloverSize(), 1U, unsigned{KVO_LOG_ROLLOVER_SIZE_MAX});
  target.count = std::min(KvoLogGetRolloverCount(), KVO_LOG_ROLLOVER_COUNT_MAX);
  return target;
}

ConfigurationWatch::ConfigurationWatch() {
  struct stat status {};
  if (WholeFile(&status)) {
    m_device = status.st_dev;
    m_inode = status.st_ino;
  }
  m_seen = m_target = StoredTarget();
}

const LogTarget& ConfigurationWatch::Now() {
  struct stat status {};
  // A page of a file that was cut short must not be touched.
  if (!WholeFile(&status)) return m_target;
  if (status.st_dev != m_device || status.st_ino != m_inode) {
    m_device = status.st_dev;
    m_inode = status.st_ino;
    KvoLogShutdown();
    if (KvoLogInitConfigOnly() == 0) m_device = 0;  // the next call tries again
  }
  if (m_device == 0) return m_target;
  const LogTarget stored = StoredTarget();
  if (std::exchange(m_seen, stored) == stored) m_target = stored;
  return m_target;
}
