// The C functions of the UI: check, forward, answer.
#include <cstdlib>
#include <memory>
#include <new>

#include "YraDialog.h"
#include "YraNotify.h"
#include "YraSelfSignal.h"

namespace {
constexpr TraceLayer kLayer = kLayerLib;
}

// ---- Persistent UI -----------------------------------------------------------------------------

void YraSetYraNotifyCallback(YRAFT_NOTIFY_FUN pFun) {
  TRACE_IN();
  YraSetYraNotifyFun(pFun);
  TRACE_VERBOSE("[%s] Out: pFun=0x%x.", kLayer.tag,
                TraceAddress(reinterpret_cast<const void*>(pFun)));
}

unsigned int YraMainWinUICreate(int argc, char** argv, void* pInput, YraWinUI** ppWinUI) {
  TRACE_IN();
  if (pInput == nullptr || ppWinUI == nullptr) {
    TRACE_ERROR("pInput (%p) or ppWinUI (%p) is NULL.", pInput, static_cast<void*>(ppWinUI));
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  *ppWinUI = new (std::nothrow) YraWinUI(argc, argv, pInput);
  if (*ppWinUI == nullptr) {
    TRACE_ERROR("new YraWinUI failed.");
    return TRACE_RET(YRAFT_STATUS_UI_CREATE_FAILED);
  }
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

unsigned int YraMainWinUIDestory(YraWinUI* pWinUI) {
  TRACE_IN();
  if (pWinUI == nullptr) TRACE_VERBOSE("pWinUI is NULL.");
  delete pWinUI;
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

unsigned int YraSendSelfSignal(void* pSelfSignal, int signalType, int evtType, int key,
                               void* pInput) {
  TRACE_IN();
  TRACE_VERBOSE("pSelfSignal=0x%x, signalType=%s, evtType=%d, key=%d, pInput=0x%x.",
                TraceAddress(pSelfSignal), YraSelfSignalName(signalType), evtType, key,
                TraceAddress(pInput));
  if (pSelfSignal == nullptr) {
    TRACE_WARNING("pSelfSignal is NULL.");
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  if (signalType <= YRAFT_UI_SIGNAL_INIT || signalType >= YRAFT_UI_SIGNAL_MAX) {
    TRACE_WARNING("signal %d is invaild.", signalType);
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  const YraSender sender(pSelfSignal);
  if (!sender.Served()) {
    TRACE_WARNING("pSelfSignal (%p) reaches no UI.", pSelfSignal);
    return TRACE_RET(YRAFT_STATUS_BAD_STATE);
  }
  const YRAFT_SELF_SIGNAL_ENTRY& entry =
      static_cast<YRAFT_SELF_SIGNAL*>(pSelfSignal)->entries[signalType];
  if (kvolog::Admits(KVO_CLASS_YRAFT_VC, KVO_LOG_VERBOSE)) {
    __KvoTrace(KVO_CLASS_YRAFT_VC, KVO_LOG_VERBOSE, __FILE__, __func__, __LINE__,
               "SignalObj=0x%x, signalID=%d.", TraceAddress(entry.pSignalObj),
               static_cast<int>(entry.signalId));
  }
  g_signal_emit(entry.pSignalObj, entry.signalId, 0, evtType, key, pInput);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

// ---- One call, one dialog ----------------------------------------------------------------------

namespace {

constexpr int kUploadPath = 1;
constexpr int kDownloadFiles = 2;

struct FreeBlock {
  void operator()(YRAFT_TLV_BLOCKS* pBlock) const { std::free(pBlock); }
};
using Block = std::unique_ptr<YRAFT_TLV_BLOCKS, FreeBlock>;

// A step of the call failed: the choice counts for nothing.
unsigned int Failed(const char* operation, unsigned int ret, unsigned int* pStatusCode) {
  TRACE_FAILED(operation, ret);
  *pStatusCode = YRAFT_OPT_STATUS_FAILED;
  return ret;
}

unsigned int TakeBlock(YraWinUI& winUI, Block& block) {
  YRAFT_TLV_BLOCKS* pBlock = nullptr;
  const unsigned int ret = winUI.YraGetAllChooseFiles(&pBlock);
  block.reset(pBlock);
  return ret;
}

// Hands the block over where the dialog has nothing against it.
unsigned int HandOver(YraWinUI& winUI, Block block, unsigned int* pStatusCode,
                      YRAFT_TLV_BLOCKS** ppTlvBlocks) {
  *pStatusCode = winUI.YraGetChooseOptStatusCode();
  if (*pStatusCode != YRAFT_OPT_STATUS_SUCCESS) {
    TRACE_INFO("Get choose files failed.(0x%x)", *pStatusCode);
  } else {
    *ppTlvBlocks = block.release();
    TRACE_VERBOSE("Will callback delete destroy win.");
  }
  return YRAFT_STATUS_SUCCESS;
}

std::unique_ptr<YraWinUI> RunDialog(int operationType, int argc, char** argv, void* pInput) {
  std::unique_ptr<YraWinUI> pWinUI(new (std::nothrow) YraWinUI(operationType, argc, argv, pInput));
  if (pWinUI == nullptr) TRACE_ERROR("new YraWinUI failed.");
  return pWinUI;
}

unsigned int ChooseFiles(YraWinUI& winUI, unsigned int* pStatusCode,
                         YRAFT_TLV_BLOCKS** ppTlvBlocks) {
  int filesNum = 0;
  unsigned int ret = winUI.YraGetChooseFilesNum(&filesNum);
  if (ret != YRAFT_STATUS_SUCCESS) return Failed("YraGetChooseFilesNum", ret, pStatusCode);
  Block block;
  ret = TakeBlock(winUI, block);
  if (ret != YRAFT_STATUS_SUCCESS) return Failed("YraGetAllChooseFiles", ret, pStatusCode);
  ret = winUI.YraChooseFilesThresholdCheck(filesNum, static_cast<uint32_t>(block->FilesSize));
  if (ret != YRAFT_STATUS_SUCCESS) return Failed("YraChooseFilesThresholdCheck", ret, pStatusCode);
  return HandOver(winUI, std::move(block), pStatusCode, ppTlvBlocks);
}

unsigned int ChooseDirectory(YraWinUI& winUI, unsigned int* pStatusCode,
                             YRAFT_TLV_BLOCKS** ppTlvBlocks) {
  Block block;
  unsigned int ret = TakeBlock(winUI, block);
  if (ret != YRAFT_STATUS_SUCCESS) return Failed("YraGetAllChooseFiles", ret, pStatusCode);
  const int filesNum = block->ListCount;
  TRACE_ERROR("filesNum is %d.", filesNum);
  if (filesNum > 1) {
    TRACE_ERROR("Select file path too many.");
    *pStatusCode = YRAFT_OPT_STATUS_FAILED;
    return YRAFT_STATUS_SUCCESS;
  }
  if (filesNum == 1) {
    constexpr int kNameOffset = sizeof(YRAFT_TLV_ITEM) + sizeof(YRAFT_FILEINFO_ITEM);
    char* pPath = reinterpret_cast<char*>(block.get()) + block->ListBlocks + kNameOffset;
    TRACE_ERROR("file path is [%s].", pPath);
    ret = winUI.YraChooseDirectoryThresholdCheck(filesNum, pPath);
    if (ret != YRAFT_STATUS_SUCCESS) {
      return Failed("YraChooseDirectoryThresholdCheck", ret, pStatusCode);
    }
  }
  return HandOver(winUI, std::move(block), pStatusCode, ppTlvBlocks);
}

}  // namespace

unsigned int YraGetChooseFilesList(int argc, char** argv, YRAFT_THRESHOLD_INFO* pThresholdInfo,
                                   unsigned int* pStatusCode, YRAFT_TLV_BLOCKS** ppTlvBlocks) {
  TRACE_IN();
  if (pStatusCode == nullptr) {
    TRACE_ERROR("pStatusCode is NULL.");
    return TRACE_RET(YRAFT_STATUS_BAD_ARGUMENT);
  }
  *pStatusCode = YRAFT_OPT_STATUS_SUCCESS;
  if (pThresholdInfo == nullptr || ppTlvBlocks == nullptr) {
    TRACE_ERROR("pThresholdInfo (%p) or ppTlvBlocks (%p) is NULL.",
                static_cast<void*>(pThresholdInfo), static_cast<void*>(ppTlvBlocks));
    *pStatusCode = YRAFT_OPT_STATUS_FAILED;
    return TRACE_RET(YRAFT_STATUS_BAD_ARGUMENT);
  }
  *ppTlvBlocks = nullptr;
  TRACE_VERBOSE("argc=%d, argv=0x%x.", argc, TraceAddress(argv));
  const auto pWinUI = RunDialog(kDownloadFiles, argc, argv, pThresholdInfo);
  if (pWinUI == nullptr) {
    *pStatusCode = YRAFT_OPT_STATUS_FAILED;
    return TRACE_RET(YRAFT_STATUS_UI_CREATE_FAILED);
  }
  return TRACE_RET(ChooseFiles(*pWinUI, pStatusCode, ppTlvBlocks));
}

unsigned int YraGetChooseDirectory(int argc, char** argv, YRAFT_FILEINFO_ITEM* pFileInfo,
                                   unsigned int* pStatusCode, YRAFT_TLV_BLOCKS** ppTlvBlocks) {
  TRACE_IN();
  if (pStatusCode == nullptr) {
    TRACE_ERROR("pStatusCode is NULL.");
    return TRACE_RET(YRAFT_STATUS_BAD_ARGUMENT);
  }
  *pStatusCode = YRAFT_OPT_STATUS_SUCCESS;
  if (ppTlvBlocks == nullptr) {
    TRACE_ERROR("ppTlvBlocks (%p) is NULL.", static_cast<void*>(ppTlvBlocks));
    *pStatusCode = YRAFT_OPT_STATUS_FAILED;
    return TRACE_RET(YRAFT_STATUS_BAD_ARGUMENT);
  }
  *ppTlvBlocks = nullptr;
  const auto pWinUI = RunDialog(kUploadPath, argc, argv, pFileInfo);
  if (pWinUI == nullptr) {
    *pStatusCode = YRAFT_OPT_STATUS_FAILED;
    return TRACE_RET(YRAFT_STATUS_UI_CREATE_FAILED);
  }
  return TRACE_RET(ChooseDirectory(*pWinUI, pStatusCode, ppTlvBlocks));
}
