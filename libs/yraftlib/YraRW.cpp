// The store's operations on single elements and whole containers.
#include "YraRW.h"

#include <cstdlib>
#include <new>

#include "YraContainers.h"

namespace {

constexpr TraceLayer kLayer = kLayerRw;

using Element = YraContainers::Element;
using Map = YraContainers::Map;
using yra_rules::Row;

// Reports the container that an operation is asked for; null, reported too, for an unknown type.
template <bool kVerbose = true>
[[gnu::always_inline]] inline const Row* Named(const char* kCaller, int queueType) {
  const Row* row = yra_rules::Find(queueType);
  TRACE_VERBOSE("queue type: %d (%s)", queueType, row != nullptr ? row->name : "Unknown");
  if (row == nullptr) TRACE_ERROR("queue type is unknown.(%d)", queueType);
  return row;
}

unsigned int NullArgument(const char* kCaller, const char* name) {
  TRACE_ERROR("%s (%p) is null.", name, static_cast<void*>(nullptr));
  return YRAFT_STATUS_INVALID_PARAM;
}

bool Truth(const char* kCaller, bool answer) {
  TRACE_VERBOSE("[%s] Out: ret=%s.", kLayer.tag, TraceBool(answer));
  return answer;
}

}  // namespace

YraRW::YraRW() {
  TRACE_IN();
  TRACE_OUT();
}

YraRW::~YraRW() {
  TRACE_IN();
  for (const Row& row : yra_rules::kRows) YraRW_QueueClear(row.type);
  TRACE_OUT();
}

YraRW* YraRWAllocate() noexcept {
  try {
    return new YraRW;  // the containers allocate as well
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

bool YraRW::YraRW_QueueTypeCheck(int queueType) {
  TRACE_IN();
  TRACE_VERBOSE("queueType=%d.", queueType);
  return Truth(__func__, yra_rules::Find(queueType) != nullptr);
}

// ---- Push --------------------------------------------------------------------------------------

namespace {

// How a pointer enters a sequence, or the map under a key.
template <bool kVerbose>
struct PushElement {
  const char* kCaller;
  int key;
  unsigned char* pData;
  unsigned int len;

  template <class Sequence, class Rule>
  unsigned int operator()(Sequence& sequence, unsigned int& context, Rule) const {
    constexpr const Row& row = Rule::row;
    unsigned int weight = 0;
    if constexpr (row.sameWeight == 0) weight = row.weight(pData, len);
    sequence.emplace_back(pData, weight);
    if constexpr (row.named) {
      TRACE_VERBOSE("length=%u, file length=%u, name[%s].", len,
                    yra_rules::FileInfo(pData)->nameLen,
                    YRAFT_FILEINFO_NAME(yra_rules::FileInfo(pData)));
    }
    context += weight;
    return YRAFT_STATUS_SUCCESS;
  }

  template <class Rule>
  unsigned int operator()(Map& map, unsigned int&, Rule) const {
    constexpr int kMaxKey = 0xFFFF;
    if (map.find(key) != map.end()) {
      TRACE_ERROR("Key %d already exist.", key);
      return YRAFT_STATUS_KEY_EXISTS;
    }
    TRACE_VERBOSE("Key %d do not find.", key);
    if (key < 0 || key > kMaxKey) {
      TRACE_ERROR("Key %d is out of range.", key);
      return YRAFT_STATUS_INVALID_PARAM;
    }
    map.emplace(key, Element(pData, 0));
    TRACE_VERBOSE("size=%u.", static_cast<unsigned int>(map.size()));
    return YRAFT_STATUS_SUCCESS;
  }
};

template <bool kVerbose>
unsigned int YraRW_QueuePush(YraRW& rw, int queueType, int key, unsigned char* pBuffer,
                             unsigned int len) {
  TRACE_IN();
  if (pBuffer == nullptr || len == 0) {
    TRACE_ERROR("pBuffer (%p) is null or len (%d) is zero.", static_cast<void*>(pBuffer),
                static_cast<int>(len));
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  const Row* row = yra_rules::Find(queueType);
  TRACE_VERBOSE("queue type: %d (%s) <0x%x - %d>", queueType,
                row != nullptr ? row->name : "Unknown", TraceAddress(pBuffer),
                static_cast<int>(len));
  if (row == nullptr) {
    TRACE_ERROR("queue type is unknown.(%d)", queueType);
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  try {
    return TRACE_RET(
        yra_rules::With(rw, queueType, PushElement<kVerbose>{__func__, key, pBuffer, len}));
  } catch (const std::bad_alloc&) {
    TRACE_ERROR("no memory for another element.");
    return TRACE_RET(YRAFT_STATUS_NO_MEMORY);
  }
}

}  // namespace

unsigned int YraRW::YraRW_QueuePush(int queueType, int key, unsigned char* pBuffer,
                                    unsigned int len) {
  return TRACE_CALL(::YraRW_QueuePush, *this, queueType, key, pBuffer, len);
}

// ---- Figures -----------------------------------------------------------------------------------

unsigned int YraRW::YraRW_QueueSize(int queueType, int* pSize) {
  TRACE_IN();
  if (pSize == nullptr) return TRACE_RET(NullArgument(__func__, "pSize"));
  if (Named(__func__, queueType) == nullptr) return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  *pSize = yra_rules::With(*this, queueType, [](auto& container, unsigned int&, auto) {
    return static_cast<int>(container.size());
  });
  TRACE_VERBOSE("Get size is %d.", *pSize);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

bool YraRW::YraRW_QueueIsEmpty(int queueType) {
  TRACE_IN();
  const bool empty = Named(__func__, queueType) == nullptr ||
                     yra_rules::With(*this, queueType, [](auto& container, unsigned int&, auto) {
                       return container.empty();
                     });
  TRACE_VERBOSE("[%s] Out: ret=%d.", kLayer.tag, empty ? 1 : 0);
  return empty;
}

unsigned int YraRW::YraRW_QueueContextSize(int queueType, unsigned int* pContextSize) {
  TRACE_IN();
  if (pContextSize == nullptr) return TRACE_RET(NullArgument(__func__, "pContextSize"));
  if (Named(__func__, queueType) == nullptr) return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  *pContextSize =
      yra_rules::With(*this, queueType, [](auto&, unsigned int& context, auto) { return context; });
  TRACE_VERBOSE("Get context size is %d.", static_cast<int>(*pContextSize));
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

// ---- Clear -------------------------------------------------------------------------------------

namespace {

struct ClearAll {
  const char* kCaller;

  template <class Rule>
  unsigned int operator()(YraContainers::Queue& queue, unsigned int& context, Rule) const {
    TRACE_VERBOSE("Get queue size is %d.", static_cast<int>(queue.size()));
    for (int i = 1; !queue.empty(); ++i) {
      unsigned char* pBuffer = queue.front().pData;
      queue.pop_front();
      TRACE_VERBOSE("[%02d]: pBuffer=0x%x.", i, TraceAddress(pBuffer));
      if (Rule::row.freedOnClear) std::free(pBuffer);
    }
    context = 0;
    return YRAFT_STATUS_SUCCESS;
  }

  template <class Rule>
  unsigned int operator()(YraContainers::List& list, unsigned int& context, Rule) const {
    TRACE_VERBOSE("File info list size is %d.", static_cast<int>(list.size()));
    for (int i = 1; !list.empty(); ++i) {
      list.pop_front();
      TRACE_VERBOSE("delete %d.", i);
    }
    context = 0;
    return YRAFT_STATUS_SUCCESS;
  }

  template <class Rule>
  unsigned int operator()(Map& map, unsigned int&, Rule) const {
    TRACE_VERBOSE("UI thread map size is %d.", static_cast<int>(map.size()));
    map.clear();
    return YRAFT_STATUS_SUCCESS;
  }
};

}  // namespace

unsigned int YraRW::YraRW_QueueClear(int queueType) {
  TRACE_IN();
  if (Named(__func__, queueType) == nullptr) return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  return TRACE_RET(yra_rules::With(*this, queueType, ClearAll{__func__}));
}

unsigned int YraRW::YraRW_Reset() {
  TRACE_IN();
  for (const Row& row : yra_rules::kRows) YraRW_QueueClear(row.type);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

// ---- Keyed access ------------------------------------------------------------------------------

namespace {

// What an access does with the element it finds.
enum class Access { kLook, kTake, kDrop };

template <bool kVerbose>
struct AccessElement {
  const char* kCaller;
  int key;
  Access access;
  unsigned char** ppBuffer;  // null for a drop

  template <class Rule>
  unsigned int operator()(YraContainers::Queue& queue, unsigned int& context, Rule) const {
    if (queue.empty()) return Nothing(Rule::row);
    Hand(Rule::row, queue.front());
    if (access != Access::kLook) {
      context -= queue.front().weight;
      queue.pop_front();
    }
    return YRAFT_STATUS_SUCCESS;
  }

  template <class Rule>
  unsigned int operator()(YraContainers::List& list, unsigned int& context, Rule) const {
    if (list.empty()) return Nothing(Rule::row);
    TRACE_VERBOSE("Before Pop, size=%d.", static_cast<int>(list.size()));
    Hand(Rule::row, list.front());
    if (access != Access::kLook) {
      context -= list.front().weight;
      list.pop_front();
    }
    TRACE_VERBOSE("After Pop, size=%d.", static_cast<int>(list.size()));
    return YRAFT_STATUS_SUCCESS;
  }

  template <class Rule>
  unsigned int operator()(Map& map, unsigned int&, Rule) const {
    const auto entry = map.find(key);
    if (entry == map.end()) {
      TRACE_AT(access == Access::kDrop ? KVO_LOG_VERBOSE : KVO_LOG_ERROR, "Key %d do not find.",
               key);
      return access == Access::kDrop ? YRAFT_STATUS_SUCCESS : YRAFT_STATUS_KEY_NOT_FOUND;
    }
    TRACE_VERBOSE("Key %d find.", key);
    unsigned char* pData = entry->second.pData;
    Hand(Rule::row, entry->second);
    if (access != Access::kLook) map.erase(entry);
    const auto size = static_cast<unsigned int>(map.size());
    if (access == Access::kLook) {
      TRACE_VERBOSE("pBuffer=0x%x, size=%u.", TraceAddress(pData), size);
    } else if (access == Access::kTake) {
      TRACE_VERBOSE("pBuffer=0x%x, size=%u, mapRet=%d.", TraceAddress(pData), size, 1);
    } else {
      TRACE_VERBOSE("size=%u, mapRet=%d.", size, 1);
    }
    return YRAFT_STATUS_SUCCESS;
  }

 private:
  // There is no front: a drop has nothing to do, the others nothing to answer.
  unsigned int Nothing(const Row& row) const {
    if (access == Access::kDrop) return YRAFT_STATUS_SUCCESS;
    TRACE_ERROR("%s is empty.", row.name);
    return YRAFT_STATUS_KEY_NOT_FOUND;
  }

  void Hand(const Row& row, const Element& element) const {
    if (access != Access::kDrop) {
      *ppBuffer = element.pData;
    } else if (row.freedOnPop) {
      std::free(element.pData);
    }
  }
};

struct FindKey {
  const char* kCaller;
  int key;

  template <class Sequence, class Rule>
  bool operator()(Sequence&, unsigned int&, Rule) const {
    TRACE_VERBOSE("Do not support.");
    return false;
  }

  template <class Rule>
  bool operator()(Map& map, unsigned int&, Rule) const {
    const bool present = map.find(key) != map.end();
    TRACE_VERBOSE("Key %d %s.", key, present ? "find" : "do not find");
    return present;
  }
};

template <bool kVerbose>
unsigned int YraRW_QueueFront(YraRW& rw, int queueType, int key, unsigned char** ppBuffer) {
  TRACE_IN();
  if (ppBuffer == nullptr) return TRACE_RET(NullArgument(__func__, "ppBuffer"));
  *ppBuffer = nullptr;
  if (Named<kVerbose>(__func__, queueType) == nullptr) return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  const unsigned int ret = yra_rules::With(
      rw, queueType, AccessElement<kVerbose>{__func__, key, Access::kLook, ppBuffer});
  if (ret == YRAFT_STATUS_SUCCESS) TRACE_VERBOSE("Get buffer is 0x%x.", TraceAddress(*ppBuffer));
  return TRACE_RET(ret);
}

template <bool kVerbose>
unsigned int YraRW_QueuePopFront(YraRW& rw, int queueType, int key, unsigned char** ppBuffer) {
  TRACE_IN();
  if (ppBuffer == nullptr) return TRACE_RET(NullArgument(__func__, "ppBuffer"));
  if (Named<kVerbose>(__func__, queueType) == nullptr) return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  const unsigned int ret = yra_rules::With(
      rw, queueType, AccessElement<kVerbose>{__func__, key, Access::kTake, ppBuffer});
  if (ret == YRAFT_STATUS_SUCCESS) TRACE_VERBOSE("Get buffer is 0x%x.", TraceAddress(*ppBuffer));
  return TRACE_RET(ret);
}

template <bool kVerbose>
unsigned int YraRW_QueuePop(YraRW& rw, int queueType, int key) {
  TRACE_IN();
  if (Named<kVerbose>(__func__, queueType) == nullptr) return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  return TRACE_RET(yra_rules::With(rw, queueType,
                                   AccessElement<kVerbose>{__func__, key, Access::kDrop, nullptr}));
}

}  // namespace

unsigned int YraRW::YraRW_QueueFront(int queueType, int key, unsigned char** ppBuffer) {
  return TRACE_CALL(::YraRW_QueueFront, *this, queueType, key, ppBuffer);
}

unsigned int YraRW::YraRW_QueuePopFront(int queueType, int key, unsigned char** ppBuffer) {
  return TRACE_CALL(::YraRW_QueuePopFront, *this, queueType, key, ppBuffer);
}

unsigned int YraRW::YraRW_QueuePop(int queueType, int key) {
  return TRACE_CALL(::YraRW_QueuePop, *this, queueType, key);
}

bool YraRW::YraRW_QueueFind(int queueType, int key) {
  TRACE_IN();
  if (Named(__func__, queueType) == nullptr) return Truth(__func__, false);
  return Truth(__func__, yra_rules::With(*this, queueType, FindKey{__func__, key}));
}
