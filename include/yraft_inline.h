/* What stands behind yraft.h: the bodies of its functions, and the assertions that hold its records
 * to the byte. A program includes yraft.h, which explains everything that is to be used.
 */
#ifndef YRAFT_INLINE_H
#define YRAFT_INLINE_H

#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "kvolog.h"
#include "yraft.h"

#ifdef __cplusplus
#define YRAFT_ASSERT(condition) static_assert(condition, #condition)
extern "C" {
#else
#define YRAFT_ASSERT(condition) _Static_assert(condition, #condition)
#endif

/* ---- Layouts --------------------------------------------------------------------------------- */

YRAFT_ASSERT(sizeof(YRAFT_FILEINFO_ITEM) == 24);
YRAFT_ASSERT(offsetof(YRAFT_FILEINFO_ITEM, nameLen) == 0);
YRAFT_ASSERT(offsetof(YRAFT_FILEINFO_ITEM, cbSize) == 2);
YRAFT_ASSERT(offsetof(YRAFT_FILEINFO_ITEM, fileContext) == 4);
YRAFT_ASSERT(offsetof(YRAFT_FILEINFO_ITEM, reserved1) == 6);
YRAFT_ASSERT(offsetof(YRAFT_FILEINFO_ITEM, fileTransferOperation) == 8);
YRAFT_ASSERT(offsetof(YRAFT_FILEINFO_ITEM, reserved2) == 12);
YRAFT_ASSERT(offsetof(YRAFT_FILEINFO_ITEM, fileSize) == 16);
YRAFT_ASSERT(offsetof(YRAFT_FILEINFO_ITEM, name) == 24);
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
YRAFT_ASSERT(offsetof(YRAFT_ERROR_MESSAGE_INFO, Title) == 8);
YRAFT_ASSERT(sizeof(YRAFT_TLV_BLOCKS) == 12);
YRAFT_ASSERT(offsetof(YRAFT_TLV_BLOCKS, ListBlocks) == 0);
YRAFT_ASSERT(offsetof(YRAFT_TLV_BLOCKS, ListCount) == 2);
YRAFT_ASSERT(offsetof(YRAFT_TLV_BLOCKS, FilesSize) == 4);
YRAFT_ASSERT(sizeof(YRAFT_TLV_ITEM) == 8);
YRAFT_ASSERT(offsetof(YRAFT_TLV_ITEM, cbSize) == 0);
YRAFT_ASSERT(offsetof(YRAFT_TLV_ITEM, Reserved) == 2);
YRAFT_ASSERT(offsetof(YRAFT_TLV_ITEM, reserved2) == 4);

/* ---- Tracing --------------------------------------------------------------------------------- */

#ifndef YRAFT_TRACE_ADMITS
#define YRAFT_TRACE_ADMITS(level) 1
#endif
#define YRAFT_TRACE(level, ...)                                                      \
  do {                                                                               \
    if (YRAFT_TRACE_ADMITS(level))                                                   \
      __KvoTrace(KVO_CLASS_YRAFT, level, __FILE__, __func__, __LINE__, __VA_ARGS__); \
  } while (0)
#define YRAFT_TRACE_ADDRESS(p) ((unsigned int)(uintptr_t)(p))

/* ---- Bodies ---------------------------------------------------------------------------------- */

/* NOLINTBEGIN(modernize-use-nullptr): C has none */

static inline unsigned int Yraft_TlvBlocksAllocate(YRAFT_TLV_BLOCKS** ppTlvBlocks,
                                                   unsigned short size) {
  unsigned int ret = YRAFT_STATUS_SUCCESS;
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] In.");
  if (ppTlvBlocks == NULL) {
    YRAFT_TRACE(KVO_LOG_ERROR, "ppTlvBlocks (%p) is null.", (void*)ppTlvBlocks);
    ret = YRAFT_STATUS_INVALID_PARAM;
  } else if (size < sizeof(YRAFT_TLV_BLOCKS)) {
    *ppTlvBlocks = NULL;
    YRAFT_TRACE(KVO_LOG_ERROR, "Allocate space is too small.(%d)", size);
    ret = YRAFT_STATUS_INVALID_PARAM;
  } else {
    YRAFT_TLV_BLOCKS* pTlvBlocks = (YRAFT_TLV_BLOCKS*)calloc(1, size);
    if (pTlvBlocks == NULL) {
      YRAFT_TRACE(KVO_LOG_ERROR, "callback KvoMemoryAllocate failed.(%d)", size);
      ret = YRAFT_STATUS_NO_MEMORY;
    } else {
      pTlvBlocks->ListBlocks = sizeof(YRAFT_TLV_BLOCKS);
    }
    *ppTlvBlocks = pTlvBlocks;
  }
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: ret=0x%x.", ret);
  return ret;
}

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
static inline long yraft_block_used_(const YRAFT_TLV_BLOCKS* pTlvBlocks) {
  const unsigned char* pItem = (const unsigned char*)pTlvBlocks + pTlvBlocks->ListBlocks;
  long size = sizeof(YRAFT_TLV_BLOCKS);
  int i;
  for (i = 0; i < pTlvBlocks->ListCount; ++i) {
    uint16_t cbSize;
    memcpy(&cbSize, pItem, sizeof(cbSize));
    size += cbSize;
    pItem += cbSize;
  }
  return size;
}

static inline unsigned int Yraft_TlvBlocksGetSize(YRAFT_TLV_BLOCKS* pTlvBlocks,
                                                  unsigned short* pSize) {
  unsigned int ret = YRAFT_STATUS_SUCCESS;
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] In.");
  if (pTlvBlocks == NULL || pSize == NULL) {
    YRAFT_TRACE(KVO_LOG_ERROR, "pTlvBlocks (%p) or pSize (%p) is null.", (void*)pTlvBlocks,
                (void*)pSize);
    ret = YRAFT_STATUS_INVALID_PARAM;
  } else {
    *pSize = (unsigned short)yraft_block_used_(pTlvBlocks);
    YRAFT_TRACE(KVO_LOG_VERBOSE, "size=%d.", *pSize);
  }
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: ret=0x%x.", ret);
  return ret;
}

static inline unsigned int Yraft_TlvBlocksAddItem(YRAFT_TLV_BLOCKS* pTlvBlocks, int bufferLen,
                                                  YRAFT_TLV_ITEM* pData, int cbSize) {
  unsigned int ret = YRAFT_STATUS_SUCCESS;
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] In.");
  if (pTlvBlocks == NULL || pData == NULL) {
    YRAFT_TRACE(KVO_LOG_ERROR, "pTlvBlocks (%p) or pData (%p) is null.", (void*)pTlvBlocks,
                (void*)pData);
    ret = YRAFT_STATUS_INVALID_PARAM;
  } else if (cbSize < (int)sizeof(*pData) || cbSize != pData->cbSize) {
    YRAFT_TRACE(KVO_LOG_ERROR, "cbSize (%d) or data of cbSize (%d) is invaild.", cbSize,
                pData->cbSize);
    ret = YRAFT_STATUS_BUFFER_TOO_SMALL;
  } else {
    const int room = bufferLen < (int)YRAFT_BLOCK_MAX ? bufferLen : (int)YRAFT_BLOCK_MAX;
    const long pktLen = yraft_block_used_(pTlvBlocks);
    YRAFT_TRACE(KVO_LOG_VERBOSE, "pktLen=%d, cbSize=%d, Reserved=%u.", (int)pktLen, pData->cbSize,
                pData->Reserved);
    if (pktLen + cbSize > room) {
      YRAFT_TRACE(KVO_LOG_ERROR, "buffer space is too small.( (%d + %d) > %d )", (int)pktLen,
                  cbSize, room);
      ret = YRAFT_STATUS_BUFFER_TOO_SMALL;
    } else {
      YRAFT_TRACE(KVO_LOG_VERBOSE, "pktLen=%d, ListBlocks=%d, ListCount=%d.", (int)pktLen,
                  pTlvBlocks->ListBlocks, pTlvBlocks->ListCount);
      memcpy((unsigned char*)pTlvBlocks + pktLen, pData, (size_t)cbSize);
      ++pTlvBlocks->ListCount;
    }
  }
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: ret=0x%x.", ret);
  return ret;
}

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
        memcpy(pItem->name, pName, (size_t)nameLen); /* calloc has written the NUL */
        YRAFT_TRACE(KVO_LOG_VERBOSE, "name[%.*s].", nameLen, YRAFT_FILEINFO_NAME(pItem));
      }
      YRAFT_TRACE(KVO_LOG_VERBOSE, "End: cbSize=%d, fileContext=%u, fileSize=%u, nameLen=%u.",
                  pItem->cbSize, pItem->fileContext, (unsigned int)pItem->fileSize, pItem->nameLen);
    }
  }
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: Data=0x%x.", YRAFT_TRACE_ADDRESS(pItem));
  return pItem;
}

static inline YRAFT_ERROR_MESSAGE_INFO* Yraft_ErrorMessageAllocate(const char* pTitle,
                                                                   const char* pPromptInfoFir,
                                                                   const char* pPromptInfoSec) {
  YRAFT_ERROR_MESSAGE_INFO* pInfo = NULL;
  const size_t titleLen = pTitle != NULL ? strlen(pTitle) : 0;
  const size_t firLen = pPromptInfoFir != NULL ? strlen(pPromptInfoFir) : 0;
  const size_t secLen = pPromptInfoSec != NULL ? strlen(pPromptInfoSec) : 0;
  const size_t cbSize = sizeof(*pInfo) + titleLen + firLen + secLen + 3;
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] In.");
  if (cbSize > UINT16_MAX) {
    YRAFT_TRACE(KVO_LOG_ERROR, "titleLen (%zu) or firLen (%zu) or SecLen (%zu) is invaild.",
                titleLen, firLen, secLen);
  } else {
    pInfo = (YRAFT_ERROR_MESSAGE_INFO*)calloc(1, cbSize);
    if (pInfo == NULL) {
      YRAFT_TRACE(KVO_LOG_ERROR, "callback KvoMemoryAllocate failed.(%d)", (int)cbSize);
    } else {
      char* pText = pInfo->Title; /* calloc has written the NUL of a text that is not there */
      pInfo->cbSize = (uint16_t)cbSize;
      pInfo->titleLen = (uint16_t)titleLen;
      pInfo->firLen = (uint16_t)firLen;
      pInfo->SecLen = (uint16_t)secLen;
      if (pTitle != NULL) memcpy(pText, pTitle, titleLen + 1);
      pText += titleLen + 1;
      if (pPromptInfoFir != NULL) memcpy(pText, pPromptInfoFir, firLen + 1);
      pText += firLen + 1;
      if (pPromptInfoSec != NULL) memcpy(pText, pPromptInfoSec, secLen + 1);
    }
  }
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: Data=0x%x.", YRAFT_TRACE_ADDRESS(pInfo));
  return pInfo;
}

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

static inline const char* Yraft_GetFileNameFromFilePath(const char* pFilePath, char key) {
  const char* pName = NULL;
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] In.");
  if (pFilePath == NULL) {
    YRAFT_TRACE(KVO_LOG_ERROR, "pFilePath (%p) is null.", (const void*)pFilePath);
  } else {
    /* strrchr takes a path's own NUL for a character of it, and %c writes one into the line. */
    const char* pKey = key != '\0' ? strrchr(pFilePath, key) : NULL;
    pName = pKey != NULL ? pKey + 1 : pFilePath;
    YRAFT_TRACE(KVO_LOG_VERBOSE, "file path[%s], name[%s], key=%.1s.", pFilePath, pName, &key);
  }
  YRAFT_TRACE(KVO_LOG_VERBOSE, "[YRAFT] Out: pos=0x%x.", YRAFT_TRACE_ADDRESS(pName));
  return pName;
}

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
