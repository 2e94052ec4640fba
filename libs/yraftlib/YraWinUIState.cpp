// What the UI object remembers: widgets, flags, records, its store, and the choice in that store.
#include <cstdlib>

#include "YraDialog.h"

namespace {

constexpr TraceLayer kLayer = kLayerWin;

}  // namespace

#define WIDGET_ACCESSORS(set, get, member)                                                      \
  unsigned int YraWinUI::set(GtkWidget* pWidget) {                                              \
    TRACE_IN();                                                                                 \
    TRACE_VERBOSE(#member "=0x%x, pWidget=0x%x.", TraceAddress(member), TraceAddress(pWidget)); \
    (member) = pWidget;                                                                         \
    return TRACE_RET(YRAFT_STATUS_SUCCESS);                                                     \
  }                                                                                             \
  GtkWidget* YraWinUI::get() {                                                                  \
    TRACE_IN();                                                                                 \
    TRACE_VERBOSE("[%s] Out: Widget=0x%x.", kLayer.tag, TraceAddress(member));                  \
    return member;                                                                              \
  }

WIDGET_ACCESSORS(YraSetWinUIWidget, YraGetWinUIWidget, m_pWin)
WIDGET_ACCESSORS(YraSetChildWinDiag, YraGetChildWinDiag, m_pChildWin)
WIDGET_ACCESSORS(YraSetChooseFilesDiag, YraGetChooseFilesDiag, m_pChooseFilesDiag)
WIDGET_ACCESSORS(YraSetChooseDirectoryDiag, YraGetChooseDirectoryDiag, m_pChooseDirectoryTree)
WIDGET_ACCESSORS(YraSetErrorMessageDiag, YraGetErrorMessageDiag, m_pErrorMessage)
WIDGET_ACCESSORS(YraSetProgressBarDiag, YraGetProgressBarDiag, m_pProgressBar)
WIDGET_ACCESSORS(YraSetProgressBarPauseButton, YraGetProgressBarPauseButton,
                 m_pProgressBarPauseButton)
WIDGET_ACCESSORS(YraSetProgressBarCancelButton, YraGetProgressBarCancelButton,
                 m_pProgressBarCancelButton)
WIDGET_ACCESSORS(YraSetProgressBarLabel, YraGetProgressBarLabel, m_pProgressBarLabel)

#define FLAG_ACCESSORS(set, get, member)                                                \
  unsigned int YraWinUI::set(bool status) {                                             \
    TRACE_IN();                                                                         \
    [[maybe_unused]] const bool old = (member).exchange(status);                        \
    TRACE_VERBOSE("current status code is %s.(%s)", TraceBool(old), TraceBool(status)); \
    return TRACE_RET(YRAFT_STATUS_SUCCESS);                                             \
  }                                                                                     \
  bool YraWinUI::get() {                                                                \
    TRACE_IN();                                                                         \
    const bool status = member;                                                         \
    TRACE_VERBOSE("current status code is %s.", TraceBool(status));                     \
    return status;                                                                      \
  }

FLAG_ACCESSORS(YraSetProgressBarPauseStatus, YraGetProgressBarPauseStatus, m_bPause)
FLAG_ACCESSORS(YraSetProgressBarCancelStatus, YraGetProgressBarCancelStatus, m_bCancel)

unsigned int YraWinUI::YraSetChooseOptStatusCode(unsigned int statusCode) {
  TRACE_IN();
  TRACE_VERBOSE("current status code is 0x%x.(0x%x)", m_chooseStatusCode, statusCode);
  m_chooseStatusCode = statusCode;
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraGetChooseOptStatusCode() {
  TRACE_IN();
  TRACE_VERBOSE("current status code is 0x%x.", m_chooseStatusCode);
  return m_chooseStatusCode;
}

int YraWinUI::YraOperationTypeGet() {
  TRACE_IN();
  TRACE_OUT();
  return m_operationType;
}

// ---- Records -----------------------------------------------------------------------------------

unsigned int YraWinUI::YraSetProgressBarInfo(YRAFT_PROGRESS_BAR_INFO* pInfo) {
  TRACE_IN();
  if (pInfo == nullptr) {
    TRACE_ERROR("pProgressBarInfo is null.");
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  m_progressBarInfo.Store(*pInfo);
  TRACE_VERBOSE(
      "ProgressBarInfo: evtType=%u, fileContext=%u, filesNum=%u, fileOffset=%u, fileSize=%u, "
      "name[%.520s], pProgressBarWin=0x%x.",
      pInfo->evtType, pInfo->fileContext, pInfo->filesNum, pInfo->fileOffset, pInfo->fileSize,
      pInfo->name, static_cast<unsigned int>(pInfo->pProgressBarWin));
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

YRAFT_PROGRESS_BAR_INFO* YraWinUI::YraGetProgressBarInfo() {
  TRACE_IN();
  TRACE_OUT();
  return m_progressBarInfo.Get();
}

unsigned int YraWinUI::YraProgressBarInfoClear() {
  TRACE_IN();
  m_progressBarInfo.Store({});
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraSetThresholdInfo(YRAFT_THRESHOLD_INFO* pInfo) {
  TRACE_IN();
  if (pInfo == nullptr) {
    TRACE_ERROR("pThresholdInfo is null.");
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  m_thresholdInfo.Store(*pInfo);
  TRACE_VERBOSE(
      "FileInfo: maxDataQueueLen=%u, maxBlockSize=%u, maxFileSize=%u, maxFiles=%u, "
      "maxFileSizeUpload=%u, maxFileSizeDownload=%u.",
      pInfo->maxDataQueueLen, pInfo->maxBlockSize, pInfo->maxFileSize, pInfo->maxFiles,
      pInfo->maxFileSizeUpload, pInfo->maxFileSizeDownload);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

YRAFT_THRESHOLD_INFO* YraWinUI::YraGetThresholdInfo() {
  TRACE_IN();
  TRACE_OUT();
  return m_thresholdInfo.Get();
}

unsigned int YraWinUI::YraSetFileItemInfo(YRAFT_FILEINFO_ITEM* pInfo) {
  TRACE_IN();
  if (pInfo == nullptr) {
    TRACE_ERROR("pFileItemInfo is null.");
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  m_fileItemInfo.Store(*pInfo);
  TRACE_VERBOSE(
      "FileInfo: cbSize=%u, nameLen=%u, fileSize=%u, fileContext=%u, fileTransferOperation=%s.",
      pInfo->cbSize, pInfo->nameLen, static_cast<unsigned int>(pInfo->fileSize), pInfo->fileContext,
      YraOperationName(pInfo->fileTransferOperation));
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

YRAFT_FILEINFO_ITEM* YraWinUI::YraGetFileItemInfo() {
  TRACE_IN();
  TRACE_OUT();
  return m_fileItemInfo.Get();
}

// ---- The queue store ---------------------------------------------------------------------------

unsigned int YraWinUI::YraRWCreate() {
  TRACE_IN();
  if (m_pRW != nullptr) {
    TRACE_WARNING("m_pRW is not NULL, will free YraRW.");
    delete m_pRW;
  }
  m_pRW = YraRWAllocate();
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraRWDestory() {
  TRACE_IN();
  if (m_pRW != nullptr) {
    TRACE_WARNING("will free YraRW.");
    delete m_pRW;
    m_pRW = nullptr;
  }
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraRWSet(YraRW* pRW) {
  TRACE_IN();
  TRACE_VERBOSE("m_pRW=0x%x, pRW=0x%x.", TraceAddress(m_pRW), TraceAddress(pRW));
  if (m_pRW != nullptr && m_pRW != pRW) {
    TRACE_WARNING("m_pRW is not NULL, will free YraRW.");
    YraRWDestory();
  }
  m_pRW = pRW;
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

YraRW* YraWinUI::YraRWGet() {
  TRACE_IN();
  TRACE_OUT();
  return m_pRW;
}

// ---- The choice in the store -------------------------------------------------------------------

unsigned int YraWinUI::YraGetChooseFilesNum(int* pSize) {
  TRACE_IN();
  if (pSize == nullptr) {
    TRACE_INFO("pSize is NULL.");
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  *pSize = 0;
  if (m_pRW == nullptr) {
    TRACE_ERROR("pRw (%p) is NULL.", static_cast<void*>(m_pRW));
    return TRACE_RET(YRAFT_STATUS_BAD_STATE);
  }
  const unsigned int ret = m_pRW->YraRW_QueueSize(YRAFT_QUEUE_FILEINFO, pSize);
  if (ret != YRAFT_STATUS_SUCCESS) {
    TRACE_FAILED("YraRW_QueueSize", ret);
  } else {
    TRACE_VERBOSE("Get queue size success.(%d)", *pSize);
  }
  return TRACE_RET(ret);
}

namespace {

// Takes a snapshot of the chosen files by one of the store's two ways. A block that came with a
// failure is dropped: its receiver could not tell what is missing.
unsigned int TakeSnapshot(YraRW* pRW, YRAFT_TLV_BLOCKS** ppTlvBlocks,
                          unsigned int (YraRW::*snapshot)(int, unsigned char**), const char* name) {
  if (ppTlvBlocks == nullptr) {
    TRACE_ERROR("ppTlvBlocks is NULL.");
    return YRAFT_STATUS_INVALID_PARAM;
  }
  *ppTlvBlocks = nullptr;
  if (pRW == nullptr) {
    TRACE_ERROR("pRw (%p) is NULL.", static_cast<void*>(pRW));
    return YRAFT_STATUS_BAD_STATE;
  }
  unsigned char* pBuffer = nullptr;
  const unsigned int ret = (pRW->*snapshot)(YRAFT_QUEUE_FILEINFO, &pBuffer);
  if (ret != YRAFT_STATUS_SUCCESS) {
    TRACE_FAILED(name, ret);
    std::free(pBuffer);
    return ret;
  }
  *ppTlvBlocks = reinterpret_cast<YRAFT_TLV_BLOCKS*>(pBuffer);
  TRACE_VERBOSE("Get all files list success.");
  return ret;
}

}  // namespace

unsigned int YraWinUI::YraGetAllChooseFiles(YRAFT_TLV_BLOCKS** ppTlvBlocks) {
  TRACE_IN();
  return TRACE_RET(
      TakeSnapshot(m_pRW, ppTlvBlocks, &YraRW::YraRW_QueueGetAll, "YraRW_QueueGetAll"));
}

unsigned int YraWinUI::YraGetAllChooseTlvBlocksPop(YRAFT_TLV_BLOCKS** ppTlvBlocks) {
  TRACE_IN();
  return TRACE_RET(
      TakeSnapshot(m_pRW, ppTlvBlocks, &YraRW::YraRW_QueueGetAllPop, "YraRW_QueueGetAllPop"));
}
