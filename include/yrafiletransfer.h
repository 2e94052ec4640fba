/* The C interface of libyrafiletransfer: the queue store and the dialogs of a transfer.
 *
 * Every function answers a result code of yraft.h (YRAFT_STATUS_SUCCESS is 0) unless it says
 * otherwise, checks its pointer arguments, and lets no exception out. Valid C11 and C++11, and
 * later.
 *
 * Ownership. Memory that crosses this boundary comes from the C allocator and is released with
 * free() by its last holder. A store keeps the pointers pushed into it and copies nothing; a block
 * that a function hands out is its receiver's.
 *
 * Threads. Calls on one store must not overlap; different stores are independent. The threads of
 * the UI functions are told with each.
 *
 * fork(). The child shares its parent's connection to the display and has no UI thread: it uses
 * nothing of the dialogs. Its copy of a store works on; what it may log is told in kvolog.h. After
 * exec() all of it may be used.
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

/* Creates an empty store in *ppYraRW, which is NULL on failure. Release it with YraftRWDestory.
 * Answers YRAFT_STATUS_SUCCESS, YRAFT_STATUS_INVALID_PARAM (null argument) or
 * YRAFT_STATUS_RW_CREATE_FAILED (no memory). */
unsigned int YraftRWCreate(YraRW** ppYraRW);

/* Destroys the store with what it owns and sets *ppYraRW to NULL. Always answers
 * YRAFT_STATUS_SUCCESS; a null argument or an already null store is harmless. */
unsigned int YraftRWDestory(YraRW** ppYraRW);

/* Empties all seven containers. Answers YRAFT_STATUS_SUCCESS, or YRAFT_STATUS_INVALID_PARAM for a
 * null store. */
unsigned int YraftRWReset(YraRW* pYraRW);

/* Appends an element to a container, or inserts it into the map under `key` (0 to 65535).
 *
 * pData    the element, allocated with the C allocator; the store's on success, yours on failure.
 *          Push a pointer once: what stands in two places is freed twice. A file-information record
 *          is read when it is pushed and must be whole.
 * dataLen  its length in bytes, not 0; counts into the context size of types 1 to 3 only
 *
 * Answers YRAFT_STATUS_SUCCESS, YRAFT_STATUS_INVALID_PARAM (null store or element, length 0,
 * unknown type, key out of range), YRAFT_STATUS_NO_MEMORY or YRAFT_STATUS_KEY_EXISTS. */
unsigned int YraftRWPush(YraRW* pYraRW, int queueType, int key, unsigned char* pData,
                         unsigned int dataLen);

/* Stores the front element, or the map's value under `key`, in *ppData; it stays in the store.
 * Answers YRAFT_STATUS_SUCCESS, YRAFT_STATUS_KEY_NOT_FOUND (nothing there) or
 * YRAFT_STATUS_INVALID_PARAM (null argument, unknown type); *ppData is NULL on failure. */
unsigned int YraftRWFront(YraRW* pYraRW, int queueType, int key, unsigned char** ppData);

/* Takes the front element, or the map's entry under `key`, out of the store and hands it over in
 * *ppData, to be released with free(). Answers as YraftRWFront; *ppData is NULL on failure. */
unsigned int YraftRWPopFront(YraRW* pYraRW, int queueType, int key, unsigned char** ppData);

/* Drops the front element, or the map's entry under `key`. Answers YRAFT_STATUS_SUCCESS (also when
 * nothing was there) or YRAFT_STATUS_INVALID_PARAM (null store, unknown type). */
unsigned int YraftRWPop(YraRW* pYraRW, int queueType, int key);

/* Answers true if the map (type 7) holds `key`; false for every other type and a null store. */
bool YraftRWFind(YraRW* pYraRW, int queueType, int key);

/* Stores the number of elements in *pSize, which is 0 on failure. Answers YRAFT_STATUS_SUCCESS or
 * YRAFT_STATUS_INVALID_PARAM (null argument, unknown type). */
unsigned int YraftRWSize(YraRW* pYraRW, int queueType, int* pSize);

/* Answers true if the container is empty, the type unknown or the store null. */
bool YraftRWEmpty(YraRW* pYraRW, int queueType);

/* Empties one container. Answers YRAFT_STATUS_SUCCESS or YRAFT_STATUS_INVALID_PARAM (null store,
 * unknown type). */
unsigned int YraftRWClear(YraRW* pYraRW, int queueType);

/* Stores in *pContextSize what the container's elements weigh now, in bytes: the lengths given with
 * the buffers (types 1 to 3), nameLen + 1 of every record (4 and 6), 32 (5) or 14 (7) an element.
 * Answers YRAFT_STATUS_SUCCESS or YRAFT_STATUS_INVALID_PARAM (null argument, unknown type);
 * *pContextSize is 0 on failure. */
unsigned int YraftRWContextSize(YraRW* pYraRW, int queueType, unsigned int* pContextSize);

/* Packs a whole container into one TLV block (yraft.h), in order, and leaves it as it was.
 *
 * ppTlvBlocks  receives the block, which is yours to free(); NULL where none was made. A block of
 *              types 1 to 3 carries the buffers' addresses: they still belong to the store.
 *
 * Answers YRAFT_STATUS_SUCCESS, YRAFT_STATUS_INVALID_PARAM (null argument, unknown type),
 * YRAFT_STATUS_BUFFER_TOO_SMALL (needs more than the YRAFT_BLOCK_MAX bytes of a block, as a single
 * record does whose name has more than YRAFT_BLOCK_NAME_MAX; nothing is made) or
 * YRAFT_STATUS_NO_MEMORY. A block can come with a result other than success; its ListCount tells
 * what it holds. */
unsigned int YraftRWGetAll(YraRW* pYraRW, int queueType, unsigned char** ppTlvBlocks);

/* A placeholder that only reports that it was called. Answers YRAFT_STATUS_SUCCESS. */
unsigned int Yraft_GetFile(void);

/* ---- Dialogs ------------------------------------------------------------------------------------
 *
 * Two ways: a persistent UI has a thread of its own and takes requests from any thread; a one-call
 * dialog runs in the thread that calls for it, until the user has answered.
 *
 * Both run GTK's main loop, and a process has only one. Use one way at a time: one-call dialogs
 * before the persistent UI starts or after it has ended, all from one thread. While a persistent UI
 * serves, send it YRAFT_UI_SIGNAL_SELECT_FLIES or YRAFT_UI_SIGNAL_SELECT_DIR instead. A one-call
 * dialog in another thread beside it needs GDK's lock, so call gdk_threads_init() before GTK
 * starts; one of the two threads then runs the callbacks of both. A call from the UI thread itself
 * stands on top of the UI, whose end ends it too, as declined. A thread that holds GDK's lock, in a
 * GTK callback say, is refused a dialog, which would wait for that lock: after two seconds, with
 * the status YRAFT_OPT_STATUS_FAILED. Built with GTK 3, which lets nobody see whether its lock is
 * held, the library cannot refuse: there such a call never returns, so give the lock up first.
 *
 * A dialog that comes up has the keyboard, but for the progress window. It does not hear what the
 * user was typing elsewhere just then: keys count after half a second without one, or two seconds.
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
 * thread (everything else), possibly from both at once.
 *
 *   event             sub  status     value         data
 *   CHOOSE_FILES       15  SUCCESS    block length  the chosen files, a TLV block
 *   CHOOSE_FILES       15  see below  0             NULL: no choice
 *   CHOOSE_FILES        7  FAILED     0             NULL: the request was refused
 *   CHOOSE_DIRECTORY    …  the same three; the block has one item
 *   PROGRESS_BAR       15  FAILED     0             NULL: a progress request was refused
 *   PROGRESS_BAR        7  SUCCESS    0             the UI object of a one-call progress window
 *   PAUSE               7  PAUSED     fileContext   NULL: the user paused the transfer
 *   RESUME              7  RESUMED    fileContext   NULL: … resumed it
 *   CANCEL              7  CANCELLED  fileContext   NULL: … cancelled it
 *
 * event is YRAFT_NOTIFY_…, status YRAFT_OPT_STATUS_…. Each request for a choice is answered once.
 * Without a choice the status is CANCELLED (the user declined, or the UI ended), FAILED or NO_UI.
 * FAILED is also the answer to a choice that is too large for a block: each path takes its length
 * in bytes and YRAFT_FILE_IN_BLOCK more, and all together at most YRAFT_BLOCK_MAX - 12, which is
 * enough for 490 paths of 100 bytes.
 *
 * A block has `value` bytes and is yours to free(), whatever you answer. Answer 0; anything else is
 * traced, and is the result of a one-call progress window.
 *
 * The UI stands still while the function runs, and its end waits for it. So pass on what you were
 * told, through a pipe or a queue, and return; never wait there for the UI to end, that is for
 * YraMainWinUICreate to return or its thread to be joined. */
typedef unsigned int (*YRAFT_NOTIFY_FUN)(unsigned int event, unsigned int subCode,
                                         unsigned int status, unsigned int value, void* pData);

/* Registers the one notify function of the process in place of the one before; NULL clears it.
 * Register it before the UI starts. Without one, notifications are dropped and their blocks
 * released. Any thread. The function registered before may still be called for a short time after
 * this has returned: keep what it uses, and its code, until the UI has ended. */
void YraSetYraNotifyCallback(YRAFT_NOTIFY_FUN pFun);

/* The step of YraSetYraNotifyCallback that stores the function: the same, traced under
 * KVO_CLASS_YRAFT_WIN only. */
void YraSetYraNotifyFun(YRAFT_NOTIFY_FUN pFun);

/* Calls the registered notify function with these arguments, in the calling thread; the library
 * itself calls you no other way. Answers what the function answered, or YRAFT_STATUS_INVALID_PARAM
 * where none is registered: a block in pData is still yours then. Any thread. */
unsigned int YraCallbackYraNotify(unsigned int event, unsigned int subCode, unsigned int status,
                                  unsigned int value, void* pData);

/* Runs a persistent UI in the calling thread, which becomes the UI thread: builds the dialogs
 * hidden, fills the table, serves signals, and returns when YRAFT_UI_SIGNAL_THREAD_DESTORY has been
 * handled or the display cannot be opened. At that end an open dialog counts as declined, and so do
 * the choices that still wait for one.
 *
 * argc, argv  arguments for GTK; argv may be NULL
 * pInput      a YRAFT_SELF_SIGNAL
 * ppWinUI     receives the UI object when the UI has ended; release it with YraMainWinUIDestory
 *
 * Answers YRAFT_STATUS_SUCCESS, YRAFT_STATUS_INVALID_PARAM (null pInput or ppWinUI) or
 * YRAFT_STATUS_UI_CREATE_FAILED (no memory). One persistent UI at a time; another may follow. */
unsigned int YraMainWinUICreate(int argc, char** argv, void* pInput, YraWinUI** ppWinUI);

/* Deletes a UI object whose YraMainWinUICreate has returned; NULL is harmless. Always answers
 * YRAFT_STATUS_SUCCESS. Call it without GDK's lock. */
unsigned int YraMainWinUIDestory(YraWinUI* pWinUI);

/* Sends a request to a persistent UI and returns without waiting for the user; the outcome comes
 * through the notify function. Any thread.
 *
 * pSelfSignal  the table given to YraMainWinUICreate
 * signalType   YRAFT_UI_SIGNAL_SELECT_FLIES … YRAFT_UI_SIGNAL_THREAD_DESTORY
 * evtType      YRAFT_PROGRESS_… for the progress signal, else unused
 * key          traced only
 * pInput       the record that the signal takes (yraft.h), whole and allocated with malloc() or
 *              calloc(); the library's once the signal was sent
 *
 * Answers YRAFT_STATUS_SUCCESS, YRAFT_STATUS_INVALID_PARAM (null table, unknown signal) or
 * YRAFT_STATUS_BAD_STATE (the UI is not ready yet, or gone). On a failure nothing was sent and
 * pInput is still yours, so YRAFT_STATUS_BAD_STATE may be tried again while the UI starts. */
unsigned int YraSendSelfSignal(void* pSelfSignal, int signalType, int evtType, int key,
                               void* pInput);

/* Shows the file chooser in the calling thread and waits for the user.
 *
 * argc, argv   arguments for GTK; argv may be NULL
 * pThreshold   limits, which stay yours; breaking one shows an error box and yields no block
 * pStatusCode  receives what became of the choice: YRAFT_OPT_STATUS_SUCCESS,
 *              YRAFT_OPT_STATUS_FAILED (without a display, too) or YRAFT_OPT_STATUS_LIMIT_EXCEEDED
 * ppTlvBlocks  receives the chosen files, yours to free(); an empty block when the user declined
 *
 * The block is there only where the result and the status are both 0. Answers YRAFT_STATUS_SUCCESS,
 * YRAFT_STATUS_BAD_ARGUMENT (null argument other than argv), YRAFT_STATUS_UI_CREATE_FAILED (no
 * memory for it), or why there is no block: YRAFT_STATUS_BUFFER_TOO_SMALL (a choice too large for
 * one) or YRAFT_STATUS_NO_MEMORY. */
unsigned int YraGetChooseFilesList(int argc, char** argv, YRAFT_THRESHOLD_INFO* pThreshold,
                                   unsigned int* pStatusCode, YRAFT_TLV_BLOCKS** ppTlvBlocks);

/* Shows the folder chooser in the calling thread and waits for the user. pFileInfo is the file to
 * be uploaded and stays yours; its size goes into the block's one item. NULL shows nothing and
 * counts as declined. There are no limits; the rest is as for YraGetChooseFilesList. */
unsigned int YraGetChooseDirectory(int argc, char** argv, YRAFT_FILEINFO_ITEM* pFileInfo,
                                   unsigned int* pStatusCode, YRAFT_TLV_BLOCKS** ppTlvBlocks);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif
