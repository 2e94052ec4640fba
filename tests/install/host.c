/* A host that needs no display, as C11 and as C++: a store, a text of the catalogs, a line of the
 * log. Prints the text. */
#include <stdio.h>
#include <stdlib.h>

#include "kvolocalise.h"
#include "kvolog.h"
#include "yrafiletransfer.h"

#define CLOSE_BUTTON "YRAFT_ENG_BUTTON_CLOSE"

static int PassThroughStore(void) {
  YraRW* store = NULL;
  unsigned char* block = NULL;
  unsigned long long total = 0;
  YRAFT_FILEINFO_ITEM* item = Yraft_FileInfoItemAllocate("/tmp/a.txt", 10, 1, 7);
  if (item == NULL || YraftRWCreate(&store) != YRAFT_STATUS_SUCCESS) return 0;
  if (YraftRWPush(store, YRAFT_QUEUE_FILEINFO, 0, (unsigned char*)item, item->cbSize) ==
          YRAFT_STATUS_SUCCESS &&
      YraftRWGetAll(store, YRAFT_QUEUE_FILEINFO, &block) == YRAFT_STATUS_SUCCESS) {
    total = ((YRAFT_TLV_BLOCKS*)block)->FilesSize;
    free(block);
  }
  return YraftRWDestory(&store) == YRAFT_STATUS_SUCCESS && total == 7;
}

int main(void) {
  int ok = KvoLogInit() && KvoLocaliseInit() && PassThroughStore();
  __KvoTrace(KVO_CLASS_YRAFT_VC, KVO_LOG_WARNING, __FILE__, __func__, __LINE__, "installed");
  puts(KvoLocalise((int)KvoLocaliseLookupByName(CLOSE_BUTTON)));
  KvoLocaliseShutdown();
  KvoLogShutdown();
  return ok ? EXIT_SUCCESS : EXIT_FAILURE;
}
