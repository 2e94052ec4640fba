// The queue store: everything that a transfer keeps in flight, under small type numbers.
#pragma once

#include "YraTrace.h"
// The trace vocabulary comes first.
#include <deque>
#include <list>
#include <map>

// Five queues, a list and a map of pointers to elements that their pushers allocated with the C
// allocator. The store adopts what is pushed and copies nothing; yrafiletransfer.h says who
// releases an element when it leaves. No lock: calls on one store must not overlap. No member but
// the constructor throws.
class __attribute__((visibility("default"))) YraRW {
 public:
  YraRW();
  ~YraRW();
  YraRW(const YraRW&) = delete;
  YraRW& operator=(const YraRW&) = delete;

  bool YraRW_QueueTypeCheck(int queueType);
  unsigned int YraRW_QueuePush(int queueType, int key, unsigned char* pBuffer, unsigned int len);
  unsigned int YraRW_QueueSize(int queueType, int* pSize);
  bool YraRW_QueueIsEmpty(int queueType);
  unsigned int YraRW_QueueContextSize(int queueType, unsigned int* pContextSize);
  unsigned int YraRW_QueueClear(int queueType);
  unsigned int YraRW_Reset();

  // *ppBuffer is null after a failed Front and untouched by a failed PopFront.
  unsigned int YraRW_QueueFront(int queueType, int key, unsigned char** ppBuffer);
  unsigned int YraRW_QueuePopFront(int queueType, int key, unsigned char** ppBuffer);
  unsigned int YraRW_QueuePop(int queueType, int key);
  bool YraRW_QueueFind(int queueType, int key);

  // Pack a whole container into a block that is the caller's; the second form also empties it.
  // *ppBuffer is written only when a block was made.
  unsigned int YraRW_QueueGetAll(int queueType, unsigned char** ppBuffer);
  unsigned int YraRW_QueueGetAllPop(int queueType, unsigned char** ppBuffer);

 private:
  friend struct YraContainers;

  // What was pushed, and its share of the container's context size, so that leaving takes back
  // exactly what coming added.
  struct Element {
    // Built in its place, field by field: copied from elsewhere it would be read as a whole right
    // after it was written in two halves, which stalls.
    Element(unsigned char* data, unsigned int share) : pData(data), weight(share) {}

    unsigned char* pData;
    unsigned int weight;
  };
  using Queue = std::deque<Element>;
  using List = std::list<Element>;
  using Map = std::map<int, Element>;

  unsigned int m_bufferContextSize = 0;
  unsigned int m_readContextSize = 0;
  unsigned int m_writeContextSize = 0;
  unsigned int m_fileInfoContextSize = 0;
  unsigned int m_fileInfoListContextSize = 0;
  Queue m_bufferQueue;
  Queue m_readQueue;
  Queue m_writeQueue;
  Queue m_fileInfoQueue;
  Queue m_fileUIQueue;
  List m_fileInfoList;
  Map m_uiThreadMap;
};

// Answers a new store, or null without memory.
YraRW* YraRWAllocate() noexcept;
