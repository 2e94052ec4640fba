// A program under test as a process: started, looked at while it runs, signalled, waited for.
#pragma once

#include <functional>
#include <string>
#include <vector>

class Program {
 public:
  // `setUp` runs in the new process before the program does. With a number of columns, standard
  // output and error are a terminal of that width.
  explicit Program(std::vector<std::string> command, const std::function<void()>& setUp = {},
                   int columns = 0);
  ~Program();  // kills what still runs
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  bool Running();
  void Signal(int number);
  // Waits for the end, up to half a minute; answers the exit status, or 128 and the number of the
  // signal that killed it, or -1 where there was no end.
  int Wait();
  // What it has written so far. A terminal's text is all in Output.
  std::string Output();
  std::string Errors();

 private:
  void ReadTerminal();

  int m_pid = -1;
  int m_status = -1;
  int m_terminal = -1;
  int m_files[2];
  std::string m_terminalText;
};
