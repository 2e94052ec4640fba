#include "Console.h"

#include <sys/ioctl.h>
#include <unistd.h>
#include <wchar.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "Terminal.h"

namespace {

constexpr char kToLineStart[] = "\r\033[K";  // and erase the line
constexpr int kRoomForCtrlC = 3;             // a terminal echoes "^C" behind the progress line
constexpr char kCut[] = "...";

bool IsTerminal() {
  const char* term = std::getenv("TERM");
  return isatty(STDOUT_FILENO) == 1 && term != nullptr && std::strcmp(term, "dumb") != 0;
}

// A number of bytes in the unit that suits `size`.
struct Scale {
  const char* unit;
  double bytes;
  int decimals;
};

Scale ScaleFor(double size) {
  constexpr const char* kUnits[] = {"bytes", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  double bytes = 1;
  std::size_t i = 0;
  for (; size / bytes >= 1024; ++i) bytes *= 1024;
  return {kUnits[i], bytes, i > 0};
}

std::string Fixed(double value, int decimals) {
  char text[64];
  std::snprintf(text, sizeof(text), "%.*f", decimals, value);
  return text;
}

// "6.0 of 40.0 MiB"
std::string Amount(std::uint64_t offset, std::uint64_t size) {
  const Scale scale = ScaleFor(static_cast<double>(size));
  return Fixed(static_cast<double>(offset) / scale.bytes, scale.decimals) + " of " +
         Fixed(static_cast<double>(size) / scale.bytes, scale.decimals) + " " + scale.unit;
}

// "12.5 MiB/s  0:07 left  "
std::string Pace(const ProgressFigures& figures) {
  if (figures.paused) return "paused, Ctrl+C cancels  ";
  if (figures.rate <= 0) return {};
  const Scale scale = ScaleFor(figures.rate);
  std::string text = Fixed(figures.rate / scale.bytes, scale.decimals) + " " + scale.unit + "/s  ";
  if (figures.left < 0) return text;
  char left[64];
  const auto seconds = std::lround(figures.left);
  std::snprintf(left, sizeof(left), "%ld:%02ld left  ", seconds / 60, seconds % 60);
  return text + left;
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

Console::Console(bool speaks) : m_speaks(speaks), m_terminal(speaks && IsTerminal()) {}

// A line that wrapped could not be taken back, so the name gets the room that is left.
void Console::ShowProgress(const ProgressFigures& figures) {
  if (!m_terminal) return;
  const double percent = figures.size == 0 ? 100.0
                                           : 100.0 * static_cast<double>(figures.offset) /
                                                 static_cast<double>(figures.size);
  char head[128];
  std::snprintf(head, sizeof(head), "%zu/%zu  %3d %%  %s  %s", figures.number, figures.count,
                static_cast<int>(percent), Amount(figures.offset, figures.size).c_str(),
                Pace(figures).c_str());
  const std::string line = head + figures.name;
  std::printf("%s%s", kToLineStart, Fitting(line, TerminalWidth() - kRoomForCtrlC).c_str());
  std::fflush(stdout);
  m_progressShown = true;
}

void Console::Say(const std::string& line) {
  if (!m_speaks) return;
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
