/* A complete host: asks the user for files and prints what was chosen.
 *
 * It starts the library, sends one request to the UI thread, waits for the answer and ends. */
#include <pthread.h>
#include <stdatomic.h>
#include <stdio.h>
#include <unistd.h>

#include <kvolocalise.h>
#include <yrafiletransfer.h>

struct Answer {
  unsigned int status, length;
  void* pBlock;
};

static YRAFT_SELF_SIGNAL g_table; /* zeroed, and kept until the UI is deleted */
static int g_answers[2];          /* a pipe: from the UI thread to the channel thread */
static atomic_bool g_uiEnded;

/* Called by the library, in either thread. It must not wait, and the block is ours. */
static unsigned int OnNotify(unsigned int event, unsigned int subCode, unsigned int status,
                             unsigned int value, void* pData) {
  const struct Answer answer = {status, value, pData};
  (void)subCode;
  if (event != YRAFT_NOTIFY_CHOOSE_FILES) return 0;
  return write(g_answers[1], &answer, sizeof(answer)) == sizeof(answer) ? 0 : 1;
}

static void* RunUI(void* pWinUI) {
  YraMainWinUICreate(0, NULL, &g_table, pWinUI); /* returns when the UI has ended */
  g_uiEnded = true;
  return NULL;
}

int main(void) {
  YraWinUI* pWinUI = NULL;
  pthread_t uiThread;
  struct Answer answer = {YRAFT_OPT_STATUS_FAILED, 0, NULL};
  YRAFT_THRESHOLD_INFO* pLimits;
  KvoLogInit();
  KvoLocaliseInit();
  YraSetYraNotifyCallback(OnNotify);
  if (pipe(g_answers) != 0) return 2;
  if (pthread_create(&uiThread, NULL, RunUI, &pWinUI) != 0) return 2;
  pLimits = calloc(1, sizeof(*pLimits));
  if (pLimits == NULL) return 2;

  /* 27 while the UI starts, and for good where there is no display: the record is still ours. */
  while (YraSendSelfSignal(&g_table, YRAFT_UI_SIGNAL_SELECT_FLIES, 0, 0, pLimits) != 0) {
    if (g_uiEnded) {
      free(pLimits);
      fprintf(stderr, "no display\n");
      return 2;
    }
    usleep(10000);
  }
  if (read(g_answers[0], &answer, sizeof(answer)) == sizeof(answer) && answer.status == 0) {
    YRAFT_TLV_WALK walk;
    const YRAFT_TLV_ITEM* pItem;
    Yraft_TlvBlocksWalk(&walk, answer.pBlock, answer.length);
    while ((pItem = Yraft_TlvBlocksNext(&walk)) != NULL) {
      const YRAFT_FILEINFO_ITEM* pFile = Yraft_TlvItemFileInfo(pItem);
      if (pFile != NULL) puts(YRAFT_FILEINFO_NAME(pFile));
    }
  }
  free(answer.pBlock);
  YraSendSelfSignal(&g_table, YRAFT_UI_SIGNAL_THREAD_DESTORY, 0, 0, NULL);
  pthread_join(uiThread, NULL);
  YraMainWinUIDestory(pWinUI);
  KvoLocaliseShutdown();
  KvoLogShutdown();
  return answer.status == 0 ? 0 : 1;
}
