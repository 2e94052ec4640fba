#include "log_service.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>
#include <string_view>

int BoundSocket(const char* path, int type) {
  unlink(path);
  sockaddr_un address{AF_UNIX, {}};
  std::string_view(path).copy(address.sun_path, sizeof(address.sun_path) - 1);
  const int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    throw std::runtime_error(std::string("cannot listen at ") + path);
  }
  chmod(path, 0777);
  const timeval patience{30, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
  return fd;
}

LogService::LogService(int backlog) : m_listener(BoundSocket(KVO_LOG_SOCKET_PATH, SOCK_STREAM)) {
  listen(m_listener, backlog);
}

LogService::~LogService() {
  HangUp();
  close(m_listener);
  unlink(KVO_LOG_SOCKET_PATH);
}

bool LogService::Accept() {
  HangUp();
  m_connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
  const timeval patience{30, 0};
  setsockopt(m_connection, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
  return m_connection >= 0;
}

std::optional<std::string> LogService::Next() {
  std::string record(sizeof(KvoLogRecordHead), '\0');
  std::size_t read = 0;
  for (std::size_t missing; (missing = record.size() - read) > 0; read += missing) {
    const ssize_t got = recv(m_connection, record.data() + read, missing, MSG_WAITALL);
    if (got != static_cast<ssize_t>(missing)) return std::nullopt;
    KvoLogRecordHead head;
    std::memcpy(&head, record.data(), sizeof(head));
    record.resize(sizeof(head) + head.length);
  }
  return record;
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
