// GTK as the dialogs use it.
#include "ui/YraGtk.h"

#include "kvolocalise.h"
#include "ui/YraToolkit.h"

bool YraCanLock(WinTrace trace) {
  constexpr int kTries = 200;
  constexpr gulong kPause = 10000;  // microseconds
  for (int i = 0; i < kTries; ++i) {
    if (YraLockIsFree()) return true;
    g_usleep(kPause);
  }
  TRACE_ERROR(trace, "GDK's lock is held, a dialog would wait for it.");
  return false;
}

bool YraInitGtk(WinTrace trace, int argc, char** argv) {
  if (gtk_init_check(&argc, argv != nullptr ? &argv : nullptr)) return true;
  TRACE_ERROR(trace, "callback gtk_init_check failed, there is no display.");
  return false;
}

// ---- Windows -----------------------------------------------------------------------------------

namespace {

// Window managers hold a modal window against all windows of its X group.
void LeadOwnGroup(GtkWidget* pWindow, void*) {
  GdkWindow* pGdkWindow = gtk_widget_get_window(pWindow);
  gdk_window_set_group(pGdkWindow, pGdkWindow);
}

// When the window came up, and when it last dropped a key: the X server's time in milliseconds.
constexpr char kShown[] = "yraft-shown";
constexpr char kDropped[] = "yraft-dropped";

// A key that follows the one before within half a second belongs to what the user was typing as the
// window came up. Who types on for two seconds means the window; so does a key without a time,
// which another program has sent to it.
gboolean DropTypedAhead(GtkWidget* pWindow, GdkEventKey* pEvent, void*) {
  constexpr gint32 kPause = 500;
  constexpr gint32 kLongest = 2000;
  const auto since = [&](const char* pMoment) {
    const void* pTime = g_object_get_data(G_OBJECT(pWindow), pMoment);
    return static_cast<gint32>(pEvent->time - GPOINTER_TO_UINT(pTime));
  };
  if (pEvent->time == GDK_CURRENT_TIME || since(kDropped) >= kPause || since(kShown) >= kLongest) {
    return FALSE;
  }
  g_object_set_data(G_OBJECT(pWindow), kDropped, GUINT_TO_POINTER(pEvent->time));
  return TRUE;
}

void CameUp(GtkWidget* pWindow, guint32 now) {
  for (const char* pMoment : {kShown, kDropped}) {
    g_object_set_data(G_OBJECT(pWindow), pMoment, GUINT_TO_POINTER(now));
  }
}

// A dialog stands in no task bar: once minimised, nothing else would bring it back.
gboolean ComeBack(GtkWidget* pWindow, GdkEventWindowState* pEvent, void*) {
  if ((pEvent->changed_mask & pEvent->new_window_state & GDK_WINDOW_STATE_ICONIFIED) != 0) {
    gtk_window_deiconify(GTK_WINDOW(pWindow));
  }
  return FALSE;
}

// A window manager that is busy overlooks who asks before the window is there; and where there is
// none, nobody else gives the focus to a window that is clicked.
gboolean TakeFocus(GtkWidget* pWindow, GdkEvent* pEvent, void*) {
  const bool comesUp = pEvent->type == GDK_MAP;
  if (!comesUp && YraIsManaged(pWindow)) return FALSE;
  const guint32 now = YraDisplayTime(pWindow);
  if (comesUp) {
    CameUp(pWindow, now);
    YraLimitDialog(pWindow);
  }
  gdk_window_focus(gtk_widget_get_window(pWindow), now);
  return FALSE;
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
  const guint32 now = YraDisplayTime(pWindow);
  YraSetUserTime(pWindow, now);
  gtk_widget_add_events(pWindow, GDK_BUTTON_PRESS_MASK);
  if (g_object_get_data(G_OBJECT(pWindow), kShown) == nullptr) {
    g_signal_connect(pWindow, "key-press-event", G_CALLBACK(DropTypedAhead), nullptr);
    g_signal_connect(pWindow, "window-state-event", G_CALLBACK(ComeBack), nullptr);
    g_signal_connect(pWindow, "map-event", G_CALLBACK(TakeFocus), nullptr);
    g_signal_connect(pWindow, "button-press-event", G_CALLBACK(TakeFocus), nullptr);
  }
  CameUp(pWindow, now);
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
