// The window that shows how far a transfer has come.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

#include "YraDialog.h"
#include "YraNotify.h"
#include "common/libs/kvolocalise/format.h"
#include "common/libs/kvolocalise/messages.h"
#include "kvolocalise.h"

namespace {

constexpr TraceLayer kLayer = kLayerWin;

constexpr std::size_t kTitleSize = 260;  // bytes of a text, its NUL included
constexpr std::size_t kLabelSize = 360;
constexpr std::size_t kWordSize = 20;

// A name as long as a file system allows must not push the window off the screen.
constexpr int kLabelMaxChars = 48;
constexpr int kWidth = 350;  // pixels
constexpr int kMaxWidth = 480;
constexpr int kHeight = 120;

// ---- Texts and figures -------------------------------------------------------------------------

struct Progress {
  double fraction;
  int percent;
};

Progress ProgressOf(const YRAFT_PROGRESS_BAR_INFO& info) {
  // An empty file has arrived as soon as it is named.
  const double fraction = info.fileSize == 0 ? 1.0
                                             : static_cast<double>(info.fileOffset) /
                                                   static_cast<double>(info.fileSize);
  constexpr double kMax = std::numeric_limits<int>::max();
  const int percent = static_cast<int>(std::min(100.0 * fraction, kMax));
  TRACE_VERBOSE("percent double is %lf and int is %d.", fraction, percent);
  return {fraction, percent};
}

// A catalog's text as the format of the arguments that `kinds` names. A text that takes others is
// never used as a format: the built-in one stands in, and the log hears of it once.
const char* FormatFor(int number, const char* kinds, const char* builtIn, std::atomic<bool>& told) {
  const char* pText = KvoLocalise(number);
  if (KvoLocaliseFormatFits(pText, kinds)) return pText;
  if (!told.exchange(true)) {
    TRACE_ERROR("text of message 0x%x does not take its arguments.", static_cast<unsigned>(number));
  }
  return builtIn;
}

// The one place where a catalog's text is a format; it was held against its arguments.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

std::string TitleText(int percent) {
  static std::atomic<bool> told{false};
  const char* pFormat = FormatFor(YRAFT_ENG_PROGRESSBAR_TITLE, "d", "File transfer: %d%%", told);
  char title[kTitleSize];
  snprintf(title, sizeof(title), pFormat, percent);
  return YraCutText(YraValidText(title), kTitleSize - 1);
}

std::string LabelText(const std::string& word, int number, int count, const std::string& name) {
  static std::atomic<bool> told{false};
  const char* pFormat = FormatFor(YRAFT_ENG_PROGRESSBAR_LABEL, "sdds", "%s%d of %d\n%s", told);
  // Room for the whole text: it is cut where a character ends, not where a buffer does.
  char label[4 * kLabelSize];
  snprintf(label, sizeof(label), pFormat, word.c_str(), number, count, name.c_str());
  return YraCutText(YraValidText(label), kLabelSize - 1);
}

#pragma GCC diagnostic pop

std::string OperationWord(uint32_t operation) {
  int number = YRAFT_ENG_TRANSFER_FILE;
  if (operation == YRAFT_OPERATION_DOWNLOAD) number = YRAFT_ENG_TRANSFER_DOWNLOAD;
  if (operation == YRAFT_OPERATION_UPLOAD) number = YRAFT_ENG_TRANSFER_UPLOAD;
  return YraCutText(YraText(number), kWordSize - 1);
}

std::string FileName(const YRAFT_PROGRESS_BAR_INFO& info) {
  std::string path(info.name, strnlen(info.name, sizeof(info.name)));
  // A line feed in a name is no second line.
  for (char& c : path) {
    if (g_ascii_iscntrl(c)) c = '?';
  }
  return YraValidText(Yraft_GetFileNameFromFilePath(path.c_str(), '/'));
}

std::string LabelOf(const YRAFT_PROGRESS_BAR_INFO& info) {
  return LabelText(OperationWord(info.fileTransferOperation), info.fileContext + 1, info.filesNum,
                   FileName(info));
}

// ---- Widgets -----------------------------------------------------------------------------------

// Each setter leaves a widget alone that shows the value already: a burst of events repeats itself.
void ShowTitle(GtkWidget* pWindow, const std::string& title) {
  const char* pShown = gtk_window_get_title(GTK_WINDOW(pWindow));
  if (pShown == nullptr || title != pShown)
    gtk_window_set_title(GTK_WINDOW(pWindow), title.c_str());
}

void ShowLabel(GtkWidget* pLabel, const std::string& text) {
  if (text != gtk_label_get_text(GTK_LABEL(pLabel))) {
    gtk_label_set_text(GTK_LABEL(pLabel), text.c_str());
  }
}

// The toolkit refuses a fraction above 1.0, with a complaint, and would leave the bar where it was.
void ShowFraction(GtkWidget* pBar, double fraction) {
  fraction = std::min(fraction, 1.0);
  if (gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(pBar)) != fraction) {
    gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(pBar), fraction);
  }
}

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
  TRACE_IN();
  auto* pWinUI = static_cast<YraWinUI*>(data);
  if (pWinUI == nullptr) {
    TRACE_ERROR("data (%p) is NULL.", data);
    return;
  }
  TRACE_VERBOSE(
      "widget=0x%x, Win=0x%x, ProgressBar=0x%x, ProgressBarPauseButton=0x%x, "
      "ProgressBarCancelButton=0x%x.",
      TraceAddress(widget), TraceAddress(pWinUI->YraGetWinUIWidget()),
      TraceAddress(pWinUI->YraGetProgressBarDiag()),
      TraceAddress(pWinUI->YraGetProgressBarPauseButton()),
      TraceAddress(pWinUI->YraGetProgressBarCancelButton()));
  const unsigned int fileContext = YraUIThread::Progress(pWinUI).fileContext;
  const bool paused = pWinUI->YraGetProgressBarPauseStatus();
  TRACE_VERBOSE("Will notify VC, current bIsPause=%s, statusCode=%u, fileContext=%u.",
                TraceBool(paused), 0U, fileContext);
  const unsigned int ret = paused
                               ? Report(YRAFT_NOTIFY_RESUME, YRAFT_OPT_STATUS_RESUMED, fileContext)
                               : Report(YRAFT_NOTIFY_PAUSE, YRAFT_OPT_STATUS_PAUSED, fileContext);
  pWinUI->YraSetProgressBarPauseStatus(!paused);
  gtk_button_set_label(GTK_BUTTON(widget),
                       YraText(paused ? YRAFT_ENG_BUTTON_PAUSE : YRAFT_ENG_BUTTON_RESUME).c_str());
  if (ret != YRAFT_STATUS_SUCCESS) TRACE_FAILED("YraCallbackYraNotify", ret);
  TRACE_OUT();
}

void YraPogressBarDiagButtonCancelCallback([[maybe_unused]] GtkWidget* widget, void* data) {
  TRACE_IN();
  TRACE_VERBOSE("widget=0x%x, data=0x%x.", TraceAddress(widget), TraceAddress(data));
  auto* pWinUI = static_cast<YraWinUI*>(data);
  if (pWinUI == nullptr) {
    TRACE_ERROR("data (%p) is NULL.", data);
    return;
  }
  const unsigned int ret = Report(YRAFT_NOTIFY_CANCEL, YRAFT_OPT_STATUS_CANCELLED,
                                  YraUIThread::Progress(pWinUI).fileContext);
  if (ret != YRAFT_STATUS_SUCCESS) TRACE_FAILED("YraCallbackYraNotify", ret);
  pWinUI->YraSetProgressBarCancelStatus(true);
  pWinUI->YraProgressBarDiagHideDestory();
  TRACE_OUT();
}

void YraPogressBarDiagDestoryCallback(GtkWidget* widget, void* data) {
  TRACE_IN();
  auto* pWinUI = static_cast<YraWinUI*>(data);
  if (pWinUI == nullptr) return;
  GtkWidget* pWindow = pWinUI->YraGetChildWinDiag();
  if (pWindow == nullptr) {
    TRACE_WARNING("Progress bar dialog is null.");
  } else {
    TRACE_VERBOSE("Will hide dialog...");
    gtk_widget_hide(pWindow);
  }
  ClearFlags(pWinUI);
  if (widget == pWindow) YraUIThread::ForgetProgressWindow(pWinUI);
  TRACE_OUT();
}

YRA_DELETE_EVENT_HANDLER(YraPogressBarDiagDelEventCallback, KVO_LOG_VERBOSE)

// ---- Building ----------------------------------------------------------------------------------

GtkWidget* BuildWindow(const std::string& title) {
  GtkWidget* pWindow = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  GtkWindow* pGtkWindow = GTK_WINDOW(pWindow);
  gtk_window_set_title(pGtkWindow, title.c_str());
  gtk_container_set_border_width(GTK_CONTAINER(pWindow), 10);
  gtk_window_set_deletable(pGtkWindow, FALSE);
  gtk_window_set_resizable(pGtkWindow, FALSE);
  gtk_widget_set_size_request(pWindow, kWidth, kHeight);
  gtk_window_set_modal(pGtkWindow, TRUE);
  YraStandAlone(pWindow);
  return pWindow;
}

// The window is as large as it asked to be where that holds its texts; a script or a font that
// takes more gets what it takes.
void FitToTexts(GtkWidget* pWindow) {
  GtkRequisition texts;
  gtk_widget_size_request(gtk_bin_get_child(GTK_BIN(pWindow)), &texts);
  const int borders = 2 * static_cast<int>(gtk_container_get_border_width(GTK_CONTAINER(pWindow)));
  GdkGeometry size = {};
  size.min_width = size.max_width = std::clamp(texts.width + borders, kWidth, kMaxWidth);
  size.min_height = size.max_height = std::max(texts.height + borders, kHeight);
  gtk_window_set_geometry_hints(GTK_WINDOW(pWindow), nullptr, &size,
                                static_cast<GdkWindowHints>(GDK_HINT_MIN_SIZE | GDK_HINT_MAX_SIZE));
}

// A label that may be shortened asks for the height of its own font alone, which would cut the
// lines of a script that takes another font.
void AskForTallLines(GtkWidget* pLabel, GtkRequisition* pSize, void*) {
  int height = 0;
  pango_layout_get_pixel_size(gtk_label_get_layout(GTK_LABEL(pLabel)), nullptr, &height);
  pSize->height = std::max(pSize->height, height);
}

GtkWidget* BuildLabel(const std::string& text) {
  GtkWidget* pLabel = gtk_label_new(text.c_str());
  gtk_label_set_ellipsize(GTK_LABEL(pLabel), PANGO_ELLIPSIZE_MIDDLE);
  gtk_label_set_max_width_chars(GTK_LABEL(pLabel), kLabelMaxChars);
  g_signal_connect(pLabel, "size-request", G_CALLBACK(AskForTallLines), nullptr);
  return pLabel;
}

GtkWidget* BuildBar(double fraction) {
  GtkWidget* pBar = gtk_progress_bar_new();
  gtk_progress_bar_set_orientation(GTK_PROGRESS_BAR(pBar), GTK_PROGRESS_LEFT_TO_RIGHT);
  ShowFraction(pBar, fraction);
  return pBar;
}

GtkWidget* BuildButton(int text, GCallback clicked, YraWinUI* pWinUI) {
  GtkWidget* pButton = gtk_button_new_with_label(YraText(text).c_str());
  g_signal_connect(pButton, "clicked", clicked, pWinUI);
  return pButton;
}

GtkWidget* Aligned(GtkWidget* pChild, float at) {
  GtkWidget* pAlignment = gtk_alignment_new(at, at, 0.0F, 0.0F);
  gtk_container_add(GTK_CONTAINER(pAlignment), pChild);
  return pAlignment;
}

void Pack(GtkWidget* pBox, GtkWidget* pChild) {
  gtk_box_pack_start(GTK_BOX(pBox), pChild, FALSE, FALSE, 0);
}

// Label, bar and buttons below each other; the bar and the buttons become the object's.
void FillWindow(YraWinUI* pWinUI, GtkWidget* pWindow, GtkWidget* pLabel, double fraction) {
  GtkWidget* pPause =
      BuildButton(YRAFT_ENG_BUTTON_PAUSE, G_CALLBACK(YraPogressBarDiagButtonPauseCallback), pWinUI);
  GtkWidget* pCancel = BuildButton(YRAFT_ENG_BUTTON_CANCEL,
                                   G_CALLBACK(YraPogressBarDiagButtonCancelCallback), pWinUI);
  GtkWidget* pButtons = gtk_hbox_new(FALSE, 10);
  Pack(pButtons, pPause);
  Pack(pButtons, pCancel);
  GtkWidget* pBar = BuildBar(fraction);
  GtkWidget* pColumn = gtk_vbox_new(FALSE, 5);
  Pack(pColumn, Aligned(pLabel, 0.0F));
  Pack(pColumn, pBar);
  Pack(pColumn, Aligned(pButtons, 1.0F));
  gtk_container_add(GTK_CONTAINER(pWindow), pColumn);
  gtk_widget_show_all(pColumn);
  gtk_window_set_position(GTK_WINDOW(pWindow), GTK_WIN_POS_CENTER_ALWAYS);
  pWinUI->YraSetProgressBarDiag(pBar);
  pWinUI->YraSetProgressBarPauseButton(pPause);
  pWinUI->YraSetProgressBarCancelButton(pCancel);
}

}  // namespace

void YraUIThread::ForgetProgressWindow(YraWinUI* pWinUI) {
  pWinUI->m_pChildWin = nullptr;
  pWinUI->m_pProgressBar = nullptr;
  pWinUI->m_pProgressBarLabel = nullptr;
  pWinUI->m_pProgressBarPauseButton = nullptr;
  pWinUI->m_pProgressBarCancelButton = nullptr;
}

unsigned int YraWinUI::YraProgressBarDiagCreate() {
  TRACE_IN();
  if (m_pProgressBar != nullptr) {
    TRACE_ERROR("Progress Bar already created.");
    return TRACE_RET(YRAFT_STATUS_BAD_STATE);
  }
  ClearFlags(this);
  GtkWidget* pWindow = BuildWindow(TitleText(0));
  g_signal_connect(pWindow, "destroy", G_CALLBACK(YraPogressBarDiagDestoryCallback), this);
  g_signal_connect(pWindow, "delete-event", G_CALLBACK(YraPogressBarDiagDelEventCallback), this);
  const std::string word = YraText(YRAFT_ENG_TRANSFER_FILE);
  GtkWidget* pLabel = BuildLabel(LabelText(word, 0, 0, word));
  YraSetChildWinDiag(pWindow);
  YraSetProgressBarLabel(pLabel);
  FillWindow(this, pWindow, pLabel, 0.0);
  gtk_widget_hide(pWindow);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraProgressBarDiagHideDestory() {
  TRACE_IN();
  if (m_pChildWin != nullptr) {
    TRACE_VERBOSE("Will hide dialog...");
    gtk_widget_hide(m_pChildWin);
  }
  ClearFlags(this);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

unsigned int YraWinUI::YraProgressBarDiagDestory() {
  TRACE_IN();
  if (m_pChildWin != nullptr) {
    TRACE_VERBOSE("will callback gtk_widget_destroy destory progress bar dialog. (0x%x)",
                  TraceAddress(m_pChildWin));
    gtk_widget_destroy(m_pChildWin);
  }
  ClearFlags(this);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

// ---- Events of the channel thread --------------------------------------------------------------

unsigned int YraWinUI::YraProgressBarDiagCreate(YRAFT_PROGRESS_BAR_INFO* pProgressBarInfo) {
  TRACE_IN();
  if (pProgressBarInfo == nullptr) {
    TRACE_ERROR("pProgressBarInfo (%p) is NULL.", static_cast<void*>(pProgressBarInfo));
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  YraSetProgressBarInfo(pProgressBarInfo);
  ClearFlags(this);
  g_idle_add(YraProgressBarSelfSignalCreateIdleFunc, this);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

namespace {

void TraceFigures(const char* whose, const YRAFT_PROGRESS_BAR_INFO& info, const char* kCaller) {
  TRACE_VERBOSE(
      "%s ProgressBarInfo: evtType=%u, fileContext=%u, filesNum=%u, fileOffset=%u, fileSize=%u, "
      "name[%.520s], pProgressBarWin=0x%x.",
      whose, info.evtType, info.fileContext, info.filesNum, info.fileOffset, info.fileSize,
      info.name, static_cast<unsigned int>(info.pProgressBarWin));
}

}  // namespace

unsigned int YraWinUI::YraProgressBarDiagRefresh(YRAFT_PROGRESS_BAR_INFO* pProgressBarInfo) {
  TRACE_IN();
  if (pProgressBarInfo == nullptr) {
    TRACE_ERROR("pProgressBarInfo (%p) is null.", static_cast<void*>(pProgressBarInfo));
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  const YRAFT_PROGRESS_BAR_INFO& next = *pProgressBarInfo;
  YRAFT_PROGRESS_BAR_INFO stored;
  m_progressBarInfo.Update([&](YRAFT_PROGRESS_BAR_INFO& info) {
    stored = info;
    info.evtType = next.evtType;
    info.fileOffset = next.fileOffset;
    info.filesNum = next.filesNum;
  });
  TraceFigures("Local", stored, __func__);
  TraceFigures("Refresh", next, __func__);
  if (stored.fileContext != next.fileContext || stored.fileSize != next.fileSize) {
    TRACE_WARNING("Current file is not correct with refresh file.");
  }
  m_bProgressIsNews = true;
  g_idle_add(YraProgressBarSelfSignalRefreshIdleFunc, this);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

namespace {

// The window of a create event, built anew where the window manager destroyed the last one.
unsigned int TakeWindow(YraWinUI* pWinUI) {
  if (pWinUI->YraGetChildWinDiag() == nullptr && pWinUI->YraGetProgressBarDiag() != nullptr) {
    TRACE_ERROR("callback YraGetChildWinDiag get dialog is null.");
    return YRAFT_OPT_STATUS_FAILED;
  }
  if (pWinUI->YraGetProgressBarDiag() == nullptr) {
    TRACE_WARNING("Progress bar dialog no created.");
    const unsigned int ret = pWinUI->YraProgressBarDiagCreate();
    if (ret != YRAFT_STATUS_SUCCESS) {
      TRACE_FAILED("YraProgressBarDiagCreate", ret);
      return YRAFT_OPT_STATUS_FAILED;
    }
  }
  if (pWinUI->YraGetProgressBarLabel() == nullptr) {
    TRACE_ERROR("callback YraGetProgressBarLabel get dialog is null.");
    return YRAFT_OPT_STATUS_FAILED;
  }
  if (pWinUI->YraGetProgressBarPauseButton() == nullptr) {
    TRACE_ERROR("callback YraGetProgressBarPauseButton get pause button is null.");
    return YRAFT_OPT_STATUS_FAILED;
  }
  if (pWinUI->YraRWGet() == nullptr) {
    TRACE_ERROR("callback YraRWGet get RW is null.");
    return YRAFT_OPT_STATUS_FAILED;
  }
  return YRAFT_OPT_STATUS_SUCCESS;
}

unsigned int ShowForFile(YraWinUI* pWinUI) {
  const unsigned int status = TakeWindow(pWinUI);
  if (status != YRAFT_OPT_STATUS_SUCCESS) return status;
  ClearFlags(pWinUI);
  const YRAFT_PROGRESS_BAR_INFO info = YraUIThread::Progress(pWinUI);
  TRACE_VERBOSE(
      "ProgressBarInfo: evtType=%u, fileTransferOperation=%s, fileContext=%u, filesNum=%u, "
      "fileOffset=%u, fileSize=%u, name[%.520s], pProgressBarWin=0x%x.",
      info.evtType, YraOperationName(info.fileTransferOperation), info.fileContext, info.filesNum,
      info.fileOffset, info.fileSize, info.name, static_cast<unsigned int>(info.pProgressBarWin));
  GtkWidget* pWindow = pWinUI->YraGetChildWinDiag();
  gtk_window_set_position(GTK_WINDOW(pWindow), GTK_WIN_POS_CENTER_ALWAYS);
  const Progress progress = ProgressOf(info);
  const std::string title = TitleText(progress.percent);
  TRACE_VERBOSE("Title=[%s].", title.c_str());
  ShowTitle(pWindow, title);
  ShowFraction(pWinUI->YraGetProgressBarDiag(), progress.fraction);
  const std::string label = LabelOf(info);
  ShowLabel(pWinUI->YraGetProgressBarLabel(), label);
  TRACE_VERBOSE("Create label [%s].", label.c_str());
  gtk_button_set_label(GTK_BUTTON(pWinUI->YraGetProgressBarPauseButton()),
                       YraText(YRAFT_ENG_BUTTON_PAUSE).c_str());
  TRACE_VERBOSE("will show dialog...");
  FitToTexts(pWindow);
  // The next file of a batch must not take the focus from where the user types.
  if (!gtk_widget_get_visible(pWindow)) YraShowInFront(pWindow);
  // Whether this file is complete already is for the refreshes that wait behind to find.
  YraUIThread::ProgressIsNews(pWinUI) = true;
  return YRAFT_OPT_STATUS_SUCCESS;
}

unsigned int ShowFigures(YraWinUI* pWinUI) {
  GtkWidget* pWindow = pWinUI->YraGetChildWinDiag();
  GtkWidget* pBar = pWinUI->YraGetProgressBarDiag();
  GtkWidget* pLabel = pWinUI->YraGetProgressBarLabel();
  if (pWindow == nullptr || pBar == nullptr || pLabel == nullptr) {
    TRACE_ERROR("%s", pWindow == nullptr ? "pChildWin is null."
                      : pBar == nullptr  ? "Progress Bar dialog is null."
                                         : "pProgressBarLabel is null.");
    if (pWindow != nullptr) {
      TRACE_VERBOSE("Will hide dialog...");
      gtk_widget_hide(pWindow);
    }
    return YRAFT_OPT_STATUS_FAILED;
  }
  const YRAFT_PROGRESS_BAR_INFO info = YraUIThread::Progress(pWinUI);
  const Progress progress = ProgressOf(info);
  ShowTitle(pWindow, TitleText(progress.percent));
  const std::string label = LabelOf(info);
  ShowLabel(pLabel, label);
  TRACE_VERBOSE("Refresh label [%s].", label.c_str());
  const double old = gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(pBar));
  TRACE_VERBOSE("fileOffset=%u, fileSize=%u, name[%.520s].", info.fileOffset, info.fileSize,
                info.name);
  TRACE_VERBOSE("precent double=%lf, int=%d, old double=%lf.", progress.fraction, progress.percent,
                old);
  if (old < 1.0 && progress.fraction < 1.0) {
    TRACE_VERBOSE("will be set precent double=%lf, old double=%lf.", progress.fraction, old);
    ShowFraction(pBar, std::max(old, progress.fraction));
  } else {
    ShowFraction(pBar, progress.fraction);
    TRACE_VERBOSE("File transfer completed, will colse this progress bar.");
    gtk_widget_hide(pWindow);
  }
  return YRAFT_OPT_STATUS_SUCCESS;
}

// Runs one step of the UI thread on the object, if there is one, and traces how it ended.
int RunStep(void* data, unsigned int (*step)(YraWinUI*), const char* kCaller) {
  TRACE_IN();
  unsigned int statusCode = YRAFT_OPT_STATUS_NO_UI;
  if (data == nullptr) {
    TRACE_ERROR("data (%p) is NULL.", data);
  } else if (!YraUIThread::Ending(static_cast<YraWinUI*>(data))) {
    const GdkLock lock;
    statusCode = step(static_cast<YraWinUI*>(data));
  }
  TRACE_VERBOSE("CHOOSE_END: statusCode=0x%x.", statusCode);
  TRACE_OUT();
  return FALSE;
}

}  // namespace

int YraProgressBarSelfSignalCreateIdleFunc(void* data) {
  return RunStep(data, ShowForFile, __func__);
}

// In a burst of refreshes the first one shows the latest figures, and the others find nothing new.
int YraProgressBarSelfSignalRefreshIdleFunc(void* data) {
  if (data != nullptr &&
      !YraUIThread::ProgressIsNews(static_cast<YraWinUI*>(data)).exchange(false)) {
    return FALSE;
  }
  return RunStep(data, ShowFigures, __func__);
}

int YraProgressBarSelfSignalCloseIdleFunc(void* data) {
  const auto hide = [](YraWinUI* pWinUI) { return pWinUI->YraProgressBarDiagHideDestory(); };
  return RunStep(data, hide, __func__);
}

// ---- One call, one window ----------------------------------------------------------------------

unsigned int YraWinUI::YraProgressBarDiagCreate(int argc, char** argv,
                                                YRAFT_PROGRESS_BAR_INFO* pInfo) {
  TRACE_IN();
  ClearFlags(this);
  if (pInfo == nullptr) {
    TRACE_ERROR("pProgressBarInfo is null.");
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  if (m_pProgressBar != nullptr) {
    TRACE_ERROR("Progress Bar already created.");
    return TRACE_RET(YRAFT_STATUS_BAD_STATE);
  }
  TRACE_VERBOSE("filesNum = %d", pInfo->filesNum);
  m_progressBarInfo.Store(*pInfo);
  if (!YraInitGtk(argc, argv)) return TRACE_RET(YRAFT_OPT_STATUS_FAILED);
  {
    const GdkLock lock;
    const Progress progress = ProgressOf(*pInfo);
    m_pWin = BuildWindow(TitleText(progress.percent));
    g_signal_connect(m_pWin, "destroy", G_CALLBACK(gtk_widget_destroyed), &m_pWin);
    const std::string label = YraText(YRAFT_ENG_TRANSFER_DOWNLOAD) +
                              std::to_string(pInfo->fileContext + 1) + " of " +
                              std::to_string(pInfo->filesNum) + "\n" + FileName(*pInfo);
    FillWindow(this, m_pWin, BuildLabel(YraCutText(label, kLabelSize - 1)), progress.fraction);
    FitToTexts(m_pWin);
    YraShowInFront(m_pWin);
  }
  TRACE_VERBOSE("Will notify VC, statusCode=%u.", 0U);
  const unsigned int ret =
      YraCallbackYraNotify(YRAFT_NOTIFY_PROGRESS_BAR, 7, YRAFT_OPT_STATUS_SUCCESS, 0, this);
  if (ret != YRAFT_STATUS_SUCCESS) TRACE_FAILED("YraCallbackYraNotify", ret);
  // The host may have destroyed the window by now.
  if (m_pWin != nullptr) {
    g_signal_connect(m_pWin, "destroy", G_CALLBACK(gtk_main_quit), nullptr);
    YraRunMainLoop(nullptr, nullptr);
  }
  YraUIThread::ForgetProgressWindow(this);
  return TRACE_RET(ret);
}
