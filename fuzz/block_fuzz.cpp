// Blocks made of any bytes: a walk reads none beyond them and answers only what lies within.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "yraft.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  YRAFT_TLV_WALK walk;
  if (Yraft_TlvBlocksWalk(&walk, data, size) != YRAFT_STATUS_SUCCESS) return 0;
  size_t used = reinterpret_cast<const YRAFT_TLV_BLOCKS*>(data)->ListBlocks;
  while (const YRAFT_TLV_ITEM* item = Yraft_TlvBlocksNext(&walk)) {
    if (reinterpret_cast<const uint8_t*>(item) != data + used) std::abort();
    used += item->cbSize;
    const YRAFT_FILEINFO_ITEM* record = Yraft_TlvItemFileInfo(item);
    if (record != nullptr && std::strlen(record->name) != record->nameLen) std::abort();
  }
  return used <= size ? 0 : (std::abort(), 0);
}
