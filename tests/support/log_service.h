// The places that lines go to, listened at with real sockets. Only inside a private mount
// namespace.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kvolog.h"

// Listens where the log service does. Nothing is read before it is asked for.
class LogService {
 public:
  explicit LogService(int backlog = 8);
  ~LogService();
  LogService(const LogService&) = delete;
  LogService& operator=(const LogService&) = delete;

  // Takes the next connection, within half a minute.
  bool Accept();
  // The next record of the connection with its head, or nothing at its end.
  std::optional<std::string> Next();
  // What waits to be read, without waiting for more; and the lines in it.
  std::string Waiting();
  std::vector<struct Line> WaitingLines();
  void HangUp();  // closes the connection
  void StopListening();

 private:
  int m_listener;
  int m_connection = -1;
};

// A line's record: its fields, and its text without the NUL.
struct Line {
  explicit Line(const std::string& record);
  KvoLogRecord head;
  std::string text;
};

// The records that a client sends.
std::string Record(std::size_t length, int type, const std::string& body);
std::string HelloRecord(std::string_view identity, unsigned int session);
std::string LineRecord(std::string_view text, unsigned int level, unsigned int classId,
                       std::int64_t seconds, unsigned int microseconds = 0);

// A caller of the log service, which does not wait to be connected where it is told so; -1 where
// nobody listens.
int CallLogService(bool waits = true);

// Listens where syslog or a service manager does.
class DatagramService {
 public:
  explicit DatagramService(const char* path);
  ~DatagramService();
  std::string Next();  // one datagram, within half a minute

 private:
  const char* m_path;
  int m_socket;
};

// Runs `body` in a child process and answers its exit status; -1 where it died. With a group, the
// child belongs to that group and to no privileged user.
int InChild(const std::function<int()>& body, unsigned int group = 0);

// The numbers of the descriptors that are open.
std::vector<int> OpenDescriptors();
