// What makes the store's containers differ. One row of YraContainers::Rows describes a container
// completely: its number and name, where it lives in a store, what an element weighs, who releases
// it and what it becomes in a block. The store's operations hold no rule of their own about a type,
// and an eighth type would be one more row.
#pragma once

#include <array>
#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

#include "YraRW.h"

// What the operations may know of a store's inside.
struct YraContainers {
  using Element = YraRW::Element;
  using Queue = YraRW::Queue;
  using List = YraRW::List;
  using Map = YraRW::Map;

  static constexpr auto Rows();
};

namespace yra_rules {

using Element = YraContainers::Element;

struct Payload {
  const void* pData;
  unsigned int len;
};

struct Row {
  int type;
  const char* name;
  const char* countWord;  // what a snapshot counts
  // An element's share of the context size: what is said of it, or the same for each.
  unsigned int (*weight)(const unsigned char* pData, unsigned int len);
  unsigned int sameWeight;  // 0: see `weight`
  Payload (*payload)(const Element& element);
  void (*traceElement)(const char* caller, int index, const void* pNode, int key,
                       const Element& element);
  uint64_t (*fileSize)(const Element& element);  // what FilesSize adds up; null: nothing
  unsigned int roomPerItem;                      // bytes of a block beside the context size
  unsigned int pointerRoom;  // a block carries addresses: this much each, not the contents
  int firstIndex;            // of the traced elements
  bool named;                // the element is a file record whose push is traced by name
  bool freedOnClear;
  bool freedOnPop;
  bool freedWhenPacked;  // the block carries a copy
};

template <class Elements>
struct Container {
  Row row;
  Elements YraRW::*elements;
  unsigned int YraRW::*counter;  // of the elements' weights; null where they weigh the same
};

void TraceRecord(const char* kCaller, int index, const void* pNode, int key,
                 const Element& element);
void TraceListRecord(const char* kCaller, int index, const void* pNode, int key,
                     const Element& element);
void TraceThreadInfo(const char* kCaller, int index, const void* pNode, int key,
                     const Element& element);

inline const YRAFT_FILEINFO_ITEM* FileInfo(const unsigned char* pData) {
  return reinterpret_cast<const YRAFT_FILEINFO_ITEM*>(pData);
}

inline unsigned int LengthWeight(const unsigned char*, unsigned int len) { return len; }
inline unsigned int NameWeight(const unsigned char* pData, unsigned int) {
  return FileInfo(pData)->nameLen + 1U;
}

inline Payload AddressPayload(const Element& element) {
  return {&element.pData, sizeof(element.pData)};
}
inline Payload FileInfoPayload(const Element& element) {
  return {element.pData, FileInfo(element.pData)->cbSize};
}
template <class Record>
Payload RecordPayload(const Element& element) {
  return {element.pData, sizeof(Record)};
}

inline uint64_t FileSize(const Element& element) { return FileInfo(element.pData)->fileSize; }

inline constexpr unsigned int kItemHead = sizeof(YRAFT_TLV_ITEM);
inline constexpr unsigned int kRecordHeads = kItemHead + sizeof(YRAFT_FILEINFO_ITEM);

inline constexpr Row Buffers(int type, const char* name, const char* countWord) {
  return {.type = type,
          .name = name,
          .countWord = countWord,
          .weight = LengthWeight,
          .sameWeight = 0,
          .payload = AddressPayload,
          .traceElement = nullptr,
          .fileSize = nullptr,
          .roomPerItem = kItemHead,
          .pointerRoom = sizeof(void*),
          .firstIndex = 0,
          .named = false,
          .freedOnClear = true,
          .freedOnPop = false,
          .freedWhenPacked = false};
}

}  // namespace yra_rules

constexpr auto YraContainers::Rows() {
  using namespace yra_rules;
  return std::tuple{
      Container<Queue>{Buffers(YRAFT_QUEUE_BUFFER, "Buffer Queue", "old queue"),
                       &YraRW::m_bufferQueue, &YraRW::m_bufferContextSize},
      Container<Queue>{Buffers(YRAFT_QUEUE_READ, "Read Queue", "queue"), &YraRW::m_readQueue,
                       &YraRW::m_readContextSize},
      Container<Queue>{Buffers(YRAFT_QUEUE_WRITE, "Write Queue", "queue"), &YraRW::m_writeQueue,
                       &YraRW::m_writeContextSize},
      Container<Queue>{{.type = YRAFT_QUEUE_FILEINFO,
                        .name = "FileInfo Queue",
                        .countWord = "queue",
                        .weight = NameWeight,
                        .sameWeight = 0,
                        .payload = FileInfoPayload,
                        .traceElement = TraceRecord,
                        .fileSize = FileSize,
                        .roomPerItem = kRecordHeads,
                        .pointerRoom = 0,
                        .firstIndex = 0,
                        .named = true,
                        .freedOnClear = true,
                        .freedOnPop = true,
                        .freedWhenPacked = true},
                       &YraRW::m_fileInfoQueue,
                       &YraRW::m_fileInfoContextSize},
      Container<Queue>{{.type = YRAFT_QUEUE_FILEUI,
                        .name = "FileUI Queue",
                        .countWord = "queue",
                        .weight = nullptr,
                        .sameWeight = sizeof(YRAFT_FILES_UI),
                        .payload = RecordPayload<YRAFT_FILES_UI>,
                        .traceElement = nullptr,
                        .fileSize = nullptr,
                        .roomPerItem = kItemHead,
                        .pointerRoom = 0,
                        .firstIndex = 0,
                        .named = false,
                        .freedOnClear = true,
                        .freedOnPop = false,
                        .freedWhenPacked = false},
                       &YraRW::m_fileUIQueue,
                       nullptr},
      Container<List>{{.type = YRAFT_LIST_FILEINFO,
                       .name = "FileInfo List",
                       .countWord = "list",
                       .weight = NameWeight,
                       .sameWeight = 0,
                       .payload = FileInfoPayload,
                       .traceElement = TraceListRecord,
                       .fileSize = nullptr,
                       .roomPerItem = kRecordHeads,
                       .pointerRoom = 0,
                       .firstIndex = 1,
                       .named = true,
                       .freedOnClear = false,
                       .freedOnPop = false,
                       .freedWhenPacked = false},
                      &YraRW::m_fileInfoList,
                      &YraRW::m_fileInfoListContextSize},
      Container<Map>{{.type = YRAFT_MAP_UITHREAD,
                      .name = "UiThread Map",
                      .countWord = "map",
                      .weight = nullptr,
                      .sameWeight = sizeof(YRAFT_UI_THREADINFO),
                      .payload = RecordPayload<YRAFT_UI_THREADINFO>,
                      .traceElement = TraceThreadInfo,
                      .fileSize = nullptr,
                      .roomPerItem = kRecordHeads,
                      .pointerRoom = 0,
                      .firstIndex = 1,
                      .named = false,
                      .freedOnClear = false,
                      .freedOnPop = false,
                      .freedWhenPacked = false},
                     &YraRW::m_uiThreadMap,
                     nullptr},
  };
}

namespace yra_rules {

inline constexpr auto kContainers = YraContainers::Rows();
inline constexpr std::size_t kCount = std::tuple_size_v<decltype(kContainers)>;
inline constexpr auto kRows =
    std::apply([](const auto&... container) { return std::array{container.row...}; }, kContainers);

// A row as a constant of the code that is made for its container.
template <std::size_t kIndex>
struct Rule {
  static constexpr const Row& row = std::get<kIndex>(kContainers).row;
};

// Answers the row of a type, or null for an unknown one.
inline const Row* Find(int queueType) {
  constexpr auto kNumberedFromFirst = [] {
    for (std::size_t i = 0; i < kCount; ++i) {
      if (kRows[i].type != kRows[0].type + static_cast<int>(i)) return false;
    }
    return true;
  };
  static_assert(kNumberedFromFirst());
  const auto index = static_cast<unsigned int>(queueType) - kRows[0].type;
  return index < kCount ? &kRows[index] : nullptr;
}

template <std::size_t kIndex, class Use>
[[gnu::always_inline]] inline auto WithOne(YraRW& rw, const Use& use) {
  constexpr const auto& container = std::get<kIndex>(kContainers);
  auto& elements = rw.*container.elements;
  if constexpr (container.counter != nullptr) {
    return use(elements, rw.*container.counter, Rule<kIndex>{});
  } else {
    auto context = static_cast<unsigned int>(elements.size() * container.row.sameWeight);
    return use(elements, context, Rule<kIndex>{});
  }
}

// Calls `use(elements, context, rule)` with the elements of a type, which must be known, and their
// context size: the counter that moves with them, or what follows from their number.
template <class Use>
[[gnu::always_inline]] inline auto With(YraRW& rw, int queueType, const Use& use) {
  return [&]<std::size_t... kIndex>(std::index_sequence<kIndex...>) __attribute__((always_inline)) {
    decltype(WithOne<0>(rw, use)) answer{};
    static_cast<void>(
        ((kRows[kIndex].type == queueType && (answer = WithOne<kIndex>(rw, use), true)) || ...));
    return answer;
  }
  (std::make_index_sequence<kCount>{});
}

// An element of any container, and the node that holds it.
inline Element& Of(Element& element) { return element; }
inline Element& Of(std::pair<const int, Element>& entry) { return entry.second; }
inline int KeyOf(const Element&) { return 0; }
inline int KeyOf(const std::pair<const int, Element>& entry) { return entry.first; }
template <class Elements>
inline constexpr bool kIsMap = std::is_same_v<std::remove_cvref_t<Elements>, YraContainers::Map>;

}  // namespace yra_rules
