/* The agent's message catalogs and console output. Valid C11 and C++.
 *
 * A text is named by a number: catalog set in the high 16 bits, message in the low 16 bits
 * (0x3001D is message 29 of set 3). Catalogs are POSIX catalog files named "strings", one a
 * language, under the agent's install directory.
 */
#ifndef KVOLOCALISE_H
#define KVOLOCALISE_H

#include "kvolog.h"

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

/* Opens the catalog for the language in LANG, or the English one where LANG names no language or
 * one without a catalog. Sets NLSPATH, and LANG where it falls back to English, in the environment.
 * Answers 1 when a catalog is open on return, else 0. Call it once, before other threads start. */
int KvoLocaliseInit(void);

/* Closes the catalog; every text that KvoLocalise answered is invalid afterwards. No other thread
 * may use these functions meanwhile. Harmless when nothing is open. */
void KvoLocaliseShutdown(void);

/* Answers the text of a message number, never NULL: the catalog's, which lives until
 * KvoLocaliseShutdown, or a constant that says why there is none. Not to be modified or freed.
 * Any thread. */
const char* KvoLocalise(int stringNumber);

/* Answers the number of a message name such as "YRAFT_ENG_BUTTON_PAUSE" (exact bytes), or 0 when
 * the name is unknown or NULL. Any thread; needs no open catalog. */
unsigned int KvoLocaliseLookupByName(const char* stringName);

/* Writes a printf-style line and a newline to standard output, or standard error. Answers the
 * newline as written, or EOF. Neither flushes. Any thread. */
int KvoPrint(const char* format, ...) KVOLOG_PRINTF(1, 2);
int KvoPrintError(const char* format, ...) KVOLOG_PRINTF(1, 2);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif
