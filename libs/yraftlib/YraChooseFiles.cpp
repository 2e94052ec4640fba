// The dialog in which the user picks the session files to download.
#include "YraChooser.h"
#include "common/libs/kvolocalise/messages.h"
#include "kvolocalise.h"

namespace {

constexpr TraceLayer kLayer = kLayerWin;

constexpr YraChooserLook kLook{GTK_FILE_CHOOSER_ACTION_OPEN, GTK_STOCK_OPEN, TRUE};

void YraChooseFilesDiagDestoryCallback(GtkWidget* widget, void* pWin) {
  TRACE_IN();
  TRACE_VERBOSE("widget=0x%x, udata=0x%x.", TraceAddress(widget), TraceAddress(pWin));
  YraForgetDialog(static_cast<YraWinUI*>(pWin), widget, kYraChooseFiles, KVO_LOG_VERBOSE, __func__);
  TRACE_OUT();
}

YRA_DELETE_EVENT_HANDLER(YraChooseFilesDiagDelEventCallback, KVO_LOG_VERBOSE)

GtkWidget* Build(const char* pTitle, YraWinUI* pWinUI) {
  GtkWidget* pDialog = YraBuildChooser(kLook, pTitle);
  if (pDialog == nullptr) return nullptr;
  g_signal_connect(pDialog, "destroy", G_CALLBACK(YraChooseFilesDiagDestoryCallback), pWinUI);
  g_signal_connect(pDialog, "delete-event", G_CALLBACK(YraChooseFilesDiagDelEventCallback), pWinUI);
  return pDialog;
}

}  // namespace

// ---- The persistent dialog ---------------------------------------------------------------------

unsigned int YraWinUI::YraChooseFilesDiagCreate() {
  TRACE_IN();
  if (m_pRW == nullptr) {
    TRACE_ERROR("m_pRW (%p) is NULL.", static_cast<void*>(m_pRW));
    return TRACE_RET(YRAFT_STATUS_MISSING_INPUT);
  }
  if (m_pChooseFilesDiag != nullptr) {
    TRACE_ERROR("Choose Files Dialog already created.");
    return TRACE_RET(YRAFT_STATUS_BAD_STATE);
  }
  GtkWidget* pDialog = Build(YraText(YRAFT_ENG_CHOOSE_DIALOG_TITLE).c_str(), this);
  if (pDialog == nullptr) return TRACE_RET(YRAFT_OPT_STATUS_FAILED);
  YraSetChooseFilesDiag(pDialog);
  m_fileRequests.Watch(pDialog);
  gtk_window_set_skip_taskbar_hint(GTK_WINDOW(pDialog), TRUE);
  gtk_window_set_position(GTK_WINDOW(pDialog), GTK_WIN_POS_CENTER_ALWAYS);
  gtk_widget_hide(pDialog);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraChooseFilesDiagDestory() {
  TRACE_IN();
  if (m_pChooseFilesDiag != nullptr) {
    TRACE_VERBOSE("callback gtk_widget_destroy destory choose files dialog.");
    gtk_widget_destroy(m_pChooseFilesDiag);
  }
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

// ---- One call, one dialog ----------------------------------------------------------------------

unsigned int YraWinUI::YraChooseFilesDiagCreate(int argc, char** argv,
                                                YRAFT_THRESHOLD_INFO* pThresholdInfo) {
  TRACE_IN();
  if (pThresholdInfo == nullptr) {
    TRACE_ERROR("pThresholdInfo (%p) is NULL.", static_cast<void*>(pThresholdInfo));
    return TRACE_RET(YRAFT_STATUS_MISSING_INPUT);
  }
  if (m_pRW == nullptr) {
    TRACE_ERROR("m_pRW (%p) is NULL.", static_cast<void*>(m_pRW));
    return TRACE_RET(YRAFT_STATUS_MISSING_INPUT);
  }
  if (m_pChooseFilesDiag != nullptr) {
    TRACE_ERROR("Choose Files dialog already created.");
    return TRACE_RET(YRAFT_STATUS_BAD_STATE);
  }
  m_thresholdInfo.Store(*pThresholdInfo);
  TRACE_VERBOSE(
      "Set Threshold Info: maxDataQueueLen=%u, maxBlockSize=%u, maxFileSize=%u, maxFiles=%u.",
      pThresholdInfo->maxDataQueueLen, pThresholdInfo->maxBlockSize, pThresholdInfo->maxFileSize,
      pThresholdInfo->maxFiles);
  return TRACE_RET(YraCallChooser(this, argc, argv, YraChooseFilesIdleFunc));
}

// What the idle function does with the user's answer.
namespace {
namespace once {

constexpr const char* kCaller = "YraChooseFilesIdleFunc";

void QueueAccepted(YraWinUI* pWinUI, GtkWidget* pDialog, int response) {
  if (response == GTK_RESPONSE_ACCEPT) {
    [[maybe_unused]] const YraChosen chosen = YraQueueChosen(
        pDialog, pWinUI->YraRWGet(), {.numbered = true, .sizeOfPath = true, .size = 0});
    TRACE_VERBOSE("Choosed %d files", chosen.paths);
  } else if (!YraIsDeclined(response)) {
    TRACE_ERROR("gtk_dialog_run is not GTK_RESPONSE_ACCEPT. (0x%x)",
                static_cast<unsigned int>(response));
  }
}

}  // namespace once
}  // namespace

int YraChooseFilesIdleFunc(void* data) {
  TRACE_IN();
  YraRunChooserOnce(
      static_cast<YraWinUI*>(data), [](YraWinUI* pWinUI) { return Build("Open:", pWinUI); },
      once::QueueAccepted);
  TRACE_OUT();
  return FALSE;
}

unsigned int YraWinUI::YraChooseFilesThresholdCheck(int filesNum, unsigned long filesSize) {
  TRACE_IN();
  const YRAFT_THRESHOLD_INFO limits = m_thresholdInfo.Load();
  TRACE_VERBOSE("filesNum=%d (%d), filesSize=%u (%u).", filesNum, limits.maxFiles,
                static_cast<unsigned int>(filesSize), limits.maxFileSize);
  int message = 0;
  if (filesNum > limits.maxFiles) {
    message = YRAFT_ENG_ERROR_TOO_MANY_FILES;
  } else if (filesSize > limits.maxFileSize) {
    message = YRAFT_ENG_ERROR_FILE_SIZE_EXCEEDED;
  } else {
    return TRACE_RET(YRAFT_STATUS_SUCCESS);
  }
  YraSetChooseOptStatusCode(YRAFT_OPT_STATUS_LIMIT_EXCEEDED);
  const char* pReason = KvoLocalise(message);
  const char* pMainText = KvoLocalise(YRAFT_ENG_ERROR_DIALOG_MAIN_TEXT);
  const char* pTitle = KvoLocalise(YRAFT_ENG_ERROR_DIALOG_TITLE);
  return TRACE_RET(YraErrorMessageDiagCreate(0, nullptr, pTitle, pMainText, pReason));
}

// ---- Requests of the channel thread ------------------------------------------------------------

unsigned int YraWinUI::YraChooseFilesDiagCreate(YRAFT_THRESHOLD_INFO* pThresholdInfo) {
  TRACE_IN();
  if (pThresholdInfo == nullptr) {
    TRACE_ERROR("pThresholdInfo (%p) is NULL.", static_cast<void*>(pThresholdInfo));
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  YraSetThresholdInfo(pThresholdInfo);
  m_fileRequests.Accept();
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

// What the idle function does for a request, and what follows from it when the chooser closes.
namespace {
namespace run {

constexpr const char* kCaller = "YraChooseFilesSelfSignalIdleFunc";

YraChoice TakeAccepted(YraWinUI* pWinUI, GtkWidget* pDialog) {
  const YraChosen chosen = YraQueueChosen(pDialog, pWinUI->YraRWGet(),
                                          {.numbered = false, .sizeOfPath = true, .size = 0});
  TRACE_VERBOSE("Choosed %d files. (%d - %u)", chosen.pushed, chosen.paths,
                static_cast<unsigned int>(chosen.totalSize));
  if (chosen.pushed == 0) {
    TRACE_ERROR("Get the number of files is 0.");
    return {};
  }
  const YraChoice choice = YraTakeChoice(pWinUI);
  if (choice.pBlock != nullptr) choice.pBlock->FilesSize = chosen.totalSize;
  return choice;
}

bool Open(YraWinUI* pWinUI, GtkWidget* pDialog) {
  if (!YraOpenChooser(pWinUI, pDialog)) return false;
  gtk_window_set_skip_taskbar_hint(GTK_WINDOW(pDialog), TRUE);
  return true;
}

void Answer(YraWinUI* pWinUI, GtkWidget* pDialog, int response) {
  YraAnswerChoice(pWinUI, pDialog, response, YRAFT_NOTIFY_CHOOSE_FILES, TakeAccepted);
}

}  // namespace run
}  // namespace

const YraDialogKind kYraChooseFiles{YraChooseFilesSelfSignalIdleFunc,
                                    run::kCaller,
                                    &YraWinUI::YraGetChooseFilesDiag,
                                    &YraWinUI::YraSetChooseFilesDiag,
                                    &YraWinUI::YraChooseFilesDiagCreate,
                                    "YraChooseFilesDiagCreate",
                                    "Choose files dialog no created.",
                                    "Choose files dialog is null.",
                                    run::Open,
                                    run::Answer};

int YraChooseFilesSelfSignalIdleFunc(void* data) {
  TRACE_IN();
  YraServeChoices(data, YraUIThread::FileRequests, YRAFT_NOTIFY_CHOOSE_FILES);
  TRACE_OUT();
  return FALSE;
}
