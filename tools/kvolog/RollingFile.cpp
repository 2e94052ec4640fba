#include "RollingFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

std::string OldLogFile(const std::string& path, unsigned int number) {
  return number == 0 ? path : path + "." + std::to_string(number);
}

void RollingFile::Use(const std::string& path, std::uint64_t size, unsigned int oldFiles) {
  m_limit = size;
  m_oldFiles = oldFiles;
  if (path == m_path) return;
  Flush();
  m_path = path;
  Reopen();
}

void RollingFile::Reopen() {
  Flush();
  m_fd = UniqueFd();
  Retry();
}

void RollingFile::Retry() {
  m_waiting = false;
  m_rollFailed = false;
  if (!m_fd) Open();
  Flush();
}

void RollingFile::Flush() {
  std::size_t done = 0;
  while (!m_waiting && done < m_buffer.size()) {
    if (!m_fd && !Open()) break;
    const std::size_t fitting = Fitting(done);
    if (fitting == 0) {
      Roll();
    } else {
      done += Write(done, fitting);
    }
  }
  m_buffer.erase(0, done);
  DropExcess();
}

// The length of the whole lines that still fit into the file. A line that no file could hold fits
// into an empty one.
std::size_t RollingFile::Fitting(std::size_t from) const {
  const std::size_t all = m_buffer.size() - from;
  const std::uint64_t room = m_limit - std::min(m_limit, m_size);
  if (!m_regular || m_rollFailed || all <= room) return all;
  const std::string_view fitting(m_buffer.data() + from, room);
  const std::size_t last = fitting.rfind('\n');
  if (last != std::string_view::npos) return last + 1;
  return m_size == 0 ? m_buffer.find('\n', from) + 1 - from : 0;
}

// Answers how much of the buffer is written. Where a write ends within a line, the line's start is
// taken back.
std::size_t RollingFile::Write(std::size_t from, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t n = write(m_fd.get(), m_buffer.data() + from + done, size - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      Fail("write");
      break;
    }
    done += static_cast<std::size_t>(n);
  }
  if (done < size && m_regular && done > 0) {
    const std::size_t whole = std::string_view(m_buffer.data() + from, done).rfind('\n') + 1;
    if (ftruncate(m_fd.get(), static_cast<off_t>(m_size + whole)) == 0) done = whole;
  }
  m_size += done;
  if (done == size && m_failing) {
    m_failing = false;
    m_report("'" + m_path + "' is written again");
  }
  return done;
}

bool RollingFile::Open() {
  if (m_path.empty()) {
    errno = ENOENT;
    return Fail("open");
  }
  std::error_code ignored;  // opening tells
  std::filesystem::create_directories(std::filesystem::path(m_path).parent_path(), ignored);
  // A pipe that nobody reads must not block us.
  constexpr int kFlags = O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  UniqueFd fd(open(m_path.c_str(), kFlags, 0644));
  struct stat status {};
  if (!fd || fstat(fd.get(), &status) != 0) return Fail("open");
  m_fd = std::move(fd);
  m_regular = S_ISREG(status.st_mode);
  m_size = m_regular ? static_cast<std::uint64_t>(status.st_size) : 0;
  EndTornLine();
  return true;
}

// Whoever wrote the file before us may have been cut off within a line.
void RollingFile::EndTornLine() {
  char last = '\n';
  if (!m_regular || m_size == 0) return;
  if (pread(m_fd.get(), &last, 1, static_cast<off_t>(m_size - 1)) != 1 || last == '\n') return;
  if (write(m_fd.get(), "\n", 1) == 1) ++m_size;
}

// Moves every file one number up and leaves the name free. On failure the current file stays.
void RollingFile::Roll() {
  for (unsigned int beyond = m_oldFiles + 1; unlink(OldLogFile(m_path, beyond).c_str()) == 0;)
    ++beyond;
  bool moved = true;
  for (unsigned int number = m_oldFiles; moved && number > 0; --number) {
    moved =
        rename(OldLogFile(m_path, number - 1).c_str(), OldLogFile(m_path, number).c_str()) == 0 ||
        errno == ENOENT;
  }
  if (moved && m_oldFiles == 0) moved = unlink(m_path.c_str()) == 0 || errno == ENOENT;
  if (moved) {
    m_fd = UniqueFd();
  } else if (!m_rollReported) {
    m_report("cannot roll over '" + m_path + "': " + std::strerror(errno) + "; trying again");
  }
  m_rollFailed = m_rollReported = !moved;
}

// Reports the first of a row of failures.
bool RollingFile::Fail(const char* what) {
  const int error = errno;
  m_waiting = true;
  if (!m_failing) {
    m_report(std::string("cannot ") + what + " '" + m_path + "': " + std::strerror(error) +
             "; trying again");
  }
  m_failing = true;
  return false;
}

void RollingFile::DropExcess() {
  if (m_buffer.size() <= kMostWaiting) return;
  const std::size_t kept = m_buffer.rfind('\n', kMostWaiting - 1) + 1;
  m_lost += static_cast<std::uint64_t>(
      std::count(m_buffer.begin() + static_cast<std::ptrdiff_t>(kept), m_buffer.end(), '\n'));
  m_buffer.resize(kept);
}

std::uint64_t RollingFile::TakeLost() { return m_failing ? 0 : std::exchange(m_lost, 0); }

std::uint64_t RollingFile::Unwritten() const {
  return m_lost + static_cast<std::uint64_t>(std::count(m_buffer.begin(), m_buffer.end(), '\n'));
}
