#include "Console.h"

#include <sys/ioctl.h>
#include <unistd.h>
#include <wchar.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <system_error>

#include "Terminal.h"

namespace {

constexpr char kToLineStart[] = "\r\033[K";  // and erase the line
constexpr int kRoomForCtrlC = 3;             // a terminal echoes "^C" behind the progress line
constexpr char kCut[] = "...";

bool IsTerminal() {
  const char* term = std::getenv("TERM");
  return isatty(STDOUT_FILENO) == 1 && term != nullptr && std::strcmp(term, "dumb") != 0;
}

// "6.0 of 40.0 MiB"
std::string Amount(std::uint64_t offset, std::uint64_t size) {
  constexpr const char* kUnits[] = {"bytes", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  double unit = 1;
  std::size_t i = 0;
  for (; static_cast<double>(size) / unit >= 1024; ++i) unit *= 1024;
  char text[64];
  std::snprintf(text, sizeof(text), "%.*f of %.*f %s", i > 0, static_cast<double>(offset) / unit,
                i > 0, static_cast<double>(size) / unit, kUnits[i]);
  return text;
}

int TerminalWidth() {
  winsize size{};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

// Answers the start of a text that fits into `width` columns, marked where it was cut. What the
// terminal cannot show becomes '?'.
std::string Fitting(const std::string& text, int width) {
  std::string shown;
  std::size_t cutAt = 0;  // where there is room for the mark
  int column = 0;
  std::mbstate_t state{};
  for (std::size_t i = 0; i < text.size();) {
    wchar_t character = L'?';
    const std::size_t length = std::mbrtowc(&character, &text[i], text.size() - i, &state);
    const bool valid = length > 0 && length <= text.size() - i;
    const int columns = valid ? wcwidth(character) : -1;
    column += columns >= 0 ? columns : 1;
    if (column > width) return shown.substr(0, cutAt) + kCut;
    shown += columns >= 0 ? text.substr(i, length) : "?";
    if (column + static_cast<int>(std::strlen(kCut)) <= width) cutAt = shown.size();
    if (!valid) state = {};
    i += valid ? length : 1;
  }
  return shown;
}

}  // namespace

Console::Console() : m_terminal(IsTerminal()) {}

// A line that wrapped could not be taken back, so the name gets the room that is left.
void Console::ShowProgress(const ProgressFigures& figures) {
  if (!m_terminal) return;
  const double percent = figures.size == 0 ? 100.0
                                           : 100.0 * static_cast<double>(figures.offset) /
                                                 static_cast<double>(figures.size);
  char head[128];
  std::snprintf(head, sizeof(head), "%zu/%zu  %3d %%  %s  %s", figures.number, figures.count,
                static_cast<int>(percent), Amount(figures.offset, figures.size).c_str(),
                figures.paused ? "paused, Ctrl+C cancels  " : "");
  const std::string line = head + figures.name;
  std::printf("%s%s", kToLineStart, Fitting(line, TerminalWidth() - kRoomForCtrlC).c_str());
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
  std::fputs(kToLineStart, stdout);
  std::fflush(stdout);
  m_progressShown = false;
}

std::string Printable(const std::string& name) {
  std::string shown;
  for (std::size_t at = 0; at < name.size();) {
    const std::size_t length = ControlLength(&name[at]);
    shown += length > 0 ? '?' : name[at];
    at += std::max<std::size_t>(length, 1);
  }
  return shown;
}

std::string ErrorText(int error) { return std::generic_category().message(error); }
