// GTK as the dialogs use it: its start and its lock, how a window is shown, and texts for it.
#pragma once

#include "YraTrace.h"
// After the trace vocabulary.
#include <gtk/gtk.h>

#include <string>

// Holds GDK's lock, which is one only where the host initialised GDK's threads. An idle function
// runs without it, and a modal loop gives it up and takes it again: whoever starts one must hold
// it.
class GdkLock {
 public:
  GdkLock() { gdk_threads_enter(); }
  ~GdkLock() { gdk_threads_leave(); }
  GdkLock(const GdkLock&) = delete;
  GdkLock& operator=(const GdkLock&) = delete;
};

// Gives the lock up while another thread is called or waited for, which may want it.
class GdkUnlock {
 public:
  GdkUnlock() { gdk_threads_leave(); }
  ~GdkUnlock() { gdk_threads_enter(); }
  GdkUnlock(const GdkUnlock&) = delete;
  GdkUnlock& operator=(const GdkUnlock&) = delete;
};

// Whether this thread can have the lock. False, traced, after it was held for two seconds on end:
// by the thread itself, then, which cannot be asked.
bool YraCanLock(WinTrace trace);

// Starts GTK, any number of times. Answers false, traced, where there is no display.
bool YraInitGtk(WinTrace trace, int argc, char** argv);

// ---- Windows -----------------------------------------------------------------------------------

// Makes a modal window block nothing but itself: neither the toolkit's grab nor the window manager
// may keep the user from another dialog that is open.
void YraStandAlone(GtkWidget* pWindow);
// Shows a window in front with the keyboard focus, also one that was used and hidden before: the
// window manager goes by the time of the window's last use. What the user was typing elsewhere as
// it came up does not reach it.
void YraShowInFront(GtkWidget* pWindow);

// ---- Texts -------------------------------------------------------------------------------------

// A text of the catalog as valid UTF-8.
std::string YraText(int number);
// A text of any origin as valid UTF-8: replacement characters stand for what is not. Null is empty.
std::string YraValidText(const char* pText);
// Cuts a valid text to at most `size` bytes at a character's border.
std::string YraCutText(std::string text, std::size_t size);
