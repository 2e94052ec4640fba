#include "WindowWatch.h"

#include <gtk/gtk.h>
#include <sched.h>
#include <unistd.h>

namespace {

WindowEvents g_events;
bool g_following = false;

GObject* Emitter(const GValue* arguments) {
  return static_cast<GObject*>(g_value_get_object(arguments));
}

gboolean OnHide(GSignalInvocationHint*, guint, const GValue* arguments, gpointer) {
  if (GTK_IS_MESSAGE_DIALOG(Emitter(arguments))) g_events.boxClosed();
  return TRUE;  // go on watching
}

// The choosers and the boxes are dialogs, the progress window is none.
gboolean OnDelete(GSignalInvocationHint*, guint, const GValue* arguments, gpointer) {
  if (!GTK_IS_DIALOG(Emitter(arguments))) g_events.windowClosed();
  return TRUE;
}

gboolean OnFolder(GSignalInvocationHint*, guint, const GValue* arguments, gpointer) {
  char* folder = gtk_file_chooser_get_current_folder(GTK_FILE_CHOOSER(Emitter(arguments)));
  if (folder != nullptr && chdir(folder) != 0) g_debug("%s cannot be entered", folder);
  g_free(folder);
  return TRUE;
}

void Watch(const char* signal, GType type, GSignalEmissionHook hook) {
  g_signal_add_emission_hook(g_signal_lookup(signal, type), 0, hook, nullptr, nullptr);
}

// Runs in the UI thread, in front of the first request.
gboolean AddHooks(gpointer) {
  Watch("hide", GTK_TYPE_WIDGET, OnHide);
  Watch("delete-event", GTK_TYPE_WIDGET, OnDelete);
  if (g_following) Watch("current-folder-changed", GTK_TYPE_FILE_CHOOSER, OnFolder);
  return FALSE;
}

}  // namespace

void FollowChooser() { g_following = unshare(CLONE_FS) == 0 && chdir(g_get_home_dir()) == 0; }

void WatchWindows(const WindowEvents& events) {
  g_events = events;
  g_idle_add(AddHooks, nullptr);
}
