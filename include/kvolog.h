/* The agent's logging: trace classes, levels, and the two calls that write a line.
 *
 * A line names a class and a level. Whether it is written is decided at each call from levels that
 * stand in one file mapped by every process of the agent, so an administrator changes the verbosity
 * of a running process from outside. Valid C11 and C++.
 */
#ifndef KVOLOG_H
#define KVOLOG_H

#ifdef __cplusplus
extern "C" {
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

/* Writes one line of a class to the log service if the class's working level admits it.
 *
 * classId   0 to 200
 * level     KVO_LOG_VERBOSE to KVO_LOG_FATAL
 * file      source path of the caller; not part of the line
 * function  name of the calling function; the line's prefix while the flag for it is set
 * line      source line of the caller; not part of the line
 * format    printf-style text; the line holds at most 8191 bytes, prefixes included
 *
 * Any thread. Never fails visibly: a line that cannot be written is dropped. Allocates nothing.
 */
void __KvoTrace(unsigned int classId, int level, const char* file, const char* function,
                unsigned int line, const char* format, ...) KVOLOG_PRINTF(6, 7);

/* Writes one line without a class, unfiltered: to syslog, and to the log service while connected.
 * Arguments as for __KvoTrace. Any thread. */
void __KvoLog(int level, const char* file, const char* function, unsigned int line,
              const char* format, ...) KVOLOG_PRINTF(5, 6);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif
