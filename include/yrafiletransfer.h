/* The C interface of libyrafiletransfer: the queue store and the dialogs of a transfer.
 *
 * Every function answers a result code of yraft.h (0 is success) unless it says otherwise, checks
 * its pointer arguments, and lets no exception out. Valid C11 and C++.
 *
 * Ownership. Memory that crosses this boundary comes from the C allocator and is released with
 * free() by its last holder. A store keeps the pointers pushed into it and copies nothing; a block
 * that a function hands out is its receiver's.
 *
 * Threads. Calls on one store must not overlap; different stores are independent. The threads of
 * the UI functions are told with each.
 */
#ifndef YRAFILETRANSFER_H
#define YRAFILETRANSFER_H

#include "yraft.h"

#ifdef __cplusplus
class YraRW;
class YraWinUI;
extern "C" {
#else
#include <stdbool.h>
typedef struct YraRW YraRW;
typedef struct YraWinUI YraWinUI;
#endif

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

/* ---- Queue store --------------------------------------------------------------------------------
 *
 * Seven containers, named by YRAFT_QUEUE_BUFFER … YRAFT_MAP_UITHREAD. What becomes of an element:
 *
 *                              clear, reset, destruction   pop            pop-front
 *   buffer, read, write queue  freed                       left to you    handed to you
 *   file-info queue            freed                       freed          handed to you
 *   file-UI queue              freed                       left to you    handed to you
 *   file-info list             left to you                 left to you    handed to you
 *   UI-thread map              left to you                 left to you    handed to you
 *
 * `key` selects the entry of the map and is ignored by every other container.
 */

/* Creates an empty store in *ppYraRW, which is NULL on failure. Answers 0, 70 (null argument) or 87
 * (no memory). */
unsigned int YraftRWCreate(YraRW** ppYraRW);

/* Destroys the store with what it owns and sets *ppYraRW to NULL. Always answers 0; a null argument
 * or an already null store is harmless. */
unsigned int YraftRWDestory(YraRW** ppYraRW);

/* Empties all seven containers. Answers 0, or 70 for a null store. */
unsigned int YraftRWReset(YraRW* pYraRW);

/* Appends an element to a container, or inserts it into the map under `key` (0 to 65535).
 *
 * pData    the element, allocated with the C allocator; the store's on success, yours on failure
 * dataLen  its length in bytes, not 0; counts into the context size of types 1 to 3 only
 *
 * Answers 0, 70 (null store or element, length 0, unknown type, key out of range), 86 (no memory)
 * or 104 (the key is present).
 */
unsigned int YraftRWPush(YraRW* pYraRW, int queueType, int key, unsigned char* pData,
                         unsigned int dataLen);

/* Stores the front element, or the map's value under `key`, in *ppData; it stays in the store.
 * Answers 0, 19 (nothing there) or 70; *ppData is NULL on failure. */
unsigned int YraftRWFront(YraRW* pYraRW, int queueType, int key, unsigned char** ppData);

/* Takes the front element, or the map's entry under `key`, out of the store and hands it over in
 * *ppData. Answers 0, 19 (nothing there) or 70; *ppData is NULL on failure. */
unsigned int YraftRWPopFront(YraRW* pYraRW, int queueType, int key, unsigned char** ppData);

/* Drops the front element, or the map's entry under `key`. Answers 0 (also when nothing was there)
 * or 70. */
unsigned int YraftRWPop(YraRW* pYraRW, int queueType, int key);

/* Answers true if the map (type 7) holds `key`; false for every other type and a null store. */
bool YraftRWFind(YraRW* pYraRW, int queueType, int key);

/* Stores the number of elements in *pSize. Answers 0 or 70; *pSize is 0 on failure. */
unsigned int YraftRWSize(YraRW* pYraRW, int queueType, int* pSize);

/* Answers true if the container is empty, the type unknown or the store null. */
bool YraftRWEmpty(YraRW* pYraRW, int queueType);

/* Empties one container. Answers 0 or 70. */
unsigned int YraftRWClear(YraRW* pYraRW, int queueType);

/* Stores in *pContextSize what the container's elements weigh now, in bytes: the lengths given with
 * the buffers (types 1 to 3), nameLen + 1 of every record (4 and 6), 32 (5) or 14 (7) an element.
 * Answers 0 or 70; *pContextSize is 0 on failure. */
unsigned int YraftRWContextSize(YraRW* pYraRW, int queueType, unsigned int* pContextSize);

/* Packs a whole container into one TLV block (yraft.h), in order, and leaves it as it was.
 *
 * ppTlvBlocks  receives the block, which is yours; NULL where none was made. A block of types 1 to
 *              3 carries the buffers' addresses: they still belong to the store.
 *
 * Answers 0, 70, 9 (the container needs more than the 65535 bytes of a block; nothing is made) or
 * 86 (no memory). A block can come with a result other than 0, then ListCount tells what it holds.
 */
unsigned int YraftRWGetAll(YraRW* pYraRW, int queueType, unsigned char** ppTlvBlocks);

/* A placeholder that only reports that it was called. Answers 0. */
unsigned int Yraft_GetFile(void);

/* ---- Dialogs ------------------------------------------------------------------------------------
 */

/* The signals of a persistent UI, indexed by signal type. You provide it, zeroed, and keep it until
 * the UI has been deleted; the library fills entries 1 to 5 and keeps using them. */
typedef struct YRAFT_SELF_SIGNAL_ENTRY {
  uint32_t signalId;
  void* pSignalObj;
} YRAFT_SELF_SIGNAL_ENTRY;

typedef struct YRAFT_SELF_SIGNAL {
  YRAFT_SELF_SIGNAL_ENTRY entries[YRAFT_UI_SIGNAL_MAX];
} YRAFT_SELF_SIGNAL;

YRAFT_ASSERT(sizeof(YRAFT_SELF_SIGNAL_ENTRY) == 16);

/* What the UI has to tell you. Called from the thread that sent a signal (refusals) and from the UI
 * thread (everything else), possibly from both at once; it must not block for long, since the UI
 * stands still meanwhile.
 *
 *   event  sub  status           value            data
 *     3    15   0                block length     the chosen files, a TLV block
 *     3    15   4, 0x8000000x    0                NULL: declined, failed
 *     3     7   0x80000001       0                NULL: the request was refused
 *     5    15   as event 3                        the chosen directory, a TLV block with one item
 *     5     7   as event 3
 *     7    15   0x80000001       0                NULL: a progress request was refused
 *     7     7   0                0                the UI object of a one-call progress window
 *     8     7   2                fileContext      NULL: the user paused the transfer
 *     9     7   3                fileContext      NULL: … resumed it
 *    10     7   4                fileContext      NULL: … cancelled it
 *
 * A block is yours to free(), whatever you answer. The answer is traced when it is not 0.
 */
typedef unsigned int (*YRAFT_NOTIFY_FUN)(unsigned int event, unsigned int subCode,
                                         unsigned int status, unsigned int value, void* pData);

/* Registers the one notify function of the process; NULL clears it. Register it before the UI
 * starts. Without one, notifications are dropped and their blocks released. */
void YraSetYraNotifyCallback(YRAFT_NOTIFY_FUN pFun);

/* Runs a persistent UI in the calling thread, which becomes the UI thread: builds the dialogs
 * hidden, fills the table, serves signals, and returns when signal 5 has been handled or the
 * display cannot be opened.
 *
 * argc, argv  arguments for GTK; argv may be NULL
 * pInput      a YRAFT_SELF_SIGNAL
 * ppWinUI     receives the UI object, to be deleted with YraMainWinUIDestory
 *
 * Answers 0, 70 (null pInput or ppWinUI) or 13 (no memory). One persistent UI at a time.
 */
unsigned int YraMainWinUICreate(int argc, char** argv, void* pInput, YraWinUI** ppWinUI);

/* Deletes a UI object whose YraMainWinUICreate has returned. Always answers 0. */
unsigned int YraMainWinUIDestory(YraWinUI* pWinUI);

/* Sends a request to a persistent UI and returns without waiting for the user; the outcome comes
 * through the notify function. Any thread.
 *
 * pSelfSignal  the table given to YraMainWinUICreate
 * signalType   YRAFT_UI_SIGNAL_SELECT_FLIES … YRAFT_UI_SIGNAL_THREAD_DESTORY
 * evtType      YRAFT_PROGRESS_… for the progress signal, else unused
 * key          traced only
 * pInput       the record that the signal takes, allocated with malloc(); the library's once the
 *              signal was sent
 *
 * Answers 0, 70 (null table, unknown signal) or 27 (the UI is not ready yet, or gone). On a failure
 * nothing was sent and pInput is still yours, so 27 may be tried again while the UI starts.
 */
unsigned int YraSendSelfSignal(void* pSelfSignal, int signalType, int evtType, int key,
                               void* pInput);

/* Shows the file chooser in the calling thread and waits for the user.
 *
 * pThreshold   limits; breaking one shows an error box and yields no block
 * pStatusCode  receives what became of the choice: 0, 0x80000001, 0x80000004
 * ppTlvBlocks  receives the chosen files, yours to free(); an empty block when the user declined
 *
 * The block is there only where the result and the status are both 0. Answers 0, 3 (null argument)
 * or the result of the failed step.
 */
unsigned int YraGetChooseFilesList(int argc, char** argv, YRAFT_THRESHOLD_INFO* pThreshold,
                                   unsigned int* pStatusCode, YRAFT_TLV_BLOCKS** ppTlvBlocks);

/* Shows the folder chooser in the calling thread and waits for the user. pFileInfo is the file to
 * be uploaded: its size goes into the block's one item. The rest is as for YraGetChooseFilesList.
 */
unsigned int YraGetChooseDirectory(int argc, char** argv, YRAFT_FILEINFO_ITEM* pFileInfo,
                                   unsigned int* pStatusCode, YRAFT_TLV_BLOCKS** ppTlvBlocks);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif
