// A line of the log file, as the log service writes it and readers take it apart:
//
//   2026-11-24T20:08:10.123456+01:00 WARNING YRAFT_RW brelka-vcagent[812,1000] 17 4711 The text.
//
// local time, level, class, identity, session, thread and text, with one blank between. Behind the
// identity, which a process chooses, stand its number and its user's, which the kernel knows; lines
// of older services have neither. A class without a name stands as its number. In identity
// and text a backslash stands as \\ and a control character as \n, \r, \t or, byte for byte, \xHH;
// in the identity a blank stands as \x20. So a line ends where it seems to end, and nothing in it
// reaches a terminal as a command.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct LogLine {
  std::int64_t seconds;
  std::uint32_t microseconds;
  std::string_view level;      // the name, as is the class
  std::string_view className;  //
  std::string_view identity;   // as it came, as is the text
  unsigned int process;
  unsigned int user;
  unsigned int session;
  unsigned int thread;
  std::string_view text;
};

// Appends lines; remembers the last second as text, since most lines share it with their neighbour.
class LogLineWriter {
 public:
  // The line is appended with its line feed. The seconds are 0 to the end of the year 9998.
  void Append(const LogLine& line, std::string* out);

 private:
  void Remember(std::int64_t second);

  std::int64_t m_second = -1;
  char m_date[20] = "";   // 2026-11-24T20:08:10
  char m_zone[16] = "Z";  // +01:00
};

// The fields as they stand in a line.
struct LogLineFields {
  std::string_view time;
  std::string_view level;
  std::string_view className;
  std::string_view identity;
  std::string_view process;  // empty in an old line, as is the user
  std::string_view user;
  std::string_view session;
  std::string_view thread;
  std::string_view text;
};

// Takes a line without its line feed apart; the fields point into it. Nothing for a line that is
// not of this format.
std::optional<LogLineFields> ParseLogLine(std::string_view line);

// The bytes that an escaped field stands for.
std::string Unescaped(std::string_view field);

// A text as it stands in a line.
void AppendEscaped(std::string_view text, std::string* out);

// A text that was cut, without the part of a character that stands at its end.
std::string_view WholeCharacters(std::string_view text);
