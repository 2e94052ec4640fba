// The trace as the library's own code makes it: nothing is evaluated for a line that nobody will
// read, and no line stands under another function's name.
#pragma once

#include <cstdint>

#include "common/libs/log/KvoTrace.h"

// Speaks for one function, in one trace class. A helper that reports for its caller takes the
// caller's tracer as an argument.
template <unsigned int kClassId, bool kLoud = true>
class KvoTracer {
 public:
  static constexpr unsigned int kClass = kClassId;

  explicit KvoTracer(const char* function = __builtin_FUNCTION()) : m_function(function) {}

  [[gnu::always_inline]] static bool Admits(int level) {
    return (kLoud || level != KVO_LOG_VERBOSE) && kvolog::Admits(kClassId, level);
  }
  const char* Function() const { return m_function; }

 private:
  const char* m_function;
};

// One line, printf-style, under the tracer's function.
#define TRACE_AT(trace, level, ...)                                                           \
  do {                                                                                        \
    if ((trace).Admits(level)) {                                                              \
      __KvoTrace((trace).kClass, level, __FILE__, (trace).Function(), __LINE__, __VA_ARGS__); \
    }                                                                                         \
  } while (false)
#define TRACE_VERBOSE(trace, ...) TRACE_AT(trace, KVO_LOG_VERBOSE, __VA_ARGS__)
#define TRACE_INFO(trace, ...) TRACE_AT(trace, KVO_LOG_INFO, __VA_ARGS__)
#define TRACE_WARNING(trace, ...) TRACE_AT(trace, KVO_LOG_WARNING, __VA_ARGS__)
#define TRACE_ERROR(trace, ...) TRACE_AT(trace, KVO_LOG_ERROR, __VA_ARGS__)

// Addresses stand in the lines by their low 32 bits, as readers of the log know them.
inline unsigned int TraceAddress(const void* p) {
  return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(p));
}
inline const char* TraceBool(bool value) { return value ? "True" : "False"; }
inline const char* TraceText(const char* text) { return text != nullptr ? text : "(NULL)"; }
