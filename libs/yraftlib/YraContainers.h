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

  // Calls `use(container, context)` with the container of a type, which must be known, and its
  // context size: the counter that moves with the elements, or what follows from their number.
  template <class Use>
  static auto With(YraRW& rw, int queueType, Use use) {
    switch (queueType) {
      case YRAFT_QUEUE_BUFFER:
        return use(rw.m_bufferQueue, rw.m_bufferContextSize);
      case YRAFT_QUEUE_READ:
        return use(rw.m_readQueue, rw.m_readContextSize);
      case YRAFT_QUEUE_WRITE:
        return use(rw.m_writeQueue, rw.m_writeContextSize);
      case YRAFT_QUEUE_FILEINFO:
        return use(rw.m_fileInfoQueue, rw.m_fileInfoContextSize);
      case YRAFT_LIST_FILEINFO:
        return use(rw.m_fileInfoList, rw.m_fileInfoListContextSize);
      case YRAFT_QUEUE_FILEUI: {
        auto context = static_cast<unsigned int>(rw.m_fileUIQueue.size() * sizeof(YRAFT_FILES_UI));
        return use(rw.m_fileUIQueue, context);
      }
      default: {
        auto context =
            static_cast<unsigned int>(rw.m_uiThreadMap.size() * sizeof(YRAFT_UI_THREADINFO));
        return use(rw.m_uiThreadMap, context);
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
