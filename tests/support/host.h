// A host as the library meets it: a UI thread, a channel thread (the test), and a notify function.
#pragma once

#include <gtk/gtk.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <thread>

#include "support/await.h"
#include "yrafiletransfer.h"

struct Note {
  unsigned int event, subCode, status, value;
  void* pData;
  std::thread::id thread;  // in which it came
};

// Collects notifications for as long as it lives, as a host does that may take the toolkit's lock.
class Notes {
 public:
  Notes();
  ~Notes();
  // The next notification; none within half a minute is of event 0.
  Note Next();
  std::size_t Pending();
  // What the host does while it hears of the next one.
  void OnNext(std::function<void()> act);

 private:
  static unsigned int Receive(unsigned int event, unsigned int subCode, unsigned int status,
                              unsigned int value, void* pData);
};

// A record for YraSendSelfSignal, of a download unless told.
YRAFT_PROGRESS_BAR_INFO* NewProgress(const std::string& name, uint32_t offset, uint32_t size,
                                     uint16_t number = 0, uint16_t count = 1,
                                     uint32_t operation = YRAFT_OPERATION_DOWNLOAD);

// A persistent UI on a thread of its own. Ends it when it goes, if the test has not.
class Host {
 public:
  Host();
  ~Host();
  unsigned int Send(int signalType, int evtType, void* pInput);
  void RequestFiles();
  void RequestDirectory(uint64_t size);
  template <class... Figure>  // as NewProgress takes them
  void Progress(int event, const std::string& name, Figure... figure) {
    Send(YRAFT_UI_SIGNAL_PROGRESS_BAR, event, NewProgress(name, figure...));
  }
  void Error(const std::string& title, const std::string& first, const std::string& second);
  // Sends signal 5 and waits for YraMainWinUICreate; answers its object.
  YraWinUI* Return();
  // The same, and deletes the object.
  bool End();
  YRAFT_SELF_SIGNAL table = {};

 private:
  std::thread m_thread;
  std::promise<YraWinUI*> m_ended;
  std::future<YraWinUI*> m_winUI;
};

// The answer of a call that shows a dialog, run by std::async: it must come within half a minute.
template <class Answer>
Answer Await(std::future<Answer>& answer) {
  if (answer.wait_for(kPatience) != std::future_status::ready) {
    fprintf(stderr, "the UI thread does not answer\n");
    abort();
  }
  return answer.get();
}

// Runs a function in the UI thread and waits for it; or asks one there until it says yes, which it
// must within half a minute.
void InUI(const std::function<void()>& function);
bool WaitInUI(const std::function<bool()>& condition);

// In the UI thread: the nth widget of a type in the visible windows with this title part, or null.
GtkWidget* Find(const std::string& titlePart, GType type, std::size_t nth = 0);
// The hidden window that every UI has, and the mapped button with this label.
GtkWidget* MainWindow();
GtkWidget* FindButton(const std::string& titlePart, const std::string& label);

// What follows is asked from another thread, and answers false or none after half a minute.

// Does something to a visible window once it is there and lets it.
bool With(const std::string& titlePart, const std::function<bool(GtkWidget*)>& act);
// A chooser has read the folder of a file, and that is selected, or all that stands beside it.
bool Select(const std::string& titlePart, const std::string& path, bool all = false);
bool IsSelected(GtkWidget* chooser, const std::string& path);
// Lets a dialog answer by itself as its button would; a chooser accepts once something is selected.
bool Respond(const std::string& titlePart, int response);
// Where a button with this label stands still on the screen, else {-1, -1}; lit: it knows that the
// pointer is there, or cannot be pressed.
struct Spot {
  int x, y;
  bool lit;
};
Spot ButtonSpot(const std::string& label);
// The window no longer drops keys, which it does while it comes up.
bool Hears(const std::string& titlePart);
// The text of the nth label (from 0), as it is now.
std::string LabelText(const std::string& titlePart, std::size_t nth = 0);
// The labels that have less room than they take, and get no more.
std::string CutLabels(const std::string& titlePart);
// The bar's fraction in the visible or hidden progress window.
double BarFraction();
