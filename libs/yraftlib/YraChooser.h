// What the two file choosers share: how one is built and brought to its start, how the chosen paths
// become records, and how the host hears of them.
#pragma once

#include "YraDialog.h"

struct YraChooserLook {
  GtkFileChooserAction action;
  const char* pAccept;  // stock item of the accepting button
  gboolean multiple;
};

// Builds a chooser that starts in the home directory.
GtkWidget* YraBuildChooser(const YraChooserLook& look, const char* pTitle);

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
YraChosen YraQueueChosen(GtkWidget* pChooser, YraRW* pRW, const YraItemRule& rule);

// The user said no, by the button or by closing the window.
bool YraIsDeclined(int response);

// ---- One call, one chooser ---------------------------------------------------------------------

// Starts GTK and runs the main loop in which `idle` runs a chooser. Answers a result code.
unsigned int YraCallChooser(YraWinUI* pWinUI, int argc, char** argv, GSourceFunc idle);

// The body of such an idle function: builds a chooser, shows it, hands the user's response to
// `take` and ends the main loop, whatever happens.
void YraRunChooserOnce(YraWinUI* pWinUI, GtkWidget* (*build)(YraWinUI* pWinUI),
                       void (*take)(YraWinUI* pWinUI, GtkWidget* pDialog, int response));

// ---- Requests ----------------------------------------------------------------------------------

// What became of a request for a choice: the operation status, and a block with status 0.
struct YraChoice {
  unsigned int status = YRAFT_OPT_STATUS_FAILED;
  YRAFT_TLV_BLOCKS* pBlock = nullptr;
  unsigned short blockLen = 0;
};

// Brings a persistent chooser to its start and shows it; false where its choice could go nowhere.
bool YraOpenChooser(YraWinUI* pWinUI, GtkWidget* pDialog);
// Takes the store's file-info queue out as the choice's block; on failure the queue is empty and
// there is no block.
YraChoice YraTakeChoice(YraWinUI* pWinUI);
// Answers a request: takes what was accepted, hides the dialog, and tells the host.
void YraAnswerChoice(YraWinUI* pWinUI, GtkWidget* pDialog, int response, unsigned int event,
                     YraChoice (*takeAccepted)(YraWinUI* pWinUI, GtkWidget* pDialog));
// The idle function of a line of such requests; without a UI the host hears that there is none.
int YraServeChoices(void* data, YraDialogLine& (*line)(YraWinUI* pWinUI), unsigned int event);
