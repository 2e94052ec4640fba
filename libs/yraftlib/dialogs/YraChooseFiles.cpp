// The dialog in which the user picks the session files to download.
#include "common/libs/kvolocalise/messages.h"
#include "dialogs/YraChooser.h"
#include "kvolocalise.h"

namespace {

constexpr YraChooserLook kLook{GTK_FILE_CHOOSER_ACTION_OPEN, GTK_STOCK_OPEN, TRUE};

void YraChooseFilesDiagDestoryCallback(GtkWidget* widget, void* pWin) {
  const WinTrace trace;
  TRACE_VERBOSE(trace, "widget=0x%x, udata=0x%x.", TraceAddress(widget), TraceAddress(pWin));
  YraWinUI::Inside::Of(static_cast<YraWinUI*>(pWin)).pFiles->Forget(trace, KVO_LOG_VERBOSE, widget);
  trace.Out();
}

gboolean YraChooseFilesDiagDelEventCallback(GtkWidget* widget, GdkEvent* event, void* data) {
  return YraTraceDeleteEvent(WinTrace(), KVO_LOG_VERBOSE, widget, event, data);
}

// ---- One call, one dialog ----------------------------------------------------------------------

GtkWidget* ShowOnce(WinTrace trace, YraWinUI* pWinUI) {
  GtkWidget* pDialog = YraBuildChooser(trace, kLook, "Open:");
  if (pDialog == nullptr) return nullptr;
  g_signal_connect(pDialog, "destroy", G_CALLBACK(YraChooseFilesDiagDestoryCallback), pWinUI);
  g_signal_connect(pDialog, "delete-event", G_CALLBACK(YraChooseFilesDiagDelEventCallback), pWinUI);
  YraShowInFront(pDialog);
  return pDialog;
}

void TakeOnce(WinTrace trace, YraWinUI* pWinUI, GtkWidget* pDialog, int response) {
  if (response == GTK_RESPONSE_ACCEPT) {
    const YraChosen chosen = YraQueueChosen(trace, pDialog, YraWinUI::Inside::Of(pWinUI).Store(),
                                            {.numbered = true, .sizeOfPath = true, .size = 0});
    TRACE_VERBOSE(trace, "Choosed %d files", chosen.paths);
  } else if (!YraIsDeclined(response)) {
    TRACE_ERROR(trace, "gtk_dialog_run is not GTK_RESPONSE_ACCEPT. (0x%x)",
                static_cast<unsigned int>(response));
  }
}

}  // namespace

int YraChooseFilesIdleFunc(void* data) {
  const WinTrace trace;
  YraRunChooserOnce(trace, data, ShowOnce, TakeOnce);
  trace.Out();
  return FALSE;
}

unsigned int YraWinUI::YraChooseFilesDiagCreate(int argc, char** argv,
                                                YRAFT_THRESHOLD_INFO* pThresholdInfo) {
  const WinTrace trace;
  if (pThresholdInfo == nullptr) {
    return trace.RefuseNull(YRAFT_STATUS_MISSING_INPUT, "pThresholdInfo");
  }
  if (m_pRW == nullptr) return trace.RefuseNull(YRAFT_STATUS_MISSING_INPUT, "m_pRW");
  if (m_pChooseFilesDiag != nullptr) {
    return trace.Refuse(YRAFT_STATUS_BAD_STATE, "Choose Files dialog already created.");
  }
  m_thresholdInfo = *pThresholdInfo;
  TRACE_VERBOSE(
      trace,
      "Set Threshold Info: maxDataQueueLen=%u, maxBlockSize=%u, maxFileSize=%u, maxFiles=%u.",
      pThresholdInfo->maxDataQueueLen, pThresholdInfo->maxBlockSize, pThresholdInfo->maxFileSize,
      pThresholdInfo->maxFiles);
  return trace.Ret(YraCallChooser(trace, this, argc, argv, YraChooseFilesIdleFunc));
}

unsigned int YraWinUI::YraChooseFilesThresholdCheck(int filesNum, unsigned long filesSize) {
  const WinTrace trace;
  const YRAFT_THRESHOLD_INFO& limits = m_thresholdInfo;
  TRACE_VERBOSE(trace, "filesNum=%d (%d), filesSize=%u (%u).", filesNum, limits.maxFiles,
                static_cast<unsigned int>(filesSize), limits.maxFileSize);
  int message = 0;
  if (filesNum > limits.maxFiles) {
    message = YRAFT_ENG_ERROR_TOO_MANY_FILES;
  } else if (filesSize > limits.maxFileSize) {
    message = YRAFT_ENG_ERROR_FILE_SIZE_EXCEEDED;
  } else {
    return trace.Ret(YRAFT_STATUS_SUCCESS);
  }
  YraSetChooseOptStatusCode(YRAFT_OPT_STATUS_LIMIT_EXCEEDED);
  const char* pReason = KvoLocalise(message);
  const char* pMainText = KvoLocalise(YRAFT_ENG_ERROR_DIALOG_MAIN_TEXT);
  const char* pTitle = KvoLocalise(YRAFT_ENG_ERROR_DIALOG_TITLE);
  return trace.Ret(YraErrorMessageDiagCreate(0, nullptr, pTitle, pMainText, pReason));
}

// ---- The persistent dialog ---------------------------------------------------------------------

unsigned int YraWinUI::YraChooseFilesDiagCreate() {
  const WinTrace trace;
  if (m_pRW == nullptr) return trace.RefuseNull(YRAFT_STATUS_MISSING_INPUT, "m_pRW");
  if (m_pChooseFilesDiag != nullptr) {
    return trace.Refuse(YRAFT_STATUS_BAD_STATE, "Choose Files Dialog already created.");
  }
  GtkWidget* pDialog = YraBuildChooser(trace, kLook, YRAFT_ENG_CHOOSE_DIALOG_TITLE);
  if (pDialog == nullptr) return trace.Ret(YRAFT_OPT_STATUS_FAILED);
  YraSetChooseFilesDiag(pDialog);
  gtk_window_set_skip_taskbar_hint(GTK_WINDOW(pDialog), TRUE);
  gtk_window_set_position(GTK_WINDOW(pDialog), GTK_WIN_POS_CENTER_ALWAYS);
  m_pInside->pFiles->Watch(pDialog, G_CALLBACK(YraChooseFilesDiagDestoryCallback),
                           G_CALLBACK(YraChooseFilesDiagDelEventCallback));
  gtk_widget_hide(pDialog);
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraChooseFilesDiagDestory() {
  const WinTrace trace;
  if (m_pChooseFilesDiag != nullptr) {
    TRACE_VERBOSE(trace, "callback gtk_widget_destroy destory choose files dialog.");
    gtk_widget_destroy(m_pChooseFilesDiag);
  }
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

namespace {

class ChooseFiles : public YraChooser {
 public:
  explicit ChooseFiles(YraWinUI* pWinUI)
      : YraChooser(pWinUI, YraChooseFilesSelfSignalIdleFunc,
                   {.pIdle = "YraChooseFilesSelfSignalIdleFunc",
                    .pBuild = "YraChooseFilesDiagCreate",
                    .pNotCreated = "Choose files dialog no created.",
                    .pNull = "Choose files dialog is null."},
                   YRAFT_NOTIFY_CHOOSE_FILES) {}

 private:
  GtkWidget* Widget() const override { return WinUI()->YraGetChooseFilesDiag(); }
  void Hold(GtkWidget* pWidget) override { WinUI()->YraSetChooseFilesDiag(pWidget); }
  unsigned int Build() override { return WinUI()->YraChooseFilesDiagCreate(); }

  bool Open(GtkWidget* pDialog, const YraRequest& request) override {
    if (!YraChooser::Open(pDialog, request)) return false;
    gtk_window_set_skip_taskbar_hint(GTK_WINDOW(pDialog), TRUE);
    return true;
  }
  YraChosen Queue(GtkWidget* pDialog, const YraRequest&) override {
    const YraChosen chosen = YraQueueChosen(Trace(), pDialog, YraWinUI::Inside::Of(WinUI()).Store(),
                                            {.numbered = false, .sizeOfPath = true, .size = 0});
    TRACE_VERBOSE(Trace(), "Choosed %d files. (%d - %u)", chosen.pushed, chosen.paths,
                  static_cast<unsigned int>(chosen.totalSize));
    return chosen;
  }
  const char* Nothing() const override { return "Get the number of files is 0."; }
  void Finish(YRAFT_TLV_BLOCKS* pBlock, const YraChosen& chosen) const override {
    pBlock->FilesSize = chosen.totalSize;
  }
};

}  // namespace

std::unique_ptr<YraDialog> YraMakeChooseFiles(YraWinUI* pWinUI) {
  return std::make_unique<ChooseFiles>(pWinUI);
}

unsigned int YraWinUI::YraChooseFilesDiagCreate(YRAFT_THRESHOLD_INFO* pThresholdInfo) {
  const WinTrace trace;
  if (pThresholdInfo == nullptr) {
    return trace.RefuseNull(YRAFT_STATUS_INVALID_PARAM, "pThresholdInfo");
  }
  std::unique_ptr<YraRequest> pRequest(new (std::nothrow) YraRequest);
  if (pRequest == nullptr) return trace.Ret(YRAFT_STATUS_NO_MEMORY);
  YraSetThresholdInfo(pThresholdInfo);
  m_pInside->pFiles->Accept(std::move(pRequest));
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

int YraChooseFilesSelfSignalIdleFunc(void* data) {
  const WinTrace trace;
  YraChooser::ServeData(trace, data, &YraWinUI::Inside::pFiles, YRAFT_NOTIFY_CHOOSE_FILES);
  trace.Out();
  return FALSE;
}
