#include "PartialFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "Console.h"
#include "FileNames.h"

namespace {

constexpr char kHead[] = ".yraft-";
constexpr char kTail[] = ".part";
constexpr char kResumableHead[] = ".yraft+";  // which nobody removes as left over
constexpr char kMark[] = "user.yraft-host";   // the attribute: a version, and the bytes of it
constexpr int kAttempts = 1000;

std::string OwnHead() { return kHead + std::to_string(getpid()) + '-'; }

// It holds the name that the file is to get, so that a folder that cannot hold that says so now.
std::string TemporaryName(const std::string& name) {
  static unsigned int number = 0;
  const std::string head = OwnHead() + std::to_string(number++) + '-';
  return head + CutName(name, NAME_MAX - head.size() - (sizeof(kTail) - 1)) + kTail;
}

bool IsPartial(std::string_view name, std::string_view head) {
  return name.substr(0, head.size()) == head && name.size() >= sizeof(kTail) &&
         name.substr(name.size() - (sizeof(kTail) - 1)) == kTail;
}

// Calls `remove` for each entry of a folder whose name is that of a partial file.
template <typename Remove>
void ForEachPartial(int folder, const std::string& head, const Remove& remove) {
  DIR* entries = fdopendir(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (entries == nullptr) return;
  while (const dirent* entry = readdir(entries)) {
    if (IsPartial(entry->d_name, head)) remove(entry->d_name);
  }
  closedir(entries);
}

// A toolkit that loses its display ends the process by exit(), from another thread, past every
// destructor. Then what has a name goes by that.
std::atomic<int> g_folder{-1};

void RemoveOwn() {
  const int folder = g_folder;
  if (folder < 0) return;
  ForEachPartial(folder, OwnHead(), [folder](const char* name) { unlinkat(folder, name, 0); });
}

void RemoveOwnAtExit(int folder) {
  static const int registered = std::atexit(RemoveOwn);
  static_cast<void>(registered);
  if (g_folder != folder) g_folder = folder;
}

bool TakesName(int folder, const std::string& name) {
  const std::string temporary = TemporaryName(name);
  const UniqueFd probe(openat(folder, temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600));
  if (probe) unlinkat(folder, temporary.c_str(), 0);
  return static_cast<bool>(probe);
}

// Why the folder did not take the name. Where it takes another, one of the characters is to blame.
Text WhyNot(int folder, const std::string& name, int error) {
  if (TakesName(folder, "x")) {
    for (std::size_t at = 0; at < name.size();) {
      std::size_t length = 1;
      while ((static_cast<unsigned char>(name[at + length]) & 0xC0) == 0x80) ++length;
      const std::string character = name.substr(at, length);
      if (!TakesName(folder, character)) return Say(Said::kNoCharacter, {Printable(character)});
      at += length;
    }
  }
  return Say(Said::kNotCreated, {ErrorText(error)});
}

}  // namespace

PartialFile::PartialFile(int folder, const std::string& name, mode_t mode,
                         const std::string& version)
    : m_folder(folder), m_version(version) {
  const long most = fpathconf(folder, _PC_NAME_MAX);
  if (most > 0 && name.size() > static_cast<std::size_t>(most)) {
    throw FileFailed(Say(Said::kNameTooLong, {std::to_string(most)}));
  }
  if (!version.empty()) {
    const std::string temporary =
        kResumableHead + CutName(name, NAME_MAX - sizeof(kResumableHead) - sizeof(kTail)) + kTail;
    if (Resume(temporary) || (Create(temporary, mode) && Mark(0))) return;
    if (!m_temporary.empty()) unlinkat(folder, temporary.c_str(), 0);
    m_temporary.clear();
    m_version.clear();
  }
  m_fd = UniqueFd(openat(folder, ".", O_WRONLY | O_TMPFILE | O_CLOEXEC, mode));
  if (m_fd && faccessat(AT_FDCWD, "/proc/self/fd", X_OK, 0) == 0) return;
  for (int i = 0; i < kAttempts; ++i) {
    if (Create(TemporaryName(name), mode)) return;
    if (errno != EEXIST) throw FileFailed(WhyNot(folder, name, errno));
  }
  throw FileFailed(Say(Said::kNotCreated, {ErrorText(EEXIST)}));
}

// Whoever removes leftovers may have been faster than the lock; then it is as if it were taken.
bool PartialFile::Create(const std::string& temporary, mode_t mode) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
  RemoveOwnAtExit(m_folder);
  m_fd = UniqueFd(openat(m_folder, temporary.c_str(), kFlags, mode));
  if (!m_fd) return false;
  struct stat status {};
  if (flock(m_fd.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    errno = EEXIST;
    return false;
  }
  if (fstat(m_fd.get(), &status) != 0 || status.st_nlink == 0) {
    errno = EEXIST;
    return false;
  }
  m_temporary = temporary;
  return true;
}

// What a process that is gone has left of the same version goes on, up to where that is on the
// disk; anything else of ours goes.
bool PartialFile::Resume(const std::string& temporary) {
  constexpr int kFlags = O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  UniqueFd left(openat(m_folder, temporary.c_str(), kFlags));
  struct stat status {};
  if (!left || flock(left.get(), LOCK_EX | LOCK_NB) != 0 || fstat(left.get(), &status) != 0 ||
      !S_ISREG(status.st_mode) || status.st_uid != geteuid() || status.st_nlink != 1) {
    return false;
  }
  char mark[64] = "";
  const ssize_t length = fgetxattr(left.get(), kMark, mark, sizeof(mark) - 1);
  const bool same = length > 0 && std::string_view(mark).substr(0, m_version.size()) == m_version;
  const std::uint64_t end = same ? std::strtoull(mark + m_version.size(), nullptr, 10) : 0;
  if (end == 0 || end > static_cast<std::uint64_t>(status.st_size) ||
      ftruncate(left.get(), static_cast<off_t>(end)) != 0) {
    unlinkat(m_folder, temporary.c_str(), 0);
    return false;
  }
  m_fd = std::move(left);
  m_temporary = temporary;
  m_resumed = end;
  return true;
}

bool PartialFile::Mark(std::uint64_t end) {
  const std::string mark = m_version + " " + std::to_string(end);
  return fsetxattr(m_fd.get(), kMark, mark.data(), mark.size(), 0) == 0;
}

// A mark that is not made leaves the one before.
void PartialFile::Keep(std::uint64_t end) {
  if (m_version.empty()) return;
  if (fdatasync(m_fd.get()) != 0) throw FileFailed(Say(Said::kNotWritten, {ErrorText(errno)}));
  Mark(end);
}

PartialFile::~PartialFile() {
  if (!m_temporary.empty() && m_version.empty()) unlinkat(m_folder, m_temporary.c_str(), 0);
}

std::string PartialFile::Publish(const std::string& name) {
  int error = 0;
  if (!m_version.empty()) fremovexattr(m_fd.get(), kMark);
  std::string given = FirstFreeName(name, [this, &error](const std::string& one) {
    error = GiveName(one);
    return error != EEXIST;
  });
  if (error != 0) throw FileFailed(Say(Said::kNotNamed, {ErrorText(error)}));
  m_temporary.clear();
  return given;
}

// Answers 0 or a system error number; EEXIST, and changes nothing, where the name is taken.
int PartialFile::GiveName(const std::string& name) {
  if (m_temporary.empty()) {
    const std::string self = "/proc/self/fd/" + std::to_string(m_fd.get());
    return linkat(AT_FDCWD, self.c_str(), m_folder, name.c_str(), AT_SYMLINK_FOLLOW) == 0 ? 0
                                                                                          : errno;
  }
  const char* old = m_temporary.c_str();
  if (renameat2(m_folder, old, m_folder, name.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // Some file systems know only the rename that replaces. An empty file claims the name first, so
  // what is replaced is ours.
  const UniqueFd claim(
      openat(m_folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!claim) return errno;
  if (renameat(m_folder, old, m_folder, name.c_str()) == 0) return 0;
  const int error = errno;
  unlinkat(m_folder, name.c_str(), 0);
  return error;
}

void RemoveLeftovers(int folder) {
  ForEachPartial(folder, kHead, [folder](const char* name) {
    const UniqueFd left(openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (left && flock(left.get(), LOCK_EX | LOCK_NB) == 0) unlinkat(folder, name, 0);
  });
}
