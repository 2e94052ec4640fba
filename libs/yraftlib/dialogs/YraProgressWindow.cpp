// The window of the progress dialog and its widgets.
#include "dialogs/YraProgressWindow.h"

#include <algorithm>

#include "common/libs/kvolocalise/messages.h"
#include "ui/YraGtk.h"
#include "ui/YraToolkit.h"

namespace {

// A name as long as a file system allows must not push the window off the screen.
constexpr int kLabelMaxChars = 48;
constexpr int kWidth = 350;  // pixels
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
  YraSetUserTime(pWindow, 0);
  gtk_widget_show_all(pWindow);
  gtk_window_set_focus(GTK_WINDOW(pWindow), nullptr);
}

// The window is as large as it asked to be where that holds its texts; a script or a font that
// takes more gets what it takes.
void YraFitToTexts(GtkWidget* pWindow) {
  const GtkRequisition texts = YraAskedSize(gtk_bin_get_child(GTK_BIN(pWindow)));
  const int borders = 2 * static_cast<int>(gtk_container_get_border_width(GTK_CONTAINER(pWindow)));
  int width = kWidth;
  int height = kHeight;
  if (gtk_widget_get_visible(pWindow)) gtk_window_get_size(GTK_WINDOW(pWindow), &width, &height);
  gtk_widget_set_size_request(pWindow, std::max(texts.width + borders, width),
                              std::max(texts.height + borders, height));
}

GtkWidget* YraBuildProgressLabel(const std::string& text) {
  GtkWidget* pLabel = YraNewTwoLineLabel(text.c_str());
  gtk_label_set_max_width_chars(GTK_LABEL(pLabel), kLabelMaxChars);
  return pLabel;
}

namespace {

GtkWidget* BuildBar(double fraction) {
  GtkWidget* pBar = gtk_progress_bar_new();
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
