// The one-call choosers: a dialog in this thread, what was chosen on standard output.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <new>
#include <string>
#include <vector>

#include "Choice.h"
#include "ChosenFiles.h"
#include "Commands.h"
#include "Console.h"
#include "Failure.h"
#include "PrintPaths.h"
#include "Session.h"
#include "Texts.h"
#include "YraWinUI.h"

namespace {

constexpr char kOverLimit[] = "the choice is over a limit";

// What a one-call chooser answered.
struct Answer {
  unsigned int result = YRAFT_STATUS_SUCCESS;
  unsigned int status = YRAFT_OPT_STATUS_SUCCESS;
  Allocated<YRAFT_TLV_BLOCKS> block;
};

// A name for the toolkit.
struct ProgramName {
  char name[11] = "yraft-host";
  char* argv[2] = {name, nullptr};
};

// A box, in this thread as well.
void Tell(const std::string& text, const std::string& more) {
  const Allocated<YRAFT_ERROR_MESSAGE_INFO> record(
      Yraft_ErrorMessageAllocate(Say(Said::kErrorTitle).local.c_str(), text.c_str(), more.c_str()));
  ProgramName program;
  if (record) const YraWinUI box(4, 1, program.argv, record.get());
}

Answer AskForFiles(const Limits& limits) {
  YRAFT_THRESHOLD_INFO record;
  std::memset(&record, 0xFF, sizeof(record));
  record.maxFiles = static_cast<std::uint16_t>(limits.files);
  record.maxFileSize =
      static_cast<std::uint32_t>(std::min<std::uint64_t>(limits.bytes, UINT32_MAX));
  ProgramName program;
  Answer answer;
  YRAFT_TLV_BLOCKS* block = nullptr;
  answer.result = YraGetChooseFilesList(1, program.argv, &record, &answer.status, &block);
  answer.block.reset(block);
  return answer;
}

// No file is to be uploaded here: the request has no name and no size.
Answer AskForDirectory() {
  const Allocated<YRAFT_FILEINFO_ITEM> record(Yraft_FileInfoItemAllocate(nullptr, 0, 0, 0));
  if (!record) throw std::bad_alloc();
  ProgramName program;
  Answer answer;
  YRAFT_TLV_BLOCKS* block = nullptr;
  answer.result = YraGetChooseDirectory(1, program.argv, record.get(), &answer.status, &block);
  answer.block.reset(block);
  return answer;
}

// The library counts the size in 32 bits, so that a file of 4 GiB and a byte passes as one byte.
bool IsOver(const std::vector<std::string>& paths, std::uint64_t limit) {
  std::uint64_t total = 0;
  for (const std::string& path : paths) {
    std::error_code unreadable;
    const std::uint64_t size = std::filesystem::file_size(path, unreadable);
    if (!unreadable) total += size;
  }
  return total > limit;
}

ExitStatus Complain(const char* why, ExitStatus status = kExitIncomplete) {
  Console().Complain(why);
  return status;
}

// Prints what was chosen, or complains that nothing was.
ExitStatus Report(const Answer& answer, PathFormat format, std::uint64_t maxBytes) {
  if (answer.result != YRAFT_STATUS_SUCCESS) return Complain("the choice failed");
  if (answer.status == YRAFT_OPT_STATUS_LIMIT_EXCEEDED) return Complain(kOverLimit);
  if (answer.status != YRAFT_OPT_STATUS_SUCCESS) return Complain(kNoDisplay, kExitNoStart);
  unsigned short length = 0;
  Yraft_TlvBlocksGetSize(answer.block.get(), &length);
  const auto paths = ChosenPaths(answer.block.get(), length);
  if (!paths) return Complain("the choice cannot be read");
  if (paths->empty()) return Complain("nothing was chosen");
  if (IsOver(*paths, maxBytes)) return Complain(kOverLimit);
  if (!PrintPaths(*paths, format)) return Complain("the choice cannot be written");
  return kExitDone;
}

}  // namespace

ExitStatus PickFiles(const Limits& limits, const ChooserLook& look, PathFormat format) {
  if (!look.folder.empty() && !std::filesystem::is_directory(look.folder)) {
    throw WrongUsage("--folder takes a folder");
  }
  ShapeNextChooser(look);
  Answer answer = AskForFiles(limits);
  while (answer.result == YRAFT_STATUS_BUFFER_TOO_SMALL) {
    ShapeNextChooser(look);
    Tell(Say(Said::kTooManyFiles).local, TooManyFiles());
    answer = AskForFiles(limits);
  }
  return Report(answer, format, limits.bytes);
}

ExitStatus PickDirectory(PathFormat format) {
  return Report(AskForDirectory(), format, UINT64_MAX);
}
