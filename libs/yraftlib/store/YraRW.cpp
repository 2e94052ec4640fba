// The store's operations on single elements and whole containers.
#include "store/YraContainers.h"
// The trace vocabulary comes first.
#include <cstdlib>
#include <iterator>
#include <new>

namespace {

using Element = YraContainers::Element;
using List = YraContainers::List;
using Map = YraContainers::Map;
using Queue = YraContainers::Queue;

constexpr int kMaxKey = 0xFFFF;

const char* NameOf(const ContainerRow* row) { return row != nullptr ? row->name : "Unknown"; }

// Reports the container that an operation is asked for; null, reported too, for an unknown type.
template <class Trace>
const ContainerRow* Named(Trace trace, int queueType) {
  const ContainerRow* row = FindRow(queueType);
  TRACE_VERBOSE(trace, "queue type: %d (%s)", queueType, NameOf(row));
  if (row == nullptr) TRACE_ERROR(trace, "queue type is unknown.(%d)", queueType);
  return row;
}

}  // namespace

YraRW::YraRW() { RwTrace().Out(); }

YraRW::~YraRW() {
  const RwTrace trace;
  for (const ContainerRow& row : kRows) YraRW_QueueClear(row.type);
  trace.Out();
}

YraRW* YraRWAllocate() noexcept {
  try {
    return new YraRW;  // the containers allocate as well
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

bool YraRW::YraRW_QueueTypeCheck(int queueType) {
  const RwTrace trace;
  TRACE_VERBOSE(trace, "queueType=%d.", queueType);
  return trace.Truth(FindRow(queueType) != nullptr);
}

// ---- Push --------------------------------------------------------------------------------------

namespace {

// A pointer on its way into a sequence, or into the map under a key.
template <class Trace>
struct PushElement {
  Trace trace;
  int key;
  unsigned char* pData;
  unsigned int len;

  template <class Sequence>
  unsigned int operator()(Sequence& sequence, unsigned int& context,
                          const ContainerRow& row) const {
    unsigned int weight = 0;
    if (row.kind == ElementKind::kBuffer) weight = len;
    if (row.kind == ElementKind::kFileRecord) weight = FileRecord(pData)->nameLen + 1U;
    sequence.emplace_back(pData, weight);
    context += weight;
    if (row.kind == ElementKind::kFileRecord) {
      TRACE_VERBOSE(trace, "length=%u, file length=%u, name[%.*s].", len,
                    FileRecord(pData)->nameLen, FileRecord(pData)->nameLen,
                    YRAFT_FILEINFO_NAME(FileRecord(pData)));
    }
    return YRAFT_STATUS_SUCCESS;
  }

  unsigned int operator()(Map& map, unsigned int&, const ContainerRow&) const {
    if (map.find(key) != map.end()) {
      TRACE_ERROR(trace, "Key %d already exist.", key);
      return YRAFT_STATUS_KEY_EXISTS;
    }
    TRACE_VERBOSE(trace, "Key %d do not find.", key);
    if (key < 0 || key > kMaxKey) {
      TRACE_ERROR(trace, "Key %d is out of range.", key);
      return YRAFT_STATUS_INVALID_PARAM;
    }
    map.emplace(key, Element(pData, 0));
    TRACE_VERBOSE(trace, "size=%u.", static_cast<unsigned int>(map.size()));
    return YRAFT_STATUS_SUCCESS;
  }
};

}  // namespace

unsigned int YraRW::YraRW_QueuePush(int queueType, int key, unsigned char* pBuffer,
                                    unsigned int len) {
  return Traced<kLayerRw>([=, this]<class Trace>(Trace trace) {
    if (pBuffer == nullptr || len == 0) {
      TRACE_ERROR(trace, "pBuffer (%p) is null or len (%d) is zero.", static_cast<void*>(pBuffer),
                  static_cast<int>(len));
      return trace.Ret(YRAFT_STATUS_INVALID_PARAM);
    }
    const ContainerRow* row = FindRow(queueType);
    TRACE_VERBOSE(trace, "queue type: %d (%s) <0x%x - %d>", queueType, NameOf(row),
                  TraceAddress(pBuffer), static_cast<int>(len));
    if (row == nullptr) {
      TRACE_ERROR(trace, "queue type is unknown.(%d)", queueType);
      return trace.Ret(YRAFT_STATUS_INVALID_PARAM);
    }
    try {
      return trace.Ret(
          YraContainers::With(*this, queueType, PushElement<Trace>{trace, key, pBuffer, len}));
    } catch (const std::bad_alloc&) {
      TRACE_ERROR(trace, "no memory for another element.");
      return trace.Ret(YRAFT_STATUS_NO_MEMORY);
    }
  });
}

// ---- Figures -----------------------------------------------------------------------------------

unsigned int YraRW::YraRW_QueueSize(int queueType, int* pSize) {
  const RwTrace trace;
  if (pSize == nullptr) return trace.RefuseNull(YRAFT_STATUS_INVALID_PARAM, "pSize", "null");
  if (Named(trace, queueType) == nullptr) return trace.Ret(YRAFT_STATUS_INVALID_PARAM);
  *pSize = YraContainers::With(*this, queueType, [](auto& container, unsigned int&, auto&) {
    return static_cast<int>(container.size());
  });
  TRACE_VERBOSE(trace, "Get size is %d.", *pSize);
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

bool YraRW::YraRW_QueueIsEmpty(int queueType) {
  const RwTrace trace;
  const bool empty =
      Named(trace, queueType) == nullptr ||
      YraContainers::With(*this, queueType,
                          [](auto& container, unsigned int&, auto&) { return container.empty(); });
  TRACE_VERBOSE(trace, "[%s] Out: ret=%d.", kLayerRw.tag, empty ? 1 : 0);
  return empty;
}

unsigned int YraRW::YraRW_QueueContextSize(int queueType, unsigned int* pContextSize) {
  const RwTrace trace;
  if (pContextSize == nullptr) {
    return trace.RefuseNull(YRAFT_STATUS_INVALID_PARAM, "pContextSize", "null");
  }
  if (Named(trace, queueType) == nullptr) return trace.Ret(YRAFT_STATUS_INVALID_PARAM);
  *pContextSize = YraContainers::With(*this, queueType,
                                      [](auto&, unsigned int& context, auto&) { return context; });
  TRACE_VERBOSE(trace, "Get context size is %d.", static_cast<int>(*pContextSize));
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

// ---- Clear -------------------------------------------------------------------------------------

namespace {

struct ClearAll {
  RwTrace trace;

  void operator()(Queue& queue, unsigned int& context, const ContainerRow& row) const {
    TRACE_VERBOSE(trace, "Get queue size is %d.", static_cast<int>(queue.size()));
    for (int i = 1; !queue.empty(); ++i) {
      unsigned char* pBuffer = queue.front().pData;
      queue.pop_front();
      TRACE_VERBOSE(trace, "[%02d]: pBuffer=0x%x.", i, TraceAddress(pBuffer));
      if (row.freedOnClear) std::free(pBuffer);
    }
    context = 0;
  }

  void operator()(List& list, unsigned int& context, const ContainerRow&) const {
    TRACE_VERBOSE(trace, "File info list size is %d.", static_cast<int>(list.size()));
    for (int i = 1; !list.empty(); ++i) {
      list.pop_front();
      TRACE_VERBOSE(trace, "delete %d.", i);
    }
    context = 0;
  }

  void operator()(Map& map, unsigned int&, const ContainerRow&) const {
    TRACE_VERBOSE(trace, "UI thread map size is %d.", static_cast<int>(map.size()));
    map.clear();
  }
};

}  // namespace

unsigned int YraRW::YraRW_QueueClear(int queueType) {
  const RwTrace trace;
  if (Named(trace, queueType) == nullptr) return trace.Ret(YRAFT_STATUS_INVALID_PARAM);
  YraContainers::With(*this, queueType, ClearAll{trace});
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

unsigned int YraRW::YraRW_Reset() {
  const RwTrace trace;
  for (const ContainerRow& row : kRows) YraRW_QueueClear(row.type);
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

// ---- Keyed access ------------------------------------------------------------------------------

namespace {

// What an access does with the element it finds.
enum class Access { kLook, kTake, kDrop };

template <class Trace>
struct AccessElement {
  Trace trace;
  int key;
  Access access;
  unsigned char** ppBuffer;  // null for a drop

  unsigned int operator()(Queue& queue, unsigned int& context, const ContainerRow& row) const {
    return Front(queue, context, row);
  }

  unsigned int operator()(List& list, unsigned int& context, const ContainerRow& row) const {
    if (list.empty()) return Front(list, context, row);
    TRACE_VERBOSE(trace, "Before Pop, size=%d.", static_cast<int>(list.size()));
    const unsigned int ret = Front(list, context, row);
    TRACE_VERBOSE(trace, "After Pop, size=%d.", static_cast<int>(list.size()));
    return ret;
  }

  unsigned int operator()(Map& map, unsigned int&, const ContainerRow& row) const {
    const auto entry = map.find(key);
    if (entry == map.end()) {
      const bool drop = access == Access::kDrop;
      TRACE_AT(trace, drop ? KVO_LOG_VERBOSE : KVO_LOG_ERROR, "Key %d do not find.", key);
      return drop ? YRAFT_STATUS_SUCCESS : YRAFT_STATUS_KEY_NOT_FOUND;
    }
    TRACE_VERBOSE(trace, "Key %d find.", key);
    unsigned char* pData = entry->second.pData;
    Hand(pData, row);
    if (access != Access::kLook) map.erase(entry);
    const auto size = static_cast<unsigned int>(map.size());
    if (access == Access::kLook) {
      TRACE_VERBOSE(trace, "pBuffer=0x%x, size=%u.", TraceAddress(pData), size);
    } else if (access == Access::kTake) {
      TRACE_VERBOSE(trace, "pBuffer=0x%x, size=%u, mapRet=%d.", TraceAddress(pData), size, 1);
    } else {
      TRACE_VERBOSE(trace, "size=%u, mapRet=%d.", size, 1);
    }
    return YRAFT_STATUS_SUCCESS;
  }

 private:
  // Where there is no front, a drop has nothing to do and the others have nothing to answer.
  template <class Sequence>
  unsigned int Front(Sequence& sequence, unsigned int& context, const ContainerRow& row) const {
    if (sequence.empty()) {
      if (access == Access::kDrop) return YRAFT_STATUS_SUCCESS;
      TRACE_ERROR(trace, "%s is empty.", row.name);
      return YRAFT_STATUS_KEY_NOT_FOUND;
    }
    Hand(sequence.front().pData, row);
    if (access != Access::kLook) {
      context -= sequence.front().weight;
      sequence.pop_front();
    }
    return YRAFT_STATUS_SUCCESS;
  }

  void Hand(unsigned char* pData, const ContainerRow& row) const {
    if (access != Access::kDrop) {
      *ppBuffer = pData;
    } else if (row.freedOnPop) {
      std::free(pData);
    }
  }
};

template <class Trace>
unsigned int Reach(Trace trace, YraRW& rw, int queueType, int key, Access access,
                   unsigned char** ppBuffer) {
  if (Named(trace, queueType) == nullptr) return trace.Ret(YRAFT_STATUS_INVALID_PARAM);
  const unsigned int ret =
      YraContainers::With(rw, queueType, AccessElement<Trace>{trace, key, access, ppBuffer});
  if (access != Access::kDrop && ret == YRAFT_STATUS_SUCCESS) {
    TRACE_VERBOSE(trace, "Get buffer is 0x%x.", TraceAddress(*ppBuffer));
  }
  return trace.Ret(ret);
}

}  // namespace

unsigned int YraRW::YraRW_QueueFront(int queueType, int key, unsigned char** ppBuffer) {
  return Traced<kLayerRw>([=, this](auto trace) {
    if (ppBuffer == nullptr) {
      return trace.RefuseNull(YRAFT_STATUS_INVALID_PARAM, "ppBuffer", "null");
    }
    *ppBuffer = nullptr;
    return Reach(trace, *this, queueType, key, Access::kLook, ppBuffer);
  });
}

unsigned int YraRW::YraRW_QueuePopFront(int queueType, int key, unsigned char** ppBuffer) {
  return Traced<kLayerRw>([=, this](auto trace) {
    if (ppBuffer == nullptr) {
      return trace.RefuseNull(YRAFT_STATUS_INVALID_PARAM, "ppBuffer", "null");
    }
    return Reach(trace, *this, queueType, key, Access::kTake, ppBuffer);
  });
}

unsigned int YraRW::YraRW_QueuePop(int queueType, int key) {
  return Traced<kLayerRw>([=, this](auto trace) {
    return Reach(trace, *this, queueType, key, Access::kDrop, nullptr);
  });
}

bool YraRW::YraRW_QueueFind(int queueType, int key) {
  const RwTrace trace;
  if (Named(trace, queueType) == nullptr) return trace.Truth(false);
  if (queueType != YRAFT_MAP_UITHREAD) {
    TRACE_VERBOSE(trace, "Do not support.");
    return trace.Truth(false);
  }
  const bool present = YraContainers::MapOf(*this).count(key) != 0;
  TRACE_VERBOSE(trace, "Key %d %s.", key, present ? "find" : "do not find");
  return trace.Truth(present);
}
