// The window that shows how far a transfer has come.
#include <algorithm>
#include <utility>

#include "common/libs/kvolocalise/messages.h"
#include "dialogs/YraDialogs.h"
#include "dialogs/YraProgressText.h"
#include "dialogs/YraProgressWindow.h"
#include "ui/YraInside.h"

namespace {

void ClearFlags(YraWinUI* pWinUI) {
  pWinUI->YraSetProgressBarPauseStatus(false);
  pWinUI->YraSetProgressBarCancelStatus(false);
}

// ---- Callbacks ---------------------------------------------------------------------------------

unsigned int Report(unsigned int event, unsigned int status, unsigned int fileContext) {
  const GdkUnlock unlock;
  return YraCallbackYraNotify(event, 7, status, fileContext, nullptr);
}

void YraPogressBarDiagButtonPauseCallback(GtkWidget* widget, void* data) {
  const WinTrace trace;
  auto* pWinUI = static_cast<YraWinUI*>(data);
  if (pWinUI == nullptr) {
    TRACE_ERROR(trace, "data (%p) is NULL.", data);
    trace.Out();
    return;
  }
  // In this order, which their own lines show.
  const void* pWin = pWinUI->YraGetWinUIWidget();
  const void* pBar = pWinUI->YraGetProgressBarDiag();
  const void* pPause = pWinUI->YraGetProgressBarPauseButton();
  const void* pCancel = pWinUI->YraGetProgressBarCancelButton();
  TRACE_VERBOSE(trace,
                "widget=0x%x, Win=0x%x, ProgressBar=0x%x, ProgressBarPauseButton=0x%x, "
                "ProgressBarCancelButton=0x%x.",
                TraceAddress(widget), TraceAddress(pWin), TraceAddress(pBar), TraceAddress(pPause),
                TraceAddress(pCancel));
  const unsigned int fileContext = YraWinUI::Inside::Of(pWinUI).Progress().fileContext;
  const bool paused = pWinUI->YraGetProgressBarPauseStatus();
  TRACE_VERBOSE(trace, "Will notify VC, current bIsPause=%s, statusCode=%u, fileContext=%u.",
                TraceBool(paused), 0U, fileContext);
  const unsigned int ret = paused
                               ? Report(YRAFT_NOTIFY_RESUME, YRAFT_OPT_STATUS_RESUMED, fileContext)
                               : Report(YRAFT_NOTIFY_PAUSE, YRAFT_OPT_STATUS_PAUSED, fileContext);
  pWinUI->YraSetProgressBarPauseStatus(!paused);
  trace.Try([&] {
    const std::string label = YraText(paused ? YRAFT_ENG_BUTTON_PAUSE : YRAFT_ENG_BUTTON_RESUME);
    gtk_button_set_label(GTK_BUTTON(widget), label.c_str());
  });
  trace.Called("YraCallbackYraNotify", ret);
  trace.Out();
}

void YraPogressBarDiagButtonCancelCallback(GtkWidget* widget, void* data) {
  const WinTrace trace;
  TRACE_VERBOSE(trace, "widget=0x%x, data=0x%x.", TraceAddress(widget), TraceAddress(data));
  auto* pWinUI = static_cast<YraWinUI*>(data);
  if (pWinUI == nullptr) {
    TRACE_ERROR(trace, "data (%p) is NULL.", data);
    trace.Out();
    return;
  }
  trace.Called("YraCallbackYraNotify", Report(YRAFT_NOTIFY_CANCEL, YRAFT_OPT_STATUS_CANCELLED,
                                              YraWinUI::Inside::Of(pWinUI).Progress().fileContext));
  pWinUI->YraSetProgressBarCancelStatus(true);
  pWinUI->YraProgressBarDiagHideDestory();
  trace.Out();
}

void YraPogressBarDiagDestoryCallback(GtkWidget* widget, void* data) {
  const WinTrace trace;
  auto* pWinUI = static_cast<YraWinUI*>(data);
  GtkWidget* pWindow = pWinUI->YraGetChildWinDiag();
  if (pWindow == nullptr) {
    TRACE_WARNING(trace, "Progress bar dialog is null.");
  } else {
    TRACE_VERBOSE(trace, "Will hide dialog...");
    gtk_widget_hide(pWindow);
  }
  ClearFlags(pWinUI);
  if (widget == pWindow) YraWinUI::Inside::Of(pWinUI).ForgetProgressWindow();
  trace.Out();
}

gboolean YraPogressBarDiagDelEventCallback(GtkWidget* widget, GdkEvent* event, void* data) {
  return YraTraceDeleteEvent(WinTrace(), KVO_LOG_VERBOSE, widget, event, data);
}

void FillWindow(YraWinUI* pWinUI, GtkWidget* pWindow, GtkWidget* pLabel, double fraction) {
  const YraProgressWidgets widgets = YraFillProgressWindow(pWindow, pLabel, fraction);
  g_signal_connect(widgets.pPause, "clicked", G_CALLBACK(YraPogressBarDiagButtonPauseCallback),
                   pWinUI);
  g_signal_connect(widgets.pCancel, "clicked", G_CALLBACK(YraPogressBarDiagButtonCancelCallback),
                   pWinUI);
  pWinUI->YraSetProgressBarDiag(widgets.pBar);
  pWinUI->YraSetProgressBarPauseButton(widgets.pPause);
  pWinUI->YraSetProgressBarCancelButton(widgets.pCancel);
}

// ---- The persistent window ---------------------------------------------------------------------

}  // namespace

unsigned int YraWinUI::YraProgressBarDiagCreate() {
  const WinTrace trace;
  if (m_pProgressBar != nullptr) {
    return trace.Refuse(YRAFT_STATUS_BAD_STATE, "Progress Bar already created.");
  }
  ClearFlags(this);
  const unsigned int ret = trace.Try([&] {
    GtkWidget* pWindow = YraBuildProgressWindow();
    YraSetChildWinDiag(pWindow);
    g_signal_connect(pWindow, "destroy", G_CALLBACK(YraPogressBarDiagDestoryCallback), this);
    g_signal_connect(pWindow, "delete-event", G_CALLBACK(YraPogressBarDiagDelEventCallback), this);
    YraShowTitle(pWindow, YraProgressTitle(trace, 0));
    GtkWidget* pLabel = YraBuildProgressLabel(YraProgressFirstLabel(trace));
    YraSetProgressBarLabel(pLabel);
    FillWindow(this, pWindow, pLabel, 0.0);
    gtk_widget_hide(pWindow);
  });
  // Nothing stays half built.
  if (ret != YRAFT_STATUS_SUCCESS && m_pChildWin != nullptr) gtk_widget_destroy(m_pChildWin);
  return trace.Ret(ret);
}

unsigned int YraWinUI::YraProgressBarDiagHideDestory() {
  const WinTrace trace;
  if (m_pChildWin != nullptr) {
    TRACE_VERBOSE(trace, "Will hide dialog...");
    gtk_widget_hide(m_pChildWin);
  }
  ClearFlags(this);
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraProgressBarDiagDestory() {
  const WinTrace trace;
  if (m_pChildWin != nullptr) {
    TRACE_VERBOSE(trace, "will callback gtk_widget_destroy destory progress bar dialog. (0x%x)",
                  TraceAddress(m_pChildWin));
    gtk_widget_destroy(m_pChildWin);
  }
  ClearFlags(this);
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

// ---- Events of the channel thread --------------------------------------------------------------

unsigned int YraWinUI::YraProgressBarDiagCreate(YRAFT_PROGRESS_BAR_INFO* pProgressBarInfo) {
  const WinTrace trace;
  if (pProgressBarInfo == nullptr) {
    return trace.RefuseNull(YRAFT_STATUS_INVALID_PARAM, "pProgressBarInfo");
  }
  YraSetProgressBarInfo(pProgressBarInfo);
  ClearFlags(this);
  g_idle_add(YraProgressBarSelfSignalCreateIdleFunc, this);
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

namespace {

void TraceFigures(WinTrace trace, const char* whose, const YRAFT_PROGRESS_BAR_INFO& info) {
  TRACE_VERBOSE(trace,
                "%s ProgressBarInfo: evtType=%u, fileContext=%u, filesNum=%u, fileOffset=%u, "
                "fileSize=%u, name[%.520s], pProgressBarWin=0x%x.",
                whose, info.evtType, info.fileContext, info.filesNum, info.fileOffset,
                info.fileSize, info.name, static_cast<unsigned int>(info.pProgressBarWin));
}

}  // namespace

unsigned int YraWinUI::YraProgressBarDiagRefresh(YRAFT_PROGRESS_BAR_INFO* pProgressBarInfo) {
  const WinTrace trace;
  if (pProgressBarInfo == nullptr) {
    return trace.RefuseNull(YRAFT_STATUS_INVALID_PARAM, "pProgressBarInfo", "null");
  }
  const YRAFT_PROGRESS_BAR_INFO before = m_pInside->RefreshProgress(*pProgressBarInfo);
  TraceFigures(trace, "Local", before);
  TraceFigures(trace, "Refresh", *pProgressBarInfo);
  if (before.fileContext != pProgressBarInfo->fileContext ||
      before.fileSize != pProgressBarInfo->fileSize) {
    TRACE_WARNING(trace, "Current file is not correct with refresh file.");
  }
  m_pInside->progressIsNews = true;
  g_idle_add(YraProgressBarSelfSignalRefreshIdleFunc, this);
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

namespace {

// The window of a create event, built anew where the window manager destroyed the last one.
unsigned int TakeWindow(WinTrace trace, YraWinUI* pWinUI) {
  if (pWinUI->YraGetChildWinDiag() == nullptr && pWinUI->YraGetProgressBarDiag() != nullptr) {
    TRACE_ERROR(trace, "callback YraGetChildWinDiag get dialog is null.");
    return YRAFT_OPT_STATUS_FAILED;
  }
  if (pWinUI->YraGetProgressBarDiag() == nullptr) {
    TRACE_WARNING(trace, "Progress bar dialog no created.");
    if (trace.Called("YraProgressBarDiagCreate", pWinUI->YraProgressBarDiagCreate()) !=
        YRAFT_STATUS_SUCCESS) {
      return YRAFT_OPT_STATUS_FAILED;
    }
  }
  if (!trace.Got("YraGetProgressBarLabel get dialog", pWinUI->YraGetProgressBarLabel()) ||
      !trace.Got("YraGetProgressBarPauseButton get pause button",
                 pWinUI->YraGetProgressBarPauseButton()) ||
      !trace.Got("YraRWGet get RW", pWinUI->YraRWGet())) {
    return YRAFT_OPT_STATUS_FAILED;
  }
  return YRAFT_OPT_STATUS_SUCCESS;
}

// ---- Between two files
//
// The window of a complete file goes a little later than the file: where the next one begins at
// once, it stays, and neither flashes nor jumps.

int HideIdleFunc(void* data) {
  auto* pWinUI = static_cast<YraWinUI*>(data);
  const GdkLock lock;
  YraWinUI::Inside& inside = YraWinUI::Inside::Of(pWinUI);
  inside.hiding = 0;
  GtkWidget* pWindow = inside.ProgressWindow();
  if (pWindow != nullptr) gtk_widget_hide(pWindow);
  return FALSE;
}

void HideSoon(YraWinUI* pWinUI) {
  constexpr unsigned int kDelay = 200;  // milliseconds
  YraWinUI::Inside& inside = YraWinUI::Inside::Of(pWinUI);
  if (inside.hiding == 0) inside.hiding = g_timeout_add(kDelay, HideIdleFunc, pWinUI);
}

void KeepShown(YraWinUI* pWinUI) {
  YraWinUI::Inside& inside = YraWinUI::Inside::Of(pWinUI);
  if (inside.hiding != 0) g_source_remove(std::exchange(inside.hiding, 0));
}

unsigned int ShowForFile(WinTrace trace, YraWinUI* pWinUI) {
  const unsigned int status = TakeWindow(trace, pWinUI);
  if (status != YRAFT_OPT_STATUS_SUCCESS) return status;
  ClearFlags(pWinUI);
  KeepShown(pWinUI);
  const YRAFT_PROGRESS_BAR_INFO info = YraWinUI::Inside::Of(pWinUI).Progress();
  YraWinUI::Inside::TraceProgress(trace, info);
  GtkWidget* pWindow = pWinUI->YraGetChildWinDiag();
  // A window of the batch stays where the user has put it.
  gtk_window_set_position(GTK_WINDOW(pWindow), gtk_widget_get_visible(pWindow)
                                                   ? GTK_WIN_POS_NONE
                                                   : GTK_WIN_POS_CENTER_ALWAYS);
  const YraProgress progress = YraProgressOf(trace, info);
  const std::string title = YraProgressTitle(trace, progress.percent);
  TRACE_VERBOSE(trace, "Title=[%s].", title.c_str());
  YraShowTitle(pWindow, title);
  YraShowFraction(pWinUI->YraGetProgressBarDiag(), progress.fraction);
  const std::string label = YraProgressLabel(trace, info);
  YraShowLabel(pWinUI->YraGetProgressBarLabel(), label);
  TRACE_VERBOSE(trace, "Create label [%s].", label.c_str());
  gtk_button_set_label(GTK_BUTTON(pWinUI->YraGetProgressBarPauseButton()),
                       YraText(YRAFT_ENG_BUTTON_PAUSE).c_str());
  TRACE_VERBOSE(trace, "will show dialog...");
  YraFitToTexts(pWindow);
  if (!gtk_widget_get_visible(pWindow)) YraShowAside(pWindow);
  // Whether this file is complete already is for the refreshes that wait behind to find.
  YraWinUI::Inside::Of(pWinUI).progressIsNews = true;
  return YRAFT_OPT_STATUS_SUCCESS;
}

unsigned int ShowFigures(WinTrace trace, YraWinUI* pWinUI) {
  GtkWidget* pWindow = pWinUI->YraGetChildWinDiag();
  GtkWidget* pBar = pWinUI->YraGetProgressBarDiag();
  GtkWidget* pLabel = pWinUI->YraGetProgressBarLabel();
  if (pWindow == nullptr || pBar == nullptr || pLabel == nullptr) {
    TRACE_ERROR(trace, "%s",
                pWindow == nullptr ? "pChildWin is null."
                : pBar == nullptr  ? "Progress Bar dialog is null."
                                   : "pProgressBarLabel is null.");
    if (pWindow != nullptr) {
      TRACE_VERBOSE(trace, "Will hide dialog...");
      gtk_widget_hide(pWindow);
    }
    return YRAFT_OPT_STATUS_FAILED;
  }
  const YRAFT_PROGRESS_BAR_INFO info = YraWinUI::Inside::Of(pWinUI).Progress();
  const YraProgress progress = YraProgressOf(trace, info);
  YraShowTitle(pWindow, YraProgressTitle(trace, progress.percent));
  const std::string label = YraProgressLabel(trace, info);
  YraShowLabel(pLabel, label);
  TRACE_VERBOSE(trace, "Refresh label [%s].", label.c_str());
  const double old = gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(pBar));
  TRACE_VERBOSE(trace, "fileOffset=%u, fileSize=%u, name[%.520s].", info.fileOffset, info.fileSize,
                info.name);
  TRACE_VERBOSE(trace, "precent double=%lf, int=%d, old double=%lf.", progress.fraction,
                progress.percent, old);
  if (old < 1.0 && progress.fraction < 1.0) {
    TRACE_VERBOSE(trace, "will be set precent double=%lf, old double=%lf.", progress.fraction, old);
    YraShowFraction(pBar, std::max(old, progress.fraction));
  } else {
    YraShowFraction(pBar, progress.fraction);
    TRACE_VERBOSE(trace, "File transfer completed, will colse this progress bar.");
    HideSoon(pWinUI);
  }
  return YRAFT_OPT_STATUS_SUCCESS;
}

// Runs one step of the UI thread on the object, if there is one, and traces how it ended.
int RunStep(WinTrace trace, void* data, unsigned int (*step)(WinTrace, YraWinUI*)) {
  unsigned int statusCode = YRAFT_OPT_STATUS_NO_UI;
  if (data == nullptr) {
    TRACE_ERROR(trace, "data (%p) is NULL.", data);
  } else {
    const GdkLock lock;
    const unsigned int ret =
        trace.Try([&] { statusCode = step(trace, static_cast<YraWinUI*>(data)); });
    if (ret != YRAFT_STATUS_SUCCESS) statusCode = YRAFT_OPT_STATUS_FAILED;
  }
  TRACE_VERBOSE(trace, "CHOOSE_END: statusCode=0x%x.", statusCode);
  trace.Out();
  return FALSE;
}

}  // namespace

int YraProgressBarSelfSignalCreateIdleFunc(void* data) {
  return RunStep(WinTrace(), data, ShowForFile);
}

int YraProgressBarSelfSignalRefreshIdleFunc(void* data) {
  // In a burst of refreshes the first one shows the latest figures. The others find nothing new and
  // have only their lines to write.
  const bool news =
      data == nullptr ||
      YraWinUI::Inside::Of(static_cast<YraWinUI*>(data)).progressIsNews.exchange(false);
  if (!news && !WinTrace::Admits(KVO_LOG_VERBOSE)) return FALSE;
  return RunStep(WinTrace(), data, ShowFigures);
}

// ---- One call, one window ----------------------------------------------------------------------

unsigned int YraWinUI::YraProgressBarDiagCreate(int argc, char** argv,
                                                YRAFT_PROGRESS_BAR_INFO* pInfo) {
  const WinTrace trace;
  ClearFlags(this);
  if (pInfo == nullptr) {
    return trace.Refuse(YRAFT_STATUS_INVALID_PARAM, "pProgressBarInfo is null.");
  }
  if (m_pProgressBar != nullptr) {
    return trace.Refuse(YRAFT_STATUS_BAD_STATE, "Progress Bar already created.");
  }
  TRACE_VERBOSE(trace, "filesNum = %d", pInfo->filesNum);
  m_progressBarInfo = *pInfo;
  if (!YraCall::Start(trace, argc, argv)) return trace.Ret(YRAFT_OPT_STATUS_FAILED);
  unsigned int ret = trace.Try([&] {
    const GdkLock lock;
    const YraProgress progress = YraProgressOf(trace, *pInfo);
    YraSetWinUIWidget(YraBuildProgressWindow());
    YraShowTitle(m_pWin, YraProgressTitle(trace, progress.percent));
    g_signal_connect(m_pWin, "destroy", G_CALLBACK(gtk_widget_destroyed), &m_pWin);
    FillWindow(this, m_pWin, YraBuildProgressLabel(YraProgressCallLabel(*pInfo)),
               progress.fraction);
    YraFitToTexts(m_pWin);
    YraShowAside(m_pWin);
  });
  if (ret != YRAFT_STATUS_SUCCESS) return trace.Ret(ret);
  TRACE_VERBOSE(trace, "Will notify VC, statusCode=%u.", 0U);
  ret = trace.Called(
      "YraCallbackYraNotify",
      YraCallbackYraNotify(YRAFT_NOTIFY_PROGRESS_BAR, 7, YRAFT_OPT_STATUS_SUCCESS, 0, this));
  // The host may have destroyed the window by now.
  YraCall().RunUntilDestroyed(&m_pWin);
  m_pInside->ForgetProgressWindow();
  return trace.Ret(ret);
}
