// The real kvolog as a test runs it, and clients that write their own records.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <utility>

#include "support/await.h"
#include "support/log_service.h"
#include "support/program.h"

constexpr const char* kLogPath = KVO_LOG_OUTPUT_PATH_DEFAULT;

// A kvolog that runs beside the test; killed with this object.
class Running : public Program {
 public:
  explicit Running(const std::vector<std::string>& arguments,
                   const std::function<void()>& setUp = {}, int columns = 0)
      : Program(Command(arguments), setUp, columns) {}

 private:
  static std::vector<std::string> Command(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), KVOLOG_TOOL);
    return arguments;
  }
};

struct Result {
  int status;
  std::string out;
  std::string err;
};

// Runs kvolog to its end.
inline Result Kvolog(const std::vector<std::string>& arguments,
                     const std::function<void()>& setUp = {}) {
  Running running(arguments, setUp);
  const int status = running.Wait();
  return {status, running.Output(), running.Errors()};
}

// A log service that listens.
class Served : public Running {
 public:
  explicit Served(const std::function<void()>& setUp = {}) : Running({"serve"}, setUp) {
    EXPECT_TRUE(AwaitError("listening"));
  }
  bool AwaitError(const char* text) {
    return WaitUntil([&] { return Errors().find(text) != std::string::npos; });
  }
  int Stop() {
    Signal(SIGTERM);
    return Wait();
  }
};

// One client of the log service.
class Sender {
 public:
  Sender() : m_fd(CallLogService()) {}
  explicit Sender(std::string_view identity) : Sender() { Send(HelloRecord(identity, 17)); }
  ~Sender() { Close(); }
  Sender(const Sender&) = delete;
  Sender& operator=(const Sender&) = delete;

  bool Send(std::string_view bytes) {
    return send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(bytes.size());
  }
  bool Line(std::string_view text, unsigned int level = KVO_LOG_WARNING,
            unsigned int classId = KVO_CLASS_YRAFT_RW) {
    return Send(LineRecord(text, level, classId, time(nullptr)));
  }
  // Waits for the service to close the connection.
  bool HungUp() {
    char byte;
    return WaitUntil([&] {
      return recv(m_fd, &byte, 1, MSG_DONTWAIT) == 0 || (errno != EAGAIN && errno != EINTR);
    });
  }
  void Close() {
    if (m_fd >= 0) close(std::exchange(m_fd, -1));
  }

 private:
  int m_fd;
};

// Each test finds a fresh configuration and no log.
class KvologTest : public testing::Test {
 protected:
  KvologTest() {
    for (const char* path : {KVO_LOG_CONFIG_PATH, KVO_LOG_SOCKET_PATH}) {
      std::filesystem::remove(path);
    }
    std::filesystem::remove_all("/var/log/qmz");
    Kvolog({"reset"});
  }
};

inline std::vector<std::string> Lines(const std::string& path) {
  std::vector<std::string> lines;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

// Waits for a text in a file, which may not be there yet.
inline bool AwaitText(const std::string& path, std::string_view text) {
  return WaitUntil([&] { return Contents(path).find(text) != std::string::npos; });
}
