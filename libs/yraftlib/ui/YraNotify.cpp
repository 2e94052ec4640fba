// The one way the library calls the host.
#include "ui/YraNotify.h"

#include <atomic>
#include <cstdlib>

namespace {

std::atomic<YRAFT_NOTIFY_FUN> g_pYraNotifyFun{nullptr};

// The call of YraCallbackYraNotify. Answers false when nobody is registered: only then has the data
// found no new owner.
bool Deliver(unsigned int event, unsigned int subCode, unsigned int status, unsigned int value,
             void* pData, unsigned int* pRet) {
  const WinTrace trace(KVO_LOG_VERBOSE, "YraCallbackYraNotify");
  const YRAFT_NOTIFY_FUN pFun = g_pYraNotifyFun.load(std::memory_order_acquire);
  if (pFun != nullptr) {
    *pRet = pFun(event, subCode, status, value, pData);
  } else {
    TRACE_ERROR(trace, "g_pYraNotifyFun (%p) is null.", static_cast<void*>(nullptr));
    *pRet = YRAFT_STATUS_INVALID_PARAM;
  }
  trace.Ret(*pRet);
  return pFun != nullptr;
}

}  // namespace

void YraSetYraNotifyFun(YRAFT_NOTIFY_FUN pFun) {
  const WinTrace trace;
  g_pYraNotifyFun.store(pFun, std::memory_order_release);
  TRACE_VERBOSE(trace, "[%s] Out: g_pYraNotifyFun=0x%x.", kLayerWin.tag,
                TraceAddress(reinterpret_cast<const void*>(pFun)));
}

unsigned int YraCallbackYraNotify(unsigned int event, unsigned int subCode, unsigned int status,
                                  unsigned int value, void* pData) {
  unsigned int ret = YRAFT_STATUS_SUCCESS;
  Deliver(event, subCode, status, value, pData, &ret);
  return ret;
}

void YraNotifyChoice(WinTrace trace, unsigned int event, unsigned int status,
                     YRAFT_TLV_BLOCKS* pBlock, unsigned short blockLen) {
  constexpr unsigned int kResultSubCode = 15;
  TRACE_VERBOSE(trace, "Will notify to VC from GTK. (0x%x - %d - 0x%x)", status, blockLen,
                TraceAddress(pBlock));
  unsigned int ret = YRAFT_STATUS_SUCCESS;
  if (!Deliver(event, kResultSubCode, status, blockLen, pBlock, &ret)) std::free(pBlock);
  trace.Called("YraCallbackYraNotify", ret);
}
