#include "ChosenFiles.h"

#include "yraft.h"

std::optional<std::vector<std::string>> ChosenPaths(const void* block, std::size_t length) {
  YRAFT_TLV_WALK walk;
  if (Yraft_TlvBlocksWalk(&walk, block, length) != YRAFT_STATUS_SUCCESS) return std::nullopt;
  std::vector<std::string> paths;
  while (const YRAFT_TLV_ITEM* item = Yraft_TlvBlocksNext(&walk)) {
    const YRAFT_FILEINFO_ITEM* file = Yraft_TlvItemFileInfo(item);
    if (file == nullptr || file->nameLen == 0) return std::nullopt;
    paths.emplace_back(YRAFT_FILEINFO_NAME(file), std::size_t{file->nameLen});
  }
  if (walk.left != 0) return std::nullopt;
  return paths;
}
