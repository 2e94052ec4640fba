// The UI object's two modes, its main window and its end.
#include "YraWinUI.h"

#include "YraDialog.h"

namespace {

constexpr TraceLayer kLayer = kLayerWin;

constexpr unsigned int kExists = 1;
constexpr unsigned int kNotCreated = 2;

// Operation types of the synchronous mode.
enum Operation { kInit, kUploadPath, kDownloadFiles, kProgressBar, kErrorMessage, kInvalid };

const char* OperationTypeName(int operationType) {
  constexpr const char* kNames[] = {
      "UI Init",       "Select upload path", "Choose download files", "Download process bar",
      "Error message", "UI Invaild"};
  return operationType >= kInit && operationType <= kInvalid ? kNames[operationType] : "Unknown";
}

GtkWidget* BuildMainWindow() {
  GtkWidget* pWindow = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  if (pWindow == nullptr) return nullptr;
  gtk_window_set_title(GTK_WINDOW(pWindow), "Main Win");
  gtk_container_set_border_width(GTK_CONTAINER(pWindow), 10);
  gtk_window_set_deletable(GTK_WINDOW(pWindow), FALSE);
  gtk_window_set_resizable(GTK_WINDOW(pWindow), FALSE);
  gtk_widget_set_size_request(pWindow, 350, 120);
  gtk_window_set_modal(GTK_WINDOW(pWindow), TRUE);
  return pWindow;
}

// A dialog that cannot be built now is built when it is first needed.
void BuildDialogs(YraWinUI* pWinUI) {
  constexpr const char* kCaller = "YraWinUI";
  const std::pair<const char*, unsigned int> results[] = {
      {"YraChooseFilesDiagCreate", pWinUI->YraChooseFilesDiagCreate()},
      {"YraChooseDirectoryDiagCreate", pWinUI->YraChooseDirectoryDiagCreate()},
      {"YraProgressBarDiagCreate", pWinUI->YraProgressBarDiagCreate()},
      {"YraErrorMessageDiagCreate", pWinUI->YraErrorMessageDiagCreate()}};
  for (const auto& [operation, ret] : results) {
    if (ret != YRAFT_STATUS_SUCCESS) TRACE_FAILED(operation, ret);
  }
}

}  // namespace

YraWinUI::YraWinUI() {
  TRACE_IN();
  TRACE_OUT();
}

// ---- Persistent mode ---------------------------------------------------------------------------

YraWinUI::YraWinUI(int argc, char** argv, void* pInput) {
  TRACE_IN();
  YraRWCreate();
  TRACE_VERBOSE("pWinUI=0x%x, m_pRW=0x%x", TraceAddress(this), TraceAddress(m_pRW));
  if (pInput == nullptr) {
    TRACE_ERROR("pInput (%p) is null.", pInput);
    return;
  }
  const GdkLock lock;
  if (!YraInitGtk(argc, argv)) return;
  m_pWin = BuildMainWindow();
  if (m_pWin == nullptr) {
    TRACE_ERROR("Callback gtk_window_new is failed.");
    return;
  }
  m_quitHandlerId = g_signal_connect(m_pWin, "destroy", G_CALLBACK(gtk_main_quit), nullptr);
  gtk_widget_hide(m_pWin);
  BuildDialogs(this);
  YraUIThread::ConnectSelfSignals(this, static_cast<YRAFT_SELF_SIGNAL*>(pInput));
  TRACE_VERBOSE("[%s] Will call gtk_main...", kLayer.tag);
  gtk_main();
  YraUIThread::DisconnectSelfSignals(this);
  YraUIThread::AnswerTheRest(this);
  YraProgressBarDiagHideDestory();
  gdk_flush();  // nobody else will: what was hidden must leave the screen now
  TRACE_RET(YRAFT_STATUS_SUCCESS);
}

// ---- Synchronous mode --------------------------------------------------------------------------

YraWinUI::YraWinUI(int operationType, int argc, char** argv, void* pInput) {
  TRACE_IN();
  TRACE_VERBOSE("Window UI operation type: %d (%s)", operationType,
                OperationTypeName(operationType));
  YraRWCreate();
  TRACE_VERBOSE("pWinUI=0x%x, m_pRW=0x%x", TraceAddress(this), TraceAddress(m_pRW));
  const unsigned int ret = YraUIThread::RunSynchronous(this, operationType, argc, argv, pInput);
  if (ret == YRAFT_STATUS_SUCCESS) {
    m_operationType = operationType;
  } else {
    TRACE_ERROR("process failed.");
  }
  TRACE_RET(ret);
}

unsigned int YraUIThread::RunSynchronous(YraWinUI* pWinUI, int operationType, int argc, char** argv,
                                         void* pInput) {
  switch (operationType) {
    case kUploadPath:
      return pWinUI->YraChooseDirectoryDiagCreate(argc, argv,
                                                  static_cast<YRAFT_FILEINFO_ITEM*>(pInput));
    case kDownloadFiles:
      return pWinUI->YraChooseFilesDiagCreate(argc, argv,
                                              static_cast<YRAFT_THRESHOLD_INFO*>(pInput));
    case kProgressBar:
      return pWinUI->YraProgressBarDiagCreate(argc, argv,
                                              static_cast<YRAFT_PROGRESS_BAR_INFO*>(pInput));
    case kErrorMessage: {
      if (pInput == nullptr) {
        TRACE_ERROR("pInput (%p) is NULL.", pInput);
        return YRAFT_STATUS_INVALID_PARAM;
      }
      return YraShowErrorRecord(pWinUI, argc, argv,
                                *static_cast<YRAFT_ERROR_MESSAGE_INFO*>(pInput));
    }
    case kInit:
    case kInvalid:
      TRACE_ERROR("Operation type is not support.(%d)", operationType);
      return YRAFT_STATUS_INVALID_PARAM;
    default:
      TRACE_ERROR("Window UI operation type unknown.(%d)", operationType);
      return YRAFT_STATUS_INVALID_PARAM;
  }
}

// ---- The end -----------------------------------------------------------------------------------

YraWinUI::~YraWinUI() {
  TRACE_INFO("[%s] In.", kLayer.tag);
  YraUIThread::DisconnectSelfSignals(this);
  if (m_quitHandlerId != 0 && m_pWin != nullptr) {
    g_signal_handler_disconnect(m_pWin, m_quitHandlerId);
  }
  const bool shown = m_pWin != nullptr || m_pChildWin != nullptr;
  YraListDelAll();
  YraChooseFilesDiagDestory();
  YraChooseDirectoryDiagDestory();
  YraErrorMessageDiagDestory();
  YraProgressBarDiagDestory();
  YraMainWinDestory();
  if (shown) gdk_flush();
  YraRWDestory();
  YraUIThread::ReleaseErrors(this);
  TRACE_OUT();
}

unsigned int YraWinUI::YraMainWinCreate() {
  TRACE_IN();
  if (m_pWin != nullptr) {
    TRACE_ERROR("Already created.");
    return TRACE_RET(kExists);
  }
  GtkWidget* pWindow = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  if (pWindow == nullptr) {
    TRACE_ERROR("Callback gtk_window_new is failed.");
    return TRACE_RET(kNotCreated);
  }
  gtk_window_set_title(GTK_WINDOW(pWindow), "Open");
  gtk_container_set_border_width(GTK_CONTAINER(pWindow), 200);
  gtk_window_set_position(GTK_WINDOW(pWindow), GTK_WIN_POS_CENTER);
  YraSetWinUIWidget(pWindow);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

void YraWinUI::YraMainWinDestory() {
  TRACE_IN();
  if (m_pWin != nullptr) {
    TRACE_VERBOSE("callback gtk_widget_destroy destory main window.");
    GtkWidget* pWindow = m_pWin;
    m_pWin = nullptr;
    gtk_widget_destroy(pWindow);
  }
  TRACE_OUT();
}
