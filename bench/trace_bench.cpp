// What a trace costs that nobody reads.
#include "YraTrace.h"
// The trace vocabulary comes first.
#include "harness.h"

namespace {

constexpr TraceLayer kLayer = kLayerWin;
constexpr int kCalls = 1000000;

std::atomic<bool> g_flag{false};

double AtomicCheck() {
  return bench::Time([] {
    for (int i = 0; i < kCalls; ++i) {
      if (g_flag.load(std::memory_order_relaxed)) abort();
      asm volatile("" : : : "memory");
    }
  });
}

double SuppressedTrace() {
  return bench::Time([] {
    for (int i = 0; i < kCalls; ++i) {
      TRACE_VERBOSE("widget=0x%x, data=0x%x.", TraceAddress(&i), static_cast<unsigned int>(i));
      asm volatile("" : : : "memory");
    }
  });
}

const bench::Registration registration([] {
  bench::Register(
      {"suppressed trace, not connected",
       "call",
       kCalls,
       {{"an inlined atomic check", AtomicCheck}, {"a trace inside the library", SuppressedTrace}},
       {1.2}});
});

}  // namespace
