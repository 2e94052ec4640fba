// One call that shows one dialog in the thread that calls, and waits for the user.
#pragma once

#include "ui/YraGtk.h"

// The call's main loop, of its own: gtk_main_quit would end the loop that was started last in the
// whole process, which may be another thread's.
class YraCall {
 public:
  // Starts GTK for a call. Answers false, traced, where there is no display, or where the caller
  // holds GDK's lock, for which the dialog would wait for good.
  static bool Start(WinTrace trace, int argc, char** argv);

  YraCall() : m_pLoop(g_main_loop_new(nullptr, FALSE)) {}
  ~YraCall() { g_main_loop_unref(m_pLoop); }
  YraCall(const YraCall&) = delete;
  YraCall& operator=(const YraCall&) = delete;

  // Runs the loop, in which `idle` is called once with `data`, until Quit. The idle function may
  // run in another thread, which runs GTK's main loop already.
  void Run(GSourceFunc idle, void* data);
  // Runs the loop until the window is destroyed; at once where it was, and is null.
  void RunUntilDestroyed(GtkWidget* const* ppWindow);
  // Ends the call's loop; GTK's where no call has queued the idle function. The call may be over
  // before this returns.
  static void Quit(YraCall* pCall);

 private:
  void Run();  // with the lock, which the loop gives up

  GMainLoop* m_pLoop;
};

// A window of a call, which stands in its thread on top of all that the thread runs: what is below
// can end only after it.
class YraOnTop {
 public:
  explicit YraOnTop(GtkWidget* pWindow);
  ~YraOnTop();
  YraOnTop(const YraOnTop&) = delete;
  YraOnTop& operator=(const YraOnTop&) = delete;

  // Ends all such windows of this thread: a dialog as declined, another by destroying it.
  static void EndAll();

 private:
  static thread_local YraOnTop* t_pTop;
  GtkWidget* m_pWindow;  // null when it has been destroyed
  YraOnTop* m_pBelow;
};

// Runs a dialog of a call until it has an answer.
int YraRunOnTop(GtkWidget* pDialog);
// Closes the boxes that GTK has put up over a dialog, if there is one: they run loops of their own.
void YraCloseBoxes(GtkWidget* pDialog);
