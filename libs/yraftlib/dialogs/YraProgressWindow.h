// The window of the progress dialog: how it is built, and how it shows a value.
#pragma once

#include <gtk/gtk.h>

#include <string>

struct YraProgressWidgets {
  GtkWidget* pBar;
  GtkWidget* pPause;
  GtkWidget* pCancel;
};

GtkWidget* YraBuildProgressWindow();
GtkWidget* YraBuildProgressLabel(const std::string& text);
// Puts label, bar and buttons below each other into the window. May throw std::bad_alloc; what is
// made by then goes with the window.
YraProgressWidgets YraFillProgressWindow(GtkWidget* pWindow, GtkWidget* pLabel, double fraction);
// Shows the window without taking the keyboard from what the user is doing.
void YraShowAside(GtkWidget* pWindow);
// Gives the window the size that its texts need now; not less than it has where it is shown, since
// nothing may jump between the files of a batch.
void YraFitToTexts(GtkWidget* pWindow);

// Each leaves a widget alone that shows the value already: a burst of events repeats itself.
void YraShowTitle(GtkWidget* pWindow, const std::string& title);
void YraShowLabel(GtkWidget* pLabel, const std::string& text);
void YraShowFraction(GtkWidget* pBar, double fraction);
