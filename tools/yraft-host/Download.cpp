// The download: the user chooses files, each is copied into a folder, the progress window follows.
#include <string>
#include <vector>

#include "Choice.h"
#include "Commands.h"
#include "Console.h"
#include "FileNames.h"
#include "Places.h"
#include "Session.h"
#include "Transfer.h"

ExitStatus Download(const std::string& folder, const TransferOptions& options) {
  Console console(options.Speaks());
  Session session;
  Places ends(session, options);
  const ExitStatus opened = ends.OpenTarget(folder, console);
  if (opened != kExitDone) return opened;
  const Choice choice = ChooseFiles(session, console);
  if (choice.status != kExitDone) return choice.status;
  std::vector<TransferItem> items;
  for (const std::string& path : choice.paths) items.push_back({path, BaseName(path)});
  return RunTransfer(session, console, ends.Order(items, YRAFT_OPERATION_DOWNLOAD));
}
