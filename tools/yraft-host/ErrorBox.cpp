#include "ErrorBox.h"

#include <utility>

#include "Failure.h"
#include "Request.h"

namespace {

Allocated<YRAFT_ERROR_MESSAGE_INFO> NewMessage(const std::string& title, const std::string& text,
                                               const std::string& more) {
  if (title.size() + text.size() + more.size() > YRAFT_ERROR_TEXTS_MAX) {
    throw WrongUsage("the texts are longer than 65524 bytes together");
  }
  return Allocated<YRAFT_ERROR_MESSAGE_INFO>(
      Yraft_ErrorMessageAllocate(title.c_str(), text.c_str(), more.c_str()));
}

}  // namespace

ExitStatus ShowErrorBox(Session& session, Console& console, const std::string& title,
                        const std::string& text, const std::string& more) {
  auto record = NewMessage(title, text, more);
  const ExitStatus sent = Request(session, console, YRAFT_UI_SIGNAL_MESSAGE, std::move(record));
  if (sent != kExitDone) return sent;
  return Await(session, console,
               [](const Event& event) { return event.kind == Event::Kind::kBoxClosed; })
             ? kExitDone
             : kExitIncomplete;
}

ExitStatus ShowFailure(Session& session, Console& console, const Text& text,
                       const std::string& more) {
  return ShowErrorBox(session, console, Say(Said::kErrorTitle).local, text.local, more);
}
