// Takes the bytes of one client apart into records, in whatever pieces they arrive.
//
// A stream is one registration followed by lines. Whatever else it holds makes it malformed, and
// nothing is read from it any more: after a wrong length there is no telling where a record starts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "kvolog.h"

// One line as it came; its class may be unknown, every other number is within its range.
struct LogRecord {
  unsigned int level;  // KVO_LOG_VERBOSE to KVO_LOG_FATAL
  unsigned int classId;
  unsigned int thread;
  std::int64_t seconds;  // 0 to the end of the year 9998
  std::uint32_t microseconds;
  std::string_view text;  // any bytes, NULs included
};

// Keeps at most one record's bytes. Not for several threads.
class RecordReader {
 public:
  // Hands over what was received. The bytes stay the caller's and must stay in place until Next()
  // answers false, which has to happen before the next call.
  void Feed(std::string_view bytes) { m_input = bytes; }

  // Stores the next line, whose text is valid until the next call. Answers false when the bytes are
  // used up or the stream is malformed.
  bool Next(LogRecord* record);

  // What is wrong with the stream; empty while nothing is.
  const std::string& error() const { return m_error; }
  // The end of the bytes so far that is the start of a record. Ask when Next() has answered false.
  std::string_view Partial() const { return m_partialIsWhole ? std::string_view() : m_partial; }
  // It will be fed once more.
  void DropPartial() { m_partial.clear(); }

  bool Registered() const { return !m_registration.empty(); }
  // The bytes that it came in; a reader that is fed with them goes on behind it.
  const std::string& registration() const { return m_registration; }
  const std::string& identity() const { return m_identity; }
  unsigned int session() const { return m_session; }

 private:
  std::string_view TakeWhole();
  void Complete(std::size_t size);
  std::size_t SizeOf(std::string_view bytes);
  void Register(std::string_view bytes);
  bool Decode(std::string_view bytes, LogRecord* record);
  void Fail(std::string why) { m_error = std::move(why); }

  std::string_view m_input;       // not looked at yet
  std::string m_partial;          // the start of a record whose end has not come yet
  bool m_partialIsWhole = false;  // its end has come, and it was handed out
  std::string m_registration;
  std::string m_identity;
  unsigned int m_session = 0;
  std::string m_error;
};
