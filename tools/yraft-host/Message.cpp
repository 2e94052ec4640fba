// One error box, until the user closes it.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Choice.h"
#include "Commands.h"
#include "Console.h"
#include "Failure.h"
#include "Session.h"

namespace {

// The three texts stand behind the record's head, each with its NUL; all lengths have 16 bits.
Allocated<YRAFT_ERROR_MESSAGE_INFO> NewMessage(const std::string& title, const std::string& text,
                                               const std::string& more) {
  const std::size_t size =
      sizeof(YRAFT_ERROR_MESSAGE_INFO) + title.size() + text.size() + more.size() + 3;
  if (size > UINT16_MAX) throw WrongUsage("the texts are longer than 65524 bytes together");
  Allocated<YRAFT_ERROR_MESSAGE_INFO> record(
      static_cast<YRAFT_ERROR_MESSAGE_INFO*>(std::calloc(1, size)));
  if (!record) return record;
  record->cbSize = static_cast<std::uint16_t>(size);
  record->titleLen = static_cast<std::uint16_t>(title.size());
  record->firLen = static_cast<std::uint16_t>(text.size());
  record->SecLen = static_cast<std::uint16_t>(more.size());
  char* at = reinterpret_cast<char*>(record.get() + 1);
  for (const std::string* part : {&title, &text, &more}) {
    std::memcpy(at, part->c_str(), part->size() + 1);
    at += part->size() + 1;
  }
  return record;
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
