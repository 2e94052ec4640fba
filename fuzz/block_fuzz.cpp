// Blocks made of any bytes: a walk reads none beyond them and answers only what lies within.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "yraft.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // In memory of its own, so that a read beyond the block is found.
  std::vector<uint8_t> block(data, data + size);
  YRAFT_TLV_WALK walk;
  if (Yraft_TlvBlocksWalk(&walk, block.data(), size) != YRAFT_STATUS_SUCCESS) return 0;
  const unsigned int announced = walk.left;
  unsigned int items = 0;
  size_t bytes = 0;
  while (const YRAFT_TLV_ITEM* item = Yraft_TlvBlocksNext(&walk)) {
    ++items;
    bytes += item->cbSize;
    const auto* at = reinterpret_cast<const uint8_t*>(item);
    Require(at >= block.data() && at + item->cbSize <= block.data() + size);
    if (const YRAFT_FILEINFO_ITEM* record = Yraft_TlvItemFileInfo(item)) {
      Require(std::strlen(YRAFT_FILEINFO_NAME(record)) == record->nameLen);
    }
  }
  Require(items + walk.left == announced);
  if (walk.left != 0) return 0;
  // A whole block that starts where blocks of our own do is one to the builders, too.
  auto* own = reinterpret_cast<YRAFT_TLV_BLOCKS*>(block.data());
  unsigned short used = 0;
  if (own->ListBlocks != sizeof(*own) || bytes > YRAFT_BLOCK_MAX - sizeof(*own)) return 0;
  Require(Yraft_TlvBlocksGetSize(own, &used) == YRAFT_STATUS_SUCCESS);
  Require(used == sizeof(*own) + bytes);
  return 0;
}
