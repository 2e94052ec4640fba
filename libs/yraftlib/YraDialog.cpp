// What the dialogs share.
#include "YraDialog.h"

#include <gdk/gdkx.h>

#include "kvolocalise.h"

namespace {
constexpr TraceLayer kLayer = kLayerWin;
}

bool YraInitGtk(int argc, char** argv) {
  if (gtk_init_check(&argc, argv != nullptr ? &argv : nullptr)) return true;
  TRACE_ERROR("callback gtk_init_check failed, there is no display.");
  return false;
}

// ---- Windows -----------------------------------------------------------------------------------

namespace {

// Window managers hold a modal window against all windows of its X group.
void LeadOwnGroup(GtkWidget* pWindow, void*) {
  GdkWindow* pGdkWindow = gtk_widget_get_window(pWindow);
  gdk_window_set_group(pGdkWindow, pGdkWindow);
}

}  // namespace

void YraStandAlone(GtkWidget* pWindow) {
  GtkWindowGroup* pGroup = gtk_window_group_new();
  gtk_window_group_add_window(pGroup, GTK_WINDOW(pWindow));
  g_object_unref(pGroup);  // the window keeps it
  g_signal_connect(pWindow, "realize", G_CALLBACK(LeadOwnGroup), nullptr);
}

void YraShowInFront(GtkWidget* pWindow) {
  gtk_widget_realize(pWindow);
  GdkWindow* pGdkWindow = gtk_widget_get_window(pWindow);
  const guint32 now = gdk_x11_get_server_time(pGdkWindow);
  gdk_x11_window_set_user_time(pGdkWindow, now);
  gtk_widget_show_all(pWindow);
  gtk_window_present_with_time(GTK_WINDOW(pWindow), now);
}

void YraHideDialog(GtkWidget* pDialog) {
  if (pDialog == nullptr) return;
  TRACE_VERBOSE("Will hide dialog...");
  gtk_widget_hide(pDialog);
  gdk_flush();
}

// ---- One call, one dialog ----------------------------------------------------------------------

void YraRunMainLoop(GSourceFunc idle, void* data) {
  const GdkLock lock;
  if (idle != nullptr) g_idle_add(idle, data);
  gtk_main();
  gdk_flush();  // nobody else will: what was destroyed must leave the screen now
}

int YraRunModal(GtkWidget* pDialog) {
  const int result = gtk_dialog_run(GTK_DIALOG(pDialog));
  TRACE_VERBOSE("result=%d.", result);
  return result;
}

// ---- Persistent dialogs ------------------------------------------------------------------------

void YraDialogLine::Accept() {
  ++m_unanswered;
  g_idle_add(m_kind.idle, m_pWinUI);
}

void YraDialogLine::Serve() {
  if (m_running || m_unanswered == 0 || YraUIThread::Ending(m_pWinUI)) return;
  const GdkLock lock;
  GtkWidget* pDialog = TakeDialog();
  m_running = pDialog != nullptr && m_kind.open(m_pWinUI, pDialog);
  if (!m_running) Answer(nullptr, GTK_RESPONSE_NONE);
}

GtkWidget* YraDialogLine::TakeDialog() {
  const char* kCaller = m_kind.pIdle;
  if ((m_pWinUI->*m_kind.get)() == nullptr) {
    TRACE_WARNING("%s", m_kind.pNotCreated);
    const unsigned int ret = (m_pWinUI->*m_kind.build)();
    if (ret != YRAFT_STATUS_SUCCESS) TRACE_FAILED(m_kind.pBuild, ret);
  }
  return (m_pWinUI->*m_kind.get)();
}

void YraDialogLine::Watch(GtkWidget* pDialog) {
  const auto onResponse = +[](GtkDialog*, int response, void* pLine) {
    static_cast<YraDialogLine*>(pLine)->End(response);
  };
  const auto onHide =
      +[](GtkWidget*, void* pLine) { static_cast<YraDialogLine*>(pLine)->End(GTK_RESPONSE_NONE); };
  g_signal_connect(pDialog, "response", G_CALLBACK(onResponse), this);
  g_signal_connect(pDialog, "hide", G_CALLBACK(onHide), this);
  // Behind every other handler: a closed window is used again.
  g_signal_connect(pDialog, "delete-event", G_CALLBACK(gtk_widget_hide_on_delete), nullptr);
  gtk_window_set_modal(GTK_WINDOW(pDialog), TRUE);
  YraStandAlone(pDialog);
}

void YraDialogLine::End(int response) {
  if (!m_running) return;
  m_running = false;
  Answer((m_pWinUI->*m_kind.get)(), response);
  // The next run starts when the events of this one are done with.
  if (m_unanswered > 0) g_idle_add(m_kind.idle, m_pWinUI);
}

void YraDialogLine::EndAll(int response) {
  while (m_unanswered > 0) Answer(nullptr, response);
}

void YraDialogLine::Answer(GtkWidget* pDialog, int response) {
  --m_unanswered;
  m_kind.answer(m_pWinUI, pDialog, response);
}

void YraForgetDialog(YraWinUI* pWinUI, GtkWidget* pWidget, const YraDialogKind& kind, int level,
                     const char* kCaller) {
  GtkWidget* pDialog = pWinUI != nullptr ? (pWinUI->*kind.get)() : nullptr;
  if (pDialog == nullptr) {
    TRACE_WARNING("%s", kind.pNull);
    return;
  }
  TRACE_AT(level, "Will hide dialog...");
  gtk_widget_hide(pDialog);
  if (pDialog == pWidget) (pWinUI->*kind.set)(nullptr);
}

// ---- Texts -------------------------------------------------------------------------------------

std::string YraValidText(const char* pText) {
  if (pText == nullptr) return {};
  if (g_utf8_validate(pText, -1, nullptr)) return pText;
  gchar* pValid = g_utf8_make_valid(pText, -1);
  std::string text(pValid);
  g_free(pValid);
  return text;
}

std::string YraText(int number) { return YraValidText(KvoLocalise(number)); }

std::string YraCutText(std::string text, std::size_t size) {
  if (text.size() <= size) return text;
  const gchar* pCut = g_utf8_find_prev_char(text.data(), text.data() + size + 1);
  text.resize(pCut == nullptr ? 0 : static_cast<std::size_t>(pCut - text.data()));
  return text;
}

const char* YraOperationName(uint32_t operation) {
  if (operation == YRAFT_OPERATION_UPLOAD) return "Upload";
  return operation == YRAFT_OPERATION_DOWNLOAD ? "Download" : "Unknown";
}
