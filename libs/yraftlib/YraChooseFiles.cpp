// The dialog in which the user picks the session files to download.
#include <cstdlib>

#include "YraDialog.h"
#include "YraNotify.h"
#include "common/libs/kvolocalise/messages.h"
#include "kvolocalise.h"

namespace {

constexpr TraceLayer kLayer = kLayerWin;

void YraChooseFilesDiagDestoryCallback(GtkWidget* widget, void* pWin) {
  TRACE_IN();
  TRACE_VERBOSE("widget=0x%x, udata=0x%x.", TraceAddress(widget), TraceAddress(pWin));
  auto* pWinUI = static_cast<YraWinUI*>(pWin);
  GtkWidget* pDialog = pWinUI != nullptr ? pWinUI->YraGetChooseFilesDiag() : nullptr;
  if (pDialog == nullptr) {
    TRACE_WARNING("Choose files dialog is null.");
  } else {
    TRACE_VERBOSE("Will hide dialog...");
    gtk_widget_hide(pDialog);
    if (pDialog == widget) pWinUI->YraSetChooseFilesDiag(nullptr);
  }
  TRACE_OUT();
}

gboolean YraChooseFilesDiagDelEventCallback(GtkWidget* widget, GdkEvent* event, void* data) {
  TRACE_IN();
  TRACE_VERBOSE("widget=0x%x, event=0x%x, udata=0x%x.", TraceAddress(widget), TraceAddress(event),
                TraceAddress(data));
  TRACE_OUT();
  return FALSE;
}

GtkWidget* BuildChooser(const char* title, YraWinUI* pWinUI) {
  GtkWidget* pDialog = gtk_file_chooser_dialog_new(title, nullptr, GTK_FILE_CHOOSER_ACTION_OPEN,
                                                   GTK_STOCK_CANCEL, GTK_RESPONSE_CANCEL,
                                                   GTK_STOCK_OPEN, GTK_RESPONSE_ACCEPT, nullptr);
  if (pDialog == nullptr) {
    TRACE_ERROR("Callback gtk_file_chooser_dialog_new is failed.");
    return nullptr;
  }
  GtkFileChooser* pChooser = GTK_FILE_CHOOSER(pDialog);
  gtk_dialog_set_default_response(GTK_DIALOG(pDialog), GTK_RESPONSE_ACCEPT);
  gtk_file_chooser_set_select_multiple(pChooser, TRUE);
  gtk_file_chooser_set_do_overwrite_confirmation(pChooser, TRUE);
  gtk_file_chooser_set_current_folder(pChooser, g_get_home_dir());
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
  GtkWidget* pDialog = BuildChooser(YraText(YRAFT_ENG_CHOOSE_DIALOG_TITLE).c_str(), this);
  if (pDialog == nullptr) return TRACE_RET(YRAFT_OPT_STATUS_FAILED);
  YraSetChooseFilesDiag(pDialog);
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
  if (!YraInitGtk(argc, argv)) {
    YraSetChooseOptStatusCode(YRAFT_OPT_STATUS_FAILED);
    return TRACE_RET(YRAFT_OPT_STATUS_FAILED);
  }
  YraRunMainLoop(YraChooseFilesIdleFunc, this);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

namespace {

void ChooseOnce(YraWinUI* pWinUI) {
  if (pWinUI == nullptr) {
    TRACE_ERROR("data (%p) is NULL.", static_cast<void*>(pWinUI));
    return;
  }
  YraRW* pRW = pWinUI->YraRWGet();
  if (pRW == nullptr) {
    TRACE_ERROR("callback YraRWGet get RW is null.");
    return;
  }
  GtkWidget* pDialog = BuildChooser("Open:", pWinUI);
  if (pDialog == nullptr) {
    pWinUI->YraSetChooseOptStatusCode(YRAFT_OPT_STATUS_FAILED);
    return;
  }
  YraShowInFront(pDialog);
  const int result = YraRunModal(pDialog);
  if (result == GTK_RESPONSE_ACCEPT) {
    [[maybe_unused]] const YraChosen chosen =
        YraQueueChosen(pDialog, pRW, {.numbered = true, .sizeOfPath = true, .size = 0});
    TRACE_VERBOSE("Choosed %d files", chosen.paths);
  } else if (result != GTK_RESPONSE_CANCEL && result != GTK_RESPONSE_DELETE_EVENT) {
    TRACE_ERROR("gtk_dialog_run is not GTK_RESPONSE_ACCEPT. (0x%x)",
                static_cast<unsigned int>(result));
  }
  TRACE_VERBOSE("Will callback gtk_widget_destroy.");
  gtk_widget_destroy(pDialog);
}

}  // namespace

int YraChooseFilesIdleFunc(void* data) {
  TRACE_IN();
  const GdkLock lock;
  ChooseOnce(static_cast<YraWinUI*>(data));
  TRACE_VERBOSE("Will callback gtk_main_quit.");
  gtk_main_quit();
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
  ++m_fileRequests.unanswered;
  g_idle_add(YraChooseFilesSelfSignalIdleFunc, this);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

namespace {

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

YraChoice RunDialog(YraWinUI* pWinUI) {
  if (pWinUI->YraGetChooseFilesDiag() == nullptr) {
    TRACE_WARNING("Choose files dialog no created.");
    const unsigned int ret = pWinUI->YraChooseFilesDiagCreate();
    if (ret != YRAFT_STATUS_SUCCESS) TRACE_FAILED("YraChooseFilesDiagCreate", ret);
  }
  GtkWidget* pDialog = pWinUI->YraGetChooseFilesDiag();
  if (pDialog == nullptr) return {};
  if (pWinUI->YraRWGet() == nullptr) {
    TRACE_ERROR("callback YraRWGet get RW is null.");
    return {};
  }
  gtk_window_set_skip_taskbar_hint(GTK_WINDOW(pDialog), TRUE);
  const int result = YraRunChooser(pDialog);
  const YraChoice choice =
      result == GTK_RESPONSE_ACCEPT ? TakeAccepted(pWinUI, pDialog) : YraDeclinedChoice(result);
  YraHideDialog(pDialog);
  return choice;
}

}  // namespace

int YraChooseFilesSelfSignalIdleFunc(void* data) {
  TRACE_IN();
  auto* pWinUI = static_cast<YraWinUI*>(data);
  YraServeChoices(pWinUI, pWinUI != nullptr ? &YraUIThread::FileRequests(pWinUI) : nullptr,
                  YRAFT_NOTIFY_CHOOSE_FILES, RunDialog);
  TRACE_OUT();
  return FALSE;
}
