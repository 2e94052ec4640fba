// Writes lines into the log file in a thread of its own, so that whoever reads what clients send
// never waits for a disk.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

#include "RollingFile.h"
#include "UniqueFd.h"

// One batch of lines is under way at a time; what follows it is the caller's until then. All
// functions are the caller's one thread's; `report` is called in the writer's.
class LogWriter {
 public:
  LogWriter(const LogTarget& target, RollingFile::Report report);
  ~LogWriter();

  // Becomes readable when a batch is written.
  int event() const { return m_event.get(); }
  // No batch is under way, or not any more after so long. Clears the event.
  bool Idle();
  bool Await(std::chrono::milliseconds patience);
  // Only while idle. Leaves an empty text behind.
  void Write(std::string* lines);

  void Use(const LogTarget& target);
  void Reopen();
  void Look();  // something has happened in the file's folder

  // Ends with a last attempt at the batch under way and at `rest`. Answers how many lines of both
  // are lost.
  std::uint64_t Finish(std::string_view rest);

 private:
  void Run();
  void Stop();

  UniqueFd m_event;
  RollingFile m_file;  // the thread's, until it has ended

  std::mutex m_mutex;  // of all below
  std::condition_variable m_news;
  bool m_any = true;  // news there are: the file is to be opened
  LogTarget m_target;
  std::string m_batch;        // only its owner touches the text: the thread while it is not done
  std::size_t m_written = 0;  // bytes of it; all of them: it is done
  bool m_reopen = false;
  bool m_look = false;
  bool m_stop = false;

  std::thread m_thread;
};
