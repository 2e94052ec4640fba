// The real tool as a test runs it, and clients that write their records byte by byte.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "kvolog.h"
#include "tools/kvolog/UniqueFd.h"

constexpr const char* kLogPath = KVO_LOG_OUTPUT_PATH_DEFAULT;

struct Result {
  int status;
  std::string out;
  std::string err;
};

// Runs kvolog to its end; `setUp` runs in the new process before it.
Result Kvolog(const std::vector<std::string>& arguments, const std::function<void()>& setUp = {});

// A kvolog that runs beside the test; killed with this object.
class Running {
 public:
  explicit Running(const std::vector<std::string>& arguments,
                   const std::function<void()>& setUp = {}, int out = -1);
  ~Running();
  pid_t pid() const { return m_pid; }
  void Signal(int number) const;
  // Waits for the end and answers the exit status, or 128 and the signal's number.
  int Wait();
  std::string out() const;
  std::string err() const;

 private:
  std::string m_base;
  pid_t m_pid;
};

// A log service that listens.
class Served : public Running {
 public:
  explicit Served(const std::function<void()>& setUp = {});
  int Stop();
};

// One client of the log service.
class Sender {
 public:
  Sender();                                                               // connects
  explicit Sender(std::string_view identity, unsigned int session = 17);  // registers, too
  bool Send(std::string_view bytes);
  bool Line(std::string_view text, unsigned int level = KVO_LOG_WARNING,
            unsigned int classId = KVO_CLASS_YRAFT_RW);
  bool HungUp();  // waits for the service to close the connection
  void Close() { m_fd = UniqueFd(); }

 private:
  UniqueFd m_fd;
};

std::string Hello(std::string_view identity, unsigned int session);
std::string Trace(std::string_view text, unsigned int level, unsigned int classId);

std::string Contents(const std::string& path);
std::vector<std::string> Lines(const std::string& path);
// Waits up to half a minute, looking again and again.
bool Await(const std::function<bool()>& condition);
// Waits for a text in a file.
bool AwaitText(const std::string& path, std::string_view text);
