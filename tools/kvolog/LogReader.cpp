#include "LogReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "LogLine.h"
#include "RollingFile.h"
#include "Times.h"
#include "kvolog.h"

namespace {

constexpr std::size_t kBlock = std::size_t{256} << 10;
constexpr std::size_t kLongest = std::size_t{1} << 20;  // a longer line is no log's; it is left out
constexpr std::size_t kMostParts = 128;
constexpr int kMostAttempts = 256;
constexpr std::int64_t kOverlap = 2000000;  // microseconds that lines may be out of their order

UniqueFd OpenToRead(const std::string& path) {
  UniqueFd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  struct stat status {};
  if (fd && fstat(fd.get(), &status) == 0 && S_ISDIR(status.st_mode)) {
    errno = EISDIR;
    return UniqueFd();
  }
  return fd;
}

off_t SizeOf(int fd) {
  struct stat status {};
  return fstat(fd, &status) == 0 ? status.st_size : 0;
}

bool SameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// What a compressed file holds, in a file without a name.
UniqueFd Unpacked(UniqueFd packed) {
  UniqueFd plain(open("/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
  const gzFile reader = gzdopen(packed.get(), "rb");
  if (!plain || reader == nullptr) return UniqueFd();
  packed.release();
  std::vector<char> block(kBlock);
  int n = 0;
  while ((n = gzread(reader, block.data(), static_cast<unsigned>(block.size()))) > 0) {
    if (write(plain.get(), block.data(), static_cast<std::size_t>(n)) != n) break;
  }
  gzclose(reader);
  return n == 0 ? std::move(plain) : UniqueFd();
}

UniqueFd OpenPart(const std::string& path, bool* packed) {
  UniqueFd fd = OpenToRead(path);
  unsigned char magic[2] = {};
  *packed = fd && pread(fd.get(), magic, 2, 0) == 2 && magic[0] == 0x1f && magic[1] == 0x8b;
  return *packed ? Unpacked(std::move(fd)) : std::move(fd);
}

// Where the last lines start that are admitted, or 0 where there are not so many. Takes those that
// there are off `count`.
off_t StartOfLast(int fd, std::size_t* count, const LogReader::Admits& admits) {
  std::string text;
  bool finished = false;  // of a line that is being written nothing is known
  off_t end = SizeOf(fd);
  while (end > 0) {
    std::string block(static_cast<std::size_t>(std::min(end, off_t{kBlock})), '\0');
    end -= static_cast<off_t>(block.size());
    const ssize_t n = pread(fd, block.data(), block.size(), end);
    if (n != static_cast<ssize_t>(block.size())) return end;  // it has been cut short meanwhile
    text.insert(0, block);
    for (std::size_t feed; (feed = text.rfind('\n')) != std::string::npos; text.resize(feed)) {
      const bool counts =
          std::exchange(finished, true) && admits(std::string_view(text).substr(feed + 1));
      if (counts && --*count == 0) return end + static_cast<off_t>(feed) + 1;
    }
    if (text.size() > kLongest) text.clear();
  }
  if (finished && admits(text)) --*count;
  return 0;
}

// The time of the first line that starts behind an offset, and where it starts; none where there is
// no line of ours.
struct TimedLine {
  off_t offset;
  std::int64_t time;
};
std::optional<TimedLine> LineBehind(int fd, off_t from) {
  std::vector<char> block(std::size_t{64} << 10);
  const ssize_t n = pread(fd, block.data(), block.size(), from);
  std::string_view text(block.data(), static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
  off_t at = from;
  if (from > 0) {
    const std::size_t feed = std::min(text.find('\n'), text.size() - 1);
    text.remove_prefix(text.empty() ? 0 : feed + 1);
    at += static_cast<off_t>(feed) + 1;
  }
  while (!text.empty()) {
    const std::size_t feed = text.find('\n');
    if (const auto time = LineTime(text.substr(0, feed))) return TimedLine{at, *time};
    if (feed == std::string_view::npos) break;
    text.remove_prefix(feed + 1);
    at += static_cast<off_t>(feed) + 1;
  }
  return std::nullopt;
}

// Where the last line starts that is older than `time`; 0 where there is none.
off_t LastBefore(int fd, std::int64_t time) {
  off_t offset = 0;
  for (off_t end = SizeOf(fd); offset < end;) {
    const off_t middle = offset + (end - offset) / 2;
    const auto line = LineBehind(fd, middle);
    if (line && line->time < time && line->offset < end) {
      offset = line->offset;
      if (line->offset <= middle) break;
    } else {
      end = middle;
    }
  }
  return offset;
}

// Where the first line starts that is not older than `time`; the file's end where there is none.
off_t FirstSince(int fd, std::int64_t time) {
  off_t from = LastBefore(fd, time);
  auto line = LineBehind(fd, from);
  while (line && line->time < time) {
    from = std::max(line->offset, off_t{1});
    line = LineBehind(fd, from);
  }
  return line ? line->offset : SizeOf(fd);
}

}  // namespace

bool LogReader::Open() {
  if (!m_parts.empty()) return true;
  bool packed = false;
  if (UniqueFd fd = OpenPart(m_path, &packed)) m_parts.push_back({std::move(fd), 0, false, packed});
  return !m_parts.empty();
}

// Puts the next old file in front. Answers false when there is none.
bool LogReader::AddOlder() {
  if (m_alone) return false;
  struct stat first {};
  struct stat status {};
  fstat(m_parts.front().fd.get(), &first);
  for (;;) {
    const std::string path = OldLogFile(m_path, m_older++);
    bool packed = false;
    UniqueFd fd = OpenPart(path, &packed);
    if (!fd) fd = OpenPart(path + ".gz", &packed);
    if (!fd || fstat(fd.get(), &status) != 0) return false;
    if (SameFile(status, first)) continue;  // it has just been moved here
    m_parts.push_front({std::move(fd), 0, false, packed});
    return true;
  }
}

void LogReader::StartAtLast(std::size_t count, const Admits& admits) {
  if (!Open()) return;
  do {
    Part& part = m_parts.front();
    part.offset = count == 0 ? SizeOf(part.fd.get()) : StartOfLast(part.fd.get(), &count, admits);
  } while (count > 0 && AddOlder());
}

void LogReader::StartAtTime(std::int64_t time) {
  if (!Open()) return;
  time -= kOverlap;
  const auto startsBefore = [&](const Part& part) {
    const auto line = LineBehind(part.fd.get(), 0);
    return line && line->time < time;
  };
  while (!startsBefore(m_parts.front()) && AddOlder()) {
  }
  Part& part = m_parts.front();
  part.offset = LastBefore(part.fd.get(), time);
}

void LogReader::StartAtBeginning() {
  if (!Open()) return;
  while (AddOlder()) {
  }
}

void LogReader::Read(const Sink& sink) {
  if (!Open() && m_nextPath.empty()) return;
  while (!m_stopped && !m_parts.empty()) {
    AddNewer();
    if (ReadBlock(sink)) continue;
    if (m_parts.size() == 1) break;
    m_parts.pop_front();  // what follows its last line feed never got one
    m_unfinished = 0;
    if (m_parts.front().gap) sink.gap();
  }
  if (m_nextPath.empty()) return;
  UniqueFd next = OpenToRead(m_nextPath);
  const off_t size = next ? SizeOf(next.get()) : 0;
  if (size == m_nextOffset) return;
  while (!m_parts.empty() && ReadBlock(sink)) {
  }
  m_path = std::exchange(m_nextPath, std::string());
  m_parts.clear();
  m_parts.push_back({std::move(next), std::min(m_nextOffset, size), false, false});
  m_unfinished = 0;
  while (ReadBlock(sink)) {
  }
}

void LogReader::GoOnIn(const std::string& path, std::int64_t since) {
  const UniqueFd fd = OpenToRead(path);
  m_nextPath = path == m_path ? std::string() : path;
  m_nextOffset = fd ? FirstSince(fd.get(), since) : 0;
}

// Hands over the lines of one block. Answers false at the end of the file.
bool LogReader::ReadBlock(const Sink& sink) {
  NoticeCut();
  Part& part = m_parts.front();
  m_block.resize(std::max(m_block.size(), m_unfinished + kBlock));
  const ssize_t n = pread(part.fd.get(), m_block.data() + m_unfinished, kBlock, part.offset);
  if (n <= 0) return false;
  part.offset += n;
  std::string_view text(m_block.data(), m_unfinished + static_cast<std::size_t>(n));
  std::size_t from = std::exchange(m_unfinished, 0);  // there is no line feed before
  for (std::size_t feed; (feed = text.find('\n', from)) != std::string_view::npos; from = 0) {
    if (!std::exchange(m_skipping, false) && !sink.line(text.substr(0, feed))) {
      m_stopped = true;
      break;
    }
    text.remove_prefix(feed + 1);
  }
  sink.block();
  m_skipping = m_skipping || text.size() > kLongest;
  m_unfinished = m_skipping ? 0 : text.size();
  std::memmove(m_block.data(), text.data(), m_unfinished);
  return !m_stopped;
}

// An unfinished line was taken back, or somebody emptied the file.
void LogReader::NoticeCut() {
  Part& part = m_parts.front();
  const off_t size = SizeOf(part.fd.get());
  if (size >= part.offset) return;
  const off_t finished = part.offset - static_cast<off_t>(m_unfinished);
  part.offset = size >= finished ? finished : 0;
  m_unfinished = 0;
}

// Opens the files that follow the last of ours as soon as there are any, so that they can be read
// even when they have lost their names. Ours may be "log.3" by now, and then "log.2" follows.
void LogReader::AddNewer() {
  for (int attempt = 0; attempt < kMostAttempts && m_parts.size() < kMostParts; ++attempt) {
    if (m_parts.back().packed) return;
    const auto number = NumberOf(m_parts.back());
    if (number == 0U) return;
    UniqueFd next = OpenToRead(OldLogFile(m_path, number.value_or(1) - 1));
    if (!next) return;
    if (NumberOf(m_parts.back()) != number) continue;  // rolled over again between the two
    m_parts.push_back({std::move(next), 0, !number, false});
  }
}

// Which old file it is, 0 if it is the current one. Nothing when it is gone.
std::optional<unsigned int> LogReader::NumberOf(const Part& part) const {
  struct stat ours {};
  struct stat other {};
  if (fstat(part.fd.get(), &ours) != 0) return std::nullopt;
  for (unsigned int number = 0; number <= KVO_LOG_ROLLOVER_COUNT_MAX; ++number) {
    const bool exists = stat(OldLogFile(m_path, number).c_str(), &other) == 0;
    if (exists && SameFile(ours, other)) return number;
    if (!exists && number > 0) break;
  }
  return std::nullopt;
}
