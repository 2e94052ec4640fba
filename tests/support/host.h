// A host as the library meets it: a UI thread, a channel thread (the test), and a notify function.
#pragma once

#include <gtk/gtk.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "support/await.h"
#include "yrafiletransfer.h"

struct Note {
  unsigned int event, subCode, status, value;
  void* pData;
  std::thread::id thread;  // in which it came
};

// What a block of files says, path and size each.
struct Item {
  std::string name;
  uint64_t size;
  unsigned int context;
};
std::vector<Item> ItemsOf(const void* pBlock);

// Collects notifications for as long as it lives.
class Notes {
 public:
  Notes();
  ~Notes();
  // The next notification, within half a minute.
  std::optional<Note> Next();
  std::size_t Pending();
  void SetAnswer(unsigned int answer);

 private:
  static unsigned int Receive(unsigned int event, unsigned int subCode, unsigned int status,
                              unsigned int value, void* pData);
};

// A persistent UI on a thread of its own. Ends it when it goes, if the test has not.
class Host {
 public:
  Host();
  ~Host();
  unsigned int Send(int signalType, int evtType, void* pInput);
  void RequestFiles();
  void RequestDirectory(uint64_t size);
  void Progress(int event, const std::string& name, uint32_t offset, uint32_t size,
                uint16_t number = 0, uint16_t count = 1);
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

// Runs a function in the UI thread and waits for it.
void InUI(const std::function<void()>& function);

// Where a button with this label is on the screen; none within half a minute: {-1, -1}.
struct Spot {
  int x, y;
};
Spot ButtonSpot(const std::string& label);
// Selects all that the file chooser lists once it lists `count` entries; answers false otherwise.
bool SelectAllListed(class User& user, int count);
// A visible window with this title part has the keyboard focus and hears the keys, within half a
// minute.
bool WaitFocus(const std::string& titlePart);
bool HasFocus(const std::string& titlePart, bool hears = false);
// The text of the nth label (from 0) of a visible window with this title part.
std::string LabelText(const std::string& titlePart, int nth = 0);
// That text has come to hold this part, within half a minute.
bool WaitLabel(const std::string& titlePart, const std::string& textPart);
// The labels in visible windows with this title part that have less room than they take, and get no
// more within half a minute.
std::string CutLabels(const std::string& titlePart);
// Everything that was to be drawn is on the screen.
void WaitDrawn();
// What is typed into a window has come to begin with this, and its button can be pressed, within half
// a minute.
bool WaitEntry(const std::string& titlePart, const std::string& text);
// Lets a visible dialog answer by itself; false if none comes up within half a minute.
bool Respond(const std::string& title, int response);
// The bar's fraction in the visible or hidden progress window.
double BarFraction();
