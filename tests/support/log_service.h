// The places that lines go to, listened at with real sockets. Only inside a private mount
// namespace.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "kvolog.h"

// A line's record: its fields, and its text without the NUL.
struct Line {
  explicit Line(const std::string& record);
  KvoLogRecord head;
  std::string text;
};

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
  void HangUp();  // closes the connection

 private:
  int m_listener;
  int m_connection = -1;
};

// A socket at a path, where nobody else is any more.
int BoundSocket(const char* path, int type);
