// The C functions of the queue store: check, forward, answer.
#include "YraRW.h"
// The trace vocabulary comes first.
#include "yrafiletransfer.h"

namespace {

constexpr TraceLayer kLayer = kLayerLib;

unsigned int NullStore(const char* kCaller) {
  TRACE_INFO("pYraRW (%p) is NULL.", static_cast<void*>(nullptr));
  return YRAFT_STATUS_INVALID_PARAM;
}

unsigned int NullArgument(const char* kCaller, const void* pYraRW, const char* name,
                          const void* pArgument) {
  TRACE_INFO("pYraRW (%p) or %s (%p) is NULL.", pYraRW, name, pArgument);
  return YRAFT_STATUS_INVALID_PARAM;
}

// Reports a member's refusal and passes its answer on.
[[gnu::always_inline]] inline unsigned int Forwarded(const char* kCaller, const char* member,
                                                     unsigned int ret) {
  if (ret != YRAFT_STATUS_SUCCESS) TRACE_FAILED(member, ret);
  return ret;
}

}  // namespace

unsigned int YraftRWCreate(YraRW** ppYraRW) {
  TRACE_IN();
  if (ppYraRW == nullptr) {
    TRACE_ERROR("ppYraRW (%p) is NULL.", static_cast<void*>(ppYraRW));
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  *ppYraRW = YraRWAllocate();
  if (*ppYraRW == nullptr) {
    TRACE_ERROR("new YraRW failed.");
    return TRACE_RET(YRAFT_STATUS_RW_CREATE_FAILED);
  }
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

unsigned int YraftRWDestory(YraRW** ppYraRW) {
  TRACE_IN();
  if (ppYraRW == nullptr) {
    NullStore(__func__);
  } else if (*ppYraRW == nullptr) {
    TRACE_VERBOSE("It is release.");
  } else {
    delete *ppYraRW;
    *ppYraRW = nullptr;
  }
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

unsigned int YraftRWReset(YraRW* pYraRW) {
  TRACE_IN();
  if (pYraRW == nullptr) return TRACE_RET(NullStore(__func__));
  pYraRW->YraRW_Reset();
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

namespace {

template <bool kVerbose>
unsigned int YraftRWPush(YraRW* pYraRW, int queueType, int key, unsigned char* pData,
                         unsigned int dataLen) {
  TRACE_IN();
  if (pYraRW == nullptr) return TRACE_RET(NullStore(__func__));
  TRACE_VERBOSE("Push: queueType=%d, key=%d, pData=0x%x, dataLen=%u.", queueType, key,
                TraceAddress(pData), dataLen);
  return TRACE_RET(Forwarded(__func__, "YraRW_QueuePush",
                             pYraRW->YraRW_QueuePush(queueType, key, pData, dataLen)));
}

template <bool kVerbose>
unsigned int YraftRWFront(YraRW* pYraRW, int queueType, int key, unsigned char** ppData) {
  TRACE_IN();
  if (pYraRW == nullptr || ppData == nullptr) {
    return TRACE_RET(NullArgument(__func__, pYraRW, "ppData", ppData));
  }
  *ppData = nullptr;
  TRACE_VERBOSE("Pop: queueType=%d, key=%d.", queueType, key);
  return TRACE_RET(
      Forwarded(__func__, "YraRW_QueueFront", pYraRW->YraRW_QueueFront(queueType, key, ppData)));
}

template <bool kVerbose>
unsigned int YraftRWPopFront(YraRW* pYraRW, int queueType, int key, unsigned char** ppData) {
  TRACE_IN();
  if (pYraRW == nullptr || ppData == nullptr) {
    return TRACE_RET(NullArgument(__func__, pYraRW, "ppData", ppData));
  }
  *ppData = nullptr;
  TRACE_VERBOSE("Pop: queueType=%d, key=%d.", queueType, key);
  return TRACE_RET(Forwarded(__func__, "YraRW_QueuePopFront",
                             pYraRW->YraRW_QueuePopFront(queueType, key, ppData)));
}

template <bool kVerbose>
unsigned int YraftRWPop(YraRW* pYraRW, int queueType, int key) {
  TRACE_IN();
  if (pYraRW == nullptr) return TRACE_RET(NullStore(__func__));
  TRACE_VERBOSE("Pop: queueType=%d, key%d.", queueType, key);
  return TRACE_RET(Forwarded(__func__, "YraRW_QueuePop", pYraRW->YraRW_QueuePop(queueType, key)));
}

}  // namespace

unsigned int YraftRWPush(YraRW* pYraRW, int queueType, int key, unsigned char* pData,
                         unsigned int dataLen) {
  return TRACE_CALL(YraftRWPush, pYraRW, queueType, key, pData, dataLen);
}

unsigned int YraftRWFront(YraRW* pYraRW, int queueType, int key, unsigned char** ppData) {
  return TRACE_CALL(YraftRWFront, pYraRW, queueType, key, ppData);
}

unsigned int YraftRWPopFront(YraRW* pYraRW, int queueType, int key, unsigned char** ppData) {
  return TRACE_CALL(YraftRWPopFront, pYraRW, queueType, key, ppData);
}

unsigned int YraftRWPop(YraRW* pYraRW, int queueType, int key) {
  return TRACE_CALL(YraftRWPop, pYraRW, queueType, key);
}

bool YraftRWFind(YraRW* pYraRW, int queueType, int key) {
  TRACE_IN();
  bool found = false;
  if (pYraRW == nullptr) {
    NullStore(__func__);
  } else {
    TRACE_VERBOSE("Pop: queueType=%d, key%d.", queueType, key);
    found = pYraRW->YraRW_QueueFind(queueType, key);
  }
  TRACE_VERBOSE("[%s] Out: ret=%s.", kLayer.tag, TraceBool(found));
  return found;
}

unsigned int YraftRWSize(YraRW* pYraRW, int queueType, int* pSize) {
  TRACE_IN();
  if (pYraRW == nullptr || pSize == nullptr) {
    return TRACE_RET(NullArgument(__func__, pYraRW, "pSize", pSize));
  }
  *pSize = 0;
  TRACE_VERBOSE("Get Size: queueType=%d.", queueType);
  return TRACE_RET(
      Forwarded(__func__, "YraRW_QueueSize", pYraRW->YraRW_QueueSize(queueType, pSize)));
}

bool YraftRWEmpty(YraRW* pYraRW, int queueType) {
  TRACE_IN();
  bool empty = true;
  if (pYraRW == nullptr) {
    NullStore(__func__);
  } else {
    TRACE_VERBOSE("Is Empty: queueType=%d.", queueType);
    empty = pYraRW->YraRW_QueueIsEmpty(queueType);
  }
  TRACE_VERBOSE("[%s] Out: ret = %s.", kLayer.tag, TraceBool(empty));
  return empty;
}

unsigned int YraftRWClear(YraRW* pYraRW, int queueType) {
  TRACE_IN();
  if (pYraRW == nullptr) return TRACE_RET(NullStore(__func__));
  TRACE_VERBOSE("Clear: queueType=%d.", queueType);
  return TRACE_RET(Forwarded(__func__, "YraRW_QueueClear", pYraRW->YraRW_QueueClear(queueType)));
}

unsigned int YraftRWContextSize(YraRW* pYraRW, int queueType, unsigned int* pContextSize) {
  TRACE_IN();
  if (pYraRW == nullptr || pContextSize == nullptr) {
    return TRACE_RET(NullArgument(__func__, pYraRW, "pContextSize", pContextSize));
  }
  *pContextSize = 0;
  TRACE_VERBOSE("Pop: queueType=%d.", queueType);
  return TRACE_RET(Forwarded(__func__, "YraRW_QueueContextSize",
                             pYraRW->YraRW_QueueContextSize(queueType, pContextSize)));
}

unsigned int YraftRWGetAll(YraRW* pYraRW, int queueType, unsigned char** ppTlvBlocks) {
  TRACE_IN();
  if (pYraRW == nullptr || ppTlvBlocks == nullptr) {
    return TRACE_RET(NullArgument(__func__, pYraRW, "ppTlvBlocks", ppTlvBlocks));
  }
  *ppTlvBlocks = nullptr;
  TRACE_VERBOSE("Pop: queueType=%d.", queueType);
  return TRACE_RET(
      Forwarded(__func__, "YraRW_QueueGetAll", pYraRW->YraRW_QueueGetAll(queueType, ppTlvBlocks)));
}
