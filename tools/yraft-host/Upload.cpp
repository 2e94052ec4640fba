// The upload: the user chooses a folder, the files of the command line are copied into it, the
// progress window follows.
#include <algorithm>
#include <climits>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "Choice.h"
#include "Commands.h"
#include "Console.h"
#include "Failure.h"
#include "FileNames.h"
#include "LocalFolder.h"
#include "LocalSource.h"
#include "Session.h"
#include "Transfer.h"

namespace {

// Whether it is worth asking for a folder. Where no file can be read, says why.
bool AnyReadable(const std::vector<std::string>& paths, Console& console) {
  std::vector<std::string> complaints;
  for (const std::string& path : paths) {
    try {
      const LocalSource readable(path, false);
      return true;
    } catch (const FileFailed& failed) {
      complaints.push_back(Printable(path) + ": " + failed.what());
    }
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

}  // namespace

ExitStatus Upload(const std::vector<std::string>& files, const TransferOptions& options) {
  if (std::find(files.begin(), files.end(), "") != files.end()) {
    throw WrongUsage("a FILE has no name");
  }
  Console console;
  if (!AnyReadable(files, console)) return kExitIncomplete;
  Session session;
  FolderChoice choice = ChooseFolder(session, console, [&files] { return RequestFor(files); });
  if (choice.status != kExitDone) return choice.status;
  TransferOrder order{{}, YRAFT_OPERATION_UPLOAD, options};
  for (const std::string& path : files) order.items.push_back({path, BaseName(path)});
  LocalFolder target(std::move(choice.folder), options.rate == 0);
  return RunTransfer(session, console, order, target);
}
