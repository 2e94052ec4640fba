#include "LogFollower.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "RollingFile.h"
#include "kvolog.h"

namespace {

constexpr std::size_t kBlock = std::size_t{64} << 10;
constexpr std::size_t kLongest = std::size_t{1} << 20;  // a longer line is no log's; it is cut

UniqueFd OpenToRead(const std::string& path) {
  return UniqueFd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
}

off_t SizeOf(int fd) {
  struct stat status {};
  return fstat(fd, &status) == 0 ? status.st_size : 0;
}

bool SameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Hands over what follows the last line feed before `end`, then the lines before it, the last one
// first, until `line` answers false.
void Backwards(int fd, off_t end, const LogFollower::Admits& line) {
  std::string text;
  while (end > 0) {
    std::string block(static_cast<std::size_t>(std::min(end, static_cast<off_t>(kBlock))), '\0');
    end -= static_cast<off_t>(block.size());
    const ssize_t n = pread(fd, block.data(), block.size(), end);
    if (n != static_cast<ssize_t>(block.size())) return;  // it has been cut short meanwhile
    text.insert(0, block);
    for (std::size_t feed; (feed = text.rfind('\n')) != std::string::npos; text.resize(feed)) {
      if (!line(std::string_view(text).substr(feed + 1))) return;
    }
    if (text.size() > kLongest) text.clear();
  }
  line(text);
}

// Adds lines of one file, the last one first. Answers the length of its unfinished line.
std::size_t Collect(int fd, off_t end, std::size_t count, const LogFollower::Admits& admits,
                    std::vector<std::string>* lines) {
  std::optional<std::size_t> unfinished;
  Backwards(fd, end, [&](std::string_view line) {
    if (!unfinished) {
      unfinished = line.size();
    } else if (admits(line)) {
      lines->emplace_back(line);
    }
    return lines->size() < count;
  });
  return unfinished.value_or(0);
}

}  // namespace

bool LogFollower::Open() {
  if (!m_fd) Adopt(OpenToRead(m_path), 0);
  return static_cast<bool>(m_fd);
}

void LogFollower::Adopt(UniqueFd fd, off_t offset) {
  m_fd = std::move(fd);
  m_offset = offset;
  m_partial.clear();
}

std::vector<std::string> LogFollower::Last(std::size_t count, const Admits& admits) {
  std::vector<std::string> lines;
  if (!Open()) return lines;
  struct stat last {};
  fstat(m_fd.get(), &last);
  const std::size_t unfinished = Collect(m_fd.get(), last.st_size, count, admits, &lines);
  m_offset = last.st_size - static_cast<off_t>(unfinished);
  for (unsigned int number = 1; lines.size() < count; ++number) {
    const UniqueFd fd = OpenToRead(OldLogFile(m_path, number));
    struct stat status {};
    if (!fd || fstat(fd.get(), &status) != 0) break;
    if (SameFile(status, last)) continue;  // it has just been moved here
    last = status;
    Collect(fd.get(), status.st_size, count, admits, &lines);
  }
  std::reverse(lines.begin(), lines.end());
  return lines;
}

void LogFollower::Read(const Sink& sink) {
  if (!Open() && m_nextPath.empty()) return;
  do {
    ReadToEnd(sink);
  } while (OpenNext(sink));
  if (m_nextPath.empty()) return;
  UniqueFd next = OpenToRead(m_nextPath);
  const off_t size = next ? SizeOf(next.get()) : 0;
  if (size == m_nextOffset) return;
  ReadToEnd(sink);
  m_path = std::exchange(m_nextPath, std::string());
  Adopt(std::move(next), std::min(m_nextOffset, size));
  ReadToEnd(sink);
}

void LogFollower::GoOnIn(const std::string& path) {
  const UniqueFd fd = OpenToRead(path);
  m_nextPath = path == m_path ? std::string() : path;
  m_nextOffset = fd ? SizeOf(fd.get()) : 0;
}

void LogFollower::ReadToEnd(const Sink& sink) {
  if (!m_fd) return;
  if (const off_t size = SizeOf(m_fd.get()); size < m_offset) {
    // An unfinished line was taken back, or somebody emptied the file.
    const off_t finished = m_offset - static_cast<off_t>(m_partial.size());
    m_offset = size >= finished ? finished : 0;
    m_partial.clear();
  }
  std::string block(kBlock, '\0');
  for (ssize_t n; (n = pread(m_fd.get(), block.data(), block.size(), m_offset)) > 0;) {
    m_offset += n;
    m_partial.append(block, 0, static_cast<std::size_t>(n));
    std::size_t start = 0;
    for (std::size_t feed; (feed = m_partial.find('\n', start)) != std::string::npos;) {
      sink(std::string_view(m_partial).substr(start, feed - start));
      start = feed + 1;
    }
    m_partial.erase(0, start);
    if (m_partial.size() > kLongest) m_partial.clear();
  }
}

// Once another file has our file's name, ours was written to its end: reads that and goes on with
// the file that follows ours. Ours may be "log.3" by now, and then "log.2" follows. Answers false
// when there is none.
bool LogFollower::OpenNext(const Sink& sink) {
  for (std::optional<unsigned int> number; (number = NumberOfOurs()) != 0U;) {
    UniqueFd next = OpenToRead(OldLogFile(m_path, number.value_or(1) - 1));
    if (!next) return false;
    if (NumberOfOurs() != number) continue;  // rolled over again between the two
    ReadToEnd(sink);
    Adopt(std::move(next), 0);
    return true;
  }
  return false;
}

// Which old file ours is, 0 if it is the current one. Nothing when it is gone.
std::optional<unsigned int> LogFollower::NumberOfOurs() const {
  struct stat ours {};
  struct stat other {};
  if (!m_fd || fstat(m_fd.get(), &ours) != 0) return std::nullopt;
  for (unsigned int number = 0; number <= KVO_LOG_ROLLOVER_COUNT_MAX; ++number) {
    const bool exists = stat(OldLogFile(m_path, number).c_str(), &other) == 0;
    if (exists && SameFile(ours, other)) return number;
    if (!exists && number > 0) break;
  }
  return std::nullopt;
}
