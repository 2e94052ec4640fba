// How this library reports what it does: one line at entry, one at each way out, failures where
// they happen. Every file names the layer it speaks for once, as `kLayer`.
//
// Included first in every source file, so that the shared header's inline functions drop a
// suppressed line as cheaply as the library's own code does.
#pragma once

#ifdef YRAFT_H
#error "YraTrace.h comes before yraft.h"
#endif

#include <cstdint>
#include <utility>

#include "common/libs/log/KvoTrace.h"

#define YRAFT_TRACE_ADMITS(level) kvolog::Admits(KVO_CLASS_YRAFT, level)
#include "yraft.h"

// Who speaks: the trace class, the tag in front of entry and exit lines, and how the exit line
// spells its result.
struct TraceLayer {
  unsigned int classId;
  const char* tag;
  const char* result;
};

inline constexpr TraceLayer kLayerRw{KVO_CLASS_YRAFT_RW, "YRAFT_LIB_RW", "ret="};
inline constexpr TraceLayer kLayerWin{KVO_CLASS_YRAFT_WIN, "YRAFT_LIB_WIN", "ret="};
inline constexpr TraceLayer kLayerUi{KVO_CLASS_YRAFT_UI, "YRAFT_LIB_UI", "ret = "};
inline constexpr TraceLayer kLayerLib{KVO_CLASS_YRAFT_LIB, "YRAFT_LIB_UI", "ret = "};

// Addresses stand in the lines by their low 32 bits, as readers of the log know them.
inline unsigned int TraceAddress(const void* p) {
  return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(p));
}
inline const char* TraceBool(bool value) { return value ? "True" : "False"; }

// Two names that a function may take for itself, as a parameter or a member:
//
// kVerbose  A function that runs for every buffer of a transfer is a template over it: one version
//           is without the lines of level 1, and whether anyone reads those is asked once a call.
// kCaller   A helper that reports for another function has that function's name in it.
inline constexpr bool kVerbose = true;
inline constexpr const char* kCaller = nullptr;

// `return TRACE_CALL(Function, arguments…);` calls the version that the log wants now.
#define TRACE_CALL(function, ...)                                                                \
  (kvolog::Admits(kLayer.classId, KVO_LOG_VERBOSE) ? TraceVerbosely<function<true>>(__VA_ARGS__) \
                                                   : function<false>(__VA_ARGS__))

// Out of line, so that the road without lines needs no room for what they say.
template <auto kFunction, class... Arguments>
[[gnu::noinline, gnu::cold]] auto TraceVerbosely(Arguments&&... arguments) {
  return kFunction(std::forward<Arguments>(arguments)...);
}

#define TRACE_AT(level, ...)                                                                 \
  do {                                                                                       \
    if ((kVerbose || (level) != KVO_LOG_VERBOSE) && kvolog::Admits(kLayer.classId, level)) { \
      __KvoTrace(kLayer.classId, level, __FILE__, kCaller != nullptr ? kCaller : __func__,   \
                 __LINE__, __VA_ARGS__);                                                     \
    }                                                                                        \
  } while (false)
#define TRACE_VERBOSE(...) TRACE_AT(KVO_LOG_VERBOSE, __VA_ARGS__)
#define TRACE_INFO(...) TRACE_AT(KVO_LOG_INFO, __VA_ARGS__)
#define TRACE_WARNING(...) TRACE_AT(KVO_LOG_WARNING, __VA_ARGS__)
#define TRACE_ERROR(...) TRACE_AT(KVO_LOG_ERROR, __VA_ARGS__)

#define TRACE_IN() TRACE_VERBOSE("[%s] In.", kLayer.tag)
#define TRACE_OUT() TRACE_VERBOSE("[%s] Out.", kLayer.tag)

// `return TRACE_RET(status);` reports the way out and answers the status.
#define TRACE_RET(status) \
  TraceResult<kLayer.classId, kVerbose>(kLayer, __FILE__, __func__, __LINE__, status)

#define TRACE_FAILED(operation, status) \
  TRACE_ERROR("callback %s failed.(0x%x)", operation, static_cast<unsigned int>(status))

template <unsigned int kClassId, bool kReported>
inline unsigned int TraceResult(const TraceLayer& layer, const char* file, const char* function,
                                unsigned int line, unsigned int status) {
  if (kReported && kvolog::Admits(kClassId, KVO_LOG_VERBOSE)) {
    __KvoTrace(kClassId, KVO_LOG_VERBOSE, file, function, line, "[%s] Out: %s0x%x.", layer.tag,
               layer.result, status);
  }
  return status;
}
