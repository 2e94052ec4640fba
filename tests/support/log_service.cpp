#include "log_service.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace {

constexpr int kPatience = 30000;  // milliseconds

sockaddr_un AddressOf(const char* path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, path);
  return address;
}

int Bound(const char* path, int type) {
  unlink(path);
  const int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
  const sockaddr_un address = AddressOf(path);
  if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    throw std::runtime_error(std::string("cannot listen at ") + path);
  }
  chmod(path, 0777);
  return fd;
}

bool Readable(int fd, int patience = kPatience) {
  pollfd source{fd, POLLIN, 0};
  return poll(&source, 1, patience) == 1;
}

// Reads `size` bytes; answers false at the end of the stream.
bool ReadWhole(int fd, char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t got = Readable(fd) ? read(fd, data, size) : -1;
    if (got <= 0) return false;
    data += got;
    size -= static_cast<std::size_t>(got);
  }
  return true;
}

}  // namespace

LogService::LogService(int backlog) : m_listener(Bound(KVO_LOG_SOCKET_PATH, SOCK_STREAM)) {
  listen(m_listener, backlog);
}

LogService::~LogService() {
  HangUp();
  StopListening();
}

bool LogService::Accept() {
  HangUp();
  if (Readable(m_listener)) m_connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
  return m_connection >= 0;
}

std::optional<std::string> LogService::Next() {
  KvoLogRecordHead head;
  if (!ReadWhole(m_connection, reinterpret_cast<char*>(&head), sizeof(head))) return std::nullopt;
  std::string record(sizeof(head) + head.length, '\0');
  std::memcpy(record.data(), &head, sizeof(head));
  if (!ReadWhole(m_connection, record.data() + sizeof(head), head.length)) return std::nullopt;
  return record;
}

std::string LogService::Waiting() {
  std::string bytes;
  char buffer[4096];
  while (Readable(m_connection, 0)) {
    const ssize_t got = read(m_connection, buffer, sizeof(buffer));
    if (got <= 0) break;
    bytes.append(buffer, static_cast<std::size_t>(got));
  }
  return bytes;
}

int LogService::Call() {
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  const sockaddr_un address = AddressOf(KVO_LOG_SOCKET_PATH);
  [[maybe_unused]] const int called =
      connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
  return fd;
}

void LogService::HangUp() {
  if (m_connection >= 0) close(m_connection);
  m_connection = -1;
}

void LogService::StopListening() {
  if (m_listener < 0) return;
  close(m_listener);
  m_listener = -1;
  unlink(KVO_LOG_SOCKET_PATH);
}

Line::Line(const std::string& record) : head{} {
  std::memcpy(&head, record.data(), offsetof(KvoLogRecord, text));
  text = record.substr(offsetof(KvoLogRecord, text));
}

SyslogService::SyslogService() : m_socket(Bound("/dev/log", SOCK_DGRAM)) {}

SyslogService::~SyslogService() {
  close(m_socket);
  unlink("/dev/log");
}

std::string SyslogService::Next() {
  if (!Readable(m_socket)) return {};
  char buffer[4096];
  const ssize_t got = read(m_socket, buffer, sizeof(buffer));
  return got > 0 ? std::string(buffer, static_cast<std::size_t>(got)) : std::string();
}

int InChild(const std::function<int()>& body, unsigned int group) {
  const pid_t child = fork();
  if (child == 0) {
    if (group != 0 &&
        (setresgid(group, group, group) != 0 || setresuid(group, group, group) != 0)) {
      _exit(77);
    }
    _exit(body());
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::vector<int> OpenDescriptors() {
  std::vector<int> open;
  for (int fd = 0; fd < 1024; ++fd) {
    if (fcntl(fd, F_GETFD) >= 0) open.push_back(fd);
  }
  return open;
}
