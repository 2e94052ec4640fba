#include "log_service.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>
#include <string_view>

namespace {

bool Readable(int fd, int patience = 30000) {
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
