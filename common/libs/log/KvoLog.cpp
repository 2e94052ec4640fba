// The start and the end of a process's logging.
#include <syslog.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/libs/log/KvoLogChannel.h"
#include "common/libs/log/KvoLogConfig.h"
#include "common/libs/log/KvoTrace.h"

std::atomic<const KvoLogConfig*> kvolog_filter{nullptr};

namespace kvolog {

State g_state = State::kClosed;

namespace {

// How the process is called towards syslog, which keeps the pointer, and the log service.
char g_identity[KVO_LOG_IDENTITY_SIZE];

void NameProcess(const char* program) {
  if (program == nullptr) program = "";
  if (std::strcmp(program, "java") == 0) program = "kvoavk";
  std::snprintf(g_identity, sizeof(g_identity), "brelka%s%s", *program != '\0' ? "-" : "", program);
}

unsigned int SessionId() {
  const char* pText = std::getenv("BRELKA_SESSION_ID");
  return pText != nullptr ? static_cast<unsigned int>(std::strtol(pText, nullptr, 10)) : 0;
}

}  // namespace

}  // namespace kvolog

using namespace kvolog;  // NOLINT: the interface's side of the file

int KvoLogInit() {
  if (g_state == State::kClosed) {
    NameProcess(program_invocation_short_name);
    MapConfig();
    openlog(g_identity, LOG_PID | LOG_CONS, LOG_USER);
    setlogmask(LOG_UPTO(LOG_INFO));
    if (OpenChannel(SessionId(), g_identity)) {
      kvolog_filter.store(Config(), std::memory_order_relaxed);
    }
    g_state = State::kOpen;
  }
  return g_state == State::kOpen ? 1 : 0;
}

int KvoLogInitConfigOnly() {
  if (g_state == State::kClosed) {
    MapConfig();
    g_state = State::kConfigOnly;
  }
  return Config() != nullptr ? 1 : 0;
}

void KvoLogShutdown() {
  if (g_state == State::kClosed) return;
  CloseChannel();
  if (g_state == State::kOpen) closelog();
  UnmapConfig();
  g_state = State::kClosed;
}
