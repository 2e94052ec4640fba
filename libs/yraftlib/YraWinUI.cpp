// The UI object's two modes, its main window and its end.
#include <cstdlib>
#include <optional>
#include <utility>

#include "dialogs/YraDialogs.h"
#include "ui/YraInside.h"

namespace {

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

// The window itself may be destroyed by whoever finds it: the field follows.
GtkWidget* HoldMainWindow(GtkWidget** ppWin) {
  GtkWidget* pWindow = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  if (pWindow != nullptr) {
    g_signal_connect(pWindow, "destroy", G_CALLBACK(gtk_widget_destroyed), ppWin);
  }
  return pWindow;
}

}  // namespace

YraWinUI::Inside::Inside(YraWinUI* pWinUI)
    : pFiles(YraMakeChooseFiles(pWinUI)),
      pDirectory(YraMakeChooseDirectory(pWinUI)),
      pErrors(YraMakeErrorMessage(pWinUI)),
      m_pWinUI(pWinUI) {}

YraWinUI::YraWinUI() : m_pInside(new Inside(this)) { WinTrace().Out(); }

// ---- Persistent mode ---------------------------------------------------------------------------

YraWinUI::YraWinUI(int argc, char** argv, void* pInput) : m_pInside(new Inside(this)) {
  const WinTrace trace;
  YraRWCreate();
  TRACE_VERBOSE(trace, "pWinUI=0x%x, m_pRW=0x%x", TraceAddress(this), TraceAddress(m_pRW));
  if (pInput == nullptr) {
    TRACE_ERROR(trace, "pInput (%p) is null.", pInput);
    return;
  }
  if (!YraCanLock(trace)) return;
  {
    const GdkLock lock;
    if (!m_pInside->Start(trace, argc, argv, static_cast<YRAFT_SELF_SIGNAL*>(pInput))) return;
    TRACE_VERBOSE(trace, "[%s] Will call gtk_main...", kLayerWin.tag);
    gtk_main();
    m_pInside->Finish();
  }
  trace.Ret(YRAFT_STATUS_SUCCESS);
}

bool YraWinUI::Inside::Start(WinTrace trace, int argc, char** argv, YRAFT_SELF_SIGNAL* pTable) {
  if (!YraInitGtk(trace, argc, argv)) return false;
  if (!m_signals.Register()) {
    TRACE_ERROR(trace, "Another UI of the process serves already.");
    return false;
  }
  GtkWidget* pWindow = HoldMainWindow(&m_pWinUI->m_pWin);
  if (pWindow == nullptr) {
    TRACE_ERROR(trace, "Callback gtk_window_new is failed.");
    m_signals.Close();
    return false;
  }
  m_pWinUI->m_pWin = pWindow;
  gtk_window_set_title(GTK_WINDOW(pWindow), "Main Win");
  gtk_container_set_border_width(GTK_CONTAINER(pWindow), 10);
  gtk_window_set_deletable(GTK_WINDOW(pWindow), FALSE);
  gtk_window_set_resizable(GTK_WINDOW(pWindow), FALSE);
  gtk_widget_set_size_request(pWindow, 350, 120);
  gtk_window_set_modal(GTK_WINDOW(pWindow), TRUE);
  g_signal_connect(pWindow, "destroy", G_CALLBACK(gtk_main_quit), nullptr);
  m_signals.Open(m_pWinUI, pTable);
  gtk_widget_hide(pWindow);
  // A dialog that cannot be built now is built when it is first needed.
  trace.Called("YraChooseFilesDiagCreate", m_pWinUI->YraChooseFilesDiagCreate());
  trace.Called("YraChooseDirectoryDiagCreate", m_pWinUI->YraChooseDirectoryDiagCreate());
  trace.Called("YraProgressBarDiagCreate", m_pWinUI->YraProgressBarDiagCreate());
  trace.Called("YraErrorMessageDiagCreate", m_pWinUI->YraErrorMessageDiagCreate());
  return true;
}

void YraWinUI::Inside::Quit() {
  YraCloseBoxes(m_pWinUI->m_pChooseFilesDiag);
  YraCloseBoxes(m_pWinUI->m_pChooseDirectoryTree);
  YraOnTop::EndAll();
  gtk_main_quit();
}

void YraWinUI::Inside::Finish() {
  {
    const GdkUnlock unlock;
    m_signals.Close();
  }
  // No sender is left: what was accepted stands in the lines.
  for (YraDialog* pDialog : {pFiles.get(), pDirectory.get(), pErrors.get()}) {
    pDialog->End(GTK_RESPONSE_CANCEL);
    pDialog->EndAll(GTK_RESPONSE_CANCEL);
  }
  while (g_source_remove_by_user_data(m_pWinUI)) {
  }
  if (m_pWinUI->m_pChildWin != nullptr) gtk_widget_hide(m_pWinUI->m_pChildWin);
  if (m_pWinUI->m_pWin != nullptr) {
    // It goes when no main loop is left to quit.
    g_signal_handlers_disconnect_by_func(m_pWinUI->m_pWin, reinterpret_cast<void*>(gtk_main_quit),
                                         nullptr);
  }
  gdk_flush();  // nobody else will: what was hidden must leave the screen now
}

// ---- Synchronous mode --------------------------------------------------------------------------

YraWinUI::YraWinUI(int operationType, int argc, char** argv, void* pInput)
    : m_pInside(new Inside(this)) {
  const WinTrace trace;
  TRACE_VERBOSE(trace, "Window UI operation type: %d (%s)", operationType,
                OperationTypeName(operationType));
  YraRWCreate();
  TRACE_VERBOSE(trace, "pWinUI=0x%x, m_pRW=0x%x", TraceAddress(this), TraceAddress(m_pRW));
  unsigned int ret = YRAFT_STATUS_INVALID_PARAM;
  switch (operationType) {
    case kUploadPath:
      ret = YraChooseDirectoryDiagCreate(argc, argv, static_cast<YRAFT_FILEINFO_ITEM*>(pInput));
      break;
    case kDownloadFiles:
      ret = YraChooseFilesDiagCreate(argc, argv, static_cast<YRAFT_THRESHOLD_INFO*>(pInput));
      break;
    case kProgressBar:
      ret = YraProgressBarDiagCreate(argc, argv, static_cast<YRAFT_PROGRESS_BAR_INFO*>(pInput));
      break;
    case kErrorMessage:
      if (pInput == nullptr) {
        TRACE_ERROR(trace, "pInput (%p) is NULL.", pInput);
      } else {
        ret = YraShowErrorRecord(trace, this, argc, argv,
                                 *static_cast<YRAFT_ERROR_MESSAGE_INFO*>(pInput));
      }
      break;
    case kInit:
    case kInvalid:
      TRACE_ERROR(trace, "Operation type is not support.(%d)", operationType);
      break;
    default:
      TRACE_ERROR(trace, "Window UI operation type unknown.(%d)", operationType);
  }
  if (ret == YRAFT_STATUS_SUCCESS) {
    m_operationType = operationType;
  } else {
    TRACE_ERROR(trace, "process failed.");
  }
  trace.Ret(ret);
}

// ---- The end -----------------------------------------------------------------------------------

YraWinUI::~YraWinUI() {
  const WinTrace trace(KVO_LOG_INFO);
  YraListDelAll();
  {
    // An object without windows goes without the lock: its caller may hold it.
    const bool windows = m_pWin != nullptr || m_pChildWin != nullptr ||
                         m_pChooseFilesDiag != nullptr || m_pChooseDirectoryTree != nullptr ||
                         m_pErrorMessage != nullptr;
    std::optional<GdkLock> lock;
    if (windows) lock.emplace();
    YraChooseFilesDiagDestory();
    YraChooseDirectoryDiagDestory();
    YraErrorMessageDiagDestory();
    YraProgressBarDiagDestory();
    YraMainWinDestory();
    if (windows) gdk_flush();
  }
  while (g_source_remove_by_user_data(this)) {
  }
  YraRWDestory();
  m_pInside->pErrors->EndAll(GTK_RESPONSE_NONE);
  std::free(m_pErrorMessageInfo.exchange(nullptr));
  delete m_pInside;
  TRACE_VERBOSE(trace, "[%s] Out.", kLayerWin.tag);
}

unsigned int YraWinUI::YraMainWinCreate() {
  const WinTrace trace;
  if (m_pWin != nullptr) return trace.Refuse(kExists, "Already created.");
  GtkWidget* pWindow = HoldMainWindow(&m_pWin);
  if (pWindow == nullptr) return trace.Refuse(kNotCreated, "Callback gtk_window_new is failed.");
  gtk_window_set_title(GTK_WINDOW(pWindow), "Open");
  gtk_container_set_border_width(GTK_CONTAINER(pWindow), 200);
  gtk_window_set_position(GTK_WINDOW(pWindow), GTK_WIN_POS_CENTER);
  YraSetWinUIWidget(pWindow);
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

void YraWinUI::YraMainWinDestory() {
  const WinTrace trace;
  if (m_pWin != nullptr) {
    TRACE_VERBOSE(trace, "callback gtk_widget_destroy destory main window.");
    gtk_widget_destroy(std::exchange(m_pWin, nullptr));
  }
  trace.Out();
}
