#include "WrittenLines.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "RollingFile.h"
#include "UniqueFd.h"

void WrittenLines::Load(const std::string& path, std::size_t size) {
  for (unsigned int number = 0; number <= 1 && size > 0; ++number) {
    constexpr int kFlags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    const std::string name = OldLogFile(path, number);
    const UniqueFd fd(open(name.c_str(), kFlags | (number == 0 ? O_RDWR : O_RDONLY)));
    struct stat status {};
    if (!fd || fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) return;
    std::string text(std::min(size, static_cast<std::size_t>(status.st_size)), '\0');
    const off_t from = status.st_size - static_cast<off_t>(text.size());
    if (pread(fd.get(), text.data(), text.size(), from) != static_cast<ssize_t>(text.size()))
      return;
    const std::size_t whole = text.rfind('\n') + 1;
    if (number == 0 && whole > 0 && whole < text.size() &&
        ftruncate(fd.get(), from + static_cast<off_t>(whole)) != 0) {
      return;
    }
    for (std::size_t start = 0, end; start < whole; start = end) {
      end = text.find('\n', start) + 1;
      m_lines.insert(text.substr(start, end - start));
    }
    size -= text.size();
  }
}

bool WrittenLines::Take(const std::string& line) {
  const auto found = m_lines.find(line);
  if (found == m_lines.end()) return false;
  m_lines.erase(found);
  return true;
}
