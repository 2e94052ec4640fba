// GTK as the dialogs use it.
#include "ui/YraGtk.h"

#include <gdk/gdkx.h>

#include "kvolocalise.h"

bool YraInitGtk(WinTrace trace, int argc, char** argv) {
  if (gtk_init_check(&argc, argv != nullptr ? &argv : nullptr)) return true;
  TRACE_ERROR(trace, "callback gtk_init_check failed, there is no display.");
  return false;
}

void YraRunMainLoop(GSourceFunc idle, void* data) {
  const GdkLock lock;
  if (idle != nullptr) g_idle_add(idle, data);
  gtk_main();
  gdk_flush();  // nobody else will: what was destroyed must leave the screen now
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
