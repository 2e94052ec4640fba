#include "Choice.h"

#include <cstring>
#include <utility>

#include "ChosenFiles.h"
#include "ErrorBox.h"
#include "LocalFolder.h"
#include "Request.h"

namespace {

// No limit is this program's own; the whole of every field is allowed.
Allocated<YRAFT_THRESHOLD_INFO> NoLimits() {
  auto limits = NewRecord<YRAFT_THRESHOLD_INFO>();
  if (limits) std::memset(limits.get(), 0xFF, sizeof(*limits));
  return limits;
}

std::optional<Event> Ask(Session& session, Console& console, int signalType,
                         Allocated<void> request, ExitStatus& status) {
  const unsigned int answer = signalType == YRAFT_UI_SIGNAL_SELECT_DIR
                                  ? YRAFT_NOTIFY_CHOOSE_DIRECTORY
                                  : YRAFT_NOTIFY_CHOOSE_FILES;
  status = Request(session, console, signalType, std::move(request));
  if (status != kExitDone) return std::nullopt;
  status = kExitIncomplete;
  return Await(session, console, [answer](const Event& event) {
    return event.kind == Event::Kind::kNotification && event.code == answer;
  });
}

Choice ReadChoice(const Event& event, Console& console) {
  if (event.status == YRAFT_OPT_STATUS_CANCELLED) {
    console.Complain("nothing was chosen");
    return {};
  }
  auto paths = ChosenPaths(event.block.get(), event.value);
  if (event.status != YRAFT_OPT_STATUS_SUCCESS || !paths || paths->empty()) {
    console.Complain("the choice failed");
    return {};
  }
  return {kExitDone, std::move(*paths)};
}

// The chooser was shown and accepted, and no block came of it.
bool IsTooLarge(const Event& event) {
  return event.status == YRAFT_OPT_STATUS_FAILED && event.subCode == 15;
}

}  // namespace

std::string TooManyFiles() {
  constexpr int kLength = 100;
  constexpr int kFit = (YRAFT_BLOCK_MAX - 12) / (kLength + YRAFT_FILE_IN_BLOCK);
  return Say(Said::kTooManyMore, {std::to_string(kFit), std::to_string(kLength)}).local;
}

Choice ChooseFiles(Session& session, Console& console) {
  while (true) {
    Choice none;
    const auto event = Ask(session, console, YRAFT_UI_SIGNAL_SELECT_FLIES, NoLimits(), none.status);
    if (!event) return none;
    if (!IsTooLarge(*event)) return ReadChoice(*event, console);
    none.status = ShowFailure(session, console, Say(Said::kTooManyFiles), TooManyFiles());
    if (none.status != kExitDone) return none;
  }
}

FolderChoice ChooseFolder(Session& session, Console& console,
                          const std::function<Allocated<YRAFT_FILEINFO_ITEM>()>& request) {
  while (true) {
    FolderChoice choice;
    const auto event = Ask(session, console, YRAFT_UI_SIGNAL_SELECT_DIR, request(), choice.status);
    if (!event) return choice;
    const Choice chosen = ReadChoice(*event, console);
    choice.status = chosen.status;
    if (choice.status != kExitDone) return choice;
    choice.path = chosen.paths.front();
    Text why;
    choice.folder = OpenFolder(choice.path, why);
    if (choice.folder) return choice;
    const std::string head = Printable(choice.path) + ": ";
    console.Complain(head + why.english);
    choice.status = ShowFailure(session, console, Say(Said::kFolderTakesNone), head + why.local);
    if (choice.status != kExitDone) return choice;
  }
}
