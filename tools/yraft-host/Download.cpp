// The download: the user chooses files, each is copied into a folder, the progress window follows.
#include <string>

#include "Choice.h"
#include "Commands.h"
#include "Console.h"
#include "FileCopy.h"
#include "Session.h"
#include "Transfer.h"

ExitStatus Download(const std::string& folder, std::uint64_t rate) {
  Console console;
  std::string why;
  const UniqueFd opened = OpenFolder(folder, why);
  if (!opened) {
    console.Complain(Printable(folder) + ": " + why);
    return kExitNoStart;
  }
  Session session;
  const Choice choice = ChooseFiles(session, console);
  if (choice.status != kExitDone) return choice.status;
  return RunTransfer(session, console,
                     {choice.paths, opened.get(), YRAFT_OPERATION_DOWNLOAD, rate});
}
