// What GTK+ 2 and GTK 3 have under different names, and what a display that is not X11 lacks. Only
// this pair knows what the library is built with and shown on.
#pragma once

#include <gtk/gtk.h>

// ---- The toolkit -------------------------------------------------------------------------------

// Whether GDK's lock is free at this moment. GTK 3 keeps it to itself: there nobody can tell.
bool YraLockIsFree();

// The size that a widget asks for where nothing limits it.
GtkRequisition YraAskedSize(GtkWidget* pWidget);

// A label that asks for two lines, whatever its text holds, and for no more than this width. It
// shortens what has no room.
constexpr int kTwoLineLabelMaxWidth = 460;  // pixels
GtkWidget* YraNewTwoLineLabel(const char* pText);

// Lets a window that nobody sees measure with the fonts of the present. GTK+ 2 does by itself.
void YraRenewFonts(GtkWidget* pWindow);

// Keeps a line of a label that wraps and has a new text, which nobody sees yet, and a dialog that
// was shown, smaller than the screen. GTK+ 2 does by itself.
void YraLimitLine(GtkLabel* pLabel);
void YraLimitDialog(GtkWidget* pDialog);

// Whether a chooser may be sent to another folder at this moment. GTK 3 ends the process where the
// icon of the home folder comes after the path bar's button for it has gone.
bool YraMayLeaveFolder(GtkWidget* pChooser);
// The "destroy" handler of a chooser: GTK+ 2's path bar takes the file system's answer for an icon
// also when it has gone, so its memory outlives it.
void YraKeepPathBar(GtkWidget* pChooser, void*);

// ---- The display -------------------------------------------------------------------------------

// The time on the clock by which the display dates a user's keys and clicks, in milliseconds.
guint32 YraDisplayTime(GtkWidget* pWindow);
// Tells the window manager when the user turned to the window last: 0 is before all others.
void YraSetUserTime(GtkWidget* pWindow, guint32 time);
// Whether somebody gives the focus to a window that is clicked.
bool YraIsManaged(GtkWidget* pWindow);
