// Taking a whole container out as one packed block.
//
// The block is allocated once at its final length; every item is built in place at its end, which
// is known, so a snapshot takes time linear in the number of elements.
#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "YraContainers.h"

namespace {

constexpr TraceLayer kLayer = kLayerRw;

using Element = YraContainers::Element;
using yra_rules::Payload;
using yra_rules::Row;

// A block under construction, and the first thing that went wrong with an item.
struct Packer {
  const char* kCaller;
  YRAFT_TLV_BLOCKS* pBlock = nullptr;
  unsigned int capacity = 0;
  unsigned int used = sizeof(YRAFT_TLV_BLOCKS);
  unsigned int status = YRAFT_STATUS_SUCCESS;
  // Somebody reads about single items; asked once, for all of them.
  bool itemsAreRead = kvolog::Admits(KVO_CLASS_YRAFT, KVO_LOG_INFO);

  // Answers false, reported, for a payload that makes no item or has no room.
  bool Append(const Payload& payload);

 private:
  // Report what the functions of these names do for one item.
  void Yraft_TlvItemAllocate(const Payload& payload) const;
  void Yraft_TlvBlocksAddItem(unsigned int cbSize) const;
};

bool IsItem(const Payload& payload) { return payload.len != 0 && payload.len <= YRAFT_PAYLOAD_MAX; }

void Packer::Yraft_TlvItemAllocate(const Payload& payload) const {
  const auto len = static_cast<int>(payload.len);
  const auto cbSize = len + static_cast<int>(sizeof(YRAFT_TLV_ITEM));
  const bool made = IsItem(payload);
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] In.");
  if (made) {
    YRAFT_TRACE(KVO_LOG_INFO, "item attrs is invaild.(%d - %d)", 0, cbSize);
    YRAFT_TRACE(KVO_LOG_INFO, "End: cbSize=%d, Reserved=%u.", cbSize, 0U);
  } else {
    YRAFT_TRACE(KVO_LOG_ERROR, "pData (%p) or dataLen (%d) is invaild.", payload.pData, len);
  }
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: Data=0x%x.",
              made ? TraceAddress(reinterpret_cast<unsigned char*>(pBlock) + used) : 0U);
}

void Packer::Yraft_TlvBlocksAddItem(unsigned int cbSize) const {
  const auto size = static_cast<int>(cbSize);
  const auto pktLen = static_cast<int>(used);
  const bool fits = used + cbSize <= capacity;
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] In.");
  YRAFT_TRACE(KVO_LOG_VERBOSE, "pktLen=%d, cbSize=%d, Reserved=%u.", pktLen, size, 0U);
  if (fits) {
    YRAFT_TRACE(KVO_LOG_VERBOSE, "pktLen=%d, ListBlocks=%d, ListCount=%d.", pktLen,
                pBlock->ListBlocks, pBlock->ListCount);
  } else {
    YRAFT_TRACE(KVO_LOG_ERROR, "buffer space is too small.( (%d + %d) > %d )", pktLen, size,
                static_cast<int>(capacity));
  }
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: ret=0x%x.",
              fits ? YRAFT_STATUS_SUCCESS : YRAFT_STATUS_BUFFER_TOO_SMALL);
}

bool Packer::Append(const Payload& payload) {
  const unsigned int cbSize = payload.len + sizeof(YRAFT_TLV_ITEM);
  const bool made = IsItem(payload);
  if (itemsAreRead || !made) Yraft_TlvItemAllocate(payload);
  if (!made) {
    TRACE_ERROR("callback Yraft_TlvItemAllocate failed.");
    // A record that says it is empty is skipped; one too long for any item is an item lost.
    if (payload.len != 0 && status == YRAFT_STATUS_SUCCESS) status = YRAFT_STATUS_BUFFER_TOO_SMALL;
    return false;
  }
  const bool fits = used + cbSize <= capacity;
  if (itemsAreRead || !fits) Yraft_TlvBlocksAddItem(cbSize);
  if (!fits) {
    TRACE_ERROR("callback Yraft_TlvBlocksAddItem failed.(%d - 0x%x)", static_cast<int>(capacity),
                YRAFT_STATUS_BUFFER_TOO_SMALL);
    if (status == YRAFT_STATUS_SUCCESS) status = YRAFT_STATUS_BUFFER_TOO_SMALL;
    return false;
  }
  unsigned char* pItem = reinterpret_cast<unsigned char*>(pBlock) + used;
  const YRAFT_TLV_ITEM head = {static_cast<uint16_t>(cbSize), 0, 0};
  memcpy(pItem, &head, sizeof(head));
  memcpy(pItem + sizeof(head), payload.pData, payload.len);
  used += cbSize;
  ++pBlock->ListCount;
  return true;
}

// Allocates the block for n elements of the container, or says why not.
unsigned int Allocate(const Row& row, std::size_t n, unsigned int context, Packer& packer) {
  const char* kCaller = packer.kCaller;
  const uint64_t carried = row.pointerRoom != 0 ? uint64_t{row.pointerRoom} * n : context;
  const uint64_t needed = sizeof(YRAFT_TLV_BLOCKS) + carried + uint64_t{row.roomPerItem} * n;
  const auto bufferLen = static_cast<unsigned int>(needed);
  TRACE_VERBOSE("%s size=%d.", row.countWord, static_cast<int>(n));
  TRACE_VERBOSE("bufferLen=%u, size=%u, contextSize=%u.", bufferLen, static_cast<unsigned int>(n),
                static_cast<unsigned int>(carried));
  const unsigned int ret =
      needed > YRAFT_BLOCK_MAX
          ? YRAFT_STATUS_BUFFER_TOO_SMALL
          : Yraft_TlvBlocksAllocate(&packer.pBlock, static_cast<unsigned short>(bufferLen));
  if (ret != YRAFT_STATUS_SUCCESS) {
    TRACE_ERROR("callback Yraft_TlvBlocksAllocate failed.(%u - 0x%x)", bufferLen, ret);
  }
  packer.capacity = bufferLen;
  return ret;
}

enum class Take { kKeep, kRemove };

// What the removing form does with an element that has been visited.
void Release(const Row& row, const Element& element, bool packed) {
  if (packed ? row.freedWhenPacked : row.freedOnClear) std::free(element.pData);
}

// Writes one address item after another.
class AddressWriter {
 public:
  using iterator_category = std::output_iterator_tag;
  using value_type = void;
  using difference_type = std::ptrdiff_t;
  using pointer = void;
  using reference = void;

  explicit AddressWriter(unsigned char* pItem) : m_pItem(pItem) {}
  AddressWriter& operator=(const Element& element) {
    memcpy(m_pItem, &kHead, sizeof(kHead));
    memcpy(m_pItem + sizeof(kHead), &element.pData, sizeof(element.pData));
    return *this;
  }
  AddressWriter& operator*() { return *this; }
  AddressWriter& operator++() {
    m_pItem += kSize;
    return *this;
  }

 private:
  static constexpr unsigned int kSize = sizeof(YRAFT_TLV_ITEM) + sizeof(void*);
  static constexpr YRAFT_TLV_ITEM kHead = {kSize, 0, 0};
  unsigned char* m_pItem;
};

// Addresses need no look at their elements, so a queue of them goes out piece by piece of its
// memory.
void PackAddresses(const YraContainers::Queue& queue, Packer& packer) {
  std::copy(queue.begin(), queue.end(),
            AddressWriter(reinterpret_cast<unsigned char*>(packer.pBlock) + packer.used));
  packer.pBlock->ListCount = static_cast<uint16_t>(queue.size());
  packer.used = packer.capacity;
}

template <class Container, class Rule>
void PackElements(Rule, Container& container, Take take, Packer& packer) {
  constexpr const Row& row = Rule::row;
  const bool elementsAreRead =
      row.traceElement != nullptr && kvolog::Admits(kLayer.classId, KVO_LOG_VERBOSE);
  int index = row.firstIndex;
  for (auto& node : container) {
    const Element& element = yra_rules::Of(node);
    if (row.fileSize != nullptr) packer.pBlock->FilesSize += row.fileSize(element);
    if (elementsAreRead)
      row.traceElement(packer.kCaller, index, &node, yra_rules::KeyOf(node), element);
    const bool packed = packer.Append(row.payload(element));
    if (take == Take::kRemove) Release(row, element, packed);
    ++index;
  }
}

template <class Container, class Rule>
void Pack(Rule rule, Container& container, Take take, Packer& packer) {
  const char* kCaller = packer.kCaller;
  constexpr const Row& row = Rule::row;
  [[maybe_unused]] const auto visited = static_cast<int>(container.size());
  if constexpr (row.pointerRoom != 0) {
    if (packer.itemsAreRead) {
      PackElements(rule, container, take, packer);
    } else {
      PackAddresses(container, packer);
    }
  } else {
    PackElements(rule, container, take, packer);
  }
  if (row.fileSize != nullptr) {
    TRACE_VERBOSE("Get %d files list and all file size is %u.", visited,
                  static_cast<unsigned int>(packer.pBlock->FilesSize));
  } else {
    TRACE_VERBOSE("Get %d %s.", visited,
                  yra_rules::kIsMap<Container&> ? "UI thread map" : "files list");
  }
}

// How a snapshot reports the queue afterwards; only the queue of files does.
void TraceAfterwards(const char* kCaller, const Row& row, Take take, std::size_t n) {
  if (row.fileSize == nullptr) return;
  if (take == Take::kRemove) {
    TRACE_VERBOSE("pop after, queue size=%d.", static_cast<int>(n));
  } else {
    TRACE_VERBOSE("new queue size=%d.", static_cast<int>(n));
    TRACE_VERBOSE("swap queue size=%d.", static_cast<int>(n));
  }
}

unsigned int Snapshot(const char* kCaller, YraRW& rw, int queueType, Take take,
                      unsigned char** ppBuffer) {
  if (ppBuffer == nullptr) {
    TRACE_ERROR("ppBuffer (%p) is null.", static_cast<void*>(ppBuffer));
    return YRAFT_STATUS_INVALID_PARAM;
  }
  const Row* row = yra_rules::Find(queueType);
  TRACE_VERBOSE("queue type: %d (%s)", queueType, row != nullptr ? row->name : "Unknown");
  unsigned int contextSize = 0;
  if (rw.YraRW_QueueContextSize(queueType, &contextSize) != YRAFT_STATUS_SUCCESS) {
    TRACE_ERROR("callback YraRW_QueueContextSize failed.");
    return YRAFT_STATUS_INVALID_PARAM;
  }
  return yra_rules::With(rw, queueType, [&](auto& container, unsigned int& context, auto rule) {
    Packer packer{kCaller};
    const unsigned int ret = Allocate(*row, container.size(), contextSize, packer);
    if (ret != YRAFT_STATUS_SUCCESS) return ret;
    Pack(rule, container, take, packer);
    if (take == Take::kRemove) {
      container.clear();
      context = 0;
    }
    TraceAfterwards(kCaller, *row, take, container.size());
    *ppBuffer = reinterpret_cast<unsigned char*>(packer.pBlock);
    TRACE_VERBOSE("Get buffer is 0x%x.", TraceAddress(*ppBuffer));
    return packer.status;
  });
}

}  // namespace

unsigned int YraRW::YraRW_QueueGetAll(int queueType, unsigned char** ppBuffer) {
  TRACE_IN();
  return TRACE_RET(Snapshot(__func__, *this, queueType, Take::kKeep, ppBuffer));
}

unsigned int YraRW::YraRW_QueueGetAllPop(int queueType, unsigned char** ppBuffer) {
  TRACE_IN();
  return TRACE_RET(Snapshot(__func__, *this, queueType, Take::kRemove, ppBuffer));
}
