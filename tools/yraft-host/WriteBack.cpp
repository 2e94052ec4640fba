#include "WriteBack.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

#include "Endpoints.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::uint64_t kLeast = std::uint64_t{256} << 10;
constexpr std::uint64_t kMost = std::uint64_t{32} << 20;
constexpr auto kLong = std::chrono::milliseconds(100);  // what a user notices
constexpr auto kShort = std::chrono::milliseconds(25);

// What a file system cannot do is left to the end.
void SyncRange(int fd, std::uint64_t from, std::uint64_t to, unsigned int how) {
  const int result =
      sync_file_range(fd, static_cast<off_t>(from), static_cast<off_t>(to - from), how);
  if (result != 0 && (errno == EIO || errno == ENOSPC || errno == EDQUOT)) {
    throw FileFailed(Say(Said::kNotWritten, {ErrorText(errno)}));
  }
}

}  // namespace

void WriteBack::Wrote(std::uint64_t end) {
  if (end < m_started + m_window) return;
  SyncRange(m_fd, m_started, end, SYNC_FILE_RANGE_WRITE);
  const auto start = Clock::now();
  if (m_started > m_settled) {
    SyncRange(m_fd, m_settled, m_started,
              SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER);
  }
  const auto waited = Clock::now() - start;
  if (waited > kLong) m_window = std::max(m_window / 2, kLeast);
  if (waited < kShort) m_window = std::min(m_window * 2, kMost);
  m_settled = m_started;
  m_started = end;
}
