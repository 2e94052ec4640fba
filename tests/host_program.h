// The program under test as a process: started, looked at while it runs, signalled, waited for.
#pragma once

#include <string>
#include <vector>

struct ProgramSetup {
  std::string home;    // where the choosers open
  std::string folder;  // working directory; empty for the test's own
  bool display = true;
  bool ordinaryUser = false;  // file modes bind it, although the test may be root
  int terminalColumns = 0;    // standard output and error are a terminal of this width
};

class Program {
 public:
  Program(const ProgramSetup& setup, std::vector<std::string> arguments);
  ~Program();  // kills what still runs
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  bool Running();
  void Signal(int number);
  // Waits up to half a minute for the end; answers the exit status, or -1 where there is none.
  int Wait();
  // What it has written so far. A terminal's text is all in Output.
  std::string Output();
  std::string Errors();

 private:
  void Start(const ProgramSetup& setup, std::vector<std::string> arguments);
  void ReadTerminal();

  int m_pid = -1;
  int m_status = -1;
  int m_terminal = -1;
  int m_files[2] = {-1, -1};
  std::string m_terminalText;
};
