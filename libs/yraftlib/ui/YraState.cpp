// What the UI object remembers: widgets, flags, records, its store, and the choice in that store.
#include <cstdlib>
#include <cstring>

#include "store/YraContainers.h"
#include "ui/YraInside.h"

// ---- Widgets
// -------------------------------------------------------------------------------------

namespace {

unsigned int SetWidget(WinTrace trace, const char* name, GtkWidget*& pMember, GtkWidget* pWidget) {
  TRACE_VERBOSE(trace, "%s=0x%x, pWidget=0x%x.", name, TraceAddress(pMember),
                TraceAddress(pWidget));
  pMember = pWidget;
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

GtkWidget* GetWidget(WinTrace trace, GtkWidget* pMember) {
  TRACE_VERBOSE(trace, "[%s] Out: Widget=0x%x.", kLayerWin.tag, TraceAddress(pMember));
  return pMember;
}

}  // namespace

unsigned int YraWinUI::YraSetWinUIWidget(GtkWidget* pWidget) {
  return SetWidget(WinTrace(), "m_pWin", m_pWin, pWidget);
}
GtkWidget* YraWinUI::YraGetWinUIWidget() { return GetWidget(WinTrace(), m_pWin); }
unsigned int YraWinUI::YraSetChildWinDiag(GtkWidget* pWidget) {
  return SetWidget(WinTrace(), "m_pChildWin", m_pChildWin, pWidget);
}
GtkWidget* YraWinUI::YraGetChildWinDiag() { return GetWidget(WinTrace(), m_pChildWin); }
unsigned int YraWinUI::YraSetChooseFilesDiag(GtkWidget* pWidget) {
  return SetWidget(WinTrace(), "m_pChooseFilesDiag", m_pChooseFilesDiag, pWidget);
}
GtkWidget* YraWinUI::YraGetChooseFilesDiag() { return GetWidget(WinTrace(), m_pChooseFilesDiag); }
unsigned int YraWinUI::YraSetChooseDirectoryDiag(GtkWidget* pWidget) {
  return SetWidget(WinTrace(), "m_pChooseDirectoryTree", m_pChooseDirectoryTree, pWidget);
}
GtkWidget* YraWinUI::YraGetChooseDirectoryDiag() {
  return GetWidget(WinTrace(), m_pChooseDirectoryTree);
}
unsigned int YraWinUI::YraSetErrorMessageDiag(GtkWidget* pWidget) {
  return SetWidget(WinTrace(), "m_pErrorMessage", m_pErrorMessage, pWidget);
}
GtkWidget* YraWinUI::YraGetErrorMessageDiag() { return GetWidget(WinTrace(), m_pErrorMessage); }
unsigned int YraWinUI::YraSetProgressBarDiag(GtkWidget* pWidget) {
  return SetWidget(WinTrace(), "m_pProgressBar", m_pProgressBar, pWidget);
}
GtkWidget* YraWinUI::YraGetProgressBarDiag() { return GetWidget(WinTrace(), m_pProgressBar); }
unsigned int YraWinUI::YraSetProgressBarPauseButton(GtkWidget* pWidget) {
  return SetWidget(WinTrace(), "m_pProgressBarPauseButton", m_pProgressBarPauseButton, pWidget);
}
GtkWidget* YraWinUI::YraGetProgressBarPauseButton() {
  return GetWidget(WinTrace(), m_pProgressBarPauseButton);
}
unsigned int YraWinUI::YraSetProgressBarCancelButton(GtkWidget* pWidget) {
  return SetWidget(WinTrace(), "m_pProgressBarCancelButton", m_pProgressBarCancelButton, pWidget);
}
GtkWidget* YraWinUI::YraGetProgressBarCancelButton() {
  return GetWidget(WinTrace(), m_pProgressBarCancelButton);
}
unsigned int YraWinUI::YraSetProgressBarLabel(GtkWidget* pWidget) {
  return SetWidget(WinTrace(), "m_pProgressBarLabel", m_pProgressBarLabel, pWidget);
}
GtkWidget* YraWinUI::YraGetProgressBarLabel() { return GetWidget(WinTrace(), m_pProgressBarLabel); }

void YraWinUI::Inside::ForgetProgressWindow() {
  m_pWinUI->m_pChildWin = nullptr;
  m_pWinUI->m_pProgressBar = nullptr;
  m_pWinUI->m_pProgressBarLabel = nullptr;
  m_pWinUI->m_pProgressBarPauseButton = nullptr;
  m_pWinUI->m_pProgressBarCancelButton = nullptr;
}

// ---- The user's answers
// --------------------------------------------------------------------------

namespace {

unsigned int SetFlag(WinTrace trace, std::atomic<bool>& member, bool status) {
  const bool old = member.exchange(status);
  TRACE_VERBOSE(trace, "current status code is %s.(%s)", TraceBool(old), TraceBool(status));
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

bool GetFlag(WinTrace trace, bool status) {
  TRACE_VERBOSE(trace, "current status code is %s.", TraceBool(status));
  return status;
}

}  // namespace

unsigned int YraWinUI::YraSetProgressBarPauseStatus(bool status) {
  return SetFlag(WinTrace(), m_bPause, status);
}
bool YraWinUI::YraGetProgressBarPauseStatus() { return GetFlag(WinTrace(), m_bPause); }

unsigned int YraWinUI::YraSetProgressBarCancelStatus(bool status) {
  return SetFlag(WinTrace(), m_bCancel, status);
}
bool YraWinUI::YraGetProgressBarCancelStatus() { return GetFlag(WinTrace(), m_bCancel); }

unsigned int YraWinUI::YraSetChooseOptStatusCode(unsigned int statusCode) {
  const WinTrace trace;
  TRACE_VERBOSE(trace, "current status code is 0x%x.(0x%x)", m_chooseStatusCode, statusCode);
  m_chooseStatusCode = statusCode;
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraGetChooseOptStatusCode() {
  const WinTrace trace;
  TRACE_VERBOSE(trace, "current status code is 0x%x.", m_chooseStatusCode);
  return m_chooseStatusCode;
}

int YraWinUI::YraOperationTypeGet() {
  WinTrace().Out();
  return m_operationType;
}

// ---- Records -----------------------------------------------------------------------------------

void YraWinUI::Inside::TraceProgress(WinTrace trace, const YRAFT_PROGRESS_BAR_INFO& info) {
  TRACE_VERBOSE(trace,
                "ProgressBarInfo: evtType=%u, fileTransferOperation=%s, fileContext=%u, "
                "filesNum=%u, fileOffset=%u, fileSize=%u, name[%.520s], pProgressBarWin=0x%x.",
                info.evtType, TraceOperation(info.fileTransferOperation), info.fileContext,
                info.filesNum, info.fileOffset, info.fileSize, info.name,
                static_cast<unsigned int>(info.pProgressBarWin));
}

unsigned int YraWinUI::YraSetProgressBarInfo(YRAFT_PROGRESS_BAR_INFO* pInfo) {
  const WinTrace trace;
  if (pInfo == nullptr) {
    return trace.Refuse(YRAFT_STATUS_INVALID_PARAM, "pProgressBarInfo is null.");
  }
  {
    const Inside::Guard guard(*m_pInside);
    m_progressBarInfo = *pInfo;
  }
  Inside::TraceProgress(trace, *pInfo);
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

YRAFT_PROGRESS_BAR_INFO* YraWinUI::YraGetProgressBarInfo() {
  WinTrace().Out();
  return &m_progressBarInfo;
}

unsigned int YraWinUI::YraProgressBarInfoClear() {
  const WinTrace trace;
  const Inside::Guard guard(*m_pInside);
  m_progressBarInfo = {};
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

YRAFT_PROGRESS_BAR_INFO YraWinUI::Inside::RefreshProgress(const YRAFT_PROGRESS_BAR_INFO& next) {
  const Guard guard(*this);
  YRAFT_PROGRESS_BAR_INFO& info = m_pWinUI->m_progressBarInfo;
  const YRAFT_PROGRESS_BAR_INFO before = info;
  info.evtType = next.evtType;
  info.fileOffset = next.fileOffset;
  info.filesNum = next.filesNum;
  return before;
}

unsigned int YraWinUI::YraSetThresholdInfo(YRAFT_THRESHOLD_INFO* pInfo) {
  const WinTrace trace;
  if (pInfo == nullptr) return trace.Refuse(YRAFT_STATUS_INVALID_PARAM, "pThresholdInfo is null.");
  {
    const Inside::Guard guard(*m_pInside);
    m_thresholdInfo = *pInfo;
  }
  TRACE_VERBOSE(trace,
                "FileInfo: maxDataQueueLen=%u, maxBlockSize=%u, maxFileSize=%u, maxFiles=%u, "
                "maxFileSizeUpload=%u, maxFileSizeDownload=%u.",
                pInfo->maxDataQueueLen, pInfo->maxBlockSize, pInfo->maxFileSize, pInfo->maxFiles,
                pInfo->maxFileSizeUpload, pInfo->maxFileSizeDownload);
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

YRAFT_THRESHOLD_INFO* YraWinUI::YraGetThresholdInfo() {
  WinTrace().Out();
  return &m_thresholdInfo;
}

unsigned int YraWinUI::YraSetFileItemInfo(YRAFT_FILEINFO_ITEM* pInfo) {
  const WinTrace trace;
  if (pInfo == nullptr) return trace.Refuse(YRAFT_STATUS_INVALID_PARAM, "pFileItemInfo is null.");
  {
    const Inside::Guard guard(*m_pInside);
    std::memcpy(m_fileItemInfo, pInfo, sizeof(m_fileItemInfo));
  }
  TRACE_VERBOSE(
      trace,
      "FileInfo: cbSize=%u, nameLen=%u, fileSize=%u, fileContext=%u, fileTransferOperation=%s.",
      pInfo->cbSize, pInfo->nameLen, static_cast<unsigned int>(pInfo->fileSize), pInfo->fileContext,
      TraceOperation(pInfo->fileTransferOperation));
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

YRAFT_FILEINFO_ITEM* YraWinUI::YraGetFileItemInfo() {
  WinTrace().Out();
  return reinterpret_cast<YRAFT_FILEINFO_ITEM*>(m_fileItemInfo);
}

unsigned int YraWinUI::YraSetErrorMessageInfo(YRAFT_ERROR_MESSAGE_INFO* pInfo) {
  const WinTrace trace;
  m_pErrorMessageInfo = pInfo;
  if (pInfo != nullptr) {
    TRACE_VERBOSE(trace, "ErrorMessage Info: cbSize=%u, titleLen=%u, firLen=%u, SecLen=%u.",
                  pInfo->cbSize, pInfo->titleLen, pInfo->firLen, pInfo->SecLen);
  }
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

YRAFT_ERROR_MESSAGE_INFO* YraWinUI::YraGetErrorMessageInfo() {
  WinTrace().Out();
  return m_pErrorMessageInfo;
}

// ---- The queue store ---------------------------------------------------------------------------

unsigned int YraWinUI::YraRWCreate() {
  const WinTrace trace;
  if (m_pRW != nullptr) {
    TRACE_WARNING(trace, "m_pRW is not NULL, will free YraRW.");
    delete m_pRW;
  }
  m_pRW = YraRWAllocate();
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraRWDestory() {
  const WinTrace trace;
  if (m_pRW != nullptr) {
    TRACE_WARNING(trace, "will free YraRW.");
    delete m_pRW;
    m_pRW = nullptr;
  }
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraRWSet(YraRW* pRW) {
  const WinTrace trace;
  TRACE_VERBOSE(trace, "m_pRW=0x%x, pRW=0x%x.", TraceAddress(m_pRW), TraceAddress(pRW));
  if (m_pRW != nullptr && m_pRW != pRW) {
    TRACE_WARNING(trace, "m_pRW is not NULL, will free YraRW.");
    YraRWDestory();
  }
  m_pRW = pRW;
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

YraRW* YraWinUI::YraRWGet() {
  WinTrace().Out();
  return m_pRW;
}

// ---- The choice in the store -------------------------------------------------------------------

unsigned int YraWinUI::YraGetChooseFilesNum(int* pSize) {
  const WinTrace trace;
  if (pSize == nullptr) {
    TRACE_INFO(trace, "pSize is NULL.");
    return trace.Ret(YRAFT_STATUS_INVALID_PARAM);
  }
  *pSize = 0;
  if (m_pRW == nullptr) return trace.RefuseNull(YRAFT_STATUS_BAD_STATE, "pRw");
  const unsigned int ret =
      trace.Called("YraRW_QueueSize", m_pRW->YraRW_QueueSize(YRAFT_QUEUE_FILEINFO, pSize));
  if (ret == YRAFT_STATUS_SUCCESS) TRACE_VERBOSE(trace, "Get queue size success.(%d)", *pSize);
  return trace.Ret(ret);
}

namespace {

// Takes a snapshot of the chosen files by one of the store's two ways. A block that came with a
// failure is dropped: its receiver could not tell what is missing.
unsigned int TakeSnapshot(WinTrace trace, YraRW* pRW, YRAFT_TLV_BLOCKS** ppTlvBlocks,
                          unsigned int (YraRW::*snapshot)(int, unsigned char**), const char* name) {
  if (ppTlvBlocks == nullptr) {
    TRACE_ERROR(trace, "ppTlvBlocks is NULL.");
    return YRAFT_STATUS_INVALID_PARAM;
  }
  *ppTlvBlocks = nullptr;
  if (pRW == nullptr) {
    TRACE_ERROR(trace, "pRw (%p) is NULL.", static_cast<void*>(pRW));
    return YRAFT_STATUS_BAD_STATE;
  }
  unsigned char* pBuffer = nullptr;
  const unsigned int ret = trace.Called(name, (pRW->*snapshot)(YRAFT_QUEUE_FILEINFO, &pBuffer));
  if (ret != YRAFT_STATUS_SUCCESS) {
    std::free(pBuffer);
    return ret;
  }
  *ppTlvBlocks = reinterpret_cast<YRAFT_TLV_BLOCKS*>(pBuffer);
  TRACE_VERBOSE(trace, "Get all files list success.");
  return ret;
}

}  // namespace

unsigned int YraWinUI::YraGetAllChooseFiles(YRAFT_TLV_BLOCKS** ppTlvBlocks) {
  const WinTrace trace;
  return trace.Ret(
      TakeSnapshot(trace, m_pRW, ppTlvBlocks, &YraRW::YraRW_QueueGetAll, "YraRW_QueueGetAll"));
}

unsigned int YraWinUI::YraGetAllChooseTlvBlocksPop(YRAFT_TLV_BLOCKS** ppTlvBlocks) {
  const WinTrace trace;
  return trace.Ret(TakeSnapshot(trace, m_pRW, ppTlvBlocks, &YraRW::YraRW_QueueGetAllPop,
                                "YraRW_QueueGetAllPop"));
}
