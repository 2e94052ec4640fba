#include "FileCopy.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "Console.h"

namespace {

constexpr int kNameAttempts = 10000;

const char* KindOf(mode_t mode) {
  if (S_ISDIR(mode)) return "is a folder";
  if (S_ISFIFO(mode)) return "is a pipe";
  if (S_ISSOCK(mode)) return "is a socket";
  return "is a device";
}

// "name (2).txt" for the second file of that name. Where the number makes it too long for a file
// name, the part before the number gives way, at the border of a character.
std::string Numbered(const std::string& name, int number) {
  if (number == 1) return name;
  const std::string mark = " (" + std::to_string(number) + ")";
  std::size_t dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0 || name.size() - dot > 16) dot = name.size();
  std::size_t stem = dot;
  while (stem > 1 && stem + mark.size() + name.size() - dot > NAME_MAX) {
    --stem;
    while (stem > 1 && (static_cast<unsigned char>(name[stem]) & 0xC0) == 0x80) --stem;
  }
  return name.substr(0, stem) + mark + name.substr(dot);
}

// The one temporary file there is. A toolkit that loses its display ends the process by exit(),
// from another thread, past every destructor; the partial file goes even then.
struct Partial {
  std::atomic<int> folder{-1};
  char name[64];
} g_partial;

void RemovePartialAtExit() {
  const int folder = g_partial.folder.exchange(-1);
  if (folder >= 0) unlinkat(folder, g_partial.name, 0);
}

// A file under a temporary name until it is published.
class Target {
 public:
  explicit Target(int folder) : m_folder(folder) {}
  ~Target() { RemovePartialAtExit(); }
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;

  // The functions answer 0 or a system error number.
  int Create(mode_t mode);
  int Write(const unsigned char* bytes, std::size_t length, std::uint64_t offset);
  int Finish(std::uint64_t size);
  int Publish(const std::string& wanted, std::string& given);

 private:
  int RenameTo(const char* name);

  const int m_folder;
  UniqueFd m_fd;
};

int Target::Create(mode_t mode) {
  static const int registered = std::atexit(RemovePartialAtExit);
  static_cast<void>(registered);
  for (int i = 0; i < kNameAttempts; ++i) {
    std::snprintf(g_partial.name, sizeof(g_partial.name), ".yraft-%d-%d.part", getpid(), i);
    m_fd = UniqueFd(
        openat(m_folder, g_partial.name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode & 0777));
    if (m_fd) {
      g_partial.folder = m_folder;
      return 0;
    }
    if (errno != EEXIST) return errno;
  }
  return EEXIST;
}

int Target::Write(const unsigned char* bytes, std::size_t length, std::uint64_t offset) {
  while (length > 0) {
    const ssize_t written = pwrite(m_fd.get(), bytes, length, static_cast<off_t>(offset));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return errno;
    bytes += written;
    length -= static_cast<std::size_t>(written);
    offset += static_cast<std::uint64_t>(written);
  }
  return 0;
}

// A file system may report a failed write only when the data is forced out or the file closed.
int Target::Finish(std::uint64_t size) {
  if (ftruncate(m_fd.get(), static_cast<off_t>(size)) != 0) return errno;
  if (fsync(m_fd.get()) != 0) return errno;
  return close(m_fd.release()) == 0 ? 0 : errno;
}

int Target::Publish(const std::string& wanted, std::string& given) {
  for (int number = 1; number < kNameAttempts; ++number) {
    given = Numbered(wanted, number);
    const int error = RenameTo(given.c_str());
    if (error == 0) g_partial.folder = -1;
    if (error != EEXIST) return error;
  }
  return EEXIST;
}

// Answers EEXIST, and changes nothing, where the name is taken.
int Target::RenameTo(const char* name) {
  if (renameat2(m_folder, g_partial.name, m_folder, name, RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // Some file systems know only the rename that replaces. An empty file claims the name first, so
  // what is replaced is ours.
  const UniqueFd claim(openat(m_folder, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!claim) return errno;
  if (renameat(m_folder, g_partial.name, m_folder, name) == 0) return 0;
  const int error = errno;
  unlinkat(m_folder, name, 0);
  return error;
}

// Where the next data at or behind `offset` starts; `size` when only a hole is left.
std::uint64_t NextData(const Source& source, std::uint64_t offset) {
  const off_t data = lseek(source.fd.get(), static_cast<off_t>(offset), SEEK_DATA);
  if (data < 0) return errno == ENXIO ? source.size : offset;
  return std::min(static_cast<std::uint64_t>(data), source.size);
}

bool IsUnchanged(const Source& source) {
  struct stat now {};
  return fstat(source.fd.get(), &now) == 0 &&
         static_cast<std::uint64_t>(now.st_size) == source.size &&
         now.st_mtim.tv_sec == source.modified.tv_sec &&
         now.st_mtim.tv_nsec == source.modified.tv_nsec;
}

CopyResult Failed(const std::string& why) { return {CopyResult::Outcome::kFailed, why}; }

CopyResult CopyBlocks(const Source& source, Target& target, std::size_t blockSize,
                      const Checkpoint& checkpoint) {
  std::vector<unsigned char> block(blockSize);
  std::uint64_t offset = 0;
  std::size_t moved = 0;
  while (checkpoint(offset, moved)) {
    if (offset == source.size) return {CopyResult::Outcome::kWhole, {}};
    moved = 0;
    const std::uint64_t data = NextData(source, offset);
    if (data > offset) {
      offset = data;
      continue;
    }
    const std::size_t length = std::min<std::uint64_t>(block.size(), source.size - offset);
    const ssize_t got = pread(source.fd.get(), block.data(), length, static_cast<off_t>(offset));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return Failed("cannot be read: " + ErrorText(errno));
    if (got == 0) return Failed("became shorter while it was copied");
    moved = static_cast<std::size_t>(got);
    if (const int error = target.Write(block.data(), moved, offset)) {
      return Failed("cannot be written: " + ErrorText(error));
    }
    offset += moved;
  }
  return {CopyResult::Outcome::kCancelled, {}};
}

}  // namespace

std::string BaseName(const std::string& path) {
  return path.substr(path.rfind('/') + 1);  // npos + 1 is 0
}

UniqueFd OpenFolder(const std::string& path, std::string& why) {
  UniqueFd folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder && faccessat(folder.get(), ".", W_OK | X_OK, AT_EACCESS) == 0) return folder;
  why = ErrorText(errno);
  return UniqueFd();
}

std::optional<Source> OpenSource(const std::string& path, std::string& why) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    why = "cannot be opened: " + ErrorText(errno);
    return std::nullopt;
  }
  Source source;
  if (S_ISREG(status.st_mode)) {
    // A pipe that took the file's place meanwhile must not hold the open.
    source.fd = UniqueFd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!source.fd || fstat(source.fd.get(), &status) != 0) {
      why = "cannot be opened: " + ErrorText(errno);
      return std::nullopt;
    }
  }
  if (!S_ISREG(status.st_mode)) {
    why = std::string(KindOf(status.st_mode)) + ", not a file";
    return std::nullopt;
  }
  source.size = static_cast<std::uint64_t>(status.st_size);
  source.mode = status.st_mode & 0777;
  source.modified = status.st_mtim;
  return source;
}

CopyResult CopyInto(int folder, const std::string& name, const Source& source,
                    std::size_t blockSize, const Checkpoint& checkpoint) {
  Target target(folder);
  if (const int error = target.Create(source.mode)) {
    return Failed("cannot be created: " + ErrorText(error));
  }
  CopyResult result = CopyBlocks(source, target, blockSize, checkpoint);
  if (result.outcome != CopyResult::Outcome::kWhole) return result;
  if (!IsUnchanged(source)) return Failed("changed while it was copied");
  if (const int error = target.Finish(source.size)) {
    return Failed("cannot be written: " + ErrorText(error));
  }
  if (const int error = target.Publish(name, result.detail)) {
    return Failed("cannot be named: " + ErrorText(error));
  }
  return result;
}
