// Message catalogs: one catalog open per process, texts by number, numbers by name.
#include "kvolocalise.h"

#include <nl_types.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/libs/kvolocalise/messages.h"
#include "common/libs/log/KvoTracer.h"

namespace {

using Trace = KvoTracer<KVO_CLASS_LOCALISE>;

constexpr char kCatalogPath[] =
    "/opt/Brelka/AVK/qmz/%L/%N.cat:/opt/Brelka/AVK/qmz/%l_%t.%c/%N.cat:"
    "/opt/Brelka/AVK/qmz/%l_%t/%N.cat:/opt/Brelka/AVK/qmz/%l.%c/%N.cat:"
    "/opt/Brelka/AVK/qmz/%l/%N.cat";
constexpr char kEnglish[] = "en_US.UTF-8";

const nl_catd kNoCatalog = reinterpret_cast<nl_catd>(-1);  // NOLINT: as catopen answers it

nl_catd g_catalog = kNoCatalog;

int Exit(const Trace& trace, bool open) {
  TRACE_INFO(trace, "Exit [%s]", open ? "true" : "false");
  return open ? 1 : 0;
}

bool NamesNoLanguage(const char* lang) {
  return lang == nullptr || *lang == '\0' || strcmp(lang, "C") == 0 || strcmp(lang, "POSIX") == 0;
}

void ForceEnglish(const Trace& trace) {
  if (setenv("LANG", kEnglish, 1) != 0) {
    TRACE_ERROR(trace, "Failed to set environment variable: %s.", strerror(errno));
  }
}

// Opens a catalog as catopen would for "strings", in the places of kCatalogPath and their order:
// language_TERRITORY.codeset with and without its codeset, then the same without its territory.
// catopen is given the whole path, for on its own way there it would wait at anything that is no
// file, such as a pipe.
nl_catd FindCatalog(const char* lang) {
  errno = ENOENT;
  if (strchr(lang, '/') != nullptr) return kNoCatalog;
  const std::size_t language = strcspn(lang, "_.");
  const std::size_t territory = strcspn(lang, ".");
  for (const std::size_t length : {territory, language}) {
    for (const char* codeset : {lang + territory, ""}) {
      char path[PATH_MAX];
      snprintf(path, sizeof(path), "/opt/Brelka/AVK/qmz/%.*s%s/strings.cat",
               static_cast<int>(length), lang, codeset);
      struct stat status;
      if (stat(path, &status) != 0 || !S_ISREG(status.st_mode)) continue;
      const nl_catd catalog = catopen(path, 0);
      if (catalog != kNoCatalog) return catalog;
    }
  }
  return kNoCatalog;
}

bool OpenCatalog(const Trace& trace) {
  const char* lang = getenv("LANG");
  g_catalog = FindCatalog(lang != nullptr ? lang : "C");
  if (g_catalog != kNoCatalog) return true;
  TRACE_ERROR(trace, "Error opening message catalog: %s.", strerror(errno));
  return false;
}

}  // namespace

int KvoLocaliseInit() {
  const Trace trace;
  TRACE_INFO(trace, "Entry");
  if (g_catalog != kNoCatalog) return Exit(trace, true);
  if (setenv("NLSPATH", kCatalogPath, 1) != 0) {
    TRACE_ERROR(trace, "Error setting NLSPATH environment variable: %s.", strerror(errno));
    return Exit(trace, false);
  }
  for (const char* name : {"LANG", "LC_ALL", "LC_MESSAGES", "NLSPATH"}) {
    TRACE_INFO(trace, "getenv(%s) == %s", name, TraceText(getenv(name)));
  }
  if (NamesNoLanguage(getenv("LANG"))) {
    TRACE_WARNING(trace, "LANG was either unset, blank, 'C' or 'POSIX', forcing to english.");
    ForceEnglish(trace);
  }
  TRACE_INFO(trace, "setlocale(LC_ALL) == %s", TraceText(setlocale(LC_ALL, nullptr)));
  TRACE_INFO(trace, "setlocale(LC_MESSAGES) == %s", TraceText(setlocale(LC_MESSAGES, nullptr)));
  if (OpenCatalog(trace)) return Exit(trace, true);
  const char* lang = getenv("LANG");
  if (lang != nullptr && strcmp(lang, kEnglish) == 0) return Exit(trace, false);
  TRACE_WARNING(trace, "Attempting to fall back to english.");
  ForceEnglish(trace);
  return Exit(trace, OpenCatalog(trace));
}

void KvoLocaliseShutdown() {
  const Trace trace;
  TRACE_INFO(trace, "Entry");
  if (g_catalog != kNoCatalog && catclose(g_catalog) != 0) {
    TRACE_ERROR(trace, "Error closing message catalog: %s.", strerror(errno));
  }
  g_catalog = kNoCatalog;
  TRACE_INFO(trace, "Exit");
}

const char* KvoLocalise(int stringNumber) {
  const Trace trace;
  TRACE_VERBOSE(trace, "Entry [stringNumber: %d]", stringNumber);
  const char* text = "Message catalog is not open.";
  if (g_catalog == kNoCatalog) {
    TRACE_ERROR(trace, "%s", text);
  } else {
    const auto number = static_cast<unsigned int>(stringNumber);
    text = catgets(g_catalog, static_cast<int>(number >> 16), static_cast<int>(number & 0xFFFF),
                   nullptr);
    if (text == nullptr) {
      TRACE_ERROR(trace, "Error accessing message catalog: %s.", strerror(errno));
      text = "Error accessing message catalog.";
    }
  }
  TRACE_VERBOSE(trace, "Exit [%p]", static_cast<const void*>(text));
  return text;
}

unsigned int KvoLocaliseLookupByName(const char* stringName) {
  const Trace trace;
  TRACE_VERBOSE(trace, "Entry [stringName: %s]", TraceText(stringName));
  int number = 0;
  if (stringName == nullptr) {
    TRACE_ERROR(trace, "Invalid parameter.");
  } else {
    for (const KvoMessage& message : kMessages) {
      if (strcmp(message.name, stringName) == 0) number = message.number;
    }
    if (number == 0) TRACE_ERROR(trace, "Can't find message named '%s'.", stringName);
  }
  TRACE_VERBOSE(trace, "Exit [%d]", number);
  return static_cast<unsigned int>(number);
}

int KvoPrint(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  vfprintf(stdout, format, arguments);
  va_end(arguments);
  return fputc('\n', stdout);
}

int KvoPrintError(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  vfprintf(stderr, format, arguments);
  va_end(arguments);
  return fputc('\n', stderr);
}
