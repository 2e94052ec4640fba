// The trace call as the library's own code makes it: nothing is evaluated for a line that nobody
// will read.
#pragma once

#include <atomic>

#include "kvolog.h"

namespace kvolog {

// True from the moment the registration record was written whole until a record cannot be written
// or logging is shut down.
extern std::atomic<bool> g_connected;

// The class's working level admits a message of this level.
bool LevelAdmits(unsigned int classId, int level);

// Nearly always false where it matters: the road of a suppressed line stays straight.
inline bool Connected() {
  return __builtin_expect(static_cast<long>(g_connected.load(std::memory_order_relaxed)), 0L) != 0;
}

inline bool Admits(unsigned int classId, int level) {
  return Connected() && LevelAdmits(classId, level);
}

}  // namespace kvolog

#define KVO_TRACE(classId, level, ...)                                       \
  do {                                                                       \
    if (kvolog::Admits(classId, level)) {                                    \
      __KvoTrace(classId, level, __FILE__, __func__, __LINE__, __VA_ARGS__); \
    }                                                                        \
  } while (false)
