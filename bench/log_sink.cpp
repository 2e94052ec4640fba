#include "log_sink.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "kvolog.h"

namespace {

sockaddr_un AddressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  return address;
}

int Bound(const std::string& path, int type) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  unlink(path.c_str());
  const int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
  const sockaddr_un address = AddressOf(path);
  if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    throw std::runtime_error("cannot listen at " + path);
  }
  return fd;
}

void Drain(int fd) {
  static thread_local char buffer[1 << 20];
  while (read(fd, buffer, sizeof(buffer)) > 0) {
  }
}

}  // namespace

LogSink::LogSink() : m_listener(Bound(KVO_LOG_SOCKET_PATH, SOCK_STREAM)) {
  listen(m_listener, 8);
  m_reader = std::thread([this] {
    const int fd = accept(m_listener, nullptr, nullptr);
    Drain(fd);
    close(fd);
  });
  KvoLogInit();
  if (KvoLogGetWorkingLevel(KVO_CLASS_YRAFT_WIN) != KVO_LOG_WARNING) {
    throw std::runtime_error("the log's configuration is not mapped");
  }
}

LogSink::~LogSink() {
  KvoLogShutdown();
  m_reader.join();
  close(m_listener);
  unlink(KVO_LOG_SOCKET_PATH);
}

int ConnectToDrain(const std::string& path, int type) {
  const int bound = Bound(path, type);
  if (type == SOCK_STREAM) listen(bound, 1);
  std::thread([bound, type] {
    const int fd = type == SOCK_STREAM ? accept(bound, nullptr, nullptr) : bound;
    Drain(fd);
  }).detach();
  const int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
  const sockaddr_un address = AddressOf(path);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    throw std::runtime_error("cannot connect to " + path);
  }
  return fd;
}
