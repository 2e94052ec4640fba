// The box that tells the user what went wrong.
#include <algorithm>
#include <cstring>
#include <new>

#include "dialogs/YraDialogs.h"
#include "ui/YraInside.h"
#include "ui/YraToolkit.h"

namespace {

constexpr unsigned int kAlreadyCreated = 1;

// ---- Filling a box -----------------------------------------------------------------------------

// What a box says, in valid UTF-8.
struct BoxTexts {
  std::string title;
  std::string first;
  std::string second;
  bool markup = false;    // the first text may be Pango markup
  bool hasSecond = true;  // also an empty one
};

void WrapInsideWords(GtkWidget* pLabel, void*) {
  if (GTK_IS_LABEL(pLabel)) gtk_label_set_line_wrap_mode(GTK_LABEL(pLabel), PANGO_WRAP_WORD_CHAR);
}

GtkWidget* BuildBox(WinTrace trace) {
  GtkWidget* pDialog = gtk_message_dialog_new(nullptr, GTK_DIALOG_MODAL, GTK_MESSAGE_ERROR,
                                              GTK_BUTTONS_CLOSE, nullptr);
  if (pDialog == nullptr) {
    TRACE_ERROR(trace, "Callback gtk_message_dialog_new is failed.");
    return nullptr;
  }
  gtk_window_set_deletable(GTK_WINDOW(pDialog), FALSE);
  // A path may be one long word.
  gtk_container_foreach(
      GTK_CONTAINER(gtk_message_dialog_get_message_area(GTK_MESSAGE_DIALOG(pDialog))),
      WrapInsideWords, nullptr);
  return pDialog;
}

// Behind the texts: the title bar of a box with little text must hold the title beside the window
// manager's controls.
void MakeRoomForTitle(GtkWidget* pDialog, const char* title) {
  constexpr int kControls = 130;  // pixels
  constexpr int kMaxWidth = 480;
  PangoLayout* pLayout = gtk_widget_create_pango_layout(pDialog, title);
  int width = 0;
  pango_layout_get_pixel_size(pLayout, &width, nullptr);
  g_object_unref(pLayout);
  width = std::min(width + width / 4 + kControls, kMaxWidth);  // in bold
  GtkWidget* pContent = gtk_dialog_get_content_area(GTK_DIALOG(pDialog));
  gtk_widget_set_size_request(pContent, -1, -1);
  if (width > YraAskedSize(pContent).width) gtk_widget_set_size_request(pContent, width, -1);
}

GtkLabel* LabelAt(GtkWidget* pDialog, unsigned int nth) {
  GtkWidget* pArea = gtk_message_dialog_get_message_area(GTK_MESSAGE_DIALOG(pDialog));
  GList* pLabels = gtk_container_get_children(GTK_CONTAINER(pArea));
  void* pLabel = g_list_nth_data(pLabels, nth);
  g_list_free(pLabels);
  return GTK_LABEL(pLabel);
}

// The beginning of a text, as long as one asks for; whole for those who listen.
void ShowText(GtkLabel* pLabel, const std::string& text, std::size_t size) {
  gtk_label_set_text(
      pLabel, size < text.size() ? (YraCutText(text, size) + "\u2026").c_str() : text.c_str());
  YraLimitLine(pLabel);
  atk_object_set_name(gtk_widget_get_accessible(GTK_WIDGET(pLabel)), text.c_str());
}

// A box that is being filled, and how high it becomes.
class Filling {
 public:
  Filling(GtkWidget* pDialog, const BoxTexts& texts)
      : m_pDialog(pDialog), m_texts(texts), m_first(texts.first) {
    // A text that is no markup after all, a file name with an ampersand say, is shown as it is.
    char* pPlain = nullptr;
    m_markup = texts.markup &&
               pango_parse_markup(texts.first.c_str(), -1, 0, nullptr, &pPlain, nullptr, nullptr);
    const std::unique_ptr<char, decltype(&g_free)> pOwned(pPlain, g_free);
    if (m_markup) m_first = pPlain;
    gtk_window_set_title(GTK_WINDOW(pDialog), texts.title.c_str());
    // Who listens is alerted by the title; GTK would say "Error" of every box.
    atk_object_set_name(gtk_widget_get_accessible(pDialog), texts.title.c_str());
    // By these GTK decides whether it sets the first text in bold.
    if (texts.markup) gtk_message_dialog_set_markup(GTK_MESSAGE_DIALOG(pDialog), "");
    if (texts.hasSecond) g_object_set(pDialog, "secondary-text", "", nullptr);
  }

  // Of texts that are too long for the screen the box shows the beginning. Neither takes the
  // other's half of the room.
  void Fill() {
    YraRenewFonts(m_pDialog);
    ShowFirst(0);
    ShowSecond(0);
    const GtkRequisition least = Size();
    GdkScreen* pScreen = gtk_widget_get_screen(m_pDialog);
    const int most = gdk_screen_get_height(pScreen) - kBars;
    m_width = std::max(gdk_screen_get_width(pScreen), least.width);
    const bool whole = FitFirst(least.height + (most - least.height) / 2);
    FitSecond(most);
    if (!whole) FitFirst(most);
  }

 private:
  static constexpr int kBars = 100;  // pixels for the title bar and a task bar

  void ShowFirst(std::size_t size) {
    ShowText(LabelAt(m_pDialog, 0), m_first, size);
    if (m_markup && size >= m_first.size()) {
      gtk_label_set_markup(LabelAt(m_pDialog, 0), m_texts.first.c_str());
    }
  }
  void ShowSecond(std::size_t size) {
    if (m_texts.hasSecond) ShowText(LabelAt(m_pDialog, 1), m_texts.second, size);
  }
  GtkRequisition Size() const {
    MakeRoomForTitle(m_pDialog, m_texts.title.c_str());
    return YraAskedSize(m_pDialog);
  }

  bool FitFirst(int height) {
    return Fit(m_first.size(), height, [this](std::size_t size) { ShowFirst(size); });
  }
  void FitSecond(int height) {
    Fit(m_texts.second.size(), height, [this](std::size_t size) { ShowSecond(size); });
  }

  // Shows as much of a text as the height allows, and the width, as a line of tabs is not wrapped.
  // Answers whether that is all of it. A text that is far too long is never measured whole.
  template <class Show>
  bool Fit(std::size_t whole, int height, const Show& show) const {
    constexpr std::size_t kMost = 16384;  // bytes, more than a screen holds
    whole = std::min(whole, kMost);
    const auto fits = [&](std::size_t size) {
      show(size);
      const GtkRequisition asked = Size();
      return asked.height <= height && asked.width <= m_width;
    };
    std::size_t good = 0;
    std::size_t bad = 256;
    for (; bad < whole && fits(bad); bad *= 2) good = bad;
    bad = std::min(bad, whole);
    if (bad == whole && fits(whole)) return true;
    while (bad - good > 8 + good / 16) {
      const std::size_t middle = good + (bad - good) / 2;
      (fits(middle) ? good : bad) = middle;
    }
    show(good);
    return false;
  }

  GtkWidget* m_pDialog;
  const BoxTexts& m_texts;
  std::string m_first;  // without markup
  bool m_markup = false;
  int m_width = 0;  // that is not exceeded
};

// ---- A record's texts --------------------------------------------------------------------------

std::string TextAt(const char* pText, std::size_t len) {
  return YraValidText(std::string(pText, strnlen(pText, len)).c_str());
}

// The three texts of a record, each ended by its NUL or its length, whichever comes first.
BoxTexts TextsOf(const YRAFT_ERROR_MESSAGE_INFO& info) {
  const char* pTitle = reinterpret_cast<const char*>(&info + 1);
  const char* pFirst = pTitle + info.titleLen + 1;
  const char* pSecond = pFirst + info.firLen + 1;
  return {.title = TextAt(pTitle, info.titleLen),
          .first = TextAt(pFirst, info.firLen),
          .second = TextAt(pSecond, info.SecLen),
          .markup = true};
}

void TraceTexts(WinTrace trace, int level, const BoxTexts& texts) {
  TRACE_AT(trace, level, "Title[%s], PromptInfoFir[%s], PromptInfoSec[%s].", texts.title.c_str(),
           texts.first.c_str(), texts.second.c_str());
}

// A record whose size was filled in must hold its texts.
bool LengthsFit(WinTrace trace, const YRAFT_ERROR_MESSAGE_INFO& info) {
  constexpr unsigned int kEmpty = sizeof(info) + 3;
  if (info.cbSize < kEmpty || kEmpty + info.titleLen + info.firLen + info.SecLen <= info.cbSize) {
    return true;
  }
  TRACE_ERROR(trace, "lengths of the record are invaild.(%u + %u + %u - %u)", info.titleLen,
              info.firLen, info.SecLen, info.cbSize);
  return false;
}

// ---- One call, one box -------------------------------------------------------------------------

// The caller's texts, on their way into the main loop and back.
struct CallerTexts {
  const char* pTitle;
  const char* pPromptInfoFir;
  const char* pPromptInfoSec;
  YraCall* pCall;
  unsigned int ret;
};

unsigned int ShowOnce(WinTrace trace, const CallerTexts& texts) {
  GtkWidget* pDialog = BuildBox(trace);
  if (pDialog == nullptr) return YRAFT_STATUS_SUCCESS;
  const unsigned int ret = trace.Try([&] {
    Filling(pDialog, {.title = YraValidText(texts.pTitle),
                      .first = YraValidText(texts.pPromptInfoFir),
                      .second = YraValidText(texts.pPromptInfoSec),
                      .hasSecond = texts.pPromptInfoSec != nullptr})
        .Fill();
    YraShowInFront(pDialog);
    YraRunOnTop(pDialog);
  });
  TRACE_VERBOSE(trace, "Will callback gtk_widget_destroy.");
  gtk_widget_destroy(pDialog);
  return ret;
}

}  // namespace

int YraErrorMsgIdleFunc(void* data) {
  const WinTrace trace;
  auto* pTexts = static_cast<CallerTexts*>(data);
  if (pTexts == nullptr) {
    TRACE_ERROR(trace, "data is null.");
  } else {
    const GdkLock lock;
    pTexts->ret = ShowOnce(trace, *pTexts);
    TRACE_VERBOSE(trace, "Will callback gtk_main_quit.");
    YraCall::Quit(pTexts->pCall);
  }
  trace.Out();
  return FALSE;
}

unsigned int YraWinUI::YraErrorMessageDiagCreate(int argc, char** argv, const char* pTitle,
                                                 const char* pPromptInfoFir,
                                                 const char* pPromptInfoSec) {
  const WinTrace trace;
  if (pTitle == nullptr || pPromptInfoFir == nullptr) {
    TRACE_ERROR(trace, "pTitle (%p) or pPromptInfoFir (%p) is null.",
                static_cast<const void*>(pTitle), static_cast<const void*>(pPromptInfoFir));
    return trace.Ret(YRAFT_STATUS_INVALID_PARAM);
  }
  if (m_pErrorMessage != nullptr) {
    return trace.Refuse(kAlreadyCreated, "Error message dialog already created.");
  }
  if (!YraCall::Start(trace, argc, argv)) return trace.Ret(YRAFT_OPT_STATUS_FAILED);
  YraCall call;
  CallerTexts texts{pTitle, pPromptInfoFir, pPromptInfoSec, &call, YRAFT_STATUS_SUCCESS};
  call.Run(YraErrorMsgIdleFunc, &texts);
  return trace.Ret(texts.ret);
}

unsigned int YraShowErrorRecord(WinTrace trace, YraWinUI* pWinUI, int argc, char** argv,
                                const YRAFT_ERROR_MESSAGE_INFO& info) {
  if (!LengthsFit(trace, info)) return YRAFT_STATUS_INVALID_PARAM;
  return trace.Try([&] {
    const BoxTexts texts = TextsOf(info);
    return pWinUI->YraErrorMessageDiagCreate(argc, argv, texts.title.c_str(), texts.first.c_str(),
                                             texts.second.c_str());
  });
}

// ---- The persistent box ------------------------------------------------------------------------

namespace {

void YraErrorMessageDestoryCallback(GtkWidget* widget, void* data) {
  const WinTrace trace(KVO_LOG_INFO);
  TRACE_INFO(trace, "widget=0x%x, udata=0x%x.", TraceAddress(widget), TraceAddress(data));
  YraWinUI::Inside::Of(static_cast<YraWinUI*>(data)).pErrors->Forget(trace, KVO_LOG_INFO, widget);
  trace.Out();
}

gboolean YraErrorMessageDelEventCallback(GtkWidget* widget, GdkEvent* event, void* data) {
  return YraTraceDeleteEvent(WinTrace(KVO_LOG_INFO), KVO_LOG_INFO, widget, event, data);
}

}  // namespace

unsigned int YraWinUI::YraErrorMessageDiagCreate() {
  const WinTrace trace;
  if (m_pErrorMessage != nullptr) {
    return trace.Refuse(kAlreadyCreated, "Error message dialog already created.");
  }
  const BoxTexts placeholder{.title = "Error", .first = "prompt", .second = "information"};
  TraceTexts(trace, KVO_LOG_VERBOSE, placeholder);
  GtkWidget* pDialog = BuildBox(trace);
  if (pDialog == nullptr) return trace.Ret(YRAFT_OPT_STATUS_FAILED);
  TRACE_VERBOSE(trace, "pErrorDiag=0x%x.", TraceAddress(pDialog));
  YraSetErrorMessageDiag(pDialog);
  // Not measured, as nobody sees it: that would load the fonts of a session that may need none.
  g_object_set(pDialog, "title", placeholder.title.c_str(), "text", placeholder.first.c_str(),
               "secondary-text", placeholder.second.c_str(), nullptr);
  gtk_window_set_skip_taskbar_hint(GTK_WINDOW(pDialog), TRUE);
  TRACE_VERBOSE(trace, "Setting destroy callback.");
  TRACE_VERBOSE(trace, "Setting delete-event callback.");
  m_pInside->pErrors->Watch(pDialog, G_CALLBACK(YraErrorMessageDestoryCallback),
                            G_CALLBACK(YraErrorMessageDelEventCallback));
  TRACE_INFO(trace, "will hide dialog...");
  gtk_widget_hide(pDialog);
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

void YraWinUI::YraErrorMessageDiagDestory() {
  const WinTrace trace(KVO_LOG_INFO);
  if (m_pErrorMessage != nullptr) {
    TRACE_INFO(trace, "callback gtk_widget_destroy destory error message dialog.");
    gtk_widget_destroy(m_pErrorMessage);
  }
  trace.Out();
}

namespace {

void TraceResponse(WinTrace trace, int response) {
  TRACE_INFO(trace, "result=%d.", response);
  const char* pName = response == GTK_RESPONSE_ACCEPT         ? "GTK_RESPONSE_ACCEPT"
                      : response == GTK_RESPONSE_CANCEL       ? "GTK_RESPONSE_CANCEL"
                      : response == GTK_RESPONSE_DELETE_EVENT ? "GTK_RESPONSE_DELETE_EVENT"
                      : response == GTK_RESPONSE_CLOSE        ? "GTK_RESPONSE_CLOSE"
                                                              : nullptr;
  if (pName != nullptr) {
    TRACE_INFO(trace, "%s", pName);
  } else {
    TRACE_INFO(trace, "gtk_dialog_run is not GTK_RESPONSE_ACCEPT. (%d)", response);
  }
}

class ErrorMessage : public YraDialog {
 public:
  explicit ErrorMessage(YraWinUI* pWinUI)
      : YraDialog(pWinUI, YraErrorMsgSelfSignalIdleFunc,
                  {.pIdle = "YraErrorMsgSelfSignalIdleFunc",
                   .pBuild = "YraErrorMessageDiagCreate",
                   .pNotCreated = "Error message dialog no created.",
                   .pNull = "Error message dialog is null."}) {}

 private:
  GtkWidget* Widget() const override { return WinUI()->YraGetErrorMessageDiag(); }
  void Hold(GtkWidget* pWidget) override { WinUI()->YraSetErrorMessageDiag(pWidget); }
  unsigned int Build() override { return WinUI()->YraErrorMessageDiagCreate(); }
  void FindNothing() override {
    TRACE_VERBOSE(Trace(), "pErrorDiag=0x%x.", TraceAddress(Widget()));
    TRACE_ERROR(Trace(), "pErrorMessageInfo is null.");
  }
  // A message is not lost because its box could not be built.
  bool Patient() const override { return true; }

  bool Open(GtkWidget* pDialog, const YraRequest& request) override {
    TRACE_VERBOSE(Trace(), "pErrorDiag=0x%x.", TraceAddress(pDialog));
    const BoxTexts texts = TextsOf(*request.pMessage);
    TraceTexts(Trace(), KVO_LOG_INFO, texts);
    gtk_window_set_position(GTK_WINDOW(pDialog), GTK_WIN_POS_CENTER_ALWAYS);
    Filling(pDialog, texts).Fill();
    TRACE_INFO(Trace(), "will show dialog...");
    YraShowInFront(pDialog);
    gtk_window_set_skip_taskbar_hint(GTK_WINDOW(pDialog), TRUE);
    return true;
  }

  void Answer(GtkWidget* pDialog, int response, const YraRequest& request) override {
    if (pDialog != nullptr) {
      TraceResponse(Trace(), response);
      TRACE_INFO(Trace(), "Will hide dialog...");
      gtk_widget_hide(pDialog);
      gdk_flush();
    }
    // The object points to the message that came last.
    if (WinUI()->YraGetErrorMessageInfo() == request.pMessage.get()) {
      WinUI()->YraSetErrorMessageInfo(nullptr);
    }
  }
};

}  // namespace

std::unique_ptr<YraDialog> YraMakeErrorMessage(YraWinUI* pWinUI) {
  return std::make_unique<ErrorMessage>(pWinUI);
}

unsigned int YraWinUI::YraErrorMessageDiagCreate(YRAFT_ERROR_MESSAGE_INFO* pErrorMessageInfo) {
  const WinTrace trace;
  if (pErrorMessageInfo == nullptr) {
    return trace.RefuseNull(YRAFT_STATUS_INVALID_PARAM, "pErrorMessageInfo");
  }
  decltype(YraRequest::pMessage) pMessage(pErrorMessageInfo);
  if (!LengthsFit(trace, *pMessage)) return trace.Ret(YRAFT_STATUS_INVALID_PARAM);
  std::unique_ptr<YraRequest> pRequest(new (std::nothrow) YraRequest);
  if (pRequest == nullptr) return trace.Ret(YRAFT_STATUS_NO_MEMORY);
  YraSetErrorMessageInfo(pErrorMessageInfo);
  if (trace.Admits(KVO_LOG_VERBOSE)) {
    trace.Try([&] { TraceTexts(trace, KVO_LOG_VERBOSE, TextsOf(*pMessage)); });
  }
  pRequest->pMessage = std::move(pMessage);
  m_pInside->pErrors->Accept(std::move(pRequest));
  return trace.Ret(YRAFT_STATUS_SUCCESS);
}

int YraErrorMsgSelfSignalIdleFunc(void* data) {
  const WinTrace trace(KVO_LOG_INFO);
  if (data == nullptr) {
    TRACE_ERROR(trace, "data is null.");
  } else {
    YraWinUI::Inside::Of(static_cast<YraWinUI*>(data)).pErrors->Serve();
  }
  trace.Out();
  return FALSE;
}
