// What a line of the trace that nobody reads costs the library's own code.
#include "YraTrace.h"
// The trace vocabulary comes first.
#include "harness.h"
#include "log_sink.h"
#include "peers.h"

namespace {

constexpr int kCalls = 1000000;

std::atomic<bool> g_flag{false};

double AtomicCheck() {
  return bench::Repeat(kCalls, [](int) {
    if (g_flag.load(std::memory_order_relaxed)) abort();
  });
}

double SuppressedTrace() {
  return bench::Repeat(kCalls, [](int i) {
    TRACE_VERBOSE(KvoTracer<KVO_CLASS_YRAFT_WIN>(), "widget=0x%x, data=0x%x.",
                  TraceAddress(&g_flag), static_cast<unsigned int>(i));
  });
}

double FilteredTrace() {
  const LogSink sink;
  return SuppressedTrace();
}

double Spdlog() { return SuppressedSpdlog(kCalls); }

double Glog() { return SuppressedGlog(kCalls); }

const bench::Registration registration([] {
  bench::Register({"suppressed trace",
                   "call",
                   kCalls,
                   {{"an inlined atomic check", AtomicCheck},
                    {"a trace inside the library, not connected", SuppressedTrace},
                    {"… filtered by a level two steps up", FilteredTrace},
                    {"spdlog, level off", Spdlog},
                    {"glog, VLOG off", Glog}},
                   {1.2, 4.5, 0, 0}});
});

}  // namespace
