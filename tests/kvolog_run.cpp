#include "kvolog_run.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

namespace {

void Redirect(int from, const std::string& path) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  dup2(fd, from);
  close(fd);
}

UniqueFd Connect() {
  UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, KVO_LOG_SOCKET_PATH);
  const auto* pAddress = reinterpret_cast<const sockaddr*>(&address);
  if (connect(fd.get(), pAddress, sizeof address) != 0) return UniqueFd();
  return fd;
}

template <typename T>
void Put(std::string* bytes, T value) {
  bytes->append(reinterpret_cast<const char*>(&value), sizeof value);
}

std::string WithHead(std::uint16_t type, const std::string& body) {
  std::string bytes;
  Put(&bytes, static_cast<std::uint16_t>(body.size()));
  Put(&bytes, type);
  return bytes + body;
}

}  // namespace

Running::Running(const std::vector<std::string>& arguments, const std::function<void()>& setUp,
                 int out) {
  char base[] = "/tmp/kvolog-test-XXXXXX";
  close(mkstemp(base));
  m_base = base;
  m_pid = fork();
  if (m_pid != 0) return;
  Redirect(STDERR_FILENO, m_base + ".err");
  if (out < 0) {
    Redirect(STDOUT_FILENO, m_base + ".out");
  } else {
    dup2(out, STDOUT_FILENO);
  }
  if (setUp) setUp();
  std::vector<char*> argv = {const_cast<char*>(KVOLOG_TOOL)};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  execv(KVOLOG_TOOL, argv.data());
  _exit(127);
}

Running::~Running() {
  if (m_pid > 0) {
    ::kill(m_pid, SIGKILL);
    Wait();
  }
  for (const char* suffix : {"", ".out", ".err"}) unlink((m_base + suffix).c_str());
}

void Running::Signal(int number) const { ::kill(m_pid, number); }

int Running::Wait() {
  int status = 0;
  waitpid(std::exchange(m_pid, -1), &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string Running::out() const { return Contents(m_base + ".out"); }
std::string Running::err() const { return Contents(m_base + ".err"); }

Result Kvolog(const std::vector<std::string>& arguments, const std::function<void()>& setUp) {
  Running running(arguments, setUp);
  const int status = running.Wait();
  return {status, running.out(), running.err()};
}

Served::Served(const std::function<void()>& setUp) : Running({"serve"}, setUp) {
  Await([this] { return err().find("listening") != std::string::npos; });
}

int Served::Stop() {
  Signal(SIGTERM);
  return Wait();
}

std::string Hello(std::string_view identity, unsigned int session) {
  std::string body;
  Put(&body, static_cast<std::uint16_t>(session));
  return WithHead(KVO_LOG_RECORD_HELLO, body.append(identity) + '\0');
}

std::string Trace(std::string_view text, unsigned int level, unsigned int classId) {
  timeval now{};
  gettimeofday(&now, nullptr);
  std::string body;
  for (const unsigned int word : {level, classId, static_cast<unsigned int>(getpid())}) {
    Put(&body, static_cast<std::uint16_t>(word));
  }
  Put(&body, static_cast<std::int64_t>(now.tv_sec));
  Put(&body, static_cast<std::uint32_t>(now.tv_usec));
  return WithHead(KVO_LOG_RECORD_TRACE, body.append(text) + '\0');
}

Sender::Sender() : m_fd(Connect()) {}

Sender::Sender(std::string_view identity, unsigned int session) : Sender() {
  Send(Hello(identity, session));
}

bool Sender::Send(std::string_view bytes) {
  return send(m_fd.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
         static_cast<ssize_t>(bytes.size());
}

bool Sender::Line(std::string_view text, unsigned int level, unsigned int classId) {
  return Send(Trace(text, level, classId));
}

bool Sender::HungUp() {
  pollfd waiting = {m_fd.get(), POLLIN, 0};
  char byte;
  return poll(&waiting, 1, 30000) == 1 && recv(m_fd.get(), &byte, 1, 0) <= 0;
}

std::string Contents(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

std::vector<std::string> Lines(const std::string& path) {
  std::vector<std::string> lines;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

bool Await(const std::function<bool()>& condition) {
  for (int i = 0; i < 3000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

bool AwaitText(const std::string& path, std::string_view text) {
  return Await([&] { return Contents(path).find(text) != std::string::npos; });
}
