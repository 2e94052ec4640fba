// The download: the user chooses files, each is copied into a folder, the progress window follows.
#include <cstring>
#include <string>

#include "Choice.h"
#include "Commands.h"
#include "Console.h"
#include "FileCopy.h"
#include "Session.h"
#include "Transfer.h"

namespace {

// No limit is this program's own; the whole of every field is allowed.
Allocated<YRAFT_THRESHOLD_INFO> NoLimits() {
  auto limits = NewRecord<YRAFT_THRESHOLD_INFO>();
  if (limits) std::memset(limits.get(), 0xFF, sizeof(*limits));
  return limits;
}

}  // namespace

ExitStatus Download(const std::string& folder, std::uint64_t rate) {
  Console console;
  std::string why;
  const UniqueFd opened = OpenFolder(folder, why);
  if (!opened) {
    console.Complain(Printable(folder) + ": " + why);
    return kExitNoStart;
  }
  Session session;
  const Choice choice = Choose(session, console, YRAFT_UI_SIGNAL_SELECT_FLIES, NoLimits());
  if (choice.status != kExitDone) return choice.status;
  return RunTransfer(session, console,
                     {choice.paths, opened.get(), YRAFT_OPERATION_DOWNLOAD, rate});
}
