// Hears of what happens to a file and in its folder. Neither need be there.
#pragma once

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>

#include "UniqueFd.h"

class FileWatch {
 public:
  explicit FileWatch(std::uint32_t more = 0)
      : m_fd(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)), m_events(kEvents | more) {}

  // Readable when something has happened.
  int fd() const { return m_fd.get(); }

  // Names the file. Call it now and then, too: that is when a folder is found that was made anew.
  // Answers whether something may have happened before it was.
  bool Watch(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path();
    const int watch = inotify_add_watch(m_fd.get(), folder.c_str(), m_events);
    const int old = std::exchange(m_watch, watch);
    if (old >= 0 && old != watch) inotify_rm_watch(m_fd.get(), old);
    return old != watch;
  }

  // The folder is there, or was when Watch() was called last.
  bool Watches() const { return m_watch >= 0; }

  void Clear() {
    std::array<char, 8192> events;
    while (read(m_fd.get(), events.data(), events.size()) > 0) {
    }
  }

 private:
  static constexpr std::uint32_t kEvents =
      IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB;

  UniqueFd m_fd;
  std::uint32_t m_events;
  int m_watch = -1;
};
