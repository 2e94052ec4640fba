// One error box, until the user closes it.
#include <string>

#include "Choice.h"
#include "Commands.h"
#include "Console.h"
#include "Failure.h"
#include "Session.h"

namespace {

Allocated<YRAFT_ERROR_MESSAGE_INFO> NewMessage(const std::string& title, const std::string& text,
                                               const std::string& more) {
  if (title.size() + text.size() + more.size() > YRAFT_ERROR_TEXTS_MAX) {
    throw WrongUsage("the texts are longer than 65524 bytes together");
  }
  return Allocated<YRAFT_ERROR_MESSAGE_INFO>(
      Yraft_ErrorMessageAllocate(title.c_str(), text.c_str(), more.c_str()));
}

ExitStatus WaitUntilClosed(Session& session, Console& console) {
  while (true) {
    const auto event = session.Next(Session::kForever);
    if (!event) continue;
    if (event->kind == Event::Kind::kBoxClosed) return kExitDone;
    if (event->kind == Event::Kind::kInterrupted) {
      console.Complain("interrupted");
      return kExitIncomplete;
    }
    if (event->kind == Event::Kind::kUiEnded) {
      console.Complain("the dialogs have ended");
      return kExitIncomplete;
    }
  }
}

}  // namespace

ExitStatus Message(const std::string& title, const std::string& text, const std::string& more) {
  auto record = NewMessage(title, text, more);
  Console console;
  Session session;
  session.WatchBoxes();
  const ExitStatus sent = SendFirst(session, console, YRAFT_UI_SIGNAL_MESSAGE, std::move(record));
  return sent == kExitDone ? WaitUntilClosed(session, console) : sent;
}
