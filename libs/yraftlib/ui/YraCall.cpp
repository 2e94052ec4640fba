// One call that shows one dialog in the thread that calls, and waits for the user.
#include "ui/YraCall.h"

bool YraCall::Start(WinTrace trace, int argc, char** argv) {
  return YraCanLock(trace) && YraInitGtk(trace, argc, argv);
}

void YraCall::Run() {
  {
    const GdkUnlock unlock;
    g_main_loop_run(m_pLoop);
  }
  gdk_flush();  // nobody else will: what was destroyed must leave the screen now
}

void YraCall::Run(GSourceFunc idle, void* data) {
  const GdkLock lock;
  g_idle_add(idle, data);
  Run();
}

void YraCall::RunUntilDestroyed(GtkWidget* const* ppWindow) {
  const GdkLock lock;
  if (*ppWindow == nullptr) return;
  g_signal_connect_swapped(*ppWindow, "destroy", G_CALLBACK(g_main_loop_quit), m_pLoop);
  const YraOnTop onTop(*ppWindow);
  Run();
}

void YraCall::Quit(YraCall* pCall) {
  if (pCall == nullptr) return gtk_main_quit();
  GMainLoop* pLoop = g_main_loop_ref(pCall->m_pLoop);
  g_main_loop_quit(pLoop);
  g_main_loop_unref(pLoop);
}

// ---- Windows on top ----------------------------------------------------------------------------

thread_local YraOnTop* YraOnTop::t_pTop = nullptr;

YraOnTop::YraOnTop(GtkWidget* pWindow) : m_pWindow(pWindow), m_pBelow(t_pTop) {
  g_object_add_weak_pointer(G_OBJECT(m_pWindow), reinterpret_cast<void**>(&m_pWindow));
  t_pTop = this;
}

YraOnTop::~YraOnTop() {
  t_pTop = m_pBelow;
  if (m_pWindow != nullptr) {
    g_object_remove_weak_pointer(G_OBJECT(m_pWindow), reinterpret_cast<void**>(&m_pWindow));
  }
}

void YraOnTop::EndAll() {
  for (const YraOnTop* p = t_pTop; p != nullptr; p = p->m_pBelow) {
    if (p->m_pWindow == nullptr) continue;
    YraCloseBoxes(p->m_pWindow);
    if (GTK_IS_DIALOG(p->m_pWindow)) {
      gtk_dialog_response(GTK_DIALOG(p->m_pWindow), GTK_RESPONSE_CANCEL);
    } else {
      gtk_widget_destroy(p->m_pWindow);
    }
  }
}

int YraRunOnTop(GtkWidget* pDialog) {
  const YraOnTop onTop(pDialog);
  return gtk_dialog_run(GTK_DIALOG(pDialog));
}

void YraCloseBoxes(GtkWidget* pDialog) {
  if (pDialog == nullptr) return;
  GList* pWindows = gtk_window_list_toplevels();
  for (GList* pNode = pWindows; pNode != nullptr; pNode = pNode->next) {
    auto* pWindow = static_cast<GtkWindow*>(pNode->data);
    if (GTK_IS_DIALOG(pWindow) && gtk_window_get_transient_for(pWindow) == GTK_WINDOW(pDialog)) {
      gtk_dialog_response(GTK_DIALOG(pWindow), GTK_RESPONSE_CANCEL);
    }
  }
  g_list_free(pWindows);
}
