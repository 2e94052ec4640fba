// The dialog in which the user picks the session directory that receives an upload.
#include <unistd.h>

#include <cstring>

#include "common/libs/kvolocalise/messages.h"
#include "dialogs/YraChooser.h"

namespace {

constexpr YraChooserLook kLook{GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER, GTK_STOCK_SAVE, FALSE};

void YraChooseDirectoryDiagDestoryCallback(GtkWidget* widget, void* pWin) {
  const WinTrace trace;
  TRACE_VERBOSE(trace, "widget=0x%x, udata=0x%x.", TraceAddress(widget), TraceAddress(pWin));
  YraWinUI::Inside::Of(static_cast<YraWinUI*>(pWin))
      .pDirectory->Forget(trace, KVO_LOG_VERBOSE, widget);
  trace.Out();
}

gboolean YraChooseDirectoryDiagDelEventCallback(GtkWidget* widget, GdkEvent* event, void* data) {
  return YraTraceDeleteEvent(WinTrace(), KVO_LOG_VERBOSE, widget, event, data);
}

// Refuses what the user could not write into. The toolkit tells the entry's display name only,
// which is taken as a path as it stands.
gboolean YraChooseDirectoryDiagFilterCallback(const GtkFileFilterInfo* filter_info, void* data) {
  const WinTrace trace;
  TRACE_VERBOSE(
      trace, "filter_info=0x%x, data=0x%x, filename[%s], uri[%s], display_name[%s], mime_type[%s].",
      TraceAddress(filter_info), TraceAddress(data), TraceText(filter_info->filename),
      TraceText(filter_info->uri), TraceText(filter_info->display_name),
      TraceText(filter_info->mime_type));
  const bool admitted =
      filter_info->display_name == nullptr || access(filter_info->display_name, R_OK | W_OK) == 0;
  TRACE_VERBOSE(trace, "%s", TraceBool(admitted));
  return admitted ? TRUE : FALSE;
}

// ---- One call, one dialog ----------------------------------------------------------------------

GtkWidget* ShowOnce(WinTrace trace, YraWinUI* pWinUI) {
  pWinUI->YraGetFileItemInfo();
  GtkWidget* pDialog = YraBuildChooser(trace, kLook, "Upload To");
  if (pDialog == nullptr) return nullptr;
  g_signal_connect(pDialog, "destroy", G_CALLBACK(YraChooseDirectoryDiagDestoryCallback), pWinUI);
  g_signal_connect(pDialog, "delete-event", G_CALLBACK(YraChooseDirectoryDiagDelEventCallback),
                   pWinUI);
  YraShowInFront(pDialog);
  TRACE_VERBOSE(trace, "Will callback gtk_dialog_run.");
  return pDialog;
}

void TakeOnce(WinTrace trace, YraWinUI* pWinUI, GtkWidget* pDialog, int response) {
  if (response == GTK_RESPONSE_ACCEPT) {
    const uint64_t size = YraWinUI::Inside::Of(pWinUI).FileItem().fileSize;
    const YraChosen chosen = YraQueueChosen(trace, pDialog, YraWinUI::Inside::Of(pWinUI).Store(),
                                            {.numbered = true, .sizeOfPath = false, .size = size});
    TRACE_VERBOSE(trace, "Choosed %d directory", chosen.paths);
  } else if (!YraIsDeclined(response)) {
    TRACE_ERROR(trace, "gtk_dialog_run is not GTK_RESPONSE_ACCEPT. (%d)", response);
  }
}

}  // namespace

int YraChooseDirectoryIdleFunc(void* data) {
  const WinTrace trace;
  YraRunChooserOnce(trace, data, ShowOnce, TakeOnce);
  trace.Out();
  return FALSE;
}

unsigned int YraWinUI::YraChooseDirectoryDiagCreate(int argc, char** argv,
                                                    YRAFT_FILEINFO_ITEM* pFileInfo) {
  const WinTrace trace;
  if (pFileInfo == nullptr) return trace.RefuseNull(YRAFT_STATUS_MISSING_INPUT, "pFileInfo");
  if (m_pRW == nullptr) return trace.RefuseNull(YRAFT_STATUS_MISSING_INPUT, "m_pRW");
  if (m_pChooseDirectoryTree != nullptr) {
    return trace.Refuse(YRAFT_STATUS_BAD_STATE, "Choose directroy diaolog already created.");
  }
  std::memcpy(m_fileItemInfo, pFileInfo, sizeof(m_fileItemInfo));
  TRACE_VERBOSE(trace,
                "FileInfo: fileTransferOperation=%s, cbSize=%u, fileContext=%u, fileSize=%u, "
                "nameLen=%u, name[%.*s].",
                TraceOperation(pFileInfo->fileTransferOperation), pFileInfo->cbSize,
                pFileInfo->fileContext, static_cast<unsigned int>(pFileInfo->fileSize),
                pFileInfo->nameLen, pFileInfo->nameLen, YRAFT_FILEINFO_NAME(pFileInfo));
  return trace.Ret(YraCallChooser(trace, this, argc, argv, YraChooseDirectoryIdleFunc));
}

unsigned int YraWinUI::YraChooseDirectoryThresholdCheck(int filesNum, char* pFilePath) {
  const WinTrace trace;
  if (pFilePath == nullptr) {
    return trace.RefuseNull(YRAFT_STATUS_INVALID_PARAM, "pFilePath", "null");
  }
  TRACE_VERBOSE(trace, "select file size is %d and name is [%s].", filesNum, pFilePath);
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

// ---- The persistent dialog ---------------------------------------------------------------------

namespace {

void SetFilter(WinTrace trace, GtkWidget* pDialog) {
  GtkFileFilter* pFilter = gtk_file_filter_new();
  gtk_file_filter_set_name(pFilter, "No Write Permission");
  gtk_file_filter_add_custom(pFilter, GTK_FILE_FILTER_DISPLAY_NAME,
                             YraChooseDirectoryDiagFilterCallback, nullptr, nullptr);
  TRACE_VERBOSE(trace, "Setting filter.");
  gtk_file_chooser_set_filter(GTK_FILE_CHOOSER(pDialog), pFilter);
}

}  // namespace

unsigned int YraWinUI::YraChooseDirectoryDiagCreate() {
  const WinTrace trace;
  if (m_pRW == nullptr) return trace.RefuseNull(YRAFT_STATUS_MISSING_INPUT, "m_pRW");
  if (m_pChooseDirectoryTree != nullptr) {
    return trace.Refuse(YRAFT_STATUS_BAD_STATE, "Choose directroy dialog already created.");
  }
  GtkWidget* pDialog = YraBuildChooser(trace, kLook, YRAFT_ENG_DIRECTORY_DIALOG_TITLE);
  if (pDialog == nullptr) return trace.Ret(YRAFT_OPT_STATUS_FAILED);
  YraSetChooseDirectoryDiag(pDialog);
  gtk_window_set_skip_taskbar_hint(GTK_WINDOW(pDialog), TRUE);
  gtk_window_set_position(GTK_WINDOW(pDialog), GTK_WIN_POS_CENTER_ALWAYS);
  m_pInside->pDirectory->Watch(pDialog, G_CALLBACK(YraChooseDirectoryDiagDestoryCallback),
                               G_CALLBACK(YraChooseDirectoryDiagDelEventCallback));
  SetFilter(trace, pDialog);
  gtk_widget_hide(pDialog);
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraChooseDirectoryDiagDestory() {
  const WinTrace trace;
  if (m_pChooseDirectoryTree != nullptr) {
    TRACE_VERBOSE(trace, "callback gtk_widget_destroy destory choose directory dialog.");
    gtk_widget_destroy(m_pChooseDirectoryTree);
  }
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

namespace {

class ChooseDirectory : public YraChooser {
 public:
  explicit ChooseDirectory(YraWinUI* pWinUI)
      : YraChooser(pWinUI, YraChooseDirectorySelfSignalIdleFunc,
                   {.pIdle = "YraChooseDirectorySelfSignalIdleFunc",
                    .pBuild = "YraChooseDirectoryDiagCreate",
                    .pNotCreated = "Choose directory dialog no created.",
                    .pNull = "Choose directory dialog is null."},
                   YRAFT_NOTIFY_CHOOSE_DIRECTORY) {}

 private:
  GtkWidget* Widget() const override { return WinUI()->YraGetChooseDirectoryDiag(); }
  void Hold(GtkWidget* pWidget) override { WinUI()->YraSetChooseDirectoryDiag(pWidget); }
  unsigned int Build() override { return WinUI()->YraChooseDirectoryDiagCreate(); }

  void ReadRecord() override { WinUI()->YraGetFileItemInfo(); }
  YraChosen Queue(GtkWidget* pDialog, const YraRequest& request) override {
    const YraChosen chosen =
        YraQueueChosen(Trace(), pDialog, YraWinUI::Inside::Of(WinUI()).Store(),
                       {.numbered = false, .sizeOfPath = false, .size = request.fileSize});
    TRACE_VERBOSE(Trace(), "Choosed %d files. (%d)", chosen.pushed, chosen.paths);
    return chosen;
  }
  const char* Nothing() const override { return "Get the number of path is 0."; }
};

}  // namespace

std::unique_ptr<YraDialog> YraMakeChooseDirectory(YraWinUI* pWinUI) {
  return std::make_unique<ChooseDirectory>(pWinUI);
}

unsigned int YraWinUI::YraChooseDirectoryDiagCreate(YRAFT_FILEINFO_ITEM* pFileInfo) {
  const WinTrace trace;
  if (pFileInfo == nullptr) return trace.RefuseNull(YRAFT_STATUS_INVALID_PARAM, "pFileInfo");
  std::unique_ptr<YraRequest> pRequest(new (std::nothrow) YraRequest);
  if (pRequest == nullptr) return trace.Ret(YRAFT_STATUS_NO_MEMORY);
  pRequest->fileSize = pFileInfo->fileSize;
  YraSetFileItemInfo(pFileInfo);
  m_pInside->pDirectory->Accept(std::move(pRequest));
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

int YraChooseDirectorySelfSignalIdleFunc(void* data) {
  const WinTrace trace;
  YraChooser::ServeData(trace, data, &YraWinUI::Inside::pDirectory, YRAFT_NOTIFY_CHOOSE_DIRECTORY);
  trace.Out();
  return FALSE;
}
