// What makes the store's containers differ. A row of kRows describes a container completely, and
// With names what holds its elements; the store's operations hold no rule of their own about a
// type, and an eighth type would be one more row and one more case.
#pragma once

#include "YraTrace.h"
// The trace vocabulary comes first.
#include <iterator>

#include "YraRW.h"

// What an element is, which tells what it weighs and what it becomes in a block.
enum class ElementKind {
  kBuffer,      // weighs the length it was pushed with; a block carries its address
  kFileRecord,  // a YRAFT_FILEINFO_ITEM: weighs its name and NUL; a block carries cbSize bytes
  kRecord,      // weighs, and is in a block, its fixed size
};

struct ContainerRow {
  int type;
  ElementKind kind;
  const char* name;
  const char* countWord;     // what a snapshot counts
  unsigned int recordSize;   // of kRecord
  unsigned int roomPerItem;  // bytes of a block beside what the elements weigh
  int firstIndex;            // of the elements in a snapshot's lines
  bool sumsFileSizes;        // into the block's FilesSize
  bool freedOnClear;
  bool freedOnPop;
  bool freedWhenPacked;  // the block carries a copy
};

inline constexpr unsigned int kItemRoom = sizeof(YRAFT_TLV_ITEM);
inline constexpr unsigned int kRecordRoom = kItemRoom + sizeof(YRAFT_FILEINFO_ITEM);

// clang-format off
inline constexpr ContainerRow kRows[] = {
  // type                 kind                      name              counts       size                         room         index sums   clear  pop    packed
  {YRAFT_QUEUE_BUFFER,   ElementKind::kBuffer,     "Buffer Queue",   "old queue", 0,                           kItemRoom,   0,    false, true,  false, false},
  {YRAFT_QUEUE_READ,     ElementKind::kBuffer,     "Read Queue",     "queue",     0,                           kItemRoom,   0,    false, true,  false, false},
  {YRAFT_QUEUE_WRITE,    ElementKind::kBuffer,     "Write Queue",    "queue",     0,                           kItemRoom,   0,    false, true,  false, false},
  {YRAFT_QUEUE_FILEINFO, ElementKind::kFileRecord, "FileInfo Queue", "queue",     0,                           kRecordRoom, 0,    true,  true,  true,  true},
  {YRAFT_QUEUE_FILEUI,   ElementKind::kRecord,     "FileUI Queue",   "queue",     sizeof(YRAFT_FILES_UI),      kItemRoom,   0,    false, true,  false, false},
  {YRAFT_LIST_FILEINFO,  ElementKind::kFileRecord, "FileInfo List",  "list",      0,                           kRecordRoom, 1,    false, false, false, false},
  {YRAFT_MAP_UITHREAD,   ElementKind::kRecord,     "UiThread Map",   "map",       sizeof(YRAFT_UI_THREADINFO), kRecordRoom, 1,    false, false, false, false},
};
// clang-format on

// Answers the row of a type, or null for an unknown one.
inline const ContainerRow* FindRow(int queueType) {
  static_assert([] {
    for (const ContainerRow& row : kRows) {
      if (&row != &kRows[row.type - 1]) return false;
    }
    return true;
  }());
  const bool known = queueType >= 1 && queueType <= static_cast<int>(std::size(kRows));
  return known ? &kRows[queueType - 1] : nullptr;
}

// What the operations may know of a store's inside.
struct YraContainers {
  using Element = YraRW::Element;
  using Queue = YraRW::Queue;
  using List = YraRW::List;
  using Map = YraRW::Map;

  static Map& MapOf(YraRW& rw) { return rw.m_uiThreadMap; }

  // Calls `use(elements, context, row)` with the elements of a known type, the counter of their
  // weights, and the row, a constant there. Elements that weigh the same need no counter.
  template <class Use>
  [[gnu::always_inline]] static auto With(YraRW& rw, int queueType, const Use& use) {
    const auto counted = [&use](auto& elements, int type) __attribute__((always_inline)) {
      const ContainerRow& row = kRows[type - 1];
      unsigned int context = static_cast<unsigned int>(elements.size()) * row.recordSize;
      return use(elements, context, row);
    };
    switch (queueType) {
      case YRAFT_QUEUE_BUFFER:
        return use(rw.m_bufferQueue, rw.m_bufferContextSize, kRows[YRAFT_QUEUE_BUFFER - 1]);
      case YRAFT_QUEUE_READ:
        return use(rw.m_readQueue, rw.m_readContextSize, kRows[YRAFT_QUEUE_READ - 1]);
      case YRAFT_QUEUE_WRITE:
        return use(rw.m_writeQueue, rw.m_writeContextSize, kRows[YRAFT_QUEUE_WRITE - 1]);
      case YRAFT_QUEUE_FILEINFO:
        return use(rw.m_fileInfoQueue, rw.m_fileInfoContextSize, kRows[YRAFT_QUEUE_FILEINFO - 1]);
      case YRAFT_QUEUE_FILEUI:
        return counted(rw.m_fileUIQueue, YRAFT_QUEUE_FILEUI);
      case YRAFT_LIST_FILEINFO:
        return use(rw.m_fileInfoList, rw.m_fileInfoListContextSize, kRows[YRAFT_LIST_FILEINFO - 1]);
      case YRAFT_MAP_UITHREAD:
        return counted(rw.m_uiThreadMap, YRAFT_MAP_UITHREAD);
      default:
        __builtin_unreachable();
    }
  }
};

inline const YRAFT_FILEINFO_ITEM* FileRecord(const unsigned char* pData) {
  return reinterpret_cast<const YRAFT_FILEINFO_ITEM*>(pData);
}

// Answers a new store, or null without memory.
YraRW* YraRWAllocate() noexcept;
