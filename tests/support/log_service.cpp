#include "log_service.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>
#include <string_view>

namespace {

// Who waits there for a caller or for bytes does so for half a minute.
int Patient(int fd) {
  const timeval patience{30, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
  return fd;
}

bool ReadWhole(int fd, void* data, std::size_t size) {
  return recv(fd, data, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

}  // namespace

int BoundSocket(const char* path, int type) {
  unlink(path);
  sockaddr_un address{AF_UNIX, {}};
  std::string_view(path).copy(address.sun_path, sizeof(address.sun_path) - 1);
  const int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    throw std::runtime_error(std::string("cannot listen at ") + path);
  }
  chmod(path, 0777);
  return fd;
}

LogService::LogService(int backlog)
    : m_listener(Patient(BoundSocket(KVO_LOG_SOCKET_PATH, SOCK_STREAM))) {
  listen(m_listener, backlog);
}

LogService::~LogService() {
  HangUp();
  close(m_listener);
  unlink(KVO_LOG_SOCKET_PATH);
}

bool LogService::Accept() {
  HangUp();
  m_connection = Patient(accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC));
  return m_connection >= 0;
}

std::optional<std::string> LogService::Next() {
  KvoLogRecordHead head;
  if (!ReadWhole(m_connection, &head, sizeof(head))) return std::nullopt;
  std::string record(sizeof(head) + head.length, '\0');
  std::memcpy(record.data(), &head, sizeof(head));
  const bool whole = ReadWhole(m_connection, record.data() + sizeof(head), head.length);
  return whole ? std::optional(record) : std::nullopt;
}

std::string LogService::Waiting() {
  std::string bytes;
  char buffer[65536];
  for (ssize_t got; (got = recv(m_connection, buffer, sizeof(buffer), MSG_DONTWAIT)) > 0;) {
    bytes.append(buffer, static_cast<std::size_t>(got));
  }
  return bytes;
}

void LogService::HangUp() {
  if (m_connection >= 0) close(m_connection);
  m_connection = -1;
}

Line::Line(const std::string& record) : head{} {
  record.copy(reinterpret_cast<char*>(&head), offsetof(KvoLogRecord, text));
  text = record.substr(offsetof(KvoLogRecord, text));
  text.ends_with('\0') ? text.pop_back() : static_cast<void>(text += " has no end");
}
