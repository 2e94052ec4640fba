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
  std::string_view(path).copy(address.sun_path, sizeof(address.sun_path) - 1);
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

std::vector<Line> LogService::WaitingLines() {
  std::vector<Line> lines;
  const std::string bytes = Waiting();
  for (std::size_t at = 0; at < bytes.size();) {
    KvoLogRecordHead head;
    std::memcpy(&head, bytes.data() + at, sizeof(head));
    const std::size_t size = sizeof(head) + head.length;
    if (head.type == KVO_LOG_RECORD_TRACE) lines.emplace_back(bytes.substr(at, size));
    at += size;
  }
  return lines;
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
  if (text.ends_with('\0')) {
    text.pop_back();
  } else {
    text += " has no end";
  }
}

std::string Record(std::size_t length, int type, const std::string& body) {
  const KvoLogRecordHead head{static_cast<std::uint16_t>(length), static_cast<std::uint16_t>(type)};
  return std::string(reinterpret_cast<const char*>(&head), sizeof(head)) + body;
}

std::string HelloRecord(std::string_view identity, unsigned int session) {
  std::string body{static_cast<char>(session & 0xFF), static_cast<char>(session >> 8)};
  body.append(identity) += '\0';
  return Record(body.size(), KVO_LOG_RECORD_HELLO, body);
}

std::string LineRecord(std::string_view text, unsigned int level, unsigned int classId,
                       std::int64_t seconds, unsigned int microseconds) {
  KvoLogRecord record;
  record.level = static_cast<std::uint16_t>(level);
  record.classId = static_cast<std::uint16_t>(classId);
  record.thread = static_cast<std::uint16_t>(getpid());
  record.seconds = seconds;
  record.microseconds = microseconds;
  std::string body(reinterpret_cast<const char*>(&record) + sizeof(record.head),
                   offsetof(KvoLogRecord, text) - sizeof(record.head));
  body.append(text) += '\0';
  return Record(body.size(), KVO_LOG_RECORD_TRACE, body);
}

int CallLogService(bool waits) {
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | (waits ? 0 : SOCK_NONBLOCK), 0);
  const sockaddr_un address = AddressOf(KVO_LOG_SOCKET_PATH);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 || !waits) {
    return fd;
  }
  close(fd);
  return -1;
}

DatagramService::DatagramService(const char* path)
    : m_path(path), m_socket(Bound(path, SOCK_DGRAM)) {}

DatagramService::~DatagramService() {
  close(m_socket);
  unlink(m_path);
}

std::string DatagramService::Next() {
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
