// The two entry points for a line of the log, and what a line becomes.
#include <pthread.h>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "common/libs/log/KvoLogChannel.h"
#include "common/libs/log/KvoLogConfig.h"
#include "common/libs/log/KvoTrace.h"

namespace {

// A text that grows piece by piece and is cut where its room ends.
class Line {
 public:
  // The room is not cleared: what is read of it ends at its NUL.
  explicit Line(char (&text)[KVO_LOG_TEXT_SIZE]) : m_pEnd(text) { *m_pEnd = '\0'; }

  void Append(std::string_view text) {
    text.copy(m_pEnd, m_room - 1);
    Grow(text.size());
  }

  // Drops a piece that cannot be formatted.
  void AppendFormatted(const char* format, va_list arguments) KVOLOG_PRINTF(2, 0) {
    const int length = vsnprintf(m_pEnd, m_room, format, arguments);
    Grow(length > 0 ? static_cast<std::size_t>(length) : 0);
  }

  std::size_t Length() const { return KVO_LOG_TEXT_SIZE - m_room; }

 private:
  void Grow(std::size_t length) {
    const std::size_t taken = std::min(length, m_room - 1);
    m_pEnd += taken;
    m_room -= taken;
    *m_pEnd = '\0';
  }

  char* m_pEnd;
  std::size_t m_room = KVO_LOG_TEXT_SIZE;  // its NUL's included
};

// A record stands on the stack of this function alone: the road of a suppressed line does not touch
// its 8 KiB.
[[gnu::noinline, gnu::format(printf, 4, 0)]] void WriteLine(unsigned int classId, int level,
                                                            const char* function,
                                                            const char* format, va_list arguments) {
  const int error = errno;
  KvoLogRecord record;
  Line line(record.text);
  unsigned int flags = 0;
  KvoLogGetCurrentFlags(&flags);
  if ((flags & KVO_LOG_FLAG_THREAD) != 0) {
    char name[16];
    if (pthread_getname_np(pthread_self(), name, sizeof(name)) != 0) name[0] = '\0';
    line.Append("[");
    line.Append(name);
    line.Append("]: ");
  }
  if ((flags & KVO_LOG_FLAG_FUNCTION) != 0) {
    line.Append(function);
    line.Append(": ");
  }
  errno = error;  // the text may name it
  line.AppendFormatted(format, arguments);

  timeval now;
  gettimeofday(&now, nullptr);
  const std::size_t size = offsetof(KvoLogRecord, text) + line.Length() + 1;
  record.head.length = static_cast<std::uint16_t>(size - sizeof(record.head));
  record.head.type = KVO_LOG_RECORD_TRACE;
  record.level = static_cast<std::uint16_t>(level);
  record.classId = static_cast<std::uint16_t>(classId);
  record.thread = static_cast<std::uint16_t>(gettid());
  record.seconds = now.tv_sec;
  record.microseconds = static_cast<std::uint32_t>(now.tv_usec);
  kvolog::WriteRecord(record, size);
  errno = error;
}

bool MessageLevel(int level) { return level >= KVO_LOG_VERBOSE && level <= KVO_LOG_FATAL; }

int Priority(int level) {
  constexpr int kPriorities[] = {LOG_INFO, LOG_NOTICE, LOG_WARNING, LOG_ERR, LOG_ALERT};
  return kPriorities[level - KVO_LOG_VERBOSE];
}

}  // namespace

// __KvoTrace behind its filter, which stands in KvoTraceEntry.S.
extern "C" [[gnu::format(printf, 6, 7)]] void KvoTraceAdmitted(unsigned int classId, int level,
                                                               const char* file,
                                                               const char* function, unsigned int,
                                                               const char* format, ...) {
  if (!MessageLevel(level) || file == nullptr || function == nullptr || format == nullptr) return;
  va_list arguments;
  va_start(arguments, format);
  WriteLine(classId, level, function, format, arguments);
  va_end(arguments);
}

void __KvoLog(int level, const char* file, const char* function, unsigned int, const char* format,
              ...) {
  if (kvolog::g_state != kvolog::State::kOpen || !MessageLevel(level)) return;
  if (file == nullptr || function == nullptr || format == nullptr) return;
  const int error = errno;
  va_list arguments;
  va_start(arguments, format);
  vsyslog(Priority(level), format, arguments);
  va_end(arguments);
  errno = error;
  if (!kvolog::ChannelOpen()) return;
  va_start(arguments, format);
  WriteLine(KVO_CLASS_ALL, level, function, format, arguments);
  va_end(arguments);
}
