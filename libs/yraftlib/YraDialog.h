// What the dialogs share: GTK's start and its lock, how a window is shown, the two ways to run a
// dialog, and texts.
#pragma once

#include "YraWinUI.h"
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

// Gives the lock up while the host is called, which may wait for a thread that wants it.
class GdkUnlock {
 public:
  GdkUnlock() { gdk_threads_leave(); }
  ~GdkUnlock() { gdk_threads_enter(); }
  GdkUnlock(const GdkUnlock&) = delete;
  GdkUnlock& operator=(const GdkUnlock&) = delete;
};

// Starts GTK, any number of times. Answers false, traced, where there is no display.
bool YraInitGtk(int argc, char** argv);

// ---- Windows -----------------------------------------------------------------------------------

// Makes a modal window block nothing but itself: neither the toolkit's grab nor the window manager
// may keep the user from another dialog that is open.
void YraStandAlone(GtkWidget* pWindow);
// Shows a window in front with the keyboard focus, also one that was used and hidden before: the
// window manager goes by the time of the window's last use.
void YraShowInFront(GtkWidget* pWindow);
// Hides a dialog of the persistent UI at once; null is harmless.
void YraHideDialog(GtkWidget* pDialog);

// ---- One call, one dialog ----------------------------------------------------------------------

// Runs a GTK main loop in which `idle` is called once with `data`, until someone quits it.
void YraRunMainLoop(GSourceFunc idle, void* data);
// Runs a dialog in a modal loop and answers its response.
int YraRunModal(GtkWidget* pDialog);

// ---- Persistent dialogs ------------------------------------------------------------------------

// Says how the requests of one kind are answered, in the UI thread.
struct YraDialogKind {
  GSourceFunc idle;   // serves the line
  const char* pIdle;  // as the log knows it
  GtkWidget* (YraWinUI::*get)();
  unsigned int (YraWinUI::*set)(GtkWidget*);
  unsigned int (YraWinUI::*build)();
  const char* pBuild;       // as the log knows it
  const char* pNotCreated;  // what the log says of a dialog that is still missing …
  const char* pNull;        // … and of one that is gone
  // Fills the dialog for the next request and shows it; false where there is nothing to show.
  bool (*open)(YraWinUI* pWinUI, GtkWidget* pDialog);
  // Gives a request its answer and hides the dialog, null where none could be opened.
  void (*answer)(YraWinUI* pWinUI, GtkWidget* pDialog, int response);
};

// For a "destroy" handler, by whose name and at whose level it traces: hides the dialog that the
// object holds, and forgets it if it is this widget.
void YraForgetDialog(YraWinUI* pWinUI, GtkWidget* pWidget, const YraDialogKind& kind, int level,
                     const char* kCaller);

// Defines a "delete-event" handler that lets the event go on to the toolkit.
#define YRA_DELETE_EVENT_HANDLER(name, level)                                     \
  gboolean name(GtkWidget* widget, GdkEvent* event, void* data) {                 \
    TRACE_AT(level, "[%s] In.", kLayer.tag);                                      \
    TRACE_AT(level, "widget=0x%x, event=0x%x, udata=0x%x.", TraceAddress(widget), \
             TraceAddress(event), TraceAddress(data));                            \
    TRACE_AT(level, "[%s] Out.", kLayer.tag);                                     \
    return FALSE;                                                                 \
  }

// ---- Texts -------------------------------------------------------------------------------------

// A text of the catalog as valid UTF-8.
std::string YraText(int number);
// A text of any origin as valid UTF-8: replacement characters stand for what is not.
std::string YraValidText(const char* pText);
// Cuts a valid text to at most `size` bytes at a character's border.
std::string YraCutText(std::string text, std::size_t size);

const char* YraOperationName(uint32_t operation);

// Shows the texts of an error record in a box of its own until the user closes it.
unsigned int YraShowErrorRecord(YraWinUI* pWinUI, int argc, char** argv,
                                const YRAFT_ERROR_MESSAGE_INFO& info);

// ---- The UI thread's side of the object --------------------------------------------------------

// For the dialogs' idle functions and callbacks.
struct YraUIThread {
  static bool Ending(YraWinUI* pWinUI) { return pWinUI->m_bEnding; }
  static YRAFT_PROGRESS_BAR_INFO Progress(YraWinUI* pWinUI) {
    return pWinUI->m_progressBarInfo.Load();
  }
  static std::atomic<bool>& ProgressIsNews(YraWinUI* pWinUI) { return pWinUI->m_bProgressIsNews; }
  static YRAFT_FILEINFO_ITEM FileItem(YraWinUI* pWinUI) { return pWinUI->m_fileItemInfo.Load(); }
  static YraDialogLine& FileRequests(YraWinUI* pWinUI) { return pWinUI->m_fileRequests; }
  static YraDialogLine& DirectoryRequests(YraWinUI* pWinUI) { return pWinUI->m_directoryRequests; }
  static YraDialogLine& ErrorRequests(YraWinUI* pWinUI) { return pWinUI->m_errorRequests; }

  // Forgets the widgets of a progress window that is being destroyed.
  static void ForgetProgressWindow(YraWinUI* pWinUI);
  // Declines every dialog that is open, and lets no other one open.
  static void EndDialogs(YraWinUI* pWinUI);
  // Answers every request that no idle function got to, and drops those idle functions.
  static void AnswerTheRest(YraWinUI* pWinUI);
  // Moves records from the inbox to the end of the line.
  static void CollectErrors(YraWinUI* pWinUI);
  // Releases the error message that was shown and all that wait.
  static void ReleaseErrors(YraWinUI* pWinUI);

  static void ConnectSelfSignals(YraWinUI* pWinUI, YRAFT_SELF_SIGNAL* pTable);
  static void DisconnectSelfSignals(YraWinUI* pWinUI);
  static unsigned int RunSynchronous(YraWinUI* pWinUI, int operationType, int argc, char** argv,
                                     void* pInput);
};

extern "C" {
// Idle functions, by GLib's prototype; data is the YraWinUI.
int YraChooseFilesIdleFunc(void* data);
int YraChooseFilesSelfSignalIdleFunc(void* data);
int YraChooseDirectoryIdleFunc(void* data);
int YraChooseDirectorySelfSignalIdleFunc(void* data);
int YraProgressBarSelfSignalCreateIdleFunc(void* data);
int YraProgressBarSelfSignalRefreshIdleFunc(void* data);
int YraProgressBarSelfSignalCloseIdleFunc(void* data);
int YraErrorMsgIdleFunc(void* data);
int YraErrorMsgSelfSignalIdleFunc(void* data);
int YraThreadDestorySelfSignalIdleFunc(void* data);
}
