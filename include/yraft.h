/* Records, codes and the packed block format that a file-transfer host and the library share.
 *
 * Everything here crosses the boundary between two separately built programs, so every layout is
 * fixed to the byte: records are packed (alignment 1), numbers are in the host's byte order
 * (little-endian on x86-64), and sizes and offsets are asserted below. Lengths of strings never
 * count the terminating NUL; every string is followed by one. Memory that changes hands comes from
 * the C allocator and is released with free() by its last holder. Valid C11 and C++17.
 *
 * A TLV block is one allocation that carries a list of items:
 *
 *    0  2  ListBlocks   offset of the first item: 12
 *    2  2  ListCount    number of items
 *    4  8  FilesSize    sum of the items' fileSize where the block lists chosen or queued files
 *   12     items        back to back: an 8-byte YRAFT_TLV_ITEM head, then cbSize - 8 bytes payload
 *
 * All lengths are 16-bit: a block holds at most 65535 bytes, a payload at most 65527. A block
 * stores neither its used length (Yraft_TlvBlocksGetSize walks the items) nor its capacity. What a
 * payload is follows from where the block comes from:
 *
 *   buffer, read and write queue   the 8-byte address of the buffer; item of 16 bytes
 *   file-info queue and list,
 *   chosen files or directory      a YRAFT_FILEINFO_ITEM with its name; item of cbSize + 8 bytes
 *   file-UI queue                  a YRAFT_FILES_UI; item of 40 bytes
 *   UI-thread map                  a YRAFT_UI_THREADINFO without its key; item of 22 bytes
 *
 * The functions work on memory of the caller only and keep no state: any thread may call them.
 */
#ifndef YRAFT_H
#define YRAFT_H

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "kvolog.h"

#ifdef __cplusplus
#define YRAFT_ASSERT(condition) static_assert(condition, #condition)
extern "C" {
#else
#define YRAFT_ASSERT(condition) _Static_assert(condition, #condition)
#endif

/* ---- Result codes: what every operation answers ---------------------------------------------- */

#define YRAFT_STATUS_SUCCESS 0u
#define YRAFT_STATUS_BAD_ARGUMENT 3u      /* a null argument of a one-call dialog, a bad position */
#define YRAFT_STATUS_BUFFER_TOO_SMALL 9u  /* an item does not fit or its length is wrong */
#define YRAFT_STATUS_UI_CREATE_FAILED 13u /* no UI object */
#define YRAFT_STATUS_KEY_NOT_FOUND 19u    /* nothing under that key, or nothing at the front */
#define YRAFT_STATUS_BAD_STATE 27u        /* not now: built already, not built yet, or gone */
#define YRAFT_STATUS_MISSING_INPUT 43u    /* a dialog's input record or queue store is missing */
#define YRAFT_STATUS_INVALID_PARAM 70u    /* a null argument, an unknown type, an empty buffer */
#define YRAFT_STATUS_NO_MEMORY 86u
#define YRAFT_STATUS_RW_CREATE_FAILED 87u /* no queue store */
#define YRAFT_STATUS_KEY_EXISTS 104u

/* ---- Operation statuses: what became of a user's interaction --------------------------------- */

#define YRAFT_OPT_STATUS_SUCCESS 0u
#define YRAFT_OPT_STATUS_PAUSED 2u
#define YRAFT_OPT_STATUS_RESUMED 3u
#define YRAFT_OPT_STATUS_CANCELLED 4u /* cancelled the transfer, or declined a choice */
#define YRAFT_OPT_STATUS_FAILED 0x80000001u
#define YRAFT_OPT_STATUS_NO_UI 0x80000002u
#define YRAFT_OPT_STATUS_LIMIT_EXCEEDED 0x80000004u

/* ---- Directions (fileTransferOperation); any other value counts as unknown ------------------- */

#define YRAFT_OPERATION_UPLOAD 1u
#define YRAFT_OPERATION_DOWNLOAD 2u

/* ---- Containers of a queue store --------------------------------------------------------------
 */

#define YRAFT_QUEUE_BUFFER 1   /* queue of byte buffers */
#define YRAFT_QUEUE_READ 2     /* queue of byte buffers */
#define YRAFT_QUEUE_WRITE 3    /* queue of byte buffers */
#define YRAFT_QUEUE_FILEINFO 4 /* queue of YRAFT_FILEINFO_ITEM */
#define YRAFT_QUEUE_FILEUI 5   /* queue of YRAFT_FILES_UI */
#define YRAFT_LIST_FILEINFO 6  /* list of YRAFT_FILEINFO_ITEM, held by reference */
#define YRAFT_MAP_UITHREAD 7   /* map from 0…65535 to YRAFT_UI_THREADINFO, held by reference */

/* ---- Signals of a persistent UI, and events of the progress signal ----------------------------
 */

#define YRAFT_UI_SIGNAL_INIT 0
#define YRAFT_UI_SIGNAL_SELECT_FLIES 1   /* input: YRAFT_THRESHOLD_INFO */
#define YRAFT_UI_SIGNAL_SELECT_DIR 2     /* input: YRAFT_FILEINFO_ITEM */
#define YRAFT_UI_SIGNAL_PROGRESS_BAR 3   /* input: YRAFT_PROGRESS_BAR_INFO */
#define YRAFT_UI_SIGNAL_MESSAGE 4        /* input: YRAFT_ERROR_MESSAGE_INFO */
#define YRAFT_UI_SIGNAL_THREAD_DESTORY 5 /* no input; ends the UI thread's main loop */
#define YRAFT_UI_SIGNAL_MAX 6

#define YRAFT_PROGRESS_CREATE 1  /* show the window for a file */
#define YRAFT_PROGRESS_REFRESH 2 /* new figures for that file */
#define YRAFT_PROGRESS_CLOSE 3   /* hide the window */

/* ---- Notification events (the first argument of the notify function) --------------------------
 */

#define YRAFT_NOTIFY_CHOOSE_FILES 3u
#define YRAFT_NOTIFY_CHOOSE_DIRECTORY 5u
#define YRAFT_NOTIFY_PROGRESS_BAR 7u
#define YRAFT_NOTIFY_PAUSE 8u
#define YRAFT_NOTIFY_RESUME 9u
#define YRAFT_NOTIFY_CANCEL 10u

/* ---- Records -----------------------------------------------------------------------------------
 */

#pragma pack(push, 1)

/* The fixed head of a file or directory of a transfer; nameLen + 1 bytes of name follow it
 * (YRAFT_FILEINFO_NAME). cbSize = 24 + nameLen + 1, so a name has at most 65510 bytes. */
typedef struct YRAFT_FILEINFO_ITEM {
  uint16_t nameLen;
  uint16_t cbSize;
  uint16_t fileContext; /* number of the file within its transfer or choice */
  uint16_t reserved1;
  uint32_t fileTransferOperation;
  uint32_t reserved2;
  uint64_t fileSize; /* bytes; exact below 2 GiB where the library measured it */
} YRAFT_FILEINFO_ITEM;

/* What the host keeps per file for its UI. The library carries the bytes without reading them. */
typedef struct YRAFT_FILES_UI {
  unsigned char data[32];
} YRAFT_FILES_UI;

typedef struct YRAFT_UI_THREADINFO {
  uint16_t currentFileNo;
  uint32_t fileTransferOperation;
  uint64_t pThreadId;
} YRAFT_UI_THREADINFO;

/* Policy limits of a choice. The library enforces maxFiles and maxFileSize, and those only in the
 * one-call selection; the other four are carried and traced. */
typedef struct YRAFT_THRESHOLD_INFO {
  uint16_t maxDataQueueLen;
  uint16_t maxBlockSize;
  uint32_t maxFileSize; /* bytes, all files of one choice together */
  uint16_t maxFiles;
  uint32_t maxFileSizeUpload;
  uint32_t maxFileSizeDownload;
} YRAFT_THRESHOLD_INFO;

/* The figures of the progress window. */
typedef struct YRAFT_PROGRESS_BAR_INFO {
  uint32_t evtType;     /* the host's own event number; traced only */
  uint16_t fileContext; /* number of the current file, from 0; shown from 1 */
  uint16_t filesNum;
  uint32_t fileOffset; /* bytes of the current file transferred so far */
  uint32_t fileSize;   /* bytes of the current file */
  char name[520];      /* path, NUL-terminated; the part after the last '/' is shown */
  uint32_t fileTransferOperation;
  uint64_t pProgressBarWin; /* the host's own handle; traced only */
  unsigned char reserved[12];
} YRAFT_PROGRESS_BAR_INFO;

/* The head of an error message; title, first and second prompt follow, each with its NUL.
 * cbSize = 11 + titleLen + firLen + SecLen. */
typedef struct YRAFT_ERROR_MESSAGE_INFO {
  uint16_t cbSize;
  uint16_t titleLen;
  uint16_t firLen;
  uint16_t SecLen;
} YRAFT_ERROR_MESSAGE_INFO;

typedef struct YRAFT_TLV_BLOCKS {
  uint16_t ListBlocks;
  uint16_t ListCount;
  uint64_t FilesSize;
} YRAFT_TLV_BLOCKS;

typedef struct YRAFT_TLV_ITEM {
  uint16_t cbSize; /* head and payload */
  uint16_t Reserved;
  uint32_t reserved2;
} YRAFT_TLV_ITEM;

#pragma pack(pop)

YRAFT_ASSERT(sizeof(YRAFT_FILEINFO_ITEM) == 24);
YRAFT_ASSERT(offsetof(YRAFT_FILEINFO_ITEM, nameLen) == 0);
YRAFT_ASSERT(offsetof(YRAFT_FILEINFO_ITEM, cbSize) == 2);
YRAFT_ASSERT(offsetof(YRAFT_FILEINFO_ITEM, fileContext) == 4);
YRAFT_ASSERT(offsetof(YRAFT_FILEINFO_ITEM, reserved1) == 6);
YRAFT_ASSERT(offsetof(YRAFT_FILEINFO_ITEM, fileTransferOperation) == 8);
YRAFT_ASSERT(offsetof(YRAFT_FILEINFO_ITEM, reserved2) == 12);
YRAFT_ASSERT(offsetof(YRAFT_FILEINFO_ITEM, fileSize) == 16);
YRAFT_ASSERT(sizeof(YRAFT_FILES_UI) == 32);
YRAFT_ASSERT(sizeof(YRAFT_UI_THREADINFO) == 14);
YRAFT_ASSERT(offsetof(YRAFT_UI_THREADINFO, currentFileNo) == 0);
YRAFT_ASSERT(offsetof(YRAFT_UI_THREADINFO, fileTransferOperation) == 2);
YRAFT_ASSERT(offsetof(YRAFT_UI_THREADINFO, pThreadId) == 6);
YRAFT_ASSERT(sizeof(YRAFT_THRESHOLD_INFO) == 18);
YRAFT_ASSERT(offsetof(YRAFT_THRESHOLD_INFO, maxDataQueueLen) == 0);
YRAFT_ASSERT(offsetof(YRAFT_THRESHOLD_INFO, maxBlockSize) == 2);
YRAFT_ASSERT(offsetof(YRAFT_THRESHOLD_INFO, maxFileSize) == 4);
YRAFT_ASSERT(offsetof(YRAFT_THRESHOLD_INFO, maxFiles) == 8);
YRAFT_ASSERT(offsetof(YRAFT_THRESHOLD_INFO, maxFileSizeUpload) == 10);
YRAFT_ASSERT(offsetof(YRAFT_THRESHOLD_INFO, maxFileSizeDownload) == 14);
YRAFT_ASSERT(sizeof(YRAFT_PROGRESS_BAR_INFO) == 560);
YRAFT_ASSERT(offsetof(YRAFT_PROGRESS_BAR_INFO, evtType) == 0);
YRAFT_ASSERT(offsetof(YRAFT_PROGRESS_BAR_INFO, fileContext) == 4);
YRAFT_ASSERT(offsetof(YRAFT_PROGRESS_BAR_INFO, filesNum) == 6);
YRAFT_ASSERT(offsetof(YRAFT_PROGRESS_BAR_INFO, fileOffset) == 8);
YRAFT_ASSERT(offsetof(YRAFT_PROGRESS_BAR_INFO, fileSize) == 12);
YRAFT_ASSERT(offsetof(YRAFT_PROGRESS_BAR_INFO, name) == 16);
YRAFT_ASSERT(offsetof(YRAFT_PROGRESS_BAR_INFO, fileTransferOperation) == 536);
YRAFT_ASSERT(offsetof(YRAFT_PROGRESS_BAR_INFO, pProgressBarWin) == 540);
YRAFT_ASSERT(offsetof(YRAFT_PROGRESS_BAR_INFO, reserved) == 548);
YRAFT_ASSERT(sizeof(YRAFT_ERROR_MESSAGE_INFO) == 8);
YRAFT_ASSERT(offsetof(YRAFT_ERROR_MESSAGE_INFO, cbSize) == 0);
YRAFT_ASSERT(offsetof(YRAFT_ERROR_MESSAGE_INFO, titleLen) == 2);
YRAFT_ASSERT(offsetof(YRAFT_ERROR_MESSAGE_INFO, firLen) == 4);
YRAFT_ASSERT(offsetof(YRAFT_ERROR_MESSAGE_INFO, SecLen) == 6);
YRAFT_ASSERT(sizeof(YRAFT_TLV_BLOCKS) == 12);
YRAFT_ASSERT(offsetof(YRAFT_TLV_BLOCKS, ListBlocks) == 0);
YRAFT_ASSERT(offsetof(YRAFT_TLV_BLOCKS, ListCount) == 2);
YRAFT_ASSERT(offsetof(YRAFT_TLV_BLOCKS, FilesSize) == 4);
YRAFT_ASSERT(sizeof(YRAFT_TLV_ITEM) == 8);
YRAFT_ASSERT(offsetof(YRAFT_TLV_ITEM, cbSize) == 0);
YRAFT_ASSERT(offsetof(YRAFT_TLV_ITEM, Reserved) == 2);
YRAFT_ASSERT(offsetof(YRAFT_TLV_ITEM, reserved2) == 4);

/* Where the bytes behind a fixed head start; the name is NUL-terminated. */
#define YRAFT_FILEINFO_NAME(pFileInfo) ((const char*)((pFileInfo) + 1))
#define YRAFT_TLV_PAYLOAD(pTlvItem) ((const void*)((pTlvItem) + 1))

#define YRAFT_BLOCK_MAX 65535u  /* bytes of a whole block, and of a whole item */
#define YRAFT_PAYLOAD_MAX 65527 /* bytes of an item's payload */
#define YRAFT_NAME_MAX 65510    /* bytes of a file-information record's name */

/* ---- Tracing of the functions below ------------------------------------------------------------
 */

/* A program that can tell at no cost that a line of this level would be dropped defines this, and
 * then no argument of such a line is evaluated. */
#ifndef YRAFT_TRACE_ADMITS
#define YRAFT_TRACE_ADMITS(level) 1
#endif
#define YRAFT_TRACE(level, ...)                                                      \
  do {                                                                               \
    if (YRAFT_TRACE_ADMITS(level))                                                   \
      __KvoTrace(KVO_CLASS_YRAFT, level, __FILE__, __func__, __LINE__, __VA_ARGS__); \
  } while (0)
#define YRAFT_TRACE_ADDRESS(p) ((unsigned int)(uintptr_t)(p))

/* ---- Functions ---------------------------------------------------------------------------------
 */

/* NOLINTBEGIN(modernize-use-nullptr): C has none */

/* Allocates an empty block.
 *
 * ppTlvBlocks  receives the block, which the caller releases with free(); NULL on failure
 * size         the block's capacity in bytes, at least 12
 *
 * Answers 0, 70 (null argument, size below 12) or 86.
 */
static inline unsigned int Yraft_TlvBlocksAllocate(YRAFT_TLV_BLOCKS** ppTlvBlocks,
                                                   unsigned short size) {
  unsigned int ret = YRAFT_STATUS_SUCCESS;
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] In.");
  if (ppTlvBlocks == NULL) {
    YRAFT_TRACE(KVO_LOG_ERROR, "ppTlvBlocks (%p) is null.", (void*)ppTlvBlocks);
    ret = YRAFT_STATUS_INVALID_PARAM;
  } else if (*ppTlvBlocks = NULL, size < sizeof(YRAFT_TLV_BLOCKS)) {
    YRAFT_TRACE(KVO_LOG_ERROR, "Allocate space is too small.(%d)", size);
    ret = YRAFT_STATUS_INVALID_PARAM;
  } else if ((*ppTlvBlocks = (YRAFT_TLV_BLOCKS*)calloc(1, size)) == NULL) {
    YRAFT_TRACE(KVO_LOG_ERROR, "callback KvoMemoryAllocate failed.(%d)", size);
    ret = YRAFT_STATUS_NO_MEMORY;
  } else {
    (*ppTlvBlocks)->ListBlocks = sizeof(YRAFT_TLV_BLOCKS);
  }
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: ret=0x%x.", ret);
  return ret;
}

/* Allocates an item around a copy of a payload of 1 to 65527 bytes. The caller releases it with
 * free(). Answers NULL for a null or empty or too long payload, or without memory. */
static inline YRAFT_TLV_ITEM* Yraft_TlvItemAllocate(const void* pData, unsigned short dataLen) {
  YRAFT_TLV_ITEM* pItem = NULL;
  const int cbSize = dataLen + (int)sizeof(YRAFT_TLV_ITEM);
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] In.");
  if (pData == NULL || dataLen == 0 || dataLen > YRAFT_PAYLOAD_MAX) {
    YRAFT_TRACE(KVO_LOG_ERROR, "pData (%p) or dataLen (%d) is invaild.", pData, dataLen);
  } else {
    YRAFT_TRACE(KVO_LOG_INFO, "item attrs is invaild.(%d - %d)", 0, cbSize);
    pItem = (YRAFT_TLV_ITEM*)calloc(1, (size_t)cbSize);
    if (pItem == NULL) {
      YRAFT_TRACE(KVO_LOG_ERROR, "callback KvoMemoryAllocate failed.(%d)", cbSize);
    } else {
      pItem->cbSize = (uint16_t)cbSize;
      memcpy(pItem + 1, pData, dataLen);
      YRAFT_TRACE(KVO_LOG_INFO, "End: cbSize=%d, Reserved=%u.", pItem->cbSize, pItem->Reserved);
    }
  }
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: Data=0x%x.", YRAFT_TRACE_ADDRESS(pItem));
  return pItem;
}

/* Answers the used length of a well-formed block in bytes: the header and every item. */
static inline unsigned short yraft_block_used_(const YRAFT_TLV_BLOCKS* pTlvBlocks) {
  const unsigned char* pItem = (const unsigned char*)pTlvBlocks + pTlvBlocks->ListBlocks;
  unsigned short size = sizeof(YRAFT_TLV_BLOCKS);
  int i;
  for (i = 0; i < pTlvBlocks->ListCount; ++i) {
    uint16_t cbSize;
    memcpy(&cbSize, pItem, sizeof(cbSize));
    size = (unsigned short)(size + cbSize);
    pItem += cbSize;
  }
  return size;
}

/* Stores the used length of a block in *pSize: 12 bytes and the cbSize of every item. The block
 * must be well formed. Answers 0, or 70 for a null argument. */
static inline unsigned int Yraft_TlvBlocksGetSize(YRAFT_TLV_BLOCKS* pTlvBlocks,
                                                  unsigned short* pSize) {
  unsigned int ret = YRAFT_STATUS_SUCCESS;
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] In.");
  if (pTlvBlocks == NULL || pSize == NULL) {
    YRAFT_TRACE(KVO_LOG_ERROR, "pTlvBlocks (%p) or pSize (%p) is null.", (void*)pTlvBlocks,
                (void*)pSize);
    ret = YRAFT_STATUS_INVALID_PARAM;
  } else {
    *pSize = yraft_block_used_(pTlvBlocks);
    YRAFT_TRACE(KVO_LOG_VERBOSE, "size=%d.", *pSize);
  }
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: ret=0x%x.", ret);
  return ret;
}

/* Appends a copy of an item to a block; the item stays the caller's.
 *
 * bufferLen  the block's capacity in bytes, as it was allocated
 * cbSize     the item's size, which must agree with the item's own field
 *
 * Answers 0, 70 (null argument) or 9 (the sizes disagree, or no room); on failure the block is
 * unchanged. Walks the block, so building n items takes time in n squared.
 */
static inline unsigned int Yraft_TlvBlocksAddItem(YRAFT_TLV_BLOCKS* pTlvBlocks, int bufferLen,
                                                  YRAFT_TLV_ITEM* pData, int cbSize) {
  unsigned int ret = YRAFT_STATUS_SUCCESS;
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] In.");
  if (pTlvBlocks == NULL || pData == NULL) {
    YRAFT_TRACE(KVO_LOG_ERROR, "pTlvBlocks (%p) or pData (%p) is null.", (void*)pTlvBlocks,
                (void*)pData);
    ret = YRAFT_STATUS_INVALID_PARAM;
  } else if (cbSize <= 0 || cbSize != pData->cbSize) {
    YRAFT_TRACE(KVO_LOG_ERROR, "cbSize (%d) or data of cbSize (%d) is invaild.", cbSize,
                pData->cbSize);
    ret = YRAFT_STATUS_BUFFER_TOO_SMALL;
  } else {
    const int pktLen = yraft_block_used_(pTlvBlocks);
    YRAFT_TRACE(KVO_LOG_VERBOSE, "pktLen=%d, cbSize=%d, Reserved=%u.", pktLen, pData->cbSize,
                pData->Reserved);
    if (pktLen + cbSize > bufferLen) {
      YRAFT_TRACE(KVO_LOG_ERROR, "buffer space is too small.( (%d + %d) > %d )", pktLen, cbSize,
                  bufferLen);
      ret = YRAFT_STATUS_BUFFER_TOO_SMALL;
    } else {
      YRAFT_TRACE(KVO_LOG_VERBOSE, "pktLen=%d, ListBlocks=%d, ListCount=%d.", pktLen,
                  pTlvBlocks->ListBlocks, pTlvBlocks->ListCount);
      memcpy((unsigned char*)pTlvBlocks + pktLen, pData, (size_t)cbSize);
      ++pTlvBlocks->ListCount;
    }
  }
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: ret=0x%x.", ret);
  return ret;
}

/* Allocates a file-information record with direction 0. The caller releases it with free().
 *
 * pName    the path, nameLen bytes of it; NULL for a record without a name
 * nameLen  1 to 65510, or 0 together with a null name
 *
 * Answers NULL where name and length disagree or the length is out of range, or without memory.
 */
static inline YRAFT_FILEINFO_ITEM* Yraft_FileInfoItemAllocate(const char* pName, int nameLen,
                                                              unsigned short fileContext,
                                                              unsigned long long fileSize) {
  YRAFT_FILEINFO_ITEM* pItem = NULL;
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] In.");
  if (nameLen < 0 || nameLen > YRAFT_NAME_MAX || (nameLen > 0) != (pName != NULL)) {
    YRAFT_TRACE(KVO_LOG_ERROR, "pName (%p) or nameLen (%d) is invaild.", (const void*)pName,
                nameLen);
  } else {
    const int cbSize = (int)sizeof(YRAFT_FILEINFO_ITEM) + nameLen + 1;
    pItem = (YRAFT_FILEINFO_ITEM*)calloc(1, (size_t)cbSize);
    if (pItem == NULL) {
      YRAFT_TRACE(KVO_LOG_ERROR, "callback KvoMemoryAllocate failed.(%d)", cbSize);
    } else {
      pItem->nameLen = (uint16_t)nameLen;
      pItem->cbSize = (uint16_t)cbSize;
      pItem->fileContext = fileContext;
      pItem->fileSize = fileSize;
      if (pName != NULL) {
        memcpy(pItem + 1, pName, (size_t)nameLen); /* calloc has written the NUL */
        YRAFT_TRACE(KVO_LOG_VERBOSE, "name[%s].", YRAFT_FILEINFO_NAME(pItem));
      }
      YRAFT_TRACE(KVO_LOG_VERBOSE, "End: cbSize=%d, fileContext=%u, fileSize=%u, nameLen=%u.",
                  pItem->cbSize, pItem->fileContext, (unsigned int)pItem->fileSize, pItem->nameLen);
    }
  }
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: Data=0x%x.", YRAFT_TRACE_ADDRESS(pItem));
  return pItem;
}

/* Answers the size in bytes of the file that a path leads to, links followed, or 0 when it cannot
 * be told: the low 32 bits as a signed number, exact below 2 GiB. */
static inline int Yraft_GetFileSize(const char* pFileName) {
  int size = 0;
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] In.");
  if (pFileName == NULL) {
    YRAFT_TRACE(KVO_LOG_ERROR, "pFileName (%p) is null.", (const void*)pFileName);
  } else {
    struct stat status;
    const int ret = stat(pFileName, &status);
    if (ret != 0) {
      YRAFT_TRACE(KVO_LOG_ERROR, "callback stat failed. (%d)", ret);
    } else {
      size = (int)(uint32_t)status.st_size;
    }
  }
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: size=%d.", size);
  return size;
}

/* Answers the part of a path behind the last `key` (the whole path where there is none), inside the
 * caller's string; NULL for a null path. */
static inline const char* Yraft_GetFileNameFromFilePath(const char* pFilePath, char key) {
  const char* pName = NULL;
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] In.");
  if (pFilePath != NULL) {
    const char* pKey = strrchr(pFilePath, key);
    pName = pKey != NULL ? pKey + 1 : pFilePath;
    YRAFT_TRACE(KVO_LOG_VERBOSE, "file path[%s], name[%s], key=%c.", pFilePath, pName, key);
  }
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: pos=0x%x.", YRAFT_TRACE_ADDRESS(pName));
  return pName;
}

/* ---- Reading a block that came from somewhere else ----------------------------------------------
 *
 * A walk believes nothing that a block says before it has seen that it lies within the bytes there
 * are. Records stand at odd addresses in a block; their types are packed, so they may be read
 * there.
 *
 *   YRAFT_TLV_WALK walk;
 *   const YRAFT_TLV_ITEM* pItem;
 *   if (Yraft_TlvBlocksWalk(&walk, pBlock, length) != YRAFT_STATUS_SUCCESS) …;
 *   while ((pItem = Yraft_TlvBlocksNext(&walk)) != NULL) …;
 *   if (walk.left != 0) …;  the block broke off
 */

typedef struct YRAFT_TLV_WALK {
  const unsigned char* pNext; /* where the next item starts */
  size_t length;              /* bytes there are from there on */
  unsigned int left;          /* items that the block announced and the walk has not reached */
} YRAFT_TLV_WALK;

/* Begins a walk over the items of a block of `length` bytes, which may be anything and must outlive
 * the walk. Answers 0, 70 (null argument) or 9 (no room for a header, or for the place it names).
 */
static inline unsigned int Yraft_TlvBlocksWalk(YRAFT_TLV_WALK* pWalk, const void* pBlock,
                                               size_t length) {
  const YRAFT_TLV_BLOCKS* pTlvBlocks = (const YRAFT_TLV_BLOCKS*)pBlock;
  if (pWalk == NULL) return YRAFT_STATUS_INVALID_PARAM;
  pWalk->pNext = NULL;
  pWalk->length = 0;
  pWalk->left = 0;
  if (pBlock == NULL) return YRAFT_STATUS_INVALID_PARAM;
  if (length < sizeof(*pTlvBlocks) || pTlvBlocks->ListBlocks < sizeof(*pTlvBlocks) ||
      pTlvBlocks->ListBlocks > length) {
    return YRAFT_STATUS_BUFFER_TOO_SMALL;
  }
  pWalk->pNext = (const unsigned char*)pBlock + pTlvBlocks->ListBlocks;
  pWalk->length = length - pTlvBlocks->ListBlocks;
  pWalk->left = pTlvBlocks->ListCount;
  return YRAFT_STATUS_SUCCESS;
}

/* Answers the next item, which lies whole within the block, with cbSize - 8 bytes of payload; NULL
 * behind the last one, and where an item does not fit: pWalk->left is not 0 then. */
static inline const YRAFT_TLV_ITEM* Yraft_TlvBlocksNext(YRAFT_TLV_WALK* pWalk) {
  const YRAFT_TLV_ITEM* pItem = pWalk != NULL ? (const YRAFT_TLV_ITEM*)pWalk->pNext : NULL;
  if (pItem == NULL || pWalk->left == 0 || pWalk->length < sizeof(*pItem) ||
      pItem->cbSize < sizeof(*pItem) || pItem->cbSize > pWalk->length) {
    return NULL;
  }
  pWalk->pNext += pItem->cbSize;
  pWalk->length -= pItem->cbSize;
  --pWalk->left;
  return pItem;
}

/* Answers the file-information record that an item of a walk carries; NULL for a null item and
 * where the payload is none: its lengths disagree, or its name does not end where they say. */
static inline const YRAFT_FILEINFO_ITEM* Yraft_TlvItemFileInfo(const YRAFT_TLV_ITEM* pItem) {
  const YRAFT_FILEINFO_ITEM* pFileInfo;
  size_t size;
  const char* pName;
  if (pItem == NULL || pItem->cbSize <= sizeof(*pItem) + sizeof(*pFileInfo)) return NULL;
  pFileInfo = (const YRAFT_FILEINFO_ITEM*)YRAFT_TLV_PAYLOAD(pItem);
  size = pItem->cbSize - sizeof(*pItem);
  if (pFileInfo->cbSize != size || sizeof(*pFileInfo) + pFileInfo->nameLen + 1 != size) return NULL;
  pName = YRAFT_FILEINFO_NAME(pFileInfo);
  if (memchr(pName, '\0', pFileInfo->nameLen + 1U) != pName + pFileInfo->nameLen) return NULL;
  return pFileInfo;
}

/* NOLINTEND(modernize-use-nullptr) */

#ifdef __cplusplus
}
#endif

#endif
