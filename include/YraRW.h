// The queue store, for hosts in C++17 and later: everything that a transfer keeps in flight, under
// small type numbers. What the C functions YraftRW… of yrafiletransfer.h do, they do through it.
#ifndef YRARW_H
#define YRARW_H

#include <deque>
#include <list>
#include <map>

#include "yraft.h"

// Five queues, a list and a map of pointers to elements that their pushers allocated with the C
// allocator. A store adopts what is pushed and copies nothing. What becomes of an element:
//
//                              clear, reset, destruction   pop            pop-front
//   buffer, read, write queue  freed                       left to you    handed to you
//   file-info queue            freed                       freed          handed to you
//   file-UI queue              freed                       left to you    handed to you
//   file-info list             left to you                 left to you    handed to you
//   UI-thread map              left to you                 left to you    handed to you
//
// `queueType` is YRAFT_QUEUE_BUFFER … YRAFT_MAP_UITHREAD; `key` selects an entry of the map and is
// ignored by every other container. Results are YRAFT_STATUS_…; 70 stands for a null argument or an
// unknown type.
//
// No lock: calls on one store must not overlap; different stores are independent. No member but the
// constructor throws, which lets std::bad_alloc out.
class __attribute__((visibility("default"))) YraRW {
 public:
  YraRW();
  ~YraRW();
  YraRW(const YraRW&) = delete;
  YraRW& operator=(const YraRW&) = delete;

  // Answers true for the types 1 to 7.
  bool YraRW_QueueTypeCheck(int queueType);
  // Appends an element of `len` bytes (not 0), or inserts it into the map under `key` (0 to 65535).
  // The store's on success, yours on failure. Push a pointer once. Answers 0, 70, 86 (no memory) or
  // 104 (the key is present).
  unsigned int YraRW_QueuePush(int queueType, int key, unsigned char* pBuffer, unsigned int len);
  // Stores the number of elements; *pSize is untouched on failure. Answers 0 or 70.
  unsigned int YraRW_QueueSize(int queueType, int* pSize);
  // Answers true for an unknown type, too.
  bool YraRW_QueueIsEmpty(int queueType);
  // Stores what the elements weigh now, in bytes: the lengths given with the buffers (types 1 to
  // 3), nameLen + 1 of every record (4 and 6), 32 (5) or 14 (7) an element. *pContextSize is
  // untouched on failure. Answers 0 or 70.
  unsigned int YraRW_QueueContextSize(int queueType, unsigned int* pContextSize);
  // Empties one container. Answers 0 or 70.
  unsigned int YraRW_QueueClear(int queueType);
  // Empties all seven. Answers 0.
  unsigned int YraRW_Reset();

  // Stores the front element, or the map's value under `key`, in *ppBuffer; it stays in the store,
  // and the pointer is good until it leaves. *ppBuffer is null on failure. Answers 0, 19 (nothing
  // there) or 70.
  unsigned int YraRW_QueueFront(int queueType, int key, unsigned char** ppBuffer);
  // The same, and the element leaves the store and is yours. *ppBuffer is untouched on failure.
  unsigned int YraRW_QueuePopFront(int queueType, int key, unsigned char** ppBuffer);
  // Drops the front element, or the map's entry. Answers 0 (also when nothing was there) or 70.
  unsigned int YraRW_QueuePop(int queueType, int key);
  // Answers true if the map holds `key`; false for every other type.
  bool YraRW_QueueFind(int queueType, int key);

  // Packs a whole container, in order, into one TLV block (yraft.h), which is yours to free(). A
  // block of types 1 to 3 carries the buffers' addresses. *ppBuffer is written only when a block
  // was made. Answers 0, 70, 9 (more than the 65535 bytes of a block, nothing is made and nothing
  // leaves) or 86 (no memory). A block can come with 9 when single records fitted no item:
  // ListCount tells what it holds.
  unsigned int YraRW_QueueGetAll(int queueType, unsigned char** ppBuffer);
  // The same, and empties the container. Records of the file-info queue are released; of types 1 to
  // 3 the block has the only addresses; all others are left to you.
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

#endif
