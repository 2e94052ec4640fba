// A log service that reads everything and keeps nothing, and a process connected to it.
#pragma once

#include <string>
#include <thread>

// While it lives, this process's logging is connected to a listener at the place of the log
// service, and the levels are the defaults. Only inside a private mount namespace.
class LogSink {
 public:
  LogSink();
  ~LogSink();
  LogSink(const LogSink&) = delete;
  LogSink& operator=(const LogSink&) = delete;

 private:
  int m_listener;
  std::thread m_reader;
};

// A stream or datagram socket at `path` whose other end is read and thrown away until `fd` is shut
// down or the process ends. Answers the end to write to.
int ConnectToDrain(const std::string& path, int type);
