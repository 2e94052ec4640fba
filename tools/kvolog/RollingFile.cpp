#include "RollingFile.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <vector>

namespace {

constexpr const char* kCompressed = ".gz";
constexpr const char* kReaders = "adm";  // the group that reads the system's logs

// Where the sandbox forbids it, the folder has given its group already.
void GiveToGroup(int fd, gid_t group) {
  if (fchown(fd, static_cast<uid_t>(-1), group) != 0) errno = 0;
}

// Opens a file that is there, or makes one. A pipe that nobody reads must not block us.
UniqueFd OpenLog(const std::string& path) {
  constexpr int kFlags = O_RDWR | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW;
  UniqueFd fd(open(path.c_str(), kFlags));
  struct stat status {};
  if (fd && fstat(fd.get(), &status) == 0 && !S_ISREG(status.st_mode)) {
    errno = EINVAL;
    return UniqueFd();
  }
  if (fd || errno != ENOENT) return fd;
  std::error_code ignored;  // opening tells
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
  fd = UniqueFd(open(path.c_str(), kFlags | O_CREAT | O_EXCL, 0640));
  const group* readers = getgrnam(kReaders);
  if (fd && readers != nullptr) GiveToGroup(fd.get(), readers->gr_gid);
  return fd;
}

const char* WhyNot(int error) {
  if (error == EINVAL) return "it is no regular file";
  return error == ELOOP ? "it is a symbolic link" : std::strerror(error);
}

// Moves an old file, compressed or not, or removes it. Answers false when it cannot be done.
bool Shift(const std::string& path, unsigned int number, bool removes) {
  return std::ranges::all_of(std::array{"", kCompressed}, [&](const char* end) {
    if (number == 0 && end == kCompressed) return true;  // nobody's
    const std::string from = OldLogFile(path, number) + end;
    const std::string to = OldLogFile(path, number + 1) + end;
    return (removes ? unlink(from.c_str()) : rename(from.c_str(), to.c_str())) == 0 ||
           errno == ENOENT;
  });
}

// Writes what a file holds into a compressed one, unless it is told to stop. Answers whether it is
// done.
bool PackFile(const std::stop_token& stop, const UniqueFd& from, const std::string& path) {
  setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), 10);
  struct stat status {};
  UniqueFd to(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0640));
  if (!to || fstat(from.get(), &status) != 0) return false;
  GiveToGroup(to.get(), status.st_gid);
  const gzFile packed = gzdopen(to.get(), "wb");
  if (packed == nullptr) return false;
  to.release();
  std::vector<char> block(std::size_t{256} << 10);
  ssize_t n = 0;
  bool fine = true;
  while (fine && (n = read(from.get(), block.data(), block.size())) > 0) {
    fine = !stop.stop_requested() && gzwrite(packed, block.data(), static_cast<unsigned>(n)) == n;
  }
  return gzclose(packed) == Z_OK && fine && n == 0;
}

UniqueFd OpenOld(const std::string& path, struct stat* status) {
  UniqueFd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  const bool regular = fd && fstat(fd.get(), status) == 0 && S_ISREG(status->st_mode);
  return regular ? std::move(fd) : UniqueFd();
}

}  // namespace

std::string OldLogFile(const std::string& path, unsigned int number) {
  return number == 0 ? path : path + "." + std::to_string(number);
}

void RollingFile::Use(const LogTarget& target) {
  if (target == m_target) return;
  if (target.path != m_target.path) StopPacking();
  const LogTarget old = std::exchange(m_target, target);
  if (target.path != old.path) return Reopen();
  // Files beyond are somebody else's.
  for (unsigned int number = target.count + 1; number <= old.count; ++number) {
    Shift(target.path, number, true);
  }
}

void RollingFile::Reopen() {
  m_fd = UniqueFd();
  m_nameless = false;
  Open();
}

RollingFile::~RollingFile() { StopPacking(); }

void RollingFile::StopPacking() {
  if (!m_packing.joinable()) return;
  m_packing = {};
  unlink(Unfinished().c_str());
}

bool RollingFile::Check() {
  Pack();
  m_rollFailed = false;
  struct stat named {};
  struct stat ours {};
  if (!m_fd || fstat(m_fd.get(), &ours) != 0) return !Open();
  m_size = static_cast<std::uint64_t>(ours.st_size);  // somebody may have emptied it
  const bool nameless = lstat(m_target.path.c_str(), &named) != 0 || named.st_dev != ours.st_dev ||
                        named.st_ino != ours.st_ino;
  if (std::exchange(m_nameless, nameless) && nameless) Reopen();
  return !m_fd || m_nameless || m_packing.joinable();
}

std::size_t RollingFile::Append(std::string_view lines) {
  std::size_t done = 0;
  while (done < lines.size()) {
    if (!m_fd && !Open()) break;
    const std::string_view fitting = lines.substr(done, Fitting(lines.substr(done)));
    if (fitting.empty()) {
      Roll();
      continue;
    }
    const std::size_t written = Write(fitting);
    done += written;
    if (written < fitting.size()) break;
  }
  return done;
}

// The length of the lines that still fit into the file. A line that no file could hold fits into an
// empty one.
std::size_t RollingFile::Fitting(std::string_view lines) const {
  const std::uint64_t limit = std::uint64_t{m_target.size} << 20;
  const std::uint64_t room = limit - std::min(limit, m_size);
  if (!m_target.rolls || m_rollFailed || lines.size() <= room) return lines.size();
  const std::size_t last = lines.substr(0, room).rfind('\n');
  if (last != std::string_view::npos) return last + 1;
  return m_size == 0 ? lines.find('\n') + 1 : 0;
}

// Answers how much is written. Where a write ends within a line, the line's start is taken back.
std::size_t RollingFile::Write(std::string_view lines) {
  std::size_t done = 0;
  while (done < lines.size()) {
    const ssize_t n = write(m_fd.get(), lines.data() + done, lines.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      Fail("write");
      break;
    }
    done += static_cast<std::size_t>(n);
  }
  if (done < lines.size() && done > 0) {
    const std::size_t whole = lines.substr(0, done).rfind('\n') + 1;
    if (ftruncate(m_fd.get(), static_cast<off_t>(m_size + whole)) == 0) done = whole;
  }
  m_size += done;
  if (done == lines.size() && std::exchange(m_failing, false)) {
    m_report("'" + m_target.path + "' is written again");
  }
  return done;
}

bool RollingFile::Open() {
  m_fd = OpenLog(m_target.path);
  struct stat status {};
  if (!m_fd || fstat(m_fd.get(), &status) != 0) return Fail("open");
  m_size = static_cast<std::uint64_t>(status.st_size);
  EndTornLine();
  return true;
}

// Whoever wrote the file before us may have been cut off within a line.
void RollingFile::EndTornLine() {
  char last = '\n';
  if (m_size == 0) return;
  if (pread(m_fd.get(), &last, 1, static_cast<off_t>(m_size - 1)) != 1 || last == '\n') return;
  if (write(m_fd.get(), "\n", 1) == 1) ++m_size;
}

// Moves every file one number up and leaves the name free. On failure the current file stays.
void RollingFile::Roll() {
  bool moved = true;
  for (unsigned int number = m_target.count + 1; moved && number-- > 0;) {
    moved = Shift(m_target.path, number, number == m_target.count);
  }
  if (moved) {
    m_fd = UniqueFd();
  } else if (!m_rollReported) {
    m_report("cannot roll over '" + m_target.path + "': " + std::strerror(errno) +
             "; trying again");
  }
  m_rollFailed = m_rollReported = !moved;
}

// Starts to compress the first old file that is not, and finishes what was started before.
void RollingFile::Pack() {
  if (m_packing.joinable()) {
    if (!m_packed) return;
    m_packing = {};
    NamePacked();
  }
  struct stat status {};
  for (unsigned int number = 1; m_target.compresses && number <= m_target.count; ++number) {
    UniqueFd fd = OpenOld(OldLogFile(m_target.path, number), &status);
    if (!fd) continue;
    m_packedInode = status.st_ino;
    m_packed = false;
    unlink(Unfinished().c_str());
    m_packing = std::jthread(
        [this, from = std::move(fd), path = Unfinished()](const std::stop_token& stop) {
          if (!PackFile(stop, from, path)) unlink(path.c_str());
          m_packed = true;
        });
    return;
  }
}

// The compressed file takes the place of what it holds; of that, nothing may be left by now.
void RollingFile::NamePacked() {
  struct stat status {};
  for (unsigned int number = 1; number <= m_target.count; ++number) {
    const std::string old = OldLogFile(m_target.path, number);
    if (!OpenOld(old, &status) || status.st_ino != m_packedInode) continue;
    if (rename(Unfinished().c_str(), (old + kCompressed).c_str()) == 0) unlink(old.c_str());
  }
  unlink(Unfinished().c_str());
}

// Reports the first of a row of failures.
bool RollingFile::Fail(const char* what) {
  if (!std::exchange(m_failing, true)) {
    m_report(std::string("cannot ") + what + " '" + m_target.path + "': " + WhyNot(errno) +
             "; trying again");
  }
  return false;
}
