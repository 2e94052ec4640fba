// The queue store: everything that a transfer keeps in flight, under small type numbers.
#pragma once

#include <deque>
#include <list>
#include <map>

#include "YraTrace.h"

// Five queues, a list and a map of pointers to elements that their pushers allocated with the C
// allocator. The store adopts what is pushed and copies nothing; yrafiletransfer.h says who
// releases an element when it leaves. No lock: calls on one store must not overlap. No member
// throws.
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
};
