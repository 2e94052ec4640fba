/* Records, codes and the packed block format that a file-transfer host and the library share.
 *
 * Everything here crosses the boundary between two separately built programs, so every layout is
 * fixed to the byte: records are packed (alignment 1), numbers are in the host's byte order
 * (little-endian on x86-64). Lengths of strings never count the terminating NUL; every string is
 * followed by one. Memory that changes hands comes from the C allocator and is released with free()
 * by its last holder. Valid C11 and C++11, and later.
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
 * The functions are inline; their bodies stand in yraft_inline.h, which this header includes. They
 * work on memory of the caller only and keep no state: any thread may call them.
 */
#ifndef YRAFT_H
#define YRAFT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
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

/* ---- Containers of a queue store ------------------------------------------------------------- */

#define YRAFT_QUEUE_BUFFER 1   /* queue of byte buffers */
#define YRAFT_QUEUE_READ 2     /* queue of byte buffers */
#define YRAFT_QUEUE_WRITE 3    /* queue of byte buffers */
#define YRAFT_QUEUE_FILEINFO 4 /* queue of YRAFT_FILEINFO_ITEM */
#define YRAFT_QUEUE_FILEUI 5   /* queue of YRAFT_FILES_UI */
#define YRAFT_LIST_FILEINFO 6  /* list of YRAFT_FILEINFO_ITEM, held by reference */
#define YRAFT_MAP_UITHREAD 7   /* map from 0…65535 to YRAFT_UI_THREADINFO, held by reference */

/* ---- Signals of a persistent UI, and events of the progress signal --------------------------- */

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

/* ---- Notification events (the first argument of the notify function) ------------------------- */

#define YRAFT_NOTIFY_CHOOSE_FILES 3u
#define YRAFT_NOTIFY_CHOOSE_DIRECTORY 5u
#define YRAFT_NOTIFY_PROGRESS_BAR 7u
#define YRAFT_NOTIFY_PAUSE 8u
#define YRAFT_NOTIFY_RESUME 9u
#define YRAFT_NOTIFY_CANCEL 10u

/* ---- Records -----------------------------------------------------------------------------------
 *
 * Packed twice: the pragma places the fields, the attribute lets a compiler warn whoever takes the
 * address of one that may be unaligned. Copy such a field instead. A record that ends in a text of
 * any length goes into no array and no other structure: keep a pointer there.
 */

#if defined(__GNUC__)
#define YRAFT_PACKED __attribute__((packed))
/* C++ has arrays without a length as an extension only. */
#define YRAFT_EXTENSION __extension__
#else
#define YRAFT_PACKED
#define YRAFT_EXTENSION
#endif
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wc99-extensions"
#endif
#pragma pack(push, 1)

/* A file or directory of a transfer: a head of 24 bytes, which is what sizeof and a copy by value
 * mean, and the name. cbSize = 24 + nameLen + 1, so a name has at most 65510 bytes. */
typedef struct YRAFT_PACKED YRAFT_FILEINFO_ITEM {
  uint16_t nameLen;
  uint16_t cbSize;
  uint16_t fileContext; /* number of the file within its transfer or choice */
  uint16_t reserved1;
  uint32_t fileTransferOperation;
  uint32_t reserved2;
  uint64_t fileSize;           /* bytes; exact below 2 GiB where the library measured it */
  YRAFT_EXTENSION char name[]; /* the path, nameLen bytes and a NUL */
} YRAFT_FILEINFO_ITEM;

/* What the host keeps per file for its UI. The library carries the bytes without reading them. */
typedef struct YRAFT_PACKED YRAFT_FILES_UI {
  unsigned char data[32];
} YRAFT_FILES_UI;

typedef struct YRAFT_PACKED YRAFT_UI_THREADINFO {
  uint16_t currentFileNo;
  uint32_t fileTransferOperation;
  uint64_t pThreadId;
} YRAFT_UI_THREADINFO;

/* Policy limits of a choice. The library enforces maxFiles and maxFileSize, and those only in the
 * one-call selection; the other four are carried and traced. */
typedef struct YRAFT_PACKED YRAFT_THRESHOLD_INFO {
  uint16_t maxDataQueueLen;
  uint16_t maxBlockSize;
  uint32_t maxFileSize; /* bytes, all files of one choice together */
  uint16_t maxFiles;
  uint32_t maxFileSizeUpload;
  uint32_t maxFileSizeDownload;
} YRAFT_THRESHOLD_INFO;

/* The figures of the progress window. */
typedef struct YRAFT_PACKED YRAFT_PROGRESS_BAR_INFO {
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

/* An error message: a head of 8 bytes, the title, and behind it the main text (firLen bytes, in
 * Pango markup) and the secondary text (SecLen), each with its NUL.
 * cbSize = 11 + titleLen + firLen + SecLen. */
typedef struct YRAFT_PACKED YRAFT_ERROR_MESSAGE_INFO {
  uint16_t cbSize;
  uint16_t titleLen;
  uint16_t firLen;
  uint16_t SecLen;
  YRAFT_EXTENSION char Title[]; /* titleLen bytes and a NUL */
} YRAFT_ERROR_MESSAGE_INFO;

typedef struct YRAFT_PACKED YRAFT_TLV_BLOCKS {
  uint16_t ListBlocks;
  uint16_t ListCount;
  uint64_t FilesSize;
} YRAFT_TLV_BLOCKS;

typedef struct YRAFT_PACKED YRAFT_TLV_ITEM {
  uint16_t cbSize; /* head and payload */
  uint16_t Reserved;
  uint32_t reserved2;
} YRAFT_TLV_ITEM;

#pragma pack(pop)
#if defined(__clang__)
#pragma clang diagnostic pop
#endif

#define YRAFT_FILEINFO_NAME(pFileInfo) ((const char*)(pFileInfo)->name)
/* Where an item's payload starts. */
#define YRAFT_TLV_PAYLOAD(pTlvItem) ((const void*)((pTlvItem) + 1))

#define YRAFT_BLOCK_MAX 65535u      /* bytes of a whole block, and of a whole item */
#define YRAFT_PAYLOAD_MAX 65527     /* bytes of an item's payload */
#define YRAFT_NAME_MAX 65510        /* bytes of a file-information record's name */
#define YRAFT_BLOCK_NAME_MAX 65490  /* bytes of such a name whose record fits a block */
#define YRAFT_FILE_IN_BLOCK 33      /* bytes that a file takes in a block besides its name */
#define YRAFT_ERROR_TEXTS_MAX 65524 /* bytes of an error message's three texts together */

/* ---- Building blocks and records ---------------------------------------------------------------
 *
 * Each function traces under KVO_CLASS_YRAFT. A program that can tell at no cost that a line of a
 * level would be dropped defines YRAFT_TRACE_ADMITS(level) before it includes this header; then no
 * argument of such a line is evaluated.
 */

/* Allocates an empty block.
 *
 * ppTlvBlocks  receives the block, which the caller releases with free(); NULL on failure
 * size         the block's capacity in bytes, at least 12
 *
 * Answers YRAFT_STATUS_SUCCESS, YRAFT_STATUS_INVALID_PARAM (null argument, size below 12) or
 * YRAFT_STATUS_NO_MEMORY. */
static inline unsigned int Yraft_TlvBlocksAllocate(YRAFT_TLV_BLOCKS** ppTlvBlocks,
                                                   unsigned short size);

/* Allocates an item around a copy of dataLen bytes, 1 to YRAFT_PAYLOAD_MAX. The caller releases it
 * with free(). Answers NULL for a null, empty or too long payload, or without memory. */
static inline YRAFT_TLV_ITEM* Yraft_TlvItemAllocate(const void* pData, unsigned short dataLen);

/* Appends a copy of an item to a well-formed block; the item stays the caller's.
 *
 * bufferLen  the block's capacity in bytes, as it was allocated
 * cbSize     the item's size in bytes, head included; must agree with the item's own field
 *
 * Answers YRAFT_STATUS_SUCCESS, YRAFT_STATUS_INVALID_PARAM (null argument) or
 * YRAFT_STATUS_BUFFER_TOO_SMALL (the sizes disagree or are below the 8 bytes of a head, or the
 * block would be longer than its capacity or YRAFT_BLOCK_MAX); on failure the block is unchanged.
 * Walks the block, so building n items takes time in n squared. */
static inline unsigned int Yraft_TlvBlocksAddItem(YRAFT_TLV_BLOCKS* pTlvBlocks, int bufferLen,
                                                  YRAFT_TLV_ITEM* pData, int cbSize);

/* Stores the used length of a block in *pSize: 12 bytes and the cbSize of every item. The block
 * must be well formed; one that came from somewhere else is walked first (below). Answers
 * YRAFT_STATUS_SUCCESS, or YRAFT_STATUS_INVALID_PARAM for a null argument. */
static inline unsigned int Yraft_TlvBlocksGetSize(YRAFT_TLV_BLOCKS* pTlvBlocks,
                                                  unsigned short* pSize);

/* Allocates a file-information record with direction 0. The caller releases it with free().
 *
 * pName        the path, nameLen bytes of it; NULL for a record without a name
 * nameLen      1 to YRAFT_NAME_MAX, or 0 together with a null name. A record whose name has more
 *              than YRAFT_BLOCK_NAME_MAX bytes fits no block.
 * fileContext  number of the file within its transfer or choice
 * fileSize     bytes of the file
 *
 * Answers NULL where name and length disagree or the length is out of range, or without memory. */
static inline YRAFT_FILEINFO_ITEM* Yraft_FileInfoItemAllocate(const char* pName, int nameLen,
                                                              unsigned short fileContext,
                                                              unsigned long long fileSize);

/* Allocates an error message of three texts, NUL-terminated and copied; NULL stands for an empty
 * text. The caller releases it with free(). Answers NULL where the texts have more than
 * YRAFT_ERROR_TEXTS_MAX bytes together, or without memory. */
static inline YRAFT_ERROR_MESSAGE_INFO* Yraft_ErrorMessageAllocate(const char* pTitle,
                                                                   const char* pPromptInfoFir,
                                                                   const char* pPromptInfoSec);

/* ---- Files ----------------------------------------------------------------------------------- */

/* Answers the size in bytes of the file that a path leads to, links followed, or 0 when it cannot
 * be told: the low 32 bits as a signed number, exact below 2 GiB. */
static inline int Yraft_GetFileSize(const char* pFileName);

/* Answers the part of a path behind the last `key`, inside the caller's string: the whole path
 * where it has none or where key is 0, and NULL for a null path. */
static inline const char* Yraft_GetFileNameFromFilePath(const char* pFilePath, char key);

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
 * the walk. Answers YRAFT_STATUS_SUCCESS, YRAFT_STATUS_INVALID_PARAM (null argument) or
 * YRAFT_STATUS_BUFFER_TOO_SMALL (no room for a header, or for the place it names). */
static inline unsigned int Yraft_TlvBlocksWalk(YRAFT_TLV_WALK* pWalk, const void* pBlock,
                                               size_t length);

/* Answers the next item, which lies whole within the block, with cbSize - 8 bytes of payload; NULL
 * behind the last one, and where an item does not fit: pWalk->left is not 0 then. */
static inline const YRAFT_TLV_ITEM* Yraft_TlvBlocksNext(YRAFT_TLV_WALK* pWalk);

/* Answers the file-information record that an item of a walk carries; NULL for a null item and
 * where the payload is none: its lengths disagree, or its name does not end where they say. */
static inline const YRAFT_FILEINFO_ITEM* Yraft_TlvItemFileInfo(const YRAFT_TLV_ITEM* pItem);

#ifdef __cplusplus
}
#endif

#include "yraft_inline.h"

#endif
