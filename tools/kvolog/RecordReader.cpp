#include "RecordReader.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t kHead = sizeof(KvoLogRecordHead);
constexpr std::size_t kHelloText = offsetof(KvoLogHello, identity);
constexpr std::size_t kTraceText = offsetof(KvoLogRecord, text);
constexpr std::int64_t kLastSecond =
    253370764799;  // of the year 9998, in every time zone before 10000

template <typename T>
T Field(std::string_view bytes, std::size_t offset) {
  T value;
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

}  // namespace

bool RecordReader::Next(LogRecord* record) {
  while (m_error.empty()) {
    const std::string_view bytes = TakeWhole();
    if (bytes.empty()) return false;
    if (Field<std::uint16_t>(bytes, offsetof(KvoLogRecordHead, type)) == KVO_LOG_RECORD_TRACE) {
      return Decode(bytes, record);
    }
    Register(bytes);
  }
  return false;
}

// The bytes of the next record; none when some are missing or the record is refused.
std::string_view RecordReader::TakeWhole() {
  if (m_partialIsWhole) m_partial.clear();
  m_partialIsWhole = false;
  if (m_partial.empty()) {
    const std::size_t size = SizeOf(m_input);
    if (size > kHead && size <= m_input.size()) {
      const std::string_view whole = m_input.substr(0, size);
      m_input.remove_prefix(size);
      return whole;
    }
  }
  Complete(kHead);
  const std::size_t size = SizeOf(m_partial);
  Complete(size);
  m_partialIsWhole = size > kHead && m_partial.size() == size;
  return m_partialIsWhole ? m_partial : std::string_view();
}

// Moves input over until the partial record has `size` bytes.
void RecordReader::Complete(std::size_t size) {
  const std::size_t missing = size - std::min(size, m_partial.size());
  const std::string_view piece = m_input.substr(0, missing);
  m_partial += piece;
  m_input.remove_prefix(piece.size());
}

// The size of the record that starts with these bytes, or that of a head while there is none. 0 for
// a record that cannot be.
std::size_t RecordReader::SizeOf(std::string_view bytes) {
  if (bytes.size() < kHead) return kHead;
  const auto length = Field<std::uint16_t>(bytes, offsetof(KvoLogRecordHead, length));
  const auto type = Field<std::uint16_t>(bytes, offsetof(KvoLogRecordHead, type));
  const std::size_t size = kHead + length;
  if (type != KVO_LOG_RECORD_HELLO && type != KVO_LOG_RECORD_TRACE) {
    Fail("a record of the unknown type " + std::to_string(type));
  } else if ((type == KVO_LOG_RECORD_HELLO) == Registered()) {
    Fail(Registered() ? "a second registration" : "a line before the registration");
  } else if (type == KVO_LOG_RECORD_HELLO ? size < kHelloText + 2 || size > sizeof(KvoLogHello)
                                          : size < kTraceText + 1 || size > sizeof(KvoLogRecord)) {
    Fail("a record of type " + std::to_string(type) + " with the length " + std::to_string(length));
  } else {
    return size;
  }
  return 0;
}

void RecordReader::Register(std::string_view bytes) {
  const std::string_view identity = bytes.substr(kHelloText);
  if (identity.find('\0') != identity.size() - 1) return Fail("an identity that ends nowhere");
  m_registration = bytes;
  m_identity = identity.substr(0, identity.size() - 1);
  m_session = Field<std::uint16_t>(bytes, offsetof(KvoLogHello, session));
}

bool RecordReader::Decode(std::string_view bytes, LogRecord* record) {
  record->level = Field<std::uint16_t>(bytes, offsetof(KvoLogRecord, level));
  record->classId = Field<std::uint16_t>(bytes, offsetof(KvoLogRecord, classId));
  record->thread = Field<std::uint16_t>(bytes, offsetof(KvoLogRecord, thread));
  record->seconds = Field<std::int64_t>(bytes, offsetof(KvoLogRecord, seconds));
  record->microseconds = Field<std::uint32_t>(bytes, offsetof(KvoLogRecord, microseconds));
  record->text = bytes.substr(kTraceText, bytes.size() - kTraceText - 1);
  if (record->level < KVO_LOG_VERBOSE || record->level > KVO_LOG_FATAL) {
    Fail("a line of level " + std::to_string(record->level));
  } else if (record->seconds < 0 || record->seconds > kLastSecond) {
    Fail("a line of second " + std::to_string(record->seconds));
  } else if (record->microseconds > 999999) {
    Fail("a line of microsecond " + std::to_string(record->microseconds));
  } else if (bytes.back() != '\0') {
    Fail("a line that ends nowhere");
  }
  return m_error.empty();
}
