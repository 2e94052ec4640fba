// How this library reports what it does: one line at entry, one at each way out, failures where
// they happen.
//
// A function makes a tracer for itself, which writes its entry, and hands it to its helpers: what
// they report stands under the function's name. `return trace.Ret(status);` reports the way out.
//
// Included first in every source file, so that the shared header's inline functions drop a
// suppressed line as cheaply as the library's own code does.
#pragma once

#ifdef YRAFT_H
#error "YraTrace.h comes before yraft.h"
#endif

#include <cstdint>
#include <new>
#include <type_traits>

#include "common/libs/log/KvoTracer.h"

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

// A function's tracer, small enough to be handed on by value. One with kLoud off has no lines of
// level 1 (see Traced).
template <const TraceLayer& kLayer, bool kLoud = true>
class LayerTracer : public KvoTracer<kLayer.classId, kLoud> {
 public:
  // Writes "In.", and later "Out", at this level.
  explicit LayerTracer(int level = KVO_LOG_VERBOSE, const char* function = __builtin_FUNCTION())
      : KvoTracer<kLayer.classId, kLoud>(function), m_level(level) {
    TRACE_AT(*this, m_level, "[%s] In.", kLayer.tag);
  }

  // For what follows later from something that `function` began: no entry.
  static LayerTracer Of(const char* function) { return LayerTracer(function); }

  // The ways out.
  void Out() const { TRACE_AT(*this, m_level, "[%s] Out.", kLayer.tag); }
  unsigned int Ret(unsigned int status) const {
    TRACE_VERBOSE(*this, "[%s] Out: %s0x%x.", kLayer.tag, kLayer.result, status);
    return status;
  }
  bool Truth(bool answer, const char* result = "ret=") const {
    TRACE_VERBOSE(*this, "[%s] Out: %s%s.", kLayer.tag, result, TraceBool(answer));
    return answer;
  }

  // The way out with an argument or a state that does not serve, reported.
  unsigned int Refuse(unsigned int status, const char* reason) const {
    TRACE_ERROR(*this, "%s", reason);
    return Ret(status);
  }
  // The same for a null pointer; `null` as the function spells it.
  unsigned int RefuseNull(unsigned int status, const char* name, const char* null = "NULL") const {
    TRACE_ERROR(*this, "%s (%p) is %s.", name, static_cast<void*>(nullptr), null);
    return Ret(status);
  }

  // Answers the status of an operation that was called, reported where it failed.
  unsigned int Called(const char* operation, unsigned int status) const {
    if (status != YRAFT_STATUS_SUCCESS) {
      TRACE_ERROR(*this, "callback %s failed.(0x%x)", operation, status);
    }
    return status;
  }
  // The status of an operation that may find no memory, or success where it answers none: no
  // exception enters the frames of the toolkit or the host.
  template <class Operation>
  unsigned int Try(const Operation& operation) const {
    try {
      if constexpr (std::is_void_v<decltype(operation())>) {
        operation();
        return YRAFT_STATUS_SUCCESS;
      } else {
        return operation();
      }
    } catch (const std::bad_alloc&) {
      TRACE_ERROR(*this, "memory is used up.");
      return YRAFT_STATUS_NO_MEMORY;
    }
  }
  // Whether a getter of the UI object has answered something, reported where it has not.
  bool Got(const char* operation, const void* p) const {
    if (p == nullptr) TRACE_ERROR(*this, "callback %s is null.", operation);
    return p != nullptr;
  }

 private:
  explicit LayerTracer(const char* function) : KvoTracer<kLayer.classId, kLoud>(function) {}

  int m_level = KVO_LOG_VERBOSE;
};

using RwTrace = LayerTracer<kLayerRw>;
using WinTrace = LayerTracer<kLayerWin>;
using UiTrace = LayerTracer<kLayerUi>;
using LibTrace = LayerTracer<kLayerLib>;

// Out of line, and with a copy of the arguments that `body` holds, so that the road without lines
// keeps them in registers.
template <const TraceLayer& kLayer, class Body>
[[gnu::noinline, gnu::cold]] auto TracedLoudly(Body body, const char* function) {
  return body(LayerTracer<kLayer>(KVO_LOG_VERBOSE, function));
}

// A function that runs for every buffer of a transfer is a generic lambda over its tracer, run by
// this: whether anyone reads the lines of level 1 is asked once, and what is left where nobody does
// is straight code.
template <const TraceLayer& kLayer, class Body>
[[gnu::always_inline]] inline auto Traced(const Body& body,
                                          const char* function = __builtin_FUNCTION()) {
  if (kvolog::Admits(kLayer.classId, KVO_LOG_VERBOSE)) return TracedLoudly<kLayer>(body, function);
  return body(LayerTracer<kLayer, false>(KVO_LOG_VERBOSE, function));
}

// How the log names the direction of a file.
inline const char* TraceOperation(uint32_t operation) {
  if (operation == YRAFT_OPERATION_UPLOAD) return "Upload";
  return operation == YRAFT_OPERATION_DOWNLOAD ? "Download" : "Unknown";
}
