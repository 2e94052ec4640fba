#include "LocalSource.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "FileNames.h"

namespace {

bool Same(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

std::string Version(const struct stat& status) {
  std::string version = std::to_string(status.st_ino) + " " + std::to_string(status.st_size);
  for (const timespec& time : {status.st_mtim, status.st_ctim}) {
    version += " " + std::to_string(time.tv_sec) + "." + std::to_string(time.tv_nsec);
  }
  return Digest(version);
}

FileFailed NotOpened() { return FileFailed(Say(Said::kNotOpened, {ErrorText(errno)})); }

}  // namespace

LocalSource::LocalSource(const std::string& path, bool asItIs) : m_asItIs(asItIs) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) throw NotOpened();
  if (S_ISREG(status.st_mode)) {
    // A pipe that took the file's place meanwhile must not hold the open.
    m_fd = UniqueFd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!m_fd || fstat(m_fd.get(), &status) != 0) throw NotOpened();
  }
  if (!S_ISREG(status.st_mode)) throw FileFailed(Say(Said::kNoFile));
  m_info.size = static_cast<std::uint64_t>(status.st_size);
  m_info.mode = status.st_mode & 0777;
  m_info.modified = status.st_mtim;
  m_changed = status.st_ctim;
  if (asItIs && m_info.size > 0) m_info.most = m_info.size;
  if (!asItIs && m_info.size > 0) m_info.version = Version(status);
}

std::size_t LocalSource::Read(unsigned char* bytes, std::size_t length) {
  length = std::min<std::uint64_t>(length, m_info.most - m_read);
  ssize_t got;
  while ((got = read(m_fd.get(), bytes, length)) < 0 && errno == EINTR) {
  }
  if (got < 0) throw FileFailed(Say(Said::kNotRead, {ErrorText(errno)}));
  m_read += static_cast<std::size_t>(got);
  return static_cast<std::size_t>(got);
}

void LocalSource::Seek(std::uint64_t offset) {
  if (lseek(m_fd.get(), static_cast<off_t>(offset), SEEK_SET) < 0) {
    throw FileFailed(Say(Said::kNotRead, {ErrorText(errno)}));
  }
  m_read = offset;
}

void LocalSource::ExpectUnchanged() const {
  struct stat now {};
  if (m_asItIs) return;
  if (fstat(m_fd.get(), &now) != 0 || static_cast<std::uint64_t>(now.st_size) != m_info.size ||
      !Same(now.st_mtim, m_info.modified) || !Same(now.st_ctim, m_changed)) {
    throw FileFailed(Say(Said::kChanged));
  }
}
