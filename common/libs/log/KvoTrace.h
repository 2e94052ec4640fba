// Whether anyone will read a line.
#pragma once

#include <atomic>
#include <cstdint>

#include "common/libs/log/KvoLogClasses.h"
#include "kvolog.h"

// The configuration that decides about lines of the trace; null while there is nobody to write them
// to. Set when the log service is connected, cleared by whoever finds that it is not any more.
extern "C" std::atomic<const KvoLogConfig*> kvolog_filter;

namespace kvolog {

// How far a process's logging is open. Changed by the initialisations and the shutdown, which no
// other thread's lines overlap.
enum class State { kClosed, kConfigOnly, kOpen };
extern State g_state;

// Nearly always null where it matters: the road of a suppressed line stays straight.
[[gnu::always_inline]] inline const KvoLogConfig* Filter() {
  const KvoLogConfig* pConfig = kvolog_filter.load(std::memory_order_relaxed);
  return __builtin_expect(static_cast<long>(pConfig != nullptr), 0L) != 0 ? pConfig : nullptr;
}

// The level that decides for a known class: its own, or the first one on its way to the root. A
// constant class costs a read of the shared file a step and nothing else.
template <int kSteps = kMaxSteps>
[[gnu::always_inline]] inline unsigned int WorkingLevel(const KvoLogConfig& config,
                                                        unsigned int classId) {
  const std::uint32_t level = __atomic_load_n(&config.levels[classId], __ATOMIC_RELAXED);
  if (level != KVO_LOG_INHERIT) return level;
  if constexpr (kSteps > 0) {
    const auto parent = static_cast<unsigned int>(kClasses[classId].parent);
    if (parent < KVO_LOG_CLASSES) return WorkingLevel<kSteps - 1>(config, parent);
  }
  return KVO_LOG_UNKNOWN;
}

// The class's working level admits a message of this level.
[[gnu::always_inline]] inline bool Admits(const KvoLogConfig& config, unsigned int classId,
                                          int level) {
  if (classId >= KVO_LOG_CLASSES) return false;
  const auto working = static_cast<int>(WorkingLevel(config, classId));
  return working >= KVO_LOG_VERBOSE && working <= level;
}

// The same where it is also the question whether anyone is there to read it.
[[gnu::always_inline]] inline bool Admits(unsigned int classId, int level) {
  const KvoLogConfig* pConfig = Filter();
  return pConfig != nullptr && Admits(*pConfig, classId, level);
}

}  // namespace kvolog
