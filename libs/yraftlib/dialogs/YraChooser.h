// What the two file choosers share: how one is built and brought to its start, how the chosen paths
// become records, and how the host hears of them.
#pragma once

#include "dialogs/YraDialogs.h"
#include "ui/YraInside.h"

struct YraChooserLook {
  GtkFileChooserAction action;
  const char* pAccept;  // stock item of the accepting button
  gboolean multiple;
};

// Builds a chooser that starts in the home directory, with a title or a catalog's number of one;
// null, traced, where there is none to be had.
GtkWidget* YraBuildChooser(WinTrace trace, const YraChooserLook& look, const char* pTitle);
GtkWidget* YraBuildChooser(WinTrace trace, const YraChooserLook& look, int title);

// ---- Chosen paths ------------------------------------------------------------------------------

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
YraChosen YraQueueChosen(WinTrace trace, GtkWidget* pChooser, YraRW* pRW, const YraItemRule& rule);

// The user said no, by the button or by closing the window.
bool YraIsDeclined(int response);

// ---- One call, one chooser ---------------------------------------------------------------------

// Starts GTK and runs the main loop in which `idle` runs a chooser. Answers a result code.
unsigned int YraCallChooser(WinTrace trace, YraWinUI* pWinUI, int argc, char** argv,
                            GSourceFunc idle);

// The body of such an idle function. `build` makes the chooser and shows it; `take` gets the user's
// response. The main loop ends, whatever happens.
void YraRunChooserOnce(WinTrace trace, void* data,
                       GtkWidget* (*build)(WinTrace trace, YraWinUI* pWinUI),
                       void (*take)(WinTrace trace, YraWinUI* pWinUI, GtkWidget* pDialog,
                                    int response));

// ---- Requests ----------------------------------------------------------------------------------

// A chooser of the persistent UI: every request is answered with one notification.
class YraChooser : public YraDialog {
 public:
  YraChooser(YraWinUI* pWinUI, GSourceFunc idle, const Texts& texts, unsigned int event)
      : YraDialog(pWinUI, idle, texts), m_event(event) {}

  // The body of the idle function, whose `data` may be null: the host hears that there is no UI.
  static void ServeData(WinTrace trace, void* data, std::unique_ptr<YraDialog> YraWinUI::Inside::*,
                        unsigned int event);

 protected:
  bool Open(GtkWidget* pDialog, const YraRequest& request) override;
  void Answer(GtkWidget* pDialog, int response, const YraRequest& request) override;

  // For the log: the request has a copy of its own.
  virtual void ReadRecord() {}
  // Queues the selected paths and traces how many there were.
  virtual YraChosen Queue(GtkWidget* pDialog, const YraRequest& request) = 0;
  // What the log says where no path was queued.
  virtual const char* Nothing() const = 0;
  // Writes into a complete block what only this dialog knows.
  virtual void Finish(YRAFT_TLV_BLOCKS*, const YraChosen&) const {}

 private:
  unsigned int Take(GtkWidget* pDialog, const YraRequest& request, YRAFT_TLV_BLOCKS** ppBlock,
                    unsigned short* pBlockLen);

  unsigned int m_event;
};
