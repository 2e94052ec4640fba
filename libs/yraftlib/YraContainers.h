// What makes the store's seven containers differ. One row of kContainers describes a container
// completely: what an element weighs, who releases it and what it becomes in a block. The store's
// operations hold no rule of their own about a type.
#pragma once

#include <type_traits>
#include <utility>

#include "YraRW.h"

struct YraContainers {
  using Element = YraRW::Element;

  struct Payload {
    const void* pData;
    unsigned int len;
  };

  struct Row {
    const char* name;
    const char* countWord;  // what a snapshot counts
    unsigned int (*weight)(const unsigned char* pData, unsigned int len);
    Payload (*payload)(const Element& element);
    void (*traceElement)(int index, const void* pNode, int key, const Element& element);
    uint64_t (*fileSize)(const Element& element);  // what FilesSize adds up; null: nothing
    unsigned int roomPerItem;                      // bytes of a block beside the context size
    unsigned int pointerRoom;  // a block carries addresses: this much each, not the contents
    int firstIndex;            // of the traced elements
    bool named;                // the element is a file record whose push is traced by name
    bool freedOnClear;
    bool freedOnPop;
    bool freedWhenPacked;  // the block carries a copy
  };

  static const Row* Find(int queueType);

  // A row as a constant of the code that is made for its type.
  template <int kType>
  struct Rule {
    static constexpr int type = kType;
  };

  // Calls `use(container, context, rule)` with the container of a type, which must be known, and
  // its context size: the counter that moves with the elements, or what follows from their number.
  template <class Use>
  [[gnu::always_inline]] static auto With(YraRW& rw, int queueType, Use use) {
    switch (queueType) {
      case YRAFT_QUEUE_BUFFER:
        return use(rw.m_bufferQueue, rw.m_bufferContextSize, Rule<YRAFT_QUEUE_BUFFER>{});
      case YRAFT_QUEUE_READ:
        return use(rw.m_readQueue, rw.m_readContextSize, Rule<YRAFT_QUEUE_READ>{});
      case YRAFT_QUEUE_WRITE:
        return use(rw.m_writeQueue, rw.m_writeContextSize, Rule<YRAFT_QUEUE_WRITE>{});
      case YRAFT_QUEUE_FILEINFO:
        return use(rw.m_fileInfoQueue, rw.m_fileInfoContextSize, Rule<YRAFT_QUEUE_FILEINFO>{});
      case YRAFT_LIST_FILEINFO:
        return use(rw.m_fileInfoList, rw.m_fileInfoListContextSize, Rule<YRAFT_LIST_FILEINFO>{});
      case YRAFT_QUEUE_FILEUI: {
        auto context = static_cast<unsigned int>(rw.m_fileUIQueue.size() * sizeof(YRAFT_FILES_UI));
        return use(rw.m_fileUIQueue, context, Rule<YRAFT_QUEUE_FILEUI>{});
      }
      default: {
        auto context =
            static_cast<unsigned int>(rw.m_uiThreadMap.size() * sizeof(YRAFT_UI_THREADINFO));
        return use(rw.m_uiThreadMap, context, Rule<YRAFT_MAP_UITHREAD>{});
      }
    }
  }

  // An element of any container, and the node that holds it.
  static Element& Of(Element& element) { return element; }
  static Element& Of(std::pair<const int, Element>& entry) { return entry.second; }
  static int KeyOf(const Element&) { return 0; }
  static int KeyOf(const std::pair<const int, Element>& entry) { return entry.first; }
  template <class Container>
  static constexpr bool kIsMap = std::is_same_v<std::remove_cvref_t<Container>, YraRW::Map>;
};

// The rows, and the rules in them.
namespace yra_rules {

using Element = YraContainers::Element;
using Payload = YraContainers::Payload;
using Row = YraContainers::Row;

void TraceRecord(int index, const void* pNode, int key, const Element& element);
void TraceListRecord(int index, const void* pNode, int key, const Element& element);
void TraceThreadInfo(int index, const void* pNode, int key, const Element& element);

inline const YRAFT_FILEINFO_ITEM* FileInfo(const unsigned char* pData) {
  return reinterpret_cast<const YRAFT_FILEINFO_ITEM*>(pData);
}

inline unsigned int LengthWeight(const unsigned char*, unsigned int len) { return len; }
inline unsigned int NameWeight(const unsigned char* pData, unsigned int) {
  return FileInfo(pData)->nameLen + 1U;
}
inline unsigned int NoWeight(const unsigned char*, unsigned int) { return 0; }

inline Payload AddressPayload(const Element& element) {
  return {&element.pData, sizeof(element.pData)};
}
inline Payload RecordPayload(const Element& element) {
  return {element.pData, FileInfo(element.pData)->cbSize};
}
inline Payload FilesUIPayload(const Element& element) {
  return {element.pData, sizeof(YRAFT_FILES_UI)};
}
inline Payload ThreadInfoPayload(const Element& element) {
  return {element.pData, sizeof(YRAFT_UI_THREADINFO)};
}

inline uint64_t RecordFileSize(const Element& element) { return FileInfo(element.pData)->fileSize; }

inline constexpr unsigned int kItemHead = sizeof(YRAFT_TLV_ITEM);
inline constexpr unsigned int kRecordHeads = kItemHead + sizeof(YRAFT_FILEINFO_ITEM);
inline constexpr unsigned int kAddress = sizeof(void*);

inline constexpr Row Buffers(const char* name, const char* countWord) {
  return {.name = name,
          .countWord = countWord,
          .weight = LengthWeight,
          .payload = AddressPayload,
          .traceElement = nullptr,
          .fileSize = nullptr,
          .roomPerItem = kItemHead,
          .pointerRoom = kAddress,
          .firstIndex = 0,
          .named = false,
          .freedOnClear = true,
          .freedOnPop = false,
          .freedWhenPacked = false};
}

inline constexpr Row kContainers[] = {
    Buffers("Buffer Queue", "old queue"),
    Buffers("Read Queue", "queue"),
    Buffers("Write Queue", "queue"),
    {.name = "FileInfo Queue",
     .countWord = "queue",
     .weight = NameWeight,
     .payload = RecordPayload,
     .traceElement = TraceRecord,
     .fileSize = RecordFileSize,
     .roomPerItem = kRecordHeads,
     .pointerRoom = 0,
     .firstIndex = 0,
     .named = true,
     .freedOnClear = true,
     .freedOnPop = true,
     .freedWhenPacked = true},
    {.name = "FileUI Queue",
     .countWord = "queue",
     .weight = NoWeight,
     .payload = FilesUIPayload,
     .traceElement = nullptr,
     .fileSize = nullptr,
     .roomPerItem = kItemHead,
     .pointerRoom = 0,
     .firstIndex = 0,
     .named = false,
     .freedOnClear = true,
     .freedOnPop = false,
     .freedWhenPacked = false},
    {.name = "FileInfo List",
     .countWord = "list",
     .weight = NameWeight,
     .payload = RecordPayload,
     .traceElement = TraceListRecord,
     .fileSize = nullptr,
     .roomPerItem = kRecordHeads,
     .pointerRoom = 0,
     .firstIndex = 1,
     .named = true,
     .freedOnClear = false,
     .freedOnPop = false,
     .freedWhenPacked = false},
    {.name = "UiThread Map",
     .countWord = "map",
     .weight = NoWeight,
     .payload = ThreadInfoPayload,
     .traceElement = TraceThreadInfo,
     .fileSize = nullptr,
     .roomPerItem = kRecordHeads,
     .pointerRoom = 0,
     .firstIndex = 1,
     .named = false,
     .freedOnClear = false,
     .freedOnPop = false,
     .freedWhenPacked = false},
};

}  // namespace yra_rules

inline const YraContainers::Row* YraContainers::Find(int queueType) {
  const bool known = queueType >= YRAFT_QUEUE_BUFFER && queueType <= YRAFT_MAP_UITHREAD;
  return known ? &yra_rules::kContainers[queueType - YRAFT_QUEUE_BUFFER] : nullptr;
}

template <class Rule>
inline constexpr const YraContainers::Row& kRowOf =
    yra_rules::kContainers[Rule::type - YRAFT_QUEUE_BUFFER];
