// The places that lines go to, listened at with real sockets. Only inside a private mount
// namespace.
#pragma once

#include <functional>
#include <optional>
#include <string>
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
  // What waits to be read, without waiting for more.
  std::string Waiting();
  int Call();     // a caller of its own, which does not wait
  void HangUp();  // closes the connection
  void StopListening();

 private:
  int m_listener;
  int m_connection = -1;
};

// A record's fields.
struct Line {
  explicit Line(const std::string& record);
  KvoLogRecord head;  // without its text
  std::string text;
};

// Listens where syslog does.
class SyslogService {
 public:
  SyslogService();
  ~SyslogService();
  std::string Next();  // one datagram, within half a minute

 private:
  int m_socket;
};

// Runs `body` in a child process and answers its exit status; -1 where it died. With a group, the
// child belongs to that group and to no privileged user.
int InChild(const std::function<int()>& body, unsigned int group = 0);

// The numbers of the descriptors that are open.
std::vector<int> OpenDescriptors();
