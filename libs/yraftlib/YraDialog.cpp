// What the dialogs share.
#include "YraDialog.h"

#include <gdk/gdkx.h>

#include <cstdlib>
#include <cstring>
#include <utility>

#include "YraNotify.h"
#include "kvolocalise.h"

namespace {
constexpr TraceLayer kLayer = kLayerWin;
}

bool YraInitGtk(int argc, char** argv) {
  if (gtk_init_check(&argc, argv != nullptr ? &argv : nullptr)) return true;
  TRACE_ERROR("callback gtk_init_check failed, there is no display.");
  return false;
}

void YraRunMainLoop(GSourceFunc idle, void* data) {
  const GdkLock lock;
  if (idle != nullptr) g_idle_add(idle, data);
  gtk_main();
  gdk_flush();  // nobody else will: what was destroyed must leave the screen now
}

void YraShowInFront(GtkWidget* pWindow) {
  gtk_widget_realize(pWindow);
  GdkWindow* pGdkWindow = gtk_widget_get_window(pWindow);
  const guint32 now = gdk_x11_get_server_time(pGdkWindow);
  gdk_x11_window_set_user_time(pGdkWindow, now);
  gtk_widget_show_all(pWindow);
  gtk_window_present_with_time(GTK_WINDOW(pWindow), now);
}

int YraRunModal(GtkWidget* pDialog) {
  const int result = gtk_dialog_run(GTK_DIALOG(pDialog));
  TRACE_VERBOSE("result=%d.", result);
  return result;
}

std::string YraValidText(const char* pText) {
  if (pText == nullptr) return {};
  if (g_utf8_validate(pText, -1, nullptr)) return pText;
  gchar* pValid = g_utf8_make_valid(pText, -1);
  std::string text(pValid);
  g_free(pValid);
  return text;
}

std::string YraText(int number) { return YraValidText(KvoLocalise(number)); }

std::string YraCutText(std::string text, std::size_t size) {
  if (text.size() <= size) return text;
  const gchar* pCut = g_utf8_find_prev_char(text.data(), text.data() + size + 1);
  text.resize(pCut == nullptr ? 0 : static_cast<std::size_t>(pCut - text.data()));
  return text;
}

namespace {

void ClearEntry(GtkWidget* pWidget, void*) {
  if (GTK_IS_ENTRY(pWidget)) {
    gtk_entry_set_text(GTK_ENTRY(pWidget), "");
  } else if (GTK_IS_CONTAINER(pWidget)) {
    gtk_container_forall(GTK_CONTAINER(pWidget), ClearEntry, nullptr);
  }
}

}  // namespace

void YraResetChooser(GtkWidget* pDialog) {
  GtkFileChooser* pChooser = GTK_FILE_CHOOSER(pDialog);
  gtk_file_chooser_unselect_all(pChooser);
  ClearEntry(pDialog, nullptr);
  gtk_file_chooser_set_current_folder(pChooser, g_get_home_dir());
}

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

YraChoice YraDeclinedChoice(int result) {
  YraChoice choice;
  if (result == GTK_RESPONSE_CANCEL || result == GTK_RESPONSE_DELETE_EVENT) {
    choice.status = YRAFT_OPT_STATUS_CANCELLED;
  } else {
    TRACE_ERROR("gtk_dialog_run is not GTK_RESPONSE_ACCEPT. (%d)", result);
  }
  return choice;
}

int YraRunChooser(GtkWidget* pDialog) {
  YraResetChooser(pDialog);
  gtk_window_set_position(GTK_WINDOW(pDialog), GTK_WIN_POS_CENTER_ALWAYS);
  TRACE_VERBOSE("will show dialog...");
  YraShowInFront(pDialog);
  return YraRunModal(pDialog);
}

void YraHideDialog(GtkWidget* pDialog) {
  TRACE_VERBOSE("Will hide dialog...");
  gtk_widget_hide(pDialog);
  gdk_flush();
}

const char* YraOperationName(uint32_t operation) {
  if (operation == YRAFT_OPERATION_UPLOAD) return "Upload";
  return operation == YRAFT_OPERATION_DOWNLOAD ? "Download" : "Unknown";
}

namespace {

void ServeChoice(YraWinUI* pWinUI, YraRequestLine& line, unsigned int event,
                 YraChoice (*run)(YraWinUI*)) {
  YraChoice choice;
  if (YraUIThread::Ending(pWinUI)) {
    choice.status = YRAFT_OPT_STATUS_CANCELLED;
  } else {
    const GdkLock lock;
    choice = run(pWinUI);
  }
  if (line.unanswered > 0) --line.unanswered;
  YraNotifyChoice(event, choice.status, choice.pBlock, choice.blockLen);
}

}  // namespace

void YraServeChoices(YraWinUI* pWinUI, YraRequestLine* pLine, unsigned int event,
                     YraChoice (*run)(YraWinUI*)) {
  if (pWinUI == nullptr) {
    TRACE_ERROR("data (%p) is NULL.", static_cast<void*>(pWinUI));
    YraNotifyChoice(event, YRAFT_OPT_STATUS_NO_UI, nullptr, 0);
    return;
  }
  YraServeRequests(*pLine, [=] { ServeChoice(pWinUI, *pLine, event, run); });
}
