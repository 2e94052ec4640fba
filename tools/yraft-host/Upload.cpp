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
#include "LocalSource.h"
#include "Places.h"
#include "Session.h"
#include "Transfer.h"
#include "Url.h"

namespace {

// The files that are meant: those below a folder go into a folder of its name.
std::vector<TransferItem> ItemsOf(const std::vector<std::string>& places) {
  namespace fs = std::filesystem;
  std::vector<TransferItem> items;
  for (const std::string& place : places) {
    if (IsUrl(place)) {
      items.push_back({place, Url(place).Name()});
      continue;
    }
    std::error_code error;
    if (!fs::is_directory(place, error)) {
      items.push_back({place, BaseName(place)});
      continue;
    }
    const fs::path folder = fs::canonical(place, error).filename();
    fs::recursive_directory_iterator end;
    for (fs::recursive_directory_iterator at(place, error); !error && at != end;
         at.increment(error)) {
      if (at->is_directory(error)) continue;
      items.push_back({at->path(), folder / at->path().lexically_relative(place)});
    }
    if (error) items.push_back({place, folder});  // it will say itself why it cannot be opened
  }
  return items;
}

// Whether it is worth asking for a folder. Where no file can be read, says why.
bool AnyReadable(const std::vector<TransferItem>& items, Console& console) {
  std::vector<std::string> complaints;
  for (const TransferItem& item : items) {
    if (IsUrl(item.place)) return true;
    try {
      const LocalSource readable(item.place, false);
      return true;
    } catch (const FileFailed& failed) {
      complaints.push_back(Printable(item.place) + ": " + failed.what());
    }
  }
  for (const std::string& complaint : complaints) console.Complain(complaint);
  return false;
}

// The request names the first file and carries the size of all, which comes back with the choice.
Allocated<YRAFT_FILEINFO_ITEM> RequestFor(const std::vector<TransferItem>& items) {
  std::uint64_t size = 0;
  for (const TransferItem& item : items) size += item.bytes;
  const std::string name = BaseName(items.front().name).substr(0, NAME_MAX);
  Allocated<YRAFT_FILEINFO_ITEM> item(Yraft_FileInfoItemAllocate(
      name.empty() ? nullptr : name.data(), static_cast<int>(name.size()), 0, size));
  if (item) item->fileTransferOperation = YRAFT_OPERATION_UPLOAD;
  return item;
}

}  // namespace

ExitStatus Upload(const std::vector<std::string>& places, const std::string& folder,
                  const TransferOptions& options) {
  if (std::find(places.begin(), places.end(), "") != places.end()) {
    throw WrongUsage("a FILE has no name");
  }
  const auto items = ItemsOf(places);
  Console console(options.Speaks());
  if (!AnyReadable(items, console)) return kExitIncomplete;
  Session session;
  Places ends(session, options);
  if (!folder.empty()) {
    const ExitStatus opened = ends.OpenTarget(folder, console);
    if (opened != kExitDone) return opened;
  } else {
    FolderChoice choice = ChooseFolder(session, console, [&items] { return RequestFor(items); });
    if (choice.status != kExitDone) return choice.status;
    ends.TakeTarget(std::move(choice.folder), choice.path);
  }
  return RunTransfer(session, console, ends.Order(items, YRAFT_OPERATION_UPLOAD));
}
