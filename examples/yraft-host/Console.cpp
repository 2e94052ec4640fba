#include "Console.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <system_error>

namespace {

constexpr std::size_t kNameWidth = 40;  // bytes of a name in the progress line, so that it fits

bool IsUtf8Continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

std::string Shortened(std::string name) {
  if (name.size() <= kNameWidth) return name;
  std::size_t end = kNameWidth;
  while (end > 0 && IsUtf8Continuation(name[end])) --end;
  return name.substr(0, end) + "...";
}

}  // namespace

Console::Console() : m_terminal(isatty(STDOUT_FILENO) == 1) {}

void Console::Progress(const std::string& name, std::uint64_t offset, std::uint64_t size,
                       bool paused) {
  if (!m_terminal) return;
  const double percent =
      size == 0 ? 100.0 : 100.0 * static_cast<double>(offset) / static_cast<double>(size);
  std::printf("\r\033[K%s  %d %%  %llu of %llu bytes%s", Shortened(Printable(name)).c_str(),
              static_cast<int>(percent), static_cast<unsigned long long>(offset),
              static_cast<unsigned long long>(size), paused ? "  paused, Ctrl+C cancels" : "");
  std::fflush(stdout);
  m_progressShown = true;
}

void Console::Say(const std::string& line) {
  EraseProgress();
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

void Console::Complain(const std::string& line) {
  EraseProgress();
  std::fprintf(stderr, "yraft-host: %s\n", line.c_str());
}

void Console::EraseProgress() {
  if (!m_progressShown) return;
  std::printf("\r\033[K");
  std::fflush(stdout);
  m_progressShown = false;
}

std::string Printable(const std::string& name) {
  std::string shown = name;
  std::replace_if(
      shown.begin(), shown.end(),
      [](char byte) { return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F; }, '?');
  return shown;
}

std::string ErrorText(int error) { return std::generic_category().message(error); }
