#include "ChooserLook.h"

#include <gtk/gtk.h>

#include <sstream>

namespace {

ChooserLook g_look;

void Filter(GtkFileChooser* chooser, const std::string& patterns) {
  GtkFileFilter* filter = gtk_file_filter_new();
  gtk_file_filter_set_name(filter, patterns.c_str());
  std::istringstream stream(patterns);
  for (std::string one; std::getline(stream, one, ';');) {
    gtk_file_filter_add_pattern(filter, one.c_str());
  }
  gtk_file_chooser_add_filter(chooser, filter);
  gtk_file_chooser_set_filter(chooser, filter);
}

gboolean OnShow(GSignalInvocationHint*, guint, const GValue* arguments, gpointer) {
  gpointer widget = g_value_get_object(arguments);
  if (!GTK_IS_FILE_CHOOSER_DIALOG(widget)) return TRUE;  // go on watching
  auto* chooser = GTK_FILE_CHOOSER(widget);
  if (!g_look.title.empty()) gtk_window_set_title(GTK_WINDOW(widget), g_look.title.c_str());
  if (!g_look.folder.empty()) gtk_file_chooser_set_current_folder(chooser, g_look.folder.c_str());
  if (!g_look.filter.empty()) Filter(chooser, g_look.filter);
  if (g_look.single) gtk_file_chooser_set_select_multiple(chooser, FALSE);
  return FALSE;
}

// Runs in front of the function that builds the chooser, which is the first widget there is.
gboolean Watch(gpointer) {
  g_type_class_ref(GTK_TYPE_WIDGET);
  g_signal_add_emission_hook(g_signal_lookup("show", GTK_TYPE_WIDGET), 0, OnShow, nullptr, nullptr);
  return FALSE;
}

}  // namespace

void ShapeNextChooser(const ChooserLook& look) {
  g_look = look;
  g_idle_add(Watch, nullptr);
}
