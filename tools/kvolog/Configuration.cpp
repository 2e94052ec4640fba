#include "Configuration.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "Failure.h"
#include "UniqueFd.h"

namespace {

constexpr const char* kPath = KVO_LOG_CONFIG_PATH;

std::string WhyUnmapped() {
  struct stat status {};
  const bool exists = lstat(kPath, &status) == 0;
  const int error = errno;
  if (!exists && error == ENOENT && getgid() != 0) {
    return "it does not exist yet, and only a process of group 0 creates it";
  }
  if (!exists) return std::strerror(error);
  if (!S_ISREG(status.st_mode)) return "it is no regular file";
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

void Require(int stored) {
  if (stored == 0) throw Refused("the logging library refused the change");
  utimensat(AT_FDCWD, kPath, nullptr, AT_SYMLINK_NOFOLLOW);
}

std::optional<KvoLogConfig> ReadConfiguration(const std::string& path) {
  const UniqueFd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
  struct stat status {};
  KvoLogConfig configuration;
  if (!fd || fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
      pread(fd.get(), &configuration, sizeof configuration, 0) != sizeof configuration ||
      configuration.magic != KVO_LOG_CONFIG_MAGIC) {
    return std::nullopt;
  }
  return configuration;
}

LogTarget TargetOf(const KvoLogConfig& configuration) {
  const char* path = configuration.outputPath;
  LogTarget target;
  target.path.assign(path, strnlen(path, sizeof configuration.outputPath));
  target.size =
      std::clamp(configuration.rolloverSize, 1U, std::uint32_t{KVO_LOG_ROLLOVER_SIZE_MAX});
  target.count = std::min(configuration.rolloverCount, KVO_LOG_ROLLOVER_COUNT_MAX);
  target.rolls = (configuration.flags & kFlagNoRollover) == 0;
  target.compresses = (configuration.flags & kFlagCompress) != 0;
  return target;
}

LogTarget StoredTarget() {
  if (const auto configuration = ReadConfiguration()) return TargetOf(*configuration);
  throw Refused(std::string("no logging configuration in ") + kPath + ": " + WhyUnmapped());
}

const LogTarget& ConfigurationWatch::Now() {
  m_file.Clear();
  m_file.Watch(kPath);
  const auto configuration = ReadConfiguration();
  if (!configuration) return m_target;
  const LogTarget stored = TargetOf(*configuration);
  if (std::exchange(m_seen, stored) == stored) m_target = stored;
  return m_target;
}
