#include "support/program.h"

#include <fcntl.h>
#include <pty.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

#include "support/await.h"

Program::Program(std::vector<std::string> command, const std::function<void()>& setUp,
                 int columns) {
  for (int& file : m_files) file = memfd_create("output", MFD_CLOEXEC);
  winsize size{25, static_cast<unsigned short>(columns), 0, 0};
  m_pid = columns == 0 ? fork() : forkpty(&m_terminal, nullptr, nullptr, &size);
  if (m_pid < 0) throw std::runtime_error("fork");
  if (m_pid > 0) {
    if (m_terminal >= 0) fcntl(m_terminal, F_SETFL, O_NONBLOCK);
    return;
  }
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (columns == 0) {
    dup2(m_files[0], STDOUT_FILENO);
    dup2(m_files[1], STDERR_FILENO);
  }
  if (setUp) setUp();
  std::vector<char*> argv(command.size() + 1);  // the last is null
  for (std::size_t i = 0; i < command.size(); ++i) argv[i] = command[i].data();
  execv(argv[0], argv.data());
  _exit(127);
}

Program::~Program() {
  Signal(SIGKILL);
  Wait();
  for (const int file : {m_files[0], m_files[1], m_terminal}) {
    if (file >= 0) close(file);
  }
}

bool Program::Running() {
  if (m_pid > 0 && waitpid(m_pid, &m_status, WNOHANG) == m_pid) m_pid = -1;
  ReadTerminal();  // a full terminal would hold it
  return m_pid > 0;
}

void Program::Signal(int number) {
  if (m_pid > 0) kill(m_pid, number);
}

int Program::Wait() {
  if (!WaitUntil([this] { return !Running(); })) return -1;
  return WIFEXITED(m_status) ? WEXITSTATUS(m_status) : 128 + WTERMSIG(m_status);
}

void Program::ReadTerminal() {
  char text[4096];
  ssize_t n;
  while (m_terminal >= 0 && (n = read(m_terminal, text, sizeof(text))) > 0) {
    m_terminalText.append(text, static_cast<std::size_t>(n));
  }
}

std::string Program::Output() {
  ReadTerminal();
  return m_terminal >= 0 ? m_terminalText : Contents("/proc/self/fd/" + std::to_string(m_files[0]));
}

std::string Program::Errors() { return Contents("/proc/self/fd/" + std::to_string(m_files[1])); }
