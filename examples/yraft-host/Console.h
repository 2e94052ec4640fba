// What the program says: a line a file and a progress line on standard output, complaints on
// standard error. Only the channel thread speaks.
#pragma once

#include <cstdint>
#include <string>

class Console {
 public:
  Console();

  // Rewrites the progress line; does nothing where standard output is no terminal.
  void Progress(const std::string& name, std::uint64_t offset, std::uint64_t size, bool paused);

  // A finished line. Both remove the progress line first and are shown at once.
  void Say(const std::string& line);
  void Complain(const std::string& line);

 private:
  void EraseProgress();

  const bool m_terminal;
  bool m_progressShown = false;
};

// A file name as a line may show it: a name can hold line feeds and escape sequences.
std::string Printable(const std::string& name);

// The text of a system error number.
std::string ErrorText(int error);
