// A dialog of the persistent UI, and the requests that wait for it.
#pragma once

#include <atomic>
#include <cstdlib>
#include <memory>

#include "ui/YraGtk.h"
// After the trace vocabulary.
#include "YraWinUI.h"

// What a request brings: its record, where the dialog needs one. Later requests do not change it.
struct YraRequest {
  struct Free {
    void operator()(void* p) const { std::free(p); }
  };

  uint64_t fileSize = 0;                                     // of the file that wants a folder
  std::unique_ptr<YRAFT_ERROR_MESSAGE_INFO, Free> pMessage;  // what an error box shows
  YraRequest* pNext = nullptr;                               // in the inbox or the line
};

// Requests are answered one after another, each once. A run holds no main loop of its own: the
// dialog is shown modally, and what closes it (the user's answer, the window manager, the end of
// the UI, its destruction) ends the run in that moment. So dialogs of different kinds stand side by
// side and close in any order.
//
// The channel thread pushes requests into the inbox; everything else belongs to the UI thread.
class YraDialog {
 public:
  // As the log knows the idle function, what builds the dialog, and a dialog that is missing.
  struct Texts {
    const char* pIdle;
    const char* pBuild;
    const char* pNotCreated;
    const char* pNull;
  };

  YraDialog(YraWinUI* pWinUI, GSourceFunc idle, const Texts& texts)
      : m_pWinUI(pWinUI), m_idle(idle), m_texts(texts), m_trace(WinTrace::Of(texts.pIdle)) {}
  virtual ~YraDialog();
  YraDialog(const YraDialog&) = delete;
  YraDialog& operator=(const YraDialog&) = delete;

  // Takes a request into the line and queues the idle function that serves it. Any thread.
  void Accept(std::unique_ptr<YraRequest> pRequest);
  // The body of that idle function: opens the dialog for the next request, unless it is open.
  void Serve();
  // Connects a dialog just built to its two named handlers and to what ends a run.
  void Watch(GtkWidget* pDialog, GCallback onDestroy, GCallback onDelete);
  // The body of the "destroy" handler, which traces at `level`: forgets the widget.
  void Forget(WinTrace trace, int level, GtkWidget* pWidget);
  // Ends the run that is under way, if any, with this response.
  void End(int response);
  // Answers what waits, without a dialog.
  void EndAll(int response);

 protected:
  virtual GtkWidget* Widget() const = 0;
  virtual void Hold(GtkWidget* pWidget) = 0;
  virtual unsigned int Build() = 0;
  // Fills the dialog for a request and shows it; false, traced, where that is of no use. May throw
  // std::bad_alloc.
  virtual bool Open(GtkWidget* pDialog, const YraRequest& request) = 0;
  // Answers a request and hides the dialog, which is null where none could be opened.
  virtual void Answer(GtkWidget* pDialog, int response, const YraRequest& request) = 0;
  // Reports that there is no request.
  virtual void FindNothing() {}
  // Whether a request waits where no dialog can be built, instead of being answered without one.
  virtual bool Patient() const { return false; }

  YraWinUI* WinUI() const { return m_pWinUI; }
  WinTrace Trace() const { return m_trace; }

 private:
  std::unique_ptr<YraRequest> TakeNext();
  void Collect();

  YraWinUI* m_pWinUI;
  GSourceFunc m_idle;
  Texts m_texts;
  WinTrace m_trace;  // what follows from a request is the idle function's, whenever it happens
  std::atomic<YraRequest*> m_pInbox{nullptr};  // the latest in front
  YraRequest* m_pLine = nullptr;               // the oldest in front
  std::unique_ptr<YraRequest> m_pCurrent;      // the dialog is open for it
};

// The lines of a "delete-event" handler. Answers FALSE: the event goes on to the toolkit.
gboolean YraTraceDeleteEvent(WinTrace trace, int level, GtkWidget* pWidget, GdkEvent* pEvent,
                             void* data);
