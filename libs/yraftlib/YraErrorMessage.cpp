// The box that tells the user what went wrong.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "YraDialog.h"

namespace {

constexpr TraceLayer kLayer = kLayerWin;

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

GtkWidget* BuildBox() {
  GtkWidget* pDialog = gtk_message_dialog_new(nullptr, GTK_DIALOG_MODAL, GTK_MESSAGE_ERROR,
                                              GTK_BUTTONS_CLOSE, nullptr);
  if (pDialog == nullptr) {
    TRACE_ERROR("Callback gtk_message_dialog_new is failed.");
    return nullptr;
  }
  gtk_window_set_deletable(GTK_WINDOW(pDialog), FALSE);
  // A path may be one long word.
  gtk_container_foreach(
      GTK_CONTAINER(gtk_message_dialog_get_message_area(GTK_MESSAGE_DIALOG(pDialog))),
      WrapInsideWords, nullptr);
  return pDialog;
}

std::string Beginning(const std::string& text, std::size_t size) {
  return text.size() <= size ? text : YraCutText(text, size) + "\u2026";
}

void SetMainText(GtkWidget* pDialog, const BoxTexts& texts, std::size_t size) {
  if (!texts.markup) {
    g_object_set(pDialog, "text", Beginning(texts.first, size).c_str(), nullptr);
    return;
  }
  char* pPlain = nullptr;
  const bool markup =
      pango_parse_markup(texts.first.c_str(), -1, 0, nullptr, &pPlain, nullptr, nullptr);
  const std::string plain = markup ? pPlain : texts.first;
  g_free(pPlain);
  if (markup && plain.size() <= size) {
    gtk_message_dialog_set_markup(GTK_MESSAGE_DIALOG(pDialog), texts.first.c_str());
    return;
  }
  // Not markup after all, a file name with an ampersand say: shown as it is.
  gchar* pEscaped = g_markup_escape_text(Beginning(plain, size).c_str(), -1);
  gtk_message_dialog_set_markup(GTK_MESSAGE_DIALOG(pDialog), pEscaped);
  g_free(pEscaped);
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
  GtkRequisition texts;
  gtk_widget_set_size_request(pContent, -1, -1);
  gtk_widget_size_request(pContent, &texts);
  if (width > texts.width) gtk_widget_set_size_request(pContent, width, -1);
}

bool FitsOnScreen(GtkWidget* pDialog) {
  constexpr int kBars = 100;  // pixels for the title bar and a task bar
  GtkRequisition box;
  gtk_widget_size_request(pDialog, &box);
  return box.height <= gdk_screen_get_height(gtk_widget_get_screen(pDialog)) - kBars;
}

void SetTexts(GtkWidget* pDialog, const BoxTexts& texts, std::size_t size) {
  SetMainText(pDialog, texts, size);
  if (texts.hasSecond) {
    gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(pDialog), "%s",
                                             Beginning(texts.second, size).c_str());
  }
  gtk_window_set_title(GTK_WINDOW(pDialog), texts.title.c_str());
}

// Of texts that are too long for the screen the box shows the beginning.
void Fill(GtkWidget* pDialog, const BoxTexts& texts) {
  for (std::size_t size = 4096; size >= 32; size /= 2) {
    SetTexts(pDialog, texts, size);
    MakeRoomForTitle(pDialog, texts.title.c_str());
    if (FitsOnScreen(pDialog)) return;
  }
}

// ---- Callbacks ---------------------------------------------------------------------------------

void YraErrorMessageDestoryCallback(GtkWidget* widget, void* data) {
  TRACE_INFO("[%s] In.", kLayer.tag);
  TRACE_INFO("widget=0x%x, udata=0x%x.", TraceAddress(widget), TraceAddress(data));
  if (data != nullptr) {
    YraForgetDialog(static_cast<YraWinUI*>(data), widget, kYraErrorMessage, KVO_LOG_INFO, __func__);
  }
  TRACE_INFO("[%s] Out.", kLayer.tag);
}

YRA_DELETE_EVENT_HANDLER(YraErrorMessageDelEventCallback, KVO_LOG_INFO)

}  // namespace

// ---- One call, one box -------------------------------------------------------------------------

namespace {

// The caller's texts, on their way into the main loop.
struct CallerTexts {
  const char* pTitle;
  const char* pPromptInfoFir;
  const char* pPromptInfoSec;
};

// What the idle function does with them.
namespace once {

constexpr const char* kCaller = "YraErrorMsgIdleFunc";

void ShowOnce(const CallerTexts& texts) {
  GtkWidget* pDialog = BuildBox();
  if (pDialog == nullptr) return;
  Fill(pDialog, {.title = YraValidText(texts.pTitle),
                 .first = YraValidText(texts.pPromptInfoFir),
                 .second = YraValidText(texts.pPromptInfoSec),
                 .hasSecond = texts.pPromptInfoSec != nullptr});
  YraShowInFront(pDialog);
  YraRunModal(pDialog);
  TRACE_VERBOSE("Will callback gtk_widget_destroy.");
  gtk_widget_destroy(pDialog);
}

}  // namespace once

}  // namespace

unsigned int YraWinUI::YraErrorMessageDiagCreate(int argc, char** argv, const char* pTitle,
                                                 const char* pPromptInfoFir,
                                                 const char* pPromptInfoSec) {
  TRACE_IN();
  if (pTitle == nullptr || pPromptInfoFir == nullptr) {
    TRACE_ERROR("pTitle (%p) or pPromptInfoFir (%p) is null.", static_cast<const void*>(pTitle),
                static_cast<const void*>(pPromptInfoFir));
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  if (m_pErrorMessage != nullptr) {
    TRACE_ERROR("Error message dialog already created.");
    return TRACE_RET(kAlreadyCreated);
  }
  if (!YraInitGtk(argc, argv)) return TRACE_RET(YRAFT_OPT_STATUS_FAILED);
  std::unique_ptr<CallerTexts> pTexts(new (std::nothrow)
                                          CallerTexts{pTitle, pPromptInfoFir, pPromptInfoSec});
  if (pTexts == nullptr) return TRACE_RET(YRAFT_STATUS_NO_MEMORY);
  YraRunMainLoop(YraErrorMsgIdleFunc, pTexts.release());
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

int YraErrorMsgIdleFunc(void* data) {
  TRACE_IN();
  const std::unique_ptr<CallerTexts> pTexts(static_cast<CallerTexts*>(data));
  if (pTexts == nullptr) {
    TRACE_ERROR("data is null.");
  } else {
    const GdkLock lock;
    once::ShowOnce(*pTexts);
    TRACE_VERBOSE("Will callback gtk_main_quit.");
    gtk_main_quit();
  }
  TRACE_OUT();
  return FALSE;
}

// ---- The persistent box ------------------------------------------------------------------------

unsigned int YraWinUI::YraErrorMessageDiagCreate() {
  TRACE_IN();
  if (m_pErrorMessage != nullptr) {
    TRACE_ERROR("Error message dialog already created.");
    return TRACE_RET(kAlreadyCreated);
  }
  const BoxTexts placeholder{.title = "Error", .first = "prompt", .second = "information"};
  TRACE_VERBOSE("Title[%s], PromptInfoFir[%s], PromptInfoSec[%s].", placeholder.title.c_str(),
                placeholder.first.c_str(), placeholder.second.c_str());
  GtkWidget* pDialog = BuildBox();
  if (pDialog == nullptr) return TRACE_RET(YRAFT_OPT_STATUS_FAILED);
  TRACE_VERBOSE("pErrorDiag=0x%x.", TraceAddress(pDialog));
  YraSetErrorMessageDiag(pDialog);
  // Not measured, as nobody sees it: that would load the fonts of a session that may need none.
  SetTexts(pDialog, placeholder, placeholder.second.size());
  gtk_window_set_skip_taskbar_hint(GTK_WINDOW(pDialog), TRUE);
  TRACE_VERBOSE("Setting destroy callback.");
  g_signal_connect(pDialog, "destroy", G_CALLBACK(YraErrorMessageDestoryCallback), this);
  TRACE_VERBOSE("Setting delete-event callback.");
  g_signal_connect(pDialog, "delete-event", G_CALLBACK(YraErrorMessageDelEventCallback), this);
  m_errorRequests.Watch(pDialog);
  TRACE_INFO("will hide dialog...");
  gtk_widget_hide(pDialog);
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

void YraWinUI::YraErrorMessageDiagDestory() {
  TRACE_INFO("[%s] In.", kLayer.tag);
  if (m_pErrorMessage != nullptr) {
    TRACE_INFO("callback gtk_widget_destroy destory error message dialog.");
    gtk_widget_destroy(m_pErrorMessage);
  }
  TRACE_INFO("[%s] Out.", kLayer.tag);
}

// ---- The line of messages ----------------------------------------------------------------------

unsigned int YraWinUI::YraSetErrorMessageInfo(YRAFT_ERROR_MESSAGE_INFO* pInfo) {
  TRACE_IN();
  m_pErrorMessageInfo = pInfo;
  if (pInfo != nullptr) {
    TRACE_VERBOSE("ErrorMessage Info: cbSize=%u, titleLen=%u, firLen=%u, SecLen=%u.", pInfo->cbSize,
                  pInfo->titleLen, pInfo->firLen, pInfo->SecLen);
  }
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

YRAFT_ERROR_MESSAGE_INFO* YraWinUI::YraGetErrorMessageInfo() {
  TRACE_IN();
  if (m_pErrorMessageInfo == nullptr) {
    YraUIThread::CollectErrors(this);
    if (!m_errorLine.empty()) {
      YraSetErrorMessageInfo(m_errorLine.front());
      m_errorLine.pop_front();
    }
  }
  TRACE_OUT();
  return m_pErrorMessageInfo;
}

void YraUIThread::CollectErrors(YraWinUI* pWinUI) {
  // The inbox has the latest record in front.
  auto place = pWinUI->m_errorLine.end();
  YraWinUI::ErrorNode* pNode = pWinUI->m_pErrorInbox.exchange(nullptr);
  while (pNode != nullptr) {
    place = pWinUI->m_errorLine.insert(place, pNode->pInfo);
    const std::unique_ptr<YraWinUI::ErrorNode> done(pNode);
    pNode = pNode->pNext;
  }
}

void YraUIThread::ReleaseErrors(YraWinUI* pWinUI) {
  CollectErrors(pWinUI);
  for (YRAFT_ERROR_MESSAGE_INFO* pInfo : pWinUI->m_errorLine) std::free(pInfo);
  pWinUI->m_errorLine.clear();
  std::free(pWinUI->m_pErrorMessageInfo);
  pWinUI->m_pErrorMessageInfo = nullptr;
}

namespace {

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

void TraceTexts(int level, const YRAFT_ERROR_MESSAGE_INFO& info, const char* kCaller) {
  if (!kvolog::Admits(kLayer.classId, level)) return;
  const BoxTexts texts = TextsOf(info);
  TRACE_AT(level, "Title[%s], PromptInfoFir[%s], PromptInfoSec[%s].", texts.title.c_str(),
           texts.first.c_str(), texts.second.c_str());
}

// A record whose size was filled in must hold its texts.
bool LengthsFit(const YRAFT_ERROR_MESSAGE_INFO& info) {
  constexpr unsigned int kEmpty = sizeof(info) + 3;
  return info.cbSize < kEmpty || kEmpty + info.titleLen + info.firLen + info.SecLen <= info.cbSize;
}

bool CheckLengths(const YRAFT_ERROR_MESSAGE_INFO& info) {
  if (LengthsFit(info)) return true;
  TRACE_ERROR("lengths of the record are invaild.(%u + %u + %u - %u)", info.titleLen, info.firLen,
              info.SecLen, info.cbSize);
  return false;
}

}  // namespace

unsigned int YraShowErrorRecord(YraWinUI* pWinUI, int argc, char** argv,
                                const YRAFT_ERROR_MESSAGE_INFO& info) {
  if (!CheckLengths(info)) return YRAFT_STATUS_INVALID_PARAM;
  const BoxTexts texts = TextsOf(info);
  return pWinUI->YraErrorMessageDiagCreate(argc, argv, texts.title.c_str(), texts.first.c_str(),
                                           texts.second.c_str());
}

unsigned int YraWinUI::YraErrorMessageDiagCreate(YRAFT_ERROR_MESSAGE_INFO* pErrorMessageInfo) {
  TRACE_IN();
  if (pErrorMessageInfo == nullptr) {
    TRACE_ERROR("pErrorMessageInfo (%p) is NULL.", static_cast<void*>(pErrorMessageInfo));
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  if (!CheckLengths(*pErrorMessageInfo)) {
    std::free(pErrorMessageInfo);
    return TRACE_RET(YRAFT_STATUS_INVALID_PARAM);
  }
  auto* pNode = new (std::nothrow) ErrorNode{pErrorMessageInfo, nullptr};
  if (pNode == nullptr) {
    TRACE_ERROR("callback KvoMemoryAllocate failed.(%d)", static_cast<int>(sizeof(ErrorNode)));
    std::free(pErrorMessageInfo);
    return TRACE_RET(YRAFT_STATUS_NO_MEMORY);
  }
  TraceTexts(KVO_LOG_VERBOSE, *pErrorMessageInfo, __func__);
  pNode->pNext = m_pErrorInbox.load();
  while (!m_pErrorInbox.compare_exchange_weak(pNode->pNext, pNode)) {
  }
  m_errorRequests.Accept();
  return TRACE_RET(YRAFT_STATUS_SUCCESS);
}

// What the idle function does for a message, and what follows from it when the box closes.
namespace {
namespace run {

constexpr const char* kCaller = "YraErrorMsgSelfSignalIdleFunc";

void TraceResponse(int result) {
  TRACE_INFO("result=%d.", result);
  switch (result) {
    case GTK_RESPONSE_ACCEPT:
      TRACE_INFO("GTK_RESPONSE_ACCEPT");
      break;
    case GTK_RESPONSE_CANCEL:
      TRACE_INFO("GTK_RESPONSE_CANCEL");
      break;
    case GTK_RESPONSE_DELETE_EVENT:
      TRACE_INFO("GTK_RESPONSE_DELETE_EVENT");
      break;
    case GTK_RESPONSE_CLOSE:
      TRACE_INFO("GTK_RESPONSE_CLOSE");
      break;
    default:
      TRACE_INFO("gtk_dialog_run is not GTK_RESPONSE_ACCEPT. (%d)", result);
  }
}

// Shows the next message of the line.
bool Open(YraWinUI* pWinUI, GtkWidget* pDialog) {
  TRACE_VERBOSE("pErrorDiag=0x%x.", TraceAddress(pDialog));
  const YRAFT_ERROR_MESSAGE_INFO* pInfo = pWinUI->YraGetErrorMessageInfo();
  if (pInfo == nullptr) {
    TRACE_ERROR("pErrorMessageInfo is null.");
    return false;
  }
  TraceTexts(KVO_LOG_INFO, *pInfo, kCaller);
  const BoxTexts texts = TextsOf(*pInfo);
  gtk_window_set_position(GTK_WINDOW(pDialog), GTK_WIN_POS_CENTER_ALWAYS);
  Fill(pDialog, texts);
  TRACE_INFO("will show dialog...");
  YraShowInFront(pDialog);
  gtk_window_set_skip_taskbar_hint(GTK_WINDOW(pDialog), TRUE);
  return true;
}

// The message was read; one that found no box stays in the line.
void Answer(YraWinUI* pWinUI, GtkWidget* pDialog, int response) {
  if (pDialog == nullptr) return;
  TraceResponse(response);
  YraHideDialog(pDialog);
  YRAFT_ERROR_MESSAGE_INFO* pInfo = pWinUI->YraGetErrorMessageInfo();
  pWinUI->YraSetErrorMessageInfo(nullptr);
  std::free(pInfo);
}

}  // namespace run
}  // namespace

const YraDialogKind kYraErrorMessage{YraErrorMsgSelfSignalIdleFunc,
                                     run::kCaller,
                                     &YraWinUI::YraGetErrorMessageDiag,
                                     &YraWinUI::YraSetErrorMessageDiag,
                                     &YraWinUI::YraErrorMessageDiagCreate,
                                     "YraErrorMessageDiagCreate",
                                     "Error message dialog no created.",
                                     "Error message dialog is null.",
                                     run::Open,
                                     run::Answer};

int YraErrorMsgSelfSignalIdleFunc(void* data) {
  TRACE_INFO("[%s] In.", kLayer.tag);
  if (data == nullptr) {
    TRACE_ERROR("data is null.");
  } else {
    YraUIThread::ErrorRequests(static_cast<YraWinUI*>(data)).Serve();
  }
  TRACE_INFO("[%s] Out.", kLayer.tag);
  return FALSE;
}
