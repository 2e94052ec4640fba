// The dialog in which the user picks the session directory that receives an upload.
#include <unistd.h>

#include "YraChooser.h"
#include "common/libs/kvolocalise/messages.h"

namespace {

constexpr TraceLayer kLayer = kLayerWin;

constexpr YraChooserLook kLook{GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER, GTK_STOCK_SAVE, FALSE};

void YraChooseDirectoryDiagDestoryCallback(GtkWidget* widget, void* pWin) {
  TRACE_IN();
  TRACE_VERBOSE("widget=0x%x, udata=0x%x.", TraceAddress(widget), TraceAddress(pWin));
  YraForgetDialog(static_cast<YraWinUI*>(pWin), widget, kYraChooseDirectory, KVO_LOG_VERBOSE,
                  __func__);
  TRACE_OUT();
}

YRA_DELETE_EVENT_HANDLER(YraChooseDirectoryDiagDelEventCallback, KVO_LOG_VERBOSE)

const char* OrNull(const char* text) { return text != nullptr ? text : "(NULL)"; }

// Refuses what the user could not write into. The toolkit tells the entry's display name only,
// which is taken as a path as it stands.
gboolean YraChooseDirectoryDiagFilterCallback(const GtkFileFilterInfo* filter_info, void* data) {
  TRACE_IN();
  TRACE_VERBOSE(
      "filter_info=0x%x, data=0x%x, filename[%s], uri[%s], display_name[%s], mime_type[%s].",
      TraceAddress(filter_info), TraceAddress(data), OrNull(filter_info->filename),
      OrNull(filter_info->uri), OrNull(filter_info->display_name), OrNull(filter_info->mime_type));
  const bool admitted =
      filter_info->display_name == nullptr || access(filter_info->display_name, R_OK | W_OK) == 0;
  TRACE_VERBOSE("%s", TraceBool(admitted));
  return admitted ? TRUE : FALSE;
}

GtkWidget* Build(const char* pTitle, YraWinUI* pWinUI) {
  GtkWidget* pDialog = YraBuildChooser(kLook, pTitle);
  if (pDialog == nullptr) return nullptr;
  g_signal_connect(pDialog, "destroy", G_CALLBACK(YraChooseDirectoryDiagDestoryCallback), pWinUI);
  g_signal_connect(pDialog, "delete-event", G_CALLBACK(YraChooseDirectoryDiagDelEventCallback),
                   pWinUI);
  return pDialog;
}

void SetFilter(GtkWidget* pDialog) {
  GtkFileFilter* pFilter = gtk_file_filter_new();
  gtk_file_filter_set_name(pFilter, "No Write Permission");
  gtk_file_filter_add_custom(pFilter, GTK_FILE_FILTER_DISPLAY_NAME,
                             YraChooseDirectoryDiagFilterCallback, nullptr, nullptr);
  TRACE_VERBOSE("Setting filter.");
  gtk_file_chooser_set_filter(GTK_FILE_CHOOSER(pDialog), pFilter);
}

}  // namespace

// ---- The persistent dialog ---------------------------------------------------------------------

unsigned int YraWinUI::YraChooseDirectoryDiagCreate() {
  TRACE_IN();
  if (m_pRW == nullptr) {
    TRACE_ERROR("m_pRW (%p) is NULL.", static_cast<void*>(m_pRW));
    return TRACE_RET(YRAFT_STATUS_MISSING_INPUT);
  }
  if (m_pChooseDirectoryTree != nullptr) {
    TRACE_ERROR("Choose directroy dialog already created.");
    return TRACE_RET(YRAFT_STATUS_BAD_STATE);
  }
  GtkWidget* pDialog = Build(YraText(YRAFT_ENG_DIRECTORY_DIALOG_TITLE).c_str(), this);
  if (pDialog == nullptr) return TRACE_RET(YRAFT_OPT_STATUS_FAILED);
  YraSetChooseDirectoryDiag(pDialog);
  m_directoryRequests.Watch(pDialog);
  gtk_window_set_skip_taskbar_hint(GTK_WINDOW(pDialog), TRUE);
  gtk_window_set_position(GTK_WINDOW(pDialog), GTK_WIN_POS_CENTER_ALWAYS);
  SetFilter(pDialog);
  gtk_widget_hide(pDialog);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraChooseDirectoryDiagDestory() {
  TRACE_IN();
  if (m_pChooseDirectoryTree != nullptr) {
    TRACE_VERBOSE("callback gtk_widget_destroy destory choose directory dialog.");
    gtk_widget_destroy(m_pChooseDirectoryTree);
  }
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraChooseDirectoryThresholdCheck(int filesNum, char* pFilePath) {
  TRACE_IN();
  if (pFilePath == nullptr) {
    TRACE_ERROR("pFilePath (%p) is null.", static_cast<void*>(pFilePath));
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  TRACE_VERBOSE("select file size is %d and name is [%s].", filesNum, pFilePath);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

// ---- One call, one dialog ----------------------------------------------------------------------

unsigned int YraWinUI::YraChooseDirectoryDiagCreate(int argc, char** argv,
                                                    YRAFT_FILEINFO_ITEM* pFileInfo) {
  TRACE_IN();
  if (pFileInfo == nullptr) {
    TRACE_ERROR("pFileInfo (%p) is NULL.", static_cast<void*>(pFileInfo));
    return TRACE_RET(YRAFT_STATUS_MISSING_INPUT);
  }
  if (m_pRW == nullptr) {
    TRACE_ERROR("m_pRW (%p) is NULL.", static_cast<void*>(m_pRW));
    return TRACE_RET(YRAFT_STATUS_MISSING_INPUT);
  }
  if (m_pChooseDirectoryTree != nullptr) {
    TRACE_ERROR("Choose directroy diaolog already created.");
    return TRACE_RET(YRAFT_STATUS_BAD_STATE);
  }
  m_fileItemInfo.Store(*pFileInfo);
  TRACE_VERBOSE(
      "FileInfo: fileTransferOperation=%s, cbSize=%u, fileContext=%u, fileSize=%u, nameLen=%u, "
      "name[%s].",
      YraOperationName(pFileInfo->fileTransferOperation), pFileInfo->cbSize, pFileInfo->fileContext,
      static_cast<unsigned int>(pFileInfo->fileSize), pFileInfo->nameLen,
      YRAFT_FILEINFO_NAME(pFileInfo));
  return TRACE_RET(YraCallChooser(this, argc, argv, YraChooseDirectoryIdleFunc));
}

// What the idle function does with the user's answer.
namespace {
namespace once {

constexpr const char* kCaller = "YraChooseDirectoryIdleFunc";

void QueueAccepted(YraWinUI* pWinUI, GtkWidget* pDialog, int response) {
  if (response == GTK_RESPONSE_ACCEPT) {
    const uint64_t size = YraUIThread::FileItem(pWinUI).fileSize;
    [[maybe_unused]] const YraChosen chosen = YraQueueChosen(
        pDialog, pWinUI->YraRWGet(), {.numbered = true, .sizeOfPath = false, .size = size});
    TRACE_VERBOSE("Choosed %d directory", chosen.paths);
  } else if (!YraIsDeclined(response)) {
    TRACE_ERROR("gtk_dialog_run is not GTK_RESPONSE_ACCEPT. (%d)", response);
  }
}

}  // namespace once
}  // namespace

int YraChooseDirectoryIdleFunc(void* data) {
  TRACE_IN();
  YraRunChooserOnce(
      static_cast<YraWinUI*>(data), [](YraWinUI* pWinUI) { return Build("Upload To", pWinUI); },
      once::QueueAccepted);
  TRACE_OUT();
  return FALSE;
}

// ---- Requests of the channel thread ------------------------------------------------------------

unsigned int YraWinUI::YraChooseDirectoryDiagCreate(YRAFT_FILEINFO_ITEM* pFileInfo) {
  TRACE_IN();
  if (pFileInfo == nullptr) {
    TRACE_ERROR("pFileInfo (%p) is NULL.", static_cast<void*>(pFileInfo));
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  YraSetFileItemInfo(pFileInfo);
  m_directoryRequests.Accept();
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

// What the idle function does for a request, and what follows from it when the chooser closes.
namespace {
namespace run {

constexpr const char* kCaller = "YraChooseDirectorySelfSignalIdleFunc";

YraChoice TakeAccepted(YraWinUI* pWinUI, GtkWidget* pDialog) {
  const uint64_t size = YraUIThread::FileItem(pWinUI).fileSize;
  const YraChosen chosen = YraQueueChosen(pDialog, pWinUI->YraRWGet(),
                                          {.numbered = false, .sizeOfPath = false, .size = size});
  TRACE_VERBOSE("Choosed %d files. (%d)", chosen.pushed, chosen.paths);
  if (chosen.pushed == 0) {
    TRACE_ERROR("Get the number of path is 0.");
    return {};
  }
  return YraTakeChoice(pWinUI);
}

void Answer(YraWinUI* pWinUI, GtkWidget* pDialog, int response) {
  YraAnswerChoice(pWinUI, pDialog, response, YRAFT_NOTIFY_CHOOSE_DIRECTORY, TakeAccepted);
}

}  // namespace run
}  // namespace

const YraDialogKind kYraChooseDirectory{YraChooseDirectorySelfSignalIdleFunc,
                                        run::kCaller,
                                        &YraWinUI::YraGetChooseDirectoryDiag,
                                        &YraWinUI::YraSetChooseDirectoryDiag,
                                        &YraWinUI::YraChooseDirectoryDiagCreate,
                                        "YraChooseDirectoryDiagCreate",
                                        "Choose directory dialog no created.",
                                        "Choose directory dialog is null.",
                                        YraOpenChooser,
                                        run::Answer};

int YraChooseDirectorySelfSignalIdleFunc(void* data) {
  TRACE_IN();
  YraServeChoices(data, YraUIThread::DirectoryRequests, YRAFT_NOTIFY_CHOOSE_DIRECTORY);
  TRACE_OUT();
  return FALSE;
}
