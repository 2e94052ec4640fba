#include "ChosenFiles.h"

#include <cstring>

#include "yraft.h"

namespace {

// Records stand at odd addresses in a block, so they are copied out.
template <typename Record>
std::optional<Record> ReadAt(const unsigned char* bytes, std::size_t length, std::size_t offset) {
  if (offset > length || length - offset < sizeof(Record)) return std::nullopt;
  Record record;
  std::memcpy(&record, bytes + offset, sizeof(record));
  return record;
}

// The name behind the file-information record at `offset`, which has to fill `length` bytes.
std::optional<std::string> NameAt(const unsigned char* bytes, std::size_t offset,
                                  std::size_t length) {
  const auto record = ReadAt<YRAFT_FILEINFO_ITEM>(bytes, offset + length, offset);
  if (!record || record->nameLen == 0) return std::nullopt;
  if (record->cbSize != length || length != sizeof(*record) + record->nameLen + 1) {
    return std::nullopt;
  }
  const char* name = reinterpret_cast<const char*>(bytes + offset + sizeof(*record));
  if (strnlen(name, record->nameLen + 1U) != record->nameLen) return std::nullopt;
  return std::string(name, record->nameLen);
}

}  // namespace

std::optional<std::vector<std::string>> ChosenPaths(const void* block, std::size_t length) {
  const auto* bytes = static_cast<const unsigned char*>(block);
  const auto header = bytes != nullptr ? ReadAt<YRAFT_TLV_BLOCKS>(bytes, length, 0) : std::nullopt;
  if (!header || header->ListBlocks < sizeof(*header)) return std::nullopt;

  std::vector<std::string> paths;
  std::size_t offset = header->ListBlocks;
  for (unsigned int i = 0; i < header->ListCount; ++i) {
    const auto item = ReadAt<YRAFT_TLV_ITEM>(bytes, length, offset);
    if (!item || item->cbSize < sizeof(*item) || item->cbSize > length - offset) {
      return std::nullopt;
    }
    auto name = NameAt(bytes, offset + sizeof(*item), item->cbSize - sizeof(*item));
    if (!name) return std::nullopt;
    paths.push_back(std::move(*name));
    offset += item->cbSize;
  }
  return paths;
}
