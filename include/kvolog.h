/* The agent's logging: trace classes and their levels, the calls that write a line, the file that
 * steers them, and the records that reach the log service.
 *
 * A line names a class and a level. Whether it is written is decided at each call from levels that
 * stand in one file mapped by every process of the agent, so an administrator changes the verbosity
 * of a running process from outside. Valid C11 and C++.
 *
 * The functions below that answer 1 or 0 answer 1 for done. Those that read or change the file
 * answer 0, NULL or KVO_LOG_UNKNOWN while it is not mapped. Any thread may call them between an
 * initialisation and the shutdown.
 *
 * fork(). The child shares its parent's connection to the log service: it may write lines and
 * change levels, but must not call KvoLogShutdown, which would end the connection for both. A
 * program that it starts with exec() calls KvoLogInit for itself.
 */
#ifndef KVOLOG_H
#define KVOLOG_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define KVOLOG_ASSERT(condition) static_assert(condition, #condition)
extern "C" {
#else
#define KVOLOG_ASSERT(condition) _Static_assert(condition, #condition)
#endif

#if defined(__GNUC__)
#define KVOLOG_PRINTF(formatArg, firstArg) __attribute__((format(printf, formatArg, firstArg)))
#else
#define KVOLOG_PRINTF(formatArg, firstArg)
#endif

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

/* Levels. A message carries VERBOSE to FATAL; a class is configured with any of the seven. */
enum {
  KVO_LOG_INHERIT = 0, /* configured only: the parent class decides */
  KVO_LOG_VERBOSE = 1,
  KVO_LOG_INFO = 2,
  KVO_LOG_WARNING = 3,
  KVO_LOG_ERROR = 4,
  KVO_LOG_FATAL = 5,
  KVO_LOG_NONE = 6, /* configured only: nothing of the class is written */
  KVO_LOG_LEVELS = 7
};

/* Trace classes of this library, by id in the table that all components of the agent share. */
enum {
  KVO_CLASS_ALL = 0,
  KVO_CLASS_LOCALISE = 63,
  KVO_CLASS_YRAFT = 175,
  KVO_CLASS_YRAFT_LIB = 177,
  KVO_CLASS_YRAFT_UI = 182,
  KVO_CLASS_YRAFT_VC = 183,
  KVO_CLASS_YRAFT_RW = 187,
  KVO_CLASS_YRAFT_WIN = 188,
  KVO_LOG_CLASSES = 201
};

/* What a query about an unknown class, or about a file that is not mapped, answers. It is also the
 * parent of class 0, which has none. */
#define KVO_LOG_UNKNOWN 0xFFFFFFFFu

/* ---- Start and end ------------------------------------------------------------------------------
 */

/* Maps the configuration file, opens syslog and connects to the log service. Call it once, before
 * other threads start. Waits at most a second for a log service that does not answer.
 *
 * Answers 1 when lines can be written somewhere, which a first call always finds: syslog at least.
 * After KvoLogInitConfigOnly it changes nothing and answers 0. */
int KvoLogInit(void);

/* Maps the configuration file only, for a program that reads or changes it. Answers 1 if it is
 * mapped. */
int KvoLogInitConfigOnly(void);

/* Undoes either initialisation; call it when no other thread writes lines any more. Harmless
 * without one. A later initialisation starts afresh. */
void KvoLogShutdown(void);

/* ---- Lines --------------------------------------------------------------------------------------
 */

/* Writes one line of a class to the log service if the class's working level admits it.
 *
 * classId   0 to 200
 * level     KVO_LOG_VERBOSE to KVO_LOG_FATAL
 * file      source path of the caller; not part of the line
 * function  name of the calling function; the line's prefix while the flag for it is set
 * line      source line of the caller; not part of the line
 * format    printf-style text; the line holds at most 8191 bytes, prefixes included
 *
 * Any thread. Never fails visibly: a line that cannot be written is dropped. Allocates nothing,
 * raises no SIGPIPE. A log service that stops reading costs one second, once: then the connection
 * is given up, and syslog is told. */
void __KvoTrace(unsigned int classId, int level, const char* file, const char* function,
                unsigned int line, const char* format, ...) KVOLOG_PRINTF(6, 7);

/* Writes one line without a class, unfiltered: to syslog, and to the log service while connected.
 * Arguments as for __KvoTrace. Any thread. Waits in syslog(3) as long as a syslog service that
 * hangs reads nothing; the log service costs it no more than a line of the trace. */
void __KvoLog(int level, const char* file, const char* function, unsigned int line,
              const char* format, ...) KVOLOG_PRINTF(5, 6);

/* ---- Classes and levels -------------------------------------------------------------------------
 */

/* Answers the level that decides for a class, 1 to 6: its own, or that of the first class on its
 * way to the root that has one. KVO_LOG_UNKNOWN where none has. */
unsigned int KvoLogGetWorkingLevel(unsigned int classId);

/* Configures a class with a level 0 to 6, for every process at its next line. Answers 0 for an
 * unknown class or level, and in a process that may only read the file. */
int KvoLogSetCurrentLevel(unsigned int classId, unsigned int level);

/* Answer the level that a class is configured with now, and by default. */
unsigned int KvoLogGetCurrentLevel(unsigned int classId);
unsigned int KvoLogGetDefaultLevel(unsigned int classId);

/* Answers the class above; KVO_LOG_UNKNOWN for class 0 and for an unknown class. */
unsigned int KvoLogGetParent(unsigned int classId);

/* Answer constant texts: "YRAFT_RW" and "YraftRw", "WARNING" and "Warnings". */
const char* KvoLogGetClassName(unsigned int classId);
const char* KvoLogGetClassDisplayName(unsigned int classId);
const char* KvoLogGetLevelName(unsigned int level);
const char* KvoLogGetLevelDisplayName(unsigned int level);

/* ---- Flags --------------------------------------------------------------------------------------
 */

#define KVO_LOG_FLAG_FUNCTION 0x400u /* a line starts with the function's name */
#define KVO_LOG_FLAG_THREAD 0x1000u  /* a line starts with the thread's name, in brackets */

/* Set or clear bits of the flags word. Answer 0 in a process that may only read the file. */
int KvoLogEnableFlags(unsigned int bits);
int KvoLogDisableFlags(unsigned int bits);

/* Store the flags word as it is now, and by default. Answer 0 for a null argument. */
int KvoLogGetCurrentFlags(unsigned int* pFlags);
int KvoLogGetDefaultFlags(unsigned int* pFlags);

/* ---- What the log service is to do --------------------------------------------------------------
 */

/* The file into which the log service writes: at most 255 bytes, a longer path is refused with 0,
 * as is any change in a process that may only read the configuration. The text answered stands in
 * the configuration itself and changes with it. */
int KvoLogSetOutputPath(const char* path);
const char* KvoLogGetOutputPath(void);

/* The size in MiB at which that file is rolled over, 1 to 2000, and the number of old files kept, 0
 * to 100. */
int KvoLogSetRolloverSize(int size);
unsigned int KvoLogGetRolloverSize(void);
int KvoLogSetRolloverCount(unsigned int count);
unsigned int KvoLogGetRolloverCount(void);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

/* ---- Files and records --------------------------------------------------------------------------
 *
 * For a log service and for tools. Host byte order; the records are packed.
 */

#define KVO_LOG_CONFIG_PATH "/var/qmz/.kvolog"  /* a KvoLogConfig */
#define KVO_LOG_SOCKET_PATH "/var/qmz/.kvologd" /* where the log service listens: a Unix stream */

#define KVO_LOG_CONFIG_MAGIC 0x12345678u
#define KVO_LOG_OUTPUT_PATH_DEFAULT "/var/log/qmz/fsr.log"
#define KVO_LOG_ROLLOVER_SIZE_MAX 2000
#define KVO_LOG_ROLLOVER_SIZE_DEFAULT 200
#define KVO_LOG_ROLLOVER_COUNT_MAX 100u
#define KVO_LOG_ROLLOVER_COUNT_DEFAULT 2u
#define KVO_LOG_RECORD_TRACE 1
#define KVO_LOG_RECORD_HELLO 2
#define KVO_LOG_IDENTITY_SIZE 32 /* bytes of an identity, its NUL included */
#define KVO_LOG_TEXT_SIZE 8192   /* bytes of a line, its NUL included */

/* Its words are aligned: every process reads and writes them whole. */
typedef struct KvoLogConfig {
  uint32_t flags;
  uint32_t levels[KVO_LOG_CLASSES];
  char outputPath[256]; /* NUL-padded */
  uint32_t rolloverSize;
  uint32_t rolloverCount;
  uint32_t magic; /* KVO_LOG_CONFIG_MAGIC once the file has been initialised */
} KvoLogConfig;

#pragma pack(push, 1)

/* What every record on the stream starts with. */
typedef struct KvoLogRecordHead {
  uint16_t length; /* bytes that follow these four */
  uint16_t type;   /* KVO_LOG_RECORD_… */
} KvoLogRecordHead;

/* Sent once, after connecting; ends behind the identity's NUL. */
typedef struct KvoLogHello {
  KvoLogRecordHead head;
  uint16_t session; /* low 16 bits of the session's number */
  char identity[KVO_LOG_IDENTITY_SIZE];
} KvoLogHello;

/* One line; ends behind the text's NUL. */
typedef struct KvoLogRecord {
  KvoLogRecordHead head;
  uint16_t level;
  uint16_t classId; /* 0 for a line without a class */
  uint16_t thread;  /* low 16 bits of the kernel's thread id */
  int64_t seconds;  /* wall-clock time */
  uint32_t microseconds;
  char text[KVO_LOG_TEXT_SIZE];
} KvoLogRecord;

#pragma pack(pop)

KVOLOG_ASSERT(sizeof(KvoLogConfig) == 1076);
KVOLOG_ASSERT(offsetof(KvoLogConfig, levels) == 4);
KVOLOG_ASSERT(offsetof(KvoLogConfig, outputPath) == 808);
KVOLOG_ASSERT(offsetof(KvoLogConfig, rolloverSize) == 1064);
KVOLOG_ASSERT(offsetof(KvoLogConfig, rolloverCount) == 1068);
KVOLOG_ASSERT(offsetof(KvoLogConfig, magic) == 1072);
KVOLOG_ASSERT(offsetof(KvoLogHello, session) == 4);
KVOLOG_ASSERT(offsetof(KvoLogHello, identity) == 6);
KVOLOG_ASSERT(sizeof(KvoLogRecord) == 8214);
KVOLOG_ASSERT(offsetof(KvoLogRecord, level) == 4);
KVOLOG_ASSERT(offsetof(KvoLogRecord, classId) == 6);
KVOLOG_ASSERT(offsetof(KvoLogRecord, thread) == 8);
KVOLOG_ASSERT(offsetof(KvoLogRecord, seconds) == 10);
KVOLOG_ASSERT(offsetof(KvoLogRecord, microseconds) == 18);
KVOLOG_ASSERT(offsetof(KvoLogRecord, text) == 22);

#ifdef __cplusplus
}
#endif

#endif
