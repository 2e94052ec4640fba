// How much of a file waits for the disk.
#pragma once

#include <cstdint>

// Lets a file's bytes go to the disk while it is being written, a window of them at a time. Without
// this they wait in memory, all of them, for the fsync at the end, which nothing can stop. The
// window becomes as small as a slow disk needs to be obeyed.
class WriteBack {
 public:
  explicit WriteBack(int fd) : m_fd(fd) {}

  // The bytes up to `end` have been written. Throws FileFailed where the disk did not take some.
  void Wrote(std::uint64_t end);

 private:
  const int m_fd;
  std::uint64_t m_window = std::uint64_t{4} << 20;
  std::uint64_t m_settled = 0;  // on the disk up to here
  std::uint64_t m_started = 0;  // on the way up to here
};
