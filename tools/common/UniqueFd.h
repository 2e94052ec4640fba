// A file descriptor with one owner.
#pragma once

#include <unistd.h>

#include <utility>

class UniqueFd {
 public:
  explicit UniqueFd(int fd = -1) : m_fd(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : m_fd(other.release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    std::swap(m_fd, other.m_fd);
    return *this;
  }
  ~UniqueFd() {
    if (m_fd >= 0) close(m_fd);
  }

  int get() const { return m_fd; }
  int release() { return std::exchange(m_fd, -1); }
  explicit operator bool() const { return m_fd >= 0; }

 private:
  int m_fd;
};
