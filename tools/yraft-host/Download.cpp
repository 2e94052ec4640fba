// The download: the user chooses files, each is copied into a folder, the progress window follows.
#include <string>
#include <utility>

#include "Choice.h"
#include "Commands.h"
#include "Console.h"
#include "FileNames.h"
#include "LocalFolder.h"
#include "Session.h"
#include "Transfer.h"

ExitStatus Download(const std::string& folder, const TransferOptions& options) {
  Console console;
  std::string why;
  UniqueFd opened = OpenFolder(folder, why);
  if (!opened) {
    console.Complain(Printable(folder) + ": " + why);
    return kExitNoStart;
  }
  Session session;
  const Choice choice = ChooseFiles(session, console);
  if (choice.status != kExitDone) return choice.status;
  TransferOrder order{{}, YRAFT_OPERATION_DOWNLOAD, options};
  for (const std::string& path : choice.paths) order.items.push_back({path, BaseName(path)});
  LocalFolder target(std::move(opened), options.rate == 0);
  return RunTransfer(session, console, order, target);
}
