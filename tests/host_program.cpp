#include "host_program.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <pty.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

namespace {

constexpr auto kPatience = std::chrono::seconds(30);

std::string Contents(int file) {
  std::string text(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
  const ssize_t n = pread(file, text.data(), text.size(), 0);
  return text.substr(0, static_cast<std::size_t>(n < 0 ? 0 : n));
}

}  // namespace

Program::Program(const ProgramSetup& setup, std::vector<std::string> arguments) {
  for (int& file : m_files) file = memfd_create("output", MFD_CLOEXEC);
  if (setup.terminalColumns == 0) {
    m_pid = fork();
  } else {
    winsize size{25, static_cast<unsigned short>(setup.terminalColumns), 0, 0};
    m_pid = forkpty(&m_terminal, nullptr, nullptr, &size);
    if (m_pid > 0) fcntl(m_terminal, F_SETFL, O_NONBLOCK);
  }
  if (m_pid < 0) throw std::runtime_error("fork");
  if (m_pid == 0) Start(setup, std::move(arguments));
}

// The child's side.
void Program::Start(const ProgramSetup& setup, std::vector<std::string> arguments) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (setup.terminalColumns == 0) {
    dup2(m_files[0], STDOUT_FILENO);
    dup2(m_files[1], STDERR_FILENO);
  }
  setenv("HOME", setup.home.c_str(), 1);
  setenv("TERM", "xterm", 1);
  if (!setup.display) unsetenv("DISPLAY");
  if (setup.ordinaryUser) {
    for (const int right : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) prctl(PR_CAPBSET_DROP, right);
  }
  if (!setup.folder.empty() && chdir(setup.folder.c_str()) != 0) _exit(126);
  std::vector<char*> argv{const_cast<char*>(YRAFT_HOST)};
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  execv(argv[0], argv.data());
  _exit(127);
}

Program::~Program() {
  if (Running()) {
    Signal(SIGKILL);
    Wait();
  }
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
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (Running()) {
    if (std::chrono::steady_clock::now() > end) return -1;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -1;
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
  return m_terminal >= 0 ? m_terminalText : Contents(m_files[0]);
}

std::string Program::Errors() { return Contents(m_files[1]); }
