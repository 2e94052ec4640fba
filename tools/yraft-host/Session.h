// A running UI as the channel thread sees it: requests go out as self signals, everything that
// happens comes back through one queue of events.
#pragma once

#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "yrafiletransfer.h"

// Memory that crosses the library's boundary.
struct FreeDeleter {
  void operator()(void* p) const { std::free(p); }
};
template <typename T>
using Allocated = std::unique_ptr<T, FreeDeleter>;

// A zeroed record for a self signal; empty without memory.
template <typename Record>
Allocated<Record> NewRecord() {
  return Allocated<Record>(static_cast<Record*>(std::calloc(1, sizeof(Record))));
}

struct Event {
  enum class Kind {
    kNotification,  // of the library; the fields below tell
    kBoxClosed,     // the user has closed an error box
    kWindowClosed,  // the window manager has closed the progress window
    kAnswered,      // the user has answered a question with `status`, 1 for yes
    kInterrupted,   // the program was asked to end: SIGINT, SIGTERM or SIGHUP
    kUiEnded        // the UI thread has returned
  };
  Kind kind = Kind::kNotification;
  unsigned int code = 0;  // YRAFT_NOTIFY_...
  unsigned int subCode = 0;
  unsigned int status = 0;  // YRAFT_OPT_STATUS_...
  unsigned int value = 0;
  Allocated<void> block;  // a choice's block of `value` bytes
};

// One session a process. Every function is for the thread that created it.
class Session {
 public:
  // Takes the notify function and the three signals over and starts the UI thread.
  Session();

  // Ends the UI, in whatever state it is, and deletes it.
  ~Session();

  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Asks the user yes or no in a box; the answer is an event.
  void Ask(const std::string& title, const std::string& text);

  enum class Start { kReady, kUiEnded, kInterrupted, kTimedOut };

  // Sends a request, the first as soon as the UI accepts signals.
  Start SendFirst(int signalType, Allocated<void> input);

  // Sends a request; false when the UI is gone.
  bool Send(int signalType, int evtType, Allocated<void> input);

  // The next event, or nothing after `timeout`; kForever waits until there is one.
  static constexpr std::chrono::milliseconds kForever{-1};
  std::optional<Event> Next(std::chrono::milliseconds timeout);

 private:
  struct Ui;
  std::unique_ptr<Ui> m_ui;
};
