// What the two file choosers share.
#include "YraChooser.h"

#include <cstdlib>
#include <cstring>

#include "YraNotify.h"

namespace {
constexpr TraceLayer kLayer = kLayerWin;
}

GtkWidget* YraBuildChooser(const YraChooserLook& look, const char* pTitle) {
  GtkWidget* pDialog =
      gtk_file_chooser_dialog_new(pTitle, nullptr, look.action, GTK_STOCK_CANCEL,
                                  GTK_RESPONSE_CANCEL, look.pAccept, GTK_RESPONSE_ACCEPT, nullptr);
  if (pDialog == nullptr) {
    TRACE_ERROR("Callback gtk_file_chooser_dialog_new is failed.");
    return nullptr;
  }
  GtkFileChooser* pChooser = GTK_FILE_CHOOSER(pDialog);
  gtk_dialog_set_default_response(GTK_DIALOG(pDialog), GTK_RESPONSE_ACCEPT);
  gtk_file_chooser_set_select_multiple(pChooser, look.multiple);
  gtk_file_chooser_set_do_overwrite_confirmation(pChooser, TRUE);
  gtk_file_chooser_set_current_folder(pChooser, g_get_home_dir());
  return pDialog;
}

// ---- Chosen paths ------------------------------------------------------------------------------

YraChosen YraQueueChosen(GtkWidget* pChooser, YraRW* pRW, const YraItemRule& rule) {
  YraChosen chosen;
  GSList* pPaths = gtk_file_chooser_get_filenames(GTK_FILE_CHOOSER(pChooser));
  for (GSList* pNode = pPaths; pNode != nullptr; pNode = pNode->next, ++chosen.paths) {
    const char* pPath = static_cast<const char*>(pNode->data);
    const int64_t size =
        rule.sizeOfPath ? Yraft_GetFileSize(pPath) : static_cast<int64_t>(rule.size);
    YRAFT_FILEINFO_ITEM* pItem = Yraft_FileInfoItemAllocate(
        pPath, static_cast<int>(strlen(pPath)),
        static_cast<unsigned short>(rule.numbered ? chosen.paths : 0), static_cast<uint64_t>(size));
    if (pItem == nullptr) {
      TRACE_ERROR("callback Yraft_FileInfoItemAllocate failed.");
      continue;
    }
    const unsigned int ret = pRW->YraRW_QueuePush(
        YRAFT_QUEUE_FILEINFO, 0, reinterpret_cast<unsigned char*>(pItem), pItem->cbSize);
    if (ret != YRAFT_STATUS_SUCCESS) {
      TRACE_ERROR("callback YraRW_QueuePush push queue failed.(0x%x)", ret);
      std::free(pItem);
      continue;
    }
    ++chosen.pushed;
    chosen.totalSize += static_cast<uint64_t>(size);
  }
  g_slist_free_full(pPaths, g_free);
  return chosen;
}

bool YraIsDeclined(int response) {
  return response == GTK_RESPONSE_CANCEL || response == GTK_RESPONSE_DELETE_EVENT;
}

namespace {

YraRW* TakeStore(YraWinUI* pWinUI) {
  YraRW* pRW = pWinUI->YraRWGet();
  if (pRW == nullptr) TRACE_ERROR("callback YraRWGet get RW is null.");
  return pRW;
}

}  // namespace

// ---- One call, one chooser ---------------------------------------------------------------------

unsigned int YraCallChooser(YraWinUI* pWinUI, int argc, char** argv, GSourceFunc idle) {
  if (!YraInitGtk(argc, argv)) {
    pWinUI->YraSetChooseOptStatusCode(YRAFT_OPT_STATUS_FAILED);
    return YRAFT_OPT_STATUS_FAILED;
  }
  YraRunMainLoop(idle, pWinUI);
  return YRAFT_STATUS_SUCCESS;
}

namespace {

void RunOnce(YraWinUI* pWinUI, GtkWidget* (*build)(YraWinUI*),
             void (*take)(YraWinUI*, GtkWidget*, int)) {
  if (pWinUI == nullptr) {
    TRACE_ERROR("data (%p) is NULL.", static_cast<void*>(pWinUI));
    return;
  }
  if (TakeStore(pWinUI) == nullptr) return;
  GtkWidget* pDialog = build(pWinUI);
  if (pDialog == nullptr) {
    pWinUI->YraSetChooseOptStatusCode(YRAFT_OPT_STATUS_FAILED);
    return;
  }
  YraShowInFront(pDialog);
  TRACE_VERBOSE("Will callback gtk_dialog_run.");
  take(pWinUI, pDialog, YraRunModal(pDialog));
  TRACE_VERBOSE("Will callback gtk_widget_destroy.");
  gtk_widget_destroy(pDialog);
}

}  // namespace

void YraRunChooserOnce(YraWinUI* pWinUI, GtkWidget* (*build)(YraWinUI*),
                       void (*take)(YraWinUI*, GtkWidget*, int)) {
  const GdkLock lock;
  RunOnce(pWinUI, build, take);
  TRACE_VERBOSE("Will callback gtk_main_quit.");
  gtk_main_quit();
}

// ---- Requests ----------------------------------------------------------------------------------

namespace {

void ClearEntry(GtkWidget* pWidget, void*) {
  if (GTK_IS_ENTRY(pWidget)) {
    gtk_entry_set_text(GTK_ENTRY(pWidget), "");
  } else if (GTK_IS_CONTAINER(pWidget)) {
    gtk_container_forall(GTK_CONTAINER(pWidget), ClearEntry, nullptr);
  }
}

// The home directory, nothing selected, nothing typed.
void BringToStart(GtkWidget* pDialog) {
  GtkFileChooser* pChooser = GTK_FILE_CHOOSER(pDialog);
  gtk_file_chooser_unselect_all(pChooser);
  ClearEntry(pDialog, nullptr);
  gtk_file_chooser_set_current_folder(pChooser, g_get_home_dir());
}

}  // namespace

bool YraOpenChooser(YraWinUI* pWinUI, GtkWidget* pDialog) {
  if (TakeStore(pWinUI) == nullptr) return false;
  BringToStart(pDialog);
  gtk_window_set_position(GTK_WINDOW(pDialog), GTK_WIN_POS_CENTER_ALWAYS);
  TRACE_VERBOSE("will show dialog...");
  YraShowInFront(pDialog);
  return true;
}

YraChoice YraTakeChoice(YraWinUI* pWinUI) {
  YraChoice choice;
  unsigned int ret = pWinUI->YraGetAllChooseTlvBlocksPop(&choice.pBlock);
  if (ret != YRAFT_STATUS_SUCCESS) {
    TRACE_FAILED("YraGetAllChooseTlvBlocksPop", ret);
  } else if ((ret = Yraft_TlvBlocksGetSize(choice.pBlock, &choice.blockLen)) !=
             YRAFT_STATUS_SUCCESS) {
    TRACE_FAILED("Yraft_TlvBlocksGetSize", ret);
  }
  if (ret == YRAFT_STATUS_SUCCESS) {
    choice.status = YRAFT_OPT_STATUS_SUCCESS;
  } else {
    // What is left over must not join the next choice.
    pWinUI->YraRWGet()->YraRW_QueueClear(YRAFT_QUEUE_FILEINFO);
  }
  return choice;
}

void YraAnswerChoice(YraWinUI* pWinUI, GtkWidget* pDialog, int response, unsigned int event,
                     YraChoice (*takeAccepted)(YraWinUI*, GtkWidget*)) {
  YraChoice choice;
  if (response == GTK_RESPONSE_ACCEPT) {
    choice = takeAccepted(pWinUI, pDialog);
  } else if (YraIsDeclined(response)) {
    choice.status = YRAFT_OPT_STATUS_CANCELLED;
  } else if (pDialog != nullptr) {
    TRACE_ERROR("gtk_dialog_run is not GTK_RESPONSE_ACCEPT. (%d)", response);
  }
  YraHideDialog(pDialog);
  const GdkUnlock unlock;
  YraNotifyChoice(event, choice.status, choice.pBlock, choice.blockLen);
}

int YraServeChoices(void* data, YraDialogLine& (*line)(YraWinUI*), unsigned int event) {
  auto* pWinUI = static_cast<YraWinUI*>(data);
  if (pWinUI == nullptr) {
    TRACE_ERROR("data (%p) is NULL.", data);
    YraNotifyChoice(event, YRAFT_OPT_STATUS_NO_UI, nullptr, 0);
  } else {
    line(pWinUI).Serve();
  }
  return FALSE;
}
