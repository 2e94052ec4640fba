#include "Choice.h"

#include <utility>

#include "ChosenFiles.h"

namespace {

Choice ReadChoice(const Event& event, Console& console) {
  if (event.status == YRAFT_OPT_STATUS_CANCELLED) {
    console.Complain("nothing was chosen");
    return {};
  }
  if (event.status != YRAFT_OPT_STATUS_SUCCESS) {
    console.Complain("the choice failed: nothing in it, or more than one choice can hold");
    return {};
  }
  auto paths = ChosenPaths(event.block.get(), event.value);
  if (!paths || paths->empty()) {
    console.Complain("the choice cannot be read");
    return {};
  }
  return {kExitDone, std::move(*paths)};
}

}  // namespace

ExitStatus SendFirst(Session& session, Console& console, int signalType, Allocated<void> request) {
  switch (session.SendFirst(signalType, std::move(request))) {
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

Choice Choose(Session& session, Console& console, int signalType, Allocated<void> request) {
  const unsigned int answer = signalType == YRAFT_UI_SIGNAL_SELECT_DIR
                                  ? YRAFT_NOTIFY_CHOOSE_DIRECTORY
                                  : YRAFT_NOTIFY_CHOOSE_FILES;
  const ExitStatus sent = SendFirst(session, console, signalType, std::move(request));
  if (sent != kExitDone) return {sent, {}};
  while (true) {
    const auto event = session.Next(Session::kForever);
    if (!event) continue;
    if (event->kind == Event::Kind::kInterrupted) {
      console.Complain("interrupted");
      return {};
    }
    if (event->kind == Event::Kind::kUiEnded) {
      console.Complain("the dialogs have ended");
      return {};
    }
    if (event->code == answer) return ReadChoice(*event, console);
  }
}
