#include "ui/YraToolkit.h"

#include <gdk/gdkx.h>

#include <algorithm>

namespace {

// The height of a label's first two lines, whatever line ends a file's name holds, and as high as
// the fonts of the texts' scripts, one of which the ellipsis is of: a label that may be shortened
// asks for the height of its own font alone.
int TwoLines(GtkWidget* pLabel) {
  PangoLayoutIter* pLine = pango_layout_get_iter(gtk_label_get_layout(GTK_LABEL(pLabel)));
  PangoRectangle first;
  pango_layout_iter_get_line_extents(pLine, nullptr, &first);
  PangoRectangle last = first;
  if (pango_layout_iter_next_line(pLine)) pango_layout_iter_get_line_extents(pLine, nullptr, &last);
  pango_layout_iter_free(pLine);
  return PANGO_PIXELS_CEIL(last.y + std::max(first.height, last.height));
}

}  // namespace

#if GTK_MAJOR_VERSION == 2

// The mutex is private to GDK and yet the one thing that tells; a host with a lock of its own kind
// has none.
bool YraLockIsFree() {
  if (gdk_threads_mutex == nullptr) return true;
  if (!g_mutex_trylock(gdk_threads_mutex)) return false;
  g_mutex_unlock(gdk_threads_mutex);
  return true;
}

GtkRequisition YraAskedSize(GtkWidget* pWidget) {
  GtkRequisition size;
  gtk_widget_size_request(pWidget, &size);
  return size;
}

GtkWidget* YraNewTwoLineLabel(const char* pText) {
  GtkWidget* pLabel = gtk_label_new(pText);
  const auto onSize = +[](GtkWidget* pWidget, GtkRequisition* pSize, void*) {
    *pSize = {std::min(pSize->width, kTwoLineLabelMaxWidth), TwoLines(pWidget)};
  };
  gtk_label_set_ellipsize(GTK_LABEL(pLabel), PANGO_ELLIPSIZE_MIDDLE);
  g_signal_connect(pLabel, "size-request", G_CALLBACK(onSize), nullptr);
  return pLabel;
}

void YraRenewFonts(GtkWidget*) {}
void YraLimitLine(GtkLabel*) {}
void YraLimitDialog(GtkWidget*) {}
bool YraMayLeaveFolder(GtkWidget*) { return true; }

void YraKeepPathBar(GtkWidget* pWidget, void*) {
  constexpr guint kLongest = 5;  // seconds
  if (g_str_equal(G_OBJECT_TYPE_NAME(pWidget), "GtkPathBar")) {
    const auto release = +[](void* pBar) -> gboolean {
      g_object_unref(pBar);
      return FALSE;
    };
    gdk_threads_add_timeout_seconds(kLongest, release, g_object_ref(pWidget));
  } else if (GTK_IS_CONTAINER(pWidget)) {
    gtk_container_forall(GTK_CONTAINER(pWidget), YraKeepPathBar, nullptr);
  }
}

namespace {

bool IsX11(GdkWindow*) { return true; }

}  // namespace

#else

bool YraLockIsFree() { return true; }

GtkRequisition YraAskedSize(GtkWidget* pWidget) {
  GtkRequisition size;
  gtk_widget_get_preferred_size(pWidget, nullptr, &size);
  return size;
}

namespace {

void AskForWidth(GtkWidget* pLabel, int* pMin, int* pNatural) {
  GTK_WIDGET_CLASS(g_type_class_peek(GTK_TYPE_LABEL))->get_preferred_width(pLabel, pMin, pNatural);
  *pNatural = std::min(*pNatural, kTwoLineLabelMaxWidth);
}

void AskForTwoLines(GtkWidget* pLabel, int, int* pMin, int* pNatural, int* pMinBase, int* pBase) {
  *pMin = *pNatural = TwoLines(pLabel);
  *pMinBase = *pBase = -1;
}

// No signal asks for the size any more: the label is of a class of its own.
GType TwoLineLabelType() {
  static const GType type = g_type_register_static_simple(
      GTK_TYPE_LABEL, "YraTwoLineLabel", sizeof(GtkLabelClass),
      [](void* pClass, void*) {
        GTK_WIDGET_CLASS(pClass)->get_preferred_width = AskForWidth;
        GTK_WIDGET_CLASS(pClass)->get_preferred_height_and_baseline_for_width = AskForTwoLines;
      },
      sizeof(GtkLabel), nullptr, static_cast<GTypeFlags>(0));
  return type;
}

bool IsX11(GdkWindow* pWindow) { return GDK_IS_X11_WINDOW(pWindow); }

}  // namespace

GtkWidget* YraNewTwoLineLabel(const char* pText) {
  void* pLabel = g_object_new(TwoLineLabelType(), "label", pText, "ellipsize",
                              PANGO_ELLIPSIZE_MIDDLE, nullptr);
  return GTK_WIDGET(pLabel);
}

// A style that changed is taken over when the window is shown, later than its size is asked for.
void YraRenewFonts(GtkWidget* pWindow) {
  const auto renew = +[](GtkWidget* pWidget, void*) { YraRenewFonts(pWidget); };
  PangoFontDescription* pFont = nullptr;
  gtk_style_context_get(gtk_widget_get_style_context(pWindow), gtk_widget_get_state_flags(pWindow),
                        GTK_STYLE_PROPERTY_FONT, &pFont, nullptr);
  pango_context_set_font_description(gtk_widget_get_pango_context(pWindow), pFont);
  pango_font_description_free(pFont);
  gtk_widget_queue_resize(pWindow);
  if (GTK_IS_CONTAINER(pWindow)) gtk_container_forall(GTK_CONTAINER(pWindow), renew, nullptr);
}

namespace {

bool HasLineOf(const char* pText, int chars) {
  for (int length = 0; *pText != '\0'; pText = g_utf8_next_char(pText)) {
    length = *pText == '\n' ? 0 : length + 1;
    if (length >= chars) return true;
  }
  return false;
}

}  // namespace

// GTK would also measure the text at the least width that it can have and at the one that the label
// had before, with a letter to a line maybe: a second for a word that fills the screen. A line that
// is longer anyway asks for the whole width, and the label has none before it is shown.
void YraLimitLine(GtkLabel* pLabel) {
  constexpr int kMost = 60;  // characters, as in any message dialog
  constexpr GtkAllocation kNone = {.x = -1, .y = -1, .width = 1, .height = 1};
  GtkWidget* pWidget = GTK_WIDGET(pLabel);
  PangoContext* pContext = gtk_widget_get_pango_context(pWidget);
  PangoFontMetrics* pMetrics = pango_context_get_metrics(pContext, nullptr, nullptr);
  const int width = std::max(pango_font_metrics_get_approximate_char_width(pMetrics),
                             pango_font_metrics_get_approximate_digit_width(pMetrics));
  pango_font_metrics_unref(pMetrics);
  const int half = gdk_screen_get_width(gtk_widget_get_screen(pWidget)) / 2;
  const int most = std::clamp(half * PANGO_SCALE / width, 1, kMost);
  gtk_label_set_max_width_chars(pLabel, most);
  gtk_label_set_width_chars(pLabel, HasLineOf(gtk_label_get_text(pLabel), most) ? most : -1);
  gtk_widget_set_allocation(pWidget, &kNone);
}

void YraLimitDialog(GtkWidget* pDialog) {
  GdkScreen* pScreen = gtk_widget_get_screen(pDialog);
  int width = 0;
  int height = 0;
  gtk_window_get_size(GTK_WINDOW(pDialog), &width, &height);
  gtk_window_resize(GTK_WINDOW(pDialog), std::min(width, gdk_screen_get_width(pScreen) * 3 / 4),
                    std::min(height, gdk_screen_get_height(pScreen) * 3 / 4));
}

namespace {

struct PathButtons {
  bool there = false;
  bool complete = true;

  // The button of the home folder has an icon beside its name.
  static void Find(GtkWidget* pWidget, void* data) {
    auto* pFound = static_cast<PathButtons*>(data);
    GtkWidget* pParent = gtk_widget_get_parent(pWidget);
    if (GTK_IS_CONTAINER(pWidget)) gtk_container_forall(GTK_CONTAINER(pWidget), Find, data);
    if (GTK_IS_TOGGLE_BUTTON(pWidget) && g_str_equal(G_OBJECT_TYPE_NAME(pParent), "GtkPathBar")) {
      pFound->there = true;
    } else if (GTK_IS_IMAGE(pWidget) && GTK_IS_BOX(pParent) &&
               GTK_IS_TOGGLE_BUTTON(gtk_widget_get_parent(pParent)) &&
               gtk_image_get_storage_type(GTK_IMAGE(pWidget)) == GTK_IMAGE_EMPTY) {
      pFound->complete = false;
    }
  }
};

}  // namespace

bool YraMayLeaveFolder(GtkWidget* pChooser) {
  PathButtons buttons;
  PathButtons::Find(pChooser, &buttons);
  return buttons.there && buttons.complete;
}

void YraKeepPathBar(GtkWidget*, void*) {}

#endif

// ---- The display -------------------------------------------------------------------------------

guint32 YraDisplayTime(GtkWidget* pWindow) {
  GdkWindow* pGdkWindow = gtk_widget_get_window(pWindow);
  if (IsX11(pGdkWindow)) return gdk_x11_get_server_time(pGdkWindow);
  return static_cast<guint32>(g_get_monotonic_time() / 1000);  // Wayland's
}

void YraSetUserTime(GtkWidget* pWindow, guint32 time) {
  GdkWindow* pGdkWindow = gtk_widget_get_window(pWindow);
  if (IsX11(pGdkWindow)) gdk_x11_window_set_user_time(pGdkWindow, time);
}

bool YraIsManaged(GtkWidget* pWindow) {
  return !IsX11(gtk_widget_get_window(pWindow)) ||
         gdk_x11_screen_supports_net_wm_hint(gtk_widget_get_screen(pWindow),
                                             gdk_atom_intern_static_string("_NET_ACTIVE_WINDOW"));
}
