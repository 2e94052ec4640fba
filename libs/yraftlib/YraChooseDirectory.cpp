// The dialog in which the user picks the session directory that receives an upload.
#include <unistd.h>

#include "YraDialog.h"
#include "YraNotify.h"
#include "common/libs/kvolocalise/messages.h"

namespace {

constexpr TraceLayer kLayer = kLayerWin;

void YraChooseDirectoryDiagDestoryCallback(GtkWidget* widget, void* pWin) {
  TRACE_IN();
  TRACE_VERBOSE("widget=0x%x, udata=0x%x.", TraceAddress(widget), TraceAddress(pWin));
  auto* pWinUI = static_cast<YraWinUI*>(pWin);
  GtkWidget* pDialog = pWinUI != nullptr ? pWinUI->YraGetChooseDirectoryDiag() : nullptr;
  if (pDialog == nullptr) {
    TRACE_WARNING("Choose directory dialog is null.");
  } else {
    TRACE_VERBOSE("Will hide dialog...");
    gtk_widget_hide(pDialog);
    if (pDialog == widget) pWinUI->YraSetChooseDirectoryDiag(nullptr);
  }
  TRACE_OUT();
}

gboolean YraChooseDirectoryDiagDelEventCallback(GtkWidget* widget, GdkEvent* event, void* data) {
  TRACE_IN();
  TRACE_VERBOSE("widget=0x%x, event=0x%x, udata=0x%x.", TraceAddress(widget), TraceAddress(event),
                TraceAddress(data));
  TRACE_OUT();
  return FALSE;
}

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

GtkWidget* BuildChooser(const char* title, YraWinUI* pWinUI) {
  GtkWidget* pDialog = gtk_file_chooser_dialog_new(
      title, nullptr, GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER, GTK_STOCK_CANCEL, GTK_RESPONSE_CANCEL,
      GTK_STOCK_SAVE, GTK_RESPONSE_ACCEPT, nullptr);
  if (pDialog == nullptr) {
    TRACE_ERROR("Callback gtk_file_chooser_dialog_new is failed.");
    return nullptr;
  }
  GtkFileChooser* pChooser = GTK_FILE_CHOOSER(pDialog);
  gtk_dialog_set_default_response(GTK_DIALOG(pDialog), GTK_RESPONSE_ACCEPT);
  gtk_file_chooser_set_select_multiple(pChooser, FALSE);
  gtk_file_chooser_set_do_overwrite_confirmation(pChooser, TRUE);
  gtk_file_chooser_set_current_folder(pChooser, g_get_home_dir());
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
  GtkWidget* pDialog = BuildChooser(YraText(YRAFT_ENG_DIRECTORY_DIALOG_TITLE).c_str(), this);
  if (pDialog == nullptr) return TRACE_RET(YRAFT_OPT_STATUS_FAILED);
  YraSetChooseDirectoryDiag(pDialog);
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
  if (!YraInitGtk(argc, argv)) {
    YraSetChooseOptStatusCode(YRAFT_OPT_STATUS_FAILED);
    return TRACE_RET(YRAFT_OPT_STATUS_FAILED);
  }
  YraRunMainLoop(YraChooseDirectoryIdleFunc, this);
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
  GtkWidget* pDialog = BuildChooser("Upload To", pWinUI);
  if (pDialog == nullptr) {
    pWinUI->YraSetChooseOptStatusCode(YRAFT_OPT_STATUS_FAILED);
    return;
  }
  TRACE_VERBOSE("Will callback gtk_dialog_run.");
  const int result = YraRunModal(pDialog);
  if (result == GTK_RESPONSE_ACCEPT) {
    const uint64_t size = YraUIThread::FileItem(pWinUI).fileSize;
    [[maybe_unused]] const YraChosen chosen =
        YraQueueChosen(pDialog, pRW, {.numbered = true, .sizeOfPath = false, .size = size});
    TRACE_VERBOSE("Choosed %d directory", chosen.paths);
  } else if (result != GTK_RESPONSE_CANCEL && result != GTK_RESPONSE_DELETE_EVENT) {
    TRACE_ERROR("gtk_dialog_run is not GTK_RESPONSE_ACCEPT. (%d)", result);
  }
  TRACE_VERBOSE("Will callback gtk_widget_destroy.");
  gtk_widget_destroy(pDialog);
}

}  // namespace

int YraChooseDirectoryIdleFunc(void* data) {
  TRACE_IN();
  const GdkLock lock;
  ChooseOnce(static_cast<YraWinUI*>(data));
  TRACE_VERBOSE("Will callback gtk_main_quit.");
  gtk_main_quit();
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
  ++m_directoryRequests.unanswered;
  g_idle_add(YraChooseDirectorySelfSignalIdleFunc, this);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

namespace {

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

YraChoice RunDialog(YraWinUI* pWinUI) {
  if (pWinUI->YraGetChooseDirectoryDiag() == nullptr) {
    TRACE_WARNING("Choose directory dialog no created.");
    const unsigned int ret = pWinUI->YraChooseDirectoryDiagCreate();
    if (ret != YRAFT_STATUS_SUCCESS) TRACE_FAILED("YraChooseDirectoryDiagCreate", ret);
  }
  GtkWidget* pDialog = pWinUI->YraGetChooseDirectoryDiag();
  if (pDialog == nullptr) return {};
  if (pWinUI->YraRWGet() == nullptr) {
    TRACE_ERROR("callback YraRWGet get RW is null.");
    return {};
  }
  const int result = YraRunChooser(pDialog);
  YraChoice choice =
      result == GTK_RESPONSE_ACCEPT ? TakeAccepted(pWinUI, pDialog) : YraDeclinedChoice(result);
  YraHideDialog(pDialog);
  return choice;
}

}  // namespace

int YraChooseDirectorySelfSignalIdleFunc(void* data) {
  TRACE_IN();
  auto* pWinUI = static_cast<YraWinUI*>(data);
  YraServeChoices(pWinUI, pWinUI != nullptr ? &YraUIThread::DirectoryRequests(pWinUI) : nullptr,
                  YRAFT_NOTIFY_CHOOSE_DIRECTORY, RunDialog);
  TRACE_OUT();
  return FALSE;
}
