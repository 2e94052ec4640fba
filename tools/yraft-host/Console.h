// What the program says: results and a progress line on standard output, complaints on standard
// error. Only the channel thread speaks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// The texts of a display that cannot be opened, the same for every command.
inline constexpr char kNoDisplay[] = "no display: the dialogs cannot be shown (is DISPLAY set?)";

struct ProgressFigures {
  std::size_t number;  // of the file, from 1
  std::size_t count;
  std::string name;
  std::uint64_t offset;  // bytes
  std::uint64_t size;
  bool paused;
  double rate;  // bytes a second, of all files; 0 where it is not known
  double left;  // seconds; below 0 where it is not known
};

class Console {
 public:
  // speaks  say what goes well, too
  explicit Console(bool speaks = true);

  // Rewrites the progress line; does nothing where standard output is no terminal.
  void ShowProgress(const ProgressFigures& figures);

  // A finished line. Both remove the progress line first and are shown at once.
  void Say(const std::string& line);
  void Complain(const std::string& line);

 private:
  void EraseProgress();

  const bool m_speaks;
  const bool m_terminal;  // one that understands more than line feeds
  bool m_progressShown = false;
};

// A file name as a line may show it: a name can hold line feeds and escape sequences.
std::string Printable(const std::string& name);
