// The download: the user chooses files, each is copied into a folder, the progress window follows.
#include <cstring>
#include <string>

#include "Choice.h"
#include "Command.h"
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

ExitStatus RunDownload(const Arguments& arguments) {
  const auto to = arguments.options.find("to");
  if (to == arguments.options.end()) throw UsageError("download needs --to DIR");
  const std::uint64_t rate = arguments.Number("rate", UINT64_MAX).value_or(0);
  Console console;
  std::string why;
  const UniqueFd folder = OpenFolder(to->second, why);
  if (!folder) {
    console.Complain(Printable(to->second) + ": " + why);
    return kExitNoStart;
  }
  Session session;
  const Choice choice = Choose(session, console, YRAFT_UI_SIGNAL_SELECT_FLIES, NoLimits());
  if (choice.status != kExitDone) return choice.status;
  return RunTransfer(session, console,
                     {choice.paths, folder.get(), YRAFT_OPERATION_DOWNLOAD, rate});
}

}  // namespace

const Command kDownload = {
    "download",
    "usage: yraft-host download --to DIR [--rate N]\n"
    "\n"
    "Asks for files in the file chooser and copies each into DIR, while the progress window shows\n"
    "how far it is and lets you pause, resume and cancel. Prints a line for each file.\n"
    "\n"
    "  --to DIR   an existing folder; nothing in it is replaced, a second \"name\" becomes\n"
    "             \"name (2)\"\n"
    "  --rate N   copy at most N bytes a second, to have time to watch\n"
    "  --help     show this text\n"
    "\n"
    "Exit status: 0 every chosen file arrived whole; 1 nothing was chosen, the transfer was\n"
    "cancelled or a file did not arrive; 2 wrong usage, DIR takes no files, or no display.\n",
    {{"to", true}, {"rate", true}},
    0,
    0,
    RunDownload};
