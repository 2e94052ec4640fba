// The C functions of the UI: check, forward, answer.
#include <cstdlib>
#include <memory>
#include <new>

#include "YraTrace.h"
#include "YraWinUI.h"

// ---- Persistent UI -----------------------------------------------------------------------------

void YraSetYraNotifyCallback(YRAFT_NOTIFY_FUN pFun) {
  const LibTrace trace;
  YraSetYraNotifyFun(pFun);
  TRACE_VERBOSE(trace, "[%s] Out: pFun=0x%x.", kLayerLib.tag,
                TraceAddress(reinterpret_cast<const void*>(pFun)));
}

namespace {

// A UI object, whose constructor has run what it runs; null, traced, where memory ended.
template <class... Arguments>
std::unique_ptr<YraWinUI> MakeUI(LibTrace trace, Arguments... arguments) {
  try {
    return std::make_unique<YraWinUI>(arguments...);
  } catch (const std::bad_alloc&) {
    TRACE_ERROR(trace, "new YraWinUI failed.");
    return nullptr;
  }
}

}  // namespace

unsigned int YraMainWinUICreate(int argc, char** argv, void* pInput, YraWinUI** ppWinUI) {
  const LibTrace trace;
  if (pInput == nullptr || ppWinUI == nullptr) {
    TRACE_ERROR(trace, "pInput (%p) or ppWinUI (%p) is NULL.", pInput, static_cast<void*>(ppWinUI));
    return trace.Ret(YRAFT_STATUS_INVALID_PARAM);
  }
  *ppWinUI = nullptr;
  *ppWinUI = MakeUI(trace, argc, argv, pInput).release();
  return trace.Ret(*ppWinUI != nullptr ? YRAFT_STATUS_SUCCESS : YRAFT_STATUS_UI_CREATE_FAILED);
}

unsigned int YraMainWinUIDestory(YraWinUI* pWinUI) {
  const LibTrace trace;
  if (pWinUI == nullptr) TRACE_VERBOSE(trace, "pWinUI is NULL.");
  delete pWinUI;
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

// ---- One call, one dialog ----------------------------------------------------------------------

namespace {

constexpr int kUploadPath = 1;
constexpr int kDownloadFiles = 2;

struct FreeBlock {
  void operator()(YRAFT_TLV_BLOCKS* pBlock) const { std::free(pBlock); }
};
using Block = std::unique_ptr<YRAFT_TLV_BLOCKS, FreeBlock>;

// Takes the chosen paths as a block. A failure counts as a failed choice.
unsigned int TakeBlock(LibTrace trace, YraWinUI& winUI, Block& block) {
  YRAFT_TLV_BLOCKS* pBlock = nullptr;
  const unsigned int ret =
      trace.Called("YraGetAllChooseFiles", winUI.YraGetAllChooseFiles(&pBlock));
  block.reset(pBlock);
  return ret;
}

// Hands the block over where the dialog has nothing against it.
unsigned int HandOver(LibTrace trace, YraWinUI& winUI, Block block, unsigned int* pStatusCode,
                      YRAFT_TLV_BLOCKS** ppTlvBlocks) {
  *pStatusCode = winUI.YraGetChooseOptStatusCode();
  if (*pStatusCode != YRAFT_OPT_STATUS_SUCCESS) {
    TRACE_INFO(trace, "Get choose files failed.(0x%x)", *pStatusCode);
  } else {
    *ppTlvBlocks = block.release();
    TRACE_VERBOSE(trace, "Will callback delete destroy win.");
  }
  return YRAFT_STATUS_SUCCESS;
}

// The steps of the two calls. The status code is that of a failed choice until the last one.

unsigned int ChooseFiles(LibTrace trace, YraWinUI& winUI, unsigned int* pStatusCode,
                         YRAFT_TLV_BLOCKS** ppTlvBlocks) {
  *pStatusCode = YRAFT_OPT_STATUS_FAILED;
  int filesNum = 0;
  unsigned int ret = trace.Called("YraGetChooseFilesNum", winUI.YraGetChooseFilesNum(&filesNum));
  if (ret != YRAFT_STATUS_SUCCESS) return ret;
  Block block;
  ret = TakeBlock(trace, winUI, block);
  if (ret != YRAFT_STATUS_SUCCESS) return ret;
  ret = trace.Called(
      "YraChooseFilesThresholdCheck",
      winUI.YraChooseFilesThresholdCheck(filesNum, static_cast<uint32_t>(block->FilesSize)));
  if (ret != YRAFT_STATUS_SUCCESS) return ret;
  return HandOver(trace, winUI, std::move(block), pStatusCode, ppTlvBlocks);
}

unsigned int ChooseDirectory(LibTrace trace, YraWinUI& winUI, unsigned int* pStatusCode,
                             YRAFT_TLV_BLOCKS** ppTlvBlocks) {
  *pStatusCode = YRAFT_OPT_STATUS_FAILED;
  Block block;
  unsigned int ret = TakeBlock(trace, winUI, block);
  if (ret != YRAFT_STATUS_SUCCESS) return ret;
  const int filesNum = block->ListCount;
  TRACE_ERROR(trace, "filesNum is %d.", filesNum);
  if (filesNum > 1) {
    TRACE_ERROR(trace, "Select file path too many.");
    return YRAFT_STATUS_SUCCESS;
  }
  if (filesNum == 1) {
    constexpr int kNameOffset = sizeof(YRAFT_TLV_ITEM) + sizeof(YRAFT_FILEINFO_ITEM);
    char* pPath = reinterpret_cast<char*>(block.get()) + block->ListBlocks + kNameOffset;
    TRACE_ERROR(trace, "file path is [%s].", pPath);
    ret = trace.Called("YraChooseDirectoryThresholdCheck",
                       winUI.YraChooseDirectoryThresholdCheck(filesNum, pPath));
    if (ret != YRAFT_STATUS_SUCCESS) return ret;
  }
  return HandOver(trace, winUI, std::move(block), pStatusCode, ppTlvBlocks);
}

}  // namespace

unsigned int YraGetChooseFilesList(int argc, char** argv, YRAFT_THRESHOLD_INFO* pThresholdInfo,
                                   unsigned int* pStatusCode, YRAFT_TLV_BLOCKS** ppTlvBlocks) {
  const LibTrace trace;
  if (pStatusCode == nullptr) {
    return trace.Refuse(YRAFT_STATUS_BAD_ARGUMENT, "pStatusCode is NULL.");
  }
  if (pThresholdInfo == nullptr || ppTlvBlocks == nullptr) {
    TRACE_ERROR(trace, "pThresholdInfo (%p) or ppTlvBlocks (%p) is NULL.",
                static_cast<void*>(pThresholdInfo), static_cast<void*>(ppTlvBlocks));
    *pStatusCode = YRAFT_OPT_STATUS_FAILED;
    return trace.Ret(YRAFT_STATUS_BAD_ARGUMENT);
  }
  *pStatusCode = YRAFT_OPT_STATUS_SUCCESS;
  *ppTlvBlocks = nullptr;
  TRACE_VERBOSE(trace, "argc=%d, argv=0x%x.", argc, TraceAddress(argv));
  auto pWinUI = MakeUI(trace, kDownloadFiles, argc, argv, static_cast<void*>(pThresholdInfo));
  if (pWinUI == nullptr) {
    *pStatusCode = YRAFT_OPT_STATUS_FAILED;
    return trace.Ret(YRAFT_STATUS_UI_CREATE_FAILED);
  }
  const unsigned int ret = ChooseFiles(trace, *pWinUI, pStatusCode, ppTlvBlocks);
  pWinUI.reset();
  return trace.Ret(ret);
}

unsigned int YraGetChooseDirectory(int argc, char** argv, YRAFT_FILEINFO_ITEM* pFileInfo,
                                   unsigned int* pStatusCode, YRAFT_TLV_BLOCKS** ppTlvBlocks) {
  const LibTrace trace;
  if (pStatusCode == nullptr) {
    return trace.Refuse(YRAFT_STATUS_BAD_ARGUMENT, "pStatusCode is NULL.");
  }
  if (ppTlvBlocks == nullptr) {
    TRACE_ERROR(trace, "ppTlvBlocks (%p) is NULL.", static_cast<void*>(ppTlvBlocks));
    *pStatusCode = YRAFT_OPT_STATUS_FAILED;
    return trace.Ret(YRAFT_STATUS_BAD_ARGUMENT);
  }
  *pStatusCode = YRAFT_OPT_STATUS_SUCCESS;
  *ppTlvBlocks = nullptr;
  auto pWinUI = MakeUI(trace, kUploadPath, argc, argv, static_cast<void*>(pFileInfo));
  if (pWinUI == nullptr) {
    *pStatusCode = YRAFT_OPT_STATUS_FAILED;
    return trace.Ret(YRAFT_STATUS_UI_CREATE_FAILED);
  }
  const unsigned int ret = ChooseDirectory(trace, *pWinUI, pStatusCode, ppTlvBlocks);
  pWinUI.reset();
  return trace.Ret(ret);
}
