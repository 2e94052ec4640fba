// The one object behind every dialog of a user session, for hosts in C++17 and later.
//
// A host in C reaches it through yrafiletransfer.h: YraMainWinUICreate and the self signals, or
// YraGetChooseFilesList and YraGetChooseDirectory. A host in C++ may also build one itself, to run
// a single dialog (see the third constructor), to keep a list of paths, or to reach the widgets of
// the object that a notification of event 7, sub-code 7 hands over.
//
// Results are YRAFT_STATUS_… of yraft.h unless a member says otherwise; 0 is success. The
// constructors let std::bad_alloc out, as do the members of the path list that take a string; no
// other member throws.
//
// Threads. An object belongs to the thread that built it; in persistent mode that is the UI thread,
// which stays in the constructor for the UI's life. Members that any thread may call say so.
// Nothing here takes GDK's lock but what waits for a user, and the destructor.
#ifndef YRAWINUI_H
#define YRAWINUI_H

#include <atomic>
#include <list>
#include <string>

#include "YraRW.h"
#include "yrafiletransfer.h"

typedef struct _GtkWidget GtkWidget;

class __attribute__((visibility("default"))) YraWinUI {
 public:
  // An empty object: no dialog, no queue store.
  YraWinUI();

  // Persistent mode: builds the hidden dialogs and serves the signals of `pInput`, the host's
  // YRAFT_SELF_SIGNAL, until signal 5; returns then. Returns at once, traced, for a null table,
  // without a display, and while another persistent UI serves or the thread holds GDK's lock.
  //
  // argc, argv  arguments for GTK; argv may be null
  YraWinUI(int argc, char** argv, void* pInput);

  // Synchronous mode: runs one dialog on the calling thread and returns when it has ended.
  //
  // operationType  what to run              pInput                       what it leaves
  //   1            the folder chooser       YRAFT_FILEINFO_ITEM*         the chosen folder
  //   2            the file chooser         YRAFT_THRESHOLD_INFO*        the chosen files
  //   3            a progress window        YRAFT_PROGRESS_BAR_INFO*     nothing
  //   4            an error box             YRAFT_ERROR_MESSAGE_INFO*    nothing
  //
  // The input is read before the constructor returns and stays the caller's. Afterwards
  // YraOperationTypeGet() answers operationType where the dialog ran, and 0 where it did not. A
  // chooser's files are read with YraGetAllChooseFiles; a declined one leaves none. Operation 3
  // tells the host of the window with event 7, sub-code 7, whose data is this object, and runs
  // until that window is destroyed: YraMainWinDestory() does that.
  YraWinUI(int operationType, int argc, char** argv, void* pInput);

  // Destroys the dialogs and the queue store. Takes GDK's lock, so the caller must not hold it.
  ~YraWinUI();
  YraWinUI(const YraWinUI&) = delete;
  YraWinUI& operator=(const YraWinUI&) = delete;

  // ---- Widgets
  // -----------------------------------------------------------------------------------
  //
  // Null where there is none. The object destroys what it holds; a setter answers 0, takes the
  // widget over and destroys nothing. GtkWidget is GTK+ 2's, or
  // GTK 3's where the library is built with that: a process has one of them.

  // The hidden main window of persistent mode; in operation 3 the progress window.
  unsigned int YraSetWinUIWidget(GtkWidget* pWidget);
  GtkWidget* YraGetWinUIWidget();
  // The window, bar, buttons and label of the persistent progress display.
  unsigned int YraSetChildWinDiag(GtkWidget* pWidget);
  GtkWidget* YraGetChildWinDiag();
  unsigned int YraSetProgressBarDiag(GtkWidget* pWidget);
  GtkWidget* YraGetProgressBarDiag();
  unsigned int YraSetProgressBarPauseButton(GtkWidget* pWidget);
  GtkWidget* YraGetProgressBarPauseButton();
  unsigned int YraSetProgressBarCancelButton(GtkWidget* pWidget);
  GtkWidget* YraGetProgressBarCancelButton();
  unsigned int YraSetProgressBarLabel(GtkWidget* pWidget);
  GtkWidget* YraGetProgressBarLabel();
  // The persistent choosers and error box.
  unsigned int YraSetChooseFilesDiag(GtkWidget* pWidget);
  GtkWidget* YraGetChooseFilesDiag();
  unsigned int YraSetChooseDirectoryDiag(GtkWidget* pWidget);
  GtkWidget* YraGetChooseDirectoryDiag();
  unsigned int YraSetErrorMessageDiag(GtkWidget* pWidget);
  GtkWidget* YraGetErrorMessageDiag();

  // ---- The user's answers
  // ------------------------------------------------------------------------

  // Paused, and cancelled, in the progress window. Any thread. Setters answer 0.
  unsigned int YraSetProgressBarPauseStatus(bool status);
  bool YraGetProgressBarPauseStatus();
  unsigned int YraSetProgressBarCancelStatus(bool status);
  bool YraGetProgressBarCancelStatus();
  // What became of the last synchronous choice, a YRAFT_OPT_STATUS_…: 0 unless the dialog could not
  // be shown or the choice broke a limit. The setter answers 0.
  unsigned int YraSetChooseOptStatusCode(unsigned int statusCode);
  unsigned int YraGetChooseOptStatusCode();
  // The operation that the object ran, 0 for none.
  int YraOperationTypeGet();

  // ---- The queue store
  // ---------------------------------------------------------------------------

  // Makes a new store, in place of one that is held. Answers 0; YraRWGet() is null without memory.
  unsigned int YraRWCreate();
  // Deletes the store, if any. Answers 0.
  unsigned int YraRWDestory();
  // Takes a store over and deletes the one held before; null leaves none. Answers 0.
  unsigned int YraRWSet(YraRW* pRW);
  // The store, which stays the object's, or null.
  YraRW* YraRWGet();

  // ---- Copies of the records of a request
  // --------------------------------------------------------
  //
  // The setters copy the record, which stays the caller's, and answer 0, or 70 for null; any
  // thread. The getters answer the copy inside the object, never null, to be read while no request
  // can come in.

  unsigned int YraSetProgressBarInfo(YRAFT_PROGRESS_BAR_INFO* pProgressBarInfo);
  YRAFT_PROGRESS_BAR_INFO* YraGetProgressBarInfo();
  // Fills the copy with zeros. Answers 0.
  unsigned int YraProgressBarInfoClear();
  unsigned int YraSetThresholdInfo(YRAFT_THRESHOLD_INFO* pThresholdInfo);
  YRAFT_THRESHOLD_INFO* YraGetThresholdInfo();
  // The first 24 bytes only: the name is not copied.
  unsigned int YraSetFileItemInfo(YRAFT_FILEINFO_ITEM* pFileItemInfo);
  YRAFT_FILEINFO_ITEM* YraGetFileItemInfo();
  // The error message that was adopted last and not shown to its end, or null. The setter takes a
  // record over, which free() will release, and releases nothing itself. Answers 0.
  unsigned int YraSetErrorMessageInfo(YRAFT_ERROR_MESSAGE_INFO* pErrorMessageInfo);
  YRAFT_ERROR_MESSAGE_INFO* YraGetErrorMessageInfo();

  // ---- What the user chose
  // -----------------------------------------------------------------------

  // Stores the number of chosen entries. Answers 0, 70 (null) or 27 (no store; *pSize is 0).
  unsigned int YraGetChooseFilesNum(int* pSize);
  // Packs the chosen entries into a block, which is the caller's to free(); null on failure. The
  // second form also takes them out of the store. Answer 0, 70 (null), 27 (no store), 9 (more than
  // a block holds) or 86.
  unsigned int YraGetAllChooseFiles(YRAFT_TLV_BLOCKS** ppTlvBlocks);
  unsigned int YraGetAllChooseTlvBlocksPop(YRAFT_TLV_BLOCKS** ppTlvBlocks);

  // ---- The main window
  // ---------------------------------------------------------------------------

  // Makes a window titled "Open". Answers 0, 1 (there is one) or 2 (GTK made none).
  unsigned int YraMainWinCreate();
  // Destroys the main window, if any; in operation 3 the dialog ends with it.
  void YraMainWinDestory();

  // ---- Dialogs
  // -----------------------------------------------------------------------------------
  //
  // Each has three ways in: build it hidden for persistent mode; run it to its end on the calling
  // thread (argc, argv and the input as for the third constructor); accept a request, which any
  // thread may do while a persistent UI serves: the record is copied, but for an error message,
  // which is taken over.

  // Answers 0, 43 (no queue store), 27 (built already) or 0x80000001 (GTK made none).
  unsigned int YraChooseFilesDiagCreate();
  // Answers 0 when the dialog has ended, 43 (null record, no store), 27, or 0x80000001 (no display,
  // or GDK's lock is held).
  unsigned int YraChooseFilesDiagCreate(int argc, char** argv, YRAFT_THRESHOLD_INFO* pThreshold);
  // Answers 0, 70 (null) or 86.
  unsigned int YraChooseFilesDiagCreate(YRAFT_THRESHOLD_INFO* pThresholdInfo);
  // Destroys the persistent dialog, if any. Answers 0.
  unsigned int YraChooseFilesDiagDestory();
  // Holds a number of files, and their bytes together, against the limits of the last synchronous
  // choice. A broken one is told to the user in a box, and YraGetChooseOptStatusCode() answers
  // 0x80000004 then. Answers 0, or what kept the box from being shown.
  unsigned int YraChooseFilesThresholdCheck(int filesNum, unsigned long filesSize);

  // As for the file chooser.
  unsigned int YraChooseDirectoryDiagCreate();
  unsigned int YraChooseDirectoryDiagCreate(int argc, char** argv, YRAFT_FILEINFO_ITEM* pFileInfo);
  unsigned int YraChooseDirectoryDiagCreate(YRAFT_FILEINFO_ITEM* pFileInfo);
  unsigned int YraChooseDirectoryDiagDestory();
  // Answers 0, or 70 for a null path. There is no limit.
  unsigned int YraChooseDirectoryThresholdCheck(int filesNum, char* pFilePath);

  // Answers 0, 27 (built already) or 86.
  unsigned int YraProgressBarDiagCreate();
  // Answers what the notify function answered, when the window is gone; 70, 27, 86 or 0x80000001.
  unsigned int YraProgressBarDiagCreate(int argc, char** argv, YRAFT_PROGRESS_BAR_INFO* pInfo);
  // Shows the window for a file. Answers 0 or 70.
  unsigned int YraProgressBarDiagCreate(YRAFT_PROGRESS_BAR_INFO* pProgressBarInfo);
  // New figures for that file. Answers 0 or 70. Any thread.
  unsigned int YraProgressBarDiagRefresh(YRAFT_PROGRESS_BAR_INFO* pProgressBarInfo);
  // Hides, and destroys, the persistent window, if any; both clear the two flags. Answer 0.
  unsigned int YraProgressBarDiagHideDestory();
  unsigned int YraProgressBarDiagDestory();

  // Answers 0, 1 (built already) or 0x80000001.
  unsigned int YraErrorMessageDiagCreate();
  // Plain texts in UTF-8, read until the call returns; pPromptInfoSec may be null. Answers 0 when
  // the user has closed the box, 70 (a null text), 1 (a persistent box is there), 86 or 0x80000001.
  unsigned int YraErrorMessageDiagCreate(int argc, char** argv, const char* pTitle,
                                         const char* pPromptInfoFir, const char* pPromptInfoSec);
  // Takes the record over, released with free() when its box was closed, or at once where the
  // answer is not 0. Answers 0, 70 (null, or lengths that do not fit it) or 86.
  unsigned int YraErrorMessageDiagCreate(YRAFT_ERROR_MESSAGE_INFO* pErrorMessageInfo);
  void YraErrorMessageDiagDestory();

  // ---- An ordered list of paths, for the host's own use
  // ------------------------------------------

  // Appends a path. Answers 0.
  unsigned int YraListAppend(std::string path);
  // Inserts a path so that it stands at `position`, from 0, or at the end of a shorter list.
  // Answers 0, or 3 for a negative position.
  unsigned int YraListInsert(std::string path, int position);
  // Removes the last path, if any. Answers 0.
  unsigned int YraListDelEnd();
  // Answers 0 if the path is in the list, else 1.
  unsigned int YraListFind(std::string path);
  // Answer the number of paths, and the bytes they take one behind the other, each with its NUL.
  unsigned int YraListGetFileNum();
  unsigned int YraListGetFileListOffset();
  // Removes all. Answers 0.
  unsigned int YraListDelAll();

  // What only the library reaches.
  struct Inside;

 private:
  GtkWidget* m_pWin = nullptr;
  GtkWidget* m_pChildWin = nullptr;
  GtkWidget* m_pChooseFilesDiag = nullptr;
  GtkWidget* m_pChooseDirectoryTree = nullptr;
  GtkWidget* m_pErrorMessage = nullptr;
  GtkWidget* m_pProgressBar = nullptr;
  GtkWidget* m_pProgressBarPauseButton = nullptr;
  GtkWidget* m_pProgressBarCancelButton = nullptr;
  GtkWidget* m_pProgressBarLabel = nullptr;
  std::atomic<bool> m_bPause{false};
  std::atomic<bool> m_bCancel{false};
  unsigned int m_chooseStatusCode = YRAFT_OPT_STATUS_SUCCESS;
  YraRW* m_pRW = nullptr;  // owned
  int m_operationType = 0;
  std::list<std::string> m_paths;
  YRAFT_PROGRESS_BAR_INFO m_progressBarInfo = {};
  YRAFT_THRESHOLD_INFO m_thresholdInfo = {};
  unsigned char m_fileItemInfo[sizeof(YRAFT_FILEINFO_ITEM)] = {};
  std::atomic<YRAFT_ERROR_MESSAGE_INFO*> m_pErrorMessageInfo{nullptr};
  Inside* m_pInside;  // owned
};

#endif
