#include "LocalSink.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "Attributes.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kKeepInterval = std::chrono::seconds(1);  // so much is lost at most

[[noreturn]] void NotWritten() { throw FileFailed(Say(Said::kNotWritten, {ErrorText(errno)})); }

// Where the next data at or behind `offset` starts, or the end where only a hole is left.
std::uint64_t NextData(int source, std::uint64_t offset) {
  const off_t data = lseek(source, static_cast<off_t>(offset), SEEK_DATA);
  if (data >= 0) return static_cast<std::uint64_t>(data);
  const off_t end = errno == ENXIO ? lseek(source, 0, SEEK_END) : -1;
  return std::max(offset, end < 0 ? 0 : static_cast<std::uint64_t>(end));
}

// Where the data at `offset` ends, as far as the file system tells.
std::uint64_t NextHole(int source, std::uint64_t offset) {
  const off_t hole = lseek(source, static_cast<off_t>(offset), SEEK_HOLE);
  return hole <= static_cast<off_t>(offset) ? UINT64_MAX : static_cast<std::uint64_t>(hole);
}

}  // namespace

LocalSink::LocalSink(UniqueFd folder, const std::string& name, const FileInfo& info, bool shares,
                     bool resumes)
    : m_folder(std::move(folder)),
      m_name(name),
      m_info(info),
      m_shares(shares),
      m_file(m_folder.get(), name, info.mode, resumes ? info.version : ""),
      m_writeBack(m_file.fd()),
      m_offset(m_file.Resumed()),
      m_written(m_offset) {}

Step LocalSink::Take(Source& source, std::size_t length) {
  const int descriptor = source.Descriptor();
  if (!std::exchange(m_begun, true)) {
    if (m_offset > 0) source.Seek(m_offset);
    if (m_offset == 0 && Share(descriptor)) {
      End(source);
      return {m_offset, 0, true};
    }
  }
  if (m_offset > m_info.size && m_info.size > 0) source.ExpectUnchanged();  // it grows as we copy
  if (descriptor >= 0) {
    const std::uint64_t data = std::min(NextData(descriptor, m_offset), m_info.most);
    if (data > m_offset) return {m_offset = data, 0, false};
    const std::uint64_t end = std::min(NextHole(descriptor, m_offset), m_info.most);
    length = std::min<std::uint64_t>(length, end - m_offset);
  }
  const std::size_t moved = length == 0 ? 0 : Move(source, length);
  if (moved == 0) {
    End(source);
    return {m_offset, 0, true};
  }
  m_offset += moved;
  m_written = m_offset;
  m_writeBack.Wrote(m_offset);
  if (Clock::now() - m_kept > kKeepInterval) {
    m_file.Keep(m_offset);
    m_kept = Clock::now();
  }
  return {m_offset, moved, false};
}

// Lets the file system give both files the same blocks.
bool LocalSink::Share(int source) {
  struct stat status {};
  if (!m_shares || source < 0 || m_info.size == 0 || m_info.most != UINT64_MAX) return false;
  if (ioctl(m_file.fd(), FICLONE, source) != 0 || fstat(m_file.fd(), &status) != 0) return false;
  m_offset = m_written = static_cast<std::uint64_t>(status.st_size);
  return true;
}

// Answers how many bytes were moved; 0 at the end. The kernel copies by itself where it can. What
// it says of an error does not tell which side failed, so reading and writing finds that out, and
// the content of files that seem to have none.
std::size_t LocalSink::Move(Source& source, std::size_t length) {
  const int descriptor = source.Descriptor();
  auto from = static_cast<off_t>(m_offset);
  auto to = from;
  if (descriptor >= 0 && m_kernelCopies) {
    const ssize_t moved = copy_file_range(descriptor, &from, m_file.fd(), &to, length, 0);
    if (moved > 0) return static_cast<std::size_t>(moved);
    m_kernelCopies = moved == 0;
  }
  length = std::min(length, RoomFor(m_info, m_offset));
  m_block.resize(length);
  ssize_t got;
  do {
    got = descriptor < 0 ? static_cast<ssize_t>(source.Read(m_block.data(), length))
                         : pread(descriptor, m_block.data(), length, static_cast<off_t>(m_offset));
  } while (got < 0 && errno == EINTR);
  if (got < 0) throw FileFailed(Say(Said::kNotRead, {ErrorText(errno)}));
  Write(static_cast<std::size_t>(got));
  return static_cast<std::size_t>(got);
}

void LocalSink::Write(std::size_t length) {
  for (std::size_t done = 0; done < length;) {
    const ssize_t written = pwrite(m_file.fd(), m_block.data() + done, length - done,
                                   static_cast<off_t>(m_offset + done));
    if (written < 0 && errno != EINTR) NotWritten();
    if (written > 0) done += static_cast<std::size_t>(written);
  }
}

// A hole at the end is what no write has made, and its last byte makes it. The rest starts for the
// disk, where Sync waits for it.
void LocalSink::End(const Source& source) {
  if (m_offset > m_written && pwrite(m_file.fd(), "", 1, static_cast<off_t>(m_offset - 1)) != 1) {
    NotWritten();
  }
  KeepAttributes(m_info, source.Descriptor(), m_file.fd());
  sync_file_range(m_file.fd(), 0, 0, SYNC_FILE_RANGE_WRITE);
}

void LocalSink::Sync() {
  if (fsync(m_file.fd()) != 0) NotWritten();
}
