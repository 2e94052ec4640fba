// The one object behind every dialog of a user session.
#pragma once

#include <atomic>
#include <list>
#include <string>

#include "YraDialogLine.h"
#include "YraRW.h"
#include "YraSharedRecord.h"
#include "yrafiletransfer.h"

extern const YraDialogKind kYraChooseFiles;
extern const YraDialogKind kYraChooseDirectory;
extern const YraDialogKind kYraErrorMessage;

// Built by the thread that shows the dialogs. In persistent mode that is the UI thread, which stays
// in the constructor for the UI's life; the channel thread reaches the object only through the
// self-signal handlers, which write the records, the flags and the lines of requests and queue an
// idle function. Everything else belongs to the UI thread. No member throws.
class __attribute__((visibility("default"))) YraWinUI {
 public:
  YraWinUI();
  // Persistent mode: pInput is the host's YRAFT_SELF_SIGNAL. Returns when the UI has ended.
  YraWinUI(int argc, char** argv, void* pInput);
  // Synchronous mode: runs the one dialog of the operation type on its input record.
  YraWinUI(int operationType, int argc, char** argv, void* pInput);
  ~YraWinUI();
  YraWinUI(const YraWinUI&) = delete;
  YraWinUI& operator=(const YraWinUI&) = delete;

  // Widgets. The object owns what it holds here; a setter answers 0 and destroys nothing.
  unsigned int YraSetWinUIWidget(GtkWidget* pWidget);
  GtkWidget* YraGetWinUIWidget();
  unsigned int YraSetChildWinDiag(GtkWidget* pWidget);
  GtkWidget* YraGetChildWinDiag();
  unsigned int YraSetChooseFilesDiag(GtkWidget* pWidget);
  GtkWidget* YraGetChooseFilesDiag();
  unsigned int YraSetChooseDirectoryDiag(GtkWidget* pWidget);
  GtkWidget* YraGetChooseDirectoryDiag();
  unsigned int YraSetErrorMessageDiag(GtkWidget* pWidget);
  GtkWidget* YraGetErrorMessageDiag();
  unsigned int YraSetProgressBarDiag(GtkWidget* pWidget);
  GtkWidget* YraGetProgressBarDiag();
  unsigned int YraSetProgressBarPauseButton(GtkWidget* pWidget);
  GtkWidget* YraGetProgressBarPauseButton();
  unsigned int YraSetProgressBarCancelButton(GtkWidget* pWidget);
  GtkWidget* YraGetProgressBarCancelButton();
  unsigned int YraSetProgressBarLabel(GtkWidget* pWidget);
  GtkWidget* YraGetProgressBarLabel();

  // The user's answers. Any thread.
  unsigned int YraSetProgressBarPauseStatus(bool status);
  bool YraGetProgressBarPauseStatus();
  unsigned int YraSetProgressBarCancelStatus(bool status);
  bool YraGetProgressBarCancelStatus();
  unsigned int YraSetChooseOptStatusCode(unsigned int statusCode);
  unsigned int YraGetChooseOptStatusCode();
  int YraOperationTypeGet();

  // The queue store, owned by the object.
  unsigned int YraRWCreate();
  unsigned int YraRWDestory();
  unsigned int YraRWSet(YraRW* pRW);
  YraRW* YraRWGet();

  // Copies of the records that came with a request. The setters answer 0, or 70 for null; any
  // thread. A getter answers the copy itself, to be read while no request can come in.
  unsigned int YraSetProgressBarInfo(YRAFT_PROGRESS_BAR_INFO* pProgressBarInfo);
  YRAFT_PROGRESS_BAR_INFO* YraGetProgressBarInfo();
  unsigned int YraProgressBarInfoClear();
  unsigned int YraSetThresholdInfo(YRAFT_THRESHOLD_INFO* pThresholdInfo);
  YRAFT_THRESHOLD_INFO* YraGetThresholdInfo();
  unsigned int YraSetFileItemInfo(YRAFT_FILEINFO_ITEM* pFileItemInfo);
  YRAFT_FILEINFO_ITEM* YraGetFileItemInfo();
  // The error message being shown, or the next one in line. The setter takes the record over and
  // releases nothing. UI thread.
  unsigned int YraSetErrorMessageInfo(YRAFT_ERROR_MESSAGE_INFO* pErrorMessageInfo);
  YRAFT_ERROR_MESSAGE_INFO* YraGetErrorMessageInfo();

  // What the user chose, from the store's file-info queue; blocks are the caller's to free().
  unsigned int YraGetChooseFilesNum(int* pSize);
  unsigned int YraGetAllChooseFiles(YRAFT_TLV_BLOCKS** ppTlvBlocks);
  unsigned int YraGetAllChooseTlvBlocksPop(YRAFT_TLV_BLOCKS** ppTlvBlocks);

  unsigned int YraMainWinCreate();
  void YraMainWinDestory();

  // Each dialog has three ways in: build it hidden for the persistent UI, run it to its end on the
  // calling thread, and accept a request from the channel thread.
  unsigned int YraChooseFilesDiagCreate();
  unsigned int YraChooseFilesDiagCreate(int argc, char** argv, YRAFT_THRESHOLD_INFO* pThreshold);
  unsigned int YraChooseFilesDiagCreate(YRAFT_THRESHOLD_INFO* pThresholdInfo);
  unsigned int YraChooseFilesDiagDestory();
  unsigned int YraChooseFilesThresholdCheck(int filesNum, unsigned long filesSize);

  unsigned int YraChooseDirectoryDiagCreate();
  unsigned int YraChooseDirectoryDiagCreate(int argc, char** argv, YRAFT_FILEINFO_ITEM* pFileInfo);
  unsigned int YraChooseDirectoryDiagCreate(YRAFT_FILEINFO_ITEM* pFileInfo);
  unsigned int YraChooseDirectoryDiagDestory();
  unsigned int YraChooseDirectoryThresholdCheck(int filesNum, char* pFilePath);

  unsigned int YraProgressBarDiagCreate();
  unsigned int YraProgressBarDiagCreate(int argc, char** argv, YRAFT_PROGRESS_BAR_INFO* pInfo);
  unsigned int YraProgressBarDiagCreate(YRAFT_PROGRESS_BAR_INFO* pProgressBarInfo);
  unsigned int YraProgressBarDiagRefresh(YRAFT_PROGRESS_BAR_INFO* pProgressBarInfo);
  unsigned int YraProgressBarDiagHideDestory();
  unsigned int YraProgressBarDiagDestory();

  unsigned int YraErrorMessageDiagCreate();
  unsigned int YraErrorMessageDiagCreate(int argc, char** argv, const char* pTitle,
                                         const char* pPromptInfoFir, const char* pPromptInfoSec);
  unsigned int YraErrorMessageDiagCreate(YRAFT_ERROR_MESSAGE_INFO* pErrorMessageInfo);
  void YraErrorMessageDiagDestory();

  // An ordered list of paths for the host's own use.
  unsigned int YraListAppend(std::string path);
  unsigned int YraListInsert(std::string path, int position);
  unsigned int YraListDelEnd();
  unsigned int YraListFind(std::string path);
  unsigned int YraListGetFileNum();
  unsigned int YraListGetFileListOffset();
  unsigned int YraListDelAll();

 private:
  friend struct YraUIThread;  // what the idle functions and GTK callbacks may reach

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
  YraRW* m_pRW = nullptr;
  int m_operationType = 0;
  std::list<std::string> m_paths;
  SharedRecord<YRAFT_PROGRESS_BAR_INFO> m_progressBarInfo;
  std::atomic<bool> m_bProgressIsNews{false};  // the record was refreshed and not shown since
  SharedRecord<YRAFT_THRESHOLD_INFO> m_thresholdInfo;
  SharedRecord<YRAFT_FILEINFO_ITEM> m_fileItemInfo;
  YRAFT_ERROR_MESSAGE_INFO* m_pErrorMessageInfo = nullptr;  // owned

  // Error records on their way in: the channel thread pushes in front, the UI thread takes all.
  struct ErrorNode {
    YRAFT_ERROR_MESSAGE_INFO* pInfo;
    ErrorNode* pNext;
  };
  std::atomic<ErrorNode*> m_pErrorInbox{nullptr};
  std::list<YRAFT_ERROR_MESSAGE_INFO*> m_errorLine;  // in order of arrival; owned

  YraDialogLine m_fileRequests{this, kYraChooseFiles};
  YraDialogLine m_directoryRequests{this, kYraChooseDirectory};
  YraDialogLine m_errorRequests{this, kYraErrorMessage};
  bool m_bEnding = false;  // signal 5 was handled: nothing opens any more

  // The served table's signal objects (referenced) and the handlers connected on them.
  struct SelfSignalHandler {
    void* pSignalObj;
    unsigned long handlerId;
  };
  SelfSignalHandler m_handlers[YRAFT_UI_SIGNAL_MAX] = {};
  unsigned long m_quitHandlerId = 0;
};
