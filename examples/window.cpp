// The dialogs one at a time, from C++: window files | folder | progress | message TEXT
//
// Each runs in the thread that constructs the object, and has ended when the constructor returns.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "YraWinUI.h"

namespace {

enum Operation { kFolder = 1, kFiles = 2, kProgress = 3, kMessage = 4 };

struct Free {
  void operator()(void* p) const { std::free(p); }
};

// The progress window is up. A host would keep the object and let its transfer go on; the window
// stays until it is destroyed, which this host does at once.
unsigned int OnNotify(unsigned int event, unsigned int subCode, unsigned int, unsigned int,
                      void* pData) {
  if (event == YRAFT_NOTIFY_PROGRESS_BAR && subCode == 7) {
    static_cast<YraWinUI*>(pData)->YraMainWinDestory();
  }
  return 0;
}

// Prints what was chosen, one path a line.
int PrintChoice(YraWinUI& ui) {
  YRAFT_TLV_BLOCKS* pBlock = nullptr;
  if (ui.YraGetAllChooseFiles(&pBlock) != YRAFT_STATUS_SUCCESS) return EXIT_FAILURE;
  const std::unique_ptr<YRAFT_TLV_BLOCKS, Free> block(pBlock);
  const auto* at = reinterpret_cast<const unsigned char*>(pBlock) + pBlock->ListBlocks;
  for (int i = 0; i < pBlock->ListCount; ++i) {
    const auto* pItem = reinterpret_cast<const YRAFT_TLV_ITEM*>(at);
    const auto* pFile = static_cast<const YRAFT_FILEINFO_ITEM*>(YRAFT_TLV_PAYLOAD(pItem));
    // For the host's own use; a path of any bytes, as the file system has it.
    ui.YraListAppend(YRAFT_FILEINFO_NAME(pFile));
    std::puts(YRAFT_FILEINFO_NAME(pFile));
    at += pItem->cbSize;
  }
  return ui.YraListGetFileNum() == pBlock->ListCount ? EXIT_SUCCESS : EXIT_FAILURE;
}

// The object is empty again where its dialog could not be shown.
int Ended(YraWinUI& ui, int operation) {
  if (ui.YraOperationTypeGet() == operation) return EXIT_SUCCESS;
  std::fputs("The dialog could not be shown.\n", stderr);
  return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  const char* what = argc > 1 ? argv[1] : "";
  YraSetYraNotifyCallback(OnNotify);
  if (std::strcmp(what, "files") == 0) {
    YRAFT_THRESHOLD_INFO limits = {};
    limits.maxFiles = 100;
    limits.maxFileSize = 1U << 30;
    YraWinUI ui(kFiles, 0, nullptr, &limits);
    return Ended(ui, kFiles) == EXIT_SUCCESS ? PrintChoice(ui) : EXIT_FAILURE;
  }
  if (std::strcmp(what, "folder") == 0) {
    const std::unique_ptr<YRAFT_FILEINFO_ITEM, Free> file(
        Yraft_FileInfoItemAllocate("upload", 6, 0, 4096));
    YraWinUI ui(kFolder, 0, nullptr, file.get());
    return Ended(ui, kFolder) == EXIT_SUCCESS ? PrintChoice(ui) : EXIT_FAILURE;
  }
  if (std::strcmp(what, "progress") == 0) {
    YRAFT_PROGRESS_BAR_INFO info = {};
    info.filesNum = 1;
    info.fileSize = 100;
    info.fileOffset = 40;
    std::strncpy(info.name, "photo.png", sizeof(info.name) - 1);
    YraWinUI ui(kProgress, 0, nullptr, &info);
    return Ended(ui, kProgress);
  }
  if (std::strcmp(what, "message") == 0 && argc > 2) {
    const std::unique_ptr<YRAFT_ERROR_MESSAGE_INFO, Free> message(
        Yraft_ErrorMessageAllocate("File transfer", argv[2], ""));
    YraWinUI ui(kMessage, 0, nullptr, message.get());
    return Ended(ui, kMessage);
  }
  std::fprintf(stderr, "usage: %s files | folder | progress | message TEXT\n", argv[0]);
  return 2;
}
