/* A host that needs no display, as C11 and as C++: a store, a text of the catalogs, a line of the
 * log. Prints the text. */
#include <stdio.h>
#include <stdlib.h>

#include "kvolocalise.h"
#include "kvolog.h"
#include "yrafiletransfer.h"

static int PassThroughStore(YRAFT_FILEINFO_ITEM* item) {
  YraRW* store = NULL;
  return YraftRWCreate(&store) == YRAFT_STATUS_SUCCESS &&
         YraftRWPush(store, YRAFT_QUEUE_FILEINFO, 0, (unsigned char*)item, item->cbSize) ==
             YRAFT_STATUS_SUCCESS &&
         YraftRWDestory(&store) == YRAFT_STATUS_SUCCESS;
}

int main(void) {
  int ok = KvoLogInit() && KvoLocaliseInit() &&
           PassThroughStore(Yraft_FileInfoItemAllocate("/tmp/a.txt", 10, 1, 7));
  __KvoTrace(KVO_CLASS_YRAFT_VC, KVO_LOG_WARNING, __FILE__, __func__, __LINE__, "installed");
  puts(KvoLocalise((int)KvoLocaliseLookupByName("YRAFT_ENG_BUTTON_CLOSE")));
  KvoLocaliseShutdown();
  KvoLogShutdown();
  return ok ? EXIT_SUCCESS : EXIT_FAILURE;
}
