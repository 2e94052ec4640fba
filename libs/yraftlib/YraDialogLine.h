// The requests that wait for one persistent dialog, and the run that answers the first of them.
#pragma once

#include <atomic>

class YraWinUI;
struct YraDialogKind;
typedef struct _GtkWidget GtkWidget;

// Requests are answered one after another, each once. A run holds no main loop of its own: the
// dialog is shown modally, and what closes it (the user's answer, the window manager, the end of
// the UI, its destruction) ends the run in that moment. So dialogs of different kinds stand side by
// side and close in any order.
//
// The channel thread only counts requests in; everything else belongs to the UI thread.
class YraDialogLine {
 public:
  YraDialogLine(YraWinUI* pWinUI, const YraDialogKind& kind) : m_pWinUI(pWinUI), m_kind(kind) {}

  // Counts a request in and queues the idle function that serves it. Any thread.
  void Accept();
  // Opens the dialog for the next request, unless it is open or the UI is ending.
  void Serve();
  // Listens to what closes the dialog.
  void Watch(GtkWidget* pDialog);
  // Ends the run that is under way, if any, with this response.
  void End(int response);
  // Answers all that wait with this response, without a dialog.
  void EndAll(int response);

 private:
  GtkWidget* TakeDialog();
  void Answer(GtkWidget* pDialog, int response);

  YraWinUI* m_pWinUI;
  const YraDialogKind& m_kind;
  std::atomic<int> m_unanswered{0};  // accepted, and not answered yet
  bool m_running = false;            // the dialog is open for the first of them
};
