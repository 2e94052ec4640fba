// What a line costs a host: a call that is suppressed, and a line that is written.
#include <sys/socket.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include "empty_call.h"
#include "harness.h"
#include "kvolog.h"
#include "log_sink.h"
#include "peers.h"

namespace {

constexpr int kCalls = 1000000;

double EmptyCall() {
  return bench::Repeat(kCalls, [](int i) {
    YraBenchEmptyCall(KVO_CLASS_YRAFT_WIN, KVO_LOG_VERBOSE, __FILE__, "f", 1, "data=0x%x.", i);
  });
}

double SuppressedCall() {
  return bench::Repeat(kCalls, [](int i) {
    __KvoTrace(KVO_CLASS_YRAFT_WIN, KVO_LOG_VERBOSE, __FILE__, "f", 1, "data=0x%x.", i);
  });
}

double FilteredCall() {
  const LogSink sink;
  return SuppressedCall();
}

double Spdlog() { return SuppressedSpdlog(kCalls); }

double Glog() { return SuppressedGlog(kCalls); }

// ---- A written line ----------------------------------------------------------------------------

constexpr int kLines = 20000;
constexpr char kText[] = "selected 17 files of 12345678 bytes for 3 user";
constexpr std::size_t kRecordSize = 77;  // what the line is on the wire

double BareWrite() {
  static const int fd = ConnectToDrain("/var/qmz/bench-stream", SOCK_STREAM);
  static const char record[kRecordSize] = {};
  return bench::Repeat(kLines, [](int) {
    if (write(fd, record, sizeof(record)) != static_cast<ssize_t>(sizeof(record))) abort();
  });
}

double WrittenLine() {
  const LogSink sink;
  return bench::Repeat(kLines, [](int) {
    __KvoTrace(KVO_CLASS_YRAFT_WIN, KVO_LOG_ERROR, __FILE__, "Select", 1, "%s", kText);
  });
}

double Syslog() {
  [[maybe_unused]] static const int fd = ConnectToDrain("/dev/log", SOCK_DGRAM);
  openlog("yra-bench", LOG_PID, LOG_USER);
  return bench::Repeat(kLines, [](int) { syslog(LOG_ERR, "%s: %s", "Select", kText); });
}

double Journal() {
  [[maybe_unused]] static const int fd = ConnectToDrain("/run/systemd/journal/socket", SOCK_DGRAM);
  return bench::Repeat(kLines, [](int) { sd_journal_print(LOG_ERR, "%s: %s", "Select", kText); });
}

const bench::Registration registration([] {
  bench::Register({"suppressed exported call",
                   "call",
                   kCalls,
                   {{"an empty exported variadic call", EmptyCall},
                    {"__KvoTrace, not connected", SuppressedCall},
                    {"… filtered by a level two steps up", FilteredCall},
                    {"spdlog, level off", Spdlog},
                    {"glog, VLOG off", Glog}},
                   {1.15, 1.4, 0, 0}});
  bench::Register({"written line",
                   "line",
                   kLines,
                   {{"a bare write of as many bytes", BareWrite},
                    {"__KvoTrace", WrittenLine},
                    {"syslog(3)", Syslog},
                    {"sd_journal_print", Journal}},
                   {1.5, 0, 0}});
});

}  // namespace
