// Taking a whole container out as one packed block.
//
// The block is allocated once at its final length; every item is built in place at its end, which
// is known, so a snapshot takes time linear in the number of elements.
#include "store/YraContainers.h"
// The trace vocabulary comes first.
#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

using Element = YraContainers::Element;
using Queue = YraContainers::Queue;

struct Payload {
  const void* pData;
  unsigned int len;
};

Payload PayloadOf(const Element& element, const ContainerRow& row) {
  if (row.kind == ElementKind::kBuffer) return {&element.pData, sizeof(element.pData)};
  const bool file = row.kind == ElementKind::kFileRecord;
  return {element.pData, file ? FileRecord(element.pData)->cbSize : row.recordSize};
}

// Writes one address item after another. std::copy hands it a queue piece by piece of its memory,
// which takes two thirds of the time of a loop that looks for each piece's end.
struct AddressWriter {
  static constexpr unsigned int kSize = sizeof(YRAFT_TLV_ITEM) + sizeof(void*);
  static constexpr YRAFT_TLV_ITEM kHead = {kSize, 0, 0};

  unsigned char* pItem;

  AddressWriter& operator=(const Element& element) {
    memcpy(pItem, &kHead, sizeof(kHead));
    memcpy(pItem + sizeof(kHead), &element.pData, sizeof(element.pData));
    return *this;
  }
  AddressWriter& operator*() { return *this; }
  AddressWriter& operator++() {
    pItem += kSize;
    return *this;
  }
};

// ---- A block under construction ----------------------------------------------------------------

class Packer {
 public:
  Packer(RwTrace trace, YRAFT_TLV_BLOCKS* pBlock, unsigned int capacity)
      : m_trace(trace), m_pBlock(pBlock), m_capacity(capacity) {}

  // Answers false, reported, for a payload that makes no item or has no room.
  bool Append(const Payload& payload) {
    const unsigned int cbSize = payload.len + sizeof(YRAFT_TLV_ITEM);
    const bool fits =
        payload.len != 0 && payload.len <= YRAFT_PAYLOAD_MAX && m_used + cbSize <= m_capacity;
    if (m_itemsAreRead || !fits) return AppendStepByStep(payload);
    const YRAFT_TLV_ITEM head = {static_cast<uint16_t>(cbSize), 0, 0};
    memcpy(End(), &head, sizeof(head));
    memcpy(End() + sizeof(head), payload.pData, payload.len);
    m_used += cbSize;
    ++m_pBlock->ListCount;
    return true;
  }

  // Appends the addresses of a queue's buffers, for which there is room.
  void AppendAddresses(const Queue& queue) {
    std::copy(queue.begin(), queue.end(), AddressWriter{End()});
    m_pBlock->ListCount = static_cast<uint16_t>(queue.size());
    m_used = m_capacity;
  }

  YRAFT_TLV_BLOCKS* Block() const { return m_pBlock; }
  bool ItemsAreRead() const { return m_itemsAreRead; }
  // The first thing that went wrong with an item.
  unsigned int Status() const { return m_status; }

 private:
  unsigned char* End() const { return reinterpret_cast<unsigned char*>(m_pBlock) + m_used; }

  // The same by the functions that report each step, or what is wrong with it.
  bool AppendStepByStep(const Payload& payload) {
    const auto len = static_cast<unsigned short>(payload.len);
    YRAFT_TLV_ITEM* pItem = Yraft_TlvItemAllocate(payload.pData, len);
    if (pItem == nullptr) {
      TRACE_ERROR(m_trace, "callback Yraft_TlvItemAllocate failed.");
      // A record that says it is empty is skipped; any other is an item lost.
      if (len != 0) {
        Fail(len > YRAFT_PAYLOAD_MAX ? YRAFT_STATUS_BUFFER_TOO_SMALL : YRAFT_STATUS_NO_MEMORY);
      }
      return false;
    }
    const unsigned int ret =
        Yraft_TlvBlocksAddItem(m_pBlock, static_cast<int>(m_capacity), pItem, pItem->cbSize);
    if (ret == YRAFT_STATUS_SUCCESS) {
      m_used += pItem->cbSize;
    } else {
      TRACE_ERROR(m_trace, "callback Yraft_TlvBlocksAddItem failed.(%d - 0x%x)",
                  static_cast<int>(m_capacity), ret);
      Fail(ret);
    }
    std::free(pItem);
    return ret == YRAFT_STATUS_SUCCESS;
  }

  void Fail(unsigned int status) {
    if (m_status == YRAFT_STATUS_SUCCESS) m_status = status;
  }

  RwTrace m_trace;
  YRAFT_TLV_BLOCKS* m_pBlock;
  unsigned int m_capacity;
  unsigned int m_used = sizeof(YRAFT_TLV_BLOCKS);
  unsigned int m_status = YRAFT_STATUS_SUCCESS;
  // Somebody reads about single items; asked once, for all of them.
  bool m_itemsAreRead = kvolog::Admits(KVO_CLASS_YRAFT, KVO_LOG_INFO);
};

// Allocates the block for n elements of the container, or says why not.
unsigned int Allocate(RwTrace trace, const ContainerRow& row, std::size_t n, unsigned int context,
                      YRAFT_TLV_BLOCKS** ppBlock, unsigned int* pBufferLen) {
  const uint64_t carried =
      row.kind == ElementKind::kBuffer ? uint64_t{sizeof(void*)} * n : uint64_t{context};
  const uint64_t needed = sizeof(YRAFT_TLV_BLOCKS) + carried + uint64_t{row.roomPerItem} * n;
  const auto bufferLen = static_cast<unsigned int>(needed);
  TRACE_VERBOSE(trace, "%s size=%d.", row.countWord, static_cast<int>(n));
  TRACE_VERBOSE(trace, "bufferLen=%u, size=%u, contextSize=%u.", bufferLen,
                static_cast<unsigned int>(n), static_cast<unsigned int>(carried));
  const unsigned int ret =
      needed > YRAFT_BLOCK_MAX
          ? YRAFT_STATUS_BUFFER_TOO_SMALL
          : Yraft_TlvBlocksAllocate(ppBlock, static_cast<unsigned short>(bufferLen));
  if (ret != YRAFT_STATUS_SUCCESS) {
    TRACE_ERROR(trace, "callback Yraft_TlvBlocksAllocate failed.(%u - 0x%x)", bufferLen, ret);
  }
  *pBufferLen = bufferLen;
  return ret;
}

// ---- Elements ----------------------------------------------------------------------------------

void TraceFileRecord(RwTrace trace, int index, const Element& element) {
  const YRAFT_FILEINFO_ITEM* pInfo = FileRecord(element.pData);
  TRACE_VERBOSE(trace, "[%d]: file context=%u, size=%u, length=%d, name[%.*s].", index,
                pInfo->fileContext, static_cast<unsigned int>(pInfo->fileSize), pInfo->nameLen,
                pInfo->nameLen, YRAFT_FILEINFO_NAME(pInfo));
}

void TraceElement(RwTrace trace, int index, const Element& element, const ContainerRow& row) {
  if (row.kind != ElementKind::kFileRecord) return;
  if (row.type == YRAFT_LIST_FILEINFO) {
    TRACE_VERBOSE(trace, "[%d]: iter=0x%x, *iter=0x%X.", index, TraceAddress(&element),
                  TraceAddress(element.pData));
  }
  TraceFileRecord(trace, index, element);
}

void TraceElement(RwTrace trace, int index, const std::pair<const int, Element>& entry,
                  const ContainerRow&) {
  const auto* pInfo = reinterpret_cast<const YRAFT_UI_THREADINFO*>(entry.second.pData);
  TRACE_VERBOSE(trace, "[%d]: iter=0x%x, *iter=0x%x, second=0x%x, *second=0x%x.", index,
                TraceAddress(&entry), static_cast<unsigned int>(entry.first),
                TraceAddress(&entry.second.pData), TraceAddress(pInfo));
  TRACE_VERBOSE(trace, "[%d]: currentFileNo=%u, fileTransferOperation=%d, pThreadId=0x%x.", index,
                pInfo->currentFileNo, static_cast<int>(pInfo->fileTransferOperation),
                static_cast<unsigned int>(pInfo->pThreadId));
}

const Element& ElementOf(const Element& element) { return element; }
const Element& ElementOf(const std::pair<const int, Element>& entry) { return entry.second; }

enum class Take { kKeep, kRemove };

// Packs every element; the removing form is done with each as soon as it has been visited.
template <class Container>
void PackElements(RwTrace trace, const Container& container, const ContainerRow& row, Take take,
                  Packer& packer) {
  const bool elementsAreRead = trace.Admits(KVO_LOG_VERBOSE);
  int index = row.firstIndex;
  for (const auto& node : container) {
    const Element& element = ElementOf(node);
    if (row.sumsFileSizes) packer.Block()->FilesSize += FileRecord(element.pData)->fileSize;
    if (elementsAreRead) TraceElement(trace, index, node, row);
    const bool packed = packer.Append(PayloadOf(element, row));
    if (take == Take::kRemove && (packed ? row.freedWhenPacked : row.freedOnClear)) {
      std::free(element.pData);
    }
    ++index;
  }
}

void TracePacked(RwTrace trace, const ContainerRow& row, std::size_t visited, uint64_t filesSize) {
  const auto n = static_cast<int>(visited);
  if (row.sumsFileSizes) {
    TRACE_VERBOSE(trace, "Get %d files list and all file size is %u.", n,
                  static_cast<unsigned int>(filesSize));
  } else {
    TRACE_VERBOSE(trace, "Get %d %s.", n,
                  row.type == YRAFT_MAP_UITHREAD ? "UI thread map" : "files list");
  }
}

// Only the queue of files is reported afterwards.
void TraceAfterwards(RwTrace trace, const ContainerRow& row, Take take, std::size_t size) {
  if (!row.sumsFileSizes) return;
  if (take == Take::kRemove) {
    TRACE_VERBOSE(trace, "pop after, queue size=%d.", static_cast<int>(size));
  } else {
    TRACE_VERBOSE(trace, "new queue size=%d.", static_cast<int>(size));
    TRACE_VERBOSE(trace, "swap queue size=%d.", static_cast<int>(size));
  }
}

struct TakeSnapshot {
  RwTrace trace;
  unsigned int contextSize;
  Take take;
  unsigned char** ppBuffer;

  template <class Container>
  unsigned int operator()(Container& container, unsigned int& context,
                          const ContainerRow& row) const {
    YRAFT_TLV_BLOCKS* pBlock = nullptr;
    unsigned int bufferLen = 0;
    const unsigned int ret =
        Allocate(trace, row, container.size(), contextSize, &pBlock, &bufferLen);
    if (ret != YRAFT_STATUS_SUCCESS) return ret;
    Packer packer(trace, pBlock, bufferLen);
    Pack(container, row, packer);
    TracePacked(trace, row, container.size(), pBlock->FilesSize);
    if (take == Take::kRemove) {
      container.clear();
      context = 0;
    }
    TraceAfterwards(trace, row, take, container.size());
    *ppBuffer = reinterpret_cast<unsigned char*>(pBlock);
    TRACE_VERBOSE(trace, "Get buffer is 0x%x.", TraceAddress(pBlock));
    return packer.Status();
  }

 private:
  template <class Container>
  void Pack(const Container& container, const ContainerRow& row, Packer& packer) const {
    PackElements(trace, container, row, take, packer);
  }
  // Addresses need no look at what they lead to.
  void Pack(const Queue& queue, const ContainerRow& row, Packer& packer) const {
    if (row.kind == ElementKind::kBuffer && !packer.ItemsAreRead()) {
      packer.AppendAddresses(queue);
    } else {
      PackElements(trace, queue, row, take, packer);
    }
  }
};

unsigned int Snapshot(RwTrace trace, YraRW& rw, int queueType, Take take,
                      unsigned char** ppBuffer) {
  if (ppBuffer == nullptr) return trace.RefuseNull(YRAFT_STATUS_INVALID_PARAM, "ppBuffer", "null");
  const ContainerRow* row = FindRow(queueType);
  TRACE_VERBOSE(trace, "queue type: %d (%s)", queueType, row != nullptr ? row->name : "Unknown");
  unsigned int contextSize = 0;
  if (rw.YraRW_QueueContextSize(queueType, &contextSize) != YRAFT_STATUS_SUCCESS) {
    return trace.Refuse(YRAFT_STATUS_INVALID_PARAM, "callback YraRW_QueueContextSize failed.");
  }
  return trace.Ret(
      YraContainers::With(rw, queueType, TakeSnapshot{trace, contextSize, take, ppBuffer}));
}

}  // namespace

unsigned int YraRW::YraRW_QueueGetAll(int queueType, unsigned char** ppBuffer) {
  return Snapshot(RwTrace(), *this, queueType, Take::kKeep, ppBuffer);
}

unsigned int YraRW::YraRW_QueueGetAllPop(int queueType, unsigned char** ppBuffer) {
  return Snapshot(RwTrace(), *this, queueType, Take::kRemove, ppBuffer);
}
