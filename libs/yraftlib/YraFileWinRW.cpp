// The C functions of the queue store: check, forward, answer.
#include "store/YraContainers.h"
// The trace vocabulary comes first.
#include "yrafiletransfer.h"

namespace {

template <class Trace>
unsigned int NullStore(Trace trace) {
  TRACE_INFO(trace, "pYraRW (%p) is NULL.", static_cast<void*>(nullptr));
  return YRAFT_STATUS_INVALID_PARAM;
}

template <class Trace>
unsigned int NullArgument(Trace trace, const void* pYraRW, const char* name,
                          const void* pArgument) {
  TRACE_INFO(trace, "pYraRW (%p) or %s (%p) is NULL.", pYraRW, name, pArgument);
  return trace.Ret(YRAFT_STATUS_INVALID_PARAM);
}

}  // namespace

unsigned int YraftRWCreate(YraRW** ppYraRW) {
  const LibTrace trace;
  if (ppYraRW == nullptr) return trace.RefuseNull(YRAFT_STATUS_INVALID_PARAM, "ppYraRW");
  *ppYraRW = YraRWAllocate();
  if (*ppYraRW == nullptr) return trace.Refuse(YRAFT_STATUS_RW_CREATE_FAILED, "new YraRW failed.");
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

unsigned int YraftRWDestory(YraRW** ppYraRW) {
  const LibTrace trace;
  if (ppYraRW == nullptr) {
    NullStore(trace);
  } else if (*ppYraRW == nullptr) {
    TRACE_VERBOSE(trace, "It is release.");
  } else {
    delete *ppYraRW;
    *ppYraRW = nullptr;
  }
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

unsigned int YraftRWReset(YraRW* pYraRW) {
  const LibTrace trace;
  if (pYraRW == nullptr) return trace.Ret(NullStore(trace));
  pYraRW->YraRW_Reset();
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

// ---- For every buffer of a transfer ------------------------------------------------------------

unsigned int YraftRWPush(YraRW* pYraRW, int queueType, int key, unsigned char* pData,
                         unsigned int dataLen) {
  return Traced<kLayerLib>([=](auto trace) {
    if (pYraRW == nullptr) return trace.Ret(NullStore(trace));
    TRACE_VERBOSE(trace, "Push: queueType=%d, key=%d, pData=0x%x, dataLen=%u.", queueType, key,
                  TraceAddress(pData), dataLen);
    return trace.Ret(
        trace.Called("YraRW_QueuePush", pYraRW->YraRW_QueuePush(queueType, key, pData, dataLen)));
  });
}

unsigned int YraftRWFront(YraRW* pYraRW, int queueType, int key, unsigned char** ppData) {
  return Traced<kLayerLib>([=](auto trace) {
    if (pYraRW == nullptr || ppData == nullptr) {
      return NullArgument(trace, pYraRW, "ppData", ppData);
    }
    *ppData = nullptr;
    TRACE_VERBOSE(trace, "Pop: queueType=%d, key=%d.", queueType, key);
    return trace.Ret(
        trace.Called("YraRW_QueueFront", pYraRW->YraRW_QueueFront(queueType, key, ppData)));
  });
}

unsigned int YraftRWPopFront(YraRW* pYraRW, int queueType, int key, unsigned char** ppData) {
  return Traced<kLayerLib>([=](auto trace) {
    if (pYraRW == nullptr || ppData == nullptr) {
      return NullArgument(trace, pYraRW, "ppData", ppData);
    }
    *ppData = nullptr;
    TRACE_VERBOSE(trace, "Pop: queueType=%d, key=%d.", queueType, key);
    return trace.Ret(
        trace.Called("YraRW_QueuePopFront", pYraRW->YraRW_QueuePopFront(queueType, key, ppData)));
  });
}

unsigned int YraftRWPop(YraRW* pYraRW, int queueType, int key) {
  return Traced<kLayerLib>([=](auto trace) {
    if (pYraRW == nullptr) return trace.Ret(NullStore(trace));
    TRACE_VERBOSE(trace, "Pop: queueType=%d, key%d.", queueType, key);
    return trace.Ret(trace.Called("YraRW_QueuePop", pYraRW->YraRW_QueuePop(queueType, key)));
  });
}

// ---- Everything else ---------------------------------------------------------------------------

bool YraftRWFind(YraRW* pYraRW, int queueType, int key) {
  const LibTrace trace;
  bool found = false;
  if (pYraRW == nullptr) {
    NullStore(trace);
  } else {
    TRACE_VERBOSE(trace, "Pop: queueType=%d, key%d.", queueType, key);
    found = pYraRW->YraRW_QueueFind(queueType, key);
  }
  return trace.Truth(found);
}

unsigned int YraftRWSize(YraRW* pYraRW, int queueType, int* pSize) {
  const LibTrace trace;
  if (pYraRW == nullptr || pSize == nullptr) return NullArgument(trace, pYraRW, "pSize", pSize);
  *pSize = 0;
  TRACE_VERBOSE(trace, "Get Size: queueType=%d.", queueType);
  return trace.Ret(trace.Called("YraRW_QueueSize", pYraRW->YraRW_QueueSize(queueType, pSize)));
}

bool YraftRWEmpty(YraRW* pYraRW, int queueType) {
  const LibTrace trace;
  bool empty = true;
  if (pYraRW == nullptr) {
    NullStore(trace);
  } else {
    TRACE_VERBOSE(trace, "Is Empty: queueType=%d.", queueType);
    empty = pYraRW->YraRW_QueueIsEmpty(queueType);
  }
  return trace.Truth(empty, "ret = ");
}

unsigned int YraftRWClear(YraRW* pYraRW, int queueType) {
  const LibTrace trace;
  if (pYraRW == nullptr) return trace.Ret(NullStore(trace));
  TRACE_VERBOSE(trace, "Clear: queueType=%d.", queueType);
  return trace.Ret(trace.Called("YraRW_QueueClear", pYraRW->YraRW_QueueClear(queueType)));
}

unsigned int YraftRWContextSize(YraRW* pYraRW, int queueType, unsigned int* pContextSize) {
  const LibTrace trace;
  if (pYraRW == nullptr || pContextSize == nullptr) {
    return NullArgument(trace, pYraRW, "pContextSize", pContextSize);
  }
  *pContextSize = 0;
  TRACE_VERBOSE(trace, "Pop: queueType=%d.", queueType);
  return trace.Ret(trace.Called("YraRW_QueueContextSize",
                                pYraRW->YraRW_QueueContextSize(queueType, pContextSize)));
}

unsigned int YraftRWGetAll(YraRW* pYraRW, int queueType, unsigned char** ppTlvBlocks) {
  const LibTrace trace;
  if (pYraRW == nullptr || ppTlvBlocks == nullptr) {
    return NullArgument(trace, pYraRW, "ppTlvBlocks", ppTlvBlocks);
  }
  *ppTlvBlocks = nullptr;
  TRACE_VERBOSE(trace, "Pop: queueType=%d.", queueType);
  return trace.Ret(
      trace.Called("YraRW_QueueGetAll", pYraRW->YraRW_QueueGetAll(queueType, ppTlvBlocks)));
}
