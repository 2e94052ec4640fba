// What the dialogs share: GTK's start, its lock, a modal run, a one-call main loop, texts, the road
// from chosen paths to a block, and the line in which requests wait.
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

// Starts GTK, any number of times. Answers false, traced, where there is no display.
bool YraInitGtk(int argc, char** argv);

// Runs a GTK main loop in which `idle` is called once with `data`, until someone quits it.
void YraRunMainLoop(GSourceFunc idle, void* data);

// Shows a window in front with the keyboard focus, also one that was used and hidden before: the
// window manager goes by the time of the window's last use.
void YraShowInFront(GtkWidget* pWindow);

// Runs a dialog modally and answers its response. Other idle functions are served meanwhile.
int YraRunModal(GtkWidget* pDialog);

// A text of the catalog as valid UTF-8.
std::string YraText(int number);
// A text of any origin as valid UTF-8: replacement characters stand for what is not.
std::string YraValidText(const char* pText);
// Cuts a valid text to at most `size` bytes at a character's border.
std::string YraCutText(std::string text, std::size_t size);

// Where a file chooser comes to: the home directory, nothing selected, nothing typed.
void YraResetChooser(GtkWidget* pDialog);

// Says how a chosen path becomes an item.
struct YraItemRule {
  bool numbered;    // fileContext counts the paths; else it is 0
  bool sizeOfPath;  // fileSize is the file's own; else `size`
  uint64_t size;
};

struct YraChosen {
  int paths = 0;           // what the chooser returned
  int pushed = 0;          // what reached the store
  uint64_t totalSize = 0;  // of what reached the store
};

// Pushes an item for every path selected in the chooser into the store's file-info queue.
YraChosen YraQueueChosen(GtkWidget* pChooser, YraRW* pRW, const YraItemRule& rule);

// What became of a request for a choice: the operation status, and a block with status 0.
struct YraChoice {
  unsigned int status = YRAFT_OPT_STATUS_FAILED;
  YRAFT_TLV_BLOCKS* pBlock = nullptr;
  unsigned short blockLen = 0;
};

// Takes the store's file-info queue out as the choice's block; on failure the queue is empty and
// there is no block.
YraChoice YraTakeChoice(YraWinUI* pWinUI);
// The choice of a dialog that was not accepted.
YraChoice YraDeclinedChoice(int result);

// Brings a chooser to its start, shows it and runs it.
int YraRunChooser(GtkWidget* pDialog);
void YraHideDialog(GtkWidget* pDialog);

// Shows the texts of an error record in a box of its own until the user closes it.
unsigned int YraShowErrorRecord(YraWinUI* pWinUI, int argc, char** argv,
                                const YRAFT_ERROR_MESSAGE_INFO& info);

const char* YraOperationName(uint32_t operation);

// The UI thread's side of the object, for the dialogs' idle functions and callbacks.
struct YraUIThread {
  static bool Ending(YraWinUI* pWinUI) { return pWinUI->m_bEnding; }
  static YRAFT_PROGRESS_BAR_INFO Progress(YraWinUI* pWinUI) {
    return pWinUI->m_progressBarInfo.Load();
  }
  static YRAFT_FILEINFO_ITEM FileItem(YraWinUI* pWinUI) { return pWinUI->m_fileItemInfo.Load(); }
  static YraRequestLine& FileRequests(YraWinUI* pWinUI) { return pWinUI->m_fileRequests; }
  static YraRequestLine& DirectoryRequests(YraWinUI* pWinUI) { return pWinUI->m_directoryRequests; }
  static YraRequestLine& ErrorRequests(YraWinUI* pWinUI) { return pWinUI->m_errorRequests; }

  // Forgets the widgets of a progress window that is being destroyed.
  static void ForgetProgressWindow(YraWinUI* pWinUI);
  // Declines every dialog that runs, and lets no other one open.
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

// Serves the requests of a line one after another: the first comer's call serves those that come up
// during its run, theirs return at once.
template <class Serve>
void YraServeRequests(YraRequestLine& line, Serve serve) {
  if (line.serving) {
    ++line.deferred;
    return;
  }
  line.serving = true;
  serve();
  for (; line.deferred > 0; --line.deferred) serve();
  line.serving = false;
}

// Serves the next request for a choice with `run`, and those that wait for it, each with its one
// notification. pWinUI may be null, then the host hears that there is no UI.
void YraServeChoices(YraWinUI* pWinUI, YraRequestLine* pLine, unsigned int event,
                     YraChoice (*run)(YraWinUI*));

extern "C" {
// Idle functions and callbacks, by GTK's and GLib's prototypes; data is the YraWinUI.
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
