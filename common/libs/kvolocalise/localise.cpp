// Message catalogs: one catalog open per process, texts by number, numbers by name.
#include "kvolocalise.h"

#include <nl_types.h>

#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/libs/kvolocalise/messages.h"
#include "common/libs/log/KvoTrace.h"

namespace {

#define TRACE_INFO(...) KVO_TRACE(KVO_CLASS_LOCALISE, KVO_LOG_INFO, __VA_ARGS__)
#define TRACE_VERBOSE(...) KVO_TRACE(KVO_CLASS_LOCALISE, KVO_LOG_VERBOSE, __VA_ARGS__)
#define TRACE_WARNING(...) KVO_TRACE(KVO_CLASS_LOCALISE, KVO_LOG_WARNING, __VA_ARGS__)
#define TRACE_ERROR(...) KVO_TRACE(KVO_CLASS_LOCALISE, KVO_LOG_ERROR, __VA_ARGS__)

constexpr char kCatalogPath[] =
    "/opt/Brelka/AVK/qmz/%L/%N.cat:/opt/Brelka/AVK/qmz/%l_%t.%c/%N.cat:"
    "/opt/Brelka/AVK/qmz/%l_%t/%N.cat:/opt/Brelka/AVK/qmz/%l.%c/%N.cat:"
    "/opt/Brelka/AVK/qmz/%l/%N.cat";
constexpr char kCatalogName[] = "strings";
constexpr char kEnglish[] = "en_US.UTF-8";

const nl_catd kNoCatalog = reinterpret_cast<nl_catd>(-1);  // NOLINT: as catopen answers it

bool g_open = false;
nl_catd g_catalog = kNoCatalog;

const char* OrNull(const char* text) { return text != nullptr ? text : "(NULL)"; }

// Reports the way out of the initialisation.
int Exit(bool open) {
  TRACE_INFO("Exit [%s]", open ? "true" : "false");
  return open ? 1 : 0;
}

bool NamesNoLanguage(const char* lang) {
  return lang == nullptr || *lang == '\0' || strcmp(lang, "C") == 0 || strcmp(lang, "POSIX") == 0;
}

void ForceEnglish() {
  if (setenv("LANG", kEnglish, 1) != 0) {
    TRACE_ERROR("Failed to set environment variable: %s.", strerror(errno));
  }
}

bool OpenCatalog() {
  g_catalog = catopen(kCatalogName, 0);
  g_open = g_catalog != kNoCatalog;
  if (!g_open) TRACE_ERROR("Error opening message catalog: %s.", strerror(errno));
  return g_open;
}

}  // namespace

int KvoLocaliseInit() {
  TRACE_INFO("Entry");
  if (g_open) return Exit(true);
  if (setenv("NLSPATH", kCatalogPath, 1) != 0) {
    TRACE_ERROR("Error setting NLSPATH environment variable: %s.", strerror(errno));
    return Exit(false);
  }
  TRACE_INFO("getenv(LANG) == %s", OrNull(getenv("LANG")));
  TRACE_INFO("getenv(LC_ALL) == %s", OrNull(getenv("LC_ALL")));
  TRACE_INFO("getenv(LC_MESSAGES) == %s", OrNull(getenv("LC_MESSAGES")));
  TRACE_INFO("getenv(NLSPATH) == %s", OrNull(getenv("NLSPATH")));
  if (NamesNoLanguage(getenv("LANG"))) {
    TRACE_WARNING("LANG was either unset, blank, 'C' or 'POSIX', forcing to english.");
    ForceEnglish();
  }
  TRACE_INFO("setlocale(LC_ALL) == %s", OrNull(setlocale(LC_ALL, nullptr)));
  TRACE_INFO("setlocale(LC_MESSAGES) == %s", OrNull(setlocale(LC_MESSAGES, nullptr)));
  if (OpenCatalog()) return Exit(true);
  const char* lang = getenv("LANG");
  if (lang != nullptr && strcmp(lang, kEnglish) == 0) return Exit(false);
  TRACE_WARNING("Attempting to fall back to english.");
  ForceEnglish();
  return Exit(OpenCatalog());
}

void KvoLocaliseShutdown() {
  TRACE_INFO("Entry");
  if (g_open) {
    g_open = false;
    if (catclose(g_catalog) != 0) {
      TRACE_ERROR("Error closing message catalog: %s.", strerror(errno));
    }
    g_catalog = kNoCatalog;
  }
  TRACE_INFO("Exit");
}

const char* KvoLocalise(int stringNumber) {
  TRACE_VERBOSE("Entry [stringNumber: %d]", stringNumber);
  const char* text = nullptr;
  if (!g_open) {
    text = "Message catalog is not open.";
    TRACE_ERROR("%s", text);
  } else {
    const auto number = static_cast<unsigned int>(stringNumber);
    text = catgets(g_catalog, static_cast<int>(number >> 16), static_cast<int>(number & 0xFFFF),
                   nullptr);
    if (text == nullptr) {
      TRACE_ERROR("Error accessing message catalog: %s.", strerror(errno));
      text = "Error accessing message catalog.";
    }
  }
  TRACE_VERBOSE("Exit [%p]", static_cast<const void*>(text));
  return text;
}

unsigned int KvoLocaliseLookupByName(const char* stringName) {
  struct Row {
    const char* name;
    unsigned int number;
  };
#define MESSAGE_ROW(name, number, kinds) {#name, number},
  static constexpr Row kRows[] = {KVO_MESSAGES(MESSAGE_ROW)};
#undef MESSAGE_ROW

  TRACE_VERBOSE("Entry [stringName: %s]", OrNull(stringName));
  unsigned int number = 0;
  if (stringName == nullptr) {
    TRACE_ERROR("Invalid parameter.");
  } else {
    for (const Row& row : kRows) {
      if (strcmp(row.name, stringName) == 0) number = row.number;
    }
    if (number == 0) TRACE_ERROR("Can't find message named '%s'.", stringName);
  }
  TRACE_VERBOSE("Exit [%d]", static_cast<int>(number));
  return number;
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
