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
#include "Commands.h"
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

}  // namespace

ExitStatus Upload(const std::vector<std::string>& files, std::uint64_t rate) {
  const std::vector<std::string> paths = Absolute(files);
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
