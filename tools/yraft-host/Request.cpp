#include "Request.h"

#include <utility>

ExitStatus Request(Session& session, Console& console, int signalType, Allocated<void> record) {
  switch (session.SendFirst(signalType, std::move(record))) {
    case Session::Start::kReady:
      return kExitDone;
    case Session::Start::kUiEnded:
      console.Complain(kNoDisplay);
      return kExitNoStart;
    case Session::Start::kTimedOut:
      console.Complain("the display does not answer");
      return kExitNoStart;
    case Session::Start::kInterrupted:
      break;
  }
  console.Complain("interrupted");
  return kExitIncomplete;
}

std::optional<Event> Await(Session& session, Console& console,
                           const std::function<bool(const Event&)>& isAnswer) {
  while (true) {
    auto event = session.Next(Session::kForever);
    if (!event) continue;
    if (isAnswer(*event)) return event;
    if (event->kind == Event::Kind::kInterrupted) {
      console.Complain("interrupted");
      return std::nullopt;
    }
    if (event->kind == Event::Kind::kUiEnded) {
      console.Complain("the dialogs have ended");
      return std::nullopt;
    }
  }
}
