// The upload: the user chooses a folder, the files of the command line are copied into it, the
// progress window follows.
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "Choice.h"
#include "Command.h"
#include "Console.h"
#include "FileCopy.h"
#include "Session.h"
#include "Transfer.h"

namespace {

std::vector<std::string> Absolute(const std::vector<std::string>& paths) {
  std::vector<std::string> absolute;
  absolute.reserve(paths.size());
  for (const std::string& path : paths) absolute.push_back(std::filesystem::absolute(path));
  return absolute;
}

// Whether it is worth asking for a folder. Where no file can be read, says why.
bool AnyReadable(const std::vector<std::string>& paths, Console& console) {
  std::vector<std::string> complaints;
  for (const std::string& path : paths) {
    std::string why;
    if (OpenSource(path, why)) return true;
    complaints.push_back(Printable(path) + ": " + why);
  }
  for (const std::string& complaint : complaints) console.Complain(complaint);
  return false;
}

// The request names the first file and carries the size of all, which comes back with the choice.
Allocated<YRAFT_FILEINFO_ITEM> RequestFor(const std::vector<std::string>& paths) {
  std::uint64_t size = 0;
  for (const std::string& path : paths) {
    std::error_code unreadable;
    const std::uint64_t bytes = std::filesystem::file_size(path, unreadable);
    if (!unreadable) size += bytes;
  }
  const std::string name = BaseName(paths.front()).substr(0, NAME_MAX);
  Allocated<YRAFT_FILEINFO_ITEM> item(Yraft_FileInfoItemAllocate(
      name.empty() ? nullptr : name.data(), static_cast<int>(name.size()), 0, size));
  if (item) item->fileTransferOperation = YRAFT_OPERATION_UPLOAD;
  return item;
}

// The folder chooser hides what this process cannot write, and looks for each name it lists in the
// working directory. It opens in the home directory, so that is where the process has to be.
void EnterHome() {
  const char* home = std::getenv("HOME");
  const passwd* user = home == nullptr ? getpwuid(getuid()) : nullptr;
  if (user != nullptr) home = user->pw_dir;
  if (home == nullptr || chdir(home) != 0)
    return;  // it then lists fewer folders; a path still goes
}

ExitStatus RunUpload(const Arguments& arguments) {
  const std::uint64_t rate = arguments.Number("rate", UINT64_MAX).value_or(0);
  const std::vector<std::string> paths = Absolute(arguments.operands);
  Console console;
  if (!AnyReadable(paths, console)) return kExitIncomplete;
  EnterHome();
  Session session;
  const Choice choice = Choose(session, console, YRAFT_UI_SIGNAL_SELECT_DIR, RequestFor(paths));
  if (choice.status != kExitDone) return choice.status;
  std::string why;
  const UniqueFd folder = OpenFolder(choice.paths.front(), why);
  if (!folder) {
    console.Complain(Printable(choice.paths.front()) + ": " + why);
    return kExitIncomplete;
  }
  return RunTransfer(session, console, {paths, folder.get(), YRAFT_OPERATION_UPLOAD, rate});
}

}  // namespace

const Command kUpload = {
    "upload",
    "usage: yraft-host upload [--rate N] FILE...\n"
    "\n"
    "Asks for a folder in the folder chooser and copies every FILE into it, while the progress\n"
    "window shows how far it is and lets you pause, resume and cancel. Prints a line for each\n"
    "file. Nothing in the folder is replaced, a second \"name\" becomes \"name (2)\".\n"
    "\n"
    "  --rate N   copy at most N bytes a second, to have time to watch\n"
    "  --help     show this text\n"
    "\n"
    "Exit status: 0 every FILE arrived whole; 1 no folder was chosen, the transfer was cancelled\n"
    "or a file did not arrive; 2 wrong usage or no display.\n",
    {{"rate", true}},
    1,
    SIZE_MAX,
    RunUpload};
