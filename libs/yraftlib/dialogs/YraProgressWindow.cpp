// The window of the progress dialog and its widgets.
#include "dialogs/YraProgressWindow.h"

#include <gdk/gdkx.h>

#include <algorithm>

#include "common/libs/kvolocalise/messages.h"
#include "ui/YraGtk.h"

namespace {

// A name as long as a file system allows must not push the window off the screen.
constexpr int kLabelMaxChars = 48;
constexpr int kWidth = 350;  // pixels
constexpr int kMaxWidth = 480;
constexpr int kHeight = 120;

}  // namespace

// ---- Showing values ----------------------------------------------------------------------------

void YraShowTitle(GtkWidget* pWindow, const std::string& title) {
  const char* pShown = gtk_window_get_title(GTK_WINDOW(pWindow));
  if (pShown == nullptr || title != pShown) {
    gtk_window_set_title(GTK_WINDOW(pWindow), title.c_str());
  }
}

void YraShowLabel(GtkWidget* pLabel, const std::string& text) {
  if (text != gtk_label_get_text(GTK_LABEL(pLabel))) {
    gtk_label_set_text(GTK_LABEL(pLabel), text.c_str());
  }
}

// The toolkit refuses a fraction above 1.0, with a complaint, and would leave the bar where it was.
void YraShowFraction(GtkWidget* pBar, double fraction) {
  fraction = std::min(fraction, 1.0);
  if (gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(pBar)) != fraction) {
    gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(pBar), fraction);
  }
}

// ---- Building ----------------------------------------------------------------------------------

GtkWidget* YraBuildProgressWindow() {
  GtkWidget* pWindow = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  GtkWindow* pGtkWindow = GTK_WINDOW(pWindow);
  gtk_container_set_border_width(GTK_CONTAINER(pWindow), 10);
  gtk_window_set_deletable(pGtkWindow, FALSE);
  gtk_window_set_resizable(pGtkWindow, FALSE);
  gtk_widget_set_size_request(pWindow, kWidth, kHeight);
  gtk_window_set_modal(pGtkWindow, TRUE);
  YraStandAlone(pWindow);
  return pWindow;
}

// A time of use before all others: the window manager leaves the focus where the user types. Nor
// has a button the focus, which the next space would press, until the user goes there.
void YraShowAside(GtkWidget* pWindow) {
  gtk_window_set_focus_on_map(GTK_WINDOW(pWindow), FALSE);
  gtk_widget_realize(pWindow);
  gdk_x11_window_set_user_time(gtk_widget_get_window(pWindow), 0);
  gtk_widget_show_all(pWindow);
  gtk_window_set_focus(GTK_WINDOW(pWindow), nullptr);
}

// The window is as large as it asked to be where that holds its texts; a script or a font that
// takes more gets what it takes.
void YraFitToTexts(GtkWidget* pWindow) {
  GtkRequisition texts;
  gtk_widget_size_request(gtk_bin_get_child(GTK_BIN(pWindow)), &texts);
  const int borders = 2 * static_cast<int>(gtk_container_get_border_width(GTK_CONTAINER(pWindow)));
  int width = kWidth;
  int height = kHeight;
  if (gtk_widget_get_visible(pWindow)) gtk_window_get_size(GTK_WINDOW(pWindow), &width, &height);
  GdkGeometry size = {};
  size.min_width = size.max_width = std::clamp(texts.width + borders, width, kMaxWidth);
  size.min_height = size.max_height = std::max(texts.height + borders, height);
  gtk_window_set_geometry_hints(GTK_WINDOW(pWindow), nullptr, &size,
                                static_cast<GdkWindowHints>(GDK_HINT_MIN_SIZE | GDK_HINT_MAX_SIZE));
}

namespace {

// The label is two lines high, whatever line ends a file's name holds, and as high as the font of
// the name's script: a label that may be shortened asks for the height of its own font alone.
void AskForTwoLines(GtkWidget* pLabel, GtkRequisition* pSize, void*) {
  PangoLayoutIter* pLine = pango_layout_get_iter(gtk_label_get_layout(GTK_LABEL(pLabel)));
  PangoRectangle last;
  pango_layout_iter_get_line_extents(pLine, nullptr, &last);
  if (pango_layout_iter_next_line(pLine)) pango_layout_iter_get_line_extents(pLine, nullptr, &last);
  pango_layout_iter_free(pLine);
  pSize->height = PANGO_PIXELS_CEIL(last.y + last.height);
}

}  // namespace

GtkWidget* YraBuildProgressLabel(const std::string& text) {
  GtkWidget* pLabel = gtk_label_new(text.c_str());
  gtk_label_set_ellipsize(GTK_LABEL(pLabel), PANGO_ELLIPSIZE_MIDDLE);
  gtk_label_set_max_width_chars(GTK_LABEL(pLabel), kLabelMaxChars);
  g_signal_connect(pLabel, "size-request", G_CALLBACK(AskForTwoLines), nullptr);
  return pLabel;
}

namespace {

GtkWidget* BuildBar(double fraction) {
  GtkWidget* pBar = gtk_progress_bar_new();
  gtk_progress_bar_set_orientation(GTK_PROGRESS_BAR(pBar), GTK_PROGRESS_LEFT_TO_RIGHT);
  YraShowFraction(pBar, fraction);
  return pBar;
}

GtkWidget* Aligned(GtkWidget* pChild, float at) {
  GtkWidget* pAlignment = gtk_alignment_new(at, at, 0.0F, 0.0F);
  gtk_container_add(GTK_CONTAINER(pAlignment), pChild);
  return pAlignment;
}

void Pack(GtkWidget* pBox, GtkWidget* pChild) {
  gtk_box_pack_start(GTK_BOX(pBox), pChild, FALSE, FALSE, 0);
}

}  // namespace

YraProgressWidgets YraFillProgressWindow(GtkWidget* pWindow, GtkWidget* pLabel, double fraction) {
  GtkWidget* pColumn = gtk_vbox_new(FALSE, 5);
  GtkWidget* pButtons = gtk_hbox_new(FALSE, 10);
  GtkWidget* pBar = BuildBar(fraction);
  // Who listens hears of the bar which file it is about.
  atk_object_set_name(gtk_widget_get_accessible(pBar), "File transfer");
  gtk_label_set_mnemonic_widget(GTK_LABEL(pLabel), pBar);
  gtk_container_add(GTK_CONTAINER(pWindow), pColumn);
  Pack(pColumn, Aligned(pLabel, 0.0F));
  Pack(pColumn, pBar);
  Pack(pColumn, Aligned(pButtons, 1.0F));
  const auto addButton = [pButtons](int number) {
    GtkWidget* pButton = gtk_button_new_with_mnemonic(YraText(number).c_str());
    Pack(pButtons, pButton);
    return pButton;
  };
  GtkWidget* pPause = addButton(YRAFT_ENG_BUTTON_PAUSE);
  GtkWidget* pCancel = addButton(YRAFT_ENG_BUTTON_CANCEL);
  gtk_widget_show_all(pColumn);
  gtk_window_set_position(GTK_WINDOW(pWindow), GTK_WIN_POS_CENTER_ALWAYS);
  return {.pBar = pBar, .pPause = pPause, .pCancel = pCancel};
}
