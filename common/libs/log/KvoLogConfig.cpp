#include "common/libs/log/KvoLogConfig.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "common/libs/log/KvoTrace.h"

namespace kvolog {

namespace {

constexpr KvoLogConfig MakeDefaults() {
  KvoLogConfig config{};
  config.flags = 0x627;
  for (unsigned int id = 0; id < KVO_LOG_CLASSES; ++id) {
    config.levels[id] = kClasses.defaultLevels[id];
  }
  std::string_view(KVO_LOG_OUTPUT_PATH_DEFAULT).copy(config.outputPath, sizeof(config.outputPath));
  config.rolloverSize = KVO_LOG_ROLLOVER_SIZE_DEFAULT;
  config.rolloverCount = KVO_LOG_ROLLOVER_COUNT_DEFAULT;
  config.magic = KVO_LOG_CONFIG_MAGIC;
  return config;
}

constexpr KvoLogConfig kDefaults = MakeDefaults();
constexpr AboveTable kAbove = MakeAbove();

KvoLogConfig* g_config = nullptr;
bool g_writable = false;

// Opening something that is no file must not wait for whoever has its other end.
constexpr int kOpenFlags = O_CLOEXEC | O_NONBLOCK;

int OpenForWriting() {
  const mode_t old = umask(0);
  const int fd = open(KVO_LOG_CONFIG_PATH, O_RDWR | O_CREAT | kOpenFlags, 0664);
  umask(old);
  if (fd >= 0 && ftruncate(fd, sizeof(KvoLogConfig)) != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

// A mapping behind the end of a file faults when it is read.
bool HoldsConfig(int fd) {
  struct stat status;
  return fstat(fd, &status) == 0 && S_ISREG(status.st_mode) &&
         status.st_size >= static_cast<off_t>(sizeof(KvoLogConfig));
}

// Answers null where the file cannot be mapped.
KvoLogConfig* Map(int fd, int protection) {
  if (!HoldsConfig(fd)) return nullptr;
  void* pPages =
      mmap(nullptr, sizeof(Mapping), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (pPages == MAP_FAILED) return nullptr;
  auto* pMapping = static_cast<Mapping*>(pPages);
  pMapping->above = kAbove;
  if (mmap(&pMapping->config, sizeof(KvoLogConfig), protection, MAP_SHARED | MAP_FIXED, fd, 0) ==
      MAP_FAILED) {
    munmap(pPages, sizeof(Mapping));
    return nullptr;
  }
  return &pMapping->config;
}

// The configuration where this process may change it, else null.
KvoLogConfig* Writable() { return g_writable ? g_config : nullptr; }

bool Known(unsigned int classId) { return g_config != nullptr && classId < KVO_LOG_CLASSES; }

// Words of the file are read and written whole, whatever other processes do meanwhile.
std::uint32_t Load(const std::uint32_t& word) { return __atomic_load_n(&word, __ATOMIC_RELAXED); }
void Store(std::uint32_t& word, std::uint32_t value) {
  __atomic_store_n(&word, value, __ATOMIC_RELAXED);
}

}  // namespace

void MapConfig() {
  g_writable = getgid() == 0;
  const int fd = g_writable ? OpenForWriting() : open(KVO_LOG_CONFIG_PATH, O_RDONLY | kOpenFlags);
  if (fd < 0) return;
  g_config = Map(fd, g_writable ? PROT_READ | PROT_WRITE : PROT_READ);
  close(fd);
  if (Writable() != nullptr && Load(g_config->magic) != KVO_LOG_CONFIG_MAGIC) *g_config = kDefaults;
}

void UnmapConfig() {
  if (g_config == nullptr) return;
  KvoLogConfig* pConfig = g_config;
  g_config = nullptr;
  munmap(pConfig, sizeof(Mapping));
}

const KvoLogConfig* Config() { return g_config; }

}  // namespace kvolog

using namespace kvolog;  // NOLINT: the interface's side of the file

// ---- Classes and levels ------------------------------------------------------------------------

unsigned int KvoLogGetWorkingLevel(unsigned int classId) {
  return Known(classId) ? WorkingLevel(*g_config, classId) : KVO_LOG_UNKNOWN;
}

int KvoLogSetCurrentLevel(unsigned int classId, unsigned int level) {
  if (Writable() == nullptr || !Known(classId) || level >= KVO_LOG_LEVELS) return 0;
  Store(g_config->levels[classId], level);
  return 1;
}

unsigned int KvoLogGetCurrentLevel(unsigned int classId) {
  return Known(classId) ? Load(g_config->levels[classId]) : KVO_LOG_UNKNOWN;
}

unsigned int KvoLogGetDefaultLevel(unsigned int classId) {
  return Known(classId) ? kDefaults.levels[classId] : KVO_LOG_UNKNOWN;
}

unsigned int KvoLogGetParent(unsigned int classId) {
  return Known(classId) ? static_cast<unsigned int>(kClasses.rows[classId].parent)
                        : KVO_LOG_UNKNOWN;
}

const char* KvoLogGetClassName(unsigned int classId) {
  return Known(classId) ? kClasses.rows[classId].name : nullptr;
}

const char* KvoLogGetClassDisplayName(unsigned int classId) {
  return Known(classId) ? kClasses.rows[classId].displayName : nullptr;
}

const char* KvoLogGetLevelName(unsigned int level) {
  return g_config != nullptr && level < KVO_LOG_LEVELS ? kLevels[level].name : nullptr;
}

const char* KvoLogGetLevelDisplayName(unsigned int level) {
  return g_config != nullptr && level < KVO_LOG_LEVELS ? kLevels[level].displayName : nullptr;
}

// ---- Flags -------------------------------------------------------------------------------------

int KvoLogEnableFlags(unsigned int bits) {
  if (Writable() == nullptr) return 0;
  __atomic_fetch_or(&g_config->flags, bits, __ATOMIC_RELAXED);
  return 1;
}

int KvoLogDisableFlags(unsigned int bits) {
  if (Writable() == nullptr) return 0;
  __atomic_fetch_and(&g_config->flags, ~bits, __ATOMIC_RELAXED);
  return 1;
}

int KvoLogGetCurrentFlags(unsigned int* pFlags) {
  if (g_config == nullptr || pFlags == nullptr) return 0;
  *pFlags = Load(g_config->flags);
  return 1;
}

int KvoLogGetDefaultFlags(unsigned int* pFlags) {
  if (g_config == nullptr || pFlags == nullptr) return 0;
  *pFlags = kDefaults.flags;
  return 1;
}

// ---- What the log service is to do -------------------------------------------------------------

int KvoLogSetOutputPath(const char* path) {
  if (Writable() == nullptr || path == nullptr) return 0;
  const std::size_t length = strnlen(path, sizeof(g_config->outputPath));
  if (length == sizeof(g_config->outputPath)) return 0;
  std::memcpy(g_config->outputPath, path, length);
  std::memset(g_config->outputPath + length, 0, sizeof(g_config->outputPath) - length);
  return 1;
}

const char* KvoLogGetOutputPath() { return g_config != nullptr ? g_config->outputPath : nullptr; }

int KvoLogSetRolloverSize(int size) {
  if (Writable() == nullptr || size < 1 || size > KVO_LOG_ROLLOVER_SIZE_MAX) return 0;
  Store(g_config->rolloverSize, static_cast<std::uint32_t>(size));
  return 1;
}

unsigned int KvoLogGetRolloverSize() {
  return g_config != nullptr ? Load(g_config->rolloverSize) : KVO_LOG_UNKNOWN;
}

int KvoLogSetRolloverCount(unsigned int count) {
  if (Writable() == nullptr || count > KVO_LOG_ROLLOVER_COUNT_MAX) return 0;
  Store(g_config->rolloverCount, count);
  return 1;
}

unsigned int KvoLogGetRolloverCount() {
  return g_config != nullptr ? Load(g_config->rolloverCount) : KVO_LOG_UNKNOWN;
}
