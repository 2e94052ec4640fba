#include "common/libs/log/KvoLogConfig.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
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
    config.levels[id] = kClasses[id].defaultLevel;
  }
  std::string_view(KVO_LOG_OUTPUT_PATH_DEFAULT).copy(config.outputPath, sizeof(config.outputPath));
  config.rolloverSize = KVO_LOG_ROLLOVER_SIZE_DEFAULT;
  config.rolloverCount = KVO_LOG_ROLLOVER_COUNT_DEFAULT;
  config.magic = KVO_LOG_CONFIG_MAGIC;
  return config;
}

constexpr KvoLogConfig kDefaults = MakeDefaults();

// Its first page is covered by the file's while that is mapped, and is empty else: a line that is
// caught by the shutdown finds no level and no flags there.
constinit Mapping g_mapping{{}, kAbove};
constexpr KvoLogConfig& g_config = g_mapping.config;
bool g_mapped = false;
bool g_writable = false;

// Covers the first page.
bool Cover(int protection, int flags, int fd) {
  return mmap(&g_mapping.config, sizeof(KvoLogConfig), protection, MAP_FIXED | flags, fd, 0) !=
         MAP_FAILED;
}

// Opens what stands at the path, if that is a file: nothing else is touched, followed or waited
// for.
int OpenFile(int flags) {
  const int fd =
      open(KVO_LOG_CONFIG_PATH, flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0664);
  struct stat status;
  if (fd < 0 || (fstat(fd, &status) == 0 && S_ISREG(status.st_mode))) return fd;
  close(fd);
  return -1;
}

bool WriteDefaults(int fd) {
  rlimit limit;  // to write beyond it raises a signal that ends the process
  return getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur >= sizeof(kDefaults) &&
         pwrite(fd, &kDefaults, sizeof(kDefaults), 0) == sizeof(kDefaults);
}

// Gives the file its contents, where it has none, and its length. Written, not stored through the
// mapping: a page for which a full file system has no room can be refused here, but not there.
bool Prepare(int fd) {
  std::uint32_t magic = 0;
  const bool initialised =
      pread(fd, &magic, sizeof(magic), offsetof(KvoLogConfig, magic)) == sizeof(magic) &&
      magic == KVO_LOG_CONFIG_MAGIC;
  return (initialised || WriteDefaults(fd)) && ftruncate(fd, sizeof(KvoLogConfig)) == 0;
}

// Behind the end of a file, or in a hole that cannot be filled, a mapping faults when it is read.
bool HoldsConfig(int fd) {
  return lseek(fd, 0, SEEK_HOLE) >= static_cast<off_t>(sizeof(KvoLogConfig));
}

bool Writable() { return g_mapped && g_writable; }

bool Known(unsigned int classId) { return g_mapped && classId < KVO_LOG_CLASSES; }

// Words of the file are read and written whole, whatever other processes do meanwhile.
std::uint32_t Load(const std::uint32_t& word) { return __atomic_load_n(&word, __ATOMIC_RELAXED); }
void Store(std::uint32_t& word, std::uint32_t value) {
  __atomic_store_n(&word, value, __ATOMIC_RELAXED);
}

}  // namespace

void MapConfig() {
  g_writable = getgid() == 0;
  const mode_t mask = g_writable ? umask(0) : 0;
  const int fd = OpenFile(g_writable ? O_RDWR | O_CREAT : O_RDONLY);
  if (g_writable) umask(mask);
  if (fd < 0) return;
  g_mapped = (!g_writable || Prepare(fd)) && HoldsConfig(fd) &&
             Cover(g_writable ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED, fd);
  close(fd);
}

void UnmapConfig() {
  g_mapped = false;
  Cover(PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1);
}

const KvoLogConfig* Config() { return g_mapped ? &g_config : nullptr; }

}  // namespace kvolog

using namespace kvolog;  // NOLINT: the interface's side of the file

// ---- Classes and levels ------------------------------------------------------------------------

unsigned int KvoLogGetWorkingLevel(unsigned int classId) {
  return Known(classId) ? WorkingLevel(g_config, classId) : KVO_LOG_UNKNOWN;
}

int KvoLogSetCurrentLevel(unsigned int classId, unsigned int level) {
  if (!Writable() || !Known(classId) || level >= KVO_LOG_LEVELS) return 0;
  Store(g_config.levels[classId], level);
  return 1;
}

unsigned int KvoLogGetCurrentLevel(unsigned int classId) {
  return Known(classId) ? Load(g_config.levels[classId]) : KVO_LOG_UNKNOWN;
}

unsigned int KvoLogGetDefaultLevel(unsigned int classId) {
  return Known(classId) ? kDefaults.levels[classId] : KVO_LOG_UNKNOWN;
}

unsigned int KvoLogGetParent(unsigned int classId) {
  return Known(classId) ? static_cast<unsigned int>(kClasses[classId].parent) : KVO_LOG_UNKNOWN;
}

const char* KvoLogGetClassName(unsigned int classId) {
  return Known(classId) ? kClasses[classId].name : nullptr;
}

const char* KvoLogGetClassDisplayName(unsigned int classId) {
  return Known(classId) ? kClasses[classId].displayName : nullptr;
}

const char* KvoLogGetLevelName(unsigned int level) {
  return g_mapped && level < KVO_LOG_LEVELS ? kLevels[level].name : nullptr;
}

const char* KvoLogGetLevelDisplayName(unsigned int level) {
  return g_mapped && level < KVO_LOG_LEVELS ? kLevels[level].displayName : nullptr;
}

// ---- Flags -------------------------------------------------------------------------------------

int KvoLogEnableFlags(unsigned int bits) {
  if (!Writable()) return 0;
  __atomic_fetch_or(&g_config.flags, bits, __ATOMIC_RELAXED);
  return 1;
}

int KvoLogDisableFlags(unsigned int bits) {
  if (!Writable()) return 0;
  __atomic_fetch_and(&g_config.flags, ~bits, __ATOMIC_RELAXED);
  return 1;
}

int KvoLogGetCurrentFlags(unsigned int* pFlags) {
  if (!g_mapped || pFlags == nullptr) return 0;
  *pFlags = Load(g_config.flags);
  return 1;
}

int KvoLogGetDefaultFlags(unsigned int* pFlags) {
  if (!g_mapped || pFlags == nullptr) return 0;
  *pFlags = kDefaults.flags;
  return 1;
}

// ---- What the log service is to do -------------------------------------------------------------

int KvoLogSetOutputPath(const char* path) {
  if (!Writable() || path == nullptr) return 0;
  const std::size_t length = strnlen(path, sizeof(g_config.outputPath));
  if (length == sizeof(g_config.outputPath)) return 0;
  std::memcpy(g_config.outputPath, path, length);
  std::memset(g_config.outputPath + length, 0, sizeof(g_config.outputPath) - length);
  return 1;
}

const char* KvoLogGetOutputPath() { return g_mapped ? g_config.outputPath : nullptr; }

int KvoLogSetRolloverSize(int size) {
  if (!Writable() || size < 1 || size > KVO_LOG_ROLLOVER_SIZE_MAX) return 0;
  Store(g_config.rolloverSize, static_cast<std::uint32_t>(size));
  return 1;
}

unsigned int KvoLogGetRolloverSize() {
  return g_mapped ? Load(g_config.rolloverSize) : KVO_LOG_UNKNOWN;
}

int KvoLogSetRolloverCount(unsigned int count) {
  if (!Writable() || count > KVO_LOG_ROLLOVER_COUNT_MAX) return 0;
  Store(g_config.rolloverCount, count);
  return 1;
}

unsigned int KvoLogGetRolloverCount() {
  return g_mapped ? Load(g_config.rolloverCount) : KVO_LOG_UNKNOWN;
}
