// The one-way channel from the host's channel thread into the UI thread.
//
// A handler runs in the thread that sends the signal. It hands the request's record over, queues
// the idle function that serves it in the UI thread, and releases the record; it never waits for a
// user.
#include "YraTrace.h"
// The trace vocabulary comes first.
#include "YraSelfSignal.h"

#include <cstdlib>
#include <thread>

#include "YraDialog.h"
#include "YraNotify.h"

namespace {

constexpr TraceLayer kLayer = kLayerUi;

// The table whose handlers are connected. Written by the UI thread after the table is complete.
std::atomic<const void*> g_pServedTable{nullptr};
// Threads that are sending a signal right now.
std::atomic<int> g_senders{0};

void TraceArguments(const char* function, unsigned int line, int level, void* pSignalObj,
                    unsigned int evtType, unsigned int key, void* pInput, void* pWinObj) {
  if (!kvolog::Admits(kLayer.classId, level)) return;
  __KvoTrace(kLayer.classId, level, __FILE__, function, line,
             "pSignalObj=0x%x, evtType=%d, key=%d, pInput=0x%x, pWinObj=0x%x.",
             TraceAddress(pSignalObj), static_cast<int>(evtType), static_cast<int>(key),
             TraceAddress(pInput), TraceAddress(pWinObj));
}

bool HaveBoth(void* pInput, void* pWinObj) {
  if (pInput != nullptr && pWinObj != nullptr) return true;
  TRACE_ERROR("pInput (%p) or pWinObj (%p) is null.", pInput, pWinObj);
  return false;
}

// Tells the host that its request will not be served.
void Refuse(unsigned int event, unsigned int subCode) {
  TRACE_VERBOSE("Will notify to VC from UI. (0x%x)", YRAFT_OPT_STATUS_FAILED);
  const unsigned int ret =
      YraCallbackYraNotify(event, subCode, YRAFT_OPT_STATUS_FAILED, 0, nullptr);
  if (ret != YRAFT_STATUS_SUCCESS) TRACE_FAILED("YraCallbackYraNotify", ret);
}

// ---- Handlers ----------------------------------------------------------------------------------

// Starts a request for a choice by `start`, or tells the host that it will not be served. The
// record is released in either case.
template <class Record>
void RequestChoice(void* pInput, void* pWinObj, unsigned int (YraWinUI::*start)(Record*),
                   const char* name, unsigned int event) {
  bool started = false;
  if (HaveBoth(pInput, pWinObj)) {
    const unsigned int ret =
        (static_cast<YraWinUI*>(pWinObj)->*start)(static_cast<Record*>(pInput));
    started = ret == YRAFT_STATUS_SUCCESS;
    if (!started) TRACE_FAILED(name, ret);
  }
  if (!started) Refuse(event, 7);
  std::free(pInput);
}

int YraChooseFilesSelfSignalCallback(void* pSignalObj, unsigned int evtType, unsigned int key,
                                     void* pInput, void* pWinObj) {
  TRACE_IN();
  TraceArguments(__func__, __LINE__, KVO_LOG_VERBOSE, pSignalObj, evtType, key, pInput, pWinObj);
  RequestChoice<YRAFT_THRESHOLD_INFO>(pInput, pWinObj, &YraWinUI::YraChooseFilesDiagCreate,
                                      "YraChooseFilesDiagCreate", YRAFT_NOTIFY_CHOOSE_FILES);
  return static_cast<int>(TRACE_RET(YRAFT_STATUS_SUCCESS));
}

int YraChooseDirectorySelfSignalCallback(void* pSignalObj, unsigned int evtType, unsigned int key,
                                         void* pInput, void* pWinObj) {
  TRACE_IN();
  TraceArguments(__func__, __LINE__, KVO_LOG_VERBOSE, pSignalObj, evtType, key, pInput, pWinObj);
  RequestChoice<YRAFT_FILEINFO_ITEM>(pInput, pWinObj, &YraWinUI::YraChooseDirectoryDiagCreate,
                                     "YraChooseDirectoryDiagCreate", YRAFT_NOTIFY_CHOOSE_DIRECTORY);
  return static_cast<int>(TRACE_RET(YRAFT_STATUS_SUCCESS));
}

// Answers false when the host has to hear that the event went nowhere.
bool DispatchProgress(YraWinUI* pWinUI, unsigned int evtType, YRAFT_PROGRESS_BAR_INFO* pInfo) {
  unsigned int ret = YRAFT_STATUS_SUCCESS;
  switch (evtType) {
    case YRAFT_PROGRESS_CREATE:
      ret = pWinUI->YraProgressBarDiagCreate(pInfo);
      if (ret != YRAFT_STATUS_SUCCESS) TRACE_FAILED("YraProgressBarDiagCreate", ret);
      return ret == YRAFT_STATUS_SUCCESS;
    case YRAFT_PROGRESS_REFRESH:
      ret = pWinUI->YraProgressBarDiagRefresh(pInfo);
      if (ret != YRAFT_STATUS_SUCCESS) TRACE_FAILED("YraProgressBarDiagRefresh", ret);
      return true;
    case YRAFT_PROGRESS_CLOSE:
      // The flags fall at once; the window is the UI thread's to hide.
      pWinUI->YraSetProgressBarPauseStatus(false);
      pWinUI->YraSetProgressBarCancelStatus(false);
      g_idle_add(YraProgressBarSelfSignalCloseIdleFunc, pWinUI);
      return true;
    default:
      TRACE_ERROR("Unknown event type from VC thread.(0x%x)", evtType);
      return true;
  }
}

int YraProgressBarSelfSignalCallback(void* pSignalObj, unsigned int evtType, unsigned int key,
                                     void* pInput, void* pWinObj) {
  TRACE_IN();
  TRACE_VERBOSE("pSignalObj=0x%x, evtType=%s, key=%d, pInput=0x%x, pWinObj=0x%x.",
                TraceAddress(pSignalObj), YraProgressEventName(evtType), static_cast<int>(key),
                TraceAddress(pInput), TraceAddress(pWinObj));
  const bool refused = !HaveBoth(pInput, pWinObj) ||
                       !DispatchProgress(static_cast<YraWinUI*>(pWinObj), evtType,
                                         static_cast<YRAFT_PROGRESS_BAR_INFO*>(pInput));
  TRACE_VERBOSE("bIsResp=%s.", TraceBool(refused));
  if (refused) Refuse(YRAFT_NOTIFY_PROGRESS_BAR, 15);
  std::free(pInput);
  return static_cast<int>(TRACE_RET(YRAFT_STATUS_SUCCESS));
}

int YraErrorMessageSelfSignalCallback(void* pSignalObj, unsigned int evtType, unsigned int key,
                                      void* pInput, void* pWinObj) {
  TRACE_IN();
  TraceArguments(__func__, __LINE__, KVO_LOG_INFO, pSignalObj, evtType, key, pInput, pWinObj);
  if (pWinObj == nullptr) {
    HaveBoth(pInput, pWinObj);
    std::free(pInput);
  } else {
    const unsigned int ret = static_cast<YraWinUI*>(pWinObj)->YraErrorMessageDiagCreate(
        static_cast<YRAFT_ERROR_MESSAGE_INFO*>(pInput));
    if (ret != YRAFT_STATUS_SUCCESS) TRACE_FAILED("YraErrorMessageDiagCreate", ret);
  }
  TRACE_OUT();
  return 0;
}

int YraThreadDestorySelfSignalCallback(void* pSignalObj, unsigned int evtType, unsigned int key,
                                       void* pInput, void* pWinObj) {
  TRACE_IN();
  TraceArguments(__func__, __LINE__, KVO_LOG_VERBOSE, pSignalObj, evtType, key, pInput, pWinObj);
  auto* pWinUI = static_cast<YraWinUI*>(pWinObj);
  GtkWidget* pMainWin = pWinUI != nullptr ? pWinUI->YraGetWinUIWidget() : nullptr;
  if (pMainWin == nullptr) {
    TRACE_ERROR("callback YraGetWinUIWidget failed.");
    return 0;
  }
  TRACE_VERBOSE("pMainWinDiag=0x%x.", TraceAddress(pMainWin));
  g_idle_add(YraThreadDestorySelfSignalIdleFunc, pWinUI);
  TRACE_OUT();
  return 0;
}

// ---- The signals -------------------------------------------------------------------------------

struct SelfSignal {
  const char* name;
  GCallback handler;
};

const SelfSignal kSelfSignals[YRAFT_UI_SIGNAL_MAX] = {
    {nullptr, nullptr},
    {"yraft-signal-select-files", G_CALLBACK(YraChooseFilesSelfSignalCallback)},
    {"yraft-signal-select-dir", G_CALLBACK(YraChooseDirectorySelfSignalCallback)},
    {"yraft-signal-progress-bar", G_CALLBACK(YraProgressBarSelfSignalCallback)},
    {"yraft-signal-error-message", G_CALLBACK(YraErrorMessageSelfSignalCallback)},
    {"yraft-signal-thread-destory", G_CALLBACK(YraThreadDestorySelfSignalCallback)},
};

// Names on the base type exist once a process: a later UI finds the first one's ids.
unsigned int RegisterSignal(const char* name) {
  const unsigned int id = g_signal_lookup(name, G_TYPE_OBJECT);
  if (id != 0) return id;
  return g_signal_new(name, G_TYPE_OBJECT, G_SIGNAL_RUN_LAST, 0, nullptr, nullptr, nullptr,
                      G_TYPE_NONE, 3, G_TYPE_INT, G_TYPE_INT, G_TYPE_POINTER);
}

}  // namespace

const char* YraSelfSignalName(int signalType) {
  const bool known = signalType > YRAFT_UI_SIGNAL_INIT && signalType < YRAFT_UI_SIGNAL_MAX;
  return known ? kSelfSignals[signalType].name : "Unknown";
}

const char* YraProgressEventName(unsigned int evtType) {
  switch (evtType) {
    case YRAFT_PROGRESS_CREATE:
      return "ProgressBar Create";
    case YRAFT_PROGRESS_REFRESH:
      return "ProgressBar Refresh";
    case YRAFT_PROGRESS_CLOSE:
      return "ProgressBar Close";
    default:
      return "Unknown";
  }
}

// The UI thread takes the table away before it looks for senders, a sender counts itself in before
// it looks for the table: one of them sees the other.
YraSender::YraSender(const void* pTable) {
  ++g_senders;
  m_bServed = g_pServedTable == pTable;
}

YraSender::~YraSender() { --g_senders; }

void YraUIThread::ConnectSelfSignals(YraWinUI* pWinUI, YRAFT_SELF_SIGNAL* pTable) {
  for (int i = YRAFT_UI_SIGNAL_SELECT_FLIES; i < YRAFT_UI_SIGNAL_MAX; ++i) {
    pTable->entries[i].pSignalObj = g_object_new(G_TYPE_OBJECT, nullptr);
  }
  for (int i = YRAFT_UI_SIGNAL_SELECT_FLIES; i < YRAFT_UI_SIGNAL_MAX; ++i) {
    pTable->entries[i].signalId = RegisterSignal(kSelfSignals[i].name);
  }
  for (int i = YRAFT_UI_SIGNAL_SELECT_FLIES; i < YRAFT_UI_SIGNAL_MAX; ++i) {
    void* pSignalObj = pTable->entries[i].pSignalObj;
    // The objects are the host's table's, which may be gone before this object is.
    pWinUI->m_handlers[i] = {
        g_object_ref(pSignalObj),
        g_signal_connect(pSignalObj, kSelfSignals[i].name, kSelfSignals[i].handler, pWinUI)};
  }
  g_pServedTable = pTable;
}

void YraUIThread::DisconnectSelfSignals(YraWinUI* pWinUI) {
  if (pWinUI->m_handlers[YRAFT_UI_SIGNAL_SELECT_FLIES].pSignalObj == nullptr) return;
  g_pServedTable = nullptr;
  while (g_senders > 0) std::this_thread::yield();  // their requests are accepted, none is lost
  for (YraWinUI::SelfSignalHandler& handler : pWinUI->m_handlers) {
    if (handler.pSignalObj == nullptr) continue;
    g_signal_handler_disconnect(handler.pSignalObj, handler.handlerId);
    g_object_unref(handler.pSignalObj);
    handler = {};
  }
}

// ---- The end -----------------------------------------------------------------------------------

namespace {

// A chooser may have put up a box of its own, in a loop that would keep the UI thread.
void CloseBoxesOver(GtkWidget* pDialog) {
  GList* pWindows = gtk_window_list_toplevels();
  for (GList* pNode = pWindows; pNode != nullptr; pNode = pNode->next) {
    auto* pWindow = static_cast<GtkWindow*>(pNode->data);
    if (GTK_IS_DIALOG(pWindow) && GTK_WIDGET(pWindow) != pDialog &&
        gtk_window_get_transient_for(pWindow) == GTK_WINDOW(pDialog)) {
      gtk_dialog_response(GTK_DIALOG(pWindow), GTK_RESPONSE_CANCEL);
    }
  }
  g_list_free(pWindows);
}

}  // namespace

void YraUIThread::EndDialogs(YraWinUI* pWinUI) {
  pWinUI->m_bEnding = true;
  for (GtkWidget* pDialog : {pWinUI->m_pChooseFilesDiag, pWinUI->m_pChooseDirectoryTree}) {
    if (pDialog != nullptr) CloseBoxesOver(pDialog);
  }
  pWinUI->m_fileRequests.End(GTK_RESPONSE_CANCEL);
  pWinUI->m_directoryRequests.End(GTK_RESPONSE_CANCEL);
  pWinUI->m_errorRequests.End(GTK_RESPONSE_CANCEL);
}

void YraUIThread::AnswerTheRest(YraWinUI* pWinUI) {
  while (g_source_remove_by_user_data(pWinUI)) {
  }
  pWinUI->m_fileRequests.EndAll(GTK_RESPONSE_CANCEL);
  pWinUI->m_directoryRequests.EndAll(GTK_RESPONSE_CANCEL);
}

int YraThreadDestorySelfSignalIdleFunc(void* data) {
  TRACE_INFO("Will callback gtk_main_quit...(0x%x)", TraceAddress(data));
  const GdkLock lock;
  if (data != nullptr) YraUIThread::EndDialogs(static_cast<YraWinUI*>(data));
  gtk_main_quit();
  return FALSE;
}
