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
using yra_rules::kRowOf;
using yra_rules::Payload;
using yra_rules::Row;

// A block under construction, and the first thing that went wrong with an item.
struct Packer {
  YRAFT_TLV_BLOCKS* pBlock;
  unsigned int capacity;
  unsigned int used = sizeof(YRAFT_TLV_BLOCKS);
  unsigned int status = YRAFT_STATUS_SUCCESS;

  // Reports an item as the functions that build and append one by one do.
  void TraceItem(unsigned int cbSize) const;
  // Answers false, reported, for a payload that makes no item or has no room.
  bool Append(const Payload& payload);
};

void Packer::TraceItem(unsigned int cbSize) const {
  const auto size = static_cast<int>(cbSize);
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] In.");
  YRAFT_TRACE(KVO_LOG_INFO, "item attrs is invaild.(%d - %d)", 0, size);
  YRAFT_TRACE(KVO_LOG_INFO, "End: cbSize=%d, Reserved=%u.", size, 0U);
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: Data=0x%x.",
              TraceAddress(reinterpret_cast<unsigned char*>(pBlock) + used));
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] In.");
  YRAFT_TRACE(KVO_LOG_VERBOSE, "pktLen=%d, cbSize=%d, Reserved=%u.", static_cast<int>(used), size,
              0U);
  if (used + cbSize > capacity) {
    YRAFT_TRACE(KVO_LOG_ERROR, "buffer space is too small.( (%d + %d) > %d )",
                static_cast<int>(used), size, static_cast<int>(capacity));
  } else {
    YRAFT_TRACE(KVO_LOG_VERBOSE, "pktLen=%d, ListBlocks=%d, ListCount=%d.", static_cast<int>(used),
                pBlock->ListBlocks, pBlock->ListCount);
  }
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: ret=0x%x.",
              used + cbSize > capacity ? YRAFT_STATUS_BUFFER_TOO_SMALL : YRAFT_STATUS_SUCCESS);
}

bool Packer::Append(const Payload& payload) {
  const unsigned int cbSize = payload.len + sizeof(YRAFT_TLV_ITEM);
  if (payload.len == 0 || payload.len > YRAFT_PAYLOAD_MAX) {
    YRAFT_TRACE(KVO_LOG_ERROR, "pData (%p) or dataLen (%d) is invaild.", payload.pData,
                static_cast<int>(payload.len));
    TRACE_ERROR("callback Yraft_TlvItemAllocate failed.");
    // A record that says it is empty is skipped; one too long for any item is an item lost.
    if (payload.len != 0 && status == YRAFT_STATUS_SUCCESS) status = YRAFT_STATUS_BUFFER_TOO_SMALL;
    return false;
  }
  if (kvolog::Connected()) TraceItem(cbSize);
  if (used + cbSize > capacity) {
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
// memory, as long as nobody reads about single items.
void PackAddresses(const YraContainers::Queue& queue, Packer& packer) {
  std::copy(queue.begin(), queue.end(),
            AddressWriter(reinterpret_cast<unsigned char*>(packer.pBlock) + packer.used));
  packer.pBlock->ListCount = static_cast<uint16_t>(queue.size());
  packer.used = packer.capacity;
}

template <class Container, class Rule>
void Walk(Rule, Container& container, Take take, Packer& packer) {
  constexpr const Row& row = kRowOf<Rule>;
  int visited = 0;
  uint64_t total = 0;
  if constexpr (row.pointerRoom != 0) {
    if (!kvolog::Connected()) return PackAddresses(container, packer);
  }
  for (auto& node : container) {
    const Element& element = yra_rules::Of(node);
    if (row.fileSize != nullptr) total += row.fileSize(element);
    if (row.traceElement != nullptr && kvolog::Admits(kLayer.classId, KVO_LOG_VERBOSE)) {
      row.traceElement(row.firstIndex + visited, &node, yra_rules::KeyOf(node), element);
    }
    const bool packed = packer.Append(row.payload(element));
    if (take == Take::kRemove) Release(row, element, packed);
    ++visited;
  }
  packer.pBlock->FilesSize = total;
  if (row.fileSize != nullptr) {
    TRACE_VERBOSE("Get %d files list and all file size is %u.", visited,
                  static_cast<unsigned int>(total));
  } else {
    TRACE_VERBOSE("Get %d %s.", visited,
                  yra_rules::kIsMap<Container&> ? "UI thread map" : "files list");
  }
}

// How a snapshot reports the queue afterwards; only the queue of files does.
void TraceAfterwards(const Row& row, Take take, [[maybe_unused]] std::size_t n) {
  if (row.fileSize == nullptr) return;
  if (take == Take::kRemove) {
    TRACE_VERBOSE("pop after, queue size=%d.", static_cast<int>(n));
  } else {
    TRACE_VERBOSE("new queue size=%d.", static_cast<int>(n));
    TRACE_VERBOSE("swap queue size=%d.", static_cast<int>(n));
  }
}

unsigned int Snapshot(YraRW& rw, int queueType, Take take, unsigned char** ppBuffer) {
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
    Packer packer{nullptr, 0};
    const unsigned int ret = Allocate(*row, container.size(), contextSize, packer);
    if (ret != YRAFT_STATUS_SUCCESS) return ret;
    Walk(rule, container, take, packer);
    if (take == Take::kRemove) {
      container.clear();
      context = 0;
    }
    TraceAfterwards(*row, take, container.size());
    *ppBuffer = reinterpret_cast<unsigned char*>(packer.pBlock);
    TRACE_VERBOSE("Get buffer is 0x%x.", TraceAddress(*ppBuffer));
    return packer.status;
  });
}

}  // namespace

unsigned int YraRW::YraRW_QueueGetAll(int queueType, unsigned char** ppBuffer) {
  TRACE_IN();
  return TRACE_RET(Snapshot(*this, queueType, Take::kKeep, ppBuffer));
}

unsigned int YraRW::YraRW_QueueGetAllPop(int queueType, unsigned char** ppBuffer) {
  TRACE_IN();
  return TRACE_RET(Snapshot(*this, queueType, Take::kRemove, ppBuffer));
}
