// What the two file choosers share.
#include "dialogs/YraChooser.h"

#include <cstdlib>
#include <cstring>

#include "ui/YraNotify.h"
#include "ui/YraToolkit.h"

GtkWidget* YraBuildChooser(WinTrace trace, const YraChooserLook& look, const char* pTitle) {
  GtkWidget* pDialog =
      gtk_file_chooser_dialog_new(pTitle, nullptr, look.action, GTK_STOCK_CANCEL,
                                  GTK_RESPONSE_CANCEL, look.pAccept, GTK_RESPONSE_ACCEPT, nullptr);
  if (pDialog == nullptr) {
    TRACE_ERROR(trace, "Callback gtk_file_chooser_dialog_new is failed.");
    return nullptr;
  }
  GtkFileChooser* pChooser = GTK_FILE_CHOOSER(pDialog);
  gtk_dialog_set_default_response(GTK_DIALOG(pDialog), GTK_RESPONSE_ACCEPT);
  gtk_file_chooser_set_select_multiple(pChooser, look.multiple);
  gtk_file_chooser_set_do_overwrite_confirmation(pChooser, TRUE);
  gtk_file_chooser_set_current_folder(pChooser, g_get_home_dir());
  const auto onFolder = +[](GtkDialog* pThere, void*) {
    gtk_dialog_set_response_sensitive(pThere, GTK_RESPONSE_ACCEPT, TRUE);
  };
  g_signal_connect(pDialog, "current-folder-changed", G_CALLBACK(onFolder), nullptr);
  g_signal_connect(pDialog, "destroy", G_CALLBACK(YraKeepPathBar), nullptr);
  return pDialog;
}

namespace {

constexpr char kStays[] = "yraft-stays";  // is set where a chooser did not leave its folder

// A hidden chooser goes on reading its folder at each change and sorts it anew each time: while
// files arrive there the UI thread would do nothing else. Few files come and go in the root.
void WaitInRoot(GtkWidget* pDialog) {
  gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(pDialog), "/");
}

void LeaveFolder(GtkWidget* pDialog) {
  const bool leaves = YraMayLeaveFolder(pDialog);
  g_object_set_data(G_OBJECT(pDialog), kStays, GINT_TO_POINTER(leaves ? 0 : 1));
  if (leaves) WaitInRoot(pDialog);
}

}  // namespace

GtkWidget* YraBuildChooser(WinTrace trace, const YraChooserLook& look, int title) {
  GtkWidget* pDialog = nullptr;
  trace.Try([&] { pDialog = YraBuildChooser(trace, look, YraText(title).c_str()); });
  if (pDialog != nullptr) WaitInRoot(pDialog);
  return pDialog;
}

// ---- Chosen paths ------------------------------------------------------------------------------

YraChosen YraQueueChosen(WinTrace trace, GtkWidget* pChooser, YraRW* pRW, const YraItemRule& rule) {
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
      TRACE_ERROR(trace, "callback Yraft_FileInfoItemAllocate failed.");
      continue;
    }
    const unsigned int ret = pRW->YraRW_QueuePush(
        YRAFT_QUEUE_FILEINFO, 0, reinterpret_cast<unsigned char*>(pItem), pItem->cbSize);
    if (ret != YRAFT_STATUS_SUCCESS) {
      TRACE_ERROR(trace, "callback YraRW_QueuePush push queue failed.(0x%x)", ret);
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

// ---- One call, one chooser ---------------------------------------------------------------------

unsigned int YraCallChooser(WinTrace trace, YraWinUI* pWinUI, int argc, char** argv,
                            GSourceFunc idle) {
  if (!YraCall::Start(trace, argc, argv)) {
    pWinUI->YraSetChooseOptStatusCode(YRAFT_OPT_STATUS_FAILED);
    return YRAFT_OPT_STATUS_FAILED;
  }
  YraCall call;
  YraWinUI::Inside::Of(pWinUI).pCall = &call;
  call.Run(idle, pWinUI);
  YraWinUI::Inside::Of(pWinUI).pCall = nullptr;
  return YRAFT_STATUS_SUCCESS;
}

void YraRunChooserOnce(WinTrace trace, void* data, GtkWidget* (*build)(WinTrace, YraWinUI*),
                       void (*take)(WinTrace, YraWinUI*, GtkWidget*, int)) {
  const GdkLock lock;
  auto* pWinUI = static_cast<YraWinUI*>(data);
  if (pWinUI == nullptr) {
    TRACE_ERROR(trace, "data (%p) is NULL.", data);
  } else if (trace.Got("YraRWGet get RW", pWinUI->YraRWGet())) {
    GtkWidget* pDialog = build(trace, pWinUI);
    if (pDialog == nullptr) {
      pWinUI->YraSetChooseOptStatusCode(YRAFT_OPT_STATUS_FAILED);
    } else {
      const int response = YraRunOnTop(pDialog);
      TRACE_VERBOSE(trace, "result=%d.", response);
      take(trace, pWinUI, pDialog, response);
      TRACE_VERBOSE(trace, "Will callback gtk_widget_destroy.");
      gtk_widget_destroy(pDialog);
    }
  }
  TRACE_VERBOSE(trace, "Will callback gtk_main_quit.");
  YraCall::Quit(pWinUI != nullptr ? YraWinUI::Inside::Of(pWinUI).pCall : nullptr);
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

// The home directory, nothing selected, nothing typed. The toolkit is there only when it has looked
// at it: whoever was quicker would choose the folder that it was left in.
void BringToStart(GtkWidget* pDialog) {
  GtkFileChooser* pChooser = GTK_FILE_CHOOSER(pDialog);
  gtk_file_chooser_unselect_all(pChooser);
  ClearEntry(pDialog, nullptr);
  const bool stayed = g_object_get_data(G_OBJECT(pDialog), kStays) != nullptr;
  if (stayed && !YraMayLeaveFolder(pDialog)) return;
  gtk_dialog_set_response_sensitive(GTK_DIALOG(pDialog), GTK_RESPONSE_ACCEPT, FALSE);
  gtk_file_chooser_set_current_folder(pChooser, g_get_home_dir());
}

}  // namespace

void YraChooser::ServeData(WinTrace trace, void* data,
                           std::unique_ptr<YraDialog> YraWinUI::Inside::*pChooser,
                           unsigned int event) {
  if (data == nullptr) {
    TRACE_ERROR(trace, "data (%p) is NULL.", data);
    YraNotifyChoice(trace, event, YRAFT_OPT_STATUS_NO_UI, nullptr, 0);
  } else {
    (YraWinUI::Inside::Of(static_cast<YraWinUI*>(data)).*pChooser)->Serve();
  }
}

bool YraChooser::Open(GtkWidget* pDialog, const YraRequest&) {
  if (!Trace().Got("YraRWGet get RW", WinUI()->YraRWGet())) return false;
  ReadRecord();
  BringToStart(pDialog);
  gtk_window_set_position(GTK_WINDOW(pDialog), GTK_WIN_POS_CENTER_ALWAYS);
  TRACE_VERBOSE(Trace(), "will show dialog...");
  YraShowInFront(pDialog);
  return true;
}

// Takes what was accepted out of the store as one block; on failure nothing stays there, which
// would join the next choice.
unsigned int YraChooser::Take(GtkWidget* pDialog, const YraRequest& request,
                              YRAFT_TLV_BLOCKS** ppBlock, unsigned short* pBlockLen) {
  const YraChosen chosen = Queue(pDialog, request);
  if (chosen.pushed == 0) {
    TRACE_ERROR(Trace(), "%s", Nothing());
    return YRAFT_OPT_STATUS_FAILED;
  }
  unsigned int ret =
      Trace().Called("YraGetAllChooseTlvBlocksPop", WinUI()->YraGetAllChooseTlvBlocksPop(ppBlock));
  if (ret == YRAFT_STATUS_SUCCESS) {
    ret = Trace().Called("Yraft_TlvBlocksGetSize", Yraft_TlvBlocksGetSize(*ppBlock, pBlockLen));
  }
  if (ret != YRAFT_STATUS_SUCCESS) {
    YraWinUI::Inside::Of(WinUI()).Store()->YraRW_QueueClear(YRAFT_QUEUE_FILEINFO);
    return YRAFT_OPT_STATUS_FAILED;
  }
  Finish(*ppBlock, chosen);
  return YRAFT_OPT_STATUS_SUCCESS;
}

void YraChooser::Answer(GtkWidget* pDialog, int response, const YraRequest& request) {
  YRAFT_TLV_BLOCKS* pBlock = nullptr;
  unsigned short blockLen = 0;
  unsigned int status = YRAFT_OPT_STATUS_FAILED;
  if (response == GTK_RESPONSE_ACCEPT) {
    status = Take(pDialog, request, &pBlock, &blockLen);
  } else if (YraIsDeclined(response)) {
    status = YRAFT_OPT_STATUS_CANCELLED;
  } else if (pDialog != nullptr) {
    TRACE_ERROR(Trace(), "gtk_dialog_run is not GTK_RESPONSE_ACCEPT. (%d)", response);
  }
  if (pDialog != nullptr) {
    TRACE_VERBOSE(Trace(), "Will hide dialog...");
    gtk_widget_hide(pDialog);
    LeaveFolder(pDialog);
    gdk_flush();  // the host, which is called next, may keep the UI thread for a while
  }
  const GdkUnlock unlock;
  YraNotifyChoice(Trace(), m_event, status, pBlock, blockLen);
}
