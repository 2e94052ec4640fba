// The upload: the user chooses a folder, the files of the command line are copied into it, the
// progress window follows.
#include <climits>
#include <filesystem>
#include <string>
#include <vector>

#include "Choice.h"
#include "Commands.h"
#include "Console.h"
#include "FileCopy.h"
#include "Session.h"
#include "Transfer.h"

namespace {

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

}  // namespace

ExitStatus Upload(const std::vector<std::string>& files, std::uint64_t rate) {
  Console console;
  if (!AnyReadable(files, console)) return kExitIncomplete;
  Session session;
  const FolderChoice choice =
      ChooseFolder(session, console, [&files] { return RequestFor(files); });
  if (choice.status != kExitDone) return choice.status;
  return RunTransfer(session, console, {files, choice.folder.get(), YRAFT_OPERATION_UPLOAD, rate});
}
