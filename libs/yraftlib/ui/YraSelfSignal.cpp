// The one-way channel from the host's channel thread into the UI thread.
//
// A handler runs in the thread that sends the signal. It hands the request's record over, queues
// the idle function that serves it in the UI thread, and releases the record; it never waits for a
// user.
#include "ui/YraSelfSignal.h"

#include <atomic>
#include <cstdlib>

#include "ui/YraInside.h"
#include "yrafiletransfer.h"

namespace {

// ---- Who sends, and who serves -----------------------------------------------------------------

// The UI whose channel is open. It takes itself away before it looks for senders, and a sender
// counts itself in before it looks for the UI: one of them sees the other.
std::atomic<YraSelfSignals*> g_pServing{nullptr};
std::atomic<int> g_senders{0};
std::atomic<bool> g_registered{false};

// Keeps the UI that is sent to from going away.
class Sender {
 public:
  Sender() : m_pOuter(t_pInnermost) {
    t_pInnermost = this;
    ++g_senders;
  }
  ~Sender() {
    Leave();
    t_pInnermost = m_pOuter;
  }
  Sender(const Sender&) = delete;
  Sender& operator=(const Sender&) = delete;

  // Before the host is called, which may wait for the UI's end.
  static void LeaveUI() {
    if (t_pInnermost != nullptr) t_pInnermost->Leave();
  }

 private:
  void Leave() {
    if (m_counted && --g_senders == 0) g_senders.notify_all();
    m_counted = false;
  }

  static thread_local Sender* t_pInnermost;
  Sender* m_pOuter;  // a host may send from its notify function
  bool m_counted = true;
};

thread_local Sender* Sender::t_pInnermost = nullptr;

// ---- Handlers ----------------------------------------------------------------------------------

void TraceArguments(UiTrace trace, int level, void* pSignalObj, unsigned int evtType,
                    unsigned int key, void* pInput, void* pWinObj) {
  TRACE_AT(trace, level, "pSignalObj=0x%x, evtType=%d, key=%d, pInput=0x%x, pWinObj=0x%x.",
           TraceAddress(pSignalObj), static_cast<int>(evtType), static_cast<int>(key),
           TraceAddress(pInput), TraceAddress(pWinObj));
}

bool HaveBoth(UiTrace trace, void* pInput, void* pWinObj) {
  if (pInput != nullptr && pWinObj != nullptr) return true;
  TRACE_ERROR(trace, "pInput (%p) or pWinObj (%p) is null.", pInput, pWinObj);
  return false;
}

// Tells the host that its request will not be served.
void Refuse(UiTrace trace, unsigned int event, unsigned int subCode) {
  TRACE_VERBOSE(trace, "Will notify to VC from UI. (0x%x)", YRAFT_OPT_STATUS_FAILED);
  Sender::LeaveUI();
  trace.Called("YraCallbackYraNotify",
               YraCallbackYraNotify(event, subCode, YRAFT_OPT_STATUS_FAILED, 0, nullptr));
}

int YraChooseFilesSelfSignalCallback(void* pSignalObj, unsigned int evtType, unsigned int key,
                                     void* pInput, void* pWinObj) {
  const UiTrace trace;
  TraceArguments(trace, KVO_LOG_VERBOSE, pSignalObj, evtType, key, pInput, pWinObj);
  if (!HaveBoth(trace, pInput, pWinObj) ||
      trace.Called("YraChooseFilesDiagCreate",
                   static_cast<YraWinUI*>(pWinObj)->YraChooseFilesDiagCreate(
                       static_cast<YRAFT_THRESHOLD_INFO*>(pInput))) != YRAFT_STATUS_SUCCESS) {
    Refuse(trace, YRAFT_NOTIFY_CHOOSE_FILES, 7);
  }
  std::free(pInput);
  return static_cast<int>(trace.Ret(YRAFT_STATUS_SUCCESS));
}

int YraChooseDirectorySelfSignalCallback(void* pSignalObj, unsigned int evtType, unsigned int key,
                                         void* pInput, void* pWinObj) {
  const UiTrace trace;
  TraceArguments(trace, KVO_LOG_VERBOSE, pSignalObj, evtType, key, pInput, pWinObj);
  if (!HaveBoth(trace, pInput, pWinObj) ||
      trace.Called("YraChooseDirectoryDiagCreate",
                   static_cast<YraWinUI*>(pWinObj)->YraChooseDirectoryDiagCreate(
                       static_cast<YRAFT_FILEINFO_ITEM*>(pInput))) != YRAFT_STATUS_SUCCESS) {
    Refuse(trace, YRAFT_NOTIFY_CHOOSE_DIRECTORY, 7);
  }
  std::free(pInput);
  return static_cast<int>(trace.Ret(YRAFT_STATUS_SUCCESS));
}

const char* ProgressEventName(unsigned int evtType) {
  constexpr const char* kNames[] = {"Unknown", "ProgressBar Create", "ProgressBar Refresh",
                                    "ProgressBar Close"};
  return kNames[evtType <= YRAFT_PROGRESS_CLOSE ? evtType : 0];
}

int YraProgressBarSelfSignalCloseIdleFunc(void* data) {
  const GdkLock lock;
  static_cast<YraWinUI*>(data)->YraProgressBarDiagHideDestory();
  return FALSE;
}

// Answers false when the host has to hear that the event went nowhere.
bool DispatchProgress(UiTrace trace, YraWinUI& winUI, unsigned int evtType,
                      YRAFT_PROGRESS_BAR_INFO* pInfo) {
  switch (evtType) {
    case YRAFT_PROGRESS_CREATE:
      return trace.Called("YraProgressBarDiagCreate", winUI.YraProgressBarDiagCreate(pInfo)) ==
             YRAFT_STATUS_SUCCESS;
    case YRAFT_PROGRESS_REFRESH:
      trace.Called("YraProgressBarDiagRefresh", winUI.YraProgressBarDiagRefresh(pInfo));
      return true;
    case YRAFT_PROGRESS_CLOSE:
      // The flags fall at once; the window is the UI thread's to hide.
      winUI.YraSetProgressBarPauseStatus(false);
      winUI.YraSetProgressBarCancelStatus(false);
      g_idle_add(YraProgressBarSelfSignalCloseIdleFunc, &winUI);
      return true;
    default:
      TRACE_ERROR(trace, "Unknown event type from VC thread.(0x%x)", evtType);
      return true;
  }
}

int YraProgressBarSelfSignalCallback(void* pSignalObj, unsigned int evtType, unsigned int key,
                                     void* pInput, void* pWinObj) {
  const UiTrace trace;
  TRACE_VERBOSE(trace, "pSignalObj=0x%x, evtType=%s, key=%d, pInput=0x%x, pWinObj=0x%x.",
                TraceAddress(pSignalObj), ProgressEventName(evtType), static_cast<int>(key),
                TraceAddress(pInput), TraceAddress(pWinObj));
  const bool refused = !HaveBoth(trace, pInput, pWinObj) ||
                       !DispatchProgress(trace, *static_cast<YraWinUI*>(pWinObj), evtType,
                                         static_cast<YRAFT_PROGRESS_BAR_INFO*>(pInput));
  TRACE_VERBOSE(trace, "bIsResp=%s.", TraceBool(refused));
  if (refused) Refuse(trace, YRAFT_NOTIFY_PROGRESS_BAR, 15);
  std::free(pInput);
  return static_cast<int>(trace.Ret(YRAFT_STATUS_SUCCESS));
}

int YraErrorMessageSelfSignalCallback(void* pSignalObj, unsigned int evtType, unsigned int key,
                                      void* pInput, void* pWinObj) {
  const UiTrace trace(KVO_LOG_INFO);
  TraceArguments(trace, KVO_LOG_INFO, pSignalObj, evtType, key, pInput, pWinObj);
  trace.Called("YraErrorMessageDiagCreate",
               static_cast<YraWinUI*>(pWinObj)->YraErrorMessageDiagCreate(
                   static_cast<YRAFT_ERROR_MESSAGE_INFO*>(pInput)));
  TRACE_VERBOSE(trace, "[%s] Out.", kLayerUi.tag);
  return 0;
}

int YraThreadDestorySelfSignalIdleFunc(void* data) {
  TRACE_INFO(KvoTracer<KVO_CLASS_YRAFT_WIN>(), "Will callback gtk_main_quit...(0x%x)",
             TraceAddress(data));
  const GdkLock lock;
  YraWinUI::Inside::Of(static_cast<YraWinUI*>(data)).Quit();
  return FALSE;
}

int YraThreadDestorySelfSignalCallback(void* pSignalObj, unsigned int evtType, unsigned int key,
                                       void* pInput, void* pWinObj) {
  const UiTrace trace;
  TraceArguments(trace, KVO_LOG_VERBOSE, pSignalObj, evtType, key, pInput, pWinObj);
  GtkWidget* pMainWin = static_cast<YraWinUI*>(pWinObj)->YraGetWinUIWidget();
  if (pMainWin == nullptr) {
    TRACE_ERROR(trace, "callback YraGetWinUIWidget failed.");
    return 0;
  }
  TRACE_VERBOSE(trace, "pMainWinDiag=0x%x.", TraceAddress(pMainWin));
  g_idle_add(YraThreadDestorySelfSignalIdleFunc, pWinObj);
  trace.Out();
  return 0;
}

// ---- The signals -------------------------------------------------------------------------------

struct Description {
  const char* type;  // as the log knows it
  const char* name;  // as GObject knows it
  GCallback handler;
};

// By signal type.
const Description kDescriptions[YRAFT_UI_SIGNAL_MAX] = {
    {"Unknown", nullptr, nullptr},
    {"YRAFT_UI_SIGNAL_SELECT_FLIES", "yraft-signal-select-files",
     G_CALLBACK(YraChooseFilesSelfSignalCallback)},
    {"YRAFT_UI_SIGNAL_SELECT_DIR", "yraft-signal-select-dir",
     G_CALLBACK(YraChooseDirectorySelfSignalCallback)},
    {"YRAFT_UI_SIGNAL_PROGRESS_BAR", "yraft-signal-progress-bar",
     G_CALLBACK(YraProgressBarSelfSignalCallback)},
    {"YRAFT_UI_SIGNAL_MESSAGE", "yraft-signal-error-message",
     G_CALLBACK(YraErrorMessageSelfSignalCallback)},
    {"YRAFT_UI_SIGNAL_THREAD_DESTORY", "yraft-signal-thread-destory",
     G_CALLBACK(YraThreadDestorySelfSignalCallback)},
};

bool IsSignal(int signalType) {
  return signalType > YRAFT_UI_SIGNAL_INIT && signalType < YRAFT_UI_SIGNAL_MAX;
}

// Names on the base type exist once a process: a later UI finds the first one's ids.
unsigned int IdOf(const char* name) {
  const unsigned int id = g_signal_lookup(name, G_TYPE_OBJECT);
  if (id != 0) return id;
  return g_signal_new(name, G_TYPE_OBJECT, G_SIGNAL_RUN_LAST, 0, nullptr, nullptr, nullptr,
                      G_TYPE_NONE, 3, G_TYPE_INT, G_TYPE_INT, G_TYPE_POINTER);
}

}  // namespace

bool YraSelfSignals::Register() {
  if (g_registered.exchange(true)) return false;
  m_registered = true;
  for (int i = YRAFT_UI_SIGNAL_SELECT_FLIES; i < YRAFT_UI_SIGNAL_MAX; ++i) {
    m_signals[i].pSignalObj = G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr));
    m_signals[i].signalId = IdOf(kDescriptions[i].name);
  }
  return true;
}

void YraSelfSignals::Open(YraWinUI* pWinUI, YRAFT_SELF_SIGNAL* pTable) {
  for (int i = YRAFT_UI_SIGNAL_SELECT_FLIES; i < YRAFT_UI_SIGNAL_MAX; ++i) {
    m_signals[i].handlerId = g_signal_connect(m_signals[i].pSignalObj, kDescriptions[i].name,
                                              kDescriptions[i].handler, pWinUI);
  }
  m_pTable = pTable;
  g_pServing = this;
  for (int i = YRAFT_UI_SIGNAL_SELECT_FLIES; i < YRAFT_UI_SIGNAL_MAX; ++i) {
    // The table's own reference, which is never given back.
    pTable->entries[i].pSignalObj = g_object_ref(m_signals[i].pSignalObj);
    __atomic_store_n(&pTable->entries[i].signalId, m_signals[i].signalId, __ATOMIC_RELEASE);
  }
}

void YraSelfSignals::Close() {
  if (!m_registered) return;
  g_pServing = nullptr;
  for (int senders = g_senders; senders != 0; senders = g_senders) g_senders.wait(senders);
  for (Signal& signal : m_signals) {
    if (signal.handlerId != 0) g_signal_handler_disconnect(signal.pSignalObj, signal.handlerId);
    if (signal.pSignalObj != nullptr) g_object_unref(signal.pSignalObj);
    signal = {};
  }
  m_registered = false;
  g_registered = false;
}

unsigned int YraSendSelfSignal(void* pSelfSignal, int signalType, int evtType, int key,
                               void* pInput) {
  const LibTrace trace;
  TRACE_VERBOSE(trace, "pSelfSignal=0x%x, signalType=%s, evtType=%d, key=%d, pInput=0x%x.",
                TraceAddress(pSelfSignal),
                kDescriptions[IsSignal(signalType) ? signalType : YRAFT_UI_SIGNAL_INIT].type,
                evtType, key, TraceAddress(pInput));
  if (pSelfSignal == nullptr) {
    TRACE_WARNING(trace, "pSelfSignal is NULL.");
    return trace.Ret(YRAFT_STATUS_INVALID_PARAM);
  }
  if (!IsSignal(signalType)) {
    TRACE_WARNING(trace, "signal %d is invaild.", signalType);
    return trace.Ret(YRAFT_STATUS_INVALID_PARAM);
  }
  const Sender sender;
  const YraSelfSignals* pServing = g_pServing;
  if (pServing == nullptr || pServing->m_pTable != pSelfSignal) {
    TRACE_WARNING(trace, "pSelfSignal (%p) reaches no UI.", pSelfSignal);
    return trace.Ret(YRAFT_STATUS_BAD_STATE);
  }
  const YraSelfSignals::Signal signal = pServing->m_signals[signalType];
  TRACE_VERBOSE(KvoTracer<KVO_CLASS_YRAFT_VC>(), "SignalObj=0x%x, signalID=%d.",
                TraceAddress(signal.pSignalObj), static_cast<int>(signal.signalId));
  g_signal_emit(signal.pSignalObj, signal.signalId, 0, evtType, key, pInput);
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}
